// The text-to-book converter: a plain text (a .txt file, or the text other source formats
// yield) becomes an html0 book through a chain of named steps: bad and non-standard
// symbols, the paragraph mode (chosen by the text-structure analysis when it is "auto"),
// headings, epigraphs and verse, paragraphs, the book header and the closing clean-up.
//
// The chain works on the book in memory: each line-by-line pass reads the previous pass's
// output as a string and writes a new one, instead of alternating between two scratch files
// of the book folder as a file-based chain would; nobody but the chain reads those files. With
// `stageFolder` set, the two work texts are written there as "0000_000.tmp0" (the prepared
// text) and "0000_001.tmp0" (after the dictionary pass) for inspection.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "common/Progress.h"
#include "common/Session.h"
#include "import/HeadingDictionary.h"

namespace pw::import {

struct TextImportOptions {
  // The lower-case extension of the source: "txt", "tcr", "kml", "lit", ... Several rules
  // depend on it. Empty: the file entries take the source's extension, the text entries "txt".
  std::string sourceType;
  // The requested paragraph mode; empty takes the session's import setting.
  std::string requestedMode;
  // Size of the source file in bytes (the analysis runs from 5000 up); 0 takes the text's size.
  size_t sourceBytes = 0;
  // Where the heading dictionary files are; empty switches the word-list tests off unless
  // `dictionary` is given.
  std::filesystem::path dictionaryFolder;
  const HeadingDictionary* dictionary = nullptr;  // overrides `dictionaryFolder`
  // Where relative rule-file names of the clean-up slots are found.
  std::filesystem::path ruleFolder;
  // The book header, from the book's description when it has one.
  std::string bookAuthor;
  std::string bookTitle;
  std::string bookSubtitle;
  // With no author and title given, they are read from the first lines of the text when
  // these look like a book's header (TextHeader.h).
  bool findHeader = true;
  // Inline notes and a closing notes list become note links and a note block (TextNotes.h).
  bool findNotes = true;
  // "tabulators": a line starting in lower case continues the paragraph.
  bool continueLowerCase = true;
  // Link every title from a contents block.
  bool linkHeadings = false;
  // The text extraction of HTML, for a text that holds both "<" and ">" and at least one HTML
  // tag (not for tcr and kml sources). A text that still holds both brackets afterwards, or
  // that has no HTML tag, or when there is no extraction, goes to the tagged variant.
  std::function<std::string(std::string_view, common::Progress&)> extractText;
  std::filesystem::path stageFolder;
};

// What the conversion leaves in the session's state.
struct TextImportResult {
  std::string mode;            // the resolved paragraph mode
  std::string paragraphStyle;  // "spaces" or "simple"
  bool sceneSeparator = false;
  bool tagged = false;         // the text went through the tagged variant
  char analysisRule = 0;       // the analysis rule that chose the mode ('b' to 'g'); 0 when none ran
  bool rejoinedWords = false;
  size_t titles = 0;
  size_t subtitles = 0;
  size_t epigraphs = 0;
  size_t verses = 0;
  size_t notes = 0;            // notes in the note block made from the text's notes
  size_t noteReferences = 0;   // links to them
  std::string bookAuthor;      // the header written (given, or read from the first lines)
  std::string bookTitle;
};

enum class TextTarget {
  Html0,  // the working book
  Html,   // plain HTML (for the pdf path)
};

// The whole chain on a UTF-8 text; returns the document. Progress and messages go through
// `session`; `session.codePage` is the book's script family.
std::string ConvertTextToBook(std::string_view text, TextTarget target, common::Session& session,
                              const TextImportOptions& options = {}, TextImportResult* result = nullptr);

// The variant for a text that holds markup: the "checking tags" step, then the same chain.
std::string ConvertTaggedTxtToHtml0(std::string_view text, common::Session& session,
                                    const TextImportOptions& options = {}, TextImportResult* result = nullptr);

// The file entries: reads `source`, decides its code page (the session's code page is set),
// converts with `requestedMode` (empty: the session's setting) and writes `output`. The
// source type is the source's extension unless `options` names one. False, with the message
// shown, when the source cannot be read or the book cannot be written.
bool ConvertTxtToHtml0(const std::filesystem::path& source, const std::filesystem::path& output,
                       std::string_view requestedMode, common::Session& session, TextImportOptions options = {},
                       TextImportResult* result = nullptr);
// The same for the bytes of a text that a source-format handler has unpacked (a tcr book, for
// one): the code page is decided, the text converted and `output` written.
bool ConvertTextBytesToHtml0(std::string_view bytes, const std::filesystem::path& output,
                             std::string_view requestedMode, common::Session& session, TextImportOptions options = {},
                             TextImportResult* result = nullptr);
bool ConvertTxtToHtml(const std::filesystem::path& source, const std::filesystem::path& output,
                      std::string_view requestedMode, common::Session& session, TextImportOptions options = {},
                      TextImportResult* result = nullptr);

}  // namespace pw::import
