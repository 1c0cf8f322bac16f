// The dictionary pass of the text-to-book converter ("looking for titles"): reads the work
// text line by line, writes headings, epigraphs and verse as markup lines and empty lines as
// line breaks, and copies the remaining text lines for the paragraph pass.
//
// A line the classifier accepts is still not a heading when the text runs on into it or out
// of it: when the text line before it ends in ",", ":", ";" or "-", or when the line itself
// ends in "," or "-" (unless it is written all in capitals, as title blocks are, or is a
// separator). A final "." does not count against a heading: "1." and "CHAPTER I." end in one.
// A run of empty lines is written as one line break.
#pragma once

#include <string>
#include <string_view>

#include "common/Progress.h"
#include "common/Settings.h"
#include "import/HeadingDictionary.h"

namespace pw::import {

struct TitlePassReport {
  bool sceneSeparator = false;  // a scene separator or joined-file marker was found
  size_t titles = 0;
  size_t subtitles = 0;
  size_t epigraphs = 0;
  size_t verses = 0;
};

// Appends the pass's output for the work text `work` to `out`, ending with the end line and
// the sentinel line so that the next pass reads it the same way.
TitlePassReport FindTitles(std::string_view work, const HeadingDictionary* dictionary,
                           const common::ElementColours& colours, std::string& out, common::Progress& progress,
                           size_t lineCount);

}  // namespace pw::import
