// Nested FB2 sections for an html0 book: the book's titles get levels, and section marks are
// written before them so that the export nests its sections as the user arranged them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/Messages.h"
#include "common/Progress.h"

namespace pw::markup {

// The text of every title element of `document`, in order (line breaks as blanks).
std::vector<std::string> ListTitles(std::string_view document);

// The section marks the levels give, as "<s>" and "</s>", in the order they will be written
// (before each title, then the closings at the end).
std::string SectionTreeMarks(const std::vector<int>& levels);

// Whether the levels make a tree: each at least 1, the first 1, none deeper than one level
// below the title before it, and the marks balanced.
bool CheckSectionTree(const std::vector<int>& levels);

// Writes the section marks for `levels` (one per title still in the structure): old marks
// are removed, titles flagged in `removed` become former titles, marks go directly before each
// title, and the sections still open are closed before the end of the book text. Shows "section
// tree check: it seems OK", or "Error. Section tree check failed." and then changes nothing and
// returns -1. Otherwise returns the number of sections and shows "N sections have been inserted
// into the book.".
int ApplySectionLevels(std::string& document, const std::vector<int>& levels, const std::vector<bool>& removed,
                       common::Progress& progress, const common::Messages& messages);

}  // namespace pw::markup
