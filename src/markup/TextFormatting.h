// Formatting the text of the editor's selection: text styles, letter case and spacing. Only
// the text changes; tags, their attributes and entities stay as they are, so the structure of
// the selection (paragraphs, elements, links) survives.
#pragma once

#include <string>
#include <string_view>

namespace pw::markup {

enum class TextFormat {
  Bold,
  Italic,
  Underline,
  Superscript,
  Subscript,
  UpperCase,
  LowerCase,
  ProperCase,
  RemoveSpaces,
};

// Applies `format` to the text of the selection and returns the new HTML; empty when the
// selection holds no text (then nothing changes).
std::string FormatSelectionText(std::string_view selectionHtml, TextFormat format);

// Puts the text of `html` into the style `tagName` ("B", "I", "U", "SUP", "SUB"). Every run of
// text between paragraph or element boundaries is wrapped once, from its first to its last
// visible character, so the result stays well nested: a run whose inner tags would not nest
// inside the new tag has each of its text pieces wrapped instead.
std::string WrapTextInStyle(std::string_view html, std::string_view tagName);

enum class TextCase { Upper, Lower, Proper };

// Changes the letter case of the text of `html` (Unicode case mapping). Proper case puts the
// first letter of every word in title case and the rest in lower case: an apostrophe between
// letters stays inside its word ("don't" gives "Don't", "o'neil" gives "O'neil"), a hyphen
// starts a new word ("jean-paul" gives "Jean-Paul"), a word that starts with a digit has no
// capital ("2nd"), and inline tags inside a word ("Hel<B>lo</B>") do not split it.
std::string ChangeTextCase(std::string_view html, TextCase textCase);

// Closes up letter-spaced text: a single blank between two characters is removed and a run of
// two or more blanks becomes one blank, so "G l a d   t i d i n g s" gives "Glad tidings".
// No-break spaces (the paragraph indent, the dialogue dash) stay.
std::string RemoveSpaces(std::string_view html);

}  // namespace pw::markup
