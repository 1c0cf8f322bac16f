// Notes of a text book. Library texts carry notes in two layouts, often both at once:
//   inline, where the reference stands: "... mon cher[10 - Дорогой друг (фр.).] ..."
//   as a closing list under a heading ("Примечания", "Сноски", "Notes"): "1", its text, "2",
//   its text, ... (the number alone on its line or in front of the note's text).
// Both become note links in the text and one note block at the end, in the book's shapes: a
// link "<A href=#nN>[N]</A>" where the reference was, and a block paragraph per note that starts
// with its anchor "<A id=nN name=nN></A>" and its number. With a closing list, a bare "[N]" in
// the text before it is taken as a reference too.
//
// The pass works on the work text of the text converter (CRLF lines, text already escaped): a
// link is written with the kept-tag marks, so that its line stays a text line for the later
// passes; the note block is one markup line at the end. The closing list's numbers are inside
// that block, so they are never taken for headings. A list of numbered lines that does not
// follow a notes heading (chapters 1, 2, 3 with text between) is left alone.
#pragma once

#include <string>
#include <string_view>

namespace pw::import {

struct TextNotesResult {
  size_t notes = 0;       // notes in the block
  size_t references = 0;  // links made in the text
};

// Rewrites `work` in place; `noteColour` is the note block's colour.
TextNotesResult MarkTextNotes(std::string& work, std::string_view noteColour);

}  // namespace pw::import
