#include "fb2/Base64.h"

#include <gtest/gtest.h>

#include <string>

namespace pw::fb2 {
namespace {

std::string Decoded(std::string_view text) {
  std::string out;
  EXPECT_TRUE(Base64Decode(text, out)) << "input: " << text;
  return out;
}

bool Refused(std::string_view text) {
  std::string out = "left over";
  const bool ok = Base64Decode(text, out);
  return !ok && out.empty();
}

TEST(Base64, KnownVectorsWithEveryPadding) {
  // The test vectors of the standard: no padding, "==" after one byte, "=" after two.
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"", ""},         {"f", "Zg=="},        {"fo", "Zm8="},         {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"},
  };
  for (const auto& [plain, coded] : cases) {
    EXPECT_EQ(Base64Encode(plain), coded);
    EXPECT_EQ(Decoded(coded), plain);
  }
}

TEST(Base64, EveryByteValueRoundTripsInOneLine) {
  std::string bytes;
  for (int round = 0; round < 3; ++round) {
    for (int b = 0; b < 256; ++b) bytes += static_cast<char>(b);
  }
  // Lengths 766, 767, 768 cover the three possible endings of the last group.
  for (size_t length : {bytes.size() - 2, bytes.size() - 1, bytes.size()}) {
    const std::string part = bytes.substr(0, length);
    const std::string coded = Base64Encode(part);
    EXPECT_EQ(coded.size() % 4, 0u);
    EXPECT_EQ(coded.find_first_of("\r\n "), std::string::npos);
    EXPECT_EQ(Decoded(coded), part);
  }
  EXPECT_NE(Base64Encode(bytes).find('+'), std::string::npos);
  EXPECT_NE(Base64Encode(bytes).find('/'), std::string::npos);
}

TEST(Base64, LineBreaksAndBlanksAreIgnored) {
  std::string bytes;
  for (int b = 0; b < 200; ++b) bytes += static_cast<char>(b * 7);
  const std::string coded = Base64Encode(bytes);
  // Broken every 76 characters with CR LF, as FB2 files often are, plus stray blanks and tabs,
  // including inside a group and around the padding.
  std::string broken = "\r\n  ";
  for (size_t i = 0; i < coded.size(); ++i) {
    if (i > 0 && i % 76 == 0) broken += "\r\n";
    if (i % 33 == 5) broken += " \t";
    broken += coded[i];
    if (i + 2 == coded.size()) broken += '\n';
  }
  broken += "\n\n";
  EXPECT_EQ(Decoded(broken), bytes);
  EXPECT_EQ(Decoded("Zm\n9v\r\nYg\n=\n=\n"), "foob");
  EXPECT_EQ(Decoded(" \r\n\t"), "");
}

TEST(Base64, RefusesWhatIsNotBase64) {
  EXPECT_TRUE(Refused("Zm9v!mFy"));     // character outside the alphabet
  EXPECT_TRUE(Refused("Zm9v-_Fy"));     // the URL-safe alphabet is not ours
  EXPECT_TRUE(Refused("Zm9vY\xC3\xA9"));  // non-ASCII bytes
  EXPECT_TRUE(Refused(std::string_view("Zm9v\0AAA", 8)));
  EXPECT_TRUE(Refused("Zm9vYg"));       // last group incomplete
  EXPECT_TRUE(Refused("Z"));
  EXPECT_TRUE(Refused("Zm9vY==="));     // "=" as the second character of a group
  EXPECT_TRUE(Refused("Zg=a"));         // data after padding inside a group
  EXPECT_TRUE(Refused("Zg==Zm8="));     // data after a padded group
  EXPECT_TRUE(Refused("Zg==="));        // too much padding
  EXPECT_TRUE(Refused("===="));
  EXPECT_TRUE(Refused("=Zg="));
}

TEST(Base64, HostileInputIsRefusedQuickly) {
  // A long run of padding or blanks with one bad character at the end must neither crash nor
  // take more than one pass; the output buffer stays bounded by the input.
  std::string blanks(2'000'000, '\n');
  blanks += "Zg=";
  EXPECT_TRUE(Refused(blanks));
  std::string longValid(3'000'000, 'A');
  std::string out;
  ASSERT_TRUE(Base64Decode(longValid, out));
  EXPECT_EQ(out.size(), 2'250'000u);
  EXPECT_EQ(out.find_first_not_of('\0'), std::string::npos);
}

}  // namespace
}  // namespace pw::fb2
