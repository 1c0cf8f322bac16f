// `pagewright convert` with FB2 sources: to a stored book and back to a valid FB2.
#include <gtest/gtest.h>

#include <iostream>

#include "common/Files.h"
#include "common/Text.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;

std::string Quote(const fs::path& path) {
  std::string quoted(1, '\'');
  quoted += path.string();
  quoted += '\'';
  return quoted;
}

int Convert(const std::string& arguments, const fs::path& home, std::string& output) {
  return test::RunCommand(test::ProgramPath().string() + " convert -q " + arguments + " --home " + Quote(home), &output);
}

bool Contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

TEST(Fb2ImportCommand, FictionBookToStoredBookAndBack) {
  test::ScratchFolder folder;
  const fs::path source = test::DataPath("fb2/roundtrip/every-element.fb2");
  std::string output;
  ASSERT_EQ(Convert(Quote(source) + " -o " + Quote(folder / "book.html0"), folder / "home", output), 0) << output;
  std::string stored;
  ASSERT_TRUE(common::ReadWholeFile(folder / "book.html0", stored));
  for (const char* part : {"<H2 id=BookTitle align=center>", "<B>The Whole Format</B>", "<SPAN id=title>",
                           "<SPAN id=NoteBlock>", "<SPAN id=verse>", "<fb2_description><description>",
                           "<SPAN id=Fb2Description>", "<!PwPictureData"})
    EXPECT_TRUE(Contains(stored, part)) << part;

  // The same book as a FictionBook again, from the FB2 and from the stored book; ".xml" too.
  ASSERT_TRUE(common::WriteFileAtomic(folder / "book.xml", test::ReadData("fb2/roundtrip/every-element.fb2")));
  for (const fs::path& input : {source, folder / "book.html0", folder / "book.xml"}) {
    const fs::path again = folder / (input.stem().string() + "-" + input.extension().string().substr(1) + ".fb2");
    ASSERT_EQ(Convert("--validate --yes --library " + Quote(input) + " -o " + Quote(again), folder / "home", output), 0)
        << input << "\n" << output;
    std::string fb2;
    ASSERT_TRUE(common::ReadWholeFile(again, fb2));
    EXPECT_TRUE(pw::test::IsValidFb2(fb2)) << again;
    for (const char* part : {"<book-title>The Whole Format</book-title>", "<sequence name=\"Samples\" number=\"3\"/>",
                             "<body name=\"notes\">", "<poem>", "<cite>", "<binary"})
      EXPECT_TRUE(Contains(fb2, part)) << again << ": " << part;
  }
}

TEST(Fb2ImportCommand, NotAFictionBook) {
  test::ScratchFolder folder;
  ASSERT_TRUE(common::WriteFileAtomic(folder / "data.xml", "just words, long enough to be a file"));
  std::string output;
  EXPECT_NE(Convert(Quote(folder / "data.xml") + " -o " + Quote(folder / "data.html0"), folder / "home", output), 0);
  EXPECT_FALSE(fs::exists(folder / "data.html0"));
}

// Every FB2 of the corpus (and the FB2 inside any "other/*.fb2.zip") goes to a stored book and
// from it to FB2 again, which the shipped and the public schema accept.
TEST(Fb2ImportCommand, EveryCorpusBookBecomesAValidFictionBook) {
  const fs::path corpus = test::CorpusPath("");
  if (corpus.empty() || !fs::is_directory(corpus / "fb2")) GTEST_SKIP() << "sample corpus not beside the checkout";
  std::vector<fs::path> sources;
  for (const auto& entry : fs::directory_iterator(corpus / "fb2"))
    if (entry.path().extension() == ".fb2") sources.push_back(entry.path());
  if (fs::is_directory(corpus / "other"))
    for (const auto& entry : fs::directory_iterator(corpus / "other"))
      if (entry.path().filename().string().ends_with(".fb2.zip")) sources.push_back(entry.path());
  test::ScratchFolder folder;
  for (const fs::path& source : sources) {
    const std::string stem = source.filename().string().substr(0, source.filename().string().find('.'));
    const fs::path html0 = folder / (stem + ".html0");
    const fs::path again = folder / (stem + ".again.fb2");
    std::string output;
    EXPECT_EQ(Convert(Quote(source) + " -o " + Quote(html0), folder / "home", output), 0) << source << "\n" << output;
    EXPECT_EQ(Convert("--validate --yes " + Quote(html0) + " -o " + Quote(again), folder / "home", output), 0)
        << source << "\n" << output;
    EXPECT_TRUE(pw::test::IsValidFb2File(again)) << source;
  }
  std::cout << "[corpus] " << sources.size() << " FB2 books converted to html0 and from it to valid FB2\n";
  EXPECT_GT(sources.size(), 0u);
}

}  // namespace
}  // namespace pw::app
