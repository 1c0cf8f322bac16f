#include "shell/SavedBooks.h"

#include <algorithm>
#include <cstdint>
#include <ctime>

namespace pw::shell {

namespace fs = std::filesystem;

std::string ShortHash(std::string_view text) {
  // FNV-1a: the same name on every run and every machine.
  std::uint32_t hash = 2166136261u;
  for (const unsigned char c : text) {
    hash ^= c;
    hash *= 16777619u;
  }
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out(8, '0');
  for (int i = 7; i >= 0; --i, hash >>= 4) out[static_cast<size_t>(i)] = kDigits[hash & 0xf];
  return out;
}

fs::path SavedBookFile(const fs::path& books, const std::string& source, std::string_view stamp) {
  std::error_code error;
  if (source.empty()) {
    const std::string name = "NewBook-" + std::string(stamp);
    return books / name / (name + ".html0");
  }
  const fs::path full = fs::weakly_canonical(fs::absolute(source, error), error);
  const fs::path root = fs::weakly_canonical(fs::absolute(books, error), error);
  const auto [rootEnd, fullAt] = std::mismatch(root.begin(), root.end(), full.begin(), full.end());
  if (rootEnd == root.end() && fullAt != full.end()) return full;
  std::string stem = full.stem().string();
  if (stem.empty()) stem = "book";
  return books / (stem + "-" + ShortHash(full.string())) / (stem + ".html0");
}

std::string TimeStamp() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", &local);
  return text;
}

}  // namespace pw::shell
