// The one gate for picture files a book names: nothing outside the book's folder tree, nothing
// through a link, nothing that is not a regular picture file.
#include "common/PicturePaths.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::common {
namespace {

namespace fs = std::filesystem;

TEST(PicturePaths, OnlyRegularPicturesInsideTheFolderTreePass) {
  test::ScratchFolder place;
  const fs::path root = place / "book";
  fs::create_directories(root / "images" / "sub");
  fs::create_directories(root / "folder.jpg");
  fs::create_directories(place / "elsewhere");
  ASSERT_TRUE(WriteFileAtomic(root / "images" / "a.jpg", "jpeg"));
  ASSERT_TRUE(WriteFileAtomic(root / "images" / "sub" / "b c.png", "png"));
  ASSERT_TRUE(WriteFileAtomic(root / "notes.txt", "text"));
  ASSERT_TRUE(WriteFileAtomic(root / "empty.png", ""));
  ASSERT_TRUE(WriteFileAtomic(place / "outside.jpg", "outside"));
  ASSERT_TRUE(WriteFileAtomic(place / "elsewhere" / "x.jpg", "linked"));
  fs::create_directory_symlink(place / "elsewhere", root / "link");
  fs::create_symlink(place / "outside.jpg", root / "linked.jpg");
  ASSERT_EQ(::mkfifo((root / "pipe.jpg").c_str(), 0600), 0);

  EXPECT_EQ(PictureInsideFolder(root, "images/a.jpg"), root / "images" / "a.jpg");
  EXPECT_EQ(PictureInsideFolder(root, "images\\sub\\b%20c.png"), root / "images" / "sub" / "b c.png");
  EXPECT_EQ(PictureInsideFolder(root, " ./images/./a.jpg?size=2#top "), root / "images" / "a.jpg");
  EXPECT_EQ(PictureInsideFolder(root, "images/sub/../a.jpg"), root / "images" / "a.jpg");
  const std::string absolute = (place / "outside.jpg").string();
  for (const std::string& refused :
       {std::string("../outside.jpg"), std::string("images/../../outside.jpg"), std::string("%2E%2E/outside.jpg"),
        std::string("..%2Foutside.jpg"), std::string("%2F") + absolute.substr(1), absolute, "file://" + absolute,
        "file:" + absolute, std::string("link/x.jpg"), std::string("linked.jpg"), std::string("pipe.jpg"),
        std::string("folder.jpg"), std::string("notes.txt"), std::string("empty.png"), std::string("missing.jpg"),
        std::string("C:/x.jpg"), std::string("\\\\server\\x.jpg"), std::string("http://example.org/a.jpg"),
        std::string("data:image/png;base64,AAAA"), std::string("a.jpg%00.txt"), std::string("")})
    EXPECT_FALSE(PictureInsideFolder(root, refused)) << refused;
  EXPECT_FALSE(PictureInsideFolder({}, "images/a.jpg"));
}

TEST(PicturePaths, RelativeReferences) {
  EXPECT_TRUE(IsRelativeReference("images/a:b.jpg"));
  EXPECT_TRUE(IsRelativeReference("a.jpg"));
  for (const char* reference : {"/a.jpg", "\\a.jpg", "#frag", "file:a.jpg", "C:a.jpg", "http://x/a.jpg", " "})
    EXPECT_FALSE(IsRelativeReference(reference)) << reference;
  EXPECT_EQ(RelativePicturePath("a/./b/../c.png"), fs::path("a/c.png"));
  EXPECT_TRUE(RelativePicturePath("a/../../c.png").empty());
}

}  // namespace
}  // namespace pw::common
