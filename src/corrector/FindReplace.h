// Find and replace over a book: plain text or a regular expression (the clean-up rules'
// syntax, "$1" in replacements), whole words, case; in the book's text (as the page shows it)
// or in its HTML.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::corrector {

struct FindOptions {
  bool regex = false;      // `what` is a regular expression; otherwise plain text
  bool matchCase = false;
  bool wholeWord = false;  // the match neither starts nor ends inside a word
};

// The regular expression that finds `what` with `options` (plain text quoted).
std::string SearchPattern(std::string_view what, const FindOptions& options);
// The replacement as the regular-expression engine takes it: plain text keeps its "$".
std::string ReplacementTemplate(std::string_view replacement, const FindOptions& options);

struct TextMatch {
  size_t start = 0;  // UTF-16 code units from the start of the searched text, as the page counts
  size_t end = 0;
  std::string replacement;
};

struct FindResult {
  bool ok = false;
  std::string error;  // a bad pattern: the engine's message
  std::vector<TextMatch> matches;
  bool truncated = false;  // more matches than the limit
};

// Every match of `what` in `text`, at most `limit`, with positions counted as the page counts
// them and the replacement of each.
FindResult FindInText(std::string_view text, std::string_view what, std::string_view replacement,
                      const FindOptions& options, size_t limit);

struct HtmlReplaceResult {
  bool ok = false;
  std::string error;
  size_t count = 0;
};

// Replaces every match in `html` (its body only, when it is a whole document).
HtmlReplaceResult ReplaceAllInHtml(std::string& html, std::string_view what, std::string_view replacement,
                                   const FindOptions& options);

// The number of matches in `html` (its body only, when it is a whole document).
HtmlReplaceResult CountInHtml(std::string_view html, std::string_view what, const FindOptions& options);

}  // namespace pw::corrector
