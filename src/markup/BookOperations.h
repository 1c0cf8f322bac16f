// Whole-book operations of the workshop on the working document's HTML: letter case of the
// headings, titles and subtitles into one another or into paragraphs, page breaks, the
// contents block, note blocks, and moving a whole element past its neighbour. Each announces
// itself on the status line and reports the share of elements done; each builds the new
// document in one pass, so its cost grows linearly with the book. A book without the elements
// an operation works on stays as it is.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Settings.h"

namespace pw::markup {

// Put by the page in front of the element the user double-clicked, before a move.
inline constexpr std::string_view kMovedElementMarker = "<SPAN id=MovedElSt></SPAN>";

enum class HeadingKind { Title, Subtitle, BookAuthor, BookTitle };

// Upper-cases the text of every element of `kind` ("...capitalizing titles...",
// "...capitalizing subtitles...", "...capitalizing book author...", "...capitalizing book
// title..."). Tags and entities stay. Returns the number of elements.
size_t CapitaliseElements(std::string& document, HeadingKind kind, common::Progress& progress);

// Every subtitle becomes a title ("...converting subtitles to titles..."): "id=subtitle"
// becomes "id=title", and a colour equal to the subtitle colour becomes the title colour; a
// colour the user changed by hand stays. Returns the number of elements converted.
size_t SubtitlesToTitles(std::string& document, const common::ElementColours& colours,
                         common::Progress& progress);

// The reverse ("...converting titles to subtitles...").
size_t TitlesToSubtitles(std::string& document, const common::ElementColours& colours,
                         common::Progress& progress);

// Every title, or every subtitle, becomes a plain paragraph holding its text
// ("...converting titles to paragraphs...", "...converting subtitles to paragraphs...").
size_t TitlesToParagraphs(std::string& document, common::Progress& progress);
size_t SubtitlesToParagraphs(std::string& document, common::Progress& progress);

// Removes every page break "<HR>" ("...removing page breaks..."). Returns the number removed.
size_t RemovePageBreaks(std::string& document, common::Progress& progress);

// Builds the contents block anew ("...making new contents..."): an earlier block goes, every
// title gets its numbered anchor, and the block is placed by the rules of InsertContents.
// False, and the book unchanged, when the book has no title.
bool InsertBookContents(std::string& document, std::string_view bookCodePage, common::Progress& progress);

// Removes the contents block and the numbered anchors it put into the titles, so that the
// book is as it was before the contents was made. False when the book has no contents block.
bool DeleteBookContents(std::string& document, common::Progress& progress);

// Unwraps every note block, keeping its notes ("...removing note blocks..."). Without a note
// block shows "no note blocks - nothing to remove". Returns the number of blocks unwrapped.
size_t RemoveNoteBlocks(std::string& document, common::Progress& progress,
                        const common::Messages& messages);

enum class MoveDirection { Up, Down };

// Moves the element that follows kMovedElementMarker past its neighbour (the paragraph,
// element or page break before or after it) and removes the marker. Only a whole marked
// element can move: when the marker is missing or is not followed by one, the user is told
// "Only the complete Pagewright elements selected by the double click can be moved". An
// element never moves past the end-of-book marks (last paragraph, end of text, signature) or
// out of the element that holds it. Returns true when the element moved; the marker is gone
// from `document` in every case.
bool MoveElement(std::string& document, MoveDirection direction, const common::Messages& messages);

// The whole-book operations by the names the workshop page uses: "capitalisetitles",
// "capitalisesubtitles", "capitalisebookauthor", "capitalisebooktitle", "subtitlestotitles",
// "titlestosubtitles", "titlestoparagraphs", "subtitlestoparagraphs", "removepagebreaks",
// "insertcontents", "deletecontents", "removenoteblocks", "moveup", "movedown".
std::span<const std::string_view> BookOperationNames();

struct BookOperationResult {
  bool known = false;    // the name is one of BookOperationNames()
  bool changed = false;  // the document was changed
};

// Runs the named operation on `document` with the element colours and book code page of
// `settings`.
BookOperationResult ApplyBookOperation(std::string_view name, std::string& document,
                                       const common::Settings& settings, common::Progress& progress,
                                       const common::Messages& messages);

}  // namespace pw::markup
