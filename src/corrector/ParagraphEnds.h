// Valid paragraph ends and the bad-sentence-end check: a paragraph whose text does not end in
// one of the user's good ends is listed as a suspect (most often a sentence cut in two).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/CodePage.h"

namespace pw::corrector {

inline constexpr std::string_view kDefaultParagraphEnds = ".?!;:chr(133)";

// The three forms of the list: as typed, the built-in default, and decoded for the checks.
struct ParagraphEnds {
  std::string typed{kDefaultParagraphEnds};
  std::string decoded;

  // Stores `text` as typed and decodes it (what "done" in the dialog does).
  void Set(std::string_view text, common::CodePage bookCodePage);
  // The decoded characters separated by blanks, for the preview.
  static std::string Preview(std::string_view text, common::CodePage bookCodePage);
};

struct SuspectParagraph {
  size_t index = 0;   // 0-based index among the paragraphs of the book
  std::string shown;  // the text, shortened when long
};

// The text shown for a suspect: whole under 30 characters, else the first 15, " /.../ " and
// the last 15 (characters, not bytes).
std::string ShortenForList(std::string_view text);

// The text of a paragraph's inner HTML: tags removed, "&nbsp;" and the indent marker as
// blanks, other entities kept, trimmed.
std::string ParagraphPlainText(std::string_view html, std::string_view indentMarker = "&nbsp;");

// Walks the paragraphs ("<DIV align=justify>" elements) of `book` in order and lists those
// whose text, with tags removed, entities of blanks turned into blanks and trimmed, is not
// empty and does not end in one of `decodedEnds`. `indentMarker` is the book's paragraph
// indent; when it is not "&nbsp;" it is turned into a blank first.
std::vector<SuspectParagraph> FindBadSentenceEnds(std::string_view book, std::string_view decodedEnds,
                                                  std::string_view indentMarker = "&nbsp;");

}  // namespace pw::corrector
