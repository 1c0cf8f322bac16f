#include "import/TextAnalysis.h"

#include <gtest/gtest.h>

#include <cmath>

namespace pw::import {
namespace {

// Statistics straight from the numbers, for the rule table.
TextStatistics Stats(size_t lines, double mean, double spread, double lead, double indent = 0) {
  TextStatistics stats;
  stats.lines = lines;
  stats.sumLength = mean * lines;
  // Spread = √(S2 − S1²/N) / N / mean, so S2 = (spread·N·mean)² + S1²/N.
  const double root = spread * lines * mean;
  stats.sumSquares = root * root + stats.sumLength * stats.sumLength / lines;
  stats.leadingLines = static_cast<size_t>(std::lround(lead * lines));
  stats.indentLines = static_cast<size_t>(std::lround(indent * lines));
  return stats;
}

TEST(TextStatistics, MeasuresLinesLengthsAndIndentsInCharacters) {
  // Lengths 4, 0, 6, 3 (Cyrillic letters count once each).
  const TextStatistics stats = MeasureTextStructure("abcd\r\n\r\n  бвгд\r\n ab", "  ");
  EXPECT_EQ(stats.lines, 4u);
  EXPECT_DOUBLE_EQ(stats.sumLength, 13);
  EXPECT_DOUBLE_EQ(stats.sumSquares, 16 + 36 + 9);
  EXPECT_EQ(stats.leadingLines, 2u);
  EXPECT_EQ(stats.indentLines, 1u);
  EXPECT_DOUBLE_EQ(stats.LeadShare(), 0.5);
  EXPECT_DOUBLE_EQ(stats.Mean(), 3.25);
  // √(61 − 169/4) / 4 / 3.25
  EXPECT_NEAR(stats.Spread(), std::sqrt(61 - 169.0 / 4) / 4 / 3.25, 1e-12);
  // The lit indent is one blank.
  EXPECT_EQ(MeasureTextStructure("abcd\r\n\r\n  бвгд\r\n ab", IndentString("lit")).indentLines, 2u);
}

TEST(TextStatistics, ATrailingSeparatorAddsNoLineAndEqualLinesHaveNoSpread) {
  const TextStatistics stats = MeasureTextStructure("aaaa\r\nbbbb\r\ncccc\r\n", "  ");
  EXPECT_EQ(stats.lines, 3u);
  EXPECT_DOUBLE_EQ(stats.Spread(), 0.0);
  EXPECT_EQ(MeasureTextStructure("", "  ").lines, 0u);
  EXPECT_DOUBLE_EQ(TextStatistics{}.Spread(), 0.0);
}

TEST(TextStatistics, SpreadIsDividedByNNotByItsRoot) {
  // Two line lengths alternating: the same shape, four times the lines, half the spread.
  std::string small;
  std::string large;
  for (int i = 0; i < 10; ++i) small += "aaaaaaaaaa\r\naa\r\n";
  for (int i = 0; i < 40; ++i) large += "aaaaaaaaaa\r\naa\r\n";
  const double ratio = MeasureTextStructure(small, "  ").Spread() / MeasureTextStructure(large, "  ").Spread();
  EXPECT_NEAR(ratio, 2.0, 1e-9);
}

TEST(HyphenationRate, CountsDashesBeforeALineEndPerHundredCharacters) {
  EXPECT_DOUBLE_EQ(HyphenationRate(""), 0.0);
  // 2 of them in 20 characters: 10 per hundred.
  EXPECT_DOUBLE_EQ(HyphenationRate("abc-\r\ndef-\r\nghi - jk"), 2 * 100.0 / 20);
}

TEST(DecideParagraphMode, RulesInOrderWithStrictComparisons) {
  struct Case {
    const char* what;
    TextStatistics stats;
    double rate;
    const char* type;
    std::string_view mode;
    char rule;
  };
  const Case cases[] = {
      {"b: uniform and indented", Stats(1000, 60, 0.01, 0.3), 0, "txt", kModeTabulators, 'b'},
      {"b needs lead above 0.1", Stats(1000, 60, 0.01, 0.1, 0.05), 0, "txt", kModeAdvanced, 'f'},
      {"c: lead 1.0 when not uniform", Stats(40, 140, 0.08, 1.0), 0, "txt", kModeLineEnds, 'c'},
      {"lead 1.0 but uniform: b first", Stats(40, 140, 0.069, 1.0), 0, "txt", kModeTabulators, 'b'},
      {"c: lead 0.95", Stats(40, 140, 0.08, 0.95), 0, "txt", kModeLineEnds, 'c'},
      {"d: long lines", Stats(30, 161, 0.08, 0.0), 0, "txt", kModeLineEnds, 'd'},
      {"d is strict", Stats(30, 160, 0.08, 0.0), 0, "txt", kModeAdvanced, 'f'},
      {"e: mostly indented", Stats(40, 150, 0.1, 0.875, 0.875), 0, "txt", kModeAdvanced, 'e'},
      {"e: 0.9 is not above 0.9 for c", Stats(40, 150, 0.1, 0.9, 0.9), 0, "txt", kModeAdvanced, 'e'},
      {"e is strict", Stats(40, 150, 0.1, 0.85, 0.3), 0, "txt", kModeSpaces, 'f'},
      {"f: advanced", Stats(40, 150, 0.1, 0.05, 0.05), 0, "txt", kModeAdvanced, 'f'},
      {"f: spaces", Stats(40, 150, 0.1, 0.3, 0.3), 0, "txt", kModeSpaces, 'f'},
      {"f: indent share 0.5 is not below 0.5", Stats(40, 150, 0.1, 0.5, 0.5), 0, "txt", kModeAdvanced, 'f'},
      {"lit: 0.95 is line ends (c)", Stats(40, 150, 0.1, 0.95, 0.95), 0, "lit", kModeLineEnds, 'c'},
      {"lit: 0.86 is not stripped (e)", Stats(50, 150, 0.1, 0.86, 0.86), 0, "lit", kModeSpaces, 'g'},
      {"lit without indents: g", Stats(40, 150, 0.1, 0.0, 0.0), 0, "lit", kModeAdvanced, 'g'},
      {"nothing at all", TextStatistics{}, 0, "txt", kModeAdvanced, 0},
  };
  for (const Case& c : cases) {
    const ModeDecision decision = DecideParagraphMode(c.stats, c.rate, c.type);
    EXPECT_EQ(decision.mode, c.mode) << c.what;
    EXPECT_EQ(decision.rule, c.rule) << c.what;
    EXPECT_EQ(decision.stripLeadingBlanks, c.rule == 'e') << c.what;
    EXPECT_FALSE(decision.rejoinWords) << c.what;
  }
}

TEST(DecideParagraphMode, RuleARejoinsAndGoesOn) {
  ModeDecision decision = DecideParagraphMode(Stats(1000, 60, 0.01, 0.3), 0.002, "txt");
  EXPECT_TRUE(decision.rejoinWords);
  EXPECT_EQ(decision.mode, kModeTabulators);
  EXPECT_FALSE(DecideParagraphMode(Stats(1000, 60, 0.01, 0.3), 0.0019, "txt").rejoinWords);
  EXPECT_FALSE(DecideParagraphMode(Stats(40, 150, 0.0701, 0.0), 0.5, "txt").rejoinWords);  // spread not below 0.07
  decision = DecideParagraphMode(Stats(30, 161, 0.01, 0.0), 0.01, "txt");
  EXPECT_TRUE(decision.rejoinWords);
  EXPECT_EQ(decision.rule, 'd');
}

TEST(RejoinBrokenWords, JoinsHalvesButKeepsDashes) {
  EXPECT_EQ(RejoinBrokenWords("стро-\r\nковый текст\r\n"), "строковый текст\r\n");
  EXPECT_EQ(RejoinBrokenWords("a dash -\r\nstays"), "a dash -\r\nstays");
  EXPECT_EQ(RejoinBrokenWords("a dash--\r\nstays"), "a dash--\r\nstays");
  EXPECT_EQ(RejoinBrokenWords("one-\r\ntwo-\r\nthree"), "onetwothree");
  EXPECT_EQ(RejoinBrokenWords("-\r\nx"), "x");
  // Only a lower-case continuation is the other half of a word.
  EXPECT_EQ(RejoinBrokenWords("злится-\r\nИ впился"), "злится-\r\nИ впился");
  EXPECT_EQ(RejoinBrokenWords("1990-\r\n1995"), "1990-\r\n1995");
  EXPECT_EQ(RejoinBrokenWords("word-\r\n  indented"), "word-\r\n  indented");
  EXPECT_EQ(RejoinBrokenWords("no breaks - here"), "no breaks - here");
}

TEST(RemoveLeadingBlanks, EveryLineLosesItsIndent) {
  EXPECT_EQ(RemoveLeadingBlanks("   a\r\n b \r\n\r\nc"), "a\r\nb \r\n\r\nc");
  EXPECT_EQ(RemoveLeadingBlanks("  x\r\n"), "x\r\n");
}

TEST(ParagraphModeNames, OnlyTheFiveAreConcrete) {
  for (std::string_view mode : {kModeSimple, kModeSpaces, kModeLineEnds, kModeAdvanced, kModeTabulators})
    EXPECT_TRUE(IsConcreteMode(mode));
  EXPECT_FALSE(IsConcreteMode(kModeAuto));
  EXPECT_FALSE(IsConcreteMode("Advanced"));
  EXPECT_EQ(IndentString("lit"), " ");
  EXPECT_EQ(IndentString("txt"), "  ");
}

}  // namespace
}  // namespace pw::import
