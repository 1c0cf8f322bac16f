#include "shell/ToolInput.h"

#include <gtest/gtest.h>

#include "common/Files.h"
#include "common/Text.h"
#include "support/TestSupport.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

TEST(ToolInput, RunningPrograms) {
  test::ScratchFolder folder;
  EXPECT_EQ(RunTool({"sh", "-c", "echo made > out.txt; exit 3"}, folder.path(), 10), 3);
  std::string made;
  ASSERT_TRUE(common::ReadWholeFile(folder / "out.txt", made));
  EXPECT_EQ(made, "made\n");
  EXPECT_EQ(RunTool({"no-such-program-anywhere"}, folder.path(), 10), 127);
  EXPECT_EQ(RunTool({"sleep", "5"}, folder.path(), 1), -1);  // ended at the time limit
  EXPECT_EQ(RunTool({}, folder.path(), 1), -1);
  EXPECT_FALSE(FindTool("", {"sh"}).empty());
  EXPECT_TRUE(FindTool("", {"no-such-program-anywhere"}).empty());
  EXPECT_TRUE(FindTool((folder / "missing").string(), {"sh"}).empty());  // a configured path must exist
}

TEST(ToolInput, AMissingProgramIsTold) {
  test::ScratchFolder folder;
  common::NullProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  session.settings.pdfToHtmlPath = (folder / "no-pdftohtml").string();
  ASSERT_TRUE(common::WriteFileAtomic(folder / "a.pdf", "%PDF-1.4 nothing"));
  ConvertJob job{folder / "a.pdf", folder / "a.html0", folder.path(), "a.pdf", session, std::nullopt};
  EXPECT_FALSE(ConvertPdfBook(job));
  ASSERT_FALSE(sink.shown.empty());
  EXPECT_EQ(sink.shown.back(), "cannot convert: the program this format needs is not installed: pdftohtml");
  EXPECT_FALSE(fs::exists(folder / "a.html0"));
}

TEST(ToolInput, CorpusPdf) {
  const fs::path pdf = test::CorpusPath("other/en_doyle_study_in_scarlet_pdftex.pdf");
  if (pdf.empty() || !fs::exists(pdf)) GTEST_SKIP() << "no sample corpus beside the checkout";
  if (FindTool("", {"pdftohtml"}).empty()) GTEST_SKIP() << "pdftohtml is not installed";
  test::ScratchFolder folder;
  common::NullProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  ConvertJob job{pdf, folder / "book.html0", folder.path(), pdf.filename().string(), session, std::nullopt};
  ASSERT_TRUE(ConvertPdfBook(job));
  std::string book;
  ASSERT_TRUE(common::ReadWholeFile(folder / "book.html0", book));
  EXPECT_NE(book.find("A Study in Scarlet"), std::string::npos);
  EXPECT_NE(book.find("<SPAN id=title>"), std::string::npos);
  EXPECT_GT(common::CountOccurrences(book, "<DIV align=justify>"), 500u);
  EXPECT_FALSE(fs::exists(folder / "pdf"));  // the program's files are gone
}

}  // namespace
}  // namespace pw::shell
