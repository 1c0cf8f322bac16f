#include "app/WorkshopServer.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <thread>

#include "common/Files.h"
#include "markup/BookMarkup.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;
using json = nlohmann::json;

// A workshop on a free port in a scratch home, served from a thread.
struct RunningWorkshop {
  test::ScratchFolder folder;
  std::unique_ptr<WorkshopServer> server;
  std::thread thread;

  RunningWorkshop() {
    WorkshopOptions options;
    options.home = (folder / "home").string();
    options.openBrowser = false;
    options.idleLimit = std::chrono::seconds(60);
    server = std::make_unique<WorkshopServer>(options);
    EXPECT_TRUE(server->Start());
    thread = std::thread([this] { server->Serve(); });
    // Wait until it answers.
    for (int i = 0; i < 100; ++i) {
      httplib::Client client("127.0.0.1", server->port());
      if (client.Get("/api/state")) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
  ~RunningWorkshop() {
    server->Stop();
    if (thread.joinable()) thread.join();
  }
  httplib::Client Client() const {
    httplib::Client client("127.0.0.1", server->port());
    client.set_default_headers({{"Cookie", "pw_secret=" + server->secret()}});
    return client;
  }
};

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
  EXPECT_EQ(json::parse(client.Get("/api/state")->body)["changed"], true);
  auto fb2 = client.Post("/api/fb2", json{{"name", "out"}, {"title", "Made"}, {"library", true}, {"validate", true}}.dump(),
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

  // A whole-book operation rewrites the document and the page is told to show it anew.
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
  EXPECT_NE(client.Get("/book/document")->body.find("<SPAN id=subtitle>"), std::string::npos);
  EXPECT_GT(json::parse(client.Get("/api/state")->body)["version"].get<unsigned>(), before);

  // The stored book with its header.
  workshop.server->shell().settings().libraryFolder = (workshop.folder / "library").string();
  auto stored = client.Post("/api/stored", json{{"title", "Stored"}, {"author", "Me"}, {"compress", true}}.dump(),
                            "application/json");
  ASSERT_TRUE(stored);
  ASSERT_EQ(stored->status, 200);
  EXPECT_TRUE(fs::exists(workshop.folder / "library" / "Stored.html0"));
  EXPECT_EQ(stored->body.rfind("<!pwfile", 0), 0u);

  // Quit ends the serving thread.
  EXPECT_EQ(client.Post("/api/command", json{{"name", "quit"}}.dump(), "application/json")->status, 200);
  workshop.thread.join();
}

}  // namespace
}  // namespace pw::app
