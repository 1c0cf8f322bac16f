// Every match of a regular expression with its replacement filled in, for callers that show
// or apply the matches one by one (find and replace). Same engine and syntax as Regex.h.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::common {

struct RegexReplacement {
  size_t begin = 0;  // byte offsets of the match
  size_t end = 0;
  std::string text;  // the replacement with "$0" to "$9" filled in from this match
};

// Every non-overlapping match of `pattern` in `text`, left to right, at most `limit`, each with
// `replacement` expanded for it. False with `error` filled on a bad pattern or the match limit.
bool RegExpMatches(std::string_view text, std::string_view pattern, std::string_view replacement,
                   bool caseSensitive, size_t limit, std::vector<RegexReplacement>& out,
                   std::string* error = nullptr);

}  // namespace pw::common
