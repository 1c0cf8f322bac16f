#include "markup/ElementOperations.h"

#include <array>
#include <utility>
#include <vector>

#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/HtmlTags.h"
#include "markup/PlainHtml.h"
#include "markup/TagPass.h"
#include "markup/TextFormatting.h"

namespace pw::markup {
namespace {

constexpr std::string_view kNbspEntity = "&nbsp;";
constexpr std::string_view kNbspChar = "\xC2\xA0";

// Which text styles of the selection survive the operation.
enum class Styles { None, Upright, All };

struct ScanOptions {
  bool lines = false;         // paragraph ends and breaks end a line (else they are blanks)
  bool keepLinks = false;     // "<A ...>" stays
  bool keepPictures = false;  // "<IMG ...>" stays
  Styles styles = Styles::None;
  bool findAuthors = false;   // mark text-author lines
};

struct ScannedLine {
  std::string html;
  bool empty = true;
  bool textAuthor = false;
};

struct Scan {
  std::vector<ScannedLine> lines;
  bool hasBookmark = false;
  bool textBeforeBookmark = false;
};

// Inline tags vanish where they stand, so markup inside a word ("Г<FONT>лава</FONT>") does
// not split it; every other tag separates words.
bool IsInlineTag(std::string_view name) {
  static constexpr std::array<std::string_view, 11> kInline = {
      "a", "img", "font", "span", "small", "big", "tt", "code", "abbr", "nobr", "wbr"};
  for (std::string_view n : kInline) {
    if (n == name) return true;
  }
  return IsStyleTag(name);
}

bool IsParagraphTag(std::string_view name) {
  return name == "div" || name == "p" ||
         (name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6');
}

bool KeepsStyle(Styles styles, std::string_view name) {
  if (styles == Styles::All) return true;
  if (styles == Styles::None) return false;
  return name != "i" && name != "em";
}

bool IsRightAligned(std::string_view tagText) {
  std::string value;
  if (TagAttribute(tagText, "align", value) && common::AsciiLower(value) == "right") return true;
  if (!TagAttribute(tagText, "style", value)) return false;
  const std::string style = common::AsciiLower(value);
  const size_t at = style.find("text-align");
  if (at == std::string::npos) return false;
  const size_t valueAt = style.find_first_not_of(": ", at + 10);
  return valueAt != std::string::npos && style.compare(valueAt, 5, "right") == 0;
}

// A note anchor: a link with a name, or with an id and no target.
bool IsBookmark(std::string_view tagText) {
  std::string value;
  if (TagAttribute(tagText, "name", value)) return true;
  return TagAttribute(tagText, "id", value) && !TagAttribute(tagText, "href", value);
}

// Builds one line: blanks collapsed and trimmed, kept styles opened only where text follows
// and closed at the end of the line (so every line is well nested on its own), links and
// pictures written where they stand.
class LineBuilder {
 public:
  bool HasContent() const { return hasText_ || hasObject_; }

  void Blank() {
    if (hasText_) pendingBlank_ = true;
  }

  void Text(std::string_view piece) {
    FlushBlank();
    FlushOpens();
    html_ += piece;
    hasText_ = true;
  }

  // A style that applies to the text that follows.
  void OpenStyle(std::string tagText, std::string name) {
    open_.push_back({std::move(name), std::move(tagText), false});
  }

  // A link or a picture: written at once. A link stays open until its closing tag.
  void Object(std::string_view tagText, std::string_view name, bool countsAsContent) {
    FlushBlank();
    FlushOpens();
    html_ += tagText;
    if (name == "a") open_.push_back({std::string(name), std::string(tagText), true});
    if (countsAsContent) hasObject_ = true;
  }

  void Close(std::string_view name) {
    size_t k = open_.size();
    while (k > 0 && open_[k - 1].name != name) --k;
    if (k == 0) return;  // closes something opened before the selection began
    --k;
    // Styles opened inside it are closed with it and open again when text follows.
    for (size_t i = open_.size(); i > k + 1; --i) {
      if (open_[i - 1].emitted) CloseTag(open_[i - 1]);
    }
    if (open_[k].emitted) CloseTag(open_[k]);
    open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(k));
  }

  // Ends the line; styles still open carry over into the next one.
  ScannedLine Finish(bool textAuthor) {
    for (size_t i = open_.size(); i > 0; --i) {
      if (open_[i - 1].emitted) CloseTag(open_[i - 1]);
    }
    ScannedLine line{std::move(html_), !HasContent(), textAuthor};
    html_.clear();
    hasText_ = hasObject_ = pendingBlank_ = false;
    return line;
  }

 private:
  struct OpenTag {
    std::string name;
    std::string tag;
    bool emitted = false;
  };

  void FlushBlank() {
    if (pendingBlank_ && HasContent()) html_ += ' ';
    pendingBlank_ = false;
  }

  void FlushOpens() {
    for (OpenTag& open : open_) {
      if (open.emitted) continue;
      html_ += open.tag;
      open.emitted = true;
    }
  }

  void CloseTag(OpenTag& open) {
    html_ += UpperCaseTagName("</" + open.name + ">");
    open.emitted = false;
  }

  std::vector<OpenTag> open_;
  std::string html_;
  bool hasText_ = false;
  bool hasObject_ = false;
  bool pendingBlank_ = false;
};

// Reads the selection into lines under `options`. In one-line mode the result is one line.
class SelectionScanner {
 public:
  explicit SelectionScanner(const ScanOptions& options) : options_(options) {}

  Scan Run(std::string_view selectionHtml) {
    // Escaped brackets stand protected while the tags are read, and come back as escapes.
    std::string text(selectionHtml);
    ProtectEscapedBrackets(text);
    const std::string_view s(text);
    size_t i = 0;
    while (i < s.size()) {
      const char c = s[i];
      HtmlTag tag;
      if (c == '<' && ReadTagAt(s, i, tag)) {
        OnTag(s.substr(tag.begin, tag.end - tag.begin), tag);
        i = tag.end;
      } else if (IsBlankByte(c)) {
        line_.Blank();
        ++i;
      } else if (s.compare(i, kNbspChar.size(), kNbspChar) == 0) {
        line_.Blank();
        i += kNbspChar.size();
      } else if (c == '&' && common::FindAsciiCaseless(s.substr(i, kNbspEntity.size()), kNbspEntity) == 0) {
        line_.Blank();
        i += kNbspEntity.size();
      } else if (c == '<') {
        // Not a tag: a bracket of the text, written as the escape it should have been.
        Text("&lt;");
        ++i;
      } else if (s.compare(i, kTextAuthorMarker.size(), kTextAuthorMarker) == 0) {
        lineAuthor_ = true;
        i += kTextAuthorMarker.size();
      } else {
        size_t end = i + 1;
        while (end < s.size() && (static_cast<unsigned char>(s[end]) & 0xC0) == 0x80) ++end;
        Text(s.substr(i, end - i));
        i = end;
      }
    }
    EndLine();
    for (ScannedLine& line : scan_.lines) RestoreEscapedBrackets(line.html);
    return std::move(scan_);
  }

 private:
  void Text(std::string_view piece) {
    shapeStyle_ = {};
    line_.Text(piece);
    freshBlock_ = false;
    sawText_ = true;
  }

  void OnTag(std::string_view tagText, const HtmlTag& tag) {
    const std::string& name = tag.name;
    if (!tag.closing && (name == "span" || name == "h2")) NoteShapeStyle(tagText);
    if (name == "a") {
      const bool bookmark = !tag.closing && IsBookmark(tagText);
      if (bookmark && !scan_.hasBookmark) {
        scan_.hasBookmark = true;
        scan_.textBeforeBookmark = sawText_;
      }
      if (!options_.keepLinks) return;
      if (tag.closing) line_.Close("a");
      else line_.Object(UpperCaseTagName(tagText), "a", false);
    } else if (name == "img") {
      if (!options_.keepPictures) return;
      line_.Object(UpperCaseTagName(tagText), "img", true);
      freshBlock_ = false;
    } else if (IsStyleTag(name)) {
      if (!tag.closing && name == shapeStyle_) {
        // The bold of a heading or the italics of a block belong to the element's look, not
        // to the text, and go with the element.
        shapeStyle_ = {};
        return;
      }
      if (!KeepsStyle(options_.styles, name)) return;
      if (tag.closing) line_.Close(name);
      else line_.OpenStyle(UpperCaseTagName(tagText), name);
    } else if (name == "span") {
      OnSpan(tagText, tag.closing);
    } else if (IsInlineTag(name)) {
      return;
    } else if (!options_.lines) {
      line_.Blank();
    } else if (name == "br") {
      // A break on an empty line is an empty line of its own.
      if (line_.HasContent()) EndLine();
      else scan_.lines.push_back(line_.Finish(false));
      freshBlock_ = false;
    } else if (IsParagraphTag(name)) {
      if (tag.closing) {
        if (line_.HasContent()) EndLine();
        else if (freshBlock_) scan_.lines.push_back(line_.Finish(false));  // an empty paragraph
        freshBlock_ = false;
      } else {
        EndLine();
        freshBlock_ = true;
        if (options_.findAuthors && IsRightAligned(tagText)) lineAuthor_ = true;
      }
    } else {
      EndLine();
      freshBlock_ = false;
    }
  }

  // The style that the shape of the element opening here wraps its text in.
  void NoteShapeStyle(std::string_view tagText) {
    std::string id;
    if (!TagAttribute(tagText, "id", id)) return;
    if (id == "title" || id == "subtitle" || id == "former_title" || id == "BookAuthor" || id == "BookTitle") {
      shapeStyle_ = "b";
    } else if (id == "epigraph" || id == "verse") {
      shapeStyle_ = "i";
    }
  }

  void OnSpan(std::string_view tagText, bool closing) {
    if (!options_.lines || !options_.findAuthors) return;
    if (!closing) {
      std::string id;
      const bool author = TagAttribute(tagText, "id", id) && id == "txtaut";
      if (author) EndLine();
      spans_.push_back(author);
      return;
    }
    if (spans_.empty()) return;
    const bool author = spans_.back();
    spans_.pop_back();
    if (author && line_.HasContent()) {
      lineAuthor_ = true;
      EndLine();
    }
  }

  bool InAuthorSpan() const {
    for (bool author : spans_) {
      if (author) return true;
    }
    return false;
  }

  void EndLine() {
    const bool author = options_.findAuthors && (lineAuthor_ || InAuthorSpan());
    if (line_.HasContent()) scan_.lines.push_back(line_.Finish(author));
    else line_.Finish(false);
    lineAuthor_ = false;
  }

  const ScanOptions options_;
  LineBuilder line_;
  Scan scan_;
  std::vector<bool> spans_;  // open spans: true for a text-author element
  std::string_view shapeStyle_;  // "b" or "i" while the opening of an element's look is pending
  bool lineAuthor_ = false;
  bool freshBlock_ = false;  // a paragraph opened and nothing in it yet
  bool sawText_ = false;
};

// The paragraphs of the lines: empty lines at either end are dropped and a run of empty lines
// between two paragraphs becomes one empty line (in verse: the end of a stanza).
std::string Paragraphs(const std::vector<const ScannedLine*>& lines, bool keepEmptyLines) {
  std::string out;
  bool pendingEmpty = false;
  for (const ScannedLine* line : lines) {
    if (line->empty) {
      pendingEmpty = keepEmptyLines && !out.empty();
      continue;
    }
    if (!out.empty()) out += kCrLf;
    if (pendingEmpty) {
      out += kEmptyLine;
      out += kCrLf;
      pendingEmpty = false;
    }
    out += MakeParagraph(line->html);
  }
  return out;
}

std::vector<const ScannedLine*> AllLines(const Scan& scan) {
  std::vector<const ScannedLine*> lines;
  lines.reserve(scan.lines.size());
  for (const ScannedLine& line : scan.lines) lines.push_back(&line);
  return lines;
}

std::string FormatBlock(std::string_view selectionHtml, ElementKind kind,
                        const common::ElementColours& colours) {
  const Scan scan = SelectionScanner({.lines = true, .keepLinks = true, .styles = Styles::Upright,
                                      .findAuthors = true})
                        .Run(selectionHtml);
  std::vector<const ScannedLine*> body;
  std::vector<const ScannedLine*> authors;
  for (const ScannedLine& line : scan.lines) {
    if (line.textAuthor && !line.empty) authors.push_back(&line);
    else body.push_back(&line);
  }
  std::string paragraphs = Paragraphs(body, true);
  std::string textAuthors;
  if (paragraphs.empty()) {
    // Nothing but author lines: they are the block's text.
    paragraphs = Paragraphs(authors, false);
  } else {
    for (const ScannedLine* author : authors) {
      textAuthors += kCrLf;
      textAuthors += MakeTextAuthor(author->html, colours.textAuthor);
    }
  }
  if (paragraphs.empty()) return {};
  switch (kind) {
    case ElementKind::Epigraph: return MakeEpigraph(paragraphs, textAuthors, colours.epigraph);
    case ElementKind::Verse: return MakeVerse(paragraphs, textAuthors, colours.verse);
    case ElementKind::Cite: return MakeCite(paragraphs, textAuthors, colours.cite);
    default: return MakeAnnotation(paragraphs, textAuthors, colours.annotation);
  }
}

bool HasVisibleText(std::string_view html) {
  return !CleanOneLineText(html).empty();
}

}  // namespace

std::string CleanOneLineText(std::string_view selectionHtml) {
  Scan scan = SelectionScanner({}).Run(selectionHtml);
  if (scan.lines.empty()) return {};
  return std::move(scan.lines.front().html);
}

std::string FormatAsElement(std::string_view selectionHtml, ElementKind kind,
                            const common::ElementColours& colours) {
  switch (kind) {
    case ElementKind::Epigraph:
    case ElementKind::Verse:
    case ElementKind::Cite:
    case ElementKind::Annotation:
      return FormatBlock(selectionHtml, kind, colours);
    default:
      break;
  }
  const std::string text = CleanOneLineText(selectionHtml);
  if (text.empty()) return {};
  switch (kind) {
    case ElementKind::BookAuthor: return MakeBookAuthor(text, colours.bookAuthor);
    case ElementKind::BookTitle: return MakeBookTitle(text, colours.bookTitle);
    case ElementKind::Title: return MakeTitle(text, colours.title);
    case ElementKind::Subtitle: return MakeSubtitle(text, colours.subtitle);
    default: return MakeTextAuthor(text, colours.textAuthor);
  }
}

std::string FormatAsParagraph(std::string_view selectionHtml, bool keepStyles) {
  const Scan scan = SelectionScanner({.lines = true,
                                      .keepLinks = keepStyles,
                                      .keepPictures = keepStyles,
                                      .styles = keepStyles ? Styles::All : Styles::None})
                        .Run(selectionHtml);
  return Paragraphs(AllLines(scan), true);
}

std::string FormatNoteBlock(std::string_view selectionHtml, const common::ElementColours& colours,
                            common::Progress& progress, const common::Messages& messages) {
  progress.Status("...formatting note block...");
  const Scan scan = SelectionScanner({.lines = true, .keepLinks = true, .keepPictures = true,
                                      .styles = Styles::All})
                        .Run(selectionHtml);
  if (!scan.hasBookmark) {
    messages.Show(common::Msg::NoteNoBookmarks);
    return {};
  }
  // A note starts with its anchor, so a selection that starts inside a paragraph before the
  // first note was not made by clicking on the notes.
  if (scan.textBeforeBookmark) {
    messages.Show(common::Msg::NoteBadSelection);
    return {};
  }
  return MakeNoteBlock(Paragraphs(AllLines(scan), false), colours.noteBlock);
}

std::string RemoveNoteBlockMark(std::string_view selectionHtml, const common::Messages& messages) {
  // The note block's own span, with the colour font that opens it.
  size_t open = std::string_view::npos;
  HtmlTag tag;
  for (size_t at = selectionHtml.find('<'); at != std::string_view::npos;
       at = selectionHtml.find('<', at + 1)) {
    std::string id;
    if (ReadTagAt(selectionHtml, at, tag) && !tag.closing && tag.name == "span" &&
        TagAttribute(selectionHtml.substr(at, tag.end - at), "id", id) && id == "NoteBlock") {
      open = at;
      break;
    }
  }
  const size_t end = open == std::string_view::npos ? open : ElementEnd(selectionHtml, open);
  if (end == std::string_view::npos) {
    messages.Show(common::Msg::NoteBlockNotSelected);
    return {};
  }
  ReadTagAt(selectionHtml, open, tag);
  size_t innerStart = tag.end;
  size_t innerEnd = selectionHtml.rfind('<', end - 1);
  // The font that carries the block's colour, when it wraps the whole content.
  size_t fontAt = innerStart;
  while (fontAt < innerEnd && IsBlankByte(selectionHtml[fontAt])) ++fontAt;
  HtmlTag font;
  if (ReadTagAt(selectionHtml, fontAt, font) && font.name == "font" && !font.closing) {
    const size_t fontEnd = ElementEnd(selectionHtml, fontAt);
    if (fontEnd != std::string_view::npos && fontEnd <= innerEnd) {
      innerStart = font.end;
      innerEnd = selectionHtml.rfind('<', fontEnd - 1);
    }
  }
  std::string out;
  out.reserve(selectionHtml.size());
  out += selectionHtml.substr(0, open);
  out += selectionHtml.substr(innerStart, innerEnd - innerStart);
  out += selectionHtml.substr(end);
  if (!HasVisibleText(out)) return {};
  return out;
}

namespace {

enum class OperationType { Element, Paragraph, ParagraphStyles, NoteBlock, RemoveNoteBlock, Text };

struct SelectionOperation {
  std::string_view name;
  OperationType type;
  ElementKind kind = ElementKind::Title;
  TextFormat format = TextFormat::Bold;
};

constexpr std::array kSelectionOperations{
    SelectionOperation{"bookauthor", OperationType::Element, ElementKind::BookAuthor},
    SelectionOperation{"booktitle", OperationType::Element, ElementKind::BookTitle},
    SelectionOperation{"title", OperationType::Element, ElementKind::Title},
    SelectionOperation{"subtitle", OperationType::Element, ElementKind::Subtitle},
    SelectionOperation{"textauthor", OperationType::Element, ElementKind::TextAuthor},
    SelectionOperation{"epigraph", OperationType::Element, ElementKind::Epigraph},
    SelectionOperation{"verse", OperationType::Element, ElementKind::Verse},
    SelectionOperation{"cite", OperationType::Element, ElementKind::Cite},
    SelectionOperation{"annotation", OperationType::Element, ElementKind::Annotation},
    SelectionOperation{"paragraph", OperationType::Paragraph},
    SelectionOperation{"paragraphstyles", OperationType::ParagraphStyles},
    SelectionOperation{"noteblock", OperationType::NoteBlock},
    SelectionOperation{"removenoteblock", OperationType::RemoveNoteBlock},
    SelectionOperation{"bold", OperationType::Text, ElementKind::Title, TextFormat::Bold},
    SelectionOperation{"italic", OperationType::Text, ElementKind::Title, TextFormat::Italic},
    SelectionOperation{"underline", OperationType::Text, ElementKind::Title, TextFormat::Underline},
    SelectionOperation{"sup", OperationType::Text, ElementKind::Title, TextFormat::Superscript},
    SelectionOperation{"sub", OperationType::Text, ElementKind::Title, TextFormat::Subscript},
    SelectionOperation{"upper", OperationType::Text, ElementKind::Title, TextFormat::UpperCase},
    SelectionOperation{"lower", OperationType::Text, ElementKind::Title, TextFormat::LowerCase},
    SelectionOperation{"proper", OperationType::Text, ElementKind::Title, TextFormat::ProperCase},
    SelectionOperation{"removespaces", OperationType::Text, ElementKind::Title, TextFormat::RemoveSpaces},
};

constexpr auto kSelectionOperationNames = [] {
  std::array<std::string_view, kSelectionOperations.size()> names{};
  for (size_t i = 0; i < names.size(); ++i) names[i] = kSelectionOperations[i].name;
  return names;
}();

}  // namespace

std::span<const std::string_view> SelectionOperationNames() { return kSelectionOperationNames; }

SelectionOperationResult ApplySelectionOperation(std::string_view name, std::string_view selectionHtml,
                                                 const common::Settings& settings,
                                                 common::Progress& progress,
                                                 const common::Messages& messages) {
  SelectionOperationResult result;
  const SelectionOperation* operation = nullptr;
  for (const SelectionOperation& candidate : kSelectionOperations) {
    if (candidate.name == name) operation = &candidate;
  }
  if (!operation) return result;
  result.known = true;
  if (common::Trim(selectionHtml).empty()) {
    messages.Show(common::Msg::NoTextSelected);
    return result;
  }
  const common::ElementColours& colours = settings.elementColours;
  switch (operation->type) {
    case OperationType::Element:
      result.html = FormatAsElement(selectionHtml, operation->kind, colours);
      break;
    case OperationType::Paragraph:
      result.html = FormatAsParagraph(selectionHtml, false);
      break;
    case OperationType::ParagraphStyles:
      result.html = FormatAsParagraph(selectionHtml, true);
      break;
    case OperationType::NoteBlock:
      result.html = FormatNoteBlock(selectionHtml, colours, progress, messages);
      break;
    case OperationType::RemoveNoteBlock:
      result.html = RemoveNoteBlockMark(selectionHtml, messages);
      break;
    case OperationType::Text:
      result.html = FormatSelectionText(selectionHtml, operation->format);
      break;
  }
  return result;
}

}  // namespace pw::markup
