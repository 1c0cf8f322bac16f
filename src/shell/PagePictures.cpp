#include "shell/PagePictures.h"

#include "common/Files.h"
#include "common/Text.h"
#include "import/HtmlPictures.h"

namespace pw::shell {

namespace fs = std::filesystem;

namespace {

constexpr uintmax_t kLargestPicture = 64u << 20;
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

// The relative path a reference names, made normal; empty when it leaves its folder.
fs::path RelativePart(std::string_view reference) {
  reference = common::Trim(reference);
  if (const size_t cut = reference.find_first_of("?#"); cut != std::string_view::npos) reference = reference.substr(0, cut);
  if (!import::IsRelativeReference(reference)) return {};
  const std::string decoded = DecodePercents(reference);
  if (decoded.find('\0') != std::string::npos || !import::IsRelativeReference(decoded)) return {};
  const fs::path relative = fs::path(decoded).lexically_normal();
  if (relative.empty() || relative.is_absolute() || relative.has_root_name()) return {};
  for (const auto& part : relative)
    if (part == "..") return {};
  return relative;
}

bool HasPictureExtension(const fs::path& file) {
  const std::string extension = common::LowerExtension(file);
  for (const std::string_view known : kPictureExtensions)
    if (extension == known) return true;
  return false;
}

}  // namespace

std::optional<fs::path> PictureInsideFolder(const fs::path& root, std::string_view reference) {
  const fs::path relative = RelativePart(reference);
  if (relative.empty() || !HasPictureExtension(relative)) return std::nullopt;
  std::error_code error;
  fs::path at = root;
  for (const auto& part : relative) {
    at /= part;
    if (fs::is_symlink(fs::symlink_status(at, error))) return std::nullopt;
  }
  if (!fs::is_regular_file(fs::symlink_status(at, error))) return std::nullopt;
  const uintmax_t size = fs::file_size(at, error);
  if (error || size == 0 || size > kLargestPicture) return std::nullopt;
  return at;
}

size_t CopyPagePictures(const fs::path& page, const fs::path& copyFolder) {
  std::string html;
  if (!common::ReadWholeFile(page, html)) return 0;
  const fs::path root = page.parent_path().empty() ? fs::path(".") : page.parent_path();
  size_t copied = 0;
  for (const std::string& reference : import::LocalPictureReferences(html)) {
    const auto file = PictureInsideFolder(root, reference);
    if (!file) continue;
    const fs::path target = copyFolder / RelativePart(reference);
    std::error_code error;
    if (fs::exists(target, error)) continue;
    fs::create_directories(target.parent_path(), error);
    if (fs::copy_file(*file, target, error)) ++copied;
  }
  return copied;
}

}  // namespace pw::shell
