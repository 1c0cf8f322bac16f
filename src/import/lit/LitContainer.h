// The lit container: a header, a directory of named files, each in a section, and the
// sections: the plain one, and those whose content passes through transforms (LZX
// compression, encryption). Reads files by name out of the bytes of the container; nothing
// outside those bytes is read.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace pw::import::lit {

enum class LitError {
  None,
  NotLit,     // not a lit container
  Damaged,    // a count, offset or length points outside the file, or a section does not unpack
  Missing,    // no file of that name
  Protected,  // the file lies in an encrypted section (DRM)
  TooLarge,
};

struct LitEntry {
  std::string name;
  uint64_t section = 0;
  uint64_t offset = 0;
  uint64_t size = 0;
};

class LitContainer {
 public:
  // Reads the header and the directory of `file`, which must outlive the container.
  LitError Open(std::string_view file);

  const std::vector<LitEntry>& entries() const { return entries_; }
  bool Has(std::string_view name) const { return Find(name) != nullptr; }
  // The bytes of the file `name`, its section unpacked on first use. A section is unpacked
  // once, whether it succeeds or not, and several names of one section share it.
  LitError Read(std::string_view name, std::string& out);
  // True when the container carries a licence or bookplate, the marks of books locked to a
  // reader or an owner.
  bool HasOwnerDrm() const;

  // Bounds what one section may unpack to. All sections together unpack to no more than
  // common::BookSizeLimit of the file's size: a section that would pass it is TooLarge.
  static constexpr uint64_t kMaxSectionBytes = uint64_t{512} << 20;

 private:
  const LitEntry* Find(std::string_view name) const;
  LitError ReadDirectory(std::string_view directory);
  LitError Section(uint64_t index, const std::string*& content);
  LitError UnpackSection(const std::string& name, std::string& content);

  struct Unpacked {
    LitError error = LitError::None;
    std::string content;
  };

  std::string_view file_;
  uint64_t contentOffset_ = 0;
  std::vector<LitEntry> entries_;
  std::vector<std::string> sectionNames_;
  std::map<std::string, Unpacked> sections_;  // sections tried so far, by name
  std::set<std::string> unpacking_;  // sections being unpacked: one that needs itself is damage
  uint64_t budget_ = 0;              // what all sections together may unpack to
  uint64_t unpackedBytes_ = 0;       // what they have unpacked to so far
};

// The GUIDs of the transforms, as their 16 bytes appear in a transform list.
inline constexpr std::string_view kLzxTransform{"\xC6\x07\x90\x0A\x76\x40\xD3\x11\x87\x89\x00\x00\xF8\x10\x57\x54", 16};
inline constexpr std::string_view kDesTransform{"\xA2\xE4\xF6\x67\xBF\x60\xD3\x11\x85\x40\x00\xC0\x4F\x58\xC3\xCF", 16};

}  // namespace pw::import::lit
