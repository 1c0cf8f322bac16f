#include "import/palm/PalmDatabase.h"

namespace pw::import::palm {
namespace {

constexpr size_t kHeaderSize = 78;  // name 32, attributes .. unique-id seed, then the count at 76
constexpr size_t kEntrySize = 8;    // offset, attributes, unique id

std::string FourLetters(std::string_view file, size_t at) { return std::string(file.substr(at, 4)); }

}  // namespace

uint16_t Read16(std::string_view bytes, size_t at) {
  if (at > bytes.size() || bytes.size() - at < 2) return 0;
  const auto* p = reinterpret_cast<const unsigned char*>(bytes.data() + at);
  return static_cast<uint16_t>((p[0] << 8) | p[1]);
}

uint32_t Read32(std::string_view bytes, size_t at) {
  if (at > bytes.size() || bytes.size() - at < 4) return 0;
  const auto* p = reinterpret_cast<const unsigned char*>(bytes.data() + at);
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
}

PalmReadError ReadPalmDatabase(std::string_view file, PalmDatabase& database) {
  database = {};
  if (file.size() < kHeaderSize) return PalmReadError::NotPalm;
  const std::string_view name = file.substr(0, 32);
  database.name = std::string(name.substr(0, name.find('\0')));
  database.type = FourLetters(file, 60);
  database.creator = FourLetters(file, 64);
  size_t count = Read16(file, 76);
  // The record list cannot be longer than the bytes after the header allow.
  count = std::min(count, (file.size() - kHeaderSize) / kEntrySize);
  if (count == 0) return PalmReadError::NotPalm;

  std::vector<size_t> offsets;
  offsets.reserve(count);
  for (size_t i = 0; i < count; ++i) offsets.push_back(Read32(file, kHeaderSize + i * kEntrySize));
  const size_t listEnd = kHeaderSize + count * kEntrySize;
  database.records.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    const size_t begin = offsets[i];
    const size_t end = i + 1 < count ? offsets[i + 1] : file.size();
    if (begin < listEnd || begin > file.size() || end > file.size() || end < begin) {
      database.records.clear();
      return PalmReadError::Damaged;
    }
    database.records.push_back(file.substr(begin, end - begin));
  }
  return PalmReadError::None;
}

}  // namespace pw::import::palm
