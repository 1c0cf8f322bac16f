// The book session: the road of one book from the file a user names to the working html0
// document in its own book folder, and back to disk. The user's file is never opened for
// writing; every failure leaves the previous working document as it was.
#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Session.h"
#include "shell/WorkshopFolder.h"

namespace pw::shell {

namespace fs = std::filesystem;

// The supported book extensions, in order, and the archives.
inline constexpr std::string_view kSupportedExtensions[] = {
    "txt", "htm", "html", "shtml", "doc", "rtf", "pdf", "lit", "prc", "pdb",
    "rb",  "kml", "fb2",  "xml",   "tcr", "html0", "cit"};
inline constexpr std::string_view kArchiveExtensions[] = {"zip", "rar"};

enum class InputCheck { Ok, WebAddress, Missing, Empty, Unsupported, Archive };

// The checks made before a file is opened, in order: a web address passes unchecked; a
// missing file, one shorter than 10 bytes and one of an unsupported extension are refused
// with their messages (unless `quiet`); an archive is reported as such.
InputCheck CheckInputFile(const fs::path& path, common::Messages& messages, bool quiet = false);

// One source format: its extensions (lower case), the status text of its conversion, and the
// converter that writes the working document from the input copy.
struct Converter {
  std::vector<std::string> extensions;
  std::string status;
  // (input copy, working document, book folder, session) -> success
  std::function<bool(const fs::path&, const fs::path&, const fs::path&, common::Session&)> convert;
};

// The converters in order; the first that takes an extension wins. Formats register in
// RegisterConverters (one line each).
class ConverterRegistry {
 public:
  void Add(Converter converter) { converters_.push_back(std::move(converter)); }
  const Converter* Find(std::string_view extension) const;

 private:
  std::vector<Converter> converters_;
};

// The registry of every format this build converts.
const ConverterRegistry& Converters();

// The status text shown while a source of `extension` is converted ("" when unknown).
std::string_view ConversionStatus(std::string_view extension);

// A session of one workshop instance: its scratch folder, the books opened in it, the current
// working document.
class BookSession {
 public:
  BookSession(WorkshopFolder workshop, int serial, common::Session& session);

  // The whole opening chain. True when `path` became the working document; otherwise the
  // message is shown and the previous working document stays.
  bool PrepareBook(const fs::path& path);

  // Writes the blank book as a fresh working document.
  bool MakeEmptyBook();

  const fs::path& workingDocument() const { return workingDocument_; }
  const fs::path& bookFolder() const { return bookFolder_; }
  common::Session& session() { return session_; }

 private:
  fs::path NewBookFolder();

  WorkshopFolder workshop_;
  int serial_;
  common::Session& session_;
  std::atomic<int> bookCounter_{0};
  fs::path workingDocument_;
  fs::path bookFolder_;
};

// Puts `path` first in the recent-files list (no duplicates, the list keeps its length).
void AddRecentFile(std::vector<std::string>& recent, const std::string& path);

}  // namespace pw::shell
