#include "fb2/Fb2Import.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "fb2/DescriptionReader.h"
#include "fb2/Fb2Encoding.h"
#include "markup/BookMarkup.h"
#include "markup/DescriptionPlace.h"
#include "support/TestSupport.h"

namespace pw::fb2 {
namespace {

namespace fs = std::filesystem;

struct Imported {
  Fb2ImportResult result;
  std::vector<std::string> statuses;
  std::vector<std::string> shown;
  common::CodePage codePage = common::CodePage::Win1251;
};

Imported Import(std::string_view bytes, const fs::path& folder = {}, bool sectionMode = false,
                Fb2ImportOptions options = {}) {
  common::RecordingProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  session.workFolder = folder;
  session.settings.sectionMode = sectionMode;
  Imported imported;
  imported.result = ConvertFb2ToHtml0(bytes, session, options);
  imported.statuses = progress.statuses;
  imported.shown = sink.shown;
  imported.codePage = session.codePage;
  return imported;
}

std::string Fb2(std::string_view body, std::string_view description = {}) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" "
         "xmlns:l=\"http://www.w3.org/1999/xlink\">" +
         std::string(description) + "<body>" + std::string(body) + "</body></FictionBook>";
}

// The book text between the body tag and the last-paragraph mark.
std::string BookText(const std::string& html0) {
  const size_t body = html0.find("<BODY");
  const size_t start = html0.find('>', body) + 1;
  const size_t end = html0.find(markup::kLastParagraph);
  return html0.substr(start, end - start);
}

bool Contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

bool HasItemContaining(const std::vector<std::string>& items, std::string_view part) {
  return std::any_of(items.begin(), items.end(), [&](const std::string& item) { return Contains(item, part); });
}

// ---- one golden book per pass of the body conversion -----------------------------------------

class Fb2ImportRow : public ::testing::TestWithParam<const char*> {};

TEST_P(Fb2ImportRow, MatchesGolden) {
  const std::string name = GetParam();
  test::ScratchFolder folder;
  const Imported imported = Import(test::ReadData("fb2/import/" + name + ".fb2"), folder.path(), name == "sections");
  ASSERT_TRUE(imported.result.ok);
  EXPECT_TRUE(test::MatchesGolden(imported.result.html0, "fb2/import/" + name + ".html0"));
}

INSTANTIATE_TEST_SUITE_P(BodyConversion, Fb2ImportRow,
                         ::testing::Values("tidy", "sections", "spacing", "ids", "links", "poems", "styles",
                                           "bookmarks", "titles", "entities", "leftovers", "dialogs", "paragraphs",
                                           "verse-lines", "marked-elements", "cleaning", "notes", "description",
                                           "pictures"));

TEST(Fb2Import, EntityExpansionIsBoundedAndRefusedWithAMessage) {
  // One 100 KB entity used 1000 times would make a 100 MB book of a 104 KB file.
  const std::string big(100 * 1024, 'x');
  std::string uses;
  for (int i = 0; i < 1000; ++i) uses += "&big;";
  // The document type goes after the declaration line.
  const auto withEntity = [](const std::string& entity, const std::string& body) {
    std::string fb2 = Fb2("<section><p>" + body + "</p></section>");
    return fb2.insert(fb2.find('\n') + 1, "<!DOCTYPE FictionBook [<!ENTITY " + entity + ">]>\n");
  };
  const std::string file = withEntity("big \"" + big + "\"", uses);
  common::RecordingProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  test::ScratchFolder folder;
  const fs::path source = folder / "entities.fb2";
  ASSERT_TRUE(common::WriteFileAtomic(source, file));
  EXPECT_FALSE(ConvertFb2FileToHtml0(source, folder / "book.html0", session));
  EXPECT_FALSE(fs::exists(folder / "book.html0"));
  ASSERT_FALSE(sink.shown.empty());
  EXPECT_EQ(sink.shown.front(),
            "the entities the FB2 file declares would make the book larger than 16 MB; the file is refused");
  // A few uses stay within the limit and are expanded.
  const auto small = Import(withEntity("e \"Entity text\"", "&e; and &e;"));
  EXPECT_TRUE(small.result.ok);
  EXPECT_NE(small.result.html0.find("Entity text and Entity text"), std::string::npos);
}

TEST(Fb2Import, StatusTextsComeInTheOrderOfTheSteps) {
  test::ScratchFolder folder;
  const Imported imported = Import(test::ReadData("fb2/import/pictures.fb2"), folder.path());
  const std::vector<std::string> expected = {
      "...converting fb2 to html0...",
      "1...restoring images...",
      "...converting fb2 to html0: decoding...",
      "...converting fb2 to html0: restoring line ends...",
      "...getting fb2 description...",
      "...restoring existed bookmarks...",
      "...restoring bookmarks...",
      "...looking for titles...",
      "...replacing html entities...",
      "...replacing bad symbols...",
      "...looking for dialogs...",
      "...looking for paragraphs...",
      "...looking for epigraphs...",
      "...looking for styles...",
      "...cleaning...",
      "...replacing non-standard symbols...",
      "...making TOC...",
  };
  size_t at = 0;
  for (const std::string& status : imported.statuses) {
    if (at < expected.size() && status == expected[at]) ++at;
  }
  EXPECT_EQ(at, expected.size()) << "missing or out of order: " << (at < expected.size() ? expected[at] : "");
}

// ---- the edge cases of the format ------------------------------------------------------------

TEST(Fb2Import, XLinkAndLPrefixesGiveTheSameBook) {
  const std::string body =
      "<section><p id=\"a\">Text<a PREFIX:href=\"#n\" type=\"note\">1</a>.</p><image PREFIX:href=\"#pic\"/></section>";
  auto withPrefix = [&](std::string_view prefix, std::string_view declared) {
    std::string text = common::ReplaceAll(body, "PREFIX", prefix);
    return "<?xml version=\"1.0\"?><FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" xmlns:" +
           std::string(declared) + "=\"http://www.w3.org/1999/xlink\"><body>" + text +
           "</body><body name=\"notes\"><section id=\"n\"><p>Note.</p></section></body>"
           "<binary id=\"pic\" content-type=\"image/png\">iVBORw0KGgo=</binary></FictionBook>";
  };
  test::ScratchFolder a, b, c, d;
  const std::string withL = Import(withPrefix("l", "l"), a.path()).result.html0;
  EXPECT_TRUE(Contains(withL, "<A href=#n>1</A>"));
  EXPECT_TRUE(Contains(withL, "<IMG src=Fb2toPwIm_1.png"));
  EXPECT_EQ(Import(withPrefix("xlink", "xlink"), b.path()).result.html0, withL);
  // Any prefix bound to the XLink namespace, and "xlink" even when nobody bound it.
  EXPECT_EQ(Import(withPrefix("xl", "xl"), c.path()).result.html0, withL);
  EXPECT_EQ(Import(withPrefix("xlink", "l"), d.path()).result.html0, withL);
}

TEST(Fb2Import, TwoStanzasMakeOneVerseWithABreakBetween) {
  const Imported imported =
      Import(Fb2("<section><poem><stanza><v>a</v><v>b</v></stanza><stanza><v>c</v></stanza></poem></section>"));
  const std::string text = BookText(imported.result.html0);
  EXPECT_EQ(common::CountOccurrences(text, markup::kVerseOpen), 1u);
  EXPECT_TRUE(Contains(text, markup::MakeVerse(markup::MakeParagraph("a") + "\r\n" + markup::MakeParagraph("b") +
                                                   "<BR>\r\n" + markup::MakeParagraph("c"),
                                               {}, common::ElementColours{}.verse)))
      << text;
}

TEST(Fb2Import, DialogueLineKeepsItsHyphenWithANoBreakSpace) {
  const std::string text = BookText(Import(Fb2("<section><p>- Who is there?</p><p>-No blank.</p></section>")).result.html0);
  EXPECT_TRUE(Contains(text, "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-&nbsp;Who is there?</DIV>")) << text;
  EXPECT_TRUE(Contains(text, "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-No blank.</DIV>")) << text;
}

TEST(Fb2Import, SectionMarksOnlyInSectionMode) {
  const std::string book = Fb2("<section><section><p>x</p></section></section>");
  EXPECT_EQ(common::CountOccurrences(Import(book, {}, true).result.html0, markup::kSectionStart), 2u);
  EXPECT_EQ(common::CountOccurrences(Import(book, {}, true).result.html0, markup::kSectionEnd), 2u);
  EXPECT_FALSE(Contains(Import(book, {}, false).result.html0, "FbSection"));
}

TEST(Fb2Import, ContentsFollowTheBookTitleWhenAsked) {
  const std::string book = Fb2("<section><title><p>One</p></title><p>x</p></section>",
                               "<description><title-info><book-title>B</book-title></title-info></description>");
  const std::string with = Import(book).result.html0;
  EXPECT_TRUE(Contains(with, markup::kContentsOpen));
  EXPECT_LT(with.find(markup::kBookTitleOpen), with.find(markup::kContentsOpen));
  EXPECT_TRUE(Contains(with, "Table of Content")) << "an English book has the English heading";
  Fb2ImportOptions without;
  without.makeContents = false;
  EXPECT_FALSE(Contains(Import(book, {}, false, without).result.html0, markup::kContentsOpen));
}

// ---- encodings -------------------------------------------------------------------------------

TEST(Fb2Import, DecodesTheDeclaredCodePage) {
  const std::string cyrillic = "Привет";
  const std::string win1251 = common::EncodeFromUtf8(cyrillic, common::CodePage::Win1251);
  const std::string book = "<?xml version=\"1.0\" encoding=\"windows-1251\"?><FictionBook><body><p>" + win1251 +
                           "</p></body></FictionBook>";
  const Imported imported = Import(book);
  EXPECT_TRUE(Contains(imported.result.html0, cyrillic));
  EXPECT_TRUE(imported.result.skipped.empty());
  EXPECT_EQ(imported.codePage, common::CodePage::Win1251);
}

TEST(Fb2Import, ADeclarationThatLiesIsOverruledAndReported) {
  const std::string cyrillic = "Съешь же ещё этих мягких французских булок, да выпей чаю";
  // UTF-8 text declared as windows-1251.
  const Imported utf8 = Import("<?xml version=\"1.0\" encoding=\"windows-1251\"?><FictionBook><body><p>" + cyrillic +
                               "</p></body></FictionBook>");
  EXPECT_TRUE(Contains(utf8.result.html0, cyrillic));
  EXPECT_TRUE(HasItemContaining(utf8.result.skipped, "UTF-8"));
  // windows-1251 text declared as UTF-8 (and without a declaration, which means UTF-8).
  const std::string win1251 = common::EncodeFromUtf8(cyrillic, common::CodePage::Win1251);
  for (const std::string& head : {std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"), std::string()}) {
    const Imported single = Import(head + "<FictionBook><body><p>" + win1251 + "</p></body></FictionBook>");
    EXPECT_TRUE(Contains(single.result.html0, cyrillic)) << head;
    EXPECT_TRUE(HasItemContaining(single.result.skipped, "windows-1251")) << head;
  }
}

TEST(Fb2Import, TextEncodedTwiceIsReadAsMeant) {
  // Windows-1251 bytes read as Latin-1 and saved as UTF-8, with typographic quotes of 128-159.
  std::string twice = "<FictionBook><body><p>\u201C\u00CF\u00F0\u00E8\u00E2\u00E5\u00F2\u201D, "
                      "\u00F1\u00EA\u00E0\u00E7\u00E0\u00EB \u00B8\u00E6.</p></body></FictionBook>";
  std::string repaired = twice;
  ASSERT_TRUE(RepairDoubleEncoding(repaired));
  EXPECT_EQ(repaired, "<FictionBook><body><p>“Привет”, сказал ёж.</p></body></FictionBook>");
  const Imported imported = Import(twice);
  EXPECT_TRUE(Contains(imported.result.html0, "“Привет”, сказал ёж."));
  EXPECT_TRUE(HasItemContaining(imported.result.skipped, "encoded twice"));
  // Western text with accented letters, and text that has real Cyrillic, stay as they are.
  for (std::string text : {std::string("<p>Une île où l'été déjà élégant, garçon à côté.</p>"),
                           std::string("<p>Ärger über Öl, Straße, Müller — schön.</p>"),
                           std::string("<p>Àëåêñàíäð Áóøêîâ и настоящий текст</p>")}) {
    const std::string before = text;
    EXPECT_FALSE(RepairDoubleEncoding(text)) << before;
    EXPECT_EQ(text, before);
  }
}

TEST(Fb2Import, ByteOrderMarksAndUtf16) {
  const std::string text = "<FictionBook><body><p>Ёж</p></body></FictionBook>";
  EXPECT_TRUE(Contains(Import("\xEF\xBB\xBF" + text).result.html0, "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Ёж</DIV>"));
  // UTF-16 little-endian with its mark.
  std::string utf16 = "\xFF\xFE";
  for (size_t pos = 0; pos < text.size();) {
    char32_t cp = 0;
    const auto c = static_cast<unsigned char>(text[pos]);
    if (c < 0x80) cp = c, pos += 1;
    else cp = ((c & 0x1F) << 6) | (static_cast<unsigned char>(text[pos + 1]) & 0x3F), pos += 2;
    utf16 += static_cast<char>(cp & 0xFF);
    utf16 += static_cast<char>(cp >> 8);
  }
  EXPECT_TRUE(Contains(Import(utf16).result.html0, "Ёж"));
}

// ---- broken files ----------------------------------------------------------------------------

TEST(Fb2Import, BrokenFileIsReadAsFarAsItGoesAndTheUserIsTold) {
  const std::string broken =
      "<FictionBook xmlns:l=\"http://www.w3.org/1999/xlink\"><description><title-info><book-title>Tom & Jerry"
      "</book-title></title-info></description><body><section><title><p>One</title>"
      "<p>Fish & chips &unknown; <b>bold?</b><p id=\"x\">Second<p id=\"x\">Third"
      "<p><image l:href=\"#nothere\"/></p><section><p>Deeper</section>"
      "</body><binary id=\"b\" content-type=\"image/png\">!!!</binary>";
  test::ScratchFolder folder;
  const Imported imported = Import(broken, folder.path());
  ASSERT_TRUE(imported.result.ok);
  const std::string text = BookText(imported.result.html0);
  for (const char* part : {"Fish &amp; chips &amp;unknown; bold?", "Second", "Third", "Deeper"})
    EXPECT_TRUE(Contains(text, part)) << part << "\n" << text;
  EXPECT_TRUE(Contains(imported.result.html0, "<B>Tom &amp; Jerry</B>"));
  const auto& skipped = imported.result.skipped;
  EXPECT_TRUE(HasItemContaining(skipped, "undeclared entities kept as text (&unknown;)"));
  EXPECT_TRUE(HasItemContaining(skipped, "elements without an end tag closed"));
  EXPECT_TRUE(HasItemContaining(skipped, "1 repeated ids dropped"));
  EXPECT_TRUE(HasItemContaining(skipped, "1 pictures left out"));
  EXPECT_TRUE(HasItemContaining(skipped, "binaries with damaged base64"));
}

TEST(Fb2Import, HeadingsFromTheDescriptionOrTheBodyTitle) {
  const std::string description =
      "<description><title-info><author><first-name>Лев</first-name><middle-name>Николаевич</middle-name>"
      "<last-name>Толстой</last-name></author><book-title>Война и мир</book-title></title-info></description>";
  // Lines of the body's title that say the headings again go; others stay as subtitles.
  std::string html0 =
      Import(Fb2("<title><p>Лев Толстой</p><p>Война и мир.</p><p>Том первый</p></title><section><p>x</p></section>",
                 description))
          .result.html0;
  EXPECT_TRUE(Contains(html0, "<B>Лев Николаевич Толстой</B>"));
  EXPECT_TRUE(Contains(html0, "<B>Война и мир</B>"));
  EXPECT_EQ(common::CountOccurrences(html0, markup::kSubtitleOpen), 1u);
  EXPECT_TRUE(Contains(html0, "<B>Том первый</B></FONT></DIV></SPAN>"));
  // Without a description the body's title gives them: author first when it has two lines.
  html0 = Import(Fb2("<title><p>Anna Writer</p><p>The</p><p>Book</p></title><section><p>x</p></section>")).result.html0;
  EXPECT_TRUE(Contains(html0, markup::MakeBookAuthor("Anna Writer", common::ElementColours{}.bookAuthor)));
  EXPECT_TRUE(Contains(html0, markup::MakeBookTitle("The Book", common::ElementColours{}.bookTitle)));
  html0 = Import(Fb2("<title><p>Only a title</p></title><section><p>x</p></section>")).result.html0;
  EXPECT_FALSE(Contains(html0, markup::kBookAuthorOpen));
  EXPECT_TRUE(Contains(html0, markup::MakeBookTitle("Only a title", common::ElementColours{}.bookTitle)));
}

TEST(Fb2Import, TextOutsideTheBodyIsKept) {
  const std::string html0 = Import("<FictionBook><section><p>Lost section</p></section><p>Lost paragraph</p>"
                                   "<binary id=\"x\" content-type=\"image/png\">QUJD</binary></FictionBook>")
                                .result.html0;
  EXPECT_TRUE(Contains(html0, "Lost section"));
  EXPECT_TRUE(Contains(html0, "Lost paragraph"));
  EXPECT_FALSE(Contains(html0, "QUJD"));
}

TEST(Fb2Import, TextWithoutFictionBookIsNotABook) {
  EXPECT_FALSE(Import("just some text, no markup at all").result.ok);
  EXPECT_FALSE(Import("").result.ok);
  EXPECT_TRUE(Import("<body><p>a body without its root</p></body>").result.ok);
}

TEST(Fb2Import, PicturesAreWrittenIntoTheBookFolder) {
  test::ScratchFolder folder;
  const Imported imported = Import(test::ReadData("fb2/import/pictures.fb2"), folder.path());
  ASSERT_TRUE(imported.result.ok);
  EXPECT_EQ(imported.result.pictures, (std::vector<std::string>{"Fb2toPwIm_1.png", "Fb2toPwIm_2.jpg"}));
  std::string png;
  ASSERT_TRUE(common::ReadWholeFile(folder / "Fb2toPwIm_1.png", png));
  EXPECT_TRUE(png.starts_with("\x89PNG")) << "the line-broken binary decodes whole";
  std::string jpeg;
  ASSERT_TRUE(common::ReadWholeFile(folder / "Fb2toPwIm_2.jpg", jpeg));
  EXPECT_TRUE(jpeg.starts_with("\xFF\xD8\xFF")) << "the binary padded with junk is repaired";
  // The picture that stood before the body title leads the book, before the headings.
  const std::string& html0 = imported.result.html0;
  EXPECT_LT(html0.find("<IMG src=Fb2toPwIm_1.png"), html0.find(markup::kBookAuthorOpen));
  EXPECT_TRUE(HasItemContaining(imported.result.skipped, "1 pictures left out"));
  EXPECT_TRUE(HasItemContaining(imported.result.skipped, "1 binaries with a repeated id dropped"));
  // A picture inside a line stays in it; one between paragraphs is a centred block.
  EXPECT_TRUE(Contains(html0, "A picture in a line <IMG src=Fb2toPwIm_1.png align=middle> and"));
  EXPECT_TRUE(Contains(html0, "\r\n<DIV align=center><IMG src=Fb2toPwIm_2.jpg align=middle></DIV>"));
  // The cover becomes a file of the book folder; the description does not point to a binary
  // the book no longer has.
  EXPECT_EQ(imported.result.coverFile, "cover.jpg");
  std::string cover;
  ASSERT_TRUE(common::ReadWholeFile(folder / "cover.jpg", cover));
  EXPECT_TRUE(cover.starts_with("\xFF\xD8\xFF"));
  ASSERT_TRUE(imported.result.description);
  EXPECT_TRUE(imported.result.description->coverId.empty());
}

TEST(Fb2Import, MissingCoverIsReported) {
  const Imported imported = Import(Fb2("<section><p>x</p></section>",
                                       "<description><title-info><book-title>B</book-title><coverpage>"
                                       "<image l:href=\"#nothere.jpg\"/></coverpage></title-info></description>"),
                                   test::ScratchFolder().path());
  EXPECT_TRUE(imported.result.coverFile.empty());
  EXPECT_TRUE(HasItemContaining(imported.result.skipped, "the cover picture left out"));
}

// ---- the file form ---------------------------------------------------------------------------

TEST(Fb2Import, FileFormWritesTheBookItsDescriptionAndItsPictures) {
  test::ScratchFolder folder;
  common::RecordingProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  const fs::path output = folder / "book.html0";
  const auto written = ConvertFb2FileToHtml0(test::DataPath("fb2/import/pictures.fb2"), output, session);
  ASSERT_TRUE(written);
  EXPECT_EQ(*written, output);
  std::string document, fb2, display;
  ASSERT_TRUE(common::ReadWholeFile(output, document));
  ASSERT_TRUE(common::ReadWholeFile(folder / "Description.fb2", fb2));
  ASSERT_TRUE(common::ReadWholeFile(folder / "Description.html0", display));
  EXPECT_FALSE(Contains(document, markup::kFb2DescriptionOpen)) << "the working document keeps it beside";
  EXPECT_TRUE(Contains(document, markup::kTextEnd));
  EXPECT_TRUE(document.ends_with(markup::kBookEnd));
  EXPECT_TRUE(fb2.starts_with("<description>"));
  EXPECT_TRUE(display.starts_with(markup::kDescriptionDisplayOpen));
  EXPECT_TRUE(common::FileExists(folder / "Fb2toPwIm_1.png"));
  ASSERT_EQ(sink.shown.size(), 1u);
  EXPECT_TRUE(sink.shown[0].starts_with(common::MessageText(common::Msg::Fb2ImportSkipped, common::Language::English)));

  // A book without a description says so and writes no description files.
  test::ScratchFolder other;
  sink.shown.clear();
  const fs::path source = other / "plain.fb2";
  ASSERT_TRUE(common::WriteFileAtomic(source, Fb2("<section><p>x</p></section>")));
  ASSERT_TRUE(ConvertFb2FileToHtml0(source, other / "plain.html0", session));
  EXPECT_EQ(sink.shown, std::vector<std::string>{"Fiction Book description not found"});
  EXPECT_FALSE(common::FileExists(other / "Description.fb2"));
  // A file that cannot be read.
  EXPECT_FALSE(ConvertFb2FileToHtml0(other / "missing.fb2", other / "missing.html0", session));
}

// ---- the sample corpus -----------------------------------------------------------------------

TEST(Fb2Import, EveryCorpusBookImports) {
  const fs::path folder = test::CorpusPath("fb2");
  if (folder.empty() || !fs::is_directory(folder)) GTEST_SKIP() << "sample corpus not beside the checkout";
  size_t books = 0;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".fb2") continue;
    std::string bytes;
    ASSERT_TRUE(common::ReadWholeFile(entry.path(), bytes));
    test::ScratchFolder scratch;
    const Imported imported = Import(bytes, scratch.path());
    const std::string name = entry.path().filename().string();
    ASSERT_TRUE(imported.result.ok) << name;
    const std::string& html0 = imported.result.html0;
    EXPECT_TRUE(html0.ends_with(markup::kBookEnd)) << name;
    EXPECT_EQ(common::CountOccurrences(html0, "<SPAN"), common::CountOccurrences(html0, "</SPAN>")) << name;
    EXPECT_EQ(common::CountOccurrences(html0, "<DIV"), common::CountOccurrences(html0, "</DIV>")) << name;
    const std::string text = BookText(html0);
    std::cout << "[corpus] " << name << ": " << common::CountOccurrences(text, markup::kParagraphStart)
              << " paragraphs, " << common::CountOccurrences(text, markup::kTitleOpen) << " titles, "
              << common::CountOccurrences(text, markup::kVerseOpen) << " verses, "
              << common::CountOccurrences(text, "<A id=") - common::CountOccurrences(text, "<A id=toc")
              << " anchors, " << imported.result.pictures.size() << " pictures, "
              << (imported.result.description ? "description" : "no description");
    for (const std::string& item : imported.result.skipped) std::cout << "; " << item;
    std::cout << "\n";
    ++books;
  }
  EXPECT_GT(books, 0u);
}

}  // namespace
}  // namespace pw::fb2
