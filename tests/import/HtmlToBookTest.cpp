#include "import/HtmlToBook.h"

#include <gtest/gtest.h>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "support/TestSupport.h"

namespace pw::import {
namespace {

namespace fs = std::filesystem;

struct Converted {
  std::string book;
  HtmlImportReport report;
};

Converted Convert(std::string_view html, const HtmlImportOptions& options = {}) {
  common::RecordingProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  Converted out;
  out.book = ConvertHtmlToHtml0(html, session, options, &out.report);
  EXPECT_EQ(progress.statuses.front(), "...converting to Pagewright format......getting styles...");
  return out;
}

// The part of the book between the body tag and the last-paragraph mark.
std::string BodyOf(const std::string& book) {
  const size_t body = book.find("<BODY");
  const size_t start = book.find('>', body) + 1;
  const size_t end = book.find("<DIV id=LastPar");
  return book.substr(start, end - start);
}

size_t Count(std::string_view text, std::string_view part) { return common::CountOccurrences(text, part); }

TEST(HtmlToBook, MessyDocumentGolden) {
  const std::string html =
      "<!DOCTYPE html><HTML><Head><title>Not text</title><STYLE>.b1 { FONT-WEIGHT: bold } p.it, .x {font-style:italic}"
      "</STYLE><script>var x = '<p>script text</p>';</script></head>\n"
      "<body bgcolor=white><h1>Alice Lee. The Long Way</h1>\n"
      "<!-- <p>a commented paragraph</p> -->\n"
      "<H2 id=ch1>Chapter 1</H2><p class=it>First para with H<sub>2</sub>O and x<SUP>2</sup>, <span class=b1>bold "
      "span</span> and <span class=x>italic span</span>.\n<p>Unclosed <b>bold <i>both</b> italic</i> paragraph\n"
      "<P ALIGN=center><IMG SRC=\"pic one.png\" alt='a &amp; b'></P><ul><li>first item<li>second <u>item</u></ul>\n"
      "<h3>A subtitle</h3><p>Text &amp; more &lt;not a tag&gt; &copy; &nbsp;&nbsp; spaced -- dashed ...... dots .</p>"
      "<table><tr><td>table junk</td></tr></table><p>See <a href=#ch1>chapter one</a> and "
      "<a href=\"http://example.org/?a=1&amp;b=2\">a site</a>.<br>After a break.</p>"
      "<pre>\n     An indented first line\nwrapped on.\n\n     Second &lt;paragraph&gt;\n</pre>"
      "<form><select><option>form junk</select></form><H2>Chapter 2</H2><div>In a div</div></body></html>";
  const auto out = Convert(html);
  EXPECT_TRUE(test::MatchesGolden(out.book, "import/html_messy.html0"));
  const std::string body = BodyOf(out.book);
  for (const std::string_view junk : {"Not text", "script text", "commented", "table junk", "form junk", "FONT-WEIGHT"})
    EXPECT_EQ(body.find(junk), std::string::npos) << junk;
  EXPECT_NE(body.find("H<SUB>2</SUB>O and x<SUP>2</SUP>"), std::string::npos);
  EXPECT_NE(body.find("<B>bold span</B>"), std::string::npos);
  EXPECT_NE(body.find("Unclosed <B>bold <I>both</I></B> <I>italic</I> paragraph"), std::string::npos) << body;
  EXPECT_NE(body.find("<IMG src=\"pic one.png\">"), std::string::npos);
  EXPECT_NE(body.find("first item</DIV>"), std::string::npos);
  EXPECT_NE(body.find("second <U>item</U></DIV>"), std::string::npos);
  EXPECT_NE(body.find("Text &amp; more &lt;not a tag&gt; © spaced - dashed ... dots.</DIV>"), std::string::npos) << body;
  EXPECT_NE(body.find("<A href=\"#ch1\">chapter one</A>"), std::string::npos);
  EXPECT_NE(body.find("An indented first line wrapped on.</DIV>"), std::string::npos);
  EXPECT_EQ(out.report.titles, 2u);
  EXPECT_EQ(out.report.subtitles, 1u);
  EXPECT_EQ(out.report.bookAuthor, "Alice Lee");
  EXPECT_EQ(out.report.bookTitle, "The Long Way");
  EXPECT_EQ(Count(body, "<"), Count(body, ">"));
}

TEST(HtmlToBook, PicturesOutsideTheSourceFolderAreNeverCopied) {
  test::ScratchFolder place;
  const fs::path source = place / "source";
  const fs::path book = place / "book";
  fs::create_directories(source);
  fs::create_directories(book);
  ASSERT_TRUE(common::WriteFileAtomic(place / "secret.jpg", "private"));
  ASSERT_TRUE(common::WriteFileAtomic(source / "notes.txt", "private too"));
  fs::create_symlink(place / "secret.jpg", source / "link.jpg");
  HtmlImportOptions options;
  options.sourceFolder = source;
  options.bookFolder = book;
  const std::string secret = (place / "secret.jpg").string();
  const auto out = Convert("<p><img src=\"" + secret + "\"><IMG src=\"file://" + secret +
                               "\"><img src=../secret.jpg><img src=%2E%2E/secret.jpg><img src=link.jpg>"
                               "<img src=notes.txt><img src=/etc/passwd>",
                           options);
  EXPECT_EQ(out.report.copiedPictures, 0u);
  EXPECT_TRUE(fs::is_empty(book));
}

TEST(HtmlToBook, ManyLoneAmpersandsStayLinearAndEscaped) {
  // Every lone "&" used to look for its ";" to the end of the text: quadratic in the book.
  std::string page = "<p>";
  constexpr size_t kCount = 200000;
  for (size_t i = 0; i < kCount; ++i) page += "a & ";
  page += "b &amp; c &#1046; d &unknownentity; e</p>";
  const std::string body = BodyOf(Convert("<html><body>" + page + "</body></html>").book);
  EXPECT_EQ(Count(body, "a &amp; a"), kCount / 2);
  EXPECT_NE(body.find("b &amp; c Ж d &amp;unknownentity; e"), std::string::npos) << body.substr(body.size() - 200);
}

TEST(HtmlToBook, StyleClasses) {
  const auto classes = ReadStyleClasses("p.a, span.b {font-weight:700} .c{ font-style : oblique } div .d {font-weight:bold}"
                                        " .e {color:red}");
  ASSERT_EQ(classes.size(), 3u);
  EXPECT_EQ(classes[0].name, "a");
  EXPECT_TRUE(classes[1].bold);
  EXPECT_TRUE(classes[2].italic);
  EXPECT_FALSE(classes[2].bold);
}

TEST(HtmlToBook, PicturesBesideTheSourceAreCopied) {
  test::ScratchFolder source;
  test::ScratchFolder book;
  ASSERT_TRUE(common::WriteFileAtomic(source / "img.png", "png bytes"));
  fs::create_directories(source / "sub");
  ASSERT_TRUE(common::WriteFileAtomic(source / "sub/img.png", "other bytes"));
  HtmlImportOptions options;
  options.sourceFolder = source.path();
  options.bookFolder = book.path();
  const auto out = Convert("<p><img src=img.png> <img src=\"sub/img.png\"><img src=img.png><img src=http://x/y.png>"
                           "<img src=missing.png>",
                           options);
  EXPECT_EQ(out.report.copiedPictures, 2u);
  EXPECT_EQ(out.report.pictures, 5u);
  EXPECT_TRUE(fs::exists(book / "img.png"));
  EXPECT_TRUE(fs::exists(book / "img_2.png"));
  EXPECT_NE(out.book.find("<IMG src=\"img.png\"> <IMG src=\"img_2.png\"><IMG src=\"img.png\"><IMG src=\"http://x/y.png\">"
                          "<IMG src=\"missing.png\">"),
            std::string::npos);
}

// The titles of a book, in order.
std::vector<std::string> Titles(const std::string& book, std::string_view open = "<SPAN id=title>") {
  std::vector<std::string> titles;
  for (size_t at = book.find(open); at != std::string::npos; at = book.find(open, at + 1)) {
    const size_t b = book.find("<B>", at) + 3;
    titles.push_back(book.substr(b, book.find("</B>", b) - b));
  }
  return titles;
}

TEST(HtmlToBook, TheRepeatedLevelCarriesTheChapters) {
  // h1 the book, h2 the author and the chapters, h3 inside chapters, "Contents" over nothing.
  const auto out = Convert(
      "<h1>The Long Way</h1><h2>by Alice Lee</h2><h2>Contents</h2><table><tr><td>1</td></tr></table>"
      "<h2>Chapter 1</h2><h3>Morning</h3><p>One.</p><h2>Chapter 2</h2><p>Two.</p><h2>Chapter 3</h2><p>Three.</p>");
  EXPECT_EQ(out.report.bookTitle, "The Long Way");
  EXPECT_EQ(out.report.bookAuthor, "Alice Lee");
  EXPECT_EQ(Titles(out.book), (std::vector<std::string>{"Chapter 1", "Chapter 2", "Chapter 3"}));
  EXPECT_EQ(Titles(out.book, "<SPAN id=subtitle>"), (std::vector<std::string>{"Contents", "Morning"}));

  // Parts above the chapter level are titles too; deeper levels stay subtitles.
  const auto parts = Convert("<h1>Part One</h1><h2>I</h2><p>a</p><h2>II</h2><p>b</p><h1>Part Two</h1><h2>III</h2>"
                             "<p>c</p><h4>Note</h4><p>d</p>");
  EXPECT_EQ(parts.report.bookTitle, "");
  EXPECT_EQ(Titles(parts.book), (std::vector<std::string>{"Part One", "I", "II", "Part Two", "III"}));
  EXPECT_EQ(parts.report.subtitles, 1u);
}

TEST(HtmlToBook, PicturesCaptionsAndPageNumbersInsideHeadings) {
  const auto out = Convert(
      "<h1>Pride</h1>"
      "<h2><a id=\"CHAPTER_I\"></a><span class=\"pagenum\"><a id=\"Page_1\">{1}</a></span>"
      "<img src=\"i_001.jpg\" alt=\"\"><br><span class=\"caption\">I hope Mr. Bingley will like it.</span> "
      "CHAPTER II.</h2><p>Text.</p>"
      "<h2><span class=\"pagenum\">{ix}</span></h2><p>More.</p>"
      "<h2>CHAPTER III.</h2><p>End.</p>");
  EXPECT_EQ(Titles(out.book), (std::vector<std::string>{"CHAPTER II.", "CHAPTER III."}));
  const std::string body = BodyOf(out.book);
  // The picture stands before the heading, its caption under it as a paragraph, the anchors
  // stay, the page numbers go.
  const size_t picture = body.find("<IMG src=\"i_001.jpg\">");
  const size_t caption = body.find("I hope Mr. Bingley will like it.</DIV>");
  const size_t heading = body.find("<B>CHAPTER II.</B>");
  ASSERT_NE(picture, std::string::npos) << body;
  EXPECT_LT(picture, caption);
  EXPECT_LT(caption, heading);
  EXPECT_NE(body.find("<A name=\"CHAPTER_I\"></A>"), std::string::npos);
  EXPECT_NE(body.find("<A name=\"Page_1\"></A>"), std::string::npos);
  EXPECT_EQ(body.find("{1}"), std::string::npos);
  EXPECT_EQ(body.find("{ix}"), std::string::npos);
}

TEST(HtmlToBook, TheCoverOfAPage) {
  test::ScratchFolder source;
  test::ScratchFolder book;
  fs::create_directories(source / "images");
  ASSERT_TRUE(common::WriteFileAtomic(source / "images/front.jpg", "jpeg bytes"));
  ASSERT_TRUE(common::WriteFileAtomic(source / "images/other.png", "png bytes"));
  const std::string page = "<html><head><link rel=\"coverpage\" href=\"images/front.jpg\"></head><body>"
                           "<p>Text <img src=\"images/other.png\"></p></body></html>";
  ASSERT_TRUE(common::WriteFileAtomic(source / "page.html", page));
  common::NullProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  HtmlImportReport report;
  ASSERT_TRUE(ConvertHtmlFileToHtml0(source / "page.html", book / "page.html0", session, &report));
  // The head's cover is shown first in the book and kept as the book's cover.
  EXPECT_EQ(report.coverPicture, "front.jpg");
  EXPECT_TRUE(fs::exists(book / "cover.jpg"));
  EXPECT_TRUE(fs::exists(book / "other.png"));

  // Without a cover link, the first picture before any text is the cover; one after text is not.
  HtmlImportOptions options;
  options.sourceFolder = source.path();
  options.bookFolder = book.path();
  EXPECT_EQ(Convert("<p><img src=\"images/other.png\"></p><h1>T</h1><p>x</p>", options).report.coverPicture,
            "other.png");
  EXPECT_EQ(Convert("<p>x</p><p><img src=\"images/other.png\"></p>", options).report.coverPicture, "");
}

TEST(HtmlToBook, TextExtractionAndClipboard) {
  common::NullProgress progress;
  EXPECT_EQ(ExtractTextFromHtml("<html><head><title>t</title></head><body><h1>Head</h1><p>One&nbsp;two&shy;three</p>"
                                "<div>x<br>y</div><script>no</script>&amp;#1046;</body></html>",
                                progress),
            "\nHead\nOne twothree\nx\ny\nЖ");
  const std::string clip = FormatClipboardHtml("<h2>Title</h2><p><b>bold</b> <font color=red>red</font></p>", progress);
  EXPECT_EQ(clip,
            "<DIV align=center><B>Title</B></DIV>\r\n<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;<B>bold</B> red</DIV>\r\n");
}

TEST(HtmlToBook, NothingKeptFallsBackToTheTextPath) {
  test::ScratchFolder folder;
  ASSERT_TRUE(common::WriteFileAtomic(folder / "t.html", "<html><body><table><tr><td>Only a table of text that the "
                                                         "formatting path drops.</td></tr></table></body></html>"));
  common::NullProgress progress;
  common::RecordingSink sink;  // answers the default: yes
  common::Messages messages(sink);
  common::Session session(progress, messages);
  ASSERT_TRUE(ConvertHtmlFileToHtml0(folder / "t.html", folder / "t.html0", session));
  EXPECT_EQ(sink.shown.back(), "cannot transform to Pagewright format keeping original format");
  ASSERT_EQ(sink.asked.size(), 1u);
  std::string book;
  ASSERT_TRUE(common::ReadWholeFile(folder / "t.html0", book));
  EXPECT_NE(book.find("Only a table of text"), std::string::npos);
}

TEST(HtmlToBook, CorpusBooks) {
  const fs::path alice = test::CorpusPath("html/en_carroll_alice_pg_xhtml1_old.htm");
  const fs::path cp1251 = test::CorpusPath("html/ru_pushkin_kapitanskaya_dochka_libru_cp1251.html");
  const fs::path utf8 = test::CorpusPath("html/ru_pushkin_kapitanskaya_dochka_libru_utf8.html");
  if (alice.empty() || !fs::exists(alice)) GTEST_SKIP() << "no sample corpus beside the checkout";
  const auto convert = [](const fs::path& path, HtmlImportReport& report) {
    test::ScratchFolder folder;
    common::NullProgress progress;
    common::RecordingSink sink;
    common::Messages messages(sink);
    common::Session session(progress, messages);
    session.settings.importLanguage = "auto";
    EXPECT_TRUE(ConvertHtmlFileToHtml0(path, folder / "book.html0", session, &report)) << path;
    std::string book;
    EXPECT_TRUE(common::ReadWholeFile(folder / "book.html0", book));
    return book;
  };
  HtmlImportReport report;
  const std::string aliceBook = convert(alice, report);
  for (const char* chapter : {"CHAPTER I.", "CHAPTER VI.", "CHAPTER XII."})
    EXPECT_NE(aliceBook.find(std::string("<SPAN id=title><DIV align=center><FONT color=#001950><B>") + chapter),
              std::string::npos)
        << chapter;
  EXPECT_EQ(Count(aliceBook, "<SPAN id=title>"), 12u);
  EXPECT_EQ(report.bookAuthor, "Lewis Carroll");
  for (const std::string_view junk : {"<style", "<script", "<!--", "text-indent"})
    EXPECT_EQ(common::FindAsciiCaseless(BodyOf(aliceBook), junk), std::string::npos) << junk;
  // The newer twin: the same twelve chapters, and its cover picture from beside the page.
  const fs::path twin = test::CorpusPath("html/en_carroll_alice_pg_xhtml_with_image/11-h.htm");
  HtmlImportReport twinReport;
  const std::string twinBook = convert(twin, twinReport);
  EXPECT_EQ(Titles(twinBook), Titles(aliceBook));
  EXPECT_EQ(twinReport.coverPicture, "cover.jpg");
  EXPECT_EQ(twinReport.bookAuthor, "Lewis Carroll");
  std::printf("Alice: %zu titles, %zu subtitles, %zu paragraphs\n", report.titles, report.subtitles, report.paragraphs);

  HtmlImportReport r1, r2;
  const std::string pushkin1 = convert(cp1251, r1);
  const std::string pushkin2 = convert(utf8, r2);
  EXPECT_EQ(pushkin1, pushkin2);
  EXPECT_EQ(r1.bookAuthor, "Александр Сергеевич Пушкин");
  EXPECT_EQ(r1.bookTitle, "Капитанская дочка");
  EXPECT_EQ(r1.titles, 15u);  // fourteen chapters and the appendix
  EXPECT_NE(pushkin1.find("<B>ГЛАВА XIV. СУД.</B>"), std::string::npos);
  std::printf("Captain's daughter: %zu titles, %zu paragraphs\n", r1.titles, r1.paragraphs);
}

}  // namespace
}  // namespace pw::import
