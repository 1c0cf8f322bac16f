// Rocket eBook files written by the tests: the header, the table of contents and the parts,
// plain or compressed in zlib chunks.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "import/rb/RbContainer.h"

namespace pw::import::rb::testing {

struct PartSpec {
  std::string name;
  std::string bytes;
  uint32_t flags = 0;
};

inline void PutLe(std::string& out, size_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) out[at + i] = static_cast<char>((value >> (8 * i)) & 0xFF);
}
inline void AppendLe(std::string& out, uint32_t value) {
  out.append(4, '\0');
  PutLe(out, out.size() - 4, value);
}

// A compressed part: the number of chunks, the unpacked length, the chunk lengths, then
// each chunk of at most 4096 bytes as a zlib stream.
inline std::string Compress(std::string_view bytes) {
  std::vector<std::string> chunks;
  for (size_t at = 0; at < bytes.size(); at += 4096) {
    const std::string_view piece = bytes.substr(at, 4096);
    uLongf size = compressBound(piece.size());
    std::string packed(size, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(piece.data()), piece.size());
    packed.resize(size);
    chunks.push_back(packed);
  }
  std::string out;
  AppendLe(out, static_cast<uint32_t>(chunks.size()));
  AppendLe(out, static_cast<uint32_t>(bytes.size()));
  for (const auto& chunk : chunks) AppendLe(out, static_cast<uint32_t>(chunk.size()));
  for (const auto& chunk : chunks) out += chunk;
  return out;
}

inline std::string MakeRb(const std::vector<PartSpec>& parts) {
  std::string file(kHeaderBytes, '\0');
  file.replace(0, 10, std::string("\xB0\x0C\xB0\x0C\x02\x00NUVO", 10));
  PutLe(file, 24, static_cast<uint32_t>(kHeaderBytes));
  std::string toc;
  AppendLe(toc, static_cast<uint32_t>(parts.size()));
  std::string data;
  const size_t dataStart = kHeaderBytes + 4 + parts.size() * kTocEntryBytes;
  for (const PartSpec& part : parts) {
    const std::string stored = (part.flags & kCompressed) ? Compress(part.bytes) : part.bytes;
    std::string name = part.name;
    name.resize(32, '\0');
    toc += name;
    AppendLe(toc, static_cast<uint32_t>(stored.size()));
    AppendLe(toc, static_cast<uint32_t>(dataStart + data.size()));
    AppendLe(toc, part.flags);
    data += stored;
  }
  file += toc + data;
  PutLe(file, 28, static_cast<uint32_t>(file.size()));
  return file;
}

// A long page (many zlib chunks when compressed) for the sample book.
inline std::string LongRbPage() {
  std::string page = "<HTML><BODY>";
  for (int i = 0; i < 700; ++i) page += "<P>Paragraph " + std::to_string(i) + " of the second page.</P>\n";
  return page + "</BODY></HTML>";
}

// A sample book: an info part naming the second page as the body, a plain and a compressed
// page, a compressed picture and an index part.
inline std::vector<PartSpec> SampleRbParts() {
  return {{"book.info", "TYPE=2\r\nTITLE=The Book\r\nAUTHOR=A. Writer\r\nBODY=second.html\r\n", kInfoPart},
          {"first.html", "<html><body bgcolor=white><p>First page.</p></body></html>", 0},
          {"second.html", LongRbPage(), kCompressed},
          {"cover.png", std::string("\x89PNG\r\n\x1A\n picture", 17), kCompressed},
          {"second.hidx", "index bytes", 0}};
}

}  // namespace pw::import::rb::testing
