#include "import/palm/MobiBook.h"

#include <algorithm>
#include <map>
#include <vector>
#include <optional>

#include "common/Text.h"
#include "import/palm/HuffCdic.h"
#include "import/palm/PalmDocCompression.h"
#include "import/palm/TextRecords.h"

namespace pw::import::palm {
namespace {

// Offsets inside record 0: the PalmDoc header, then the MOBI header from byte 16.
constexpr size_t kMobiAt = 16;
constexpr size_t kEncodingAt = 28;
constexpr size_t kFullNameOffsetAt = 84;
constexpr size_t kFullNameLengthAt = 88;
constexpr size_t kFirstPictureAt = 108;
constexpr size_t kHuffRecordAt = 112;
constexpr size_t kHuffCountAt = 116;
constexpr size_t kExthFlagsAt = 128;
constexpr size_t kDrmOffsetAt = 168;
constexpr size_t kDrmCountAt = 172;
constexpr size_t kExtraFlagsAt = 242;

constexpr uint32_t kNone = 0xFFFFFFFF;

enum ExthType : uint32_t { Author = 100, CoverOffset = 201, UpdatedTitle = 503 };

struct MobiHeader {
  size_t length = 0;  // the MOBI header's own length, from "MOBI"
  uint32_t encoding = 0;
  uint32_t firstPicture = kNone;
  uint32_t huffRecord = 0;
  uint32_t huffCount = 0;
  uint16_t extraFlags = 0;
  bool exth = false;

  // A field the header is long enough to hold; 0 otherwise.
  static uint32_t Field(std::string_view record0, size_t length, size_t at) {
    return at + 4 <= kMobiAt + length ? Read32(record0, at) : 0;
  }
};

std::optional<MobiHeader> ReadHeader(std::string_view record0) {
  MobiHeader header;
  if (record0.size() < kMobiAt + 8 || record0.substr(kMobiAt, 4) != "MOBI") return std::nullopt;
  header.length = std::min<size_t>(Read32(record0, kMobiAt + 4), record0.size() - kMobiAt);
  header.encoding = MobiHeader::Field(record0, header.length, kEncodingAt);
  header.firstPicture = header.length >= kFirstPictureAt + 4 - kMobiAt ? Read32(record0, kFirstPictureAt) : kNone;
  header.huffRecord = MobiHeader::Field(record0, header.length, kHuffRecordAt);
  header.huffCount = MobiHeader::Field(record0, header.length, kHuffCountAt);
  header.exth = (MobiHeader::Field(record0, header.length, kExthFlagsAt) & 0x40) != 0;
  if (header.length >= 0xE4 && record0.size() >= kExtraFlagsAt + 2) header.extraFlags = Read16(record0, kExtraFlagsAt);
  return header;
}

bool HasDrm(std::string_view record0, const MobiHeader& header) {
  if (Read16(record0, 12) != 0) return true;  // the encryption type of the PalmDoc header
  const uint32_t drmOffset = MobiHeader::Field(record0, header.length, kDrmOffsetAt);
  const uint32_t drmCount = MobiHeader::Field(record0, header.length, kDrmCountAt);
  return drmOffset != kNone && drmOffset != 0 && drmCount != 0 && drmCount != kNone;
}

// Author, title and cover from the EXTH block after the MOBI header.
void ReadExth(std::string_view record0, const MobiHeader& header, PalmBook& book, uint32_t& coverOffset) {
  const size_t at = kMobiAt + header.length;
  if (!header.exth || at + 12 > record0.size() || record0.substr(at, 4) != "EXTH") return;
  const std::string_view block = record0.substr(at, std::min<size_t>(Read32(record0, at + 4), record0.size() - at));
  const uint32_t count = Read32(block, 8);
  size_t pos = 12;
  for (uint32_t i = 0; i < count && pos + 8 <= block.size(); ++i) {
    const uint32_t type = Read32(block, pos);
    const size_t length = Read32(block, pos + 4);
    if (length < 8 || length > block.size() - pos) return;
    const std::string_view data = block.substr(pos + 8, length - 8);
    if (type == Author) {
      if (!book.author.empty()) book.author += ", ";
      book.author += common::Trim(data);
    } else if (type == UpdatedTitle) {
      book.title = std::string(common::Trim(data));
    } else if (type == CoverOffset && data.size() >= 4) {
      coverOffset = Read32(data, 0);
    }
    pos += length;
  }
}

}  // namespace

size_t TextLengthWithoutTrailers(std::string_view record, uint16_t flags) {
  size_t size = record.size();
  const auto* bytes = reinterpret_cast<const unsigned char*>(record.data());
  for (uint16_t bits = flags >> 1; bits != 0 && size > 0; bits >>= 1) {
    if ((bits & 1) == 0) continue;
    // The entry's size is a number written backwards from its end, seven bits a byte; the
    // byte with the top bit set is its first.
    size_t entry = 0;
    int shift = 0;
    for (size_t at = size; at > 0 && shift < 28;) {
      const unsigned char b = bytes[--at];
      entry |= static_cast<size_t>(b & 0x7F) << shift;
      shift += 7;
      if (b & 0x80) break;
    }
    size -= std::min(entry, size);
  }
  if ((flags & 1) && size > 0) size -= std::min<size_t>((bytes[size - 1] & 3) + 1, size);
  return size;
}

std::string LinkRecordPictures(std::string_view html, const PalmBook& book) {
  std::map<unsigned long, const std::string*> byNumber;
  for (const PalmPicture& picture : book.pictures) byNumber.emplace(picture.number, &picture.name);
  std::string out;
  out.reserve(html.size());
  size_t done = 0;
  for (size_t at = common::FindAsciiCaseless(html, "<img"); at != std::string_view::npos;
       at = common::FindAsciiCaseless(html, "<img", at + 4)) {
    const size_t end = html.find('>', at);
    if (end == std::string_view::npos) break;
    const std::string_view tag = html.substr(at, end - at);
    const size_t key = common::FindAsciiCaseless(tag, "recindex=");
    if (key == std::string_view::npos) continue;
    size_t digits = key + 9;
    while (digits < tag.size() && (tag[digits] == '"' || tag[digits] == '\'')) ++digits;
    unsigned long number = 0;
    size_t n = 0;
    for (; digits + n < tag.size() && n < 9 && tag[digits + n] >= '0' && tag[digits + n] <= '9'; ++n)
      number = number * 10 + static_cast<unsigned long>(tag[digits + n] - '0');
    const auto found = byNumber.find(number);
    if (n == 0 || found == byNumber.end()) continue;
    out.append(html, done, at - done);
    out += "<img src=\"" + *found->second + "\"";
    done = end;  // the closing ">" is copied with what follows
  }
  out.append(html, done, std::string_view::npos);
  return out;
}

std::string LinkFilePositions(std::string_view html) {
  constexpr std::string_view kKey = "filepos=";
  // Where each link attribute stands and what position it names.
  struct Link {
    size_t at, end;
    size_t target;
  };
  std::vector<Link> links;
  std::vector<size_t> targets;
  for (size_t at = common::FindAsciiCaseless(html, kKey); at != std::string_view::npos;
       at = common::FindAsciiCaseless(html, kKey, at + 1)) {
    size_t end = at + kKey.size();
    const bool quoted = end < html.size() && (html[end] == '"' || html[end] == '\'');
    if (quoted) ++end;
    size_t target = 0;
    size_t digits = 0;
    for (; end < html.size() && digits < 10 && html[end] >= '0' && html[end] <= '9'; ++end, ++digits)
      target = target * 10 + static_cast<size_t>(html[end] - '0');
    if (quoted && end < html.size() && (html[end] == '"' || html[end] == '\'')) ++end;
    if (digits == 0 || target >= html.size() || at == 0 || html[at - 1] != ' ') continue;
    links.push_back({at, end, target});
    // An anchor inside a tag goes before the tag.
    const size_t open = html.rfind('<', target);
    const size_t close = html.rfind('>', target);
    if (open != std::string_view::npos && (close == std::string_view::npos || close < open)) target = open;
    links.back().target = target;
    targets.push_back(target);
  }
  if (links.empty()) return std::string(html);
  std::sort(targets.begin(), targets.end());
  targets.erase(std::unique(targets.begin(), targets.end()), targets.end());

  std::string out;
  out.reserve(html.size() + 40 * (links.size() + targets.size()));
  size_t done = 0;
  size_t nextTarget = 0;
  size_t nextLink = 0;
  while (nextTarget < targets.size() || nextLink < links.size()) {
    const size_t target = nextTarget < targets.size() ? targets[nextTarget] : std::string_view::npos;
    const size_t link = nextLink < links.size() ? links[nextLink].at : std::string_view::npos;
    if (target <= link) {
      out.append(html, done, target - done);
      out += "<a id=\"filepos" + std::to_string(target) + "\"></a>";
      done = target;
      ++nextTarget;
    } else {
      out.append(html, done, link - done);
      out += "href=\"#filepos" + std::to_string(links[nextLink].target) + "\"";
      done = links[nextLink].end;
      ++nextLink;
    }
  }
  out.append(html, done, std::string_view::npos);
  return out;
}

PalmFailure ReadMobipocket(const PalmDatabase& database, PalmBook& book) {
  book.format = PalmFormat::Mobipocket;
  const std::string_view record0 = database.Record(0);
  if (record0.size() < 16) return PalmFailure::Damaged;
  const std::optional<MobiHeader> header = ReadHeader(record0);
  if (!header) return PalmFailure::Damaged;
  if (HasDrm(record0, *header)) return PalmFailure::Protected;

  book.encoding = header->encoding == 65001 ? TextEncoding::Utf8
                  : header->encoding == 1252 ? TextEncoding::Win1252
                                             : TextEncoding::Unknown;
  const uint32_t nameOffset = MobiHeader::Field(record0, header->length, kFullNameOffsetAt);
  const uint32_t nameLength = MobiHeader::Field(record0, header->length, kFullNameLengthAt);
  if (nameOffset < record0.size()) book.title = std::string(common::Trim(record0.substr(nameOffset, nameLength)));
  uint32_t coverOffset = kNone;
  ReadExth(record0, *header, book, coverOffset);

  const uint16_t compression = Read16(record0, 0);
  const size_t recordCount = Read16(record0, 8);
  const uint16_t flags = header->extraFlags;
  RecordUnpacker unpack;
  std::optional<HuffCdicDecoder> huff;
  if (compression == 1) {
    unpack = [flags](std::string_view record, std::string& text) {
      text.append(record.substr(0, TextLengthWithoutTrailers(record, flags)));
      return true;
    };
  } else if (compression == 2) {
    unpack = [flags](std::string_view record, std::string& text) {
      return UnpackPalmDoc(record.substr(0, TextLengthWithoutTrailers(record, flags)), text, kRecordTextLimit);
    };
  } else if (compression == 17480) {
    std::vector<std::string_view> cdics;
    for (uint32_t i = 1; i < header->huffCount && i < database.records.size(); ++i)
      cdics.push_back(database.Record(header->huffRecord + i));
    huff = HuffCdicDecoder::Make(database.Record(header->huffRecord), cdics);
    if (!huff) return PalmFailure::Damaged;
    unpack = [flags, &huff](std::string_view record, std::string& text) {
      return huff->Unpack(record.substr(0, TextLengthWithoutTrailers(record, flags)), text, kRecordTextLimit);
    };
  } else {
    return PalmFailure::UnsupportedCompression;
  }
  // A record count that runs into the picture or Huffman records is cut where they start.
  size_t lastText = recordCount;
  if (header->firstPicture != kNone && header->firstPicture > 1) lastText = std::min<size_t>(lastText, header->firstPicture - 1);
  if (compression == 17480 && header->huffRecord > 1) lastText = std::min<size_t>(lastText, header->huffRecord - 1);
  if (const PalmFailure failure = UnpackTextRecords(database, 1, lastText, unpack, book.text);
      failure != PalmFailure::None)
    return failure;
  book.markup = IsHtmlDocument(book.text);

  if (header->firstPicture != kNone && header->firstPicture > lastText &&
      header->firstPicture < database.records.size()) {
    for (size_t i = header->firstPicture; i < database.records.size() && i - header->firstPicture < 9999; ++i) {
      const std::string_view extension = PictureExtension(database.records[i]);
      if (extension.empty()) continue;
      const size_t number = i - header->firstPicture + 1;
      std::string name = std::to_string(number);
      name = "picture" + std::string(4 - name.size(), '0') + name + "." + std::string(extension);
      if (coverOffset != kNone && number == size_t{coverOffset} + 1) book.coverName = name;
      book.pictures.push_back({std::move(name), database.records[i], number});
    }
  }
  if (book.markup) book.text = LinkRecordPictures(LinkFilePositions(book.text), book);
  return PalmFailure::None;
}

}  // namespace pw::import::palm
