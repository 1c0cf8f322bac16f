// The real text books of the shared corpus, converted as the session converts them; each test
// checks what a reader of that book can see. Skipped when the corpus is not beside the checkout.
#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "common/Files.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "import/Charset.h"
#include "import/HtmlToBook.h"
#include "import/TextCharacters.h"
#include "import/TextTestSupport.h"
#include "import/TextToBook.h"
#include "import/TextWriters.h"
#include "markup/BookMarkup.h"
#include "support/TestSupport.h"

namespace pw::import {
namespace {

using test::HeadingTexts;
using test::ProseParagraphs;
using test::TextJob;

struct Converted {
  std::string source;  // the decoded source text
  std::string book;
  TextImportResult result;
};

// Converts a corpus book as the book session would; false (test skipped) without a corpus.
bool ConvertCorpusBook(std::string_view name, Converted& out) {
  const std::filesystem::path path = pw::test::CorpusPath(std::string("txt/") + std::string(name));
  if (path.empty() || !common::FileExists(path)) return false;
  pw::test::ScratchFolder folder;
  TextJob job;
  TextImportOptions options;
  options.dictionaryFolder = pw::test::ShippedDataPath("").string();
  options.extractText = ExtractTextFromHtml;  // as the book session converts them
  EXPECT_TRUE(ConvertTxtToHtml0(path, folder / "book.html0", "", job.session, options, &out.result)) << name;
  EXPECT_TRUE(common::ReadWholeFile(folder / "book.html0", out.book));
  std::string bytes;
  common::ReadWholeFile(path, bytes);
  TextJob decode;
  out.source = DetectCharset(bytes, decode.session);
  EXPECT_TRUE(job.sink.shown.empty()) << name;
  return true;
}

#define CONVERT_OR_SKIP(name, converted)                                   \
  Converted converted;                                                     \
  if (!ConvertCorpusBook(name, converted)) GTEST_SKIP() << "no corpus at " \
                                                        << pw::test::CorpusPath("txt").string()

std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(pos, end - pos);
    if (line.ends_with('\r')) line.remove_suffix(1);
    lines.push_back(line);
    pos = end + 1;
  }
  return lines;
}

// The text a reader sees: tags removed, the entities of the writers turned back into characters.
std::string VisibleText(std::string_view html) {
  std::string text = markup::OneLineText(html);
  for (const auto& [entity, character] : std::map<std::string, std::string>{
           {"&nbsp;", " "}, {"&lt;", "<"}, {"&gt;", ">"}}) {
    common::ReplaceAllInPlace(text, entity, character);
  }
  return text;
}

std::string BodyOf(std::string_view book) {
  const size_t start = book.find("<DIV></DIV>");
  const size_t end = book.find(markup::kLastParagraph);
  return std::string(book.substr(start, end - start));
}

// The longest run of non-empty source lines joined by blanks, in characters: no paragraph of
// a book can be longer than the block of lines it came from.
size_t LongestSourceBlock(std::string_view source) {
  size_t longest = 0;
  size_t current = 0;
  for (std::string_view line : Lines(source)) {
    const std::string_view trimmed = common::Trim(line);
    current = trimmed.empty() ? 0 : current + CharLength(trimmed) + 1;
    longest = std::max(longest, current);
  }
  return longest;
}

// The checks every book gets: nothing lost, nothing glued beyond its block, nothing leaked.
void CheckCommon(std::string_view name, const Converted& c) {
  SCOPED_TRACE(std::string(name));
  EXPECT_EQ(pw::test::LetterCounts(VisibleText(BodyOf(c.book))), pw::test::LetterCounts(c.source)) << "letters lost or added";
  const size_t longest = LongestSourceBlock(c.source);
  for (const std::string& paragraph : ProseParagraphs(c.book))
    EXPECT_LE(CharLength(VisibleText(paragraph)), longest) << paragraph.substr(0, 80);
  EXPECT_EQ(c.book.find(kEndSentinel), std::string::npos);
  EXPECT_EQ(c.book.find('\x01'), std::string::npos);
  EXPECT_TRUE(c.book.ends_with(std::string(markup::kLastParagraph) + "\r\n</BODY></HTML>"));
  std::printf("%-58s %-10s rule %c: %3zu titles, %2zu subtitles, %2zu epigraphs, %3zu verses, %4zu paragraphs\n",
              std::string(name).c_str(), c.result.mode.c_str(), c.result.analysisRule ? c.result.analysisRule : '-',
              c.result.titles, c.result.subtitles, c.result.epigraphs, c.result.verses,
              ProseParagraphs(c.book).size());
}

// The first characters of a visible text with runs of blanks made one: how a source line and
// the paragraph it starts are matched.
std::string StartKey(std::string_view text) {
  const std::string visible = VisibleText(text);
  std::string key;
  for (size_t pos = 0; pos < visible.size() && CharLength(key) < 24;) {
    const char32_t c = common::NextCodePoint(visible, pos);
    if (c == U' ' && (key.empty() || key.back() == ' ')) continue;
    common::AppendUtf8(key, c);
  }
  return std::string(common::Trim(key));
}

// The start keys of every paragraph (prose, verse, epigraph), title and subtitle of a book.
std::set<std::string> ParagraphStarts(std::string_view book) {
  std::set<std::string> starts;
  for (std::string_view open : {markup::kParagraphStart, std::string_view("<B>")}) {
    for (size_t at = book.find(open); at != std::string_view::npos; at = book.find(open, at + 1)) {
      const size_t begin = at + open.size();
      const size_t end = book.find("</", begin);
      starts.insert(StartKey(book.substr(begin, end - begin)));
    }
  }
  return starts;
}

size_t CountStartingWith(const std::vector<std::string>& items, std::string_view prefix) {
  return std::count_if(items.begin(), items.end(), [&](const std::string& s) { return s.starts_with(prefix); });
}

TEST(TextCorpus, EveryTextBookConverts) {
  const std::filesystem::path folder = pw::test::CorpusPath("txt");
  if (folder.empty() || !std::filesystem::is_directory(folder)) GTEST_SKIP() << "no corpus";
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (common::LowerExtension(entry.path()) == "txt") names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  ASSERT_FALSE(names.empty());
  for (const std::string& name : names) {
    Converted converted;
    ASSERT_TRUE(ConvertCorpusBook(name, converted));
    CheckCommon(name, converted);
    EXPECT_FALSE(ProseParagraphs(converted.book).empty() && converted.result.verses == 0) << name;
  }
  std::printf("text corpus: %zu books converted\n", names.size());
}

// The author and title come from the first lines only where a book starts with them; no first
// line of prose, cast list, verse or manual is taken for either.
TEST(TextCorpus, AuthorAndTitleOnlyWhereTheBookHasThem) {
  const std::filesystem::path folder = pw::test::CorpusPath("txt");
  if (folder.empty() || !std::filesystem::is_directory(folder)) GTEST_SKIP() << "no corpus";
  const std::map<std::string, std::pair<std::string, std::string>> expected = {
      {"ru_lermontov_geroi_nashego_vremeni_utf8_libru_layout.txt", {"Михаил Лермонтов", "Герой нашего времени"}},
      {"ru_chekhov_vanka_utf8_oneline_noblank.txt", {"Антон Чехов", "ВАНЬКА"}},
      {"ru_pushkin_onegin_cp1251_crlf_libru_style.txt", {"Александр Сергеевич Пушкин", "Евгений Онегин"}},
      {"ru_pushkin_skazka_o_tsare_saltane_utf8_verse.txt",
       {"Александр Пушкин", "СКАЗКА О ЦАРЕ САЛТАНЕ, О СЫНЕ ЕГО СЛАВНОМ И МОГУЧЕМ БОГАТЫРЕ КНЯЗЕ ГВИДОНЕ САЛТАНОВИЧЕ "
                           "И О ПРЕКРАСНОЙ ЦАРЕВНЕ ЛЕБЕДИ"}}};
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (common::LowerExtension(entry.path()) != "txt") continue;
    Converted c;
    ASSERT_TRUE(ConvertCorpusBook(name, c));
    const auto want = expected.find(name);
    EXPECT_EQ(c.result.bookAuthor, want == expected.end() ? "" : want->second.first) << name;
    EXPECT_EQ(c.result.bookTitle, want == expected.end() ? "" : want->second.second) << name;
  }
}

TEST(TextCorpus, AliceChaptersProseAndVerse) {
  CONVERT_OR_SKIP("en_carroll_alice_ascii_crlf_noheader.txt", c);
  const std::vector<std::string> titles = HeadingTexts(c.book, markup::kTitleOpen);
  size_t chapterLines = 0;
  for (std::string_view line : Lines(c.source)) chapterLines += line.starts_with("CHAPTER ");
  EXPECT_EQ(chapterLines, 11u);
  EXPECT_EQ(CountStartingWith(titles, "CHAPTER "), chapterLines);
  EXPECT_NE(std::find(titles.begin(), titles.end(), "CHAPTER IV. The Rabbit Sends in a Little Bill"), titles.end());
  // Hard-wrapped prose joins into whole sentences: a paragraph that stops without an end mark
  // is rare (speech introduced by ":-" and a few lines of the shaped tale).
  size_t open = 0;
  const std::vector<std::string> prose = ProseParagraphs(c.book);
  for (std::string_view paragraph : prose) {
    while (!paragraph.empty() && IsClosingQuote(LastCodePointOr(paragraph))) paragraph.remove_suffix(1);
    const char32_t last = LastCodePointOr(paragraph);
    open += !(EndsSentence(paragraph) || last == U':' || last == U'-' || last == U';' || last == U')' || last == U']');
  }
  EXPECT_LT(open * 25, prose.size()) << open << " of " << prose.size();
  // The indented verse is verse, line by line.
  EXPECT_NE(c.book.find("<SPAN id=verse><I><FONT color=#3D00B9><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;"
                        "'How doth the little crocodile</DIV>\r\n"
                        "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Improve his shining tail,</DIV>"),
            std::string::npos);
}

TEST(TextCorpus, SonnetsAreTitledVerseLineByLine) {
  CONVERT_OR_SKIP("en_shakespeare_sonnets_utf8bom_crlf_verse.txt", c);
  const std::vector<std::string> titles = HeadingTexts(c.book, markup::kTitleOpen);
  ASSERT_EQ(titles.size(), 154u);
  EXPECT_EQ(titles.front(), "I");
  EXPECT_EQ(titles[29], "XXX");
  EXPECT_EQ(titles.back(), "CLIV");
  // Every line of a sonnet is one paragraph of the book, never joined to another.
  size_t lines = 0;
  for (std::string_view line : Lines(c.source)) lines += !common::Trim(line).empty();
  EXPECT_EQ(common::CountOccurrences(c.book, markup::kParagraphStart), lines - titles.size());
  EXPECT_GE(c.result.verses, 150u);
}

TEST(TextCorpus, OneginChaptersEpigraphsAndVerse) {
  CONVERT_OR_SKIP("ru_pushkin_onegin_cp1251_crlf_libru_style.txt", c);
  const std::vector<std::string> titles = HeadingTexts(c.book, markup::kTitleOpen);
  const std::vector<std::string> chapters = {"Глава первая", "Глава вторая",  "Глава третья",  "Глава четвертая",
                                             "Глава пятая",  "Глава шестая", "Глава седьмая", "Глава восьмая"};
  std::vector<std::string> found;
  std::copy_if(titles.begin(), titles.end(), std::back_inserter(found),
               [](const std::string& t) { return t.starts_with("Глава"); });
  // The verse lines "Глава халдейских мудрецов," and "Глава повес, трибун трактирный," stay verse.
  EXPECT_EQ(found, chapters);
  EXPECT_NE(std::find(titles.begin(), titles.end(), "XIV"), titles.end());
  EXPECT_NE(c.book.find("&nbsp;&nbsp;&nbsp;&nbsp;И жить торопится, и чувствовать спешит.</DIV>\r\n"
                        "<SPAN id=txtaut><FONT color=#A52A2A><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;"
                        "Князь Вяземский</DIV>"),
            std::string::npos);
  EXPECT_GE(c.result.epigraphs, 7u);
  EXPECT_NE(c.book.find("He мысля гордый свет забавить,"), std::string::npos);  // the Latin H stays
  // Verse lines stay lines: almost every non-empty, non-heading source line is a paragraph.
  size_t lines = 0;
  for (std::string_view line : Lines(c.source)) lines += !common::Trim(line).empty();
  const size_t paragraphs = common::CountOccurrences(c.book, markup::kParagraphStart);
  EXPECT_GT(paragraphs * 100, (lines - c.result.titles - c.result.subtitles) * 98);
}

TEST(TextCorpus, LermontovPartsChaptersAndDialogue) {
  CONVERT_OR_SKIP("ru_lermontov_geroi_nashego_vremeni_utf8_libru_layout.txt", c);
  EXPECT_EQ(c.result.mode, "tabulators");
  const std::vector<std::string> titles = HeadingTexts(c.book, markup::kTitleOpen);
  for (std::string_view title : {"Часть первая", "Часть вторая", "БЭЛА", "МАКСИМ МАКСИМЫЧ", "ЖУРНАЛ ПЕЧОРИНА",
                                 "ТАМАНЬ", "КНЯЖНА МЕРИ", "ФАТАЛИСТ", "Предисловие", "I", "II", "III"})
    EXPECT_NE(std::find(titles.begin(), titles.end(), title), titles.end()) << title;
  // Every indented line that does not go on in lower case starts a paragraph, a verse line or
  // a heading: none is glued across an indent. Dialogue lines start with the dash.
  const std::set<std::string> starts = ParagraphStarts(c.book);
  size_t indented = 0;
  size_t dialogue = 0;
  for (std::string_view line : Lines(c.source)) {
    const std::string_view trimmed = common::Trim(line);
    if (!line.starts_with("     ") || trimmed.empty() || IsLowerLetter(FirstCodePointOr(trimmed))) continue;
    ++indented;
    dialogue += trimmed.starts_with("- ");
    EXPECT_TRUE(starts.contains(StartKey(trimmed))) << line;
  }
  EXPECT_GT(indented, 1000u);
  EXPECT_GE(dialogue, 100u);
  EXPECT_EQ(CountStartingWith(ProseParagraphs(c.book), "-&nbsp;"), dialogue);
}

TEST(TextCorpus, PlayActsAndSpeakers) {
  CONVERT_OR_SKIP("ru_chekhov_vishnevyi_sad_play_utf8.txt", c);
  const std::vector<std::string> titles = HeadingTexts(c.book, markup::kTitleOpen);
  for (std::string_view act : {"ДЕЙСТВУЮЩИЕ ЛИЦА", "ДЕЙСТВИЕ ПЕРВОЕ", "ДЕЙСТВИЕ ВТОРОЕ", "ДЕЙСТВИЕ ТРЕТЬЕ",
                               "ДЕЙСТВИЕ ЧЕТВЕРТОЕ"})
    EXPECT_NE(std::find(titles.begin(), titles.end(), act), titles.end()) << act;
  // One paragraph per speaker line.
  const std::vector<std::string> prose = ProseParagraphs(c.book);
  size_t speakerLines = 0;
  for (std::string_view line : Lines(c.source)) speakerLines += line.starts_with("Лопахин.");
  EXPECT_GT(speakerLines, 50u);
  EXPECT_EQ(CountStartingWith(prose, "Лопахин."), speakerLines);
}

TEST(TextCorpus, VankaOneParagraphPerLine) {
  CONVERT_OR_SKIP("ru_chekhov_vanka_utf8_oneline_noblank.txt", c);
  EXPECT_EQ(c.result.mode, "line ends");
  const std::vector<std::string_view> lines = Lines(c.source);
  size_t nonEmpty = 0;
  size_t dialogue = 0;
  for (std::string_view line : lines) {
    nonEmpty += !common::Trim(line).empty();
    dialogue += common::Trim(line).starts_with("\u2014 ");
  }
  // The author and title lines are the book's header.
  EXPECT_EQ(c.result.bookAuthor, "Антон Чехов");
  EXPECT_EQ(c.result.bookTitle, "ВАНЬКА");
  EXPECT_EQ(ProseParagraphs(c.book).size() + c.result.titles + 2, nonEmpty);
  EXPECT_GT(dialogue, 0u);
  EXPECT_EQ(CountStartingWith(ProseParagraphs(c.book), "-&nbsp;"), dialogue);
}

TEST(TextCorpus, SaltanTitleBlockAndOneLongVerse) {
  CONVERT_OR_SKIP("ru_pushkin_skazka_o_tsare_saltane_utf8_verse.txt", c);
  // The author line and the four title lines in capitals are the book's header.
  EXPECT_EQ(c.result.bookAuthor, "Александр Пушкин");
  EXPECT_EQ(c.result.bookTitle, "СКАЗКА О ЦАРЕ САЛТАНЕ, О СЫНЕ ЕГО СЛАВНОМ И МОГУЧЕМ БОГАТЫРЕ КНЯЗЕ ГВИДОНЕ "
                                "САЛТАНОВИЧЕ И О ПРЕКРАСНОЙ ЦАРЕВНЕ ЛЕБЕДИ");
  EXPECT_TRUE(HeadingTexts(c.book, markup::kTitleOpen).empty());
  // With no empty line in the whole poem, the verse lines are still never glued together.
  size_t lines = 0;
  for (std::string_view line : Lines(c.source)) lines += !common::Trim(line).empty();
  EXPECT_EQ(common::CountOccurrences(c.book, markup::kParagraphStart), lines - 5);
  EXPECT_GE(c.result.verses, 1u);
}

TEST(TextCorpus, TheSameDocumentInThreeCodePagesGivesOneBook) {
  Converted koi8;
  Converted cp1251;
  Converted utf8;
  if (!ConvertCorpusBook("ru_vimtutor_koi8r.txt", koi8)) GTEST_SKIP() << "no corpus";
  ASSERT_TRUE(ConvertCorpusBook("ru_vimtutor_cp1251.txt", cp1251));
  ASSERT_TRUE(ConvertCorpusBook("ru_vimtutor_utf8.txt", utf8));
  EXPECT_EQ(koi8.book, cp1251.book);
  EXPECT_EQ(koi8.book, utf8.book);
  // Its "<ESC>" and "<ENTER>" are text, not markup.
  EXPECT_NE(utf8.book.find("&lt;ESC&gt;"), std::string::npos);

  Converted dos;
  Converted bom;
  ASSERT_TRUE(ConvertCorpusBook("ru_dos_readme_s3vbefix_cp866_lf.txt", dos));
  ASSERT_TRUE(ConvertCorpusBook("ru_dos_readme_s3vbefix_utf8bom.txt", bom));
  // The same text but for the marker line the UTF-8 copy starts with.
  EXPECT_EQ(common::ReplaceAll(bom.book, ".utf8! ", ""), dos.book);
}

}  // namespace
}  // namespace pw::import
