// Times the FictionBook export of generated html0 books of 1, 5 and 20 MB with titles,
// epigraphs, verse, cites, notes and pictures, and prints MB/s, the growth from 5 to 20 MB,
// and peak memory.
#include <malloc.h>
#include <sys/resource.h>

#include <Magick++.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Session.h"
#include "common/Settings.h"
#include "fb2/Fb2Export.h"
#include "fb2/Pictures.h"
#include "markup/SampleBook.h"

namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

// Chapters of the sample book, with a picture in every tenth chapter (ten picture files).
std::string MakeBook(size_t bytes) {
  pw::common::Settings settings;
  std::string one = pw::markup::MakeSampleBook(40, settings);
  const size_t bodyEnd = one.rfind("</BODY>");
  std::string book = one.substr(0, bodyEnd);
  const std::string tail = one.substr(bodyEnd);
  const size_t bodyStart = one.find("<BODY");
  const std::string chapters = one.substr(one.find('>', bodyStart) + 1, bodyEnd - one.find('>', bodyStart) - 1);
  for (int copy = 0; book.size() < bytes; ++copy)
    book += "<DIV align=center><IMG src=pic" + std::to_string(copy % 10) + ".png></DIV>" + chapters;
  return book + tail;
}

}  // namespace

int main() {
  mallopt(M_MMAP_THRESHOLD, 256 << 20);
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
  pw::fb2::InitPictureLibrary();
  const fs::path folder = fs::temp_directory_path() / "pagewright_fb2_bench";
  fs::create_directories(folder);
  for (int i = 0; i < 10; ++i) {
    Magick::Image picture(Magick::Geometry(120, 90), Magick::Color(i % 2 ? "navy" : "orange"));
    picture.magick("PNG");
    picture.write((folder / ("pic" + std::to_string(i) + ".png")).string());
  }
  pw::common::NullProgress progress;
  pw::common::RecordingSink sink;
  pw::common::Messages messages(sink);
  pw::fb2::Fb2ExportOptions options;
  options.bookForLibrary = true;
  double seconds5 = 0, seconds20 = 0;
  size_t outputSize = 0;
  for (const size_t mb : {1, 5, 20}) {
    const std::string book = MakeBook(mb * 1024 * 1024);
    const double size = static_cast<double>(book.size()) / (1024.0 * 1024.0);
    double best = 1e9;
    for (int run = 0; run < 2; ++run) {
      pw::common::Session session(progress, messages);
      const auto start = Clock::now();
      const auto result = pw::fb2::ConvertHtml0ToFb2(book, pw::fb2::Fb2Description{}, options, folder, session);
      best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
      outputSize = result.bytes.size();
    }
    if (mb == 5) seconds5 = best;
    if (mb == 20) seconds20 = best;
    std::printf("html0 to fb2  %5.1f MB  %9.1f ms  %7.1f MB/s  (fb2 %.1f MB)\n", size, best * 1000, size / best,
                static_cast<double>(outputSize) / (1024.0 * 1024.0));
  }
  std::printf("html0 to fb2  20 MB / 5 MB time ratio: %.2f (linear is 4)\n", seconds20 / seconds5);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("peak memory: %ld MB\n", usage.ru_maxrss / 1024);
  fs::remove_all(folder);
  return 0;
}
