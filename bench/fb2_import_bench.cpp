// Times the FB2 import of generated FictionBooks of 1, 5 and 20 MB with sections, titles,
// epigraphs, poems, cites, notes and pictures, and prints MB/s, the growth from 5 to 20 MB and
// peak memory.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Session.h"
#include "fb2/Base64.h"
#include "fb2/Fb2Import.h"

namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

constexpr int kPictures = 5;

std::string Chapter(size_t n) {
  const std::string id = std::to_string(n);
  std::string out = "<section id=\"ch" + id + "\">\n<title><p>Глава " + id + "</p><p>Дорога на север</p></title>\n";
  out += "<epigraph><p>Кто ищет, тот найдёт.</p><text-author>Пословица</text-author></epigraph>\n";
  for (int p = 0; p < 12; ++p) {
    out += "<p>— Мы выехали на рассвете, <emphasis>когда туман</emphasis> ещё лежал над рекой, и до полудня "
           "не встретили ни одной живой души &amp; ни одного огонька; <strong>дорога</strong> шла вдоль "
           "берега, то поднимаясь, то опускаясь к воде.</p>\n";
  }
  out += "<p>Примечание к главе<a l:href=\"#n" + id + "\" type=\"note\">" + id + "</a>.</p>\n";
  out += "<poem><title><p>Песня</p></title><stanza><v>Над рекою туман,</v><v>над туманом луна,</v></stanza>"
         "<stanza><v>а дорога длинна,</v><v>и не видно конца.</v></stanza><text-author>Народная</text-author></poem>\n";
  out += "<cite><p>Письмо было коротким.</p><text-author>Архив</text-author></cite>\n";
  if (n % 10 == 0) out += "<image l:href=\"#pic" + std::to_string(n / 10 % kPictures) + ".jpg\"/>\n";
  out += "<empty-line/>\n<subtitle>* * *</subtitle>\n</section>\n";
  return out;
}

std::string MakeBook(size_t bytes) {
  std::mt19937 random(1);
  std::string binaries;
  for (int i = 0; i < kPictures; ++i) {
    std::string picture(40 * 1024, '\0');
    for (char& c : picture) c = static_cast<char>(random());
    picture[0] = '\xFF', picture[1] = '\xD8', picture[2] = '\xFF';
    const std::string text = pw::fb2::Base64Encode(picture);
    binaries += "<binary id=\"pic" + std::to_string(i) + ".jpg\" content-type=\"image/jpeg\">\n";
    for (size_t at = 0; at < text.size(); at += 76) binaries += text.substr(at, 76) + "\n";
    binaries += "</binary>\n";
  }
  std::string head =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" "
      "xmlns:l=\"http://www.w3.org/1999/xlink\">\n<description><title-info><genre>adventure</genre><author>"
      "<first-name>Иван</first-name><last-name>Петров</last-name></author><book-title>Дорога на север</book-title>"
      "<lang>ru</lang></title-info></description>\n<body>\n<title><p>Иван Петров</p><p>Дорога на север</p></title>\n";
  std::string body;
  std::string notes = "<body name=\"notes\">\n";
  size_t chapters = 0;
  while (head.size() + body.size() + notes.size() + binaries.size() < bytes) {
    ++chapters;
    body += Chapter(chapters);
    notes += "<section id=\"n" + std::to_string(chapters) + "\"><title><p>" + std::to_string(chapters) +
             "</p></title><p>Город лежит за рекой.</p></section>\n";
  }
  return head + body + "</body>\n" + notes + "</body>\n" + binaries + "</FictionBook>\n";
}

}  // namespace

int main() {
  const fs::path folder = fs::temp_directory_path() / "pagewright_fb2_import_bench";
  pw::common::NullProgress progress;
  pw::common::RecordingSink sink;
  pw::common::Messages messages(sink);
  double seconds5 = 0, seconds20 = 0;
  for (const size_t mb : {1, 5, 20}) {
    const std::string book = MakeBook(mb * 1024 * 1024);
    const double size = static_cast<double>(book.size()) / (1024.0 * 1024.0);
    double best = 1e9;
    size_t output = 0;
    for (int run = 0; run < 2; ++run) {
      fs::remove_all(folder);
      fs::create_directories(folder);
      pw::common::Session session(progress, messages);
      session.workFolder = folder;
      const auto start = Clock::now();
      const auto result = pw::fb2::ConvertFb2ToHtml0(book, session);
      best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
      output = result.html0.size();
    }
    if (mb == 5) seconds5 = best;
    if (mb == 20) seconds20 = best;
    std::printf("fb2 to html0  %5.1f MB  %9.1f ms  %7.1f MB/s  (html0 %.1f MB)\n", size, best * 1000, size / best,
                static_cast<double>(output) / (1024.0 * 1024.0));
  }
  std::printf("fb2 to html0  20 MB / 5 MB time ratio: %.2f (linear is 4)\n", seconds20 / seconds5);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("peak memory %.1f MB\n", static_cast<double>(usage.ru_maxrss) / 1024.0);
  fs::remove_all(folder);
  return 0;
}
