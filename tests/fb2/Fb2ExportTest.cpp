#include "fb2/Fb2Export.h"

#include <Magick++.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "fb2/Fb2Checks.h"
#include "fb2/Fb2Dashes.h"
#include "fb2/Fb2Schema.h"
#include "fb2/GenreCodes.h"
#include "fb2/Pictures.h"
#include "markup/BookMarkup.h"
#include "markup/SectionEditor.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::fb2 {
namespace {

namespace fs = std::filesystem;
using markup::MakeParagraph;

// A description with every generated field fixed, so that goldens stay the same.
Fb2Description FixedDescription() {
  Fb2Description d;
  d.genres = {"prose_classic"};
  d.authors = {{"Anna", "", "Writer", "", ""}};
  d.title = "Test Book";
  d.lang = "en";
  d.documentAuthors = {{"", "", "", "tester", ""}};
  d.documentDate = "22.11.2026";
  d.documentDateValue = "2026-11-22";
  d.id = "00000000-0000-4000-8000-000000000000";
  return d;
}

Fb2ExportOptions LibraryOptions() {
  Fb2ExportOptions options;
  options.bookForLibrary = true;
  options.dashes = "long";
  return options;
}

std::string Book(std::string_view body) {
  return "<HTML><HEAD><META content=\"text/html; charset=utf-8\" http-equiv=Content-Type></HEAD>\r\n<BODY>" +
         std::string(body) + "</BODY></HTML>";
}

// Every FB2 a test writes is checked: our schema, the structure checks, and the public schema
// when the sample corpus is beside the checkout.
void ExpectValid(const std::string& fb2, const std::string& what) { EXPECT_TRUE(pw::test::IsValidFb2(fb2)) << what; }

struct Exported {
  std::string fb2;
  std::vector<std::string> warnings;
  std::vector<std::string> asked;
};

// Answers every question with yes.
class YesSink final : public common::MessageSink {
 public:
  void Show(std::string_view text) override { shown.emplace_back(text); }
  bool Ask(std::string_view text, bool) override {
    asked.emplace_back(text);
    return true;
  }
  std::vector<std::string> shown;
  std::vector<std::string> asked;
};

Exported Export(std::string_view html0, Fb2ExportOptions options = LibraryOptions(), const fs::path& folder = {},
                Fb2Description description = FixedDescription()) {
  common::NullProgress progress;
  YesSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  options.signatureDate = "22.11.2026";
  const auto result = ConvertHtml0ToFb2(html0, description, options, folder, session);
  EXPECT_TRUE(result.ok);
  ExpectValid(result.bytes, std::string(html0.substr(0, 80)));
  return {result.bytes, result.warnings, sink.asked};
}

// The part of the FB2 from the first "<body" on.
std::string BodyOf(const std::string& fb2) {
  const size_t at = fb2.find("<body");
  return at == std::string::npos ? std::string() : fb2.substr(at);
}

const std::string kColour = "#001950";
const std::string kEmpty(markup::kEmptyLine);
const std::string kSecStart(markup::kSectionStart);
const std::string kSecEnd(markup::kSectionEnd);

TEST(Fb2Export, SectionsFromTitlesGolden) {
  const std::string html = Book(
      markup::MakeBookAuthor("Anna Writer", "#ff0000") + markup::MakeBookTitle("Test Book", "#B90000") +
      MakeParagraph("Before any title.") + "<BR>" + markup::MakeTitle("Chapter One", kColour) +
      MakeParagraph("First - paragraph...") + kEmpty + MakeParagraph("- Said she.") +
      markup::MakeSubtitle("* * *", "#007373") + MakeParagraph("After the subtitle.") +
      markup::MakeTitle("Part Two", kColour) + kEmpty + markup::MakeTitle("Chapter Two", kColour) +
      markup::MakeEpigraph(MakeParagraph("Words of wisdom."), markup::MakeTextAuthor("Sage", "#A52A2A"), "#0000CD") +
      MakeParagraph("Text of two.") +
      markup::MakeEpigraph(MakeParagraph("A late epigraph."), "", "#0000CD") + MakeParagraph("Then more."));
  const auto out = Export(html);
  EXPECT_TRUE(test::MatchesGolden(out.fb2, "fb2/export_sections_from_titles.fb2"));
}

TEST(Fb2Export, ExplicitSectionsNest) {
  const std::string html = Book(
      MakeParagraph("Loose start.") + kSecStart + markup::MakeTitle("Outer", kColour) +
      kSecStart + markup::MakeTitle("Inner", kColour) + MakeParagraph("Inner text.") +
      kSecEnd + MakeParagraph("Outer tail.") + markup::MakeTitle("Late title", kColour) +
      kSecEnd);
  const auto out = Export(html);
  EXPECT_TRUE(test::MatchesGolden(out.fb2, "fb2/export_explicit_sections.fb2"));
  const std::string body = BodyOf(out.fb2);
  // The inner section sits inside the outer one; the outer tail got a section of its own; a
  // title that does not open its section became a subtitle.
  EXPECT_NE(body.find("<title>\n<p>Outer</p>\n</title>\n<section>\n<title>\n<p>Inner</p>"), std::string::npos);
  EXPECT_NE(body.find("<section>\n<p>Outer tail.</p>\n<empty-line/>\n<subtitle>Late title</subtitle>"), std::string::npos);
}

TEST(Fb2Export, SectionsArrangedWithTheSectionEditor) {
  std::string html = Book(markup::MakeTitle("Part", kColour) + MakeParagraph("p.") + markup::MakeTitle("Chapter", kColour) +
                          MakeParagraph("c.") + markup::MakeTitle("Aside", kColour) + MakeParagraph("a."));
  common::NullProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  ASSERT_EQ(markup::ApplySectionLevels(html, {1, 2}, {false, false, true}, progress, messages), 2);
  const std::string body = BodyOf(Export(html).fb2);
  // "Part" holds its text in a section of its own and "Chapter" nested; the removed title is a subtitle.
  EXPECT_NE(body.find("<title>\n<p>Part</p>\n</title>\n<section>\n<p>p.</p>\n</section>\n<section>\n<title>\n"
                      "<p>Chapter</p>"),
            std::string::npos)
      << body;
  EXPECT_NE(body.find("<subtitle>Aside</subtitle>"), std::string::npos) << body;
}

TEST(Fb2Export, PoemsCitesAndTextAuthors) {
  const std::string verse = MakeParagraph("Line one,") + MakeParagraph("line two.") + kEmpty +
                            MakeParagraph("Second stanza.") + kEmpty;
  const std::string html =
      Book(markup::MakeTitle("Verse", kColour) + MakeParagraph("Intro.") + kEmpty +
           markup::MakeVerse(verse, markup::MakeTextAuthor("The Poet", "#A52A2A"), "#3D00B9") + kEmpty +
           markup::MakeCite(MakeParagraph("Quoted words."), "", "#008000") +
           markup::MakeTextAuthor("Standalone author", "#A52A2A") + MakeParagraph("End - here -"));
  const auto out = Export(html);
  EXPECT_TRUE(test::MatchesGolden(out.fb2, "fb2/export_poems_cites.fb2"));
  const std::string body = BodyOf(out.fb2);
  EXPECT_NE(body.find("<p>Intro.</p>\n<poem>\n<stanza>\n<v>Line one,</v>\n<v>line two.</v>\n</stanza>\n<stanza>\n"
                      "<v>Second stanza.</v>\n</stanza>\n<text-author>The Poet</text-author>\n</poem>"),
            std::string::npos);
  // A text author after a cite joins it.
  EXPECT_NE(body.find("<p>Quoted words.</p>\n<text-author>Standalone author</text-author>\n</cite>"), std::string::npos);
}

TEST(Fb2Export, NotesBodyAndLinks) {
  const std::string notes = "<DIV align=justify><A name=n1></A>1 The first note.</DIV>"
                            "<DIV align=justify>Its second paragraph.</DIV>"
                            "<DIV align=justify><A name=\"n|2\"></A>[2] Second note with <A href=#n1>a link</A>.</DIV>";
  const std::string html = Book(markup::MakeTitle("Notes", kColour) +
                                MakeParagraph("Text<A href=#n1><SUP>1</SUP></A> and<A href=\"#n|2\">[2]</A>.") +
                                "<BR>" + markup::MakeNoteBlock(notes, "#9400D3"));
  const auto out = Export(html);
  EXPECT_TRUE(test::MatchesGolden(out.fb2, "fb2/export_notes.fb2"));
  EXPECT_NE(out.fb2.find("<a l:href=\"#n1\" type=\"note\"><sup>1</sup></a>"), std::string::npos);
  EXPECT_NE(out.fb2.find("<a l:href=\"#n_2\" type=\"note\">[2]</a>"), std::string::npos);  // "|" became "_"
  EXPECT_NE(out.fb2.find("<body name=\"notes\">\n<section id=\"n1\">\n<title>\n<p>1</p>"), std::string::npos);
  EXPECT_NE(out.fb2.find("<section id=\"n_2\">\n<title>\n<p>[2]</p>"), std::string::npos);
  EXPECT_TRUE(out.asked.empty());
}

TEST(Fb2Export, NotesOutsideANoteBlockAreAskedAbout) {
  const std::string html = Book(MakeParagraph("Text<A href=#f1>1</A>.") + "<DIV align=justify><A name=f1></A>1 A note.</DIV>");
  common::NullProgress progress;
  common::RecordingSink sink;  // answers the default, "no"
  common::Messages messages(sink);
  common::Session session(progress, messages);
  const auto result = ConvertHtml0ToFb2(html, FixedDescription(), LibraryOptions(), {}, session);
  EXPECT_FALSE(result.ok);
  ASSERT_EQ(sink.asked.size(), 1u);
  EXPECT_NE(sink.asked[0].find("Continue without the formatting?"), std::string::npos);
}

TEST(Fb2Export, TheContentsBlockIsLeftOut) {
  std::string html = Book(markup::MakeBookTitle("Book", "#B90000") + markup::MakeTitle("One", kColour) +
                          MakeParagraph("Text one.") + markup::MakeTitle("Two", kColour) + MakeParagraph("Text two."));
  ASSERT_TRUE(markup::InsertContents(html, "Win1252"));
  ASSERT_NE(html.find("<SPAN id=BCONTENTS>"), std::string::npos);
  const std::string body = BodyOf(Export(html).fb2);
  EXPECT_EQ(body.find("Table of Content"), std::string::npos) << body;
  EXPECT_EQ(body.find("<a "), std::string::npos) << body;
  EXPECT_EQ(common::CountOccurrences(body, "<section>"), 2u) << body;
}

TEST(Fb2Export, StylesAndUnderlineAsStrikethrough) {
  const std::string html = Book(MakeParagraph("<B>bold <I>both</B> italic</I> <U>under</U> x<SUB>2</SUB> e<SUP>x</SUP> "
                                              "<STRONG></STRONG>end"));
  const std::string body = BodyOf(Export(html).fb2);
  EXPECT_NE(body.find("<p><strong>bold <emphasis>both</emphasis></strong> <emphasis>italic</emphasis> "
                      "<strikethrough>under</strikethrough> x<sub>2</sub> e<sup>x</sup> end</p>"),
            std::string::npos)
      << body;
}

TEST(Fb2Export, DashStyles) {
  EXPECT_EQ(ChangeDashes("- Yes - no...", DashStyle::Short, false), "-\xC2\xA0Yes - no\xE2\x80\xA6");
  EXPECT_EQ(ChangeDashes("- Yes - no", DashStyle::Middle, false), "\xE2\x80\x93\xC2\xA0Yes \xE2\x80\x93 no");
  EXPECT_EQ(ChangeDashes("<emphasis>-Yes \xE2\x80\x94 no</emphasis>", DashStyle::Long, false),
            "<emphasis>\xE2\x80\x94\xC2\xA0Yes \xE2\x80\x94 no</emphasis>");
  EXPECT_EQ(ChangeDashes("a\xC2\xA0\xC2\xA0 b - - c", DashStyle::Long, false), "a b \xE2\x80\x94 \xE2\x80\x94 c");
  EXPECT_EQ(ChangeDashes("the end -", DashStyle::Long, true), "the end \xE2\x80\x94");
  EXPECT_EQ(ChangeDashes("the end -", DashStyle::Long, false), "the end -");
  EXPECT_EQ(ParseDashStyle("wide"), DashStyle::Short);
  // Through a whole export: the settings' style reaches the paragraphs.
  Fb2ExportOptions options = LibraryOptions();
  options.dashes = "short";
  EXPECT_NE(BodyOf(Export(Book(MakeParagraph("- Hello - there")), options).fb2).find("<p>-\xC2\xA0Hello - there</p>"),
            std::string::npos);
}

TEST(Fb2Export, Encodings) {
  const std::string html = Book(markup::MakeTitle("Глава", kColour) + MakeParagraph("Ёлка, café, ∑ and €."));
  for (const std::string encoding : {"utf-8", "windows-1251", "win-1252"}) {
    Fb2ExportOptions options = LibraryOptions();
    options.encoding = encoding;
    const auto out = Export(html, options);
    std::string canonical;
    const common::CodePage cp = ExportEncoding(encoding, canonical);
    EXPECT_TRUE(common::StartsWith(out.fb2, "<?xml version=\"1.0\" encoding=\"" + canonical + "\"?>\n")) << encoding;
    // Nothing is lost: what the code page lacks is a character reference.
    const std::string text = common::DecodeToUtf8(out.fb2, cp);
    if (cp == common::CodePage::Win1251) {
      EXPECT_NE(text.find("Ёлка, caf&#233;, &#8721; and €."), std::string::npos) << text;
    } else if (cp == common::CodePage::Win1252) {
      EXPECT_NE(text.find("&#1025;&#1083;&#1082;&#1072;, café, &#8721; and €."), std::string::npos) << text;
    } else {
      EXPECT_NE(text.find("Ёлка, café, ∑ and €."), std::string::npos);
    }
  }
}

TEST(Fb2Export, CharactersTheCodePageCannotHoldStayReadable) {
  // C1 controls (what undefined bytes of a code page used to become) and U+FFFD are written as
  // references in a single-byte file; XML readers refuse them as raw bytes.
  const std::string html = Book(MakeParagraph("x\u0098y\u0081\u008D\u008F\u0090\u009Dz \uFFFD Ёé"));
  for (const std::string encoding : {"utf-8", "windows-1251", "windows-1252"}) {
    Fb2ExportOptions options = LibraryOptions();
    options.encoding = encoding;
    const auto out = Export(html, options);  // validated with the schemas, in its own encoding
    for (const char byte : {'\x81', '\x8D', '\x8F', '\x90', '\x98', '\x9D'})
      if (encoding != "utf-8") {
        EXPECT_EQ(out.fb2.find(byte), std::string::npos) << encoding << " " << int(byte & 0xFF);
      }
  }
}

TEST(Fb2Export, OlderCleaningSignsTheBook) {
  Fb2ExportOptions options;
  options.dashes = "short";
  const std::string body = BodyOf(Export(Book(markup::MakeTitle("One", kColour) + MakeParagraph("Text.")), options).fb2);
  EXPECT_NE(body.find("<p>Text.</p>\n<subtitle>This file was created</subtitle>\n<subtitle>with Pagewright "
                      "program</subtitle>\n<subtitle>22.11.2026</subtitle>\n</section>"),
            std::string::npos)
      << body;
  options.removeLineEnds = true;
  const std::string flat = Export(Book(MakeParagraph("Text.")), options).fb2;
  // Line breaks only after the declaration, the root tag, the description and the file.
  EXPECT_EQ(std::count(flat.begin(), flat.end(), '\n'), 4);
}

TEST(Fb2Export, HostileBooksStayValid) {
  std::string anchors;
  for (int i = 0; i < 10001; ++i) anchors += "<A name=a" + std::to_string(i) + "></A>x";
  const std::string books[] = {
      Book(MakeParagraph("a < b && c > d ]]> &amp;lt; &#0; &bogus; \x01\x02\x03\x1F text")),
      Book("<SPAN id=title><SPAN id=epigraph>unclosed <B><I>styles</B></DIV></SPAN>"),
      Book(markup::MakeTitle("", kColour) + "<SPAN id=title><DIV align=center></DIV></SPAN>"),
      Book("<SPAN id=verse></SPAN><SPAN id=cite><DIV></DIV></SPAN><SPAN id=txtaut></SPAN>"),
      Book(kSecEnd + kSecEnd + kSecStart + kSecStart),
      Book("<P><A href=#a5>five</A><A href=#missing>gone</A><DIV align=justify>" + anchors + "</DIV>"),
      Book("<A name=1></A><A name=1></A><DIV><A name=\"two words\"></A>dup</DIV><A href=\"#two%20words\">x</A>"),
      Book(""),
      "no html at all < & >",
      Book("<!-- <SPAN id=title> --><script>alert('<b>')</script><P>para<P>para two<IMG src=missing.png>"),
  };
  for (const auto& html : books) {
    const auto out = Export(html);
    EXPECT_EQ(out.fb2.find("\x01"), std::string::npos);
  }
  const std::string links = Export(books[5]).fb2;
  // "a5" stands on the paragraph that "a0" names: the link leads there. A link to nothing is
  // plain text.
  EXPECT_NE(links.find("<p><a l:href=\"#a0\">five</a>gone</p>"), std::string::npos);
  EXPECT_NE(Export(books[0]).fb2.find("a &lt; b &amp;&amp; c &gt; d ]]&gt; &amp;lt; &amp;#0; &amp;bogus; text"),
            std::string::npos);
}

// Sections that would hold only their heading part, or only a picture, still make a valid book,
// whichever way the sections come about, and no text or picture is lost on the way.
TEST(Fb2Export, SectionsWithoutTextStayValidAndKeepTheirPictures) {
  InitPictureLibrary();
  test::ScratchFolder scratch;
  Magick::Image picture(Magick::Geometry(20, 20), Magick::Color("blue"));
  picture.magick("PNG");
  picture.write((scratch / "p.png").string());
  const std::string image = "<DIV align=center><IMG src=p.png></DIV>";
  const std::string epigraph = markup::MakeEpigraph(MakeParagraph("Alone."), "", "#0000CD");
  const std::string marked = Book(
      kSecStart + image + kSecEnd +                                           // a picture alone
      kSecStart + markup::MakeTitle("Only a title", kColour) + kSecEnd +      // a title alone
      kSecStart + epigraph + kSecEnd +                                        // an epigraph alone
      kSecStart + kSecEnd +                                                   // nothing at all
      kSecStart + markup::MakeTitle("Title and picture", kColour) + image + kSecEnd +
      kSecStart + image + image + MakeParagraph("After two pictures.") + kSecEnd +
      kSecStart + kSecStart + MakeParagraph("Inner.") + kSecEnd + image + kSecEnd);  // a picture after a sub-section
  const std::string fromTitles = Book(
      image + markup::MakeTitle("Picture chapter", kColour) + image + markup::MakeTitle("Next", kColour) + image +
      image + markup::MakeTitle("Last", kColour) + MakeParagraph("End."));
  for (const std::string* html : {&marked, &fromTitles}) {
    const auto out = Export(*html, LibraryOptions(), scratch.path());
    const std::string body = BodyOf(out.fb2);
    size_t shown = 0, written = 0;
    for (size_t at = html->find("<IMG"); at != std::string::npos; at = html->find("<IMG", at + 1)) ++written;
    for (size_t at = body.find("<image "); at != std::string::npos; at = body.find("<image ", at + 1)) ++shown;
    EXPECT_EQ(shown, written) << body;
    for (const char* text : {"Only a title", "Alone.", "Title and picture", "After two pictures.", "Inner.",
                             "Picture chapter", "Next", "Last", "End."}) {
      if (html->find(text) != std::string::npos) {
        EXPECT_NE(body.find(text), std::string::npos) << text;
      }
    }
    // The section that was marked and left empty is not written.
    EXPECT_EQ(body.find("<section>\n</section>"), std::string::npos) << body;
  }
}

TEST(Fb2Export, PicturesAndCover) {
  InitPictureLibrary();
  test::ScratchFolder scratch;
  const fs::path folder = scratch.path();
  Magick::Image big(Magick::Geometry(1000, 1000), Magick::Color("white"));
  big.magick("JPEG");
  big.write((folder / "big.jpg").string());
  Magick::Image small(Magick::Geometry(40, 30), Magick::Color("red"));
  small.magick("PNG");
  small.write((folder / "small picture.png").string());
  common::WriteFileAtomic(folder / "broken.jpg", "not a picture at all");
  const std::string html = Book(
      "<DIV align=center><IMG src=big.jpg align=middle></DIV>" + markup::MakeBookAuthor("Anna Writer", "#ff0000") +
      markup::MakeTitle("Pictures", kColour) + MakeParagraph("Inline <IMG src=\"small%20picture.png\" width=40 height=30> here.") +
      "<DIV align=center><IMG src=big.jpg></DIV><DIV align=center><IMG src=broken.jpg></DIV>" + MakeParagraph("End."));
  Fb2ExportOptions options = LibraryOptions();
  options.cover = folder / "small picture.png";
  const auto out = Export(html, options, folder);
  // The picture before the author heading opens the body; the same file is stored once.
  EXPECT_NE(out.fb2.find("<body>\n<image l:href=\"#pic_1.jpg\"/>\n<title>"), std::string::npos) << BodyOf(out.fb2);
  EXPECT_NE(out.fb2.find("<p>Inline <image l:href=\"#pic_2.png\"/> here.</p>"), std::string::npos);
  EXPECT_NE(out.fb2.find("<coverpage><image l:href=\"#cover.png\"/></coverpage>"), std::string::npos);
  EXPECT_NE(out.fb2.find("<binary content-type=\"image/png\" id=\"cover.png\">"), std::string::npos);
  EXPECT_NE(out.fb2.find("<binary content-type=\"image/jpeg\" id=\"pic_1.jpg\">"), std::string::npos);
  EXPECT_EQ(out.fb2.find("pic_3"), std::string::npos);
  ASSERT_EQ(out.warnings.size(), 1u);
  EXPECT_NE(out.warnings[0].find("not supported image format: "), std::string::npos);
}

TEST(Fb2Export, OnlyPicturesInsideTheBookFolderAreEmbedded) {
  InitPictureLibrary();
  test::ScratchFolder scratch;
  const fs::path folder = scratch / "book";
  fs::create_directories(folder);
  Magick::Image picture(Magick::Geometry(20, 20), Magick::Color("blue"));
  picture.magick("PNG");
  picture.write((scratch / "private.png").string());
  picture.write((folder / "own.png").string());
  fs::create_symlink(scratch / "private.png", folder / "link.png");
  const std::string secret = (scratch / "private.png").string();
  const auto out = Export(Book(MakeParagraph("<IMG src=own.png>") + MakeParagraph("<IMG src=\"" + secret + "\">") +
                               MakeParagraph("<IMG src=\"file://" + secret + "\">") +
                               MakeParagraph("<IMG src=../private.png>") + MakeParagraph("<IMG src=link.png>")),
                          LibraryOptions(), folder);
  EXPECT_EQ(common::CountOccurrences(out.fb2, "<binary "), 1u);
  EXPECT_NE(out.fb2.find("id=\"pic_1.png\""), std::string::npos);
  // The four refusals are told once, with their count.
  ASSERT_EQ(out.warnings.size(), 1u);
  EXPECT_EQ(out.warnings[0], "4 pictures left out, they are not picture files inside the book's folder");
}

TEST(Fb2Export, RepeatedPictureFindingsAreCountedOnce) {
  test::ScratchFolder folder;
  std::string body;
  for (int i = 0; i < 300; ++i) {
    const std::string name = "p" + std::to_string(i) + ".jpg";
    ASSERT_TRUE(common::WriteFileAtomic(folder / name, "not a picture"));
    body += MakeParagraph("<IMG src=" + name + "> <IMG src=gone" + std::to_string(i) + ".png>");
  }
  const auto out = Export(Book(body), LibraryOptions(), folder.path());
  ASSERT_EQ(out.warnings.size(), 2u);
  EXPECT_EQ(out.warnings[0], "300 picture files not found");
  EXPECT_EQ(out.warnings[1], "300 pictures in an unsupported format");
}

TEST(Fb2Export, GenresAreTheSchemasAndOthersAreLeftOut) {
  std::string schema;
  ASSERT_TRUE(common::ReadWholeFile(pw::test::ShippedDataPath("") / kFb2SchemaFile, schema));
  const size_t type = schema.find("name=\"genreType\"");
  ASSERT_NE(type, std::string::npos);
  std::vector<std::string> listed;
  const std::string mark = "<xs:enumeration value=\"";
  for (size_t at = schema.find(mark, type); at != std::string::npos; at = schema.find(mark, at + 1)) {
    const size_t start = at + mark.size();
    listed.push_back(schema.substr(start, schema.find('"', start) - start));
  }
  ASSERT_EQ(listed.size(), GenreCodes().size());
  for (size_t i = 0; i < listed.size(); ++i) EXPECT_EQ(listed[i], GenreCodes()[i]);

  Fb2Description d = FixedDescription();
  d.genres = {"romance_historical", "prose_classic", "made_up"};
  const auto out = Export(Book(MakeParagraph("Text.")), LibraryOptions(), {}, d);
  EXPECT_NE(out.fb2.find("<genre>prose_classic</genre>"), std::string::npos);
  EXPECT_EQ(out.fb2.find("made_up"), std::string::npos);
  ASSERT_EQ(out.warnings.size(), 2u);
  EXPECT_EQ(out.warnings[0], "genre left out, it is not an FB2 genre code: romance_historical");
  d.genres = {"made_up"};
  EXPECT_NE(Export(Book(MakeParagraph("Text.")), LibraryOptions(), {}, d).fb2.find("<genre>unrecognised</genre>"),
            std::string::npos);
}

TEST(Fb2Export, FileNamesAndTheWrittenFile) {
  Fb2Description d = FixedDescription();
  d.sequenceName = "Series";
  d.sequenceNumber = "3";
  EXPECT_EQ(MakeFb2FileName(d, "", false, false), "noname.fb2");
  EXPECT_EQ(MakeFb2FileName(d, "my: book", false, false), "my_ book.fb2");
  EXPECT_EQ(MakeFb2FileName(d, "ignored", true, false), "Writer_Anna_Test_Book_Series_3.fb2");
  d.authors = {{"Лев", "", "Толстой", "", ""}};
  d.title = "Война и мир";
  EXPECT_EQ(MakeFb2FileName(d, "", true, true), "Tolstoy_Lev_Voyna_i_mir_Series_3.fb2");

  test::ScratchFolder scratch;
  const fs::path folder = scratch.path();
  common::NullProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  const fs::path out = folder / "noname.fb2";
  ASSERT_TRUE(MakeFb2File(Book(MakeParagraph("Text.")), FixedDescription(), LibraryOptions(), folder, out, true, session));
  std::string written;
  ASSERT_TRUE(common::ReadWholeFile(out, written));
  ExpectValid(written, "written file");
  EXPECT_TRUE(fs::exists(folder / "noname.fb2.zip"));
  EXPECT_EQ(sink.shown.back(), "the book was saved as\n" + out.string());

  // An output that cannot be written stops the export with the four-line message.
  fs::permissions(out, fs::perms::owner_read, fs::perm_options::replace);
  if (::access(out.c_str(), W_OK) != 0) {
    EXPECT_FALSE(MakeFb2File(Book(MakeParagraph("Other.")), FixedDescription(), LibraryOptions(), folder, out, false, session));
    EXPECT_EQ(sink.shown.back(), "File\n" + out.string() + "\nis open in some program\nClose the file and try again");
    std::string still;
    ASSERT_TRUE(common::ReadWholeFile(out, still));
    EXPECT_EQ(still, written);
  }
  fs::permissions(out, fs::perms::owner_all, fs::perm_options::replace);
}

}  // namespace
}  // namespace pw::fb2
