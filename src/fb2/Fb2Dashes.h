// The dashes and ellipses of an exported book, one line of FB2 inline markup at a time.
#pragma once

#include <string>
#include <string_view>

namespace pw::fb2 {

enum class DashStyle { Short, Middle, Long };

// "short", "middle" or "long"; anything else is "short".
DashStyle ParseDashStyle(std::string_view name);

// Normalises the dashes of a paragraph (or, with `verseLine`, a verse line): no-break spaces
// become blanks and every dash-like character a hyphen; then "..." becomes an ellipsis, a
// spaced hyphen becomes the style's dash, and a line that opens with a hyphen (also behind
// opening strong and emphasis tags) opens with the dash and a no-break space. A verse line
// ending " -" ends with the dash.
std::string ChangeDashes(std::string_view lineXml, DashStyle style, bool verseLine);

}  // namespace pw::fb2
