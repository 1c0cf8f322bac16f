#include "import/HeadingClassifier.h"

#include <unicode/uchar.h>

#include <algorithm>

#include "common/Text.h"
#include "common/Utf8.h"
#include "import/TextCharacters.h"
#include "import/TextWriters.h"

namespace pw::import {
namespace {

// True when upper-casing `text` would leave it as it is: no lower-case letter in it.
bool IsUpperCaseLine(std::string_view text) {
  for (size_t pos = 0; pos < text.size();) {
    const auto byte = static_cast<unsigned char>(text[pos]);
    if (byte < 0x80) {
      if (byte >= 'a' && byte <= 'z') return false;
      ++pos;
      continue;
    }
    const char32_t cp = common::NextCodePoint(text, pos);
    if (u_hasBinaryProperty(static_cast<UChar32>(cp), UCHAR_CHANGES_WHEN_UPPERCASED)) return false;
  }
  return true;
}

bool HasLetterOrDigit(std::string_view text) {
  for (size_t pos = 0; pos < text.size();) {
    if (IsLetterOrDigit(common::NextCodePoint(text, pos))) return true;
  }
  return false;
}

// True when `text` starts with `word` followed by its end or by a character that is no letter.
bool StartsWithWord(std::string_view text, std::string_view word) {
  if (word.empty() || !text.starts_with(word)) return false;
  if (text.size() == word.size()) return true;
  size_t pos = word.size();
  const char32_t next = common::NextCodePoint(text, pos);
  return !IsLetterOrDigit(next) || IsAsciiDigit(next);
}

bool IsRomanLetter(char c) {
  switch (c) {
    case 'I': case 'V': case 'X': case 'L': case 'C': case 'D': case 'M':
    case 'i': case 'v': case 'x': case 'l': case 'c': case 'd': case 'm':
      return true;
    default:
      return false;
  }
}

// True for a line that is only a Roman numeral in capitals, with an optional final point:
// "XXX" and "XXXIV." number chapters and stanzas, they do not separate scenes.
bool IsRomanNumeral(std::string_view line) {
  if (line.ends_with('.')) line.remove_suffix(1);
  if (line.empty()) return false;
  return std::all_of(line.begin(), line.end(), [](char c) { return IsRomanLetter(c) && c >= 'A' && c <= 'Z'; });
}

// True when `rest` (what follows a keyword) starts with a chapter number: digits, or a Roman
// numeral standing as a word of its own.
bool StartsWithChapterNumber(std::string_view rest) {
  rest = TrimLeadingBlanks(rest);
  if (rest.empty()) return false;
  if (IsAsciiDigit(static_cast<unsigned char>(rest[0]))) return true;
  size_t end = 0;
  while (end < rest.size() && IsRomanLetter(rest[end])) ++end;
  if (end == 0) return false;
  if (end == rest.size()) return true;
  size_t pos = end;
  return !IsLetterOrDigit(common::NextCodePoint(rest, pos));
}

size_t WordCount(std::string_view text) {
  size_t words = 0;
  bool inWord = false;
  for (const char c : text) {
    const bool blank = c == ' ';
    if (!blank && !inWord) ++words;
    inWord = !blank;
  }
  return words;
}

bool KeywordHeading(std::string_view line, size_t length, const HeadingDictionary& dictionary) {
  for (const std::string& keyword : dictionary.keywords) {
    if (!StartsWithWord(line, keyword)) continue;
    const std::string_view rest = line.substr(keyword.size());
    if (StartsWithChapterNumber(rest)) return length < 81;
    if (length >= 40) return false;
    const char32_t last = LastCodePointOr(line);
    const bool sentence = last == U'.' || last == U'!' || last == U'?';
    return !(sentence && WordCount(rest) >= 3);
  }
  return false;
}

bool WordListHeading(std::string_view line, const HeadingDictionary& dictionary) {
  const std::string lower = common::ToLower(line);
  return std::any_of(dictionary.words.begin(), dictionary.words.end(),
                     [&](const std::string& word) { return StartsWithWord(lower, word); });
}

bool IsHeadingStart(char32_t c) {
  return c == U'"' || c == U'*' || c == U'\u00AB' || IsAsciiDigit(c) || IsUpperLetter(c);
}

HeadingVerdict Decide(bool heading, int test, bool separator = false) {
  HeadingVerdict verdict;
  verdict.heading = heading;
  verdict.test = test;
  verdict.sceneSeparator = heading && separator;
  verdict.subtitle = heading && separator;
  return verdict;
}

}  // namespace

std::string_view CharClass(char32_t c) {
  if (c == U'.') return "point";
  if (c >= U'1' && c <= U'9') return "digit";
  if (c == U' ') return "space";
  return "";
}

HeadingVerdict ClassifyHeadingLine(std::string_view rawLine, const HeadingDictionary* dictionary) {
  const std::string_view line = common::Trim(rawLine);
  const size_t length = CharLength(line);

  if (line.find(kJoinedFileMarker) != std::string_view::npos) {  // 1
    HeadingVerdict verdict = Decide(true, 1);
    verdict.sceneSeparator = true;
    return verdict;
  }
  if (length < 1) return Decide(false, 2);
  if (line.back() == ':' || line.back() == ';') return Decide(false, 3);
  if (length < 41 && line.starts_with("_______")) return Decide(true, 4, true);
  if (length < 21 && (line.starts_with("---") || line.starts_with("- - -"))) return Decide(true, 5, true);

  const char32_t first = FirstCodePointOr(line);
  if (first == U'-' || first == kEllipsis) return Decide(false, 6);
  if (length <= 4 && first >= U'1' && first <= U'9') return Decide(true, 7);
  if (length < 21) {
    const std::string lower = common::AsciiLower(line.substr(0, 5));
    if (line.starts_with("***") || line.starts_with("* * *") || lower.starts_with("x x x") ||
        (lower.starts_with("xxx") && !IsRomanNumeral(line)))
      return Decide(true, 8, true);
  }
  const bool starred = length < 21 && std::count(line.begin(), line.end(), '*') >= 2;
  if (!starred && dictionary && KeywordHeading(line, length, *dictionary)) return Decide(true, 9);
  if (length < 15 && dictionary && WordListHeading(line, *dictionary)) return Decide(true, 10);
  if (length < 81 && IsHeadingStart(first) && IsUpperCaseLine(line))
    return Decide(true, 11, !HasLetterOrDigit(line));
  if (length > 40 || length < 5) return Decide(false, 12);

  // 13: a numbered heading, "1. Title" or "12. Title".
  if (CharClass(first) != "digit") return Decide(false, 13);
  const size_t points = std::count(line.begin(), line.end(), '.');
  if (points > 1) return Decide(false, 13);
  if (points == 1 && std::count(line.begin(), line.end(), ',') > 0) return Decide(false, 13);
  char32_t next[3] = {0, 0, 0};
  size_t pos = 0;
  common::NextCodePoint(line, pos);
  for (char32_t& c : next) c = common::NextCodePoint(line, pos);
  if (CharClass(next[0]) == "point") return Decide(true, 13);
  const bool twoDigits = CharClass(next[0]) == "digit" && CharClass(next[1]) == "point" &&
                         CharClass(next[2]) == "space";
  return Decide(twoDigits, 13);
}

bool ClassifyHeadingLine(std::string_view line, std::string_view checkMode, const HeadingDictionary* dictionary,
                         const common::ElementColours& colours, std::string& out, bool& sceneSeparatorFlag) {
  const HeadingVerdict verdict = ClassifyHeadingLine(line, dictionary);
  if (!verdict.heading || checkMode == kJustCheck) return verdict.heading;
  if (verdict.sceneSeparator) sceneSeparatorFlag = true;
  WriteHeading(out, common::Trim(line), verdict.subtitle, colours);
  return true;
}

}  // namespace pw::import
