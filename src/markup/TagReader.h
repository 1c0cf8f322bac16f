// Reading the tags of HTML one at a time, for the converters that walk a document in one
// scan. Forgiving, as real documents need: names in any case, attribute values quoted with
// either quote or not at all, blanks around "=".
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pw::markup {

struct TagToken {
  std::string name;  // lower case, without the "/" of a closing tag
  bool closing = false;
  std::string_view attributes;  // everything between the name and ">"
};

// Reads the tag that starts at `pos` (a "<") and sets `end` after its ">". False when what
// stands there is text: no letter after "<" (or "</"), no ">" before the end, or a "<" outside
// quotes before the ">".
bool ReadTagToken(std::string_view text, size_t pos, TagToken& tag, size_t& end);

// The value of attribute `name` (lower case) in `attributes`, as written; empty when absent.
std::string TagAttribute(std::string_view attributes, std::string_view name);

// The attributes of a tag in their order: names in lower case, values as written.
std::vector<std::pair<std::string, std::string>> TagAttributes(std::string_view attributes);

// HTML as a browser writes it back (lower-case tag names, every value quoted) in the book's own
// spelling, which the element operations and readers search for: tag names in capitals,
// attribute names in lower case, values unquoted unless they hold a blank, a quote or ">".
// Text, comments and references stay as they are.
std::string ToBookSpelling(std::string_view html);

// Where the content of element `name`, starting at `pos`, ends: after its closing tag (found
// in any case), or the end of the text when it is never closed.
size_t SkipElementContent(std::string_view html, size_t pos, std::string_view name);

}  // namespace pw::markup
