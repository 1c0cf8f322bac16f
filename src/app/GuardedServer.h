// The workshop's HTTP server with a gate in front of the request handlers. Any local process can
// connect to the workshop's port; what keeps such a process from starving the page is decided
// here, before a request reaches a handler:
// - the whole head of a request must arrive within a few seconds of the connection (or, on a
//   kept-alive connection, of its first byte), however slowly it trickles in;
// - a head without the workshop's secret is answered "forbidden" before any body is read;
// - the pool of workers grows with the connections up to a bound, and when every worker is
//   busy the connection that has waited longest for its next request is dropped, so a new one
//   is always taken up;
// - every read of a body and every write of an answer has its own time-out.
#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

namespace pw::app {

struct ServerLimits {
  std::chrono::milliseconds headTime{4000};    // for the whole head of a request
  std::chrono::milliseconds keepAlive{5000};   // a kept-alive connection waiting for its next request
  std::chrono::milliseconds readTime{5000};    // each read of a request's body
  std::chrono::milliseconds writeTime{5000};   // each write of an answer
  size_t headBytes = 64 * 1024;                // the largest head taken
  size_t workers = 64;                         // connections served at one time
  size_t requestsPerConnection = 100;
};

// Connections waiting for their next request, oldest first, so that the longest waiting can be
// dropped when a new connection needs a worker.
class WaitingConnections {
 public:
  void Enter(int socket);
  void Leave(int socket);
  // Shuts the oldest waiting connection down (its worker sees it end at once); false when none
  // waits.
  bool DropOldest();
  size_t size() const;

 private:
  mutable std::mutex mutex_;
  unsigned long long next_ = 0;
  std::map<unsigned long long, int> byAge_;  // entry order -> socket
  std::map<int, unsigned long long> bySocket_;
};

class GuardedServer final : public httplib::Server {
 public:
  explicit GuardedServer(std::string secret, ServerLimits limits = {});

  // Binds `host` at `port` (a free port when 0) with a long queue of connections waiting to be
  // accepted, so that a burst of connections does not turn others away. The port, or -1.
  int Bind(const std::string& host, int port);

  const ServerLimits& limits() const { return limits_; }
  // Connections dropped so far because every worker was busy.
  size_t dropped() const { return dropped_; }

 private:
  bool process_and_close_socket(socket_t sock) override;

  std::string secret_;
  ServerLimits limits_;
  WaitingConnections waiting_;
  std::atomic<size_t> dropped_{0};
};

}  // namespace pw::app
