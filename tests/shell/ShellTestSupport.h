// Helpers of the shell tests: a workshop in a scratch folder with its services, and a way to
// tell that a user's file was left exactly as it was.
#pragma once

#include <filesystem>
#include <string>

#include "common/Files.h"
#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Settings.h"
#include "shell/EditorSurface.h"
#include "shell/WorkshopFolder.h"
#include "support/TestSupport.h"

namespace pw::shell::testing {

// The bytes and the modification time of a file: equal states mean nothing touched it.
struct FileState {
  std::string bytes;
  std::filesystem::file_time_type modified;
  bool operator==(const FileState&) const = default;
};

inline FileState StateOf(const std::filesystem::path& path) {
  FileState state;
  common::ReadWholeFile(path, state.bytes);
  std::error_code ec;
  state.modified = std::filesystem::last_write_time(path, ec);
  return state;
}

struct Workbench {
  test::ScratchFolder folder;
  common::RecordingSink sink;
  common::Messages messages{sink};
  common::RecordingProgress progress;
  common::Settings settings;
  HeadlessEditor editor;
  WorkshopFolder workshop{folder / "home"};

  Workbench() { PrepareWorkshopFolder(workshop, folder / "no-shipped-data"); }

  std::filesystem::path Write(const std::string& name, const std::string& bytes) {
    const std::filesystem::path path = folder / name;
    common::WriteFileAtomic(path, bytes);
    return path;
  }
};

}  // namespace pw::shell::testing
