#include "markup/Normalise.h"

#include <array>
#include <charconv>

#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/TagPass.h"

namespace pw::markup {
namespace {

// The value of a CSS property inside a style attribute ("FONT-WEIGHT:bold; ..."), trimmed.
bool StyleProperty(std::string_view style, std::string_view property, std::string& value) {
  const size_t at = common::FindAsciiCaseless(style, property);
  if (at == std::string_view::npos) return false;
  size_t i = at + property.size();
  while (i < style.size() && (style[i] == ' ' || style[i] == '\t')) ++i;
  if (i >= style.size() || style[i] != ':') return false;
  ++i;
  const size_t end = style.find(';', i);
  value.assign(common::Trim(style.substr(i, end == std::string_view::npos ? end : end - i)));
  return !value.empty();
}

// Where the body tag starts: "<BODY" as written by the program, else any case of it.
size_t FindBodyTag(std::string_view document) {
  const size_t exact = document.find("<BODY");
  if (exact != std::string_view::npos) return exact;
  size_t at = common::FindAsciiCaseless(document, "<body");
  while (at != std::string_view::npos) {
    const char next = at + 5 < document.size() ? document[at + 5] : '>';
    if (next == '>' || next == ' ' || next == '\t' || next == '\r' || next == '\n') return at;
    at = common::FindAsciiCaseless(document, "<body", at + 1);
  }
  return std::string_view::npos;
}

// A document without a body tag gets one: after the head (or the "<HTML>" tag), else at the
// very start, and a closing tag before "</HTML>" or at the end.
void InsertBodyTag(std::string& document, const std::string& bodyTag) {
  size_t at = common::FindAsciiCaseless(document, "</head>");
  if (at != std::string::npos) {
    at += 7;
  } else if ((at = common::FindAsciiCaseless(document, "<html")) != std::string::npos) {
    const size_t end = document.find('>', at);
    at = end == std::string::npos ? 0 : end + 1;
  } else {
    at = 0;
  }
  document.insert(at, bodyTag);
  if (common::FindAsciiCaseless(document, "</body>") == std::string::npos) {
    const size_t htmlEnd = common::FindAsciiCaseless(document, "</html>");
    document.insert(htmlEnd == std::string::npos ? document.size() : htmlEnd, "</BODY>");
  }
}

}  // namespace

std::string BaseFontSizeName(std::string_view size) {
  static constexpr std::array<std::string_view, 7> kNames{
      "xx-small", "x-small", "small", "medium", "large", "x-large", "xx-large"};
  size = common::Trim(size);
  int value = 0;
  const auto [end, error] = std::from_chars(size.data(), size.data() + size.size(), value);
  if (error != std::errc() || end != size.data() + size.size()) return "small";
  if (value < 1) return "xx-small";
  if (value > 7) return "small";
  return std::string(kNames[static_cast<size_t>(value - 1)]);
}

void NormaliseBookHeader(std::string& document, bool keepSections) {
  BodyStyle style;
  style.bgColor = "#ffffff";

  // Weight and colours come from the body tag; margin and line height are always the book's own.
  // The body's own size and family count too, so a book normalised once (no BASEFONT left)
  // keeps its font when it is loaded again; a BASEFONT, where there is one, wins.
  const size_t body = FindBodyTag(document);
  size_t bodyEnd = std::string::npos;
  if (body != std::string::npos) {
    bodyEnd = TagEnd(document, body);
    const std::string_view tag =
        std::string_view(document).substr(body, bodyEnd == std::string::npos ? bodyEnd : bodyEnd - body);
    std::string value;
    if (TagAttribute(tag, "style", value)) {
      std::string property;
      if (StyleProperty(value, "FONT-WEIGHT", property)) style.fontWeight = property;
      if (StyleProperty(value, "FONT-SIZE", property)) style.fontSize = property;
      if (StyleProperty(value, "FONT-FAMILY", property)) style.fontFamily = property;
    }
    if (TagAttribute(tag, "text", value) && !value.empty()) style.textColor = value;
    if (TagAttribute(tag, "bgColor", value) && !value.empty()) style.bgColor = value;
  }

  // Font size and face come from a BASEFONT tag, which the older books carry.
  if (const size_t baseFont = document.find("<BASEFONT"); baseFont != std::string::npos) {
    const size_t end = TagEnd(document, baseFont);
    const std::string_view tag =
        std::string_view(document).substr(baseFont, end == std::string::npos ? end : end - baseFont);
    std::string value;
    if (TagAttribute(tag, "size", value)) style.fontSize = BaseFontSizeName(value);
    if (TagAttribute(tag, "face", value) && !value.empty()) style.fontFamily = value;
  }

  const std::string bodyTag = MakeBodyTag(style, false, false, true);
  if (body != std::string::npos && bodyEnd != std::string::npos) {
    document.replace(body, bodyEnd - body, bodyTag);
  } else {
    InsertBodyTag(document, bodyTag);
  }

  // The remaining steps are independent rewrites of distinct tags, done in one pass.
  static constexpr TagRule kWithSections[] = {
      {.match = "<BASEFONT", .replacement = "", .caseless = true, .toTagEnd = true},
      {.match = "</BASEFONT>", .replacement = "", .caseless = true},
      {.match = "<BR>", .replacement = kEmptyIndentedParagraph, .caseless = true},
      {.match = "<DIV> </DIV>", .replacement = "<DIV></DIV>"},
      {.match = "id=former_title", .replacement = "id=title"},
  };
  static constexpr TagRule kWithoutSections[] = {
      kWithSections[0],
      kWithSections[1],
      kWithSections[2],
      kWithSections[3],
      kWithSections[4],
      {.match = "<SPAN id=FbSection>", .replacement = "", .until = "</SPAN>"},
      {.match = "<SPAN id=FbSectionEnd>", .replacement = "", .until = "</SPAN>"},
  };
  if (keepSections) ApplyTagRules(document, kWithSections);
  else ApplyTagRules(document, kWithoutSections);

  RemoveLeadingEmptyDiv(document, 400);
}

bool RemoveLeadingEmptyDiv(std::string& document, size_t limit) {
  static constexpr std::string_view kEmptyDiv = "<DIV></DIV>";
  if (limit == 0) limit = 400;
  const std::string_view head = std::string_view(document).substr(0, limit + kEmptyDiv.size() - 1);
  const size_t at = head.find(kEmptyDiv);
  if (at == std::string_view::npos || at >= limit) return false;
  document.erase(at, kEmptyDiv.size());
  return true;
}

}  // namespace pw::markup
