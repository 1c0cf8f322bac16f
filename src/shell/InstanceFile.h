// The instance file "ProgInstances.dat": two lines, the serial of the last copy started and
// the number of copies running. Each copy works in "Temp/tmp" + its serial, so copies never
// share scratch files. The read-modify-write is done under an advisory file lock, so copies
// started at the same instant still get different serials.
#pragma once

#include <filesystem>
#include <string_view>

namespace pw::shell {

struct InstanceCounts {
  int serial = 0;
  int running = 0;
};

// "ini": start afresh (serial 1, one running) and make the instance's scratch folder;
// "read": the two numbers; "increase": one more copy, with the next serial;
// "decrease": one copy fewer (at 0 the file is left as it was, for the next "ini").
// `temp` is the scratch root in which "tmp" + serial is made. Returns the counts after the
// action; an unknown action or a missing file reads as no running copy.
InstanceCounts UpdateInstanceFile(const std::filesystem::path& file, std::string_view action,
                                  const std::filesystem::path& temp);

// This copy's place among the running copies: its serial, and a shared lock on
// "ProgInstances.dat.run" held while the object lives, by which later copies see that this
// one runs (the count in the instance file alone cannot tell after a crash). The copy also
// holds an exclusive lock on its own scratch folder "tmp" + serial, by which the next copy to
// start tells a folder of a live copy from one that a killed copy left behind.
class InstanceRegistration {
 public:
  // Registers: "increase" when another copy holds its lock, else "ini". The instance's
  // scratch folder exists afterwards. The "tmp" + serial folders of copies that are no longer
  // alive are removed from `temp` and from `inputCopy` (when given).
  InstanceRegistration(const std::filesystem::path& file, const std::filesystem::path& temp,
                       const std::filesystem::path& inputCopy = {});
  ~InstanceRegistration();
  InstanceRegistration(const InstanceRegistration&) = delete;
  InstanceRegistration& operator=(const InstanceRegistration&) = delete;

  int serial() const { return serial_; }
  // Whether another copy was running when this one started.
  bool second() const { return second_; }
  // "decrease", once; the destructor does it when not done.
  void Unregister();

 private:
  std::filesystem::path file_;
  std::filesystem::path temp_;
  int runFd_ = -1;
  int folderFd_ = -1;  // the instance's scratch folder, locked while this copy lives
  int serial_ = 0;
  bool second_ = false;
  bool registered_ = false;
};

}  // namespace pw::shell
