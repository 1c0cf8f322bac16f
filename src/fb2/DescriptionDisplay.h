// The description as the reader of a book sees it: an html0 block with the heading "Title Info",
// one line per field with a green label, and the annotation, kept in the book folder as
// "Description.html0" and reached from the link "Fiction Book Description" at the top of the book.
#pragma once

#include <string>

#include "common/Settings.h"
#include "fb2/Description.h"

namespace pw::fb2 {

inline constexpr std::string_view kDescriptionLabelColour = "#008000";
inline constexpr std::string_view kDescriptionHeadingColour = "#0000FF";

// The display block, enclosed in "<SPAN id=Fb2Description>" ... "</SPAN>". Its heading carries
// the anchor "Fiction_Book_Description" named "Fiction_Book_Description_Name". Fields that are
// empty are left out; the sequence also stands as a subtitle ("name - number") under the title.
std::string MakeDescriptionDisplay(const Fb2Description& description, const common::ElementColours& colours);

}  // namespace pw::fb2
