#include "shell/InstanceFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <charconv>
#include <string>

#include "common/Files.h"

namespace pw::shell {
namespace {

// Holds an exclusive advisory lock on a lock file beside the instance file while alive.
class FileLock {
 public:
  explicit FileLock(const std::filesystem::path& file) {
    const std::string lockPath = file.string() + ".lock";
    fd_ = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd_ >= 0) ::flock(fd_, LOCK_EX);
  }
  ~FileLock() {
    if (fd_ >= 0) {
      ::flock(fd_, LOCK_UN);
      ::close(fd_);
    }
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int fd_ = -1;
};

bool ParseLine(std::string_view line, int& value) {
  while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.remove_suffix(1);
  const auto [end, ec] = std::from_chars(line.data(), line.data() + line.size(), value);
  return ec == std::errc() && end == line.data() + line.size() && value >= -32768 && value <= 32767;
}

bool ReadCounts(const std::filesystem::path& file, InstanceCounts& counts) {
  std::string text;
  if (!common::ReadWholeFile(file, text)) return false;
  const size_t newline = text.find('\n');
  if (newline == std::string::npos) return false;
  std::string_view second = std::string_view(text).substr(newline + 1);
  if (const size_t end = second.find('\n'); end != std::string_view::npos) second = second.substr(0, end);
  return ParseLine(std::string_view(text).substr(0, newline), counts.serial) && ParseLine(second, counts.running);
}

void WriteCounts(const std::filesystem::path& file, const InstanceCounts& counts) {
  common::WriteFileAtomic(file, std::to_string(counts.serial) + "\r\n" + std::to_string(counts.running) + "\r\n");
}

InstanceCounts Update(const std::filesystem::path& file, std::string_view action, const std::filesystem::path& temp) {
  InstanceCounts counts;
  const bool known = ReadCounts(file, counts);
  if (action == "read") return known ? counts : InstanceCounts{};
  if (action == "ini" || (action == "increase" && !known)) {
    counts = {known ? counts.serial + 1 : 1, 1};
    // A fresh start keeps counting serials up, so a scratch folder that an earlier crash left
    // behind is never reused by accident.
    if (counts.serial > 32767) counts.serial = 1;
    WriteCounts(file, counts);
  } else if (action == "increase") {
    counts.serial = counts.serial >= 32767 ? 1 : counts.serial + 1;
    counts.running += 1;
    WriteCounts(file, counts);
  } else if (action == "decrease") {
    if (!known) return InstanceCounts{};
    counts.running -= 1;
    if (counts.running > 0) WriteCounts(file, counts);
    return counts;
  } else {
    return known ? counts : InstanceCounts{};
  }
  common::MakeFolderIfMissing(temp / ("tmp" + std::to_string(counts.serial)));
  return counts;
}

}  // namespace

InstanceCounts UpdateInstanceFile(const std::filesystem::path& file, std::string_view action,
                                  const std::filesystem::path& temp) {
  common::MakeFolderIfMissing(temp);
  FileLock lock(file);
  return Update(file, action, temp);
}

InstanceRegistration::InstanceRegistration(const std::filesystem::path& file, const std::filesystem::path& temp)
    : file_(file), temp_(temp) {
  common::MakeFolderIfMissing(temp);
  const std::string runPath = file.string() + ".run";
  runFd_ = ::open(runPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  // Nobody else runs when the exclusive lock is free; either way this copy then holds a
  // shared lock for as long as it runs.
  second_ = runFd_ >= 0 && ::flock(runFd_, LOCK_EX | LOCK_NB) != 0;
  if (runFd_ >= 0) ::flock(runFd_, LOCK_SH);
  serial_ = UpdateInstanceFile(file, second_ ? "increase" : "ini", temp).serial;
  registered_ = true;
}

InstanceRegistration::~InstanceRegistration() {
  Unregister();
  if (runFd_ >= 0) ::close(runFd_);
}

void InstanceRegistration::Unregister() {
  if (!registered_) return;
  UpdateInstanceFile(file_, "decrease", temp_);
  registered_ = false;
}

}  // namespace pw::shell
