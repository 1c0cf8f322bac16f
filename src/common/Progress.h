// Progress of long work: a status text ("...converting txt to html0...") and a percentage.
// The command line draws a bar, the workshop server streams events to the page, tests record.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::common {

class Progress {
 public:
  virtual ~Progress() = default;
  virtual void Status(std::string_view text) = 0;
  virtual void Percent(int percent) = 0;
};

// Discards everything; for callers that do not show progress.
class NullProgress final : public Progress {
 public:
  void Status(std::string_view) override {}
  void Percent(int) override {}
};

// Keeps every status text and percentage in order, for tests.
class RecordingProgress final : public Progress {
 public:
  void Status(std::string_view text) override { statuses.emplace_back(text); }
  void Percent(int percent) override { percents.push_back(percent); }

  std::vector<std::string> statuses;
  std::vector<int> percents;
};

// A shared do-nothing instance for default arguments.
Progress& NoProgress();

}  // namespace pw::common
