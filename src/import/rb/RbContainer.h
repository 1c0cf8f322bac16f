// The Rocket eBook container (.rb): a header, a table of contents naming each part with its
// length, offset and flags, and the parts themselves, plain or compressed in zlib chunks. The
// reader takes the bytes of the file and gives the book's pages in their order, its pictures
// and what its info part says; it reads nothing outside the bytes it was given.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pw::import::rb {

inline constexpr size_t kHeaderBytes = 0x128;
inline constexpr size_t kTocEntryBytes = 44;

// Flags of a part.
inline constexpr uint32_t kEncrypted = 1;
inline constexpr uint32_t kInfoPart = 2;
inline constexpr uint32_t kCompressed = 8;

struct RbPart {
  std::string name;
  uint32_t length = 0;  // bytes in the file
  uint32_t offset = 0;
  uint32_t flags = 0;
};

struct RbBook {
  std::string title;
  std::string author;
  std::string body;  // the name of the first page, when the info part names it
  // The HTML pages in the order of the table of contents, the one named as the body first.
  std::vector<std::pair<std::string, std::string>> pages;
  std::vector<std::pair<std::string, std::string>> pictures;  // file name, bytes
};

enum class RbError { None, NotRb, Damaged, Encrypted, NoText, TooLarge };

// The table of contents; RbError::None when every part lies inside the file.
RbError ReadRbToc(std::string_view file, std::vector<RbPart>& parts);

// The bytes of one part, unpacked when it is compressed. `limit` bounds what a part may unpack to.
RbError ReadRbPart(std::string_view file, const RbPart& part, std::string& out, size_t limit);

// The whole book. `limit` bounds the unpacked size of all parts together.
RbError ReadRbBook(std::string_view file, RbBook& book, size_t limit = size_t{256} << 20);

// The pages joined into one HTML text: the body of each page in order, inside one HTML
// document.
std::string JoinRbPages(const RbBook& book);

}  // namespace pw::import::rb
