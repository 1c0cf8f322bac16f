#include "import/rb/RbContainer.h"

#include <gtest/gtest.h>

#include <random>

#include "common/Files.h"
#include "common/Text.h"
#include "import/HtmlToBook.h"
#include "RbTestSupport.h"
#include "support/Mutation.h"
#include "support/TestSupport.h"

namespace pw::import::rb {
namespace {

namespace fs = std::filesystem;

using testing::MakeRb;
using testing::PartSpec;
using testing::PutLe;
using testing::LongRbPage;
using testing::SampleRbParts;

TEST(RbContainer, PagesInOrderPicturesAndInfo) {
  const std::string file = MakeRb(SampleRbParts());
  RbBook book;
  ASSERT_EQ(ReadRbBook(file, book), RbError::None);
  EXPECT_EQ(book.title, "The Book");
  EXPECT_EQ(book.author, "A. Writer");
  ASSERT_EQ(book.pages.size(), 2u);
  EXPECT_EQ(book.pages[0].first, "second.html");  // the info part names it as the body
  EXPECT_EQ(book.pages[0].second, LongRbPage());     // unpacked across many chunks
  EXPECT_EQ(book.pages[1].first, "first.html");
  ASSERT_EQ(book.pictures.size(), 1u);
  EXPECT_EQ(book.pictures[0].second, std::string("\x89PNG\r\n\x1A\n picture", 17));

  const std::string joined = JoinRbPages(book);
  EXPECT_EQ(common::CountOccurrences(joined, "<BODY"), 1u);
  EXPECT_EQ(common::CountOccurrences(joined, "<body"), 0u);
  const size_t second = joined.find("Paragraph 699 of the second page.");
  const size_t first = joined.find("First page.");
  ASSERT_NE(second, std::string::npos);
  ASSERT_NE(first, std::string::npos);
  EXPECT_LT(second, first);
}

TEST(RbContainer, DamagedFilesAreRefused) {
  const std::string good = MakeRb(SampleRbParts());
  RbBook book;
  EXPECT_EQ(ReadRbBook("not a rocket book at all, just text long enough to be read as one", book), RbError::NotRb);

  std::string lying = good;
  PutLe(lying, kHeaderBytes, 100000);  // more parts than the file can hold
  EXPECT_EQ(ReadRbBook(lying, book), RbError::Damaged);

  lying = good;
  PutLe(lying, 24, static_cast<uint32_t>(good.size() + 10));  // contents past the end
  EXPECT_EQ(ReadRbBook(lying, book), RbError::Damaged);

  lying = good;
  PutLe(lying, kHeaderBytes + 4 + kTocEntryBytes + 36, static_cast<uint32_t>(good.size() - 5));  // a part past the end
  EXPECT_EQ(ReadRbBook(lying, book), RbError::Damaged);

  // A compressed part that claims more than the bound.
  auto parts = SampleRbParts();
  std::vector<RbPart> toc;
  ASSERT_EQ(ReadRbToc(good, toc), RbError::None);
  std::string out;
  EXPECT_EQ(ReadRbPart(good, toc[2], out, 1000), RbError::TooLarge);

  // Bad compression: the middle of the second page's chunks overwritten.
  std::string bad = good;
  for (size_t i = 0; i < 40; ++i) bad[toc[2].offset + toc[2].length / 2 + i] = 'x';
  EXPECT_EQ(ReadRbBook(bad, book), RbError::Damaged);

  parts[1].flags = kEncrypted;
  EXPECT_EQ(ReadRbBook(MakeRb(parts), book), RbError::Encrypted);
  EXPECT_EQ(ReadRbBook(MakeRb({{"book.info", "TITLE=x", kInfoPart}}), book), RbError::NoText);

  // Cut anywhere or damaged at random, the reader stays inside the file (the sanitizer build
  // watches) and either refuses or reads pages.
  for (size_t cut = 0; cut < good.size(); cut += 61) {
    const RbError error = ReadRbBook(std::string_view(good).substr(0, cut), book);
    EXPECT_NE(error, RbError::None) << cut;
  }
  std::mt19937 random(9);
  for (int round = 0; round < 500; ++round) {
    std::string mutated = good;
    for (int i = 0; i < 6; ++i) mutated[random() % mutated.size()] = static_cast<char>(random());
    if (ReadRbBook(mutated, book) == RbError::None) {
      EXPECT_FALSE(book.pages.empty());
    }
  }
}

// Mutants of the test's own book and of the real ones: read or refused, never out of bounds
// (the sanitizer build watches), and never unpacked beyond the bound.
TEST(RbContainer, MutantsAreReadOrRefused) {
  const auto seeds = test::WithCorpusSeeds({MakeRb(SampleRbParts())},
                                           {"other/generated/ru_chekhov_vanka.rb", "other/generated/en_carroll_alice.rb"});
  const auto counts = test::RunMutants(seeds, 1500, test::FieldOrder::LittleEndian, 20261123,
                                       [](const std::string& mutant, const std::string&) {
                                         RbBook book;
                                         if (ReadRbBook(mutant, book, 1 << 20) != RbError::None) return false;
                                         EXPECT_FALSE(book.pages.empty());
                                         size_t unpacked = 0;
                                         for (const auto& [name, page] : book.pages) unpacked += page.size();
                                         for (const auto& [name, picture] : book.pictures) unpacked += picture.size();
                                         EXPECT_LE(unpacked, size_t{1} << 20);
                                         return true;
                                       });
  EXPECT_GT(counts.read, 100u);
  EXPECT_GT(counts.refused, 100u);
}

TEST(RbContainer, CorpusBooksHoldTheirWholeText) {
  for (const std::string name : {"en_carroll_alice", "ru_chekhov_vanka"}) {
    const fs::path path = test::CorpusPath("other/generated/" + name + ".rb");
    if (path.empty() || !fs::exists(path)) GTEST_SKIP() << "no sample corpus beside the checkout";
    std::string file;
    ASSERT_TRUE(common::ReadWholeFile(path, file));
    RbBook book;
    ASSERT_EQ(ReadRbBook(file, book), RbError::None) << name;
    EXPECT_EQ(book.title, name + (name == "en_carroll_alice" ? "_ascii_crlf_noheader" : "_utf8_oneline_noblank"));
    ASSERT_EQ(book.pages.size(), 1u);
    const std::string text = ExtractTextFromHtml(JoinRbPages(book), common::NoProgress());
    EXPECT_NE(text.find(name == "en_carroll_alice" ? "Alice was beginning to get very tired"
                                                   : "\xD0\x92\xD0\xB0\xD0\xBD\xD1\x8C\xD0\xBA\xD0\xB0 \xD0\x96\xD1\x83\xD0\xBA\xD0\xBE\xD0\xB2"),
              std::string::npos)
        << name;
  }
}

}  // namespace
}  // namespace pw::import::rb
