// Where saved books live on: every save also writes the book as a stored book into the books
// folder of the workshop, one folder per source, so that the instance's scratch folder can go
// at exit and the next start still opens the saved book, marks and pictures included.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace pw::shell {

inline constexpr std::string_view kBooksFolderName = "Books";

// A short, stable name of `text` (eight hex digits) that tells apart sources with one name.
std::string ShortHash(std::string_view text);

// The stored book that keeps the saved work of `source` below `books`:
//   - a source inside `books` is itself the saved copy;
//   - a blank book (empty source) gets "NewBook-" + `stamp`;
//   - any other source gets <books>/<stem>-<hash of its full path>/<stem>.html0.
std::filesystem::path SavedBookFile(const std::filesystem::path& books, const std::string& source,
                                    std::string_view stamp);

// The current local time as a file name part ("20261123-061502").
std::string TimeStamp();

}  // namespace pw::shell
