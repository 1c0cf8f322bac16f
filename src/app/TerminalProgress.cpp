#include "app/TerminalProgress.h"

#include <algorithm>
#include <cstdio>

namespace pw::app {

TerminalProgress::~TerminalProgress() {
  if (drawn_) std::fputs("\r\033[K", stderr);
}

void TerminalProgress::Status(std::string_view text) {
  if (text.empty()) return;
  status_ = text;
  Draw();
}

void TerminalProgress::Percent(int percent) {
  if (percent == percent_) return;
  percent_ = percent;
  Draw();
}

void TerminalProgress::Draw() {
  if (!enabled_) return;
  constexpr int kWidth = 24;
  const int filled = std::clamp(percent_, 0, 100) * kWidth / 100;
  std::string bar(static_cast<size_t>(filled), '#');
  bar.resize(kWidth, '.');
  std::fprintf(stderr, "\r\033[K[%s] %3d%% %.60s", bar.c_str(), percent_, status_.c_str());
  std::fflush(stderr);
  drawn_ = true;
}

void StderrSink::Show(std::string_view text) {
  std::lock_guard lock(mutex_);
  std::fprintf(stderr, "pagewright: %.*s\n", static_cast<int>(text.size()), text.data());
}

bool StderrSink::Ask(std::string_view text, bool defaultAnswer) {
  Show(text);
  return defaultAnswer;
}

}  // namespace pw::app
