// PDF pages as poppler lays them out, made into a book page.
#include <gtest/gtest.h>

#include "common/Text.h"
#include "import/PdfLayout.h"

namespace pw::import {
namespace {

// One page of "pdftohtml -xml" output: a running head at the top, the lines given, a running
// foot and the page number at the bottom.
std::string XmlPage(int number, const std::vector<std::string>& lines, bool heads = true) {
  std::string page = "<page number=\"" + std::to_string(number) + "\" height=\"892\" width=\"629\">\n";
  int top = 64;
  const auto text = [&](int left, int font, const std::string& body) {
    page += "<text top=\"" + std::to_string(top) + "\" left=\"" + std::to_string(left) +
            "\" width=\"400\" height=\"17\" font=\"" + std::to_string(font) + "\">" + body + "</text>\n";
    top += 22;
  };
  if (heads) page += "<text top=\"40\" left=\"94\" width=\"103\" height=\"17\" font=\"2\">THE STORY</text>\n";
  for (const std::string& line : lines) {
    if (line.starts_with("#")) text(94, 5, line.substr(1));         // a heading in large type
    else if (line.starts_with(">")) text(112, 2, line.substr(1));   // an indented first line
    else text(94, 2, line);
  }
  if (heads) {
    page += "<text top=\"800\" left=\"200\" width=\"200\" height=\"17\" font=\"2\">A Publisher, 1901</text>\n";
    page += "<text top=\"830\" left=\"300\" width=\"20\" height=\"17\" font=\"2\">" + std::to_string(number) +
            "</text>\n";
  }
  return page + "</page>\n";
}

constexpr std::string_view kFonts =
    "<fontspec id=\"2\" size=\"18\" family=\"Serif\" color=\"#000000\"/>\n"
    "<fontspec id=\"5\" size=\"37\" family=\"Serif\" color=\"#000000\"/>\n";

std::string Document(const std::vector<std::string>& pages, std::string_view outline = {}) {
  std::string xml = "<?xml version=\"1.0\"?>\n<pdf2xml>\n";
  xml += kFonts;
  for (const std::string& page : pages) xml += page;
  xml += outline;
  return xml + "</pdf2xml>\n";
}

TEST(PdfLayout, RunningHeadsPageNumbersAndBrokenWords) {
  const std::string xml = Document({
      XmlPage(1, {"#CHAPTER I.", "#THE BEGINNING", ">It was a particu-", "lar morning, and the sun",
                  "shone on the arm-", "chair by the window."}),
      XmlPage(2, {"The particular light came in.", ">A new paragraph starts here", "and goes on."}),
      XmlPage(3, {"#CHAPTER II.", ">Text of the second chap-", "ter."}),
  });
  PdfLayoutReport report;
  const std::string html = PdfXmlToHtml(xml, {}, &report);
  EXPECT_EQ(report.pages, 3u);
  EXPECT_EQ(report.pageNumbers, 3u);
  EXPECT_EQ(report.runningLines, 6u);  // the head and the foot of three pages
  EXPECT_EQ(html.find("THE STORY"), std::string::npos);
  EXPECT_EQ(html.find("A Publisher"), std::string::npos);
  // The two heading lines are one heading. "particu-lar" and "chap-ter" are joined (the book has
  // "particular" and, in capitals, "CHAPTER"); "arm-chair" keeps its hyphen.
  EXPECT_NE(html.find("<h2>CHAPTER I. THE BEGINNING</h2>"), std::string::npos) << html;
  EXPECT_NE(html.find("<p>It was a particular morning, and the sun shone on the arm-chair by the window. "
                      "The particular light came in.</p>"),
            std::string::npos)
      << html;
  EXPECT_NE(html.find("<p>A new paragraph starts here and goes on.</p>"), std::string::npos);
  EXPECT_NE(html.find("<h2>CHAPTER II.</h2>\n<p>Text of the second chapter.</p>"), std::string::npos) << html;
  EXPECT_EQ(report.headings, 2u);
  EXPECT_EQ(report.joinedWords, 2u);
}

TEST(PdfLayout, TheOutlineDecidesHeadingsAndLevels) {
  const std::string outline =
      "<outline>\n<item page=\"1\">Part One</item>\n<outline>\n<item page=\"1\">A Start</item>\n"
      "<item page=\"2\">The Middle</item>\n</outline>\n</outline>\n";
  const std::string xml = Document({XmlPage(1, {"#Part One", "A Start", ">Some text here.", "#LARGE BUT NO HEADING"}, false),
                                    XmlPage(2, {"The Middle", ">More text."}, false)},
                                   outline);
  PdfLayoutReport report;
  const std::string html = PdfXmlToHtml(xml, {}, &report);
  EXPECT_TRUE(report.outline);
  EXPECT_NE(html.find("<h2>Part One</h2>\n<h3>A Start</h3>"), std::string::npos) << html;
  EXPECT_NE(html.find("<h3>The Middle</h3>"), std::string::npos);
  // A line in large type that the outline does not name is text.
  EXPECT_NE(html.find("<p>Some text here. LARGE BUT NO HEADING</p>"), std::string::npos) << html;
}

TEST(PdfLayout, TheDocumentInformation) {
  const PdfInfo info = ReadPdfInfo("Title:           A Study: in Scarlet\nSubject:  x\nAuthor:          Sir A. Doyle\n"
                                   "Pages:           213\n");
  EXPECT_EQ(info.title, "A Study: in Scarlet");
  EXPECT_EQ(info.author, "Sir A. Doyle");
  EXPECT_EQ(ReadPdfInfo("Pages: 3\n").title, "");
  // The title leads the page's head; text is escaped.
  const std::string html = PdfXmlToHtml(Document({XmlPage(1, {"a &lt; b &amp; c"}, false)}), info);
  EXPECT_NE(html.find("<title>A Study: in Scarlet</title>"), std::string::npos);
  EXPECT_NE(html.find("<p>a &lt; b &amp; c</p>"), std::string::npos) << html;
}

}  // namespace
}  // namespace pw::import
