#include "fb2/DescriptionReader.h"

#include <gtest/gtest.h>

#include "common/CodePage.h"
#include "common/Files.h"
#include "fb2/DescriptionDisplay.h"
#include "markup/DescriptionPlace.h"
#include "support/TestSupport.h"

namespace pw::fb2 {
namespace {

namespace fs = std::filesystem;

Fb2Description Everything() {
  Fb2Description d;
  d.genres = {"sf_history", "adventure"};
  d.authors = {{"Анна", "Б.", "Писатель", "", ""}, {"Carl", "", "van Second", "", ""}};
  d.title = "Tom & Jerry <2>";
  d.annotation = "First paragraph.\nSecond \"quoted\" paragraph.";
  d.keywords = "cats, mice";
  d.date = "February 2001";
  d.dateValue = "2001-02-03";
  d.coverId = "cover.jpg";
  d.lang = "ru";
  d.srcLang = "en";
  d.translators = {{"Tran", "", "Slator", "", ""}};
  d.sequenceName = "Cartoons & Co";
  d.sequenceNumber = "2";
  d.documentAuthors = {{"", "", "", "maker", "maker@example.org"}};
  d.program = "Some Editor, Pagewright";
  d.documentDate = "1.1.2020";
  d.documentDateValue = "2020-01-01";
  d.srcUrl = "http://example.org/?a=1&b=2";
  d.srcOcr = "OCR person";
  d.id = "ABC-123";
  d.version = "1.1";
  d.history = "Made.\nMended.";
  d.bookName = "The Printed Book";
  d.publisher = "House";
  d.city = "Town";
  d.year = "1999";
  d.isbn = "123-4";
  d.customInfo = "Free text";
  return d;
}

TEST(DescriptionReader, ReadsBackWhatTheWriterWrites) {
  const Fb2Description written = Everything();
  const auto read = ReadDescription(WriteDescription(written));
  ASSERT_TRUE(read);
  EXPECT_EQ(WriteDescription(*read), WriteDescription(written));
  EXPECT_EQ(read->authors, written.authors);
  EXPECT_EQ(read->title, "Tom & Jerry <2>");
  EXPECT_EQ(read->annotation, written.annotation);
  EXPECT_EQ(read->history, written.history);
  EXPECT_EQ(read->coverId, "cover.jpg");
  EXPECT_EQ(read->sequenceName, "Cartoons & Co");
  EXPECT_EQ(read->srcUrl, written.srcUrl);
}

TEST(DescriptionReader, ReadsBrokenDescriptions) {
  const auto d = ReadDescription(
      "<FictionBook xmlns:x=\"http://www.w3.org/1999/xlink\"><description>\n<!-- a comment -->\n<title-info>"
      "<genre match=\"100\"> prose </genre><genre>poetry</genre>"
      "<author><first-name>A</first-name><last-name>B & C</last-name><home-page>h</home-page></author>"
      "<author><first-name>A</first-name><last-name>B & C</last-name></author>"
      "<book-title>  Many\n   blanks &laquo;here&raquo; &#x41;&nbsp;</book-title>"
      "<annotation><p>One<p>Two</p><poem><stanza><v>Verse</v></stanza></poem><empty-line/>"
      "<cite><p>Cited</p><text-author>Who</text-author></cite></annotation>"
      "<coverpage><image x:href=\"#front.png\"/></coverpage>"
      "<sequence name=\"First\" number=\"1\"/><sequence name=\"Second\"/>"
      "</title-info><document-info><src-url>one</src-url><src-url>two</src-url><history><p>H</p></history>"
      "</description><body><p>x</p></body></FictionBook>");
  ASSERT_TRUE(d);
  EXPECT_EQ(d->genres, (std::vector<std::string>{"prose", "poetry"}));
  ASSERT_EQ(d->authors.size(), 1u) << "the same author given twice is kept once";
  EXPECT_EQ(d->authors[0].last, "B & C");
  EXPECT_EQ(d->title, "Many blanks «here» A\u00A0");
  EXPECT_EQ(d->annotation, "One\nTwo\nVerse\nCited\nWho");
  EXPECT_EQ(d->coverId, "front.png");
  EXPECT_EQ(d->sequenceName, "First");
  EXPECT_EQ(d->sequenceNumber, "1");
  EXPECT_EQ(d->lang, "eng") << "a missing language";
  EXPECT_EQ(d->srcUrl, "one");
  EXPECT_EQ(d->history, "H");

  EXPECT_FALSE(ReadDescription("<FictionBook><body><p>no description</p></body></FictionBook>"));
  EXPECT_FALSE(ReadDescription(""));
}

TEST(DescriptionReader, ReadsFilesInTheirEncoding) {
  const std::string title = "Капитанская дочка";
  const std::string file = "<?xml version=\"1.0\" encoding=\"windows-1251\"?><FictionBook><description><title-info>"
                           "<book-title>" +
                           common::EncodeFromUtf8(title, common::CodePage::Win1251) +
                           "</book-title><lang>ru</lang></title-info></description><body/><binary id=\"b\" "
                           "content-type=\"image/png\">QUJD</binary></FictionBook>";
  const auto d = ReadFb2FileDescription(file);
  ASSERT_TRUE(d);
  EXPECT_EQ(d->title, title);
  EXPECT_EQ(d->lang, "ru");
}

TEST(DescriptionReader, LoadsFromAFileIntoTheBookFolder) {
  test::ScratchFolder folder;
  common::RecordingProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  session.workFolder = folder.path();

  const fs::path source = folder / "book.fb2";
  ASSERT_TRUE(common::WriteFileAtomic(source, "<FictionBook><description><title-info><book-title>Loaded</book-title>"
                                              "</title-info></description><body><p>x</p></body></FictionBook>"));
  const auto loaded = LoadFb2Description(source, session);
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->title, "Loaded");
  const auto current = ReadDescriptionFile(folder.path());
  ASSERT_TRUE(current);
  EXPECT_EQ(current->title, "Loaded");
  EXPECT_TRUE(sink.shown.empty());

  // A file without a description says so and leaves the current description alone.
  const fs::path bare = folder / "bare.fb2";
  ASSERT_TRUE(common::WriteFileAtomic(bare, "<FictionBook><body><p>x</p></body></FictionBook>"));
  EXPECT_FALSE(LoadFb2Description(bare, session));
  EXPECT_EQ(sink.shown, std::vector<std::string>{"Fiction Book description not found"});
  EXPECT_EQ(ReadDescriptionFile(folder.path())->title, "Loaded");

  sink.shown.clear();
  EXPECT_FALSE(LoadFb2Description(folder / "missing.fb2", session));
  ASSERT_EQ(sink.shown.size(), 1u);
  EXPECT_FALSE(ReadDescriptionFile(folder / "nowhere"));
}

TEST(DescriptionReader, CorpusDescriptions) {
  const fs::path tutorial = test::CorpusPath("fb2/ru_gribov_description_tutorial_no_xmldecl.fb2");
  if (tutorial.empty() || !fs::exists(tutorial)) GTEST_SKIP() << "sample corpus not beside the checkout";
  std::string bytes;
  ASSERT_TRUE(common::ReadWholeFile(tutorial, bytes));
  const auto d = ReadFb2FileDescription(bytes);
  ASSERT_TRUE(d);
  EXPECT_EQ(d->title, "Война и мир");
  EXPECT_EQ(d->genres.size(), 7u);
  ASSERT_EQ(d->authors.size(), 1u);
  EXPECT_EQ(d->authors[0].last, "Толстой");
  EXPECT_EQ(d->authors[0].nickname, "Лева");
  EXPECT_EQ(d->date, "1863-1869");
  EXPECT_EQ(d->dateValue, "1869-01-01");
  EXPECT_EQ(d->coverId, "cover.jpg") << "an unbound xlink prefix still names the cover";
  EXPECT_EQ(d->sequenceName, "Детство, Отрочество, Юность");
  EXPECT_EQ(d->sequenceNumber, "2");
  EXPECT_EQ(d->translators.size(), 1u);
  EXPECT_EQ(d->documentAuthors[0].nickname, "GribUser");
  EXPECT_EQ(d->program, "ClearTXT, XMLSpy, HomeSite 5.0");
  EXPECT_EQ(d->id, "GribUser_WarAndWorld_D49FHSH8l0HS5");
  EXPECT_EQ(d->version, "2.0");
  EXPECT_EQ(d->publisher, "ГИХЛ");
  EXPECT_EQ(d->year, "1957");
  EXPECT_NE(d->annotation.find("Здесь можно кого-нибудь процитировать"), std::string::npos);
  EXPECT_NE(d->customInfo.find("дополнительную информацию"), std::string::npos);

  const fs::path stub = test::CorpusPath("fb2/ru_edgecase_description_only_mojibake_no_xmldecl.fb2");
  ASSERT_TRUE(common::ReadWholeFile(stub, bytes));
  const auto s = ReadFb2FileDescription(bytes);
  ASSERT_TRUE(s);
  ASSERT_EQ(s->authors.size(), 1u) << "the duplicated author";
  EXPECT_EQ(s->authors[0].first, "Александр") << "text encoded twice is read as meant";
  EXPECT_EQ(s->authors[0].last, "Бушков");
  EXPECT_EQ(s->title, "Тринкомали");
  EXPECT_EQ(s->lang, "ru");
  EXPECT_EQ(s->id, "Mon Jun 10 21:46:00 2013");
}

TEST(DescriptionDisplay, Golden) {
  const auto d = ReadDescription(test::ReadData("fb2/import/description.fb2"));
  ASSERT_TRUE(d);
  const std::string display = MakeDescriptionDisplay(*d, common::ElementColours{});
  EXPECT_TRUE(display.starts_with(markup::kDescriptionDisplayOpen));
  EXPECT_TRUE(test::MatchesGolden(display, "fb2/import/description-display.html0"));
  // The block can be cut out of a stored book whole, nested spans and all.
  std::string book = "<BODY>text" + display + "more</BODY>";
  EXPECT_EQ(markup::CutDescriptionDisplay(book), display);
  EXPECT_EQ(book, "<BODY>textmore</BODY>");
}

}  // namespace
}  // namespace pw::fb2
