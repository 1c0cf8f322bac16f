#include "import/KmlText.h"

#include "common/Text.h"
#include "import/Entities.h"

namespace pw::import {
namespace {

// The text of `xml` with every tag removed.
std::string WithoutTags(std::string_view xml) {
  std::string out;
  out.reserve(xml.size());
  bool inTag = false;
  for (const char c : xml) {
    if (inTag) {
      inTag = c != '>';
    } else if (c == '<') {
      inTag = true;
    } else {
      out += c == '\r' || c == '\n' || c == '\t' ? ' ' : c;
    }
  }
  return out;
}

// Where a tag that starts with `open` ("<para", "</book"), with attributes or not, stands at or
// after `from`: the position of its "<" and one past its ">".
bool FindTag(std::string_view xml, std::string_view open, size_t from, size_t& start, size_t& end) {
  for (start = common::FindAsciiCaseless(xml, open, from); start != std::string_view::npos;
       start = common::FindAsciiCaseless(xml, open, start + 1)) {
    const size_t after = start + open.size();
    if (after < xml.size() && (xml[after] == '>' || xml[after] == ' ' || xml[after] == '/' || xml[after] == '\t' ||
                               xml[after] == '\r' || xml[after] == '\n')) {
      end = xml.find('>', after);
      if (end == std::string_view::npos) return false;
      ++end;
      return true;
    }
  }
  return false;
}

}  // namespace

std::string ExtractKmlText(std::string_view xml, common::Progress& progress) {
  progress.Status("...extracting text...");
  size_t bookStart = 0;
  size_t bookEnd = 0;
  if (FindTag(xml, "<book", 0, bookStart, bookEnd)) {
    size_t closeStart = 0;
    size_t closeEnd = 0;
    const size_t stop = FindTag(xml, "</book", bookEnd, closeStart, closeEnd) ? closeStart : xml.size();
    xml = xml.substr(bookEnd, stop - bookEnd);
  }
  std::string text;
  text.reserve(xml.size());
  size_t start = 0;
  size_t end = 0;
  size_t from = 0;
  while (FindTag(xml, "<para", from, start, end)) {
    if (xml[end - 2] == '/') {  // "<para/>": an empty paragraph
      from = end;
      continue;
    }
    size_t closeStart = 0;
    size_t closeEnd = 0;
    const bool closed = FindTag(xml, "</para", end, closeStart, closeEnd);
    const size_t stop = closed ? closeStart : xml.size();
    std::string paragraph = ReplaceHtmlEntitiesUtf8(WithoutTags(xml.substr(end, stop - end)));
    const std::string_view trimmed = common::Trim(paragraph);
    if (!trimmed.empty()) {
      text += trimmed;
      text += "\r\n";
    }
    from = closed ? closeEnd : xml.size();
  }
  return text;
}

}  // namespace pw::import
