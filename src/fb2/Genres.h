// The genre list of the description: the FictionBook genre codes with their display names,
// read from "FictionBookGenres.xsd" (shipped data), and the user's own genres from the file
// "fb2UserGentre.dat" in the workshop folder.
//
// The user genre file is UTF-8 text (Windows-1251 is accepted from older files), one genre a
// line: the code, then optionally a tab or blanks and the name shown beside it. Blank lines and
// lines starting with "#" are skipped.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/Messages.h"

namespace pw::fb2 {

inline constexpr std::string_view kGenreListFile = "FictionBookGenres.xsd";
inline constexpr std::string_view kUserGenreFile = "fb2UserGentre.dat";

struct Genre {
  std::string code;
  std::string english;  // display names; empty when the list gives none
  std::string russian;
  bool user = false;    // from the user genre file

  // The name in `language`, else the other one, else the code.
  std::string_view Name(common::Language language) const;
  bool operator==(const Genre&) const = default;
};

// The genres of a genre list: each "<xs:enumeration" element's value attribute is a code, and
// the documentation texts inside it (xml:lang "en" and "ru") are its names.
std::vector<Genre> ReadGenreList(std::string_view xsd);

// The genres of a user genre file.
std::vector<Genre> ReadUserGenres(std::string_view text);

// The shipped list followed by the user's genres whose codes it does not have. A missing
// file gives no genres of its kind.
std::vector<Genre> LoadGenres(const std::filesystem::path& genreList, const std::filesystem::path& userGenres);

}  // namespace pw::fb2
