// Palm books opened through the book session: books written by the tests, damaged and
// protected ones, and the sample books of the corpus with their whole text.
#include "shell/PalmInput.h"

#include <Magick++.h>
#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <algorithm>

#include "common/CodePage.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "fb2/Pictures.h"
#include "import/Entities.h"
#include "import/palm/PalmHtmlChain.h"
#include "markup/BookMarkup.h"
#include "shell/BookOutput.h"
#include "shell/BookSession.h"
#include "shell/ShellTestSupport.h"
#include "support/Fb2Validity.h"
#include "support/PalmFixtures.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;
namespace fx = test::palm;
using testing::StateOf;
using testing::Workbench;

struct PalmBench : Workbench {
  BookSession session{workshop, 5, settings, editor, messages, progress};

  std::string Opened(const fs::path& source) {
    std::string document;
    EXPECT_TRUE(session.PrepareBook(source.string())) << ::testing::PrintToString(sink.shown);
    editor.Document(document);
    return document;
  }
};

// A real picture of `format` ("JPEG", "PNG"), small, drawn in memory.
std::string DrawnPicture(const std::string& format) {
  fb2::InitPictureLibrary();
  Magick::Image image(Magick::Geometry(16, 24), Magick::Color("white"));
  image.fillColor("red");
  image.draw(Magick::DrawableRectangle(2, 2, 10, 20));
  image.magick(format);
  Magick::Blob blob;
  image.write(&blob);
  return std::string(static_cast<const char*>(blob.data()), blob.length());
}

// The open book written as FB2, questions answered "yes"; the file's bytes, empty on failure.
std::string WrittenFb2(PalmBench& b) {
  struct YesSink final : common::MessageSink {
    void Show(std::string_view) override {}
    bool Ask(std::string_view, bool) override { return true; }
  } yes;
  common::Messages messages(yes);
  std::string document;
  b.editor.Document(document);
  const fs::path output = b.folder / "book.fb2";
  OutputJob job{document, b.session.bookFolder(), b.session.header(), output, false, "23.11.2026",
                b.settings,  b.progress,             &messages,           nullptr};
  std::string error;
  std::string bytes;
  if (!FindBookWriter("fb2")->write(job, error) || !common::ReadWholeFile(output, bytes)) ADD_FAILURE() << error;
  return bytes;
}

// The text of the first element `name` of an FB2 file.
std::string Fb2Element(std::string_view fb2, std::string_view name) {
  const std::string open = "<" + std::string(name) + ">";
  const size_t at = fb2.find(open);
  if (at == std::string_view::npos) return {};
  const size_t end = fb2.find("</" + std::string(name) + ">", at);
  return std::string(fb2.substr(at + open.size(), end - at - open.size()));
}

// What a reader of the book sees, as one line: tags gone, entities decoded.
std::string VisibleText(std::string_view html) {
  return import::ReplaceHtmlEntitiesUtf8(common::ReplaceAll(markup::OneLineText(html), "&nbsp;", " "));
}

std::u32string Letters(std::string_view text) {
  std::u32string letters;
  for (size_t pos = 0; pos < text.size();) {
    const char32_t c = common::NextCodePoint(text, pos);
    if (u_isalpha(static_cast<UChar32>(c))) letters += c;
  }
  return letters;
}

// Every letter of `source`, in order, is in `book`; on a failure, says where the source and
// the book part.
::testing::AssertionResult LettersArrive(std::string_view source, std::string_view book) {
  const std::u32string want = Letters(source);
  const std::u32string have = Letters(book);
  size_t j = 0;
  for (size_t i = 0; i < have.size() && j < want.size(); ++i)
    if (have[i] == want[j]) ++j;
  if (j == want.size()) return ::testing::AssertionSuccess();
  std::string missing;
  for (size_t k = j; k < std::min(want.size(), j + 40); ++k) common::AppendUtf8(missing, want[k]);
  return ::testing::AssertionFailure() << "letter " << j << " of " << want.size() << " lost, from: " << missing;
}

// The texts of the book's titles, or of its subtitles with `open` "<SPAN id=subtitle>".
std::vector<std::string> Titles(std::string_view document, std::string_view open = "<SPAN id=title>") {
  std::vector<std::string> titles;
  for (size_t at = document.find(open); at != std::string_view::npos; at = document.find(open, at + 1)) {
    const size_t end = document.find("</SPAN>", at);
    titles.push_back(std::string(common::Trim(VisibleText(document.substr(at, end - at)))));
  }
  return titles;
}

std::string Heading(std::string_view document, std::string_view open) {
  const size_t at = document.find(open);
  if (at == std::string_view::npos) return {};
  const size_t end = document.find("</H2>", at);
  return std::string(common::Trim(VisibleText(document.substr(at, end - at))));
}

const std::string kMobiHtml =
    "<html><head><guide><reference type=\"toc\" filepos=0000000099 /></guide></head><body>"
    "<h1>Chapter One</h1><p>It was a d\xC3\xA9j\xC3\xA0 vu, the <b>first</b> time.</p><p><img recindex=\"00002\" /></p>"
    "<mbp:pagebreak/><h1>Chapter Two</h1><p>And the \xD0\xBA\xD0\xBE\xD0\xBD\xD0\xB5\xD1\x86.</p></body></html>";

TEST(PalmInput, RegisteredForItsExtensions) {
  for (std::string_view extension : {"prc", "pdb", "mobi", "azw"}) {
    const BookConverter* converter = BuiltInConverters().Find(extension);
    ASSERT_NE(converter, nullptr) << extension;
    EXPECT_EQ(converter->name, "Palm book");
    EXPECT_EQ(ConversionStatus(extension), "...converting Palm file to html...");
  }
  EXPECT_NE(kOpenDialogFilter.find("*.prc;*.mobi;*.azw;*.pdb"), std::string_view::npos);
}

TEST(PalmInput, AnHtmlBookRunsThePalmChainAndKeepsItsPictures) {
  PalmBench b;
  fx::MobiSpec spec;
  spec.text = kMobiHtml;
  spec.trailers = true;
  spec.authors = {"Jane Writer"};
  spec.updatedTitle = "A Book & Its Title";
  spec.pictures = {DrawnPicture("JPEG"), DrawnPicture("PNG")};
  spec.cover = 0;
  const fs::path source = b.Write("book.azw", fx::MobiBook(spec));
  const auto before = StateOf(source);
  const std::string document = b.Opened(source);
  EXPECT_EQ(StateOf(source), before);

  EXPECT_EQ(Titles(document), (std::vector<std::string>{"Chapter One", "Chapter Two"}));
  EXPECT_EQ(Heading(document, markup::kBookAuthorOpen), "Jane Writer");
  EXPECT_EQ(Heading(document, markup::kBookTitleOpen), "A Book & Its Title");
  EXPECT_NE(document.find("It was a d\xC3\xA9j\xC3\xA0 vu, the <B>first</B> time."), std::string::npos) << document;
  EXPECT_NE(document.find("\xD0\xBA\xD0\xBE\xD0\xBD\xD0\xB5\xD1\x86"), std::string::npos);
  EXPECT_NE(document.find("picture0002.png"), std::string::npos);
  EXPECT_TRUE(fs::exists(b.session.bookFolder() / "picture0002.png"));
  EXPECT_TRUE(fs::exists(b.session.bookFolder() / "cover.jpg"));
  for (const std::string_view gone : {"filepos=", "mbp:", "<guide", "TAIL"}) EXPECT_EQ(document.find(gone), std::string::npos);

  // The description of the FB2 made of it: the container's author and title, its cover.
  const std::string fb2 = WrittenFb2(b);
  EXPECT_TRUE(test::IsValidFb2(fb2));
  EXPECT_EQ(Fb2Element(fb2, "first-name"), "Jane");
  EXPECT_EQ(Fb2Element(fb2, "last-name"), "Writer");
  EXPECT_EQ(Fb2Element(fb2, "book-title"), "A Book &amp; Its Title");
  EXPECT_NE(fb2.find("<coverpage><image l:href=\"#cover.jpg\"/></coverpage>"), std::string::npos) << fb2.substr(0, 1200);

  // The status texts: the unpacking, then the chain's steps in their order.
  const auto& statuses = b.progress.statuses;
  auto at = std::find(statuses.begin(), statuses.end(), "...unpacking file...");
  ASSERT_NE(at, statuses.end());
  for (const std::string_view step : import::palm::kPalmChainSteps) {
    at = std::find(at, statuses.end(), step);
    ASSERT_NE(at, statuses.end()) << step;
  }
}

TEST(PalmInput, APlainTextBookGoesToTheTextConverter) {
  PalmBench b;
  const std::string text =
      "Chapter 1\r\n\r\n     It was a dark and stormy night; the rain fell in torrents.\r\n"
      "     Except at occasional intervals, when it was checked.\r\n\r\n"
      "Chapter 2\r\n\r\n     The second chapter begins here.\r\n";
  const std::string document = b.Opened(b.Write("plain.pdb", fx::PalmDocBook(text, true, {"bookmark record"})));
  EXPECT_EQ(Titles(document), (std::vector<std::string>{"Chapter 1", "Chapter 2"}));
  EXPECT_TRUE(LettersArrive(text, VisibleText(document)));
  EXPECT_EQ(document.find("bookmark record"), std::string::npos);
}

TEST(PalmInput, DamagedAndProtectedBooksAreRefusedWithTheirMessage) {
  PalmBench b;
  b.Opened(b.Write("first.pdb", fx::PalmDocBook("The previous book.\r\n", false)));
  const fs::path previous = b.session.workingDocument();

  fx::MobiSpec spec;
  spec.text = kMobiHtml;
  spec.encryption = 2;
  b.sink.shown.clear();
  EXPECT_FALSE(b.session.PrepareBook(b.Write("locked.mobi", fx::MobiBook(spec)).string()));
  ASSERT_FALSE(b.sink.shown.empty());
  EXPECT_TRUE(b.sink.shown[0].starts_with("cannot unpack Palm-file: the book is protected by DRM")) << b.sink.shown[0];
  EXPECT_NE(b.sink.shown[0].find("locked.mobi"), std::string::npos);

  b.messages.SetLanguage(common::Language::Russian);
  for (const std::string& broken : {std::string("not a palm book at all, just words"),
                                    fx::PalmDocBook("Text", true).substr(0, 100),
                                    fx::Database("TEXt", "REAd", {std::string("\0\x02\0\0\0\0\0\x10\0\x01", 10), "\x80\x80"})}) {
    b.sink.shown.clear();
    EXPECT_FALSE(b.session.PrepareBook(b.Write("broken.prc", broken).string()));
    ASSERT_FALSE(b.sink.shown.empty());
    EXPECT_EQ(b.sink.shown[0], "невозможно распаковать Palm-файл: broken.prc");
  }
  EXPECT_EQ(b.session.workingDocument(), previous);
  EXPECT_TRUE(fs::exists(previous));
}

// The corpus: the generated books hold the same text as their sources.
struct GeneratedSample {
  std::string_view book;
  std::string_view source;
  common::CodePage sourceCodePage;
  size_t titles;  // at least
};

TEST(PalmInput, GeneratedSamplesKeepEveryLetter) {
  const GeneratedSample samples[] = {
      {"other/generated/en_carroll_alice_palmdoc.pdb", "txt/en_carroll_alice_ascii_crlf_noheader.txt",
       common::CodePage::Win1252, 11},
      {"other/generated/en_carroll_alice_ereader.pdb", "txt/en_carroll_alice_ascii_crlf_noheader.txt",
       common::CodePage::Win1252, 11},
      {"other/generated/ru_chekhov_vanka_palmdoc.pdb", "txt/ru_chekhov_vanka_utf8_oneline_noblank.txt",
       common::CodePage::Utf8, 0},
  };
  for (const auto& sample : samples) {
    SCOPED_TRACE(std::string(sample.book));
    const fs::path path = test::CorpusPath(sample.book);
    if (path.empty() || !fs::exists(path)) GTEST_SKIP() << "corpus not present";
    std::string source;
    ASSERT_TRUE(common::ReadWholeFile(test::CorpusPath(sample.source), source));
    if (sample.sourceCodePage != common::CodePage::Utf8) source = common::DecodeToUtf8(source, sample.sourceCodePage);
    PalmBench b;
    const std::string document = b.Opened(path);
    EXPECT_TRUE(LettersArrive(source, VisibleText(document)));
    const auto titles = Titles(document);
    EXPECT_GE(titles.size(), sample.titles) << ::testing::PrintToString(titles);
    std::printf("%-52s %7zu letters of %7zu arrive, %2zu titles\n", std::string(sample.book).c_str(),
                Letters(VisibleText(document)).size(), Letters(source).size(), titles.size());
  }
}

TEST(PalmInput, TheRussianEReaderSampleHoldsQuestionMarksForItsLetters) {
  // The generator wrote this book in Windows-1252, where Cyrillic has no place: each Cyrillic
  // letter of the source became "?". What the file holds must arrive whole all the same.
  const fs::path path = test::CorpusPath("other/generated/ru_chekhov_vanka_ereader.pdb");
  if (path.empty() || !fs::exists(path)) GTEST_SKIP() << "corpus not present";
  std::string source;
  ASSERT_TRUE(common::ReadWholeFile(test::CorpusPath("txt/ru_chekhov_vanka_utf8_oneline_noblank.txt"), source));
  size_t cyrillic = 0;
  for (size_t pos = 0; pos < source.size();) {
    const char32_t c = common::NextCodePoint(source, pos);
    if (c >= 0x400 && c <= 0x4FF) ++cyrillic;
  }
  PalmBench b;
  const std::string text = VisibleText(b.Opened(path));
  EXPECT_GE(common::CountOccurrences(text, "?"), cyrillic);
  EXPECT_NE(text.find("\xE2\x80\xA6"), std::string::npos);  // the ellipsis written as a character code
}

// The Mobipocket samples: the HUFF/CDIC book holds the same text as the uncompressed one.
TEST(PalmInput, MobipocketSamplesOpenWithAuthorTitleAndPictures) {
  const char* names[] = {"other/en_libmobi_sample_mobi_uncompressed_utf8.mobi",
                         "other/en_libmobi_sample_mobi_huffcdic_utf8.mobi",
                         "other/en_libmobi_sample_mobi_palmdoc_cp1252.mobi"};
  std::vector<std::string> texts;
  for (const char* name : names) {
    SCOPED_TRACE(name);
    const fs::path path = test::CorpusPath(name);
    if (path.empty() || !fs::exists(path)) GTEST_SKIP() << "corpus not present";
    std::string file;
    ASSERT_TRUE(common::ReadWholeFile(path, file));
    // The author as the file's EXTH record 100 spells it, found by a plain search here.
    const size_t exth = file.find("EXTH");
    const size_t record = file.find(std::string("\0\0\0\x64", 4), exth);
    ASSERT_NE(record, std::string::npos);
    const size_t length = static_cast<unsigned char>(file[record + 7]) - 8;
    const std::string author = file.substr(record + 8, length);

    PalmBench b;
    const std::string document = b.Opened(path);
    EXPECT_EQ(Heading(document, markup::kBookAuthorOpen), author);
    EXPECT_FALSE(Heading(document, markup::kBookTitleOpen).empty());
    // The sample's one heading below its top one, the top one being the book's title.
    EXPECT_EQ(Titles(document).size() + Titles(document, "<SPAN id=subtitle>").size(), 1u);
    EXPECT_NE(document.find("<IMG"), std::string::npos);
    EXPECT_FALSE(fs::is_empty(b.session.bookFolder()));
    for (const std::string_view gone : {"filepos=", "mbp:", "recindex", "\xEF\xBF\xBD"})
      EXPECT_EQ(document.find(gone), std::string::npos) << gone;
    const std::string text = VisibleText(document);
    std::printf("%-52s %7zu letters, %zu titles, %zu subtitles, author and title headings\n", name,
                Letters(text).size(), Titles(document).size(), Titles(document, "<SPAN id=subtitle>").size());
    const std::string fb2 = WrittenFb2(b);
    EXPECT_TRUE(test::IsValidFb2(fb2));
    const std::string writtenAuthor = Fb2Element(fb2, "first-name") + " " + Fb2Element(fb2, "last-name");
    EXPECT_EQ(writtenAuthor, author);
    EXPECT_NE(fb2.find("<coverpage>"), std::string::npos);
    texts.push_back(text);
  }
  ASSERT_EQ(texts.size(), 3u);
  EXPECT_EQ(Letters(texts[1]), Letters(texts[0]));
}

TEST(PalmInput, OtherPalmSamplesOpen) {
  for (const char* name : {"other/en_libmobi_sample_palmdoc_uncompressed.pdb", "other/en_phppdb_bookmark_test_palmdoc.pdb"}) {
    SCOPED_TRACE(name);
    const fs::path path = test::CorpusPath(name);
    if (path.empty() || !fs::exists(path)) GTEST_SKIP() << "corpus not present";
    PalmBench b;
    const std::string document = b.Opened(path);
    EXPECT_GT(Letters(VisibleText(document)).size(), 100u);
    for (const std::string_view gone : {"filepos=", "dc-metadata", "<GUIDE", "<EmbeddedCover"})
      EXPECT_EQ(document.find(gone), std::string::npos) << gone;
  }
}

}  // namespace
}  // namespace pw::shell
