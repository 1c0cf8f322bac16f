// Progress and messages on the terminal: a one-line bar with the status text and percentage
// on stderr, and messages printed to stderr.
#pragma once

#include <mutex>
#include <string>

#include "common/Messages.h"
#include "common/Progress.h"

namespace pw::app {

class TerminalProgress final : public common::Progress {
 public:
  // Draws only when `enabled` (stderr is a terminal and the user did not ask for quiet).
  explicit TerminalProgress(bool enabled) : enabled_(enabled) {}
  ~TerminalProgress() override;
  void Status(std::string_view text) override;
  void Percent(int percent) override;

 private:
  void Draw();
  bool enabled_;
  std::string status_;
  int percent_ = 0;
  bool drawn_ = false;
};

// Prints messages to stderr; questions take their default answer.
class StderrSink final : public common::MessageSink {
 public:
  void Show(std::string_view text) override;
  bool Ask(std::string_view text, bool defaultAnswer) override;

 private:
  std::mutex mutex_;
};

}  // namespace pw::app
