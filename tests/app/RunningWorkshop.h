// A workshop on a free port in a scratch home, served from a thread, for the tests of its
// requests.
#pragma once

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "app/WorkshopServer.h"
#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::test {

// A workshop's options for a test: its home in `home`, no browser, ending after `idle` without
// a page.
inline app::WorkshopOptions WorkshopTestOptions(const std::filesystem::path& home, std::chrono::seconds idle) {
  app::WorkshopOptions options;
  options.home = home.string();
  options.openBrowser = false;
  options.idleLimit = idle;
  return options;
}

struct RunningWorkshop {
  ScratchFolder folder;
  std::unique_ptr<app::WorkshopServer> server;
  std::thread thread;

  RunningWorkshop() { Start(WorkshopTestOptions(folder / "home", std::chrono::seconds(60))); }
  explicit RunningWorkshop(const app::WorkshopOptions& options) { Start(options); }
  void Start(const app::WorkshopOptions& options) {
    server = std::make_unique<app::WorkshopServer>(options);
    EXPECT_TRUE(server->Start());
    thread = std::thread([this] { server->Serve(); });
    // Wait until it answers.
    for (int i = 0; i < 100; ++i) {
      httplib::Client client("127.0.0.1", server->port());
      if (client.Get("/api/state")) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
  // Waits until the workshop has ended by itself (its idle time without a page).
  void WaitForEnd() {
    if (thread.joinable()) thread.join();
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

// The small book of the tests of the workshop's life, and its last paragraph, which they edit.
inline constexpr std::string_view kWalkBook = "Ann Lee\n\nA Walk\n\nThe road went on.\n";
inline constexpr std::string_view kWalkLastLine = "The road went on.";

// Opens `book` (written as kWalkBook first) and posts its document with the last paragraph
// replaced by `replacement`, as the page does after an edit, each request answered within `each`.
inline ::testing::AssertionResult OpenAndEditWalk(httplib::Client& client, const std::filesystem::path& book,
                                                  std::string_view replacement,
                                                  std::chrono::milliseconds each = std::chrono::seconds(60)) {
  if (!common::WriteFileAtomic(book, kWalkBook)) return ::testing::AssertionFailure() << "cannot write " << book;
  const auto timed = [each](const char* what, auto&& request) {
    const auto start = std::chrono::steady_clock::now();
    auto answer = request();
    const bool late = std::chrono::steady_clock::now() - start > each;
    return std::make_pair(std::move(answer), late ? std::string(what) + " answered late" : std::string());
  };
  const auto [opened, openLate] = timed("open", [&] {
    return client.Post("/api/open", nlohmann::json{{"path", book.string()}}.dump(), "application/json");
  });
  if (!opened) return ::testing::AssertionFailure() << "open: " << httplib::to_string(opened.error());
  if (!nlohmann::json::parse(opened->body, nullptr, false).value("ok", false))
    return ::testing::AssertionFailure() << "open refused: " << opened->body;
  const auto [document, documentLate] = timed("document", [&] { return client.Get("/book/document"); });
  if (!document) return ::testing::AssertionFailure() << "document: " << httplib::to_string(document.error());
  std::string html = document->body;
  const size_t line = html.find(kWalkLastLine);
  if (line == std::string::npos) return ::testing::AssertionFailure() << "the book lacks its last line: " << html;
  html.replace(line, kWalkLastLine.size(), replacement);
  const auto [posted, postLate] = timed("edit", [&] { return client.Post("/api/document?changed=1", html, "text/html"); });
  if (!posted || posted->status != 200) return ::testing::AssertionFailure() << "the edit was not taken";
  for (const std::string& late : {openLate, documentLate, postLate})
    if (!late.empty()) return ::testing::AssertionFailure() << late;
  return ::testing::AssertionSuccess();
}

// The book a workshop with `options` opens at its start (the last one it had).
inline app::PageEditor::Snapshot BookAtNextStart(app::WorkshopOptions options) {
  options.idleLimit = std::chrono::seconds(60);
  app::WorkshopServer again(options);
  if (!again.Start()) return {};
  auto snapshot = again.editor().Current();
  again.shell().Exit();
  return snapshot;
}

}  // namespace pw::test
