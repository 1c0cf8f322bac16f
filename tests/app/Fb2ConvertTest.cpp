#include <gtest/gtest.h>

#include <cstdio>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "shell/Converters.h"
#include "shell/ToolInput.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;

std::string Program() { return test::ProgramPath().string(); }

std::string Quote(const fs::path& path) {
  std::string quoted(1, '\'');
  quoted += path.string();
  quoted += '\'';
  return quoted;
}

// Every FB2 the command writes passes our schema, and the public one when the corpus is there.
void ExpectValid(const fs::path& fb2) { EXPECT_TRUE(pw::test::IsValidFb2File(fb2)); }

TEST(Fb2Convert, TutorialBookWithOptions) {
  test::ScratchFolder folder;
  const std::string home = " --home " + Quote(folder / "home");
  const fs::path source = pw::test::ShippedDataPath("") / "Self Teaching" / "1_MyFirstEbook.html0";
  std::string output;
  ASSERT_EQ(test::RunCommand(Program() + " convert -q --validate --yes --encoding windows-1251 --dashes long --zip "
                                 "--author 'Анна Писатель' --title 'Учебник' --genre 'reference, sci_linguistic' "
                                 "--book-lang ru --sequence 'Школа' --sequence-number 1 " +
                                 Quote(source) + " -o " + Quote(folder / "t.fb2") + home,
                             &output),
            0)
      << output;
  ExpectValid(folder / "t.fb2");
  EXPECT_TRUE(fs::exists(folder / "t.fb2.zip"));
  std::string bytes;
  ASSERT_TRUE(common::ReadWholeFile(folder / "t.fb2", bytes));
  EXPECT_EQ(bytes.rfind("<?xml version=\"1.0\" encoding=\"windows-1251\"?>", 0), 0u);
  const std::string text = common::DecodeToUtf8(bytes, common::CodePage::Win1251);
  for (const char* part : {"<first-name>Анна</first-name>", "<last-name>Писатель</last-name>",
                           "<book-title>Учебник</book-title>", "<genre>reference</genre>", "<genre>sci_linguistic</genre>",
                           "<sequence name=\"Школа\" number=\"1\"/>", "<lang>ru</lang>"})
    EXPECT_NE(text.find(part), std::string::npos) << part;

  // Another book takes that file's description; a field given on its own still wins.
  ASSERT_EQ(test::RunCommand(Program() + " convert -q --validate --yes --description " + Quote(folder / "t.fb2") +
                                 " --title 'Другое' " + Quote(source) + " -o " + Quote(folder / "u.fb2") + home,
                             &output),
            0)
      << output;
  ExpectValid(folder / "u.fb2");
  ASSERT_TRUE(common::ReadWholeFile(folder / "u.fb2", bytes));
  for (const char* part : {"<last-name>Писатель</last-name>", "<book-title>Другое</book-title>",
                           "<sequence name=\"Школа\" number=\"1\"/>"})
    EXPECT_NE(bytes.find(part), std::string::npos) << part;
  EXPECT_NE(test::RunCommand(Program() + " convert -q --description " + Quote(source) + " " + Quote(source) + " -o " +
                                 Quote(folder / "v.fb2") + home,
                             &output),
            0);
  EXPECT_NE(output.find("Fiction Book description not found"), std::string::npos) << output;
}

TEST(Fb2Convert, CorpusBooksBecomeValidFb2) {
  const fs::path corpus = test::CorpusPath("");
  if (corpus.empty() || !fs::exists(corpus)) GTEST_SKIP() << "no sample corpus beside the checkout";
  test::ScratchFolder folder;
  const std::string home = " --home " + Quote(folder / "home");
  int converted = 0, tried = 0;
  for (const auto& entry : fs::recursive_directory_iterator(corpus)) {
    if (!entry.is_regular_file()) continue;
    // Every book that the converters of this build read.
    const std::string extension = common::LowerExtension(entry.path());
    if (!shell::BuiltInConverters().Find(extension)) continue;
    // Formats that outside programs open count only where those programs are installed.
    if (extension == "pdf" && shell::FindTool("", {"pdftohtml"}).empty()) continue;
    if ((extension == "doc" || extension == "rtf") && shell::FindTool("", {"soffice", "libreoffice"}).empty()) continue;
    ++tried;
    const fs::path out = folder / (std::to_string(tried) + ".fb2");
    std::string output;
    const int code = test::RunCommand(Program() + " convert -q --yes --validate " + Quote(entry.path()) + " -o " +
                                          Quote(out) + home,
                                      &output);
    EXPECT_EQ(code, 0) << entry.path() << "\n" << output;
    if (code != 0) continue;
    ExpectValid(out);
    ++converted;
  }
  std::printf("corpus books to valid FB2: %d of %d\n", converted, tried);
}

TEST(Fb2Convert, CleanUpAndHyphenationBeforeWriting) {
  test::ScratchFolder folder;
  const std::string home = " --home " + Quote(folder / "home");
  ASSERT_TRUE(common::WriteFileAtomic(folder / "book.txt",
                                      "Глава первая\n\n     Он сказал  , что  придёт завтра  ; никто не поверил .\n"
                                      "     Электрификация всей страны продолжалась непрерывно.\n"));
  const fs::path rules = pw::test::ShippedDataPath("") / "BookCleanerDef.bcf";
  std::string output;
  ASSERT_EQ(test::RunCommand(Program() + " convert -q --cleanup-before none --cleanup-after none --cleanup-output " +
                                 Quote(rules) + " --hyphenate Russian " + Quote(folder / "book.txt") + " -o " +
                                 Quote(folder / "book.html0") + home,
                             &output),
            0)
      << output;
  std::string book;
  ASSERT_TRUE(common::ReadWholeFile(folder / "book.html0", book));
  // The default rules took the blanks before the punctuation; hyphenation put soft hyphens in.
  EXPECT_NE(book.find("Он ска\xC2\xADзал"), std::string::npos) << book;
  EXPECT_NE(common::ReplaceAll(book, "\xC2\xAD", "").find("Он сказал, что придёт завтра; никто не поверил."),
            std::string::npos)
      << book;
  EXPECT_NE(test::RunCommand(Program() + " convert -q --hyphenate Klingon " + Quote(folder / "book.txt") + " -o " +
                                 Quote(folder / "x.html0") + home,
                             &output),
            0);
}

}  // namespace
}  // namespace pw::app
