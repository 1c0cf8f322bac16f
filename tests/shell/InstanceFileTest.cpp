#include "shell/InstanceFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::shell {
namespace {

TEST(InstanceFile, Actions) {
  test::ScratchFolder folder;
  const auto file = folder / "ProgInstances.dat";
  const auto temp = folder / "Temp";
  EXPECT_EQ(UpdateInstanceFile(file, "read", temp).running, 0);
  InstanceCounts counts = UpdateInstanceFile(file, "ini", temp);
  EXPECT_EQ(counts.running, 1);
  const int first = counts.serial;
  EXPECT_TRUE(std::filesystem::is_directory(temp / ("tmp" + std::to_string(first))));
  counts = UpdateInstanceFile(file, "increase", temp);
  EXPECT_EQ(counts.serial, first + 1);
  EXPECT_EQ(counts.running, 2);
  EXPECT_TRUE(std::filesystem::is_directory(temp / ("tmp" + std::to_string(first + 1))));
  std::string text;
  ASSERT_TRUE(common::ReadWholeFile(file, text));
  EXPECT_EQ(text, std::to_string(first + 1) + "\r\n2\r\n");
  EXPECT_EQ(UpdateInstanceFile(file, "decrease", temp).running, 1);
  EXPECT_EQ(UpdateInstanceFile(file, "read", temp).running, 1);
  // At zero the file is left as it was.
  EXPECT_EQ(UpdateInstanceFile(file, "decrease", temp).running, 0);
  EXPECT_EQ(UpdateInstanceFile(file, "read", temp).running, 1);
}

TEST(InstanceFile, SecondCopySeesTheFirst) {
  test::ScratchFolder folder;
  const auto file = folder / "ProgInstances.dat";
  const auto temp = folder / "Temp";
  InstanceRegistration first(file, temp);
  EXPECT_FALSE(first.second());
  {
    InstanceRegistration second(file, temp);
    EXPECT_TRUE(second.second());
    EXPECT_EQ(second.serial(), first.serial() + 1);
  }
  EXPECT_EQ(UpdateInstanceFile(file, "read", temp).running, 1);
}

TEST(InstanceFile, ScratchOfDeadCopiesIsRemovedAtStartAndLiveOnesKept) {
  test::ScratchFolder folder;
  const auto file = folder / "ProgInstances.dat";
  const auto temp = folder / "Temp";
  const auto inputCopy = folder / "InputCopy";
  InstanceRegistration live(file, temp, inputCopy);
  const std::string liveName = "tmp" + std::to_string(live.serial());
  for (const auto& made : {inputCopy / liveName / "book1", temp / "tmp900" / "book1", inputCopy / "tmp900" / "book1",
                           inputCopy / "tmp901"})
    std::filesystem::create_directories(made);
  ASSERT_TRUE(common::WriteFileAtomic(inputCopy / liveName / "book1" / "in.txt", "live input"));
  // What a killed copy left: its scratch and input folders, and an input folder alone.
  ASSERT_TRUE(common::WriteFileAtomic(temp / "tmp900" / "book1" / "big.tmp", "left behind"));
  ASSERT_TRUE(common::WriteFileAtomic(inputCopy / "tmp900" / "book1" / "in.txt", "left behind"));
  ASSERT_TRUE(common::WriteFileAtomic(inputCopy / "tmp901" / "in.txt", "left behind"));
  ASSERT_TRUE(common::WriteFileAtomic(temp / "keep.txt", "not a scratch folder"));
  {
    InstanceRegistration next(file, temp, inputCopy);
    EXPECT_TRUE(next.second());
    EXPECT_FALSE(std::filesystem::exists(temp / "tmp900"));
    EXPECT_FALSE(std::filesystem::exists(inputCopy / "tmp900"));
    EXPECT_FALSE(std::filesystem::exists(inputCopy / "tmp901"));
    EXPECT_TRUE(std::filesystem::exists(temp / liveName));
    EXPECT_TRUE(std::filesystem::exists(inputCopy / liveName / "book1" / "in.txt"));
    EXPECT_TRUE(std::filesystem::exists(temp / "keep.txt"));
  }
}

// Run as a child process by the test below: registers, prints the serial, waits a moment so
// the copies overlap, and leaves.
TEST(InstanceFile, ChildRegisters) {
  const char* home = std::getenv("PW_INSTANCE_CHILD_HOME");
  if (!home) GTEST_SKIP() << "only run as a child of ManyCopiesGetDistinctSerials";
  InstanceRegistration me(std::filesystem::path(home) / "ProgInstances.dat", std::filesystem::path(home) / "Temp");
  std::ofstream(std::filesystem::path(home) / ("serial." + std::to_string(::getpid()))) << me.serial();
  ::usleep(300 * 1000);
}

TEST(InstanceFile, ManyCopiesGetDistinctSerials) {
  test::ScratchFolder folder;
  constexpr int kCopies = 12;
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  std::ostringstream command;
  command << "for i in $(seq " << kCopies << "); do PW_INSTANCE_CHILD_HOME='" << folder.path().string() << "' '"
          << self << "' --gtest_filter=InstanceFile.ChildRegisters >/dev/null & done; wait";
  std::string output;
  ASSERT_EQ(test::RunCommand(command.str(), &output), 0) << output;
  std::set<int> serials;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    if (entry.path().filename().string().rfind("serial.", 0) != 0) continue;
    ++files;
    std::ifstream in(entry.path());
    int serial = 0;
    in >> serial;
    serials.insert(serial);
    EXPECT_TRUE(std::filesystem::is_directory(folder / "Temp" / ("tmp" + std::to_string(serial))));
  }
  EXPECT_EQ(files, kCopies);
  EXPECT_EQ(serials.size(), static_cast<size_t>(kCopies));
}

}  // namespace
}  // namespace pw::shell
