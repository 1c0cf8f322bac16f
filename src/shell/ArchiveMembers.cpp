#include "shell/ArchiveMembers.h"

#include <archive.h>
#include <archive_entry.h>
#include <unarr.h>

#include <locale.h>

#include <cerrno>
#include <fstream>
#include <memory>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "shell/Converters.h"

namespace pw::shell {

namespace fs = std::filesystem;

namespace {

using Reader = std::unique_ptr<archive, decltype(&archive_read_free)>;

// The library gives member names in the character set of the thread's locale; under the "C"
// locale every name that is not ASCII would be lost, so the walk runs under a UTF-8 one.
class Utf8Names {
 public:
  Utf8Names() : utf8_(newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr))) {
    if (utf8_) previous_ = uselocale(utf8_);
  }
  ~Utf8Names() {
    if (!utf8_) return;
    uselocale(previous_);
    freelocale(utf8_);
  }
  Utf8Names(const Utf8Names&) = delete;
  Utf8Names& operator=(const Utf8Names&) = delete;

 private:
  locale_t utf8_;
  locale_t previous_ = LC_GLOBAL_LOCALE;
};

Reader OpenReader() {
  Reader reader(archive_read_new(), archive_read_free);
  archive_read_support_format_zip(reader.get());
  archive_read_support_format_rar(reader.get());
  archive_read_support_format_rar5(reader.get());
  archive_read_support_filter_all(reader.get());
  return reader;
}

bool Mentions(archive* reader, std::string_view word) {
  const char* text = archive_error_string(reader);
  return text && common::FindAsciiCaseless(text, word) != std::string_view::npos;
}

ArchiveError OpenError(archive* reader, const fs::path& path) {
  std::ifstream probe(path, std::ios::binary);
  if (!probe) return ArchiveError::CannotOpen;
  if (archive_errno(reader) == ENOMEM) return ArchiveError::NotEnoughMemory;
  if (Mentions(reader, "unrecognized") || Mentions(reader, "format")) return ArchiveError::UnknownFormat;
  return ArchiveError::HeaderBroken;
}

ArchiveError DataError(archive* reader) {
  if (archive_errno(reader) == ENOMEM) return ArchiveError::NotEnoughMemory;
  if (Mentions(reader, "crc") || Mentions(reader, "checksum")) return ArchiveError::CrcError;
  return ArchiveError::ReadError;
}

// Names are UTF-8 in rar5 and in zip members that say so; older zip tools wrote them in the
// DOS code page, which for the books this program reads is the Cyrillic one.
std::string MemberName(archive_entry* entry) {
  if (const char* utf8 = archive_entry_pathname_utf8(entry); utf8 && common::IsValidUtf8(utf8)) return utf8;
  const char* raw = archive_entry_pathname(entry);
  if (!raw) return {};
  if (common::IsValidUtf8(raw)) return raw;
  return common::DecodeToUtf8(raw, common::CodePage::Cp866);
}

bool IsClutter(const std::string& name) {
  const std::string_view last = std::string_view(name).substr(name.find_last_of('/') + 1);
  return common::StartsWith(name, "__MACOSX/") || name.find("/__MACOSX/") != std::string::npos ||
         common::StartsWith(last, "._") || last == ".DS_Store";
}

bool IsBookName(const std::string& name) {
  const std::string extension = common::LowerExtension(fs::path(name));
  for (const std::string_view supported : kSupportedExtensions)
    if (extension == supported) return true;
  return false;
}

// The member of `name`, or false for a folder or clutter.
bool Classify(std::string name, int64_t size, bool regular, const ArchiveLimits& limits, ArchiveMember& member) {
  for (char& c : name)
    if (c == '\\') c = '/';
  if (name.empty() || name.back() == '/' || IsClutter(name)) return false;
  member = {};
  member.name = name;
  member.book = IsBookName(name);
  member.size = size;
  const bool absolute = name.front() == '/' || (name.size() > 1 && name[1] == ':');
  if (absolute)
    member.refusal = MemberRefusal::Absolute;
  else if (ContainedPath(name).empty())
    member.refusal = MemberRefusal::Outside;
  else if (!regular)
    member.refusal = MemberRefusal::Link;
  else if (member.size > limits.memberBytes)
    member.refusal = MemberRefusal::TooLarge;
  return true;
}

bool Describe(archive_entry* entry, const ArchiveLimits& limits, ArchiveMember& member) {
  const mode_t type = archive_entry_filetype(entry);
  if (type == AE_IFDIR) return false;
  const bool regular = type == AE_IFREG && !archive_entry_hardlink(entry) && !archive_entry_symlink(entry);
  return Classify(MemberName(entry), archive_entry_size_is_set(entry) ? archive_entry_size(entry) : -1, regular, limits,
                  member);
}

// A member's data while its archive is walked: `read` gives the next bytes (0 at the end, less
// than 0 when they cannot be unpacked), `error` what a failed read means.
struct MemberData {
  std::function<int64_t(char*, size_t)> read;
  std::function<ArchiveError()> error;
};
using Visit = std::function<ArchiveError(const ArchiveMember&, const MemberData&, bool& stop)>;

// Reads what is left of a member, as a solid archive needs before the next member can be
// unpacked. False when the data is damaged.
bool Drain(const MemberData& data, int64_t& drained, const ArchiveLimits& limits, bool& over) {
  char buffer[1 << 16];
  int64_t got = 0;
  while ((got = data.read(buffer, sizeof buffer)) > 0) {
    drained += got;
    if (drained > limits.totalBytes) {
      over = true;
      return true;
    }
  }
  return got == 0;
}

// Rar archives of the older versions (1.5 to 4) are read by a library of their own: the
// general one cannot unpack the later members of a solid archive.
bool IsOldRar(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  char signature[7] = {};
  in.read(signature, sizeof signature);
  return in && std::string_view(signature, sizeof signature) == std::string_view("Rar!\x1A\x07\x00", 7);
}

ArchiveError WalkOldRar(const fs::path& path, const ArchiveLimits& limits, const Visit& visit, bool& cut) {
  std::unique_ptr<ar_stream, decltype(&ar_close)> stream(ar_open_file(path.c_str()), ar_close);
  if (!stream) return ArchiveError::CannotOpen;
  std::unique_ptr<ar_archive, decltype(&ar_close_archive)> rar(ar_open_rar_archive(stream.get()), ar_close_archive);
  if (!rar) return ArchiveError::HeaderBroken;
  size_t seen = 0;
  int64_t drained = 0;
  while (ar_parse_entry(rar.get())) {
    if (++seen > limits.members) return ArchiveError::TooManyMembers;
    const char* raw = ar_entry_get_name(rar.get());
    std::string name = raw ? raw : "";
    if (!common::IsValidUtf8(name)) name = common::DecodeToUtf8(name, common::CodePage::Cp866);
    size_t remaining = ar_entry_get_size(rar.get());
    ArchiveMember member;
    if (!Classify(name, static_cast<int64_t>(remaining), true, limits, member)) continue;
    const MemberData data{[&](char* buffer, size_t size) -> int64_t {
                            const size_t count = std::min(size, remaining);
                            if (count == 0) return 0;
                            if (!ar_entry_uncompress(rar.get(), buffer, count)) return -1;
                            remaining -= count;
                            return static_cast<int64_t>(count);
                          },
                          [] { return ArchiveError::CrcError; }};
    bool stop = false;
    if (const ArchiveError error = visit(member, data, stop); error != ArchiveError::None) return error;
    if (stop) return ArchiveError::None;
    bool over = false;
    if (!Drain(data, drained, limits, over)) return ArchiveError::CrcError;
    if (over) {
      cut = true;
      return ArchiveError::None;
    }
  }
  if (!ar_at_eof(rar.get())) return seen == 0 ? ArchiveError::HeaderBroken : ArchiveError::FileHeaderBroken;
  return ArchiveError::None;
}

// Walks the members of the archive, giving each with its data to `visit`. `cut`: the walk
// stopped early because a solid archive would have to be unpacked past the size bound to reach
// its later members.
ArchiveError Walk(const fs::path& path, const ArchiveLimits& limits, const Visit& visit, bool& cut) {
  cut = false;
  const Utf8Names names;
  if (IsOldRar(path)) return WalkOldRar(path, limits, visit, cut);
  Reader reader = OpenReader();
  if (archive_read_open_filename(reader.get(), path.c_str(), 1 << 16) != ARCHIVE_OK)
    return OpenError(reader.get(), path);
  const MemberData data{[&](char* buffer, size_t size) -> int64_t { return archive_read_data(reader.get(), buffer, size); },
                        [&] { return DataError(reader.get()); }};
  archive_entry* entry = nullptr;
  size_t seen = 0;
  int64_t drained = 0;
  while (true) {
    const int status = archive_read_next_header(reader.get(), &entry);
    if (status == ARCHIVE_EOF) return ArchiveError::None;
    if (status != ARCHIVE_OK && status != ARCHIVE_WARN) {
      if (archive_errno(reader.get()) == ENOMEM) return ArchiveError::NotEnoughMemory;
      return seen == 0 ? ArchiveError::HeaderBroken : ArchiveError::FileHeaderBroken;
    }
    if (++seen > limits.members) return ArchiveError::TooManyMembers;
    ArchiveMember member;
    if (!Describe(entry, limits, member)) continue;
    bool stop = false;
    if (const ArchiveError error = visit(member, data, stop); error != ArchiveError::None) return error;
    if (stop) return ArchiveError::None;
    // In a solid rar archive the next member is found only once this one was unpacked.
    if (archive_format(reader.get()) == ARCHIVE_FORMAT_RAR_V5) {
      bool over = false;
      if (!Drain(data, drained, limits, over)) return DataError(reader.get());
      if (over) {
        cut = true;
        return ArchiveError::None;
      }
    }
  }
}

}  // namespace

fs::path ContainedPath(const std::string& name) {
  std::string slashed = name;
  for (char& c : slashed)
    if (c == '\\') c = '/';
  if (slashed.empty() || slashed.front() == '/' || (slashed.size() > 1 && slashed[1] == ':')) return {};
  const fs::path path = fs::path(slashed).lexically_normal();
  if (path.empty() || path.is_absolute()) return {};
  for (const auto& part : path)
    if (part == ".." || part == "/") return {};
  if (path.filename().empty()) return {};
  return path;
}

ArchiveError ListArchive(const fs::path& path, std::vector<ArchiveMember>& members, const ArchiveLimits& limits,
                         bool* cut) {
  members.clear();
  bool stopped = false;
  const ArchiveError error = Walk(
      path, limits,
      [&](const ArchiveMember& member, const MemberData&, bool&) {
        members.push_back(member);
        return ArchiveError::None;
      },
      stopped);
  if (cut) *cut = stopped;
  return error;
}

ArchiveError UnpackMembers(const fs::path& path, const fs::path& folder,
                           const std::function<bool(const ArchiveMember&)>& wanted,
                           std::vector<UnpackedMember>& unpacked, std::vector<std::string>& oversized,
                           const ArchiveLimits& limits) {
  unpacked.clear();
  oversized.clear();
  int64_t total = 0;
  bool cut = false;
  return Walk(path, limits, [&](const ArchiveMember& member, const MemberData& data, bool& stop) {
    if (member.refusal != MemberRefusal::None || !wanted(member)) return ArchiveError::None;
    if (total >= limits.totalBytes) {
      oversized.push_back(member.name);
      stop = true;
      return ArchiveError::None;
    }
    const fs::path target = folder / ContainedPath(member.name);
    if (!common::MakeFolderIfMissing(target.parent_path())) return ArchiveError::FileCreateError;
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    if (!out) return ArchiveError::FileCreateError;
    char buffer[1 << 16];
    int64_t written = 0;
    int64_t got = 0;
    bool tooLarge = false;
    while ((got = data.read(buffer, sizeof buffer)) > 0) {
      written += got;
      if (written > limits.memberBytes || total + written > limits.totalBytes) {
        tooLarge = true;
        break;
      }
      out.write(buffer, got);
    }
    out.close();
    std::error_code ignored;
    if (got < 0) {
      fs::remove(target, ignored);
      return data.error();
    }
    if (tooLarge) {
      fs::remove(target, ignored);
      oversized.push_back(member.name);
      return ArchiveError::None;
    }
    if (!out) {
      fs::remove(target, ignored);
      return ArchiveError::FileCreateError;
    }
    total += written;
    unpacked.push_back({member.name, target});
    return ArchiveError::None;
  }, cut);
}

}  // namespace pw::shell
