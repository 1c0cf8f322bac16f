// Mobipocket books written by the tests: headers, trailing entries, encodings, EXTH,
// pictures, protection, and the Huffman dictionary compression.
#include <gtest/gtest.h>

#include "import/palm/HuffCdic.h"
#include "import/palm/MobiBook.h"
#include "import/palm/PalmBook.h"
#include "support/PalmFixtures.h"

namespace pw::import::palm {
namespace {

namespace fx = test::palm;

const std::string kHtml =
    "<html><head><guide><reference type=\"toc\" filepos=0000000000 /></guide></head><body>"
    "<h1>Chapter One</h1><p>Caf\xC3\xA9 au lait, " + std::string(6000, 'w') + "</p>"
    "<p><img recindex=\"00002\" /></p><mbp:pagebreak/><h1>Chapter Two</h1><p>The end.</p></body></html>";

TEST(MobiBook, TrailingEntriesAreCutOffEachRecord) {
  EXPECT_EQ(TextLengthWithoutTrailers("text", 0), 4u);
  EXPECT_EQ(TextLengthWithoutTrailers(std::string("text\xE2\x01TAIL\x85"), 3), 4u);
  // Two entries: sizes are written backwards, seven bits a byte, the marked byte first.
  EXPECT_EQ(TextLengthWithoutTrailers(std::string("textAB\x83") + std::string(130, 'e') + "\x81\x04", 6), 4u);
  // Only a multibyte tail: the low two bits count the bytes before the count byte.
  EXPECT_EQ(TextLengthWithoutTrailers(std::string("text\xD0\xB0\x02"), 1), 4u);
  // Sizes larger than the record leave nothing, never less.
  EXPECT_EQ(TextLengthWithoutTrailers(std::string("\xFF"), 2), 0u);
  EXPECT_EQ(TextLengthWithoutTrailers(std::string("\x03"), 1), 0u);
  EXPECT_EQ(TextLengthWithoutTrailers("", 0xFFFF), 0u);
}

TEST(MobiBook, LinksByPositionLeadToAnchors) {
  EXPECT_EQ(LinkFilePositions("<p>ab</p><a filepos=0000000009>x</a><a FILEPOS=\"1\">y</a>"),
            "<a id=\"filepos0\"></a><p>ab</p><a id=\"filepos9\"></a><a href=\"#filepos9\">x</a>"
            "<a href=\"#filepos0\">y</a>");
  // Past the end, without digits, or not an attribute: left as it is.
  for (const std::string_view html : {"<a filepos=0000009999>x</a>", "<a filepos=>x</a>", "<p>filepos=1</p>"})
    EXPECT_EQ(LinkFilePositions(html), html);
}

TEST(MobiBook, TextAuthorTitleAndPictures) {
  for (const uint16_t compression : {1, 2}) {
    fx::MobiSpec spec;
    spec.text = kHtml;
    spec.compression = compression;
    spec.trailers = true;
    spec.authors = {"First Author", "Second Author"};
    spec.updatedTitle = "The Updated Title";
    spec.pictures = {fx::TinyJpeg(), fx::TinyPng(), "FLIS not a picture"};
    spec.cover = 0;
    const std::string file = fx::MobiBook(spec);  // the pictures are views into it
    PalmBook book;
    ASSERT_EQ(ReadPalmBook(file, book), PalmFailure::None) << compression;
    EXPECT_EQ(book.format, PalmFormat::Mobipocket);
    EXPECT_EQ(book.encoding, TextEncoding::Utf8);
    EXPECT_TRUE(book.markup);
    EXPECT_EQ(book.author, "First Author, Second Author");
    EXPECT_EQ(book.title, "The Updated Title");
    ASSERT_EQ(book.pictures.size(), 2u);
    EXPECT_EQ(book.pictures[0].name, "picture0001.jpg");
    EXPECT_EQ(book.pictures[1].name, "picture0002.png");
    EXPECT_EQ(book.pictures[1].bytes, fx::TinyPng());
    EXPECT_EQ(book.coverName, "picture0001.jpg");
    // The whole text, without a byte of the trailing entries, the picture tag pointed at its file.
    EXPECT_EQ(book.text.find("TAIL"), std::string::npos);
    EXPECT_NE(book.text.find("<img src=\"picture0002.png\">"), std::string::npos);
    EXPECT_NE(book.text.find("Caf\xC3\xA9 au lait, " + std::string(6000, 'w') + "</p>"), std::string::npos)
        << book.text.substr(0, 300);
    EXPECT_TRUE(book.text.ends_with("<p>The end.</p></body></html>"));
  }
}

TEST(MobiBook, FullNameIsTheTitleWithoutExth) {
  fx::MobiSpec spec;
  spec.text = "<html><body><p>x</p></body></html>";
  spec.encoding = 1252;
  spec.title = "Name in Header";
  PalmBook book;
  ASSERT_EQ(ReadPalmBook(fx::MobiBook(spec), book), PalmFailure::None);
  EXPECT_EQ(book.title, "Name in Header");
  EXPECT_EQ(book.author, "");
  EXPECT_EQ(book.encoding, TextEncoding::Win1252);
}

TEST(MobiBook, ProtectionAndDamageAreReported) {
  fx::MobiSpec spec;
  spec.text = kHtml;
  PalmBook book;
  spec.encryption = 2;
  EXPECT_EQ(ReadPalmBook(fx::MobiBook(spec), book), PalmFailure::Protected);
  spec.encryption = 0;

  std::string drm = fx::MobiBook(spec);
  const size_t record0 = fx::RecordOffset(drm, 0);
  fx::Set32(drm, record0 + 168, 400);  // a DRM block named in the header
  fx::Set32(drm, record0 + 172, 1);
  EXPECT_EQ(ReadPalmBook(drm, book), PalmFailure::Protected);

  std::string compression = fx::MobiBook(spec);
  fx::Set16(compression, record0, 99);
  EXPECT_EQ(ReadPalmBook(compression, book), PalmFailure::UnsupportedCompression);

  std::string noMobi = fx::MobiBook(spec);
  noMobi.replace(record0 + 16, 4, "MOBX");
  EXPECT_EQ(ReadPalmBook(noMobi, book), PalmFailure::Damaged);

  // HUFF compression named, but the Huffman record is not there.
  std::string huff = fx::MobiBook(spec);
  fx::Set16(huff, record0, 17480);
  fx::Set32(huff, record0 + 112, 900);
  fx::Set32(huff, record0 + 116, 2);
  EXPECT_EQ(ReadPalmBook(huff, book), PalmFailure::Damaged);

  // A record count beyond the records: only the records that exist are read, none past the end.
  std::string lyingCount = fx::MobiBook(spec);
  fx::Set16(lyingCount, record0 + 8, 5000);
  const PalmFailure failure = ReadPalmBook(lyingCount, book);
  EXPECT_TRUE(failure == PalmFailure::None || failure == PalmFailure::BadCompression);

  // The EXTH block claiming more bytes and records than it has.
  std::string exth = fx::MobiBook(spec);
  const size_t exthAt = record0 + 16 + 232;
  fx::Set32(exth, exthAt + 4, 0x7FFFFFFF);
  fx::Set32(exth, exthAt + 8, 0x7FFFFFFF);
  EXPECT_EQ(ReadPalmBook(exth, book), PalmFailure::None);
}

// A Huffman table in which every code is one byte long: byte b names phrase 255 - b.
std::string ByteCodeTable() {
  std::string huff = "HUFF";
  fx::Put32(huff, 24);
  fx::Put32(huff, 24);             // the code cache
  fx::Put32(huff, 24 + 256 * 4);   // the length limits
  fx::Put32(huff, 0);
  fx::Put32(huff, 0);
  for (int i = 0; i < 256; ++i) fx::Put32(huff, (255u << 8) | 0x80 | 8);
  for (int i = 0; i < 64; ++i) fx::Put32(huff, 0);
  return huff;
}

std::string Dictionary(const std::vector<std::pair<std::string, bool>>& phrases) {
  std::string cdic = "CDIC";
  fx::Put32(cdic, 16);
  fx::Put32(cdic, static_cast<uint32_t>(phrases.size()));
  fx::Put32(cdic, 8);
  std::string offsets, bodies;
  const size_t tableSize = 2 * phrases.size();
  for (const auto& [text, final] : phrases) {
    fx::Put16(offsets, static_cast<uint32_t>(tableSize + bodies.size()));
    fx::Put16(bodies, static_cast<uint32_t>(text.size()) | (final ? 0x8000 : 0));
    bodies += text;
  }
  return cdic + offsets + bodies;
}

std::string Codes(std::initializer_list<int> phrases) {
  std::string out;
  for (const int p : phrases) out += static_cast<char>(255 - p);
  return out;
}

TEST(HuffCdic, CodesNamePhrasesAndPhrasesNest) {
  std::vector<std::pair<std::string, bool>> phrases(256, {"?", true});
  phrases[0] = {"Hello", true};
  phrases[1] = {", ", true};
  phrases[2] = {"world", true};
  phrases[3] = {Codes({1, 2}), false};  // packed itself: ", world"
  phrases[4] = {Codes({4}), false};     // refers to itself
  const std::string dictionary = Dictionary(phrases);  // the phrases are views into it
  auto decoder = HuffCdicDecoder::Make(ByteCodeTable(), {dictionary});
  ASSERT_TRUE(decoder);
  std::string out = "> ";
  ASSERT_TRUE(decoder->Unpack(Codes({0, 3, 1, 0}), out));
  EXPECT_EQ(out, "> Hello, world, Hello");
  ASSERT_TRUE(decoder->Unpack(Codes({3}), out));  // the unpacked phrase is kept
  EXPECT_EQ(out, "> Hello, world, Hello, world");
  std::string loop;
  EXPECT_FALSE(decoder->Unpack(Codes({4}), loop));
  std::string big;
  EXPECT_FALSE(decoder->Unpack(std::string(200, static_cast<char>(255)), big, 100));  // the limit holds
}

TEST(HuffCdic, BrokenTablesAreRefused) {
  std::vector<std::pair<std::string, bool>> phrases(256, {"x", true});
  const std::string dictionary = Dictionary(phrases);
  EXPECT_FALSE(HuffCdicDecoder::Make(ByteCodeTable().substr(0, 500), {dictionary}));
  EXPECT_FALSE(HuffCdicDecoder::Make("HUFX" + ByteCodeTable().substr(4), {dictionary}));
  std::string cut = Dictionary(phrases);
  EXPECT_FALSE(HuffCdicDecoder::Make(ByteCodeTable(), {cut.substr(0, cut.size() - 100)}));
  std::string lying = Dictionary(phrases);
  fx::Set16(lying, 16, 0xFFF0);  // the first phrase offset past the record
  EXPECT_FALSE(HuffCdicDecoder::Make(ByteCodeTable(), {lying}));
  // Fewer phrases than codes: a code without a phrase stops the record.
  const std::string two = Dictionary({{"a", true}, {"b", true}});
  auto small = HuffCdicDecoder::Make(ByteCodeTable(), {two});
  ASSERT_TRUE(small);
  std::string out;
  EXPECT_TRUE(small->Unpack(Codes({1, 0}), out));
  EXPECT_EQ(out, "ba");
  EXPECT_FALSE(small->Unpack(Codes({7}), out));
}

}  // namespace
}  // namespace pw::import::palm
