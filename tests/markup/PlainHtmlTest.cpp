#include "markup/PlainHtml.h"

#include <gtest/gtest.h>

#include "common/Settings.h"
#include "markup/BookMarkup.h"
#include "markup/Normalise.h"
#include "markup/SampleBook.h"
#include "support/TestSupport.h"

namespace pw::markup {
namespace {

std::string Arrange(std::string doc, const PlainHtmlOptions& options = {}) {
  common::NullProgress progress;
  ArrangeAsPlainHtml(doc, options, progress);
  return doc;
}

TEST(PlainHtml, SampleBookGolden) {
  std::string book = MakeSampleBook(2, common::Settings{});
  NormaliseBookHeader(book, false);
  EXPECT_TRUE(test::MatchesGolden(Arrange(book), "markup/sample_book.plain.html"));
  PlainHtmlOptions clean;
  clean.cleanHtml = true;
  clean.removeLinks = true;
  EXPECT_TRUE(test::MatchesGolden(Arrange(book, clean), "markup/sample_book.clean.html"));
}

TEST(PlainHtml, AnnouncesItsStagesInOrder) {
  std::string doc = "<BODY>x</BODY>";
  common::RecordingProgress progress;
  ArrangeAsPlainHtml(doc, {}, progress);
  const std::vector<std::string> expected{
      "...arranging html: removing PW tags...", "...arranging html: non-used tags...",
      "...arranging html: removing style tags...", "...arranging html: removing font tags...",
      "...arranging html: removing bad ASCII..."};
  EXPECT_EQ(progress.statuses, expected);
  EXPECT_EQ(progress.percents.back(), 100);
}

TEST(PlainHtml, MarksAndFurnitureGo) {
  const std::string doc =
      "<HTML><META charset=x><BODY style=\"a\"><BASEFONT size=3>"
      "<H2 id=BookTitle align=center><FONT color=#B90000><B>T</B></FONT></H2>"
      "<DIV style=\"x\">s</DIV><BCONTENTS></bcontents><PWSIGN></PWSIGN></FB2TEXTEND>"
      "<A style=\"COLOR: blue\" href=#n1>1</A><DIV align=justify>&nbsp;</DIV>"
      "<DIV align=justify> </DIV>a<BR id=KeepBr>b\x01\x0c<B></B><I></I><B><I></I></B>"
      "<SPAN id=former_title>f</SPAN>"
      "<DIV id=LastPar align=justify>&nbsp;&nbsp;&nbsp;&nbsp;</DIV></BASEFONT></BODY></HTML>";
  EXPECT_EQ(Arrange(doc),
            "<H2 align=center><B>T</B></H2><DIV align=justify>s</DIV><A href=#n1>1</A><BR><BR>a<BR>b"
            "<SPAN id=title>f</SPAN>");
  PlainHtmlOptions keep;
  keep.keepFormerTitles = true;
  EXPECT_NE(Arrange(doc, keep).find("<SPAN id=former_title>"), std::string::npos);
}

TEST(PlainHtml, EscapedBracketsSurviveTagRemoval) {
  const std::string doc = "<FONT color=red>&lt;FONT&gt; is a tag</FONT>";
  EXPECT_EQ(Arrange(doc), "&lt;FONT&gt; is a tag");
  PlainHtmlOptions keep;
  keep.keepBracketsProtected = true;
  std::string protectedText = Arrange(doc, keep);
  EXPECT_EQ(protectedText.find("&lt;"), std::string::npos);
  RestoreEscapedBrackets(protectedText);
  EXPECT_EQ(protectedText, "&lt;FONT&gt; is a tag");
}

TEST(PlainHtml, TablesLinksAndPicturesByOption) {
  const std::string doc =
      "a<TABLE><TR><TD><table><tr><td>in</td></tr></table></TD></TR></TABLE>b"
      "<A href=\"x\">link</A><IMG src=\"p.jpg\"><ADDRESS>addr</ADDRESS>";
  PlainHtmlOptions all;
  all.removeTables = true;
  all.removeLinks = true;
  all.removePictures = true;
  EXPECT_EQ(Arrange(doc, all), "ablink<ADDRESS>addr</ADDRESS>");
  EXPECT_EQ(Arrange(doc), doc);
}

}  // namespace
}  // namespace pw::markup
