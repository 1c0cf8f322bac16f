#include "app/GuardedServer.h"
#include "app/RequestHead.h"
#include "app/RunningWorkshop.h"
#include "app/WorkshopServer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;
using json = nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kSecret = "0123456789abcdef0123456789abcdef";

TEST(RequestHead, EndsAtTheFirstBlankLine) {
  EXPECT_EQ(RequestHeadEnd("GET / HTTP/1.1\r\nHost: a\r\n\r\nbody"), 27u);
  EXPECT_EQ(RequestHeadEnd("GET / HTTP/1.1\nHost: a\n\nbody"), 24u);
  EXPECT_EQ(RequestHeadEnd("GET / HTTP/1.1\r\nHost: a\r\n"), std::string_view::npos);
  EXPECT_EQ(RequestHeadEnd("GET / HTTP/1.1\r\nHost: a\r\n\r"), std::string_view::npos);
  EXPECT_EQ(RequestHeadEnd("GET /aaaaaaaa"), std::string_view::npos);
  EXPECT_EQ(RequestHeadEnd(""), std::string_view::npos);
  // Two requests in one piece: the first head ends where the second request starts.
  const std::string two = "GET /a HTTP/1.1\r\n\r\nGET /b HTTP/1.1\r\n\r\n";
  EXPECT_EQ(two.substr(RequestHeadEnd(two), 6), "GET /b");
}

TEST(RequestHead, TheSecretCountsOnlyWhenItIsExactlyThere) {
  const std::string secret(kSecret);
  const auto head = [](std::string lines) { return "GET /api/state HTTP/1.1\r\nHost: 127.0.0.1:1\r\n" + lines + "\r\n"; };
  EXPECT_TRUE(HeadCarriesSecret(head("X-Pagewright-Secret: " + secret + "\r\n"), kSecret));
  EXPECT_TRUE(HeadCarriesSecret(head("x-pagewright-secret:" + secret + "  \r\n"), kSecret));  // names ignore case
  EXPECT_TRUE(HeadCarriesSecret(head("Cookie: a=1; pw_secret=" + secret + "; b=2\r\n"), kSecret));
  EXPECT_TRUE(HeadCarriesSecret("GET /?s=" + secret + " HTTP/1.1\nHost: x\n\n", kSecret));
  EXPECT_TRUE(HeadCarriesSecret("GET /?x=1&s=" + secret + " HTTP/1.1\r\n\r\n", kSecret));

  // Near misses: longer, shorter, another cookie's name, another header, another path, none.
  EXPECT_FALSE(HeadCarriesSecret(head("X-Pagewright-Secret: " + secret + "0\r\n"), kSecret));
  EXPECT_FALSE(HeadCarriesSecret(head("X-Pagewright-Secret: " + secret.substr(1) + "\r\n"), kSecret));
  EXPECT_FALSE(HeadCarriesSecret(head("Cookie: xpw_secret=" + secret + "\r\n"), kSecret));
  EXPECT_FALSE(HeadCarriesSecret(head("Cookie: pw_secret=" + secret + "junk\r\n"), kSecret));
  EXPECT_FALSE(HeadCarriesSecret(head("Cookie: other=pw_secret=" + secret + "\r\n"), kSecret));
  EXPECT_FALSE(HeadCarriesSecret(head("Referer: http://127.0.0.1/?s=" + secret + "\r\n"), kSecret));
  EXPECT_FALSE(HeadCarriesSecret(head("X-Pagewright-Secret-Copy: " + secret + "\r\n"), kSecret));
  EXPECT_FALSE(HeadCarriesSecret("GET /api/state?s=" + secret + " HTTP/1.1\r\n\r\n", kSecret));
  EXPECT_FALSE(HeadCarriesSecret("GET /?s=" + secret + "1 HTTP/1.1\r\n\r\n", kSecret));
  EXPECT_FALSE(HeadCarriesSecret(head(""), kSecret));
  EXPECT_FALSE(HeadCarriesSecret(head("X-Pagewright-Secret: \r\n"), ""));  // an empty secret opens nothing
  EXPECT_FALSE(SameSecret("", ""));
}

// --- raw connections --------------------------------------------------------------------------

int Connect(int port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    ::close(socket);
    return -1;
  }
  return socket;
}

// Everything the server sends on `socket` until it closes or `wait` has passed.
std::string ReadAll(int socket, std::chrono::milliseconds wait) {
  std::string received;
  const auto until = Clock::now() + wait;
  char chunk[4096];
  while (Clock::now() < until) {
    pollfd entry{socket, POLLIN, 0};
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    if (::poll(&entry, 1, static_cast<int>(std::max<long long>(left, 1))) <= 0) continue;
    const ssize_t n = ::recv(socket, chunk, sizeof chunk, 0);
    if (n <= 0) break;
    received.append(chunk, static_cast<size_t>(n));
  }
  return received;
}

std::string Exchange(int port, std::string_view bytes, std::chrono::milliseconds wait = std::chrono::milliseconds(3000)) {
  const int socket = Connect(port);
  if (socket < 0) return "no connection";
  ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  std::string answer = ReadAll(socket, wait);
  ::close(socket);
  return answer;
}

// Local processes that hold connections open without the secret: each sends the start of a
// request line and then one more byte now and then, and connects again when it is cut off.
class SlowClients {
 public:
  SlowClients(int port, int count) : port_(port), sockets_(static_cast<size_t>(count), -1) {
    Round();  // all connected before the test goes on
    thread_ = std::thread([this] {
      while (!stop_) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        Round();
      }
    });
  }
  ~SlowClients() {
    stop_ = true;
    thread_.join();
    for (const int socket : sockets_)
      if (socket >= 0) ::close(socket);
  }
  int cutOff() const { return cutOff_; }

 private:
  void Round() {
    for (int& socket : sockets_) {
      if (socket >= 0) {
        char answer[512];
        // The server closed the connection, or answered it (a time-out): cut off either way.
        const bool ended = ::recv(socket, answer, sizeof answer, MSG_DONTWAIT) >= 0;
        if (ended || ::send(socket, "a", 1, MSG_NOSIGNAL | MSG_DONTWAIT) < 0) {
          ::close(socket);
          socket = -1;
          ++cutOff_;
        }
      }
      if (socket < 0 && (socket = Connect(port_)) >= 0) ::send(socket, "GET /?s=", 8, MSG_NOSIGNAL);
    }
  }

  int port_;
  std::vector<int> sockets_;
  std::atomic<bool> stop_{false};
  std::atomic<int> cutOff_{0};
  std::thread thread_;
};

// A gated server with one handler, served from a thread.
struct RunningServer {
  GuardedServer server;
  std::atomic<int> handled{0};
  int port = 0;
  std::thread thread;

  explicit RunningServer(ServerLimits limits) : server(std::string(kSecret), limits) {
    server.Get("/hello", [this](const httplib::Request&, httplib::Response& response) {
      ++handled;
      response.set_content("hello", "text/plain");
    });
    server.Post("/echo", [this](const httplib::Request& request, httplib::Response& response) {
      ++handled;
      response.set_content(request.body, "text/plain");
    });
    port = server.Bind("127.0.0.1", 0);
    thread = std::thread([this] { server.listen_after_bind(); });
    while (!server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ~RunningServer() {
    server.stop();
    thread.join();
  }
  httplib::Client Client() const {
    httplib::Client client("127.0.0.1", port);
    client.set_default_headers({{"X-Pagewright-Secret", std::string(kSecret)}});
    return client;
  }
};

// The time an authorised request takes while the slow clients hold their connections.
std::chrono::milliseconds TimeOfOneRequest(int port) {
  httplib::Client client("127.0.0.1", port);
  client.set_default_headers({{"X-Pagewright-Secret", std::string(kSecret)}});
  client.set_connection_timeout(10);
  client.set_read_timeout(60);
  const auto start = Clock::now();
  const auto answer = client.Get("/hello");
  const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
  EXPECT_TRUE(answer && answer->status == 200 && answer->body == "hello");
  return taken;
}

TEST(GuardedServer, SlowConnectionsWithoutTheSecretCannotStarveThePage) {
  // With room for every connection, and with far fewer workers than slow connections (the
  // longest waiting is dropped to make room).
  for (const size_t workers : {size_t{64}, size_t{4}}) {
    ServerLimits limits;
    limits.workers = workers;
    limits.headTime = std::chrono::milliseconds(1500);
    RunningServer running(limits);
    SlowClients slow(running.port, 24);
    const auto start = Clock::now();
    // Across more than one head time, so that cut-off slow clients have come back.
    while (Clock::now() - start < std::chrono::milliseconds(3500)) {
      EXPECT_LT(TimeOfOneRequest(running.port).count(), 1500) << workers << " workers";
      std::this_thread::sleep_for(std::chrono::milliseconds(400));
    }
    // However slowly it trickles, a head that does not end in time is cut off.
    EXPECT_GE(slow.cutOff(), 24) << workers << " workers";
    // Connections are dropped only when every worker is busy, never while the pool grows.
    if (workers == 4) EXPECT_GT(running.server.dropped(), 0u);
    else EXPECT_EQ(running.server.dropped(), 0u);
  }
}

TEST(GuardedServer, ARequestWithoutTheSecretIsRefusedBeforeItsBody) {
  RunningServer running(ServerLimits{});
  // A body announced as 100 MB and never sent: the answer comes at once, the handler never runs.
  const auto start = Clock::now();
  const std::string refused =
      Exchange(running.port, "POST /echo HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 100000000\r\n\r\nabc");
  EXPECT_EQ(refused.rfind("HTTP/1.1 403 Forbidden\r\n", 0), 0u) << refused;
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1500));
  EXPECT_EQ(running.handled, 0);
  // The secret in a query string of another path, or a cookie that only starts like it.
  EXPECT_EQ(Exchange(running.port, "GET /hello?s=" + std::string(kSecret) + " HTTP/1.1\r\n\r\n").rfind("HTTP/1.1 403", 0), 0u);
  EXPECT_EQ(Exchange(running.port, "GET /hello HTTP/1.1\r\nCookie: pw_secret=" + std::string(kSecret) + "x\r\n\r\n")
                .rfind("HTTP/1.1 403", 0),
            0u);
  EXPECT_EQ(running.handled, 0);
  // A head beyond the bound is refused as too large.
  const std::string huge = "GET /hello HTTP/1.1\r\nX-Filler: " + std::string(running.server.limits().headBytes + 10, 'a');
  EXPECT_EQ(Exchange(running.port, huge).rfind("HTTP/1.1 431", 0), 0u);
}

TEST(GuardedServer, KeptAliveAndPipelinedRequestsAreEachServed) {
  RunningServer running(ServerLimits{});
  // Two requests in one write, the second with a body: the gate's reading is handed on intact.
  const std::string secretLine = "X-Pagewright-Secret: " + std::string(kSecret) + "\r\n";
  const std::string both = "GET /hello HTTP/1.1\r\nHost: a\r\n" + secretLine + "\r\n" + "POST /echo HTTP/1.1\r\nHost: a\r\n" +
                           secretLine + "Content-Length: 5\r\nConnection: close\r\n\r\nworld";
  const std::string answers = Exchange(running.port, both);
  EXPECT_NE(answers.find("\r\n\r\nhello"), std::string::npos) << answers;
  EXPECT_NE(answers.find("\r\n\r\nworld"), std::string::npos) << answers;
  EXPECT_EQ(running.handled, 2);
  // A second request on the connection without the secret is refused like a first one.
  const std::string mixed = "GET /hello HTTP/1.1\r\n" + secretLine + "\r\nGET /hello HTTP/1.1\r\n\r\n";
  const std::string refused = Exchange(running.port, mixed);
  EXPECT_NE(refused.find("HTTP/1.1 403"), std::string::npos) << refused;
  EXPECT_EQ(running.handled, 3);
  // The client library's kept-alive connection, with a large body.
  httplib::Client client = running.Client();
  client.set_keep_alive(true);
  const std::string large(3 << 20, 'z');
  for (int i = 0; i < 3; ++i) {
    const auto echoed = client.Post("/echo", large, "text/plain");
    ASSERT_TRUE(echoed);
    EXPECT_EQ(echoed->body.size(), large.size());
  }
}

// The workshop as a local process would attack it: slow connections hold the port while the
// page edits, and the workshop then ends by itself for want of a page. The edit is found again
// at the next start.
TEST(GuardedServer, WorkshopUnderSlowConnectionsAnswersThePageAndKeepsItsEdit) {
  pw::test::ScratchFolder folder;
  const auto options = pw::test::WorkshopTestOptions(folder / "home", std::chrono::seconds(3));
  {
    pw::test::RunningWorkshop workshop(options);
    httplib::Client client = workshop.Client();
    SlowClients slow(workshop.server->port(), 24);
    ASSERT_TRUE(pw::test::OpenAndEditWalk(client, folder / "walk.txt", "The road went on and on.", std::chrono::milliseconds(1500)));
    workshop.WaitForEnd();  // the slow connections do not keep the workshop alive; it ends, saving first
  }
  EXPECT_NE(pw::test::BookAtNextStart(options).html.find("The road went on and on."), std::string::npos);
}

// An edit that arrives while the workshop is already ending (after the idle end looked, before
// the server stopped) is saved rather than dropped with the scratch folder.
TEST(GuardedServer, WorkshopStoppedWithAnUnsavedEditKeepsIt) {
  pw::test::ScratchFolder folder;
  const auto options = pw::test::WorkshopTestOptions(folder / "home", std::chrono::seconds(60));
  {
    pw::test::RunningWorkshop workshop(options);
    httplib::Client client = workshop.Client();
    ASSERT_TRUE(pw::test::OpenAndEditWalk(client, folder / "walk.txt", "The road turned."));
    workshop.server->Stop();
    workshop.WaitForEnd();
  }
  EXPECT_NE(pw::test::BookAtNextStart(options).html.find("The road turned."), std::string::npos);
}

}  // namespace
}  // namespace pw::app
