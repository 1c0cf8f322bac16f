// Times the readers of the containers the program takes apart itself, each on a generated
// book of 5 MB of text: the Rocket eBook reader (zlib chunks, pages joined), the LZX
// decompressor of lit books, and the whole lit reader (container, token streams, combining).
// Prints MB/s of text produced.
#include <chrono>
#include <cstdio>
#include <random>
#include <string>

#include "common/Progress.h"
#include "import/LitTestSupport.h"
#include "import/RbTestSupport.h"
#include "import/lit/LitBook.h"
#include "import/lit/Lzx.h"
#include "import/rb/RbContainer.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr size_t kBookBytes = 5u << 20;

// Paragraphs of words in Russian and English, repeating as real prose does.
std::string Prose(size_t size) {
  static const char* words[] = {"\xD0\xBE\xD0\xBD ", "\xD1\x81\xD0\xBA\xD0\xB0\xD0\xB7\xD0\xB0\xD0\xBB ", "the ",
                                "Alice ", "\xD0\x92\xD0\xB0\xD0\xBD\xD1\x8C\xD0\xBA\xD0\xB0 ", "said ", "and ",
                                "\xD0\xB4\xD0\xB5\xD0\xB4\xD1\x83\xD1\x88\xD0\xBA\xD0\xB0 ", "rabbit ", "of ", "time, "};
  std::mt19937 random(1);
  std::string text;
  text.reserve(size + 100);
  while (text.size() < size) {
    text += "<p>";
    for (int i = 0; i < 60; ++i) text += words[random() % std::size(words)];
    text += "</p>\n";
  }
  return text;
}

template <class F>
double Seconds(F&& run, int rounds) {
  const auto start = Clock::now();
  for (int i = 0; i < rounds; ++i) run();
  return std::chrono::duration<double>(Clock::now() - start).count() / rounds;
}

void Report(const char* what, size_t bytes, double seconds) {
  std::printf("%-34s %6.1f MB in %7.3f s: %7.1f MB/s\n", what, bytes / 1048576.0, seconds, bytes / 1048576.0 / seconds);
}

}  // namespace

int main() {
  using namespace pw::import;
  const std::string prose = Prose(kBookBytes);
  const std::string page = "<html><body>" + prose + "</body></html>";

  const std::string rbFile = rb::testing::MakeRb(
      {{"book.info", "TITLE=Bench\nBODY=book.html\n", rb::kInfoPart}, {"book.html", page, rb::kCompressed}});
  size_t joined = 0;
  const double rbSeconds = Seconds(
      [&] {
        rb::RbBook book;
        rb::ReadRbBook(rbFile, book);
        joined = rb::JoinRbPages(book).size();
      },
      3);
  Report("rb: read and join", joined, rbSeconds);

  lit::testing::LzxWriter writer(17);
  writer.Header();
  writer.Verbatim(prose);
  const std::string stream = writer.bytes();
  lit::LzxStream lzx;
  lzx.input = stream;
  lzx.windowBits = 17;
  lzx.outputLength = prose.size();
  std::string unpacked;
  const double lzxSeconds = Seconds([&] { lit::LzxDecompress(lzx, unpacked); }, 3);
  if (unpacked != prose) std::printf("LZX round trip differs!\n");
  Report("lit: LZX decompression", prose.size(), lzxSeconds);

  lit::testing::Tokens package;
  package.Open(lit::testing::kPackage).Open(lit::testing::kManifest);
  package.Open(lit::testing::kItem,
               {{lit::testing::kId, "book"}, {lit::testing::kHref, lit::testing::Tokens::Ref("book")},
                {lit::testing::kMediaType, "text/x-oeb1-document"}},
               true);
  package.Close().Close();
  lit::testing::Tokens tokens;
  tokens.Open(lit::testing::kHtml).Open(lit::testing::kBody);
  for (size_t at = 0; at < prose.size();) {
    const size_t end = std::min(prose.size(), prose.find("</p>", at) + 5);
    tokens.Open(lit::testing::kP).Text(prose.substr(at + 3, end - at - 8)).Close();
    at = end;
  }
  tokens.Close().Close();
  const std::string litFile = lit::testing::MakeLit({{"/manifest", lit::testing::ComponentList({{"book", "book.html", "text/html"}}, {})},
                                                     {"/meta", package.str()},
                                                     {"/data/book/content", tokens.str(), true}});
  size_t combined = 0;
  const double litSeconds = Seconds(
      [&] {
        lit::LitBook book;
        lit::ReadLitBook(litFile, book, pw::common::NoProgress());
        combined = book.html.size();
      },
      3);
  Report("lit: whole book (stored section)", combined, litSeconds);
  return 0;
}
