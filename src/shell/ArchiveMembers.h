// Reading zip and rar archives (libarchive; older rar versions through unarr, which unpacks solid
// archives whole): the list of an archive's members and the unpacking of chosen members into a
// folder. A member that would land outside the folder, a link or device, or one that unpacks
// beyond the size bound is never written; the list says why.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "common/Limits.h"

namespace pw::shell {

// Why a member is never unpacked.
enum class MemberRefusal { None, Outside, Absolute, Link, TooLarge };

struct ArchiveMember {
  std::string name;     // UTF-8, "/" between folders, as the archive names it
  int64_t size = -1;    // the unpacked size when the archive tells it
  bool book = false;    // its extension is one the workshop opens
  MemberRefusal refusal = MemberRefusal::None;
};

// What went wrong with the archive as a whole; each has its message in ArchiveInput.
enum class ArchiveError {
  None,
  CannotOpen,        // the file cannot be read at all
  UnknownFormat,     // neither zip nor rar
  HeaderBroken,      // the archive's own header is damaged
  FileHeaderBroken,  // a member's header is damaged
  CrcError,          // a member's data does not match its checksum
  ReadError,         // the member's data cannot be unpacked
  FileCreateError,   // the unpacked file cannot be written
  NotEnoughMemory,
  TooManyMembers,    // more members than ArchiveLimits::members
};

struct ArchiveLimits {
  size_t members = common::kArchiveMembers;
  int64_t memberBytes = common::kArchiveMemberBytes;
  int64_t totalBytes = common::kArchiveTotalBytes;
};

// The regular files of the archive in their order, without folders and without the clutter
// that some systems add ("__MACOSX/", "._name", ".DS_Store"). ArchiveError::None when the
// list could be read. `cut` (when given) tells that the list holds only the first members: a
// solid archive must be unpacked to reach its later ones, and that would pass the size bound.
ArchiveError ListArchive(const std::filesystem::path& archive, std::vector<ArchiveMember>& members,
                         const ArchiveLimits& limits = {}, bool* cut = nullptr);

// Unpacks every member for which `wanted` says yes into `folder`, keeping its sub-folders.
// Refused members are skipped (the list tells them); a member that grows beyond the size
// bound while it is unpacked is removed again and named in `oversized`. `unpacked` receives
// the member name and the written file of each member written.
struct UnpackedMember {
  std::string name;
  std::filesystem::path file;
};
ArchiveError UnpackMembers(const std::filesystem::path& archive, const std::filesystem::path& folder,
                           const std::function<bool(const ArchiveMember&)>& wanted,
                           std::vector<UnpackedMember>& unpacked, std::vector<std::string>& oversized,
                           const ArchiveLimits& limits = {});

// The member's name as a path below the unpacking folder; empty when it would lead out of
// it or is absolute. Backslashes count as folder separators.
std::filesystem::path ContainedPath(const std::string& name);

}  // namespace pw::shell
