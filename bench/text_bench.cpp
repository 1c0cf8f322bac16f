// Times the text-to-book converter on generated hard-wrapped novels of 1, 5 and 20 MB (chapter
// headings, indented paragraphs, dialogue, verse with an epigraph) in the "auto" mode, through
// the whole chain from UTF-8 text to the html0 book; prints MB/s, the growth from 5 to 20 MB,
// and peak memory against the source size.
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Session.h"
#include "import/TextToBook.h"

namespace {

using Clock = std::chrono::steady_clock;

// Words wrapped at 72 columns, the first line of a paragraph indented five blanks.
void AppendWrapped(std::string& out, const std::string& paragraph) {
  std::string line = "     ";
  size_t pos = 0;
  while (pos < paragraph.size()) {
    size_t end = paragraph.find(' ', pos);
    if (end == std::string::npos) end = paragraph.size();
    const std::string word = paragraph.substr(pos, end - pos);
    if (line.size() + word.size() + 1 > 72 && line.find_first_not_of(' ') != std::string::npos) {
      out += line + "\r\n";
      line.clear();
    }
    if (!line.empty() && line.back() != ' ') line += ' ';
    line += word;
    pos = end + 1;
  }
  out += line + "\r\n";
}

std::string MakeNovel(size_t bytes) {
  const std::string prose =
      "Вечером мы долго сидели у огня и говорили о дороге, которая ждала нас утром. Старик "
      "рассказывал, как в молодости ходил через перевал зимой, когда снег лежал выше пояса, а ночью "
      "выли волки. Мы слушали его молча, и каждый думал о своём; потом хозяйка принесла чай, и "
      "разговор стих сам собой.";
  const std::string dialogue = "- Далеко ли до города? - спросил он, глядя на дорогу, которая уходила за холмы.";
  const std::string answer = "- Ещё два дня пути, если погода не испортится, - ответила она.";
  const std::string verse =
      "     Мороз и солнце; день чудесный!\r\n"
      "     Еще ты дремлешь, друг прелестный -\r\n"
      "     Пора, красавица, проснись:\r\n"
      "     Открой сомкнуты негой взоры\r\n";
  std::string text;
  text.reserve(bytes + 4096);
  for (int chapter = 1; text.size() < bytes; ++chapter) {
    text += "\r\nГлава " + std::to_string(chapter) + "\r\n\r\n";
    text += "     Всё течёт, всё меняется.\r\n     Гераклит\r\n\r\n";
    for (int part = 0; part < 40 && text.size() < bytes; ++part) {
      AppendWrapped(text, prose);
      AppendWrapped(text, dialogue);
      AppendWrapped(text, answer);
      if (part % 10 == 9) text += "\r\n" + verse + "\r\n";
    }
  }
  return text;
}

long PeakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

}  // namespace

int main() {
  // Freed book-sized buffers stay in the heap, as in a long-running program.
  mallopt(M_MMAP_THRESHOLD, 256 << 20);
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
  pw::common::NullProgress progress;
  pw::common::RecordingSink messageSink;
  pw::common::Messages messages(messageSink);
  pw::import::TextImportOptions options;
  options.dictionaryFolder = PW_SOURCE_DATA_DIR;

  double seconds5 = 0;
  double seconds20 = 0;
  for (const size_t mb : {1, 5, 20}) {
    const long before = PeakKilobytes();
    std::string text = MakeNovel(mb * 1024 * 1024);
    const double size = static_cast<double>(text.size()) / (1024.0 * 1024.0);
    double best = 1e9;
    size_t bookSize = 0;
    std::string mode;
    pw::import::TextImportResult last;
    for (int run = 0; run < 2; ++run) {
      pw::common::Session session(progress, messages);
      pw::import::TextImportResult result;
      const auto start = Clock::now();
      const std::string book = pw::import::ConvertTextToBook(text, pw::import::TextTarget::Html0, session, options,
                                                             &result);
      best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
      bookSize = book.size();
      mode = result.mode;
      last = result;
    }
    if (mb == 5) seconds5 = best;
    if (mb == 20) seconds20 = best;
    const long peak = PeakKilobytes();
    std::printf("txt->html0 %5.1f MB  %8.1f ms  %7.1f MB/s  mode %-10s book %6.1f MB  peak %5ld MB (%.1f x source)\n",
                size, best * 1000, size / best, mode.c_str(), static_cast<double>(bookSize) / (1024.0 * 1024.0),
                peak / 1024, static_cast<double>(std::max(peak, before)) / 1024.0 / size);
    std::printf("           %zu titles, %zu epigraphs, %zu verses\n", last.titles, last.epigraphs, last.verses);
  }
  std::printf("20 MB / 5 MB time ratio: %.2f (linear is 4)\n", seconds20 / seconds5);
  return 0;
}
