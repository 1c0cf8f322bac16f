// The book as the reader shows it: the reading fonts and colours laid over the working
// document (the editor's own colours and fonts stay in the book untouched), the zoom steps,
// and the clean-up of the temporary bookmark.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "common/Settings.h"
#include "reader/ReadingFonts.h"

namespace pw::reader {

struct ReadingColours {
  std::string text;
  std::string background;
  common::ElementColours elements;
};

// The colours the reader uses: the settings' reading colours, or the night scheme (light
// text on a dark page, element colours that stay readable on it) when that is on.
ReadingColours ColoursFor(const common::Settings& settings);
ReadingColours NightColours();

// The style sheet of the reading view: the page colours, and per element kind its font
// (face with its free stand-ins, size, weight) and its colour, which win over the colours
// written in the book's own FONT tags.
std::string ReadingStyleSheet(const FontTable& fonts, const ReadingColours& colours);

// `document` ready for the reading view: the style sheet in its head and the body's content
// inside SelectFontNameAddSize of the text font. The book's markup is otherwise unchanged.
std::string ReadingDocument(std::string_view document, const FontTable& fonts, const ReadingColours& colours);

// The zoom steps offered, in percent, ascending; 100 is one of them.
std::span<const int> ZoomSteps();
// The step `direction` steps (+1 larger, -1 smaller) from `percent`; a value between steps
// goes to the next step that way; the ends stay.
int StepZoom(int percent, int direction);

// Removes every temporary bookmark anchor from `document`; the count removed.
size_t RemoveTemporaryBookmarks(std::string& document);

}  // namespace pw::reader
