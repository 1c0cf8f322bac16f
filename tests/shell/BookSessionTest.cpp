#include "shell/BookSession.h"

#include <gtest/gtest.h>

#include "common/Files.h"
#include "markup/BookMarkup.h"
#include "markup/StoredBook.h"
#include "shell/InstanceFile.h"
#include "support/TestSupport.h"

namespace pw::shell {
namespace {

struct Fixture {
  test::ScratchFolder folder;
  common::RecordingSink sink;
  common::Messages messages{sink};
  common::RecordingProgress progress;
  common::Session session{progress, messages};
  WorkshopFolder workshop{folder / "home"};

  Fixture() { PrepareWorkshopFolder(workshop, folder / "no-shipped-data"); }
  fs::path Write(const std::string& name, const std::string& bytes) {
    const fs::path path = folder / name;
    common::WriteFileAtomic(path, bytes);
    return path;
  }
};

TEST(BookSession, InputChecks) {
  Fixture f;
  EXPECT_EQ(CheckInputFile(f.Write("nine.txt", "123456789"), f.messages), InputCheck::Empty);
  EXPECT_EQ(CheckInputFile(f.Write("ten.TXT", "1234567890"), f.messages), InputCheck::Ok);
  EXPECT_EQ(CheckInputFile(f.folder / "missing.txt", f.messages), InputCheck::Missing);
  EXPECT_EQ(CheckInputFile(f.Write("book.xyz", "1234567890"), f.messages), InputCheck::Unsupported);
  EXPECT_EQ(CheckInputFile(f.Write("books.ZIP", "1234567890"), f.messages), InputCheck::Archive);
  EXPECT_EQ(CheckInputFile("http://example.org/book.txt", f.messages), InputCheck::WebAddress);
  ASSERT_EQ(f.sink.shown.size(), 3u);
  EXPECT_EQ(f.sink.shown[0].rfind("Empty file: ", 0), 0u);
  EXPECT_EQ(f.sink.shown[1].rfind("File not found: ", 0), 0u);
  EXPECT_EQ(f.sink.shown[2].rfind("Not supported input file format: ", 0), 0u);
  EXPECT_EQ(CheckInputFile(f.folder / "missing.txt", f.messages, true), InputCheck::Missing);
  EXPECT_EQ(f.sink.shown.size(), 3u);
}

TEST(BookSession, StoredBookOpensTwiceInTwoFoldersAndTheSourceStaysUntouched) {
  Fixture f;
  markup::StoredBook stored;
  stored.document = markup::MakeBlankBook();
  stored.compressed = true;
  stored.pictures = {{"cover.jpg", "JPEG"}};
  const std::string bytes = markup::WriteStoredBook(stored);
  const fs::path source = f.Write("Книга.html0", bytes);

  BookSession session(f.workshop, 7, f.session);
  ASSERT_TRUE(session.PrepareBook(source));
  const fs::path first = session.bookFolder();
  EXPECT_TRUE(common::FileExists(first / "Книга.html0"));
  EXPECT_TRUE(common::FileExists(first / "cover.jpg"));
  ASSERT_TRUE(session.PrepareBook(source));
  EXPECT_NE(session.bookFolder(), first);
  EXPECT_EQ(f.session.settings.recentFiles.front(), fs::absolute(source).string());
  std::string after;
  ASSERT_TRUE(common::ReadWholeFile(source, after));
  EXPECT_EQ(after, bytes);
  EXPECT_EQ(f.progress.statuses.front(), "...preparing book...");
  EXPECT_NE(std::find(f.progress.statuses.begin(), f.progress.statuses.end(), "...loading Pagewright file..."),
            f.progress.statuses.end());
}

TEST(BookSession, FailuresKeepThePreviousBook) {
  Fixture f;
  BookSession session(f.workshop, 1, f.session);
  ASSERT_TRUE(session.MakeEmptyBook());
  const fs::path previous = session.workingDocument();
  // A format without a converter in this build.
  EXPECT_FALSE(session.PrepareBook(f.Write("story.rtf", "{\\rtf1 some text}")));
  EXPECT_EQ(session.workingDocument(), previous);
  ASSERT_FALSE(f.sink.shown.empty());
  EXPECT_EQ(f.sink.shown.back(), "cannot convert to Pagewright format: story.rtf");
  // A damaged stored book.
  EXPECT_FALSE(session.PrepareBook(f.Write("bad.html0", std::string("<!pwfile 1>\x05\x00\x00\x00", 15))));
  EXPECT_EQ(session.workingDocument(), previous);
}

TEST(BookSession, RecentFilesKeepTheirLength) {
  std::vector<std::string> recent(3, "Empty");
  AddRecentFile(recent, "a");
  AddRecentFile(recent, "b");
  AddRecentFile(recent, "a");
  EXPECT_EQ(recent, (std::vector<std::string>{"a", "b", "Empty"}));
}

}  // namespace
}  // namespace pw::shell
