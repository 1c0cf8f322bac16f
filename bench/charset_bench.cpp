// Times charset detection with decoding of a KOI8-R text, and both entity chains over an
// entity-dense HTML book, at 1, 5 and 20 MB; prints MB/s, the growth from 5 to 20 MB, and peak
// memory.
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include "common/CodePage.h"
#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Session.h"
#include "import/Charset.h"
#include "import/Entities.h"

namespace {

using Clock = std::chrono::steady_clock;
using pw::common::CodePage;

std::string MakeKoi8Text(size_t bytes) {
  const std::string paragraph = pw::common::EncodeFromUtf8(
      "     Вечером мы долго сидели у огня и говорили о дороге, которая ждала нас утром.\r\n"
      "Старик рассказывал, как в молодости ходил через перевал зимой, когда снег лежал\r\n"
      "выше пояса, а ночью выли волки. Мы слушали его молча, и каждый думал о своём.\r\n",
      CodePage::Koi8r);
  std::string text;
  text.reserve(bytes + paragraph.size());
  while (text.size() < bytes) text += paragraph;
  return text;
}

std::string MakeEntityHtml(size_t bytes) {
  const std::string paragraph =
      "<p>&laquo;Fish &amp; chips&raquo; &mdash; he said&hellip; &ldquo;caf&eacute;&rdquo;, "
      "&#8212;&#192;&#x416; &nbsp;&copy; 2001&ndash;2003 &frac12; &Omega; &euro;&#8470;</p>\n";
  std::string text = "<html><body>\n";
  while (text.size() < bytes) text += paragraph;
  return text + "</body></html>\n";
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
  pw::common::RecordingSink messageSink;
  pw::common::Messages messages(messageSink);
  std::string sink;
  const std::function<void(const std::string&)> detect = [&](const std::string& bytes) {
    pw::common::Session session(progress, messages);
    session.settings.importLanguage = "auto";
    sink = pw::import::DetectCharset(bytes, session);
  };
  const std::function<void(const std::string&)> singleByte = [&](const std::string& html) {
    sink = pw::import::ReplaceHtmlEntities(html, CodePage::Win1252);
  };
  const std::function<void(const std::string&)> utf8 = [&](const std::string& html) {
    sink = pw::import::ReplaceHtmlEntitiesUtf8(html);
  };
  struct Stage {
    const char* name;
    const std::function<void(const std::string&)>* work;
    std::string (*make)(size_t);
    double seconds5 = 0;
    double seconds20 = 0;
  };
  Stage stages[] = {{"detect+decode koi8", &detect, MakeKoi8Text},
                    {"entities 1-byte", &singleByte, MakeEntityHtml},
                    {"entities utf-8", &utf8, MakeEntityHtml}};
  for (const size_t mb : {1, 5, 20}) {
    for (Stage& stage : stages) {
      const std::string input = stage.make(mb * 1024 * 1024);
      const double size = static_cast<double>(input.size()) / (1024.0 * 1024.0);
      const double seconds = Time(input, *stage.work);
      if (mb == 5) stage.seconds5 = seconds;
      if (mb == 20) stage.seconds20 = seconds;
      std::printf("%-19s %5.1f MB  %9.1f ms  %7.1f MB/s\n", stage.name, size, seconds * 1000, size / seconds);
    }
  }
  for (const Stage& stage : stages)
    std::printf("%-19s 20 MB / 5 MB time ratio: %.2f (linear is 4)\n", stage.name, stage.seconds20 / stage.seconds5);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("peak memory: %ld MB\n", usage.ru_maxrss / 1024);
  return 0;
}
