#include "common/Files.h"

#include <atomic>
#include <cerrno>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace pw::common {

bool ReadWholeFile(const fs::path& path, std::string& out) {
  out.clear();
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  // One read of the size the file has; whatever it grew by meanwhile is read after it.
  std::error_code ec;
  const auto size = fs::file_size(path, ec);
  if (!ec && size > 0) {
    out.resize(static_cast<size_t>(size));
    in.read(out.data(), static_cast<std::streamsize>(size));
    out.resize(static_cast<size_t>(in.gcount()));
    if (in.bad()) {
      out.clear();
      return false;
    }
    if (!in.eof()) in.clear();
  }
  char buffer[65536];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0) out.append(buffer, static_cast<size_t>(in.gcount()));
  if (in.bad()) {
    out.clear();
    return false;
  }
  return true;
}

bool WriteFileAtomic(const fs::path& path, std::string_view data) {
  static std::atomic<unsigned> counter{0};
  fs::path temp = path;
  temp += ".pwtmp" + std::to_string(::getpid()) + "_" + std::to_string(counter++);
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    if (!out) return false;
    out.write(data.data(), static_cast<std::streamsize>(data.size()));
    out.flush();
    if (!out) {
      out.close();
      std::error_code ignored;
      fs::remove(temp, ignored);
      return false;
    }
  }
  std::error_code ec;
  fs::rename(temp, path, ec);
  if (ec) {
    std::error_code ignored;
    fs::remove(temp, ignored);
    return false;
  }
  return true;
}

std::optional<Msg> UnreadableFileReason(const fs::path& path) {
  std::error_code ec;
  const fs::file_status status = fs::status(path, ec);
  if (fs::is_directory(status)) return Msg::InputIsFolder;
  if (fs::exists(status) && !fs::is_regular_file(status)) return Msg::InputNotRegularFile;
  if (!fs::is_regular_file(status)) return Msg::FileNotFound;
  if (::access(path.c_str(), R_OK) != 0 && errno == EACCES) return Msg::InputPermissionDenied;
  return std::nullopt;
}

bool FileExists(const fs::path& path) {
  std::error_code ec;
  return fs::is_regular_file(path, ec);
}

bool MakeFolderIfMissing(const fs::path& path) {
  std::error_code ec;
  if (fs::is_directory(path, ec)) return true;
  fs::create_directories(path, ec);
  return fs::is_directory(path, ec);
}

PathParts SplitPath(const fs::path& path) {
  PathParts parts;
  parts.folder = path.parent_path().string();
  const std::string file = path.filename().string();
  const auto dot = file.rfind('.');
  if (dot == std::string::npos || dot == 0) {
    parts.name = file;
  } else {
    parts.name = file.substr(0, dot);
    parts.extension = file.substr(dot + 1);
  }
  return parts;
}

std::string LowerExtension(const fs::path& path) {
  std::string ext = SplitPath(path).extension;
  for (char& c : ext) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return ext;
}

}  // namespace pw::common
