// The command line's view of a batch: a one-line bar on stderr with the percentage, the book
// count and the current status text (only when stderr is a terminal and quiet was not asked),
// and messages printed to stderr without tearing the bar.
#pragma once

#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>

#include "common/Messages.h"
#include "shell/BatchConvert.h"

namespace pw::app {

class TerminalBatchView final : public shell::BatchObserver, private common::MessageSink {
 public:
  // `books` is the number of books of the batch; the bar is drawn only when `drawBar`.
  TerminalBatchView(size_t books, bool drawBar);
  ~TerminalBatchView() override;

  void Status(size_t book, std::string_view text) override;
  void Percent(size_t book, int percent) override;
  void Finished(size_t book, bool ok) override;
  common::MessageSink& Sink() override { return *this; }

  // Questions: answered yes without asking (--yes), asked on the terminal when stdin is one,
  // else shown and answered no.
  void SetAssumeYes(bool yes) { assumeYes_ = yes; }

  // Prints a line on `stream`, clearing the bar first.
  void Print(std::FILE* stream, std::string_view line);

 private:
  void Show(std::string_view text) override;
  bool Ask(std::string_view text, bool defaultAnswer) override;
  void DrawLocked();
  void ClearLocked();

  std::mutex mutex_;
  bool assumeYes_ = false;
  size_t books_;
  bool drawBar_;
  size_t done_ = 0;
  int percent_ = 0;
  std::string status_;
  bool drawn_ = false;
};

}  // namespace pw::app
