// The bounds on what one book may cost. A hostile or broken source must end in a book or in a
// clear message within seconds and bounded memory, so every stage that can grow a text
// (entities, rules, unpacking, decompression) is held to the same few numbers.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace pw::common {

// A book may grow to this many times the size of its source...
inline constexpr size_t kBookGrowthFactor = 16;
// ...and always to at least this size, however small the source...
inline constexpr size_t kSmallestBookLimit = size_t{16} << 20;
// ...but never past this size.
inline constexpr size_t kLargestBook = size_t{1} << 30;

// The largest a text made from `sourceBytes` of source may become.
constexpr size_t BookSizeLimit(size_t sourceBytes) {
  const size_t grown = sourceBytes > kLargestBook / kBookGrowthFactor ? kLargestBook : sourceBytes * kBookGrowthFactor;
  return grown < kSmallestBookLimit ? kSmallestBookLimit : grown;
}

// One clean-up rule over a book: the most time its replacements may take in all.
inline constexpr std::chrono::seconds kRuleTimeLimit{20};

// An archive: how many members are looked at, and how many bytes one member and all of them
// together may unpack to.
inline constexpr size_t kArchiveMembers = 10000;
inline constexpr int64_t kArchiveMemberBytes = int64_t{512} << 20;
inline constexpr int64_t kArchiveTotalBytes = int64_t{2} << 30;

// Size in whole megabytes, for messages.
constexpr size_t Megabytes(size_t bytes) { return (bytes + (size_t{1} << 20) - 1) >> 20; }

}  // namespace pw::common
