// The workshop's routes for books inside archives: the list of an archive's files for the
// UnRarF form, and the opening of the file the user chose.
#include <httplib.h>

#include "app/WorkshopRoutes.h"
#include "app/WorkshopServer.h"
#include "shell/ArchiveInput.h"
#include "shell/BookSession.h"
#include "shell/StartUp.h"

namespace pw::app {

using json = nlohmann::json;

void AddArchiveRoutes(httplib::Server& server, WorkshopServer& workshop) {
  server.Get("/api/archive", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const std::string path = request.get_param_value("path");
    if (path.empty()) return Reply(response, {{"ok", false}}, 400);
    std::vector<shell::ArchiveMember> members;
    bool cut = false;
    const shell::ArchiveError error = shell::ListArchive(path, members, {}, &cut);
    if (error != shell::ArchiveError::None) {
      common::NullProgress progress;
      common::RecordingSink sink;
      common::Messages messages(sink, workshop.shell().settings().interfaceLanguage);
      common::Session session(progress, messages);
      shell::ShowArchiveError(error, std::filesystem::path(path).filename().string(), session);
      return Reply(response, {{"ok", false}, {"message", sink.shown.empty() ? std::string() : sink.shown.front()}});
    }
    json list = json::array();
    for (const shell::ArchiveMember& member : members)
      list.push_back({{"name", member.name},
                      {"size", member.size},
                      {"book", member.book},
                      {"refused", member.refusal != shell::MemberRefusal::None}});
    json answer = {{"ok", true}, {"members", list}};
    if (cut) {
      common::RecordingSink sink;
      common::Messages(sink, workshop.shell().settings().interfaceLanguage)
          .Show(common::Msg::ArchiveListCut, std::to_string(members.size()));
      answer["cut"] = sink.shown.front();
    }
    Reply(response, answer);
  });

  // {path, entry, discard}: opens the book `entry` of the archive as /api/open opens a file.
  server.Post("/api/archive/open", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("path") || !in["path"].is_string() || !in.contains("entry") ||
        !in["entry"].is_string())
      return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(workshop.bookMutex());
    shell::BookSession& session = workshop.shell().session();
    if (WantsDiscard(in)) session.ForgetChanges();
    session.SetArchiveEntry(in["entry"].get<std::string>());
    const bool ok = session.PrepareBook(in["path"].get<std::string>());
    session.SetArchiveEntry({});
    Reply(response, {{"ok", ok}});
  });
}

}  // namespace pw::app
