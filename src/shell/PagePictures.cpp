#include "shell/PagePictures.h"

#include "common/Files.h"
#include "common/PicturePaths.h"
#include "import/HtmlPictures.h"

namespace pw::shell {

namespace fs = std::filesystem;

size_t CopyPagePictures(const fs::path& page, const fs::path& copyFolder) {
  std::string html;
  if (!common::ReadWholeFile(page, html)) return 0;
  const fs::path root = page.parent_path().empty() ? fs::path(".") : page.parent_path();
  size_t copied = 0;
  for (const std::string& reference : import::LocalPictureReferences(html)) {
    const auto file = common::PictureInsideFolder(root, reference);
    if (!file) continue;
    const fs::path target = copyFolder / common::RelativePicturePath(reference);
    std::error_code error;
    if (fs::exists(target, error)) continue;
    fs::create_directories(target.parent_path(), error);
    if (fs::copy_file(*file, target, error)) ++copied;
  }
  return copied;
}

}  // namespace pw::shell
