#include "fb2/Html0Text.h"

#include <optional>

#include "common/Text.h"
#include "common/Utf8.h"
#include "common/TextScan.h"
#include "import/Entities.h"

namespace pw::fb2 {

namespace {

void AppendEscaped(std::string& out, char32_t cp) {
  switch (cp) {
    case '&': out += "&amp;"; return;
    case '<': out += "&lt;"; return;
    case '>': out += "&gt;"; return;
    default: break;
  }
  // XML 1.0 has no place for control characters, the non-characters U+FFFE and U+FFFF, or the
  // private-use protection marks of the editor.
  if (cp < 0x20 || cp == 0x7F || cp == 0xFFFE || cp == 0xFFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return;
  if (cp == 0xE000 || cp == 0xE001) {
    out += cp == 0xE000 ? "&lt;" : "&gt;";
    return;
  }
  common::AppendUtf8(out, cp);
}

// The character a reference stands for; nullopt when `ref` ("&...;") is no known reference.
std::optional<std::string> DecodeReference(std::string_view ref) {
  if (ref == "&nbsp;") return std::string("\xC2\xA0");
  if (ref == "&lt;") return std::string("<");
  if (ref == "&gt;") return std::string(">");
  if (ref == "&amp;") return std::string("&");
  if (ref == "&quot;") return std::string("\"");
  if (ref == "&apos;") return std::string("'");
  if (ref == "&shy;") return std::string("\xC2\xAD");
  const std::string decoded = import::ReplaceHtmlEntitiesUtf8(ref);
  if (decoded == ref) return std::nullopt;
  // The numeric forms of "<" and ">" come back escaped.
  if (decoded == "&lt;") return std::string("<");
  if (decoded == "&gt;") return std::string(">");
  return decoded;
}

}  // namespace

// Appends book text to `out` as XML text: references decoded, white space folded into single
// blanks (`pendingBlank` carries a blank across calls), everything escaped.
void AppendBookText(std::string& out, std::string_view text, bool& pendingBlank) {
  for (size_t pos = 0; pos < text.size();) {
    const char c = text[pos];
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      pendingBlank = true;
      ++pos;
      continue;
    }
    std::string decoded;
    if (c == '&') {
      const size_t semi = common::FindWithin(text, ';', pos + 1, 12);
      if (semi != std::string_view::npos) {
        if (auto ch = DecodeReference(text.substr(pos, semi - pos + 1))) {
          decoded = std::move(*ch);
          pos = semi + 1;
        }
      }
    }
    if (decoded.empty()) {
      const size_t start = pos;
      common::NextCodePoint(text, pos);
      decoded.assign(text.substr(start, pos - start));
    }
    if (pendingBlank) {
      out.push_back(' ');
      pendingBlank = false;
    }
    for (size_t i = 0; i < decoded.size();) AppendEscaped(out, common::NextCodePoint(decoded, i));
  }
}

// The plain text of an attribute value ("&amp;" and the like decoded, no markup).
std::string AttributeText(std::string_view value) {
  std::string xml;
  bool blank = false;
  AppendBookText(xml, value, blank);
  // Back from XML to plain characters.
  std::string out = common::ReplaceAll(xml, "&lt;", "<");
  out = common::ReplaceAll(out, "&gt;", ">");
  return common::ReplaceAll(out, "&amp;", "&");
}

std::string BookTextToXml(std::string_view text) {
  std::string out;
  bool blank = false;
  AppendBookText(out, text, blank);
  return out;
}

}  // namespace pw::fb2
