#include "corrector/CleanUpRules.h"

#include <gtest/gtest.h>

#include <chrono>

#include "common/Messages.h"
#include "common/Session.h"
#include "corrector/CleanUpFile.h"
#include "corrector/RuleFile.h"
#include "support/TestSupport.h"

namespace pw::corrector {
namespace {

CleanUpRule Plain(std::string what, std::string by, bool caseSensitive = true) {
  return {std::move(what), std::move(by), caseSensitive, false, true};
}
CleanUpRule Expr(std::string what, std::string by, bool caseSensitive = true) {
  return {std::move(what), std::move(by), caseSensitive, true, true};
}

std::string Apply(std::string_view text, const std::vector<CleanUpRule>& rows, CleanUpReport* report = nullptr) {
  common::NullProgress progress;
  return ApplyCleanUpRules(text, rows, common::CodePage::Win1251, progress, report);
}

// What the Book Cleaner shows after a run: how many replacements each row made.
TEST(CleanUpRules, CountsReplacementsPerRow) {
  const std::vector<CleanUpRule> rows{
      Plain("--", "—"),
      Expr("(\\d+)x", "$1×"),
      {"RemoveRepeatedSymbols(!)", "", true, false, true},
      {"never", "here", true, false, false},                 // disabled
      Expr("(", "broken"),                                   // fails: counts nothing
      Plain("A", "b", false),                                // caseless
  };
  CleanUpReport report;
  EXPECT_EQ(Apply("a--b--c 2x3x!!!! Aa", rows, &report), "b—b—c 2×3×! bb");
  EXPECT_EQ(report.counts, (std::vector<size_t>{2, 2, 3, 0, 0, 3}));
  EXPECT_EQ(report.errors.size(), 1u);
}

TEST(CleanUpRules, CatastrophicPatternIsStoppedByItsRowAndTheTextKept) {
  // Runs of "a" that never end in "b": the pattern backtracks at every place of every run, each
  // place within the engine's own limit, the whole far beyond any sane time.
  std::string text;
  while (text.size() < 200000) text += std::string(22, 'a') + "c";
  text += "ab";
  CleanUpBounds bounds;
  bounds.rowTime = std::chrono::milliseconds(300);
  CleanUpReport report;
  common::NullProgress progress;
  const auto start = std::chrono::steady_clock::now();
  const std::string out = ApplyCleanUpRules(text, {Plain("c", "d"), Expr("(a|a)*b", "x"), Plain("d", "e")},
                                            common::CodePage::Win1251, progress, &report, bounds);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));  // not minutes
  EXPECT_EQ(out, text);
  ASSERT_TRUE(report.stop);
  EXPECT_EQ(*report.stop, common::Msg::RuleTooSlow);
  EXPECT_EQ(report.stoppedRow, 2u);
}

TEST(CleanUpRules, GrowingRulesStopAtTheSizeLimitBeforeTheyGrow) {
  const std::string text(32 * 1024, 'a');
  const std::string sixteen(16, 'a');
  for (const bool regExp : {false, true}) {
    for (const bool caseSensitive : {false, true}) {
      std::vector<CleanUpRule> rows;
      for (int i = 0; i < 8; ++i)
        rows.push_back(regExp ? Expr("a", sixteen, caseSensitive) : Plain("a", sixteen, caseSensitive));
      CleanUpReport report;
      // 32 KB, 512 KB, 8 MB, then 128 MB: past the 16 MB that a small text may grow to.
      EXPECT_EQ(Apply(text, rows, &report), text);
      ASSERT_TRUE(report.stop) << regExp << caseSensitive;
      EXPECT_EQ(*report.stop, common::Msg::RuleResultTooLarge);
      EXPECT_EQ(report.stoppedRow, 3u);
    }
  }
  // Rules that grow within the limit still run.
  CleanUpReport report;
  EXPECT_EQ(Apply("ab", {Plain("a", sixteen), Expr("b", "$0$0")}, &report), sixteen + "bb");
  EXPECT_FALSE(report.stop);
}

TEST(CleanUpRules, ValidateNamesEveryBadExpressionRowWithTheEnginesMessage) {
  const std::vector<CleanUpRule> rows{Expr("a(b", ""), Plain("a(b", ""), Expr("ok+", ""),
                                      {"[z", "", true, true, false}, Expr("x{2,1}", "")};
  const auto problems = ValidateRules(rows);
  ASSERT_EQ(problems.size(), 2u);
  EXPECT_EQ(problems[0].row, 0u);
  EXPECT_NE(problems[0].message.find("missing closing parenthesis"), std::string::npos) << problems[0].message;
  EXPECT_EQ(problems[1].row, 4u);
  EXPECT_TRUE(ValidateRules({Plain("(", ""), Expr("", "")}).empty());
}

TEST(CleanUpRules, EachRowKindInTableOrder) {
  const std::vector<CleanUpRule> rows{
      Plain("--", "uni(8212)"),
      Expr("(\\d+) руб\\.", "$1 ₽"),
      {"RemoveRepeatedSymbols( )", "ignored", true, false, true},
      Plain("ГЛАВА", "Глава", false),
  };
  EXPECT_EQ(Apply("глава 1 -- стоит   10 руб.", rows), "Глава 1 — стоит 10 ₽");
}

TEST(CleanUpRules, CaseRulesForCyrillic) {
  EXPECT_EQ(Apply("Ёж ёж ЁЖ", {Plain("ёж", "ель", false)}), "ель ель ель");
  EXPECT_EQ(Apply("Ёж ёж ЁЖ", {Plain("ёж", "ель", true)}), "Ёж ель ЁЖ");
  EXPECT_EQ(Apply("Ёж ёж ЁЖ", {Expr("ёж", "ель", false)}), "ель ель ель");
}

TEST(CleanUpRules, DisabledAndEmptyRows) {
  std::vector<CleanUpRule> rows{Plain("a", "b"), Expr("c", "d")};
  for (auto& row : rows) row.Enabled = false;
  EXPECT_EQ(Apply("abc", rows), "abc");
  EXPECT_EQ(Apply("abc", {Plain("", "x")}), "abc");
  EXPECT_EQ(Apply("a-b-c", {Plain("-", "")}), "abc");
}

TEST(CleanUpRules, RepeatedSymbols) {
  EXPECT_EQ(Apply("a----b--c", {{"RemoveRepeatedSymbols(-)", "", true, false, true}}), "a-b-c");
  EXPECT_EQ(Apply("xaAaAy", {{"RemoveRepeatedSymbols(a)", "", false, false, true}}), "xay");
  EXPECT_EQ(Apply("xaAaAy", {{"RemoveRepeatedSymbols(a)", "", true, false, true}}), "xaAaAy");
  EXPECT_EQ(Apply("a……b", {{"RemoveRepeatedSymbols(chr(133))", "", true, false, true}}), "a…b");
  EXPECT_EQ(Apply("a  b", {{"RemoveRepeatedSymbols()", "", true, false, true}}), "a  b");
  EXPECT_EQ(Apply("f(x)))", {{"RemoveRepeatedSymbols(chr(41))", "", true, false, true}}), "f(x)");
}

TEST(CleanUpRules, NotationsOnlyInPlainRows) {
  EXPECT_EQ(Apply("«x»", {Plain("uni(171)", "<<")}), "<<x»");
  // In an expression row the same text is an expression: "uni(171)" matches "uni171".
  EXPECT_EQ(Apply("«x» uni171", {Expr("uni(171)", "Z")}), "«x» Z");
  EXPECT_EQ(Apply("a\r\nb", {Plain("chr(13,10)", " ")}), "a b");
}

TEST(CleanUpRules, BadExpressionIsReportedAndSkipped) {
  CleanUpReport report;
  EXPECT_EQ(Apply("abc", {Expr("(b", "x"), Plain("c", "C")}, &report), "abC");
  ASSERT_EQ(report.errors.size(), 1u);
  EXPECT_NE(report.errors[0].find("row 1"), std::string::npos);
}

TEST(CleanUpRules, WholeBookFlattensTheBodyOnly) {
  common::NullProgress progress;
  const std::string book = "<HTML>\r\n<BODY>\r\n<DIV>a\r\n b</DIV>\r\n</BODY></HTML>\r\n";
  EXPECT_EQ(CleanUpLoadedBook(book, {}, common::CodePage::Win1251, progress),
            "<HTML>\r\n<BODY><DIV>a b</DIV></BODY></HTML>\r\n");
  EXPECT_EQ(FlattenLineBreaks("a\r\n b\nc\rd"), "a bcd");
}

TEST(CleanUpRules, Fragments) {
  common::NullProgress progress;
  const std::vector<CleanUpRule> rows{Plain("a", "b")};
  EXPECT_EQ(CleanUpFragment({false, false, ""}, rows, common::CodePage::Win1251, progress).message,
            common::Msg::CleanUpNothingSelected);
  EXPECT_EQ(CleanUpFragment({true, false, ""}, rows, common::CodePage::Win1251, progress).message,
            common::Msg::CleanUpBadFragment);
  const FragmentResult done = CleanUpFragment({true, true, "a\r\n a"}, rows, common::CodePage::Win1251, progress);
  EXPECT_FALSE(done.message.has_value());
  EXPECT_EQ(done.html, "b b");
}

TEST(CleanUpFile, SlotsNoneMissingAndRun) {
  test::ScratchFolder folder;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::RecordingProgress progress;
  common::Session session(progress, messages);
  EXPECT_EQ(ApplyCleanUpFile("text", "none", folder.path(), session), "text");
  EXPECT_TRUE(sink.shown.empty());
  EXPECT_EQ(ApplyCleanUpFile("text", "absent.bcf", folder.path(), session), "text");
  ASSERT_EQ(sink.shown.size(), 1u);
  EXPECT_EQ(sink.shown[0].rfind("file not found", 0), 0u);

  CleanUpTable table;
  table.rows = {Plain("t", "T")};
  std::string error;
  ASSERT_TRUE(SaveReplacementTable(folder / "mine.bcf", table, error));
  EXPECT_EQ(ApplyCleanUpFile("text", "mine.bcf", folder.path(), session), "TexT");
  EXPECT_NE(std::find(progress.statuses.begin(), progress.statuses.end(), "...BookCleaner: mine.bcf..."),
            progress.statuses.end());
}

}  // namespace
}  // namespace pw::corrector
