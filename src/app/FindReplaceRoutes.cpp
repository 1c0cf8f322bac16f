// Find and replace for the page. The page sends the text it shows (or the part selected) and
// gets every match with its replacement back; it selects and replaces in its own document, so
// the history keeps each replacement. In HTML the server replaces in the book it holds (or in
// the selection's HTML the page sends). A bad pattern is an answer, not a failure: its message
// goes back to be shown at the field.
#include <httplib.h>

#include "app/WorkshopRoutes.h"
#include "app/WorkshopServer.h"
#include "corrector/FindReplace.h"

namespace pw::app {

using json = nlohmann::json;

namespace {

constexpr size_t kMatchLimit = 100000;

std::string Text(const json& in, const char* key) {
  return in.contains(key) && in[key].is_string() ? in[key].get<std::string>() : std::string();
}

bool Flag(const json& in, const char* key) { return in.contains(key) && in[key].is_boolean() && in[key].get<bool>(); }

corrector::FindOptions Options(const json& in) {
  return {.regex = Flag(in, "regex"), .matchCase = Flag(in, "matchCase"), .wholeWord = Flag(in, "wholeWord")};
}

}  // namespace

void AddFindReplaceRoutes(httplib::Server& server, WorkshopServer& workshop) {
  // {text, what, replacement, regex, matchCase, wholeWord} -> {ok, matches: [{start, end, replacement}], error}
  server.Post("/api/find", [](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("text") || !in["text"].is_string() || !in.contains("what") || !in["what"].is_string())
      return Reply(response, {{"ok", false}}, 400);
    const auto found = corrector::FindInText(in["text"].get<std::string>(), in["what"].get<std::string>(),
                                             Text(in, "replacement"), Options(in), kMatchLimit);
    if (!found.ok) return Reply(response, {{"ok", false}, {"error", found.error}});
    json matches = json::array();
    for (const auto& match : found.matches)
      matches.push_back({{"start", match.start}, {"end", match.end}, {"replacement", match.replacement}});
    Reply(response, {{"ok", true}, {"matches", matches}, {"truncated", found.truncated}});
  });

  // {what, replacement, regex, matchCase, wholeWord, html?, count?}: every match replaced in the
  // selection's HTML when given, else in the book the server holds; count only counts.
  server.Post("/api/replace-html", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("what") || !in["what"].is_string()) return Reply(response, {{"ok", false}}, 400);
    const std::string what = in["what"];
    const auto options = Options(in);
    std::lock_guard lock(workshop.bookMutex());
    std::string html;
    const bool selection = in.contains("html") && in["html"].is_string();
    if (selection) html = in["html"];
    else if (!workshop.editor().Document(html)) return Reply(response, {{"ok", false}}, 409);
    if (Flag(in, "count")) {
      const auto counted = corrector::CountInHtml(html, what, options);
      return Reply(response, {{"ok", counted.ok}, {"error", counted.error}, {"count", counted.count}});
    }
    const auto replaced = corrector::ReplaceAllInHtml(html, what, Text(in, "replacement"), options);
    if (!replaced.ok) return Reply(response, {{"ok", false}, {"error", replaced.error}});
    if (replaced.count > 0 && !selection) {
      workshop.editor().Edit(html);
      workshop.shell().session().MarkChanged();
    }
    Reply(response, {{"ok", true}, {"count", replaced.count}, {"html", replaced.count > 0 ? html : std::string()}});
  });
}

}  // namespace pw::app
