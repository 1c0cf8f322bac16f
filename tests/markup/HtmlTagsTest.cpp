#include "markup/HtmlTags.h"

#include <gtest/gtest.h>

#include <string>

namespace pw::markup {
namespace {

TEST(HtmlTags, ReadsTagsInAnyCaseAndRefusesWhatIsNotATag) {
  HtmlTag tag;
  ASSERT_TRUE(ReadTagAt("x<SPAN id=\"a>b\">", 1, tag));
  EXPECT_EQ(tag.name, "span");
  EXPECT_FALSE(tag.closing);
  EXPECT_EQ(tag.end, 13u);  // a '>' inside a quoted value ends the tag, as the format's searches do
  ASSERT_TRUE(ReadTagAt("</Font >", 0, tag));
  EXPECT_EQ(tag.name, "font");
  EXPECT_TRUE(tag.closing);
  EXPECT_FALSE(ReadTagAt("a < b", 2, tag));
  EXPECT_FALSE(ReadTagAt("<!-- x -->", 0, tag));
  EXPECT_FALSE(ReadTagAt("<div", 0, tag));
  EXPECT_EQ(UpperCaseTagName("<a href=\"#x\">"), "<A href=\"#x\">");
  EXPECT_EQ(UpperCaseTagName("</sup>"), "</SUP>");
}

TEST(HtmlTags, ElementsMatchTheirClosingTagCountingNesting) {
  const std::string html = "<SPAN id=e><span id=t>x</span><DIV>y</DIV></Span>tail<BR id=KeepBr><div>open";
  const size_t end = ElementEnd(html, 0);
  EXPECT_EQ(html.substr(0, end), "<SPAN id=e><span id=t>x</span><DIV>y</DIV></Span>");
  EXPECT_EQ(ElementStart(html, end - 7), 0u);
  EXPECT_EQ(ElementStart(html, html.find("</span>")), html.find("<span id=t>"));
  const size_t br = html.find("<BR");
  EXPECT_EQ(ElementEnd(html, br), html.find("<div>"));
  EXPECT_EQ(ElementEnd(html, html.find("<div>")), std::string::npos);
  EXPECT_EQ(ElementEnd(html, html.find("</span>")), std::string::npos);
  EXPECT_EQ(ElementStart(html, html.find("<DIV>")), std::string::npos);
}

TEST(HtmlTags, FindsATagInAnyCaseAndPlacesAnElementBeforeTheBody) {
  EXPECT_EQ(FindTagIgnoringCase("<p>a < b</P><BoDy x=1>", "<body"), 12u);
  EXPECT_EQ(FindTagIgnoringCase("<bodyguard></bodyguard>", "<body"), std::string_view::npos);
  EXPECT_EQ(FindTagIgnoringCase("<bodyguard></body>", "</body"), 11u);
  EXPECT_EQ(FindTagIgnoringCase("<body><body>", "<body", 1), 6u);
  EXPECT_EQ(FindTagIgnoringCase("text <bo", "<body"), std::string_view::npos);
}

}  // namespace
}  // namespace pw::markup
