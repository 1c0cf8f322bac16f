#include "shell/SavedBooks.h"

#include <gtest/gtest.h>

#include "support/TestSupport.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

TEST(SavedBooks, OneFolderPerSource) {
  test::ScratchFolder folder;
  const fs::path books = folder / "Books";
  const fs::path a = SavedBookFile(books, (folder / "one" / "Война и мир.txt").string(), "x");
  const fs::path b = SavedBookFile(books, (folder / "two" / "Война и мир.txt").string(), "x");
  EXPECT_EQ(a.filename(), "Война и мир.html0");
  EXPECT_EQ(a.parent_path().parent_path(), books);
  EXPECT_NE(a.parent_path(), b.parent_path());  // two sources of one name do not share a folder
  EXPECT_EQ(a, SavedBookFile(books, (folder / "one" / "Война и мир.txt").string(), "y"));  // stable
  EXPECT_TRUE(a.parent_path().filename().string().starts_with("Война и мир-"));
}

TEST(SavedBooks, ASavedBookIsItsOwnCopyAndABlankBookGetsAStamp) {
  test::ScratchFolder folder;
  const fs::path books = folder / "Books";
  const fs::path kept = SavedBookFile(books, (folder / "walk.txt").string(), "x");
  fs::create_directories(kept.parent_path());
  EXPECT_EQ(SavedBookFile(books, kept.string(), "x"), fs::weakly_canonical(kept));
  EXPECT_EQ(SavedBookFile(books, "", "20261123-061502"),
            books / "NewBook-20261123-061502" / "NewBook-20261123-061502.html0");
}

TEST(SavedBooks, ShortHashIsStableAndTellsApart) {
  EXPECT_EQ(ShortHash("/home/me/book.txt"), ShortHash("/home/me/book.txt"));
  EXPECT_NE(ShortHash("/home/me/book.txt"), ShortHash("/home/you/book.txt"));
  EXPECT_EQ(ShortHash("").size(), 8u);
  EXPECT_EQ(ShortHash(""), "811c9dc5");  // the FNV-1a offset basis: nothing hashed
}

}  // namespace
}  // namespace pw::shell
