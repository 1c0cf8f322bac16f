// The text-structure analysis that picks a paragraph mode for a plain-text book: line-length
// statistics, the share of indented lines, the rate of words broken at line ends, and the
// rules that turn them into a mode. Also the two text repairs the rules call for.
#pragma once

#include <string>
#include <string_view>

namespace pw::import {

// Paragraph modes, as the import settings name them.
inline constexpr std::string_view kModeAuto = "auto";
inline constexpr std::string_view kModeSimple = "simple";
inline constexpr std::string_view kModeSpaces = "spaces";
inline constexpr std::string_view kModeLineEnds = "line ends";
inline constexpr std::string_view kModeAdvanced = "advanced";
inline constexpr std::string_view kModeTabulators = "tabulators";

// True for the five concrete modes ("auto" is not one).
bool IsConcreteMode(std::string_view mode);

// The indent string of a source type: one blank for "lit", two blanks for every other.
std::string_view IndentString(std::string_view sourceType);

struct TextStatistics {
  size_t lines = 0;         // N
  double sumLength = 0;     // S1, in characters
  double sumSquares = 0;    // S2
  size_t leadingLines = 0;  // lines that begin with at least one blank
  size_t indentLines = 0;   // lines that begin with the indent string

  double LeadShare() const;
  double Mean() const;
  // √(S2 − S1²/N) ÷ N ÷ mean. Divided by N, not by √N: the rule thresholds are set for this
  // form, which makes the spread of any long book small.
  double Spread() const;
  double IndentShare() const;
};

// One pass over the lines of `text` (separated by CRLF; a last line without a separator
// counts when it is not empty).
TextStatistics MeasureTextStructure(std::string_view text, std::string_view indent);

// Occurrences of "-" right before a carriage return, times 100, divided by the length of the
// text in characters (0 for an empty text).
double HyphenationRate(std::string_view text);

struct ModeDecision {
  std::string mode;              // the resolved mode
  char rule = 0;                 // the rule ('b' to 'g') that set it; 0 when none applied
  bool rejoinWords = false;      // rule a: rejoin words broken at line ends first
  bool stripLeadingBlanks = false;  // rule e: write every line again without leading blanks
};

// The rules a to g, in order, with strict comparisons. Rule a does not set a mode; it asks
// for the rejoining and the rules go on. `sourceType` matters for "lit".
ModeDecision DecideParagraphMode(const TextStatistics& stats, double hyphenationRate, std::string_view sourceType);

// Rule a's repair: a dash after a blank at a line end stays (it is a dash, not a broken word),
// and so does a doubled one ("--", the typewriter's dash) and one before a line that does not
// start with a lower-case letter; every other "-" right before a line break is removed with
// the line break, which joins the two halves of the word. One pass.
std::string RejoinBrokenWords(std::string_view text);

// Rule e's repair: every line without its leading blanks.
std::string RemoveLeadingBlanks(std::string_view text);

}  // namespace pw::import
