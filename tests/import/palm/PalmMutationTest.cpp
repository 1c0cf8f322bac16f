// Bounded random mutation of Palm books: flipped bytes, overwritten header fields, cut files.
// Every mutant is either read or refused; the sanitizer build catches any read out of bounds.
#include <gtest/gtest.h>

#include <random>

#include "common/Files.h"
#include "common/Utf8.h"
#include "import/palm/EReaderBook.h"
#include "import/palm/PalmBook.h"
#include "import/palm/TextRecords.h"
#include "support/PalmFixtures.h"
#include "support/TestSupport.h"

namespace pw::import::palm {
namespace {

namespace fx = test::palm;

std::vector<std::string> Seeds() {
  const std::string text = "<html><body><h1>One</h1><p>Some text " + std::string(3000, 'a') +
                           " more text <img recindex=\"1\"></p></body></html>";
  fx::MobiSpec mobi;
  mobi.text = text;
  mobi.trailers = true;
  mobi.authors = {"A"};
  mobi.pictures = {fx::TinyJpeg()};
  mobi.cover = 0;
  fx::EReaderSpec zlib;
  zlib.markup = "\\xTitle\\x\n" + std::string(5000, 'b') + "\\m=\"p.png\"";
  zlib.pictures = {{"p.png", fx::TinyPng()}};
  fx::EReaderSpec packed = zlib;
  packed.compression = 2;
  std::vector<std::string> seeds = {fx::PalmDocBook(text, true, {"bookmark"}), fx::PalmDocBook(text, false),
                                    fx::MobiBook(mobi), fx::EReaderBook(zlib), fx::EReaderBook(packed)};
  mobi.compression = 1;
  seeds.push_back(fx::MobiBook(mobi));
  // The small corpus books as well, when present.
  for (const char* name : {"other/en_phppdb_bookmark_test_palmdoc.pdb", "other/generated/ru_chekhov_vanka_ereader.pdb",
                           "other/generated/ru_chekhov_vanka_palmdoc.pdb"}) {
    std::string file;
    const auto path = test::CorpusPath(name);
    if (!path.empty() && common::ReadWholeFile(path, file)) seeds.push_back(file);
  }
  return seeds;
}

std::string Mutate(std::string file, std::mt19937& random) {
  const int kind = static_cast<int>(random() % 4);
  if (file.empty()) return file;
  if (kind == 0) {  // flip a few bytes anywhere
    for (int n = 1 + static_cast<int>(random() % 8); n > 0; --n) file[random() % file.size()] ^= static_cast<char>(1 + random() % 255);
  } else if (kind == 1) {  // a field of the headers and the record list: the first 400 bytes
    const size_t at = random() % std::min<size_t>(file.size(), 400);
    const uint32_t values[] = {0, 1, 2, 0xFF, 0xFFFF, 0x7FFFFFFF, 0xFFFFFFFF, static_cast<uint32_t>(file.size()),
                               static_cast<uint32_t>(random())};
    const uint32_t v = values[random() % std::size(values)];
    for (size_t k = 0; k < 4 && at + k < file.size(); ++k) file[at + k] = static_cast<char>(v >> (8 * (3 - k)));
  } else if (kind == 2) {  // cut off
    file.resize(random() % file.size());
  } else {  // a record's bytes into another place
    const size_t from = random() % file.size();
    const size_t to = random() % file.size();
    const size_t n = std::min({file.size() - from, file.size() - to, size_t{1} + random() % 64});
    file.replace(to, n, file.substr(from, n));
  }
  return file;
}

TEST(PalmMutation, MutantsAreReadOrRefusedNeverOverrun) {
  std::mt19937 random(20261123);
  const auto seeds = Seeds();
  size_t refused = 0;
  size_t read = 0;
  for (int round = 0; round < 3000; ++round) {
    const std::string mutant = Mutate(seeds[static_cast<size_t>(round) % seeds.size()], random);
    PalmBook book;
    const PalmFailure failure = ReadPalmBook(mutant, book);
    if (failure == PalmFailure::None) {
      ++read;
      EXPECT_LE(book.text.size(), kBookTextLimit);
      for (const auto& picture : book.pictures) {
        // Every picture is a view inside the file.
        EXPECT_GE(picture.bytes.data(), mutant.data());
        EXPECT_LE(picture.bytes.data() + picture.bytes.size(), mutant.data() + mutant.size());
        EXPECT_EQ(picture.name.find('/'), std::string::npos);
      }
    } else {
      ++refused;
    }
  }
  // Both outcomes occur: the mutations reach past the first checks.
  EXPECT_GT(read, 100u);
  EXPECT_GT(refused, 100u);
}

TEST(PalmMutation, RandomMarkupConverts) {
  std::mt19937 random(5);
  const std::string alphabet = "\\xXcaUqQmCFSpvT=\"0123456789ABCDEF<>& \n\xE9";
  for (int round = 0; round < 2000; ++round) {
    std::string markup;
    for (size_t n = random() % 200; n > 0; --n) markup += alphabet[random() % alphabet.size()];
    const std::string html = EReaderMarkupToUtf8(markup, true);
    EXPECT_TRUE(html.ends_with("</body></html>\n"));
    EXPECT_TRUE(common::IsValidUtf8(EReaderMarkupToUtf8(markup, false)));
  }
}

}  // namespace
}  // namespace pw::import::palm
