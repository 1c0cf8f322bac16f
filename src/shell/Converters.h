// Source formats of the book session: the supported extensions, the status text of each
// conversion, and the registry of converters, an ordered list in which the first converter
// that accepts an extension wins. Each format adds one line to the list in Converters.cpp.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Session.h"
#include "markup/StoredBook.h"

namespace pw::shell {

namespace fs = std::filesystem;

// The book extensions the session opens, in order, and the archives it unpacks first.
inline constexpr std::string_view kSupportedExtensions[] = {
    "txt", "htm", "html", "shtml", "doc", "rtf", "pdf", "lit", "prc",
    "pdb", "rb",  "kml",  "fb2",   "xml", "tcr", "html0", "cit", "mobi", "azw"};
inline constexpr std::string_view kArchiveExtensions[] = {"zip", "rar"};

// The filter string of the open dialog.
extern const std::string_view kOpenDialogFilter;

// What the status line says while a source of `extension` (lower case) is converted; empty for
// an extension the session does not know.
std::string_view ConversionStatus(std::string_view extension);

// One conversion: the converter reads `input` (the input copy) and writes `workingDocument`;
// pictures and description files go into `bookFolder`, the working document's folder.
struct ConvertJob {
  fs::path input;
  fs::path workingDocument;
  fs::path bookFolder;
  std::string sourceName;  // the user's file name, without its folder
  common::Session& session;
  // The library header of a stored book, when the source had one; kept for writing it back.
  std::optional<markup::StoredBookHeader> header;
};

struct BookConverter {
  std::string name;
  std::vector<std::string> extensions;  // lower case
  // Writes the working document; false when the source cannot be converted.
  std::function<bool(ConvertJob&)> convert;

  bool Accepts(std::string_view extension) const;
};

// Unpacks the book `entry` of `archive` (empty: the only book in it) into `folder` and names
// its file.
using ArchiveUnpacker = std::function<bool(const fs::path& archive, const fs::path& folder, const std::string& entry,
                                           fs::path& bookFile, common::Session& session)>;

class ConverterRegistry {
 public:
  void Add(BookConverter converter) { converters_.push_back(std::move(converter)); }
  // The first converter that accepts `extension`; null when none does.
  const BookConverter* Find(std::string_view extension) const;

  void SetArchiveUnpacker(ArchiveUnpacker unpacker) { unpacker_ = std::move(unpacker); }
  // Empty until the archive step exists.
  const ArchiveUnpacker& archiveUnpacker() const { return unpacker_; }

 private:
  std::vector<BookConverter> converters_;
  ArchiveUnpacker unpacker_;
};

// Every converter of this build, filled once; safe to share between threads.
const ConverterRegistry& BuiltInConverters();

}  // namespace pw::shell
