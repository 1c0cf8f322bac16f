#include "shell/ContainerInput.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <set>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Utf8.h"
#include "import/HtmlToBook.h"
#include "import/LitTestSupport.h"
#include "markup/BookMarkup.h"
#include "support/TestSupport.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

// The letters of a text in lower case, everything else left out: what must arrive whole.
std::u32string Letters(std::string_view text) {
  std::u32string letters;
  size_t pos = 0;
  while (pos < text.size()) {
    const char32_t c = common::NextCodePoint(text, pos);
    if (u_isalpha(static_cast<UChar32>(c))) letters.push_back(static_cast<char32_t>(u_tolower(static_cast<UChar32>(c))));
  }
  return letters;
}

struct Converted {
  bool ok = false;
  std::string book;
  std::vector<std::string> shown;
  std::vector<std::string> statuses;
};

Converted Convert(const fs::path& input, bool (*convert)(ConvertJob&), const fs::path& folder) {
  common::RecordingProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  ConvertJob job{input, folder / "book.html0", folder, input.filename().string(), session, std::nullopt};
  Converted out;
  out.ok = convert(job);
  common::ReadWholeFile(job.workingDocument, out.book);
  out.shown = sink.shown;
  out.statuses = progress.statuses;
  return out;
}

struct CorpusBook {
  std::string file;
  std::string source;
  common::CodePage sourceCodePage;
  std::string title;
  size_t titles;  // headings the text holds: the chapters, or the story's own title
};

const CorpusBook kBooks[] = {
    {"en_carroll_alice", "txt/en_carroll_alice_ascii_crlf_noheader.txt", common::CodePage::Win1252,
     "en_carroll_alice_ascii_crlf_noheader", 12},
    {"ru_chekhov_vanka", "txt/ru_chekhov_vanka_utf8_oneline_noblank.txt", common::CodePage::Utf8,
     "ru_chekhov_vanka_utf8_oneline_noblank", 1},
};

void ExpectWholeText(const std::string& extension, bool (*convert)(ConvertJob&)) {
  for (const CorpusBook& sample : kBooks) {
    const fs::path input = test::CorpusPath("other/generated/" + sample.file + "." + extension);
    const fs::path source = test::CorpusPath(sample.source);
    if (input.empty() || !fs::exists(input) || !fs::exists(source)) GTEST_SKIP() << "no sample corpus beside the checkout";
    test::ScratchFolder folder;
    const Converted out = Convert(input, convert, folder.path());
    ASSERT_TRUE(out.ok) << sample.file << ::testing::PrintToString(out.shown);
    EXPECT_TRUE(out.shown.empty()) << ::testing::PrintToString(out.shown);
    std::string original;
    ASSERT_TRUE(common::ReadWholeFile(source, original));
    if (sample.sourceCodePage != common::CodePage::Utf8) original = common::DecodeToUtf8(original, sample.sourceCodePage);
    const std::u32string expected = Letters(original);
    const std::u32string got = Letters(import::ExtractTextFromHtml(out.book, common::NoProgress()));
    ASSERT_GT(expected.size(), 1000u);
    EXPECT_NE(got.find(expected), std::u32string::npos)
        << sample.file << ": the book holds " << got.size() << " letters, the source " << expected.size();
    // The headings are found although the container marks them as plain paragraphs.
    size_t titles = 0;
    for (size_t at = out.book.find(markup::kTitleOpen); at != std::string::npos; at = out.book.find(markup::kTitleOpen, at + 1))
      ++titles;
    EXPECT_GE(titles, sample.titles) << sample.file;
    // The container's title heads the book; its placeholder author does not.
    EXPECT_NE(out.book.find(std::string(markup::kBookTitleOpen)), std::string::npos) << sample.file;
    EXPECT_NE(out.book.find(sample.title), std::string::npos) << sample.file;
    EXPECT_EQ(out.book.find(">Unknown<"), std::string::npos) << sample.file;
    // Nothing of the container's scratch stays in the book folder.
    EXPECT_FALSE(fs::exists(folder / extension));
  }
}

TEST(ContainerInput, RbCorpusBooksArriveWhole) { ExpectWholeText("rb", ConvertRbBook); }

TEST(ContainerInput, LitCorpusBooksArriveWhole) { ExpectWholeText("lit", ConvertLitBook); }

TEST(ContainerInput, LitStatusTextsInOrder) {
  const fs::path input = test::CorpusPath("other/generated/ru_chekhov_vanka.lit");
  if (input.empty() || !fs::exists(input)) GTEST_SKIP() << "no sample corpus beside the checkout";
  test::ScratchFolder folder;
  const Converted out = Convert(input, ConvertLitBook, folder.path());
  ASSERT_TRUE(out.ok);
  const std::vector<std::string> expected{"...getting file components...",
                                          "...analyzing file list...wait please",
                                          "...analyzing file structure...wait please...",
                                          "...combining files...",
                                          "...preparing cover picture...",
                                          "...looking for images...",
                                          "...looking for styles..."};
  auto at = out.statuses.begin();
  for (const std::string& status : expected) {
    at = std::find(at, out.statuses.end(), status);
    EXPECT_NE(at, out.statuses.end()) << status;
  }
  // The style sheets are copied beside the book, under the reader's own names.
  EXPECT_TRUE(fs::exists(folder / "LitStyle1.css"));
  EXPECT_FALSE(fs::exists(folder / "stylesheet.css"));
}

TEST(ContainerInput, DamagedContainersGetTheirFormatsMessage) {
  test::ScratchFolder folder;
  struct Case {
    std::string name;
    std::string bytes;
    bool (*convert)(ConvertJob&);
    std::string message;
  };
  const std::vector<Case> cases{
      {"a.rb", std::string("\xB0\x0C\xB0\x0C", 4) + std::string(400, '\x7F'), ConvertRbBook,
       "cannot convert rb-file to Pagewright format: a.rb"},
      {"b.lit", "ITOLITLS" + std::string(300, '\x01'), ConvertLitBook, "cannot convert lit-file to html-file: b.lit"},
  };
  for (const Case& c : cases) {
    ASSERT_TRUE(common::WriteFileAtomic(folder / c.name, c.bytes));
    const Converted out = Convert(folder / c.name, c.convert, folder.path());
    EXPECT_FALSE(out.ok) << c.name;
    EXPECT_EQ(out.shown, std::vector<std::string>{c.message});
    EXPECT_FALSE(fs::exists(folder / "book.html0"));
  }
}

// A lit book whose style sheets are called after the workshop's own files beside a book, and
// whose cover has an extension of its choosing, leaves those files as they were: the sheets
// get the reader's names and the cover a picture's extension.
TEST(ContainerInput, LitBookCannotPlantFilesBesideItself) {
  test::ScratchFolder folder;
  ASSERT_TRUE(common::WriteFileAtomic(folder / "Description.fb2", "the workshop's own"));
  const fs::path input = folder.path() / "source" / "book.lit";
  fs::create_directories(input.parent_path());
  ASSERT_TRUE(common::WriteFileAtomic(input, import::lit::testing::MakeLit(import::lit::testing::BookNamingTheWorkshopsFiles())));
  const fs::path books = folder.path() / "books";
  fs::create_directories(books);
  ASSERT_TRUE(common::WriteFileAtomic(books / "Description.fb2", "the workshop's own"));
  const Converted out = Convert(input, ConvertLitBook, books);
  ASSERT_TRUE(out.ok) << ::testing::PrintToString(out.shown);
  EXPECT_NE(out.book.find("Chapter One"), std::string::npos);
  std::set<std::string> made;
  for (const auto& entry : fs::directory_iterator(books)) made.insert(entry.path().filename().string());
  EXPECT_EQ(made, (std::set<std::string>{"book.html0", "CoverPicture.jpg", "Description.fb2", "LitStyle1.css",
                                         "LitStyle2.css", "LitStyle3.css", "LitStyle4.css"}));
  std::string kept;
  ASSERT_TRUE(common::ReadWholeFile(books / "Description.fb2", kept));
  EXPECT_EQ(kept, "the workshop's own");
  ASSERT_TRUE(common::ReadWholeFile(books / "LitStyle2.css", kept));
  EXPECT_EQ(kept, ".b { font-style: italic }");
  ASSERT_TRUE(common::ReadWholeFile(books / "CoverPicture.jpg", kept));
  EXPECT_EQ(kept, "\x89PNG picture bytes");
  EXPECT_FALSE(fs::exists(folder.path() / "outside.css"));
}

// A lit book that would grow past its size bound, however small its file, is refused with the
// message every reader gives for that, and leaves no book behind.
TEST(ContainerInput, LitBookPastTheSizeBoundIsTooLarge) {
  test::ScratchFolder folder;
  const std::string file = import::lit::testing::MakeLit(import::lit::testing::OnePageUnderManyNames(200, 100000));
  ASSERT_TRUE(common::WriteFileAtomic(folder / "many.lit", file));
  const Converted out = Convert(folder / "many.lit", ConvertLitBook, folder.path());
  EXPECT_FALSE(out.ok);
  EXPECT_EQ(out.shown, std::vector<std::string>{"the book would grow past the size limit of 16 MB; nothing was changed"});
  EXPECT_FALSE(fs::exists(folder / "many.html0"));
  EXPECT_FALSE(fs::exists(folder / "book.html0"));
}

TEST(ContainerInput, BookHeaderGoesAfterTheBodyTagOnce) {
  common::NullProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  std::string document = "<HTML><BODY style=\"x\">\r\n<DIV>text</DIV></BODY></HTML>";
  PlaceBookHeader(document, "A. Writer", "The Title", session);
  const size_t body = document.find("<BODY style=\"x\">");
  const size_t author = document.find(std::string(markup::kBookAuthorOpen));
  const size_t title = document.find(std::string(markup::kBookTitleOpen));
  ASSERT_NE(author, std::string::npos);
  ASSERT_NE(title, std::string::npos);
  EXPECT_LT(body, author);
  EXPECT_LT(author, title);
  EXPECT_LT(title, document.find("<DIV>text"));
  const std::string once = document;
  PlaceBookHeader(document, "Another", "Another", session);  // a book that has them keeps them
  EXPECT_EQ(document, once);
  // Names from a container are text, never markup.
  document = "<HTML><BODY>\r\n<DIV>text</DIV></BODY></HTML>";
  PlaceBookHeader(document, "Tom & <Jerry>", "", session);
  EXPECT_NE(document.find(">Tom &amp; &lt;Jerry&gt;<"), std::string::npos) << document;
  EXPECT_EQ(document.find(std::string(markup::kBookTitleOpen)), std::string::npos);
}

}  // namespace
}  // namespace pw::shell
