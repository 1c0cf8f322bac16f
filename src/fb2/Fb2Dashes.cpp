#include "fb2/Fb2Dashes.h"

#include <array>

#include "common/Text.h"
#include "common/Utf8.h"

namespace pw::fb2 {

namespace {

constexpr std::string_view kNoBreakSpace = "\xC2\xA0";

std::string_view DashOf(DashStyle style) {
  switch (style) {
    case DashStyle::Middle: return "\xE2\x80\x93";  // en dash
    case DashStyle::Long: return "\xE2\x80\x94";    // em dash
    case DashStyle::Short: break;
  }
  return "-";
}

}  // namespace

DashStyle ParseDashStyle(std::string_view name) {
  if (name == "middle") return DashStyle::Middle;
  if (name == "long") return DashStyle::Long;
  return DashStyle::Short;
}

std::string ChangeDashes(std::string_view lineXml, DashStyle style, bool verseLine) {
  const std::string_view dash = DashOf(style);
  // One pass: no-break spaces to blanks, U+2011 to U+2015 to hyphens, "..." to an ellipsis,
  // and blank runs folded.
  std::string text;
  text.reserve(lineXml.size() + 8);
  for (size_t pos = 0; pos < lineXml.size();) {
    const size_t start = pos;
    const char32_t cp = common::NextCodePoint(lineXml, pos);
    if (cp == 0xA0 || cp == ' ') {
      if (!text.empty() && text.back() != ' ') text.push_back(' ');
      continue;
    }
    if (cp >= 0x2011 && cp <= 0x2015) {
      text.push_back('-');
      continue;
    }
    if (cp == '.' && lineXml.compare(start, 3, "...") == 0) {
      text += "\xE2\x80\xA6";
      pos = start + 3;
      continue;
    }
    text.append(lineXml, start, pos - start);
  }
  while (!text.empty() && text.back() == ' ') text.pop_back();

  std::string out;
  out.reserve(text.size() + 16);
  size_t pos = 0;
  // Opening tags in front of a leading hyphen.
  static constexpr std::array<std::string_view, 4> kOpeners = {"<strong><emphasis>", "<emphasis><strong>",
                                                               "<strong>", "<emphasis>"};
  for (const auto opener : kOpeners) {
    if (text.compare(0, opener.size(), opener) == 0) {
      out += opener;
      pos = opener.size();
      break;
    }
  }
  if (pos < text.size() && text[pos] == '-' && text.compare(pos, 2, "--") != 0) {
    out += dash;
    out += kNoBreakSpace;
    pos += text.compare(pos, 2, "- ") == 0 ? 2 : 1;
  }
  // Spaced hyphens.
  while (pos < text.size()) {
    const size_t hit = text.find(" - ", pos);
    if (hit == std::string::npos) break;
    out.append(text, pos, hit - pos);
    out += ' ';
    out += dash;
    pos = hit + 2;  // the blank after the hyphen is kept and may start the next " - "
  }
  out.append(text, pos);
  if (verseLine && out.size() >= 2 && out.ends_with(" -")) {
    out.resize(out.size() - 1);
    out += dash;
  }
  return out;
}

}  // namespace pw::fb2
