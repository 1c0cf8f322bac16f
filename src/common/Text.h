// Literal text passes over whole books. Each builds its result in one pass over the text,
// so its cost grows linearly with the book.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/CodePage.h"

namespace pw::common {

// Replaces every non-overlapping occurrence of `from`, left to right. An empty `from` changes nothing.
std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to);
// In-place form; returns the number of replacements. When the result would grow past
// `maxResult` bytes the text is left as it was and kResultTooLarge is returned.
inline constexpr size_t kResultTooLarge = static_cast<size_t>(-1);
size_t ReplaceAllInPlace(std::string& text, std::string_view from, std::string_view to,
                         size_t maxResult = kResultTooLarge);

// Case-insensitive for Unicode text (simple case folding, so Cyrillic and accented letters match
// their other case); left to right, non-overlapping. The same bound as ReplaceAllInPlace.
std::string ReplaceAllCaseless(std::string_view text, std::string_view from, std::string_view to);
size_t ReplaceAllCaselessInPlace(std::string& text, std::string_view from, std::string_view to,
                                 size_t maxResult = kResultTooLarge);

// Replaces the first occurrence only; false when there was none.
bool ReplaceFirst(std::string& text, std::string_view from, std::string_view to);

// Replaces a doubled `symbol` by a single one until the text stops shrinking, so any run of
// repeats becomes one. Case-insensitive when `caseSensitive` is false.
void CollapseRepeats(std::string& text, std::string_view symbol, bool caseSensitive);

// Decodes the character notations of user-typed texts: "uni(" code ")" is the Unicode
// character with that decimal code, "chr(" code ")" the character with that single-byte code
// in the book's code page. Blanks around the number are ignored; a notation that is not a
// well-formed number stays as typed.
std::string DecodeCharNotation(std::string_view text, CodePage bookCodePage);

// Number of non-overlapping occurrences of `part` (0 for an empty part).
size_t CountOccurrences(std::string_view text, std::string_view part);

// True when `text` starts / ends with `part`.
bool StartsWith(std::string_view text, std::string_view part);
bool EndsWith(std::string_view text, std::string_view part);

// Blanks (space, tab, CR, LF) removed from both ends.
std::string_view Trim(std::string_view text);

// ASCII-only lower case, for tags, extensions and keywords.
std::string AsciiLower(std::string_view text);

// Finds `needle` in `text` ignoring ASCII case, from byte `from`; npos when absent.
size_t FindAsciiCaseless(std::string_view text, std::string_view needle, size_t from = 0);

}  // namespace pw::common
