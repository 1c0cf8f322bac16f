#include "import/TextHeader.h"

#include <array>
#include <vector>

#include "common/Text.h"
#include "common/Utf8.h"
#include "import/TextCharacters.h"

namespace pw::import {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr size_t kLongestName = 60;
constexpr size_t kLongestTitle = 100;
constexpr size_t kLinesLookedAt = 12;

// Words that begin headings rather than names: "Глава Первая" is no author.
constexpr std::array<std::string_view, 26> kHeadingWords = {
    "глава", "часть", "книга", "том", "действие", "явление", "предисловие", "пролог", "эпилог",
    "содержание", "оглавление", "введение", "примечания", "chapter", "part", "book", "volume", "act",
    "scene", "preface", "prologue", "epilogue", "contents", "introduction", "notes", "the"};

struct Line {
  std::string_view text;  // trimmed
  size_t end = 0;         // offset just past its line end
};

std::vector<Line> FirstLines(std::string_view text) {
  std::vector<Line> lines;
  size_t pos = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  while (pos < text.size() && lines.size() < kLinesLookedAt) {
    const size_t lf = text.find('\n', pos);
    const size_t stop = lf == std::string_view::npos ? text.size() : lf;
    const size_t next = lf == std::string_view::npos ? text.size() : lf + 1;
    lines.push_back({common::Trim(text.substr(pos, stop - pos)), next});
    pos = next;
  }
  return lines;
}

std::vector<std::string_view> Words(std::string_view line) {
  std::vector<std::string_view> words;
  size_t pos = 0;
  while (pos < line.size()) {
    while (pos < line.size() && line[pos] == ' ') ++pos;
    const size_t start = pos;
    while (pos < line.size() && line[pos] != ' ') ++pos;
    if (pos > start) words.push_back(line.substr(start, pos - start));
  }
  return words;
}

// "А.", "A.S.", "Дж." : capitals (a few lower-case letters after the first) each closed by a point.
bool IsInitial(std::string_view word) {
  if (!word.ends_with('.')) return false;
  size_t letters = 0;
  bool expectCapital = true;
  for (size_t pos = 0; pos < word.size();) {
    const char32_t cp = common::NextCodePoint(word, pos);
    if (cp == U'.') {
      if (expectCapital) return false;
      expectCapital = true;
      letters = 0;
      continue;
    }
    if (expectCapital ? !IsUpperLetter(cp) : !IsLowerLetter(cp)) return false;
    expectCapital = false;
    if (++letters > 3) return false;
  }
  return true;
}

// "Лермонтов", "Салтыков-Щедрин", "O'Brien"; in capitals "ЧЕХОВ" when allowed.
bool IsNameWord(std::string_view word, bool allowCapitals) {
  bool first = true, afterJoiner = false, capitals = true, lower = false;
  size_t letters = 0;
  for (size_t pos = 0; pos < word.size();) {
    const char32_t cp = common::NextCodePoint(word, pos);
    if (cp == U'-' || cp == U'\'' || cp == U'\u2019') {
      if (first || afterJoiner) return false;
      afterJoiner = true;
      continue;
    }
    if (first || afterJoiner) {
      if (!IsUpperLetter(cp)) return false;
    } else if (IsLowerLetter(cp)) {
      lower = true;
      capitals = false;
    } else if (!IsUpperLetter(cp)) {
      return false;
    }
    first = false;
    afterJoiner = false;
    ++letters;
  }
  if (afterJoiner || letters < 2) return false;
  return lower || (capitals && allowCapitals);
}

bool IsHeadingWord(std::string_view word) {
  const std::string lower = common::ToLower(word);
  for (const std::string_view w : kHeadingWords)
    if (lower == w) return true;
  return false;
}

bool EndsRunningOn(std::string_view line) {
  const char32_t last = LastCodePointOr(line);
  return last == U',' || last == U';' || last == U':' || last == U'-' || last == U'\u2014';
}

bool IsCapitalsLine(std::string_view line) {
  bool letter = false;
  for (size_t pos = 0; pos < line.size();) {
    const char32_t cp = common::NextCodePoint(line, pos);
    if (IsLowerLetter(cp)) return false;
    letter = letter || IsUpperLetter(cp);
  }
  return letter;
}

size_t WordCount(std::string_view line) { return Words(line).size(); }

// A title: a short line that starts like one and is no sentence of prose.
bool IsTitleLine(std::string_view line) {
  if (line.empty() || CharLength(line) > kLongestTitle) return false;
  const char32_t first = FirstCodePointOr(line);
  if (!(IsUpperLetter(first) || IsAsciiDigit(first) || IsOpeningQuote(first))) return false;
  if (IsCapitalsLine(line)) return true;
  if (EndsRunningOn(line)) return false;
  const char32_t last = LastCodePointOr(line);
  if (last == U'.') return false;
  return WordCount(line) <= 12;
}

// The title lines from `first` on: a run of lines in capitals ("СКАЗКА О ЦАРЕ САЛТАНЕ," and the
// capital lines under it) is one title; a title in ordinary case must stand alone, before an
// empty line.
bool ReadTitle(const std::vector<Line>& lines, size_t first, std::string& title, size_t& last) {
  if (first >= lines.size() || !IsTitleLine(lines[first].text)) return false;
  title = std::string(lines[first].text);
  last = first;
  if (IsCapitalsLine(lines[first].text)) {
    while (last + 1 < lines.size() && IsCapitalsLine(lines[last + 1].text) &&
           CharLength(lines[last + 1].text) <= kLongestTitle) {
      ++last;
      title += ' ';
      title += lines[last].text;
    }
    return !EndsRunningOn(lines[last].text);
  }
  return last + 1 >= lines.size() || lines[last + 1].text.empty();
}

size_t NextFilled(const std::vector<Line>& lines, size_t from, size_t maxGap) {
  for (size_t i = from; i < lines.size() && i <= from + maxGap; ++i)
    if (!lines[i].text.empty()) return i;
  return lines.size();
}

// "by Lewis Carroll", "BY LEWIS CARROLL": the name after the word.
bool ReadByLine(std::string_view line, std::string& author) {
  if (line.size() < 4) return false;
  const std::string head = common::AsciiLower(line.substr(0, 3));
  if (head != "by ") return false;
  const std::string_view name = common::Trim(line.substr(3));
  if (!LooksLikePersonName(name, true)) return false;
  author = std::string(name);
  return true;
}

}  // namespace

bool LooksLikePersonName(std::string_view line, bool allowCapitals) {
  line = common::Trim(line);
  if (line.empty() || CharLength(line) > kLongestName) return false;
  const std::vector<std::string_view> words = Words(line);
  if (words.size() < 2 || words.size() > 4) return false;
  if (IsHeadingWord(words.front())) return false;
  size_t names = 0;
  for (const std::string_view word : words) {
    if (IsInitial(word)) continue;
    if (!IsNameWord(word, allowCapitals)) return false;
    ++names;
  }
  return names >= 1 && !IsInitial(words.back());
}

TextHeader FindTextHeader(std::string_view text) {
  TextHeader header;
  const std::vector<Line> lines = FirstLines(text);
  const size_t first = NextFilled(lines, 0, 3);
  if (first >= lines.size()) return header;
  const std::string_view line = lines[first].text;

  // "Author. Title" on one line; the point may follow an initial, so every ". " is tried.
  for (size_t point = line.find(". "); point != std::string_view::npos; point = line.find(". ", point + 1)) {
    const std::string_view author = line.substr(0, point);
    const std::string_view title = common::Trim(line.substr(point + 2));
    if (!LooksLikePersonName(author) || !IsTitleLine(title)) continue;
    const size_t next = first + 1;
    if (next < lines.size() && !lines[next].text.empty() && !IsCapitalsLine(title)) break;
    header.author = std::string(author);
    header.title = std::string(title);
    header.length = lines[first].end;
    return header;
  }

  // An author line, then the title.
  if (LooksLikePersonName(line)) {
    const size_t at = NextFilled(lines, first + 1, 2);
    std::string title;
    size_t last = 0;
    if (ReadTitle(lines, at, title, last)) {
      header.author = std::string(line);
      header.title = std::move(title);
      header.length = lines[last].end;
      return header;
    }
  }

  // The title, then "by Author".
  std::string title;
  size_t last = first;
  if (!ReadTitle(lines, first, title, last)) {
    // A title in ordinary case may have its "by" line right under it.
    title = IsTitleLine(line) ? std::string(line) : std::string();
    last = first;
  }
  if (!title.empty()) {
    const size_t at = NextFilled(lines, last + 1, 2);
    std::string author;
    if (at < lines.size() && ReadByLine(lines[at].text, author)) {
      header.author = std::move(author);
      header.title = std::move(title);
      header.length = lines[at].end;
    }
  }
  return header;
}

std::string JoinSpacedLetters(std::string_view line) {
  const std::string_view trimmed = common::Trim(line);
  // Every blank-separated token a single character, at least three letters among them.
  size_t letters = 0;
  bool wideGap = false;
  for (size_t pos = 0; pos < trimmed.size();) {
    const char32_t cp = common::NextCodePoint(trimmed, pos);
    if (cp == U' ') return std::string(line);  // a token starts with a blank only after trimming
    if (IsLetterOrDigit(cp)) ++letters;
    if (pos >= trimmed.size()) break;
    if (trimmed[pos] != ' ') return std::string(line);
    size_t blanks = 0;
    while (pos < trimmed.size() && trimmed[pos] == ' ') {
      ++pos;
      ++blanks;
    }
    wideGap = wideGap || blanks > 1;
  }
  // "x x x" separates scenes; it spells no word.
  if (letters < 3 || common::Trim(common::ReplaceAll(trimmed, std::string_view(trimmed.data(), 1), "")).empty())
    return std::string(line);
  std::string out;
  out.reserve(trimmed.size());
  for (size_t pos = 0; pos < trimmed.size();) {
    if (trimmed[pos] != ' ') {
      out.push_back(trimmed[pos++]);
      continue;
    }
    size_t blanks = 0;
    while (pos < trimmed.size() && trimmed[pos] == ' ') {
      ++pos;
      ++blanks;
    }
    if (wideGap && blanks > 1) out.push_back(' ');
  }
  return out;
}

}  // namespace pw::import
