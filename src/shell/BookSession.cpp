#include "shell/BookSession.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <span>
#include <system_error>
#include <utility>

#include "common/Files.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/Normalise.h"
#include "shell/CitationFile.h"
#include "shell/PagePictures.h"
#include "shell/SaveBook.h"
#include "shell/SavedBooks.h"
#include "markup/StoredBook.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

bool Contains(std::span<const std::string_view> list, std::string_view value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

bool IsWebAddress(std::string_view name) {
  return common::StartsWith(name, "http") || common::StartsWith(name, "ftp");
}

// Clears the status line and shows the editor again however the chain ends.
class ChainScope {
 public:
  ChainScope(EditorSurface& editor, common::Progress& progress) : editor_(editor), progress_(progress) {
    progress_.Status(kPreparingStatus);
    progress_.Percent(0);
    editor_.SetVisible(false);
  }
  ~ChainScope() {
    editor_.SetVisible(true);
    progress_.Status("");
  }
  ChainScope(const ChainScope&) = delete;
  ChainScope& operator=(const ChainScope&) = delete;

 private:
  EditorSurface& editor_;
  common::Progress& progress_;
};

}  // namespace

InputCheck CheckInputFile(const std::string& path, common::Messages& messages, bool quiet) {
  if (IsWebAddress(path)) return InputCheck::WebAddress;
  const auto refuse = [&](common::Msg msg, InputCheck result) {
    if (!quiet) messages.Show(msg, path);
    return result;
  };
  if (const auto reason = common::UnreadableFileReason(path)) return refuse(*reason, InputCheck::Missing);
  std::error_code ec;
  const uintmax_t size = fs::file_size(path, ec);
  if (ec || size < kShortestBook) return refuse(common::Msg::EmptyFile, InputCheck::Empty);
  const std::string extension = common::LowerExtension(path);
  if (Contains(kArchiveExtensions, extension)) return InputCheck::Archive;
  if (!Contains(kSupportedExtensions, extension)) return refuse(common::Msg::NotSupportedFormat, InputCheck::Unsupported);
  return InputCheck::Ok;
}

void AddRecentFile(std::vector<std::string>& recent, const std::string& path) {
  const size_t length = recent.empty() ? common::kRecentFilesCount : recent.size();
  std::erase(recent, path);
  recent.insert(recent.begin(), path);
  recent.resize(length, common::kRecentFilesPlaceholder);
}

BookSession::BookSession(WorkshopFolder workshop, int serial, common::Settings& settings, EditorSurface& editor,
                         common::Messages& messages, common::Progress& progress, const ConverterRegistry& registry)
    : workshop_(std::move(workshop)),
      serial_(serial),
      settings_(settings),
      editor_(editor),
      messages_(messages),
      progress_(progress),
      registry_(registry),
      dateSource_(TodayText) {}

BookSession::Fresh BookSession::NewBookFolders() {
  // A fresh folder per book, so that a reopened book never meets the files of the previous
  // one. Making the folder is the test of freshness, so jobs running side by side in one
  // instance, or folders left by an earlier run, never give the same folder twice.
  const fs::path instance = workshop_.instanceFolder(serial_);
  if (!common::MakeFolderIfMissing(instance)) return {};
  for (int attempt = 0; attempt < 100000; ++attempt) {
    const std::string name = "book" + std::to_string(++bookCounter_);
    std::error_code ec;
    if (fs::create_directory(instance / name, ec)) {
      madeFolders_.push_back(instance / name);
      // The input copy gets a folder of the same name, so it keeps the user's file name
      // while copies of equally named files never meet.
      const fs::path input = workshop_.inputCopy() / ("tmp" + std::to_string(serial_)) / name;
      if (!common::MakeFolderIfMissing(input) && !common::MakeFolderIfMissing(input)) return {};
      madeFolders_.push_back(input);
      return {instance / name, input};
    }
    // The instance folder went away under us (another job's clean-up): make it again.
    if (ec && !common::MakeFolderIfMissing(instance)) return {};
  }
  return {};
}

void BookSession::Discard(const Fresh& fresh) {
  std::error_code ignored;
  if (!fresh.bookFolder.empty()) fs::remove_all(fresh.bookFolder, ignored);
  if (!fresh.inputFolder.empty()) fs::remove_all(fresh.inputFolder, ignored);
}

bool BookSession::Convert(const std::string& path, const Fresh& fresh, fs::path& workingDocument,
                          std::optional<markup::StoredBookHeader>& header) {
  const std::string fileName = fs::path(path).filename().string();
  const fs::path inputCopy = fresh.inputFolder / fileName;
  std::error_code ec;
  if (!fs::copy_file(path, inputCopy, fs::copy_options::overwrite_existing, ec)) return false;
  // A page's pictures beside it travel with the copy.
  if (const std::string type = common::LowerExtension(inputCopy); type == "htm" || type == "html" || type == "shtml")
    CopyPagePictures(path, fresh.inputFolder);
  progress_.Percent(10);

  common::Session job(progress_, messages_);
  job.workFolder = fresh.bookFolder;
  job.settings = settings_;
  common::ParseCodePage(settings_.bookCodePage, job.codePage);

  fs::path source = inputCopy;
  std::string extension = common::LowerExtension(source);
  if (Contains(kArchiveExtensions, extension)) {
    const ArchiveUnpacker& unpack = registry_.archiveUnpacker();
    fs::path inner;
    if (!unpack || !unpack(inputCopy, fresh.inputFolder / "unpacked", archiveEntry_, inner, job)) return false;
    // The unpacked book is checked as any input; the message names it inside its archive.
    const InputCheck check = CheckInputFile(inner.string(), messages_, true);
    if (check != InputCheck::Ok) {
      const std::string shown = fileName + "/" + inner.lexically_relative(fresh.inputFolder / "unpacked").generic_string();
      const common::Msg msg = check == InputCheck::Empty    ? common::Msg::EmptyFile
                              : check == InputCheck::Missing ? common::Msg::FileNotFound
                                                             : common::Msg::NotSupportedFormat;
      if (!quiet_) messages_.Show(msg, shown);
      return false;
    }
    source = inner;
    extension = common::LowerExtension(source);
  }

  workingDocument = fresh.bookFolder / (source.stem().string() + ".html0");
  progress_.Status(ConversionStatus(extension));
  progress_.Percent(20);
  const BookConverter* converter = registry_.Find(extension);
  if (!converter) return false;
  ConvertJob request{source, workingDocument, fresh.bookFolder, source.filename().string(), job, std::nullopt};
  const bool converted = converter->convert(request);
  header = std::move(request.header);
  // The script family the import decided is the book's from now on (contents heading, letter
  // classes, hyphenation).
  if (converted && job.codePage != common::CodePage::Utf8) settings_.bookCodePage = common::CodePageName(job.codePage);
  return converted && common::FileExists(workingDocument);
}

bool BookSession::PrepareBook(const std::string& path) {
  const InputCheck check = CheckInputFile(path, messages_, quiet_);
  if (check == InputCheck::Missing || check == InputCheck::Empty || check == InputCheck::Unsupported) return false;
  ResolveUnsavedChanges();

  ChainScope scope(editor_, progress_);
  const std::string shownName = fs::path(path).filename().string();
  Fresh fresh;
  try {
    if (check == InputCheck::WebAddress) {
      // Web addresses are not fetched: nothing can be converted from them.
      messages_.Show(common::Msg::CannotConvert, ": " + path);
      return false;
    }
    fresh = NewBookFolders();
    if (fresh.bookFolder.empty() || fresh.inputFolder.empty()) {
      messages_.Show(common::Msg::ErrorProcessingFile, ": " + shownName);
      Discard(fresh);
      return false;
    }
    fs::path workingDocument;
    std::optional<markup::StoredBookHeader> header;
    const bool converted = Convert(path, fresh, workingDocument, header);
    std::error_code ignored;
    fs::remove_all(fresh.inputFolder, ignored);
    if (!converted) {
      messages_.Show(common::Msg::CannotConvert, ": " + shownName);
      Discard(fresh);
      return false;
    }
    progress_.Percent(80);

    std::string document;
    bool ok = common::ReadWholeFile(workingDocument, document);
    if (ok) {
      markup::NormaliseBookHeader(document, settings_.sectionMode);
      ok = common::WriteFileAtomic(workingDocument, document);
    }
    progress_.Percent(90);
    if (!ok || !editor_.Load(workingDocument)) {
      messages_.Show(common::Msg::ErrorProcessingFile, ": " + shownName);
      Discard(fresh);
      return false;
    }

    workingDocument_ = workingDocument;
    bookFolder_ = fresh.bookFolder;
    bookPath_ = path;
    keptBook_.clear();
    header_ = std::move(header);
    caption_ = workingDocument.stem().string();
    if (common::LowerExtension(path) == "cit") caption_ += kCitationsTitleMark;
    editor_.SetCaption(caption_);
    changed_ = false;
    std::error_code ec;
    const fs::path absolute = fs::absolute(path, ec);
    const std::string listed = ec ? path : absolute.string();
    if (rememberBooks_) AddRecentFile(settings_.recentFiles, listed);
    openedArchive_ = check == InputCheck::Archive ? listed : std::string();
    openedEntry_ = check == InputCheck::Archive ? archiveEntry_ : std::string();
    progress_.Percent(100);
    return true;
  } catch (const std::exception& e) {
    messages_.Show(common::Msg::ErrorProcessingFile, ": " + shownName + " (" + e.what() + ")");
    Discard(fresh);
    return false;
  }
}

bool BookSession::MnEmptyBook() {
  ResolveUnsavedChanges();
  const Fresh fresh = NewBookFolders();
  const fs::path workingDocument = fresh.bookFolder / "NewBook.html0";
  if (fresh.bookFolder.empty() || !common::WriteFileAtomic(workingDocument, markup::MakeBlankBook()) ||
      !editor_.Load(workingDocument)) {
    messages_.Show(common::Msg::ErrorProcessingFile, ": NewBook.html0");
    Discard(fresh);
    return false;
  }
  std::error_code ignored;
  fs::remove_all(fresh.inputFolder, ignored);
  workingDocument_ = workingDocument;
  bookFolder_ = fresh.bookFolder;
  bookPath_.clear();
  keptBook_.clear();
  header_.reset();
  caption_ = "NewBook";
  editor_.SetCaption(caption_);
  changed_ = false;
  return true;
}

bool BookSession::MnReloadBook() {
  if (settings_.recentFiles.empty()) return false;
  const std::string first = settings_.recentFiles.front();
  if (first.empty() || first == common::kRecentFilesPlaceholder || !common::FileExists(first)) return false;
  if (first != openedArchive_ || openedEntry_.empty()) return PrepareBook(first);
  // The book chosen inside an archive of several.
  const std::string chosen = std::exchange(archiveEntry_, openedEntry_);
  const bool ok = PrepareBook(first);
  archiveEntry_ = chosen;
  return ok;
}

bool BookSession::MnSave() {
  editor_.SetCaption(SaveCaption(settings_));
  progress_.Status(kSavingStatus);
  std::string html;
  bool saved = false;
  if (workingDocument_.empty() || !editor_.Document(html)) {
    messages_.Show(common::Msg::CannotSaveFile);
  } else if (const std::string document = MakeSavedDocument(html, settings_, dateSource_());
             !common::WriteFileAtomic(workingDocument_, document)) {
    messages_.Show(common::Msg::ErrorWritingFile, workingDocument_.string());
  } else {
    saved = !rememberBooks_ || KeepSavedBook(document);
    changed_ = !saved;
  }
  editor_.SetCaption(caption_);
  progress_.Status("");
  return saved;
}

bool BookSession::KeepSavedBook(const std::string& savedDocument) {
  const fs::path target = SavedBookFile(workshop_.root / kBooksFolderName, bookPath_, TimeStamp());
  std::error_code ignored;
  fs::create_directories(target.parent_path(), ignored);
  const markup::StoredBook book = MakeStoredBook(savedDocument, bookFolder_, CompleteHeader(header_, savedDocument), false);
  std::string error;
  if (!markup::SaveStoredBookFile(target, book, error)) {
    messages_.Show(common::Msg::ErrorWritingFile, target.string());
    return false;
  }
  keptBook_ = target;
  // The saved book is what the next start (and Reload) opens; the source stays in the list.
  AddRecentFile(settings_.recentFiles, target.string());
  if (bookPath_.empty()) bookPath_ = target.string();
  return true;
}

void BookSession::ResolveUnsavedChanges() {
  if (!changed_ || workingDocument_.empty()) return;
  if (!settings_.warnUnsaved || messages_.Ask(common::Msg::UnsavedChanges, {}, true)) MnSave();
}

void BookSession::DisableUnsavedWarning() {
  if (!settings_.warnUnsaved) return;
  settings_.warnUnsaved = false;
  messages_.Show(common::Msg::UnsavedWarningDisabled);
}

void BookSession::RemoveScratch() {
  std::error_code ignored;
  for (const fs::path& folder : madeFolders_) fs::remove_all(folder, ignored);
  madeFolders_.clear();
  workingDocument_.clear();
  bookFolder_.clear();
}

}  // namespace pw::shell
