#include "import/ShellWait.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>

#include "common/Files.h"
#include "common/Text.h"
#include "support/TestSupport.h"

namespace pw::import {
namespace {

TEST(ShellWait, DeadlinesAndTheirWrapAtMidnight) {
  const WaitDeadline plain(1000.0, 30.0);
  EXPECT_FALSE(plain.wrapped);
  EXPECT_FALSE(plain.Passed(1029.5));
  EXPECT_TRUE(plain.Passed(1030.5));

  // 23:59:50 with a minute to wait: the deadline is 00:00:50 of the next day.
  const WaitDeadline late(86390.0, 60.0);
  EXPECT_TRUE(late.wrapped);
  EXPECT_DOUBLE_EQ(late.deadline, 50.0);
  EXPECT_FALSE(late.Passed(86395.0));  // before midnight the small deadline does not count
  EXPECT_FALSE(late.Passed(86399.9));
  EXPECT_FALSE(late.Passed(10.0));     // after midnight, not yet there
  EXPECT_TRUE(late.Passed(50.5));

  // A deadline of exactly midnight is the start of the next day.
  const WaitDeadline exact(86300.0, 100.0);
  EXPECT_TRUE(exact.wrapped);
  EXPECT_DOUBLE_EQ(exact.deadline, 0.0);
  EXPECT_FALSE(exact.Passed(86350.0));
  EXPECT_TRUE(exact.Passed(0.1));

  const WaitDeadline none(500.0, 0.0);
  EXPECT_FALSE(none.Passed(1e9));
  EXPECT_FALSE(none.Passed(0.0));
}

TEST(ShellWait, OutputExitCodeAndFolder) {
  test::ScratchFolder folder;
  ShellWaitOptions options;
  options.folder = folder.path();
  int rounds = 0;
  options.idle = [&] { ++rounds; };
  const ShellResult result =
      ShellWait({"sh", "-c", "echo to-out; echo to-err >&2; sleep 0.1; pwd > here.txt; exit 4"}, 10, "", options);
  EXPECT_TRUE(result.started);
  EXPECT_FALSE(result.timedOut);
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(result.output, "to-out\nto-err\n");
  EXPECT_GT(rounds, 0);  // the wait polled and let the caller work in between
  std::string here;
  ASSERT_TRUE(common::ReadWholeFile(folder / "here.txt", here));
  EXPECT_EQ(std::filesystem::path(std::string(common::Trim(here))), std::filesystem::canonical(folder.path()));

  const ShellResult missing = ShellWait({"no-such-program-anywhere"}, 10, "");
  EXPECT_FALSE(missing.started);
  EXPECT_EQ(missing.exitCode, 127);
  EXPECT_FALSE(ShellWait({}, 10, "").started);

  // Output beyond the bound is read (the program is not blocked) but not kept.
  options.outputLimit = 1000;
  const ShellResult loud = ShellWait({"sh", "-c", "head -c 200000 /dev/zero | tr '\\0' x"}, 10, "", options);
  EXPECT_EQ(loud.exitCode, 0);
  EXPECT_EQ(loud.output, std::string(1000, 'x'));
}

TEST(ShellWait, EndedAtTheTimeOutWithWhatItStarted) {
  test::ScratchFolder folder;
  ShellWaitOptions options;
  options.folder = folder.path();
  const auto begin = std::chrono::steady_clock::now();
  // The shell starts a sleeper of its own; ending the wait ends both.
  const ShellResult result = ShellWait({"sh", "-c", "sleep 30 & echo $! > child.txt; wait"}, 1, "", options);
  const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  EXPECT_TRUE(result.timedOut);
  EXPECT_EQ(result.exitCode, -1);
  EXPECT_LT(took, 10.0);
  EXPECT_GE(took, 0.9);
  std::string child;
  ASSERT_TRUE(common::ReadWholeFile(folder / "child.txt", child));
  // Gone, or a zombie that nobody has reaped yet: either way it no longer runs.
  const std::string stat = "/proc/" + std::string(common::Trim(child)) + "/stat";
  const auto running = [&] {
    std::string line;
    if (!common::ReadWholeFile(stat, line)) return false;
    const size_t paren = line.rfind(')');
    return paren != std::string::npos && paren + 2 < line.size() && line[paren + 2] != 'Z';
  };
  for (int i = 0; i < 100 && running(); ++i) usleep(10000);
  EXPECT_FALSE(running()) << "the grandchild still runs";
}

TEST(ShellWait, ATimeOutAcrossMidnightLastsItsWholeTime) {
  // A clock that starts ten seconds before midnight and runs a second per round.
  double now = 86390.0;
  ShellWaitOptions options;
  options.clock = [&] {
    const double shown = now;
    now += 1.0;
    if (now >= kSecondsPerDay) now -= kSecondsPerDay;
    return shown;
  };
  int rounds = 0;
  options.idle = [&] { ++rounds; };
  const ShellResult result = ShellWait({"sleep", "30"}, 20, "", options);
  EXPECT_TRUE(result.timedOut);
  // Ended only once the clock had passed midnight and ten more seconds: not at once, when
  // the wrapped deadline (10) first looked smaller than the time (86391).
  EXPECT_GE(rounds, 19);
  EXPECT_LE(rounds, 22);
}

}  // namespace
}  // namespace pw::import
