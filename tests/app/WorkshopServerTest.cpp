#include "app/WorkshopServer.h"
#include "app/WorkshopRoutes.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <thread>

#include "common/Files.h"
#include "markup/BookMarkup.h"
#include "markup/HtmlTags.h"
#include "shell/SettingsFile.h"
#include "app/RunningWorkshop.h"
#include "shell/ZipFixture.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;
using json = nlohmann::json;

using test::RunningWorkshop;

TEST(WorkshopServer, RefusesWhatDoesNotComeFromItsPage) {
  RunningWorkshop workshop;
  const int port = workshop.server->port();
  httplib::Client bare("127.0.0.1", port);
  EXPECT_EQ(bare.Get("/")->status, 403);                                  // no secret, the page included
  EXPECT_EQ(bare.Get("/?s=wrong")->status, 403);
  EXPECT_EQ(bare.Get("/api/state")->status, 403);
  const auto page = bare.Get(("/?s=" + workshop.server->secret()).c_str());
  ASSERT_TRUE(page);
  EXPECT_EQ(page->status, 200);
  EXPECT_NE(page->get_header_value("Set-Cookie").find("pw_secret=" + workshop.server->secret()), std::string::npos);
  EXPECT_NE(page->body.find("id=\"Form1\""), std::string::npos);

  httplib::Client client = workshop.Client();
  EXPECT_EQ(client.Get("/api/state")->status, 200);
  // Another Host (a page of another site resolving to this address) or a foreign Origin.
  EXPECT_EQ(client.Get("/api/state", {{"Host", "example.org"}})->status, 403);
  EXPECT_EQ(client.Post("/api/command", {{"Origin", "http://example.org"}}, "{\"name\":\"save\"}", "application/json")->status,
            403);
  EXPECT_EQ(client.Get("/api/state", {{"Origin", "http://127.0.0.1:" + std::to_string(port)}})->status, 200);
  // The secret in a header serves too.
  httplib::Client header("127.0.0.1", port);
  EXPECT_EQ(header.Get("/api/state", {{"X-Pagewright-Secret", workshop.server->secret()}})->status, 200);
  // Files outside the open book are never served.
  EXPECT_EQ(client.Get("/book/..%2F..%2FPagewright.ini")->status, 404);
  EXPECT_EQ(client.Get("/book/Pagewright.ini")->status, 404);
  EXPECT_EQ(client.Get("/web/../CMakeLists.txt")->status, 404);
  // Bodies are bounded.
  const std::string huge((256u << 20) + 16, 'x');
  const auto big = client.Post("/api/document", huge, "text/html");
  EXPECT_TRUE(!big || big->status == 413);
}

TEST(WorkshopServer, OpenEditSaveAndMakeFb2) {
  RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  workshop.server->shell().settings().fb2OutputFolder = (workshop.folder / "fb2").string();
  // A book on this machine.
  const fs::path book = workshop.folder / "book.html0";
  common::Settings settings;
  std::string html = markup::MakeBlankBook();
  html.replace(html.find("Start to type here"), 18, "First words of the book.");
  ASSERT_TRUE(common::WriteFileAtomic(book, html));
  auto opened = client.Post("/api/open", json{{"path", book.string()}}.dump(), "application/json");
  ASSERT_TRUE(opened);
  EXPECT_EQ(json::parse(opened->body)["ok"], true);
  auto state = json::parse(client.Get("/api/state")->body);
  EXPECT_EQ(state["book"], book.string());
  auto document = client.Get("/book/document");
  EXPECT_NE(document->body.find("First words of the book."), std::string::npos);
  // Whatever a book carries never runs: its documents allow no script, the page only its own.
  EXPECT_EQ(document->get_header_value("Content-Security-Policy"), kBookPolicy);
  EXPECT_EQ(client.Get("/book/reading")->get_header_value("Content-Security-Policy"), kBookPolicy);
  EXPECT_EQ(client.Get("/")->get_header_value("Content-Security-Policy"), kPagePolicy);

  // The reader's settings for the open book.
  const json readerState = json::parse(client.Get("/api/reader")->body);
  EXPECT_EQ(readerState["ok"], true);
  EXPECT_EQ(readerState["geometries"].size(), 9u);
  EXPECT_EQ(readerState["geometry"], "standard book");
  EXPECT_EQ(readerState["interval"], 1000);  // one line a second

  // An upload of a book that is not on this machine.
  httplib::MultipartFormDataItems items = {{"book", html, "uploaded.html0", "application/octet-stream"}};
  auto uploaded = client.Post("/api/upload", items);
  ASSERT_TRUE(uploaded);
  EXPECT_EQ(json::parse(uploaded->body)["ok"], true);
  EXPECT_GT(json::parse(client.Get("/api/state")->body)["version"].get<unsigned>(), state["version"].get<unsigned>());

  // The page's edit reaches the saved book and the FB2.
  std::string edited = client.Get("/book/document")->body;
  edited.replace(edited.find("First words"), 11, "Edited words");
  EXPECT_EQ(client.Post("/api/document", edited, "text/html")->status, 200);
  EXPECT_EQ(json::parse(client.Get("/api/state")->body)["changed"], false);  // the page did not say it changed
  EXPECT_EQ(client.Post("/api/document?changed=1", edited, "text/html")->status, 200);
  EXPECT_EQ(json::parse(client.Get("/api/state")->body)["changed"], true);
  // Without a folder the FB2 is only a download; with one it is written there too.
  auto downloaded = client.Post("/api/fb2", json{{"name", "Война"}, {"description", {{"b_title", "Made"}}}}.dump(), "application/json");
  ASSERT_TRUE(downloaded);
  ASSERT_EQ(downloaded->status, 200) << downloaded->body;
  EXPECT_FALSE(downloaded->has_header("X-Pagewright-Saved-As"));
  // The client library decodes the header's escapes: the real name is there.
  EXPECT_NE(downloaded->get_header_value("Content-Disposition").find("filename*=UTF-8''Война.fb2"), std::string::npos)
      << downloaded->get_header_value("Content-Disposition");
  EXPECT_TRUE(pw::test::IsValidFb2(downloaded->body));
  const std::string fb2Folder = (workshop.folder / "fb2").string();
  auto fb2 = client.Post("/api/fb2",
                         json{{"name", "out"}, {"description", {{"b_title", "Made"}}}, {"library", true}, {"validate", true}, {"folder", fb2Folder}}.dump(),
                         "application/json");
  ASSERT_TRUE(fb2);
  ASSERT_EQ(fb2->status, 200) << fb2->body;
  EXPECT_NE(fb2->get_header_value("Content-Disposition").find("out.fb2"), std::string::npos);
  EXPECT_TRUE(fs::exists(workshop.folder / "fb2" / "out.fb2"));
  EXPECT_NE(fb2->body.find("<p>Edited words of the book.</p>"), std::string::npos) << fb2->body;
  EXPECT_NE(fb2->body.find("<book-title>Made</book-title>"), std::string::npos);
  EXPECT_TRUE(pw::test::IsValidFb2(fb2->body));
  bool toldValid = false;
  const json afterFb2 = json::parse(client.Get("/api/state")->body);
  for (const auto& text : afterFb2["messages"])
    toldValid |= text.get<std::string>() == "out.fb2: valid FictionBook 2";
  EXPECT_TRUE(toldValid) << afterFb2.dump();

  auto saved = client.Post("/api/command", json{{"name", "save"}}.dump(), "application/json");
  EXPECT_EQ(json::parse(saved->body)["ok"], true);
  // The saved book is kept in the workshop's books folder, first in the recent files.
  const fs::path kept = json::parse(saved->body)["savedAs"].get<std::string>();
  EXPECT_EQ(kept.parent_path().parent_path().filename(), "Books");
  EXPECT_TRUE(fs::exists(kept));
  EXPECT_EQ(json::parse(client.Get("/api/state")->body)["recent"][0], kept.string());
  EXPECT_EQ(client.Post("/api/command", json{{"name", "nonsense"}}.dump(), "application/json")->status, 400);
  EXPECT_EQ(client.Post("/api/open", "not json", "application/json")->status, 400);
  // A missing file: the message for the page, and the book stays.
  client.Post("/api/open", json{{"path", (workshop.folder / "none.txt").string()}}.dump(), "application/json");
  state = json::parse(client.Get("/api/state")->body);
  bool notFound = false;
  for (const auto& text : state["messages"]) notFound |= text.get<std::string>().starts_with("File not found: ");
  EXPECT_TRUE(notFound) << state.dump();
  EXPECT_NE(client.Get("/book/document")->body.find("Edited words"), std::string::npos);

  // An element operation on a selection.
  auto element = client.Post("/api/element",
                             json{{"operation", "title"}, {"html", "<div align=justify>&nbsp;Chapter&nbsp; One</div>"}}.dump(),
                             "application/json");
  ASSERT_TRUE(element);
  EXPECT_EQ(json::parse(element->body)["html"],
            "<SPAN id=title><DIV align=center><FONT color=#001950><B>Chapter One</B></FONT></DIV></SPAN>");
  EXPECT_EQ(client.Post("/api/element", json{{"operation", "explode"}, {"html", "x"}}.dump(), "application/json")->status,
            400);
  auto empty = client.Post("/api/element", json{{"operation", "title"}, {"html", "<b>&nbsp;</b>"}}.dump(), "application/json");
  EXPECT_EQ(json::parse(empty->body)["html"], "");

  // A whole-book operation rewrites the document and sends it back for the page's history;
  // the page does not load it anew.
  const unsigned before = json::parse(client.Get("/api/state")->body)["version"];
  auto bookOp = client.Post("/api/book", json{{"operation", "titlestoparagraphs"}}.dump(), "application/json");
  ASSERT_TRUE(bookOp);
  EXPECT_EQ(json::parse(bookOp->body)["ok"], true);
  EXPECT_EQ(client.Post("/api/book", json{{"operation", "nothing"}}.dump(), "application/json")->status, 400);
  // The page's own spelling (lower case, quoted) comes back in the book's.
  EXPECT_EQ(client.Post("/api/document",
                        "<html><body><span id=\"title\"><div align=\"center\"><font color=\"#001950\"><b>T</b></font>"
                        "</div></span></body></html>",
                        "text/html")
                ->status,
            200);
  EXPECT_NE(client.Get("/book/document")->body.find("<SPAN id=title><DIV align=center>"), std::string::npos);
  bookOp = client.Post("/api/book", json{{"operation", "titlestosubtitles"}}.dump(), "application/json");
  EXPECT_EQ(json::parse(bookOp->body)["changed"], true);
  EXPECT_NE(json::parse(bookOp->body)["html"].get<std::string>().find("<SPAN id=subtitle>"), std::string::npos);
  EXPECT_NE(client.Get("/book/document")->body.find("<SPAN id=subtitle>"), std::string::npos);
  EXPECT_EQ(json::parse(client.Get("/api/state")->body)["version"].get<unsigned>(), before);

  // The stored book with its header.
  workshop.server->shell().settings().libraryFolder = (workshop.folder / "library").string();
  auto stored = client.Post("/api/stored", json{{"title", "Stored"}, {"author", "Me"}, {"compress", true}}.dump(),
                            "application/json");
  ASSERT_TRUE(stored);
  ASSERT_EQ(stored->status, 200);
  // An uploaded book has no source of the user's: the library folder.
  EXPECT_EQ(json::parse(stored->body)["savedAs"], (workshop.folder / "library" / "Stored.html0").string());
  std::string storedBytes;
  ASSERT_TRUE(common::ReadWholeFile(workshop.folder / "library" / "Stored.html0", storedBytes));
  EXPECT_EQ(storedBytes.rfind("<!pwfile", 0), 0u);

  // Quit ends the serving thread.
  EXPECT_EQ(client.Post("/api/command", json{{"name", "quit"}}.dump(), "application/json")->status, 200);
  workshop.thread.join();
}

TEST(WorkshopServer, DownloadNamesCarryTheirUtf8Name) {
  EXPECT_EQ(AttachmentHeader("Война и мир.fb2"),
            "attachment; filename=\"_____ _ ___.fb2\"; "
            "filename*=UTF-8''%D0%92%D0%BE%D0%B9%D0%BD%D0%B0%20%D0%B8%20%D0%BC%D0%B8%D1%80.fb2");
  EXPECT_EQ(AttachmentHeader("a\"b;c.fb2"), "attachment; filename=\"a_b;c.fb2\"; filename*=UTF-8''a%22b%3Bc.fb2");
}

TEST(WorkshopServer, StoredBookBesideItsSourceOrWhereChosen) {
  RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  const fs::path source = workshop.folder / "shelf" / "Рассказ.txt";
  fs::create_directories(source.parent_path());
  ASSERT_TRUE(common::WriteFileAtomic(source, "Anna Lee\n\nA Story\n\nOnce there was a road.\n"));
  ASSERT_EQ(json::parse(client.Post("/api/open", json{{"path", source.string()}}.dump(), "application/json")->body)["ok"], true);
  auto beside = client.Post("/api/stored", json{{"name", "Рассказ"}}.dump(), "application/json");
  ASSERT_TRUE(beside);
  EXPECT_EQ(json::parse(beside->body)["savedAs"], (source.parent_path() / "Рассказ.html0").string());
  std::string bytes;
  ASSERT_TRUE(common::ReadWholeFile(source.parent_path() / "Рассказ.html0", bytes));
  EXPECT_EQ(bytes.rfind("<!pwfile", 0), 0u);
  EXPECT_NE(bytes.find("Once there was a road."), std::string::npos);
  const fs::path chosen = workshop.folder / "chosen";
  auto there = client.Post("/api/stored", json{{"name", "copy"}, {"folder", chosen.string()}}.dump(), "application/json");
  EXPECT_EQ(json::parse(there->body)["savedAs"], (chosen / "copy.html0").string());
  EXPECT_TRUE(fs::exists(chosen / "copy.html0"));
}

TEST(WorkshopServer, FindAndReplaceRoutes) {
  RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  // Matches in the text the page sends, with their replacements.
  auto found = client.Post("/api/find",
                           json{{"text", "Глава 1\nГлава 22"}, {"what", "Глава (\\d+)"}, {"replacement", "Chapter $1"},
                                {"regex", true}}.dump(),
                           "application/json");
  ASSERT_TRUE(found);
  const json answer = json::parse(found->body);
  ASSERT_EQ(answer["ok"], true) << found->body;
  ASSERT_EQ(answer["matches"].size(), 2u);
  EXPECT_EQ(answer["matches"][1]["start"], 8);
  EXPECT_EQ(answer["matches"][1]["end"], 16);
  EXPECT_EQ(answer["matches"][1]["replacement"], "Chapter 22");
  // A bad pattern comes back as an answer for the field.
  auto bad = client.Post("/api/find", json{{"text", "x"}, {"what", "(x"}, {"regex", true}}.dump(), "application/json");
  EXPECT_EQ(bad->status, 200);
  EXPECT_EQ(json::parse(bad->body)["ok"], false);
  EXPECT_FALSE(json::parse(bad->body)["error"].get<std::string>().empty());
  EXPECT_EQ(client.Post("/api/find", json{{"what", "x"}}.dump(), "application/json")->status, 400);

  // In the HTML of the book the server holds.
  ASSERT_EQ(client.Post("/api/document?changed=1",
                        "<html><head><title>old</title></head><body><div>old one</div><div>old two</div></body></html>",
                        "text/html")->status, 200);
  auto counted = client.Post("/api/replace-html", json{{"what", "old"}, {"count", true}}.dump(), "application/json");
  EXPECT_EQ(json::parse(counted->body)["count"], 2);
  auto replaced = client.Post("/api/replace-html",
                              json{{"what", "<DIV>old (\\w+)</DIV>"}, {"replacement", "<DIV>new $1</DIV>"}, {"regex", true}}.dump(),
                              "application/json");
  const json result = json::parse(replaced->body);
  ASSERT_EQ(result["ok"], true) << replaced->body;
  EXPECT_EQ(result["count"], 2);
  EXPECT_NE(result["html"].get<std::string>().find("<DIV>new two</DIV>"), std::string::npos);
  EXPECT_NE(client.Get("/book/document")->body.find("<DIV>new one</DIV>"), std::string::npos);
  // A selection's HTML is replaced and sent back; the book stays.
  auto part = client.Post("/api/replace-html", json{{"what", "new"}, {"replacement", "NEW"}, {"html", "<b>new</b>"}}.dump(),
                          "application/json");
  EXPECT_EQ(json::parse(part->body)["html"], "<b>NEW</b>");
  EXPECT_NE(client.Get("/book/document")->body.find("<DIV>new one</DIV>"), std::string::npos);
}

TEST(WorkshopServer, LanguageAndUnsavedQuestionAreKeptInTheSettingsFile) {
  RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  ASSERT_EQ(client.Post("/api/language", json{{"language", "ru"}}.dump(), "application/json")->status, 200);
  const json state = json::parse(client.Get("/api/state")->body);
  EXPECT_EQ(state["language"], "ru");
  EXPECT_EQ(state["texts"]["unsaved"], std::string(common::MessageText(common::Msg::UnsavedChanges, common::Language::Russian)));
  EXPECT_EQ(client.Post("/api/language", json{{"language", "de"}}.dump(), "application/json")->status, 400);
  ASSERT_EQ(client.Post("/api/unsaved-warning", json{{"warn", false}}.dump(), "application/json")->status, 200);
  EXPECT_EQ(json::parse(client.Get("/api/state")->body)["warnUnsaved"], false);
  common::Settings read;
  ASSERT_EQ(shell::RestoreSettings(workshop.server->shell().workshop().settingsFile(), read), shell::RestoreResult::Read);
  EXPECT_EQ(read.interfaceLanguage, common::Language::Russian);
  EXPECT_FALSE(read.warnUnsaved);
}

TEST(WorkshopServer, IdleEndSavesTheBookFirstAndTheNextStartOpensIt) {
  pw::test::ScratchFolder folder;
  const auto options = pw::test::WorkshopTestOptions(folder / "home", std::chrono::seconds(1));
  {
    RunningWorkshop workshop(options);
    httplib::Client client = workshop.Client();
    ASSERT_TRUE(pw::test::OpenAndEditWalk(client, folder / "walk.txt",
                                          "<SPAN id=title><DIV align=center><FONT color=#001950><B>The road went on.</B></FONT></DIV></SPAN>"));
    workshop.WaitForEnd();  // no page polls: the workshop ends by itself, after saving
  }
  // The next start opens the saved book, with its mark.
  const auto reopened = pw::test::BookAtNextStart(options);
  EXPECT_EQ(reopened.file.extension(), ".html0");
  EXPECT_NE(reopened.html.find("<SPAN id=title>"), std::string::npos);
  EXPECT_NE(reopened.html.find("The road went on."), std::string::npos);
}

}  // namespace
}  // namespace pw::app

namespace pw::app {
namespace {

TEST(WorkshopServer, ArchiveFilesListedAndTheChosenOneOpened) {
  RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  const fs::path zip = workshop.folder / "pack.zip";
  ASSERT_TRUE(common::WriteFileAtomic(zip, shell::testing::MakeZip({{"readme.txt", "read me first, please"},
                                                                      {"pictures/a.png", "png"},
                                                                      {"book/Story.txt", "The text of the story."}})));
  auto listed = client.Get(("/api/archive?path=" + httplib::detail::encode_query_param(zip.string())).c_str());
  ASSERT_TRUE(listed);
  const json list = json::parse(listed->body);
  ASSERT_TRUE(list["ok"].get<bool>()) << listed->body;
  ASSERT_EQ(list["members"].size(), 3u);
  EXPECT_EQ(list["members"][2]["name"], "book/Story.txt");
  EXPECT_TRUE(list["members"][2]["book"].get<bool>());
  EXPECT_FALSE(list["members"][1]["book"].get<bool>());

  const json open{{"path", zip.string()}, {"entry", "book/Story.txt"}};
  auto opened = client.Post("/api/archive/open", open.dump(), "application/json");
  ASSERT_TRUE(opened);
  EXPECT_TRUE(json::parse(opened->body)["ok"].get<bool>()) << opened->body;
  const auto document = client.Get("/book/document");
  ASSERT_TRUE(document);
  EXPECT_NE(document->body.find("The text of the story."), std::string::npos);

  auto missing = client.Get(("/api/archive?path=" + httplib::detail::encode_query_param((workshop.folder / "gone.zip").string())).c_str());
  ASSERT_TRUE(missing);
  const json refused = json::parse(missing->body);
  EXPECT_FALSE(refused["ok"].get<bool>());
  EXPECT_EQ(refused["message"], "Cannot open gone.zip");
  EXPECT_EQ(client.Post("/api/archive/open", "{\"path\":1}", "application/json")->status, 400);
}

}  // namespace
}  // namespace pw::app
