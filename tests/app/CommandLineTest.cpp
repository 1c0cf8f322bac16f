#include <gtest/gtest.h>

#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

std::string Program() { return test::ProgramPath().string(); }

TEST(CommandLine, VersionHelpAndUsageErrors) {
  std::string output;
  EXPECT_EQ(test::RunCommand(Program() + " --version", &output), 0);
  EXPECT_NE(output.find("pagewright "), std::string::npos);
  EXPECT_EQ(test::RunCommand(Program() + " --help", &output), 0);
  EXPECT_NE(output.find("selfcheck"), std::string::npos);
  EXPECT_EQ(test::RunCommand(Program() + " no-such-command", &output), 2);
  EXPECT_EQ(test::RunCommand(Program() + " --no-such-option", &output), 2);
  EXPECT_EQ(test::RunCommand(Program() + " book pack", &output), 2);
  EXPECT_EQ(test::RunCommand(Program() + " book unpack --help", &output), 0);
}

TEST(CommandLine, SelfCheckPassesOnTheSampleAndOnAFile) {
  std::string output;
  EXPECT_EQ(test::RunCommand(Program() + " selfcheck", &output), 0) << output;
  EXPECT_NE(output.find("all checks passed"), std::string::npos);
  EXPECT_EQ(output.find("FAILED"), std::string::npos);
  EXPECT_EQ(test::RunCommand(Program() + " selfcheck " + test::DataPath("markup/legacy_book.htm").string(), &output), 0)
      << output;
}

TEST(CommandLine, BookPackUnpackRoundTrip) {
  test::ScratchFolder folder;
  const std::string source = test::DataPath("markup/sample_book.html0").string();
  ASSERT_TRUE(common::WriteFileAtomic(folder / "cover.png", std::string("\x89PNG\0data", 9)));
  std::string output;
  ASSERT_EQ(test::RunCommand(Program() + " book pack " + source + " -o " + (folder / "b.html0").string() +
                                 " --compress --title 'Дорога' --picture " + (folder / "cover.png").string(),
                             &output),
            0)
      << output;
  ASSERT_EQ(test::RunCommand(Program() + " book info " + (folder / "b.html0").string(), &output), 0);
  EXPECT_NE(output.find("form: compressed"), std::string::npos) << output;
  EXPECT_NE(output.find("title: Дорога"), std::string::npos) << output;
  ASSERT_EQ(test::RunCommand(Program() + " book unpack " + (folder / "b.html0").string() + " -o " +
                                 (folder / "back.html").string() + " --pictures-dir " + (folder / "pics").string(),
                             &output),
            0)
      << output;
  std::string original, back, picture;
  ASSERT_TRUE(common::ReadWholeFile(source, original));
  ASSERT_TRUE(common::ReadWholeFile(folder / "back.html", back));
  ASSERT_TRUE(common::ReadWholeFile(folder / "pics" / "cover.png", picture));
  EXPECT_EQ(back, original);
  EXPECT_EQ(picture, std::string("\x89PNG\0data", 9));
}

TEST(CommandLine, BookErrorsExitNonZeroAndKeepTheInput) {
  test::ScratchFolder folder;
  std::string output;
  EXPECT_NE(test::RunCommand(Program() + " book unpack " + (folder / "missing.html0").string() + " -o " +
                                 (folder / "x.html").string(),
                             &output),
            0);
  // A compressed book cut short is refused with a message; the damaged file stays as it was.
  const std::string damaged = std::string("<!pwfile 1\x03\x04\x03\x04\x03\x04\x03\x04\x03\x04\x03\x04\x03\x04>") +
                              std::string("\x05\x00\x00\x00\xFF\x4F\x00\x00", 8);
  ASSERT_TRUE(common::WriteFileAtomic(folder / "bad.html0", damaged));
  EXPECT_EQ(test::RunCommand(Program() + " book unpack " + (folder / "bad.html0").string() + " -o " +
                                 (folder / "x.html").string(),
                             &output),
            1);
  EXPECT_NE(output.find("bad.html0"), std::string::npos) << output;
  std::string after;
  ASSERT_TRUE(common::ReadWholeFile(folder / "bad.html0", after));
  EXPECT_EQ(after, damaged);
  EXPECT_FALSE(common::FileExists(folder / "x.html"));
  // Packing over the input itself is refused.
  ASSERT_TRUE(common::WriteFileAtomic(folder / "doc.html", "<HTML></HTML>"));
  EXPECT_EQ(test::RunCommand(Program() + " book pack " + (folder / "doc.html").string() + " -o " +
                                 (folder / "doc.html").string(),
                             &output),
            1);
}

}  // namespace
}  // namespace pw::app
