// A workshop on a free port in a scratch home, served from a thread, for the tests of its
// requests.
#pragma once

#include <httplib.h>

#include <chrono>
#include <memory>
#include <thread>

#include "app/WorkshopServer.h"
#include "support/TestSupport.h"

namespace pw::test {

struct RunningWorkshop {
  ScratchFolder folder;
  std::unique_ptr<app::WorkshopServer> server;
  std::thread thread;

  RunningWorkshop() {
    app::WorkshopOptions options;
    options.home = (folder / "home").string();
    options.openBrowser = false;
    options.idleLimit = std::chrono::seconds(60);
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

}  // namespace pw::test
