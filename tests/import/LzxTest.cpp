#include "import/lit/Lzx.h"

#include <gtest/gtest.h>

#include <random>

#include "LzxTestSupport.h"

namespace pw::import::lit {
namespace {

using testing::LzxWriter;

// Text with repeats near and far, so that matches of many lengths and offsets occur.
std::string SampleText(size_t size, unsigned seed) {
  static const char* words[] = {"the ", "Queen ", "said ", "Alice, ", "\xD0\x92\xD0\xB0\xD0\xBD\xD1\x8C\xD0\xBA\xD0\xB0 ",
                                "rabbit ", "and ", "of ", "\r\n", "curious", "er ", "!", "\xE2\x80\xA6 "};
  std::mt19937 random(seed);
  std::string text;
  while (text.size() < size) {
    if (random() % 50 == 0 && text.size() > 300) {
      const size_t from = random() % (text.size() - 200);
      text += text.substr(from, 3 + random() % 190);
    } else {
      text += words[random() % std::size(words)];
    }
  }
  text.resize(size);
  return text;
}

LzxStream StreamOf(const std::string& bytes, int windowBits, size_t length) {
  LzxStream stream;
  stream.input = bytes;
  stream.windowBits = windowBits;
  stream.outputLength = length;
  return stream;
}

TEST(Lzx, PositionSlotsOfEachWindow) {
  EXPECT_EQ(LzxPositionSlots(15), 30);
  EXPECT_EQ(LzxPositionSlots(17), 34);
  EXPECT_EQ(LzxPositionSlots(21), 50);
  EXPECT_EQ(LzxPositionSlots(14), 0);
  EXPECT_EQ(LzxPositionSlots(22), 0);
}

TEST(Lzx, VerbatimBlocksAcrossFramesWithMatchesOfEveryKind) {
  for (const int windowBits : {15, 17}) {
    const std::string text = SampleText(100000, 7);
    LzxWriter writer(windowBits);
    writer.Header();
    writer.Verbatim(std::string_view(text).substr(0, 70001));
    writer.Verbatim(std::string_view(text).substr(70001), std::string_view(text).substr(0, 70001));
    std::string out;
    ASSERT_TRUE(LzxDecompress(StreamOf(writer.bytes(), windowBits, text.size()), out)) << windowBits;
    EXPECT_EQ(out, text);
    EXPECT_LT(writer.bytes().size(), text.size());  // the matches did their work
  }
}

TEST(Lzx, StoredBlocksOfOddLengthBetweenVerbatimOnes) {
  const std::string text = SampleText(80000, 3);
  LzxWriter writer(16);
  writer.Header();
  writer.Stored(std::string_view(text).substr(0, 33333));  // odd, and across a frame
  writer.Verbatim(std::string_view(text).substr(33333, 20000), std::string_view(text).substr(0, 33333));
  writer.Stored(std::string_view(text).substr(53333, 1));
  writer.Verbatim(std::string_view(text).substr(53334), std::string_view(text).substr(0, 53334));
  std::string out;
  ASSERT_TRUE(LzxDecompress(StreamOf(writer.bytes(), 16, text.size()), out));
  EXPECT_EQ(out, text);
}

TEST(Lzx, ResetsStartAgainWhereTheTableSays) {
  const std::string text = SampleText(3 * kLzxFrameBytes + 1000, 11);
  std::string stream;
  std::vector<uint64_t> offsets;
  for (size_t start = 0; start < text.size(); start += 2 * kLzxFrameBytes) {
    offsets.push_back(stream.size());
    LzxWriter writer(17);
    writer.Header();
    writer.Verbatim(std::string_view(text).substr(start, 2 * kLzxFrameBytes));
    stream += writer.bytes();
    stream += "\x55\x55";  // bytes between intervals that only the table skips
  }
  LzxStream lzx = StreamOf(stream, 17, text.size());
  lzx.resetInterval = 2 * kLzxFrameBytes;
  lzx.resetOffsets = offsets;
  std::string out;
  ASSERT_TRUE(LzxDecompress(lzx, out));
  EXPECT_EQ(out, text);
  // Without the table the decoder would read the filler as the next header.
  lzx.resetOffsets = {0};
  EXPECT_FALSE(LzxDecompress(lzx, out) && out == text);
  lzx.resetInterval = 1000;  // not a whole number of frames
  EXPECT_FALSE(LzxDecompress(lzx, out));
  EXPECT_TRUE(out.empty());
}

// A stream's declared length is a bound, not an allocation: a stream that says it unpacks to
// 512 MiB and ends after a few frames has set aside about what it produced. (A failed
// decode empties the output and keeps its capacity, which shows what was taken.)
TEST(Lzx, OutputGrowsAsItIsDecodedNotAsDeclared) {
  const std::string text = SampleText(3 * kLzxFrameBytes, 9);
  LzxWriter writer(15);
  writer.Header();
  writer.Verbatim(text);
  for (const std::string& stream : {writer.bytes(), writer.bytes().substr(0, 40)}) {
    std::string out;
    EXPECT_FALSE(LzxDecompress(StreamOf(stream, 15, size_t{512} << 20), out));
    EXPECT_TRUE(out.empty());
    EXPECT_LE(out.capacity(), size_t{4} << 20);
  }
  // What is declared and there comes out whole, grown frame by frame.
  const std::string longer = SampleText(40 * kLzxFrameBytes + 123, 10);
  LzxWriter whole(17);
  whole.Header();
  whole.Verbatim(longer);
  std::string out;
  ASSERT_TRUE(LzxDecompress(StreamOf(whole.bytes(), 17, longer.size()), out));
  EXPECT_EQ(out, longer);
}

TEST(Lzx, DamagedStreamsAreRefusedWithinTheirBounds) {
  const std::string text = SampleText(40000, 5);
  LzxWriter writer(15);
  writer.Header();
  writer.Verbatim(text);
  const std::string good = writer.bytes();
  std::string out;
  // Cut short: refused, never read past the end.
  for (size_t cut = 0; cut < good.size(); cut += good.size() / 37 + 1) {
    const std::string shorter = good.substr(0, cut);
    EXPECT_FALSE(LzxDecompress(StreamOf(shorter, 15, text.size()), out)) << cut;
  }
  // More output asked for than the stream holds.
  EXPECT_FALSE(LzxDecompress(StreamOf(good, 15, text.size() + 5000), out));
  // A window the format does not have.
  EXPECT_FALSE(LzxDecompress(StreamOf(good, 25, text.size()), out));
  // Block types 0 and 4 to 7 do not exist; a block of length 0 neither.
  for (const uint32_t type : {0u, 4u, 7u}) {
    testing::BitWriter bits;
    bits.Put(0, 1);
    bits.Put(type, 3);
    bits.Put(100, 24);
    bits.Align();
    EXPECT_FALSE(LzxDecompress(StreamOf(bits.bytes(), 15, 100), out)) << type;
  }
  // Random damage: whatever comes out, the sanitizers watch that nothing is touched out of
  // bounds, and a stream that still decodes gives exactly the asked length.
  std::mt19937 random(42);
  for (int round = 0; round < 300; ++round) {
    std::string bad = good;
    const int flips = 1 + static_cast<int>(random() % 8);
    for (int i = 0; i < flips; ++i) bad[random() % bad.size()] = static_cast<char>(random());
    if (LzxDecompress(StreamOf(bad, 15, text.size()), out)) {
      EXPECT_EQ(out.size(), text.size());
    }
  }
}

}  // namespace
}  // namespace pw::import::lit
