#include "markup/StoredBook.h"

#include <zlib.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "common/Files.h"
#include "common/Limits.h"
#include "common/Text.h"

namespace pw::markup {
namespace {

constexpr char kFieldOpen = '\x03';
constexpr char kFieldClose = '\x04';
constexpr std::string_view kNotRated = "not rated";

// Picture block: "<!PwPictureData src=\"NAME\" length=N>" + N raw bytes + "<!/PwPictureData>".
// The explicit length lets the picture bytes hold anything, the end marker included.
constexpr std::string_view kPictureOpen = "<!PwPictureData src=\"";
constexpr std::string_view kPictureLength = "\" length=";
constexpr std::string_view kPictureClose = "<!/PwPictureData>";

// The plain form ends with "<!PwDocumentLength=N>": the document's length in bytes, so the
// reader finds where the pictures start by the layout and never by looking for a picture block
// inside the text (a page may well contain that text). Files written before the trailer existed
// have none and are read by the older search.
constexpr std::string_view kLayoutTrailer = "<!PwDocumentLength=";
// Older files: how many places that look like the start of the pictures are tried.
constexpr size_t kOldPictureCandidates = 32;

// Most memory reserved up front for a decompressed document; beyond it the string grows only
// as real data arrives, so a lying length cannot make us allocate.
constexpr size_t kReserveLimit = 64u << 20;

void PutInt32(std::string& out, int32_t value) {
  const auto u = static_cast<uint32_t>(value);
  for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>((u >> shift) & 0xFF);
}

bool GetInt32(std::string_view bytes, size_t& pos, int32_t& value) {
  if (bytes.size() - pos < 4) return false;
  uint32_t u = 0;
  for (int i = 0; i < 4; ++i) u |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[pos + i])) << (8 * i);
  pos += 4;
  value = static_cast<int32_t>(u);
  return true;
}

// Size of block `index` (0-based) of a document of `length` bytes.
size_t BlockSize(size_t length, size_t count, size_t index) {
  return index + 1 < count ? kStoredBlockSize : length - kStoredBlockSize * (count - 1);
}

bool ParseHeader(std::string_view header, StoredBookHeader& out) {
  // header is the text between "<!pwfile " + flag and ">".
  size_t pos = 0;
  for (std::string& field : out.fields) {
    const size_t open = header.find(kFieldOpen, pos);
    if (open == std::string_view::npos) return false;
    const size_t close = header.find(kFieldClose, open + 1);
    if (close == std::string_view::npos) return false;
    field.assign(header.substr(open + 1, close - open - 1));
    pos = close + 1;
  }
  return true;
}

// Splits the picture blocks off the text that follows the document. `guessing`: the blocks'
// start is only a guess (an older file), so a block with a name no file can have means the guess
// is wrong; otherwise such a picture is just left out.
bool ReadPictureBlocks(std::string_view text, std::vector<StoredPicture>& pictures, std::string& error,
                       bool guessing = false) {
  size_t pos = 0;
  while (pos < text.size()) {
    if (text.substr(pos, kPictureOpen.size()) != kPictureOpen) {
      error = "unexpected data after the pictures";
      return false;
    }
    pos += kPictureOpen.size();
    const size_t nameEnd = text.find(kPictureLength, pos);
    if (nameEnd == std::string_view::npos) {
      error = "picture block without a length";
      return false;
    }
    StoredPicture picture;
    picture.name.assign(text.substr(pos, nameEnd - pos));
    pos = nameEnd + kPictureLength.size();
    size_t length = 0;
    const auto [end, ec] = std::from_chars(text.data() + pos, text.data() + text.size(), length);
    if (ec != std::errc() || end == text.data() + text.size() || *end != '>') {
      error = "picture block with a bad length";
      return false;
    }
    pos = static_cast<size_t>(end - text.data()) + 1;
    if (length > text.size() - pos || text.size() - pos - length < kPictureClose.size() ||
        text.substr(pos + length, kPictureClose.size()) != kPictureClose) {
      error = "picture block runs past the end of the file";
      return false;
    }
    // A picture whose name could not be a file in the book's folder is left out; the book and
    // its other pictures are still read.
    if (IsStoredPictureName(picture.name)) {
      picture.data.assign(text.substr(pos, length));
      pictures.push_back(std::move(picture));
    } else if (guessing) {
      error = "picture with a bad name";
      return false;
    }
    pos += length + kPictureClose.size();
  }
  return true;
}

std::string LayoutTrailer(size_t documentLength) {
  std::string out(kLayoutTrailer);
  out += std::to_string(documentLength);
  out += '>';
  return out;
}

// Finds the trailer at the very end of `rest`; fills `documentLength` and `trailerSize`.
bool FindLayoutTrailer(std::string_view rest, size_t& documentLength, size_t& trailerSize) {
  if (rest.empty() || rest.back() != '>') return false;
  const size_t window = kLayoutTrailer.size() + 21;
  const size_t from = rest.size() > window ? rest.size() - window : 0;
  const size_t found = rest.substr(from).rfind(kLayoutTrailer);
  if (found == std::string_view::npos) return false;
  const size_t at = from + found;
  const char* first = rest.data() + at + kLayoutTrailer.size();
  const char* last = rest.data() + rest.size() - 1;
  const auto [end, ec] = std::from_chars(first, last, documentLength);
  if (ec != std::errc() || end != last) return false;
  trailerSize = rest.size() - at;
  return true;
}

// A file from before the trailer: the pictures start at the first place from which the rest of
// the file reads as picture blocks; when no such place is found the whole rest is the document.
void ReadOldPlainForm(std::string_view rest, StoredBook& book) {
  size_t at = rest.find(kPictureOpen);
  for (size_t tried = 0; at != std::string_view::npos && tried < kOldPictureCandidates; ++tried) {
    std::vector<StoredPicture> pictures;
    std::string ignored;
    if (ReadPictureBlocks(rest.substr(at), pictures, ignored, true)) {
      book.document.assign(rest.substr(0, at));
      book.pictures = std::move(pictures);
      return;
    }
    at = rest.find(kPictureOpen, at + 1);
  }
  book.document.assign(rest);
}

bool ReadBlocks(std::string_view bytes, size_t& pos, std::string& document, std::string& error) {
  int32_t count = 0;
  int32_t length = 0;
  if (!GetInt32(bytes, pos, count) || !GetInt32(bytes, pos, length)) {
    error = "the block table is cut short";
    return false;
  }
  if (count < 0 || length < 0 || static_cast<size_t>(count) != StoredBlockCount(static_cast<size_t>(length))) {
    error = "the block count does not fit the document length";
    return false;
  }
  if (static_cast<size_t>(length) > common::kLargestBook) {
    error = "the document is larger than the book size limit";
    return false;
  }
  const auto blocks = static_cast<size_t>(count);
  if (blocks > (bytes.size() - pos) / 4) {
    error = "the block table runs past the end of the file";
    return false;
  }
  std::vector<int32_t> sizes(blocks);
  for (int32_t& size : sizes) GetInt32(bytes, pos, size);

  document.clear();
  document.reserve(std::min(static_cast<size_t>(length), kReserveLimit));
  std::string block;
  for (size_t i = 0; i < blocks; ++i) {
    const size_t expected = BlockSize(static_cast<size_t>(length), blocks, i);
    const int32_t stored = sizes[i];
    // A negative size marks a block kept raw because zlib could not make it smaller.
    const size_t storedBytes = stored < 0 ? static_cast<size_t>(-static_cast<int64_t>(stored))
                                          : static_cast<size_t>(stored);
    if (stored == 0 || storedBytes > bytes.size() - pos) {
      error = "block " + std::to_string(i + 1) + " runs past the end of the file";
      return false;
    }
    const std::string_view data = bytes.substr(pos, storedBytes);
    pos += storedBytes;
    if (stored < 0) {
      if (storedBytes != expected) {
        error = "raw block " + std::to_string(i + 1) + " has the wrong size";
        return false;
      }
      document += data;
      continue;
    }
    block.resize(expected);
    uLongf produced = static_cast<uLongf>(expected);
    const int rc = uncompress(reinterpret_cast<Bytef*>(block.data()), &produced,
                              reinterpret_cast<const Bytef*>(data.data()), static_cast<uLong>(data.size()));
    if (rc != Z_OK || produced != expected) {
      error = "block " + std::to_string(i + 1) + " does not expand to its size";
      return false;
    }
    document += block;
  }
  if (document.size() != static_cast<size_t>(length)) {
    error = "the document length does not match its blocks";
    return false;
  }
  return true;
}

}  // namespace

std::string CleanHeaderValue(std::string_view value) {
  // The markers and brackets go first and the blanks at the ends last, so that what a removed
  // character held apart (a line end, a blank at an end) is cleaned too: a value cleaned once
  // reads back as it was written.
  std::string out;
  out.reserve(value.size());
  for (const char c : value) {
    if (c == kFieldOpen || c == kFieldClose || c == '<' || c == '>') continue;
    if (c == '\n') {
      while (!out.empty() && out.back() == '\r') out.pop_back();  // CR LF (and CR CR LF) is one line end
    }
    out += c;
  }
  return std::string(common::Trim(out));
}

std::string MakeStoredBookHeader(const StoredBookHeader& header, bool compressed) {
  std::string out(kStoredBookMagic);
  out += compressed ? '1' : '0';
  for (size_t i = 0; i < header.fields.size(); ++i) {
    std::string value = CleanHeaderValue(header.fields[i]);
    if (i == static_cast<size_t>(HeaderField::Rating) && value.empty()) value = kNotRated;
    out += kFieldOpen;
    out += value;
    out += kFieldClose;
  }
  out += '>';
  return out;
}

size_t StoredBlockCount(size_t length) {
  // 1-based position p from 1 while p < length: the rest when p + 4096 >= length, else 4096.
  if (length <= 1) return 0;
  return (length - 2) / kStoredBlockSize + 1;
}

bool IsStoredPictureName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\\:\"<>\0", 7)) == std::string_view::npos;
}

std::string MakePictureBlocks(const std::vector<StoredPicture>& pictures) {
  std::string out;
  for (const StoredPicture& picture : pictures) {
    if (!IsStoredPictureName(picture.name)) continue;  // it could not be read back
    out += kPictureOpen;
    out += picture.name;
    out += kPictureLength;
    out += std::to_string(picture.data.size());
    out += '>';
    out += picture.data;
    out += kPictureClose;
  }
  return out;
}

std::string WriteStoredBook(const StoredBook& book) {
  const bool compressed = book.compressed && book.document.size() > 1;
  std::string out = MakeStoredBookHeader(book.header, compressed);
  if (!compressed) {
    out += book.document;
  } else {
    const size_t length = book.document.size();
    const size_t count = StoredBlockCount(length);
    PutInt32(out, static_cast<int32_t>(count));
    PutInt32(out, static_cast<int32_t>(length));
    const size_t tableAt = out.size();
    out.append(4 * count, '\0');
    std::string packed(compressBound(kStoredBlockSize + 1), '\0');
    for (size_t i = 0; i < count; ++i) {
      const std::string_view block = std::string_view(book.document).substr(i * kStoredBlockSize, BlockSize(length, count, i));
      uLongf size = static_cast<uLongf>(packed.size());
      const int rc = compress(reinterpret_cast<Bytef*>(packed.data()), &size,
                              reinterpret_cast<const Bytef*>(block.data()), static_cast<uLong>(block.size()));
      int32_t recorded;
      if (rc == Z_OK && size < block.size()) {
        out.append(packed, 0, size);
        recorded = static_cast<int32_t>(size);
      } else {
        out += block;
        recorded = -static_cast<int32_t>(block.size());
      }
      std::string entry;
      PutInt32(entry, recorded);
      std::memcpy(out.data() + tableAt + 4 * i, entry.data(), 4);
    }
  }
  out += MakePictureBlocks(book.pictures);
  if (!compressed) out += LayoutTrailer(book.document.size());
  return out;
}

bool ReadStoredBook(std::string_view bytes, StoredBook& book, std::string& error) {
  book = StoredBook{};
  const size_t headerEnd = bytes.find('>');
  if (!common::StartsWith(bytes, "<!pwfile") || headerEnd == std::string_view::npos) {
    book.document.assign(bytes);
    return true;
  }
  book.hasHeader = true;
  const std::string_view afterMagic = bytes.substr(0, headerEnd).substr(std::min(kStoredBookMagic.size(), headerEnd));
  book.compressed = !afterMagic.empty() && afterMagic[0] == '1';
  // A header that does not parse is ignored; the fields stay empty.
  if (!afterMagic.empty() && !ParseHeader(afterMagic.substr(1), book.header)) book.header = StoredBookHeader{};

  size_t pos = headerEnd + 1;
  if (book.compressed) {
    if (!ReadBlocks(bytes, pos, book.document, error)) return false;
    return ReadPictureBlocks(bytes.substr(pos), book.pictures, error);
  }
  const std::string_view rest = bytes.substr(pos);
  size_t documentLength = 0;
  size_t trailerSize = 0;
  if (!FindLayoutTrailer(rest, documentLength, trailerSize)) {
    ReadOldPlainForm(rest, book);
    return true;
  }
  if (documentLength > rest.size() - trailerSize) {
    error = "the document length runs past the end of the file";
    return false;
  }
  book.document.assign(rest.substr(0, documentLength));
  return ReadPictureBlocks(rest.substr(documentLength, rest.size() - trailerSize - documentLength),
                           book.pictures, error);
}

size_t RemoveStrayHeaders(std::string& document) {
  static constexpr std::string_view kStray = " <!pwfile";
  const std::string_view source(document);
  std::string out;
  size_t copied = 0;
  size_t count = 0;
  for (size_t at = source.find(kStray); at != std::string_view::npos; at = source.find(kStray, copied)) {
    const size_t end = source.find('>', at);
    if (end == std::string_view::npos) break;
    if (count++ == 0) out.reserve(source.size());
    out.append(source, copied, at - copied);
    copied = end + 1;
  }
  if (count) {
    out.append(source, copied, source.size() - copied);
    document = std::move(out);
  }
  return count;
}

bool LoadStoredBookFile(const std::filesystem::path& path, const std::filesystem::path& workFolder,
                        StoredBook& book, std::string& error) {
  std::string bytes;
  if (!common::ReadWholeFile(path, bytes)) {
    error = "cannot read " + path.string();
    return false;
  }
  if (!ReadStoredBook(bytes, book, error)) return false;
  RemoveStrayHeaders(book.document);
  for (const StoredPicture& picture : book.pictures) {
    if (!common::WriteFileAtomic(workFolder / picture.name, picture.data)) {
      error = "cannot write picture " + picture.name;
      return false;
    }
  }
  return true;
}

bool SaveStoredBookFile(const std::filesystem::path& path, const StoredBook& book, std::string& error) {
  if (!common::WriteFileAtomic(path, WriteStoredBook(book))) {
    error = "cannot write " + path.string();
    return false;
  }
  return true;
}

}  // namespace pw::markup
