#include "import/HtmlToBook.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "common/Files.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "common/TextScan.h"
#include "common/PicturePaths.h"
#include "import/Charset.h"
#include "import/Entities.h"
#include "import/HtmlHeadings.h"
#include "import/HtmlPictures.h"
#include "import/TextCharacters.h"
#include "import/TextToBook.h"
#include "markup/BookMarkup.h"
#include "markup/TagReader.h"

namespace pw::import {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kStatus = "...converting to Pagewright format...";

bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }

// ---------------------------------------------------------------------------------------------
// Tags

using Tag = markup::TagToken;

bool ReadTag(std::string_view text, size_t pos, Tag& tag, size_t& end) { return markup::ReadTagToken(text, pos, tag, end); }

std::string Attribute(std::string_view attributes, std::string_view name) {
  return markup::TagAttribute(attributes, name);
}

size_t SkipElement(std::string_view html, size_t pos, std::string_view name) {
  return markup::SkipElementContent(html, pos, name);
}

// ---------------------------------------------------------------------------------------------
// Text

// Book text of a text run: references decoded, then "<", ">" and "&" escaped again; blanks
// folded (`pendingBlank` carries one across runs); "--" and "==" to "-", runs of points to an
// ellipsis, a point after a blank drawn to its word.
void AppendText(std::string& out, std::string_view raw, bool& pendingBlank, bool keepLineEnds) {
  std::string blanks(raw);
  if (blanks.find('&') != std::string::npos) {
    common::ReplaceAllInPlace(blanks, "&nbsp;", " ");
    common::ReplaceAllInPlace(blanks, "&#160;", " ");
    common::ReplaceAllInPlace(blanks, "&shy;", "");
  }
  const std::string decoded = ReplaceHtmlEntitiesUtf8(blanks);
  for (size_t pos = 0; pos < decoded.size();) {
    const size_t start = pos;
    const char32_t cp = common::NextCodePoint(decoded, pos);
    if (keepLineEnds && cp == '\n') {
      out.push_back('\n');
      pendingBlank = false;
      continue;
    }
    if (cp == ' ' || cp == '\t' || cp == '\r' || cp == '\n' || cp == '\f' || cp == 0xA0) {
      pendingBlank = true;
      continue;
    }
    if (cp == 0xAD || cp < 0x20 || cp == 0x7F) continue;  // soft hyphens and control characters
    if (cp == '&') {
      // A reference the table does not know stays as written; a lone "&" is escaped.
      const size_t semi = common::FindWithin(decoded, ';', start + 1, 10);
      const std::string_view rest(decoded.data() + start, decoded.size() - start);
      if (semi != std::string::npos && rest.size() > 1 &&
          (IsAsciiLetter(rest[1]) || rest[1] == '#')) {
        bool name = true;
        for (size_t k = start + 1; k < semi; ++k)
          if (!IsAsciiLetter(decoded[k]) && !(decoded[k] >= '0' && decoded[k] <= '9') && decoded[k] != '#') name = false;
        if (name && decoded.compare(start, 4, "&lt;") != 0 && decoded.compare(start, 4, "&gt;") != 0) {
          if (pendingBlank && !out.empty()) out.push_back(' ');
          pendingBlank = false;
          out.append(decoded, start, semi - start + 1);
          pos = semi + 1;
          continue;
        }
        if (name) {  // "&lt;" and "&gt;" stay escaped
          if (pendingBlank && !out.empty()) out.push_back(' ');
          pendingBlank = false;
          out.append(decoded, start, semi - start + 1);
          pos = semi + 1;
          continue;
        }
      }
    }
    if ((cp == '-' || cp == '=') && pos < decoded.size() && decoded[pos] == static_cast<char>(cp)) {
      while (pos < decoded.size() && decoded[pos] == static_cast<char>(cp)) ++pos;
      if (pendingBlank && !out.empty()) out.push_back(' ');
      pendingBlank = false;
      out.push_back('-');
      continue;
    }
    if (cp == '.') {
      size_t run = 1;
      while (pos < decoded.size() && decoded[pos] == '.') {
        ++pos;
        ++run;
      }
      // A point after a blank belongs to the word before it.
      if (run == 1 && pendingBlank) pendingBlank = false;
      if (pendingBlank && !out.empty()) out.push_back(' ');
      pendingBlank = false;
      out += run == 1 ? "." : "...";
      continue;
    }
    if (pendingBlank && !out.empty()) out.push_back(' ');
    pendingBlank = false;
    switch (cp) {
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '&': out += "&amp;"; break;
      default: out.append(decoded, start, pos - start);
    }
  }
}

// ---------------------------------------------------------------------------------------------
// One paragraph of book HTML with balanced inline tags.

enum Style { kBold, kItalic, kUnder, kSub, kSup, kStyleCount };
constexpr std::array<std::string_view, kStyleCount> kOpenTags = {"<B>", "<I>", "<U>", "<SUB>", "<SUP>"};
constexpr std::array<std::string_view, kStyleCount> kCloseTags = {"</B>", "</I>", "</U>", "</SUB>", "</SUP>"};

class ParagraphBuilder {
 public:
  void Text(std::string_view raw, bool keepLineEnds) {
    std::string piece;
    bool blank = false;
    AppendText(piece, raw, blank, keepLineEnds);
    const bool leading = !raw.empty() && (IsBlank(raw.front()) || raw.starts_with("&nbsp;"));
    if (piece.empty()) {
      pendingBlank_ = pendingBlank_ || blank || leading;
      return;
    }
    CloseUnwanted();
    if ((pendingBlank_ || leading) && hasText_) out_.push_back(' ');
    pendingBlank_ = blank;
    OpenWanted();
    out_ += piece;
    hasText_ = true;
    hasVisible_ = true;
  }

  void Style(Style s, bool on) {
    if (on) ++depth_[s];
    else if (depth_[s] > 0) --depth_[s];
  }

  void OpenLink(const std::string& href) {
    CloseLink();
    CloseAll();
    Flush();
    out_ += "<A href=\"" + href + "\">";
    linkOpen_ = true;
  }
  void CloseLink() {
    if (!linkOpen_) return;
    CloseAll();
    if (out_.ends_with("\">") && out_.rfind("<A href=") == out_.rfind('<')) {
      out_.resize(out_.rfind("<A href="));  // a link around nothing
    } else {
      out_ += "</A>";
    }
    linkOpen_ = false;
  }
  void Anchor(const std::string& name) {
    Flush();
    out_ += "<A name=\"" + name + "\"></A>";
  }
  void Picture(const std::string& src) {
    Flush();
    out_ += "<IMG src=\"" + src + "\">";
    hasText_ = true;
    ++pictures_;
  }

  bool HasText() const { return hasText_; }
  bool OnlyPicture() const { return pictures_ == 1 && !hasVisible_; }

  // The paragraph's inner HTML; the builder starts a new paragraph, styles still in force.
  std::string Take() {
    CloseLink();
    CloseAll();
    std::string out = std::move(out_);
    out_.clear();
    hasText_ = false;
    hasVisible_ = false;
    pendingBlank_ = false;
    pictures_ = 0;
    while (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
  }

 private:
  void Flush() {
    if (pendingBlank_ && hasText_) out_.push_back(' ');
    pendingBlank_ = false;
  }
  void CloseUnwanted() {
    size_t keep = 0;
    while (keep < open_.size() && depth_[open_[keep]] > 0) ++keep;
    while (open_.size() > keep) CloseTop();
  }
  void OpenWanted() {
    for (int s = 0; s < kStyleCount; ++s) {
      if (depth_[s] == 0 || std::find(open_.begin(), open_.end(), s) != open_.end()) continue;
      out_ += kOpenTags[s];
      open_.push_back(static_cast<enum Style>(s));
    }
  }
  void CloseTop() {
    const auto s = open_.back();
    open_.pop_back();
    if (out_.ends_with(kOpenTags[s])) {
      out_.resize(out_.size() - kOpenTags[s].size());
      return;
    }
    out_ += kCloseTags[s];
  }
  void CloseAll() {
    while (!open_.empty()) CloseTop();
  }

  std::string out_;
  std::array<int, kStyleCount> depth_{};
  std::vector<enum Style> open_;
  bool pendingBlank_ = false;
  bool hasText_ = false;
  bool linkOpen_ = false;
  bool hasVisible_ = false;
  int pictures_ = 0;
};

// ---------------------------------------------------------------------------------------------
// The book

using Block = HtmlBlock;

std::string PlainOf(std::string_view html) { return PlainOfHtml(html); }

// Span classes that mark a printed page's number ("pagenum", "page-number") or a picture's
// caption; inside a heading neither is heading text.
bool IsPageNumberClass(std::string_view cls) {
  const std::string lower = common::AsciiLower(cls);
  return lower == "page" || lower.find("pagenum") != std::string::npos || lower.find("pageno") != std::string::npos ||
         lower.find("page-num") != std::string::npos || lower.find("page_num") != std::string::npos;
}
bool IsCaptionClass(std::string_view cls) { return common::AsciiLower(cls).find("caption") != std::string::npos; }

bool HasLetterOrDigit(std::string_view text) {
  for (size_t pos = 0; pos < text.size();) {
    if (IsLetterOrDigit(common::NextCodePoint(text, pos))) return true;
  }
  return false;
}

class Converter {
 public:
  Converter(const HtmlImportOptions& options, HtmlImportReport& report) : options_(options), report_(report) {}

  std::vector<Block> Run(std::string_view html) {
    // The classes that make text bold or italic.
    for (size_t at = common::FindAsciiCaseless(html, "<style"); at != std::string_view::npos;
         at = common::FindAsciiCaseless(html, "<style", at + 6)) {
      const size_t open = html.find('>', at);
      if (open == std::string_view::npos) break;
      const size_t close = common::FindAsciiCaseless(html, "</style", open);
      for (auto& cls : ReadStyleClasses(html.substr(open + 1, (close == std::string_view::npos ? html.size() : close) - open - 1)))
        classes_.push_back(std::move(cls));
    }
    // A cover the head names and the body does not show stands first in the book.
    coverReference_ = CoverPageReference(html);
    if (!coverReference_.empty() && !ShowsPicture(html, coverReference_)) Picture(coverReference_);
    size_t pos = 0;
    while (pos < html.size()) {
      const size_t lt = html.find('<', pos);
      const size_t stop = lt == std::string_view::npos ? html.size() : lt;
      if (stop > pos) Text(html.substr(pos, stop - pos));
      if (lt == std::string_view::npos) break;
      if (html.compare(lt, 4, "<!--") == 0) {
        const size_t end = html.find("-->", lt + 4);
        pos = end == std::string_view::npos ? html.size() : end + 3;
        continue;
      }
      if (lt + 1 < html.size() && (html[lt + 1] == '!' || html[lt + 1] == '?')) {
        const size_t end = html.find('>', lt);
        pos = end == std::string_view::npos ? html.size() : end + 1;
        continue;
      }
      Tag tag;
      size_t end = 0;
      if (!ReadTag(html, lt, tag, end)) {
        Text(html.substr(lt, 1));
        pos = lt + 1;
        continue;
      }
      pos = end;
      if (!tag.closing && (tag.name == "head" || tag.name == "script" || tag.name == "style" || tag.name == "form" ||
                           tag.name == "table" || tag.name == "select" || tag.name == "noscript" ||
                           tag.name == "title" || tag.name == "textarea" || tag.name == "template")) {
        pos = SkipElement(html, pos, tag.name);
        continue;
      }
      Handle(tag);
    }
    EndParagraph();
    return std::move(blocks_);
  }

 private:
  void Text(std::string_view text) {
    if (pageNumberDepth_ > 0) return;
    if (captionDepth_ > 0) {
      caption_.Text(text, false);
      return;
    }
    if (preDepth_ > 0) {
      PreText(text);
      return;
    }
    line_.Text(text, false);
  }

  // Preformatted text keeps its line ends: a line that starts indented or follows an empty
  // line starts a paragraph, a line that merely continues the previous one is joined to it.
  void PreText(std::string_view text) {
    size_t start = 0;
    while (start <= text.size()) {
      const size_t nl = text.find('\n', start);
      const std::string_view line = text.substr(start, (nl == std::string_view::npos ? text.size() : nl) - start);
      if (atPreLineStart_) {
        size_t indent = 0;
        while (indent < line.size() && (line[indent] == ' ' || line[indent] == '\t')) ++indent;
        const bool empty = indent == line.size() || common::Trim(line).empty();
        if (empty) {
          if (nl != std::string_view::npos) EndParagraph();
        } else if (indent >= 2 || preBlankBefore_) {
          EndParagraph();
        }
        preBlankBefore_ = empty && nl != std::string_view::npos;
      }
      if (!line.empty()) line_.Text(line, false);
      if (nl == std::string_view::npos) {
        atPreLineStart_ = line.empty() && atPreLineStart_;
        break;
      }
      line_.Text(" ", false);
      atPreLineStart_ = true;
      start = nl + 1;
    }
  }

  void EndParagraph() {
    const bool onlyPicture = line_.OnlyPicture();
    std::string html = line_.Take();
    if (html.empty()) return;
    if (PlainOf(html).empty() && html.find("<IMG") == std::string::npos) {
      pendingAnchors_ += html;  // anchors alone wait for the next block
      return;
    }
    Block block;
    block.kind = onlyPicture ? Block::Picture : Block::Paragraph;
    block.html = pendingAnchors_ + html;
    pendingAnchors_.clear();
    blocks_.push_back(std::move(block));
  }

  void StartHeading(int level) {
    EndParagraph();
    headingLevel_ = level;
  }

  void EndHeading() {
    if (headingLevel_ == 0) return;
    std::string html = line_.Take();
    const int level = headingLevel_;
    headingLevel_ = 0;
    pageNumberDepth_ = 0;
    captionDepth_ = 0;
    // Pictures of the heading stand before it, and their caption under them.
    const bool hadExtras = !headingPictures_.empty() || droppedPageNumber_;
    for (const std::string& picture : headingPictures_) {
      Block block;
      block.kind = Block::Picture;
      block.html = pendingAnchors_ + "<IMG src=\"" + picture + "\">";
      pendingAnchors_.clear();
      blocks_.push_back(std::move(block));
    }
    headingPictures_.clear();
    droppedPageNumber_ = false;
    if (std::string caption = caption_.Take(); !PlainOf(caption).empty()) {
      Block block;
      block.html = std::move(caption);
      blocks_.push_back(std::move(block));
    }
    const std::string plain = PlainOf(html);
    if (plain.empty() || (hadExtras && !HasLetterOrDigit(plain))) {
      // No words left: no heading. Its anchors wait for the next block, any other text stays.
      if (plain.empty()) {
        pendingAnchors_ += html;
      } else {
        Block block;
        block.html = pendingAnchors_ + html;
        pendingAnchors_.clear();
        blocks_.push_back(std::move(block));
      }
      return;
    }
    Block block;
    block.kind = Block::Heading;
    block.level = level;
    // Anchors inside the heading go in front of it with those that waited.
    std::string anchors = pendingAnchors_;
    pendingAnchors_.clear();
    for (size_t at = html.find("<A name="); at != std::string::npos; at = html.find("<A name=")) {
      const size_t end = html.find("</A>", at);
      anchors += html.substr(at, end + 4 - at);
      html.erase(at, end + 4 - at);
    }
    block.anchors = anchors;
    block.html = html;
    blocks_.push_back(std::move(block));
  }

  void Handle(const Tag& tag) {
    const std::string& n = tag.name;
    // An id on any element is a place links may lead to.
    if (!tag.closing && n != "a") {
      const std::string id = Attribute(tag.attributes, "id");
      if (!id.empty() && ValidAnchor(id)) pendingIdAnchors_.push_back(id);
    }
    if (n.size() == 2 && n[0] == 'h' && n[1] >= '1' && n[1] <= '6') {
      if (tag.closing) EndHeading();
      else {
        StartHeading(n[1] - '0');
        FlushIdAnchors();
      }
      return;
    }
    if (n == "p" || n == "div" || n == "li" || n == "dt" || n == "dd" || n == "blockquote" || n == "center" ||
        n == "tr" || n == "address" || n == "ul" || n == "ol" || n == "dl" || n == "hr" || n == "body") {
      if (headingLevel_ == 0) EndParagraph();
      FlushIdAnchors();
      return;
    }
    if (n == "pre" || n == "xmp" || n == "listing") {
      if (headingLevel_ == 0) EndParagraph();
      if (tag.closing) {
        if (preDepth_ > 0) --preDepth_;
      } else {
        ++preDepth_;
        atPreLineStart_ = true;
        preBlankBefore_ = false;
      }
      return;
    }
    if (n == "br") {
      if (headingLevel_ == 0 && preDepth_ == 0) EndParagraph();
      else line_.Text(" ", false);
      return;
    }
    FlushIdAnchors();
    if (n == "b" || n == "strong") return line_.Style(kBold, !tag.closing);
    if (n == "i" || n == "em" || n == "var" || n == "dfn") return line_.Style(kItalic, !tag.closing);
    if (n == "u" || n == "ins") return line_.Style(kUnder, !tag.closing);
    if (n == "sub") return line_.Style(kSub, !tag.closing);
    if (n == "sup") return line_.Style(kSup, !tag.closing);
    if (n == "span" || n == "font") {
      if (tag.closing) {
        if (!spanKinds_.empty()) {
          const SpanKind kind = spanKinds_.back();
          spanKinds_.pop_back();
          if (kind == SpanKind::PageNumber && pageNumberDepth_ > 0) --pageNumberDepth_;
          if (kind == SpanKind::Caption && captionDepth_ > 0) --captionDepth_;
        }
        if (!spanStyles_.empty()) {
          const auto [bold, italic] = spanStyles_.back();
          spanStyles_.pop_back();
          if (bold) line_.Style(kBold, false);
          if (italic) line_.Style(kItalic, false);
        }
        return;
      }
      bool bold = false, italic = false;
      const std::string cls = Attribute(tag.attributes, "class");
      SpanKind kind = SpanKind::Plain;
      if (headingLevel_ > 0 && IsPageNumberClass(cls)) {
        kind = SpanKind::PageNumber;
        ++pageNumberDepth_;
        droppedPageNumber_ = true;
      } else if (headingLevel_ > 0 && IsCaptionClass(cls)) {
        kind = SpanKind::Caption;
        ++captionDepth_;
      }
      spanKinds_.push_back(kind);
      for (const auto& c : classes_)
        if (c.name == cls && !cls.empty()) {
          bold = bold || c.bold;
          italic = italic || c.italic;
        }
      const std::string style = common::AsciiLower(Attribute(tag.attributes, "style"));
      if (style.find("font-weight:bold") != std::string::npos || style.find("font-weight: bold") != std::string::npos)
        bold = true;
      if (style.find("font-style:italic") != std::string::npos || style.find("font-style: italic") != std::string::npos)
        italic = true;
      if (bold) line_.Style(kBold, true);
      if (italic) line_.Style(kItalic, true);
      spanStyles_.emplace_back(bold, italic);
      return;
    }
    if (n == "a") {
      if (tag.closing) {
        line_.CloseLink();
        return;
      }
      std::string name = Attribute(tag.attributes, "name");
      if (name.empty()) name = Attribute(tag.attributes, "id");
      if (!name.empty() && ValidAnchor(name)) line_.Anchor(name);
      const std::string href = Attribute(tag.attributes, "href");
      if (!href.empty() && href.find('"') == std::string::npos && href.find('<') == std::string::npos &&
          !common::StartsWith(common::AsciiLower(href), "javascript:"))
        line_.OpenLink(href);
      return;
    }
    if (n == "img" && !tag.closing) {
      Picture(Attribute(tag.attributes, "src"));
      return;
    }
  }

  static bool ValidAnchor(std::string_view name) {
    return name.size() < 200 && name.find_first_of("\"<>& ") == std::string_view::npos;
  }

  void FlushIdAnchors() {
    for (const auto& id : pendingIdAnchors_) line_.Anchor(id);
    pendingIdAnchors_.clear();
  }

  void Picture(std::string src) {
    if (src.empty() || src.find_first_of("\"<>") != std::string::npos) return;
    src = ReplaceHtmlEntitiesUtf8(src);
    std::string kept = src;
    const std::string lower = common::AsciiLower(src);
    const bool remote = lower.find("://") != std::string::npos || common::StartsWith(lower, "data:");
    if (!remote && !options_.sourceFolder.empty() && !options_.bookFolder.empty()) {
      // Only picture files inside the source's own folder tree are copied into the book.
      if (const auto found = common::PictureInsideFolder(options_.sourceFolder, src)) {
        const fs::path& file = *found;
        std::error_code error;
        const auto copied = copiedPictures_.find(file.string());
        if (copied != copiedPictures_.end()) {
          kept = copied->second;
        } else {
          std::string name = file.filename().string();
          for (int n = 2; usedNames_.contains(name); ++n)
            name = file.stem().string() + "_" + std::to_string(n) + file.extension().string();
          if (fs::copy_file(file, options_.bookFolder / name, fs::copy_options::overwrite_existing, error)) {
            usedNames_.insert(name);
            copiedPictures_.emplace(file.string(), name);
            kept = name;
            ++report_.copiedPictures;
          }
        }
      }
    }
    // The first picture before any text is the page's cover, unless its head names one.
    const bool named = !coverReference_.empty() && src == coverReference_;
    const bool first = coverReference_.empty() && blocks_.empty() && !line_.HasText() && headingLevel_ == 0;
    if ((named || first) && report_.coverPicture.empty() && usedNames_.contains(kept)) report_.coverPicture = kept;
    if (headingLevel_ > 0) {
      headingPictures_.push_back(kept);
    } else {
      line_.Picture(kept);
    }
    ++report_.pictures;
  }

  const HtmlImportOptions& options_;
  HtmlImportReport& report_;
  std::vector<StyleClass> classes_;
  std::vector<std::pair<bool, bool>> spanStyles_;
  ParagraphBuilder line_;
  std::vector<Block> blocks_;
  std::string pendingAnchors_;
  std::vector<std::string> pendingIdAnchors_;
  int headingLevel_ = 0;
  enum class SpanKind { Plain, PageNumber, Caption };
  std::vector<SpanKind> spanKinds_;
  int pageNumberDepth_ = 0;
  int captionDepth_ = 0;
  bool droppedPageNumber_ = false;
  ParagraphBuilder caption_;
  std::vector<std::string> headingPictures_;
  std::string coverReference_;
  int preDepth_ = 0;
  bool atPreLineStart_ = true;
  bool preBlankBefore_ = false;
  std::map<std::string, std::string> copiedPictures_;
  std::set<std::string> usedNames_;
};

}  // namespace

std::string ConvertHtmlToHtml0(std::string_view html, common::Session& session, const HtmlImportOptions& options,
                               HtmlImportReport* reportOut) {
  HtmlImportReport report;
  common::Progress& progress = session.progress;
  for (const std::string_view step : {"...getting styles...", "...removing non-used tags...", "...removing bad symbols...",
                                      "...saving styles...", "...replacing html entities...",
                                      "...replacing non-standard symbols..."})
    progress.Status(std::string(kStatus) + std::string(step));
  Converter converter(options, report);
  std::vector<Block> blocks = converter.Run(html);
  progress.Percent(60);

  progress.Status(std::string(kStatus) + "...looking for titles...");
  HeadingPlan plan = PlanHeadings(blocks);
  if (!options.bookAuthor.empty()) plan.bookAuthor = options.bookAuthor;
  if (!options.bookTitle.empty()) plan.bookTitle = options.bookTitle;
  const common::ElementColours& colours = session.settings.elementColours;
  std::string body;
  body.reserve(html.size());
  if (!plan.bookAuthor.empty()) body += markup::MakeBookAuthor(plan.bookAuthor, colours.bookAuthor) + "\r\n";
  if (!plan.bookTitle.empty()) body += markup::MakeBookTitle(plan.bookTitle, colours.bookTitle) + "\r\n";
  report.bookAuthor = plan.bookAuthor;
  report.bookTitle = plan.bookTitle;
  progress.Status(std::string(kStatus) + "...looking for paragraphs...");
  for (size_t i = 0; i < blocks.size(); ++i) {
    const Block& block = blocks[i];
    const HeadingRole role = plan.roles[i];
    if (block.kind == Block::Heading && role != HeadingRole::Title && role != HeadingRole::Subtitle) {
      body += block.anchors;
      continue;
    }
    switch (block.kind) {
      case Block::Heading:
        body += block.anchors;
        if (role == HeadingRole::Title) {
          body += "<BR>" + markup::MakeTitle(block.html, colours.title);
          ++report.titles;
        } else {
          body += "<BR>" + markup::MakeSubtitle(block.html, colours.subtitle);
          ++report.subtitles;
        }
        break;
      case Block::Picture:
        body += "<DIV align=center>" + block.html + "</DIV>";
        break;
      case Block::Paragraph:
        body += markup::kParagraphStart;
        body += block.html;
        body += markup::kDivEnd;
        ++report.paragraphs;
        break;
    }
    body += "\r\n";  // every block on its own line
  }
  progress.Status(std::string(kStatus) + "...inserting line ends...");
  progress.Status(std::string(kStatus) + "...restoring styles...");
  progress.Status(std::string(kStatus) + "...cleaning file...");
  std::string document = markup::MakeBodyTag(markup::BodyStyleFromSettings(session.settings), true, false, false);
  document += "\r\n";
  document += body;
  document += markup::kLastParagraph;
  document += "\r\n";
  document += markup::kBookEnd;
  if (options.linkHeadings) markup::InsertContents(document, session.settings.bookCodePage);
  progress.Percent(100);
  if (reportOut) *reportOut = report;
  return document;
}

std::string ExtractTextFromHtml(std::string_view html, common::Progress& progress) {
  progress.Status("...extracting text...restoring line ends...");
  std::string out;
  out.reserve(html.size());
  size_t pos = 0;
  while (pos < html.size()) {
    const size_t lt = html.find('<', pos);
    out.append(html.substr(pos, (lt == std::string_view::npos ? html.size() : lt) - pos));
    if (lt == std::string_view::npos) break;
    if (html.compare(lt, 4, "<!--") == 0) {
      const size_t end = html.find("-->", lt + 4);
      pos = end == std::string_view::npos ? html.size() : end + 3;
      continue;
    }
    Tag tag;
    size_t end = 0;
    if (!ReadTag(html, lt, tag, end)) {
      const size_t gt = html.find('>', lt);
      if (lt + 1 < html.size() && (html[lt + 1] == '!' || html[lt + 1] == '?') && gt != std::string_view::npos) {
        pos = gt + 1;
        continue;
      }
      out.push_back('<');
      pos = lt + 1;
      continue;
    }
    pos = end;
    const std::string& n = tag.name;
    if (!tag.closing && (n == "head" || n == "script" || n == "style")) {
      pos = SkipElement(html, pos, n);
      continue;
    }
    if ((tag.closing && (n == "div" || n == "p" || n == "dd")) || (!tag.closing && (n == "dd" || n == "li" || n == "br")) ||
        (n.size() == 2 && n[0] == 'h' && n[1] >= '1' && n[1] <= '6'))
      out.push_back('\n');
  }
  progress.Status("...extracting text...replacing html symbols...");
  common::ReplaceAllInPlace(out, "&shy;", "");
  common::ReplaceAllInPlace(out, "&#173;", "");
  common::ReplaceAllInPlace(out, "&nbsp;", " ");
  common::ReplaceAllInPlace(out, "&#160;", " ");
  common::ReplaceAllInPlace(out, "&amp;#", "&#");
  return ReplaceHtmlEntitiesUtf8(out);
}

std::string FormatClipboardHtml(std::string_view html, common::Progress& progress) {
  progress.Status("...formatting clipboard data...removing bad tags...");
  progress.Status("...formatting clipboard data...replacing html entities...");
  progress.Status("...formatting clipboard data...making styles...");
  HtmlImportOptions options;
  HtmlImportReport report;
  Converter converter(options, report);
  std::string out;
  for (const auto& block : converter.Run(html)) {
    if (block.kind == Block::Heading) {
      out += block.anchors + "<DIV align=center><B>" + block.html + "</B></DIV>";
    } else if (block.kind == Block::Picture) {
      out += "<DIV align=center>" + block.html + "</DIV>";
    } else {
      out += markup::kParagraphStart;
      out += block.html;
      out += markup::kDivEnd;
    }
    out += "\r\n";
  }
  return out;
}

bool ConvertHtmlFileToHtml0(const fs::path& source, const fs::path& output, common::Session& session,
                            HtmlImportReport* report) {
  std::string bytes;
  if (!common::ReadWholeFile(source, bytes)) {
    session.messages.Show(common::Msg::ErrorReadingFile, source.string());
    return false;
  }
  const std::string html = DetectCharset(bytes, session);
  HtmlImportOptions options;
  options.sourceFolder = source.parent_path();
  options.bookFolder = output.parent_path();
  options.linkHeadings = false;
  HtmlImportReport local;
  std::string document = ConvertHtmlToHtml0(html, session, options, &local);
  if (local.paragraphs == 0 && local.titles == 0) {
    const std::string text = ExtractTextFromHtml(html, session.progress);
    if (common::Trim(text).empty()) {
      session.messages.Show(common::Msg::HtmlCannotTransform);
      return false;
    }
    session.messages.Show(common::Msg::HtmlKeepFormatFailed);
    if (!session.messages.Ask(common::Msg::HtmlTryReformatting, {}, true)) return false;
    TextImportOptions textOptions;
    textOptions.sourceType = "html";
    document = ConvertTextToBook(text, TextTarget::Html0, session, textOptions);
  }
  if (!local.coverPicture.empty()) {
    // The cover beside the book is the one its FB2 takes.
    const fs::path picture = output.parent_path() / local.coverPicture;
    std::string extension = common::LowerExtension(picture);
    if (extension == "jpeg") extension = "jpg";
    const fs::path cover = output.parent_path() / ("cover." + extension);
    std::error_code ignored;
    if ((extension == "jpg" || extension == "png") && picture != cover)
      fs::copy_file(picture, cover, fs::copy_options::skip_existing, ignored);
  }
  if (report) *report = local;
  if (!common::WriteFileAtomic(output, document)) {
    session.messages.Show(common::Msg::ErrorWritingFile, output.string());
    return false;
  }
  return true;
}

}  // namespace pw::import
