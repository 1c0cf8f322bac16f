// Settings the page changes for the session: the interface language and the unsaved-changes
// question. Each change is written to the settings file at once.
#include <httplib.h>

#include "app/WorkshopRoutes.h"
#include "app/WorkshopServer.h"
#include "shell/SettingsFile.h"

namespace pw::app {

using json = nlohmann::json;

namespace {

bool KeepSettings(WorkshopServer& workshop) {
  return shell::SaveSettings(workshop.shell().workshop().settingsFile(), workshop.shell().settings());
}

}  // namespace

void AddSessionRoutes(httplib::Server& server, WorkshopServer& workshop) {
  server.Post("/api/language", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("language") || !in["language"].is_string())
      return Reply(response, {{"ok", false}}, 400);
    const std::string language = in["language"];
    if (language != "en" && language != "ru") return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(workshop.bookMutex());
    workshop.shell().settings().interfaceLanguage =
        language == "ru" ? common::Language::Russian : common::Language::English;
    Reply(response, {{"ok", KeepSettings(workshop)}});
  });

  // {"warn": false} switches the question off (said once by the session), true back on.
  server.Post("/api/unsaved-warning", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("warn") || !in["warn"].is_boolean()) return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(workshop.bookMutex());
    if (in["warn"].get<bool>()) workshop.shell().settings().warnUnsaved = true;
    else workshop.shell().session().DisableUnsavedWarning();
    Reply(response, {{"ok", KeepSettings(workshop)}});
  });
}

}  // namespace pw::app
