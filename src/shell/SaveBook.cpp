#include "shell/SaveBook.h"

#include <chrono>
#include <ctime>
#include <set>

#include "common/Files.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/DescriptionPlace.h"
#include "markup/Signature.h"
#include "markup/TagPass.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

// No-break spaces become entities; a line end before a blank folds into the blank.
constexpr markup::TagRule kSpaceRules[] = {
    {.match = "\xC2\xA0", .replacement = "&nbsp;"},
    {.match = "\r\n ", .replacement = " "},
    {.match = "\n ", .replacement = " "},
};

// The document's own frame and the editor's link colours go; emphasis gets its short tags.
constexpr markup::TagRule kFrameRules[] = {
    {.match = "<!DOCTYPE", .replacement = "", .caseless = true, .toTagEnd = true},
    {.match = "<BOOKREADER", .replacement = "", .caseless = true, .toTagEnd = true},
    {.match = "<HTML", .replacement = "", .caseless = true, .toTagEnd = true},
    {.match = "</HTML", .replacement = "", .caseless = true, .toTagEnd = true},
    {.match = "<BODY", .replacement = "", .caseless = true, .toTagEnd = true},
    {.match = "</BODY>", .replacement = "", .caseless = true},
    {.match = "<META", .replacement = "", .caseless = true, .toTagEnd = true},
    {.match = "<BASEFONT", .replacement = "", .caseless = true, .toTagEnd = true},
    {.match = "</BASEFONT>", .replacement = "", .caseless = true},
    {.match = "style=\"COLOR: blue\" href=", .replacement = "href="},
    {.match = "style=\"COLOR: brown\" href=", .replacement = "href="},
    {.match = "<EM>", .replacement = "<I>", .caseless = true},
    {.match = "</EM>", .replacement = "</I>", .caseless = true},
    {.match = "<STRONG>", .replacement = "<B>", .caseless = true},
    {.match = "</STRONG>", .replacement = "</B>", .caseless = true},
};

// The text of the first element opened by `open` up to `close`, tags removed.
std::string ElementText(std::string_view document, std::string_view open, std::string_view close) {
  const size_t at = document.find(open);
  if (at == std::string_view::npos) return {};
  const size_t end = document.find(close, at);
  if (end == std::string_view::npos) return {};
  const size_t innerStart = document.find('>', at);
  if (innerStart == std::string_view::npos || innerStart > end) return {};
  return markup::OneLineText(document.substr(innerStart + 1, end - innerStart - 1));
}

}  // namespace

std::string_view SaveCaption(const common::Settings& settings) {
  return settings.multiLanguage ? "Pagewright \"Save HTML (MultiLanguage)\"" : "Pagewright \"Save HTML\"";
}

std::string MakeSavedDocument(std::string_view document, const common::Settings& settings,
                              std::string_view dateText) {
  std::string text(document);
  markup::ApplyTagRules(text, kSpaceRules);
  markup::ApplyTagRules(text, kFrameRules);

  markup::BodyStyle style = markup::BodyStyleFromSettings(settings);
  style.fontWeight = "normal";
  style.marginBottom = "245px";
  std::string saved = markup::MakeBodyTag(style, true, false, false);
  saved += markup::kCrLf;
  // The removed frame leaves its line ends behind; dropping them keeps repeated saves equal.
  saved += common::Trim(text);
  if (settings.signBooks) {
    markup::RemoveSignature(saved);
    markup::AddSignature(saved, dateText, true);
    while (!saved.empty() && (saved.back() == '\r' || saved.back() == '\n')) saved.pop_back();
  }
  saved += markup::kCrLf;
  saved += markup::kBookEnd;
  return saved;
}

std::string TodayText() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm local{};
  localtime_r(&now, &local);
  char buffer[16];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%d", &local);
  return buffer;
}

markup::StoredBookHeader CompleteHeader(const std::optional<markup::StoredBookHeader>& header,
                                        std::string_view document) {
  markup::StoredBookHeader out = header.value_or(markup::StoredBookHeader{});
  if (out[markup::HeaderField::Title].empty())
    out[markup::HeaderField::Title] = ElementText(document, markup::kBookTitleOpen, "</H2>");
  if (out[markup::HeaderField::Author].empty())
    out[markup::HeaderField::Author] = ElementText(document, markup::kBookAuthorOpen, "</H2>");
  return out;
}

markup::StoredBook MakeStoredBook(std::string savedDocument, const fs::path& bookFolder,
                                  const std::optional<markup::StoredBookHeader>& header, bool compress) {
  markup::StoredBook book;
  book.hasHeader = true;
  book.compressed = compress;
  book.header = CompleteHeader(header, savedDocument);

  std::string display;
  if (common::ReadWholeFile(bookFolder / markup::kDescriptionHtmlFile, display) && !display.empty()) {
    markup::PlaceTextEndMark(savedDocument);
    savedDocument.insert(savedDocument.find(markup::kTextEnd) + markup::kTextEnd.size(), display);
  }
  std::string description;
  if (common::ReadWholeFile(bookFolder / markup::kDescriptionFb2File, description))
    markup::AttachFb2Description(savedDocument, description);

  std::set<std::string> taken;
  for (size_t at = common::FindAsciiCaseless(savedDocument, "<IMG"); at != std::string::npos;
       at = common::FindAsciiCaseless(savedDocument, "<IMG", at + 4)) {
    const size_t end = markup::TagEnd(savedDocument, at);
    if (end == std::string::npos) break;
    std::string source;
    if (!markup::TagAttribute(std::string_view(savedDocument).substr(at, end - at), "src", source)) continue;
    if (!markup::IsStoredPictureName(source) || !taken.insert(source).second) continue;
    markup::StoredPicture picture;
    picture.name = source;
    if (common::FileExists(bookFolder / source) && common::ReadWholeFile(bookFolder / source, picture.data))
      book.pictures.push_back(std::move(picture));
  }
  // The cover of the FB2 form lives beside the book without a picture tag of its own.
  for (const char* cover : {"cover.jpg", "cover.png"}) {
    markup::StoredPicture picture;
    picture.name = cover;
    if (!taken.contains(picture.name) && common::FileExists(bookFolder / cover) &&
        common::ReadWholeFile(bookFolder / cover, picture.data))
      book.pictures.push_back(std::move(picture));
  }
  book.document = std::move(savedDocument);
  return book;
}

}  // namespace pw::shell
