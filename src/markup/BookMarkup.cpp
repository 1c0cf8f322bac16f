#include "markup/BookMarkup.h"

#include <algorithm>

#include "common/Text.h"

namespace pw::markup {
namespace {

std::string OneLineElement(std::string_view open, std::string_view text, std::string_view colour,
                           std::string_view close) {
  std::string out;
  out.reserve(open.size() + text.size() + 64);
  out += open;
  out += HashColour(colour);
  out += "><B>";
  out += OneLineText(text);
  out += "</B></FONT>";
  out += close;
  return out;
}

std::string BlockElement(std::string_view open, std::string_view colour,
                         std::string_view paragraphs, std::string_view textAuthor,
                         std::string_view close) {
  std::string out;
  out.reserve(open.size() + paragraphs.size() + textAuthor.size() + 48);
  out += open;
  out += HashColour(colour);
  out += '>';
  out += paragraphs;
  out += textAuthor;
  out += close;
  return out;
}

}  // namespace

BodyStyle BodyStyleFromSettings(const common::Settings& settings) {
  BodyStyle style;
  style.bgColor = HashColour(settings.editorBackground);
  style.textColor = HashColour(settings.editorTextColour);
  style.fontSize = settings.editorFontSize;
  style.fontFamily = settings.editorFont;
  style.fontWeight = settings.editorFontWeight;
  return style;
}

std::string MakeCharsetMeta(bool forceUtf8, bool forceCyrillic, std::string_view documentCharset) {
  std::string_view charset = documentCharset;
  if (forceUtf8) charset = "utf-8";
  else if (forceCyrillic || charset.empty()) charset = "windows-1251";
  std::string out = "<meta content=\"text/html; charset=";
  out += charset;
  out += "\" http-equiv=\"Content-Type\">";
  return out;
}

std::string MakeBodyTag(std::string_view bgColor, std::string_view textColor,
                        std::string_view fontSize, std::string_view fontFamily, bool forceUtf8,
                        bool forceCyrillic, bool bodyOnly, std::string_view fontWeight,
                        std::string_view marginBottom, std::string_view lineHeight,
                        std::string_view documentCharset) {
  std::string out;
  if (!bodyOnly) {
    out += "<HTML>";
    out += kCrLf;
    out += MakeCharsetMeta(forceUtf8, forceCyrillic, documentCharset);
    out += kCrLf;
  }
  out += "<BODY style=\"FONT-WEIGHT:";
  out += fontWeight;
  out += "; FONT-SIZE:";
  out += fontSize;
  out += "; MARGIN-BOTTOM:";
  out += marginBottom;
  out += "; LINE-HEIGHT:";
  out += lineHeight;
  out += "; FONT-FAMILY:";
  out += fontFamily;
  out += "\" text=";
  out += textColor;
  out += " bgColor=";
  out += bgColor;
  out += '>';
  return out;
}

std::string MakeBodyTag(const BodyStyle& style, bool forceUtf8, bool forceCyrillic, bool bodyOnly,
                        std::string_view documentCharset) {
  return MakeBodyTag(style.bgColor, style.textColor, style.fontSize, style.fontFamily, forceUtf8,
                     forceCyrillic, bodyOnly, style.fontWeight, style.marginBottom,
                     style.lineHeight, documentCharset);
}

std::string MakeBlankBook() {
  std::string out = MakeBodyTag(BodyStyle{}, true, false, false);
  out += kCrLf;
  out += kFirstParagraphStart;
  out += "Start to type here";
  out += kDivEnd;
  out += kCrLf;
  out += kLastParagraph;
  out += kCrLf;
  out += kBookEnd;
  return out;
}

std::string MakeSeedDocument(bool withParagraph) {
  if (withParagraph) return "<HTML><BODY><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;</DIV></BODY></HTML>";
  return "<HTML><BODY></BODY></HTML>";
}

std::string HashColour(std::string_view colour) {
  colour = common::Trim(colour);
  std::string out;
  if (!colour.empty() && colour[0] != '#') out += '#';
  out += colour;
  return out;
}

std::string OneLineText(std::string_view html) {
  std::string out;
  out.reserve(html.size());
  bool inTag = false;
  for (char c : html) {
    if (inTag) {
      if (c == '>') inTag = false;
      continue;
    }
    if (c == '<') {
      inTag = true;
    } else if (c == '\r' || c == '\n') {
      if (!out.empty() && out.back() != ' ') out += ' ';
    } else {
      out += c;
    }
  }
  return std::string(common::Trim(out));
}

std::string MakeParagraph(std::string_view text) {
  std::string out;
  out.reserve(kParagraphStart.size() + text.size() + 16);
  out += kParagraphStart;
  // A dialogue line: the dash keeps its speech glued to it with a no-break space.
  for (std::string_view dash : {"- ", "\u2013 ", "\u2014 "}) {
    if (common::StartsWith(text, dash)) {
      out += dash.substr(0, dash.size() - 1);
      out += "&nbsp;";
      text.remove_prefix(dash.size());
      break;
    }
  }
  out += text;
  out += kDivEnd;
  return out;
}

std::string MakeBookAuthor(std::string_view text, std::string_view colour) {
  return OneLineElement("<H2 id=BookAuthor align=center><FONT color=", text, colour, "</H2>");
}

std::string MakeBookTitle(std::string_view text, std::string_view colour) {
  return OneLineElement("<H2 id=BookTitle align=center><FONT color=", text, colour, "</H2>");
}

std::string MakeTitle(std::string_view text, std::string_view colour) {
  return OneLineElement("<SPAN id=title><DIV align=center><FONT color=", text, colour,
                        "</DIV></SPAN>");
}

std::string MakeFormerTitle(std::string_view text, std::string_view colour) {
  return OneLineElement("<SPAN id=former_title><DIV align=center><FONT color=", text, colour,
                        "</DIV></SPAN>");
}

std::string MakeSubtitle(std::string_view text, std::string_view colour) {
  return OneLineElement("<SPAN id=subtitle><DIV align=center><FONT color=", text, colour,
                        "</DIV></SPAN>");
}

std::string MakeTextAuthor(std::string_view text, std::string_view colour) {
  std::string out = "<SPAN id=txtaut><FONT color=";
  out += HashColour(colour);
  out += '>';
  out += kParagraphStart;
  out += OneLineText(text);
  out += "</DIV></FONT></SPAN>";
  return out;
}

std::string MakeVerse(std::string_view paragraphs, std::string_view textAuthor, std::string_view colour) {
  return BlockElement("<SPAN id=verse><I><FONT color=", colour, paragraphs, textAuthor,
                      "</FONT></I></SPAN>");
}

std::string MakeEpigraph(std::string_view paragraphs, std::string_view textAuthor, std::string_view colour) {
  return BlockElement("<SPAN id=epigraph><I><FONT color=", colour, paragraphs, textAuthor,
                      "</FONT></I></SPAN>");
}

std::string MakeAnnotation(std::string_view paragraphs, std::string_view textAuthor, std::string_view colour) {
  return BlockElement("<SPAN id=annotation><FONT color=", colour, paragraphs, textAuthor,
                      "</FONT></SPAN>");
}

std::string MakeCite(std::string_view paragraphs, std::string_view textAuthor, std::string_view colour) {
  return BlockElement("<SPAN id=cite><FONT color=", colour, paragraphs, textAuthor,
                      "</FONT></SPAN>");
}

std::string MakeNoteBlock(std::string_view noteParagraphs, std::string_view colour) {
  return BlockElement("<SPAN id=NoteBlock><FONT color=", colour, noteParagraphs, {},
                      "</FONT></SPAN>");
}

std::string BookHeadingText(std::string_view document, std::string_view open) {
  const size_t at = document.find(open);
  if (at == std::string_view::npos) return {};
  const size_t start = document.find('>', at);
  const size_t end = document.find("</H2>", at);
  if (start == std::string_view::npos || end == std::string_view::npos || end < start) return {};
  return OneLineText(document.substr(start + 1, end - start - 1));
}

std::string_view ContentsHeading(std::string_view bookCodePage) {
  if (bookCodePage == "Win1252" || bookCodePage == "Win1250") return "Table of Content";
  return "Содержание";
}

std::vector<std::string> AnchorTitles(std::string& document) {
  static constexpr std::string_view kSpanEnd = "</SPAN>";
  static constexpr std::string_view kAnchorEnd = "</A>";
  std::vector<std::string> titles;
  const std::string_view source(document);
  std::string out;
  size_t copied = 0;
  size_t open = source.find(kTitleOpen);
  while (open != std::string_view::npos) {
    const size_t innerStart = open + kTitleOpen.size();
    const size_t close = source.find(kSpanEnd, innerStart);
    if (close == std::string_view::npos) break;
    std::string_view inner = source.substr(innerStart, close - innerStart);
    // A title anchored before (an earlier contents) is renumbered.
    if (common::StartsWith(inner, "<A ")) {
      const size_t tagEnd = inner.find('>');
      inner.remove_prefix(tagEnd == std::string_view::npos ? inner.size() : tagEnd + 1);
      if (common::EndsWith(inner, kAnchorEnd)) inner.remove_suffix(kAnchorEnd.size());
    }
    titles.push_back(OneLineText(inner));
    const std::string number = std::to_string(titles.size());
    if (titles.size() == 1) out.reserve(source.size() + 64);
    out.append(source, copied, innerStart - copied);
    out += "<A id=";
    out += number;
    out += " name=";
    out += number;
    out += '>';
    out += inner;
    out += kAnchorEnd;
    out += kSpanEnd;
    copied = close + kSpanEnd.size();
    open = source.find(kTitleOpen, copied);
  }
  if (!titles.empty()) {
    out.append(source, copied, source.size() - copied);
    document = std::move(out);
  }
  return titles;
}

std::string MakeContentsBlock(const std::vector<std::string>& titles, std::string_view heading) {
  std::string out;
  out += kContentsOpen;
  out += kCrLf;
  out += "<DIV align=center><B><FONT color=#0000ff>";
  out += heading;
  out += "</FONT></B></DIV>";
  out += kCrLf;
  out += kEmptyIndentedParagraph;
  for (size_t i = 0; i < titles.size(); ++i) {
    const std::string number = std::to_string(i + 1);
    out += kCrLf;
    out += "<DIV align=justify><A id=toc";
    out += number;
    out += " href=\"#";
    out += number;
    out += "\">";
    out += titles[i];
    out += "</A></DIV>";
  }
  out += kCrLf;
  out += "</SPAN>";
  return out;
}

bool InsertContents(std::string& document, std::string_view bookCodePage) {
  std::string anchored = document;
  const std::vector<std::string> titles = AnchorTitles(anchored);
  if (titles.empty()) return false;
  std::string block = MakeContentsBlock(titles, ContentsHeading(bookCodePage));

  size_t at = anchored.find(kContentsPlace);
  if (at != std::string::npos) {
    at += kContentsPlace.size();
    block.insert(0, kCrLf);
  } else if (size_t head = anchored.find(kBookTitleOpen); head != std::string::npos &&
                                                          anchored.find("</H2>", head) != std::string::npos) {
    at = anchored.find("</H2>", head) + 5;
    block.insert(0, kCrLf);
  } else {
    const size_t body = anchored.find("<BODY");
    const size_t bodyEnd = body == std::string::npos ? 0 : anchored.find('>', body);
    const size_t from = bodyEnd == std::string::npos ? 0 : bodyEnd;
    // Before the first block of the body, so the contents never lands inside an element.
    at = std::string::npos;
    for (std::string_view opening : {"<DIV", "<SPAN", "<H2", "<P"}) {
      at = std::min(at, anchored.find(opening, from));
    }
    block += kCrLf;
  }
  anchored.insert(at, block);
  document = std::move(anchored);
  return true;
}

}  // namespace pw::markup
