#include "markup/Signature.h"

#include <array>

#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/TagPass.h"

namespace pw::markup {
namespace {

constexpr std::string_view kCentred = "<DIV align=center>";

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Start of the "<BR>" (and blanks) written right before `at`, or `at` itself.
size_t StartOfLeadingBreak(std::string_view text, size_t at) {
  size_t i = at;
  while (i > 0 && IsBlank(text[i - 1])) --i;
  if (i >= 4 && common::AsciiLower(text.substr(i - 4, 4)) == "<br>") return i - 4;
  return at;
}

// End of a centred line starting at `at` (after blanks), or `at` when none starts there.
size_t EndOfCentredLine(std::string_view text, size_t at) {
  size_t i = at;
  while (i < text.size() && IsBlank(text[i])) ++i;
  if (text.substr(i, kCentred.size()) != kCentred) return at;
  const size_t close = text.find(kDivEnd, i);
  return close == std::string_view::npos ? at : close + kDivEnd.size();
}

}  // namespace

bool RemoveSignature(std::string& document) {
  const std::string_view text(document);
  if (const size_t open = text.find(kSignatureOpen); open != std::string_view::npos) {
    const size_t close = text.find("</SPAN>", open);
    if (close != std::string_view::npos) {
      const size_t from = StartOfLeadingBreak(text, open);
      document.erase(from, close + 7 - from);
      return true;
    }
  }
  static constexpr std::array<std::string_view, 3> kSentences{
      "<DIV align=center>This file was created with Pagewright program",
      "<DIV align=center>This file was created", "This file was created with Pagewright program"};
  for (std::string_view sentence : kSentences) {
    const size_t at = text.find(sentence);
    if (at == std::string_view::npos) continue;
    // The block is the sentence's centred line and the contact and date lines after it.
    size_t from = at;
    if (!common::StartsWith(sentence, kCentred)) {
      const size_t div = text.rfind(kCentred, at);
      if (div != std::string_view::npos && text.find('<', div + kCentred.size()) >= at) from = div;
    }
    size_t end = text.find(kDivEnd, at);
    end = end == std::string_view::npos ? at + sentence.size() : end + kDivEnd.size();
    for (int line = 0; line < 2; ++line) end = EndOfCentredLine(text, end);
    from = StartOfLeadingBreak(text, from);
    document.erase(from, end - from);
    return true;
  }
  return false;
}

std::string MakeSignatureBlock(std::string_view dateText, bool withLineEnds) {
  const std::string_view separator = withLineEnds ? kCrLf : std::string_view();
  std::string out;
  out += "<BR>";
  out += kSignatureOpen;
  out += separator;
  out += kCentred;
  out += kSignatureSentence;
  out += kDivEnd;
  out += separator;
  out += kCentred;
  out += kSignatureContact;
  out += kDivEnd;
  out += separator;
  out += kCentred;
  out += dateText;
  out += kDivEnd;
  out += separator;
  out += "</SPAN>";
  out += separator;
  out += kLastParagraph;
  return out;
}

void AddSignature(std::string& document, std::string_view dateText, bool withLineEnds) {
  // The block brings its own last-paragraph mark, which must stay the body's last element.
  ApplyTagRule(document, TagRule{.match = kLastParagraph, .replacement = ""});
  size_t at = document.find(kTextEnd);
  if (at == std::string::npos) at = common::FindAsciiCaseless(document, "</BODY>");
  if (at == std::string::npos) at = common::FindAsciiCaseless(document, "</HTML>");
  if (at == std::string::npos) at = document.size();
  std::string block = MakeSignatureBlock(dateText, withLineEnds);
  if (withLineEnds) block += kCrLf;
  document.insert(at, block);
}

}  // namespace pw::markup
