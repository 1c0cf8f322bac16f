#include "corrector/ParagraphLists.h"

#include "common/Text.h"
#include "common/Utf8.h"

namespace pw::corrector {
namespace {

constexpr std::string_view kParagraphOpen = "<DIV align=justify>";
constexpr std::string_view kParagraphClose = "</DIV>";
constexpr std::string_view kNbsp = "&nbsp;";

struct ParagraphSpan {
  size_t open = 0;   // the "<" of the opening tag
  size_t start = 0;  // after the opening tag
  size_t end = 0;    // the "<" of "</DIV>"
};

bool IsBlank(char c) { return c == ' ' || c == '\r' || c == '\n' || c == '\t'; }

bool FindParagraph(std::string_view book, size_t index, ParagraphSpan& span) {
  size_t open = book.find(kParagraphOpen);
  for (size_t i = 0; i < index && open != std::string_view::npos; ++i) open = book.find(kParagraphOpen, open + 1);
  if (open == std::string_view::npos) return false;
  span.open = open;
  span.start = open + kParagraphOpen.size();
  span.end = book.find(kParagraphClose, span.start);
  return span.end != std::string_view::npos;
}

bool HasPicture(std::string_view html) { return common::FindAsciiCaseless(html, "<IMG") != std::string_view::npos; }

// The paragraph with text that follows `previous` with only blanks and empty paragraphs (the
// blank lines of a text source) between them.
bool FindFollowing(std::string_view book, const ParagraphSpan& previous, ParagraphSpan& next) {
  size_t pos = previous.end + kParagraphClose.size();
  for (;;) {
    while (pos < book.size() && IsBlank(book[pos])) ++pos;
    if (book.compare(pos, kParagraphOpen.size(), kParagraphOpen) != 0) return false;
    next.open = pos;
    next.start = pos + kParagraphOpen.size();
    next.end = book.find(kParagraphClose, next.start);
    if (next.end == std::string_view::npos) return false;
    const std::string_view html = book.substr(next.start, next.end - next.start);
    if (!ParagraphPlainText(html).empty() || HasPicture(html)) return true;
    pos = next.end + kParagraphClose.size();
  }
}

// The inner HTML without the indent ("&nbsp;" runs and blanks) at its start and blanks at its end.
std::string_view WithoutIndent(std::string_view html) {
  for (;;) {
    if (common::StartsWith(html, kNbsp)) html.remove_prefix(kNbsp.size());
    else if (common::StartsWith(html, "\u00A0")) html.remove_prefix(2);
    else if (!html.empty() && IsBlank(html.front())) html.remove_prefix(1);
    else break;
  }
  while (!html.empty() && IsBlank(html.back())) html.remove_suffix(1);
  return html;
}

// Words of an HTML text: split at blanks that stand outside tags.
std::vector<std::string_view> SplitWords(std::string_view html) {
  std::vector<std::string_view> words;
  bool inTag = false;
  size_t start = 0;
  for (size_t i = 0; i <= html.size(); ++i) {
    const char c = i < html.size() ? html[i] : ' ';
    if (inTag) {
      inTag = c != '>';
      continue;
    }
    if (c == '<') inTag = true;
    else if (IsBlank(c)) {
      if (i > start) words.push_back(html.substr(start, i - start));
      start = i + 1;
    }
  }
  return words;
}

bool IsLowerCaseLetter(std::string_view letter) {
  return common::ToUpper(letter) != letter && common::ToLower(letter) == letter;
}

bool IsLetter(std::string_view letter) {
  return common::ToUpper(letter) != common::ToLower(letter);
}

bool StartsLowerCase(std::string_view text) {
  for (size_t pos = 0; pos < text.size();) {
    const size_t at = pos;
    const char32_t c = common::NextCodePoint(text, pos);
    if (c >= '0' && c <= '9') return false;
    const std::string_view letter = text.substr(at, pos - at);
    if (IsLetter(letter)) return IsLowerCaseLetter(letter);
  }
  return false;
}

// Joins `book` around the two paragraphs: `head` ends paragraph `first`, `next` becomes the
// following paragraph's text (none: the paragraph goes).
void Rewrite(std::string& book, const ParagraphSpan& first, const ParagraphSpan& second, std::string_view moved,
             std::string_view rest) {
  std::string_view current = std::string_view(book).substr(first.start, first.end - first.start);
  while (!current.empty() && IsBlank(current.back())) current.remove_suffix(1);
  std::string out;
  out.reserve(book.size() + 8);
  out.append(book, 0, first.start);
  out.append(current);
  if (!moved.empty()) {
    if (!common::EndsWith(current, "\u00AD")) out += ' ';
    else out.resize(out.size() - 2);  // a word hyphenated across the break joins whole
    out.append(moved);
  }
  out.append(kParagraphClose);
  if (!rest.empty()) {
    out.append(book, first.end + kParagraphClose.size(), second.open - first.end - kParagraphClose.size());
    out.append(kParagraphOpen);
    out.append("&nbsp;&nbsp;&nbsp;&nbsp;");
    out.append(rest);
    out.append(kParagraphClose);
  }
  out.append(book, second.end + kParagraphClose.size());
  book = std::move(out);
}

}  // namespace

bool ParseParagraphCheck(std::string_view name, ParagraphCheck& check) {
  if (name == "badends") check = ParagraphCheck::BadEnds;
  else if (name == "short") check = ParagraphCheck::Short;
  else if (name == "empty") check = ParagraphCheck::Empty;
  else if (name == "lowercase") check = ParagraphCheck::LowerCaseStart;
  else return false;
  return true;
}

std::vector<SuspectParagraph> ListParagraphs(std::string_view book, ParagraphCheck check,
                                             std::string_view decodedEnds, std::string_view indentMarker) {
  if (check == ParagraphCheck::BadEnds) return FindBadSentenceEnds(book, decodedEnds, indentMarker);
  std::vector<SuspectParagraph> listed;
  size_t index = 0;
  for (size_t open = book.find(kParagraphOpen); open != std::string_view::npos;
       open = book.find(kParagraphOpen, open + 1), ++index) {
    const size_t start = open + kParagraphOpen.size();
    size_t end = book.find(kParagraphClose, start);
    if (end == std::string_view::npos) end = book.size();
    const std::string_view html = book.substr(start, end - start);
    const std::string text = ParagraphPlainText(html, indentMarker);
    bool listedHere = false;
    switch (check) {
      case ParagraphCheck::Empty: listedHere = text.empty() && !HasPicture(html); break;
      case ParagraphCheck::Short: {
        const size_t length = common::CodePointCount(text);
        listedHere = length > 0 && length < kShortParagraphLimit;
        break;
      }
      case ParagraphCheck::LowerCaseStart: listedHere = StartsLowerCase(text); break;
      case ParagraphCheck::BadEnds: break;
    }
    if (listedHere) listed.push_back({index, ShortenForList(text)});
  }
  return listed;
}

bool JoinWithNext(std::string& book, size_t index) {
  ParagraphSpan first, second;
  if (!FindParagraph(book, index, first) || !FindFollowing(book, first, second)) return false;
  const std::string moved(WithoutIndent(std::string_view(book).substr(second.start, second.end - second.start)));
  Rewrite(book, first, second, moved, {});
  return true;
}

bool LeftWordsShift(std::string& book, size_t index, std::string_view decodedEnds) {
  ParagraphSpan first, second;
  if (!FindParagraph(book, index, first) || !FindFollowing(book, first, second)) return false;
  const std::string_view next = WithoutIndent(std::string_view(book).substr(second.start, second.end - second.start));
  const std::vector<std::string_view> words = SplitWords(next);
  size_t taken = words.size();
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string plain = ParagraphPlainText(words[i]);
    if (!plain.empty() && decodedEnds.find(common::LastChar(plain)) != std::string_view::npos) {
      taken = i + 1;
      break;
    }
  }
  if (taken == words.size()) {
    const std::string moved(next);
    Rewrite(book, first, second, moved, {});
    return true;
  }
  const size_t split = static_cast<size_t>(words[taken].data() - next.data());
  const std::string moved(common::Trim(next.substr(0, split)));
  const std::string rest(next.substr(split));
  Rewrite(book, first, second, moved, rest);
  return true;
}

}  // namespace pw::corrector
