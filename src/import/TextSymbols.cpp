#include "import/TextSymbols.h"

#include "common/Text.h"
#include "import/TextWriters.h"

namespace pw::import {

std::string NormaliseLineEnds(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 32);
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t at = text.find_first_of("\r\n", pos);
    if (at == std::string_view::npos) {
      out.append(text, pos, text.size() - pos);
      break;
    }
    out.append(text, pos, at - pos);
    out += "\r\n";
    pos = at + 1;
    if (text[at] == '\r' && pos < text.size() && text[pos] == '\n') ++pos;
  }
  return out;
}

void RemoveTcrLeftovers(std::string& text) {
  const size_t ppl = text.find("PPL");
  if (ppl == 0 || ppl == 1) text.erase(ppl, 3);
  common::ReplaceFirst(text, "<* >", "");
}

void RemoveBadSymbols(std::string& text) {
  size_t kept = 0;
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 32 && code != 9 && code != 10 && code != 13) continue;
    text[kept++] = c;
  }
  text.resize(kept);
}

void ReplaceNonStandardSymbols(std::string& text) {
  common::ReplaceAllInPlace(text, " *", "*");
  common::ReplaceAllInPlace(text, "\u00A0", " ");
  common::ReplaceAllInPlace(text, "\u2013", "-");
  common::ReplaceAllInPlace(text, "\u2014", "-");
  common::ReplaceAllInPlace(text, "\u00AD", "");
  common::ReplaceAllInPlace(text, "==", "-");
  common::ReplaceAllInPlace(text, "\t", " ");
}

void ReplaceDashes(std::string& text) {
  common::ReplaceAllInPlace(text, "\u2013", "-");
  common::ReplaceAllInPlace(text, "\u2014", "-");
  common::ReplaceAllInPlace(text, "--", "-");
  common::ReplaceAllInPlace(text, std::string_view(&kEndMark, 1), "");
}

void AppendEndSentinel(std::string& text) {
  text += "\r\n";
  text += kEndMark;
  text += "\r\n";
  text += kEndSentinel;
}

}  // namespace pw::import
