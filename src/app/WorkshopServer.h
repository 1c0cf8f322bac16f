// The workshop: the program's main window is a page in the system browser, served by this
// process on 127.0.0.1. The server holds the one open book of the workshop (through the shell's
// book session), answers the page's commands, and refuses every request that does not come from
// the page it served: each start makes a random secret that the address carries once and the
// page then sends back with every request, the Host header must name this server, an Origin
// must be this server's, and bodies are bounded. The gate in front of the handlers (slow and
// secretless connections) is GuardedServer's.
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "common/Messages.h"
#include "common/Progress.h"
#include "shell/EditorSurface.h"
#include "shell/StartUp.h"
#include "shell/WorkshopFolder.h"

namespace httplib {
class Server;
class Request;
class Response;
}  // namespace httplib

namespace pw::app {

class GuardedServer;

// The editing surface of the page: the server keeps the document the page shows; the page
// fetches it when its version changes and sends it back before anything reads it.
class PageEditor final : public shell::EditorSurface {
 public:
  bool Load(const std::filesystem::path& file) override;
  bool Document(std::string& html) override;
  void SetVisible(bool) override {}
  void SetCaption(std::string_view caption) override;
  void ShowToolbar(bool) override {}
  void ApplySettings(const common::Settings&) override {}
  double MeasureZoom(const std::filesystem::path&) override { return 1.0; }

  // What the page edited.
  void Edit(std::string html);
  // A document rewritten here (a whole-book operation): the page shows it anew.
  void Replace(std::string html);
  // The document, its file (the working document) and a number that grows with every load.
  struct Snapshot {
    std::string html;
    std::filesystem::path file;
    unsigned version = 0;
    std::string caption;
  };
  Snapshot Current() const;

 private:
  mutable std::mutex mutex_;
  std::string document_;
  std::filesystem::path file_;
  unsigned version_ = 0;
  std::string caption_;
  bool loaded_ = false;
};

// Status texts, percentages and messages for the page, kept until it polls them.
class PageChannel final : public common::Progress, public common::MessageSink {
 public:
  void Status(std::string_view text) override;
  void Percent(int percent) override;
  // A chain ended (or failed): the status line is cleared.
  void EndChain();
  void Show(std::string_view text) override;
  // Questions asked while a command runs get their default answer; the page asks the user
  // before it sends a command that needs one (unsaved changes).
  bool Ask(std::string_view text, bool defaultAnswer) override;

  struct State {
    std::string status;
    int percent = 0;
    std::deque<std::string> messages;
  };
  State TakeState();

 private:
  std::mutex mutex_;
  State state_;
};

struct WorkshopOptions {
  std::string home;          // empty: $PAGEWRIGHT_HOME, else the per-user folder
  int port = 0;              // 0: a free port
  bool openBrowser = true;
  std::string commandLine;   // the book to open, as the start-up sequence reads it
  std::chrono::seconds idleLimit{30};  // no page seen for this long ends the workshop
};

class WorkshopServer {
 public:
  explicit WorkshopServer(WorkshopOptions options);
  ~WorkshopServer();
  WorkshopServer(const WorkshopServer&) = delete;
  WorkshopServer& operator=(const WorkshopServer&) = delete;

  // Runs the start-up sequence and binds the server; false when no port could be bound.
  bool Start();
  // Serves until Quit or until the page has been gone for the idle limit; then runs the exit
  // routine.
  void Serve();
  void Stop();

  int port() const { return port_; }
  const std::string& secret() const { return secret_; }
  // The address the browser opens: it carries the secret.
  std::string Address() const;
  shell::Shell& shell() { return *shell_; }
  PageEditor& editor() { return editor_; }
  PageChannel& channel() { return channel_; }
  // Held by every command on the book: one at a time.
  std::mutex& bookMutex() { return bookMutex_; }

 private:
  void Routes();
  // Copies what the page's polling shows of the book (path, unsaved flag, recent files,
  // language) while the caller holds the book lock; the state request reads the copy, so it
  // never waits for a long command nor reads what that command is changing.
  void PublishBookState();
  bool Allowed(const httplib::Request& request, httplib::Response& response) const;
  void Watch();
  // Ends the workshop without the page (idle time, a signal): unsaved changes are saved first
  // and a line on the terminal says what happened. When they cannot be saved the workshop goes
  // on (false), unless `evenUnsaved` (a signal asked it to end).
  bool EndUnattended(const std::string& reason, bool evenUnsaved);
  // Where "Save as stored book" writes: the folder the user chose, else beside the book's
  // source, else the library folder.
  std::filesystem::path StoredBookFolder(const std::string& chosen);

  WorkshopOptions options_;
  PageEditor editor_;
  PageChannel channel_;
  std::unique_ptr<shell::Shell> shell_;
  std::unique_ptr<GuardedServer> server_;
  std::string secret_;
  int port_ = 0;
  std::mutex bookMutex_;  // one command on the book at a time
  struct BookState {
    std::string book;
    bool changed = false;
    std::vector<std::string> recent;
    common::Language language = common::Language::English;
    bool warnUnsaved = true;
    std::string editorFont;
  };
  std::mutex stateMutex_;
  BookState bookState_;
  std::atomic<std::chrono::steady_clock::rep> lastSeen_{0};
  std::atomic<bool> stopping_{false};
  std::thread watcher_;
};

// The workshop from the command line: starts, prints the address, opens the browser, serves.
int RunWorkshop(const WorkshopOptions& options);

}  // namespace pw::app
