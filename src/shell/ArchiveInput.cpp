#include "shell/ArchiveInput.h"

#include <archive.h>
#include <archive_entry.h>

#include <fstream>
#include <memory>
#include <string>

#include "common/Files.h"
#include "common/Text.h"
#include "shell/Converters.h"

namespace pw::shell {

namespace fs = std::filesystem;

namespace {

constexpr size_t kMaxEntries = 10000;
constexpr int64_t kMaxEntryBytes = int64_t{1} << 30;  // one gigabyte
constexpr int64_t kMaxTotalBytes = int64_t{4} << 30;

// The entry's name as a path inside the folder, or empty when it would lead out of it.
fs::path SafeRelative(const char* name) {
  if (!name || !*name) return {};
  const fs::path path = fs::path(name).lexically_normal();
  if (path.is_absolute() || path.empty()) return {};
  for (const auto& part : path)
    if (part == ".." || part == "/") return {};
  return path;
}

bool IsBookExtension(const std::string& extension) {
  for (const std::string_view supported : kSupportedExtensions)
    if (extension == supported) return true;
  return false;
}

}  // namespace

bool UnpackArchive(const fs::path& archivePath, const fs::path& folder, fs::path& bookFile,
                   common::Session& session) {
  std::unique_ptr<archive, decltype(&archive_read_free)> reader(archive_read_new(), archive_read_free);
  archive_read_support_format_zip(reader.get());
  archive_read_support_format_rar(reader.get());
  archive_read_support_format_rar5(reader.get());
  archive_read_support_filter_all(reader.get());
  if (archive_read_open_filename(reader.get(), archivePath.c_str(), 1 << 16) != ARCHIVE_OK) {
    session.messages.Show(common::Msg::ErrorReadingFile, archivePath.filename().string());
    return false;
  }
  std::error_code error;
  fs::create_directories(folder, error);
  bookFile.clear();
  int64_t total = 0;
  size_t entries = 0;
  archive_entry* entry = nullptr;
  int status = ARCHIVE_OK;
  while ((status = archive_read_next_header(reader.get(), &entry)) == ARCHIVE_OK ||
         status == ARCHIVE_WARN) {
    if (++entries > kMaxEntries) break;
    const fs::path relative = SafeRelative(archive_entry_pathname(entry));
    if (relative.empty() || archive_entry_filetype(entry) != AE_IFREG) continue;
    const int64_t size = archive_entry_size(entry);
    if (archive_entry_size_is_set(entry) && (size > kMaxEntryBytes || total + size > kMaxTotalBytes)) continue;
    const fs::path target = folder / relative;
    fs::create_directories(target.parent_path(), error);
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    if (!out) continue;
    char buffer[1 << 16];
    int64_t written = 0;
    la_ssize_t got = 0;
    bool ok = true;
    while ((got = archive_read_data(reader.get(), buffer, sizeof buffer)) > 0) {
      written += got;
      if (written > kMaxEntryBytes || total + written > kMaxTotalBytes) {
        ok = false;
        break;
      }
      out.write(buffer, got);
    }
    out.close();
    total += written;
    if (got < 0 || !ok) {
      fs::remove(target, error);
      if (got < 0) break;  // the archive is damaged from here on
      continue;
    }
    const std::string extension = common::LowerExtension(target);
    if (bookFile.empty() && IsBookExtension(extension)) bookFile = target;
  }
  if (bookFile.empty()) {
    session.messages.Show(common::Msg::NotSupportedFormat, archivePath.filename().string());
    return false;
  }
  return true;
}

}  // namespace pw::shell
