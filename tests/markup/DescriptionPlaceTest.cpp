#include "markup/DescriptionPlace.h"

#include <gtest/gtest.h>

#include "common/Files.h"
#include "markup/BookMarkup.h"
#include "support/TestSupport.h"

namespace pw::markup {
namespace {

TEST(DescriptionPlace, TextEndMarkGoesBeforeTheFirstClosingInOrder) {
  std::string withBaseFont = "<BODY>a</BASEFONT>b</BODY></HTML>";
  PlaceTextEndMark(withBaseFont);
  EXPECT_EQ(withBaseFont, "<BODY>a<SPAN id=FB2TEXTEND></SPAN></BASEFONT>b</BODY></HTML>");
  std::string withBody = "<BODY>a</BODY></HTML>";
  PlaceTextEndMark(withBody);
  EXPECT_EQ(withBody, "<BODY>a<SPAN id=FB2TEXTEND></SPAN></BODY></HTML>");
  std::string htmlOnly = "a</HTML>";
  PlaceTextEndMark(htmlOnly);
  EXPECT_EQ(htmlOnly, "a<SPAN id=FB2TEXTEND></SPAN></HTML>");
  PlaceTextEndMark(htmlOnly);
  EXPECT_EQ(htmlOnly, "a<SPAN id=FB2TEXTEND></SPAN></HTML>");
}

TEST(DescriptionPlace, AttachAndCutRoundTrip) {
  std::string book = "<BODY>text</BODY></HTML>";
  AttachFb2Description(book, "<description><title-info/></description>");
  EXPECT_EQ(book,
            "<BODY>text<SPAN id=FB2TEXTEND></SPAN><fb2_description><description><title-info/>"
            "</description></fb2_description></BODY></HTML>");
  AttachFb2Description(book, "<description>new</description>");
  const auto cut = CutFb2Description(book);
  ASSERT_TRUE(cut.has_value());
  EXPECT_EQ(*cut, "<description>new</description>");
  EXPECT_EQ(book, "<BODY>text<SPAN id=FB2TEXTEND></SPAN></BODY></HTML>");
  EXPECT_FALSE(CutFb2Description(book).has_value());
}

TEST(DescriptionPlace, DisplayBlockWithNestedSpansIsCutWhole) {
  const std::string display =
      "<SPAN id=Fb2Description><DIV>Title Info</DIV><SPAN id=annotation><FONT color=#808000>"
      "a</FONT></SPAN><DIV>end</DIV></SPAN>";
  std::string book = "<BODY>x" + display + "y</BODY>";
  const auto cut = CutDescriptionDisplay(book);
  ASSERT_TRUE(cut.has_value());
  EXPECT_EQ(*cut, display);
  EXPECT_EQ(book, "<BODY>xy</BODY>");

  std::string unclosed = "<BODY><SPAN id=Fb2Description><SPAN>a</SPAN></BODY>";
  EXPECT_FALSE(CutDescriptionDisplay(unclosed).has_value());
}

TEST(DescriptionPlace, SplitOutWritesBothFiles) {
  test::ScratchFolder folder;
  std::string book = "<BODY>x<SPAN id=Fb2Description>shown</SPAN>" + std::string(kTextEnd) +
                     "<fb2_description><description/></fb2_description></BODY>";
  ASSERT_TRUE(SplitOutDescription(book, folder.path()));
  EXPECT_EQ(book, "<BODY>x" + std::string(kTextEnd) + "</BODY>");
  std::string fb2, html;
  ASSERT_TRUE(common::ReadWholeFile(folder / "Description.fb2", fb2));
  ASSERT_TRUE(common::ReadWholeFile(folder / "Description.html0", html));
  EXPECT_EQ(fb2, "<description/>");
  EXPECT_EQ(html, "<SPAN id=Fb2Description>shown</SPAN>");
}

}  // namespace
}  // namespace pw::markup
