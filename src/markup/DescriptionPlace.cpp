#include "markup/DescriptionPlace.h"

#include "common/Files.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"

namespace pw::markup {

void PlaceTextEndMark(std::string& document) {
  if (document.find(kTextEnd) != std::string::npos) return;
  size_t at = common::FindAsciiCaseless(document, "</BASEFONT>");
  if (at == std::string::npos) at = common::FindAsciiCaseless(document, "</BODY>");
  if (at == std::string::npos) at = common::FindAsciiCaseless(document, "</HTML>");
  if (at == std::string::npos) at = document.size();
  document.insert(at, kTextEnd);
}

std::optional<std::string> CutFb2Description(std::string& document) {
  const size_t open = document.find(kFb2DescriptionOpen);
  if (open == std::string::npos) return std::nullopt;
  const size_t innerStart = open + kFb2DescriptionOpen.size();
  const size_t close = document.find(kFb2DescriptionClose, innerStart);
  if (close == std::string::npos) return std::nullopt;
  std::string inner = document.substr(innerStart, close - innerStart);
  document.erase(open, close + kFb2DescriptionClose.size() - open);
  return inner;
}

std::optional<std::string> CutDescriptionDisplay(std::string& document) {
  static constexpr std::string_view kSpanOpen = "<SPAN";
  static constexpr std::string_view kSpanClose = "</SPAN>";
  const size_t open = document.find(kDescriptionDisplayOpen);
  if (open == std::string::npos) return std::nullopt;
  // The display block holds spans of its own (the annotation), so count the nesting.
  size_t depth = 1;
  size_t scan = open + kDescriptionDisplayOpen.size();
  size_t nextOpen = document.find(kSpanOpen, scan);
  while (true) {
    const size_t nextClose = document.find(kSpanClose, scan);
    if (nextClose == std::string::npos) return std::nullopt;
    while (nextOpen != std::string::npos && nextOpen < scan) nextOpen = document.find(kSpanOpen, scan);
    if (nextOpen != std::string::npos && nextOpen < nextClose) {
      ++depth;
      scan = nextOpen + kSpanOpen.size();
      continue;
    }
    scan = nextClose + kSpanClose.size();
    if (--depth == 0) break;
  }
  std::string block = document.substr(open, scan - open);
  document.erase(open, scan - open);
  return block;
}

void AttachFb2Description(std::string& document, std::string_view description) {
  CutFb2Description(document);
  PlaceTextEndMark(document);
  const size_t at = document.find(kTextEnd) + kTextEnd.size();
  std::string block;
  block.reserve(description.size() + 40);
  block += kFb2DescriptionOpen;
  block += description;
  block += kFb2DescriptionClose;
  document.insert(at, block);
}

bool SplitOutDescription(std::string& document, const std::filesystem::path& workFolder) {
  std::string rest = document;
  const std::optional<std::string> fb2 = CutFb2Description(rest);
  const std::optional<std::string> display = CutDescriptionDisplay(rest);
  if (fb2 && !common::WriteFileAtomic(workFolder / kDescriptionFb2File, *fb2)) return false;
  if (display && !common::WriteFileAtomic(workFolder / kDescriptionHtmlFile, *display)) return false;
  if (fb2 || display) document = std::move(rest);
  return true;
}

}  // namespace pw::markup
