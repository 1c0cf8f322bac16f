// `pagewright validate`: every finding with its line, the schema to use, the exit code.
#include <gtest/gtest.h>

#include "common/Files.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;

std::string Quote(const fs::path& path) { return "'" + path.string() + "'"; }

int Validate(const std::string& arguments, std::string& output) {
  return pw::test::RunCommand(pw::test::ProgramPath().string() + " validate " + arguments, &output);
}

const char* const kHead =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" xmlns:l=\"http://www.w3.org/1999/xlink\">\n"
    "<description><title-info><genre>prose_classic</genre><author><nickname>n</nickname></author>"
    "<book-title>T</book-title><lang>ru</lang></title-info><document-info><author><nickname>n</nickname></author>"
    "<date>d</date><id>X</id><version>1.0</version></document-info></description>\n";

TEST(ValidateCommand, ListsEveryFindingWithItsLineAndFailsOnAny) {
  pw::test::ScratchFolder folder;
  const fs::path good = folder / "good.fb2";
  const fs::path bad = folder / "bad.fb2";
  const fs::path broken = folder / "broken.fb2";
  ASSERT_TRUE(common::WriteFileAtomic(good, std::string(kHead) + "<body><section><p>Text.</p></section></body>\n</FictionBook>\n"));
  ASSERT_TRUE(pw::test::IsValidFb2File(good));
  ASSERT_TRUE(common::WriteFileAtomic(bad, std::string(kHead) +
                                               "<body>\n<section>\n<p>a</p>\n<title><p>t</p></title>\n"
                                               "<section><p>b</p></section>\n<p>c</p>\n</section>\n"
                                               "<section>\n<image l:href=\"#nowhere\"/>\n</section>\n</body>\n</FictionBook>\n"));
  ASSERT_TRUE(common::WriteFileAtomic(broken, std::string(kHead) + "<body><section><p>a & b</p></section></body>\n"));

  std::string output;
  EXPECT_EQ(Validate(Quote(good), output), 0) << output;
  EXPECT_NE(output.find("good.fb2: ok"), std::string::npos) << output;

  EXPECT_EQ(Validate(Quote(good) + " " + Quote(bad), output), 1) << output;
  EXPECT_NE(output.find("good.fb2: ok"), std::string::npos) << output;
  // The title after text (what the schema says), the sub-section after text and the text after
  // it (what it leaves out), the section holding only a picture, the link to nothing.
  for (const char* line : {"bad.fb2:7: Element 'title'", "bad.fb2:8: section holds both text and sub-sections",
                           "bad.fb2:9: section holds both text and sub-sections", "bad.fb2:11: Element 'section'",
                           "bad.fb2:12: link to a missing id: #nowhere"})
    EXPECT_NE(output.find(line), std::string::npos) << line << "\n" << output;

  EXPECT_EQ(Validate(Quote(broken), output), 1) << output;
  EXPECT_NE(output.find("broken.fb2:4: XML: "), std::string::npos) << output;

  // Another schema by --schema: the public one when the corpus is there; a missing one is refused.
  if (const fs::path publicSchema = pw::test::PublicFb2Schema(); !publicSchema.empty()) {
    EXPECT_EQ(Validate("--schema " + Quote(publicSchema) + " " + Quote(good), output), 0) << output;
    EXPECT_EQ(Validate("--schema " + Quote(publicSchema) + " " + Quote(bad), output), 1) << output;
    EXPECT_NE(output.find("bad.fb2:11: Element 'section'"), std::string::npos) << output;
  }
  EXPECT_NE(Validate("--schema " + Quote(folder / "none.xsd") + " " + Quote(good), output), 0) << output;
}

}  // namespace
}  // namespace pw::app
