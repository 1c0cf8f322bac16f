#include <gtest/gtest.h>

#include "common/Files.h"
#include "common/Text.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

std::string Program() { return test::ProgramPath().string(); }
std::string DataFile(const char* name) { return pw::test::ShippedDataPath(name).string(); }

TEST(CorrectorCommands, CleanWithTheDefaultRules) {
  test::ScratchFolder folder;
  const std::string book =
      "<HTML><BODY>\r\n<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Он  сказал \"нет\" , и ушёл -- "
      "навсегда.</DIV>\r\n</BODY></HTML>";
  ASSERT_TRUE(common::WriteFileAtomic(folder / "in.html", book));
  std::string output;
  ASSERT_EQ(test::RunCommand(Program() + " clean --rules " + DataFile("BookCleanerDef.bcf") + " " +
                                 (folder / "in.html").string() + " -o " + (folder / "out.html").string(),
                             &output),
            0)
      << output;
  std::string cleaned, input;
  ASSERT_TRUE(common::ReadWholeFile(folder / "out.html", cleaned));
  EXPECT_EQ(cleaned, "<HTML><BODY><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Он сказал «нет», и ушёл — "
                     "навсегда.</DIV></BODY></HTML>");
  ASSERT_TRUE(common::ReadWholeFile(folder / "in.html", input));
  EXPECT_EQ(input, book);
}

TEST(CorrectorCommands, RulesShowImportAndErrors) {
  test::ScratchFolder folder;
  std::string output;
  ASSERT_EQ(test::RunCommand(Program() + " rules show " + DataFile("BookCleanerDef.bcf"), &output), 0);
  EXPECT_NE(output.find("RemoveRepeatedSymbols( )"), std::string::npos);
  ASSERT_TRUE(common::WriteFileAtomic(folder / "old.dat", "3\r\n1\r\nx\r\ny\r\nTrue\r\nFalse\r\nTrue\r\n"));
  ASSERT_EQ(test::RunCommand(Program() + " rules import " + (folder / "old.dat").string(), &output), 0) << output;
  EXPECT_TRUE(common::FileExists(folder / "old.bcf"));
  ASSERT_TRUE(common::WriteFileAtomic(folder / "bad.dat", "not a rule file\r\n"));
  EXPECT_EQ(test::RunCommand(Program() + " rules import " + (folder / "bad.dat").string(), &output), 1);
  EXPECT_NE(output.find("cannot import file"), std::string::npos);
  EXPECT_EQ(test::RunCommand(Program() + " rules show " + (folder / "bad.dat").string(), &output), 1);
}

// `check` and `hyphenate` read every input `convert` reads: a text book is converted first.
TEST(CorrectorCommands, CheckAndHyphenateConvertTheInputFirst) {
  test::ScratchFolder folder;
  const std::string home = " --home " + (folder / "home").string();
  const std::string text =
      "Первый абзац этой книги оборван на полуслове и продолжается\r\n\r\n"
      "в следующем абзаце, как бывает после плохого распознавания.\r\n\r\n"
      "Третий абзац закончен как положено.\r\n";
  ASSERT_TRUE(common::WriteFileAtomic(folder / "b.txt", text));
  std::string output;
  ASSERT_EQ(test::RunCommand(Program() + " check " + (folder / "b.txt").string() + home, &output), 0) << output;
  EXPECT_NE(output.find("bad sentence ends: 1"), std::string::npos) << output;
  EXPECT_NE(output.find("Первый абзац эт /.../  и продолжается"), std::string::npos) << output;
  ASSERT_EQ(test::RunCommand(Program() + " check --list lowercase " + (folder / "b.txt").string() + home, &output), 0);
  EXPECT_NE(output.find("lower-case starts: 1"), std::string::npos) << output;

  ASSERT_EQ(test::RunCommand(Program() + " hyphenate " + (folder / "b.txt").string() + " -o " +
                                 (folder / "h.html0").string() + home,
                             &output),
            0)
      << output;
  std::string hyphenated;
  ASSERT_TRUE(common::ReadWholeFile(folder / "h.html0", hyphenated));
  EXPECT_NE(hyphenated.find("<DIV align=justify>"), std::string::npos);  // a book, not a copy of the text
  EXPECT_NE(hyphenated.find("аб\u00ADзац"), std::string::npos);
  ASSERT_EQ(test::RunCommand(Program() + " hyphenate --remove " + (folder / "h.html0").string() + " -o " +
                                 (folder / "r.html0").string() + home,
                             &output),
            0)
      << output;
  std::string removed;
  ASSERT_TRUE(common::ReadWholeFile(folder / "r.html0", removed));
  EXPECT_EQ(removed.find("\u00AD"), std::string::npos);
  EXPECT_NE(removed.find("абзац"), std::string::npos);
  std::string input;
  ASSERT_TRUE(common::ReadWholeFile(folder / "b.txt", input));
  EXPECT_EQ(input, text);
}

TEST(CorrectorCommands, CheckAndHyphenateRefuseWhatTheyCannotRead) {
  test::ScratchFolder folder;
  const std::string home = " --home " + (folder / "home").string();
  ASSERT_TRUE(common::WriteFileAtomic(folder / "b.xyz", "some text that is long enough to open"));
  ASSERT_TRUE(common::WriteFileAtomic(folder / "b.txt", "Какой-то текст книги, которого хватает."));
  std::string output;
  EXPECT_NE(test::RunCommand(Program() + " check " + (folder / "b.xyz").string() + home, &output), 0);
  EXPECT_EQ(output.find("bad sentence ends"), std::string::npos) << output;
  EXPECT_NE(test::RunCommand(Program() + " hyphenate " + (folder / "b.xyz").string() + " -o " +
                                 (folder / "o.html0").string() + home,
                             &output),
            0);
  EXPECT_FALSE(common::FileExists(folder / "o.html0"));
  // A text output would be the input under another name: refused.
  EXPECT_NE(test::RunCommand(Program() + " hyphenate " + (folder / "b.txt").string() + " -o " +
                                 (folder / "o.txt").string() + home,
                             &output),
            0);
  EXPECT_NE(output.find(".html0, .html or .fb2"), std::string::npos) << output;
  EXPECT_FALSE(common::FileExists(folder / "o.txt"));
}

}  // namespace
}  // namespace pw::app
