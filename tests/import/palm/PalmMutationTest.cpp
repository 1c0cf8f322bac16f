// Bounded random mutation of Palm books: flipped bytes, overwritten header fields, cut files.
// Every mutant is either read or refused; the sanitizer build catches any read out of bounds.
#include <gtest/gtest.h>

#include <random>

#include "common/Files.h"
#include "common/Utf8.h"
#include "import/palm/EReaderBook.h"
#include "import/palm/PalmBook.h"
#include "import/palm/TextRecords.h"
#include "support/Mutation.h"
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
  return test::WithCorpusSeeds(seeds, {"other/en_phppdb_bookmark_test_palmdoc.pdb",
                                       "other/generated/ru_chekhov_vanka_ereader.pdb",
                                       "other/generated/ru_chekhov_vanka_palmdoc.pdb"});
}

TEST(PalmMutation, MutantsAreReadOrRefusedNeverOverrun) {
  const auto counts = test::RunMutants(Seeds(), 3000, test::FieldOrder::BigEndian, 20261123,
                                       [](const std::string& mutant, const std::string&) {
                                         PalmBook book;
                                         if (ReadPalmBook(mutant, book) != PalmFailure::None) return false;
                                         EXPECT_LE(book.text.size(), kBookTextLimit);
                                         for (const auto& picture : book.pictures) {
                                           // Every picture is a view inside the file.
                                           EXPECT_GE(picture.bytes.data(), mutant.data());
                                           EXPECT_LE(picture.bytes.data() + picture.bytes.size(),
                                                     mutant.data() + mutant.size());
                                           EXPECT_EQ(picture.name.find('/'), std::string::npos);
                                         }
                                         return true;
                                       });
  // Both outcomes occur: the mutations reach past the first checks.
  EXPECT_GT(counts.read, 100u);
  EXPECT_GT(counts.refused, 100u);
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
