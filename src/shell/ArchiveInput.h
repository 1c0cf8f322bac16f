// Books inside zip and rar archives: the book the user chose (or the only one the archive
// holds) is unpacked into the book's input folder with the files beside it, and opened as any
// other book.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "common/Session.h"
#include "shell/ArchiveMembers.h"

namespace pw::shell {

// The message of an archive-wide error, for the archive named `name`.
void ShowArchiveError(ArchiveError error, const std::string& name, common::Session& session,
                      size_t limit = common::kArchiveMembers);

// The book members of `members` a user may choose from: every member that a book converter
// reads, refused ones included (choosing one tells why it cannot be opened).
std::vector<const ArchiveMember*> BookMembers(const std::vector<ArchiveMember>& members);

// Whether `file` is a zip or rar archive (by its name) that holds more than one book, so the
// user has to choose.
bool HoldsSeveralBooks(const std::filesystem::path& file);

// The member `entry` names: its whole name, or its file name when only one member has it.
const ArchiveMember* FindMember(const std::vector<ArchiveMember>& members, const std::string& entry);

// Unpacks the book `entry` of `archive` (empty: the only book the archive holds) into
// `folder`, with every member that is not a book (pictures, style sheets), and names its file
// in `bookFile`. False, with the message shown, when the archive cannot be read, holds no
// book, holds several and none was chosen (the message lists them), or the chosen member is
// refused. Refused members beside the book are named in a message and left out.
bool UnpackArchive(const std::filesystem::path& archive, const std::filesystem::path& folder,
                   const std::string& entry, std::filesystem::path& bookFile, common::Session& session,
                   const ArchiveLimits& limits = {});

}  // namespace pw::shell
