// Book text of the html0 reader as XML text: references decoded, blanks folded, everything
// escaped for an FB2 file.
#pragma once

#include <string>
#include <string_view>

namespace pw::fb2 {

// Turns a run of book text (entities, blanks, any characters) into escaped XML text: entities
// are decoded, line ends and runs of blanks become one blank, control characters are dropped.
std::string BookTextToXml(std::string_view text);

// Appends book text to `out` as XML text; `pendingBlank` carries a folded blank across calls.
void AppendBookText(std::string& out, std::string_view text, bool& pendingBlank);

// The plain text of an attribute value ("&amp;" and the like decoded, no markup).
std::string AttributeText(std::string_view value);

}  // namespace pw::fb2
