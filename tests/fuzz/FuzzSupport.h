// What the fuzz targets share: a quiet job context for one input, the oracle check that ends
// the run with the reason, and the well-formedness check of written XML.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Session.h"

namespace pw::fuzz {

// An oracle that does not hold: said on stderr, then the run dies like any crash.
#define PW_FUZZ_CHECK(condition, what)                                                       \
  do {                                                                                       \
    if (!(condition)) {                                                                      \
      std::fprintf(stderr, "fuzz oracle failed: %s (%s)\n", std::string(what).c_str(), #condition); \
      std::abort();                                                                          \
    }                                                                                        \
  } while (false)

// A job context that shows no message and answers every question with its default.
struct QuietJob {
  common::RecordingSink sink;
  common::Messages messages{sink};
  common::Session session{common::NoProgress(), messages};
};

// An empty folder of this process's own, for the readers that need a book folder; removed at
// exit. Nothing is written into it by the targets that use it.
const std::filesystem::path& EmptyFolder();

// Whether `bytes` is well-formed XML in the encoding its declaration names (libxml2, no
// network, no entity expansion). `error` gets libxml2's message when it is not.
bool IsWellFormedXml(std::string_view bytes, std::string* error = nullptr);

// The oracle of every FB2 a target writes: well-formed XML in its declared encoding. When it is
// not, the written bytes are kept beside the failing input ("failed-output.xml" in
// $PW_FUZZ_ARTIFACTS, else the current folder) and the run dies.
void CheckWellFormedFb2(const std::string& bytes, const std::string& encoding);

// The input as text, bounded: readers of text meet at most `limit` bytes of it.
inline std::string_view AsText(const uint8_t* data, size_t size, size_t limit = size_t{1} << 20) {
  return std::string_view(reinterpret_cast<const char*>(data), size < limit ? size : limit);
}

}  // namespace pw::fuzz
