#include "corrector/ParagraphLists.h"

#include <gtest/gtest.h>

namespace pw::corrector {
namespace {

std::string P(std::string_view text) { return "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;" + std::string(text) + "</DIV>\r\n"; }

std::vector<size_t> Indices(std::string_view book, ParagraphCheck check, std::string_view ends = ".?!") {
  std::vector<size_t> out;
  for (const auto& item : ListParagraphs(book, check, ends)) out.push_back(item.index);
  return out;
}

TEST(ParagraphLists, ShortEmptyAndLowerCaseStarts) {
  const std::string book = "<BODY>" + P("Это длинный абзац, в нём больше двадцати пяти знаков.") +  // 0
                           P("Коротко.") +                                                       // 1
                           P("") +                                                               // 2
                           "<DIV align=justify>&nbsp;</DIV>" +                                   // 3: empty line
                           P("<IMG src=a.png>") +                                                // 4: a picture
                           P("— продолжение оборванной фразы, которое идёт дальше.") +           // 5
                           P("«ещё одно продолжение», сказал он, и пошёл домой.") +              // 6
                           P("1999 год был трудным для всех, кто там жил.") +                    // 7
                           P("iPhone lower first letter is a real word here") +                 // 8
                           "<SPAN id=title><DIV align=center>мелкий заголовок</DIV></SPAN>" + "</BODY>";
  EXPECT_EQ(Indices(book, ParagraphCheck::Short), (std::vector<size_t>{1}));
  EXPECT_EQ(Indices(book, ParagraphCheck::Empty), (std::vector<size_t>{2, 3}));
  EXPECT_EQ(Indices(book, ParagraphCheck::LowerCaseStart), (std::vector<size_t>{5, 6, 8}));
  // The bad ends list is the paragraph-end check.
  EXPECT_EQ(Indices(book, ParagraphCheck::BadEnds), (std::vector<size_t>{8}));
  const auto shown = ListParagraphs(book, ParagraphCheck::LowerCaseStart, ".");
  EXPECT_EQ(shown[0].shown, "— продолжение о /.../ ое идёт дальше.");
}

TEST(ParagraphLists, ShortLimitCountsCharactersNotBytes) {
  const std::string exactly24(24, 'x');
  const std::string book = P("ЖЖЖЖЖЖЖЖЖЖЖЖЖЖЖЖЖЖЖЖЖЖЖЖ") + P(exactly24) + P(exactly24 + "y");
  EXPECT_EQ(Indices(book, ParagraphCheck::Short), (std::vector<size_t>{0, 1}));
}

TEST(ParagraphLists, CheckNames) {
  ParagraphCheck check;
  ASSERT_TRUE(ParseParagraphCheck("lowercase", check));
  EXPECT_EQ(check, ParagraphCheck::LowerCaseStart);
  EXPECT_FALSE(ParseParagraphCheck("Short", check));
}

TEST(ParagraphRepair, JoinWithNext) {
  std::string book = "<BODY>" + P("Он шёл по") + P("дороге домой.") + P("Другой абзац.") + "</BODY>";
  ASSERT_TRUE(JoinWithNext(book, 0));
  EXPECT_EQ(book, "<BODY>" + P("Он шёл по дороге домой.") + P("Другой абзац.") + "</BODY>");
  // The last paragraph has nothing to join; a title between two paragraphs stops the join.
  EXPECT_FALSE(JoinWithNext(book, 1));
  std::string withTitle = P("Конец главы") + "<SPAN id=title><DIV align=center>II</DIV></SPAN>" + P("Начало.");
  const std::string before = withTitle;
  EXPECT_FALSE(JoinWithNext(withTitle, 0));
  EXPECT_EQ(withTitle, before);
  EXPECT_FALSE(JoinWithNext(withTitle, 7));
}

TEST(ParagraphRepair, JoinPassesTheEmptyParagraphsOfBlankLines) {
  std::string book = P("Он шёл по") + P("") + "<DIV align=justify>&nbsp;</DIV>" + P("дороге.") + P("");
  ASSERT_TRUE(JoinWithNext(book, 0));
  EXPECT_EQ(book, P("Он шёл по дороге.") + P(""));
  EXPECT_FALSE(JoinWithNext(book, 0));  // only empty paragraphs follow
}

TEST(ParagraphRepair, JoinKeepsAWordHyphenatedAcrossTheBreakWhole) {
  std::string book = P("пре\u00AD") + P("красно.");
  ASSERT_TRUE(JoinWithNext(book, 0));
  EXPECT_EQ(book, P("прекрасно."));
}

TEST(ParagraphRepair, LeftWordsShiftMovesTheRestOfTheSentence) {
  std::string book = P("Он открыл") + P("дверь <I>и вошёл.</I> Там было темно.") + P("Третий.");
  ASSERT_TRUE(LeftWordsShift(book, 0, ".?!"));
  EXPECT_EQ(book, P("Он открыл дверь <I>и вошёл.</I>") + P("Там было темно.") + P("Третий."));
  // No sentence end in the next paragraph: it joins whole.
  std::string whole = P("Начало") + P("и середина") + P("Конец.");
  ASSERT_TRUE(LeftWordsShift(whole, 0, ".?!"));
  EXPECT_EQ(whole, P("Начало и середина") + P("Конец."));
  // A tag with a blank inside is one word's part, never cut.
  std::string linked = P("См.") + P("<A href=\"#n 1\">сноску</A>. Дальше.");
  ASSERT_TRUE(LeftWordsShift(linked, 0, "."));
  EXPECT_EQ(linked, P("См. <A href=\"#n 1\">сноску</A>.") + P("Дальше."));
  std::string last = P("Один.");
  EXPECT_FALSE(LeftWordsShift(last, 0, "."));
}

}  // namespace
}  // namespace pw::corrector
