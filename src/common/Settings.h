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

struct Settings {
  // Editor appearance (the body tag of a written book).
  std::string editorTextColour = "000000";
  std::string editorBackground = "FFFFFF";
  std::string editorFont = "Times New Roman";
  std::string editorFontSize = "small";
  std::string editorFontWeight = "normal";

  // Reader appearance and auto-scroll.
  std::string readerTextColour = "000000";
  std::string readerBackground = "#F0F8FF";
  std::string readerFont = "Times New Roman";
  std::string readerFontSize = "small";
  std::string readerFontWeight = "bold";
  std::string scrollType = "lines";  // "pixels", "lines" or "symbols"
  float scrollSpeedPixels = 7.0f;
  float scrollSpeedLines = 1.0f;
  float scrollSpeedSymbols = 50.0f;

  ElementColours elementColours;

  // Import: paragraph mode, code page and language of sources ("auto" detects).
  std::string paragraphMode = "auto";
  std::string importCodePage = "auto";
  std::string importLanguage = "auto";

  // Book code page: decides the contents heading and the letter classes ("Win1251",
  // "Win1252", "Win1250").
  std::string bookCodePage = "Win1251";
  std::string outputCharset = "windows-1251";

  // Folders.
  std::string openFolder;
  std::string saveFolder;
  std::string libraryDialogFolder;
  std::string libraryFolder;

  // Exports.
  std::string dashStyle = "middle";
  std::string documentIdPrefix = "Pgw-";
  bool signBooks = false;  // append the signature block when a book is saved
  std::vector<std::string> outsidePrograms;

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
  bool warnUnsaved = true;
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
  visit("scrollType", s.scrollType);
  visit("scrollSpeedPixels", s.scrollSpeedPixels);
  visit("scrollSpeedLines", s.scrollSpeedLines);
  visit("scrollSpeedSymbols", s.scrollSpeedSymbols);
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
  visit("dashStyle", s.dashStyle);
  visit("documentIdPrefix", s.documentIdPrefix);
  visit("signBooks", s.signBooks);
  visit("outsidePrograms", s.outsidePrograms);
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
