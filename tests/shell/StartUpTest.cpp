#include "shell/StartUp.h"

#include <gtest/gtest.h>

#include "common/Files.h"
#include "markup/SampleBook.h"
#include "shell/SettingsFile.h"
#include "shell/ShellTestSupport.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

TEST(StartUp, CommandLines) {
  EXPECT_EQ(ParseStartCommandLine("").mode, OpenMode::None);
  EXPECT_EQ(ParseStartCommandLine("\"\"").mode, OpenMode::None);
  const auto plain = ParseStartCommandLine("/books/a b.txt");
  EXPECT_EQ(plain.mode, OpenMode::ShortcutOrFileClick);
  EXPECT_EQ(plain.fileName, "/books/a b.txt");
  const auto quoted = ParseStartCommandLine("\"/books/a b.txt\"");
  EXPECT_EQ(quoted.fileName, "/books/a b.txt");
  for (const char* line : {"-r /x/y.fb2", "-R \"/x/y.fb2\""}) {
    const auto command = ParseStartCommandLine(line);
    EXPECT_EQ(command.mode, OpenMode::CommLine) << line;
    EXPECT_EQ(command.fileName, "/x/y.fb2") << line;
  }
  // "-r" without its blank is a file name.
  EXPECT_EQ(ParseStartCommandLine("-rx").mode, OpenMode::ShortcutOrFileClick);
}

TEST(StartUp, ScratchFilesOfAnInstance) {
  for (const char* name : {"a.tmp", "B.PNG", "x.txt", "p.html", "rb_00.rb", "z.info", "ZoomTest.htm"})
    EXPECT_TRUE(IsInstanceScratchFile(name)) << name;
  for (const char* name : {"book.html0", "notes.fb2", "a.htm", "tmp"}) EXPECT_FALSE(IsInstanceScratchFile(name)) << name;
}

// A workshop whose shipped data folder holds the tutorial book.
struct StartBench {
  testing::Workbench bench;
  fs::path shipped = bench.folder / "shipped";
  common::Settings settings;
  StartBench() {
    fs::create_directories(shipped / "Self Teaching");
    common::WriteFileAtomic(shipped / "Self Teaching" / std::string(kTutorialBook),
                            markup::MakeSampleBook(2, common::Settings{}));
  }
  StartUpResult Start(std::string_view commandLine, std::unique_ptr<Shell>& shell) {
    shell = std::make_unique<Shell>(bench.workshop, shipped, bench.editor, bench.sink, bench.progress);
    return shell->StartUp(commandLine);
  }
};

TEST(StartUp, FirstStartOpensTheTutorialThenTheLastBook) {
  StartBench start;
  std::unique_ptr<Shell> shell;
  fs::remove(start.bench.workshop.settingsFile());
  auto result = start.Start("", shell);
  EXPECT_EQ(result.reason, StartReason::FirstStart);
  EXPECT_TRUE(result.bookOpened);
  EXPECT_FALSE(result.secondCopy);
  shell->Exit();
  // The exit saved the settings with the tutorial as the last book.
  common::Settings saved;
  ASSERT_EQ(RestoreSettings(start.bench.workshop.settingsFile(), saved), RestoreResult::Read);
  ASSERT_FALSE(saved.recentFiles.empty());
  EXPECT_NE(saved.recentFiles.front().find(std::string(kTutorialBook)), std::string::npos);

  result = start.Start("", shell);
  EXPECT_EQ(result.reason, StartReason::LastBook);
  EXPECT_TRUE(result.bookOpened);
  shell->Exit();

  // The last book gone: the message and the seed document.
  saved.recentFiles.front() = (start.bench.folder / "gone.html0").string();
  ASSERT_TRUE(SaveSettings(start.bench.workshop.settingsFile(), saved));
  result = start.Start("", shell);
  EXPECT_EQ(result.reason, StartReason::LastBookMissing);
  EXPECT_FALSE(result.bookOpened);
  ASSERT_FALSE(result.messages.empty());
  EXPECT_EQ(result.messages.back(), "Last loaded file not found: " + (start.bench.folder / "gone.html0").string());
  shell->Exit();

  // The setting switched off: nothing is opened.
  saved.openLastBook = false;
  ASSERT_TRUE(SaveSettings(start.bench.workshop.settingsFile(), saved));
  result = start.Start("", shell);
  EXPECT_EQ(result.reason, StartReason::LastBookOff);
  EXPECT_FALSE(result.bookOpened);
}

TEST(StartUp, CommandLineAndSecondCopy) {
  StartBench start;
  const fs::path book = start.bench.Write("given.html0", markup::MakeSampleBook(1, common::Settings{}));
  std::unique_ptr<Shell> first;
  auto result = start.Start("-r \"" + book.string() + "\"", first);
  EXPECT_EQ(result.reason, StartReason::CommandLine);
  EXPECT_EQ(result.mode, OpenMode::CommLine);
  EXPECT_TRUE(result.bookOpened);
  EXPECT_EQ(result.requested, book.string());

  // A second copy while the first still runs starts empty, in its own scratch folder.
  testing::Workbench& bench = start.bench;
  Shell second(bench.workshop, start.shipped, bench.editor, bench.sink, bench.progress);
  const auto secondResult = second.StartUp("");
  EXPECT_TRUE(secondResult.secondCopy);
  EXPECT_EQ(secondResult.reason, StartReason::SecondCopy);
  EXPECT_FALSE(secondResult.bookOpened);
  EXPECT_NE(secondResult.serial, result.serial);
  second.Exit();

  // A missing book on the command line: its message, and the seed document stays.
  std::unique_ptr<Shell> third;
  first->Exit();
  result = start.Start((bench.folder / "nothing.txt").string(), third);
  EXPECT_EQ(result.mode, OpenMode::ShortcutOrFileClick);
  EXPECT_FALSE(result.bookOpened);
  EXPECT_EQ(result.messages.back(), "File not found: " + (bench.folder / "nothing.txt").string());
}

TEST(StartUp, ExitRemovesTheInstanceScratch) {
  StartBench start;
  std::unique_ptr<Shell> shell;
  const auto result = start.Start("", shell);
  const fs::path scratch = start.bench.workshop.instanceFolder(result.serial);
  common::WriteFileAtomic(scratch / "left.tmp", "x");
  common::WriteFileAtomic(scratch / "keep.html0", "x");
  shell->Exit();
  EXPECT_FALSE(fs::exists(scratch / "left.tmp"));
  EXPECT_FALSE(fs::exists(scratch / std::string(kZoomProbeName)));
  EXPECT_TRUE(fs::exists(scratch / "keep.html0"));
  // The instance left the instance file: the next copy is a first copy again.
  std::unique_ptr<Shell> next;
  EXPECT_FALSE(start.Start("", next).secondCopy);
}

}  // namespace
}  // namespace pw::shell
