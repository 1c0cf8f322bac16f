// Helpers of the text-to-book tests: a job context that records progress and messages, the
// shipped heading dictionary, and the pieces of a converted book the tests look at.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Session.h"
#include "import/HeadingDictionary.h"
#include "import/TextToBook.h"
#include "support/TestSupport.h"

namespace pw::import::test {

struct TextJob {
  common::RecordingProgress progress;
  common::RecordingSink sink;
  common::Messages messages{sink};
  common::Session session{progress, messages};
};

inline const HeadingDictionary& ShippedDictionary() { return LoadHeadingDictionary(pw::test::ShippedDataPath("").string()); }

// Options with the shipped dictionary and the given requested mode.
inline TextImportOptions Options(std::string_view mode = "auto", std::string_view sourceType = "txt") {
  TextImportOptions options;
  options.requestedMode = std::string(mode);
  options.sourceType = std::string(sourceType);
  options.dictionary = &ShippedDictionary();
  return options;
}

// Converts `text` to html0 with `options`.
inline std::string Convert(std::string_view text, const TextImportOptions& options, TextImportResult* result = nullptr,
                           TextJob* job = nullptr) {
  TextJob local;
  TextJob& use = job ? *job : local;
  return ConvertTextToBook(text, TextTarget::Html0, use.session, options, result);
}

// The texts of the elements that open with `open` ("<SPAN id=title>") up to the next "</B>"
// (titles, subtitles) with their tags removed.
inline std::vector<std::string> HeadingTexts(std::string_view book, std::string_view open) {
  std::vector<std::string> texts;
  for (size_t at = book.find(open); at != std::string_view::npos; at = book.find(open, at + 1)) {
    const size_t bold = book.find("<B>", at);
    const size_t end = book.find("</B>", bold);
    if (bold == std::string_view::npos || end == std::string_view::npos) break;
    texts.emplace_back(book.substr(bold + 3, end - bold - 3));
  }
  return texts;
}

// The plain paragraphs of the book (lines starting with the paragraph mark) with the mark and
// the closing tag removed, outside verse and epigraph blocks.
inline std::vector<std::string> ProseParagraphs(std::string_view book) {
  constexpr std::string_view kStart = "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;";
  std::vector<std::string> paragraphs;
  bool inBlock = false;
  size_t pos = 0;
  while (pos < book.size()) {
    size_t end = book.find("\r\n", pos);
    if (end == std::string_view::npos) end = book.size();
    const std::string_view line = book.substr(pos, end - pos);
    pos = end + 2;
    if (line.find("<SPAN id=verse>") != std::string_view::npos || line.find("<SPAN id=epigraph>") != std::string_view::npos)
      inBlock = true;
    if (!inBlock && line.starts_with(kStart) && line.ends_with("</DIV>"))
      paragraphs.emplace_back(line.substr(kStart.size(), line.size() - kStart.size() - 6));
    if (line.find("</I></SPAN>") != std::string_view::npos) inBlock = false;
  }
  return paragraphs;
}

}  // namespace pw::import::test
