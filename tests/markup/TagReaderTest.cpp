#include "markup/TagReader.h"

#include <gtest/gtest.h>

#include "markup/BookMarkup.h"

namespace pw::markup {
namespace {

TEST(TagReader, TagsAndAttributes) {
  TagToken tag;
  size_t end = 0;
  const std::string_view html = "<IMG SRC = \"a b.png\" alt='x > y' width=40 noshade>rest";
  ASSERT_TRUE(ReadTagToken(html, 0, tag, end));
  EXPECT_EQ(tag.name, "img");
  EXPECT_EQ(html.substr(end), "rest");
  EXPECT_EQ(TagAttribute(tag.attributes, "src"), "a b.png");
  EXPECT_EQ(TagAttribute(tag.attributes, "alt"), "x > y");
  EXPECT_EQ(TagAttribute(tag.attributes, "width"), "40");
  const auto all = TagAttributes(tag.attributes);
  ASSERT_EQ(all.size(), 4u);
  EXPECT_EQ(all[3].first, "noshade");
  // Text that only looks like a tag.
  for (const std::string_view text : {"< b", "<1>", "<b", "<b <i>", "</>"}) EXPECT_FALSE(ReadTagToken(text, 0, tag, end)) << text;
  EXPECT_EQ(SkipElementContent("x</Script >tail", 0, "script"), 11u);
  EXPECT_EQ(SkipElementContent("never closed", 0, "script"), 12u);
}

TEST(TagReader, BrowserHtmlBackInTheBooksSpelling) {
  // What a browser writes for the program's own elements comes back exactly as they were made.
  const std::string title = MakeTitle("Глава 1", "#001950");
  const std::string browser =
      "<span id=\"title\"><div align=\"center\"><font color=\"#001950\"><b>Глава 1</b></font></div></span>";
  EXPECT_EQ(ToBookSpelling(browser), title);
  EXPECT_EQ(ToBookSpelling("<h2 id=\"BookAuthor\" align=\"center\">A &amp; B</h2><!-- <keep this> --><img src=\"my pic.png\">"
                           "<p style=\"color: red\">x < y</p><hr noshade=\"\">"),
            "<H2 id=BookAuthor align=center>A &amp; B</H2><!-- <keep this> --><IMG src=\"my pic.png\">"
            "<P style=\"color: red\">x < y</P><HR noshade>");
  EXPECT_EQ(ToBookSpelling(title), title);
}

}  // namespace
}  // namespace pw::markup
