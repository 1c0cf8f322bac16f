// Opening a FictionBook 2 file (".fb2", or ".xml" holding FictionBook) as an html0 book.
//
// The file is read forgivingly (Fb2Tidy.h), its pictures are written into the book folder, its
// text decoded to UTF-8 by its XML declaration (or by its letters when the declaration lies),
// its notes body and description taken aside, and every FB2 element mapped to the html0
// vocabulary by the named passes of Fb2ImportBody.h. The description becomes the book-author
// and book-title headings, "Description.fb2" and the display block "Description.html0".
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Session.h"
#include "fb2/Description.h"

namespace pw::fb2 {

struct Fb2ImportOptions {
  // Put the contents block after the book-title heading (the import's last step).
  bool makeContents = true;
  // Folder of the user's clean-up rule files, for the "after" slot of the settings; the slot
  // runs only when this is given or the slot names a file by its full path.
  std::filesystem::path ruleFolder;
  // Where the pictures are written; empty: the session's work folder.
  std::filesystem::path pictureFolder;
};

struct Fb2ImportResult {
  bool ok = false;
  std::string html0;  // the whole book, the description kept after the end-of-text mark
  std::optional<Fb2Description> description;  // nothing when the file has none
  std::string descriptionXml;                 // "Description.fb2": the description element
  std::string descriptionDisplay;             // "Description.html0": the display block
  std::vector<std::string> pictures;          // picture files written into the book folder
  // The cover picture of the description, written into the book folder as "cover.jpg" or
  // "cover.png"; empty when the file has none or its binary is missing. The description
  // model does not refer to it (its cover id is cleared): an export that is given this file
  // as its cover writes the coverpage again.
  std::string coverFile;
  // What was left out or mended, one short text each (pictures without binary, undeclared
  // entities, a wrong declared encoding, ...), for the user.
  std::vector<std::string> skipped;
  // Set (with ok false) when the entities the file declares would grow the book past this
  // size limit, in bytes.
  size_t entityLimit = 0;
};

// Converts the bytes of an FB2 file. Pictures are written into the picture folder (none when
// it and the session's work folder are empty); the element colours, section mode and import language come from the session's
// settings, and the session's code page is set to the book's script family. Every step
// announces its status text. Never throws for a broken file: what can be read is read.
// Fails (ok false) only for bytes that hold no FictionBook at all.
Fb2ImportResult ConvertFb2ToHtml0(std::string_view bytes, common::Session& session,
                                  const Fb2ImportOptions& options = {});

// The file form: reads `source`, converts it, and writes into `bookFolder` the html0 book as
// `output` (the working document: the description cut out of it into "Description.fb2" and
// "Description.html0" beside it) and the pictures. Tells the user through the session's
// messages what was skipped and when the file has no description. Returns the path of the
// html0 book, nothing when the file could not be read, converted or written.
std::optional<std::filesystem::path> ConvertFb2FileToHtml0(const std::filesystem::path& source,
                                                          const std::filesystem::path& output,
                                                          common::Session& session,
                                                          const Fb2ImportOptions& options = {});

}  // namespace pw::fb2
