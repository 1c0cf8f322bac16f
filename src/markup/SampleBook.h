// A small book that uses every marked element of the html0 vocabulary; the self-check and
// the benchmarks build on it.
#pragma once

#include <string>

#include "common/Settings.h"

namespace pw::markup {

// The body content (no skeleton) of one chapter numbered `chapter`, with a title, a subtitle,
// an epigraph with its author, paragraphs with dialogue, a verse, a cite, a note link and a
// page break.
std::string MakeSampleChapter(int chapter, const common::ElementColours& colours);

// A complete book of `chapters` chapters with book author, book title, contents place,
// note block and the last-paragraph mark.
std::string MakeSampleBook(int chapters, const common::Settings& settings);

}  // namespace pw::markup
