// The pictures of an HTML page travel with its input copy: every picture the page names by a
// relative path that leads to a picture file inside the page's own folder tree is copied to the
// same relative place beside the copy. What may be read is decided by the one picture gate,
// common/PicturePaths.h.
#pragma once

#include <filesystem>

namespace pw::shell {

// Copies the pictures `page` names into `copyFolder` (where the page's copy is). Returns how
// many files were copied.
size_t CopyPagePictures(const std::filesystem::path& page, const std::filesystem::path& copyFolder);

}  // namespace pw::shell
