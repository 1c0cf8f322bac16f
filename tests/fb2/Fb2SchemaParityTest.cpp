// The shipped schema and the public FictionBook 2.0 schema give the same verdict on a family of
// small books: valid ones that use every element of the format, and one for each way a book can
// break the format's rules. The expected verdict is written beside each book, so the shipped
// schema is checked even where the public one is absent; when it is present, it must agree.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fb2/Fb2Schema.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::fb2 {
namespace {

const std::string kTitleInfo =
    "<title-info><genre>prose_classic</genre><author><first-name>Anna</first-name><last-name>Writer</last-name></author>"
    "<book-title>Parity</book-title><lang>en</lang></title-info>";
const std::string kDocumentInfo =
    "<document-info><author><nickname>maker</nickname></author><date value=\"2026-11-23\">23 Nov 2026</date>"
    "<id>parity-1</id><version>1.0</version></document-info>";
const std::string kBody = "<body><section><p>Text.</p></section></body>";

// A book put together from its parts; each case changes the parts it is about.
struct Parts {
  std::string beforeDescription;
  std::string titleInfo = kTitleInfo;
  std::string afterTitleInfo;
  std::string documentInfo = kDocumentInfo;
  std::string afterDocumentInfo;
  std::string body = kBody;
  std::string after;
};

std::string Assemble(const Parts& parts) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
         "<FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" xmlns:l=\"http://www.w3.org/1999/xlink\">\n" +
         parts.beforeDescription + "<description>" + parts.titleInfo + parts.afterTitleInfo + parts.documentInfo +
         parts.afterDocumentInfo + "</description>\n" + parts.body + "\n" + parts.after + "</FictionBook>\n";
}

std::string WithBody(std::string_view body) {
  Parts parts;
  parts.body = body;
  return Assemble(parts);
}

// The minimal book with `binaries` after its body, or `stylesheet` before its description.
std::string WithBinaries(std::string_view binaries) {
  Parts parts;
  parts.after = binaries;
  return Assemble(parts);
}
std::string WithStylesheet(std::string_view stylesheet) {
  Parts parts;
  parts.beforeDescription = stylesheet;
  return Assemble(parts);
}

std::string InSection(std::string_view content) { return WithBody("<body><section>" + std::string(content) + "</section></body>"); }

// The minimal book with one text replaced.
std::string Changed(std::string_view from, std::string_view to) {
  std::string xml = Assemble(Parts{});
  const size_t at = xml.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) xml.replace(at, from.size(), to);
  return xml;
}

struct Case {
  std::string name;
  bool valid;
  std::string xml;
};

std::vector<Case> ValidBooks() {
  Parts full;
  full.beforeDescription = "<stylesheet type=\"text/css\">p { margin: 0 }</stylesheet>";
  full.titleInfo =
      "<title-info><genre match=\"80\">sf_history</genre><genre>unrecognised</genre>"
      "<author><first-name>Anna</first-name><middle-name>B.</middle-name><last-name>Writer</last-name>"
      "<nickname>aw</nickname><home-page>http://example.org</home-page><email>a@example.org</email><id>a1</id></author>"
      "<author><nickname>Second</nickname></author><book-title xml:lang=\"en\">Parity</book-title>"
      "<annotation id=\"ann\"><p>About.</p><poem><stanza><v>l</v></stanza></poem><cite><p>c</p></cite>"
      "<subtitle>s</subtitle><table><tr><td>1</td></tr></table><empty-line/></annotation>"
      "<keywords>a, b</keywords><date value=\"1901-02-03\">1901</date>"
      "<coverpage><image l:href=\"#cover.jpg\" alt=\"cover\"/></coverpage><lang>en</lang><src-lang>ru</src-lang>"
      "<translator><nickname>tr</nickname></translator>"
      "<sequence name=\"Series\" number=\"2\" xml:lang=\"en\"><sequence name=\"Inner\"/></sequence></title-info>";
  // The original's fields of a translated book: the same fields under another name.
  full.afterTitleInfo = "<src-" + kTitleInfo.substr(1, kTitleInfo.size() - 1 - 13) + "</src-title-info>";
  full.documentInfo =
      "<document-info><author><nickname>maker</nickname></author><program-used>a program</program-used>"
      "<date>today</date><src-url>http://example.org/a</src-url><src-url>http://example.org/b</src-url>"
      "<src-ocr>ocr</src-ocr><id> spaced id </id><version>2.5</version><history><p>Made.</p></history>"
      "<publisher><first-name>P</first-name><last-name>Q</last-name></publisher></document-info>";
  full.afterDocumentInfo =
      "<publish-info><book-name>Printed</book-name><publisher>House</publisher><city>Town</city><year>1999</year>"
      "<isbn>123</isbn><sequence name=\"Printed series\" number=\"-1\"/></publish-info>"
      "<custom-info info-type=\"kind\" xml:lang=\"en\">value</custom-info><custom-info info-type=\"x\"/>"
      "<output mode=\"paid\" include-all=\"allow\" price=\"1.5\" currency=\"EUR\">"
      "<part l:href=\"#s1\" include=\"deny\"/><output-document-class name=\"trial\" create=\"require\" price=\"0\">"
      "<part l:type=\"simple\" l:href=\"#s2\" include=\"allow\"/></output-document-class></output>"
      "<output mode=\"free\" include-all=\"require\"/>";
  full.body =
      "<body xml:lang=\"en\"><image l:href=\"#pic.png\"/><title><p>Book</p><empty-line/><p>Title</p></title>"
      "<epigraph><p>Body epigraph</p><text-author>Someone</text-author></epigraph>"
      "<section id=\"s1\" xml:lang=\"en\"><title xml:lang=\"en\"><p>One</p></title>"
      "<epigraph id=\"e1\"><p>e</p><poem><stanza><v>v</v></stanza></poem><cite><p>c</p></cite><empty-line/>"
      "<text-author>A</text-author><text-author>B</text-author></epigraph>"
      "<image l:href=\"#pic.png\" alt=\"a\" title=\"t\" id=\"i1\"/><annotation><p>Section annotation</p></annotation>"
      "<section id=\"s2\"><p id=\"p1\" style=\"x\" xml:lang=\"ru\">Text <strong>strong <emphasis>both</emphasis></strong> "
      "<style name=\"red\" xml:lang=\"en\">red <sup>2</sup></style> <a l:href=\"#n1\" type=\"note\">[1]</a> "
      "<a l:type=\"simple\" l:href=\"http://example.org\"><strong>bold</strong><style>plain</style>"
      "<image l:href=\"#pic.png\"/></a> <strikethrough>s</strikethrough><sub>x</sub><code>c</code>"
      "<image l:href=\"#pic.png\" alt=\"inline\"/></p>"
      "<image l:href=\"#pic.png\"/><image l:href=\"#pic.png\"/><subtitle id=\"sub\">* * *</subtitle>"
      "<poem id=\"poem\" xml:lang=\"en\"><title><p>Poem</p></title><epigraph><p>pe</p></epigraph>"
      "<subtitle>I</subtitle><stanza xml:lang=\"en\"><title><p>st</p></title><subtitle>ss</subtitle><v>one</v>"
      "<v id=\"v2\">two</v></stanza><stanza><v>three</v></stanza><text-author>Poet</text-author>"
      "<date value=\"2000-01-01\">2000</date></poem>"
      "<cite id=\"c1\" xml:lang=\"en\"><p>cited</p><poem><stanza><v>l</v></stanza></poem><empty-line/>"
      "<subtitle>cs</subtitle><table><tr><td>t</td></tr></table><text-author>Who</text-author></cite>"
      "<table id=\"t1\" style=\"w\"><tr align=\"center\"><th colspan=\"2\" align=\"right\" valign=\"middle\">h</th>"
      "</tr><tr><td rowspan=\"1\" id=\"td1\" style=\"s\" xml:lang=\"en\">d</td><td/></tr></table>"
      "<empty-line/></section><section><image l:href=\"#pic.png\"/><p>After a picture</p></section>"
      "<section/><section></section></section></body>"
      "<body name=\"notes\"><title><p>Notes</p></title><section id=\"n1\"><title><p>1</p></title><p>Note.</p>"
      "</section></body>";
  full.after =
      "<binary id=\"pic.png\" content-type=\"image/png\">iVBORw0KGgo=</binary>"
      "<binary id=\"cover.jpg\" content-type=\"image/jpeg\">\n/9j/\n4AAQ\n</binary>";

  return {
      {"minimal book", true, Assemble(Parts{})},
      {"every element and attribute of the format", true, Assemble(full)},
      {"an author known by a nickname only", true,
       Changed("<first-name>Anna</first-name><last-name>Writer</last-name>", "<nickname>aw</nickname>")},
      {"an empty section", true, InSection("<section/>")},
      {"a section with nothing at all", true, WithBody("<body><section/></body>")},
      {"a section opening with a picture, then text", true, InSection("<image l:href=\"#a\"/><p>x</p>")},
      {"a picture, an annotation, then text", true,
       InSection("<image l:href=\"#a\"/><annotation><p>a</p></annotation><p>x</p>")},
      {"a title and sub-sections", true, InSection("<title><p>t</p></title><section><p>a</p></section><section><p>b</p></section>")},
      {"an empty title", true, InSection("<title/><p>x</p>")},
      {"a poem of subtitles only", true, InSection("<poem><subtitle>s</subtitle></poem>")},
      {"a section that starts with an empty line", true, InSection("<empty-line/><p>x</p>")},
      {"an empty line with content and attributes", true, InSection("<p>a</p><empty-line any=\"1\">text<b>x</b></empty-line>")},
      {"a picture without a target", true, InSection("<p>x</p><image/>")},
      {"a second body without a name", true, WithBody(kBody + kBody)},
      {"a notes body spelled with blanks around its name", true, WithBody(kBody + "<body name=\" notes \"><section><p>n</p></section></body>")},
      {"a cite of text authors only", true, InSection("<cite><text-author>a</text-author></cite>")},
      {"an empty epigraph", true, InSection("<epigraph/><p>x</p>")},
      {"a description without its optional parts, date without value", true, Changed("<date value=\"2026-11-23\">", "<date>")},
      {"a binary with blanks in its base64", true, WithBinaries("<binary id=\"b\" content-type=\"x\">QUJD\n REVG </binary>")},
  };
}

std::vector<Case> InvalidBooks() {
  Parts threeBodies;
  threeBodies.body = kBody + kBody + kBody;
  Parts noDescription;
  return {
      // Sections that hold only their heading part.
      {"a section holding only a title", false, InSection("<title><p>t</p></title>")},
      {"a section holding only a picture", false, InSection("<image l:href=\"#a\"/>")},
      {"a section holding only an epigraph", false, InSection("<epigraph><p>e</p></epigraph>")},
      {"a section holding only an annotation", false, InSection("<annotation><p>a</p></annotation>")},
      {"a section holding a title and a picture", false, InSection("<title><p>t</p></title><image l:href=\"#a\"/>")},
      {"a section holding a title, epigraph, picture and annotation", false,
       InSection("<title><p>t</p></title><epigraph><p>e</p></epigraph><image l:href=\"#a\"/><annotation/>")},
      {"a section starting with two pictures", false, InSection("<image l:href=\"#a\"/><image l:href=\"#a\"/><p>x</p>")},
      {"a picture after the annotation", false, InSection("<annotation><p>a</p></annotation><image l:href=\"#a\"/><p>x</p>")},
      // Order.
      {"text after a sub-section", false, InSection("<section><p>a</p></section><p>b</p>")},
      {"a sub-section after text", false, InSection("<p>a</p><section><p>b</p></section>")},
      {"a title after a paragraph", false, InSection("<p>a</p><title><p>t</p></title>")},
      {"an epigraph after a paragraph", false, InSection("<p>a</p><epigraph><p>e</p></epigraph>")},
      {"an annotation after a paragraph", false, InSection("<p>a</p><annotation><p>e</p></annotation>")},
      {"two titles", false, InSection("<title><p>a</p></title><title><p>b</p></title><p>x</p>")},
      {"a text author before the cite's text", false, InSection("<cite><text-author>a</text-author><p>c</p></cite>")},
      {"a stanza's subtitle before its title", false,
       InSection("<poem><stanza><subtitle>s</subtitle><title><p>t</p></title><v>v</v></stanza></poem>")},
      {"a poem's date before its text author", false,
       InSection("<poem><stanza><v>v</v></stanza><date>d</date><text-author>a</text-author></poem>")},
      {"a description after the body", false, [] {
         std::string xml = Assemble(Parts{});
         const size_t start = xml.find("<description>");
         const size_t end = xml.find("</description>") + 14;
         const std::string description = xml.substr(start, end - start);
         xml.erase(start, end - start);
         xml.insert(xml.find("</FictionBook>"), description);
         return xml;
       }()},
      {"a binary before the body", false,
       Changed("<body>", "<binary id=\"b\" content-type=\"x\">QUJD</binary><body>")},
      // Poems.
      {"a poem without a stanza", false, InSection("<poem><title><p>t</p></title></poem>")},
      {"an empty poem", false, InSection("<poem/>")},
      {"a stanza without lines", false, InSection("<poem><stanza><title><p>t</p></title></stanza></poem>")},
      {"two subtitles in a stanza", false, InSection("<poem><stanza><subtitle>a</subtitle><subtitle>b</subtitle><v>v</v></stanza></poem>")},
      // Bodies.
      {"text directly in the body", false, WithBody("<body><p>outside a section</p></body>")},
      {"a body without a section", false, WithBody("<body><title><p>t</p></title></body>")},
      {"no body at all", false, WithBody("")},
      {"three bodies", false, Assemble(threeBodies)},
      {"a second body with another name", false, WithBody(kBody + "<body name=\"comments\"><section><p>n</p></section></body>")},
      {"a name on the first body", false, WithBody("<body name=\"main\"><section><p>n</p></section></body>")},
      {"text straight inside a section", false, InSection("loose text<p>x</p>")},
      {"an element the format does not have", false, InSection("<div>x</div>")},
      {"an empty line inside a paragraph", false, InSection("<p>a<empty-line/>b</p>")},
      {"a paragraph inside a paragraph", false, InSection("<p>a<p>b</p></p>")},
      {"a sub-section inside a cite", false, InSection("<cite><section><p>b</p></section></cite>")},
      // The description's required parts.
      {"no description", false, [&noDescription] {
         std::string xml = Assemble(noDescription);
         xml.erase(xml.find("<description>"), xml.find("</description>") + 14 - xml.find("<description>"));
         return xml;
       }()},
      {"no genre", false, Changed("<genre>prose_classic</genre>", "")},
      {"an unknown genre", false, Changed("<genre>prose_classic</genre>", "<genre>prose</genre>")},
      {"a genre match that is not a number", false, Changed("<genre>", "<genre match=\"high\">")},
      {"no author", false, Changed("<author><first-name>Anna</first-name><last-name>Writer</last-name></author>", "")},
      {"an author with a first name only", false, Changed("<last-name>Writer</last-name>", "")},
      {"an author with nothing in it", false, Changed("<first-name>Anna</first-name><last-name>Writer</last-name>", "")},
      {"last name before first name", false,
       Changed("<first-name>Anna</first-name><last-name>Writer</last-name>", "<last-name>Writer</last-name><first-name>Anna</first-name>")},
      {"no book title", false, Changed("<book-title>Parity</book-title>", "")},
      {"no language", false, Changed("<lang>en</lang>", "")},
      {"language before the book title", false,
       Changed("<book-title>Parity</book-title><lang>en</lang>", "<lang>en</lang><book-title>Parity</book-title>")},
      {"no document info", false, Changed(kDocumentInfo, "")},
      {"document info without an author", false, Changed("<document-info><author><nickname>maker</nickname></author>", "<document-info>")},
      {"document info without a date", false, Changed("<date value=\"2026-11-23\">23 Nov 2026</date>", "")},
      {"document info without an id", false, Changed("<id>parity-1</id>", "")},
      {"document info without a version", false, Changed("<version>1.0</version>", "")},
      {"a version that is not a number", false, Changed("<version>1.0</version>", "<version>1.0.2</version>")},
      {"a bad date value", false, Changed("value=\"2026-11-23\"", "value=\"23.11.2026\"")},
      {"a date value without the day", false, Changed("value=\"2026-11-23\"", "value=\"2026-11\"")},
      {"an impossible date value", false, Changed("value=\"2026-11-23\"", "value=\"2026-02-30\"")},
      {"a sequence without a name", false, Changed("<lang>en</lang>", "<lang>en</lang><sequence number=\"1\"/>")},
      {"a sequence number that is not a whole number", false,
       Changed("<lang>en</lang>", "<lang>en</lang><sequence name=\"s\" number=\"1.5\"/>")},
      {"a publishing year that is not a year", false,
       Changed("</document-info>", "</document-info><publish-info><year>1999-2000</year></publish-info>")},
      {"custom info without its type", false, Changed("</document-info>", "</document-info><custom-info>x</custom-info>")},
      {"hand-on terms without a mode", false, Changed("</document-info>", "</document-info><output include-all=\"allow\"/>")},
      {"hand-on terms with an unknown rule", false,
       Changed("</document-info>", "</document-info><output mode=\"free\" include-all=\"maybe\"/>")},
      {"three hand-on terms", false,
       Changed("</document-info>", "</document-info>"
                                       "<output mode=\"free\" include-all=\"allow\"/><output mode=\"free\" include-all=\"allow\"/>"
                                       "<output mode=\"free\" include-all=\"allow\"/>")},
      {"a shared part without its target", false,
       Changed("</document-info>", "</document-info><output mode=\"free\" include-all=\"allow\"><part include=\"deny\"/></output>")},
      {"a cover picture with a title", false,
       Changed("<lang>en</lang>", "<coverpage><image l:href=\"#c\" title=\"t\"/></coverpage><lang>en</lang>")},
      {"an empty cover", false, Changed("<lang>en</lang>", "<coverpage/><lang>en</lang>")},
      {"two book titles", false, Changed("<book-title>Parity</book-title>", "<book-title>A</book-title><book-title>B</book-title>")},
      // Attributes.
      {"a link without a target", false, InSection("<p><a>x</a></p>")},
      {"a link inside a link", false, InSection("<p><a l:href=\"#a\"><a l:href=\"#b\">x</a></a></p>")},
      {"a named style inside a link", false, InSection("<p><a l:href=\"#a\"><style name=\"x\">y</style></a></p>")},
      {"a language on a style inside a link", false, InSection("<p><a l:href=\"#a\"><strong xml:lang=\"en\">y</strong></a></p>")},
      {"a style without a name", false, InSection("<p><style>y</style></p>")},
      {"a picture with an attribute of no namespace", false, InSection("<p>x</p><image type=\"simple\" l:href=\"#a\"/>")},
      {"a link kind other than simple", false, InSection("<p>x</p><image l:type=\"extended\" l:href=\"#a\"/>")},
      {"an inline picture with a title", false, InSection("<p>x<image l:href=\"#a\" title=\"t\"/></p>")},
      {"an inline picture with an id", false, InSection("<p>x<image l:href=\"#a\" id=\"i\"/></p>")},
      {"a link target on a paragraph", false, InSection("<p l:href=\"#a\">x</p>")},
      {"a language on an epigraph", false, InSection("<epigraph xml:lang=\"en\"><p>e</p></epigraph><p>x</p>")},
      {"a language on a picture", false, InSection("<p>x</p><image xml:lang=\"en\" l:href=\"#a\"/>")},
      {"a language tag that is not one", false, InSection("<p xml:lang=\"not a tag\">x</p>")},
      {"an attribute the format does not have", false, InSection("<p class=\"x\">x</p>")},
      {"an attribute of another namespace", false,
       InSection("<p xmlns:o=\"urn:other\" o:mark=\"1\">x</p>")},
      {"an id on a section title", false, InSection("<title id=\"t\"><p>t</p></title><p>x</p>")},
      {"an id that is not a name", false, InSection("<p id=\"1st\">x</p>")},
      {"the same id twice", false, InSection("<p id=\"a\">x</p><p id=\"a\">y</p>")},
      {"an attribute on the root", false, Changed("<FictionBook ", "<FictionBook version=\"2\" ")},
      // Tables.
      {"a row without cells", false, InSection("<table><tr/></table>")},
      {"a table without rows", false, InSection("<table/>")},
      {"a cell aligned as justified", false, InSection("<table><tr><td align=\"justify\">x</td></tr></table>")},
      {"a cell aligned vertically to the left", false, InSection("<table><tr><td valign=\"left\">x</td></tr></table>")},
      {"a cell spanning half a column", false, InSection("<table><tr><td colspan=\"1.5\">x</td></tr></table>")},
      // Binaries and the root.
      {"a binary without an id", false, WithBinaries("<binary content-type=\"x\">QUJD</binary>")},
      {"a binary without a content type", false, WithBinaries("<binary id=\"b\">QUJD</binary>")},
      {"a binary whose base64 is damaged", false, WithBinaries("<binary id=\"b\" content-type=\"x\">QUJ*</binary>")},
      {"a stylesheet without a type", false, WithStylesheet("<stylesheet>p{}</stylesheet>")},
      {"a section as the root", false,
       "<?xml version=\"1.0\"?><section xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\"><p>x</p></section>"},
      {"a book in no namespace", false, [] {
         std::string xml = Assemble(Parts{});
         xml.erase(xml.find(" xmlns=\""), 45);
         return xml;
       }()},
  };
}

bool Valid(const std::string& xml, const std::filesystem::path& schema, std::string& findings) {
  const auto found = ValidateFb2Schema(xml, schema);
  findings.clear();
  for (const auto& f : found) findings += "\n  " + std::to_string(f.line) + ": " + f.message;
  return found.empty();
}

void CheckFamily(const std::vector<Case>& family) {
  const auto shipped = pw::test::ShippedDataPath("") / kFb2SchemaFile;
  const auto publicSchema = pw::test::PublicFb2Schema();
  for (const Case& c : family) {
    std::string ours, theirs;
    EXPECT_EQ(Valid(c.xml, shipped, ours), c.valid) << "shipped schema, " << c.name << ours << "\n" << c.xml;
    if (!c.valid) {
      EXPECT_FALSE(ours.empty()) << c.name;
    }
    if (!publicSchema.empty()) {
      EXPECT_EQ(Valid(c.xml, publicSchema, theirs), c.valid) << "public schema, " << c.name << theirs;
    }
  }
}

TEST(Fb2SchemaParity, ValidBooksPassBoth) {
  if (pw::test::PublicFb2Schema().empty()) std::cout << "[parity] public schema absent: the shipped schema alone is checked\n";
  CheckFamily(ValidBooks());
}

TEST(Fb2SchemaParity, EachWayToBeInvalidFailsBoth) { CheckFamily(InvalidBooks()); }

// Every finding carries the line of the element at fault, so that `validate` can point to it.
TEST(Fb2SchemaParity, FindingsCarryTheirLine) {
  const std::string xml = InSection("<title><p>t</p></title>");
  const auto findings = ValidateFb2Schema(xml, pw::test::ShippedDataPath("") / kFb2SchemaFile);
  ASSERT_FALSE(findings.empty());
  EXPECT_EQ(findings.front().line, 4);
  EXPECT_NE(findings.front().message.find("section"), std::string::npos) << findings.front().message;
}

}  // namespace
}  // namespace pw::fb2
