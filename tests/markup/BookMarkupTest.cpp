#include "markup/BookMarkup.h"

#include <gtest/gtest.h>

#include "common/Settings.h"
#include "markup/SampleBook.h"
#include "support/TestSupport.h"

namespace pw::markup {
namespace {

TEST(Skeleton, BodyTagWithDefaults) {
  EXPECT_EQ(MakeBodyTag(BodyStyle{}, false, false, true),
            "<BODY style=\"FONT-WEIGHT:normal; FONT-SIZE:small; MARGIN-BOTTOM:245px; "
            "LINE-HEIGHT:normal; FONT-FAMILY:Times New Roman\" text=#000000 bgColor=#FFFFFF>");
}

TEST(Skeleton, HeadLineCharsetChoice) {
  EXPECT_EQ(MakeCharsetMeta(true, true),
            "<meta content=\"text/html; charset=utf-8\" http-equiv=\"Content-Type\">");
  EXPECT_EQ(MakeCharsetMeta(false, true, "koi8-r"),
            "<meta content=\"text/html; charset=windows-1251\" http-equiv=\"Content-Type\">");
  EXPECT_EQ(MakeCharsetMeta(false, false, "koi8-r"),
            "<meta content=\"text/html; charset=koi8-r\" http-equiv=\"Content-Type\">");
  EXPECT_EQ(MakeCharsetMeta(false, false, ""),
            "<meta content=\"text/html; charset=windows-1251\" http-equiv=\"Content-Type\">");
}

TEST(Skeleton, FullHeaderHasThreeLines) {
  const std::string head = MakeBodyTag("#F0F8FF", "#000000", "medium", "Arial", true, false, false,
                                       "bold", "245px", "normal");
  EXPECT_EQ(head,
            "<HTML>\r\n<meta content=\"text/html; charset=utf-8\" http-equiv=\"Content-Type\">\r\n"
            "<BODY style=\"FONT-WEIGHT:bold; FONT-SIZE:medium; MARGIN-BOTTOM:245px; "
            "LINE-HEIGHT:normal; FONT-FAMILY:Arial\" text=#000000 bgColor=#F0F8FF>");
}

TEST(Skeleton, BlankBookAndSeeds) {
  EXPECT_TRUE(test::MatchesGolden(MakeBlankBook(), "markup/blank_book.html0"));
  EXPECT_EQ(MakeSeedDocument(true),
            "<HTML><BODY><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;</DIV></BODY></HTML>");
  EXPECT_EQ(MakeSeedDocument(false), "<HTML><BODY></BODY></HTML>");
}

TEST(Skeleton, SettingsColoursGetTheirHash) {
  common::Settings settings;
  const BodyStyle style = BodyStyleFromSettings(settings);
  EXPECT_EQ(style.textColor, "#000000");
  EXPECT_EQ(style.bgColor, "#FFFFFF");
}

TEST(Elements, OneLineShapes) {
  EXPECT_EQ(MakeBookAuthor("Лев Толстой", "#ff0000"),
            "<H2 id=BookAuthor align=center><FONT color=#ff0000><B>Лев Толстой</B></FONT></H2>");
  EXPECT_EQ(MakeBookTitle("Война и мир", "B90000"),
            "<H2 id=BookTitle align=center><FONT color=#B90000><B>Война и мир</B></FONT></H2>");
  EXPECT_EQ(MakeTitle("Chapter 1", "#001950"),
            "<SPAN id=title><DIV align=center><FONT color=#001950><B>Chapter 1</B></FONT></DIV></SPAN>");
  EXPECT_EQ(MakeSubtitle("* * *", "#007373"),
            "<SPAN id=subtitle><DIV align=center><FONT color=#007373><B>* * *</B></FONT></DIV></SPAN>");
  EXPECT_EQ(MakeFormerTitle("Old", "#001950"),
            "<SPAN id=former_title><DIV align=center><FONT color=#001950><B>Old</B></FONT></DIV></SPAN>");
  EXPECT_EQ(MakeTextAuthor("Пушкин", "#A52A2A"),
            "<SPAN id=txtaut><FONT color=#A52A2A><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Пушкин"
            "</DIV></FONT></SPAN>");
}

TEST(Elements, TitleTextIsOneLineWithoutMarkupButKeepsEscapes) {
  EXPECT_EQ(MakeTitle("The <B>big</B>\r\n&lt;B&gt; road", "#001950"),
            "<SPAN id=title><DIV align=center><FONT color=#001950><B>The big &lt;B&gt; road</B>"
            "</FONT></DIV></SPAN>");
}

TEST(Elements, BlockShapesWithTextAuthorLast) {
  const std::string p = MakeParagraph("line");
  const std::string author = MakeTextAuthor("A", "#A52A2A");
  EXPECT_EQ(MakeVerse(p, author, "#3D00B9"),
            "<SPAN id=verse><I><FONT color=#3D00B9>" + p + author + "</FONT></I></SPAN>");
  EXPECT_EQ(MakeEpigraph(p, {}, "#0000CD"),
            "<SPAN id=epigraph><I><FONT color=#0000CD>" + p + "</FONT></I></SPAN>");
  EXPECT_EQ(MakeAnnotation(p, author, "#808000"),
            "<SPAN id=annotation><FONT color=#808000>" + p + author + "</FONT></SPAN>");
  EXPECT_EQ(MakeCite(p, {}, "#008000"), "<SPAN id=cite><FONT color=#008000>" + p + "</FONT></SPAN>");
  EXPECT_EQ(MakeNoteBlock(p, "#9400D3"),
            "<SPAN id=NoteBlock><FONT color=#9400D3>" + p + "</FONT></SPAN>");
}

TEST(Elements, ParagraphsAndDialogue) {
  EXPECT_EQ(MakeParagraph("Text"), "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Text</DIV>");
  EXPECT_EQ(MakeParagraph("- Да, - сказал он."),
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-&nbsp;Да, - сказал он.</DIV>");
  EXPECT_EQ(MakeParagraph("— Нет."),
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;—&nbsp;Нет.</DIV>");
  EXPECT_EQ(MakeParagraph("-1 degree"),
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-1 degree</DIV>");
}

TEST(Elements, SampleBookHoldsEveryShape) {
  EXPECT_TRUE(test::MatchesGolden(MakeSampleBook(2, common::Settings{}), "markup/sample_book.html0"));
}

TEST(Elements, BookHeadingText) {
  const std::string book = "<BODY>" + MakeBookAuthor("Лев <I>Толстой</I>", "#ff0000") + "</BODY>";
  EXPECT_EQ(BookHeadingText(book, kBookAuthorOpen), "Лев Толстой");
  EXPECT_EQ(BookHeadingText(book, kBookTitleOpen), "");
}

TEST(Contents, HeadingFollowsCodePage) {
  EXPECT_EQ(ContentsHeading("Win1252"), "Table of Content");
  EXPECT_EQ(ContentsHeading("Win1250"), "Table of Content");
  EXPECT_EQ(ContentsHeading("Win1251"), "Содержание");
}

TEST(Contents, AnchorsTitlesAndListsThem) {
  std::string doc = "<BODY>" + MakeTitle("One", "#001950") + MakeParagraph("x") +
                    MakeTitle("Two <I>b</I>", "#001950") + "</BODY>";
  const auto titles = AnchorTitles(doc);
  ASSERT_EQ(titles.size(), 2u);
  EXPECT_EQ(titles[1], "Two b");
  EXPECT_NE(doc.find("<SPAN id=title><A id=1 name=1><DIV align=center>"), std::string::npos);
  EXPECT_NE(doc.find("</DIV></A></SPAN>"), std::string::npos);
  // Anchoring again renumbers instead of nesting anchors.
  std::string again = doc;
  AnchorTitles(again);
  EXPECT_EQ(again, doc);
}

TEST(Contents, PlacementRules) {
  const std::string title = MakeTitle("One", "#001950");
  std::string withPlace = "<BODY>" + MakeBookTitle("Book", "#B90000") + std::string(kContentsPlace) +
                          MakeParagraph("p") + title + "</BODY>";
  ASSERT_TRUE(InsertContents(withPlace, "Win1251"));
  EXPECT_LT(withPlace.find(kContentsPlace), withPlace.find(kContentsOpen));
  EXPECT_LT(withPlace.find(kContentsOpen), withPlace.find("<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;p"));

  std::string afterBookTitle = "<BODY>" + MakeParagraph("p") + MakeBookTitle("Book", "#B90000") +
                               title + "</BODY>";
  ASSERT_TRUE(InsertContents(afterBookTitle, "Win1252"));
  EXPECT_LT(afterBookTitle.find("</H2>"), afterBookTitle.find(kContentsOpen));
  EXPECT_NE(afterBookTitle.find("Table of Content"), std::string::npos);

  std::string plain = "<BODY>" + MakeParagraph("p") + title + "</BODY>";
  ASSERT_TRUE(InsertContents(plain, "Win1251"));
  EXPECT_TRUE(test::MatchesGolden(plain, "markup/contents_before_first_paragraph.html0"));

  std::string none = "<BODY>" + MakeParagraph("p") + "</BODY>";
  const std::string before = none;
  EXPECT_FALSE(InsertContents(none, "Win1251"));
  EXPECT_EQ(none, before);
}

}  // namespace
}  // namespace pw::markup
