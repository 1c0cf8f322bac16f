// Regular expressions over UTF-8 book text: PCRE2 with JIT, UTF and Unicode-property mode,
// compiled once and cached. Replacements use "$0" (whole match) to "$9".
// A bad pattern or a runaway match is reported to the caller as an error, never a crash or a hang.
#pragma once

#include <string>
#include <string_view>

namespace pw::common {

// Replaces every non-overlapping match of `pattern` in `text`, in place.
// Returns false and fills `error` (when given) on a bad pattern or when the match limit is hit;
// `text` is then left unchanged. `count`, when given, receives the number of replacements.
bool RegExpReplaceAll(std::string& text, std::string_view pattern, std::string_view replacement,
                      bool caseSensitive, std::string* error = nullptr, size_t* count = nullptr);

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
