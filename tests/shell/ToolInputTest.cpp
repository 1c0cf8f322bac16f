#include "shell/ToolInput.h"

#include <gtest/gtest.h>

#include <chrono>

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

// The office path with a stand-in for the suite: what it is given, where its HTML is taken
// from, and what a failing or hanging suite leaves. (With the real suite installed,
// BookSession.OfficeDocumentsNeedTheSuite opens a document through it.)
TEST(ToolInput, OfficeDocumentsThroughTheSuite) {
  test::ScratchFolder folder;
  const fs::path standIn = folder / "suite.sh";
  ASSERT_TRUE(common::WriteFileAtomic(standIn,
                                      "#!/bin/sh\n"
                                      "echo \"$@\" > \"$(dirname \"$0\")/arguments.txt\"\n"
                                      "while [ $# -gt 0 ]; do case \"$1\" in --outdir) out=\"$2\"; shift;; *) in=\"$1\";; esac; shift; done\n"
                                      "case \"$in\" in *hang*) sleep 30;; *fail*) exit 1;; esac\n"
                                      "name=$(basename \"$in\")\n"
                                      "{ echo '<html><body><h1>Chapter One</h1><p>'; sed 's/[{}\\\\]//g' \"$in\"; echo '</p></body></html>'; }"
                                      " > \"$out/${name%.*}.html\"\n"));
  fs::permissions(standIn, fs::perms::owner_all);
  common::RecordingProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  session.settings.wordProcessorPath = standIn.string();
  session.settings.officeToolTimeout = 1;
  const auto convert = [&](const std::string& name) {
    const fs::path input = folder / name;
    EXPECT_TRUE(common::WriteFileAtomic(input, "{\\rtf1 The story of the long road home.}"));
    ConvertJob job{input, folder / "book.html0", folder / "books", name, session, std::nullopt};
    common::MakeFolderIfMissing(job.bookFolder);
    return ConvertOfficeBook(job);
  };

  ASSERT_TRUE(convert("story.rtf")) << ::testing::PrintToString(sink.shown);
  std::string book;
  ASSERT_TRUE(common::ReadWholeFile(folder / "book.html0", book));
  EXPECT_NE(book.find("The story of the long road home."), std::string::npos);
  EXPECT_NE(book.find("Chapter One"), std::string::npos);
  std::string arguments;
  ASSERT_TRUE(common::ReadWholeFile(folder / "arguments.txt", arguments));
  EXPECT_NE(arguments.find("--headless --convert-to html --outdir "), std::string::npos) << arguments;
  EXPECT_NE(arguments.find((folder / "story.rtf").string()), std::string::npos) << arguments;
  EXPECT_EQ(progress.statuses.front(), "...opening file...be patient, may take long time...");
  EXPECT_FALSE(fs::exists(folder / "books" / "office"));  // the suite's files are gone
  EXPECT_TRUE(sink.shown.empty());

  fs::remove(folder / "book.html0");
  EXPECT_FALSE(convert("fail.rtf"));
  EXPECT_EQ(sink.shown.back(), "cannot convert to Pagewright format: fail.rtf");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(convert("hang.rtf"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));  // ended at its time-out
  EXPECT_EQ(sink.shown.back(), "cannot convert to Pagewright format: hang.rtf");
  EXPECT_FALSE(fs::exists(folder / "book.html0"));
  EXPECT_FALSE(fs::exists(folder / "books" / "office"));
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
