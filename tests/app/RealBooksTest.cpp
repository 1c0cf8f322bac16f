// Real books through `pagewright convert --report`: chapters as sections, notes as a notes body,
// pictures and the cover carried along, and a filled description; every FB2 written passes the
// shipped schema and the public one.
#include <gtest/gtest.h>


#include <algorithm>
#include <map>

#include "common/Files.h"
#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Session.h"
#include "common/Utf8.h"
#include "import/Charset.h"
#include "import/Entities.h"
#include "import/HtmlToBook.h"
#include "markup/BookMarkup.h"
#include "common/Text.h"
#include "shell/StructureReport.h"
#include "shell/ToolInput.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;

std::string Quote(const fs::path& path) { return "'" + path.string() + "'"; }

struct Converted {
  std::string output;  // what the command printed
  shell::BookStructure book;
  std::string fb2;
};

// Converts `input` to FB2 with --report; the FB2 is checked against the schemas.
Converted ConvertToFb2(const fs::path& input, const test::ScratchFolder& folder, std::string_view name) {
  Converted c;
  const fs::path out = folder / (std::string(name) + ".fb2");
  const int code = test::RunCommand(test::ProgramPath().string() + " convert -q --yes --report " + Quote(input) +
                                        " -o " + Quote(out) + " --home " + Quote(folder / "home"),
                                    &c.output);
  EXPECT_EQ(code, 0) << c.output;
  EXPECT_TRUE(test::IsValidFb2File(out));
  EXPECT_TRUE(shell::ReadBookFileStructure(out, c.book));
  common::ReadWholeFile(out, c.fb2);
  return c;
}

std::vector<std::string> HeadingsAt(const shell::BookStructure& book, int level) {
  std::vector<std::string> texts;
  for (const auto& heading : book.headings)
    if (heading.level == level) texts.push_back(heading.text);
  return texts;
}

size_t CountStarting(const std::vector<std::string>& texts, std::string_view prefix) {
  return std::count_if(texts.begin(), texts.end(), [&](const std::string& t) { return t.starts_with(prefix); });
}

TEST(RealBooks, HtmlChaptersCoverAndAuthor) {
  const fs::path twin = test::CorpusPath("html/en_carroll_alice_pg_xhtml_with_image/11-h.htm");
  if (twin.empty() || !fs::exists(twin)) GTEST_SKIP() << "no sample corpus beside the checkout";
  test::ScratchFolder folder;
  // The page is opened from a folder of its own: its picture comes along with the copy.
  const Converted c = ConvertToFb2(twin, folder, "alice");
  EXPECT_EQ(CountStarting(HeadingsAt(c.book, 1), "CHAPTER "), 12u);
  EXPECT_TRUE(c.book.cover);
  EXPECT_GE(c.book.pictures, 1u);
  EXPECT_NE(c.fb2.find("<binary content-type=\"image/jpg\" id=\"cover.jpg\">"), std::string::npos);
  EXPECT_EQ(c.book.title, "Alice’s Adventures in Wonderland");
  ASSERT_EQ(c.book.authors.size(), 1u);
  EXPECT_EQ(c.book.authors[0], "Lewis Carroll");
  // The report says the same as the file.
  EXPECT_NE(c.output.find("  cover: yes\n"), std::string::npos) << c.output;
  EXPECT_NE(c.output.find("    1 CHAPTER XII. Alice’s Evidence\n"), std::string::npos) << c.output;

  const Converted old = ConvertToFb2(test::CorpusPath("html/en_carroll_alice_pg_xhtml1_old.htm"), folder, "old");
  EXPECT_EQ(CountStarting(HeadingsAt(old.book, 1), "CHAPTER "), 12u);
  EXPECT_EQ(HeadingsAt(old.book, 1).size(), 12u);
}

TEST(RealBooks, LibraryPageAuthorTitleAndChapters) {
  const fs::path page = test::CorpusPath("html/ru_pushkin_kapitanskaya_dochka_libru_utf8.html");
  if (page.empty() || !fs::exists(page)) GTEST_SKIP() << "no sample corpus beside the checkout";
  test::ScratchFolder folder;
  const Converted c = ConvertToFb2(page, folder, "pushkin");
  EXPECT_EQ(c.book.title, "Капитанская дочка");
  ASSERT_EQ(c.book.authors.size(), 1u);
  EXPECT_EQ(c.book.authors[0], "Александр Сергеевич Пушкин");
  const std::vector<std::string> titles = HeadingsAt(c.book, 1);
  EXPECT_EQ(CountStarting(titles, "ГЛАВА "), 14u);
  EXPECT_EQ(CountStarting(titles, "ПРИЛОЖЕНИЕ"), 1u);
  EXPECT_GE(c.book.epigraphs + c.book.pictures + titles.size(), 15u);
}

TEST(RealBooks, PdfPartsChaptersAndItsOwnDescription) {
  const fs::path pdf = test::CorpusPath("other/en_doyle_study_in_scarlet_pdftex.pdf");
  if (pdf.empty() || !fs::exists(pdf)) GTEST_SKIP() << "no sample corpus beside the checkout";
  if (shell::FindTool("", {"pdftohtml"}).empty()) GTEST_SKIP() << "pdftohtml is not installed";
  test::ScratchFolder folder;
  const Converted c = ConvertToFb2(pdf, folder, "doyle");
  std::vector<std::string> headings;
  for (const auto& heading : c.book.headings) headings.push_back(heading.text);
  EXPECT_EQ(CountStarting(headings, "PART "), 2u);
  EXPECT_EQ(CountStarting(headings, "CHAPTER "), 14u);
  EXPECT_NE(std::find(headings.begin(), headings.end(), "CHAPTER II. THE SCIENCE OF DEDUCTION."), headings.end());
  // No running head ("CHAPTER I" over every page) and no page number is left as text or heading.
  EXPECT_EQ(std::count(headings.begin(), headings.end(), "CHAPTER I"), 0);
  EXPECT_EQ(c.fb2.find("<p>CHAPTER I</p>"), std::string::npos);
  EXPECT_EQ(c.fb2.find("<p>17</p>"), std::string::npos);
  // Words broken at a line end are whole again.
  EXPECT_NE(c.fb2.find("particulars about the gentleman"), std::string::npos);
  EXPECT_EQ(c.book.title, "Sherlock Holmes 1: A Study in Scarlet");
  ASSERT_EQ(c.book.authors.size(), 1u);
  EXPECT_NE(c.book.authors[0].find("Doyle"), std::string::npos);
}

TEST(RealBooks, TextBookNotesBecomeANotesBody) {
  test::ScratchFolder folder;
  const fs::path text = folder / "novel.txt";
  std::string novel = "Лев Толстой. Война и мир\r\n\r\n\r\nЧасть первая\r\n\r\n";
  for (int n = 1; n <= 12; ++n) {
    novel += "     Абзац номер " + std::to_string(n) + " со сноской[" + std::to_string(n) + " - Перевод " +
             std::to_string(n) + " (фр.).] и продолжением текста, который идёт дальше.\r\n";
  }
  novel += "\r\nПримечания\r\n\r\n";
  for (int n = 1; n <= 12; ++n) novel += std::to_string(n) + "\r\n\r\nПеревод " + std::to_string(n) + " (фр.).\r\n\r\n";
  ASSERT_TRUE(common::WriteFileAtomic(text, novel));
  const Converted c = ConvertToFb2(text, folder, "novel");
  EXPECT_EQ(c.book.notes, 12u);
  EXPECT_EQ(c.book.noteLinks, 12u);
  EXPECT_NE(c.fb2.find("<body name=\"notes\">"), std::string::npos);
  // Every link leads to its note.
  for (int n = 1; n <= 12; ++n) {
    const std::string id = "n" + std::to_string(n);
    EXPECT_NE(c.fb2.find("l:href=\"#" + id + "\" type=\"note\""), std::string::npos) << id;
    EXPECT_NE(c.fb2.find("<section id=\"" + id + "\">"), std::string::npos) << id;
  }
  EXPECT_EQ(HeadingsAt(c.book, 1), std::vector<std::string>{"Часть первая"});
  EXPECT_EQ(c.book.title, "Война и мир");
  ASSERT_EQ(c.book.authors.size(), 1u);
  EXPECT_EQ(c.book.authors[0], "Лев Толстой");
  EXPECT_NE(c.fb2.find("<first-name>Лев</first-name>"), std::string::npos);
  EXPECT_NE(c.fb2.find("<last-name>Толстой</last-name>"), std::string::npos);
}

// What a reader of the source sees: the decoded text; for a page, its text without the head,
// tables and forms (which the page converter leaves out, as they hold no running text).
std::string SourceText(const fs::path& path) {
  std::string bytes;
  common::ReadWholeFile(path, bytes);
  common::NullProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  std::string text = import::DetectCharset(bytes, session);
  const std::string extension = common::LowerExtension(path);
  if (extension != "htm" && extension != "html") return text;
  for (const std::string_view name : {"table", "form", "select", "textarea", "noscript"}) {
    const std::string open = "<" + std::string(name), close = "</" + std::string(name) + ">";
    for (size_t at = common::FindAsciiCaseless(text, open); at != std::string::npos;
         at = common::FindAsciiCaseless(text, open, at)) {
      const size_t end = common::FindAsciiCaseless(text, close, at);
      text.erase(at, (end == std::string::npos ? text.size() : end + close.size()) - at);
    }
  }
  return import::ExtractTextFromHtml(text, progress);
}

// The text of the FB2's bodies (the main body and the notes), tags dropped, references decoded.
std::string BodiesText(std::string_view fb2) {
  const size_t start = fb2.find("<body");
  size_t end = fb2.find("<binary");
  if (end == std::string_view::npos) end = fb2.size();
  return import::ReplaceHtmlEntitiesUtf8(markup::OneLineText(fb2.substr(start, end - start)));
}

TEST(RealBooks, NoLetterOfASourceIsLost) {
  const fs::path corpus = test::CorpusPath("");
  if (corpus.empty() || !fs::exists(corpus)) GTEST_SKIP() << "no sample corpus beside the checkout";
  std::vector<fs::path> books;
  for (const char* folder : {"txt", "html"})
    for (const auto& entry : fs::recursive_directory_iterator(corpus / folder)) {
      const std::string extension = common::LowerExtension(entry.path());
      if (entry.is_regular_file() && (extension == "txt" || extension == "htm" || extension == "html"))
        books.push_back(entry.path());
    }
  ASSERT_FALSE(books.empty());
  test::ScratchFolder folder;
  std::string command = test::ProgramPath().string() + " convert -q --yes --to fb2 -o " + Quote(folder / "out") +
                        " --home " + Quote(folder / "home");
  for (const fs::path& book : books) command += " " + Quote(book);
  fs::create_directories(folder / "out");
  std::string output;
  ASSERT_EQ(test::RunCommand(command, &output), 0) << output;
  for (const fs::path& book : books) {
    std::string fb2;
    ASSERT_TRUE(common::ReadWholeFile(folder / "out" / (book.stem().string() + ".fb2"), fb2)) << book;
    const auto written = test::LetterCounts(BodiesText(fb2));
    std::string lost;
    // The word "by" of a "by Author" heading is the one thing a page gives up: the name is the
    // book's author.
    auto source = test::LetterCounts(SourceText(book));
    const std::string name = book.filename().string();
    if (name == "11-h.htm" || name == "en_carroll_alice_pg_xhtml1_old.htm")
      for (const auto& [letter, count] : test::LetterCounts(name == "11-h.htm" ? "by" : "By")) source[letter] -= count;
    for (const auto& [letter, count] : source) {
      const auto found = written.find(letter);
      const size_t have = found == written.end() ? 0 : found->second;
      if (have < count) lost += common::Utf8Of(letter) + " " + std::to_string(count - have) + "; ";
    }
    EXPECT_TRUE(lost.empty()) << book.filename() << ": letters lost: " << lost;
  }
}

}  // namespace
}  // namespace pw::app
