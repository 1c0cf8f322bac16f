// eReader books: the markup language to HTML and to text, and books written by the tests.
#include <gtest/gtest.h>

#include "import/palm/EReaderBook.h"
#include "import/palm/PalmBook.h"
#include "support/PalmFixtures.h"

namespace pw::import::palm {
namespace {

namespace fx = test::palm;

TEST(EReaderMarkup, CodesBecomeHtml) {
  const std::string markup =
      "\\x\\X0Chapter One\\X0\\x\n"
      "\\C0=\"Chapter One\"It was \\idark\\i and \\Bcold\\B, 5\\Sp2\\Sp \\a233t\\a233 \\U0416 \\\\ a<b.\\v hidden \\v\n"
      "\\cCentred\\c\n"
      "\\Q=\"here\"See \\q=\"#here\"this\\q and \\m=\"pic.png\" and a foot\\Fn=\"n1\"note\\Fn.\\-\n"
      "\\X1Part\\X1\n";
  const std::string html = EReaderMarkupToUtf8(markup, true);
  EXPECT_NE(html.find("<h1><h1>Chapter One</h1></h1>"), std::string::npos) << html;
  EXPECT_NE(html.find("<p>It was <i>dark</i> and <b>cold</b>, 5<sup>2</sup> \xC3\xA9t\xC3\xA9 \xD0\x96 \\ a&lt;b.</p>"),
            std::string::npos)
      << html;
  EXPECT_NE(html.find("<div align=center>Centred</div>"), std::string::npos);
  EXPECT_NE(html.find("<a name=\"here\"></a>See <a href=\"#here\">this</a> and <img src=\"pic.png\"> and a footnote."),
            std::string::npos)
      << html;
  EXPECT_NE(html.find("<h2>Part</h2>"), std::string::npos);
  EXPECT_EQ(html.find("hidden"), std::string::npos);
  EXPECT_EQ(html.find("\\"), html.find("\\ a&lt;"));  // no code left over
}

TEST(EReaderMarkup, PlainTextKeepsEveryCharacter) {
  const std::string text = EReaderMarkupToUtf8("Line \\a145one\\a146\n\n\\iSecond\\i \\a133 \\U00E9\\Sp\\\\", false);
  EXPECT_EQ(text, "Line \xE2\x80\x98one\xE2\x80\x99\n\nSecond \xE2\x80\xA6 \xC3\xA9\\");
  EXPECT_FALSE(EReaderMarkupHasStructure("plain \\iitalic\\i \\a145"));
  EXPECT_TRUE(EReaderMarkupHasStructure("\\x Title\\x"));
  // Codes cut off at the end of the text stop there.
  EXPECT_EQ(EReaderMarkupToUtf8("end \\a1", false), "end ");
  EXPECT_EQ(EReaderMarkupToUtf8("end \\U00", false), "end ");
  EXPECT_EQ(EReaderMarkupToUtf8("end \\m=\"never closed", false), "end ");
  EXPECT_EQ(EReaderMarkupToUtf8("end \\", false), "end ");
}

TEST(EReaderBook, BothCompressionsWithMetadataAndPictures) {
  for (const uint16_t compression : {2, 10}) {
    fx::EReaderSpec spec;
    spec.compression = compression;
    spec.markup = "\\xOne\\x\nFirst " + std::string(5000, 'q') + " \\m=\"cover.jpg\" last words.\n";
    spec.title = "Le Caf\xE9";
    spec.author = "Some Body";
    spec.pictures = {{"cover.jpg", fx::TinyJpeg()}, {"../evil.png", fx::TinyPng()}, {"junk.png", "not a picture"}};
    PalmBook book;
    ASSERT_EQ(ReadPalmBook(fx::EReaderBook(spec), book), PalmFailure::None) << compression;
    EXPECT_EQ(book.format, PalmFormat::EReader);
    EXPECT_TRUE(book.markup);
    EXPECT_EQ(book.title, "Le Caf\xC3\xA9");
    EXPECT_EQ(book.author, "Some Body");
    ASSERT_EQ(book.pictures.size(), 1u);  // a name that climbs folders and a non-picture are left out
    EXPECT_EQ(book.pictures[0].name, "cover.jpg");
    EXPECT_NE(book.text.find("<h1>One</h1>"), std::string::npos);
    EXPECT_NE(book.text.find(std::string(5000, 'q') + " <img src=\"cover.jpg\"> last words."), std::string::npos);
  }
}

TEST(EReaderBook, ProtectedAndDamagedBooks) {
  fx::EReaderSpec spec;
  spec.markup = "Some text.\n";
  PalmBook book;
  for (const uint16_t encrypted : {260, 272}) {
    spec.compression = encrypted;
    std::string file = fx::EReaderBook(spec);
    EXPECT_EQ(ReadPalmBook(file, book), PalmFailure::Protected);
  }
  spec.compression = 10;
  const std::string good = fx::EReaderBook(spec);
  const size_t record0 = fx::RecordOffset(good, 0);
  std::string nonText = good;
  fx::Set16(nonText, record0 + 12, 900);  // text records past the last record
  EXPECT_EQ(ReadPalmBook(nonText, book), PalmFailure::Damaged);
  std::string unknown = good;
  fx::Set16(unknown, record0, 3);
  EXPECT_EQ(ReadPalmBook(unknown, book), PalmFailure::UnsupportedCompression);
  std::string badZlib = good;
  badZlib[fx::RecordOffset(good, 1) + 3] ^= 0x55;
  EXPECT_EQ(ReadPalmBook(badZlib, book), PalmFailure::BadCompression);
  std::string metadata = good;
  fx::Set16(metadata, record0 + 44, 60000);  // the metadata record does not exist: no title, no harm
  ASSERT_EQ(ReadPalmBook(metadata, book), PalmFailure::None);
  EXPECT_EQ(book.title, "");
}

}  // namespace
}  // namespace pw::import::palm
