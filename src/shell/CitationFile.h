// Citation files (".cit"): collections of passages the user keeps from books, each with the
// source it came from. The workshop opens one as a book whose title ends in " (citations)".
//
// Layout (UTF-8 text, lines ending in CRLF; LF alone is accepted on reading):
//   <!pwcitations 1>                               first line; 1 is the layout version
//   <!pwtitle>TITLE<!/pwtitle>                     optional: the collection's title
//   <!pwcite source="SOURCE">                      one block per citation, in order
//   FRAGMENT                                       one or more lines
//   <!/pwcite>
// SOURCE and TITLE escape "&", "<", ">" and '"' as entities. A FRAGMENT that starts with "<"
// is html0 paragraphs; otherwise each non-empty line of it is one paragraph of plain text.
// Blank lines between blocks are ignored; anything else there makes the file damaged.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/Settings.h"
#include "shell/Converters.h"

namespace pw::shell {

inline constexpr std::string_view kCitationsTitleMark = " (citations)";

struct Citation {
  std::string source;  // where the passage comes from ("Author. Title"), plain text
  std::string text;    // html0 paragraphs, or plain-text lines

  bool operator==(const Citation&) const = default;
};

struct CitationCollection {
  std::string title;  // plain text; empty when the file has none
  std::vector<Citation> citations;

  bool operator==(const CitationCollection&) const = default;
};

// The file text of `collection`. A fragment never carries the block end: one inside it is
// dropped, so the file always reads back.
std::string WriteCitationFile(const CitationCollection& collection);

// Parses a citation file. False with `error` filled when the text is not one.
bool ReadCitationFile(std::string_view text, CitationCollection& collection, std::string& error);

// The html0 book of a collection: the title (or `fallbackTitle`) marked " (citations)" as the
// book title, then each citation as a cite element whose text author is its source.
std::string MakeCitationBook(const CitationCollection& collection, std::string_view fallbackTitle,
                             const common::Settings& settings);

// Reads the citation file `input` and writes its book to `workingDocument`.
bool LoadCitationFile(const std::filesystem::path& input, const std::filesystem::path& workingDocument,
                      std::string_view fallbackTitle, const common::Settings& settings, std::string& error);

// Adds `citation` at the end of the citation file `file`, making the file when missing.
// A damaged file is left as it is.
bool AppendCitation(const std::filesystem::path& file, const Citation& citation, std::string& error);

// The converter of ".cit" files for the registry.
bool ConvertCitationFile(ConvertJob& job);

}  // namespace pw::shell
