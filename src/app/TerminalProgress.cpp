#include "app/TerminalProgress.h"

#include <unistd.h>

#include <algorithm>

namespace pw::app {

TerminalBatchView::TerminalBatchView(size_t books, bool drawBar) : books_(std::max<size_t>(books, 1)), drawBar_(drawBar) {}

TerminalBatchView::~TerminalBatchView() {
  std::lock_guard lock(mutex_);
  ClearLocked();
}

void TerminalBatchView::Status(size_t, std::string_view text) {
  if (text.empty()) return;
  std::lock_guard lock(mutex_);
  status_ = text;
  DrawLocked();
}

void TerminalBatchView::Percent(size_t, int percent) {
  std::lock_guard lock(mutex_);
  percent_ = std::clamp(percent, 0, 100);
  DrawLocked();
}

void TerminalBatchView::Finished(size_t, bool) {
  std::lock_guard lock(mutex_);
  ++done_;
  percent_ = 0;
  DrawLocked();
}

void TerminalBatchView::Print(std::FILE* stream, std::string_view line) {
  std::lock_guard lock(mutex_);
  ClearLocked();
  std::fprintf(stream, "%.*s\n", static_cast<int>(line.size()), line.data());
  std::fflush(stream);
  DrawLocked();
}

void TerminalBatchView::Show(std::string_view text) { Print(stderr, "pagewright: " + std::string(text)); }

bool TerminalBatchView::Ask(std::string_view text, bool defaultAnswer) {
  (void)defaultAnswer;
  if (assumeYes_) return true;
  std::lock_guard lock(mutex_);
  ClearLocked();
  std::fprintf(stderr, "pagewright: %.*s\n", static_cast<int>(text.size()), text.data());
  if (!::isatty(STDIN_FILENO)) {
    std::fprintf(stderr, "pagewright: no terminal to answer on: taken as \"no\" (--yes answers yes)\n");
    DrawLocked();
    return false;
  }
  std::fprintf(stderr, "[y/N] ");
  std::fflush(stderr);
  char answer[16] = {};
  const bool yes = std::fgets(answer, sizeof answer, stdin) && (answer[0] == 'y' || answer[0] == 'Y');
  DrawLocked();
  return yes;
}

void TerminalBatchView::DrawLocked() {
  if (!drawBar_) return;
  constexpr size_t kWidth = 24;
  // The whole batch: finished books count fully, the current one by its own percentage.
  const size_t total = std::min<size_t>(100, (done_ * 100 + static_cast<size_t>(percent_)) / books_);
  std::string bar(total * kWidth / 100, '#');
  bar.resize(kWidth, '.');
  std::fprintf(stderr, "\r\033[K[%s] %3zu%% %zu/%zu %.50s", bar.c_str(), total, done_, books_, status_.c_str());
  std::fflush(stderr);
  drawn_ = true;
}

void TerminalBatchView::ClearLocked() {
  if (!drawn_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  drawn_ = false;
}

}  // namespace pw::app
