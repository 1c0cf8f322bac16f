// The job context of one conversion or one open book: its working folder, a snapshot of the
// settings, and the progress and message services. Two jobs never share a Session.
#pragma once

#include <filesystem>

#include "common/CodePage.h"
#include "common/Messages.h"
#include "common/Progress.h"
#include "common/Settings.h"

namespace pw::common {

struct Session {
  Session(Progress& progressService, Messages& messageService)
      : progress(progressService), messages(messageService) {}

  std::filesystem::path workFolder;  // the book's own folder inside the instance scratch folder
  Settings settings;                 // snapshot taken when the job started
  Progress& progress;
  Messages& messages;
  CodePage codePage = CodePage::Win1251;  // the book's script family
};

}  // namespace pw::common
