// FB2 -> html0 -> FB2: the book that comes back keeps its structure.
#include <gtest/gtest.h>

#include <iostream>
#include <map>

#include "Fb2Outline.h"
#include "common/CodePage.h"
#include "common/Files.h"
#include "fb2/Fb2Export.h"
#include "fb2/Fb2Import.h"
#include "markup/DescriptionPlace.h"
#include "markup/Normalise.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::fb2 {
namespace {

namespace fs = std::filesystem;

// Answers every question with yes, as `convert --yes` does.
class YesSink final : public common::MessageSink {
 public:
  void Show(std::string_view text) override { shown.emplace_back(text); }
  bool Ask(std::string_view, bool) override { return true; }
  std::vector<std::string> shown;
};

struct RoundTrip {
  bool imported = false;
  bool exported = false;
  std::string fb2;
  std::vector<std::string> skipped;   // what the import told it left out or mended
  std::vector<std::string> findings;  // schema and structure findings of the written FB2
  std::vector<std::string> diffs;
  test::Fb2Outline before;
  test::Fb2Outline after;
};

// Imports `source` as the workshop opens a book (the import, then the load normalisation) and
// exports it again for a library.
RoundTrip ThereAndBack(std::string_view source, bool sectionMode) {
  RoundTrip trip;
  pw::test::ScratchFolder folder;
  common::NullProgress progress;
  YesSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  session.workFolder = folder.path();
  session.settings.sectionMode = sectionMode;

  Fb2ImportOptions importOptions;
  importOptions.makeContents = false;
  const Fb2ImportResult imported = ConvertFb2ToHtml0(source, session, importOptions);
  trip.imported = imported.ok;
  trip.skipped = imported.skipped;
  if (!imported.ok) return trip;
  std::string book = imported.html0;
  markup::CutFb2Description(book);
  markup::NormaliseBookHeader(book, sectionMode);

  Fb2ExportOptions exportOptions;
  exportOptions.bookForLibrary = true;
  exportOptions.dashes = "long";
  // The cover the import restored goes back as the book's cover, as the book's folder keeps it.
  if (!imported.coverFile.empty()) exportOptions.cover = folder.path() / imported.coverFile;
  const Fb2ExportResult exported =
      ConvertHtml0ToFb2(book, imported.description.value_or(Fb2Description{}), exportOptions, folder.path(), session);
  trip.exported = exported.ok;
  trip.fb2 = exported.bytes;
  trip.findings = pw::test::Fb2Problems(trip.fb2);

  trip.before = test::ReadFb2Outline(source);
  trip.after = test::ReadFb2Outline(trip.fb2);
  test::OutlineOptions compare;
  compare.nesting = sectionMode;
  compare.mergedTitles = !sectionMode;
  trip.diffs = test::CompareFb2Outlines(trip.before, trip.after, compare);
  return trip;
}

std::string Lines(const std::vector<std::string>& items) {
  std::string out;
  for (const std::string& item : items) out += "\n  " + item;
  return out;
}

TEST(Fb2Outline, SeesWhatDiffers) {
  const std::string a =
      "<FictionBook xmlns:l=\"http://www.w3.org/1999/xlink\"><description><title-info><book-title>T</book-title>"
      "</title-info></description><body><section id=\"s\"><title><p>One</p></title><p>x — y…</p>"
      "<poem><stanza><v>a</v></stanza><stanza><v>b</v></stanza></poem><p><a l:href=\"#n1\">1</a></p></section></body>"
      "<body name=\"notes\"><section id=\"n1\"><title><p>1</p></title><p>Note</p></section></body></FictionBook>";
  const test::Fb2Outline outline = test::ReadFb2Outline(a);
  EXPECT_EQ(outline.titles, std::vector<std::string>{"One"});
  EXPECT_EQ(outline.paragraphs, (std::vector<std::string>{"x - y...", "1"}));
  EXPECT_EQ(outline.poems, std::vector<std::string>{"a // b"});
  EXPECT_EQ(outline.stanzas, 2u);
  EXPECT_EQ(outline.links, 1u);
  EXPECT_EQ(outline.brokenLinks, 0u);
  EXPECT_EQ(outline.notes, std::vector<std::string>{"Note"});
  EXPECT_TRUE(test::CompareFb2Outlines(outline, outline).empty());

  std::string b = a;
  b.replace(b.find("<stanza><v>b"), 17, "<v>b");  // one stanza less
  b.replace(b.find("#n1"), 3, "#zz");               // a link that leads nowhere
  const auto diffs = test::CompareFb2Outlines(outline, test::ReadFb2Outline(b));
  EXPECT_NE(Lines(diffs).find("stanzas: 2 became 1"), std::string::npos) << Lines(diffs);
  EXPECT_NE(Lines(diffs).find("broken links: 0 became 1"), std::string::npos) << Lines(diffs);
}

TEST(Fb2RoundTrip, EveryElementKeepsItsStructure) {
  const std::string source = pw::test::ReadData("fb2/roundtrip/every-element.fb2");
  for (const bool sectionMode : {true, false}) {
    const RoundTrip trip = ThereAndBack(source, sectionMode);
    ASSERT_TRUE(trip.imported);
    ASSERT_TRUE(trip.exported);
    EXPECT_TRUE(trip.findings.empty()) << Lines(trip.findings);
    EXPECT_TRUE(trip.diffs.empty()) << (sectionMode ? "section mode" : "titles only") << Lines(trip.diffs) << "\n"
                                    << trip.fb2;
  }
}

// Broken files open as far as they can be read, say what was left out or mended, and are
// written again as valid FB2 with the text that could be read.
TEST(Fb2RoundTrip, BrokenBooksOpenAsFarAsTheyCanBeRead) {
  const std::string head =
      "<FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" xmlns:l=\"http://www.w3.org/1999/xlink\">"
      "<description><title-info><genre>prose_classic</genre><author><nickname>n</nickname></author>"
      "<book-title>Broken</book-title><lang>ru</lang></title-info></description>";
  const std::string utf8Decl = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
  const std::string cp1251Decl = "<?xml version=\"1.0\" encoding=\"windows-1251\"?>\n";
  struct Broken {
    const char* what;
    std::string bytes;
    std::vector<std::string> kept;  // words that must come back
    bool told;                      // the import says what it left out or mended
  };
  const std::vector<Broken> books = {
      {"not well-formed", utf8Decl + head + "<body><section><p>Fish & chips <b>bold</p><p>Second<section><p>Deep",
       {"Fish", "chips", "bold", "Second", "Deep"}, true},
      {"undeclared entities", utf8Decl + head + "<body><section><p>Version &Program; here&mdash;there</p></section></body></FictionBook>",
       {"Version", "here", "there"}, true},
      {"damaged base64", utf8Decl + head +
           "<body><section><p>Picture follows.</p><image l:href=\"#p.png\"/><p>After.</p></section></body>"
           "<binary id=\"p.png\" content-type=\"image/png\">iVBO!!Rw0K\n##GgoAAAANSUhEUg==junk</binary></FictionBook>",
       {"Picture", "follows", "After"}, true},
      {"windows-1251 declared, UTF-8 written", cp1251Decl + head +
           "<body><section><p>Привет, мир</p></section></body></FictionBook>",
       {"Привет", "мир"}, true},
      {"UTF-8 declared, windows-1251 written",
       utf8Decl + head + common::EncodeFromUtf8("<body><section><p>Привет, мир</p></section></body></FictionBook>",
                                                common::CodePage::Win1251),
       {"Привет", "мир"}, true},
      {"cut off in the middle", utf8Decl + head + "<body><section><title><p>Head</p></title><p>Half a sent",
       {"Head", "Half"}, true},
  };
  for (const Broken& book : books) {
    const RoundTrip trip = ThereAndBack(book.bytes, true);
    ASSERT_TRUE(trip.imported && trip.exported) << book.what;
    EXPECT_TRUE(trip.findings.empty()) << book.what << Lines(trip.findings);
    for (const std::string& word : book.kept) EXPECT_NE(trip.fb2.find(word), std::string::npos) << book.what << ": " << word;
    if (book.told) {
      EXPECT_FALSE(trip.skipped.empty()) << book.what;
    }
    std::cout << "[broken] " << book.what << ":" << Lines(trip.skipped) << "\n";
  }
}

// What may differ after the round trip, and why; every other book of a folder must come back
// with the same structure. The differences are kept exact so that a change either way shows.
using Expected = std::map<std::string, std::vector<std::string>>;

void CheckFolder(const fs::path& folder, const Expected& expected) {
  size_t books = 0;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".fb2") continue;
    std::string source;
    ASSERT_TRUE(common::ReadWholeFile(entry.path(), source));
    const RoundTrip trip = ThereAndBack(source, true);
    const std::string name = entry.path().filename().string();
    ASSERT_TRUE(trip.imported && trip.exported) << name;
    EXPECT_TRUE(trip.findings.empty()) << name << Lines(trip.findings);
    const auto known = expected.find(name);
    const std::vector<std::string> allowed = known == expected.end() ? std::vector<std::string>{} : known->second;
    EXPECT_EQ(trip.diffs, allowed) << name << Lines(trip.diffs);
    std::cout << "[round trip] " << name << ": " << trip.before.paragraphs.size() << " -> "
              << trip.after.paragraphs.size() << " paragraphs, " << trip.before.titles.size() << " -> "
              << trip.after.titles.size() << " titles, " << trip.before.poems.size() << " -> "
              << trip.after.poems.size() << " poems, " << trip.before.notes.size() << " -> " << trip.after.notes.size()
              << " notes" << Lines(trip.diffs) << "\n";
    ++books;
  }
  EXPECT_GT(books, 0u);
}

// Books made for the round trip: six levels of sections with pictures, notes and a style sheet;
// a Russian book in windows-1251 with every block element; a library fixture with empty
// sections and sections holding only their heading.
TEST(Fb2RoundTrip, BooksOfEveryShape) {
  const Expected expected = {
      // The text standing before the sub-sections of "Level one" and "Level three" gets a
      // section of its own: a section holds text or sub-sections, not both.
      {"six-levels.fb2",
       {"sections: 8 became 10", "sections[1]: '2|Level two' became '2|'",
        "sections[2]: '3|Level three' became '2|Level two'", "sections[3]: '4|Level four' became '3|Level three'"}},
      // The two empty sections are not written.
      {"empty-sections.fb2",
       {"sections: 7 became 5", "sections[1]: '1|' became '1|Title alone'", "sections[2]: '1|Title alone' became '1|'",
        "sections[3]: '1|' became '1|Holder'"}},
  };
  CheckFolder(pw::test::DataPath("fb2/roundtrip"), expected);
}

TEST(Fb2RoundTrip, SmallBooksOfTheImportTests) {
  const Expected expected = {
      // The picture before the book's title gets a section of its own; the made-up JPEG is not a
      // picture the export can read; "prose" is not an FB2 genre code.
      {"pictures.fb2", {"sections: 1 became 2", "pictures: 3 became 2", "genres[0]: 'prose' became 'unrecognised'"}},
      // A text author standing alone is written as a paragraph.
      {"marked-elements.fb2", {"paragraphs: 1 became 2", "text authors: 3 became 2"}},
      // The source uses HTML entities XML does not know: its outline lost them, the book kept them.
      {"entities.fb2",
       {"paragraphs[0]: '\"Quoted\" guillemets ... №5' became '\"Quoted\" © «guillemets» ... №5'",
        "paragraphs[1]: 'Markup as text: b quot; and a bare ampersand.' became 'Markup as text: <b> & &quot; and a "
        "bare & ampersand.'",
        "paragraphs[2]: 'Declared: ; undeclared: .' became 'Declared: 2.1; undeclared: &program;.'"}},
      // A paragraph that starts with a dash gets a no-break space after it.
      {"dialogs.fb2", {"paragraphs[1]: '-Hyphen with a blank before.' became '- Hyphen with a blank before.'"}},
  };
  CheckFolder(pw::test::DataPath("fb2/import"), expected);
}

TEST(Fb2RoundTrip, CorpusBooks) {
  const fs::path folder = pw::test::CorpusPath("fb2");
  if (folder.empty() || !fs::is_directory(folder)) GTEST_SKIP() << "sample corpus not beside the checkout";
  Expected expected = {
      // Text encoded twice is read as meant; the author given twice is kept once; a book must
      // have a section.
      {"ru_edgecase_description_only_mojibake_no_xmldecl.fb2",
       {"sections: 0 became 1", "book title: 'Òðèíêîìàëè' became 'Тринкомали'", "authors: 2 became 1",
        "authors[0]: 'Àëåêñàíäð Áóøêîâ' became 'Александр Бушков'"}},
      {"fixture_pandoc_reader_meta.fb2", {"sections: 0 became 1"}},
      // Genre codes that are not FB2 codes are left out.
      {"ru_gribov_description_tutorial_no_xmldecl.fb2",
       {"genres: 7 became 1", "genres[0]: 'history_russia' became 'computers'"}},
  };
  // An author with one name only is written as a nickname (the name is read from the file, so
  // that the test does not spell it).
  {
    std::string source;
    common::ReadWholeFile(folder / "ru_fbreader_minihelp.fb2", source);
    const size_t start = source.find("<last-name>");
    const size_t end = source.find("</last-name>");
    const std::string name =
        start == std::string::npos || end == std::string::npos ? std::string() : source.substr(start + 11, end - start - 11);
    expected["ru_fbreader_minihelp.fb2"] = {"sections: 0 became 1", "authors[0]: '" + name + "' became ''"};
  }
  CheckFolder(folder, expected);
}

}  // namespace
}  // namespace pw::fb2
