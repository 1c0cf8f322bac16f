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

TEST(CorrectorCommands, CheckAndHyphenate) {
  test::ScratchFolder folder;
  const std::string book =
      "<BODY><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Первый абзац оборван</DIV>"
      "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Второй закончен.</DIV></BODY>";
  ASSERT_TRUE(common::WriteFileAtomic(folder / "b.html", book));
  std::string output;
  ASSERT_EQ(test::RunCommand(Program() + " check " + (folder / "b.html").string(), &output), 0);
  EXPECT_NE(output.find("bad sentence ends: 1"), std::string::npos) << output;
  EXPECT_NE(output.find("0\tПервый абзац оборван"), std::string::npos) << output;

  ASSERT_EQ(test::RunCommand(Program() + " hyphenate " + (folder / "b.html").string() + " -o " +
                                 (folder / "h.html").string(),
                             &output),
            0)
      << output;
  std::string hyphenated;
  ASSERT_TRUE(common::ReadWholeFile(folder / "h.html", hyphenated));
  EXPECT_NE(hyphenated.find("аб\u00ADзац"), std::string::npos) << hyphenated;
  ASSERT_EQ(test::RunCommand(Program() + " hyphenate --remove " + (folder / "h.html").string() + " -o " +
                                 (folder / "r.html").string(),
                             &output),
            0);
  std::string removed;
  ASSERT_TRUE(common::ReadWholeFile(folder / "r.html", removed));
  EXPECT_EQ(removed.find("\u00AD"), std::string::npos);
}

}  // namespace
}  // namespace pw::app
