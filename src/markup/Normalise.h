// Load normalisation: what every document goes through before the editor gets it, and what
// every converter's output goes through. It leaves one body tag with the book's font and
// colours, no BASEFONT, no bare line breaks, and no section marks unless section mode is on.
#pragma once

#include <string>

namespace pw::markup {

// Normalises `document` in place. With `keepSections` the FbSection and FbSectionEnd marks stay.
void NormaliseBookHeader(std::string& document, bool keepSections);

// Removes the first "<DIV></DIV>" when it starts before byte `limit` (0 means 400): the empty
// block an HTML engine leaves at the top of a document. Later empty blocks stay.
// Returns true when one was removed.
bool RemoveLeadingEmptyDiv(std::string& document, size_t limit = 400);

// The CSS size name of a BASEFONT size ("1" to "7"); below 1 "xx-small", anything else "small".
std::string BaseFontSizeName(std::string_view size);

}  // namespace pw::markup
