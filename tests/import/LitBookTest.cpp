#include "import/lit/LitBook.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "common/Files.h"
#include "common/Limits.h"
#include "common/Text.h"
#include "import/lit/LitMarkup.h"
#include "LitTestSupport.h"
#include "support/Mutation.h"
#include "support/TestSupport.h"

namespace pw::import::lit {
namespace {

namespace fs = std::filesystem;
using testing::LitFixtureFile;
using testing::LzxWriter;
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

// A package that lists its components over and over names each of them once: the book is
// what it would be with every component listed a single time.
TEST(LitBook, RepeatedListingsOfAComponentAreReadOnce) {
  auto files = testing::SampleLitFiles();
  std::vector<testing::PackageItem> items;
  for (int round = 0; round < 300; ++round) {
    items.push_back({"one", "one", "text/x-oeb1-document"});
    items.push_back({"pic", "pic", "image/png"});
    items.push_back({"css", "css", "text/x-oeb1-css"});
  }
  items.push_back({"two", "two", "text/x-oeb1-document"});
  files[1].bytes = testing::PackageOf(items);
  LitBook book;
  ASSERT_EQ(ReadLitBook(testing::MakeLit(files), book, common::NoProgress()), LitError::None);
  EXPECT_EQ(book.manifest.size(), 901u);
  EXPECT_EQ(common::CountOccurrences(book.html, "Chapter One"), 1u);
  EXPECT_EQ(common::CountOccurrences(book.html, "Chapter Two"), 1u);
  EXPECT_EQ(common::CountOccurrences(book.html, "<A name=\"LitPart"), 2u);
  EXPECT_EQ(common::CountOccurrences(book.html, ".em { font-style: italic }"), 1u);
  EXPECT_NE(book.html.find("<a href=\"#LitPart2\">the chapter</a>"), std::string::npos) << book.html;
  EXPECT_EQ(book.pictures.size(), 1u);
  EXPECT_EQ(book.styles.size(), 1u);
}

// Many names for the same bytes make a book no larger than its file could honestly hold: the
// text, the pictures and the style sheets together stay within the size bound.
TEST(LitBook, CombinedBookStaysWithinTheSizeBound) {
  constexpr size_t kPage = 100000;
  const std::string fits = testing::MakeLit(testing::OnePageUnderManyNames(100, kPage));
  const std::string past = testing::MakeLit(testing::OnePageUnderManyNames(200, kPage));
  ASSERT_LT(past.size(), size_t{1} << 20);
  ASSERT_EQ(common::BookSizeLimit(past.size()), common::kSmallestBookLimit);
  LitBook book;
  ASSERT_EQ(ReadLitBook(fits, book, common::NoProgress()), LitError::None);
  EXPECT_EQ(common::CountOccurrences(book.html, "The page"), 100u);  // distinct names are distinct parts
  EXPECT_GT(book.html.size(), 100 * kPage);
  EXPECT_EQ(ReadLitBook(past, book, common::NoProgress()), LitError::TooLarge);
  EXPECT_TRUE(book.html.empty());
}

// A style sheet goes beside the book under a name of the reader's choosing whatever the book
// calls it, and the page's links to it, from its head or its text, follow.
TEST(LitBook, StyleSheetsTakeTheReadersNamesAndTheLinksFollow) {
  LitBook book;
  ASSERT_EQ(ReadLitBook(testing::MakeLit(testing::BookNamingTheWorkshopsFiles()), book, common::NoProgress()),
            LitError::None);
  ASSERT_EQ(book.styles.size(), 4u);
  EXPECT_EQ(book.styles[0], (std::pair<std::string, std::string>{"LitStyle1.css", ".a { font-weight: bold }"}));
  EXPECT_EQ(book.styles[1].first, "LitStyle2.css");
  EXPECT_EQ(book.styles[2].first, "LitStyle3.css");
  EXPECT_EQ(book.styles[3].first, "LitStyle4.css");
  EXPECT_NE(book.html.find("<link href=\"LitStyle1.css\" rel=\"stylesheet\">"), std::string::npos) << book.html;
  EXPECT_NE(book.html.find("<a href=\"LitStyle2.css#top\">a link</a>"), std::string::npos) << book.html;
  EXPECT_EQ(book.html.find("Description.fb2"), std::string::npos);
  EXPECT_EQ(book.html.find("cover.jpg"), std::string::npos);
  EXPECT_NE(book.html.find(".d { color: blue }"), std::string::npos);  // the sheets still style the page
}

// Links are rewritten in one pass: to a part's start or the link's own anchor, to a sheet's new
// name with its anchor kept, and left alone when they lead elsewhere or are too long to be a
// component's.
TEST(LitBook, LinksLeadIntoTheCombinedBook) {
  const LinkTargets targets{{"a.html", {"#LitPart1", true}}, {"s.css", {"LitStyle1.css", false}}};
  const std::string longName(101, 'x');
  const std::string html = "<a href=\"a.html\">1</a><a href=\"a.html#n\">2</a><link href=\"s.css\"><a href=\"s.css#q\">3</a>"
                           "<a href=\"b.html\">4</a><a href=\"#own\">5</a><a href=\"" + longName + "\">6</a><a href=\"open";
  EXPECT_EQ(RewriteLinks(html, targets),
            "<a href=\"#LitPart1\">1</a><a href=\"#n\">2</a><link href=\"LitStyle1.css\"><a href=\"LitStyle1.css#q\">3</a>"
            "<a href=\"b.html\">4</a><a href=\"#own\">5</a><a href=\"" + longName + "\">6</a><a href=\"open");
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

// Several section names whose storage is the same packed bytes, each unpacking to most of
// the size bound: the first is unpacked, a repeat of its own name shares it, and the next name
// would pass what all sections together may unpack to.
TEST(LitContainer, AllSectionsTogetherStayWithinTheSizeBound) {
  constexpr uint64_t kInterval = uint64_t{2} << 20;
  constexpr uint64_t kUnpacked = 6 * kInterval;
  LzxWriter writer(15);
  writer.Header();
  writer.Verbatim(std::string(kInterval, 'a'));  // every reset starts the same stream again
  std::vector<LitFixtureFile> files{{"::DataSpace/NameList",
                                     testing::SectionNameList({"Uncompressed", "MSCompressed", "Again", "MSCompressed"})}};
  for (const LitFixtureFile& part : testing::LzxSectionFiles("MSCompressed", writer.bytes(), kUnpacked)) {
    files.push_back(part);
    std::string again = part.name;
    again.replace(again.find("MSCompressed"), 12, "Again");
    files.push_back({again, "", false, part.name});
  }
  files.push_back({"/data/a", std::string(100, 'a'), false, "", 1});
  files.push_back({"/data/b", std::string(100, 'a'), false, "", 2});
  files.push_back({"/data/c", std::string(100, 'a'), false, "", 3});
  const std::string file = testing::MakeLit(files);
  ASSERT_LT(file.size(), size_t{1} << 20);
  ASSERT_GT(2 * kUnpacked, common::BookSizeLimit(file.size()));
  LitContainer container;
  ASSERT_EQ(container.Open(file), LitError::None);
  std::string content;
  ASSERT_EQ(container.Read("/data/a", content), LitError::None);
  EXPECT_EQ(content, std::string(100, 'a'));
  EXPECT_EQ(container.Read("/data/c", content), LitError::None);  // the same name: unpacked once
  EXPECT_EQ(container.Read("/data/b", content), LitError::TooLarge);
  EXPECT_EQ(container.Read("/data/b", content), LitError::TooLarge);  // and so it stays
  EXPECT_EQ(container.Read("/data/a", content), LitError::None);
}

// A section that says it unpacks past the size bound is refused before anything is set aside
// for it, however little it holds.
TEST(LitContainer, SectionDeclaredPastTheSizeBoundIsTooLarge) {
  LzxWriter writer(15);
  writer.Header();
  writer.Stored("a few bytes");
  for (const uint64_t declared : {uint64_t{100} << 20, uint64_t{600} << 20}) {
    std::vector<LitFixtureFile> files = testing::LzxSectionFiles("MSCompressed", writer.bytes(), declared, 1u << 20);
    files.push_back({"/data/a", "a few", false, "", 1});
    const std::string file = testing::MakeLit(files);
    LitContainer container;
    ASSERT_EQ(container.Open(file), LitError::None);
    std::string content;
    EXPECT_EQ(container.Read("/data/a", content), LitError::TooLarge) << declared;
  }
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
