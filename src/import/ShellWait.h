// Running an outside program and waiting for it: the child's output is captured, its exit
// code polled, and it is ended (with every process it started) when the time-out passes. The
// time-out follows the clock of the day, so a wait that crosses midnight still lasts its
// whole time-out.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace pw::import {

inline constexpr double kSecondsPerDay = 86400.0;

// When a wait that starts at `start` seconds after midnight with `timeout` seconds must end:
// the deadline, brought back into the day (and marked as wrapped) when it falls past midnight.
struct WaitDeadline {
  double start = 0;
  double deadline = 0;
  bool wrapped = false;
  bool limited = false;  // false: no time-out, the wait lasts until the program ends

  WaitDeadline(double startSeconds, double timeoutSeconds);
  // True once the clock shows `now` past the deadline; for a wrapped deadline only after the
  // clock has passed midnight, that is once `now` is below the start.
  bool Passed(double now) const;
};

// Seconds since the local midnight, with fractions.
double SecondsSinceMidnight();

struct ShellWaitOptions {
  std::filesystem::path folder;  // the child's working folder; empty: ours
  size_t outputLimit = 1 << 20;  // bytes of output kept; the rest is read and dropped
  // Where the standard output goes instead of being captured (its error output still is).
  std::filesystem::path outputFile;
  // Called on every round of the wait, as a window would process its pending events.
  std::function<void()> idle;
  // The clock of the day; the real one unless a test replaces it.
  std::function<double()> clock = SecondsSinceMidnight;
};

struct ShellResult {
  bool started = false;   // false: the program could not be run at all
  bool timedOut = false;  // ended at the time-out
  int exitCode = -1;      // the program's exit code; -1 when it was ended or died of a signal
  std::string output;     // what it wrote on its standard output and error, in order
};

// Runs `command` (the program first, looked up on PATH when it has no folder) and waits for it.
// An empty `windowFlag` runs it hidden: no terminal input, its output captured. Any other
// flag lets it write to the program's own terminal, as a visible window would. A time-out of
// 0 or less waits without limit. The caller judges the outcome by the files the program was
// to write, as with any outside tool.
ShellResult ShellWait(const std::vector<std::string>& command, double timeoutSeconds, std::string_view windowFlag,
                      const ShellWaitOptions& options = {});

}  // namespace pw::import
