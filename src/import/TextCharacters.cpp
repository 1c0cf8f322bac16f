#include "import/TextCharacters.h"

#include <unicode/uchar.h>

#include "common/Utf8.h"

namespace pw::import {

char32_t FirstCodePointOr(std::string_view text, char32_t empty) {
  if (text.empty()) return empty;
  size_t pos = 0;
  return common::NextCodePoint(text, pos);
}

char32_t LastCodePointOr(std::string_view text, char32_t empty) {
  if (text.empty()) return empty;
  size_t start = text.size() - 1;
  // Step back over continuation bytes to the first byte of the last sequence.
  for (size_t back = 0; back < 3 && start > 0 && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80; ++back)
    --start;
  size_t pos = start;
  return common::NextCodePoint(text, pos);
}

size_t CharLength(std::string_view text) {
  size_t count = 0;
  for (const char c : text) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  return count;
}

bool IsLowerLetter(char32_t cp) {
  if (cp < 0x80) return cp >= 'a' && cp <= 'z';
  return u_islower(static_cast<UChar32>(cp));
}

bool IsUpperLetter(char32_t cp) {
  if (cp < 0x80) return cp >= 'A' && cp <= 'Z';
  return u_isupper(static_cast<UChar32>(cp)) || u_istitle(static_cast<UChar32>(cp));
}

bool IsAsciiDigit(char32_t cp) { return cp >= '0' && cp <= '9'; }

bool IsLetterOrDigit(char32_t cp) {
  if (cp < 0x80) return (cp >= 'a' && cp <= 'z') || (cp >= 'A' && cp <= 'Z') || (cp >= '0' && cp <= '9');
  return u_isalnum(static_cast<UChar32>(cp));
}

bool IsClosingQuote(char32_t cp) {
  switch (cp) {
    case U'"':
    case U'\'':
    case U'\u2018':  // 145
    case U'\u2019':  // 146
    case U'\u201C':  // 147
    case U'\u201D':  // 148
    case U'\u00BB':  // 187
      return true;
    default:
      return false;
  }
}

bool IsOpeningQuote(char32_t cp) {
  switch (cp) {
    case U'"':
    case U'\'':
    case U'\u2018':  // 145
    case U'\u201C':  // 147
    case U'\u201D':  // 148, the opening quote of many Russian books
    case U'\u201E':
    case U'\u00AB':  // 171
      return true;
    default:
      return false;
  }
}

std::string_view TrimLeadingBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

std::string_view TrimTrailingBlanks(std::string_view text) {
  const size_t last = text.find_last_not_of(' ');
  return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

std::string_view TrimBlanks(std::string_view text) { return TrimTrailingBlanks(TrimLeadingBlanks(text)); }

namespace {

bool IsSentenceMark(char32_t cp) { return cp == U'.' || cp == kEllipsis || cp == U'!' || cp == U'?'; }

// Removes the last code point of `text`.
std::string_view DropLast(std::string_view text) {
  size_t end = text.size() - 1;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end);
}

}  // namespace

bool EndsSentence(std::string_view line) {
  line = TrimTrailingBlanks(line);
  for (int guard = 0; guard < 4 && !line.empty(); ++guard) {
    const char32_t last = LastCodePointOr(line);
    if (IsSentenceMark(last)) return true;
    if (!IsClosingQuote(last)) return false;
    line = DropLast(line);
  }
  return false;
}

bool BeginsParagraph(std::string_view line) {
  const char32_t c = FirstCodePointOr(TrimLeadingBlanks(line));
  if (IsUpperLetter(c) || IsOpeningQuote(c) || IsAsciiDigit(c)) return true;
  switch (c) {
    case U'-':
    case kEllipsis:
    case U'(':
    case U'[':
    case U'*':
    case U'\u2022':  // bullet
      return true;
    default:
      return false;
  }
}

bool BeginsWithCapital(std::string_view line) {
  line = TrimLeadingBlanks(line);
  size_t pos = 0;
  while (pos < line.size()) {
    const char32_t c = common::NextCodePoint(line, pos);
    if (IsUpperLetter(c)) return true;
    if (IsOpeningQuote(c) || c == U'-' || c == U'(' || c == U'[' || c == kEllipsis || c == U' ' || c == U'.')
      continue;
    return false;
  }
  return false;
}

}  // namespace pw::import
