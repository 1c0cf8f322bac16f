// Times the HTML-to-book converter on generated HTML books of 1, 5 and 20 MB (headings, styled
// paragraphs, lists, links, a style sheet with bold and italic classes, comments and scripts),
// and prints MB/s, the growth from 5 to 20 MB, and peak memory.
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Session.h"
#include "import/HtmlToBook.h"

namespace {

using Clock = std::chrono::steady_clock;

std::string MakeHtml(size_t bytes) {
  std::string html =
      "<!DOCTYPE html><html><head><title>Book</title><style>.b{font-weight:bold} .i{font-style:italic}</style>"
      "<script>var x = '<p>no</p>';</script></head><body><h1>Anna Lee. The Generated Book</h1>\n";
  for (int chapter = 1; html.size() < bytes; ++chapter) {
    html += "<h2 id=c" + std::to_string(chapter) + ">Глава " + std::to_string(chapter) + "</h2>\n<!-- chapter -->\n";
    for (int p = 0; p < 20; ++p) {
      html += "<p class=text>&mdash; Вечером мы долго сидели у огня и говорили о <span class=b>дороге</span>, "
              "которая ждала нас <i>утром</i>. Old man said &laquo;yes&raquo; &amp; left H<sub>2</sub>O "
              "<a href=#c1>back</a>.\n";
    }
    html += "<ul><li>one<li>two <b>bold</b></ul><pre>\n     preformatted line\nwrapped on\n</pre>\n";
  }
  return html + "</body></html>\n";
}

}  // namespace

int main() {
  mallopt(M_MMAP_THRESHOLD, 256 << 20);
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
  pw::common::NullProgress progress;
  pw::common::RecordingSink sink;
  pw::common::Messages messages(sink);
  double seconds5 = 0, seconds20 = 0;
  for (const size_t mb : {1, 5, 20}) {
    const std::string html = MakeHtml(mb * 1024 * 1024);
    const double size = static_cast<double>(html.size()) / (1024.0 * 1024.0);
    double best = 1e9;
    size_t out = 0;
    for (int run = 0; run < 2; ++run) {
      pw::common::Session session(progress, messages);
      const auto start = Clock::now();
      out = pw::import::ConvertHtmlToHtml0(html, session).size();
      best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
    }
    if (mb == 5) seconds5 = best;
    if (mb == 20) seconds20 = best;
    std::printf("html to html0 %5.1f MB  %9.1f ms  %7.1f MB/s  (book %.1f MB)\n", size, best * 1000, size / best,
                static_cast<double>(out) / (1024.0 * 1024.0));
  }
  std::printf("html to html0 20 MB / 5 MB time ratio: %.2f (linear is 4)\n", seconds20 / seconds5);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("peak memory: %ld MB\n", usage.ru_maxrss / 1024);
  return 0;
}
