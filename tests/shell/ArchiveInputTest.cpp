#include "shell/ArchiveInput.h"

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "common/CodePage.h"
#include "common/Files.h"
#include "shell/ZipFixture.h"
#include "support/TestSupport.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;
using testing::MakeZip;
using testing::ZipMember;

// A deflated zip written by the library, for members too large to write by hand.
void WriteDeflatedZip(const fs::path& path, const std::vector<std::pair<std::string, std::string>>& entries) {
  archive* zip = archive_write_new();
  archive_write_set_format_zip(zip);
  ASSERT_EQ(archive_write_open_filename(zip, path.c_str()), ARCHIVE_OK);
  for (const auto& [name, bytes] : entries) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, name.c_str());
    archive_entry_set_size(entry, static_cast<la_int64_t>(bytes.size()));
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_perm(entry, 0644);
    archive_write_header(zip, entry);
    archive_write_data(zip, bytes.data(), bytes.size());
    archive_entry_free(entry);
  }
  archive_write_close(zip);
  archive_write_free(zip);
}

struct Unpacked {
  bool ok = false;
  fs::path book;
  std::vector<std::string> shown;
  std::string Shown() const { return ::testing::PrintToString(shown); }
};

Unpacked Unpack(const fs::path& archive, const fs::path& folder, const std::string& entry = {},
                const ArchiveLimits& limits = {}) {
  common::NullProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  Unpacked out;
  out.ok = UnpackArchive(archive, folder, entry, out.book, session, limits);
  out.shown = sink.shown;
  return out;
}

std::vector<std::string> Names(const fs::path& archive) {
  std::vector<ArchiveMember> members;
  EXPECT_EQ(ListArchive(archive, members), ArchiveError::None);
  std::vector<std::string> names;
  for (const ArchiveMember& member : members) names.push_back(member.name);
  return names;
}

TEST(ArchiveInput, SeveralBooksAskWhichOneAndTheChosenOneComesWithItsPictures) {
  test::ScratchFolder folder;
  ASSERT_TRUE(common::WriteFileAtomic(
      folder / "pack.zip", MakeZip({{"readme.txt", "read me first, please"},
                                    {"novel/Book.FB2", "<FictionBook>a book</FictionBook>"},
                                    {"novel/cover.png", "png bytes"},
                                    {"__MACOSX/novel/._Book.FB2", "resource fork"},
                                    {"novel/", ""}})));
  EXPECT_EQ(Names(folder / "pack.zip"),
            (std::vector<std::string>{"readme.txt", "novel/Book.FB2", "novel/cover.png"}));

  auto out = Unpack(folder / "pack.zip", folder / "in");
  EXPECT_FALSE(out.ok);
  ASSERT_EQ(out.shown.size(), 1u) << out.Shown();
  EXPECT_EQ(out.shown[0], "the archive holds several books, choose one of them:\nreadme.txt\nnovel/Book.FB2");
  EXPECT_FALSE(fs::exists(folder / "in" / "readme.txt"));

  out = Unpack(folder / "pack.zip", folder / "in", "Book.FB2");  // the file name alone is enough
  ASSERT_TRUE(out.ok) << out.Shown();
  EXPECT_EQ(out.book, folder / "in" / "novel" / "Book.FB2");
  EXPECT_TRUE(fs::exists(folder / "in" / "novel" / "cover.png"));
  EXPECT_FALSE(fs::exists(folder / "in" / "readme.txt"));  // the other book stays packed
  EXPECT_FALSE(fs::exists(folder / "in" / "__MACOSX"));

  out = Unpack(folder / "pack.zip", folder / "in2", "novel/missing.fb2");
  EXPECT_FALSE(out.ok);
  EXPECT_EQ(out.shown, (std::vector<std::string>{"the archive holds no file named novel/missing.fb2"}));
}

TEST(ArchiveInput, TheOnlyBookOpensWithoutAsking) {
  test::ScratchFolder folder;
  ASSERT_TRUE(common::WriteFileAtomic(folder / "one.zip", MakeZip({{"pictures/a.png", "png"},
                                                                     {"book/Story.HTML", "<p>story</p>"},
                                                                     {"book/._Story.HTML", "clutter"},
                                                                     {".DS_Store", "clutter"}})));
  const auto out = Unpack(folder / "one.zip", folder / "in");
  ASSERT_TRUE(out.ok) << out.Shown();
  EXPECT_EQ(out.book, folder / "in" / "book" / "Story.HTML");
  EXPECT_TRUE(fs::exists(folder / "in" / "pictures" / "a.png"));
  EXPECT_TRUE(out.shown.empty()) << out.Shown();

  ASSERT_TRUE(common::WriteFileAtomic(folder / "none.zip", MakeZip({{"a.png", "png"}})));
  const auto none = Unpack(folder / "none.zip", folder / "in3");
  EXPECT_FALSE(none.ok);
  EXPECT_EQ(none.shown, (std::vector<std::string>{"Not supported input file format: none.zip"}));
}

TEST(ArchiveInput, NamesInUtf8AndInTheDosCodePage) {
  test::ScratchFolder folder;
  const std::string dosName = common::EncodeFromUtf8("Повесть.txt", common::CodePage::Cp866);
  ASSERT_TRUE(common::WriteFileAtomic(folder / "names.zip",
                                      MakeZip({{"Книга/Глава.txt", "первая книга", true},
                                               {dosName, "вторая книга", false}})));
  EXPECT_EQ(Names(folder / "names.zip"), (std::vector<std::string>{"Книга/Глава.txt", "Повесть.txt"}));
  const auto out = Unpack(folder / "names.zip", folder / "in", "Повесть.txt");
  ASSERT_TRUE(out.ok) << out.Shown();
  EXPECT_EQ(out.book, folder / "in" / "Повесть.txt");
  std::string text;
  ASSERT_TRUE(common::ReadWholeFile(out.book, text));
  EXPECT_EQ(text, "вторая книга");
}

TEST(ArchiveInput, HostileMembersAreRefusedWithTheirReason) {
  test::ScratchFolder folder;
  ASSERT_TRUE(common::WriteFileAtomic(
      folder / "hostile.zip",
      MakeZip({{"../escape.txt", "climbs out of the folder"},
               {"/etc/abs.txt", "an absolute path"},
               {"C:\\windows\\win.txt", "a drive path"},
               {"deep/../../up.png", "climbs out after a detour"},
               {"inside/../fine.png", "stays inside"},
               {"link.txt", "/etc/passwd", false, 0120777},
               {"good.txt", "a good book of some length"}})));
  std::vector<ArchiveMember> members;
  ASSERT_EQ(ListArchive(folder / "hostile.zip", members), ArchiveError::None);
  std::vector<MemberRefusal> refusals;
  for (const ArchiveMember& member : members) refusals.push_back(member.refusal);
  EXPECT_EQ(refusals, (std::vector<MemberRefusal>{MemberRefusal::Outside, MemberRefusal::Absolute,
                                                   MemberRefusal::Absolute, MemberRefusal::Outside,
                                                   MemberRefusal::None, MemberRefusal::Link, MemberRefusal::None}));

  const std::vector<std::pair<std::string, std::string>> chosen{
      {"../escape.txt", "archive member refused, its path leads out of the folder: ../escape.txt"},
      {"/etc/abs.txt", "archive member refused, its path is absolute: /etc/abs.txt"},
      {"C:/windows/win.txt", "archive member refused, its path is absolute: C:/windows/win.txt"},
      {"link.txt", "archive member refused, it is a link or a device: link.txt"}};
  for (const auto& [entry, message] : chosen) {
    const auto out = Unpack(folder / "hostile.zip", folder / "in", entry);
    EXPECT_FALSE(out.ok) << entry;
    EXPECT_EQ(out.shown, std::vector<std::string>{message}) << entry;
  }
  const auto out = Unpack(folder / "hostile.zip", folder / "in", "good.txt");
  ASSERT_TRUE(out.ok) << out.Shown();
  EXPECT_EQ(out.shown, (std::vector<std::string>{
                           "archive member refused, its path leads out of the folder: deep/../../up.png"}));
  EXPECT_TRUE(fs::exists(folder / "in" / "fine.png"));
  EXPECT_FALSE(fs::exists(folder / "escape.txt"));
  EXPECT_FALSE(fs::exists(folder / "up.png"));
  EXPECT_FALSE(fs::exists(folder / "in" / "link.txt"));
  EXPECT_FALSE(fs::exists(folder / "in" / "etc"));
}

TEST(ArchiveInput, AnArchiveOverTheMemberLimitSaysSo) {
  test::ScratchFolder folder;
  std::vector<ZipMember> members;
  for (int i = 0; i < 30; ++i) members.push_back({"p" + std::to_string(i) + ".png", "png"});
  members.push_back({"book.txt", "a book of words"});
  ASSERT_TRUE(common::WriteFileAtomic(folder / "crowd.zip", MakeZip(members)));
  ArchiveLimits limits;
  limits.members = 20;
  const auto out = Unpack(folder / "crowd.zip", folder / "in", "", limits);
  EXPECT_FALSE(out.ok);
  EXPECT_EQ(out.shown, (std::vector<std::string>{"archive refused, it holds more than 20 members"}));
  limits.members = 40;
  EXPECT_TRUE(Unpack(folder / "crowd.zip", folder / "in2", "", limits).ok);
}

TEST(ArchiveInput, MembersBeyondTheSizeBoundAreRefused) {
  test::ScratchFolder folder;
  const std::string zeros(3 << 20, '\0');
  WriteDeflatedZip(folder / "bomb.zip", {{"bomb.txt", zeros}, {"small.txt", "a small book"}});
  std::error_code ec;
  EXPECT_LT(fs::file_size(folder / "bomb.zip", ec), 100000u);  // it is small packed
  ArchiveLimits limits;
  limits.memberBytes = 1 << 20;
  auto out = Unpack(folder / "bomb.zip", folder / "in", "bomb.txt", limits);
  EXPECT_FALSE(out.ok);
  EXPECT_EQ(out.shown, (std::vector<std::string>{"archive member refused, it unpacks beyond the size bound: bomb.txt"}));
  EXPECT_FALSE(fs::exists(folder / "in" / "bomb.txt"));

  // Members whose sizes pass one by one still meet the bound of the whole: the one that
  // crosses it is removed again.
  WriteDeflatedZip(folder / "many.zip", {{"a.png", std::string(700000, 'a')}, {"book.txt", std::string(700000, 'b')}});
  limits.memberBytes = 1 << 20;
  limits.totalBytes = 1 << 20;
  out = Unpack(folder / "many.zip", folder / "in2", "", limits);
  EXPECT_FALSE(out.ok);
  EXPECT_EQ(out.shown, (std::vector<std::string>{"archive member refused, it unpacks beyond the size bound: book.txt"}));
  EXPECT_FALSE(fs::exists(folder / "in2" / "book.txt"));
}

TEST(ArchiveInput, DamagedArchivesGetTheirMessages) {
  test::ScratchFolder folder;
  auto out = Unpack(folder / "missing.zip", folder / "in");
  EXPECT_FALSE(out.ok);
  EXPECT_EQ(out.shown, (std::vector<std::string>{"Cannot open missing.zip"}));

  ASSERT_TRUE(common::WriteFileAtomic(folder / "text.rar", "this is plain text, not an archive of any kind"));
  out = Unpack(folder / "text.rar", folder / "in");
  EXPECT_EQ(out.shown, (std::vector<std::string>{"text.rar is not RAR archive"}));
  ASSERT_TRUE(common::WriteFileAtomic(folder / "text.zip", "this is plain text, not an archive of any kind"));
  out = Unpack(folder / "text.zip", folder / "in");
  EXPECT_EQ(out.shown, (std::vector<std::string>{"Unknown archive format: text.zip"}));

  ASSERT_TRUE(common::WriteFileAtomic(folder / "crc.zip", MakeZip({{"book.txt", "the text of a book", false,
                                                                     0100644, true}})));
  out = Unpack(folder / "crc.zip", folder / "in");
  EXPECT_FALSE(out.ok);
  EXPECT_EQ(out.shown, (std::vector<std::string>{"CRC error: crc.zip"}));

  // Cut anywhere, an archive is refused with one of the archive texts and nothing is left half
  // written.
  const std::string whole = MakeZip({{"a.png", std::string(3000, 'p')}, {"book.txt", std::string(5000, 't')}});
  for (size_t cut = 10; cut < whole.size(); cut += 97) {
    ASSERT_TRUE(common::WriteFileAtomic(folder / "cut.zip", whole.substr(0, cut)));
    const fs::path into = folder / ("cut" + std::to_string(cut));
    out = Unpack(folder / "cut.zip", into);
    if (out.ok) {
      std::string text;
      ASSERT_TRUE(common::ReadWholeFile(out.book, text));
      EXPECT_EQ(text, std::string(5000, 't')) << cut;
    } else {
      ASSERT_EQ(out.shown.size(), 1u) << cut;
    }
  }
}

TEST(ArchiveInput, Rar5Archives) {
  test::ScratchFolder folder;
  ASSERT_TRUE(common::WriteFileAtomic(folder / "books.rar", testing::MakeRar5({{"one.txt", "the first book text"},
                                                                               {"Книга.txt", "вторая книга"}})));
  EXPECT_EQ(Names(folder / "books.rar"), (std::vector<std::string>{"one.txt", "Книга.txt"}));
  const auto out = Unpack(folder / "books.rar", folder / "in", "Книга.txt");
  ASSERT_TRUE(out.ok) << out.Shown();
  std::string text;
  ASSERT_TRUE(common::ReadWholeFile(out.book, text));
  EXPECT_EQ(text, "вторая книга");
}

TEST(ArchiveInput, CorpusSolidRar) {
  const fs::path rar = test::CorpusPath("other/archive_rar3_solid_two_txt.rar");
  if (rar.empty() || !fs::exists(rar)) GTEST_SKIP() << "no sample corpus beside the checkout";
  test::ScratchFolder folder;
  EXPECT_EQ(Names(rar), (std::vector<std::string>{"stest1.txt", "stest2.txt"}));
  auto out = Unpack(rar, folder / "in");
  EXPECT_FALSE(out.ok);
  EXPECT_EQ(out.shown, (std::vector<std::string>{"the archive holds several books, choose one of them:\nstest1.txt\nstest2.txt"}));
  // The second member of a solid archive needs the first one unpacked on the way.
  out = Unpack(rar, folder / "in", "stest2.txt");
  ASSERT_TRUE(out.ok) << out.Shown();
  std::string text;
  ASSERT_TRUE(common::ReadWholeFile(out.book, text));
  EXPECT_EQ(text.size(), 2048u);
  EXPECT_FALSE(fs::exists(folder / "in" / "stest1.txt"));
  // When reaching the later members would unpack the archive past the size bound, the list
  // holds the first ones and says it was cut short.
  std::vector<ArchiveMember> members;
  bool cut = false;
  ArchiveLimits small;
  small.totalBytes = 100;
  ASSERT_EQ(ListArchive(rar, members, small, &cut), ArchiveError::None);
  EXPECT_TRUE(cut);
  EXPECT_EQ(members.size(), 1u);
  ASSERT_EQ(ListArchive(rar, members, {}, &cut), ArchiveError::None);
  EXPECT_FALSE(cut);
  EXPECT_EQ(members.size(), 2u);
  // Damaged: its data cut short.
  std::string bytes;
  ASSERT_TRUE(common::ReadWholeFile(rar, bytes));
  ASSERT_TRUE(common::WriteFileAtomic(folder / "cut.rar", bytes.substr(0, bytes.size() - 40)));
  out = Unpack(folder / "cut.rar", folder / "in2", "stest2.txt");
  EXPECT_FALSE(out.ok);
  EXPECT_EQ(out.shown.size(), 1u) << out.Shown();
}

}  // namespace
}  // namespace pw::shell
