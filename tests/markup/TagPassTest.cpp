#include "markup/TagPass.h"

#include <gtest/gtest.h>

namespace pw::markup {
namespace {

TEST(TagPass, FirstMatchingRuleWinsAndScanContinuesAfterIt) {
  const TagRule rules[] = {
      {.match = "<BR id=KeepBr>", .replacement = "[keep]"},
      {.match = "<BR", .replacement = "[br]", .caseless = true, .toTagEnd = true},
  };
  std::string text = "a<BR id=KeepBr>b<br/>c<BRX>d<BR\r\nclass=x>";
  EXPECT_EQ(ApplyTagRules(text, rules), 3u);
  EXPECT_EQ(text, "a[keep]b[br]c<BRX>d[br]");
}

TEST(TagPass, UnclosedTagIsNotMatched) {
  std::string text = "a<FONT color=red";
  EXPECT_EQ(ApplyTagRule(text, {.match = "<FONT", .replacement = "", .toTagEnd = true}), 0u);
  EXPECT_EQ(text, "a<FONT color=red");
}

TEST(TagPass, UntilRunsLazilyAcrossLines) {
  std::string text = "<S>a\r\nb</E>keep<S>c</E><S>open";
  EXPECT_EQ(ApplyTagRule(text, {.match = "<S>", .replacement = "", .until = "</E>"}), 2u);
  EXPECT_EQ(text, "keep<S>open");
}

TEST(TagPass, ManyOpeningsWithoutClosingStayLinear) {
  std::string text;
  for (int i = 0; i < 200000; ++i) text += "<S>x";
  const std::string before = text;
  EXPECT_EQ(ApplyTagRule(text, {.match = "<S>", .replacement = "", .until = "</E>"}), 0u);
  EXPECT_EQ(text, before);
}

TEST(TagPass, CutBlocksCountsNesting) {
  std::string text = "a<table x><TABLE><tr></TABLE>in</table>b<TABLES>c</TABLES><TABLE>open";
  EXPECT_EQ(CutBlocks(text, "<TABLE", "</TABLE>"), 1u);
  EXPECT_EQ(text, "ab<TABLES>c</TABLES><TABLE>open");
}

TEST(TagPass, Attributes) {
  std::string value;
  const std::string_view tag = "<BASEFONT size=4 FACE=\"Times New Roman\" data-x='q'>";
  ASSERT_TRUE(TagAttribute(tag, "size", value));
  EXPECT_EQ(value, "4");
  ASSERT_TRUE(TagAttribute(tag, "face", value));
  EXPECT_EQ(value, "Times New Roman");
  ASSERT_TRUE(TagAttribute(tag, "data-x", value));
  EXPECT_EQ(value, "q");
  EXPECT_FALSE(TagAttribute(tag, "color", value));
  EXPECT_FALSE(TagAttribute("<BODY style=\"text: x\">", "text", value));
}

}  // namespace
}  // namespace pw::markup
