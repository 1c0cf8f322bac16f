#include "reader/ReadingView.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "markup/HtmlTags.h"
#include "reader/Reader.h"

namespace pw::reader {
namespace {

constexpr std::array<int, 12> kZoomSteps = {50, 67, 75, 80, 90, 100, 110, 125, 150, 175, 200, 250};

std::string Hash(std::string_view colour) {
  std::string out;
  if (!colour.empty() && colour.front() != '#') out += '#';
  out += colour;
  return out;
}

// The selectors of each element kind: the ids the book marks its elements with. Text is the
// body itself; notes are the note blocks.
struct KindRule {
  FontKind kind;
  std::string_view selector;
  std::string common::ElementColours::*colour;  // null: the page's text colour
};
const KindRule kRules[] = {
    {FontKind::Text, "body", nullptr},
    {FontKind::BookAuthor, "[id=BookAuthor]", &common::ElementColours::bookAuthor},
    {FontKind::BookTitle, "[id=BookTitle]", &common::ElementColours::bookTitle},
    {FontKind::Title, "[id=title], [id=former_title]", &common::ElementColours::title},
    {FontKind::Subtitle, "[id=subtitle]", &common::ElementColours::subtitle},
    {FontKind::Epigraph, "[id=epigraph]", &common::ElementColours::epigraph},
    {FontKind::Verse, "[id=verse]", &common::ElementColours::verse},
    {FontKind::Cite, "[id=cite], [id=annotation]", &common::ElementColours::cite},
    {FontKind::TextAuthor, "[id=txtaut]", &common::ElementColours::textAuthor},
    {FontKind::Notes, "[id=NoteBlock]", &common::ElementColours::noteBlock},
};


}  // namespace

ReadingColours NightColours() {
  ReadingColours night;
  night.text = "#D8D2C4";
  night.background = "#1C1D21";
  night.elements.bookAuthor = "#FF8A80";
  night.elements.bookTitle = "#FFB199";
  night.elements.title = "#9CC4FF";
  night.elements.subtitle = "#7FD8D8";
  night.elements.verse = "#C3A6FF";
  night.elements.epigraph = "#A0B4FF";
  night.elements.textAuthor = "#E0A890";
  night.elements.annotation = "#D6D08A";
  night.elements.cite = "#9BD89B";
  night.elements.noteBlock = "#D9A6F0";
  return night;
}

ReadingColours ColoursFor(const common::Settings& settings) {
  if (settings.readerNightScheme) return NightColours();
  return {Hash(settings.readerTextColour), Hash(settings.readerBackground), settings.readerElementColours};
}

std::string ReadingStyleSheet(const FontTable& fonts, const ReadingColours& colours) {
  std::string css = "html, body { background: " + colours.background + "; color: " + colours.text + "; }\n";
  css += "body { margin: 0 8px; overflow-wrap: break-word; }\n";
  for (const KindRule& rule : kRules) {
    const ReadingFont& font = fonts[rule.kind];
    const std::string colour = rule.colour ? Hash(colours.elements.*rule.colour) : colours.text;
    css += std::string(rule.selector) + " { font-family: " + FontFamilyList(font.face) +
           "; font-size: " + std::to_string(font.size) + "px; font-weight: " + (font.bold ? "bold" : "normal") +
           "; color: " + colour + "; }\n";
    // The FONT and B tags inside an element carry the editor's colours and sizes: the reading
    // choice wins over them.
    if (rule.kind != FontKind::Text) {
      std::string inner;
      for (std::string_view rest = rule.selector; !rest.empty();) {
        const size_t comma = rest.find(", ");
        const std::string_view one = rest.substr(0, comma);
        if (!inner.empty()) inner += ", ";
        inner += std::string(one) + " font, " + std::string(one) + " b";
        rest.remove_prefix(comma == std::string_view::npos ? rest.size() : comma + 2);
      }
      css += inner + " { color: " + colour + " !important; font-size: inherit; font-family: inherit; font-weight: inherit; }\n";
    }
  }
  css += "body > font > font[color], body font[color] { color: inherit; }\n";
  return css;
}

std::string ReadingDocument(std::string_view document, const FontTable& fonts, const ReadingColours& colours) {
  const std::string style = "<style id=PwReadingStyle>\n" + ReadingStyleSheet(fonts, colours) + "</style>";
  const ReadingFont& text = fonts[FontKind::Text];
  const size_t body = markup::FindTagIgnoringCase(document, "<body");
  const size_t bodyEnd = body == std::string_view::npos ? std::string_view::npos : document.find('>', body);
  std::string out;
  out.reserve(document.size() + style.size() + 64);
  if (bodyEnd == std::string_view::npos) {
    // A fragment without a body: all of it is the body's content.
    out = "<HTML><HEAD>" + style + "</HEAD><BODY>" + SelectFontNameAddSize(text.face, text.size);
    out += document;
    out += "</FONT></BODY></HTML>";
    return out;
  }
  out.append(document.substr(0, body));
  out += style;
  out.append(document.substr(body, bodyEnd + 1 - body));
  out += SelectFontNameAddSize(text.face, text.size);
  const size_t close = markup::FindTagIgnoringCase(document, "</body", bodyEnd);
  const size_t contentEnd = close == std::string_view::npos ? document.size() : close;
  out.append(document.substr(bodyEnd + 1, contentEnd - bodyEnd - 1));
  out += "</FONT>";
  out.append(document.substr(contentEnd));
  return out;
}

std::span<const int> ZoomSteps() { return kZoomSteps; }

int StepZoom(int percent, int direction) {
  if (direction > 0) {
    const auto next = std::upper_bound(kZoomSteps.begin(), kZoomSteps.end(), percent);
    return next == kZoomSteps.end() ? kZoomSteps.back() : *next;
  }
  if (direction < 0) {
    const auto at = std::lower_bound(kZoomSteps.begin(), kZoomSteps.end(), percent);
    return at == kZoomSteps.begin() ? kZoomSteps.front() : *(at - 1);
  }
  return percent;
}

size_t RemoveTemporaryBookmarks(std::string& document) {
  // The page inserts it as <A id=MARK></A>; an engine may have quoted the id or changed the
  // tag's case, so every anchor element whose id is the marker goes.
  size_t removed = 0;
  std::string out;
  size_t copied = 0;
  for (size_t at = document.find(kTemporaryBookmarkId); at != std::string::npos;
       at = document.find(kTemporaryBookmarkId, at + 1)) {
    const size_t open = document.rfind('<', at);
    if (open == std::string::npos || open < copied || (document[open + 1] != 'A' && document[open + 1] != 'a'))
      continue;
    const size_t close = markup::FindTagIgnoringCase(document, "</a", at);
    if (close == std::string::npos) continue;
    const size_t closeEnd = document.find('>', close);
    if (closeEnd == std::string::npos) continue;
    out.append(document, copied, open - copied);
    copied = closeEnd + 1;
    at = closeEnd;
    ++removed;
  }
  if (removed == 0) return 0;
  out.append(document, copied, std::string::npos);
  document = std::move(out);
  return removed;
}

}  // namespace pw::reader
