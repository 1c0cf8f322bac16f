// Zip and rar 5 archives written byte by byte for the archive tests, so that a test decides
// exactly what a member's header says: raw name bytes, the UTF-8 flag, a link's mode, a wrong
// checksum.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <string>
#include <vector>

namespace pw::shell::testing {

struct ZipMember {
  std::string name;  // raw bytes of the name
  std::string data;
  bool utf8Flag = false;
  uint32_t mode = 0100644;  // unix mode: 0120777 makes a symbolic link whose target is `data`
  bool badCrc = false;
};

inline void PutLe(std::string& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

// A zip of stored (uncompressed) members with a central directory.
inline std::string MakeZip(const std::vector<ZipMember>& members) {
  std::string out;
  std::string central;
  for (const ZipMember& m : members) {
    uint32_t crc = static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(m.data.data()),
                                               static_cast<uInt>(m.data.size())));
    if (m.badCrc) crc ^= 0x5A5A5A5A;
    const uint32_t offset = static_cast<uint32_t>(out.size());
    const uint32_t flags = m.utf8Flag ? 0x800 : 0;
    const auto common = [&](std::string& s) {
      PutLe(s, 20, 2);     // version needed
      PutLe(s, flags, 2);
      PutLe(s, 0, 2);      // stored
      PutLe(s, 0, 2);      // time
      PutLe(s, 0x21, 2);   // date: 1 January 1980
      PutLe(s, crc, 4);
      PutLe(s, static_cast<uint32_t>(m.data.size()), 4);
      PutLe(s, static_cast<uint32_t>(m.data.size()), 4);
      PutLe(s, static_cast<uint32_t>(m.name.size()), 2);
      PutLe(s, 0, 2);      // extra
    };
    PutLe(out, 0x04034b50, 4);
    common(out);
    out += m.name;
    out += m.data;
    PutLe(central, 0x02014b50, 4);
    PutLe(central, (3 << 8) | 20, 2);  // made on unix, so the mode below counts
    common(central);
    PutLe(central, 0, 2);  // comment
    PutLe(central, 0, 2);  // disk
    PutLe(central, 0, 2);  // internal attributes
    PutLe(central, m.mode << 16, 4);
    PutLe(central, offset, 4);
    central += m.name;
  }
  const uint32_t centralOffset = static_cast<uint32_t>(out.size());
  out += central;
  PutLe(out, 0x06054b50, 4);
  PutLe(out, 0, 2);
  PutLe(out, 0, 2);
  PutLe(out, static_cast<uint32_t>(members.size()), 2);
  PutLe(out, static_cast<uint32_t>(members.size()), 2);
  PutLe(out, static_cast<uint32_t>(central.size()), 4);
  PutLe(out, centralOffset, 4);
  PutLe(out, 0, 2);
  return out;
}

// A number of a rar 5 header: seven bits a byte, the lowest first.
inline std::string RarNumber(uint64_t value) {
  std::string out;
  do {
    const auto low = static_cast<char>(value & 0x7F);
    value >>= 7;
    out += static_cast<char>(low | (value ? 0x80 : 0));
  } while (value);
  return out;
}

// A rar 5 archive of stored members: the signature, the main header, a file header with its
// data for each member, the end header; every header with its checksum.
inline std::string MakeRar5(const std::vector<std::pair<std::string, std::string>>& members) {
  const auto header = [](const std::string& body) {
    const std::string sized = RarNumber(body.size()) + body;
    std::string out;
    PutLe(out, static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(sized.data()), static_cast<uInt>(sized.size()))), 4);
    return out + sized;
  };
  std::string out("Rar!\x1A\x07\x01\x00", 8);
  out += header(RarNumber(1) + RarNumber(0) + RarNumber(0));
  for (const auto& [name, data] : members) {
    std::string body = RarNumber(2) + RarNumber(2) + RarNumber(data.size()) + RarNumber(4) + RarNumber(data.size()) +
                       RarNumber(0100644);
    PutLe(body, static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size()))), 4);
    body += RarNumber(0) + RarNumber(1) + RarNumber(name.size()) + name;
    out += header(body) + data;
  }
  return out + header(RarNumber(5) + RarNumber(0) + RarNumber(0));
}

}  // namespace pw::shell::testing
