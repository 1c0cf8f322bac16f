// The paragraph modes of the text-to-book converter: how the text lines left by the
// dictionary pass are joined into paragraphs. Markup lines (headings, line breaks, verse and
// epigraphs) pass through unchanged and always close the pending paragraph.
//
// "line ends": every text line is a paragraph.
// "tabulators": a line whose trimmed text starts with a lower-case letter continues the
//   paragraph (unless continuation by lower case is off); so does a line that does not begin
//   with a blank or the ellipsis; an indented line starts a new paragraph.
// "spaces": a line that does not begin with a blank continues the paragraph; an indented line
//   starts one, except that it is joined to the paragraph when the paragraph does not end a
//   sentence and the line starts with a lower-case letter (an indent inside a sentence, left
//   by justified or re-flowed text). A line starting with "[" and a "." line after a "."
//   paragraph always start a new one.
// "advanced": a line joins the paragraph unless the next line may begin a paragraph (a
//   capital, an opening quote, a dash, a digit, a bracket, a bullet, the ellipsis) and the
//   current line ends a sentence, or is clearly shorter than the text's lines (under 70% of
//   the length that nine text lines in ten do not exceed: the last line of a paragraph, a
//   verse or a list line), or ends in ":" (speech, a list or a quotation follows), or is not
//   indented while the next line is. So hard-wrapped prose joins up, while dialogue lines,
//   verse lines and list items keep their own paragraphs.
// "simple": a line joins the next unless it ends a sentence.
// Sentence ends are ".", "…", "!" and "?", alone or followed by closing quotes. The quote
// characters are the same in every code page once the text is Unicode, so one set of
// characters serves every book.
#pragma once

#include <string>
#include <string_view>

#include "common/Progress.h"

namespace pw::import {

struct ParagraphOptions {
  std::string_view mode;  // one of the five concrete modes
  bool continueLowerCase = true;  // "tabulators": a lower-case line continues the paragraph
};

// The width of the text's long lines: the length (in characters, blanks trimmed) that nine
// text lines in ten do not exceed.
size_t TypicalLineWidth(std::string_view work);

// Step "formatting paragraphs": appends to `out` the lines of the work text `work`, text lines
// assembled into paragraphs by `options.mode`. Reading stops at the end line.
void FormatParagraphs(std::string_view work, const ParagraphOptions& options, std::string& out,
                      common::Progress& progress, size_t lineCount);

}  // namespace pw::import
