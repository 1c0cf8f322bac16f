#include "common/Text.h"

#include <gtest/gtest.h>

namespace pw::common {
namespace {

TEST(LiteralReplace, LeftToRightNonOverlapping) {
  EXPECT_EQ(ReplaceAll("aaaa", "aa", "b"), "bb");
  EXPECT_EQ(ReplaceAll("aaa", "aa", "a"), "aa");
  EXPECT_EQ(ReplaceAll("abc", "", "x"), "abc");
  EXPECT_EQ(ReplaceAll("a--b---c", "--", "—"), "a—b—-c");
  std::string text = "x.y.z";
  EXPECT_EQ(ReplaceAllInPlace(text, ".", ""), 2u);
  EXPECT_EQ(text, "xyz");
  EXPECT_TRUE(ReplaceFirst(text, "y", "Y"));
  EXPECT_FALSE(ReplaceFirst(text, "q", "Y"));
  EXPECT_EQ(text, "xYz");
}

TEST(LiteralReplace, CaselessForUnicode) {
  EXPECT_EQ(ReplaceAllCaseless("Глава ГЛАВА глАВа главный", "глава", "Часть"),
            "Часть Часть Часть главный");
  EXPECT_EQ(ReplaceAllCaseless("Ёлка ёлка", "ЁЛКА", "ель"), "ель ель");
  EXPECT_EQ(ReplaceAllCaseless("Émile ÉMILE", "émile", "E"), "E E");
  // Text around the matches is kept byte for byte, invalid bytes included.
  EXPECT_EQ(ReplaceAllCaseless("\xFF" "ABC\xFE", "b", "-"), "\xFF" "A-C\xFE");
}

TEST(LiteralReplace, AResultPastItsBoundLeavesTheTextAsItWas) {
  for (const bool caseless : {false, true}) {
    const auto replace = [caseless](std::string& text, size_t bound) {
      return caseless ? ReplaceAllCaselessInPlace(text, "A", "xyz", bound) : ReplaceAllInPlace(text, "a", "xyz", bound);
    };
    std::string text = "a-a-a";  // becomes 11 bytes
    EXPECT_EQ(replace(text, 10), kResultTooLarge) << caseless;
    EXPECT_EQ(text, "a-a-a");
    EXPECT_EQ(replace(text, 11), 3u) << caseless;
    EXPECT_EQ(text, "xyz-xyz-xyz");
  }
}

TEST(CollapseRepeats, RunsBecomeOne) {
  std::string text = "a    b  c d";
  CollapseRepeats(text, " ", true);
  EXPECT_EQ(text, "a b c d");
  text = "Stop!!!! Да!!";
  CollapseRepeats(text, "!", true);
  EXPECT_EQ(text, "Stop! Да!");
  text = "abababX";
  CollapseRepeats(text, "ab", true);
  EXPECT_EQ(text, "abX");
  text = "xXxX y";
  CollapseRepeats(text, "x", false);
  EXPECT_EQ(text, "x y");
  text = "xXxX";
  CollapseRepeats(text, "x", true);
  EXPECT_EQ(text, "xXxX");
  text = "ЖжЖ";
  CollapseRepeats(text, "ж", false);
  EXPECT_EQ(text, "Ж");
  text = "same";
  CollapseRepeats(text, "", true);
  EXPECT_EQ(text, "same");
}

TEST(CharNotation, BothNotationsAndLists) {
  EXPECT_EQ(DecodeCharNotation("uni(8212)", CodePage::Win1251), "—");
  EXPECT_EQ(DecodeCharNotation("a uni( 1046 , 1078 )b", CodePage::Win1251), "a Жжb");
  EXPECT_EQ(DecodeCharNotation("chr(133)", CodePage::Win1251), "…");
  EXPECT_EQ(DecodeCharNotation("chr(192)", CodePage::Win1251), "А");
  EXPECT_EQ(DecodeCharNotation("chr(192)", CodePage::Win1252), "À");
  EXPECT_EQ(DecodeCharNotation("chr(13,10)", CodePage::Win1251), "\r\n");
  EXPECT_EQ(DecodeCharNotation(".?!;:chr(133)", CodePage::Win1251), ".?!;:…");
}

TEST(CharNotation, MalformedStaysAsTyped) {
  for (std::string_view text : {"uni()", "uni(abc)", "uni(12", "chr(300)", "uni(55296)",
                                "uni(1114112)", "uni(0)", "chr(1,)", "uni(1 2)"}) {
    EXPECT_EQ(DecodeCharNotation(text, CodePage::Win1251), text);
  }
  EXPECT_EQ(DecodeCharNotation("uni(x) uni(65)", CodePage::Win1251), "uni(x) A");
}

TEST(TextHelpers, SmallOnes) {
  EXPECT_EQ(Trim(" \t\r\nx y\r\n"), "x y");
  EXPECT_EQ(Trim("   "), "");
  EXPECT_EQ(AsciiLower("AbC-Ж"), "abc-Ж");
  EXPECT_EQ(FindAsciiCaseless("<html><BODY>", "<body"), 6u);
  EXPECT_EQ(FindAsciiCaseless("<body>", "<body", 1), std::string_view::npos);
  EXPECT_TRUE(StartsWith("<!pwfile 1", "<!pwfile"));
  EXPECT_TRUE(EndsWith("book.html0", ".html0"));
}

}  // namespace
}  // namespace pw::common
