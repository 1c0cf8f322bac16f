// Regular expressions over UTF-8 book text: PCRE2 with JIT, UTF and Unicode-property mode,
// compiled once and cached. Replacements use "$0" (whole match) to "$9".
// A bad pattern or a runaway match is reported to the caller as an error, never a crash or a hang.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace pw::common {

// Bounds on one replace-all over a whole text, beyond the engine's limit on a single match:
// the time all its matches may take together and the largest result it may build. A bound
// that is hit fails the replacement (the text is left unchanged) and is told in its flag.
struct RegexBounds {
  std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max();
  size_t maxResult = SIZE_MAX;
  bool timeRanOut = false;  // set when the deadline passed
  bool tooLarge = false;    // set when the result would have grown past maxResult
};

// Replaces every non-overlapping match of `pattern` in `text`, in place.
// Returns false and fills `error` (when given) on a bad pattern, when the match limit is hit
// or when a bound of `bounds` is hit; `text` is then left unchanged. `count`, when given,
// receives the number of replacements.
bool RegExpReplaceAll(std::string& text, std::string_view pattern, std::string_view replacement,
                      bool caseSensitive, std::string* error = nullptr, size_t* count = nullptr,
                      RegexBounds* bounds = nullptr);

// Replaces only the first match, in place. Same error rules.
bool RegExpReplaceFirst(std::string& text, std::string_view pattern, std::string_view replacement,
                        bool caseSensitive, std::string* error = nullptr);

struct RegexMatch {
  bool found = false;
  size_t begin = 0;  // byte offset of the match in the searched text
  size_t end = 0;    // one past the last byte
};

// Finds the first match at or after byte offset `from`. An error (bad pattern, limit) gives
// found == false with `error` filled.
RegexMatch RegExpFind(std::string_view text, std::string_view pattern, bool caseSensitive,
                      size_t from = 0, std::string* error = nullptr);

// True when `pattern` compiles; otherwise fills `error` with PCRE2's message and the offset.
bool RegExpIsValid(std::string_view pattern, std::string* error = nullptr);

}  // namespace pw::common
