#include "corrector/ParagraphEnds.h"

#include "common/Text.h"
#include "common/Utf8.h"

namespace pw::corrector {
namespace {

constexpr std::string_view kParagraphOpen = "<DIV align=justify>";

}  // namespace

std::string ParagraphPlainText(std::string_view html, std::string_view indentMarker) {
  std::string text;
  text.reserve(html.size());
  bool inTag = false;
  for (const char c : html) {
    if (inTag) {
      inTag = c != '>';
      continue;
    }
    if (c == '<') inTag = true;
    else text += c;
  }
  if (indentMarker != "&nbsp;" && !indentMarker.empty()) common::ReplaceAllInPlace(text, indentMarker, " ");
  common::ReplaceAllInPlace(text, "&nbsp;", " ");
  common::ReplaceAllInPlace(text, "\u00A0", " ");
  return std::string(common::Trim(text));
}

void ParagraphEnds::Set(std::string_view text, common::CodePage bookCodePage) {
  typed = text;
  decoded = common::DecodeCharNotation(text, bookCodePage);
}

std::string ParagraphEnds::Preview(std::string_view text, common::CodePage bookCodePage) {
  const std::string decoded = common::DecodeCharNotation(text, bookCodePage);
  std::string out;
  for (size_t pos = 0; pos < decoded.size();) {
    if (!out.empty()) out += ' ';
    common::AppendUtf8(out, common::NextCodePoint(decoded, pos));
  }
  return out;
}

std::string ShortenForList(std::string_view text) {
  const size_t count = common::CodePointCount(text);
  if (count < 30) return std::string(text);
  // Byte offsets of the 15th character's end and of the last 15 characters' start.
  size_t head = 0;
  for (int i = 0; i < 15; ++i) common::NextCodePoint(text, head);
  size_t tail = 0;
  for (size_t i = 0; i < count - 15; ++i) common::NextCodePoint(text, tail);
  return std::string(text.substr(0, head)) + " /.../ " + std::string(text.substr(tail));
}

std::vector<SuspectParagraph> FindBadSentenceEnds(std::string_view book, std::string_view decodedEnds,
                                                  std::string_view indentMarker) {
  std::vector<SuspectParagraph> suspects;
  size_t index = 0;
  for (size_t open = book.find(kParagraphOpen); open != std::string_view::npos;
       open = book.find(kParagraphOpen, open + 1), ++index) {
    const size_t start = open + kParagraphOpen.size();
    size_t end = book.find("</DIV>", start);
    if (end == std::string_view::npos) end = book.size();
    const std::string text = ParagraphPlainText(book.substr(start, end - start), indentMarker);
    if (text.empty()) continue;
    const std::string last = common::LastChar(text);
    if (decodedEnds.find(last) != std::string_view::npos) continue;
    suspects.push_back({index, ShortenForList(text)});
  }
  return suspects;
}

}  // namespace pw::corrector
