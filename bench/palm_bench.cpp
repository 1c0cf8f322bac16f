// Times the Palm readers on 5 MB books written here: PalmDoc (packed), eReader (zlib and
// PalmDoc-packed), Mobipocket (PalmDoc-packed with trailing entries, and Huffman-coded).
// Prints MB/s of decoded text (by processor time) for the reader alone, and for the whole way to the html0 book
// (the Palm chain and the HTML-to-book converter) for the Mobipocket book.
#include <sys/resource.h>

#include <ctime>
#include <cstdio>
#include <functional>
#include <string>

#include "../tests/support/PalmFixtures.h"
#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Session.h"
#include "import/HtmlToBook.h"
#include "import/palm/PalmBook.h"
#include "import/palm/PalmHtmlChain.h"

namespace {

namespace fx = pw::test::palm;
using pw::import::palm::PalmBook;

constexpr size_t kBookBytes = 5 * 1024 * 1024;

const char* const kWords[] = {"the", "evening", "we", "sat", "long", "by", "fire", "and", "talked", "about",
                              "road", "that", "waited", "for", "us", "in", "morning", "old", "man", "told"};

std::string Prose(size_t bytes, bool html) {
  std::string text = html ? "<html><head><title>t</title></head><body>" : "";
  unsigned seed = 1;
  for (int chapter = 1; text.size() < bytes; ++chapter) {
    text += html ? "<h1>Chapter " + std::to_string(chapter) + "</h1>" : "\r\nChapter " + std::to_string(chapter) + "\r\n\r\n";
    for (int paragraph = 0; paragraph < 30 && text.size() < bytes; ++paragraph) {
      text += html ? "<p>" : "     ";
      for (int word = 0; word < 60; ++word) {
        seed = seed * 1103515245 + 12345;
        text += kWords[(seed >> 16) % std::size(kWords)];
        text += word % 12 == 11 ? ", " : " ";
      }
      text += html ? "</p>\r\n" : "\r\n";
    }
  }
  if (html) text += "</body></html>";
  return text;
}

// A Huffman-coded Mobipocket book: every code is one byte that names one of 256 phrases (the
// words with a blank), so the text is written as one byte a word.
std::string HuffBook(std::string& decoded) {
  std::vector<std::string> phrases;
  for (int i = 0; i < 256; ++i) phrases.push_back(std::string(kWords[i % std::size(kWords)]) + (i % 3 ? " " : ", "));
  std::string huff = "HUFF";
  fx::Put32(huff, 24);
  fx::Put32(huff, 24);
  fx::Put32(huff, 24 + 1024);
  fx::Put32(huff, 0);
  fx::Put32(huff, 0);
  for (int i = 0; i < 256; ++i) fx::Put32(huff, (255u << 8) | 0x80 | 8);
  for (int i = 0; i < 64; ++i) fx::Put32(huff, 0);
  std::string cdic = "CDIC";
  fx::Put32(cdic, 16);
  fx::Put32(cdic, 256);
  fx::Put32(cdic, 8);
  std::string offsets, bodies;
  for (const auto& phrase : phrases) {
    fx::Put16(offsets, static_cast<uint32_t>(512 + bodies.size()));
    fx::Put16(bodies, static_cast<uint32_t>(phrase.size()) | 0x8000);
    bodies += phrase;
  }
  cdic += offsets + bodies;

  std::vector<std::string> texts;
  unsigned seed = 7;
  decoded.clear();
  while (decoded.size() < kBookBytes) {
    std::string record;
    size_t size = 0;
    while (size < 4096) {
      seed = seed * 1103515245 + 12345;
      const unsigned phrase = (seed >> 16) % 256;
      record += static_cast<char>(255 - phrase);
      size += phrases[phrase].size();
      decoded += phrases[phrase];
    }
    texts.push_back(record);
  }
  std::string record0;
  fx::Put16(record0, 17480);
  fx::Put16(record0, 0);
  fx::Put32(record0, static_cast<uint32_t>(decoded.size()));
  fx::Put16(record0, static_cast<uint32_t>(texts.size()));
  fx::Put16(record0, 4096);
  fx::Put32(record0, 0);
  record0 += "MOBI";
  record0.resize(16 + 232, '\0');
  fx::Set32(record0, 20, 232);
  fx::Set32(record0, 28, 65001);
  fx::Set32(record0, 108, 0xFFFFFFFF);
  fx::Set32(record0, 112, static_cast<uint32_t>(texts.size() + 1));
  fx::Set32(record0, 116, 2);
  fx::Set32(record0, 168, 0xFFFFFFFF);
  std::vector<std::string> records{record0};
  records.insert(records.end(), texts.begin(), texts.end());
  records.push_back(huff);
  records.push_back(cdic);
  return fx::Database("BOOK", "MOBI", records);
}

long PeakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// The processor time of the fastest of three runs: on a shared machine the wall clock says
// more about the other programs than about this one.
double CpuSeconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

double Best(const std::function<void()>& run) {
  double best = 1e9;
  for (int n = 0; n < 3; ++n) {
    const double start = CpuSeconds();
    run();
    best = std::min(best, CpuSeconds() - start);
  }
  return best;
}

void Report(const char* name, const std::string& file) {
  PalmBook book;
  const double seconds = Best([&] { pw::import::palm::ReadPalmBook(file, book); });
  const double mb = static_cast<double>(book.text.size()) / (1024.0 * 1024.0);
  std::printf("%-34s file %5.1f MB  text %5.1f MB  %8.1f ms  %7.1f MB/s\n", name,
              static_cast<double>(file.size()) / (1024.0 * 1024.0), mb, seconds * 1000, mb / seconds);
}

}  // namespace

int main() {
  const std::string plain = Prose(kBookBytes, false);
  const std::string html = Prose(kBookBytes, true);
  Report("PalmDoc, packed", fx::PalmDocBook(plain, true));
  Report("PalmDoc, plain", fx::PalmDocBook(plain, false));
  fx::EReaderSpec zlib;
  zlib.markup = plain;
  Report("eReader, zlib", fx::EReaderBook(zlib));
  fx::EReaderSpec packed = zlib;
  packed.compression = 2;
  Report("eReader, packed", fx::EReaderBook(packed));
  fx::MobiSpec mobi;
  mobi.text = html;
  mobi.trailers = true;
  const std::string mobiFile = fx::MobiBook(mobi);
  Report("Mobipocket, packed, trailing", mobiFile);
  std::string decoded;
  Report("Mobipocket, Huffman", HuffBook(decoded));

  // The whole way of the Mobipocket book to the html0 book.
  pw::common::NullProgress progress;
  pw::common::RecordingSink sink;
  pw::common::Messages messages(sink);
  size_t bookSize = 0;
  const double seconds = Best([&] {
    pw::common::Session session(progress, messages);
    PalmBook book;
    pw::import::palm::ReadPalmBook(mobiFile, book);
    std::string chained = pw::import::palm::RunPalmHtmlChain(book.text, session, {});
    bookSize = pw::import::ConvertHtmlToHtml0(chained, session).size();
  });
  const double mb = static_cast<double>(html.size()) / (1024.0 * 1024.0);
  std::printf("%-34s text %5.1f MB  %8.1f ms  %7.1f MB/s  book %5.1f MB  peak %ld MB\n", "Mobipocket to html0", mb,
              seconds * 1000, mb / seconds, static_cast<double>(bookSize) / (1024.0 * 1024.0), PeakKilobytes() / 1024);
  return 0;
}
