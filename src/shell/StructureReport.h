// What a converted book holds, as a user checks it before trusting a conversion of a whole
// library: the headings with their levels, the notes, pictures, epigraphs and verse blocks,
// and the description. Read from the written book: an FB2 file (section depth is the level,
// the notes body gives the notes) or an html0 book (titles are level 1, subtitles level 2).
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace pw::shell {

struct StructureHeading {
  int level = 1;
  std::string text;
};

struct BookStructure {
  std::vector<StructureHeading> headings;
  size_t notes = 0;
  size_t noteLinks = 0;
  size_t pictures = 0;
  size_t epigraphs = 0;
  size_t verses = 0;
  // The description: authors as written ("First Middle Last"), title, language, genres, cover.
  std::vector<std::string> authors;
  std::string title;
  std::string lang;
  std::vector<std::string> genres;
  bool cover = false;
};

// `xml` is the FB2 file's text in UTF-8.
BookStructure ReadFb2Structure(std::string_view xml);
BookStructure ReadHtml0Structure(std::string_view html0);

// The structure of a written book file by its form: "fb2" (any of its encodings) or a stored or
// plain html0/html book. False when the file cannot be read.
bool ReadBookFileStructure(const std::filesystem::path& path, BookStructure& book);

// The report's lines, each ending with a line feed.
std::string FormatStructure(const BookStructure& book);

}  // namespace pw::shell
