#include "shell/BookSession.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "markup/BookMarkup.h"
#include "markup/DescriptionPlace.h"
#include "markup/StoredBook.h"
#include "common/Text.h"
#include "shell/CitationFile.h"
#include "shell/SaveBook.h"
#include "shell/ShellTestSupport.h"
#include "shell/ToolInput.h"
#include "shell/ZipFixture.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;
using testing::StateOf;
using testing::Workbench;

struct SessionBench : Workbench {
  BookSession session{workshop, 7, settings, editor, messages, progress};

  size_t BookFolders() const {
    size_t count = 0;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(workshop.instanceFolder(7), ec)) count += entry.is_directory();
    return count;
  }
};

bool OfficeSuiteInstalled() { return !FindTool("", {"soffice", "libreoffice"}).empty(); }

// A compressed stored book with a header, a picture and an inline description.
std::string StoredSample() {
  markup::StoredBook stored;
  stored.hasHeader = true;
  stored.compressed = true;
  stored.header[markup::HeaderField::Title] = "Дорога";
  stored.header[markup::HeaderField::Genre] = "prose";
  std::string document = markup::MakeBlankBook();
  common::ReplaceFirst(document, "Start to type here", "Первая строка<IMG src=\"cover.jpg\">");
  markup::AttachFb2Description(document, "<title-info><book-title>Дорога</book-title></title-info>");
  stored.document = document;
  stored.pictures = {{"cover.jpg", std::string("\xFF\xD8JPEG\0bytes", 11)}};
  return markup::WriteStoredBook(stored);
}

TEST(BookSession, InputChecksInOrderWithTheirMessages) {
  Workbench w;
  const fs::path nine = w.Write("nine.txt", "123456789");
  EXPECT_EQ(CheckInputFile(nine.string(), w.messages), InputCheck::Empty);
  EXPECT_EQ(CheckInputFile(w.Write("ten.TXT", "1234567890").string(), w.messages), InputCheck::Ok);
  EXPECT_EQ(CheckInputFile((w.folder / "missing.txt").string(), w.messages), InputCheck::Missing);
  EXPECT_EQ(CheckInputFile(w.Write("book.xyz", "1234567890").string(), w.messages), InputCheck::Unsupported);
  EXPECT_EQ(CheckInputFile(w.Write("books.ZIP", "1234567890").string(), w.messages), InputCheck::Archive);
  EXPECT_EQ(CheckInputFile(w.folder.path().string(), w.messages), InputCheck::Missing);  // a folder
  // A web address skips the existence and size checks.
  EXPECT_EQ(CheckInputFile("http://example.org/a.txt", w.messages), InputCheck::WebAddress);
  EXPECT_EQ(CheckInputFile("ftp://example.org/a.txt", w.messages), InputCheck::WebAddress);
  const std::vector<std::string> expected{
      "Empty file: " + nine.string(),
      "File not found: " + (w.folder / "missing.txt").string(),
      "Not supported input file format: " + (w.folder / "book.xyz").string(),
      w.folder.path().string() + " is a folder, not a book file",
  };
  EXPECT_EQ(w.sink.shown, expected);
  // A nine-byte file that is empty of book in any case; quiet mode says nothing.
  EXPECT_EQ(CheckInputFile(nine.string(), w.messages, true), InputCheck::Empty);
  EXPECT_EQ(w.sink.shown.size(), expected.size());
  w.messages.SetLanguage(common::Language::Russian);
  CheckInputFile(nine.string(), w.messages);
  EXPECT_EQ(w.sink.shown.back(), "Пустой файл: " + nine.string());
}

TEST(BookSession, InputThatIsNoReadableFileSaysWhatItIs) {
  Workbench w;
  const fs::path pipe = w.folder / "pipe.txt";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(CheckInputFile(pipe.string(), w.messages), InputCheck::Missing);
  w.messages.SetLanguage(common::Language::Russian);
  EXPECT_EQ(CheckInputFile(w.folder.path().string(), w.messages), InputCheck::Missing);
  ASSERT_EQ(w.sink.shown.size(), 2u);
  EXPECT_EQ(w.sink.shown[0], pipe.string() + " is not a regular file");
  EXPECT_EQ(w.sink.shown[1], w.folder.path().string() + " - это папка, а не файл книги");
  if (::geteuid() == 0) GTEST_SKIP() << "every file is readable for root";
  const fs::path locked = w.Write("locked.txt", "1234567890");
  fs::permissions(locked, fs::perms::none);
  w.messages.SetLanguage(common::Language::English);
  EXPECT_EQ(CheckInputFile(locked.string(), w.messages), InputCheck::Missing);
  EXPECT_EQ(w.sink.shown.back(), locked.string() + " cannot be read: permission denied");
}

TEST(BookSession, StoredBookOpensWithPicturesBesideAndDescriptionCutOut) {
  SessionBench b;
  const fs::path source = b.Write("Книга.html0", StoredSample());
  const auto before = StateOf(source);

  ASSERT_TRUE(b.session.PrepareBook(source.string())) << ::testing::PrintToString(b.sink.shown);
  const fs::path folder = b.session.bookFolder();
  EXPECT_EQ(b.session.workingDocument(), folder / "Книга.html0");
  EXPECT_EQ(folder.parent_path(), b.workshop.instanceFolder(7));
  std::string picture, description, document;
  ASSERT_TRUE(common::ReadWholeFile(folder / "cover.jpg", picture));
  EXPECT_EQ(picture, std::string("\xFF\xD8JPEG\0bytes", 11));
  ASSERT_TRUE(common::ReadWholeFile(folder / "Description.fb2", description));
  EXPECT_EQ(description, "<title-info><book-title>Дорога</book-title></title-info>");
  ASSERT_TRUE(b.editor.Document(document));
  EXPECT_EQ(document.find("<fb2_description>"), std::string::npos);
  EXPECT_NE(document.find("Первая строка"), std::string::npos);
  // The working document went through the load normalisation.
  EXPECT_NE(document.find("bgColor=#FFFFFF>"), std::string::npos);
  ASSERT_TRUE(b.session.header());
  EXPECT_EQ((*b.session.header())[markup::HeaderField::Genre], "prose");
  EXPECT_EQ(b.session.caption(), "Книга");
  EXPECT_TRUE(b.editor.visible());

  const std::vector<std::string> statuses{"...preparing book...", "...loading Pagewright file...", ""};
  EXPECT_EQ(b.progress.statuses, statuses);
  EXPECT_EQ(b.progress.percents.back(), 100);
  EXPECT_EQ(b.settings.recentFiles.front(), fs::absolute(source).string());
  EXPECT_EQ(b.settings.recentFiles.size(), common::kRecentFilesCount);
  // Nothing is left of the input copy.
  EXPECT_TRUE(fs::is_empty(b.workshop.inputCopy() / "tmp7"));

  // The same file again: a fresh folder, the first one untouched.
  ASSERT_TRUE(b.session.PrepareBook(source.string()));
  EXPECT_NE(b.session.bookFolder(), folder);
  EXPECT_TRUE(common::FileExists(folder / "Книга.html0"));
  EXPECT_EQ(b.BookFolders(), 2u);
  EXPECT_EQ(b.settings.recentFiles[1], common::kRecentFilesPlaceholder);
  EXPECT_EQ(StateOf(source), before);
}

TEST(BookSession, ExtensionsCompareInLowerCaseAndTenBytesAreABook) {
  SessionBench b;
  const fs::path ten = b.Write("ten.HTML0", "0123456789");
  ASSERT_TRUE(b.session.PrepareBook(ten.string())) << ::testing::PrintToString(b.sink.shown);
  std::string document;
  ASSERT_TRUE(common::ReadWholeFile(b.session.workingDocument(), document));
  EXPECT_NE(document.find("<BODY style="), std::string::npos);
  EXPECT_NE(document.find("0123456789"), std::string::npos);
  EXPECT_FALSE(b.session.PrepareBook(b.Write("nine.html0", "012345678").string()));
  EXPECT_EQ(b.session.workingDocument().filename(), "ten.html0");
}

TEST(BookSession, FailuresLeaveThePreviousBookAsItWas) {
  SessionBench b;
  const fs::path good = b.Write("good.html0", StoredSample());
  ASSERT_TRUE(b.session.PrepareBook(good.string()));
  const fs::path previous = b.session.workingDocument();
  const auto previousState = StateOf(previous);
  const size_t loads = b.editor.loaded().size();
  const auto recent = b.settings.recentFiles;

  struct Case {
    std::string name;
    std::string bytes;
    std::string message;
  };
  std::vector<Case> cases{
      {"bad.html0", markup::MakeStoredBookHeader({}, true) + std::string("\x05\x00\x00\x00\x10\x00\x00\x00", 8),
       "cannot convert to Pagewright format: bad.html0"},
      {"pack.zip", "PK\x03\x04 not really", "cannot convert to Pagewright format: pack.zip"},
      {"bad.cit", "not a citation file", "cannot convert to Pagewright format: bad.cit"},
      {"tiny.txt", "short", "Empty file: "},
      {"book.odt", "long enough content", "Not supported input file format: "},
  };
  // Without an office suite a Word or RTF document cannot be read at all; with one it opens
  // (BookSession.OfficeDocumentsNeedTheSuite).
  if (!OfficeSuiteInstalled())
    cases.push_back({"story.rtf", "{\\rtf1 some text}", "cannot convert to Pagewright format: story.rtf"});
  for (const Case& c : cases) {
    const fs::path path = b.Write(c.name, c.bytes);
    const auto sourceState = StateOf(path);
    EXPECT_FALSE(b.session.PrepareBook(path.string())) << c.name;
    ASSERT_FALSE(b.sink.shown.empty());
    EXPECT_NE(b.sink.shown.back().find(c.message), std::string::npos) << c.name << ": " << b.sink.shown.back();
    EXPECT_EQ(b.session.workingDocument(), previous) << c.name;
    EXPECT_EQ(StateOf(previous), previousState) << c.name;
    EXPECT_EQ(StateOf(path), sourceState) << c.name;
    EXPECT_EQ(b.editor.loaded().size(), loads) << c.name;
    EXPECT_EQ(b.settings.recentFiles, recent) << c.name;
    EXPECT_EQ(b.BookFolders(), 1u) << c.name;
    EXPECT_TRUE(b.editor.visible());
  }
  // The damaged stored book said why before the chain gave up.
  EXPECT_NE(std::find_if(b.sink.shown.begin(), b.sink.shown.end(),
                         [](const std::string& s) { return s.rfind("the book file is damaged: bad.html0: ", 0) == 0; }),
            b.sink.shown.end());
  EXPECT_FALSE(b.session.PrepareBook("http://example.org/book.html0"));
  EXPECT_EQ(b.session.workingDocument(), previous);
  EXPECT_FALSE(b.session.PrepareBook((b.folder / "gone.html0").string()));
  EXPECT_EQ(b.sink.shown.back(), "File not found: " + (b.folder / "gone.html0").string());
  EXPECT_EQ(b.progress.statuses.back(), "");
}

TEST(BookSession, OfficeDocumentsNeedTheSuite) {
  SessionBench b;
  const fs::path rtf = b.Write("story.rtf", "{\\rtf1\\ansi some text of a story\\par}");
  const auto sourceState = StateOf(rtf);
  if (OfficeSuiteInstalled()) {
    ASSERT_TRUE(b.session.PrepareBook(rtf.string())) << ::testing::PrintToString(b.sink.shown);
    std::string document;
    ASSERT_TRUE(b.editor.Document(document));
    EXPECT_NE(document.find("some text of a story"), std::string::npos);
  } else {
    EXPECT_FALSE(b.session.PrepareBook(rtf.string()));
    EXPECT_EQ(b.sink.shown, (std::vector<std::string>{"Operation failed. Check your LibreOffice installation.",
                                                       "cannot convert to Pagewright format: story.rtf"}));
    EXPECT_TRUE(b.session.workingDocument().empty());
    EXPECT_EQ(b.BookFolders(), 0u);
    b.messages.SetLanguage(common::Language::Russian);
    EXPECT_FALSE(b.session.PrepareBook(rtf.string()));
    EXPECT_EQ(b.sink.shown.at(2), "Операция невозможна. Проверьте, инсталлирован ли LibreOffice.");
  }
  EXPECT_EQ(StateOf(rtf), sourceState);
}

TEST(BookSession, ArchivesOpenTheChosenBook) {
  SessionBench b;
  const fs::path zip = b.Write("pack.zip", testing::MakeZip({{"readme.txt", "read me first, please"},
                                                             {"tiny.txt", "123456789"},
                                                             {"book/Story.txt", "The text of the story itself."}}));
  const auto sourceState = StateOf(zip);
  EXPECT_FALSE(b.session.PrepareBook(zip.string()));
  ASSERT_EQ(b.sink.shown.size(), 2u);
  EXPECT_EQ(b.sink.shown[0], "the archive holds several books, choose one of them:\nreadme.txt\ntiny.txt\nbook/Story.txt");
  EXPECT_EQ(b.sink.shown[1], "cannot convert to Pagewright format: pack.zip");

  b.session.SetArchiveEntry("tiny.txt");  // a member shorter than ten bytes is an empty file
  EXPECT_FALSE(b.session.PrepareBook(zip.string()));
  EXPECT_EQ(b.sink.shown.at(2), "Empty file: pack.zip/tiny.txt");  // named inside its archive

  b.session.SetArchiveEntry("book/Story.txt");
  ASSERT_TRUE(b.session.PrepareBook(zip.string())) << ::testing::PrintToString(b.sink.shown);
  EXPECT_EQ(b.session.workingDocument().filename(), "Story.html0");
  std::string document;
  ASSERT_TRUE(b.editor.Document(document));
  EXPECT_NE(document.find("The text of the story itself."), std::string::npos);
  EXPECT_EQ(StateOf(zip), sourceState);
  EXPECT_EQ(b.settings.recentFiles.front(), fs::absolute(zip).string());
  // Reload opens the chosen book again, although the archive holds several.
  b.session.SetArchiveEntry({});
  ASSERT_TRUE(b.session.MnReloadBook()) << ::testing::PrintToString(b.sink.shown);
  ASSERT_TRUE(b.editor.Document(document));
  EXPECT_NE(document.find("The text of the story itself."), std::string::npos);
}

TEST(BookSession, ConvertersAndTheArchiveStepComeFromTheRegistry) {
  Workbench w;
  ConverterRegistry registry;
  std::vector<std::string> calls;
  registry.Add({"first text", {"txt"}, [&](ConvertJob& job) {
                  calls.push_back("first " + job.sourceName);
                  std::string text;
                  common::ReadWholeFile(job.input, text);
                  return common::WriteFileAtomic(job.workingDocument, "<HTML><BODY>" + text + "</BODY></HTML>");
                }});
  registry.Add({"second text", {"txt"}, [&](ConvertJob&) {
                  calls.push_back("second");
                  return false;
                }});
  registry.SetArchiveUnpacker([](const fs::path& archive, const fs::path& folder, const std::string&, fs::path& book,
                                 common::Session&) {
    std::string bytes;
    common::ReadWholeFile(archive, bytes);
    common::MakeFolderIfMissing(folder);
    book = folder / "inside.txt";
    return common::WriteFileAtomic(book, bytes.substr(3));
  });
  BookSession session(w.workshop, 3, w.settings, w.editor, w.messages, w.progress, registry);
  ASSERT_TRUE(session.PrepareBook(w.Write("a.txt", "plain text of a book").string()));
  ASSERT_TRUE(session.PrepareBook(w.Write("b.zip", "PK:the text inside").string()));
  EXPECT_EQ(calls, (std::vector<std::string>{"first a.txt", "first inside.txt"}));
  EXPECT_EQ(session.workingDocument().filename(), "inside.html0");
  std::string document;
  ASSERT_TRUE(w.editor.Document(document));
  EXPECT_NE(document.find("the text inside"), std::string::npos);
  EXPECT_EQ(std::count(w.progress.statuses.begin(), w.progress.statuses.end(), "...converting txt to html..."), 2);
}

TEST(BookSession, CitationFileOpensAsACitationsBook) {
  SessionBench b;
  CitationCollection collection;
  collection.citations = {{"A. Author. A Book", "A passage worth keeping."}};
  const fs::path path = b.Write("Quotes.cit", WriteCitationFile(collection));
  ASSERT_TRUE(b.session.PrepareBook(path.string())) << ::testing::PrintToString(b.sink.shown);
  EXPECT_EQ(b.session.caption(), "Quotes (citations)");
  std::string document;
  ASSERT_TRUE(b.editor.Document(document));
  EXPECT_NE(document.find("<B>Quotes (citations)</B>"), std::string::npos);
  EXPECT_NE(document.find("A passage worth keeping."), std::string::npos);
  EXPECT_NE(std::find(b.progress.statuses.begin(), b.progress.statuses.end(), "...loading citation file..."),
            b.progress.statuses.end());
}

TEST(BookSession, SaveWritesTheEditorsDocumentInItsSavedForm) {
  SessionBench b;
  b.session.SetDateSource([] { return std::string("2026-01-02"); });
  EXPECT_FALSE(b.session.MnSave());
  EXPECT_EQ(b.sink.shown.back(), "Cannot save file: internal error of outer HTML reading");

  ASSERT_TRUE(b.session.MnEmptyBook());
  const std::string edited =
      "<html><body><DIV align=justify>a\xC2\xA0<EM>b</EM>\r\n c</DIV>" + std::string(markup::kLastParagraph) +
      "</body></html>";
  b.editor.Edit(edited);
  b.session.MarkChanged();
  b.settings.signBooks = true;
  ASSERT_TRUE(b.session.MnSave());
  EXPECT_FALSE(b.session.changed());
  std::string written;
  ASSERT_TRUE(common::ReadWholeFile(b.session.workingDocument(), written));
  EXPECT_EQ(written, MakeSavedDocument(edited, b.settings, "2026-01-02"));
  EXPECT_NE(written.find("a&nbsp;<I>b</I> c"), std::string::npos);
  EXPECT_NE(written.find("2026-01-02"), std::string::npos);
  EXPECT_EQ(b.editor.caption(), "NewBook");
  EXPECT_NE(std::find(b.progress.statuses.begin(), b.progress.statuses.end(),
                      "...saving file and settings... wait please"),
            b.progress.statuses.end());
}

TEST(BookSession, UnsavedChangesAreAskedAboutOnceThenSavedWithoutAsking) {
  SessionBench b;
  const fs::path book = b.Write("book.html0", StoredSample());
  ASSERT_TRUE(b.session.PrepareBook(book.string()));
  // No change, no question.
  ASSERT_TRUE(b.session.PrepareBook(book.string()));
  EXPECT_TRUE(b.sink.asked.empty());

  const fs::path first = b.session.workingDocument();
  b.editor.Edit("<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;edited</DIV>");
  b.session.MarkChanged();
  ASSERT_TRUE(b.session.MnEmptyBook());
  ASSERT_EQ(b.sink.asked.size(), 1u);
  EXPECT_EQ(b.sink.asked[0], "Current file was not saved\nDo you want to save the changes?");
  std::string saved;
  ASSERT_TRUE(common::ReadWholeFile(first, saved));  // the sink answers yes
  EXPECT_NE(saved.find("edited"), std::string::npos);

  b.session.DisableUnsavedWarning();
  b.session.DisableUnsavedWarning();
  EXPECT_EQ(std::count(b.sink.shown.begin(), b.sink.shown.end(), "\"file not saved\" warning was disabled"), 1);
  const fs::path blank = b.session.workingDocument();
  b.editor.Edit("<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;quietly saved</DIV>");
  b.session.MarkChanged();
  ASSERT_TRUE(b.session.PrepareBook(book.string()));
  EXPECT_EQ(b.sink.asked.size(), 1u);
  ASSERT_TRUE(common::ReadWholeFile(blank, saved));
  EXPECT_NE(saved.find("quietly saved"), std::string::npos);
}

TEST(BookSession, EmptyBookReloadAndScratch) {
  SessionBench b;
  ASSERT_TRUE(b.session.MnEmptyBook());
  std::string document;
  ASSERT_TRUE(common::ReadWholeFile(b.session.workingDocument(), document));
  EXPECT_EQ(document, markup::MakeBlankBook());
  EXPECT_TRUE(b.session.bookPath().empty());
  // Nothing recent: reloading does nothing.
  const size_t loads = b.editor.loaded().size();
  EXPECT_FALSE(b.session.MnReloadBook());
  EXPECT_EQ(b.editor.loaded().size(), loads);

  const fs::path book = b.Write("book.html0", StoredSample());
  ASSERT_TRUE(b.session.PrepareBook(book.string()));
  const fs::path opened = b.session.bookFolder();
  ASSERT_TRUE(b.session.MnReloadBook());
  EXPECT_NE(b.session.bookFolder(), opened);
  fs::remove(book);
  EXPECT_FALSE(b.session.MnReloadBook());

  b.session.RemoveScratch();
  EXPECT_EQ(b.BookFolders(), 0u);
  EXPECT_TRUE(b.session.workingDocument().empty());
}

TEST(BookSession, RecentFilesKeepTheirLengthAndHaveNoDuplicates) {
  std::vector<std::string> recent(3, "Empty");
  AddRecentFile(recent, "a");
  AddRecentFile(recent, "b");
  AddRecentFile(recent, "a");
  EXPECT_EQ(recent, (std::vector<std::string>{"a", "b", "Empty"}));
  AddRecentFile(recent, "c");
  AddRecentFile(recent, "d");
  EXPECT_EQ(recent, (std::vector<std::string>{"d", "c", "a"}));
}

}  // namespace
}  // namespace pw::shell
