// The settings record: every setting of the program with its default. One instance per
// process is owned by the shell, which alone reads and writes the settings file; each job
// works on a copy (its Session's snapshot).
#pragma once

#include <string>

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
};

struct Settings {
  // Editor appearance (the body tag of a written book).
  std::string editorTextColour = "000000";
  std::string editorBackground = "FFFFFF";
  std::string editorFont = "Times New Roman";
  std::string editorFontSize = "small";
  std::string editorFontWeight = "normal";

  ElementColours elementColours;

  // Book code page: decides the contents heading and the letter classes ("Win1251",
  // "Win1252", "Win1250").
  std::string bookCodePage = "Win1251";
  // Keep FbSection / FbSectionEnd marks in the working document.
  bool sectionMode = false;

  Language interfaceLanguage = Language::English;
};

}  // namespace pw::common
