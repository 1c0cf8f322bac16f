// The workshop folder: where settings, scratch areas, rule files, citations and the shipped
// data live. $PAGEWRIGHT_HOME when set, else $XDG_DATA_HOME/pagewright, else
// ~/.local/share/pagewright; a --home option overrides both.
#pragma once

#include <filesystem>
#include <string>

namespace pw::shell {

namespace fs = std::filesystem;

// The workshop folder for `homeOption` (empty: from the environment).
fs::path ResolveWorkshopFolder(const std::string& homeOption = {});

struct WorkshopFolder {
  fs::path root;

  fs::path temp() const { return root / "Temp"; }
  fs::path inputCopy() const { return root / "InputCopy"; }
  fs::path citations() const { return root / "Citations"; }
  fs::path bookCleaner() const { return root / "BookCleaner"; }
  fs::path userCleanUp() const { return root / "UserCleanUp"; }
  fs::path selfTeaching() const { return root / "Self Teaching"; }
  fs::path settingsFile() const { return root / "Pagewright.ini"; }
  fs::path instanceFile() const { return root / "ProgInstances.dat"; }
  fs::path seedDocument() const { return root / "PagewrightBlank.htm"; }
  fs::path instanceFolder(int serial) const { return temp() / ("tmp" + std::to_string(serial)); }
};

// Creates the folder and its fixed sub-folders when missing, and copies the shipped data
// files (rule files, tutorial books, genre list, ...) from `shippedData` into it where the
// workshop has none yet; the user's own copies are never overwritten. False when the
// folder cannot be made.
bool PrepareWorkshopFolder(const WorkshopFolder& folder, const fs::path& shippedData);

// Where the shipped data is: `PAGEWRIGHT_DATA` when set, else the installed share folder
// beside the program, else the source tree's data folder.
fs::path ShippedDataFolder();

}  // namespace pw::shell
