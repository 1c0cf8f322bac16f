#include "corrector/StructureCommands.h"

#include "common/Text.h"
#include "common/Utf8.h"
#include "corrector/Hyphenation.h"
#include "corrector/ParagraphLists.h"
#include "markup/BookMarkup.h"
#include "markup/ElementOperations.h"
#include "markup/TagReader.h"

namespace pw::corrector {
namespace {

constexpr std::string_view kParagraphOpen = "<DIV align=justify>";

bool IsBlank(char c) { return c == ' ' || c == '\r' || c == '\n' || c == '\t'; }

// Whether a page break stands right before `pos`, with only blanks and section marks between.
bool BreakBefore(std::string_view book, size_t pos) {
  std::string_view head = book.substr(0, pos);
  for (;;) {
    while (!head.empty() && IsBlank(head.back())) head.remove_suffix(1);
    if (common::EndsWith(head, markup::kSectionStart)) head.remove_suffix(markup::kSectionStart.size());
    else if (common::EndsWith(head, markup::kSectionEnd)) head.remove_suffix(markup::kSectionEnd.size());
    else break;
  }
  return common::EndsWith(head, markup::kPageBreak);
}

// The lines of a selection: paragraph ends, headings and line breaks end a line; each line is
// cleaned as a one-line element's text.
std::vector<std::string> SelectionLines(std::string_view html) {
  std::string marked(html);
  for (std::string_view end : {"</DIV>", "</H2>", "</P>", "<BR>"}) common::ReplaceAllInPlace(marked, end, std::string(end) + "\x01");
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t at = marked.find('\x01'); start < marked.size(); at = marked.find('\x01', start)) {
    if (at == std::string::npos) at = marked.size();
    std::string line = markup::CleanOneLineText(std::string_view(marked).substr(start, at - start));
    if (!line.empty()) lines.push_back(std::move(line));
    start = at + 1;
  }
  return lines;
}

std::string WithBreaks(std::string_view html, bool before, bool after) {
  const std::string_view trimmed = common::Trim(html);
  std::string out;
  if (before && !common::StartsWith(trimmed, markup::kPageBreak)) out += markup::kPageBreak;
  out += html;
  if (after && !common::EndsWith(trimmed, markup::kPageBreak)) out += markup::kPageBreak;
  return out;
}

// Tags that end a word even with no blank beside them.
bool PartsWords(std::string_view name) {
  static constexpr std::string_view kBlockTags[] = {"div", "h1", "h2", "h3", "p", "br", "hr", "td", "th", "li", "tr"};
  for (std::string_view tag : kBlockTags)
    if (tag == name) return true;
  return false;
}

// Words and characters of the body's text: blanks and no-break spaces part words, an entity
// counts as one character, soft hyphens as none.
void CountWords(std::string_view book, BookStatistics& s) {
  size_t pos = common::FindAsciiCaseless(book, "<BODY");
  if (pos == std::string_view::npos) pos = 0;
  bool inWord = false;
  const auto blank = [&] { inWord = false; };
  const auto character = [&] {
    ++s.characters;
    if (!inWord) ++s.words;
    inWord = true;
  };
  while (pos < book.size()) {
    const char c = book[pos];
    if (c == '<') {
      markup::TagToken tag;
      size_t end = 0;
      if (markup::ReadTagToken(book, pos, tag, end)) {
        if (PartsWords(tag.name)) blank();
        pos = end;
        continue;
      }
    }
    if (c == '&') {
      const size_t semicolon = book.find(';', pos);
      if (semicolon != std::string_view::npos && semicolon - pos <= 10) {
        const std::string_view entity = book.substr(pos, semicolon + 1 - pos);
        if (entity == "&nbsp;" || entity == "&#160;") blank();
        else if (entity != "&shy;") character();
        pos = semicolon + 1;
        continue;
      }
    }
    const char32_t cp = common::NextCodePoint(book, pos);
    if (cp == ' ' || cp == '\r' || cp == '\n' || cp == '\t' || cp == 0xA0) blank();
    else if (cp != 0xAD) character();
  }
}

size_t CountOpenings(std::string_view book, std::string_view opening) { return common::CountOccurrences(book, opening); }

}  // namespace

size_t InsertAllPageBreaks(std::string& book, common::Progress& progress) {
  progress.Status("...inserting page breaks...");
  std::string out;
  out.reserve(book.size() + 256);
  size_t copied = 0;
  size_t inserted = 0;
  const std::string_view source(book);
  for (size_t at = source.find(markup::kTitleOpen); at != std::string_view::npos;
       at = source.find(markup::kTitleOpen, at + 1)) {
    if (BreakBefore(source, at)) continue;
    out.append(source, copied, at - copied);
    out += markup::kPageBreak;
    copied = at;
    ++inserted;
    progress.Percent(static_cast<int>(100 * at / source.size()));
  }
  if (inserted == 0) return 0;
  out.append(source, copied);
  book = std::move(out);
  progress.Percent(100);
  return inserted;
}

bool InsertPageBreakAtMarker(std::string& book) {
  const size_t at = book.find(kPageBreakMarker);
  if (at == std::string::npos) return false;
  book.erase(at, kPageBreakMarker.size());
  // Inside a paragraph when the last paragraph opening before the marker is not closed yet.
  const size_t open = book.rfind(kParagraphOpen, at);
  const size_t close = open == std::string::npos ? std::string::npos : book.find(markup::kDivEnd, open);
  if (open != std::string::npos && close != std::string::npos && close >= at) {
    const std::string_view before = common::Trim(std::string_view(book).substr(open + kParagraphOpen.size(), at - open - kParagraphOpen.size()));
    const std::string_view after = common::Trim(std::string_view(book).substr(at, close - at));
    // At the very start or end of the paragraph the break goes before or after it whole.
    if (ParagraphPlainText(before).empty()) {
      book.insert(open, markup::kPageBreak);
      return true;
    }
    if (ParagraphPlainText(after).empty()) {
      book.insert(close + markup::kDivEnd.size(), markup::kPageBreak);
      return true;
    }
    std::string split(markup::kDivEnd);
    split += markup::kPageBreak;
    split += markup::kParagraphStart;
    size_t rest = at;
    while (rest < close && book[rest] == ' ') ++rest;
    size_t start = at;
    while (start > open && book[start - 1] == ' ') --start;
    book.replace(start, rest - start, split);
    return true;
  }
  book.insert(at, markup::kPageBreak);
  return true;
}

std::string AuthorTitle(std::string_view selectionHtml, const common::ElementColours& colours) {
  std::vector<std::string> lines = SelectionLines(selectionHtml);
  if (lines.size() == 1) {
    const size_t dot = lines[0].find(". ");
    if (dot == std::string::npos) return {};
    std::string title = std::string(common::Trim(std::string_view(lines[0]).substr(dot + 2)));
    lines[0].resize(dot);
    lines.push_back(std::move(title));
  }
  if (lines.size() < 2 || lines[1].empty()) return {};
  std::string title;
  for (size_t i = 1; i < lines.size(); ++i) title += (i > 1 ? " " : "") + lines[i];
  return markup::FormatAsElement(lines[0], markup::ElementKind::BookAuthor, colours) +
         markup::FormatAsElement(title, markup::ElementKind::BookTitle, colours);
}

StructureResult ApplyStructureCommand(std::string_view name, std::string_view selectionHtml,
                                      const common::Settings& settings, const common::Messages& messages) {
  StructureResult result;
  result.known = true;
  if (common::Trim(selectionHtml).empty()) {
    messages.Show(common::Msg::NoTextSelected);
    return result;
  }
  if (name == "breakbefore" || name == "breakafter" || name == "breakaround") {
    result.replace = true;
    result.html = WithBreaks(selectionHtml, name != "breakafter", name != "breakbefore");
  } else if (name == "delete") {
    result.replace = true;
  } else if (name == "authortitle") {
    result.html = AuthorTitle(selectionHtml, settings.elementColours);
    result.replace = !result.html.empty();
    if (!result.replace) messages.Show(common::Msg::AuthorTitleBadSelection);
  } else {
    result.known = false;
  }
  return result;
}

BodyCommandResult ApplyBodyCommand(std::string_view name, std::string& body, const BodyCommandInput& input,
                                   std::string_view validEnds, common::Progress& progress,
                                   const common::Messages& messages) {
  BodyCommandResult result{true, false};
  if (name == "insertpagebreaks") {
    result.changed = InsertAllPageBreaks(body, progress) > 0;
  } else if (name == "pagebreakhere") {
    result.changed = InsertPageBreakAtMarker(body);
  } else if (name == "leftwordsshift" || name == "joinnext") {
    result.changed = name == "joinnext" ? JoinWithNext(body, input.paragraph)
                                        : LeftWordsShift(body, input.paragraph, validEnds);
    if (!result.changed) messages.Show(common::Msg::NoFollowingParagraph);
  } else if (name == "hyphenate" || name == "unhyphenate") {
    const size_t before = body.size();
    std::string changed = name == "hyphenate" ? InsertHyphenations(body, false, input.language, progress)
                                              : RemoveHyphenations(body);
    result.changed = changed.size() != before || changed != body;
    body = std::move(changed);
  } else {
    result.known = false;
  }
  return result;
}

BookStatistics CountBookStatistics(std::string_view book) {
  BookStatistics s;
  for (size_t open = book.find(kParagraphOpen); open != std::string_view::npos;
       open = book.find(kParagraphOpen, open + 1)) {
    const size_t start = open + kParagraphOpen.size();
    const size_t end = book.find(markup::kDivEnd, start);
    if (!ParagraphPlainText(book.substr(start, (end == std::string_view::npos ? book.size() : end) - start)).empty())
      ++s.paragraphs;
  }
  CountWords(book, s);
  s.bookAuthors = CountOpenings(book, markup::kBookAuthorOpen);
  s.bookTitles = CountOpenings(book, markup::kBookTitleOpen);
  s.titles = CountOpenings(book, markup::kTitleOpen);
  s.subtitles = CountOpenings(book, markup::kSubtitleOpen);
  s.epigraphs = CountOpenings(book, markup::kEpigraphOpen);
  s.verses = CountOpenings(book, markup::kVerseOpen);
  s.cites = CountOpenings(book, markup::kCiteOpen);
  s.textAuthors = CountOpenings(book, markup::kTextAuthorOpen);
  s.annotations = CountOpenings(book, markup::kAnnotationOpen);
  s.pageBreaks = CountOpenings(book, markup::kPageBreak);
  for (size_t pos = common::FindAsciiCaseless(book, "<IMG"); pos != std::string_view::npos;
       pos = common::FindAsciiCaseless(book, "<IMG", pos + 4))
    ++s.pictures;
  for (size_t open = book.find(markup::kNoteBlockOpen); open != std::string_view::npos;
       open = book.find(markup::kNoteBlockOpen, open + 1)) {
    ++s.noteBlocks;
    const size_t start = open + markup::kNoteBlockOpen.size();
    const size_t end = markup::SkipElementContent(book, start, "span");
    for (size_t at = common::FindAsciiCaseless(book, "<A ", start); at != std::string_view::npos && at < end;
         at = common::FindAsciiCaseless(book, "<A ", at + 3)) {
      markup::TagToken tag;
      size_t tagEnd = 0;
      if (!markup::ReadTagToken(book, at, tag, tagEnd)) continue;
      const bool anchor = !markup::TagAttribute(tag.attributes, "name").empty() ||
                          (!markup::TagAttribute(tag.attributes, "id").empty() &&
                           markup::TagAttribute(tag.attributes, "href").empty());
      if (anchor) ++s.notes;
    }
  }
  return s;
}

}  // namespace pw::corrector
