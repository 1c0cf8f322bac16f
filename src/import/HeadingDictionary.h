// The word lists by which the heading classifier knows chapter lines: the heading dictionary
// (keywords that open a heading line, "Chapter", "ГЛАВА", ..., matched case-sensitively) and
// the second word list (words that make a short line a heading, "Prologue", "Эпилог", ...,
// matched in any case). Both are data files shipped with the program.
//
// File format (UTF-8): one entry a line; blank lines and lines starting with "#" are ignored;
// blanks around an entry are dropped.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace pw::import {

inline constexpr std::string_view kHeadingKeywordsFile = "HeadingKeywords.txt";
inline constexpr std::string_view kHeadingWordsFile = "HeadingWords.txt";

struct HeadingDictionary {
  std::vector<std::string> keywords;  // as written, case-sensitive
  std::vector<std::string> words;     // case-folded (lower case)

  bool empty() const { return keywords.empty() && words.empty(); }
};

// Parses the text of a word-list file into its entries.
std::vector<std::string> ParseWordList(std::string_view text);

// Builds a dictionary from the texts of the two files.
HeadingDictionary MakeHeadingDictionary(std::string_view keywordsText, std::string_view wordsText);

// The dictionary of the two files in `folder`, read on the first call for that folder and
// kept for the life of the process; safe to call from several threads. A missing file gives
// an empty list, which switches its heading test off.
const HeadingDictionary& LoadHeadingDictionary(const std::filesystem::path& folder);

}  // namespace pw::import
