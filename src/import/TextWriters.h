// Writers and readers of the text-to-book passes. The passes work on a work text of CRLF
// lines in which a line holding "<" is markup written by an earlier pass and every other line
// is text still to be handled; the end of the work text is the line holding the character
// code 1 that the chain appends before the sentinel line, so the sentinel is never read.
// The writers append one or more CRLF-terminated lines of html0 (built with markup's builders).
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "common/Progress.h"
#include "common/Settings.h"

namespace pw::import {

inline constexpr std::string_view kEndSentinel = "AAA ERT TYU";
inline constexpr char kEndMark = '\x01';
// What a line break of the source becomes where the passes write an empty line.
inline constexpr std::string_view kBreakLine = "<BR>";

// One paragraph: the text trimmed; nothing for an empty text. A text that begins with "-" is
// a dialogue line and is written "-&nbsp;" followed by the rest, trimmed.
void WriteParagraph(std::string& out, std::string_view text);

// A heading as a title (or a subtitle), preceded by a line break element. Markup inside the
// text is dropped.
void WriteHeading(std::string& out, std::string_view text, bool subtitle, const common::ElementColours& colours);

// An epigraph or a verse: the paragraphs given (each written as by WriteParagraph), and the
// text author when `author` is not empty, framed by line break elements.
void WriteEpigraph(std::string& out, const std::vector<std::string>& paragraphs, std::string_view author,
                   const common::ElementColours& colours);
void WriteVerse(std::string& out, const std::vector<std::string>& paragraphs, std::string_view author,
                const common::ElementColours& colours);

// Walks the lines of a work text.
class WorkTextReader {
 public:
  explicit WorkTextReader(std::string_view text) : text_(text) {}
  // The next physical line without its CRLF; false past the last line.
  bool NextLine(std::string_view& line);
  size_t position() const { return pos_; }

 private:
  std::string_view text_;
  size_t pos_ = 0;
};

// True for the end line (it holds code 1) and for a markup line (it holds "<").
inline bool IsEndLine(std::string_view line) { return line.find(kEndMark) != std::string_view::npos; }
inline bool IsMarkupLine(std::string_view line) { return line.find('<') != std::string_view::npos; }

// Reads the next text line into `line`: false at the end line or past the end; counts every
// line read in `lineCounter`; markup lines on the way are copied to `out` unchanged.
bool ReadTextLine(WorkTextReader& in, std::string& out, size_t& lineCounter, std::string_view& line);

// The same for the paragraph-joining passes: before a markup line is copied, the pending
// paragraph `pending` is written through WriteParagraph and emptied, and `paragraphWritten`
// is set.
bool ReadTextLine(WorkTextReader& in, std::string& out, size_t& lineCounter, std::string_view& line,
                  std::string& pending, bool& paragraphWritten);

// The percentage of a line-by-line pass: line n of `lineCount` lines is n × 100 ÷ lineCount
// percent; a percentage is reported only when it changes.
class PassPercent {
 public:
  PassPercent(common::Progress& progress, size_t lineCount) : progress_(progress), lines_(lineCount ? lineCount : 1) {}
  void Line(size_t counter) {
    const int percent = static_cast<int>(std::min<size_t>(100, counter * 100 / lines_));
    if (percent != last_) progress_.Percent(last_ = percent);
  }

 private:
  common::Progress& progress_;
  size_t lines_;
  int last_ = -1;
};

}  // namespace pw::import
