// The life of the workshop: start-up (folders, instance, settings, the editor's seed document
// and the first book: from the command line, else the last book, else the tutorial book) and
// exit (instance, scratch files, settings). The window is behind EditorSurface, so the same
// sequence serves the workshop page and the tests.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Settings.h"
#include "shell/BookSession.h"
#include "shell/EditorSurface.h"
#include "shell/InstanceFile.h"
#include "shell/SettingsFile.h"
#include "shell/WorkshopFolder.h"

namespace pw::shell {

inline constexpr std::string_view kLoadingStatus = " ...loading Pagewright...";
inline constexpr std::string_view kLoadingLastBookStatus = " ...loading last book...";
inline constexpr std::string_view kTutorialBook = "1_MyFirstEbook.html0";
inline constexpr std::string_view kZoomProbeName = "ZoomTest.htm";

enum class OpenMode { None, CommLine, ShortcutOrFileClick };

struct StartCommand {
  std::string fileName;
  OpenMode mode = OpenMode::None;
};

// Reads the program's command line: one enclosed in double quotes loses its first and last
// character; a line whose first three characters are "-r " in any case names its file from the
// fourth character on (mode "CommLine", the name's own quotes dropped); any other line is the
// file name itself (mode "ShortcutOrFileClick"). An empty line names nothing.
StartCommand ParseStartCommandLine(std::string_view commandLine);

// Whether a file of the instance scratch folder is removed at exit: "*.tmp", "*.png", "*.txt",
// "*.html", "*.rb", "*.info" (extensions in any case), the zoom probe and "rb_00.rb".
bool IsInstanceScratchFile(std::string_view fileName);

enum class StartReason {
  CommandLine,      // the command line named a book (opened, or refused with its message)
  SecondCopy,       // another copy runs and no file was named: the seed document
  LastBookOff,      // the setting to open the last book is off
  NoLastBook,       // the recent-files list holds no book
  LastBook,         // the last book of the previous run
  LastBookMissing,  // "Last loaded file not found: " and the seed document
  FirstStart,       // no settings file: the tutorial book
  NoTutorial,       // no settings file and no tutorial book: the seed document
};

struct StartUpResult {
  OpenMode mode = OpenMode::None;
  StartReason reason = StartReason::NoLastBook;
  std::string requested;        // the book the start-up tried to open; empty when none
  bool bookOpened = false;      // false: the seed document stayed in the editor
  std::vector<std::string> messages;  // every message shown, in order
  int serial = 0;
  bool secondCopy = false;
  RestoreResult settingsFile = RestoreResult::Missing;
  double zoom = 1.0;
};

// The process-wide shell: owns the settings record, the instance registration and the book
// session of one running copy.
class Shell {
 public:
  Shell(WorkshopFolder workshop, std::filesystem::path shippedData, EditorSurface& editor,
        common::MessageSink& sink, common::Progress& progress);
  // Runs the exit routine when the start-up ran and Exit did not.
  ~Shell();
  Shell(const Shell&) = delete;
  Shell& operator=(const Shell&) = delete;

  // The start-up sequence for `commandLine`; reports what it opened and why.
  StartUpResult StartUp(std::string_view commandLine);

  // The exit routine: the instance leaves the instance file, its scratch files and book
  // folders are deleted, and the settings (recent files included) are saved. Runs once.
  void Exit();

  // Saves the open book and the settings record.
  bool SaveFileAndSettings();

  common::Settings& settings() { return settings_; }
  const WorkshopFolder& workshop() const { return workshop_; }
  // Valid once StartUp ran.
  BookSession& session() { return *session_; }

 private:
  // Passes every message on to the user's sink and keeps its text for the start-up report.
  class RecordingForward final : public common::MessageSink {
   public:
    explicit RecordingForward(common::MessageSink& sink) : sink_(sink) {}
    void Show(std::string_view text) override;
    bool Ask(std::string_view text, bool defaultAnswer) override;
    std::vector<std::string> shown;

   private:
    common::MessageSink& sink_;
  };

  void OpenSeed();
  bool Open(const std::string& path, StartUpResult& result);

  WorkshopFolder workshop_;
  std::filesystem::path shippedData_;
  EditorSurface& editor_;
  RecordingForward sink_;
  common::Messages messages_;
  common::Progress& progress_;
  common::Settings settings_;
  std::unique_ptr<InstanceRegistration> instance_;
  std::unique_ptr<BookSession> session_;
  bool exited_ = false;
};

}  // namespace pw::shell
