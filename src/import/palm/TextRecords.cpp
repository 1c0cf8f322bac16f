#include "import/palm/TextRecords.h"

#include <zlib.h>

namespace pw::import::palm {

PalmFailure UnpackTextRecords(const PalmDatabase& database, size_t first, size_t last, const RecordUnpacker& unpack,
                              std::string& text) {
  if (database.records.empty()) return PalmFailure::Damaged;
  last = std::min(last, database.records.size() - 1);
  if (first > last) return PalmFailure::Damaged;
  for (size_t i = first; i <= last; ++i) {
    if (!unpack(database.records[i], text)) return PalmFailure::BadCompression;
    if (text.size() > kBookTextLimit) return PalmFailure::Damaged;
  }
  return PalmFailure::None;
}

bool Inflate(std::string_view packed, std::string& text, size_t limit) {
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) return false;
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  const size_t start = text.size();
  char buffer[16384];
  int status = Z_OK;
  while (status == Z_OK) {
    stream.next_out = reinterpret_cast<Bytef*>(buffer);
    stream.avail_out = sizeof buffer;
    status = inflate(&stream, Z_NO_FLUSH);
    if (status != Z_OK && status != Z_STREAM_END) break;
    const size_t produced = sizeof buffer - stream.avail_out;
    if (text.size() - start + produced > limit) {
      status = Z_DATA_ERROR;
      break;
    }
    text.append(buffer, produced);
    if (status == Z_OK && produced == 0 && stream.avail_in == 0) status = Z_BUF_ERROR;  // cut-off stream
  }
  inflateEnd(&stream);
  if (status != Z_STREAM_END) text.resize(start);
  return status == Z_STREAM_END;
}

}  // namespace pw::import::palm
