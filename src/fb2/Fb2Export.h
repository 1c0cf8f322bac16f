// Writing an html0 book as a FictionBook 2 file.
//
// The book text is rewritten pass by pass: html0 elements become FB2 elements, titles open
// sections, notes go into a second body, pictures and the cover become binaries, and the
// description goes in front. The result is always well-formed XML in the chosen encoding.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/Session.h"
#include "fb2/Description.h"

namespace pw::fb2 {

struct Fb2ExportOptions {
  std::string encoding = "utf-8";  // "utf-8", "windows-1251" or "windows-1252" ("win-1251"...)
  std::string dashes = "short";    // "short", "middle" or "long"
  bool bookForLibrary = true;      // full section cleaning instead of the older one
  bool multiEmptyLines = false;
  bool removeLineEnds = false;     // skip the layout pass: no line breaks between elements
  bool keepPictureSizes = false;
  std::filesystem::path cover;     // cover picture; empty when none
};

struct Fb2ExportResult {
  bool ok = false;
  std::string bytes;                  // the FB2 file in its encoding
  std::vector<std::string> warnings;  // pictures left out and the like
};

// Converts the html0 book `html0` (pictures relative to `bookFolder`) with `description`.
// Notes outside a note block are asked about through the session's messages; "no" gives a
// result that is not ok.
Fb2ExportResult ConvertHtml0ToFb2(std::string_view html0, const Fb2Description& description,
                                  const Fb2ExportOptions& options, const std::filesystem::path& bookFolder,
                                  common::Session& session);

}  // namespace pw::fb2
