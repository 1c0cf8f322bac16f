#include <gtest/gtest.h>

#include "common/Files.h"
#include "markup/BookMarkup.h"
#include "markup/StoredBook.h"
#include "shell/ZipFixture.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;

std::string Program() { return test::ProgramPath().string(); }

TEST(ConvertCommand, AnArchiveWithSeveralBooksNeedsItsEntry) {
  test::ScratchFolder folder;
  const std::string home = " --home " + (folder / "home").string();
  const fs::path zip = folder / "pack.zip";
  ASSERT_TRUE(common::WriteFileAtomic(zip, shell::testing::MakeZip({{"one.txt", "The first book of the pack."},
                                                                      {"two.txt", "The second book of the pack."}})));
  const std::string out = (folder / "book.html0").string();
  std::string output;
  EXPECT_NE(test::RunCommand(Program() + " convert -q " + zip.string() + " -o " + out + home, &output), 0);
  EXPECT_NE(output.find("the archive holds several books, choose one of them:\none.txt\ntwo.txt"), std::string::npos)
      << output;
  EXPECT_FALSE(fs::exists(out));
  ASSERT_EQ(test::RunCommand(Program() + " convert -q --entry two.txt " + zip.string() + " -o " + out + home, &output), 0)
      << output;
  std::string book;
  ASSERT_TRUE(common::ReadWholeFile(out, book));
  EXPECT_NE(book.find("The second book of the pack."), std::string::npos);
}

TEST(ConvertCommand, StoredBookAndBack) {
  test::ScratchFolder folder;
  const std::string home = " --home " + (folder / "home").string();
  const std::string source = test::DataPath("markup/sample_book.html0").string();
  std::string output;
  ASSERT_EQ(test::RunCommand(Program() + " convert -q " + source + " -o " + (folder / "c.html0").string() +
                                 " --compress" + home,
                             &output),
            0)
      << output;
  std::string bytes;
  ASSERT_TRUE(common::ReadWholeFile(folder / "c.html0", bytes));
  EXPECT_EQ(bytes.rfind("<!pwfile 1", 0), 0u);
  ASSERT_EQ(test::RunCommand(Program() + " convert -q " + (folder / "c.html0").string() + " -o " +
                                 (folder / "back.html0").string() + home,
                             &output),
            0)
      << output;
  markup::StoredBook back;
  std::string error;
  ASSERT_TRUE(common::ReadWholeFile(folder / "back.html0", bytes));
  ASSERT_TRUE(markup::ReadStoredBook(bytes, back, error)) << error;
  EXPECT_FALSE(back.compressed);
  EXPECT_NE(back.document.find("<SPAN id=title>"), std::string::npos);
  ASSERT_EQ(test::RunCommand(Program() + " convert -q --to html " + (folder / "c.html0").string() + " -o " +
                                 (folder / "plain.html").string() + home,
                             &output),
            0)
      << output;
  ASSERT_TRUE(common::ReadWholeFile(folder / "plain.html", bytes));
  EXPECT_EQ(bytes.find("<FONT"), std::string::npos);
}

TEST(ConvertCommand, FailuresExitNonZeroWithTheMessage) {
  test::ScratchFolder folder;
  const std::string home = " --home " + (folder / "home").string();
  std::string output;
  EXPECT_EQ(test::RunCommand(Program() + " convert " + (folder / "none.html0").string() + " -o " +
                                 (folder / "x.html0").string() + home,
                             &output),
            1);
  EXPECT_NE(output.find("File not found: "), std::string::npos) << output;
  ASSERT_TRUE(common::WriteFileAtomic(folder / "tiny.html0", "<HTML>"));
  EXPECT_EQ(test::RunCommand(Program() + " convert " + (folder / "tiny.html0").string() + " -o " +
                                 (folder / "x.html0").string() + home,
                             &output),
            1);
  EXPECT_NE(output.find("Empty file: "), std::string::npos) << output;
  EXPECT_EQ(test::RunCommand(Program() + " convert --to nonsense a.html0" + home, &output), 2);
}

TEST(ConvertCommand, ManyBooksInParallel) {
  test::ScratchFolder folder;
  constexpr int kBooks = 200;
  std::string inputs;
  for (int i = 0; i < kBooks; ++i) {
    markup::StoredBook book;
    book.document = "<HTML><BODY><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Book number " + std::to_string(i) +
                    "</DIV></BODY></HTML>";
    book.compressed = i % 2 == 0;
    const std::string number = std::to_string(i);
    const auto set = folder / std::string("set").append(number);
    ASSERT_TRUE(common::MakeFolderIfMissing(set));
    const auto unique = set / std::string("b").append(number).append(".html0");
    ASSERT_TRUE(common::WriteFileAtomic(unique, markup::WriteStoredBook(book)));
    inputs += ' ';
    inputs += unique.string();
  }
  std::string output;
  ASSERT_EQ(test::RunCommand(Program() + " convert -q --jobs 2 --to html0 -o " + (folder / "out").string() + inputs +
                                 " --home " + (folder / "home").string(),
                             &output),
            0)
      << output;
  for (int i = 0; i < kBooks; ++i) {
    std::string bytes;
    ASSERT_TRUE(common::ReadWholeFile(folder / "out" / std::string("b").append(std::to_string(i)).append(".html0"), bytes))
        << i;
    markup::StoredBook book;
    std::string error;
    ASSERT_TRUE(markup::ReadStoredBook(bytes, book, error));
    EXPECT_NE(book.document.find("Book number " + std::to_string(i) + "</DIV>"), std::string::npos) << i;
  }
  // Nothing of the jobs is left in the scratch area.
  size_t left = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder / "home" / "Temp")) left += entry.is_regular_file();
  EXPECT_EQ(left, 0u);
}

}  // namespace
}  // namespace pw::app
