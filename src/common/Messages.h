// User messages in English and Russian, chosen by the interface language.
// Every message the program shows to a user is a row of one table (Messages.cpp), so that
// the two languages stay side by side. The sink decides how a message reaches the user:
// stderr on the command line, a dialog in the workshop, a list in tests.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::common {

enum class Language { English, Russian };

enum class Msg {
  FileNotFound,             // "File not found: " + name
  ErrorReadingFile,         // + name
  ErrorWritingFile,         // + name
  StoredBookDamaged,        // + detail
  StoredBookTooShort,
  BadRegularExpression,     // + detail
  RegularExpressionLimit,   // + pattern
  UnknownCodePage,          // + name
  CleanUpNothingSelected,
  CleanUpBadFragment,
  CleanUpBadSelection,
  CleanUpBadClipboard,
  CleanUpBadRowSelection,
  CleanUpFileNotFound,
  CannotImportFile,
  EmptyFile,                // "Empty file: " + name
  NotSupportedFormat,       // + name
  CannotConvert,            // + ": " + name
  ErrorProcessingFile,      // + ": " + name
  SettingsUnreadable,
  LastFileNotFound,         // + name
  CannotSaveFile,
  UnsavedChanges,           // a yes/no question
  UnsavedWarningDisabled,
  TargetNotAvailable,       // + target name
  OutputOverwritesInput,    // + name
  UnsupportedImageFormat,   // + extension
  Fb2OutputLocked,          // + path: the output file exists and cannot be written
  Fb2UnformattedNotes,      // a yes/no question
  Fb2BookSaved,             // + path
  HtmlCannotTransform,
  HtmlKeepFormatFailed,
  HtmlTryReformatting,      // a yes/no question
  Fb2DescriptionNotFound,
  Fb2ImportSkipped,         // + what was left out or mended
  Fb2GenreLeftOut,          // + genre code
  NoTextSelected,
  NoteNoBookmarks,
  NoteBadSelection,
  NoteBlockNotSelected,
  NoNoteBlocks,
  OnlyWholeElementsMove,
  SectionTreeCheck,         // followed by SectionTreeOk or SectionTreeFailed
  SectionTreeOk,
  SectionTreeFailed,
  SectionsInserted,         // count + the text
  EmptyBookNothingToRead,
  ToolMissing,              // + program name
  AuthorTitleBadSelection,
  NoFollowingParagraph,
  PalmCannotUnpack,         // + ": " + name
  PalmProtected,            // + name
  OfficeSuiteMissing,
  RbCannotConvert,          // + ": " + name
  LitCannotConvert,         // + ": " + name
  LitProtected,             // + name
  ArchiveCannotOpen,        // + name
  ArchiveNotRar,            // name + text
  ArchiveHeaderBroken,      // name + text
  ArchiveFileHeaderBroken,
  ArchiveUnknownFormat,
  ArchiveFileCreateError,
  ArchiveReadError,
  ArchiveCrcError,
  ArchiveNotEnoughMemory,
  ArchiveSeveralBooks,      // + the names, one a line
  ArchiveNoSuchMember,      // + name
  ArchiveMemberOutside,     // + member name
  ArchiveMemberAbsolute,    // + member name
  ArchiveMemberLink,        // + member name
  ArchiveMemberTooLarge,    // + member name
  ArchiveTooManyMembers,    // "{}": the member limit
  ArchiveListCut,           // "{}": how many members are listed
  InputIsFolder,            // "{}": the name
  InputNotRegularFile,      // "{}": the name
  InputPermissionDenied,    // "{}": the name
  BookTooLarge,             // "{}": the limit in MB
  Fb2EntitiesTooLarge,      // "{}": the limit in MB
  RuleTooSlow,              // "{}": the row number
  RuleResultTooLarge,       // "{}": the row number
  PicturesUnsupported,      // "{}": how many
  PicturesNotFound,         // "{}": how many
  PictureOutsideBook,       // + the picture's reference
  PicturesOutsideBook,      // "{}": how many
  Count_                    // keep last
};

class MessageSink {
 public:
  virtual ~MessageSink() = default;
  virtual void Show(std::string_view text) = 0;
  // A yes/no question; a sink without a user answers `defaultAnswer`.
  virtual bool Ask(std::string_view text, bool defaultAnswer) = 0;
};

// Collects messages and answers questions with the default; for tests and quiet runs.
class RecordingSink final : public MessageSink {
 public:
  void Show(std::string_view text) override { shown.emplace_back(text); }
  bool Ask(std::string_view text, bool defaultAnswer) override {
    asked.emplace_back(text);
    return defaultAnswer;
  }
  std::vector<std::string> shown;
  std::vector<std::string> asked;
};

class Messages {
 public:
  explicit Messages(MessageSink& sink, Language language = Language::English)
      : sink_(sink), language_(language) {}

  // The message text in the interface language, followed by `detail` when given.
  std::string Text(Msg id, std::string_view detail = {}) const;
  void Show(Msg id, std::string_view detail = {}) const { sink_.Show(Text(id, detail)); }
  // A text made elsewhere (a message of a library or of another row's parts).
  void ShowText(std::string_view text) const { sink_.Show(text); }
  bool Ask(Msg id, std::string_view detail, bool defaultAnswer) const {
    return sink_.Ask(Text(id, detail), defaultAnswer);
  }

  Language language() const { return language_; }
  void SetLanguage(Language language) { language_ = language; }

 private:
  MessageSink& sink_;
  Language language_;
};

// The text of `id` in `language`, without any detail.
std::string_view MessageText(Msg id, Language language);

}  // namespace pw::common
