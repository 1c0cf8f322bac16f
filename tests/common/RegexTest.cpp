#include "common/Regex.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace pw::common {
namespace {

std::string Replace(std::string text, std::string_view pattern, std::string_view replacement,
                    bool caseSensitive = true) {
  std::string error;
  EXPECT_TRUE(RegExpReplaceAll(text, pattern, replacement, caseSensitive, &error)) << error;
  return text;
}

TEST(Regex, GroupsAndDollarForms) {
  EXPECT_EQ(Replace("John Smith", "(\\w+) (\\w+)", "$2, $1 [$0]"), "Smith, John [John Smith]");
  EXPECT_EQ(Replace("a1b2", "(\\d)", "$$$1"), "a$1b$2");
  EXPECT_EQ(Replace("ab", "(x)?b", "[$1]"), "a[]");
  EXPECT_EQ(Replace("cost", "o", "$x"), "c$xst");
  EXPECT_EQ(Replace("abc", "c", "$9"), "ab");
}

TEST(Regex, UnicodeCaseAndWordClasses) {
  EXPECT_EQ(Replace("ГЛАВА 1 и глава 2", "глава", "Часть", false), "Часть 1 и Часть 2");
  EXPECT_EQ(Replace("ГЛАВА 1", "глава", "Часть", true), "ГЛАВА 1");
  // \b and \w see Cyrillic letters, so the word "он" is found but not inside "они".
  EXPECT_EQ(Replace("он и они", "\\bон\\b", "ОН"), "ОН и они");
  EXPECT_EQ(Replace("ёж ель", "\\w+", "x"), "x x");
}

TEST(Regex, EmptyMatchesAdvanceByWholeCharacters) {
  EXPECT_EQ(Replace("abc", "x*", "-"), "-a-b-c-");
  EXPECT_EQ(Replace("жы", "", "|"), "|ж|ы|");
  EXPECT_EQ(Replace("", "^", "start"), "start");
}

TEST(Regex, LazyDotAllRemovesSpanAcrossLines) {
  EXPECT_EQ(Replace("a<SPAN id=FbSection>x\r\ny</SPAN>b<SPAN id=FbSection></SPAN>c",
                    "(?s)<SPAN id=FbSection>.*?</SPAN>", ""),
            "abc");
}

TEST(Regex, FirstOnlyAndFind) {
  std::string text = "one two two";
  ASSERT_TRUE(RegExpReplaceFirst(text, "two", "2", true));
  EXPECT_EQ(text, "one 2 two");
  const RegexMatch match = RegExpFind("Часть вторая", "вто\\w+", true);
  ASSERT_TRUE(match.found);
  EXPECT_EQ(match.begin, std::string_view("Часть ").size());
  EXPECT_EQ(match.end, std::string_view("Часть вторая").size());
  EXPECT_FALSE(RegExpFind("abc", "z", true).found);
  EXPECT_FALSE(RegExpFind("abc", "a", true, 1).found);
}

TEST(Regex, BadPatternIsAnErrorAndLeavesTextAlone) {
  std::string text = "keep me";
  std::string error;
  EXPECT_FALSE(RegExpReplaceAll(text, "(unclosed", "x", true, &error));
  EXPECT_EQ(text, "keep me");
  EXPECT_NE(error.find("offset"), std::string::npos);
  EXPECT_FALSE(RegExpIsValid("[a-", &error));
  EXPECT_TRUE(RegExpIsValid("[a-z]+", &error));
  EXPECT_FALSE(RegExpFind("abc", "(", true, 0, &error).found);
}

TEST(Regex, InvalidUtf8InTextDoesNotBreakMatching) {
  std::string text = "ab\xFF\xFE" "cd";
  std::string error;
  ASSERT_TRUE(RegExpReplaceAll(text, "cd", "X", true, &error)) << error;
  EXPECT_EQ(text, "ab\xFF\xFE" "X");
}

TEST(Regex, CatastrophicBacktrackingEndsAsErrorOrResult) {
  std::string text(1 << 20, 'a');
  text += 'b';
  const std::string before = text;
  std::string error;
  const bool ok = RegExpReplaceAll(text, "(a+)+$", "x", true, &error);
  // Either the engine proves there is no match or the limit stops it; it never hangs and
  // never leaves a half-changed text.
  if (!ok) {
    EXPECT_EQ(error, "match limit reached");
  }
  EXPECT_EQ(text, before);
}

TEST(Regex, CacheIsSafeAcrossThreads) {
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &failures] {
      for (int i = 0; i < 300; ++i) {
        std::string text = "value " + std::to_string(i);
        const std::string pattern = "(\\d+)(?:x{" + std::to_string(i % 50) + "})?";
        if (!RegExpReplaceAll(text, pattern, "<$1>", true) ||
            text != "value <" + std::to_string(i) + ">")
          ++failures[static_cast<size_t>(t)];
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

}  // namespace
}  // namespace pw::common
