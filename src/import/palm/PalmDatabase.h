// The Palm database container (.pdb, .prc, .mobi, .azw): a 78-byte header naming the book and
// its type and creator codes, then a list of record offsets. Every record is a view into the
// file's bytes; a record ends where the next one starts, the last one at the end of the file.
// Reading checks each offset against the file, so no later step can read past its end.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pw::import::palm {

// Big-endian numbers inside a record; 0 when the record is too short to hold them.
uint16_t Read16(std::string_view bytes, size_t at);
uint32_t Read32(std::string_view bytes, size_t at);

struct PalmDatabase {
  std::string name;     // the database name of the header, up to its first zero byte
  std::string type;     // four letters: "TEXt", "BOOK", "PNRd", ...
  std::string creator;  // four letters: "REAd", "MOBI", "PPrs", ...
  std::vector<std::string_view> records;

  std::string_view Record(size_t index) const { return index < records.size() ? records[index] : std::string_view{}; }
};

enum class PalmReadError {
  None,
  NotPalm,    // too short for the header, or no records
  Damaged,    // offsets that run backwards or point past the end of the file
};

// Reads the header and the record list of `file`; the records are views into `file`, which
// must outlive the result. A record list that promises more entries than the file holds is
// cut to what is there; an offset past the end of the file or below the one before it makes
// the file damaged.
PalmReadError ReadPalmDatabase(std::string_view file, PalmDatabase& database);

}  // namespace pw::import::palm
