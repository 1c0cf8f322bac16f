#include "markup/Normalise.h"

#include <gtest/gtest.h>

#include "common/Text.h"

#include "markup/BookMarkup.h"
#include "support/TestSupport.h"

namespace pw::markup {
namespace {

TEST(Normalise, BaseFontSizes) {
  EXPECT_EQ(BaseFontSizeName("1"), "xx-small");
  EXPECT_EQ(BaseFontSizeName("4"), "medium");
  EXPECT_EQ(BaseFontSizeName("7"), "xx-large");
  EXPECT_EQ(BaseFontSizeName("0"), "xx-small");
  EXPECT_EQ(BaseFontSizeName("-2"), "xx-small");
  EXPECT_EQ(BaseFontSizeName("8"), "small");
  EXPECT_EQ(BaseFontSizeName("big"), "small");
  EXPECT_EQ(BaseFontSizeName(""), "small");
}

TEST(Normalise, BaseFontAndBodyBecomeOneBodyTag) {
  std::string doc =
      "<HTML><BODY style=\"FONT-WEIGHT:bold; FONT-SIZE:large\" text=#112233 bgColor=#445566>"
      "<BASEFONT size=4 face=Arial><DIV align=justify>a</DIV></BASEFONT></BODY></HTML>";
  NormaliseBookHeader(doc, false);
  EXPECT_EQ(doc,
            "<HTML><BODY style=\"FONT-WEIGHT:bold; FONT-SIZE:medium; MARGIN-BOTTOM:245px; "
            "LINE-HEIGHT:normal; FONT-FAMILY:Arial\" text=#112233 bgColor=#445566>"
            "<DIV align=justify>a</DIV></BODY></HTML>");
}

TEST(Normalise, MissingValuesTakeDefaults) {
  std::string doc = "<HTML><body><P>x</P></body></HTML>";
  NormaliseBookHeader(doc, false);
  EXPECT_EQ(doc,
            "<HTML><BODY style=\"FONT-WEIGHT:normal; FONT-SIZE:small; MARGIN-BOTTOM:245px; "
            "LINE-HEIGHT:normal; FONT-FAMILY:Times New Roman\" text=#000000 bgColor=#ffffff>"
            "<P>x</P></body></HTML>");
}

TEST(Normalise, DocumentWithoutBodyGetsOne) {
  std::string doc = "<HTML><HEAD><TITLE>t</TITLE></HEAD><P>x</P></HTML>";
  NormaliseBookHeader(doc, false);
  EXPECT_EQ(common::CountOccurrences(doc, "<BODY style="), 1u);
  EXPECT_LT(doc.find("</HEAD>"), doc.find("<BODY"));
  EXPECT_LT(doc.find("<P>x</P>"), doc.find("</BODY>"));
  EXPECT_LT(doc.find("</BODY>"), doc.find("</HTML>"));
}

TEST(Normalise, BreaksFormerTitlesAndBaseFontEnds) {
  std::string doc = "<BODY>a<BR>b<br>c<BR id=KeepBr>d<SPAN id=former_title>t</SPAN></basefont></BODY>";
  NormaliseBookHeader(doc, false);
  EXPECT_EQ(common::CountOccurrences(doc, std::string(kEmptyIndentedParagraph)), 2u);
  EXPECT_EQ(common::CountOccurrences(doc, "<BR id=KeepBr>"), 1u);
  EXPECT_NE(doc.find("<SPAN id=title>t</SPAN>"), std::string::npos);
  EXPECT_EQ(doc.find("former_title"), std::string::npos);
  EXPECT_EQ(doc.find("asefont"), std::string::npos);
}

TEST(Normalise, SectionMarksDependOnSectionMode) {
  const std::string source = "<BODY><SPAN id=FbSection></SPAN><DIV>a</DIV>"
                             "<SPAN id=FbSectionEnd>\r\n</SPAN></BODY>";
  std::string off = source;
  NormaliseBookHeader(off, false);
  EXPECT_EQ(off.find("FbSection"), std::string::npos);
  EXPECT_NE(off.find("<DIV>a</DIV>"), std::string::npos);

  std::string on = source;
  NormaliseBookHeader(on, true);
  EXPECT_NE(on.find("<SPAN id=FbSection></SPAN><DIV>a</DIV><SPAN id=FbSectionEnd>\r\n</SPAN>"),
            std::string::npos);
}

TEST(Normalise, OnlyTheFirstEarlyEmptyDivGoes) {
  std::string doc = "<BODY><DIV> </DIV><DIV></DIV>x</BODY>";
  NormaliseBookHeader(doc, false);
  EXPECT_EQ(common::CountOccurrences(doc, "<DIV></DIV>"), 1u);

  std::string late(400, 'x');
  late += "<DIV></DIV>";
  EXPECT_FALSE(RemoveLeadingEmptyDiv(late, 400));
  std::string early(399, 'x');
  early += "<DIV></DIV>";
  EXPECT_TRUE(RemoveLeadingEmptyDiv(early, 0));
  EXPECT_EQ(early, std::string(399, 'x'));
}

TEST(Normalise, LegacyBookGoldenAndSecondLoad) {
  std::string doc = test::ReadData("markup/legacy_book.htm");
  NormaliseBookHeader(doc, false);
  EXPECT_TRUE(test::MatchesGolden(doc, "markup/legacy_book.normalised.html0"));
  // A second load drops the next early empty block and changes nothing else.
  std::string again = doc;
  NormaliseBookHeader(again, false);
  std::string expected = doc;
  ASSERT_TRUE(RemoveLeadingEmptyDiv(expected));
  EXPECT_EQ(again, expected);
}

}  // namespace
}  // namespace pw::markup
