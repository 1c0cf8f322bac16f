// Reading single tags and whole elements of HTML, for the operations that work on the editor's
// selection and on whole marked elements. Tag names are matched in any case, so the HTML that
// the browser editor serialises (lower case, quoted values) reads like the program's own.
#pragma once

#include <string>
#include <string_view>

namespace pw::markup {

struct HtmlTag {
  size_t begin = 0;     // position of '<'
  size_t end = 0;       // one past '>'
  std::string name;     // lower-case ASCII, without the '/' of a closing tag
  bool closing = false;
};

// Reads the tag that starts at `pos`. False when `text[pos]` is not '<' followed by a letter
// (or by '/' and a letter), as for comments, "a < b" in text, or a tag that never closes.
bool ReadTagAt(std::string_view text, size_t pos, HtmlTag& tag);

// Elements that have no closing tag: br, hr, img, meta, input, wbr, col, area, base, link.
bool IsVoidTag(std::string_view lowerName);

// The inline text styles: b, strong, i, em, u, s, strike, sub, sup.
bool IsStyleTag(std::string_view lowerName);

// The tag written with its name in upper case and the rest as it was ("<a href=x>" gives
// "<A href=x>"), the spelling the program's own writers use.
std::string UpperCaseTagName(std::string_view tagText);

// One past the end of the element whose opening tag starts at `open`: its matching closing
// tag, nested elements of the same name counted. A void element ends with its tag. npos when
// `open` is not an opening tag or the element never closes.
size_t ElementEnd(std::string_view text, size_t open);

// The start of the element whose closing tag starts at `close`, found by walking back and
// counting nested elements of the same name. npos when there is none.
size_t ElementStart(std::string_view text, size_t close);

// The first tag `lowerTag` ("<body", "</head") at or after `from`, its name in any letter case;
// npos when there is none.
size_t FindTagIgnoringCase(std::string_view text, std::string_view lowerTag, size_t from = 0);


// True for space, tab, CR and LF.
inline bool IsBlankByte(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace pw::markup
