#include "import/VerseBlocks.h"

#include <gtest/gtest.h>

#include "import/TextCharacters.h"

namespace pw::import {
namespace {

using Lines = std::vector<std::string_view>;

TEST(IsAuthorLine, NamesAndAbbreviationsButNoSentences) {
  for (std::string_view line : {"Князь Вяземский", "  Byron ", "- Пушкин", "(Гете)", "А. С. Пушкин", "Hor.", "Petr.",
                                "Ludwig van Beethoven", "Из Байрона", "Malfila^tre"}) {
    EXPECT_TRUE(IsAuthorLine(line)) << line;
  }
  for (std::string_view line : {"He left.", "It is.", "Иван Петрович.", "Вот и всё,", "Беги!", "Кто там?",
                                "и вот", "A", "One Two Three Four Five Six",
                                "Очень длинная подпись под эпиграфом из сорока с лишним букв"}) {
    EXPECT_FALSE(IsAuthorLine(line)) << line;
  }
}

TEST(IsEpigraphBlock, AQuoteEndingASentenceAndItsAuthor) {
  EXPECT_TRUE(IsEpigraphBlock(Lines{"    И жить торопится, и чувствовать спешит.", "    Князь Вяземский "}));
  EXPECT_TRUE(IsEpigraphBlock(Lines{"Fare thee well, and if for ever", "Still for ever, fare thee well.", "Byron"}));
  EXPECT_FALSE(IsEpigraphBlock(Lines{"Князь Вяземский"}));                            // no quote
  EXPECT_FALSE(IsEpigraphBlock(Lines{"И жить торопится, и чувствовать", "Князь Вяземский"}));  // quote runs on
  EXPECT_FALSE(IsEpigraphBlock(Lines{"O rus!", "Hor.", "О Русь!"}));                   // author not last
  EXPECT_FALSE(IsEpigraphBlock(Lines(9, "Строка.")));
}

TEST(FindVerseRuns, CapitalLinesThatRunOnAreVerse) {
  const Lines verse = {"How doth the little crocodile", "Improve his shining tail,",
                       "And pour the waters of the Nile", "On every golden scale!"};
  EXPECT_EQ(FindVerseRuns(verse), (std::vector<std::pair<size_t, size_t>>{{0, 4}}));
  EXPECT_TRUE(ReadsAsVerse(verse));

  // Hard-wrapped prose goes on in lower case.
  const Lines prose = {"Alice was beginning to get very tired of sitting by her sister on the",
                       "bank, and of having nothing to do: once or twice she had peeped into the",
                       "book her sister was reading, but it had no pictures or conversations in",
                       "it, 'and what is the use of a book,' thought Alice"};
  EXPECT_TRUE(FindVerseRuns(prose).empty());
  EXPECT_FALSE(ReadsAsVerse(prose));

  // Short sentences each on a line are not verse: they end where they stop.
  const Lines sentences = {"Она ушла.", "Он остался.", "Было тихо.", "Шёл снег."};
  EXPECT_TRUE(FindVerseRuns(sentences).empty());

  // Three lines are too few; quotes and dashes before the capital count.
  EXPECT_TRUE(FindVerseRuns(Lines{"Три девицы под окном", "Пряли поздно вечерком.", "«Кабы я была царица, —"}).empty());
  const Lines quoted = {"«Кабы я была царица, —", "Говорит одна девица, —", "То на весь крещеный мир",
                        "Приготовила б я пир».", "- Вот и весь сказ."};
  EXPECT_EQ(FindVerseRuns(quoted), (std::vector<std::pair<size_t, size_t>>{{0, 5}}));
}

TEST(FindVerseRuns, RunsInsideABlockOfProse) {
  const Lines block = {"он затянул старинную песню вполголоса:", "Много красавиц в аулах у нас,",
                       "Звезды сияют во мраке их глаз.", "Сладко любить их, завидная доля;",
                       "Но веселей молодецкая воля.", "и замолчал, глядя на огонь, который догорал."};
  EXPECT_EQ(FindVerseRuns(block), (std::vector<std::pair<size_t, size_t>>{{1, 5}}));
  // A line longer than a verse line breaks the run.
  const Lines wide = {"Много красавиц в аулах у нас,", "Звезды сияют во мраке их глаз.",
                      "Сладко любить их, завидная доля, и долго ещё можно было бы перечислять их всех,",
                      "Но веселей молодецкая воля."};
  EXPECT_TRUE(FindVerseRuns(wide).empty());
}

TEST(TextCharacters, SentenceEndsAndParagraphStarts) {
  for (std::string_view line : {"Конец.", "Конец…", "Really?", "Stop!", "He said \"yes.\"", "«Да.»  ", "'Oh dear!'"})
    EXPECT_TRUE(EndsSentence(line)) << line;
  for (std::string_view line : {"and so", "first,", "the end:", "dash -", "", "\"quoted\""})
    EXPECT_FALSE(EndsSentence(line)) << line;
  // A closing quote counts only after a sentence mark: alone it is an apostrophe.
  EXPECT_FALSE(EndsSentence("the dogs\u2019"));
  EXPECT_TRUE(EndsSentence("he went.\u2019"));

  for (std::string_view line : {"Capital", "  Èté", "Ёлка", "\"Quote", "\u00ABЦитата", "- Dialogue", "12 items",
                                "\u2026and", "(aside)", "* item"})
    EXPECT_TRUE(BeginsParagraph(line)) << line;
  for (std::string_view line : {"lower", "  ещё", ", comma", ""}) EXPECT_FALSE(BeginsParagraph(line)) << line;
  EXPECT_TRUE(BeginsWithCapital("  «- Кабы"));
  EXPECT_FALSE(BeginsWithCapital("- и"));
  EXPECT_EQ(CharLength("Ёлка"), 4u);
  EXPECT_EQ(LastCodePointOr("Ёлка"), U'а');
  EXPECT_EQ(FirstCodePointOr(""), U' ');
}

}  // namespace
}  // namespace pw::import
