#include <gtest/gtest.h>

#include "common/Files.h"
#include "markup/StoredBook.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

TEST(ConvertCommand, ATextBookBecomesAStoredBook) {
  test::ScratchFolder folder;
  ASSERT_TRUE(common::WriteFileAtomic(folder / "book.txt",
                                      "CHAPTER I\r\n\r\nIt was a dark night.\r\n\r\nCHAPTER II\r\n\r\nMorning came.\r\n"));
  std::string output;
  ASSERT_EQ(test::RunCommand(test::ProgramPath().string() + " convert -q " + (folder / "book.txt").string() + " -o " +
                                 (folder / "book.html0").string() + " --mode advanced --home " +
                                 (folder / "home").string(),
                             &output),
            0)
      << output;
  std::string bytes;
  ASSERT_TRUE(common::ReadWholeFile(folder / "book.html0", bytes));
  markup::StoredBook book;
  std::string error;
  ASSERT_TRUE(markup::ReadStoredBook(bytes, book, error)) << error;
  EXPECT_NE(book.document.find("<B>CHAPTER I</B>"), std::string::npos);
  EXPECT_NE(book.document.find("<B>CHAPTER II</B>"), std::string::npos);
  EXPECT_NE(book.document.find("&nbsp;&nbsp;&nbsp;&nbsp;Morning came.</DIV>"), std::string::npos);
}

}  // namespace
}  // namespace pw::app
