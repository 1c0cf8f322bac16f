#include "markup/StoredBook.h"

#include <gtest/gtest.h>

#include <random>

#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::markup {
namespace {

std::string Document(size_t length) {
  // Cyrillic text cut to an exact byte length (a cut may split a character: bytes are bytes).
  std::string text;
  while (text.size() < length) text += "<DIV>Глава о дороге, строка " + std::to_string(text.size()) + "</DIV>\r\n";
  return text.substr(0, length);
}

int32_t Int32At(const std::string& bytes, size_t pos) {
  uint32_t u = 0;
  for (int i = 0; i < 4; ++i) u |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[pos + i])) << (8 * i);
  return static_cast<int32_t>(u);
}

StoredBook RoundTrip(const StoredBook& book) {
  StoredBook back;
  std::string error;
  EXPECT_TRUE(ReadStoredBook(WriteStoredBook(book), back, error)) << error;
  return back;
}

TEST(StoredBook, BlockCountFollowsTheCuttingRule) {
  EXPECT_EQ(StoredBlockCount(0), 0u);
  EXPECT_EQ(StoredBlockCount(1), 0u);
  EXPECT_EQ(StoredBlockCount(2), 1u);
  EXPECT_EQ(StoredBlockCount(4096), 1u);
  EXPECT_EQ(StoredBlockCount(4097), 1u);  // the last block holds up to 4097 bytes
  EXPECT_EQ(StoredBlockCount(4098), 2u);
  EXPECT_EQ(StoredBlockCount(8193), 2u);
  EXPECT_EQ(StoredBlockCount(8194), 3u);
}

TEST(StoredBook, RoundTripsAtTheBlockEdges) {
  for (size_t length : {0u, 1u, 2u, 4096u, 4097u, 4098u, 8193u, 100000u}) {
    for (bool compressed : {false, true}) {
      StoredBook book;
      book.document = Document(length);
      book.compressed = compressed;
      const std::string bytes = WriteStoredBook(book);
      StoredBook back = RoundTrip(book);
      EXPECT_EQ(back.document, book.document) << length << (compressed ? " compressed" : " plain");
      EXPECT_EQ(back.compressed, compressed && length > 1) << length;
      if (compressed && length > 1) {
        const size_t header = bytes.find('>') + 1;
        EXPECT_EQ(static_cast<size_t>(Int32At(bytes, header)), StoredBlockCount(length));
        EXPECT_EQ(static_cast<size_t>(Int32At(bytes, header + 4)), length);
      }
    }
  }
}

TEST(StoredBook, IncompressibleBlocksAreKeptRaw) {
  std::mt19937 random(7);
  StoredBook book;
  for (int i = 0; i < 10000; ++i) book.document += static_cast<char>(random());
  book.compressed = true;
  const std::string bytes = WriteStoredBook(book);
  const size_t header = bytes.find('>') + 1;
  EXPECT_EQ(Int32At(bytes, header + 8), -4096);  // first block stored raw
  EXPECT_EQ(RoundTrip(book).document, book.document);
}

TEST(StoredBook, PicturesTravelWithAnyBytes) {
  StoredBook book;
  book.document = "<HTML><BODY><IMG src=\"a.png\"></BODY></HTML>";
  book.pictures = {{"a.png", std::string("\0\x89PNG<!/PwPictureData>\xFF", 24)}, {"b.jpg", ""}};
  for (bool compressed : {false, true}) {
    book.compressed = compressed;
    const StoredBook back = RoundTrip(book);
    EXPECT_EQ(back.document, book.document);
    ASSERT_EQ(back.pictures.size(), 2u);
    EXPECT_EQ(back.pictures[0].name, "a.png");
    EXPECT_EQ(back.pictures[0].data, book.pictures[0].data);
    EXPECT_EQ(back.pictures[1].data, "");
  }
}

TEST(StoredBook, APictureWithANameNoFileCanHaveIsLeftOutNotTheBook) {
  EXPECT_TRUE(IsStoredPictureName("Обложка 1.jpg"));
  for (const std::string_view bad : {"", ".", "..", "a/b.png", "a\\b.png", "c:x.png", "say \"hi\".jpg", "<b>.png"})
    EXPECT_FALSE(IsStoredPictureName(bad)) << bad;
  StoredBook book;
  book.document = "<BODY><IMG src='say \"hi\".jpg'><IMG src=\"ok.jpg\"></BODY>";
  book.pictures = {{"say \"hi\".jpg", "QUOTED"}, {"ok.jpg", "FINE"}};
  for (const bool compressed : {false, true}) {
    book.compressed = compressed;
    StoredBook back;
    std::string error;
    ASSERT_TRUE(ReadStoredBook(WriteStoredBook(book), back, error)) << error;
    EXPECT_EQ(back.document, book.document);
    ASSERT_EQ(back.pictures.size(), 1u);
    EXPECT_EQ(back.pictures[0].name, "ok.jpg");
  }
  // A file written before the names were checked on writing still opens, without that picture.
  const std::string older = "<!pwfile 0\x03\x04\x03\x04\x03\x04\x03\x04\x03\x04\x03not rated\x04\x03\x04><BODY>b</BODY>"
                            "<!PwPictureData src=\"a<b>.png\" length=2>xy<!/PwPictureData>"
                            "<!PwPictureData src=\"ok.png\" length=2>zz<!/PwPictureData><!PwDocumentLength=14>";
  StoredBook back;
  std::string error;
  ASSERT_TRUE(ReadStoredBook(older, back, error)) << error;
  EXPECT_EQ(back.document, "<BODY>b</BODY>");
  ASSERT_EQ(back.pictures.size(), 1u);
  EXPECT_EQ(back.pictures[0].data, "zz");
}

TEST(StoredBook, PageHoldingThePictureMarkerReadsBackEqual) {
  // A page that quotes the picture block's opening, even a whole fake block or a fake trailer,
  // must not be taken for the pictures.
  const std::string quoted = "<DIV>the block starts <!PwPictureData src=\"x.png\" length=3>abc<!/PwPictureData></DIV>";
  for (const std::string& document :
       {quoted, "<DIV>" + std::string("<!PwPictureData src=\"") + "</DIV>", quoted + "<!PwDocumentLength=3>",
        Document(9000) + "<!PwPictureData src=\"" + Document(100)}) {
    for (bool compressed : {false, true}) {
      for (size_t pictures : {0u, 2u}) {
        StoredBook book;
        book.document = document;
        book.compressed = compressed;
        if (pictures) book.pictures = {{"a.png", "<!PwPictureData src=\""}, {"b.png", "PNG"}};
        const StoredBook back = RoundTrip(book);
        EXPECT_EQ(back.document, document) << (compressed ? "compressed" : "plain") << pictures;
        ASSERT_EQ(back.pictures.size(), pictures);
        if (pictures) {
          EXPECT_EQ(back.pictures[0].data, book.pictures[0].data);
        }
      }
    }
  }
}

TEST(StoredBook, PlainFilesWithoutTheLayoutTrailerStillRead) {
  const std::string header = MakeStoredBookHeader(StoredBookHeader{}, false);
  const std::vector<StoredPicture> pictures{{"a.png", "PNGDATA"}};
  const std::string blocks = MakePictureBlocks(pictures);
  struct Case {
    std::string document;
    size_t pictures;
  };
  // An older file holding the marker in its text is read by the place its pictures really start;
  // one whose "pictures" never parse keeps everything as its document.
  for (const auto& [document, count] : std::vector<Case>{
           {"<BODY>plain</BODY>", 1}, {"<BODY>quoting <!PwPictureData src=\" here</BODY>", 1},
           {"<BODY>quoting <!PwPictureData src=\"x\" length=99></BODY>", 0}}) {
    StoredBook back;
    std::string error;
    const std::string bytes = header + document + (count ? blocks : "");
    ASSERT_TRUE(ReadStoredBook(bytes, back, error)) << error;
    EXPECT_EQ(back.document, document);
    ASSERT_EQ(back.pictures.size(), count);
    if (count) {
      EXPECT_EQ(back.pictures[0].data, "PNGDATA");
    }
  }
}

TEST(StoredBook, LyingLayoutTrailerIsRefused) {
  StoredBook book;
  book.document = "<BODY>text</BODY>";
  book.pictures = {{"a.png", "PNG"}};
  std::string bytes = WriteStoredBook(book);
  const size_t at = bytes.rfind("<!PwDocumentLength=");
  ASSERT_NE(at, std::string::npos);
  StoredBook back;
  std::string error;
  for (const std::string trailer : {"<!PwDocumentLength=99999>", "<!PwDocumentLength=5>"}) {
    EXPECT_FALSE(ReadStoredBook(bytes.substr(0, at) + trailer, back, error)) << trailer;
    EXPECT_FALSE(error.empty());
  }
}

TEST(StoredBook, HeaderFieldRules) {
  EXPECT_EQ(CleanHeaderValue("  line one\r\nline <two>\x03\x04  "), "line one\nline two");
  // What a removed character held apart is cleaned as well, so a cleaned value stays as it is.
  for (const std::string_view value : {"\x03 a \x04", "a\r<\n>b", "a\r\r\nb", "<\r\n>a", " \x03\r\n"}) {
    const std::string once = CleanHeaderValue(value);
    EXPECT_EQ(CleanHeaderValue(once), once) << value;
  }
  EXPECT_EQ(CleanHeaderValue("\x03 a \x04"), "a");
  EXPECT_EQ(CleanHeaderValue("a\r<\n>b"), "a\nb");
  StoredBookHeader header;
  header[HeaderField::Annotation] = "first\r\nsecond";
  header[HeaderField::Author] = "Пушкин";
  header[HeaderField::Title] = " Капитанская дочка ";
  EXPECT_EQ(MakeStoredBookHeader(header, false),
            "<!pwfile 0\x03" "first\nsecond\x04\x03Пушкин\x04\x03Капитанская дочка\x04"
            "\x03\x04\x03\x04\x03not rated\x04\x03\x04>");
  StoredBook book;
  book.header = header;
  book.document = "x";
  const StoredBook back = RoundTrip(book);
  EXPECT_TRUE(back.hasHeader);
  EXPECT_EQ(back.header[HeaderField::Title], "Капитанская дочка");
  EXPECT_EQ(back.header[HeaderField::Rating], "not rated");
}

TEST(StoredBook, OrdinaryAndOddFiles) {
  StoredBook book;
  std::string error;
  ASSERT_TRUE(ReadStoredBook("<HTML><BODY>x</BODY></HTML>", book, error));
  EXPECT_FALSE(book.hasHeader);
  EXPECT_EQ(book.document, "<HTML><BODY>x</BODY></HTML>");
  // A header without its closing ">" makes the whole file plain text.
  ASSERT_TRUE(ReadStoredBook("<!pwfile 0\x03" "a", book, error));
  EXPECT_EQ(book.document, "<!pwfile 0\x03" "a");
  // A header that does not parse is ignored, the document still read.
  ASSERT_TRUE(ReadStoredBook("<!pwfile 0 junk><BODY>", book, error));
  EXPECT_TRUE(book.hasHeader);
  EXPECT_EQ(book.document, "<BODY>");
  EXPECT_EQ(book.header[HeaderField::Title], "");
}

TEST(StoredBook, EveryTruncationIsRefusedOrExact) {
  StoredBook book;
  book.document = Document(9000);
  book.compressed = true;
  book.pictures = {{"p.png", "PICTURE"}};
  const std::string bytes = WriteStoredBook(book);
  const size_t header = bytes.find('>') + 1;
  // A cut right where the pictures start leaves a well-formed book without them; every other
  // cut is damage.
  const size_t picturesStart = bytes.size() - MakePictureBlocks(book.pictures).size();
  for (size_t cut = header; cut < bytes.size(); ++cut) {
    StoredBook back;
    std::string error;
    const bool read = ReadStoredBook(std::string_view(bytes).substr(0, cut), back, error);
    if (cut == picturesStart) {
      EXPECT_TRUE(read);
      EXPECT_EQ(back.document, book.document);
    } else {
      EXPECT_FALSE(read) << "cut at " << cut;
      EXPECT_FALSE(error.empty());
    }
  }
}

TEST(StoredBook, LyingTablesAreRefusedWithoutHugeAllocations) {
  StoredBook book;
  book.document = Document(9000);
  book.compressed = true;
  const std::string good = WriteStoredBook(book);
  const size_t header = good.find('>') + 1;
  auto patched = [&](size_t pos, int32_t value) {
    std::string bytes = good;
    for (int i = 0; i < 4; ++i) bytes[pos + i] = static_cast<char>((static_cast<uint32_t>(value) >> (8 * i)) & 0xFF);
    return bytes;
  };
  const std::vector<std::string> damaged{
      patched(header, 0x7FFFFFFF),          // block count
      patched(header, -1),                  // negative count
      patched(header + 4, 0x7FFFFFFF),      // original length
      patched(header + 4, 1),               // length that has no blocks
      patched(header + 8, 0),               // empty block
      patched(header + 8, 0x7FFFFFFF),      // block past the end
      patched(header + 8, -5),              // raw block of the wrong size
      patched(header + 12, -0x7FFFFFFF),
  };
  for (size_t i = 0; i < damaged.size(); ++i) {
    StoredBook back;
    std::string error;
    EXPECT_FALSE(ReadStoredBook(damaged[i], back, error)) << "case " << i;
  }
  std::string corrupt = good;
  corrupt[header + 12 + 8] ^= 0x55;  // inside the first zlib stream
  StoredBook back;
  std::string error;
  EXPECT_FALSE(ReadStoredBook(corrupt, back, error));
}

TEST(StoredBook, StrayHeadersAreRemoved) {
  std::string document = "<BODY>a <!pwfile 0\x03x\x04>b <!pwfile 1>c <!pwfile open";
  EXPECT_EQ(RemoveStrayHeaders(document), 2u);
  EXPECT_EQ(document, "<BODY>abc <!pwfile open");
}

TEST(StoredBook, FilesAndPicturesOnDisk) {
  test::ScratchFolder folder;
  StoredBook book;
  book.document = Document(5000);
  book.compressed = true;
  book.pictures = {{"cover.jpg", "JPEGDATA"}};
  std::string error;
  ASSERT_TRUE(SaveStoredBookFile(folder / "book.html0", book, error)) << error;
  const auto work = folder / "work";
  ASSERT_TRUE(common::MakeFolderIfMissing(work));
  StoredBook back;
  ASSERT_TRUE(LoadStoredBookFile(folder / "book.html0", work, back, error)) << error;
  EXPECT_EQ(back.document, book.document);
  std::string picture;
  ASSERT_TRUE(common::ReadWholeFile(work / "cover.jpg", picture));
  EXPECT_EQ(picture, "JPEGDATA");

  book.pictures = {{"../escape.jpg", "x"}};
  book.compressed = false;
  ASSERT_TRUE(SaveStoredBookFile(folder / "bad.html0", book, error));
  // A picture whose name leads out of the folder is left out; the book itself opens.
  ASSERT_TRUE(LoadStoredBookFile(folder / "bad.html0", work, back, error)) << error;
  EXPECT_EQ(back.document, book.document);
  EXPECT_TRUE(back.pictures.empty());
  EXPECT_FALSE(common::FileExists(folder / "escape.jpg"));
}

}  // namespace
}  // namespace pw::markup
