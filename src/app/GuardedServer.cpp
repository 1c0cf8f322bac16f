#include "app/GuardedServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <functional>
#include <string_view>
#include <thread>
#include <vector>

#include "app/RequestHead.h"

namespace pw::app {

namespace {

using Clock = std::chrono::steady_clock;

// A worker pool that starts a thread only when a connection finds no idle one, up to a bound;
// while connections queue for a worker it calls `starved`, once for each taken up, so that
// connections waiting for a request make room.
class GrowingPool final : public httplib::TaskQueue {
 public:
  GrowingPool(size_t maxWorkers, std::function<void()> starved) : max_(maxWorkers), starved_(std::move(starved)) {}
  ~GrowingPool() override { shutdown(); }

  void enqueue(std::function<void()> job) override {
    bool starved = false;
    {
      std::lock_guard lock(mutex_);
      jobs_.push_back(std::move(job));
      if (jobs_.size() > idle_ + starting_) {
        if (workers_.size() < max_) {
          ++starting_;
          workers_.emplace_back([this] { Work(); });
        } else {
          starved = true;
        }
      }
    }
    ready_.notify_one();
    if (starved) starved_();
  }

  void shutdown() override {
    {
      std::lock_guard lock(mutex_);
      if (shut_) return;
      shut_ = true;
    }
    ready_.notify_all();
    for (std::thread& worker : workers_) worker.join();
  }

 private:
  void Work() {
    std::unique_lock lock(mutex_);
    --starting_;
    for (;;) {
      ++idle_;
      ready_.wait(lock, [this] { return shut_ || !jobs_.empty(); });
      --idle_;
      if (jobs_.empty()) return;  // shut, and nothing left to do
      std::function<void()> job = std::move(jobs_.front());
      jobs_.pop_front();
      // Every worker is busy and more connections wait for one than are free: one more waiting
      // connection makes room, so a burst of new connections is taken up one after the other.
      // Workers still starting count as free, or a burst below the bound would drop connections.
      const bool starved = workers_.size() >= max_ && jobs_.size() > idle_ + starting_;
      lock.unlock();
      if (starved) starved_();
      job();
      lock.lock();
    }
  }

  const size_t max_;
  std::function<void()> starved_;
  std::mutex mutex_;
  std::condition_variable ready_;
  std::deque<std::function<void()>> jobs_;
  std::vector<std::thread> workers_;
  size_t idle_ = 0;
  size_t starting_ = 0;  // started, not yet waiting for a job
  bool shut_ = false;
};

int Milliseconds(Clock::duration duration) {
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
  return static_cast<int>(std::clamp<long long>(ms, 0, 1 << 30));
}

bool WaitFor(int socket, short events, std::chrono::milliseconds timeout) {
  pollfd entry{socket, events, 0};
  int result;
  do result = ::poll(&entry, 1, static_cast<int>(timeout.count()));
  while (result < 0 && errno == EINTR);
  return result > 0;
}

void Address(const sockaddr_storage& address, std::string& ip, int& port) {
  char text[INET6_ADDRSTRLEN] = {};
  if (address.ss_family == AF_INET) {
    const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
    ::inet_ntop(AF_INET, &v4.sin_addr, text, sizeof text);
    port = ntohs(v4.sin_port);
  } else if (address.ss_family == AF_INET6) {
    const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
    ::inet_ntop(AF_INET6, &v6.sin6_addr, text, sizeof text);
    port = ntohs(v6.sin6_port);
  }
  ip = text;
}

// One connection: what the gate has read of it is handed to the request reader first.
class ConnectionStream final : public httplib::Stream {
 public:
  ConnectionStream(int socket, const ServerLimits& limits) : socket_(socket), limits_(limits) {}

  std::string_view Buffered() const { return std::string_view(buffer_).substr(position_); }

  // Receives what has arrived, waiting until `deadline` at most (in short steps, so that a
  // stopped server is noticed). > 0: bytes added; 0: the peer closed; < 0: time-out or error.
  ssize_t Receive(Clock::time_point deadline, const std::atomic<socket_t>& listening) {
    for (;;) {
      const auto left = deadline - Clock::now();
      if (left <= Clock::duration::zero() || listening == INVALID_SOCKET) return -1;
      if (WaitFor(socket_, POLLIN, std::chrono::milliseconds(std::min(250, Milliseconds(left) + 1)))) return Fill();
    }
  }

  // Takes what has arrived already, without waiting. > 0: bytes added; otherwise nothing new.
  ssize_t ReceiveArrived() { return WaitFor(socket_, POLLIN, std::chrono::milliseconds(0)) ? Fill() : -1; }

  bool is_readable() const override { return position_ < buffer_.size() || WaitFor(socket_, POLLIN, limits_.readTime); }
  bool is_writable() const override { return WaitFor(socket_, POLLOUT, limits_.writeTime); }

  ssize_t read(char* data, size_t size) override {
    if (position_ == buffer_.size()) {
      if (!is_readable()) return -1;
      const ssize_t received = Fill();
      if (received <= 0) return received;
    }
    const size_t n = std::min(size, buffer_.size() - position_);
    std::memcpy(data, buffer_.data() + position_, n);
    position_ += n;
    return static_cast<ssize_t>(n);
  }

  ssize_t write(const char* data, size_t size) override {
    if (!is_writable()) return -1;
    ssize_t sent;
    do sent = ::send(socket_, data, size, MSG_NOSIGNAL);
    while (sent < 0 && errno == EINTR);
    return sent;
  }

  void get_remote_ip_and_port(std::string& ip, int& port) const override {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getpeername(socket_, reinterpret_cast<sockaddr*>(&address), &length) == 0) Address(address, ip, port);
  }
  void get_local_ip_and_port(std::string& ip, int& port) const override {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length) == 0) Address(address, ip, port);
  }
  socket_t socket() const override { return socket_; }

 private:
  // Appends what the socket holds now (after dropping what has been read).
  ssize_t Fill() {
    buffer_.erase(0, position_);
    position_ = 0;
    char chunk[16 * 1024];
    ssize_t received;
    do received = ::recv(socket_, chunk, sizeof chunk, 0);
    while (received < 0 && errno == EINTR);
    if (received > 0) buffer_.append(chunk, static_cast<size_t>(received));
    return received;
  }

  int socket_;
  const ServerLimits& limits_;
  std::string buffer_;
  size_t position_ = 0;
};

enum class HeadWait { Complete, Gone, TimedOut, TooLarge };

// Sends a short answer on a connection that ends here, then lets the peer's unread bytes drain
// for a moment, so that it sees the answer rather than a reset connection.
void AnswerAndEnd(ConnectionStream& stream, int socket, std::string_view status, std::string_view text) {
  const std::string answer = "HTTP/1.1 " + std::string(status) + "\r\nContent-Type: text/plain\r\nContent-Length: " +
                             std::to_string(text.size()) + "\r\nConnection: close\r\n\r\n" + std::string(text);
  stream.write(answer.data(), answer.size());
  ::shutdown(socket, SHUT_WR);
  const auto until = Clock::now() + std::chrono::milliseconds(200);
  char sink[4096];
  for (size_t drained = 0; drained < 64 * 1024 && Clock::now() < until;) {
    if (!WaitFor(socket, POLLIN, std::chrono::milliseconds(Milliseconds(until - Clock::now())))) break;
    const ssize_t n = ::recv(socket, sink, sizeof sink, 0);
    if (n <= 0) break;
    drained += static_cast<size_t>(n);
  }
}

}  // namespace

void WaitingConnections::Enter(int socket) {
  std::lock_guard lock(mutex_);
  byAge_[next_] = socket;
  bySocket_[socket] = next_++;
}

void WaitingConnections::Leave(int socket) {
  std::lock_guard lock(mutex_);
  const auto found = bySocket_.find(socket);
  if (found == bySocket_.end()) return;
  byAge_.erase(found->second);
  bySocket_.erase(found);
}

bool WaitingConnections::DropOldest() {
  std::lock_guard lock(mutex_);
  if (byAge_.empty()) return false;
  const int socket = byAge_.begin()->second;
  // The worker that owns the socket closes it, only after it has left this list (it waits for
  // this lock), so the number cannot meanwhile name another connection.
  ::shutdown(socket, SHUT_RDWR);
  bySocket_.erase(socket);
  byAge_.erase(byAge_.begin());
  return true;
}

size_t WaitingConnections::size() const {
  std::lock_guard lock(mutex_);
  return byAge_.size();
}

GuardedServer::GuardedServer(std::string secret, ServerLimits limits) : secret_(std::move(secret)), limits_(limits) {
  new_task_queue = [this] {
    return new GrowingPool(limits_.workers, [this] {
      if (waiting_.DropOldest()) ++dropped_;
    });
  };
  set_read_timeout(std::chrono::duration_cast<std::chrono::seconds>(limits_.readTime).count());
  set_write_timeout(std::chrono::duration_cast<std::chrono::seconds>(limits_.writeTime).count());
  set_keep_alive_timeout(std::chrono::duration_cast<std::chrono::seconds>(limits_.keepAlive).count());
  set_keep_alive_max_count(limits_.requestsPerConnection);
}

int GuardedServer::Bind(const std::string& host, int port) {
  const int bound = port > 0 ? (bind_to_port(host, port) ? port : -1) : bind_to_any_port(host);
  // The library listens with a queue of five; listening again on the same socket lengthens it.
  if (bound > 0) ::listen(svr_sock_, SOMAXCONN);
  return bound;
}

bool GuardedServer::process_and_close_socket(socket_t sock) {
  ConnectionStream stream(sock, limits_);
  // Waits for the next request's head: on a new connection the whole head must come within the
  // head time; on a kept-alive one the first byte within the keep-alive time, then the rest.
  const auto awaitHead = [&](bool first) {
    // A head that has arrived whole by the time a worker takes the connection is served at
    // once: only a connection that makes the workshop wait is listed as waiting, and so may be
    // dropped to make room. (A page's request waits in the queue with its head complete.)
    if (RequestHeadEnd(stream.Buffered()) == std::string_view::npos) stream.ReceiveArrived();
    if (RequestHeadEnd(stream.Buffered()) != std::string_view::npos) return HeadWait::Complete;
    waiting_.Enter(sock);
    const auto start = Clock::now();
    auto deadline = start + (first ? limits_.headTime : limits_.keepAlive);
    bool started = first;
    HeadWait result = HeadWait::Gone;
    for (;;) {
      const std::string_view buffered = stream.Buffered();
      if (RequestHeadEnd(buffered) != std::string_view::npos) {
        result = HeadWait::Complete;
        break;
      }
      if (buffered.size() > limits_.headBytes) {
        result = HeadWait::TooLarge;
        break;
      }
      if (!started && !buffered.empty()) {
        started = true;
        deadline = Clock::now() + limits_.headTime;
      }
      const ssize_t received = stream.Receive(deadline, svr_sock_);
      if (received == 0) break;  // the peer closed (or was dropped)
      if (received < 0) {
        // A connection that sent nothing simply ends.
        if (!stream.Buffered().empty() && Clock::now() >= deadline) result = HeadWait::TimedOut;
        break;
      }
    }
    waiting_.Leave(sock);
    return result;
  };

  bool ok = false;
  for (size_t served = 0; served < limits_.requestsPerConnection && svr_sock_ != INVALID_SOCKET; ++served) {
    const HeadWait wait = awaitHead(served == 0);
    if (wait == HeadWait::TimedOut) AnswerAndEnd(stream, sock, "408 Request Timeout", "request timeout");
    if (wait == HeadWait::TooLarge) AnswerAndEnd(stream, sock, "431 Request Header Fields Too Large", "request too large");
    if (wait != HeadWait::Complete) break;
    const std::string_view buffered = stream.Buffered();
    if (!HeadCarriesSecret(buffered.substr(0, RequestHeadEnd(buffered)), secret_)) {
      AnswerAndEnd(stream, sock, "403 Forbidden", "forbidden");
      break;
    }
    bool closed = false;
    ok = process_request(stream, served + 1 == limits_.requestsPerConnection, closed, nullptr);
    if (!ok || closed) break;
  }
  ::shutdown(sock, SHUT_RDWR);
  ::close(sock);
  return ok;
}

}  // namespace pw::app
