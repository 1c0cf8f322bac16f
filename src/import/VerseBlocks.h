// Epigraphs and verse in a plain text. The dictionary pass gathers the text lines between two
// empty lines (or headings) into a block and asks these tests about it.
//
// Epigraph: the first block after a title (only empty lines between), of 2 to 8 lines, whose
// last line is an author line and whose line before it ends a sentence. An author line is
// short (under 41 characters, at most five words), may start with a dash or a bracket, does
// not end in ",", ":", ";", "-", "!" or "?", and every word of it starts with a capital except
// the small joining words of names ("de", "von", "из", ...); a final point is allowed only
// after a word of at most four letters (an abbreviation or an initial: "Hor.", "А. С.").
//
// Verse: a run of at least four consecutive lines, each at most 70 characters long and
// beginning with a capital (after any opening quote, bracket or dash), in which at least two
// lines and at least a third of the lines (the last not counted) do not end a sentence and yet
// the next line starts with a capital. Prose that wraps at the line end goes on in lower case; verse starts every line
// with a capital whatever its punctuation.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

namespace pw::import {

inline constexpr size_t kLongestVerseLine = 70;
inline constexpr size_t kShortestVerseRun = 4;

bool IsAuthorLine(std::string_view line);

// True when `lines` (a block right after a title) is an epigraph; its last line is the author.
bool IsEpigraphBlock(const std::vector<std::string_view>& lines);

// The verse runs of a block, as [first, last) line ranges in order.
std::vector<std::pair<size_t, size_t>> FindVerseRuns(const std::vector<std::string_view>& lines);

// True when every line of `lines` flows like verse (the run test on the whole block, any
// number of lines from two up): used to keep an epigraph's lines apart.
bool ReadsAsVerse(const std::vector<std::string_view>& lines);

}  // namespace pw::import
