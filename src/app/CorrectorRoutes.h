// The workshop's requests of the book corrector and of the settings dialogs, each group in its
// own file and added to the server by one call.
#pragma once

namespace httplib {
class Server;
}

namespace pw::app {

class WorkshopServer;

// The Book Cleaner, paragraph lists and repair, hyphenation and the corrector palette.
void AddCorrectorRoutes(httplib::Server& server, WorkshopServer& workshop);
// The settings record as the settings and import-settings dialogs change it.
void AddSettingsRoutes(httplib::Server& server, WorkshopServer& workshop);

}  // namespace pw::app
