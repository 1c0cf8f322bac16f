// File helpers: whole-file reads, atomic writes, folders and path pieces.
// Every file the program writes goes through WriteFileAtomic, so a crash never leaves half a file.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "common/Messages.h"

namespace pw::common {

namespace fs = std::filesystem;

// Reads the whole file into `out`. Returns false (and leaves `out` empty) when it cannot be read.
bool ReadWholeFile(const fs::path& path, std::string& out);

// Writes `data` to a temporary name in the same folder, then renames it over `path`.
// Returns false when any step fails; the old file then stays as it was.
bool WriteFileAtomic(const fs::path& path, std::string_view data);

bool FileExists(const fs::path& path);

// Why `path` cannot be read as a file: a folder, not a regular file (a pipe, a device), missing,
// or not readable for want of permission; nothing when it can be read. The message takes the
// path as its detail.
std::optional<Msg> UnreadableFileReason(const fs::path& path);

// Creates the folder (and its parents) when missing. True when it exists afterwards.
bool MakeFolderIfMissing(const fs::path& path);

struct PathParts {
  std::string folder;     // without a trailing separator; empty for a bare name
  std::string name;       // file name without its extension
  std::string extension;  // without the dot, as written (not lower-cased)
};

PathParts SplitPath(const fs::path& path);

// The extension in lower case, without the dot ("txt", "fb2"); empty when there is none.
std::string LowerExtension(const fs::path& path);

}  // namespace pw::common
