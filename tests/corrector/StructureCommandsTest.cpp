#include "corrector/StructureCommands.h"

#include <gtest/gtest.h>

#include "markup/BookMarkup.h"

namespace pw::corrector {
namespace {

std::string P(std::string_view text) { return "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;" + std::string(text) + "</DIV>"; }
std::string Title(std::string_view text) {
  return "<SPAN id=title><DIV align=center><FONT color=#001950><B>" + std::string(text) + "</B></FONT></DIV></SPAN>";
}

struct Structure : ::testing::Test {
  common::RecordingSink sink;
  common::Messages messages{sink};
  common::Settings settings;
  common::NullProgress progress;

  StructureResult Run(std::string_view name, std::string_view html) {
    return ApplyStructureCommand(name, html, settings, messages);
  }
};

TEST_F(Structure, BreaksAroundTheSelectionAreNotDoubled) {
  const std::string title = Title("Глава 1");
  EXPECT_EQ(Run("breakbefore", title).html, "<HR>" + title);
  EXPECT_EQ(Run("breakafter", title).html, title + "<HR>");
  EXPECT_EQ(Run("breakaround", title).html, "<HR>" + title + "<HR>");
  EXPECT_EQ(Run("breakbefore", "<HR>" + title).html, "<HR>" + title);
  EXPECT_EQ(Run("breakaround", "<HR>" + title + "<HR>\r\n").html, "<HR>" + title + "<HR>\r\n");
  const auto removed = Run("delete", P("лишнее"));
  EXPECT_TRUE(removed.replace);
  EXPECT_EQ(removed.html, "");
  // Nothing selected: the message, and the book stays.
  const auto nothing = Run("breakbefore", "  ");
  EXPECT_FALSE(nothing.replace);
  ASSERT_EQ(sink.shown.size(), 1u);
  EXPECT_EQ(sink.shown[0], "Error. No text selected in the main Pagewright window");
  EXPECT_FALSE(Run("sideways", P("x")).known);
}

TEST_F(Structure, AuthorTitleFromTwoLinesOrOne) {
  const auto two = Run("authortitle", P("Лев Толстой") + P("Война и мир") + P("Том первый"));
  ASSERT_TRUE(two.replace);
  EXPECT_EQ(two.html,
            "<H2 id=BookAuthor align=center><FONT color=#ff0000><B>Лев Толстой</B></FONT></H2>"
            "<H2 id=BookTitle align=center><FONT color=#B90000><B>Война и мир Том первый</B></FONT></H2>");
  const auto one = Run("authortitle", "<DIV>Jane Austen. Pride and Prejudice</DIV>");
  EXPECT_NE(one.html.find("<B>Jane Austen</B>"), std::string::npos);
  EXPECT_NE(one.html.find("<B>Pride and Prejudice</B>"), std::string::npos);
  const auto lone = Run("authortitle", P("Безымянный"));
  EXPECT_FALSE(lone.replace);
  EXPECT_EQ(sink.shown.size(), 1u);
}

TEST_F(Structure, AllPageBreaksGoBeforeTitlesWithoutOne) {
  std::string book = "<BODY>" + Title("I") + P("a.") + "<HR>\r\n" + std::string(markup::kSectionStart) + Title("II") +
                     P("b.") + Title("III") + "</BODY>";
  EXPECT_EQ(InsertAllPageBreaks(book, progress), 2u);
  EXPECT_EQ(book, "<BODY><HR>" + Title("I") + P("a.") + "<HR>\r\n" + std::string(markup::kSectionStart) + Title("II") +
                      P("b.") + "<HR>" + Title("III") + "</BODY>");
  EXPECT_EQ(InsertAllPageBreaks(book, progress), 0u);  // run again: nothing more
}

TEST_F(Structure, PageBreakAtTheCaret) {
  std::string middle = P("Первая половина. " + std::string(kPageBreakMarker) + "Вторая половина.");
  ASSERT_TRUE(InsertPageBreakAtMarker(middle));
  EXPECT_EQ(middle, P("Первая половина.") + "<HR>" + P("Вторая половина."));
  std::string atStart = P(std::string(kPageBreakMarker) + "Текст.");
  ASSERT_TRUE(InsertPageBreakAtMarker(atStart));
  EXPECT_EQ(atStart, "<HR>" + P("Текст."));
  std::string atEnd = P("Текст." + std::string(kPageBreakMarker));
  ASSERT_TRUE(InsertPageBreakAtMarker(atEnd));
  EXPECT_EQ(atEnd, P("Текст.") + "<HR>");
  std::string between = P("a.") + std::string(kPageBreakMarker) + Title("II");
  ASSERT_TRUE(InsertPageBreakAtMarker(between));
  EXPECT_EQ(between, P("a.") + "<HR>" + Title("II"));
  std::string none = P("a.");
  EXPECT_FALSE(InsertPageBreakAtMarker(none));
}

TEST_F(Structure, BodyCommandsByName) {
  std::string body = P("Он шёл") + P("домой. Потом спал.");
  EXPECT_TRUE(ApplyBodyCommand("leftwordsshift", body, {0, ""}, ".", progress, messages).changed);
  EXPECT_EQ(body, P("Он шёл домой.") + P("Потом спал."));
  EXPECT_FALSE(ApplyBodyCommand("joinnext", body, {1, ""}, ".", progress, messages).changed);
  EXPECT_EQ(sink.shown.back(), "no paragraph follows this one directly - nothing to join");
  ASSERT_TRUE(ApplyBodyCommand("hyphenate", body, {0, "Russian"}, ".", progress, messages).changed);
  EXPECT_NE(body.find("до\u00ADмой"), std::string::npos) << body;
  ASSERT_TRUE(ApplyBodyCommand("unhyphenate", body, {}, ".", progress, messages).changed);
  EXPECT_EQ(body.find("\u00AD"), std::string::npos);
  EXPECT_FALSE(ApplyBodyCommand("unhyphenate", body, {}, ".", progress, messages).changed);
  EXPECT_FALSE(ApplyBodyCommand("nonsense", body, {}, ".", progress, messages).known);
}

TEST(BookStatistics, CountsTextHeadingsNotesAndPictures) {
  const std::string book =
      "<HTML><BODY>"
      "<H2 id=BookAuthor align=center><FONT color=#ff0000><B>Автор</B></FONT></H2>"
      "<H2 id=BookTitle align=center><FONT color=#B90000><B>Книга</B></FONT></H2>" +
      Title("Глава") + P("Два слова<A href=\"#n1\">1</A>.") + P("&nbsp;") + "<HR>" +
      "<SPAN id=subtitle><DIV align=center>Под</DIV></SPAN>"
      "<SPAN id=epigraph><I><FONT color=#0000CD>" + P("Эпи граф") +
      "<SPAN id=txtaut><FONT color=#A52A2A><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Кто-то</DIV></FONT></SPAN>"
      "</FONT></I></SPAN>" + P("<IMG src=\"p.png\">") +
      "<SPAN id=NoteBlock><FONT color=#9400D3>" + P("<A name=n1></A>1 Сноска.") + P("<A id=n2></A>2 Ещё.") +
      "</FONT></SPAN></BODY></HTML>";
  const BookStatistics s = CountBookStatistics(book);
  EXPECT_EQ(s.bookAuthors, 1u);
  EXPECT_EQ(s.bookTitles, 1u);
  EXPECT_EQ(s.titles, 1u);
  EXPECT_EQ(s.subtitles, 1u);
  EXPECT_EQ(s.epigraphs, 1u);
  EXPECT_EQ(s.textAuthors, 1u);
  EXPECT_EQ(s.verses, 0u);
  EXPECT_EQ(s.paragraphs, 5u);  // the empty one and the picture alone are not counted
  EXPECT_EQ(s.pictures, 1u);
  EXPECT_EQ(s.pageBreaks, 1u);
  EXPECT_EQ(s.noteBlocks, 1u);
  EXPECT_EQ(s.notes, 2u);
  // Автор Книга Глава Два слова1. Под Эпи граф Кто-то 1 Сноска. 2 Ещё. (headings and
  // paragraphs part words even with no blank between them; a link inside a word does not)
  EXPECT_EQ(s.words, 13u);
  EXPECT_EQ(s.characters, 54u);
}

}  // namespace
}  // namespace pw::corrector
