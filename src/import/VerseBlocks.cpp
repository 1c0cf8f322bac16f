#include "import/VerseBlocks.h"

#include <algorithm>
#include <array>
#include <string>

#include "common/Text.h"
#include "common/Utf8.h"
#include "import/TextCharacters.h"

namespace pw::import {
namespace {

// Small words that stand in lower case inside names and attributions.
constexpr std::array<std::string_view, 24> kNameJoiners = {
    "de", "da", "di", "du", "del", "van", "von", "der", "den", "la", "le", "of", "the", "y",
    "и", "из", "фон", "де", "ван", "дю", "ди", "ибн", "аль", "к"};

bool IsNameJoiner(std::string_view word) {
  return std::find(kNameJoiners.begin(), kNameJoiners.end(), word) != kNameJoiners.end();
}

// The word without punctuation around it, and the number of letters in it.
std::string_view Letters(std::string_view word, size_t& letters) {
  size_t begin = 0;
  size_t end = word.size();
  letters = 0;
  size_t firstLetter = std::string_view::npos;
  size_t afterLast = 0;
  for (size_t pos = 0; pos < word.size();) {
    const size_t at = pos;
    const char32_t c = common::NextCodePoint(word, pos);
    if (IsLowerLetter(c) || IsUpperLetter(c)) {
      ++letters;
      if (firstLetter == std::string_view::npos) firstLetter = at;
      afterLast = pos;
    }
  }
  if (firstLetter == std::string_view::npos) return {};
  begin = firstLetter;
  end = afterLast;
  return word.substr(begin, end - begin);
}

bool IsVerseCandidate(std::string_view line) {
  const std::string_view trimmed = common::Trim(line);
  return !trimmed.empty() && CharLength(trimmed) <= kLongestVerseLine && BeginsWithCapital(trimmed);
}

// Lines of [first, last) that do not end a sentence, the last line not counted.
size_t FlowingLines(const std::vector<std::string_view>& lines, size_t first, size_t last) {
  size_t flowing = 0;
  for (size_t i = first; i + 1 < last; ++i) flowing += !EndsSentence(lines[i]);
  return flowing;
}

}  // namespace

bool IsAuthorLine(std::string_view line) {
  std::string_view text = common::Trim(line);
  while (!text.empty() && (text[0] == '-' || text[0] == '(' || text[0] == '[' || text[0] == ' ')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ')' || text.back() == ']' || text.back() == ' ')) text.remove_suffix(1);
  const size_t length = CharLength(text);
  if (length < 2 || length > 40) return false;
  const char32_t last = LastCodePointOr(text);
  if (last == U',' || last == U':' || last == U';' || last == U'-' || last == U'!' || last == U'?') return false;

  size_t words = 0;
  bool named = false;
  size_t lastWordLetters = 0;
  for (size_t start = 0; start < text.size();) {
    size_t end = text.find(' ', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view word = text.substr(start, end - start);
    start = end + 1;
    if (word.empty()) continue;
    if (++words > 5) return false;
    size_t letters = 0;
    const std::string_view core = Letters(word, letters);
    lastWordLetters = letters;
    if (letters == 0) continue;
    if (IsUpperLetter(FirstCodePointOr(core))) {
      named = named || letters >= 2;
    } else if (!IsNameJoiner(common::ToLower(core))) {
      return false;
    }
  }
  if (!named) return false;
  return last != U'.' || lastWordLetters <= 4;
}

bool IsEpigraphBlock(const std::vector<std::string_view>& lines) {
  if (lines.size() < 2 || lines.size() > 8) return false;
  if (!IsAuthorLine(lines.back())) return false;
  return EndsSentence(lines[lines.size() - 2]);
}

std::vector<std::pair<size_t, size_t>> FindVerseRuns(const std::vector<std::string_view>& lines) {
  std::vector<std::pair<size_t, size_t>> runs;
  size_t i = 0;
  while (i < lines.size()) {
    if (!IsVerseCandidate(lines[i])) {
      ++i;
      continue;
    }
    size_t end = i + 1;
    while (end < lines.size() && IsVerseCandidate(lines[end])) ++end;
    const size_t count = end - i;
    const size_t flowing = FlowingLines(lines, i, end);
    if (count >= kShortestVerseRun && flowing >= 2 && flowing * 3 >= count - 1) runs.emplace_back(i, end);
    i = end;
  }
  return runs;
}

bool ReadsAsVerse(const std::vector<std::string_view>& lines) {
  if (lines.size() < 2) return false;
  if (!std::all_of(lines.begin(), lines.end(), IsVerseCandidate)) return false;
  const size_t flowing = FlowingLines(lines, 0, lines.size());
  return flowing >= 1 && flowing * 2 >= lines.size() - 1;
}

}  // namespace pw::import
