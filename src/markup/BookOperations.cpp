#include "markup/BookOperations.h"

#include <array>

#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/HtmlTags.h"
#include "markup/TagPass.h"
#include "markup/TextFormatting.h"

namespace pw::markup {
namespace {

constexpr size_t npos = std::string_view::npos;

// Reports the share of elements done, once per whole percent, from 0 to 100.
class ShareProgress {
 public:
  ShareProgress(common::Progress& progress, size_t total) : progress_(progress), total_(total) {
    progress_.Percent(0);
  }
  void Done(size_t done) {
    const int percent = total_ == 0 ? 100 : static_cast<int>(done * 100 / total_);
    if (percent == last_) return;
    progress_.Percent(percent);
    last_ = percent;
  }
  void Finish() {
    if (last_ != 100) progress_.Percent(100);
    last_ = 100;
  }

 private:
  common::Progress& progress_;
  size_t total_;
  int last_ = 0;
};

// Rewrites every element that starts with `open` by `rewrite(elementHtml)`, building the new
// document in one pass. Returns the number of elements rewritten.
template <typename Rewrite>
size_t RewriteElements(std::string& document, std::string_view open, common::Progress& progress,
                       Rewrite rewrite) {
  const std::string_view source(document);
  ShareProgress share(progress, common::CountOccurrences(source, open));
  std::string out;
  size_t copied = 0;
  size_t done = 0;
  for (size_t at = source.find(open); at != npos; at = source.find(open, copied)) {
    const size_t end = ElementEnd(source, at);
    if (end == npos) break;
    if (done == 0) out.reserve(source.size() + source.size() / 8);
    out.append(source, copied, at - copied);
    out += rewrite(source.substr(at, end - at));
    copied = end;
    share.Done(++done);
  }
  share.Finish();
  if (done == 0) return 0;
  out.append(source, copied);
  document = std::move(out);
  return done;
}

// The content of an element: what lies between its opening and its closing tag.
std::string_view Inner(std::string_view element) {
  const size_t start = TagEnd(element, 0);
  const size_t close = element.rfind('<');
  if (start == npos || close == npos || close < start) return {};
  return element.substr(start, close - start);
}

// The element with its id and, when it still has the colour of `fromColour`, its colour
// changed: title into subtitle or back.
std::string ChangeHeadingKind(std::string_view element, std::string_view fromOpen, std::string_view toOpen,
                              std::string_view fromColour, std::string_view toColour) {
  std::string out(toOpen);
  std::string_view rest = element.substr(fromOpen.size());
  static constexpr std::string_view kColour = "color=";
  const size_t at = rest.find(kColour);
  if (at != npos) {
    const size_t valueStart = at + kColour.size();
    size_t valueEnd = valueStart;
    while (valueEnd < rest.size() && rest[valueEnd] != ' ' && rest[valueEnd] != '>') ++valueEnd;
    std::string_view value = rest.substr(valueStart, valueEnd - valueStart);
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'')) {
      value = value.substr(1, value.size() - 2);
    }
    if (common::AsciiLower(HashColour(value)) == common::AsciiLower(HashColour(fromColour))) {
      out += rest.substr(0, valueStart);
      out += HashColour(toColour);
      rest.remove_prefix(valueEnd);
    }
  }
  out += rest;
  return out;
}

size_t ConvertHeadings(std::string& document, bool subtitlesToTitles,
                       const common::ElementColours& colours, common::Progress& progress) {
  progress.Status(subtitlesToTitles ? "...converting subtitles to titles..."
                                    : "...converting titles to subtitles...");
  const std::string_view from = subtitlesToTitles ? kSubtitleOpen : kTitleOpen;
  const std::string_view to = subtitlesToTitles ? kTitleOpen : kSubtitleOpen;
  const std::string_view fromColour = subtitlesToTitles ? colours.subtitle : colours.title;
  const std::string_view toColour = subtitlesToTitles ? colours.title : colours.subtitle;
  return RewriteElements(document, from, progress, [&](std::string_view element) {
    return ChangeHeadingKind(element, from, to, fromColour, toColour);
  });
}

size_t HeadingsToParagraphs(std::string& document, std::string_view open, common::Progress& progress) {
  return RewriteElements(document, open, progress, [](std::string_view element) {
    return MakeParagraph(OneLineText(element));
  });
}

bool IsTitleAnchorName(std::string_view digits) {
  if (digits.empty()) return false;
  for (char c : digits) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

// Length of the anchor "<A id=N name=N>" that the contents puts at the start of a title, or 0.
size_t TitleAnchorLength(std::string_view text) {
  static constexpr std::string_view kIdPart = "<A id=";
  if (!common::StartsWith(text, kIdPart)) return 0;
  const size_t close = text.find('>');
  if (close == npos) return 0;
  const std::string_view attributes = text.substr(kIdPart.size(), close - kIdPart.size());
  const size_t blank = attributes.find(' ');
  if (blank == npos) return 0;
  const std::string_view id = attributes.substr(0, blank);
  if (!IsTitleAnchorName(id) || attributes.substr(blank) != " name=" + std::string(id)) return 0;
  return close + 1;
}

// Removes the numbered anchors of the titles, in one pass.
void RemoveTitleAnchors(std::string& document) {
  static constexpr std::string_view kAnchorEnd = "</A>";
  const std::string_view source(document);
  std::string out;
  size_t copied = 0;
  size_t from = 0;
  bool changed = false;
  for (size_t at = source.find(kTitleOpen); at != npos; at = source.find(kTitleOpen, from)) {
    const size_t innerStart = at + kTitleOpen.size();
    const size_t end = ElementEnd(source, at);
    if (end == npos) break;
    from = end;
    const size_t anchor = TitleAnchorLength(source.substr(innerStart, end - innerStart));
    const size_t close = source.rfind('<', end - 1);
    if (anchor == 0 || close < innerStart + anchor + kAnchorEnd.size() ||
        source.substr(close - kAnchorEnd.size(), kAnchorEnd.size()) != kAnchorEnd) {
      continue;
    }
    if (!changed) out.reserve(source.size());
    changed = true;
    out.append(source, copied, innerStart - copied);
    const size_t textStart = innerStart + anchor;
    out.append(source, textStart, close - kAnchorEnd.size() - textStart);
    copied = close;
  }
  if (!changed) return;
  out.append(source, copied);
  document = std::move(out);
}

// Removes every contents block with the line break that went with it. False when none.
bool RemoveContentsBlocks(std::string& document) {
  const std::string_view source(document);
  std::string out;
  size_t copied = 0;
  bool removed = false;
  for (size_t at = source.find(kContentsOpen); at != npos; at = source.find(kContentsOpen, copied)) {
    size_t end = ElementEnd(source, at);
    if (end == npos) break;
    size_t start = at;
    if (start >= copied + kCrLf.size() && source.substr(start - kCrLf.size(), kCrLf.size()) == kCrLf) {
      start -= kCrLf.size();
    } else if (source.substr(end, kCrLf.size()) == kCrLf) {
      end += kCrLf.size();
    }
    if (!removed) out.reserve(source.size());
    removed = true;
    out.append(source, copied, start - copied);
    copied = end;
  }
  if (!removed) return false;
  out.append(source, copied);
  document = std::move(out);
  return true;
}

// Marked elements that can be moved as a whole, by their opening strings.
constexpr std::array<std::string_view, 12> kMovableElements = {
    kContentsOpen, kBookAuthorOpen, kBookTitleOpen, kTitleOpen, kFormerTitleOpen, kSubtitleOpen,
    kEpigraphOpen, kCiteOpen,       kVerseOpen,     kTextAuthorOpen, kAnnotationOpen, kNoteBlockOpen};

// The marks that close a book; nothing moves past them.
constexpr std::array<std::string_view, 4> kBookEndMarks = {"<DIV id=LastPar", kTextEnd, kSignatureOpen,
                                                           "<SPAN id=Fb2Description>"};

struct Range {
  size_t begin = npos;
  size_t end = npos;
  bool found() const { return begin != npos; }
};

// The paragraph, element, break or text that stands right before `pos` inside the same parent.
Range PreviousSibling(std::string_view text, size_t pos) {
  size_t p = pos;
  while (p > 0 && IsBlankByte(text[p - 1])) --p;
  if (p == 0) return {};
  if (text[p - 1] != '>') {
    const size_t gt = text.rfind('>', p - 1);
    size_t begin = gt == npos ? 0 : gt + 1;
    while (begin < p && IsBlankByte(text[begin])) ++begin;
    return {begin, p};
  }
  const size_t lt = text.rfind('<', p - 1);
  HtmlTag tag;
  if (lt == npos || !ReadTagAt(text, lt, tag) || tag.end != p) return {};
  if (tag.closing) {
    const size_t begin = ElementStart(text, lt);
    return begin == npos ? Range{} : Range{begin, p};
  }
  if (IsVoidTag(tag.name)) return {lt, p};
  return {};  // the opening tag of the parent: nothing before inside it
}

// The paragraph, element, break or text that stands right after `pos` inside the same parent.
Range NextSibling(std::string_view text, size_t pos) {
  size_t p = pos;
  while (p < text.size() && IsBlankByte(text[p])) ++p;
  if (p >= text.size()) return {};
  if (text[p] != '<') {
    size_t end = text.find('<', p);
    if (end == npos) end = text.size();
    while (end > p && IsBlankByte(text[end - 1])) --end;
    return {p, end};
  }
  HtmlTag tag;
  if (!ReadTagAt(text, p, tag) || tag.closing) return {};
  const size_t end = ElementEnd(text, p);
  return end == npos ? Range{} : Range{p, end};
}

// A paragraph that shows nothing: no text but blanks and no-break spaces, no picture.
bool IsEmptyParagraph(std::string_view text, Range range) {
  const std::string_view piece = text.substr(range.begin, range.end - range.begin);
  if (!common::StartsWith(piece, "<DIV") && !common::StartsWith(piece, "<div")) return false;
  for (size_t i = 0; i < piece.size();) {
    if (piece[i] == '<') {
      if (piece.substr(i + 1, 3) == "IMG" || piece.substr(i + 1, 3) == "img") return false;
      const size_t close = piece.find('>', i);
      if (close == npos) return false;
      i = close + 1;
    } else if (piece.substr(i, 6) == "&nbsp;") {
      i += 6;
    } else if (IsBlankByte(piece[i])) {
      ++i;
    } else {
      return false;
    }
  }
  return true;
}

bool IsBookEnd(std::string_view text, Range range) {
  const std::string_view piece = text.substr(range.begin, range.end - range.begin);
  for (std::string_view mark : kBookEndMarks) {
    if (common::StartsWith(piece, mark)) return true;
  }
  return false;
}

}  // namespace

size_t CapitaliseElements(std::string& document, HeadingKind kind, common::Progress& progress) {
  std::string_view open;
  switch (kind) {
    case HeadingKind::Title:
      progress.Status("...capitalizing titles...");
      open = kTitleOpen;
      break;
    case HeadingKind::Subtitle:
      progress.Status("...capitalizing subtitles...");
      open = kSubtitleOpen;
      break;
    case HeadingKind::BookAuthor:
      progress.Status("...capitalizing book author...");
      open = kBookAuthorOpen;
      break;
    case HeadingKind::BookTitle:
      progress.Status("...capitalizing book title...");
      open = kBookTitleOpen;
      break;
  }
  return RewriteElements(document, open, progress, [](std::string_view element) {
    return ChangeTextCase(element, TextCase::Upper);
  });
}

size_t SubtitlesToTitles(std::string& document, const common::ElementColours& colours,
                         common::Progress& progress) {
  return ConvertHeadings(document, true, colours, progress);
}

size_t TitlesToSubtitles(std::string& document, const common::ElementColours& colours,
                         common::Progress& progress) {
  return ConvertHeadings(document, false, colours, progress);
}

size_t TitlesToParagraphs(std::string& document, common::Progress& progress) {
  progress.Status("...converting titles to paragraphs...");
  return HeadingsToParagraphs(document, kTitleOpen, progress);
}

size_t SubtitlesToParagraphs(std::string& document, common::Progress& progress) {
  progress.Status("...converting subtitles to paragraphs...");
  return HeadingsToParagraphs(document, kSubtitleOpen, progress);
}

size_t RemovePageBreaks(std::string& document, common::Progress& progress) {
  progress.Status("...removing page breaks...");
  progress.Percent(0);
  const size_t removed =
      ApplyTagRule(document, {.match = "<HR", .replacement = "", .caseless = true, .toTagEnd = true});
  progress.Percent(100);
  return removed;
}

bool InsertBookContents(std::string& document, std::string_view bookCodePage, common::Progress& progress) {
  progress.Status("...making new contents...");
  progress.Percent(0);
  std::string work = document;
  if (RemoveContentsBlocks(work)) RemoveTitleAnchors(work);
  const bool inserted = InsertContents(work, bookCodePage);
  if (inserted) document = std::move(work);
  progress.Percent(100);
  return inserted;
}

bool DeleteBookContents(std::string& document, common::Progress& progress) {
  progress.Status("...making new contents...");
  progress.Percent(0);
  const bool removed = RemoveContentsBlocks(document);
  if (removed) RemoveTitleAnchors(document);
  progress.Percent(100);
  return removed;
}

size_t RemoveNoteBlocks(std::string& document, common::Progress& progress,
                        const common::Messages& messages) {
  progress.Status("...removing note blocks...");
  const size_t removed = RewriteElements(document, kNoteBlockOpen, progress, [](std::string_view element) {
    std::string_view notes = Inner(element);
    // The colour font that wraps the notes goes with the block.
    HtmlTag font;
    if (ReadTagAt(notes, 0, font) && font.name == "font" && !font.closing &&
        ElementEnd(notes, 0) == notes.size()) {
      notes = Inner(notes);
    }
    return std::string(notes);
  });
  if (removed == 0) messages.Show(common::Msg::NoNoteBlocks);
  return removed;
}

bool MoveElement(std::string& document, MoveDirection direction, const common::Messages& messages) {
  const size_t marker = document.find(kMovedElementMarker);
  if (marker == npos) {
    messages.Show(common::Msg::OnlyWholeElementsMove);
    return false;
  }
  document.erase(marker, kMovedElementMarker.size());
  const std::string_view text(document);
  bool whole = false;
  for (std::string_view open : kMovableElements) {
    if (common::StartsWith(text.substr(marker), open)) whole = true;
  }
  const size_t elementEnd = whole ? ElementEnd(text, marker) : npos;
  if (elementEnd == npos) {
    messages.Show(common::Msg::OnlyWholeElementsMove);
    return false;
  }
  const Range element{marker, elementEnd};
  const bool up = direction == MoveDirection::Up;
  Range neighbour = up ? PreviousSibling(text, element.begin) : NextSibling(text, element.end);
  if (!neighbour.found() || IsBookEnd(text, neighbour)) return false;
  // Empty paragraphs show nothing to move past: the element passes them and the next block
  // that shows something.
  while (IsEmptyParagraph(text, neighbour)) {
    const Range further = up ? PreviousSibling(text, neighbour.begin) : NextSibling(text, neighbour.end);
    if (!further.found() || IsBookEnd(text, further)) break;
    neighbour = up ? Range{further.begin, neighbour.end} : Range{neighbour.begin, further.end};
  }
  // The two change places; the blanks between them stay between them.
  const Range first = direction == MoveDirection::Up ? neighbour : element;
  const Range second = direction == MoveDirection::Up ? element : neighbour;
  std::string out;
  out.reserve(text.size());
  out.append(text, 0, first.begin);
  out.append(text, second.begin, second.end - second.begin);
  out.append(text, first.end, second.begin - first.end);
  out.append(text, first.begin, first.end - first.begin);
  out.append(text, second.end);
  document = std::move(out);
  return true;
}

namespace {

enum class BookOperationType {
  CapitaliseTitles,
  CapitaliseSubtitles,
  CapitaliseBookAuthor,
  CapitaliseBookTitle,
  SubtitlesToTitles,
  TitlesToSubtitles,
  TitlesToParagraphs,
  SubtitlesToParagraphs,
  RemovePageBreaks,
  InsertContents,
  DeleteContents,
  RemoveNoteBlocks,
  MoveUp,
  MoveDown,
};

struct BookOperation {
  std::string_view name;
  BookOperationType type;
};

constexpr std::array kBookOperations{
    BookOperation{"capitalisetitles", BookOperationType::CapitaliseTitles},
    BookOperation{"capitalisesubtitles", BookOperationType::CapitaliseSubtitles},
    BookOperation{"capitalisebookauthor", BookOperationType::CapitaliseBookAuthor},
    BookOperation{"capitalisebooktitle", BookOperationType::CapitaliseBookTitle},
    BookOperation{"subtitlestotitles", BookOperationType::SubtitlesToTitles},
    BookOperation{"titlestosubtitles", BookOperationType::TitlesToSubtitles},
    BookOperation{"titlestoparagraphs", BookOperationType::TitlesToParagraphs},
    BookOperation{"subtitlestoparagraphs", BookOperationType::SubtitlesToParagraphs},
    BookOperation{"removepagebreaks", BookOperationType::RemovePageBreaks},
    BookOperation{"insertcontents", BookOperationType::InsertContents},
    BookOperation{"deletecontents", BookOperationType::DeleteContents},
    BookOperation{"removenoteblocks", BookOperationType::RemoveNoteBlocks},
    BookOperation{"moveup", BookOperationType::MoveUp},
    BookOperation{"movedown", BookOperationType::MoveDown},
};

constexpr auto kBookOperationNames = [] {
  std::array<std::string_view, kBookOperations.size()> names{};
  for (size_t i = 0; i < names.size(); ++i) names[i] = kBookOperations[i].name;
  return names;
}();

}  // namespace

std::span<const std::string_view> BookOperationNames() { return kBookOperationNames; }

BookOperationResult ApplyBookOperation(std::string_view name, std::string& document,
                                       const common::Settings& settings, common::Progress& progress,
                                       const common::Messages& messages) {
  BookOperationResult result;
  const BookOperation* operation = nullptr;
  for (const BookOperation& candidate : kBookOperations) {
    if (candidate.name == name) operation = &candidate;
  }
  if (!operation) return result;
  result.known = true;
  const common::ElementColours& colours = settings.elementColours;
  if (operation->type == BookOperationType::MoveUp || operation->type == BookOperationType::MoveDown) {
    const auto direction = operation->type == BookOperationType::MoveUp ? MoveDirection::Up : MoveDirection::Down;
    result.changed = MoveElement(document, direction, messages);
    return result;
  }
  // Changed means a different book: capitalising "* * *" finds an element but changes nothing.
  const std::string before = document;
  switch (operation->type) {
    case BookOperationType::CapitaliseTitles:
      CapitaliseElements(document, HeadingKind::Title, progress);
      break;
    case BookOperationType::CapitaliseSubtitles:
      CapitaliseElements(document, HeadingKind::Subtitle, progress);
      break;
    case BookOperationType::CapitaliseBookAuthor:
      CapitaliseElements(document, HeadingKind::BookAuthor, progress);
      break;
    case BookOperationType::CapitaliseBookTitle:
      CapitaliseElements(document, HeadingKind::BookTitle, progress);
      break;
    case BookOperationType::SubtitlesToTitles:
      SubtitlesToTitles(document, colours, progress);
      break;
    case BookOperationType::TitlesToSubtitles:
      TitlesToSubtitles(document, colours, progress);
      break;
    case BookOperationType::TitlesToParagraphs:
      TitlesToParagraphs(document, progress);
      break;
    case BookOperationType::SubtitlesToParagraphs:
      SubtitlesToParagraphs(document, progress);
      break;
    case BookOperationType::RemovePageBreaks:
      RemovePageBreaks(document, progress);
      break;
    case BookOperationType::InsertContents:
      InsertBookContents(document, settings.bookCodePage, progress);
      break;
    case BookOperationType::DeleteContents:
      DeleteBookContents(document, progress);
      break;
    case BookOperationType::RemoveNoteBlocks:
      RemoveNoteBlocks(document, progress, messages);
      break;
    case BookOperationType::MoveUp:
    case BookOperationType::MoveDown:
      break;
  }
  result.changed = document != before;
  return result;
}

}  // namespace pw::markup
