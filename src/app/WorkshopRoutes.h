// The workshop server's routes that live outside WorkshopServer.cpp, each group in its own
// file, and the small helpers they share.
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <string_view>

namespace httplib {
class Server;
class Request;
class Response;
}  // namespace httplib

namespace pw::app {

class WorkshopServer;

// Content policies: the page runs only its own script files; a book's document (the editor's
// and the reading view) runs no script at all, whatever it carries.
inline constexpr std::string_view kPagePolicy = "script-src 'self'; object-src 'none'";
inline constexpr std::string_view kBookPolicy = "script-src 'none'; object-src 'none'";

// Answers with `body` as JSON.
void Reply(httplib::Response& response, const nlohmann::json& body, int status = 200);
// A Content-Disposition header for a download named `name` (UTF-8): an ASCII stand-in and the
// real name as filename*.
std::string AttachmentHeader(std::string_view name);
// A folder or file the user typed: "~" at its start is the user's home.
std::filesystem::path ExpandFolder(const std::string& folder);
// Whether a command's request says the user chose to drop the unsaved changes.
bool WantsDiscard(const nlohmann::json& in);

// The interface language and the unsaved-changes switch of the settings record.
void AddSessionRoutes(httplib::Server& server, WorkshopServer& workshop);
// Find and replace in the book's text and in its HTML.
void AddFindReplaceRoutes(httplib::Server& server, WorkshopServer& workshop);

// The Book Cleaner, paragraph lists and repair, hyphenation and the corrector palette.
void AddCorrectorRoutes(httplib::Server& server, WorkshopServer& workshop);
// The settings record as the settings and import-settings dialogs change it.
void AddSettingsRoutes(httplib::Server& server, WorkshopServer& workshop);
// Reader settings, the reading view and its style sheet, the alarm clock's steps.
void AddReaderRoutes(httplib::Server& server, WorkshopServer& workshop);
// The book as the reader shows it, served as "/book/reading" so that the book's pictures are
// found beside it as they are beside "/book/document".
void ServeReadingView(WorkshopServer& workshop, httplib::Response& response);
// The files of an archive (GET /api/archive?path=) and the opening of the one chosen
// (POST /api/archive/open).
void AddArchiveRoutes(httplib::Server& server, WorkshopServer& workshop);
// The FB2 form: the book's description, genres, ids, cover and pictures, and the making of
// the FB2 file (POST /api/fb2).
void AddDescriptionRoutes(httplib::Server& server, WorkshopServer& workshop);

}  // namespace pw::app
