#include "common/Utf8.h"

#include <gtest/gtest.h>

namespace pw::common {
namespace {

TEST(Utf8, WalkingCodePoints) {
  const std::string_view text = "aЖ€😀";
  size_t pos = 0;
  EXPECT_EQ(NextCodePoint(text, pos), U'a');
  EXPECT_EQ(NextCodePoint(text, pos), U'Ж');
  EXPECT_EQ(NextCodePoint(text, pos), U'€');
  EXPECT_EQ(NextCodePoint(text, pos), U'😀');
  EXPECT_EQ(pos, text.size());
  EXPECT_EQ(NextCodePoint(text, pos), 0u);
  EXPECT_EQ(CodePointCount(text), 4u);
}

TEST(Utf8, IllFormedSequencesAreRejected) {
  EXPECT_TRUE(IsValidUtf8("plain ASCII, Кириллица, 😀"));
  EXPECT_FALSE(IsValidUtf8("\xC0\xAF"));          // overlong "/"
  EXPECT_FALSE(IsValidUtf8("\xE0\x80\xAF"));      // overlong
  EXPECT_FALSE(IsValidUtf8("\xED\xA0\x80"));      // surrogate
  EXPECT_FALSE(IsValidUtf8("\xF4\x90\x80\x80"));  // above U+10FFFF
  EXPECT_FALSE(IsValidUtf8("\xD0"));              // truncated
  EXPECT_FALSE(IsValidUtf8("\xC2\x41"));          // bad continuation
  size_t pos = 0;
  EXPECT_EQ(NextCodePoint("\xC0\xAF", pos), 0xFFFDu);
  EXPECT_EQ(pos, 1u);
}

TEST(Utf8, EncodingAndEnds) {
  EXPECT_EQ(Utf8Of(0x416), "Ж");
  EXPECT_EQ(Utf8Of(0x1F600), "😀");
  EXPECT_EQ(Utf8Of(0xD800), "\xEF\xBF\xBD");
  EXPECT_EQ(FirstChar("Ёлка"), "Ё");
  EXPECT_EQ(LastChar("ёлка…"), "…");
  EXPECT_EQ(LastChar("ab"), "b");
  EXPECT_EQ(LastChar(""), "");
  EXPECT_EQ(LastChar("a\xD0"), "\xD0");
}

TEST(Utf8, CaseMapping) {
  EXPECT_EQ(ToUpper("ёлка straße"), "ЁЛКА STRASSE");
  EXPECT_EQ(ToLower("ГЛАВА ПЕРВАЯ"), "глава первая");
  EXPECT_EQ(ToTitle("глава ПЕРВАЯ"), "Глава Первая");
}

}  // namespace
}  // namespace pw::common
