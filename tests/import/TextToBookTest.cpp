#include "import/TextToBook.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "corrector/RuleFile.h"
#include "import/TextAnalysis.h"
#include "import/TextTestSupport.h"
#include "import/TextWriters.h"
#include "support/TestSupport.h"

namespace pw::import {
namespace {

using test::Convert;
using test::HeadingTexts;
using test::Options;
using test::ProseParagraphs;
using test::TextJob;

// Deterministic words for generated books.
std::string Words(size_t count, size_t seed) {
  static const char* const kWords[] = {"the", "road", "went", "on", "over", "hills", "and", "through", "valleys",
                                       "where", "rivers", "ran", "cold", "under", "grey", "skies", "of", "late",
                                       "autumn", "while", "travellers", "walked", "slowly", "north"};
  std::string out;
  for (size_t i = 0; i < count; ++i) {
    if (i) out += ' ';
    out += kWords[(seed * 7 + i * 5) % std::size(kWords)];
  }
  return out;
}

// `lines` lines alternating between about 15 and 250 characters (lengths vary enough that
// rule b never applies); the first `indentedPerTwenty` of every twenty lines start with `indent`.
std::string AlternatingText(size_t lines, size_t indentedPerTwenty, std::string_view indent) {
  std::string text;
  for (size_t i = 0; i < lines; ++i) {
    if (i % 20 < indentedPerTwenty) text += indent;
    std::string line = Words(i % 2 ? 48 : 3, i);
    line[0] = static_cast<char>(std::toupper(line[0]));
    text += line + (i % 3 == 0 ? "." : "") + "\r\n";
  }
  return text;
}

// Hard-wrapped prose: paragraphs of wrapped lines of about 60 characters, each paragraph's
// first line indented by `indent`, a word broken at some line ends with a hyphen.
std::string WrappedProse(size_t paragraphs, std::string_view indent, bool hyphenate, bool blankLines) {
  std::string text;
  for (size_t p = 0; p < paragraphs; ++p) {
    std::string words = Words(45, p);
    words[0] = static_cast<char>(std::toupper(words[0]));
    words += '.';
    std::string line(indent);
    size_t pos = 0;
    size_t lineNumber = 0;
    while (pos < words.size()) {
      size_t end = words.find(' ', pos);
      if (end == std::string::npos) end = words.size();
      const std::string word = words.substr(pos, end - pos);
      if (line.size() + word.size() > 60) {
        if (hyphenate && word.size() > 5 && ++lineNumber % 2 == 0) {
          text += line + " " + word.substr(0, 3) + "-\r\n";
          line = word.substr(3);
          pos = end + 1;
          continue;
        }
        text += line + "\r\n";
        line.clear();
      }
      if (!line.empty() && line.find_first_not_of(' ') != std::string::npos) line += ' ';
      line += word;
      pos = end + 1;
    }
    text += line + "\r\n";
    if (blankLines) text += "\r\n";
  }
  return text;
}

struct RuleCase {
  const char* name;
  std::string text;
  std::string_view sourceType;
  std::string_view mode;
  char rule;
  bool rejoined;
};

std::vector<RuleCase> RuleCases() {
  std::string indentedAll;
  for (int i = 0; i < 12; ++i) indentedAll += "  " + Words(i % 2 ? 160 : 15, i) + ".\r\n";
  std::string longLines;
  for (int i = 0; i < 20; ++i) longLines += "Line " + std::to_string(i) + " " + Words(50, i) + ".\r\n";
  return {
      {"a_b_rejoined_tabulators", WrappedProse(20, "     ", true, false), "txt", kModeTabulators, 'b', true},
      {"c_lead_share_one", indentedAll, "txt", kModeLineEnds, 'c', false},
      {"d_long_lines", longLines, "txt", kModeLineEnds, 'd', false},
      {"e_leading_blanks_removed", AlternatingText(40, 18, "   "), "txt", kModeAdvanced, 'e', false},
      {"f_advanced", WrappedProse(20, "", false, true), "txt", kModeAdvanced, 'f', false},
      {"f_spaces", AlternatingText(40, 6, "  "), "txt", kModeSpaces, 'f', false},
      {"g_lit_spaces", AlternatingText(40, 6, " "), "lit", kModeSpaces, 'g', false},
      {"g_lit_advanced", AlternatingText(40, 0, ""), "lit", kModeAdvanced, 'g', false},
  };
}

TEST(TextToBook, EachAnalysisRuleOnAGeneratedBook) {
  for (const RuleCase& c : RuleCases()) {
    SCOPED_TRACE(c.name);
    ASSERT_GE(c.text.size(), 5000u);
    TextImportResult result;
    TextJob job;
    const std::string book = Convert(c.text, Options("auto", c.sourceType), &result, &job);
    EXPECT_EQ(result.mode, c.mode);
    EXPECT_EQ(result.analysisRule, c.rule);
    EXPECT_EQ(result.rejoinedWords, c.rejoined);
    const auto& statuses = job.progress.statuses;
    EXPECT_NE(std::find(statuses.begin(), statuses.end(), "...analyzing text structure..."), statuses.end());
    EXPECT_EQ(std::find(statuses.begin(), statuses.end(), "...removing leading spaces...") != statuses.end(),
              c.rule == 'e');
    EXPECT_TRUE(pw::test::MatchesGolden(book, std::string("import/rule_") + c.name + ".html0"));
  }
}

TEST(TextToBook, RuleARejoinsBrokenWordsButKeepsDashes) {
  std::string text = WrappedProse(20, "     ", true, false);
  text += "     A dash at the end -\r\nstays a dash.\r\n";
  const std::string book = Convert(text, Options());
  std::string prose;
  for (const std::string& paragraph : ProseParagraphs(book)) prose += paragraph + "\n";
  EXPECT_EQ(common::CountOccurrences(prose, "-"), 1u) << "only the real dash is left";
  EXPECT_NE(prose.find("end - stays a dash."), std::string::npos);
  EXPECT_NE(prose.find("through"), std::string::npos);
}

TEST(TextToBook, ShortSourcesSkipTheAnalysis) {
  std::string text = WrappedProse(40, "  ", false, false);
  text.resize(4999);
  TextJob job;
  TextImportResult result;
  Convert(text, Options(), &result, &job);
  EXPECT_EQ(result.mode, kModeAdvanced);
  EXPECT_EQ(result.analysisRule, 0);
  const auto& statuses = job.progress.statuses;
  EXPECT_EQ(std::find(statuses.begin(), statuses.end(), "...analyzing text structure..."), statuses.end());

  // From 5000 bytes up the analysis runs, here finding the indented paragraphs.
  text = WrappedProse(40, "  ", false, false);
  text.resize(5000);
  Convert(text, Options(), &result);
  EXPECT_EQ(result.analysisRule, 'b');
  // The size of the source file counts, not the text's.
  TextImportOptions options = Options();
  options.sourceBytes = 4000;
  Convert(text, options, &result);
  EXPECT_EQ(result.analysisRule, 0);
}

TEST(TextToBook, LeadShareOneIsLineEndsUnlessUniform) {
  // Every line indented and of equal length: rule b comes first.
  std::string uniform;
  for (int i = 0; i < 100; ++i) uniform += "  " + Words(10, 1) + "\r\n";
  TextImportResult result;
  Convert(uniform, Options(), &result);
  EXPECT_EQ(result.mode, kModeTabulators);
  EXPECT_EQ(result.analysisRule, 'b');
}

TEST(TextToBook, LitSourcesKeepTheirLeadingBlanks) {
  // Lead share 0.9: for a text rule e strips the blanks, for lit it never does.
  const std::string text = AlternatingText(40, 18, "   ");
  TextJob job;
  TextImportResult result;
  const std::string book = Convert(text, Options("auto", "lit"), &result, &job);
  EXPECT_EQ(result.analysisRule, 'g');
  EXPECT_EQ(result.mode, kModeSpaces);
  const auto& statuses = job.progress.statuses;
  EXPECT_EQ(std::find(statuses.begin(), statuses.end(), "...removing leading spaces..."), statuses.end());
  // And 0.95 is line ends (rule c).
  Convert(AlternatingText(40, 19, " "), Options("auto", "lit"), &result);
  EXPECT_EQ(result.mode, kModeLineEnds);
  EXPECT_EQ(result.analysisRule, 'c');
}

TEST(TextToBook, StatusTextsInOrder) {
  TextJob job;
  Convert(AlternatingText(40, 18, "   "), Options(), nullptr, &job);
  EXPECT_EQ(job.progress.statuses,
            (std::vector<std::string>{
                "...converting txt to html0...", "...removing bad symbols...", "...replacing non-standard symbols...",
                "...analyzing text structure...", "...removing leading spaces...", "...converting txt to html0...",
                "...txt to html0...looking for titles...", "...loading dictionary...",
                "...txt to html0...looking for titles...", "...txt to html0...formatting paragraphs...",
                "...txt to html0...cleaning book..."}));
  // Two line passes, each from 0 to 100 percent without going back.
  const std::vector<int>& percents = job.progress.percents;
  EXPECT_EQ(std::count(percents.begin(), percents.end(), 100), 2);
  size_t restarts = 0;
  for (size_t i = 1; i < percents.size(); ++i) restarts += percents[i] < percents[i - 1];
  EXPECT_EQ(restarts, 1u);
}

TEST(TextToBook, PlainHtmlAndTaggedVariantsSayWhatTheyDo) {
  TextJob html;
  const std::string page =
      ConvertTextToBook(AlternatingText(40, 6, "  "), TextTarget::Html, html.session, Options(), nullptr);
  EXPECT_TRUE(page.starts_with("<HTML>\r\n<meta content=\"text/html; charset=utf-8\""));
  EXPECT_EQ(page.find("<DIV id=LastPar"), std::string::npos);
  EXPECT_EQ(page.find("<DIV></DIV>"), std::string::npos);
  EXPECT_TRUE(page.ends_with("</BODY></HTML>"));
  const auto& statuses = html.progress.statuses;
  for (std::string_view status : {"...converting txt to html...", "...analysing text structure...",
                                  "...txt to html...looking for titles...", "...txt to html...formatting paragraphs...",
                                  "...txt to html...cleaning book..."})
    EXPECT_NE(std::find(statuses.begin(), statuses.end(), status), statuses.end()) << status;

  TextJob tagged;
  TextImportResult result;
  ConvertTaggedTxtToHtml0("Some <b>bold</b> text.", tagged.session, Options(), &result);
  EXPECT_TRUE(result.tagged);
  EXPECT_EQ(tagged.progress.statuses.front(), "...checking tags...");
}

TEST(TextToBook, ATextWithMarkupKeepsInlineStylesAndEscapesTheRest) {
  TextImportResult result;
  const std::string book =
      Convert("<B>CHAPTER 1</B>\r\n\r\nPress <ESC> and then <i>wait</i>; 1 < 2.\r\n", Options("line ends"), &result);
  EXPECT_TRUE(result.tagged);
  EXPECT_EQ(HeadingTexts(book, "<SPAN id=title>"), std::vector<std::string>{"CHAPTER 1"});
  EXPECT_NE(book.find("Press &lt;ESC&gt; and then <I>wait</I>; 1 &lt; 2.</DIV>"), std::string::npos);

  // With an extraction of HTML that leaves no markup, the text is an ordinary one.
  TextImportOptions options = Options("line ends");
  options.extractText = [](std::string_view html, common::Progress& progress) {
    progress.Status("...extracting text...restoring line ends...");
    return common::ReplaceAll(common::ReplaceAll(html, "<p>", ""), "</p>", "\r\n");
  };
  TextJob job;
  const std::string extracted = Convert("<p>First.</p><p>Second.</p>", options, &result, &job);
  EXPECT_FALSE(result.tagged);
  EXPECT_EQ(ProseParagraphs(extracted), (std::vector<std::string>{"First.", "Second."}));
  EXPECT_EQ(job.progress.statuses.front(), "...extracting text...restoring line ends...");

  // A plain text whose brackets are no HTML is not extracted: its "<ESC>" stays.
  TextJob manual;
  const std::string kept = Convert("Press <ESC> twice.\r\n", options, &result, &manual);
  EXPECT_TRUE(result.tagged);
  EXPECT_EQ(ProseParagraphs(kept), std::vector<std::string>{"Press &lt;ESC&gt; twice."});
  EXPECT_EQ(manual.progress.statuses.front(), "...checking tags...");
}

TEST(TextToBook, TcrAndKmlSourcesSkipTheMarkupCheck) {
  TextImportResult result;
  const std::string tcr = Convert("PPL<* >First line.\r\nA < b > c.\r\n", Options("line ends", "tcr"), &result);
  EXPECT_FALSE(result.tagged);
  EXPECT_EQ(ProseParagraphs(tcr), (std::vector<std::string>{"First line.", "A &lt; b &gt; c."}));
  const std::string kml = Convert("<x> y\r\n", Options("line ends", "kml"), &result);
  EXPECT_FALSE(result.tagged);
  EXPECT_EQ(ProseParagraphs(kml), std::vector<std::string>{"&lt;x&gt; y"});
}

TEST(TextToBook, NumberedHeadingsColonsAndSeparators) {
  const std::string text =
      "1.\r\n\r\nText one.\r\n\r\n12. Title\r\n\r\nText two.\r\n\r\n0. Title\r\n\r\n1.2.3 Title\r\n\r\n"
      "Chapter 3:\r\n\r\nText three.\r\n\r\n* * *\r\n\r\nText four.\r\n";
  TextImportResult result;
  const std::string book = Convert(text, Options("advanced"), &result);
  EXPECT_EQ(HeadingTexts(book, "<SPAN id=title>"), (std::vector<std::string>{"1.", "12. Title"}));
  EXPECT_EQ(HeadingTexts(book, "<SPAN id=subtitle>"), std::vector<std::string>{"***"});
  EXPECT_TRUE(result.sceneSeparator);
  EXPECT_EQ(ProseParagraphs(book), (std::vector<std::string>{"Text one.", "Text two.", "0. Title", "1.2.3 Title",
                                                             "Chapter 3:", "Text three.", "Text four."}));
  Convert("Just text.\r\n", Options("advanced"), &result);
  EXPECT_FALSE(result.sceneSeparator);
}

TEST(TextToBook, AHeadingNeedsTheTextNotToRunIntoIt) {
  const std::string text =
      "He told us about it,\r\nChapter 2\r\nwas the next.\r\n\r\n"
      "Глава халдейских мудрецов,\r\nГадатель, толкователь снов.\r\n\r\n"
      "СКАЗКА О ЦАРЕ САЛТАНЕ,\r\nО СЫНЕ ЕГО\r\n";
  const std::string book = Convert(text, Options("line ends"));
  EXPECT_EQ(HeadingTexts(book, "<SPAN id=title>"), (std::vector<std::string>{"СКАЗКА О ЦАРЕ САЛТАНЕ,", "О СЫНЕ ЕГО"}));
}

TEST(TextToBook, DialogueDashesBecomeDashAndNoBreakSpace) {
  const std::string book = Convert("\u2014 Далеко ли?\r\n\u2013 Рядом, \u2014 ответила она.\r\n--Да.\r\n", Options("line ends"));
  EXPECT_EQ(ProseParagraphs(book), (std::vector<std::string>{"-&nbsp;Далеко ли?", "-&nbsp;Рядом, - ответила она.",
                                                             "-&nbsp;Да."}));
}

TEST(TextToBook, ControlCharactersAndTheSentinelNeverReachTheBook) {
  std::string text = "Start";
  for (char c = 1; c <= 8; ++c) text += c;
  text += "\x0B\x0C\x0E\x1F middle\x01 still here.\r\nLast line.";
  const std::string book = Convert(text, Options("line ends"));
  for (char c = 1; c < 32; ++c) {
    if (c != '\r' && c != '\n') {
      EXPECT_EQ(book.find(c), std::string::npos) << int(c);
    }
  }
  EXPECT_EQ(book.find(kEndSentinel), std::string::npos);
  EXPECT_EQ(ProseParagraphs(book), (std::vector<std::string>{"Start middle still here.", "Last line."}));
  EXPECT_TRUE(book.ends_with("<DIV id=LastPar align=justify>&nbsp;&nbsp;&nbsp;&nbsp;</DIV>\r\n</BODY></HTML>"));
}

TEST(TextToBook, TheHeaderComesFromTheDescriptionAndNoBreakStandsAfterIt) {
  TextImportOptions options = Options("advanced");
  options.bookAuthor = "Иван Петров";
  options.bookTitle = "Дорога";
  options.bookSubtitle = "повесть";
  TextJob job;
  job.session.settings.elementColours.bookTitle = "#112233";
  const std::string book = Convert("Глава 1\r\n\r\nТекст.\r\n", options, nullptr, &job);
  EXPECT_NE(book.find("<DIV></DIV>\r\n"
                      "<H2 id=BookAuthor align=center><FONT color=#ff0000><B>Иван Петров</B></FONT></H2>\r\n"
                      "<H2 id=BookTitle align=center><FONT color=#112233><B>Дорога</B></FONT></H2>\r\n"
                      "<SPAN id=subtitle><DIV align=center><FONT color=#007373><B>повесть</B></FONT></DIV></SPAN><BR>\r\n"
                      "<BR><SPAN id=title>"),
            std::string::npos);
  // Without a subtitle the title follows the book title directly.
  options.bookSubtitle.clear();
  const std::string plain = Convert("Глава 1\r\n\r\nТекст.\r\n", options);
  EXPECT_NE(plain.find("</H2>\r\n<SPAN id=title>"), std::string::npos);
  EXPECT_EQ(plain.find("</H2><BR>"), std::string::npos);
}

TEST(TextToBook, LinkedHeadingsGetAContentsBlock) {
  TextImportOptions options = Options("advanced");
  options.linkHeadings = true;
  options.bookTitle = "Book";
  TextJob job;
  job.session.codePage = common::CodePage::Win1252;
  const std::string book = Convert("Chapter 1\r\n\r\nOne.\r\n\r\nChapter 2\r\n\r\nTwo.\r\n", options, nullptr, &job);
  EXPECT_NE(book.find("<SPAN id=BCONTENTS>"), std::string::npos);
  EXPECT_NE(book.find("Table of Content"), std::string::npos);
  EXPECT_NE(book.find("<SPAN id=title><A id=2 name=2>"), std::string::npos);
  EXPECT_NE(book.find(" href=\"#2\">Chapter 2</A></DIV>"), std::string::npos);
  EXPECT_LT(book.find("<SPAN id=BCONTENTS>"), book.find("<SPAN id=title>"));
}

TEST(TextToBook, CleanUpSlotsRunBeforeAndAfter) {
  pw::test::ScratchFolder folder;
  corrector::CleanUpTable before;
  before.rows.push_back({"colour", "color", true, false, true});
  corrector::CleanUpTable after;
  after.rows.push_back({"<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Grey", "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;GREY",
                        true, false, true});
  std::string error;
  ASSERT_TRUE(corrector::SaveReplacementTable(folder / "before.bcf", before, error)) << error;
  ASSERT_TRUE(corrector::SaveReplacementTable(folder / "after.bcf", after, error)) << error;
  TextImportOptions options = Options("line ends");
  options.ruleFolder = folder.path();
  TextJob job;
  job.session.settings.cleanUpBefore = "before.bcf";
  job.session.settings.cleanUpAfter = "after.bcf";
  const std::string book = Convert("Grey colour.\r\n", options, nullptr, &job);
  EXPECT_EQ(ProseParagraphs(book), std::vector<std::string>{"GREY color."});
  EXPECT_TRUE(job.sink.shown.empty());
  // "none" leaves the text alone; a missing file is reported and changes nothing.
  TextJob missing;
  missing.session.settings.cleanUpBefore = "missing.bcf";
  const std::string untouched = Convert("Grey colour.\r\n", options, nullptr, &missing);
  EXPECT_EQ(ProseParagraphs(untouched), std::vector<std::string>{"Grey colour."});
  EXPECT_EQ(missing.sink.shown.size(), 1u);
}

TEST(TextToBook, StageFilesAreWrittenWhenAsked) {
  pw::test::ScratchFolder folder;
  TextImportOptions options = Options("line ends");
  options.stageFolder = folder.path() / "stages";
  Convert("Line.\r\n", options);
  std::string first;
  std::string second;
  ASSERT_TRUE(common::ReadWholeFile(options.stageFolder / "0000_000.tmp0", first));
  ASSERT_TRUE(common::ReadWholeFile(options.stageFolder / "0000_001.tmp0", second));
  EXPECT_EQ(first, "Line.\r\n\r\n\x01\r\nAAA ERT TYU");
  EXPECT_EQ(second, "Line.\r\n\x01\r\nAAA ERT TYU");
}

TEST(ConvertTxtToHtml0, ReadsDecodesConvertsAndWrites) {
  pw::test::ScratchFolder folder;
  std::string text = "ГЛАВА ПЕРВАЯ\r\n\r\n";
  for (int i = 0; i < 20; ++i) text += "Вечером мы долго сидели у огня и говорили о дороге.\r\n";
  ASSERT_TRUE(common::WriteFileAtomic(folder / "book.txt", common::EncodeFromUtf8(text, common::CodePage::Koi8r)));
  TextJob job;
  job.session.settings.importCodePage = "Koi8r";
  TextImportResult result;
  TextImportOptions options;
  options.dictionaryFolder = pw::test::ShippedDataPath("").string();
  ASSERT_TRUE(ConvertTxtToHtml0(folder / "book.txt", folder / "book.html0", "line ends", job.session, options, &result));
  std::string book;
  ASSERT_TRUE(common::ReadWholeFile(folder / "book.html0", book));
  EXPECT_EQ(HeadingTexts(book, "<SPAN id=title>"), std::vector<std::string>{"ГЛАВА ПЕРВАЯ"});
  EXPECT_EQ(ProseParagraphs(book),
            std::vector<std::string>(20, "Вечером мы долго сидели у огня и говорили о дороге."));
  EXPECT_EQ(result.mode, kModeLineEnds);
  EXPECT_EQ(job.session.codePage, common::CodePage::Win1251);

  // The plain HTML form, and a source that cannot be read.
  ASSERT_TRUE(ConvertTxtToHtml(folder / "book.txt", folder / "book.html", "", job.session));
  std::string page;
  ASSERT_TRUE(common::ReadWholeFile(folder / "book.html", page));
  EXPECT_TRUE(page.starts_with("<HTML>"));
  EXPECT_FALSE(ConvertTxtToHtml0(folder / "missing.txt", folder / "x.html0", "", job.session));
  EXPECT_EQ(job.sink.shown.size(), 1u);
  EXPECT_FALSE(common::FileExists(folder / "x.html0"));
}

}  // namespace
}  // namespace pw::import
