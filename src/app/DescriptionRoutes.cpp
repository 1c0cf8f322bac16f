// The FB2 form's requests: the book's description (kept as "Description.fb2" and its display
// "Description.html0" in the book folder, whence a save carries it into the stored book), the
// genre list, new document ids, a description loaded from an FB2 file, the cover and the
// pictures the form adds, and the making of the FB2 file with the form's options. The export's
// questions go back to the page, which sends the request again with the user's answers.
#include <httplib.h>
#include <nlohmann/json.hpp>
#include <spawn.h>
#include <unistd.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <thread>
#include <filesystem>
#include <string>
#include <vector>

#include "app/DescriptionJson.h"
#include "app/WorkshopRoutes.h"
#include "app/WorkshopServer.h"
#include "common/Files.h"
#include "common/Limits.h"
#include "common/Text.h"
#include "corrector/CleanUpFile.h"
#include "fb2/DescriptionDisplay.h"
#include "fb2/DescriptionPrefill.h"
#include "fb2/DescriptionReader.h"
#include "fb2/Fb2Export.h"
#include "fb2/Fb2Schema.h"
#include "fb2/GenreCodes.h"
#include "fb2/Genres.h"
#include "fb2/Pictures.h"
#include "markup/DescriptionPlace.h"
#include "shell/SettingsFile.h"
#include "shell/StartUp.h"

namespace pw::app {

namespace {

namespace fs = std::filesystem;
using json = nlohmann::json;

constexpr const char* kCoverNames[] = {"cover.jpg", "cover.png"};
constexpr size_t kMaxPictureBytes = 64u << 20;

// Whether the workshop runs on a desktop where files can be handed to the system's programs.
bool OnDesktop() { return std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr; }

// Hands `target` to the desktop's opener without a shell and without waiting for it.
bool OpenWithSystem(const fs::path& target) {
  const std::string path = target.string();
  char program[] = "xdg-open";
  char* argv[] = {program, const_cast<char*>(path.c_str()), nullptr};
  pid_t child = 0;
  if (posix_spawnp(&child, program, nullptr, nullptr, argv, environ) != 0) return false;
  std::thread([child] { waitpid(child, nullptr, 0); }).detach();
  return true;
}

fs::path BookFolder(WorkshopServer& workshop) { return workshop.editor().Current().file.parent_path(); }

// The cover picture kept in the book folder; empty when the book has none.
fs::path CoverFile(const fs::path& folder) {
  for (const char* name : kCoverNames)
    if (common::FileExists(folder / name)) return folder / name;
  return {};
}

// Writes the description and its display into the book folder; its cover reference follows
// the cover picture that the folder holds.
bool KeepDescription(const fs::path& folder, fb2::Fb2Description description, const common::Settings& settings) {
  const fs::path cover = CoverFile(folder);
  description.coverId = cover.empty() ? "" : cover.filename().string();
  return common::WriteFileAtomic(folder / markup::kDescriptionFb2File, fb2::WriteDescription(description)) &&
         common::WriteFileAtomic(folder / markup::kDescriptionHtmlFile,
                                 fb2::MakeDescriptionDisplay(description, settings.elementColours));
}

// The book's description: the one kept in its folder, else what its headings say.
fb2::Fb2Description CurrentDescription(WorkshopServer& workshop, bool& stored) {
  const auto snapshot = workshop.editor().Current();
  auto kept = fb2::ReadDescriptionFile(snapshot.file.parent_path());
  stored = kept.has_value();
  fb2::Fb2Description description = kept ? std::move(*kept) : fb2::DescriptionFromBook(fb2::ReadBookFacts(snapshot.html));
  const fs::path cover = CoverFile(snapshot.file.parent_path());
  description.coverId = cover.empty() ? "" : cover.filename().string();
  return description;
}

json DescriptionAnswer(WorkshopServer& workshop) {
  bool stored = false;
  const fb2::Fb2Description description = CurrentDescription(workshop, stored);
  const auto snapshot = workshop.editor().Current();
  const common::Settings& settings = workshop.shell().settings();
  return {{"ok", true},
          {"description", DescriptionToJson(description)},
          {"stored", stored},
          {"desktop", OnDesktop()},
          {"name", snapshot.file.stem().string()},
          {"options",
           {{"folder", settings.fb2OutputFolder},
            {"nameFromDescription", settings.fb2NameFromDescription},
            {"latin", settings.fb2LatinFileName},
            {"encoding", settings.fb2Encoding},
            {"dashes", settings.dashStyle},
            {"library", settings.fb2BookForLibrary},
            {"multiEmptyLines", settings.fb2MultiEmptyLines},
            {"removeEmptyLines", settings.fb2RemoveEmptyLines},
            {"removeLineEnds", settings.fb2RemoveLineEnds},
            {"keepPictureSizes", settings.fb2KeepPictureSizes},
            {"zip", settings.fb2Zip},
            {"validate", settings.fb2Validate}}}};
}

// The export options of the form, each a field of the settings record.
struct FlagOption {
  const char* key;
  bool common::Settings::*field;
};

constexpr FlagOption kFlagOptions[] = {
    {"nameFromDescription", &common::Settings::fb2NameFromDescription},
    {"latin", &common::Settings::fb2LatinFileName},
    {"library", &common::Settings::fb2BookForLibrary},
    {"multiEmptyLines", &common::Settings::fb2MultiEmptyLines},
    {"removeEmptyLines", &common::Settings::fb2RemoveEmptyLines},
    {"removeLineEnds", &common::Settings::fb2RemoveLineEnds},
    {"keepPictureSizes", &common::Settings::fb2KeepPictureSizes},
    {"zip", &common::Settings::fb2Zip},
    {"validate", &common::Settings::fb2Validate},
};

// Takes the options `in` gives into `settings`; false when one has a value it cannot take.
bool ApplyOptions(const json& in, common::Settings& settings) {
  for (const auto& option : kFlagOptions) {
    if (!in.contains(option.key)) continue;
    if (!in[option.key].is_boolean()) return false;
    settings.*option.field = in[option.key].get<bool>();
  }
  static constexpr std::pair<const char*, std::string common::Settings::*> kTextOptions[] = {
      {"encoding", &common::Settings::fb2Encoding}, {"dashes", &common::Settings::dashStyle}};
  for (const auto& [key, field] : kTextOptions) {
    if (!in.contains(key)) continue;
    if (!in[key].is_string()) return false;
    std::string canonical;
    const std::string value = in[key];
    if (field == &common::Settings::fb2Encoding) {
      fb2::ExportEncoding(value, canonical);
    } else {
      canonical = value == "middle" || value == "long" ? value : "short";
    }
    settings.*field = canonical;
  }
  if (in.contains("folder")) {
    if (!in["folder"].is_string()) return false;
    const std::string folder(common::Trim(in["folder"].get<std::string>()));
    if (folder.find_first_of("\r\n") != std::string::npos) return false;
    if (!folder.empty()) settings.fb2OutputFolder = folder;
  }
  return true;
}

// Answers the export's questions with what the user already said in the page: a question the
// user has not answered yet is kept and answered "no", which ends the export; the page asks
// it and sends the request again.
class AnsweringSink final : public common::MessageSink {
 public:
  AnsweringSink(common::MessageSink& shown, std::vector<std::string> answered)
      : shown_(shown), answered_(std::move(answered)) {}
  void Show(std::string_view text) override { shown_.Show(text); }
  bool Ask(std::string_view text, bool) override {
    if (std::find(answered_.begin(), answered_.end(), text) != answered_.end()) return true;
    if (question_.empty()) question_ = text;
    return false;
  }
  const std::string& question() const { return question_; }

 private:
  common::MessageSink& shown_;
  std::vector<std::string> answered_;
  std::string question_;
};

// A picture the page sends: an uploaded file (form field `field`) or a path on this machine.
bool PictureBytes(const httplib::Request& request, const char* field, std::string& bytes, std::string& name) {
  if (request.has_file(field)) {
    const auto file = request.get_file_value(field);
    bytes = file.content;
    name = fs::path(file.filename).filename().string();
    return true;
  }
  const json in = json::parse(request.body, nullptr, false);
  if (!in.is_object() || !in.contains("path") || !in["path"].is_string()) return false;
  const fs::path path = ExpandFolder(in["path"].get<std::string>());
  name = path.filename().string();
  std::error_code error;
  return fs::is_regular_file(path, error) && fs::file_size(path, error) <= kMaxPictureBytes &&
         common::ReadWholeFile(path, bytes);
}

// The picture as the book keeps it, PNG or JPEG at its own size; nothing (and the message)
// when it is not a picture the program reads.
std::optional<fb2::ConvertedPicture> ReadPicture(const std::string& bytes, const std::string& name,
                                                 WorkshopServer& workshop) {
  auto picture = fb2::ConvertPicture(bytes, 0, 0, true);
  if (!picture) {
    common::Messages messages(workshop.channel(), workshop.shell().settings().interfaceLanguage);
    std::string extension = common::LowerExtension(fs::path(name));
    messages.Show(common::Msg::UnsupportedImageFormat, extension.empty() ? name : extension);
  }
  return picture;
}

void AddDescriptionFormRoutes(httplib::Server& server, WorkshopServer& workshop) {
  server.Get("/api/description", [&workshop](const httplib::Request&, httplib::Response& response) {
    std::lock_guard lock(workshop.bookMutex());
    Reply(response, DescriptionAnswer(workshop));
  });

  // Every change of the form: the description is kept with the book at once.
  server.Post("/api/description", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    fb2::Fb2Description description;
    if (!in.is_object() || !in.contains("description") || !DescriptionFromJson(in["description"], description))
      return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(workshop.bookMutex());
    const fs::path folder = BookFolder(workshop);
    if (folder.empty()) return Reply(response, {{"ok", false}}, 409);
    if (!KeepDescription(folder, description, workshop.shell().settings())) {
      common::Messages messages(workshop.channel(), workshop.shell().settings().interfaceLanguage);
      messages.Show(common::Msg::ErrorWritingFile, (folder / markup::kDescriptionFb2File).string());
      return Reply(response, {{"ok", false}}, 422);
    }
    workshop.shell().session().MarkChanged();
    Reply(response, {{"ok", true}});
  });

  server.Get("/api/description/genres", [&workshop](const httplib::Request&, httplib::Response& response) {
    const fs::path root = workshop.shell().workshop().root;
    fs::path list = root / fb2::kGenreListFile;
    if (!common::FileExists(list)) list = shell::ShippedDataFolder() / fb2::kGenreListFile;
    json genres = json::array();
    for (const auto& genre : fb2::LoadGenres(list, root / fb2::kUserGenreFile))
      genres.push_back({{"code", genre.code},
                        {"en", std::string(genre.Name(common::Language::English))},
                        {"ru", std::string(genre.Name(common::Language::Russian))},
                        {"user", genre.user}});
    Reply(response, {{"genres", genres}});
  });

  server.Get("/api/description/id", [](const httplib::Request&, httplib::Response& response) {
    Reply(response, {{"id", fb2::MakeDocumentId()}});
  });

  // The description of an FB2 file (uploaded as "fb2", or a path) becomes the book's.
  server.Post("/api/description/load", [&workshop](const httplib::Request& request, httplib::Response& response) {
    std::string bytes;
    std::string name;
    if (request.has_file("fb2")) {
      bytes = request.get_file_value("fb2").content;
    } else {
      const json in = json::parse(request.body, nullptr, false);
      if (!in.is_object() || !in.contains("path") || !in["path"].is_string()) return Reply(response, {{"ok", false}}, 400);
      name = in["path"].get<std::string>();
    }
    // Read before the book is locked, and only a regular file of a book's size: a pipe or a
    // device named here must not hold the workshop.
    std::optional<common::Msg> unreadable;
    if (!name.empty()) {
      const fs::path path = ExpandFolder(name);
      std::error_code error;
      unreadable = common::UnreadableFileReason(path);
      if (!unreadable && (fs::file_size(path, error) > common::kLargestBook || !common::ReadWholeFile(path, bytes)))
        unreadable = common::Msg::FileNotFound;
    }
    std::lock_guard lock(workshop.bookMutex());
    const common::Settings& settings = workshop.shell().settings();
    common::Messages messages(workshop.channel(), settings.interfaceLanguage);
    if (unreadable) {
      messages.Show(*unreadable, name);
      return Reply(response, {{"ok", false}}, 422);
    }
    auto description = fb2::ReadFb2FileDescription(bytes, settings.importLanguage);
    if (!description) {
      messages.Show(common::Msg::Fb2DescriptionNotFound);
      return Reply(response, {{"ok", false}}, 422);
    }
    // This program now works on the document too.
    description->program = fb2::AppendProgramUsed(description->program);
    // A document needs an id; one made now is the one the form shows and the file gets.
    if (common::Trim(description->id).empty()) description->id = fb2::MakeDocumentId();
    const fs::path folder = BookFolder(workshop);
    if (folder.empty() || !KeepDescription(folder, *description, settings)) return Reply(response, {{"ok", false}}, 409);
    workshop.shell().session().MarkChanged();
    Reply(response, DescriptionAnswer(workshop));
  });

  // The cover: a picture uploaded as "cover" or named by path, kept in the book folder as
  // "cover.png" (a PNG) or "cover.jpg" (any other picture, converted); {"remove": true} drops it.
  server.Post("/api/description/cover", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    const bool remove = in.is_object() && in.contains("remove") && in["remove"] == true;
    std::string bytes;
    std::string name;
    if (!remove && !PictureBytes(request, "cover", bytes, name)) {
      std::lock_guard lock(workshop.bookMutex());
      common::Messages messages(workshop.channel(), workshop.shell().settings().interfaceLanguage);
      messages.Show(common::Msg::FileNotFound, name);
      return Reply(response, {{"ok", false}}, 422);
    }
    std::lock_guard lock(workshop.bookMutex());
    const fs::path folder = BookFolder(workshop);
    if (folder.empty()) return Reply(response, {{"ok", false}}, 409);
    std::string kept;
    if (!remove) {
      const auto picture = ReadPicture(bytes, name, workshop);
      if (!picture) return Reply(response, {{"ok", false}}, 422);
      kept = picture->png ? "cover.png" : "cover.jpg";
      if (!common::WriteFileAtomic(folder / kept, picture->bytes)) return Reply(response, {{"ok", false}}, 500);
    }
    std::error_code error;
    for (const char* other : kCoverNames)
      if (other != kept) fs::remove(folder / other, error);
    // The kept description refers to the cover it now has.
    if (auto description = fb2::ReadDescriptionFile(folder)) KeepDescription(folder, *description, workshop.shell().settings());
    workshop.shell().session().MarkChanged();
    Reply(response, {{"ok", true}, {"cover", kept}});
  });

  // A picture for the book: kept in the book folder under a new name, which the page puts in
  // a picture tag at the caret.
  server.Post("/api/description/picture", [&workshop](const httplib::Request& request, httplib::Response& response) {
    std::string bytes;
    std::string name;
    if (!PictureBytes(request, "picture", bytes, name)) return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(workshop.bookMutex());
    const fs::path folder = BookFolder(workshop);
    if (folder.empty()) return Reply(response, {{"ok", false}}, 409);
    const auto picture = ReadPicture(bytes, name, workshop);
    if (!picture) return Reply(response, {{"ok", false}}, 422);
    const std::string extension = picture->png ? ".png" : ".jpg";
    std::string file;
    for (int number = 1; file.empty() || common::FileExists(folder / file); ++number)
      file = "Picture_" + std::to_string(number) + extension;
    if (!common::WriteFileAtomic(folder / file, picture->bytes)) return Reply(response, {{"ok", false}}, 500);
    Reply(response, {{"ok", true}, {"src", file}, {"width", picture->size.width}, {"height", picture->size.height}});
  });
}

// The book as a FictionBook file. The request carries the form's description (kept first, so
// that the file says what the form shows) and its options (each remembered in the settings);
// the file comes back as a download, written also into the folder the user named. A question
// of the export comes back as {"ok": false, "question": text}; the request sent again with the
// text among "answers" continues past it.
void AddMakeRoute(httplib::Server& server, WorkshopServer& workshop) {
  // The file written last into a folder of the user's: the one the page may open or show.
  auto written = std::make_shared<fs::path>();
  server.Post("/api/fb2", [&workshop, written](const httplib::Request& request, httplib::Response& response) {
    json in = json::parse(request.body, nullptr, false);
    if (!in.is_object()) in = json::object();
    std::vector<std::string> answers;
    if (in.contains("answers") && in["answers"].is_array())
      for (const auto& answer : in["answers"])
        if (answer.is_string()) answers.push_back(answer);
    fb2::Fb2Description description;
    const bool given = in.contains("description");
    if (given && !DescriptionFromJson(in["description"], description)) return Reply(response, {{"ok", false}}, 400);

    std::lock_guard lock(workshop.bookMutex());
    common::Settings settings = workshop.shell().settings();
    if (!ApplyOptions(in, settings)) return Reply(response, {{"ok", false}}, 400);
    if (!(settings == workshop.shell().settings())) {
      workshop.shell().settings() = settings;
      shell::SaveSettings(workshop.shell().workshop().settingsFile(), settings);
    }
    std::string document;
    if (!workshop.editor().Document(document)) return Reply(response, {{"ok", false}}, 409);
    const fs::path bookFolder = BookFolder(workshop);
    if (given) {
      KeepDescription(bookFolder, description, settings);
    } else {
      bool stored = false;
      description = CurrentDescription(workshop, stored);
    }

    AnsweringSink sink(workshop.channel(), answers);
    common::Messages messages(sink, settings.interfaceLanguage);
    common::Session session(workshop.channel(), messages);
    session.settings = settings;
    session.workFolder = bookFolder;
    // A genre the format does not know is left out of the file, once the user agrees.
    for (const auto& genre : description.genres)
      if (!fb2::IsGenreCode(genre) && !messages.Ask(common::Msg::Fb2GenreLeftOut, genre, false))
        return Reply(response, {{"ok", false}, {"question", sink.question()}});
    std::erase_if(description.genres, [](const std::string& genre) { return !fb2::IsGenreCode(genre); });

    // The book as the command line writes it: the output clean-up slot, then the form's choices.
    document = corrector::ApplyCleanUpFile(document, settings.cleanUpOutput, workshop.shell().workshop().bookCleaner(),
                                           session);
    if (settings.fb2RemoveEmptyLines) {
      common::ReplaceAllInPlace(document, "<DIV align=justify>&nbsp;</DIV>", "");
      common::ReplaceAllInPlace(document, "<DIV align=justify> </DIV>", "");
    }
    fb2::Fb2ExportOptions options = fb2::ExportOptionsFromSettings(settings);
    options.cover = CoverFile(bookFolder);
    std::string name = in.contains("name") && in["name"].is_string() ? in["name"].get<std::string>() : "";
    name = fb2::MakeFb2FileName(description, fs::path(name).filename().string(), settings.fb2NameFromDescription,
                                settings.fb2LatinFileName);
    // Written where the user asked; otherwise only into the book folder, for the download.
    const std::string folder = in.contains("folder") && in["folder"].is_string() ? in["folder"].get<std::string>() : "";
    const fs::path outputFolder = common::Trim(folder).empty() ? bookFolder : ExpandFolder(std::string(common::Trim(folder)));
    std::error_code folderError;
    fs::create_directories(outputFolder, folderError);
    // The book folder keeps the book's own description as "Description.fb2": a book that is
    // itself called so is written beside it under another name, never over it.
    if (common::AsciiLower(name) == "description.fb2" && fs::equivalent(outputFolder, bookFolder, folderError))
      name.insert(name.size() - 4, "_book");
    const fs::path output = outputFolder / name;
    fb2::Fb2ExportResult result;
    if (!fb2::MakeFb2File(document, description, options, bookFolder, output, settings.fb2Zip, session, &result,
                          !common::Trim(folder).empty())) {
      if (!sink.question().empty()) return Reply(response, {{"ok", false}, {"question", sink.question()}});
      return Reply(response, {{"ok", false}}, 422);
    }
    // The export's warnings have been told through the session already.
    if (settings.fb2Validate) {
      // The written file checked against the schema and beyond: each finding is told, or that it is valid.
      const auto findings = fb2::ValidateFb2(result.bytes, shell::ShippedDataFolder() / fb2::kFb2SchemaFile);
      for (const auto& finding : findings) workshop.channel().Show(std::to_string(finding.line) + ": " + finding.message);
      if (findings.empty()) workshop.channel().Show(output.filename().string() + ": valid FictionBook 2");
    }
    response.set_content(result.bytes, "application/x-fictionbook+xml");
    response.set_header("Content-Disposition", AttachmentHeader(name));
    if (!common::Trim(folder).empty()) {
      response.set_header("X-Pagewright-Saved-As", output.string());
      *written = output;
    }
  });

  // On a desktop: the folder of the written file (GoToB) or the file itself (LoadB) opened with
  // the system's program. Only the file the workshop wrote last can be named.
  server.Post("/api/fb2/show", [&workshop, written](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("what") || (in["what"] != "folder" && in["what"] != "file"))
      return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(workshop.bookMutex());
    if (written->empty() || !common::FileExists(*written)) return Reply(response, {{"ok", false}}, 409);
    const fs::path target = in["what"] == "folder" ? written->parent_path() : *written;
    Reply(response, {{"ok", OnDesktop() && OpenWithSystem(target)}});
  });
}

}  // namespace

void AddDescriptionRoutes(httplib::Server& server, WorkshopServer& workshop) {
  AddDescriptionFormRoutes(server, workshop);
  AddMakeRoute(server, workshop);
}

}  // namespace pw::app
