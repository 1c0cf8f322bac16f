#include "import/ShellWait.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <ctime>

namespace pw::import {

namespace fs = std::filesystem;

WaitDeadline::WaitDeadline(double startSeconds, double timeoutSeconds)
    : start(startSeconds), deadline(startSeconds + timeoutSeconds), limited(timeoutSeconds > 0) {
  if (limited && deadline >= kSecondsPerDay) {
    deadline -= kSecondsPerDay;
    wrapped = true;
  }
}

bool WaitDeadline::Passed(double now) const {
  if (!limited) return false;
  if (wrapped) return now < start && now > deadline;
  return now > deadline;
}

double SecondsSinceMidnight() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&seconds, &local);
  const double fraction =
      std::chrono::duration<double>(now - std::chrono::system_clock::from_time_t(seconds)).count();
  return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + fraction;
}

namespace {

// The program's file: as given when it names a folder, else the first match on PATH.
std::string ResolveProgram(const std::string& program) {
  if (program.find('/') != std::string::npos) return access(program.c_str(), X_OK) == 0 ? program : std::string();
  const char* path = std::getenv("PATH");
  const std::string folders = path ? path : "/usr/bin:/bin";
  size_t start = 0;
  while (start <= folders.size()) {
    const size_t end = std::min(folders.find(':', start), folders.size());
    const fs::path candidate = fs::path(folders.substr(start, end - start)) / program;
    if (!program.empty() && access(candidate.c_str(), X_OK) == 0) return candidate.string();
    start = end + 1;
  }
  return {};
}

void Drain(int fd, std::string& output, size_t limit) {
  char buffer[8192];
  while (true) {
    const ssize_t got = read(fd, buffer, sizeof buffer);
    if (got <= 0) return;
    const size_t room = output.size() < limit ? limit - output.size() : 0;
    output.append(buffer, std::min<size_t>(room, static_cast<size_t>(got)));
  }
}

}  // namespace

ShellResult ShellWait(const std::vector<std::string>& command, double timeoutSeconds, std::string_view windowFlag,
                      const ShellWaitOptions& options) {
  ShellResult result;
  if (command.empty()) return result;
  const std::string program = ResolveProgram(command.front());
  if (program.empty()) {
    result.exitCode = 127;
    return result;
  }
  std::vector<char*> argv;
  for (const auto& argument : command) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const bool hidden = windowFlag.empty();
  int pipeFds[2] = {-1, -1};
  if (hidden && pipe2(pipeFds, O_CLOEXEC) != 0) return result;

  const WaitDeadline deadline(options.clock(), timeoutSeconds);
  const pid_t child = fork();
  if (child < 0) {
    if (hidden) {
      close(pipeFds[0]);
      close(pipeFds[1]);
    }
    return result;
  }
  if (child == 0) {
    // Only calls that are safe between fork and exec from here on.
    setpgid(0, 0);
    if (!options.folder.empty() && chdir(options.folder.c_str()) != 0) _exit(127);
    const int devNull = open("/dev/null", O_RDWR);
    if (devNull >= 0) dup2(devNull, STDIN_FILENO);
    if (hidden) {
      dup2(pipeFds[1], STDOUT_FILENO);
      dup2(pipeFds[1], STDERR_FILENO);
    }
    if (!options.outputFile.empty()) {
      const int out = open(options.outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
      if (out < 0) _exit(127);
      dup2(out, STDOUT_FILENO);
    }
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  setpgid(child, child);  // also here, so the group exists before we may have to end it
  result.started = true;
  if (hidden) {
    close(pipeFds[1]);
    fcntl(pipeFds[0], F_SETFL, fcntl(pipeFds[0], F_GETFL) | O_NONBLOCK);
  }

  int status = 0;
  while (true) {
    if (hidden) {
      pollfd readable{pipeFds[0], POLLIN, 0};
      if (poll(&readable, 1, 20) > 0) Drain(pipeFds[0], result.output, options.outputLimit);
    } else {
      usleep(20000);
    }
    const pid_t done = waitpid(child, &status, WNOHANG);
    if (done == child) break;
    if (done < 0) {
      status = -1;
      break;
    }
    if (options.idle) options.idle();
    if (deadline.Passed(options.clock())) {
      kill(-child, SIGKILL);
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      result.timedOut = true;
      break;
    }
  }
  if (hidden) {
    Drain(pipeFds[0], result.output, options.outputLimit);
    close(pipeFds[0]);
  }
  if (!result.timedOut && status != -1 && WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  return result;
}

}  // namespace pw::import
