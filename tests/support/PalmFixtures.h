// Palm books written by test and benchmark code: the database container, and PalmDoc,
// eReader and Mobipocket books over it, each field where the readers look for it. Header-only
// so that the benchmarks use it too.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "import/palm/PalmDocCompression.h"

namespace pw::test::palm {

inline void Put16(std::string& out, uint32_t v) {
  out += static_cast<char>((v >> 8) & 0xFF);
  out += static_cast<char>(v & 0xFF);
}

inline void Put32(std::string& out, uint32_t v) {
  Put16(out, v >> 16);
  Put16(out, v & 0xFFFF);
}

inline void Set16(std::string& out, size_t at, uint32_t v) {
  out[at] = static_cast<char>((v >> 8) & 0xFF);
  out[at + 1] = static_cast<char>(v & 0xFF);
}

inline void Set32(std::string& out, size_t at, uint32_t v) {
  Set16(out, at, v >> 16);
  Set16(out, at + 2, v & 0xFFFF);
}

// The container: header, record list, records.
inline std::string Database(std::string_view type, std::string_view creator, const std::vector<std::string>& records,
                            std::string_view name = "test book") {
  std::string out(78, '\0');
  out.replace(0, std::min<size_t>(name.size(), 31), name.substr(0, 31));
  out.replace(60, 4, type.substr(0, 4));
  out.replace(64, 4, creator.substr(0, 4));
  Set16(out, 76, static_cast<uint32_t>(records.size()));
  size_t offset = 78 + 8 * records.size() + 2;
  for (size_t i = 0; i < records.size(); ++i) {
    Put32(out, static_cast<uint32_t>(offset));
    Put32(out, static_cast<uint32_t>(i) & 0x00FFFFFF);
    offset += records[i].size();
  }
  out += std::string(2, '\0');
  for (const auto& record : records) out += record;
  return out;
}

// Where record `index` of a container starts.
inline size_t RecordOffset(std::string_view file, size_t index) {
  size_t v = 0;
  for (size_t k = 0; k < 4; ++k) v = (v << 8) | static_cast<unsigned char>(file[78 + 8 * index + k]);
  return v;
}

// The text cut into records of `size` bytes, each packed when `pack` is set.
inline std::vector<std::string> TextRecords(std::string_view text, bool pack, size_t size = 4096) {
  std::vector<std::string> records;
  for (size_t at = 0; at < text.size(); at += size) {
    const std::string_view piece = text.substr(at, size);
    records.push_back(pack ? import::palm::PackPalmDoc(piece) : std::string(piece));
  }
  return records;
}

inline std::string PalmDocBook(std::string_view text, bool pack, const std::vector<std::string>& extra = {}) {
  const std::vector<std::string> texts = TextRecords(text, pack);
  std::string record0;
  Put16(record0, pack ? 2 : 1);
  Put16(record0, 0);
  Put32(record0, static_cast<uint32_t>(text.size()));
  Put16(record0, static_cast<uint32_t>(texts.size()));
  Put16(record0, 4096);
  Put32(record0, 0);
  std::vector<std::string> records{record0};
  records.insert(records.end(), texts.begin(), texts.end());
  records.insert(records.end(), extra.begin(), extra.end());
  return Database("TEXt", "REAd", records);
}

struct MobiSpec {
  std::string text;
  uint32_t encoding = 65001;
  uint16_t compression = 2;  // 1 none, 2 PalmDoc
  std::string title = "Full Name";
  std::vector<std::string> authors;
  std::string updatedTitle;
  uint16_t encryption = 0;
  // Trailing entries: every text record gets a multibyte tail (flag 1) and one entry (flag 2).
  bool trailers = false;
  std::vector<std::string> pictures;
  int cover = -1;  // index into pictures
};

inline void ExthRecord(std::string& out, uint32_t type, std::string_view data) {
  Put32(out, type);
  Put32(out, static_cast<uint32_t>(data.size() + 8));
  out += data;
}

inline std::string MobiBook(const MobiSpec& spec) {
  std::vector<std::string> texts = TextRecords(spec.text, spec.compression == 2);
  if (spec.trailers) {
    for (auto& record : texts) {
      record += "\xE2";            // a multibyte tail: one byte beyond the count byte
      record += '\x01';            // its count byte: (1 & 3) + 1 = 2 bytes in all
      record += "TAIL";            // the entry of flag 2 ...
      record += '\x85';            // ... its size, 5 with itself, the first byte of its number
    }
  }
  std::string exth = "EXTH";
  std::string exthRecords;
  uint32_t exthCount = 0;
  for (const auto& author : spec.authors) ExthRecord(exthRecords, 100, author), ++exthCount;
  if (!spec.updatedTitle.empty()) ExthRecord(exthRecords, 503, spec.updatedTitle), ++exthCount;
  if (spec.cover >= 0) {
    std::string offset;
    Put32(offset, static_cast<uint32_t>(spec.cover));
    ExthRecord(exthRecords, 201, offset), ++exthCount;
  }
  Put32(exth, static_cast<uint32_t>(12 + exthRecords.size()));
  Put32(exth, exthCount);
  exth += exthRecords;

  constexpr uint32_t kHeaderLength = 232;  // from "MOBI"
  std::string record0;
  Put16(record0, spec.compression);
  Put16(record0, 0);
  Put32(record0, static_cast<uint32_t>(spec.text.size()));
  Put16(record0, static_cast<uint32_t>(texts.size()));
  Put16(record0, 4096);
  Put16(record0, spec.encryption);
  Put16(record0, 0);
  record0 += "MOBI";
  record0.resize(16 + kHeaderLength, '\0');
  Set32(record0, 20, kHeaderLength);
  Set32(record0, 24, 2);
  Set32(record0, 28, spec.encoding);
  const uint32_t firstPicture = static_cast<uint32_t>(texts.size() + 1);
  Set32(record0, 108, spec.pictures.empty() ? 0xFFFFFFFF : firstPicture);
  Set32(record0, 128, 0x40);
  Set32(record0, 168, 0xFFFFFFFF);
  Set32(record0, 172, 0);
  Set16(record0, 242, spec.trailers ? 3 : 0);
  record0 += exth;
  const uint32_t nameOffset = static_cast<uint32_t>(record0.size());
  record0 += spec.title;
  record0 += std::string(2, '\0');
  Set32(record0, 84, nameOffset);
  Set32(record0, 88, static_cast<uint32_t>(spec.title.size()));

  std::vector<std::string> records{record0};
  records.insert(records.end(), texts.begin(), texts.end());
  records.insert(records.end(), spec.pictures.begin(), spec.pictures.end());
  records.push_back(std::string("\xE9\x8E\r\n", 4));  // the end-of-file record
  return Database("BOOK", "MOBI", records);
}

inline std::string Deflate(std::string_view text) {
  uLongf size = compressBound(static_cast<uLong>(text.size()));
  std::string out(size, '\0');
  compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
           static_cast<uLong>(text.size()));
  out.resize(size);
  return out;
}

struct EReaderSpec {
  std::string markup;  // Windows-1252 bytes
  uint16_t compression = 10;  // 2 PalmDoc, 10 zlib, 260 and 272 encrypted
  std::string title = "A Title";
  std::string author = "An Author";
  std::vector<std::pair<std::string, std::string>> pictures;  // name, bytes
};

inline std::string EReaderBook(const EReaderSpec& spec) {
  std::vector<std::string> texts;
  for (size_t at = 0; at < spec.markup.size(); at += 4096) {
    const std::string_view piece = std::string_view(spec.markup).substr(at, 4096);
    texts.push_back(spec.compression == 2 ? import::palm::PackPalmDoc(piece) : Deflate(piece));
  }
  const uint32_t nonText = static_cast<uint32_t>(texts.size() + 1);
  std::string record0(132, '\0');
  Set16(record0, 0, spec.compression);
  Set16(record0, 12, nonText);
  Set16(record0, 20, static_cast<uint32_t>(spec.pictures.size()));
  Set16(record0, 24, 1);
  Set16(record0, 40, nonText);
  Set16(record0, 44, nonText + static_cast<uint32_t>(spec.pictures.size()));
  std::vector<std::string> records{record0};
  records.insert(records.end(), texts.begin(), texts.end());
  for (const auto& [name, bytes] : spec.pictures) {
    std::string record = "PNG ";
    std::string field = name;
    field.resize(32, '\0');
    record += field;
    record += std::string(62 - record.size(), '\0');
    record += bytes;
    records.push_back(record);
  }
  records.push_back(spec.title + '\0' + spec.author + '\0' + '\0' + '\0' + '\0');
  return Database("PNRd", "PPrs", records);
}

// The first bytes of pictures of each kind: enough for the readers to tell them.
inline std::string TinyJpeg() { return std::string("\xFF\xD8\xFF\xE0\0\x10JFIF\0", 11) + std::string(40, 'j'); }
inline std::string TinyPng() { return std::string("\x89PNG\r\n\x1A\n", 8) + std::string(40, 'p'); }

}  // namespace pw::test::palm
