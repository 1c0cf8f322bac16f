// Writers of the open book to an output file, one per output form ("html0" the stored book,
// "html" plain HTML, "fb2" FictionBook), looked up by name.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Settings.h"
#include "fb2/Description.h"
#include "markup/StoredBook.h"

namespace pw::shell {

// What a batch adds to every FictionBook it writes.
struct Fb2Request {
  fb2::Fb2Description description;  // fields given on the command line; the book fills the rest
  std::filesystem::path descriptionFile;  // an FB2 file whose description the books take
  std::filesystem::path cover;
  bool zip = false;
  bool validate = false;  // check the written file against the schema; invalid is a failure
};

// The open book as a writer gets it.
struct OutputJob {
  std::string document;  // what the editor holds
  std::filesystem::path bookFolder;
  std::optional<markup::StoredBookHeader> header;
  std::filesystem::path output;
  bool compress = false;  // for stored books
  std::string dateText;   // for the signature
  const common::Settings& settings;
  common::Progress& progress;
  common::Messages* messages = nullptr;  // questions and warnings; none: answered by default
  const Fb2Request* fb2 = nullptr;
};

struct BookWriter {
  std::string target;     // the name of the form ("html0")
  std::string extension;  // of the files it writes
  // Writes `job.output` atomically; false with `error` filled on failure.
  std::function<bool(const OutputJob& job, std::string& error)> write;
};

// The writer of `target`; null when this build has none.
const BookWriter* FindBookWriter(std::string_view target);

// The output form for an output file name: by its extension ("html0"; "htm" and "html" give
// "html"; "fb2"), "fb2" when the name has no known extension.
std::string TargetForOutput(const std::filesystem::path& output);

}  // namespace pw::shell
