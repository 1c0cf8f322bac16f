// The heading classifier of the text-to-book converter: decides whether one line of a plain
// text is a heading (a chapter line, a scene separator, a joined-file marker) by thirteen
// tests tried in order, the first that decides winning.
#pragma once

#include <string>
#include <string_view>

#include "common/Settings.h"
#include "import/HeadingDictionary.h"

namespace pw::import {

inline constexpr std::string_view kJoinedFileMarker = "PW JOINED FILE N=";
inline constexpr std::string_view kJustCheck = "JustCheck";

// "point" for ".", "digit" for 1 to 9 ("0" is deliberately not a digit here, so that "0."
// never starts a numbered heading), "space" for a blank, "" for everything else.
std::string_view CharClass(char32_t c);

struct HeadingVerdict {
  bool heading = false;
  bool sceneSeparator = false;  // the line separates scenes (sets the session's flag)
  bool subtitle = false;        // written as a subtitle rather than a title
  int test = 0;                 // the test, 1 to 13, that decided; 0 when none did
};

// Tests 1 to 13 on the trimmed `line`. `dictionary` may be null (tests 9 and 10 are then off;
// an empty list switches its own test off).
//
// Test 9 (the heading dictionary) matches a keyword as a whole word at the start of the line.
// A line under 40 characters is a heading unless it reads as a sentence (three or more words
// after the keyword and a final ".", "!" or "?", as in "Part of it was true."); a keyword
// followed by a chapter number (digits or a Roman numeral, "CHAPTER IV. The Rabbit Sends in a
// Little Bill") makes a heading up to 80 characters. Test 10 matches its word as a whole word
// too. A line accepted by test 11 that holds no letter and no digit ("*    *    *") is a
// scene separator, written as a subtitle; scene separators are always subtitles. Test 8 takes
// "xxx" in either case, but not a line that is a Roman numeral in capitals ("XXX", "XXXIV.").
HeadingVerdict ClassifyHeadingLine(std::string_view line, const HeadingDictionary* dictionary);

// The classifier in its two modes: with `checkMode` "JustCheck" it only answers; with an
// empty check mode it also appends the heading's markup to `out` (through WriteHeading) and
// sets `sceneSeparatorFlag` for a scene separator.
bool ClassifyHeadingLine(std::string_view line, std::string_view checkMode, const HeadingDictionary* dictionary,
                         const common::ElementColours& colours, std::string& out, bool& sceneSeparatorFlag);

}  // namespace pw::import
