#include "corrector/FindReplace.h"

#include <gtest/gtest.h>

#include <limits>

namespace pw::corrector {
namespace {

constexpr size_t kAll = std::numeric_limits<size_t>::max();

TEST(FindReplace, PlainTextIsQuotedAndKeepsItsDollar) {
  const FindOptions plain;
  // Every character that means something to the engine is found as itself.
  const auto found = FindInText("cost (a+b)*2 is $5. [x] {y} a|b ^z", "(a+b)*2", "$1", plain, kAll);
  ASSERT_TRUE(found.ok) << found.error;
  ASSERT_EQ(found.matches.size(), 1u);
  EXPECT_EQ(found.matches[0].start, 5u);
  EXPECT_EQ(found.matches[0].end, 12u);
  EXPECT_EQ(found.matches[0].replacement, "$1");  // plain replacements are literal
  for (const char* what : {"$5.", "[x]", "{y}", "a|b", "^z"})
    EXPECT_EQ(FindInText("cost (a+b)*2 is $5. [x] {y} a|b ^z", what, "", plain, kAll).matches.size(), 1u) << what;
}

TEST(FindReplace, CaseAndWholeWordsInCyrillicToo) {
  FindOptions options;
  EXPECT_EQ(FindInText("Кот и КОТ, котёнок", "кот", "", options, kAll).matches.size(), 3u);
  options.matchCase = true;
  EXPECT_EQ(FindInText("Кот и КОТ, котёнок", "кот", "", options, kAll).matches.size(), 1u);
  options.matchCase = false;
  options.wholeWord = true;
  const auto words = FindInText("Кот и КОТ, котёнок", "кот", "", options, kAll);
  ASSERT_EQ(words.matches.size(), 2u);  // not inside "котёнок": letters are word characters in any script
  EXPECT_EQ(words.matches[1].start, 6u);
}

TEST(FindReplace, RegularExpressionWithGroupsInTheReplacement) {
  FindOptions options;
  options.regex = true;
  const auto found = FindInText("Chapter 12, Chapter 3", "Chapter (\\d+)", "Глава $1", options, kAll);
  ASSERT_TRUE(found.ok);
  ASSERT_EQ(found.matches.size(), 2u);
  EXPECT_EQ(found.matches[0].replacement, "Глава 12");
  EXPECT_EQ(found.matches[1].replacement, "Глава 3");
}

TEST(FindReplace, PositionsAreCountedAsThePageCountsThem) {
  // The page counts UTF-16 code units: a Cyrillic letter is one, a character beyond the basic
  // plane two, while the server's text holds two and four bytes.
  const FindOptions plain;
  const auto found = FindInText("ж😀ж ab", "ab", "", plain, kAll);
  ASSERT_EQ(found.matches.size(), 1u);
  EXPECT_EQ(found.matches[0].start, 5u);
  EXPECT_EQ(found.matches[0].end, 7u);
}

TEST(FindReplace, ABadPatternIsAnAnswerNotAFailure) {
  FindOptions options;
  options.regex = true;
  const auto found = FindInText("text", "(unclosed", "", options, kAll);
  EXPECT_FALSE(found.ok);
  EXPECT_FALSE(found.error.empty());
  std::string html = "<body>text</body>";
  const auto replaced = ReplaceAllInHtml(html, "[z-a]", "", options);
  EXPECT_FALSE(replaced.ok);
  EXPECT_EQ(html, "<body>text</body>");
}

TEST(FindReplace, LimitAndEmptySearch) {
  const FindOptions plain;
  const auto limited = FindInText("a a a a", "a", "", plain, 2);
  EXPECT_EQ(limited.matches.size(), 2u);
  EXPECT_TRUE(limited.truncated);
  const auto none = FindInText("a a", "", "", plain, kAll);
  EXPECT_TRUE(none.ok);
  EXPECT_TRUE(none.matches.empty());
}

TEST(FindReplace, HtmlReplacementStaysInTheBody) {
  FindOptions options;
  options.regex = true;
  std::string html = "<HTML><HEAD><TITLE>DIV</TITLE></HEAD><BODY bgcolor=white><DIV>one</DIV><DIV>two</DIV></BODY></HTML>";
  const auto replaced = ReplaceAllInHtml(html, "<DIV>(\\w+)</DIV>", "<P>$1</P>", options);
  ASSERT_TRUE(replaced.ok);
  EXPECT_EQ(replaced.count, 2u);
  EXPECT_EQ(html, "<HTML><HEAD><TITLE>DIV</TITLE></HEAD><BODY bgcolor=white><P>one</P><P>two</P></BODY></HTML>");
  EXPECT_EQ(CountInHtml(html, "DIV", FindOptions{}).count, 0u);  // the head is not searched
  // A selection's HTML has no body: all of it is searched.
  std::string part = "<b>x</b> x";
  EXPECT_EQ(ReplaceAllInHtml(part, "x", "y", FindOptions{}).count, 2u);
  EXPECT_EQ(part, "<b>y</b> y");
}

}  // namespace
}  // namespace pw::corrector
