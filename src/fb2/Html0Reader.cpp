#include "fb2/Html0Reader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "common/Text.h"
#include "common/Utf8.h"
#include "markup/TagReader.h"

namespace pw::fb2 {

namespace {

constexpr size_t kMaxAnchors = 10000;
constexpr size_t kMaxPictures = 10000;
constexpr size_t kMaxNoteBlocks = 1000;
constexpr size_t kMaxNotes = 5000;

// ---------------------------------------------------------------------------------------------
// Tags

using Tag = markup::TagToken;

bool ReadTag(std::string_view text, size_t pos, Tag& tag, size_t& end) { return markup::ReadTagToken(text, pos, tag, end); }

std::string Attribute(std::string_view attributes, std::string_view name) {
  return markup::TagAttribute(attributes, name);
}

int NumberAttribute(std::string_view attributes, std::string_view name) {
  const std::string value = Attribute(attributes, name);
  int number = 0;
  std::from_chars(value.data(), value.data() + value.size(), number);
  return number;
}

// ---------------------------------------------------------------------------------------------
// Inline markup of one line

enum Style { kStrong, kEmphasis, kStrike, kSub, kSup, kStyleCount };
constexpr std::array<std::string_view, kStyleCount> kStyleTags = {"strong", "emphasis", "strikethrough", "sub", "sup"};

class LineBuilder {
 public:
  void Text(std::string_view text) {
    if (text.empty()) return;
    std::string piece;
    bool trailingBlank = false;
    AppendBookText(piece, text, trailingBlank);
    bool leadingBlank = !piece.empty() && piece.front() == ' ';
    if (leadingBlank) piece.erase(0, 1);
    if (piece.empty()) {
      pendingBlank_ = pendingBlank_ || leadingBlank || trailingBlank;
      return;
    }
    // Blanks and no-break spaces at the very start of the line are its indent, not text.
    if (!hasText_) {
      size_t start = 0;
      while (true) {
        if (start < piece.size() && piece[start] == ' ') ++start;
        else if (piece.compare(start, 2, "\xC2\xA0") == 0) start += 2;
        else break;
      }
      piece.erase(0, start);
      if (piece.empty()) {
        pendingBlank_ = false;
        return;
      }
    }
    // Styles that end here close before the blank, styles that begin open after it.
    CloseUnwantedStyles();
    if ((pendingBlank_ || leadingBlank) && hasText_) xml_.push_back(' ');
    pendingBlank_ = trailingBlank;
    OpenWantedStyles();
    xml_ += piece;
    hasText_ = true;
    if (NonBlank(piece)) hasVisible_ = true;
  }

  // Styles in force that are not written (the element's own look: the italics of a verse).
  void Suppress(Style style, bool suppressed) { suppressed_[style] = suppressed; }

  void SetStyle(Style style, bool on) {
    if (on) ++depth_[style];
    else if (depth_[style] > 0) --depth_[style];
  }

  void OpenLink(size_t number) {
    CloseLink();
    CloseAllStyles();
    FlushBlank();
    xml_.push_back(kLinkOpen);
    xml_ += std::to_string(number);
    xml_.push_back(kLinkMark);
    linkOpen_ = true;
  }

  void CloseLink() {
    if (!linkOpen_) return;
    CloseAllStyles();
    xml_.push_back(kLinkClose);
    linkOpen_ = false;
  }

  void Image(std::string_view id) {
    FlushBlank();
    xml_ += "<image l:href=\"#";
    xml_ += id;
    xml_ += "\"/>";
    hasImage_ = true;
    imageId_ = id;
    ++images_;
  }

  // The finished markup; the builder is empty again, styles still in force for what follows.
  std::string Take() {
    CloseLink();
    CloseAllStyles();
    std::string out = std::move(xml_);
    xml_.clear();
    while (!out.empty() && out.back() == ' ') out.pop_back();
    hasText_ = hasVisible_ = hasImage_ = false;
    pendingBlank_ = false;
    images_ = 0;
    return out;
  }

  bool hasVisible() const { return hasVisible_; }
  bool onlyImage() const { return hasImage_ && !hasVisible_ && images_ == 1; }
  const std::string& imageId() const { return imageId_; }
  bool empty() const { return !hasVisible_ && !hasImage_; }

 private:
  static bool NonBlank(std::string_view piece) {
    for (size_t i = 0; i < piece.size();) {
      const char32_t cp = common::NextCodePoint(piece, i);
      if (cp != ' ' && cp != 0xA0 && cp != 0xAD) return true;
    }
    return false;
  }

  void FlushBlank() {
    if (pendingBlank_ && hasText_) xml_.push_back(' ');
    pendingBlank_ = false;
  }

  bool Wanted(int s) const { return depth_[s] > 0 && !suppressed_[s]; }

  void CloseUnwantedStyles() {
    size_t keep = 0;
    while (keep < open_.size() && Wanted(open_[keep])) ++keep;
    while (open_.size() > keep) CloseTop();
  }

  void OpenWantedStyles() {
    for (int s = 0; s < kStyleCount; ++s) {
      if (!Wanted(s) || std::find(open_.begin(), open_.end(), s) != open_.end()) continue;
      // "sub" and "sup" exclude each other; the one opened first stays.
      if ((s == kSub && std::find(open_.begin(), open_.end(), kSup) != open_.end()) ||
          (s == kSup && std::find(open_.begin(), open_.end(), kSub) != open_.end()))
        continue;
      xml_.push_back('<');
      xml_ += kStyleTags[s];
      xml_.push_back('>');
      open_.push_back(static_cast<Style>(s));
    }
  }

  void CloseTop() {
    const Style s = open_.back();
    open_.pop_back();
    // An element opened and closed around nothing is dropped.
    const std::string openTag = "<" + std::string(kStyleTags[s]) + ">";
    if (xml_.ends_with(openTag)) {
      xml_.resize(xml_.size() - openTag.size());
      return;
    }
    xml_ += "</";
    xml_ += kStyleTags[s];
    xml_.push_back('>');
  }

  void CloseAllStyles() {
    while (!open_.empty()) CloseTop();
  }

  std::string xml_;
  std::array<int, kStyleCount> depth_{};
  std::array<bool, kStyleCount> suppressed_{};
  std::vector<Style> open_;
  bool linkOpen_ = false;
  bool pendingBlank_ = false;
  bool hasText_ = false;
  bool hasVisible_ = false;
  bool hasImage_ = false;
  int images_ = 0;
  std::string imageId_;
};

// ---------------------------------------------------------------------------------------------
// The scan

enum class SpanKind {
  Plain,
  Title,
  Subtitle,
  Epigraph,
  Cite,
  Verse,
  TextAuthor,
  Annotation,
  NoteBlock,
  Ignored,   // markers that hold nothing
  Contents,  // the contents block: readers make their own from the sections
};

SpanKind KindOfSpan(std::string_view id) {
  if (id == "title") return SpanKind::Title;
  if (id == "subtitle" || id == "former_title") return SpanKind::Subtitle;
  if (id == "epigraph") return SpanKind::Epigraph;
  if (id == "cite") return SpanKind::Cite;
  if (id == "verse") return SpanKind::Verse;
  if (id == "txtaut") return SpanKind::TextAuthor;
  if (id == "annotation") return SpanKind::Annotation;
  if (id == "NoteBlock") return SpanKind::NoteBlock;
  return SpanKind::Plain;
}

BlockKind BlockOfSpan(SpanKind kind) {
  switch (kind) {
    case SpanKind::Title: return BlockKind::Title;
    case SpanKind::Subtitle: return BlockKind::Subtitle;
    case SpanKind::Epigraph: return BlockKind::Epigraph;
    case SpanKind::Cite: return BlockKind::Cite;
    case SpanKind::Verse: return BlockKind::Poem;
    case SpanKind::TextAuthor: return BlockKind::TextAuthor;
    case SpanKind::Annotation: return BlockKind::Annotation;
    default: return BlockKind::Paragraph;
  }
}

class Reader {
 public:
  Reader(const PictureStore& pictures, Html0Book& book) : pictures_(pictures), book_(book) {}

  void Run(std::string_view html, common::Progress& progress) {
    progress.Status("...converting html to fb2: making bookmarks...");
    size_t pos = 0;
    // The book text starts after the body tag when there is one.
    const size_t body = common::FindAsciiCaseless(html, "<body");
    if (body != std::string_view::npos) {
      const size_t close = html.find('>', body);
      if (close != std::string_view::npos) pos = close + 1;
    }
    const size_t textEnd = html.find("<SPAN id=FB2TEXTEND>");
    if (textEnd != std::string_view::npos) html = html.substr(0, textEnd);
    size_t nextPercent = html.size() / 20;
    while (pos < html.size()) {
      if (pos >= nextPercent && html.size() > 0) {
        progress.Percent(static_cast<int>(pos * 100 / html.size()));
        nextPercent = pos + html.size() / 20 + 1;
      }
      const size_t lt = html.find('<', pos);
      const size_t stop = lt == std::string_view::npos ? html.size() : lt;
      if (stop > pos) Text(html.substr(pos, stop - pos));
      if (lt == std::string_view::npos) break;
      if (html.compare(lt, 4, "<!--") == 0) {
        const size_t end = html.find("-->", lt + 4);
        pos = end == std::string_view::npos ? html.size() : end + 3;
        continue;
      }
      Tag tag;
      size_t end = 0;
      if (!ReadTag(html, lt, tag, end)) {
        Text("<");
        pos = lt + 1;
        continue;
      }
      pos = end;
      if (!tag.closing && (tag.name == "script" || tag.name == "style" || tag.name == "head" || tag.name == "title")) {
        const std::string close = "</" + tag.name;
        const size_t skip = common::FindAsciiCaseless(html, close, pos);
        if (skip == std::string_view::npos) {
          pos = html.size();
        } else {
          const size_t gt = html.find('>', skip);
          pos = gt == std::string_view::npos ? html.size() : gt + 1;
        }
        continue;
      }
      if (tag.name == "body" && tag.closing) break;
      Handle(tag);
    }
    FinishLine(false);
    while (!spans_.empty()) CloseSpan();
    if (expectBookSubtitle_) expectBookSubtitle_ = false;
    progress.Percent(100);
  }

 private:
  struct OpenSpan {
    SpanKind kind;
    size_t blockIndex;  // the block this span fills, when it is a marked element
  };

  // ----- lines

  void Text(std::string_view text) {
    if (InContents()) return;
    if (headingDepth_ > 0) {
      headingText_ += text;
      return;
    }
    const bool italicElement = std::any_of(spans_.begin(), spans_.end(), [](const OpenSpan& span) {
      return span.kind == SpanKind::Verse || span.kind == SpanKind::Epigraph;
    });
    line_.Suppress(kEmphasis, italicElement);
    line_.Text(text);
  }

  void StartLine(bool centred) {
    FinishLine(false);
    lineCentred_ = centred;
    lineExplicit_ = true;
  }

  // Ends the line being built. An explicit paragraph that holds nothing is an empty line.
  void FinishLine(bool fromBreak) {
    const bool hadContent = !line_.empty();
    const bool onlyImage = line_.onlyImage();
    const std::string imageId = line_.imageId();
    std::string xml = line_.Take();
    std::string id = std::move(lineId_);
    lineId_.clear();
    const bool explicitLine = lineExplicit_;
    lineExplicit_ = false;
    const bool centred = lineCentred_;
    if (!fromBreak) lineCentred_ = false;
    if (!hadContent) {
      if (!id.empty()) pendingIds_.push_back(std::move(id));
      if (explicitLine || fromBreak) AddEmptyLine();
      return;
    }
    Fb2Line line{std::move(id), std::move(xml), false};
    TakePendingId(line.id);
    OpenSpan* marked = InnermostMarked();
    if (marked) {
      Fb2Block& block = BlockOf(*marked);
      const bool author = InTextAuthor() && block.kind != BlockKind::TextAuthor;
      (author ? block.authors : block.lines).push_back(std::move(line));
      return;
    }
    if (inNoteBlock_) {
      noteLines_.push_back(std::move(line));
      return;
    }
    if (onlyImage) {
      Fb2Block block;
      block.kind = BlockKind::Image;
      block.image = imageId;
      block.id = std::move(line.id);
      AddBlock(std::move(block));
      return;
    }
    Fb2Block block;
    block.kind = centred ? BlockKind::Subtitle : BlockKind::Paragraph;
    block.lines.push_back(std::move(line));
    AddBlock(std::move(block));
  }

  void AddEmptyLine() {
    OpenSpan* marked = InnermostMarked();
    if (marked) {
      Fb2Block& block = BlockOf(*marked);
      if (!InTextAuthor()) block.lines.push_back(Fb2Line{{}, {}, true});
      return;
    }
    if (inNoteBlock_) return;
    Fb2Block block;
    block.kind = BlockKind::EmptyLine;
    AddBlock(std::move(block));
  }

  void TakePendingId(std::string& id) {
    if (pendingIds_.empty()) return;
    // Several anchors on one element: the first names it, the others are aliases of it.
    if (id.empty()) {
      id = pendingIds_.front();
      pendingIds_.erase(pendingIds_.begin());
    }
    for (auto& alias : pendingIds_) aliases_.emplace_back(std::move(alias), id);
    pendingIds_.clear();
  }

  void AddBlock(Fb2Block block) {
    if (block.kind != BlockKind::EmptyLine && block.kind != BlockKind::Subtitle) expectBookSubtitle_ = false;
    if (block.kind == BlockKind::Subtitle && expectBookSubtitle_) {
      expectBookSubtitle_ = false;
      std::string text;
      for (const auto& line : block.lines) text += (text.empty() ? "" : " ") + line.xml;
      book_.bookSubtitle = text;
      return;
    }
    if (block.kind == BlockKind::Image && !seenAuthorHeading_ && book_.leadImage.empty() && book_.blocks.empty()) {
      book_.leadImage = block.image;
      return;
    }
    book_.blocks.push_back(std::move(block));
  }

  // ----- spans

  OpenSpan* InnermostMarked() {
    for (auto it = spans_.rbegin(); it != spans_.rend(); ++it)
      if (it->kind != SpanKind::Plain && it->kind != SpanKind::Ignored && it->kind != SpanKind::NoteBlock) return &*it;
    return nullptr;
  }

  bool InTextAuthor() const {
    for (const auto& span : spans_)
      if (span.kind == SpanKind::TextAuthor) return true;
    return false;
  }

  Fb2Block& BlockOf(const OpenSpan& span) {
    return span.blockIndex == kAnnotationBlock ? annotationScratch_ : book_.blocks[span.blockIndex];
  }

  bool InTitleLike() {
    const OpenSpan* marked = InnermostMarked();
    return marked && (marked->kind == SpanKind::Title || marked->kind == SpanKind::Subtitle);
  }

  bool InContents() const {
    return std::any_of(spans_.begin(), spans_.end(), [](const OpenSpan& span) { return span.kind == SpanKind::Contents; });
  }

  void OpenSpanTag(std::string_view attributes) {
    const std::string id = Attribute(attributes, "id");
    if (id == "BCONTENTS" || InContents()) {
      if (!InContents()) FinishLine(false);
      spans_.push_back({SpanKind::Contents, 0});
      return;
    }
    if (id == "FbSection" || id == "FbSectionEnd") {
      FinishLine(false);
      Fb2Block block;
      block.kind = id == "FbSection" ? BlockKind::SectionStart : BlockKind::SectionEnd;
      if (block.kind == BlockKind::SectionStart) book_.explicitSections = true;
      AddBlock(std::move(block));
      spans_.push_back({SpanKind::Ignored, 0});
      return;
    }
    SpanKind kind = KindOfSpan(id);
    if (kind == SpanKind::NoteBlock) {
      FinishLine(false);
      if (inNoteBlock_ || noteBlocks_ >= kMaxNoteBlocks) {
        spans_.push_back({SpanKind::Plain, 0});
        return;
      }
      ++noteBlocks_;
      inNoteBlock_ = true;
      noteLines_.clear();
      spans_.push_back({SpanKind::NoteBlock, 0});
      return;
    }
    if (kind == SpanKind::Plain) {
      spans_.push_back({SpanKind::Plain, 0});
      return;
    }
    FinishLine(false);
    OpenSpan* outer = InnermostMarked();
    // A text author inside a block belongs to that block; any other marked element inside a
    // marked element only adds its lines to the outer one.
    if (outer && kind != SpanKind::TextAuthor) {
      spans_.push_back({SpanKind::Plain, 0});
      return;
    }
    if (outer && kind == SpanKind::TextAuthor) {
      spans_.push_back({SpanKind::TextAuthor, outer->blockIndex});
      return;
    }
    Fb2Block block;
    block.kind = BlockOfSpan(kind);
    if (!pendingIds_.empty()) TakePendingId(block.id);
    if (inNoteBlock_) {
      // Marked elements inside a note block are plain note paragraphs.
      spans_.push_back({SpanKind::Plain, 0});
      return;
    }
    if (kind == SpanKind::Annotation) {
      annotationScratch_ = std::move(block);
      spans_.push_back({kind, kAnnotationBlock});
      return;
    }
    book_.blocks.push_back(std::move(block));
    spans_.push_back({kind, book_.blocks.size() - 1});
  }

  void CloseSpan() {
    if (spans_.empty()) return;
    const OpenSpan span = spans_.back();
    if (span.kind == SpanKind::Contents) {
      spans_.pop_back();
      return;
    }
    if (span.kind != SpanKind::Plain && span.kind != SpanKind::Ignored) FinishLine(false);
    spans_.pop_back();
    if (span.kind == SpanKind::NoteBlock) {
      inNoteBlock_ = false;
      SplitNotes();
      return;
    }
    if (span.kind == SpanKind::Annotation) {
      for (auto& line : annotationScratch_.lines)
        if (!line.empty) book_.annotation.push_back(std::move(line));
      annotationScratch_ = Fb2Block{};
      return;
    }
    if (span.kind == SpanKind::Plain || span.kind == SpanKind::Ignored || span.kind == SpanKind::TextAuthor) {
      if (span.kind == SpanKind::TextAuthor && span.blockIndex < book_.blocks.size() &&
          book_.blocks[span.blockIndex].kind == BlockKind::TextAuthor)
        FinishMarkedBlock(span.blockIndex);
      return;
    }
    FinishMarkedBlock(span.blockIndex);
  }

  // A marked element with nothing in it leaves no block behind.
  void FinishMarkedBlock(size_t index) {
    if (index != book_.blocks.size() - 1) return;
    Fb2Block& block = book_.blocks[index];
    const bool hasText = std::any_of(block.lines.begin(), block.lines.end(), [](const Fb2Line& l) { return !l.empty; }) ||
                         !block.authors.empty();
    if (!hasText) {
      if (!block.id.empty()) pendingIds_.push_back(block.id);
      book_.blocks.pop_back();
      return;
    }
    if (block.kind == BlockKind::Subtitle && expectBookSubtitle_) {
      Fb2Block subtitle = std::move(block);
      book_.blocks.pop_back();
      AddBlock(std::move(subtitle));
      return;
    }
    if (block.kind != BlockKind::Subtitle) expectBookSubtitle_ = false;
  }

  void SplitNotes() {
    FinishLine(false);
    for (auto& line : noteLines_) {
      if (!line.id.empty() && book_.notes.size() < kMaxNotes) {
        Fb2Note note;
        note.id = line.id;
        note.label = NoteLabel(line.xml, book_.notes.size() + 1);
        if (!line.xml.empty()) note.paragraphs.push_back(Fb2Line{{}, std::move(line.xml), false});
        book_.notes.push_back(std::move(note));
      } else if (!book_.notes.empty()) {
        book_.notes.back().paragraphs.push_back(Fb2Line{{}, std::move(line.xml), false});
      } else if (noteBlocks_ == 1) {
        // Text in the first note block before its first note is the heading of the notes.
        if (!line.xml.empty()) book_.notesTitle.push_back(std::move(line));
      } else {
        // Text in a later note block before its first note stays in the book.
        Fb2Block block;
        block.lines.push_back(std::move(line));
        book_.blocks.push_back(std::move(block));
      }
    }
    noteLines_.clear();
  }

  // The label of a note is its leading mark ("1", "12)", "[3]", "*") when it has one, which is
  // then taken off the text; otherwise its running number.
  static std::string NoteLabel(std::string& xml, size_t number) {
    size_t end = 0;
    while (end < xml.size() && xml[end] != ' ' && xml[end] != '<' && xml[end] != kLinkOpen && end < 8) ++end;
    const std::string_view mark(xml.data(), end);
    const bool isMark = !mark.empty() && (end == xml.size() || xml[end] == ' ') &&
                        std::all_of(mark.begin(), mark.end(), [](char c) {
                          return (c >= '0' && c <= '9') || c == '*' || c == '[' || c == ']' || c == ')' || c == '(' ||
                                 c == '.';
                        }) &&
                        std::any_of(mark.begin(), mark.end(), [](char c) { return (c >= '0' && c <= '9') || c == '*'; });
    if (!isMark) return std::to_string(number);
    std::string label(mark);
    xml.erase(0, std::min(xml.size(), end + 1));
    return label;
  }

  // ----- tags

  void Handle(const Tag& tag) {
    const std::string& n = tag.name;
    if (n == "span") {
      if (tag.closing) CloseSpan();
      else OpenSpanTag(tag.attributes);
      return;
    }
    if (InContents()) return;
    if (n.size() == 2 && n[0] == 'h' && n[1] >= '1' && n[1] <= '6') {
      Heading(tag);
      return;
    }
    if (headingDepth_ > 0) return;  // markup inside the two book headings is not kept
    if (n == "div" || n == "p") {
      if (tag.closing) {
        FinishLine(false);
      } else {
        const std::string align = common::AsciiLower(Attribute(tag.attributes, "align"));
        StartLine(align == "center");
      }
      return;
    }
    if (n == "br") {
      FinishLine(true);
      return;
    }
    if (n == "li" || n == "tr" || n == "table" || n == "ul" || n == "ol" || n == "blockquote" || n == "pre" ||
        n == "dd" || n == "dt" || n == "center") {
      FinishLine(false);
      return;
    }
    if (n == "td" || n == "th") {
      if (tag.closing) line_.Text(" ");
      return;
    }
    const bool titleLike = InTitleLike();
    if (n == "b" || n == "strong") return titleLike ? void() : line_.SetStyle(kStrong, !tag.closing);
    if (n == "i" || n == "em") return titleLike ? void() : line_.SetStyle(kEmphasis, !tag.closing);
    if (n == "u" || n == "s" || n == "strike") return titleLike ? void() : line_.SetStyle(kStrike, !tag.closing);
    if (n == "sub") return line_.SetStyle(kSub, !tag.closing);
    if (n == "sup") return line_.SetStyle(kSup, !tag.closing);
    if (n == "a") {
      Anchor(tag);
      return;
    }
    if (n == "img" && !tag.closing) {
      Picture(tag);
      return;
    }
  }

  void Heading(const Tag& tag) {
    if (!tag.closing) {
      const std::string id = Attribute(tag.attributes, "id");
      FinishLine(false);
      headingKind_ = id == "BookAuthor" ? 1 : id == "BookTitle" ? 2 : 0;
      if (headingKind_ == 0) {
        // Any other heading is a title.
        Fb2Block block;
        block.kind = BlockKind::Title;
        if (!pendingIds_.empty()) TakePendingId(block.id);
        book_.blocks.push_back(std::move(block));
        spans_.push_back({SpanKind::Title, book_.blocks.size() - 1});
        headingSpan_ = true;
        return;
      }
      ++headingDepth_;
      headingText_.clear();
      return;
    }
    if (headingSpan_) {
      headingSpan_ = false;
      if (!spans_.empty() && spans_.back().kind == SpanKind::Title) CloseSpan();
      return;
    }
    if (headingDepth_ == 0) return;
    --headingDepth_;
    std::string xml;
    bool blank = false;
    AppendBookText(xml, StripTags(headingText_), blank);
    if (headingKind_ == 1) {
      book_.bookAuthor = xml;
      seenAuthorHeading_ = true;
    } else {
      book_.bookTitle = xml;
      expectBookSubtitle_ = true;
    }
  }

  static std::string StripTags(std::string_view html) {
    std::string out;
    bool inTag = false;
    for (const char c : html) {
      if (c == '<') inTag = true;
      else if (c == '>') inTag = false;
      else if (!inTag) out.push_back(c);
    }
    return out;
  }

  void Anchor(const Tag& tag) {
    if (tag.closing) {
      line_.CloseLink();
      return;
    }
    if (anchors_ >= kMaxAnchors) return;
    ++anchors_;
    std::string name = AttributeText(Attribute(tag.attributes, "name"));
    if (name.empty()) name = AttributeText(Attribute(tag.attributes, "id"));
    if (name == "Fiction_Book_Description") return;
    if (!name.empty()) {
      if (!line_.empty() || !lineId_.empty()) {
        if (lineId_.empty()) lineId_ = name;
        else aliases_.emplace_back(name, lineId_);
      } else if (lineExplicit_ && lineId_.empty()) {
        lineId_ = name;
      } else {
        pendingIds_.push_back(name);
      }
    }
    std::string href = Attribute(tag.attributes, "href");
    const size_t hash = href.find('#');
    if (hash == std::string::npos) return;
    std::string target = AttributeText(common::ReplaceAll(href.substr(hash + 1), "%20", " "));
    if (target.empty()) return;
    book_.linkTargets.push_back(std::move(target));
    line_.OpenLink(book_.linkTargets.size() - 1);
  }

  void Picture(const Tag& tag) {
    if (pictures_count_ >= kMaxPictures || !pictures_) return;
    ++pictures_count_;
    const std::string src = AttributeText(Attribute(tag.attributes, "src"));
    if (src.empty()) return;
    const std::string id = pictures_(src, NumberAttribute(tag.attributes, "width"), NumberAttribute(tag.attributes, "height"));
    if (id.empty()) return;
    line_.Image(id);
  }

  static constexpr size_t kAnnotationBlock = static_cast<size_t>(-1);

  const PictureStore& pictures_;
  Html0Book& book_;
  LineBuilder line_;
  std::string lineId_;
  bool lineCentred_ = false;
  bool lineExplicit_ = false;
  std::vector<std::string> pendingIds_;
  std::vector<OpenSpan> spans_;
  bool inNoteBlock_ = false;
  size_t noteBlocks_ = 0;
  std::vector<Fb2Line> noteLines_;
  Fb2Block annotationScratch_;
  int headingDepth_ = 0;
  int headingKind_ = 0;
  bool headingSpan_ = false;
  std::string headingText_;
  bool expectBookSubtitle_ = false;
  bool seenAuthorHeading_ = false;
  size_t anchors_ = 0;
  size_t pictures_count_ = 0;

 public:
  std::vector<std::pair<std::string, std::string>> aliases_;
};

}  // namespace

Html0Book ReadHtml0Book(std::string_view html0, const PictureStore& pictures, common::Progress& progress) {
  Html0Book book;
  Reader reader(pictures, book);
  reader.Run(html0, progress);
  book.aliases = std::move(reader.aliases_);
  return book;
}

}  // namespace pw::fb2
