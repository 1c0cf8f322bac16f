#include "fb2/Fb2Checks.h"
#include "fb2/Fb2Schema.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "common/Files.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::fb2 {
namespace {

// A small valid book; `body` and `binaries` are spliced in.
std::string Book(std::string_view body, std::string_view binaries = "", std::string_view date = "2026-11-22",
                 std::string_view version = "1.0") {
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
      "<FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" xmlns:l=\"http://www.w3.org/1999/xlink\">\n"
      "<description><title-info><genre>prose_classic</genre><author><first-name>B</first-name><last-name>A</last-name></author>"
      "<book-title>T</book-title><lang>ru</lang></title-info>\n"
      "<document-info><author><nickname>n</nickname></author><date value=\"";
  xml += date;
  xml += "\">d</date><id>X</id><version>";
  xml += version;
  xml += "</version></document-info></description>\n<body>";
  xml += body;
  xml += "</body>\n";
  xml += binaries;
  xml += "</FictionBook>\n";
  return xml;
}

std::vector<std::string> Messages(const std::vector<Fb2Finding>& findings) {
  std::vector<std::string> out;
  for (const auto& f : findings) out.push_back(f.message);
  return out;
}

TEST(Fb2Checks, ValidBookHasNoFindings) {
  const std::string xml = Book(
      "<section id=\"s1\"><title><p>One</p></title><image l:href=\"#pic.jpg\"/><p>Text<a l:href=\"#n1\">1</a></p>"
      "</section></body><body name=\"notes\"><section id=\"n1\"><p>Note</p></section>",
      "<binary id=\"pic.jpg\" content-type=\"image/jpeg\">AAAA</binary>");
  EXPECT_TRUE(CheckFb2Structure(xml).empty()) << testing::PrintToString(Messages(CheckFb2Structure(xml)));
}

std::filesystem::path OurSchema() { return pw::test::ShippedDataPath("") / kFb2SchemaFile; }

TEST(Fb2Schema, ValidBookPassesOursAndThePublicSchema) {
  const std::string xml = Book("<section><title><p>One</p></title><p>Text <emphasis>it</emphasis></p>"
                               "<poem><stanza><v>line</v></stanza><text-author>A</text-author></poem></section>");
  EXPECT_TRUE(pw::test::IsValidFb2(xml));
}

TEST(Fb2Schema, ContentModelsAndGenresAreEnforced) {
  const std::vector<std::string> invalid{
      Book("<section><p>a</p><section><p>b</p></section></section>"),  // text then sub-sections
      Book("<section><title><p>only a title</p></title></section>"),    // empty section
      Book("<p>outside a section</p>"),
      [] {
        std::string xml = Book("<section><p>a</p></section>");
        xml.replace(xml.find("<genre>prose_classic</genre>"), 28, "<genre>no_such_genre</genre>");
        return xml;
      }(),
      [] {
        std::string xml = Book("<section><p>a</p></section>");
        xml.replace(xml.find("<book-title>T</book-title>"), 26, "");
        return xml;
      }(),
  };
  for (size_t i = 0; i < invalid.size(); ++i) {
    const auto findings = ValidateFb2Schema(invalid[i], OurSchema());
    EXPECT_FALSE(findings.empty()) << "case " << i;
    for (const auto& f : findings) EXPECT_GT(f.line, 0) << f.message;
  }
  EXPECT_FALSE(ValidateFb2Schema("<FictionBook>", OurSchema()).empty());
  EXPECT_FALSE(ValidateFb2Schema(Book("<section><p>a</p></section>"), "/nonexistent/schema.xsd").empty());
}

TEST(Fb2Checks, LinksIdsAndBinaries) {
  const std::string xml = Book(
      "<section id=\"x\"><p id=\"x\">a<a xlink:href=\"#nowhere\" xmlns:xlink=\"http://www.w3.org/1999/xlink\">1</a></p>"
      "<image l:href=\"#missing.png\"/><p id=\"1bad\">b</p></section>",
      "<binary id=\"unused.jpg\" content-type=\"image/jpeg\">AAAA</binary>");
  const auto messages = Messages(CheckFb2Structure(xml));
  const std::vector<std::string> expected{
      "duplicate id: x",
      "id is not an XML name: \"1bad\"",
      "link to a missing id: #missing.png",
      "link to a missing id: #nowhere",
      "binary unused.jpg is not shown anywhere",
      "picture without its binary: #missing.png",
  };
  EXPECT_EQ(messages, expected);
}

TEST(Fb2Checks, SectionsParagraphsDatesAndVersion) {
  const std::string xml = Book(
      "<section><p>text</p><section><p>inner</p></section></section>"
      "<section><title><p>t</p></title><image l:href=\"#a.png\"/><image l:href=\"#a.png\"/></section>"
      "<section><p>one<empty-line/>two</p></section>",
      "<binary id=\"a.png\" content-type=\"image/png\">AAAA</binary>", "22.11.2026", "first");
  const auto messages = Messages(CheckFb2Structure(xml));
  const std::vector<std::string> expected{
      "date value is not an ISO date: 22.11.2026",
      "version is not a number: first",
      "section holds both text and sub-sections",
      "section starts with two pictures",
      "empty-line is not allowed in p",
  };
  EXPECT_EQ(messages, expected);
}

// A book broken in many ways, one fault a line: each line number is where a finding must be.
const char* const kBrokenBook =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" xmlns:l=\"http://www.w3.org/1999/xlink\">\n"
    "<description><title-info><genre>prose_classic</genre>\n"
    "<genre>no_such_genre</genre>\n"                                                    // 4: unknown genre
    "<author><nickname>n</nickname></author><book-title>T</book-title><lang>ru</lang></title-info>\n"
    "<document-info><author><nickname>n</nickname></author>\n"
    "<date value=\"22.11.2026\">d</date><id>X</id><version>1.0</version></document-info></description>\n"  // 7
    "<body>\n"
    "<section>\n"
    "<p>a</p>\n"
    "<title><p>late title</p></title>\n"                                                 // 11: title after text
    "<p>b</p>\n"
    "<section><p>inner</p></section>\n"                                                  // 13: sub-section after text
    "<p>c</p>\n"                                                                         // 14: text after it
    "<epigraph><p>late epigraph</p></epigraph>\n"                                        // 15
    "</section>\n"
    "<section>\n"                                                                        // 17: a picture alone
    "<image l:href=\"#pic.png\"/>\n"
    "</section>\n"
    "<section><p>one<empty-line/>two<empty-line/>three</p>\n"                            // 20: two empty lines
    "<poem><title><p>no stanza</p></title></poem>\n"                                     // 21
    "</section>\n"
    "</body>\n"
    "<binary id=\"pic.png\" content-type=\"image/png\">AAAA</binary>\n"
    "</FictionBook>\n";

TEST(Fb2Validate, TellsEveryFaultThePublicSchemaFindsAndThoseItLeavesOut) {
  const auto findings = ValidateFb2(kBrokenBook, OurSchema());
  std::set<long> lines;
  std::string all;
  for (const auto& f : findings) {
    lines.insert(f.line);
    all += "\n  " + std::to_string(f.line) + ": " + f.message;
  }
  EXPECT_EQ(lines, (std::set<long>{4, 7, 11, 13, 14, 15, 17, 20, 21})) << all;
  // Sorted by line; the date told once although both the schema and the checks see it.
  EXPECT_TRUE(std::is_sorted(findings.begin(), findings.end(),
                             [](const Fb2Finding& a, const Fb2Finding& b) { return a.line < b.line; }));
  EXPECT_EQ(std::count_if(findings.begin(), findings.end(), [](const Fb2Finding& f) { return f.line == 7; }), 1) << all;
  EXPECT_EQ(std::count_if(findings.begin(), findings.end(), [](const Fb2Finding& f) { return f.line == 20; }), 2) << all;
  // The long list of genre codes is not repeated in the message.
  EXPECT_LT(findings.front().message.size(), 200u) << findings.front().message;

  // Whatever the public schema reports is reported too, on the same line and element.
  const auto publicSchema = pw::test::PublicFb2Schema();
  if (publicSchema.empty()) return;
  for (const auto& theirs : ValidateFb2Schema(kBrokenBook, publicSchema)) {
    const bool told = std::any_of(findings.begin(), findings.end(), [&](const Fb2Finding& ours) {
      return ours.line == theirs.line && ours.element == theirs.element;
    });
    EXPECT_TRUE(told) << theirs.line << ": " << theirs.message << all;
  }
}

TEST(Fb2Checks, BrokenXmlIsReportedWithItsLine) {
  const auto findings = CheckFb2Structure("<FictionBook>\n<body><p>a & b</p>\n</FictionBook>");
  ASSERT_FALSE(findings.empty());
  EXPECT_EQ(findings[0].message.rfind("XML: ", 0), 0u);
  EXPECT_EQ(findings[0].line, 2);
  EXPECT_FALSE(CheckFb2Structure("").empty());
}

TEST(Fb2Checks, CorpusBooksParse) {
  const auto folder = test::CorpusPath("fb2");
  if (folder.empty() || !std::filesystem::is_directory(folder)) GTEST_SKIP() << "corpus not present";
  int books = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".fb2") continue;
    std::string xml;
    ASSERT_TRUE(common::ReadWholeFile(entry.path(), xml));
    // Real books may have findings (that is what the checks are for); the files written by a
    // converter are at least well-formed, while the hand-made ones carry undeclared prefixes
    // and entities that the checks must report rather than choke on.
    const bool wellFormed = entry.path().filename().string().rfind("fixture_", 0) == 0;
    for (const auto& finding : CheckFb2Structure(xml)) {
      if (wellFormed) {
        EXPECT_NE(finding.message.rfind("XML: ", 0), 0u) << entry.path().filename() << ": " << finding.message;
      }
    }
    ++books;
  }
  EXPECT_GT(books, 0);
}

}  // namespace
}  // namespace pw::fb2
