#include "import/TextToBook.h"

#include "common/Files.h"
#include "common/Text.h"
#include "corrector/CleanUpFile.h"
#include "import/Charset.h"
#include "import/ParagraphModes.h"
#include "import/TaggedText.h"
#include "import/TextAnalysis.h"
#include "import/TextHeader.h"
#include "import/TextNotes.h"
#include "import/TextSymbols.h"
#include "import/TextWriters.h"
#include "import/TitlePass.h"
#include "markup/BookMarkup.h"

namespace pw::import {
namespace {

// The status texts that differ between the two targets.
struct ChainTexts {
  std::string_view converting;
  std::string_view analysing;
  std::string_view titles;
  std::string_view paragraphs;
  std::string_view cleaning;
};

constexpr ChainTexts kHtml0Texts = {"...converting txt to html0...", "...analyzing text structure...",
                                    "...txt to html0...looking for titles...",
                                    "...txt to html0...formatting paragraphs...",
                                    "...txt to html0...cleaning book..."};
constexpr ChainTexts kHtmlTexts = {"...converting txt to html...", "...analysing text structure...",
                                   "...txt to html...looking for titles...",
                                   "...txt to html...formatting paragraphs...", "...txt to html...cleaning book..."};

constexpr size_t kShortestAnalysedSource = 5000;

std::string_view SourceType(const TextImportOptions& options) {
  return options.sourceType.empty() ? std::string_view("txt") : std::string_view(options.sourceType);
}

// Lines before the end line of a work text that ends with the sentinel.
size_t CountWorkLines(std::string_view work) {
  const size_t separators = common::CountOccurrences(work, "\r\n");
  return separators > 1 ? separators - 1 : 1;
}

void DumpStage(const TextImportOptions& options, std::string_view name, std::string_view text) {
  if (options.stageFolder.empty()) return;
  common::MakeFolderIfMissing(options.stageFolder);
  common::WriteFileAtomic(options.stageFolder / name, text);
}

// Line ends made uniform and the "before" clean-up slot applied.
std::string PrepareSource(std::string_view text, common::Session& session, const TextImportOptions& options) {
  std::string work = NormaliseLineEnds(text);
  const std::string& slot = session.settings.cleanUpBefore;
  if (!slot.empty() && slot != corrector::kNoRuleFile)
    work = NormaliseLineEnds(corrector::ApplyCleanUpFile(work, slot, options.ruleFolder, session));
  return work;
}

void WriteHeader(std::string& book, TextTarget target, const common::Session& session,
                 const TextImportOptions& options, const TextImportResult& result) {
  if (target == TextTarget::Html) {
    book += "<HTML>";
    book += markup::kCrLf;
    book += markup::MakeCharsetMeta(true, false);
    book += markup::kCrLf;
    book += "<BODY>";
    book += markup::kCrLf;
    return;
  }
  const common::ElementColours& colours = session.settings.elementColours;
  book += markup::MakeBodyTag(markup::BodyStyleFromSettings(session.settings), true, false, false);
  book += markup::kCrLf;
  book += "<DIV></DIV>";
  book += markup::kCrLf;
  if (!common::Trim(result.bookAuthor).empty()) {
    book += markup::MakeBookAuthor(result.bookAuthor, colours.bookAuthor);
    book += markup::kCrLf;
  }
  if (!common::Trim(result.bookTitle).empty()) {
    book += markup::MakeBookTitle(result.bookTitle, colours.bookTitle);
    book += markup::kCrLf;
  }
  if (!common::Trim(options.bookSubtitle).empty()) {
    book += markup::MakeSubtitle(options.bookSubtitle, colours.subtitle);
    book += kBreakLine;
    book += markup::kCrLf;
  }
}

// Step 7: the requested mode, or the one the analysis finds.
std::string ResolveMode(std::string& text, size_t sourceBytes, double hyphenationRate, const ChainTexts& texts,
                        common::Session& session, const TextImportOptions& options, TextImportResult& result) {
  std::string requested = options.requestedMode.empty() ? session.settings.paragraphMode : options.requestedMode;
  if (IsConcreteMode(requested)) return requested;
  if (sourceBytes < kShortestAnalysedSource) return std::string(kModeAdvanced);

  session.progress.Status(texts.analysing);
  const std::string_view sourceType = SourceType(options);
  const TextStatistics stats = MeasureTextStructure(text, IndentString(sourceType));
  const ModeDecision decision = DecideParagraphMode(stats, hyphenationRate, sourceType);
  result.analysisRule = decision.rule;
  if (decision.rejoinWords) {
    text = RejoinBrokenWords(text);
    result.rejoinedWords = true;
  }
  if (decision.stripLeadingBlanks) {
    session.progress.Status("...removing leading spaces...");
    text = RemoveLeadingBlanks(text);
  }
  return decision.mode;
}

// Steps 3 to 11 on a text with uniform line ends.
std::string RunChain(std::string text, bool tagged, size_t sourceBytes, TextTarget target, common::Session& session,
                     const TextImportOptions& options, TextImportResult& result) {
  const ChainTexts& texts = target == TextTarget::Html0 ? kHtml0Texts : kHtmlTexts;
  common::Progress& progress = session.progress;
  const std::string_view sourceType = SourceType(options);
  result = TextImportResult{};
  result.tagged = tagged;

  if (tagged) {
    progress.Status("...checking tags...");
    text = CheckTags(text);
  }
  progress.Status(texts.converting);
  if (sourceType == "tcr") RemoveTcrLeftovers(text);
  // A text line must never hold "<": the passes take such a line for markup.
  if (!tagged) text = EscapeAngleBrackets(text);

  progress.Status("...removing bad symbols...");
  RemoveBadSymbols(text);
  progress.Status("...replacing non-standard symbols...");
  ReplaceNonStandardSymbols(text);
  const double hyphenationRate = sourceType == "kml" ? 0.0 : HyphenationRate(text);

  result.bookAuthor = options.bookAuthor;
  result.bookTitle = options.bookTitle;
  if (options.findHeader && target == TextTarget::Html0 && common::Trim(options.bookAuthor).empty() &&
      common::Trim(options.bookTitle).empty()) {
    const TextHeader header = FindTextHeader(text);
    if (header.found()) {
      result.bookAuthor = header.author;
      result.bookTitle = header.title;
      text.erase(0, header.length);
    }
  }

  const std::string mode = ResolveMode(text, sourceBytes, hyphenationRate, texts, session, options, result);
  result.mode = mode;
  result.paragraphStyle = mode == kModeSpaces ? "spaces" : "simple";

  if (options.findNotes) {
    const TextNotesResult notes = MarkTextNotes(text, session.settings.elementColours.noteBlock);
    result.notes = notes.notes;
    result.noteReferences = notes.references;
    // The links are kept-tag marks, turned into tags when the book is written.
    tagged = tagged || notes.references > 0;
  }

  progress.Status(texts.converting);
  ReplaceDashes(text);
  AppendEndSentinel(text);
  const size_t lineCount = CountWorkLines(text);
  DumpStage(options, "0000_000.tmp0", text);

  progress.Status(texts.titles);
  progress.Status("...loading dictionary...");
  const HeadingDictionary* dictionary = options.dictionary;
  if (!dictionary && !options.dictionaryFolder.empty()) dictionary = &LoadHeadingDictionary(options.dictionaryFolder);
  progress.Status(texts.titles);
  const common::ElementColours& colours = session.settings.elementColours;
  std::string titled;
  titled.reserve(text.size() + text.size() / 8);
  const TitlePassReport report = FindTitles(text, dictionary, colours, titled, progress, lineCount);
  result.sceneSeparator = report.sceneSeparator;
  result.titles = report.titles;
  result.subtitles = report.subtitles;
  result.epigraphs = report.epigraphs;
  result.verses = report.verses;
  std::string().swap(text);
  DumpStage(options, "0000_001.tmp0", titled);

  progress.Status(texts.paragraphs);
  std::string book;
  book.reserve(titled.size() + titled.size() / 3 + 1024);
  WriteHeader(book, target, session, options, result);
  const ParagraphOptions paragraphOptions{mode, options.continueLowerCase};
  FormatParagraphs(titled, paragraphOptions, book, progress, CountWorkLines(titled));
  std::string().swap(titled);

  progress.Status(texts.cleaning);
  if (target == TextTarget::Html0) {
    book += markup::kLastParagraph;
    book += markup::kCrLf;
  }
  book += markup::kBookEnd;
  if (options.linkHeadings) markup::InsertContents(book, common::CodePageName(session.codePage));
  // No line break element right after or before a book heading.
  common::ReplaceAllInPlace(book, "</H2><BR>", "</H2>");
  common::ReplaceAllInPlace(book, "</H2>\r\n<BR>", "</H2>\r\n");
  common::ReplaceAllInPlace(book, "<BR><H2", "<H2");
  if (tagged) book = RestoreKeptTags(book);

  const std::string& slot = session.settings.cleanUpAfter;
  if (!slot.empty() && slot != corrector::kNoRuleFile)
    book = corrector::ApplyCleanUpFile(book, slot, options.ruleFolder, session);
  return book;
}

bool ConvertBytes(std::string_view bytes, const std::filesystem::path& output, std::string_view requestedMode,
                  common::Session& session, TextImportOptions options, TextImportResult* result, TextTarget target) {
  try {
    if (!requestedMode.empty()) options.requestedMode = std::string(requestedMode);
    options.sourceBytes = bytes.size();
    const std::string text = DetectCharset(bytes, session);
    const std::string book = ConvertTextToBook(text, target, session, options, result);
    if (!common::WriteFileAtomic(output, book)) {
      session.messages.Show(common::Msg::ErrorWritingFile, output.string());
      return false;
    }
    return true;
  } catch (const std::exception&) {
    session.messages.Show(common::Msg::ErrorProcessingFile, ": " + output.filename().string());
    return false;
  }
}

bool ConvertFile(const std::filesystem::path& source, const std::filesystem::path& output,
                 std::string_view requestedMode, common::Session& session, TextImportOptions options,
                 TextImportResult* result, TextTarget target) {
  std::string bytes;
  if (!common::ReadWholeFile(source, bytes)) {
    session.messages.Show(common::Msg::ErrorReadingFile, source.string());
    return false;
  }
  if (options.sourceType.empty()) options.sourceType = common::LowerExtension(source);
  return ConvertBytes(bytes, output, requestedMode, session, std::move(options), result, target);
}

}  // namespace

std::string ConvertTextToBook(std::string_view text, TextTarget target, common::Session& session,
                              const TextImportOptions& options, TextImportResult* result) {
  TextImportResult local;
  TextImportResult& out = result ? *result : local;
  const size_t sourceBytes = options.sourceBytes ? options.sourceBytes : text.size();
  std::string work = PrepareSource(text, session, options);

  bool tagged = false;
  const std::string_view sourceType = SourceType(options);
  const auto holdsMarkup = [&] {
    return work.find('<') != std::string::npos && work.find('>') != std::string::npos;
  };
  if (sourceType != "tcr" && sourceType != "kml" && holdsMarkup()) {
    // Only a page of HTML is extracted: the brackets of "<ESC>" in a manual are text to keep.
    if (options.extractText && LooksLikeHtml(work))
      work = NormaliseLineEnds(options.extractText(work, session.progress));
    tagged = holdsMarkup();
  }
  return RunChain(std::move(work), tagged, sourceBytes, target, session, options, out);
}

std::string ConvertTaggedTxtToHtml0(std::string_view text, common::Session& session, const TextImportOptions& options,
                                    TextImportResult* result) {
  TextImportResult local;
  const size_t sourceBytes = options.sourceBytes ? options.sourceBytes : text.size();
  return RunChain(PrepareSource(text, session, options), true, sourceBytes, TextTarget::Html0, session, options,
                  result ? *result : local);
}

bool ConvertTxtToHtml0(const std::filesystem::path& source, const std::filesystem::path& output,
                       std::string_view requestedMode, common::Session& session, TextImportOptions options,
                       TextImportResult* result) {
  return ConvertFile(source, output, requestedMode, session, std::move(options), result, TextTarget::Html0);
}

bool ConvertTextBytesToHtml0(std::string_view bytes, const std::filesystem::path& output,
                             std::string_view requestedMode, common::Session& session, TextImportOptions options,
                             TextImportResult* result) {
  return ConvertBytes(bytes, output, requestedMode, session, std::move(options), result, TextTarget::Html0);
}

bool ConvertTxtToHtml(const std::filesystem::path& source, const std::filesystem::path& output,
                      std::string_view requestedMode, common::Session& session, TextImportOptions options,
                      TextImportResult* result) {
  return ConvertFile(source, output, requestedMode, session, std::move(options), result, TextTarget::Html);
}

}  // namespace pw::import
