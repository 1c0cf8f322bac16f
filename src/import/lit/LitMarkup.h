// The lit container keeps its HTML pages and its package file not as text but as a stream of
// tokens: text runs, and tags and attributes named by number. This turns such a stream back
// into markup text.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace pw::import::lit {

enum class MarkupKind {
  Html,     // a page of the book: HTML tag and attribute numbers
  Package,  // the package file: its own numbers for the package's elements
};

// Turns the token stream `tokens` into markup. Links and picture sources name components by
// their internal names; `resolve` gives the file name to write instead (it receives the name
// without the part after "#"). False when the stream is damaged; `out` then holds what was
// read before the damage.
bool DecodeLitMarkup(std::string_view tokens, MarkupKind kind, const std::function<std::string(std::string_view)>& resolve,
                     std::string& out);

}  // namespace pw::import::lit
