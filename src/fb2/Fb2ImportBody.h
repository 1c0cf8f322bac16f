// The body conversion of the FB2 import: FB2 elements in the regular form of TidyFb2 become
// the elements of the html0 book, one named pass after another (tidy, sections, spacing, ids,
// links, poems, styles, bookmarks, titles, entities, leftovers, dialogs, paragraphs, verse
// lines, marked elements, cleaning), each one scan over the text.
#pragma once

#include <string>
#include <string_view>

#include "common/Progress.h"
#include "common/Settings.h"

namespace pw::fb2 {

struct Fb2BodyOptions {
  common::ElementColours colours;
  bool keepSections = false;  // write FbSection / FbSectionEnd marks for the sections
};

// Converts the content of the book's bodies (regular form, pictures already html0 pictures,
// text in UTF-8) into html0 text. The passes with a status text announce it on `progress`.
std::string ConvertFb2Body(std::string body, const Fb2BodyOptions& options, common::Progress& progress);

// The note bodies (their content, regular form): each note section becomes one paragraph that
// starts with the section's anchor and its title ("1 ..."), further paragraphs of the note
// follow it; the whole as the paragraphs of a note block. Empty when there are no notes.
std::string ConvertFb2Notes(std::string_view notes, const Fb2BodyOptions& options);

// Text of one line of FB2 inline markup (regular form) as it stands in a heading: tags
// removed, references replaced by their characters except the three markup characters.
std::string Fb2LineText(std::string_view inlineMarkup);

// Replaces named and numeric references by their characters, keeping "&amp;", "&lt;", "&gt;"
// and "&nbsp;" as references, as the html0 book keeps them.
std::string ReplaceFb2Entities(std::string_view text, common::Progress* progress = nullptr);

}  // namespace pw::fb2
