// Times a 50-row clean-up table (half of it regular expressions) and hyphenation on generated
// books of 1, 5 and 20 MB, and prints MB/s, the growth from 5 to 20 MB, and peak memory.
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include "common/Progress.h"
#include "common/Settings.h"
#include "corrector/CleanUpRules.h"
#include "corrector/Hyphenation.h"
#include "markup/BookMarkup.h"
#include "markup/SampleBook.h"

namespace {

using Clock = std::chrono::steady_clock;
using pw::corrector::CleanUpRule;

std::string MakeBook(size_t bytes) {
  pw::common::Settings settings;
  std::string book = pw::markup::MakeBodyTag(pw::markup::BodyStyle{}, true, false, false);
  for (int chapter = 1; book.size() < bytes; ++chapter) {
    book += pw::markup::MakeSampleChapter(chapter, settings.elementColours);
    book += pw::markup::MakeParagraph("Он сказал  \"нет\" , и ушёл -- навсегда ; а потом вернулся...");
  }
  return book + "</BODY></HTML>";
}

// Rules of the kinds users write: literal fixes, collapses, and expressions with groups.
std::vector<CleanUpRule> MakeTable() {
  std::vector<CleanUpRule> rows;
  const char* literals[] = {" ,", " .", " ;", " :", "--", "...", "  ", "ё", "Ё", "&nbsp;-"};
  const char* replacements[] = {",", ".", ";", ":", "—", "…", " ", "е", "Е", "&nbsp;—"};
  for (int i = 0; i < 25; ++i) {
    const int k = i % 10;
    rows.push_back({literals[k] + std::string(i >= 10 ? "x" : ""), replacements[k], i % 3 != 0, false, true});
  }
  const char* expressions[] = {"([а-я])\\s+([,.;:!?])", "\"([^\"<>]*)\"(?![^<]*>)", "(\\d+)\\s*руб\\.",
                               "\\b(глава)\\s+(\\d+)", "(?<!<!)--(?!>)"};
  const char* expressionReplacements[] = {"$1$2", "«$1»", "$1 ₽", "Глава $2", "—"};
  for (int i = 0; i < 25; ++i) {
    const int k = i % 5;
    rows.push_back({expressions[k] + std::string(i >= 5 ? "(?:x{" + std::to_string(i) + "})?" : ""),
                    expressionReplacements[k], i % 2 == 0, true, true});
  }
  return rows;
}

double Time(const std::string& input, const std::function<void(const std::string&)>& work) {
  double best = 1e9;
  for (int run = 0; run < 2; ++run) {
    const auto start = Clock::now();
    work(input);
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
  }
  return best;
}

}  // namespace

int main() {
  // Freed book-sized buffers stay in the heap, as in a long-running program.
  mallopt(M_MMAP_THRESHOLD, 256 << 20);
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
  pw::common::NullProgress progress;
  const std::vector<CleanUpRule> table = MakeTable();
  std::string sink;
  const std::function<void(const std::string&)> clean = [&](const std::string& book) {
    sink = pw::corrector::ApplyCleanUpRules(book, table, pw::common::CodePage::Win1251, progress);
  };
  const std::function<void(const std::string&)> hyphenate = [&](const std::string& book) {
    sink = pw::corrector::InsertHyphenations(book, false, "Russian", progress);
  };
  struct Stage {
    const char* name;
    const std::function<void(const std::string&)>* work;
    double seconds5 = 0;
    double seconds20 = 0;
  };
  Stage stages[] = {{"clean-up 50 rows", &clean}, {"hyphenation", &hyphenate}};
  for (const size_t mb : {1, 5, 20}) {
    const std::string book = MakeBook(mb * 1024 * 1024);
    const double size = static_cast<double>(book.size()) / (1024.0 * 1024.0);
    for (Stage& stage : stages) {
      const double seconds = Time(book, *stage.work);
      if (mb == 5) stage.seconds5 = seconds;
      if (mb == 20) stage.seconds20 = seconds;
      std::printf("%-17s %5.1f MB  %9.1f ms  %7.1f MB/s\n", stage.name, size, seconds * 1000, size / seconds);
    }
  }
  for (const Stage& stage : stages)
    std::printf("%-17s 20 MB / 5 MB time ratio: %.2f (linear is 4)\n", stage.name, stage.seconds20 / stage.seconds5);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("peak memory: %ld MB\n", usage.ru_maxrss / 1024);
  return 0;
}
