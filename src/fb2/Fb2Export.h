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

#include "common/CodePage.h"
#include "common/Session.h"
#include "common/Settings.h"
#include "fb2/Description.h"

namespace pw::fb2 {

struct Fb2ExportOptions {
  std::string encoding = "utf-8";  // "utf-8", "windows-1251" or "windows-1252" ("win-1251"...)
  std::string dashes = "short";    // "short", "middle" or "long"
  bool bookForLibrary = false;     // full section cleaning instead of the older one
  bool multiEmptyLines = false;
  bool removeLineEnds = false;     // skip the layout pass: no line breaks between elements
  bool keepPictureSizes = false;
  std::filesystem::path cover;     // cover picture; empty when none
  std::string fallbackTitle;       // the book title when neither description nor book has one
  std::string signatureDate;       // the date line of the older cleaning's signature; empty: today
};

// The export options of the settings record.
Fb2ExportOptions ExportOptionsFromSettings(const common::Settings& settings);

struct Fb2ExportResult {
  bool ok = false;
  std::string bytes;                  // the FB2 file in its encoding
  std::vector<std::string> warnings;  // pictures left out and the like
};

// What the book itself says about its description.
struct BookFacts {
  std::string author;      // the book-author heading
  std::string title;       // the book-title heading
  std::string subtitle;    // the subtitle that follows the book-title heading
  std::string annotation;  // the annotation element, a paragraph a line
  std::string lang;        // the language code of the book's text, when it could be told
  std::string coverId;
  std::string fallbackTitle;
};

// The facts of the html0 book `html0`, its pictures left aside.
BookFacts ReadBookFacts(std::string_view html0);

// Fills what a valid FB2 description needs and the user left empty: genre "unrecognised",
// authors from the book-author heading (an author with one name only is written as a
// nickname), the title from the book, the annotation from the book, the language of the
// book's text ("eng" when it cannot be told), a document author, the program, today's date, a new id
// and version "1.0".
void CompleteDescription(Fb2Description& description, const BookFacts& book);

// The code page of an output encoding name ("utf-8", "windows-1251", "win-1251",
// "windows-1252", "win-1252"; anything else is UTF-8) and its canonical name.
common::CodePage ExportEncoding(std::string_view name, std::string& canonical);

// The output file name: the name field, or with `fromDescription` the author, title, sequence
// name and number joined with "_"; optionally in Latin letters; "noname" when empty; ".fb2".
std::string MakeFb2FileName(const Fb2Description& description, std::string_view nameField, bool fromDescription,
                            bool latin);

// Cyrillic letters to Latin ones; other characters beyond ASCII become "_".
std::string TransliterateToLatin(std::string_view text);

// Converts the html0 book `html0` (pictures relative to `bookFolder`) with `description`.
// Notes outside a note block are asked about through the session's messages; "no" gives a
// result that is not ok.
Fb2ExportResult ConvertHtml0ToFb2(std::string_view html0, const Fb2Description& description,
                                  const Fb2ExportOptions& options, const std::filesystem::path& bookFolder,
                                  common::Session& session);

// The whole export to `outputPath`: refuses an output file that exists and cannot be written
// ("File" ... "is open in some program"), writes atomically, packs into `outputPath` + ".zip"
// when asked, and (with `announce`) says "the book was saved as". False when nothing was written.
bool MakeFb2File(std::string_view html0, const Fb2Description& description, const Fb2ExportOptions& options,
                 const std::filesystem::path& bookFolder, const std::filesystem::path& outputPath, bool zip,
                 common::Session& session, Fb2ExportResult* result = nullptr, bool announce = true);

}  // namespace pw::fb2
