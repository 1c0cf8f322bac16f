// The Palm container and the PalmDoc compression: record bounds, lying headers, packing and
// unpacking, damaged streams.
#include <gtest/gtest.h>

#include <random>

#include "import/palm/PalmBook.h"
#include "import/palm/PalmDatabase.h"
#include "import/palm/PalmDocCompression.h"
#include "support/PalmFixtures.h"

namespace pw::import::palm {
namespace {

namespace fx = test::palm;

TEST(PalmDatabase, RecordsAreTheBytesBetweenOffsets) {
  const std::string file = fx::Database("TEXt", "REAd", {"first", "", "third record"}, "My Book");
  PalmDatabase database;
  ASSERT_EQ(ReadPalmDatabase(file, database), PalmReadError::None);
  EXPECT_EQ(database.name, "My Book");
  EXPECT_EQ(database.type, "TEXt");
  EXPECT_EQ(database.creator, "REAd");
  ASSERT_EQ(database.records.size(), 3u);
  EXPECT_EQ(database.records[0], "first");
  EXPECT_EQ(database.records[1], "");
  EXPECT_EQ(database.records[2], "third record");
  EXPECT_EQ(database.Record(7), "");
}

TEST(PalmDatabase, LyingHeadersAreRefused) {
  PalmDatabase database;
  EXPECT_EQ(ReadPalmDatabase("short", database), PalmReadError::NotPalm);
  std::string file = fx::Database("TEXt", "REAd", {"aaaa", "bbbb"});
  EXPECT_EQ(ReadPalmDatabase(file.substr(0, 78), database), PalmReadError::NotPalm);  // the list is cut off

  std::string pastEnd = file;
  fx::Set32(pastEnd, 78 + 8, static_cast<uint32_t>(file.size() + 10));  // the second record starts past the end
  EXPECT_EQ(ReadPalmDatabase(pastEnd, database), PalmReadError::Damaged);
  EXPECT_TRUE(database.records.empty());

  std::string backwards = file;
  fx::Set32(backwards, 78, static_cast<uint32_t>(file.size() - 1));  // the first record ends before it starts
  EXPECT_EQ(ReadPalmDatabase(backwards, database), PalmReadError::Damaged);

  std::string intoHeader = file;
  fx::Set32(intoHeader, 78, 4);  // a record inside the header
  EXPECT_EQ(ReadPalmDatabase(intoHeader, database), PalmReadError::Damaged);

  // A count far beyond the list: the entries that would lie in the records are not offsets.
  std::string lyingCount = file;
  fx::Set16(lyingCount, 76, 60000);
  EXPECT_NE(ReadPalmDatabase(lyingCount, database), PalmReadError::None);
}

TEST(PalmDocCompression, HandWrittenCodes) {
  // A literal, a run of 2 copied bytes, a blank pair, a reference 4 back of 5 bytes.
  const std::string packed = std::string("A") + "\x02xy" + "\xE2" + "\x80\x22";
  std::string out;
  ASSERT_TRUE(UnpackPalmDoc(packed, out));
  EXPECT_EQ(out, "Axy bxy bx");
}

TEST(PalmDocCompression, AnyTextUnpacksToItself) {
  std::mt19937 random(7);
  std::vector<std::string> texts = {"", "a", "   ", std::string(4096, 'z'), "abcabcabcabcabc the the the",
                                    "\x01\x02\x08\x09\x7F\x80\xFF blanks  @ and high bytes \xC3\xA9"};
  for (int n = 0; n < 50; ++n) {
    std::string text;
    const size_t length = random() % 4097;
    for (size_t i = 0; i < length; ++i) text += "ab c\xD0\xB0\x01\n"[random() % 8];
    texts.push_back(text);
  }
  for (const auto& text : texts) {
    const std::string packed = PackPalmDoc(text);
    std::string out = "before:";
    ASSERT_TRUE(UnpackPalmDoc(packed, out)) << text;
    EXPECT_EQ(out, "before:" + text);
    if (text.size() == 4096 && text[0] == 'z') {
      EXPECT_LT(packed.size(), 1000u);
    }
  }
}

TEST(PalmDocCompression, DamagedStreamsStopCleanly) {
  std::string out;
  EXPECT_FALSE(UnpackPalmDoc("\x80\x22", out));              // a reference before the first byte
  out = "earlier record";
  EXPECT_FALSE(UnpackPalmDoc("ab\x80\x30", out));            // 6 back reaches into an earlier record
  EXPECT_FALSE(UnpackPalmDoc("ab\x80", out));                // a pair cut off
  EXPECT_FALSE(UnpackPalmDoc("\x05" "abc", out));            // a literal run cut off
  out.clear();
  EXPECT_FALSE(UnpackPalmDoc(std::string(100, 'a'), out, 50));  // beyond the limit
  EXPECT_LE(out.size(), 50u);
}

TEST(PalmBook, PictureKindsByTheirFirstBytes) {
  EXPECT_EQ(PictureExtension(fx::TinyJpeg()), "jpg");
  EXPECT_EQ(PictureExtension(fx::TinyPng()), "png");
  EXPECT_EQ(PictureExtension("GIF89a......"), "gif");
  EXPECT_EQ(PictureExtension("FLIS\0\0\0\x08"), "");
  EXPECT_EQ(PictureExtension(""), "");
}

TEST(PalmBook, HtmlIsToldFromText) {
  EXPECT_TRUE(IsHtmlDocument("\r\n  <HTML><head></head><body>x</body></HTML>"));
  EXPECT_TRUE(IsHtmlDocument("<?xml version=\"1.0\"?><html/>"));
  EXPECT_TRUE(IsHtmlDocument("Some words first <p>then a paragraph</p>"));
  EXPECT_FALSE(IsHtmlDocument("Chapter 1\r\n\r\nIt was a <dark> night, a < b and c > d."));
}

TEST(PalmBook, MetadataInTheHeadOfAnHtmlText) {
  const std::string html =
      "<HTML><HEAD><metadata><dc-metadata><dc:Title>The Title</dc:Title>\n<DC:CREATOR role=aut> Some One "
      "</dc:creator></dc-metadata></metadata></HEAD>";
  EXPECT_EQ(HeadElementText(html, "dc:Title"), "The Title");
  EXPECT_EQ(HeadElementText(html, "dc:Creator"), "Some One");
  EXPECT_EQ(HeadElementText(html, "dc:Publisher"), "");
  EXPECT_EQ(HeadElementText("<dc:Title>never closed", "dc:Title"), "");
}

TEST(PalmDocBook, PlainAndPackedTextWithBookmarksAfterIt) {
  const std::string text = "Chapter 1\nIt was a dark night. " + std::string(9000, 'x') + " The end.";
  for (const bool pack : {false, true}) {
    PalmBook book;
    ASSERT_EQ(ReadPalmBook(fx::PalmDocBook(text, pack, {"BOOKMARK1", "BOOKMARK2"}), book), PalmFailure::None);
    EXPECT_EQ(book.format, PalmFormat::PalmDoc);
    EXPECT_EQ(book.text, text);
    EXPECT_EQ(book.encoding, TextEncoding::Unknown);
    EXPECT_FALSE(book.markup);
  }
}

TEST(PalmDocBook, DamagedBooksAreRefused) {
  const std::string good = fx::PalmDocBook("Some text of the book. " + std::string(5000, 'y'), true);
  PalmBook book;
  ASSERT_EQ(ReadPalmBook(good, book), PalmFailure::None);

  std::string tooManyRecords = good;
  fx::Set16(tooManyRecords, 78 + 8 * 3 + 2 + 8, 40);  // record 0 claims 40 text records of 2
  EXPECT_EQ(ReadPalmBook(tooManyRecords, book), PalmFailure::Damaged);

  std::string unknownCompression = good;
  fx::Set16(unknownCompression, 78 + 8 * 3 + 2, 7);
  EXPECT_EQ(ReadPalmBook(unknownCompression, book), PalmFailure::UnsupportedCompression);

  // Record 1 replaced by a reference that reaches back before its start.
  std::string badStream = good;
  const size_t record1 = 78 + 8 * 3 + 2 + 16;
  badStream[record1] = '\x80';
  badStream[record1 + 1] = '\x50';
  EXPECT_EQ(ReadPalmBook(badStream, book), PalmFailure::BadCompression);

  EXPECT_EQ(ReadPalmBook(good.substr(0, 90), book), PalmFailure::Damaged);  // truncated inside the record list
  EXPECT_EQ(ReadPalmBook(fx::Database("ABCD", "EFGH", {"x"}), book), PalmFailure::NotPalm);
}

}  // namespace
}  // namespace pw::import::palm
