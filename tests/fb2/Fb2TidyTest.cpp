#include "fb2/Fb2Tidy.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <random>

#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::fb2 {
namespace {

std::string Tidy(std::string_view text) {
  TidyReport report;
  return TidyFb2(text, report);
}

std::string Tidy(std::string_view text, TidyReport& report) { return TidyFb2(text, report); }

// True when `tidy` is well-formed XML once its "l:" prefix is bound.
// HTML references the regular form keeps ("&nbsp;") are not XML: they are masked for the check.
bool WellFormed(const std::string& tidy) {
  std::string masked = tidy;
  for (size_t at = masked.find('&'); at != std::string::npos; at = masked.find('&', at + 1)) {
    const size_t semicolon = masked.find(';', at);
    const std::string_view name = std::string_view(masked).substr(at + 1, semicolon - at - 1);
    if (name != "amp" && name != "lt" && name != "gt" && name != "quot" && !name.starts_with("#")) masked[at] = 'X';
  }
  const std::string document = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><root xmlns:l=\"http://www.w3.org/1999/xlink\">" +
                               masked + "</root>";
  xmlDoc* doc = xmlReadMemory(document.data(), static_cast<int>(document.size()), "tidy.xml", nullptr,
                              XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  if (!doc) return false;
  xmlFreeDoc(doc);
  return true;
}

TEST(Fb2Tidy, RegularFormOfTagsAndAttributes) {
  EXPECT_EQ(Tidy("<?xml version='1.0'?>\n<FictionBook xmlns='http://www.gribuser.ru/xml/fictionbook/2.0'>"
                 "<BODY><Section ID = 's1' style=\"x\" xml:lang=\"en\"><p  id=p1 >a</P></Section></BODY></FictionBook>"),
            "<FictionBook><body><section id=\"s1\"><p id=\"p1\">a</p></section></body></FictionBook>");
  // Every XLink prefix becomes "l:"; "xlink" and "l" count even unbound; others are dropped.
  EXPECT_EQ(Tidy("<p xmlns:q=\"http://www.w3.org/1999/xlink\"><a q:href=\"#1\">x</a><a xlink:href=\"#2\">y</a>"
                 "<a l:href=\"#3\">z</a><a other:href=\"#4\">w</a><a href=\"#5\">v</a></p>"),
            "<p><a l:href=\"#1\">x</a><a l:href=\"#2\">y</a><a l:href=\"#3\">z</a><a>w</a><a l:href=\"#5\">v</a></p>");
  // Elements with a prefix bound to the FictionBook namespace are the format's own.
  EXPECT_EQ(Tidy("<fb:body xmlns:fb=\"http://www.gribuser.ru/xml/fictionbook/2.0\"><fb:p>x</fb:p></fb:body>"),
            "<body><p>x</p></body>");
  // Attribute values are escaped; a value may hold ">".
  EXPECT_EQ(Tidy("<a l:href='#a\"b&amp;c>d'>x</a>"), "<a l:href=\"#a&quot;b&amp;c&gt;d\">x</a>");
}

TEST(Fb2Tidy, WhiteSpace) {
  EXPECT_EQ(Tidy("<section>\n  <p>\n  one\n\t two  <strong> three </strong> four </p>\n  <p> </p>\n</section>"),
            "<section><p>one two <strong>three</strong> four</p><p></p></section>");
  EXPECT_EQ(Tidy("<p><emphasis>a</emphasis> <strong>b</strong></p>"), "<p><emphasis>a</emphasis> <strong>b</strong></p>");
}

TEST(Fb2Tidy, MissingAndMisplacedTags) {
  TidyReport report;
  // Unclosed paragraphs and inline elements close where the next block starts.
  EXPECT_EQ(Tidy("<section><p>a<strong>b<p>c</section>", report),
            "<section><p>a<strong>b</strong></p><p>c</p></section>");
  EXPECT_EQ(report.closedElements, 3u);
  // A section inside a paragraph or a title ends them.
  EXPECT_EQ(Tidy("<body><section><title><p>T<section><p>x</p></section></section></body>"),
            "<body><section><title><p>T</p></title><section><p>x</p></section></section></body>");
  // Loose text and inline elements get a paragraph, or a verse line in a poem.
  EXPECT_EQ(Tidy("<section>loose <emphasis>text</emphasis><p>p</p>more</section>"),
            "<section><p>loose <emphasis>text</emphasis></p><p>p</p><p>more</p></section>");
  EXPECT_EQ(Tidy("<poem>a line<stanza>b<p>c</p></stanza></poem>"),
            "<poem><stanza><v>a line</v></stanza><stanza><v>b</v><v>c</v></stanza></poem>");
  // A paragraph inside a subtitle, verse line or text author gives its text to the outer one.
  EXPECT_EQ(Tidy("<section><subtitle><p>a</p><p>b</p></subtitle><text-author><p>c</p></text-author></section>"),
            "<section><subtitle>a b</subtitle><text-author>c</text-author></section>");
  // End tags nobody opened go; a description field in a paragraph is only text.
  report = {};
  EXPECT_EQ(Tidy("<section><p>a</emphasis> <date>1999</date> </section></section>", report),
            "<section><p>a 1999</p></section>");
  EXPECT_EQ(report.strayEndTags, 2u);
  // A second body or description ends whatever is open.
  EXPECT_EQ(Tidy("<FictionBook><body><section><p>a<body name=\"notes\"><section id=\"n\"><p>b</p>"),
            "<FictionBook><body><section><p>a</p></section></body><body name=\"notes\"><section id=\"n\"><p>b</p>"
            "</section></body></FictionBook>");
}

TEST(Fb2Tidy, CharactersAndReferences) {
  TidyReport report;
  EXPECT_EQ(Tidy("<p>Fish & chips, a < b > c, &amp;&lt;&gt; &quot;&apos; &#38;&#60;&#x3E; &#8212; &#0; &nbsp;&mdash;&bogus; "
                 "&ReaderVersion;\x01</p>",
                 report),
            "<p>Fish &amp; chips, a &lt; b &gt; c, &amp;&lt;&gt; \"' &amp;&lt;&gt; &#8212; &nbsp;&mdash;&amp;bogus; "
            "&amp;ReaderVersion;</p>");
  EXPECT_EQ(report.undeclaredEntities, 2u);
  EXPECT_EQ(report.undeclaredNames, (std::vector<std::string>{"&bogus;", "&ReaderVersion;"}));
  // Entities the document type declares are replaced by their text.
  EXPECT_EQ(Tidy("<!DOCTYPE FictionBook [<!ENTITY ver \"2 & more\"> <!ENTITY % p \"x\">]><p>v&ver;</p>"),
            "<p>v2 &amp; more</p>");
  // Comments, processing instructions and CDATA.
  EXPECT_EQ(Tidy("<p>a<!-- note -->b<?pi x?>c<![CDATA[<d> & e]]></p>"), "<p>abc&lt;d&gt; &amp; e</p>");
  // A "<" that never becomes a tag is text.
  EXPECT_EQ(Tidy("<p>1 <2 and <p<b>x</b></p>"), "<p>1 &lt;2 and &lt;px</p>");
}

TEST(Fb2Tidy, UnknownElementsLoseTagsKeepText) {
  EXPECT_EQ(Tidy("<section><table><tr><td>a</td><td>b</td></tr></table><p>x<code>y</code><br/>z</p></section>"),
            "<section><p>a b</p><p>xy z</p></section>");
  // A table row is a line of its own.
  EXPECT_EQ(Tidy("<section><table><tr><th>h1</th><th>h2</th></tr><tr><td>a</td><td>b</td></tr></table>after</section>"),
            "<section><p>h1 h2</p><p>a b</p><p>after</p></section>");
  EXPECT_EQ(Tidy("<FictionBook><stylesheet type=\"text/css\">p { color: red }</stylesheet><body><p>x</p></body>"
                 "</FictionBook>"),
            "<FictionBook><body><p>x</p></body></FictionBook>");
}

TEST(Fb2Tidy, BinariesAndIds) {
  TidyReport report;
  const std::string tidy = Tidy(
      "<section id=\"a\"><p id=\"a\">x</p><p id=\"b\">y</p></section>"
      "<binary id=\"one\" content-type=\"image/png\">\n  QUJD\n  REVG\r\n</binary>"
      "<binary id=\"two\" content-type=\"image/png\">QUJDRA====</binary>"
      "<binary id=\"one\" content-type=\"image/png\">QUJD</binary>"
      "<binary content-type=\"image/png\">QUJD</binary>"
      "<binary id=\"three\" content-type=\"image/png\">QU*JDR</binary>",
      report);
  EXPECT_EQ(tidy,
            "<section id=\"a\"><p>x</p><p id=\"b\">y</p></section>"
            "<binary id=\"one\" content-type=\"image/png\">QUJDREVG</binary>"
            "<binary id=\"two\" content-type=\"image/png\">QUJDRA==</binary>"
            "<binary id=\"three\" content-type=\"image/png\">QUJD</binary>");
  EXPECT_EQ(report.duplicateIds, 1u);
  EXPECT_EQ(report.duplicateBinaries, 1u);
  EXPECT_EQ(report.binariesWithoutId, 1u);
  EXPECT_EQ(report.repairedBinaries, 2u);
}

TEST(Fb2Tidy, NestingHasALimit) {
  std::string deep;
  for (int i = 0; i < 5000; ++i) deep += "<cite>";
  deep += "text";
  TidyReport report;
  const std::string tidy = Tidy(deep, report);
  EXPECT_EQ(report.tooDeep, 5000 - kTidyMaxDepth);
  EXPECT_TRUE(WellFormed(tidy));
  EXPECT_NE(tidy.find("text"), std::string::npos);
}

// Whatever is cut off or thrown in, the regular form is well-formed and nothing crashes.
TEST(Fb2Tidy, DamagedTextsStillGiveWellFormedText) {
  std::string sample =
      "<?xml version=\"1.0\"?><FictionBook xmlns:l=\"http://www.w3.org/1999/xlink\"><description><title-info>"
      "<author><first-name>A</first-name></author><book-title>T &amp; U</book-title></title-info></description>"
      "<body><title><p>Book</p></title><section id=\"s\"><title><p>One</p></title><epigraph><p>E</p>"
      "<text-author>W</text-author></epigraph><p>Text <emphasis>with <strong>styles</strong></emphasis> and "
      "<a l:href=\"#n1\" type=\"note\">1</a>.</p><poem><stanza><v>line</v></stanza></poem><cite><p>c</p></cite>"
      "<empty-line/><image l:href=\"#p\"/></section></body><body name=\"notes\"><section id=\"n1\"><p>n</p>"
      "</section></body><binary id=\"p\" content-type=\"image/png\">QUJD</binary></FictionBook>";
  const std::string corpusFile = [] {
    const auto path = test::CorpusPath("fb2/ru_gribov_description_tutorial_no_xmldecl.fb2");
    std::string text;
    if (!path.empty()) common::ReadWholeFile(path, text);
    return text;
  }();
  std::mt19937 random(7);
  for (const std::string& source : {sample, corpusFile}) {
    if (source.empty()) continue;
    EXPECT_TRUE(WellFormed(Tidy(source)));
    for (size_t cut = 0; cut < source.size(); cut += 7) EXPECT_TRUE(WellFormed(Tidy(source.substr(0, cut)))) << cut;
    for (int round = 0; round < 300; ++round) {
      std::string damaged = source;
      for (int k = 0; k < 5; ++k) {
        const size_t at = random() % damaged.size();
        switch (random() % 4) {
          case 0: damaged.erase(at, 1 + random() % 12); break;
          case 1: damaged.insert(at, 1, "<>&\"'/="[random() % 7]); break;
          case 2: damaged[at] = static_cast<char>(random() % 256); break;
          default: damaged.insert(at, damaged.substr(random() % damaged.size(), 20)); break;
        }
      }
      EXPECT_TRUE(WellFormed(Tidy(damaged))) << damaged;
    }
  }
}

}  // namespace
}  // namespace pw::fb2
