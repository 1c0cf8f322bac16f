#include "shell/ArchiveInput.h"

#include <algorithm>

#include "common/Files.h"
#include "common/Text.h"

namespace pw::shell {

namespace fs = std::filesystem;

namespace {

void ShowRefusal(const ArchiveMember& member, common::Session& session) {
  switch (member.refusal) {
    case MemberRefusal::Outside: session.messages.Show(common::Msg::ArchiveMemberOutside, member.name); break;
    case MemberRefusal::Absolute: session.messages.Show(common::Msg::ArchiveMemberAbsolute, member.name); break;
    case MemberRefusal::Link: session.messages.Show(common::Msg::ArchiveMemberLink, member.name); break;
    case MemberRefusal::TooLarge: session.messages.Show(common::Msg::ArchiveMemberTooLarge, member.name); break;
    case MemberRefusal::None: break;
  }
}

}  // namespace

void ShowArchiveError(ArchiveError error, const std::string& name, common::Session& session, size_t limit) {
  common::Messages& messages = session.messages;
  const bool rar = common::LowerExtension(fs::path(name)) == "rar";
  switch (error) {
    case ArchiveError::None: break;
    case ArchiveError::CannotOpen: messages.Show(common::Msg::ArchiveCannotOpen, name); break;
    case ArchiveError::UnknownFormat:
      if (rar)
        messages.Show(common::Msg::ArchiveNotRar, name);
      else
        messages.Show(common::Msg::ArchiveUnknownFormat, ": " + name);
      break;
    case ArchiveError::HeaderBroken: messages.Show(common::Msg::ArchiveHeaderBroken, name); break;
    case ArchiveError::FileHeaderBroken: messages.Show(common::Msg::ArchiveFileHeaderBroken, ": " + name); break;
    case ArchiveError::CrcError: messages.Show(common::Msg::ArchiveCrcError, ": " + name); break;
    case ArchiveError::ReadError: messages.Show(common::Msg::ArchiveReadError, ": " + name); break;
    case ArchiveError::FileCreateError: messages.Show(common::Msg::ArchiveFileCreateError, ": " + name); break;
    case ArchiveError::NotEnoughMemory: messages.Show(common::Msg::ArchiveNotEnoughMemory, ": " + name); break;
    case ArchiveError::TooManyMembers: messages.Show(common::Msg::ArchiveTooManyMembers, std::to_string(limit)); break;
  }
}

std::vector<const ArchiveMember*> BookMembers(const std::vector<ArchiveMember>& members) {
  std::vector<const ArchiveMember*> books;
  for (const ArchiveMember& member : members)
    if (member.book) books.push_back(&member);
  return books;
}

bool HoldsSeveralBooks(const fs::path& file) {
  const std::string extension = common::AsciiLower(file.extension().string());
  if (extension != ".zip" && extension != ".rar") return false;
  std::vector<ArchiveMember> members;
  return ListArchive(file, members) == ArchiveError::None && BookMembers(members).size() > 1;
}

const ArchiveMember* FindMember(const std::vector<ArchiveMember>& members, const std::string& entry) {
  for (const ArchiveMember& member : members)
    if (member.name == entry) return &member;
  const ArchiveMember* found = nullptr;
  for (const ArchiveMember& member : members) {
    const std::string_view last = std::string_view(member.name).substr(member.name.find_last_of('/') + 1);
    if (last != entry) continue;
    if (found) return nullptr;  // two members of that name in different folders
    found = &member;
  }
  return found;
}

bool UnpackArchive(const fs::path& archive, const fs::path& folder, const std::string& entry, fs::path& bookFile,
                   common::Session& session, const ArchiveLimits& limits) {
  bookFile.clear();
  const std::string name = archive.filename().string();
  std::vector<ArchiveMember> members;
  bool cut = false;
  if (const ArchiveError error = ListArchive(archive, members, limits, &cut); error != ArchiveError::None) {
    ShowArchiveError(error, name, session, limits.members);
    return false;
  }
  if (cut) session.messages.Show(common::Msg::ArchiveListCut, std::to_string(members.size()));
  const ArchiveMember* chosen = nullptr;
  if (!entry.empty()) {
    chosen = FindMember(members, entry);
    if (!chosen) {
      session.messages.Show(common::Msg::ArchiveNoSuchMember, entry);
      return false;
    }
  } else {
    const auto books = BookMembers(members);
    if (books.empty()) {
      session.messages.Show(common::Msg::NotSupportedFormat, name);
      return false;
    }
    if (books.size() > 1) {
      std::string list;
      for (const ArchiveMember* book : books) list += "\n" + book->name;
      session.messages.Show(common::Msg::ArchiveSeveralBooks, list);
      return false;
    }
    chosen = books.front();
  }
  if (chosen->refusal != MemberRefusal::None) {
    ShowRefusal(*chosen, session);
    return false;
  }
  for (const ArchiveMember& member : members)
    if (!member.book) ShowRefusal(member, session);

  const std::string chosenName = chosen->name;
  std::vector<UnpackedMember> unpacked;
  std::vector<std::string> oversized;
  const ArchiveError error = UnpackMembers(
      archive, folder, [&](const ArchiveMember& member) { return member.name == chosenName || !member.book; },
      unpacked, oversized, limits);
  for (const std::string& big : oversized) session.messages.Show(common::Msg::ArchiveMemberTooLarge, big);
  const auto book = std::find_if(unpacked.begin(), unpacked.end(),
                                 [&](const UnpackedMember& member) { return member.name == chosenName; });
  if (book == unpacked.end()) {
    if (error != ArchiveError::None)
      ShowArchiveError(error, name, session, limits.members);
    else if (oversized.empty())
      ShowArchiveError(ArchiveError::ReadError, name, session);
    return false;
  }
  bookFile = book->file;
  return true;
}

}  // namespace pw::shell
