#include "import/ParagraphModes.h"

#include <gtest/gtest.h>

#include "import/TextAnalysis.h"
#include "import/TextTestSupport.h"
#include "support/TestSupport.h"

namespace pw::import {
namespace {

using test::Convert;
using test::Options;
using test::ProseParagraphs;

// A short book in which every mode has something to decide: indented and unindented
// paragraph starts, hard-wrapped lines, a line that starts in lower case after an indent,
// dialogue, a list, a verse, an ellipsis line and a bracketed note.
constexpr std::string_view kSample =
    "Глава 1\r\n"
    "\r\n"
    "     И жить торопится, и чувствовать спешит.\r\n"
    "     Князь Вяземский\r\n"
    "\r\n"
    "   The morning came grey and cold over the hills; the travellers rose\r\n"
    "before the sun, packed their things and set out along the old road.\r\n"
    "   It was a long way. Nobody spoke until noon, when the road turned\r\n"
    "   and went down into the valley, and Anna said:\r\n"
    "- How far is it?\r\n"
    "- Two more days, - he answered.\r\n"
    "   \u2026and then they were silent again.\r\n"
    "   [A note of the editor.]\r\n"
    "The list was short:\r\n"
    "1. bread,\r\n"
    "2. salt.\r\n"
    "\r\n"
    "   Frost and sunshine; day of wonder!\r\n"
    "   Fair friend, why do you dream and slumber -\r\n"
    "   Wake up, my beauty, wake up, wake\r\n"
    "   And see the morning in the window.\r\n"
    "\r\n"
    "* * *\r\n"
    "\r\n"
    "It was a short line.\r\n"
    "And another one that runs on to the next\r\n"
    "line of the same sentence.\r\n";

class ParagraphModeGolden : public ::testing::TestWithParam<std::string_view> {};

TEST_P(ParagraphModeGolden, SampleBook) {
  const std::string_view mode = GetParam();
  TextImportResult result;
  const std::string book = Convert(kSample, Options(mode), &result);
  EXPECT_EQ(result.mode, mode);
  EXPECT_EQ(result.analysisRule, 0);
  EXPECT_EQ(result.paragraphStyle, mode == kModeSpaces ? "spaces" : "simple");
  std::string name(mode);
  std::replace(name.begin(), name.end(), ' ', '_');
  EXPECT_TRUE(pw::test::MatchesGolden(book, "import/mode_" + name + ".html0"));
}

INSTANTIATE_TEST_SUITE_P(AllModes, ParagraphModeGolden,
                         ::testing::Values(kModeLineEnds, kModeTabulators, kModeSpaces, kModeAdvanced, kModeSimple),
                         [](const auto& info) {
                           std::string name(info.param);
                           std::replace(name.begin(), name.end(), ' ', '_');
                           return name;
                         });

// The paragraphs that `lines` make in `mode`; lines are given without any headings.
std::vector<std::string> Paragraphs(std::string_view mode, std::string_view lines, bool continueLowerCase = true) {
  TextImportOptions options = Options(mode);
  options.continueLowerCase = continueLowerCase;
  return ProseParagraphs(Convert(lines, options));
}

using List = std::vector<std::string>;

TEST(ParagraphModes, LineEndsMakesEveryLineAParagraph) {
  EXPECT_EQ(Paragraphs(kModeLineEnds, "one and\r\ntwo\r\n  three"), (List{"one and", "two", "three"}));
}

TEST(ParagraphModes, TabulatorsStartAtIndentsAndLowerCaseContinues) {
  const std::string_view text = "  First line\r\nwrapped on.\r\n  second starts low\r\n  Third.\r\n\u2026Fourth";
  EXPECT_EQ(Paragraphs(kModeTabulators, text),
            (List{"First line wrapped on. second starts low", "Third.", "\u2026Fourth"}));
  EXPECT_EQ(Paragraphs(kModeTabulators, text, false),
            (List{"First line wrapped on.", "second starts low", "Third.", "\u2026Fourth"}));
}

TEST(ParagraphModes, SpacesJoinAnIndentInsideASentence) {
  const std::string_view text =
      "  First paragraph\r\nwraps here\r\n  and goes on.\r\n  Second one.\r\n  [note]\r\n  .continued\r\n";
  EXPECT_EQ(Paragraphs(kModeSpaces, text),
            (List{"First paragraph wraps here and goes on.", "Second one.", "[note]", ".continued"}));
  // A first line after an empty paragraph always starts it.
  EXPECT_EQ(Paragraphs(kModeSpaces, "  lower start\r\nend."), (List{"lower start end."}));
}

TEST(ParagraphModes, AdvancedJoinsWrappedProseButNotDialogueOrLists) {
  const std::string_view text =
      "He came to the door and knocked twice before anyone answered the\r\n"
      "call. Then he said:\r\n"
      "- Is anyone there?\r\n"
      "- Nobody, - said a voice.\r\n"
      "Items to take along on the road tomorrow morning:\r\n"
      "1. bread;\r\n"
      "2. salt.\r\n"
      "Done with that, the travellers went on along the road to the north\r\n"
      "and were soon out of sight.\r\n";
  EXPECT_EQ(Paragraphs(kModeAdvanced, text),
            (List{"He came to the door and knocked twice before anyone answered the call. Then he said:",
                  "-&nbsp;Is anyone there?", "-&nbsp;Nobody, - said a voice.",
                  "Items to take along on the road tomorrow morning:", "1. bread;", "2. salt.",
                  "Done with that, the travellers went on along the road to the north and were soon out of sight."}));
}

TEST(ParagraphModes, AdvancedKeepsALowerCaseLineWithItsSentence) {
  EXPECT_EQ(Paragraphs(kModeAdvanced, "The road went on. The night\r\ncame.\r\nSo it was."),
            (List{"The road went on. The night came.", "So it was."}));
}

TEST(ParagraphModes, SimpleBreaksOnlyAfterASentenceEnd) {
  const std::string_view text = "One line\r\nwithout end\r\nends here.\r\nNext one!\r\nAnd\r\n  more.";
  EXPECT_EQ(Paragraphs(kModeSimple, text), (List{"One line without end ends here.", "Next one!", "And more."}));
}

TEST(TypicalLineWidth, NineLinesInTenAreNoLonger) {
  std::string work;
  for (int i = 0; i < 9; ++i) work += std::string(70, 'a') + "\r\n";
  work += std::string(300, 'b') + "\r\n<BR>\r\n\x01\r\n";
  EXPECT_EQ(TypicalLineWidth(work), 70u);
  EXPECT_EQ(TypicalLineWidth(""), 0u);
}

}  // namespace
}  // namespace pw::import
