// Times load normalisation and the plain-HTML conversion on generated books of 1, 5 and
// 20 MB, and prints MB/s, the growth from 5 to 20 MB, and peak memory.
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include "common/Progress.h"
#include "common/Settings.h"
#include "markup/BookMarkup.h"
#include "markup/Normalise.h"
#include "markup/PlainHtml.h"
#include "markup/SampleBook.h"

namespace {

using Clock = std::chrono::steady_clock;

// A book of about `bytes` bytes: the sample chapters repeated, with the stray pieces a real
// imported book carries (bare breaks, a BASEFONT, former titles) so every rule has work.
std::string MakeBook(size_t bytes) {
  pw::common::Settings settings;
  std::string book = pw::markup::MakeBodyTag(pw::markup::BodyStyle{}, true, false, false);
  book += "<BASEFONT size=4 face=Georgia>\r\n";
  int chapter = 1;
  while (book.size() < bytes) {
    book += pw::markup::MakeSampleChapter(chapter++, settings.elementColours);
    book += "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;A line<BR>broken by a bare break.</DIV>\r\n";
    book += pw::markup::MakeFormerTitle("Old heading", "#001950");
    book += "<SPAN id=FbSection></SPAN>\r\n";
  }
  book += "</BASEFONT>";
  book += pw::markup::kLastParagraph;
  book += "</BODY></HTML>";
  return book;
}

// Best of three runs, in seconds.
double Time(const std::string& input, const std::function<void(std::string&)>& work) {
  double best = 1e9;
  for (int run = 0; run < 3; ++run) {
    std::string copy = input;
    const auto start = Clock::now();
    work(copy);
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
  }
  return best;
}

long PeakMemoryMb() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

}  // namespace

int main() {
  // Keep freed book-sized buffers in the heap instead of returning them to the system, so the
  // figures measure the passes and not the kernel's first touch of fresh pages; the program
  // itself runs a chain over one book many times and sees the same reuse.
  mallopt(M_MMAP_THRESHOLD, 256 << 20);
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
  pw::common::NullProgress progress;
  const std::function<void(std::string&)> normalise = [](std::string& book) {
    pw::markup::NormaliseBookHeader(book, false);
  };
  const std::function<void(std::string&)> plain = [&progress](std::string& book) {
    pw::markup::ArrangeAsPlainHtml(book, pw::markup::PlainHtmlOptions{}, progress);
  };

  struct Stage {
    const char* name;
    const std::function<void(std::string&)>* work;
    double seconds5 = 0;
    double seconds20 = 0;
  };
  Stage stages[] = {{"normalise", &normalise}, {"plain html", &plain}};

  for (const size_t mb : {1, 5, 20}) {
    const std::string book = MakeBook(mb * 1024 * 1024);
    const double size = static_cast<double>(book.size()) / (1024.0 * 1024.0);
    for (Stage& stage : stages) {
      const double seconds = Time(book, *stage.work);
      if (mb == 5) stage.seconds5 = seconds;
      if (mb == 20) stage.seconds20 = seconds;
      std::printf("%-11s %5.1f MB  %8.2f ms  %8.1f MB/s\n", stage.name, size, seconds * 1000,
                  size / seconds);
    }
  }
  for (const Stage& stage : stages) {
    std::printf("%-11s 20 MB / 5 MB time ratio: %.2f (linear is 4)\n", stage.name,
                stage.seconds20 / stage.seconds5);
  }
  std::printf("peak memory: %ld MB\n", PeakMemoryMb());
  return 0;
}
