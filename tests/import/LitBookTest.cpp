#include "import/lit/LitBook.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "common/Files.h"
#include "common/Text.h"
#include "import/lit/LitMarkup.h"
#include "LitTestSupport.h"
#include "support/Mutation.h"
#include "support/TestSupport.h"

namespace pw::import::lit {
namespace {

namespace fs = std::filesystem;
using testing::LitFixtureFile;
using testing::Tokens;

TEST(LitBook, ComponentsCombinedInPackageOrderWithLinksIntoTheWhole) {
  const std::string file = testing::MakeLit(testing::SampleLitFiles());
  LitBook book;
  common::RecordingProgress progress;
  ASSERT_EQ(ReadLitBook(file, book, progress), LitError::None);
  EXPECT_EQ(book.title, "Tom & Jerry");
  EXPECT_EQ(book.author, "A. Writer");
  ASSERT_EQ(book.manifest.size(), 4u);
  EXPECT_EQ(book.manifest[0].path, "chapter1.html");
  EXPECT_EQ(book.manifest[1].path, "images/cover.png");
  EXPECT_EQ(book.manifest[2].internal, "two");
  EXPECT_EQ(book.coverPath, "images/cover.png");
  ASSERT_EQ(book.pictures.size(), 1u);
  EXPECT_EQ(book.pictures[0].second, "\x89PNG picture bytes");
  ASSERT_EQ(book.styles.size(), 1u);

  const std::string& html = book.html;
  const size_t one = html.find("Chapter One");
  const size_t two = html.find("Chapter Two");
  ASSERT_NE(one, std::string::npos);
  ASSERT_NE(two, std::string::npos);
  EXPECT_LT(one, two);
  EXPECT_NE(html.find("<a href=\"#deep\">the place</a>"), std::string::npos) << html;
  EXPECT_NE(html.find("<a href=\"#LitPart2\">the chapter</a>"), std::string::npos) << html;
  EXPECT_NE(html.find("<A name=\"LitPart2\"></A>"), std::string::npos);
  EXPECT_NE(html.find("<img src=\"images/cover.png\">"), std::string::npos) << html;
  EXPECT_NE(html.find(" &lt;&amp;&gt; "), std::string::npos);
  EXPECT_NE(html.find("<STYLE>.em { font-style: italic }"), std::string::npos);
  EXPECT_EQ(common::CountOccurrences(html, "<body"), 0u);  // the pages' frames are gone
  EXPECT_EQ(common::CountOccurrences(html, "<html"), 0u);
  EXPECT_EQ(progress.statuses.front(), "...getting file components...");
  EXPECT_EQ(progress.statuses.back(), "...looking for styles...");
}

TEST(LitBook, ProtectedBooksAreToldApart) {
  LitBook book;
  EXPECT_EQ(ReadLitBook(testing::MakeLit(testing::SampleLitFiles(), true), book, common::NoProgress()), LitError::Protected);
  auto files = testing::SampleLitFiles();
  files.push_back({"/DRMStorage/Licenses/EUL", "licence", false});
  EXPECT_EQ(ReadLitBook(testing::MakeLit(files), book, common::NoProgress()), LitError::Protected);
}

TEST(LitBook, DamagedBooksAreRefusedWithinTheirBounds) {
  const std::string good = testing::MakeLit(testing::SampleLitFiles());
  LitBook book;
  EXPECT_EQ(ReadLitBook("ITOLITLS and nothing else of a book", book, common::NoProgress()), LitError::Damaged);
  EXPECT_EQ(ReadLitBook("a text file, not a book container", book, common::NoProgress()), LitError::NotLit);
  // A page missing from the container.
  auto files = testing::SampleLitFiles();
  files.erase(files.begin() + 3);
  EXPECT_EQ(ReadLitBook(testing::MakeLit(files), book, common::NoProgress()), LitError::Missing);
  // Cut anywhere: never a book.
  for (size_t cut = 0; cut < good.size(); cut += 23)
    EXPECT_NE(ReadLitBook(std::string_view(good).substr(0, cut), book, common::NoProgress()), LitError::None) << cut;
  // Random damage: refused or read, never out of bounds (the sanitizer build watches).
  std::mt19937 random(17);
  for (int round = 0; round < 500; ++round) {
    std::string bad = good;
    for (int i = 0; i < 4; ++i) bad[random() % bad.size()] = static_cast<char>(random());
    ReadLitBook(bad, book, common::NoProgress());
  }
}

// Mutants of the test's own book and of the real ones (whose sections are LZX-compressed):
// read or refused, never out of bounds (the sanitizer build watches).
TEST(LitBook, MutantsAreReadOrRefused) {
  const auto seeds = test::WithCorpusSeeds({testing::MakeLit(testing::SampleLitFiles())},
                                           {"other/generated/ru_chekhov_vanka.lit", "other/generated/en_carroll_alice.lit"});
  const auto counts = test::RunMutants(seeds, 1500, test::FieldOrder::LittleEndian, 20261123,
                                       [](const std::string& mutant, const std::string& original) {
                                         LitBook book;
                                         if (ReadLitBook(mutant, book, common::NoProgress()) != LitError::None) return false;
                                         EXPECT_LE(book.html.size(), 64 * original.size());
                                         return true;
                                       });
  EXPECT_GT(counts.read, 50u);
  EXPECT_GT(counts.refused, 50u);
}

TEST(LitMarkup, TokensBecomeMarkup) {
  std::string out;
  Tokens t;
  t.Open(testing::kP, {{testing::kClass, "a\"b"}}).Text("x < y").Close();
  ASSERT_TRUE(DecodeLitMarkup(t.str(), MarkupKind::Html, {}, out));
  EXPECT_EQ(out, "<p class=\"a&quot;b\">x &lt; y</p>");
  EXPECT_FALSE(DecodeLitMarkup(std::string("\0\x02\0", 3), MarkupKind::Html, {}, out));  // a close with nothing open
  // A tag of its own name (0x8000, length + 1, characters), a numeric value (0xFFFF and the
  // number + 1), an attribute of unknown number.
  const std::string tokens = "x" + std::string("\0\x01", 2) + "\xE8\x80\x80" + "\x05" + "note" + "\x05" + "\xEF\xBF\xBF" +
                             "\x2B" + "\xE1\x88\xB4" + "\x03" + "ok" + std::string("\0", 1) + "y" +
                             std::string("\0\x02\0", 3);
  ASSERT_TRUE(DecodeLitMarkup(tokens, MarkupKind::Html, {}, out));
  EXPECT_EQ(out, "x<note attr5=\"42\" attr4660=\"ok\">y</note>");
  // A stream that ends inside an element closes it.
  ASSERT_TRUE(DecodeLitMarkup(Tokens().Open(testing::kI).Text("open").str(), MarkupKind::Html, {}, out));
  EXPECT_EQ(out, "<i>open</i>");
}

TEST(LitContainer, CorpusBooksOpen) {
  for (const std::string name : {"en_carroll_alice", "ru_chekhov_vanka"}) {
    const fs::path path = test::CorpusPath("other/generated/" + name + ".lit");
    if (path.empty() || !fs::exists(path)) GTEST_SKIP() << "no sample corpus beside the checkout";
    std::string file;
    ASSERT_TRUE(common::ReadWholeFile(path, file));
    LitContainer container;
    ASSERT_EQ(container.Open(file), LitError::None) << name;
    EXPECT_FALSE(container.HasOwnerDrm());
    std::string content;
    ASSERT_EQ(container.Read("/data/html/content", content), LitError::None) << name;
    EXPECT_GT(content.size(), 10000u);
    LitBook book;
    ASSERT_EQ(ReadLitBook(file, book, common::NoProgress()), LitError::None);
    EXPECT_EQ(book.author, "Unknown");
    EXPECT_TRUE(common::StartsWith(book.title, name));
    EXPECT_GE(book.styles.size(), 1u);
  }
}

}  // namespace
}  // namespace pw::import::lit
