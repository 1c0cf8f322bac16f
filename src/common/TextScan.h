// Bounded look-ahead for scanners over a whole book: a scanner that meets a "&" or a "<" looks
// for its end only within the longest form it can have, so that a book full of lone "&" costs
// time in proportion to its length.
#pragma once

#include <algorithm>
#include <string_view>

namespace pw::common {

// Position of `c` in `text` within [from, from + window); npos when it is not there.
inline size_t FindWithin(std::string_view text, char c, size_t from, size_t window) {
  if (from >= text.size()) return std::string_view::npos;
  const size_t at = text.substr(from, std::min(window, text.size() - from)).find(c);
  return at == std::string_view::npos ? std::string_view::npos : from + at;
}

}  // namespace pw::common
