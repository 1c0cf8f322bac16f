#include "import/HeadingClassifier.h"

#include <gtest/gtest.h>

#include <thread>

#include "common/Files.h"
#include "support/TestSupport.h"

#include "import/HeadingDictionary.h"
#include "import/TextTestSupport.h"

namespace pw::import {
namespace {

using test::ShippedDictionary;

HeadingVerdict Classify(std::string_view line) { return ClassifyHeadingLine(line, &ShippedDictionary()); }

// The test that decided, and whether the line became a heading.
::testing::AssertionResult Decided(std::string_view line, bool heading, int test) {
  const HeadingVerdict verdict = Classify(line);
  if (verdict.heading == heading && verdict.test == test) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "\"" << line << "\": heading " << verdict.heading << " by test "
                                       << verdict.test << ", expected " << heading << " by test " << test;
}

TEST(CharClass, PointDigitSpaceAndNothingElse) {
  EXPECT_EQ(CharClass(U'.'), "point");
  EXPECT_EQ(CharClass(U' '), "space");
  for (char32_t c = U'1'; c <= U'9'; ++c) EXPECT_EQ(CharClass(c), "digit");
  EXPECT_EQ(CharClass(U'0'), "");  // deliberately not a digit
  EXPECT_EQ(CharClass(U'a'), "");
  EXPECT_EQ(CharClass(U','), "");
  EXPECT_EQ(CharClass(U'\u0661'), "");  // an Arabic-Indic one is not a digit either
}

TEST(ClassifyHeadingLine, Test1JoinedFileMarkerIsAHeadingAndASeparator) {
  EXPECT_TRUE(Decided("PW JOINED FILE N=3", true, 1));
  EXPECT_TRUE(Decided("   some text PW JOINED FILE N=12; more:", true, 1));  // before the colon test
  EXPECT_TRUE(Classify("PW JOINED FILE N=3").sceneSeparator);
  EXPECT_FALSE(Classify("PW JOINED FILE N=3").subtitle);
}

TEST(ClassifyHeadingLine, Tests2And3EmptyLinesAndColonOrSemicolonEndings) {
  EXPECT_TRUE(Decided("", false, 2));
  EXPECT_TRUE(Decided("     \t ", false, 2));
  EXPECT_TRUE(Decided("Chapter 1:", false, 3));  // a keyword does not save a colon ending
  EXPECT_TRUE(Decided("ГЛАВА ПЕРВАЯ;", false, 3));
  EXPECT_TRUE(Decided("* * *:", false, 3));
}

TEST(ClassifyHeadingLine, Tests4And5RulesAndDashes) {
  EXPECT_TRUE(Decided("_______", true, 4));
  EXPECT_TRUE(Decided(std::string(40, '_'), true, 4));
  EXPECT_FALSE(Classify(std::string(41, '_')).test == 4);
  EXPECT_TRUE(Decided("---", true, 5));
  EXPECT_TRUE(Decided("- - - - -", true, 5));
  EXPECT_TRUE(Decided(std::string(20, '-'), true, 5));
  EXPECT_TRUE(Decided(std::string(21, '-'), false, 6));  // too long for a separator: a dash line
  EXPECT_TRUE(Classify("---").sceneSeparator);
  EXPECT_TRUE(Classify("---").subtitle);
}

TEST(ClassifyHeadingLine, Test6DialogueAndContinuationAreNeverHeadings) {
  EXPECT_TRUE(Decided("- CHAPTER ONE", false, 6));
  EXPECT_TRUE(Decided("-Глава", false, 6));
  EXPECT_TRUE(Decided("\u2026И ВОТ ОНИ ПРИШЛИ", false, 6));
}

TEST(ClassifyHeadingLine, Test7ShortChapterNumbers) {
  EXPECT_TRUE(Decided("1.", true, 7));
  EXPECT_TRUE(Decided("12", true, 7));
  EXPECT_TRUE(Decided("9999", true, 7));
  EXPECT_TRUE(Decided("  3)  ", true, 7));
  EXPECT_TRUE(Decided("0.", true, 11));  // not a chapter number, but a line without lower case
  EXPECT_FALSE(Classify("12345").test == 7);
}

TEST(ClassifyHeadingLine, Test8StarsAndCrossesSeparateScenes) {
  for (std::string_view line : {"***", "* * *", "xxx", "XXX-", "x x x", "X X X", "*****"}) {
    const HeadingVerdict verdict = Classify(line);
    EXPECT_TRUE(verdict.heading && verdict.test == 8 && verdict.sceneSeparator && verdict.subtitle) << line;
  }
  // A Roman numeral is a number even when it reads "XXX".
  EXPECT_TRUE(Decided("XXX", true, 11));
  EXPECT_TRUE(Decided("XXXIV.", true, 11));
  EXPECT_FALSE(Classify("XXXIV.").sceneSeparator);
  EXPECT_FALSE(Classify(std::string(21, '*')).test == 8);
}

TEST(ClassifyHeadingLine, Test9KeywordsOfTheDictionary) {
  EXPECT_TRUE(Decided("Chapter 1", true, 9));
  EXPECT_TRUE(Decided("Глава первая", true, 9));
  EXPECT_TRUE(Decided("ЧАСТЬ ВТОРАЯ. Возвращение", true, 9));
  EXPECT_TRUE(Decided("Prologue", true, 9));
  EXPECT_TRUE(Decided("CHAPTER IV. The Rabbit Sends in a Little Bill", true, 9));  // a number makes room
  EXPECT_TRUE(Decided("Chapter 12. In which the travellers at last reach the sea", true, 9));
  // Case-sensitive, whole words, and no sentence that merely starts with the word.
  EXPECT_FALSE(Classify("chapter 1 was dull").test == 9);
  EXPECT_FALSE(Classify("Chapters of my life").test == 9);
  EXPECT_FALSE(Classify("Part of it was true.").heading);
  EXPECT_FALSE(Classify("Partly cloudy today").test == 9);
  // Too long without a number.
  EXPECT_FALSE(Classify("Part of the crowd went slowly home that evening").test == 9);
  // Starred short lines skip the dictionary.
  EXPECT_FALSE(Classify("Chapter *a* *b*").test == 9);
}

TEST(ClassifyHeadingLine, Test10SecondWordListInAnyCase) {
  EXPECT_TRUE(Decided("preface", true, 10));
  EXPECT_TRUE(Decided("ПРЕДИСЛОВИЕ", true, 9));  // the keyword list comes first
  EXPECT_TRUE(Decided("Содержание", true, 10));
  EXPECT_TRUE(Decided("the end", true, 10));
  EXPECT_FALSE(Classify("Notebooks").heading);      // not a whole word
  EXPECT_FALSE(Classify("Введение в курс дела").test == 10);  // 15 characters or more
}

TEST(ClassifyHeadingLine, Test11UpperCaseLines) {
  EXPECT_TRUE(Decided("БЭЛА", true, 11));
  EXPECT_TRUE(Decided("I", true, 11));
  EXPECT_TRUE(Decided("CLIV", true, 11));
  EXPECT_TRUE(Decided("\u00ABМАКСИМ МАКСИМЫЧ\u00BB", true, 11));
  EXPECT_TRUE(Decided("\"THE END OF PART ONE\"", true, 11));
  EXPECT_TRUE(Decided("ÉTÉ", true, 11));
  EXPECT_TRUE(Decided("2024-2025", true, 11));
  EXPECT_TRUE(Decided("ДЕЙСТВУЮЩИЕ ЛИЦА", true, 11));
  EXPECT_FALSE(Classify("СТРАССЕ ß").heading);  // ß changes when upper-cased
  EXPECT_FALSE(Classify("(ТИХО)").test == 11);   // a bracket does not open a heading
  EXPECT_FALSE(Classify(std::string(81, 'A')).test == 11);
  // Without a letter or a digit it separates scenes.
  const HeadingVerdict stars = Classify("*    *    *    *    *    *    *");
  EXPECT_TRUE(stars.heading && stars.test == 11 && stars.sceneSeparator && stars.subtitle);
}

TEST(ClassifyHeadingLine, Test12TooLongOrTooShortForANumberedHeading) {
  EXPECT_TRUE(Decided("Abcd", false, 12));
  EXPECT_TRUE(Decided("1 and then a good many more words after it", false, 12));
}

TEST(ClassifyHeadingLine, Test13NumberedHeadings) {
  EXPECT_TRUE(Decided("1. Title", true, 13));
  EXPECT_TRUE(Decided("12. Title", true, 13));
  EXPECT_TRUE(Decided("7.Начало", true, 13));
  EXPECT_TRUE(Decided("0. Title", false, 13));
  EXPECT_TRUE(Decided("1.2.3 Title", false, 13));
  EXPECT_TRUE(Decided("1. Title, again", false, 13));
  EXPECT_TRUE(Decided("12 Title", false, 13));
  EXPECT_TRUE(Decided("10. Title", false, 13));  // "0" is no digit in the second place either
  EXPECT_TRUE(Decided("123. Title", false, 13));
  EXPECT_TRUE(Decided("1 кг муки", false, 13));
}

TEST(ClassifyHeadingLine, WithoutADictionaryTests9And10AreOff) {
  EXPECT_FALSE(ClassifyHeadingLine("Chapter 1", nullptr).heading);
  EXPECT_FALSE(ClassifyHeadingLine("Preface", nullptr).heading);
  const HeadingDictionary empty;
  EXPECT_FALSE(ClassifyHeadingLine("Chapter 1", &empty).heading);
  EXPECT_TRUE(ClassifyHeadingLine("CHAPTER 1", nullptr).heading);  // upper case still counts
}

TEST(ClassifyHeadingLine, CheckModeWritesOnlyWhenAsked) {
  const common::ElementColours colours;
  std::string out;
  bool separator = false;
  EXPECT_TRUE(ClassifyHeadingLine("  Chapter 1  ", kJustCheck, &ShippedDictionary(), colours, out, separator));
  EXPECT_TRUE(out.empty());
  EXPECT_TRUE(ClassifyHeadingLine("  Chapter 1  ", "", &ShippedDictionary(), colours, out, separator));
  EXPECT_EQ(out, "<BR><SPAN id=title><DIV align=center><FONT color=#001950><B>Chapter 1</B></FONT></DIV></SPAN>\r\n");
  EXPECT_FALSE(separator);
  out.clear();
  EXPECT_TRUE(ClassifyHeadingLine("* * *", "", &ShippedDictionary(), colours, out, separator));
  EXPECT_TRUE(separator);
  EXPECT_TRUE(out.starts_with("<BR><SPAN id=subtitle>"));
  out.clear();
  EXPECT_FALSE(ClassifyHeadingLine("just text", "", &ShippedDictionary(), colours, out, separator));
  EXPECT_TRUE(out.empty());
}

TEST(HeadingDictionary, ParsesEntriesAndFoldsTheSecondList) {
  const HeadingDictionary dictionary =
      MakeHeadingDictionary("\xEF\xBB\xBF# comment\r\nChapter\r\n\r\n  Глава  \n", "ПРОЛОГ\nEpilogue\n");
  EXPECT_EQ(dictionary.keywords, (std::vector<std::string>{"Chapter", "Глава"}));
  EXPECT_EQ(dictionary.words, (std::vector<std::string>{"пролог", "epilogue"}));
}

TEST(HeadingDictionary, ShippedListsHoldTheChapterWordsAndLoadOnce) {
  const HeadingDictionary& shipped = ShippedDictionary();
  for (std::string_view word : {"Chapter", "CHAPTER", "Part", "Book", "Prologue", "Epilogue", "Глава", "ГЛАВА",
                                "Часть", "Пролог", "Эпилог", "Книга"}) {
    EXPECT_NE(std::find(shipped.keywords.begin(), shipped.keywords.end(), word), shipped.keywords.end()) << word;
  }
  EXPECT_NE(std::find(shipped.words.begin(), shipped.words.end(), "предисловие"), shipped.words.end());
  EXPECT_EQ(&LoadHeadingDictionary(pw::test::ShippedDataPath("").string()), &shipped);
}

TEST(HeadingDictionary, LoadedOnceForAllThreads) {
  pw::test::ScratchFolder folder;
  ASSERT_TRUE(common::WriteFileAtomic(folder / std::string(kHeadingKeywordsFile), "Kapitel\n"));
  std::vector<const HeadingDictionary*> seen(8, nullptr);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < seen.size(); ++i)
    threads.emplace_back([&, i] { seen[i] = &LoadHeadingDictionary(folder.path()); });
  for (std::thread& thread : threads) thread.join();
  for (const HeadingDictionary* dictionary : seen) EXPECT_EQ(dictionary, seen.front());
  EXPECT_EQ(seen.front()->keywords, std::vector<std::string>{"Kapitel"});
  EXPECT_TRUE(seen.front()->words.empty());  // the second list is missing: test 10 is off
  // Changing the file later changes nothing: the lists are read once per process.
  ASSERT_TRUE(common::WriteFileAtomic(folder / std::string(kHeadingKeywordsFile), "Teil\n"));
  EXPECT_EQ(LoadHeadingDictionary(folder.path()).keywords, std::vector<std::string>{"Kapitel"});
}

TEST(HeadingDictionary, AMissingFolderGivesEmptyLists) {
  EXPECT_TRUE(LoadHeadingDictionary("/nonexistent/pagewright/data").empty());
}

}  // namespace
}  // namespace pw::import
