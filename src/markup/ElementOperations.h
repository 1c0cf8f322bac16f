// Marking the editor's selection as an element of the book. Each operation takes the HTML of
// the selection as the editor gives it (tag names in any case, attribute values quoted or not)
// and returns the HTML that replaces it, written in the exact shapes of BookMarkup.h. An empty
// result means the selection holds no text: the book then stays as it is.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Settings.h"

namespace pw::markup {

// The text-author marker. A line of a block selection that holds it becomes the block's text
// author. It is a private-use character, so no book text carries it; the page may put it into
// a line to choose the author itself. The block operations also mark, on their own, every line
// that stood in a text-author element (so marking a marked block again keeps its author) and
// every right-aligned paragraph (the usual place of an author under a quotation).
inline constexpr std::string_view kTextAuthorMarker = "\xEE\x80\xA0";  // U+E020

enum class ElementKind {
  BookAuthor,
  BookTitle,
  Title,
  Subtitle,
  TextAuthor,
  Epigraph,
  Verse,
  Cite,
  Annotation,
};

// The text of a one-line element made from a selection: links and pictures dropped, inline
// tags (styles, fonts, spans) dropped where they stand, every other tag, line break and
// no-break space turned into a blank, blanks collapsed and trimmed. Escaped brackets ("&lt;",
// "&gt;") and other entities stay as they are. Empty when the selection holds no text.
std::string CleanOneLineText(std::string_view selectionHtml);

// Marks the selection as an element of `kind` with its colour from `colours`.
// One-line elements (book author, book title, title, subtitle, text author) hold the cleaned
// text. Blocks (epigraph, verse, cite, annotation) hold one plain paragraph per line of the
// selection (paragraph ends and breaks end lines; an empty line between two lines stays as one
// empty line), keeping links and the upright styles (bold, underline, sub- and superscript) but
// dropping italics and the marks of earlier elements, with the text-author lines last.
std::string FormatAsElement(std::string_view selectionHtml, ElementKind kind,
                            const common::ElementColours& colours);

// One plain paragraph per line of the selection, dialogue dashes written with a no-break space.
// Without `keepStyles` every tag goes, links and pictures included; with it the text styles,
// links and pictures stay (balanced within each paragraph) and only the element marks go.
std::string FormatAsParagraph(std::string_view selectionHtml, bool keepStyles);

// Makes a note block of the selected notes. The selection must hold bookmarks (note anchors)
// and start with one: otherwise the matching error is shown and the result is empty.
std::string FormatNoteBlock(std::string_view selectionHtml, const common::ElementColours& colours,
                            common::Progress& progress, const common::Messages& messages);

// Unwraps the note block held by the selection, leaving its notes as they are. Without a note
// block in the selection the instructions for selecting one are shown and the result is empty.
std::string RemoveNoteBlockMark(std::string_view selectionHtml, const common::Messages& messages);

// The selection operations by the names the workshop page uses: "bookauthor", "booktitle",
// "title", "subtitle", "textauthor", "epigraph", "verse", "cite", "annotation", "paragraph",
// "paragraphstyles", "noteblock", "removenoteblock", "bold", "italic", "underline", "sup",
// "sub", "upper", "lower", "proper", "removespaces".
std::span<const std::string_view> SelectionOperationNames();

struct SelectionOperationResult {
  bool known = false;  // the name is one of SelectionOperationNames()
  std::string html;    // the replacement; empty when the selection stays as it is
};

// Runs the named operation on the selection. An empty selection shows "Error. No text
// selected in the main Pagewright window" and changes nothing.
SelectionOperationResult ApplySelectionOperation(std::string_view name, std::string_view selectionHtml,
                                                 const common::Settings& settings,
                                                 common::Progress& progress,
                                                 const common::Messages& messages);

}  // namespace pw::markup
