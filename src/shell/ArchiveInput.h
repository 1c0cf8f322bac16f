// Books inside zip and rar archives: the archive is unpacked into the book's input folder and
// the book found in it is opened as any other.
#pragma once

#include <filesystem>

#include "common/Session.h"

namespace pw::shell {

// Unpacks `archive` into `folder` (entries keep their sub-folders; names that would leave the
// folder, links and devices are skipped) and names in `bookFile` the first entry whose
// extension the workshop opens. False, with the message shown, when the archive cannot be read
// or holds no book. Entries are bounded in number and size, so a hostile archive cannot fill
// the disk.
bool UnpackArchive(const std::filesystem::path& archive, const std::filesystem::path& folder,
                   std::filesystem::path& bookFile, common::Session& session);

}  // namespace pw::shell
