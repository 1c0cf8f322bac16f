#include "import/rb/RbContainer.h"

#include <zlib.h>

#include <algorithm>

#include "common/Files.h"
#include "common/Text.h"

namespace pw::import::rb {

namespace {

constexpr std::string_view kMagic = "\xB0\x0C\xB0\x0C";

uint32_t Le32(std::string_view bytes, size_t at) {
  return static_cast<uint32_t>(static_cast<unsigned char>(bytes[at])) |
         static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 1])) << 8 |
         static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 2])) << 16 |
         static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 3])) << 24;
}

// Inflates one zlib chunk, appending at most `room` bytes; false when the chunk is damaged or
// unpacks to more than `room`.
bool InflateChunk(std::string_view chunk, std::string& out, size_t room) {
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) return false;
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(chunk.data()));
  stream.avail_in = static_cast<uInt>(chunk.size());
  char buffer[16384];
  int status = Z_OK;
  bool ok = true;
  while (status != Z_STREAM_END) {
    stream.next_out = reinterpret_cast<Bytef*>(buffer);
    stream.avail_out = sizeof buffer;
    status = inflate(&stream, Z_NO_FLUSH);
    if (status != Z_OK && status != Z_STREAM_END) {
      ok = false;
      break;
    }
    const size_t got = sizeof buffer - stream.avail_out;
    if (got > room) {
      ok = false;
      break;
    }
    room -= got;
    out.append(buffer, got);
    if (got == 0 && status == Z_OK && stream.avail_in == 0) {  // the chunk ends before its stream does
      ok = false;
      break;
    }
  }
  inflateEnd(&stream);
  return ok;
}

std::string ExtensionOf(std::string_view name) { return common::LowerExtension(std::string(name)); }

bool IsPage(std::string_view name) {
  const std::string extension = ExtensionOf(name);
  return extension == "html" || extension == "htm";
}

bool IsPicture(std::string_view name) {
  const std::string extension = ExtensionOf(name);
  return extension == "png" || extension == "jpg" || extension == "jpeg" || extension == "gif" || extension == "bmp";
}

void ReadInfo(std::string_view info, RbBook& book) {
  size_t pos = 0;
  while (pos < info.size()) {
    size_t end = info.find('\n', pos);
    if (end == std::string_view::npos) end = info.size();
    const std::string_view line = common::Trim(info.substr(pos, end - pos));
    pos = end + 1;
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    const std::string key = common::AsciiLower(line.substr(0, equals));
    const std::string value(common::Trim(line.substr(equals + 1)));
    if (key == "title") book.title = value;
    else if (key == "author") book.author = value;
    else if (key == "body") book.body = value;
  }
}

// The part of an HTML page between its body tags; the whole page when it has none.
std::string_view PageBody(std::string_view page) {
  size_t start = common::FindAsciiCaseless(page, "<body");
  if (start != std::string_view::npos) {
    const size_t gt = page.find('>', start);
    start = gt == std::string_view::npos ? page.size() : gt + 1;
  } else {
    start = 0;
  }
  size_t end = common::FindAsciiCaseless(page, "</body", start);
  if (end == std::string_view::npos) end = page.size();
  return page.substr(start, end - start);
}

}  // namespace

RbError ReadRbToc(std::string_view file, std::vector<RbPart>& parts) {
  parts.clear();
  if (file.size() < kHeaderBytes || file.substr(0, 4) != kMagic) return RbError::NotRb;
  const uint32_t tocOffset = Le32(file, 24);
  if (tocOffset > file.size() || file.size() - tocOffset < 4) return RbError::Damaged;
  const uint32_t count = Le32(file, tocOffset);
  if (count > (file.size() - tocOffset - 4) / kTocEntryBytes) return RbError::Damaged;
  for (uint32_t i = 0; i < count; ++i) {
    const size_t at = tocOffset + 4 + size_t{i} * kTocEntryBytes;
    RbPart part;
    const std::string_view name = file.substr(at, 32);
    part.name.assign(name.substr(0, std::min(name.find('\0'), name.size())));
    part.length = Le32(file, at + 32);
    part.offset = Le32(file, at + 36);
    part.flags = Le32(file, at + 40);
    if (part.offset > file.size() || part.length > file.size() - part.offset) return RbError::Damaged;
    parts.push_back(std::move(part));
  }
  return RbError::None;
}

RbError ReadRbPart(std::string_view file, const RbPart& part, std::string& out, size_t limit) {
  out.clear();
  if (part.offset > file.size() || part.length > file.size() - part.offset) return RbError::Damaged;
  const std::string_view bytes = file.substr(part.offset, part.length);
  if (part.flags & kEncrypted) return RbError::Encrypted;
  if (!(part.flags & kCompressed)) {
    if (bytes.size() > limit) return RbError::TooLarge;
    out.assign(bytes);
    return RbError::None;
  }
  // A compressed part: the number of chunks, the unpacked length, each chunk's packed length,
  // then the chunks, each a zlib stream of its own.
  if (bytes.size() < 8) return RbError::Damaged;
  const uint32_t chunks = Le32(bytes, 0);
  const uint32_t total = Le32(bytes, 4);
  if (chunks > (bytes.size() - 8) / 4) return RbError::Damaged;
  if (total > limit) return RbError::TooLarge;
  out.reserve(total);
  size_t pos = 8 + size_t{chunks} * 4;
  for (uint32_t i = 0; i < chunks; ++i) {
    const uint32_t packed = Le32(bytes, 8 + size_t{i} * 4);
    if (packed > bytes.size() - pos) return RbError::Damaged;
    if (!InflateChunk(bytes.substr(pos, packed), out, total - out.size())) return RbError::Damaged;
    pos += packed;
  }
  if (out.size() != total) return RbError::Damaged;
  return RbError::None;
}

RbError ReadRbBook(std::string_view file, RbBook& book, size_t limit) {
  book = {};
  std::vector<RbPart> parts;
  if (const RbError error = ReadRbToc(file, parts); error != RbError::None) return error;
  size_t room = limit;
  std::string bytes;
  for (const RbPart& part : parts) {
    const bool info = (part.flags & kInfoPart) != 0;
    if (!info && !IsPage(part.name) && !IsPicture(part.name)) continue;  // indexes and keys
    if (const RbError error = ReadRbPart(file, part, bytes, room); error != RbError::None) return error;
    room -= bytes.size();
    if (info)
      ReadInfo(bytes, book);
    else if (IsPage(part.name))
      book.pages.emplace_back(part.name, std::move(bytes));
    else
      book.pictures.emplace_back(part.name, std::move(bytes));
    bytes.clear();
  }
  if (book.pages.empty()) return RbError::NoText;
  // The info part's body page leads; the rest keep the order of the contents.
  const auto body = std::find_if(book.pages.begin(), book.pages.end(),
                                 [&](const auto& page) { return page.first == book.body; });
  if (body != book.pages.end()) std::rotate(book.pages.begin(), body, body + 1);
  return RbError::None;
}

std::string JoinRbPages(const RbBook& book) {
  size_t size = 64;
  for (const auto& page : book.pages) size += page.second.size() + 2;
  std::string joined;
  joined.reserve(size);
  joined += "<HTML><HEAD></HEAD><BODY>\r\n";
  for (const auto& [name, page] : book.pages) {
    joined += "<A name=\"";
    joined += name;
    joined += "\"></A>";
    joined += PageBody(page);
    joined += "\r\n";
  }
  joined += "</BODY></HTML>\r\n";
  return joined;
}

}  // namespace pw::import::rb
