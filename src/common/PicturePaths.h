// The one gate through which a picture that a book names is read from disk. A book from
// anywhere may name any path; only picture files inside the book's own folder tree are ever
// read, so that a shared book can never carry a private file of the user's along.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace pw::common {

// Largest picture file read for a book.
inline constexpr uintmax_t kLargestPictureFile = 64u << 20;

// True for the lower-case extension, without its dot, of a picture file the program reads
// ("jpg", "png", ...).
bool IsPictureExtension(std::string_view extension);

// True for a reference that can only name a file beside the page: no scheme ("http:",
// "file:"), no drive, not absolute, not "data:", not a fragment.
bool IsRelativeReference(std::string_view reference);

// The relative path `reference` names, made normal (percent escapes decoded, backslashes as
// separators, a query or fragment dropped); empty when it is not relative or climbs out of its
// folder with "..".
std::filesystem::path RelativePicturePath(std::string_view reference);

// The file that `reference` names inside `root`, when it is a regular file with a picture's
// extension, not empty and not larger than kLargestPictureFile, reached without leaving `root`
// and without a symbolic link on the way; nothing otherwise. Absolute paths and "file:" are
// never followed.
std::optional<std::filesystem::path> PictureInsideFolder(const std::filesystem::path& root,
                                                         std::string_view reference);

}  // namespace pw::common
