// Checks of an FB2 file beyond its schema: what a reader needs to find its way in a book
// (links that lead somewhere, unique ids, pictures that exist) and what the schema's content
// models cannot express. Every finding is listed, not only the first.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::fb2 {

struct Fb2Finding {
  long line = 0;  // 0 when the finding has no single place
  std::string message;
  // For findings on the order of child elements: the element the finding is about, so that a
  // schema error on the same element and line is not told twice.
  std::string element = {};
};

// Parses `xml` (an FB2 document) and lists: XML errors; duplicate ids and ids that are not
// XML names; links "#id" that lead nowhere; binaries that nothing shows and pictures without
// their binary; every child element out of order or out of place (sections holding both text
// and sub-sections, sections starting with two pictures, empty lines inside a paragraph...);
// date values that are not ISO dates; a version that is not a number. An empty list means the
// book passed.
std::vector<Fb2Finding> CheckFb2Structure(std::string_view xml);

}  // namespace pw::fb2
