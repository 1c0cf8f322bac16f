#include "shell/StartUp.h"

#include <system_error>

#include "common/Files.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

std::string_view Unquote(std::string_view text) {
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') return text.substr(1, text.size() - 2);
  return text;
}

}  // namespace

StartCommand ParseStartCommandLine(std::string_view commandLine) {
  StartCommand command;
  commandLine = Unquote(commandLine);
  if (commandLine.empty()) return command;
  if (commandLine.size() >= 3 && common::AsciiLower(commandLine.substr(0, 3)) == "-r ") {
    command.fileName = Unquote(commandLine.substr(3));
    command.mode = OpenMode::CommLine;
  } else {
    command.fileName = commandLine;
    command.mode = OpenMode::ShortcutOrFileClick;
  }
  return command;
}

bool IsInstanceScratchFile(std::string_view fileName) {
  if (fileName == kZoomProbeName || fileName == "rb_00.rb") return true;
  static constexpr std::string_view kExtensions[] = {"tmp", "png", "txt", "html", "rb", "info"};
  const std::string extension = common::LowerExtension(fs::path(fileName));
  for (std::string_view candidate : kExtensions) {
    if (extension == candidate) return true;
  }
  return false;
}

void Shell::RecordingForward::Show(std::string_view text) {
  shown.emplace_back(text);
  sink_.Show(text);
}

bool Shell::RecordingForward::Ask(std::string_view text, bool defaultAnswer) {
  shown.emplace_back(text);
  return sink_.Ask(text, defaultAnswer);
}

Shell::Shell(WorkshopFolder workshop, fs::path shippedData, EditorSurface& editor, common::MessageSink& sink,
             common::Progress& progress)
    : workshop_(std::move(workshop)),
      shippedData_(std::move(shippedData)),
      editor_(editor),
      sink_(sink),
      messages_(sink_),
      progress_(progress) {}

Shell::~Shell() { Exit(); }

void Shell::OpenSeed() { editor_.Load(workshop_.seedDocument()); }

bool Shell::Open(const std::string& path, StartUpResult& result) {
  result.requested = path;
  result.bookOpened = session_->PrepareBook(path);
  return result.bookOpened;
}

StartUpResult Shell::StartUp(std::string_view commandLine) {
  StartUpResult result;
  sink_.shown.clear();
  PrepareWorkshopFolder(workshop_, shippedData_);

  // 1. The editor exists before any book is opened.
  common::WriteFileAtomic(workshop_.seedDocument(), markup::MakeSeedDocument(true));
  OpenSeed();

  // 2. Register the instance.
  instance_ = std::make_unique<InstanceRegistration>(workshop_.instanceFile(), workshop_.temp(), workshop_.inputCopy());
  result.serial = instance_->serial();
  result.secondCopy = instance_->second();
  exited_ = false;

  // 3. Settings.
  result.settingsFile = RestoreSettings(workshop_.settingsFile(), settings_);
  messages_.SetLanguage(settings_.interfaceLanguage);
  if (result.settingsFile == RestoreResult::Damaged) messages_.Show(common::Msg::SettingsUnreadable);
  session_ = std::make_unique<BookSession>(workshop_, result.serial, settings_, editor_, messages_, progress_);

  // 4. The probe of the display zoom lives in this instance's own scratch folder.
  const fs::path probe = workshop_.instanceFolder(result.serial) / kZoomProbeName;
  if (common::WriteFileAtomic(probe, markup::MakeSeedDocument(false))) result.zoom = editor_.MeasureZoom(probe);

  // 5 to 7. The seed again with the restored settings, the toolbar, the status line.
  editor_.ApplySettings(settings_);
  OpenSeed();
  editor_.ShowToolbar(settings_.showToolbar);
  progress_.Status(kLoadingStatus);

  // 8. A book named on the command line.
  const StartCommand command = ParseStartCommandLine(commandLine);
  result.mode = command.mode;
  if (command.mode != OpenMode::None) {
    result.reason = StartReason::CommandLine;
    Open(command.fileName, result);
  } else if (result.secondCopy) {
    // 9. A second copy starts with the seed document.
    result.reason = StartReason::SecondCopy;
  } else if (!settings_.openLastBook) {
    // 10. The first copy: the last book, or the tutorial on the very first start.
    result.reason = StartReason::LastBookOff;
  } else if (result.settingsFile != RestoreResult::Missing) {
    const std::string last = settings_.recentFiles.empty() ? std::string() : settings_.recentFiles.front();
    if (last.empty() || last == common::kRecentFilesPlaceholder) {
      result.reason = StartReason::NoLastBook;
    } else if (common::FileExists(last)) {
      result.reason = StartReason::LastBook;
      progress_.Status(kLoadingLastBookStatus);
      Open(last, result);
    } else {
      result.reason = StartReason::LastBookMissing;
      messages_.Show(common::Msg::LastFileNotFound, last);
    }
  } else {
    const fs::path tutorial = workshop_.selfTeaching() / kTutorialBook;
    if (common::FileExists(tutorial)) {
      result.reason = StartReason::FirstStart;
      Open(tutorial.string(), result);
    } else {
      result.reason = StartReason::NoTutorial;
    }
  }
  result.messages = sink_.shown;
  return result;
}

bool Shell::SaveFileAndSettings() {
  const bool book = session_ && session_->MnSave();
  const bool saved = SaveSettings(workshop_.settingsFile(), settings_);
  return book && saved;
}

void Shell::Exit() {
  if (!instance_ || exited_) return;
  exited_ = true;
  instance_->Unregister();
  const fs::path scratch = workshop_.instanceFolder(instance_->serial());
  std::vector<fs::path> leftovers;
  std::error_code ec;
  for (fs::directory_iterator it(scratch, ec), end; !ec && it != end; it.increment(ec)) {
    if (it->is_regular_file(ec) && IsInstanceScratchFile(it->path().filename().string()))
      leftovers.push_back(it->path());
  }
  std::error_code ignored;
  for (const fs::path& file : leftovers) fs::remove(file, ignored);
  if (session_) session_->RemoveScratch();
  fs::remove(workshop_.inputCopy() / ("tmp" + std::to_string(instance_->serial())), ignored);
  fs::remove(scratch, ignored);  // only when nothing else is left in it
  SaveSettings(workshop_.settingsFile(), settings_);
  instance_.reset();  // lets go of the instance's lock: a copy started now is a first copy
}

}  // namespace pw::shell
