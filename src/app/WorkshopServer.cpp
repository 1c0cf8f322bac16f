#include "app/WorkshopServer.h"

#include <httplib.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

#include "app/GuardedServer.h"
#include "app/RequestHead.h"
#include "app/WebFiles.h"
#include "app/WorkshopRoutes.h"
#include "common/Files.h"
#include "common/PicturePaths.h"
#include "common/Session.h"
#include "common/Text.h"
#include "fb2/DescriptionReader.h"
#include "fb2/Fb2Export.h"
#include "fb2/Fb2Schema.h"
#include "markup/BookMarkup.h"
#include "markup/BookOperations.h"
#include "markup/ElementOperations.h"
#include "markup/HtmlTags.h"
#include "markup/SectionEditor.h"
#include "markup/TagReader.h"
#include "reader/Reader.h"
#include "shell/ArchiveInput.h"
#include "shell/BookSession.h"
#include "shell/SaveBook.h"
#include "markup/StoredBook.h"

namespace pw::app {

namespace fs = std::filesystem;
using json = nlohmann::json;

namespace {

constexpr size_t kMaxBody = 256u << 20;  // a large book upload, and nothing beyond

std::string MakeSecret() {
  std::random_device device;
  std::string secret;
  static constexpr char kDigits[] = "0123456789abcdef";
  for (int i = 0; i < 32; ++i) secret.push_back(kDigits[device() % 16]);
  return secret;
}

std::string ContentType(std::string_view name) {
  const std::string extension = common::LowerExtension(fs::path(name));
  if (extension == "html" || extension == "htm" || extension == "html0") return "text/html; charset=utf-8";
  if (extension == "js") return "text/javascript; charset=utf-8";
  if (extension == "css") return "text/css; charset=utf-8";
  if (extension == "png") return "image/png";
  if (extension == "jpg" || extension == "jpeg") return "image/jpeg";
  if (extension == "gif") return "image/gif";
  if (extension == "svg") return "image/svg+xml";
  return "application/octet-stream";
}

}  // namespace

fs::path ExpandFolder(const std::string& folder) {
  if (common::StartsWith(folder, "~")) {
    const char* home = std::getenv("HOME");
    return fs::path(home ? home : ".") / folder.substr(folder.size() > 1 && folder[1] == '/' ? 2 : 1);
  }
  return folder;
}

void Reply(httplib::Response& response, const json& body, int status) {
  response.status = status;
  response.set_content(body.dump(), "application/json");
}

std::string AttachmentHeader(std::string_view name) {
  // Plain ASCII for old readers of the header, the real name in UTF-8 (RFC 5987) for the rest.
  std::string plain;
  std::string encoded;
  static constexpr char kHex[] = "0123456789ABCDEF";
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) != 0x80) plain += byte < 0x20 || byte >= 0x7f || c == '"' || c == '\\' ? '_' : c;  // one '_' a character
    const bool alnum = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    if (alnum || std::string_view("!#$&+-.^_`|~").find(c) != std::string_view::npos) {
      encoded += c;
    } else {
      encoded += '%';
      encoded += kHex[byte >> 4];
      encoded += kHex[byte & 0xf];
    }
  }
  return "attachment; filename=\"" + plain + "\"; filename*=UTF-8''" + encoded;
}

bool WantsDiscard(const json& in) { return in.is_object() && in.contains("discard") && in["discard"] == true; }

void DropCompression(const httplib::Request& request) {
  // The page and the server share one machine: compressing a book costs far more time than the
  // bytes it saves. The library compresses whatever the browser accepts, so the browser's offer
  // is withdrawn before the handlers run (the request object itself is not const).
  const_cast<httplib::Request&>(request).headers.erase("Accept-Encoding");
}

// ---------------------------------------------------------------------------------------------

bool PageEditor::Load(const fs::path& file) {
  std::string text;
  if (!common::ReadWholeFile(file, text)) return false;
  std::lock_guard lock(mutex_);
  document_ = std::move(text);
  file_ = file;
  ++version_;
  loaded_ = true;
  return true;
}

bool PageEditor::Document(std::string& html) {
  std::lock_guard lock(mutex_);
  if (!loaded_) return false;
  html = document_;
  return true;
}

void PageEditor::SetCaption(std::string_view caption) {
  std::lock_guard lock(mutex_);
  caption_ = caption;
}

void PageEditor::Edit(std::string html) {
  std::lock_guard lock(mutex_);
  document_ = std::move(html);
}

void PageEditor::Replace(std::string html) {
  std::lock_guard lock(mutex_);
  document_ = std::move(html);
  ++version_;
}

PageEditor::Snapshot PageEditor::Current() const {
  std::lock_guard lock(mutex_);
  return {document_, file_, version_, caption_};
}

void PageChannel::Status(std::string_view text) {
  std::lock_guard lock(mutex_);
  state_.status = text;
}

void PageChannel::EndChain() {
  std::lock_guard lock(mutex_);
  state_.status.clear();
  state_.percent = 0;
}

void PageChannel::Percent(int percent) {
  std::lock_guard lock(mutex_);
  state_.percent = percent;
}

void PageChannel::Show(std::string_view text) {
  std::lock_guard lock(mutex_);
  if (state_.messages.size() < 100) state_.messages.emplace_back(text);
}

bool PageChannel::Ask(std::string_view text, bool defaultAnswer) {
  Show(text);
  return defaultAnswer;
}

PageChannel::State PageChannel::TakeState() {
  std::lock_guard lock(mutex_);
  State state = state_;
  state_.messages.clear();
  return state;
}

// ---------------------------------------------------------------------------------------------

WorkshopServer::WorkshopServer(WorkshopOptions options) : options_(std::move(options)), secret_(MakeSecret()) {}

WorkshopServer::~WorkshopServer() {
  Stop();
  if (watcher_.joinable()) watcher_.join();
}

std::string WorkshopServer::Address() const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/?s=" + secret_;
}

bool WorkshopServer::Start() {
  shell::WorkshopFolder workshop{shell::ResolveWorkshopFolder(options_.home)};
  shell_ = std::make_unique<shell::Shell>(workshop, shell::ShippedDataFolder(), editor_, channel_, channel_);
  shell_->StartUp(options_.commandLine);
  PublishBookState();
  server_ = std::make_unique<GuardedServer>(secret_);
  server_->set_payload_max_length(kMaxBody);
  Routes();
  AddSessionRoutes(*server_, *this);
  AddFindReplaceRoutes(*server_, *this);
  AddCorrectorRoutes(*server_, *this);
  AddSettingsRoutes(*server_, *this);
  AddReaderRoutes(*server_, *this);
  AddArchiveRoutes(*server_, *this);
  AddDescriptionRoutes(*server_, *this);
  port_ = server_->Bind("127.0.0.1", options_.port);
  if (port_ <= 0) return false;
  lastSeen_ = std::chrono::steady_clock::now().time_since_epoch().count();
  return true;
}

void WorkshopServer::Serve() {
  watcher_ = std::thread([this] { Watch(); });
  server_->listen_after_bind();
  stopping_ = true;
  if (watcher_.joinable()) watcher_.join();
  std::lock_guard lock(bookMutex_);
  // Requests still running when the end was decided have finished now. An edit among them is
  // saved, never dropped: only the page's own answer to the unsaved-changes question forgets
  // changes.
  if (shell_->session().changed()) {
    if (shell_->SaveFileAndSettings())
      std::printf("Pagewright workshop: the last changes were saved to %s\n", shell_->session().keptBook().string().c_str());
    else
      std::fprintf(stderr, "pagewright: the last changes to the book could not be saved\n");
    std::fflush(stdout);
  }
  shell_->Exit();
}

void WorkshopServer::Stop() {
  stopping_ = true;
  if (server_) server_->stop();
}

namespace {

// Set by SIGINT and SIGTERM: the workshop ends as after the idle time, saving first.
std::atomic<bool> endRequested{false};

extern "C" void RequestEnd(int) { endRequested = true; }

}  // namespace

void WorkshopServer::Watch() {
  while (!stopping_) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    const auto idle = std::chrono::steady_clock::duration(now - lastSeen_.load());
    if (endRequested && EndUnattended("asked to end", true)) return;
    if (idle > options_.idleLimit && EndUnattended("no page for " + std::to_string(options_.idleLimit.count()) + " s", false))
      return;
  }
}

bool WorkshopServer::EndUnattended(const std::string& reason, bool evenUnsaved) {
  std::string saved;
  {
    std::lock_guard lock(bookMutex_);
    if (shell_->session().changed()) {
      if (!shell_->SaveFileAndSettings()) {
        if (evenUnsaved) {
          std::printf("Pagewright workshop: %s; the book could not be saved; the workshop has ended\n", reason.c_str());
          std::fflush(stdout);
          Stop();
          return true;
        }
        // Never end by itself with changes that could not be saved: wait for the page.
        std::fprintf(stderr, "pagewright: %s, but the book could not be saved; the workshop goes on\n", reason.c_str());
        lastSeen_ = std::chrono::steady_clock::now().time_since_epoch().count();
        return false;
      }
      saved = shell_->session().keptBook().string();
    }
  }
  if (saved.empty())
    std::printf("Pagewright workshop: %s; the workshop has ended\n", reason.c_str());
  else
    std::printf("Pagewright workshop: %s; the book was saved to %s; the workshop has ended\n", reason.c_str(), saved.c_str());
  std::fflush(stdout);
  Stop();
  return true;
}

bool WorkshopServer::Allowed(const httplib::Request& request, httplib::Response& response) const {
  const std::string own = "127.0.0.1:" + std::to_string(port_);
  const std::string ownLocal = "localhost:" + std::to_string(port_);
  const std::string host = request.get_header_value("Host");
  bool ok = host == own || host == ownLocal;
  if (ok && request.has_header("Origin")) {
    const std::string origin = request.get_header_value("Origin");
    ok = origin == "http://" + own || origin == "http://" + ownLocal;
  }
  if (ok) {
    const bool inAddress = request.path == "/" && SameSecret(request.get_param_value("s"), secret_);
    const bool inHeader = SameSecret(request.get_header_value(std::string(kSecretHeader).c_str()), secret_);
    const bool inCookie = CookieCarriesSecret(request.get_header_value("Cookie"), kSecretCookie, secret_);
    ok = inAddress || inHeader || inCookie;
  }
  if (!ok) {
    response.status = 403;
    response.set_content("forbidden", "text/plain");
  }
  return ok;
}

void WorkshopServer::Routes() {
  httplib::Server& server = *server_;
  server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
    if (!Allowed(request, response)) return httplib::Server::HandlerResponse::Handled;
    DropCompression(request);
    lastSeen_ = std::chrono::steady_clock::now().time_since_epoch().count();
    return httplib::Server::HandlerResponse::Unhandled;
  });

  // After every command on the book the page's view of it is brought up to date.
  server.set_post_routing_handler([this](const httplib::Request& request, httplib::Response&) {
    if (request.method != "POST") return;
    std::lock_guard lock(bookMutex_);
    channel_.EndChain();  // every chain leaves the status line clear, ended or failed
    PublishBookState();
  });

  // The page and its files.
  server.Get("/", [this](const httplib::Request&, httplib::Response& response) {
    for (const WebFile& file : WebFiles())
      if (file.name == "index.html") response.set_content(std::string(file.text), "text/html; charset=utf-8");
    // Only the page's own script files run; the book's frames (which inherit this policy and
    // are sandboxed besides) never run what a book carries.
    response.set_header("Content-Security-Policy", std::string(kPagePolicy));
    response.set_header("Set-Cookie", std::string(kSecretCookie) + "=" + secret_ + "; HttpOnly; SameSite=Strict; Path=/");
    response.set_header("Cache-Control", "no-store");
  });
  server.Get(R"(/web/((?:[A-Za-z0-9_-][A-Za-z0-9_.-]*/)?[A-Za-z0-9_-][A-Za-z0-9_.-]*))", [](const httplib::Request& request, httplib::Response& response) {
    const std::string name = request.matches[1];
    for (const WebFile& file : WebFiles()) {
      if (file.name == name) {
        response.set_content(std::string(file.text), ContentType(name).c_str());
        return;
      }
    }
    response.status = 404;
  });

  // The open book's own files: the working document and the pictures beside it, nothing else.
  server.Get(R"(/book/([^/]+))", [this](const httplib::Request& request, httplib::Response& response) {
    const std::string name = request.matches[1];
    const auto snapshot = editor_.Current();
    if (name == "document") {
      response.set_content(snapshot.html, "text/html; charset=utf-8");
      response.set_header("Content-Security-Policy", std::string(kBookPolicy));
      response.set_header("Cache-Control", "no-store");
      return;
    }
    if (name == "reading") return ServeReadingView(*this, response);  // beside the book's pictures
    if (snapshot.file.empty()) {
      response.status = 404;
      return;
    }
    // Only picture files in the book's folder, never through a link.
    const auto file = common::PictureInsideFolder(snapshot.file.parent_path(), name);
    std::string bytes;
    if (!file || !common::ReadWholeFile(*file, bytes)) {
      response.status = 404;
      return;
    }
    response.set_content(bytes, ContentType(name).c_str());
  });

  server.Get("/api/state", [this](const httplib::Request&, httplib::Response& response) {
    const auto state = channel_.TakeState();
    const auto snapshot = editor_.Current();
    json body;
    body["status"] = state.status;
    body["percent"] = state.percent;
    body["messages"] = std::vector<std::string>(state.messages.begin(), state.messages.end());
    body["version"] = snapshot.version;
    body["caption"] = snapshot.caption;
    BookState book;
    {
      std::lock_guard stateLock(stateMutex_);
      book = bookState_;
    }
    body["changed"] = book.changed;
    body["warnUnsaved"] = book.warnUnsaved;
    body["editorFont"] = book.editorFont;
    body["book"] = book.book;
    body["recent"] = book.recent;
    const common::Language language = book.language;
    body["language"] = language == common::Language::Russian ? "ru" : "en";
    // The texts the page itself shows, in the interface language.
    body["texts"] = {{"unsaved", std::string(common::MessageText(common::Msg::UnsavedChanges, language))},
                     {"noSelection", std::string(common::MessageText(common::Msg::NoTextSelected, language))},
                     {"onlyWholeElements", std::string(common::MessageText(common::Msg::OnlyWholeElementsMove, language))}};
    Reply(response, body);
  });

  // The page's edits: the whole document, sent before a command reads it.
  server.Post("/api/document", [this](const httplib::Request& request, httplib::Response& response) {
    std::lock_guard lock(bookMutex_);
    editor_.Edit(markup::ToBookSpelling(request.body));
    // The page says whether this document holds changes not yet saved.
    if (request.get_param_value("changed") == "1") shell_->session().MarkChanged();
    Reply(response, {{"ok", true}});
  });

  server.Post("/api/open", [this](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("path") || !in["path"].is_string()) return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(bookMutex_);
    if (WantsDiscard(in)) shell_->session().ForgetChanges();
    const bool ok = shell_->session().PrepareBook(in["path"].get<std::string>());
    Reply(response, {{"ok", ok}});
  });

  server.Post("/api/upload", [this](const httplib::Request& request, httplib::Response& response) {
    if (!request.has_file("book")) return Reply(response, {{"ok", false}}, 400);
    const auto file = request.get_file_value("book");
    std::string name = fs::path(file.filename).filename().string();
    if (name.empty() || name == "." || name == "..") name = "book.txt";
    std::lock_guard lock(bookMutex_);
    const fs::path folder = shell_->workshop().temp() / "uploads";
    std::error_code error;
    fs::create_directories(folder, error);
    const fs::path path = folder / name;
    if (!common::WriteFileAtomic(path, file.content)) return Reply(response, {{"ok", false}}, 500);
    if (shell::HoldsSeveralBooks(path)) return Reply(response, {{"ok", false}, {"choose", true}, {"path", path.string()}});
    if (request.get_param_value("discard") == "1") shell_->session().ForgetChanges();
    const bool ok = shell_->session().PrepareBook(path.string());
    Reply(response, {{"ok", ok}});
  });

  server.Post("/api/command", [this](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("name") || !in["name"].is_string()) return Reply(response, {{"ok", false}}, 400);
    const std::string name = in["name"];
    std::lock_guard lock(bookMutex_);
    if (WantsDiscard(in)) shell_->session().ForgetChanges();
    bool ok = false;
    if (name == "save") {
      ok = shell_->SaveFileAndSettings();
      return Reply(response, {{"ok", ok}, {"savedAs", shell_->session().keptBook().string()}});
    }
    if (name == "empty") ok = shell_->session().MnEmptyBook();
    else if (name == "reload") ok = shell_->session().MnReloadBook();
    else if (name == "quit") {
      ok = true;
      Reply(response, {{"ok", ok}});
      std::thread([this] { Stop(); }).detach();
      return;
    } else {
      return Reply(response, {{"ok", false}, {"error", "unknown command"}}, 400);
    }
    Reply(response, {{"ok", ok}});
  });

  // An element operation on the selection: its HTML in, the HTML that replaces it out.
  server.Post("/api/element", [this](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("operation") || !in["operation"].is_string() || !in.contains("html") ||
        !in["html"].is_string())
      return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(bookMutex_);
    common::Messages messages(channel_, shell_->settings().interfaceLanguage);
    const auto result = markup::ApplySelectionOperation(in["operation"].get<std::string>(), in["html"].get<std::string>(),
                                                        shell_->settings(), channel_, messages);
    if (!result.known) return Reply(response, {{"ok", false}, {"error", "unknown operation"}}, 400);
    if (!result.html.empty()) shell_->session().MarkChanged();
    Reply(response, {{"ok", true}, {"html", result.html}});
  });

  // A whole-book operation on the document the page sent last; the page then shows the result.
  server.Post("/api/book", [this](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("operation") || !in["operation"].is_string())
      return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(bookMutex_);
    std::string document;
    if (!editor_.Document(document)) return Reply(response, {{"ok", false}}, 409);
    common::Messages messages(channel_, shell_->settings().interfaceLanguage);
    const auto result =
        markup::ApplyBookOperation(in["operation"].get<std::string>(), document, shell_->settings(), channel_, messages);
    if (!result.known) return Reply(response, {{"ok", false}, {"error", "unknown operation"}}, 400);
    if (!result.changed) return Reply(response, {{"ok", true}, {"changed", false}});
    // The page shows the new document as one step of its history.
    editor_.Edit(document);
    shell_->session().MarkChanged();
    Reply(response, {{"ok", true}, {"changed", true}, {"html", document}});
  });

  // The section editor: the book's titles, and the marks written for the levels given.
  server.Get("/api/titles", [this](const httplib::Request&, httplib::Response& response) {
    std::lock_guard lock(bookMutex_);
    std::string document;
    editor_.Document(document);
    Reply(response, {{"titles", markup::ListTitles(document)}});
  });
  server.Post("/api/sections", [this](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("levels") || !in["levels"].is_array()) return Reply(response, {{"ok", false}}, 400);
    std::vector<int> levels;
    std::vector<bool> removed;
    for (const auto& level : in["levels"]) {
      if (!level.is_number_integer()) return Reply(response, {{"ok", false}}, 400);
      levels.push_back(level.get<int>());
    }
    if (in.contains("removed") && in["removed"].is_array())
      for (const auto& flag : in["removed"]) removed.push_back(flag.is_boolean() && flag.get<bool>());
    std::lock_guard lock(bookMutex_);
    std::string document;
    if (!editor_.Document(document)) return Reply(response, {{"ok", false}}, 409);
    common::Messages messages(channel_, shell_->settings().interfaceLanguage);
    const int sections = markup::ApplySectionLevels(document, levels, removed, channel_, messages);
    if (sections < 0) return Reply(response, {{"ok", false}, {"sections", sections}});
    editor_.Edit(document);
    shell_->session().MarkChanged();
    Reply(response, {{"ok", true}, {"sections", sections}, {"html", document}});
  });

  // The reader: whether the book has anything to read, its page geometry and auto-scroll.
  server.Get("/api/reader", [this](const httplib::Request&, httplib::Response& response) {
    std::lock_guard lock(bookMutex_);
    std::string document;
    editor_.Document(document);
    const common::Settings& settings = shell_->settings();
    if (!reader::HasTextToRead(document)) {
      common::Messages messages(channel_, settings.interfaceLanguage);
      messages.Show(common::Msg::EmptyBookNothingToRead);
      return Reply(response, {{"ok", false}});
    }
    json geometries = json::array();
    for (const auto& geometry : reader::PageGeometries())
      geometries.push_back({{"name", geometry.name}, {"width", geometry.width}, {"height", geometry.height}});
    const auto chosen = reader::GeometryFor(settings.readerGeometry, settings);
    const double speed = reader::ScrollSpeed(settings, settings.scrollType);
    Reply(response, {{"ok", true},
                     {"geometries", geometries},
                     {"geometry", chosen.name},
                     {"scrollType", settings.scrollType},
                     {"speed", speed},
                     {"interval", reader::AutoScrollIntervalMs(speed)},
                     {"bookmark", reader::kTemporaryBookmarkId}});
  });

  // The book as a stored book: the seven header fields, optionally compressed, written into the
  // folder the user named, else beside the book's source, else (a book without a source of the
  // user's, such as an upload) into the library folder.
  server.Post("/api/stored", [this](const httplib::Request& request, httplib::Response& response) {
    json in = json::parse(request.body, nullptr, false);
    if (!in.is_object()) in = json::object();
    std::lock_guard lock(bookMutex_);
    std::string document;
    if (!editor_.Document(document)) return Reply(response, {{"ok", false}}, 409);
    const auto snapshot = editor_.Current();
    const fs::path bookFolder = snapshot.file.parent_path();
    const std::string saved = shell::MakeSavedDocument(document, shell_->settings(), shell::TodayText());
    markup::StoredBookHeader header = shell::CompleteHeader(shell_->session().header(), saved);
    static constexpr std::pair<const char*, markup::HeaderField> kFields[] = {
        {"annotation", markup::HeaderField::Annotation}, {"author", markup::HeaderField::Author},
        {"title", markup::HeaderField::Title},           {"genre", markup::HeaderField::Genre},
        {"language", markup::HeaderField::Language},     {"rating", markup::HeaderField::Rating},
        {"keywords", markup::HeaderField::Keywords}};
    for (const auto& [key, field] : kFields)
      if (in.contains(key) && in[key].is_string() && !in[key].get<std::string>().empty()) header[field] = in[key];
    const bool compress = in.contains("compress") && in["compress"].is_boolean() && in["compress"].get<bool>();
    const markup::StoredBook book = shell::MakeStoredBook(saved, bookFolder, header, compress);
    std::string name = in.contains("name") && in["name"].is_string() ? in["name"].get<std::string>() : "";
    name = fs::path(name).filename().string();
    if (name.empty()) name = header[markup::HeaderField::Title].empty() ? "book" : header[markup::HeaderField::Title];
    for (char& c : name)
      if (c == '/' || c == '\\' || c == ':' || c == '"' || static_cast<unsigned char>(c) < 32) c = '_';
    if (!common::EndsWith(name, ".html0")) name += ".html0";
    const fs::path output = StoredBookFolder(in.contains("folder") && in["folder"].is_string() ? in["folder"].get<std::string>() : "") / name;
    std::error_code folderError;
    fs::create_directories(output.parent_path(), folderError);
    std::string error;
    if (!markup::SaveStoredBookFile(output, book, error)) {
      channel_.Show(error);
      return Reply(response, {{"ok", false}}, 422);
    }
    Reply(response, {{"ok", true}, {"savedAs", output.string()}});
  });

}

fs::path WorkshopServer::StoredBookFolder(const std::string& chosen) {
  if (!chosen.empty()) return ExpandFolder(chosen);
  const std::string& source = shell_->session().bookPath();
  std::error_code error;
  const fs::path full = source.empty() ? fs::path() : fs::weakly_canonical(fs::absolute(source, error), error);
  const fs::path workshop = fs::weakly_canonical(fs::absolute(shell_->workshop().root, error), error);
  const bool inWorkshop = !full.empty() && std::mismatch(workshop.begin(), workshop.end(), full.begin(), full.end()).first == workshop.end();
  if (!full.empty() && !inWorkshop && fs::is_regular_file(full, error)) return full.parent_path();
  return ExpandFolder(shell_->settings().libraryFolder);
}

void WorkshopServer::PublishBookState() {
  BookState state;
  state.book = shell_->session().bookPath();
  state.changed = shell_->session().changed();
  for (const auto& file : shell_->settings().recentFiles)
    if (!file.empty() && file != common::kRecentFilesPlaceholder) state.recent.push_back(file);
  state.language = shell_->settings().interfaceLanguage;
  state.warnUnsaved = shell_->settings().warnUnsaved;
  state.editorFont = shell_->settings().editorFont;
  std::lock_guard lock(stateMutex_);
  bookState_ = std::move(state);
}

int RunWorkshop(const WorkshopOptions& options) {
  WorkshopServer server(options);
  if (!server.Start()) {
    std::fprintf(stderr, "pagewright: cannot serve the workshop on 127.0.0.1%s\n",
                 options.port > 0 ? (":" + std::to_string(options.port)).c_str() : "");
    return 1;
  }
  std::printf("Pagewright workshop: %s\n", server.Address().c_str());
  std::fflush(stdout);
  if (options.openBrowser) {
    const std::string command = "xdg-open '" + server.Address() + "' >/dev/null 2>&1 &";
    if (std::system(command.c_str()) != 0) std::fprintf(stderr, "pagewright: open the address above in a browser\n");
  }
  std::signal(SIGINT, RequestEnd);
  std::signal(SIGTERM, RequestEnd);
  server.Serve();
  return 0;
}

}  // namespace pw::app
