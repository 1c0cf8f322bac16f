#include "common/PicturePaths.h"

#include "common/Files.h"
#include "common/Text.h"

namespace pw::common {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kPictureExtensions[] = {"jpg", "jpeg", "png", "gif", "bmp", "tif", "tiff", "webp", "svg"};

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string DecodePercents(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 && HexValue(text[i + 2]) >= 0) {
      out.push_back(static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2])));
      i += 2;
    } else {
      out.push_back(text[i] == '\\' ? '/' : text[i]);
    }
  }
  return out;
}

bool HasPictureExtension(const fs::path& file) { return IsPictureExtension(LowerExtension(file)); }

}  // namespace

bool IsPictureExtension(std::string_view extension) {
  for (const std::string_view known : kPictureExtensions)
    if (extension == known) return true;
  return false;
}

bool IsRelativeReference(std::string_view reference) {
  reference = Trim(reference);
  if (reference.empty() || reference.front() == '/' || reference.front() == '\\' || reference.front() == '#')
    return false;
  // A scheme or a drive: letters, digits, "+", "-" or "." before the first ":".
  const size_t colon = reference.find(':');
  const size_t slash = reference.find_first_of("/\\");
  return colon == std::string_view::npos || (slash != std::string_view::npos && slash < colon);
}

fs::path RelativePicturePath(std::string_view reference) {
  reference = Trim(reference);
  if (const size_t cut = reference.find_first_of("?#"); cut != std::string_view::npos) reference = reference.substr(0, cut);
  if (!IsRelativeReference(reference)) return {};
  // Escapes are decoded before the second look, so "%2Fetc" or "%2E%2E" cannot slip through.
  const std::string decoded = DecodePercents(reference);
  if (decoded.find('\0') != std::string::npos || !IsRelativeReference(decoded)) return {};
  const fs::path relative = fs::path(decoded).lexically_normal();
  if (relative.empty() || relative.is_absolute() || relative.has_root_name()) return {};
  for (const auto& part : relative)
    if (part == "..") return {};
  return relative;
}

std::optional<fs::path> PictureInsideFolder(const fs::path& root, std::string_view reference) {
  if (root.empty()) return std::nullopt;
  const fs::path relative = RelativePicturePath(reference);
  if (relative.empty() || !HasPictureExtension(relative)) return std::nullopt;
  std::error_code error;
  fs::path at = root;
  for (const auto& part : relative) {
    at /= part;
    if (fs::is_symlink(fs::symlink_status(at, error))) return std::nullopt;
  }
  if (!fs::is_regular_file(fs::symlink_status(at, error))) return std::nullopt;
  const uintmax_t size = fs::file_size(at, error);
  if (error || size == 0 || size > kLargestPictureFile) return std::nullopt;
  return at;
}

}  // namespace pw::common
