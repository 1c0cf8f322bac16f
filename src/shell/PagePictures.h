// The pictures of an HTML page travel with its input copy: every picture the page names by a
// relative path that leads to a picture file inside the page's own folder tree is copied to the
// same relative place beside the copy. Nothing outside that tree is read: absolute paths,
// "file:" and other schemes, ".." that climbs out, and symbolic links on the way are refused.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace pw::shell {

// The file that `reference` names inside `root`, when it is a regular picture file reached
// without leaving `root` and without a symbolic link; nothing otherwise. Percent escapes are
// decoded, backslashes are separators, a query or fragment is dropped.
std::optional<std::filesystem::path> PictureInsideFolder(const std::filesystem::path& root,
                                                         std::string_view reference);

// Copies the pictures `page` names into `copyFolder` (where the page's copy is). Returns how
// many files were copied.
size_t CopyPagePictures(const std::filesystem::path& page, const std::filesystem::path& copyFolder);

}  // namespace pw::shell
