// The text records of a Palm book unpacked one after the other, whatever their compression,
// with the bounds every reader shares.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "import/palm/PalmBook.h"
#include "import/palm/PalmDatabase.h"

namespace pw::import::palm {

// No record unpacks to more than this (their text is 4096 bytes in every book seen).
inline constexpr size_t kRecordTextLimit = 65536;
// No book text grows beyond this, whatever its record count claims.
inline constexpr size_t kBookTextLimit = size_t{256} << 20;

// Unpacks one record into the end of the text; false when it does not unpack.
using RecordUnpacker = std::function<bool(std::string_view record, std::string& text)>;

// Records `first` to `last` (inclusive, cut to the records the file has) through `unpack`.
PalmFailure UnpackTextRecords(const PalmDatabase& database, size_t first, size_t last, const RecordUnpacker& unpack,
                              std::string& text);

// Inflates a zlib stream into the end of `text`, at most `limit` bytes; false on a damaged
// stream or when it would grow beyond the limit.
bool Inflate(std::string_view packed, std::string& text, size_t limit);

}  // namespace pw::import::palm
