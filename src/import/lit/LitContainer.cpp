#include "import/lit/LitContainer.h"

#include "common/Limits.h"
#include "import/lit/Lzx.h"

namespace pw::import::lit {

namespace {

constexpr std::string_view kMagic = "ITOLITLS";
constexpr size_t kDirectoryHeader = 32;
constexpr size_t kListingHeader = 48;

uint32_t Le32(std::string_view bytes, size_t at) {
  if (at > bytes.size() || bytes.size() - at < 4) return 0;
  return static_cast<uint32_t>(static_cast<unsigned char>(bytes[at])) |
         static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 1])) << 8 |
         static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 2])) << 16 |
         static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 3])) << 24;
}

uint64_t Le64(std::string_view bytes, size_t at) {
  return static_cast<uint64_t>(Le32(bytes, at)) | static_cast<uint64_t>(Le32(bytes, at + 4)) << 32;
}

bool Fits(std::string_view bytes, uint64_t at, uint64_t size) { return at <= bytes.size() && size <= bytes.size() - at; }

// A number of the directory: seven bits a byte, the first byte the highest, a set top bit
// meaning that more follow.
bool ReadNumber(std::string_view bytes, size_t& pos, uint64_t& value) {
  value = 0;
  for (int i = 0; i < 9; ++i) {
    if (pos >= bytes.size()) return false;
    const auto c = static_cast<unsigned char>(bytes[pos++]);
    value = value << 7 | (c & 0x7F);
    if (!(c & 0x80)) return true;
  }
  return false;
}

// The section names: UTF-16 strings, each with its length before and a zero after.
bool ReadSectionNames(std::string_view list, std::vector<std::string>& names) {
  names.clear();
  if (list.size() < 4) return false;
  const auto u16 = [&](size_t at) {
    return static_cast<unsigned>(static_cast<unsigned char>(list[at])) | static_cast<unsigned>(static_cast<unsigned char>(list[at + 1])) << 8;
  };
  const unsigned count = u16(2);
  size_t pos = 4;
  for (unsigned i = 0; i < count; ++i) {
    if (pos + 2 > list.size()) return false;
    const unsigned length = u16(pos);
    pos += 2;
    if (pos + 2 * size_t{length} + 2 > list.size()) return false;
    std::string name;
    for (unsigned k = 0; k < length; ++k) {
      const unsigned c = u16(pos + 2 * k);
      name += c < 128 ? static_cast<char>(c) : '?';
    }
    names.push_back(std::move(name));
    pos += 2 * size_t{length} + 2;
  }
  return true;
}

}  // namespace

LitError LitContainer::Open(std::string_view file) {
  file_ = file;
  entries_.clear();
  sections_.clear();
  sectionNames_.clear();
  unpacking_.clear();
  budget_ = common::BookSizeLimit(file.size());
  unpackedBytes_ = 0;
  if (file.size() < 24 || file.substr(0, kMagic.size()) != kMagic) return LitError::NotLit;
  const uint32_t headerLength = Le32(file, 12);
  const uint32_t pieces = Le32(file, 16);
  const uint32_t secondaryLength = Le32(file, 20);
  if (pieces < 2 || pieces > 64 || !Fits(file, headerLength, uint64_t{pieces} * 16)) return LitError::Damaged;
  const uint64_t secondaryAt = uint64_t{headerLength} + uint64_t{pieces} * 16;
  if (!Fits(file, secondaryAt, secondaryLength)) return LitError::Damaged;
  // The secondary header is a series of tagged blocks; the one tagged ITSF says where the
  // content of the plain section starts.
  const std::string_view secondary = file.substr(secondaryAt, secondaryLength);
  const size_t itsf = secondary.find("ITSF");
  if (itsf == std::string_view::npos || !Fits(secondary, itsf, 24)) return LitError::Damaged;
  contentOffset_ = Le64(secondary, itsf + 16);
  if (contentOffset_ > file.size()) return LitError::Damaged;

  const uint32_t directoryAt = Le32(file, headerLength + 16);
  const uint32_t directorySize = Le32(file, headerLength + 16 + 8);
  if (!Fits(file, directoryAt, directorySize)) return LitError::Damaged;
  if (const LitError error = ReadDirectory(file.substr(directoryAt, directorySize)); error != LitError::None) return error;

  std::string names;
  if (Read("::DataSpace/NameList", names) != LitError::None || !ReadSectionNames(names, sectionNames_))
    return LitError::Damaged;
  return LitError::None;
}

LitError LitContainer::ReadDirectory(std::string_view directory) {
  if (directory.size() < kDirectoryHeader || directory.substr(0, 4) != "IFCM") return LitError::Damaged;
  const uint32_t chunkSize = Le32(directory, 8);
  const uint32_t chunks = Le32(directory, 24);
  if (chunkSize < kListingHeader || chunks > (directory.size() - kDirectoryHeader) / chunkSize) return LitError::Damaged;
  for (uint32_t c = 0; c < chunks; ++c) {
    const std::string_view chunk = directory.substr(kDirectoryHeader + size_t{c} * chunkSize, chunkSize);
    if (chunk.substr(0, 4) != "AOLL") continue;  // index chunks repeat what the listings say
    const uint32_t tail = Le32(chunk, 4);
    if (tail > chunkSize - kListingHeader) return LitError::Damaged;
    const std::string_view listing = chunk.substr(0, chunkSize - tail);
    size_t pos = kListingHeader;
    while (pos < listing.size()) {
      uint64_t length = 0;
      if (!ReadNumber(listing, pos, length)) return LitError::Damaged;
      if (length == 0) break;
      if (length > listing.size() - pos) return LitError::Damaged;
      LitEntry entry;
      entry.name.assign(listing.substr(pos, length));
      pos += length;
      if (!ReadNumber(listing, pos, entry.section) || !ReadNumber(listing, pos, entry.offset) ||
          !ReadNumber(listing, pos, entry.size))
        return LitError::Damaged;
      if (entries_.size() > 100000) return LitError::Damaged;
      entries_.push_back(std::move(entry));
    }
  }
  return entries_.empty() ? LitError::Damaged : LitError::None;
}

const LitEntry* LitContainer::Find(std::string_view name) const {
  for (const LitEntry& entry : entries_)
    if (entry.name == name) return &entry;
  return nullptr;
}

bool LitContainer::HasOwnerDrm() const {
  return Has("/DRMStorage/Licenses/EUL") || Has("/DRMStorage/DRMBookplate");
}

LitError LitContainer::Read(std::string_view name, std::string& out) {
  out.clear();
  const LitEntry* entry = Find(name);
  if (!entry) return LitError::Missing;
  if (entry->section == 0) {
    if (!Fits(file_, contentOffset_, 0) || !Fits(file_.substr(contentOffset_), entry->offset, entry->size))
      return LitError::Damaged;
    out.assign(file_.substr(contentOffset_ + entry->offset, entry->size));
    return LitError::None;
  }
  const std::string* content = nullptr;
  if (const LitError error = Section(entry->section, content); error != LitError::None) return error;
  if (!Fits(*content, entry->offset, entry->size)) return LitError::Damaged;
  out.assign(std::string_view(*content).substr(entry->offset, entry->size));
  return LitError::None;
}

LitError LitContainer::Section(uint64_t index, const std::string*& content) {
  if (index >= sectionNames_.size()) return LitError::Damaged;
  const std::string& name = sectionNames_[index];
  if (const auto found = sections_.find(name); found != sections_.end()) {
    content = &found->second.content;
    return found->second.error;
  }
  // A section's own parts may lie in another section, but never (however indirectly) in itself.
  if (!unpacking_.insert(name).second) return LitError::Damaged;
  Unpacked unpacked;
  unpacked.error = UnpackSection(name, unpacked.content);
  unpacking_.erase(name);
  // A section that fails is remembered as failed, so that each of its files does not unpack
  // it again.
  if (unpacked.error != LitError::None) unpacked.content.clear();
  unpackedBytes_ += unpacked.content.size();
  const Unpacked& kept = sections_[name] = std::move(unpacked);
  content = &kept.content;
  return kept.error;
}

LitError LitContainer::UnpackSection(const std::string& name, std::string& content) {
  const std::string storage = "::DataSpace/Storage/" + name + "/";
  // A part that cannot be read is damage, unless it lies in a section that is too large.
  LitError partError = LitError::None;
  const auto readPart = [&](const std::string& part, std::string& out) {
    const LitError error = Read(part, out);
    if (error != LitError::None && partError == LitError::None)
      partError = error == LitError::TooLarge ? LitError::TooLarge : LitError::Damaged;
    return error == LitError::None;
  };
  std::string transforms;
  std::string packed;
  if (!readPart(storage + "Transform/List", transforms) || !readPart(storage + "Content", packed)) return partError;
  if (transforms.find(kDesTransform) != std::string::npos) return LitError::Protected;
  if (transforms.size() != kLzxTransform.size() || transforms != kLzxTransform) return LitError::Damaged;

  std::string control;
  std::string resets;
  const std::string lzx = storage + "Transform/{0A9007C6-4076-11D3-8789-0000F8105754}/InstanceData/ResetTable";
  if (!readPart(storage + "ControlData", control) || !readPart(lzx, resets)) return partError;
  // The control data: its length in words, "LZXC", a version, the reset interval and the
  // window size (from version 2 on both in 32 KiB frames).
  if (control.size() < 20 || control.substr(4, 4) != "LZXC") return LitError::Damaged;
  const uint32_t version = Le32(control, 8);
  uint64_t resetInterval = Le32(control, 12);
  uint64_t window = Le32(control, 16);
  if (version >= 2) {
    resetInterval *= kLzxFrameBytes;
    window *= kLzxFrameBytes;
  }
  int windowBits = 15;
  while (windowBits <= 21 && (uint64_t{1} << windowBits) != window) ++windowBits;
  if (windowBits > 21) return LitError::Damaged;
  // The reset table: a version, the number of entries, the entry size, the header size, the
  // unpacked and packed lengths, the frame size, then where each frame starts in the packed
  // content.
  if (resets.size() < 40) return LitError::Damaged;
  const uint32_t count = Le32(resets, 4);
  const uint32_t entrySize = Le32(resets, 8);
  const uint32_t headerSize = Le32(resets, 12);
  const uint64_t unpackedLength = Le64(resets, 16);
  const uint64_t frameBytes = Le64(resets, 32);
  if (entrySize != 8 || frameBytes != kLzxFrameBytes || !Fits(resets, headerSize, uint64_t{count} * 8))
    return LitError::Damaged;
  // The nested sections this one's parts came from are counted already.
  if (unpackedLength > kMaxSectionBytes || unpackedBytes_ > budget_ || unpackedLength > budget_ - unpackedBytes_)
    return LitError::TooLarge;
  LzxStream stream;
  stream.input = packed;
  stream.windowBits = windowBits;
  stream.outputLength = static_cast<size_t>(unpackedLength);
  stream.resetInterval = static_cast<size_t>(resetInterval);
  const uint64_t framesPerReset = resetInterval / kLzxFrameBytes;
  if (framesPerReset == 0) return LitError::Damaged;
  for (uint64_t frame = 0; frame < count; frame += framesPerReset)
    stream.resetOffsets.push_back(Le64(resets, headerSize + static_cast<size_t>(frame) * 8));
  if (!LzxDecompress(stream, content)) return LitError::Damaged;
  return LitError::None;
}

}  // namespace pw::import::lit
