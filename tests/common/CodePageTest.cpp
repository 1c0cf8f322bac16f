#include "common/CodePage.h"

#include <gtest/gtest.h>

#include "common/Utf8.h"

namespace pw::common {
namespace {

constexpr CodePage kSingleByte[] = {CodePage::Win1251, CodePage::Win1252, CodePage::Win1250,
                                    CodePage::Koi8r,   CodePage::Cp866,   CodePage::Iso88595,
                                    CodePage::MacCyr};

TEST(CodePage, Windows1251Facts) {
  EXPECT_EQ(CharOfCode(133, CodePage::Win1251), "…");
  EXPECT_EQ(CharOfCode(150, CodePage::Win1251), "–");
  EXPECT_EQ(CharOfCode(151, CodePage::Win1251), "—");
  EXPECT_EQ(CharOfCode(171, CodePage::Win1251), "«");
  EXPECT_EQ(CharOfCode(187, CodePage::Win1251), "»");
  EXPECT_EQ(CharOfCode(160, CodePage::Win1251), "\u00A0");
  EXPECT_EQ(CharOfCode(173, CodePage::Win1251), "\u00AD");
  EXPECT_EQ(CharOfCode(168, CodePage::Win1251), "Ё");
  EXPECT_EQ(CharOfCode(192, CodePage::Win1251), "А");
  EXPECT_EQ(CharOfCode(223, CodePage::Win1251), "Я");
  EXPECT_EQ(CharOfCode(65, CodePage::Koi8r), "A");
  EXPECT_EQ(CharOfCode(256, CodePage::Win1251), "");
}

TEST(CodePage, CyrillicFamilies) {
  EXPECT_EQ(DecodeToUtf8("\xC1", CodePage::Koi8r), "а");
  EXPECT_EQ(DecodeToUtf8("\x80", CodePage::Cp866), "А");
  EXPECT_EQ(DecodeToUtf8("\xB0", CodePage::Iso88595), "А");
  EXPECT_EQ(DecodeToUtf8("\x80", CodePage::MacCyr), "А");
  EXPECT_EQ(DecodeToUtf8("\xE9", CodePage::Win1252), "é");
  EXPECT_EQ(DecodeToUtf8("\xB9", CodePage::Win1250), "ą");
}

TEST(CodePage, EveryDefinedByteRoundTrips) {
  for (CodePage cp : kSingleByte) {
    for (unsigned code = 1; code < 256; ++code) {
      const std::string byte(1, static_cast<char>(code));
      const std::string utf8 = DecodeToUtf8(byte, cp);
      if (utf8 == "\xEF\xBF\xBD") continue;  // undefined byte
      EXPECT_EQ(EncodeFromUtf8(utf8, cp), byte) << CodePageName(cp) << " byte " << code;
    }
  }
}

TEST(CodePage, UndefinedAndC1BytesAreNeverText) {
  // The bytes the code pages leave undefined read as U+FFFD, and no single-byte table hands out
  // a C1 control character, so none is ever written back as a raw byte that XML readers refuse.
  EXPECT_EQ(DecodeToUtf8("a\x98z", CodePage::Win1251), "a\uFFFDz");
  for (const char byte : {'\x81', '\x8D', '\x8F', '\x90', '\x9D'})
    EXPECT_EQ(DecodeToUtf8(std::string(1, byte), CodePage::Win1252), "\uFFFD") << int(byte & 0xFF);
  for (CodePage cp : kSingleByte) {
    for (unsigned code = 128; code < 256; ++code) {
      const std::string utf8 = DecodeToUtf8(std::string(1, static_cast<char>(code)), cp);
      size_t pos = 0;
      const char32_t decoded = NextCodePoint(utf8, pos);
      EXPECT_FALSE(decoded >= 0x80 && decoded <= 0x9F) << CodePageName(cp) << " byte " << code;
    }
    EXPECT_EQ(EncodeFromUtf8("\u0098\u0081", cp), "&#152;&#129;") << CodePageName(cp);
  }
}

TEST(CodePage, MissingCharactersBecomeReferences) {
  EXPECT_EQ(EncodeFromUtf8("Привет é", CodePage::Win1252), "&#1055;&#1088;&#1080;&#1074;&#1077;&#1090; \xE9");
  EXPECT_EQ(EncodeFromUtf8("Жé", CodePage::Win1251, Unmappable::Question), "\xC6?");
  EXPECT_EQ(EncodeFromUtf8("😀", CodePage::Koi8r), "&#128512;");
}

TEST(CodePage, NamesParse) {
  CodePage cp = CodePage::Utf8;
  for (std::string_view name : {"Win1251", "windows-1251", "CP1251", "WINDOWS-1251"}) {
    ASSERT_TRUE(ParseCodePage(name, cp)) << name;
    EXPECT_EQ(cp, CodePage::Win1251);
  }
  ASSERT_TRUE(ParseCodePage("koi8-r", cp));
  EXPECT_EQ(cp, CodePage::Koi8r);
  ASSERT_TRUE(ParseCodePage("ibm866", cp));
  EXPECT_EQ(cp, CodePage::Cp866);
  ASSERT_TRUE(ParseCodePage("UTF8", cp));
  EXPECT_EQ(cp, CodePage::Utf8);
  EXPECT_FALSE(ParseCodePage("klingon", cp));
  EXPECT_EQ(CodePageCharset(CodePage::MacCyr), "x-mac-cyrillic");
  EXPECT_EQ(CodePageName(CodePage::Iso88595), "iso");
}

TEST(CodePage, Utf8DecodingRepairsInvalidBytes) {
  EXPECT_EQ(DecodeToUtf8("ok Ж", CodePage::Utf8), "ok Ж");
  EXPECT_EQ(DecodeToUtf8("a\xFF" "b", CodePage::Utf8), "a\xEF\xBF\xBD" "b");
}

}  // namespace
}  // namespace pw::common
