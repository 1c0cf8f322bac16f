#include "shell/ArchiveInput.h"

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

void WriteZip(const fs::path& path, const std::vector<std::pair<std::string, std::string>>& entries) {
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
};

Unpacked Unpack(const fs::path& archive, const fs::path& folder) {
  common::NullProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  Unpacked out;
  out.ok = UnpackArchive(archive, folder, out.book, session);
  out.shown = sink.shown;
  return out;
}

TEST(ArchiveInput, TheFirstBookAndItsPictures) {
  test::ScratchFolder folder;
  WriteZip(folder / "a.zip", {{"cover.png", "png"}, {"../escape.txt", "out"}, {"/abs.txt", "abs"},
                              {"book/Story.HTML", "<p>story</p>"}, {"book/second.txt", "second"}});
  const auto out = Unpack(folder / "a.zip", folder / "in");
  ASSERT_TRUE(out.ok);
  EXPECT_EQ(out.book, folder / "in" / "book" / "Story.HTML");
  EXPECT_TRUE(fs::exists(folder / "in" / "cover.png"));
  EXPECT_FALSE(fs::exists(folder / "escape.txt"));
  EXPECT_FALSE(fs::exists(folder / "in" / "abs.txt"));
}

TEST(ArchiveInput, NoBookOrNoArchive) {
  test::ScratchFolder folder;
  WriteZip(folder / "pictures.zip", {{"a.png", "png"}});
  auto out = Unpack(folder / "pictures.zip", folder / "in");
  EXPECT_FALSE(out.ok);
  ASSERT_FALSE(out.shown.empty());
  EXPECT_EQ(out.shown.back(), "Not supported input file format: pictures.zip");
  ASSERT_TRUE(common::WriteFileAtomic(folder / "broken.zip", "PK\x03\x04 this is not really a zip file at all"));
  out = Unpack(folder / "broken.zip", folder / "in2");
  EXPECT_FALSE(out.ok);
  EXPECT_FALSE(out.shown.empty());
}

TEST(ArchiveInput, CorpusRar) {
  const fs::path rar = test::CorpusPath("other/archive_rar3_solid_two_txt.rar");
  if (rar.empty() || !fs::exists(rar)) GTEST_SKIP() << "no sample corpus beside the checkout";
  test::ScratchFolder folder;
  const auto out = Unpack(rar, folder / "in");
  ASSERT_TRUE(out.ok);
  EXPECT_EQ(common::LowerExtension(out.book), "txt");
  std::string text;
  ASSERT_TRUE(common::ReadWholeFile(out.book, text));
  EXPECT_EQ(text.size(), 2048u);
}

}  // namespace
}  // namespace pw::shell
