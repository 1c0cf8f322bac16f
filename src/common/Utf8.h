// UTF-8 helpers: walking code points, first and last characters, validity, and
// Unicode-aware upper and lower case (ICU).
#pragma once

#include <string>
#include <string_view>

namespace pw::common {

// Decodes the code point starting at byte `pos` and advances `pos` past it.
// An invalid or truncated sequence yields U+FFFD and advances by one byte.
// At or past the end returns 0 and leaves `pos` unchanged.
char32_t NextCodePoint(std::string_view text, size_t& pos);

// Appends the UTF-8 encoding of `cp` (invalid values become U+FFFD).
void AppendUtf8(std::string& out, char32_t cp);
std::string Utf8Of(char32_t cp);

// The first and the last character of `text` as UTF-8 (empty for empty text).
std::string FirstChar(std::string_view text);
std::string LastChar(std::string_view text);

// Number of code points.
size_t CodePointCount(std::string_view text);

// True when `text` is well-formed UTF-8 (no overlongs, no surrogates, nothing above U+10FFFF).
bool IsValidUtf8(std::string_view text);

// Full Unicode case mapping through ICU (root locale).
std::string ToUpper(std::string_view text);
std::string ToLower(std::string_view text);
// Upper-cases the first letter of every word and lower-cases the rest.
std::string ToTitle(std::string_view text);

}  // namespace pw::common
