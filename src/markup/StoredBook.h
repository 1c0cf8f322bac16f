// The stored book file (".html0"): a one-line library header, the html0 document (plain, or
// compressed in zlib blocks), and the book's pictures. Reading checks every count, size and
// length against the bytes that are really there, so a damaged file is refused with a
// message and never crashes the program or makes it allocate wildly.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace pw::markup {

inline constexpr std::string_view kStoredBookMagic = "<!pwfile ";
inline constexpr size_t kStoredBlockSize = 4096;

// The seven library fields of the header, in their places in the file.
enum class HeaderField : size_t {
  Annotation = 0,  // multi-line text
  Author = 1,
  Title = 2,
  Genre = 3,
  Language = 4,
  Rating = 5,  // an empty rating is written as "not rated"
  Keywords = 6,
};

struct StoredBookHeader {
  std::array<std::string, 7> fields;
  std::string& operator[](HeaderField f) { return fields[static_cast<size_t>(f)]; }
  const std::string& operator[](HeaderField f) const { return fields[static_cast<size_t>(f)]; }
};

struct StoredPicture {
  std::string name;  // the picture's file name, as the document's "src" names it
  std::string data;  // the picture file's bytes
};

struct StoredBook {
  bool hasHeader = false;   // the file started with the header
  bool compressed = false;  // the body was stored in zlib blocks
  StoredBookHeader header;
  std::string document;  // the html0 document
  std::vector<StoredPicture> pictures;
};

// A header field value as it is written: trimmed, CRLF as a single line feed, and without the
// characters 3, 4, '<' and '>' that would break the header.
std::string CleanHeaderValue(std::string_view value);

// The header line with the compression flag and the seven fields.
std::string MakeStoredBookHeader(const StoredBookHeader& header, bool compressed);

// The whole file; a document of one byte or less is always written plain (no block for it). The
// plain form ends with the document's length, so the reader never looks for pictures in the text.
std::string WriteStoredBook(const StoredBook& book);

// Reads a whole file. Text that does not start with the header is an ordinary document; a
// header without its closing ">" means the whole file is plain text. Returns false with
// `error` filled when the file is damaged; `book` is then unspecified.
bool ReadStoredBook(std::string_view bytes, StoredBook& book, std::string& error);

// Whether `name` can name a picture in a stored book: a plain file name in the book's folder,
// without the characters that end an attribute or the block's own name ("<>:\\/ and NUL).
bool IsStoredPictureName(std::string_view name);

// The picture blocks; a picture whose name does not pass IsStoredPictureName is left out.
std::string MakePictureBlocks(const std::vector<StoredPicture>& pictures);

// Removes every stray " <!pwfile ...>" header inside a document (a file pasted into another).
size_t RemoveStrayHeaders(std::string& document);

// Number of blocks a document of `length` bytes is cut into.
size_t StoredBlockCount(size_t length);

// Reads `path`, writes each picture into `workFolder` under its own (plain) name, and returns
// the book. Picture names with folder parts are refused as damage.
bool LoadStoredBookFile(const std::filesystem::path& path, const std::filesystem::path& workFolder,
                        StoredBook& book, std::string& error);

// Writes the book to `path` atomically.
bool SaveStoredBookFile(const std::filesystem::path& path, const StoredBook& book, std::string& error);

}  // namespace pw::markup
