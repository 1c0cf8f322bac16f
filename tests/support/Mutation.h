// Bounded random mutation of container files for the readers' robustness tests: flipped bytes,
// overwritten header fields, cut files, bytes copied elsewhere. Every mutant must be read or
// refused; the sanitizer build catches any read out of bounds.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::test {

enum class FieldOrder { BigEndian, LittleEndian };

// One mutation of `file`. Header fields are 32-bit values in `order` within the first
// `headerBytes` bytes (where the counts and offsets of a container live).
inline std::string MutateBytes(std::string file, std::mt19937& random, FieldOrder order, size_t headerBytes = 400) {
  if (file.empty()) return file;
  const int kind = static_cast<int>(random() % 4);
  if (kind == 0) {  // flip a few bytes anywhere
    for (int n = 1 + static_cast<int>(random() % 8); n > 0; --n)
      file[random() % file.size()] ^= static_cast<char>(1 + random() % 255);
  } else if (kind == 1) {  // a field of the headers
    const size_t at = random() % std::min(file.size(), headerBytes);
    const uint32_t values[] = {0, 1, 2, 0xFF, 0xFFFF, 0x7FFFFFFF, 0xFFFFFFFF, static_cast<uint32_t>(file.size()),
                               static_cast<uint32_t>(random())};
    const uint32_t v = values[random() % std::size(values)];
    for (size_t k = 0; k < 4 && at + k < file.size(); ++k) {
      const size_t shift = order == FieldOrder::BigEndian ? 8 * (3 - k) : 8 * k;
      file[at + k] = static_cast<char>(v >> shift);
    }
  } else if (kind == 2) {  // cut off
    file.resize(random() % file.size());
  } else {  // bytes of one place copied into another
    const size_t from = random() % file.size();
    const size_t to = random() % file.size();
    const size_t n = std::min({file.size() - from, file.size() - to, size_t{1} + random() % 64});
    file.replace(to, n, file.substr(from, n));
  }
  return file;
}

// `seeds` and the corpus files named in `corpus` (those present beside the checkout).
inline std::vector<std::string> WithCorpusSeeds(std::vector<std::string> seeds, std::initializer_list<const char*> corpus) {
  for (const char* name : corpus) {
    std::string file;
    const auto path = CorpusPath(name);
    if (!path.empty() && common::ReadWholeFile(path, file)) seeds.push_back(file);
  }
  return seeds;
}

struct MutantCounts {
  size_t read = 0;
  size_t refused = 0;
};

// `rounds` mutants of the seeds in turn, each handed to `read` (mutant, its seed), which says
// whether the reader took it; the counts tell both outcomes apart, so a test can require that
// the mutations reach past the first checks.
template <class Read>
MutantCounts RunMutants(const std::vector<std::string>& seeds, int rounds, FieldOrder order, uint32_t seed, Read&& read) {
  std::mt19937 random(seed);
  MutantCounts counts;
  for (int round = 0; round < rounds; ++round) {
    const std::string& original = seeds[static_cast<size_t>(round) % seeds.size()];
    if (read(MutateBytes(original, random, order), original)) ++counts.read;
    else ++counts.refused;
  }
  return counts;
}

}  // namespace pw::test
