// The book session: the road of one book from the file a user names to the working html0
// document in its own book folder and into the editor, and back to disk when it is saved.
// The user's file is never opened for writing; every failure leaves the previous working
// document and the editor as they were.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Settings.h"
#include "markup/StoredBook.h"
#include "shell/Converters.h"
#include "shell/EditorSurface.h"
#include "shell/WorkshopFolder.h"

namespace pw::shell {

inline constexpr std::string_view kPreparingStatus = "...preparing book...";
inline constexpr uintmax_t kShortestBook = 10;

enum class InputCheck { Ok, WebAddress, Missing, Empty, Unsupported, Archive };

// The checks made before a file is opened, in order: a name starting "http" or "ftp" is a web
// address and passes unchecked; a missing file, one shorter than 10 bytes and one whose
// extension (in any case) is neither supported nor an archive are refused with "File not
// found: ", "Empty file: " or "Not supported input file format: " and the name, unless `quiet`.
// A folder, anything else that is not a regular file (a pipe, a device) and a file this user
// may not read are refused as Missing, each with a message that says which it is.
InputCheck CheckInputFile(const std::string& path, common::Messages& messages, bool quiet = false);

// Puts `path` first in the recent-files list: no duplicates, the list keeps its length.
void AddRecentFile(std::vector<std::string>& recent, const std::string& path);

class BookSession {
 public:
  // `serial` names the instance scratch folder in which the book folders are made. The
  // settings are the ones the session reads and whose recent-files list it keeps.
  BookSession(WorkshopFolder workshop, int serial, common::Settings& settings, EditorSurface& editor,
              common::Messages& messages, common::Progress& progress,
              const ConverterRegistry& registry = BuiltInConverters());
  BookSession(const BookSession&) = delete;
  BookSession& operator=(const BookSession&) = delete;

  // Input checks report nothing in quiet mode.
  void SetQuiet(bool quiet) { quiet_ = quiet; }
  // Whether opened books enter the recent-files list (a batch conversion keeps it unchanged).
  void SetRememberBooks(bool remember) { rememberBooks_ = remember; }
  // The member of an archive that the next books open (empty: the only book inside).
  void SetArchiveEntry(std::string entry) { archiveEntry_ = std::move(entry); }
  // Where the signature's date comes from; today's date unless replaced.
  void SetDateSource(std::function<std::string()> source) { dateSource_ = std::move(source); }

  // The opening chain: input check, input copy, a fresh book folder, the converter of the
  // extension, load normalisation, the editor, the recent-files list. True when `path`
  // became the open book; otherwise its message was shown and nothing else changed.
  bool PrepareBook(const std::string& path);

  // Opens the blank book as a fresh working document.
  bool MnEmptyBook();
  // Opens the first recent file again when it exists on disk; false (and nothing happens)
  // otherwise.
  bool MnReloadBook();
  // Writes the editor's document over the working document in its saved form, and keeps it as
  // a stored book in the books folder of the workshop, first in the recent files.
  bool MnSave();
  // The stored book the last save wrote; empty before the first save.
  const std::filesystem::path& keptBook() const { return keptBook_; }

  // The editor reports an edit.
  void MarkChanged() { changed_ = true; }
  bool changed() const { return changed_; }
  // The user chose to drop the unsaved changes: the next command does not save them.
  void ForgetChanges() { changed_ = false; }
  // Switches the unsaved-changes question off (changes are then saved without asking) and
  // says so once.
  void DisableUnsavedWarning();

  // Removes every book folder and input copy this session made, the open book's included.
  void RemoveScratch();

  const std::filesystem::path& workingDocument() const { return workingDocument_; }
  const std::filesystem::path& bookFolder() const { return bookFolder_; }
  // The file the open book came from; empty for a blank book.
  const std::string& bookPath() const { return bookPath_; }
  // The library header of the open book when it came from a stored book.
  const std::optional<markup::StoredBookHeader>& header() const { return header_; }
  const std::string& caption() const { return caption_; }

 private:
  struct Fresh {
    std::filesystem::path bookFolder;
    std::filesystem::path inputFolder;
  };
  Fresh NewBookFolders();
  bool Convert(const std::string& path, const Fresh& fresh, std::filesystem::path& workingDocument,
               std::optional<markup::StoredBookHeader>& header);
  // Before a command replaces the book: saves or drops unsaved changes as the user says.
  void ResolveUnsavedChanges();
  void Discard(const Fresh& fresh);
  bool KeepSavedBook(const std::string& savedDocument);

  WorkshopFolder workshop_;
  int serial_;
  common::Settings& settings_;
  EditorSurface& editor_;
  common::Messages& messages_;
  common::Progress& progress_;
  const ConverterRegistry& registry_;
  bool quiet_ = false;
  bool rememberBooks_ = true;
  std::string archiveEntry_;
  // The archive the open book came from (its path as the recent files hold it) and the member
  // chosen in it, so that Reload opens the same book again.
  std::string openedArchive_;
  std::string openedEntry_;
  std::function<std::string()> dateSource_;

  int bookCounter_ = 0;
  std::vector<std::filesystem::path> madeFolders_;
  std::filesystem::path workingDocument_;
  std::filesystem::path bookFolder_;
  std::string bookPath_;
  std::optional<markup::StoredBookHeader> header_;
  std::string caption_;
  bool changed_ = false;
  std::filesystem::path keptBook_;
};

}  // namespace pw::shell
