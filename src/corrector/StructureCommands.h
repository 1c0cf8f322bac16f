// The corrector palette's structure commands that the element operations leave open: page
// breaks around selected elements, at the caret and before every title; deleting the selected
// elements; the book author and title from two selected lines; words moved up from the next
// paragraph; hyphenation of the whole body; and the book's statistics. Each is a pure function
// over the selection's HTML or the book's body.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Settings.h"

namespace pw::corrector {

// Put by the page at the caret before "insert page break".
inline constexpr std::string_view kPageBreakMarker = "<SPAN id=PageBreakHere></SPAN>";

// Puts a page break before every title that does not already follow one ("...inserting page
// breaks..."). Returns the number of breaks put in.
size_t InsertAllPageBreaks(std::string& book, common::Progress& progress);

// Replaces kPageBreakMarker by a page break. Inside a paragraph the paragraph is split there and
// the break stands between the halves; elsewhere the break takes the marker's place. False,
// and the book unchanged apart from the marker's removal, when there is no marker.
bool InsertPageBreakAtMarker(std::string& book);

// The book author and book title from a selection: its first line is the author, the lines
// after it the title; a selection of one line "Author. Title" is split at the first ". ".
// Empty when the selection does not give both.
std::string AuthorTitle(std::string_view selectionHtml, const common::ElementColours& colours);

struct StructureResult {
  bool known = false;    // the command exists
  bool replace = false;  // the selection is replaced by `html` (which may be empty: delete)
  std::string html;
};

// Commands on the selected elements by their palette names: "breakbefore", "breakafter",
// "breakaround", "delete", "authortitle". A break is not doubled where one already stands.
StructureResult ApplyStructureCommand(std::string_view name, std::string_view selectionHtml,
                                      const common::Settings& settings, const common::Messages& messages);

struct BodyCommandInput {
  size_t paragraph = 0;   // the paragraph the caret is in ("leftwordsshift", "joinnext")
  std::string language;   // "hyphenate": the book's language name (the caller resolves "auto")
};

struct BodyCommandResult {
  bool known = false;
  bool changed = false;
};

// Commands on the book's body by name: "insertpagebreaks", "pagebreakhere", "leftwordsshift",
// "joinnext", "hyphenate", "unhyphenate". `validEnds` is the decoded list of good paragraph ends.
BodyCommandResult ApplyBodyCommand(std::string_view name, std::string& body, const BodyCommandInput& input,
                                   std::string_view validEnds, common::Progress& progress,
                                   const common::Messages& messages);

// What "book info" shows.
struct BookStatistics {
  size_t paragraphs = 0;   // paragraphs holding text
  size_t words = 0;
  size_t characters = 0;   // letters, digits and signs of the text, blanks not counted
  size_t bookAuthors = 0;
  size_t bookTitles = 0;
  size_t titles = 0;
  size_t subtitles = 0;
  size_t epigraphs = 0;
  size_t verses = 0;
  size_t cites = 0;
  size_t textAuthors = 0;
  size_t annotations = 0;
  size_t noteBlocks = 0;
  size_t notes = 0;        // note anchors inside the note blocks
  size_t pictures = 0;
  size_t pageBreaks = 0;
};

BookStatistics CountBookStatistics(std::string_view book);

}  // namespace pw::corrector
