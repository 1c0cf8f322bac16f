// The settings record: every setting of the program with its default, in one fixed declared
// order (VisitSettings) that the settings file follows field by field. One instance per
// process is owned by the shell, which alone reads and writes the settings file; each job
// works on a copy (its Session's snapshot).
#pragma once

#include <string>
#include <vector>

#include "common/Messages.h"

namespace pw::common {

// Colours of the marked elements of the html0 book, written bare after "color=".
struct ElementColours {
  std::string bookAuthor = "#ff0000";
  std::string bookTitle = "#B90000";
  std::string title = "#001950";
  std::string subtitle = "#007373";
  std::string verse = "#3D00B9";
  std::string epigraph = "#0000CD";
  std::string textAuthor = "#A52A2A";
  std::string annotation = "#808000";
  std::string cite = "#008000";
  std::string noteBlock = "#9400D3";

  bool operator==(const ElementColours&) const = default;
};

inline constexpr const char* kRecentFilesPlaceholder = "Empty";
inline constexpr size_t kRecentFilesCount = 10;

// Folder settings may start with "~", the user's home folder; an empty citation folder means
// the workshop's "Citations" folder.
struct Settings {
  // Editor appearance (the body tag of a written book).
  std::string editorTextColour = "000000";
  std::string editorBackground = "FFFFFF";
  std::string editorFont = "Times New Roman";
  std::string editorFontSize = "small";
  std::string editorFontWeight = "normal";

  // Reader appearance, page geometry and auto-scroll.
  std::string readerTextColour = "000000";
  std::string readerBackground = "#F0F8FF";
  std::string readerFont = "Times New Roman";
  std::string readerFontSize = "small";
  std::string readerFontWeight = "bold";
  std::string readerGeometry = "standard book";  // a page geometry name, or "user"
  int readerUserWidth = 430;                     // pixels of the "user" geometry
  int readerUserHeight = 650;
  int readerZoom = 100;                          // percent
  std::string scrollType = "lines";              // "pixels", "lines" or "symbols"
  float scrollSpeedPixels = 7.0f;
  float scrollSpeedLines = 1.0f;
  float scrollSpeedSymbols = 50.0f;
  bool readerNightScheme = false;        // the reader's dark colours instead of its own
  ElementColours readerElementColours;   // element colours of the reading view

  ElementColours elementColours;

  // Import: paragraph mode, code page and language of sources ("auto" detects).
  std::string paragraphMode = "auto";
  std::string importCodePage = "auto";
  std::string importLanguage = "auto";

  // Book code page: decides the contents heading and the letter classes ("Win1251",
  // "Win1252", "Win1250").
  std::string bookCodePage = "Win1251";
  std::string outputCharset = "windows-1251";

  // Start folders of the dialogs, the library, and the citation files.
  std::string openFolder = "~";
  std::string saveFolder = "~";
  std::string libraryDialogFolder = "~";
  std::string libraryFolder = "~/Pagewright Library";
  std::string citationLoadFolder;
  std::string citationSaveFolder;

  // FictionBook export (the options of the FB2 dialog).
  std::string fb2OutputFolder = "~";
  bool fb2NameFromDescription = false;  // build the file name from author, title, sequence
  bool fb2LatinFileName = false;
  std::string fb2Encoding = "utf-8";  // "utf-8", "windows-1251" or "windows-1252"
  std::string dashStyle = "middle";   // "short", "middle" or "long"
  std::string documentIdPrefix = "Pgw-";
  bool fb2BookForLibrary = false;
  bool fb2MultiEmptyLines = false;
  bool fb2RemoveEmptyLines = false;
  bool fb2RemoveLineEnds = false;
  bool fb2KeepPictureSizes = false;
  bool fb2Zip = false;
  bool fb2Validate = false;
  bool fb2LoadToValidator = false;

  // Saving.
  bool signBooks = false;      // append the signature block when a book is saved
  bool multiLanguage = false;  // books mixing scripts: saved and shown as "MultiLanguage"

  // Outside programs: e-book programs a book may be handed to, and the tools of the source
  // formats and of validation (empty: found on PATH, or the built-in one).
  std::vector<std::string> outsidePrograms;
  std::string wordProcessorPath;
  std::string pdfToHtmlPath;
  std::string validatorPath;
  int pdfToolTimeout = 300;     // seconds a tool may run before it is ended
  int officeToolTimeout = 300;

  // Corrector: clean-up slots ("none" or a rule file), the rule table's font, valid ends.
  std::string cleanUpBefore = "none";
  std::string cleanUpAfter = "none";
  std::string cleanUpOutput = "none";
  std::string cleanUpTableFontSize = "small";
  std::string cleanUpTableFontWeight = "normal";
  std::string validParagraphEnds = ".?!;:chr(133)";

  // Shell.
  std::vector<std::string> recentFiles =
      std::vector<std::string>(kRecentFilesCount, kRecentFilesPlaceholder);
  bool openLastBook = true;
  bool sectionMode = false;  // keep FbSection / FbSectionEnd marks in the working document
  bool showToolbar = true;
  bool warnUnsaved = true;   // ask before a book with unsaved changes is replaced
  Language interfaceLanguage = Language::English;

  bool operator==(const Settings&) const = default;
};

// Calls `visit(name, field)` for every field in the declared order of the settings file.
// Adding, removing or reordering a field changes the file layout: bump kSettingsLayoutVersion
// in shell/SettingsFile.cpp with it.
template <class Settings_, class Visitor>
void VisitSettings(Settings_& s, Visitor&& visit) {
  visit("editorTextColour", s.editorTextColour);
  visit("editorBackground", s.editorBackground);
  visit("editorFont", s.editorFont);
  visit("editorFontSize", s.editorFontSize);
  visit("editorFontWeight", s.editorFontWeight);
  visit("readerTextColour", s.readerTextColour);
  visit("readerBackground", s.readerBackground);
  visit("readerFont", s.readerFont);
  visit("readerFontSize", s.readerFontSize);
  visit("readerFontWeight", s.readerFontWeight);
  visit("readerGeometry", s.readerGeometry);
  visit("readerUserWidth", s.readerUserWidth);
  visit("readerUserHeight", s.readerUserHeight);
  visit("readerZoom", s.readerZoom);
  visit("scrollType", s.scrollType);
  visit("scrollSpeedPixels", s.scrollSpeedPixels);
  visit("scrollSpeedLines", s.scrollSpeedLines);
  visit("scrollSpeedSymbols", s.scrollSpeedSymbols);
  visit("readerNightScheme", s.readerNightScheme);
  visit("reader.colour.bookAuthor", s.readerElementColours.bookAuthor);
  visit("reader.colour.bookTitle", s.readerElementColours.bookTitle);
  visit("reader.colour.title", s.readerElementColours.title);
  visit("reader.colour.subtitle", s.readerElementColours.subtitle);
  visit("reader.colour.verse", s.readerElementColours.verse);
  visit("reader.colour.epigraph", s.readerElementColours.epigraph);
  visit("reader.colour.textAuthor", s.readerElementColours.textAuthor);
  visit("reader.colour.annotation", s.readerElementColours.annotation);
  visit("reader.colour.cite", s.readerElementColours.cite);
  visit("reader.colour.noteBlock", s.readerElementColours.noteBlock);
  visit("colour.bookAuthor", s.elementColours.bookAuthor);
  visit("colour.bookTitle", s.elementColours.bookTitle);
  visit("colour.title", s.elementColours.title);
  visit("colour.subtitle", s.elementColours.subtitle);
  visit("colour.verse", s.elementColours.verse);
  visit("colour.epigraph", s.elementColours.epigraph);
  visit("colour.textAuthor", s.elementColours.textAuthor);
  visit("colour.annotation", s.elementColours.annotation);
  visit("colour.cite", s.elementColours.cite);
  visit("colour.noteBlock", s.elementColours.noteBlock);
  visit("paragraphMode", s.paragraphMode);
  visit("importCodePage", s.importCodePage);
  visit("importLanguage", s.importLanguage);
  visit("bookCodePage", s.bookCodePage);
  visit("outputCharset", s.outputCharset);
  visit("openFolder", s.openFolder);
  visit("saveFolder", s.saveFolder);
  visit("libraryDialogFolder", s.libraryDialogFolder);
  visit("libraryFolder", s.libraryFolder);
  visit("citationLoadFolder", s.citationLoadFolder);
  visit("citationSaveFolder", s.citationSaveFolder);
  visit("fb2OutputFolder", s.fb2OutputFolder);
  visit("fb2NameFromDescription", s.fb2NameFromDescription);
  visit("fb2LatinFileName", s.fb2LatinFileName);
  visit("fb2Encoding", s.fb2Encoding);
  visit("dashStyle", s.dashStyle);
  visit("documentIdPrefix", s.documentIdPrefix);
  visit("fb2BookForLibrary", s.fb2BookForLibrary);
  visit("fb2MultiEmptyLines", s.fb2MultiEmptyLines);
  visit("fb2RemoveEmptyLines", s.fb2RemoveEmptyLines);
  visit("fb2RemoveLineEnds", s.fb2RemoveLineEnds);
  visit("fb2KeepPictureSizes", s.fb2KeepPictureSizes);
  visit("fb2Zip", s.fb2Zip);
  visit("fb2Validate", s.fb2Validate);
  visit("fb2LoadToValidator", s.fb2LoadToValidator);
  visit("signBooks", s.signBooks);
  visit("multiLanguage", s.multiLanguage);
  visit("outsidePrograms", s.outsidePrograms);
  visit("wordProcessorPath", s.wordProcessorPath);
  visit("pdfToHtmlPath", s.pdfToHtmlPath);
  visit("validatorPath", s.validatorPath);
  visit("pdfToolTimeout", s.pdfToolTimeout);
  visit("officeToolTimeout", s.officeToolTimeout);
  visit("cleanUpBefore", s.cleanUpBefore);
  visit("cleanUpAfter", s.cleanUpAfter);
  visit("cleanUpOutput", s.cleanUpOutput);
  visit("cleanUpTableFontSize", s.cleanUpTableFontSize);
  visit("cleanUpTableFontWeight", s.cleanUpTableFontWeight);
  visit("validParagraphEnds", s.validParagraphEnds);
  visit("recentFiles", s.recentFiles);
  visit("openLastBook", s.openLastBook);
  visit("sectionMode", s.sectionMode);
  visit("showToolbar", s.showToolbar);
  visit("warnUnsaved", s.warnUnsaved);
  visit("interfaceLanguage", s.interfaceLanguage);
}

}  // namespace pw::common
