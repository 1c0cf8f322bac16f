#include "shell/InstanceFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <vector>

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

// The serial of a scratch folder name "tmp" + digits; false for any other name.
bool ScratchSerial(const std::string& name, int& serial) {
  if (name.size() < 4 || name.compare(0, 3, "tmp") != 0) return false;
  const auto [end, ec] = std::from_chars(name.data() + 3, name.data() + name.size(), serial);
  return ec == std::errc() && end == name.data() + name.size();
}

// An exclusive lock on the folder itself, without waiting; -1 when another copy holds it (or
// the folder cannot be opened).
int LockFolder(const std::filesystem::path& folder) {
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return -1;
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    ::close(fd);
    return -1;
  }
  return fd;
}

// Removes the scratch folders of copies that are no longer alive: a "tmp" + serial folder of
// `temp` whose lock nobody holds, and a folder of `inputCopy` without its live twin in `temp`.
// Runs under the instance file's lock, inside which every copy takes its own folder's lock, so
// a folder is never seen between being made and being locked.
void RemoveStaleScratch(const std::filesystem::path& temp, const std::filesystem::path& inputCopy, int own) {
  namespace fs = std::filesystem;
  std::error_code ec;
  std::vector<int> alive;
  std::vector<fs::path> stale;
  for (fs::directory_iterator it(temp, ec), end; !ec && it != end; it.increment(ec)) {
    int serial = 0;
    if (!ScratchSerial(it->path().filename().string(), serial) || serial == own) continue;
    if (!it->is_directory(ec) || it->is_symlink(ec)) continue;
    const int fd = LockFolder(it->path());
    if (fd < 0) {
      alive.push_back(serial);
      continue;
    }
    ::close(fd);
    stale.push_back(it->path());
  }
  if (!inputCopy.empty()) {
    for (fs::directory_iterator it(inputCopy, ec), end; !ec && it != end; it.increment(ec)) {
      int serial = 0;
      if (!ScratchSerial(it->path().filename().string(), serial) || serial == own) continue;
      if (std::find(alive.begin(), alive.end(), serial) == alive.end()) stale.push_back(it->path());
    }
  }
  std::error_code ignored;
  for (const fs::path& folder : stale) fs::remove_all(folder, ignored);
}

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

InstanceRegistration::InstanceRegistration(const std::filesystem::path& file, const std::filesystem::path& temp,
                                           const std::filesystem::path& inputCopy)
    : file_(file), temp_(temp) {
  common::MakeFolderIfMissing(temp);
  const std::string runPath = file.string() + ".run";
  runFd_ = ::open(runPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  // Nobody else runs when the exclusive lock is free; either way this copy then holds a
  // shared lock for as long as it runs.
  second_ = runFd_ >= 0 && ::flock(runFd_, LOCK_EX | LOCK_NB) != 0;
  if (runFd_ >= 0) ::flock(runFd_, LOCK_SH);
  {
    FileLock lock(file);
    serial_ = Update(file, second_ ? "increase" : "ini", temp).serial;
    folderFd_ = LockFolder(temp / ("tmp" + std::to_string(serial_)));
    RemoveStaleScratch(temp, inputCopy, serial_);
  }
  registered_ = true;
}

InstanceRegistration::~InstanceRegistration() {
  Unregister();
  if (runFd_ >= 0) ::close(runFd_);
  if (folderFd_ >= 0) ::close(folderFd_);
}

void InstanceRegistration::Unregister() {
  if (!registered_) return;
  UpdateInstanceFile(file_, "decrease", temp_);
  registered_ = false;
}

}  // namespace pw::shell
