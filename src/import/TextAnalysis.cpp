#include "import/TextAnalysis.h"

#include <algorithm>
#include <cmath>

#include "common/Text.h"
#include "import/TextCharacters.h"

namespace pw::import {

bool IsConcreteMode(std::string_view mode) {
  return mode == kModeSimple || mode == kModeSpaces || mode == kModeLineEnds || mode == kModeAdvanced ||
         mode == kModeTabulators;
}

std::string_view IndentString(std::string_view sourceType) { return sourceType == "lit" ? " " : "  "; }

double TextStatistics::LeadShare() const { return lines ? static_cast<double>(leadingLines) / lines : 0.0; }

double TextStatistics::Mean() const { return lines ? sumLength / lines : 0.0; }

double TextStatistics::Spread() const {
  const double mean = Mean();
  if (lines == 0 || mean <= 0) return 0.0;
  const double n = static_cast<double>(lines);
  // Rounding can make the difference a hair below zero for lines of equal length.
  const double variation = std::max(0.0, sumSquares - sumLength * sumLength / n);
  return std::sqrt(variation) / n / mean;
}

double TextStatistics::IndentShare() const { return lines ? static_cast<double>(indentLines) / lines : 0.0; }

TextStatistics MeasureTextStructure(std::string_view text, std::string_view indent) {
  TextStatistics stats;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find("\r\n", start);
    const bool last = end == std::string_view::npos;
    if (last) end = text.size();
    const std::string_view line = text.substr(start, end - start);
    const double length = static_cast<double>(CharLength(line));
    stats.sumLength += length;
    stats.sumSquares += length * length;
    ++stats.lines;
    if (!line.empty() && line[0] == ' ') ++stats.leadingLines;
    if (common::StartsWith(line, indent)) ++stats.indentLines;
    start = last ? text.size() : end + 2;
  }
  return stats;
}

double HyphenationRate(std::string_view text) {
  const size_t length = CharLength(text);
  if (length == 0) return 0.0;
  return static_cast<double>(common::CountOccurrences(text, "-\r")) * 100.0 / static_cast<double>(length);
}

ModeDecision DecideParagraphMode(const TextStatistics& stats, double hyphenationRate, std::string_view sourceType) {
  ModeDecision decision;
  const double lead = stats.LeadShare();
  const double mean = stats.Mean();
  const double spread = stats.Spread();
  const auto set = [&](std::string_view mode, char rule) {
    decision.mode = std::string(mode);
    decision.rule = rule;
    return decision;
  };

  if (spread < 0.07 && hyphenationRate >= 0.002) decision.rejoinWords = true;  // a
  if (lead > 0.1 && spread < 0.07) return set(kModeTabulators, 'b');
  if (lead > 0.9 && lead < 1.1) return set(kModeLineEnds, 'c');
  if (mean > 160) return set(kModeLineEnds, 'd');
  if (sourceType != "lit" && lead > 0.85) {
    decision.stripLeadingBlanks = true;
    return set(kModeAdvanced, 'e');
  }
  if (mean < 200 && stats.lines > 0) {
    const double indentShare = stats.IndentShare();
    set(indentShare > 0.1 && indentShare < 0.5 ? kModeSpaces : kModeAdvanced, 'f');
  }
  // A lit book decides by its indentation alone once rule f has been reached.
  if (sourceType == "lit") return set(stats.indentLines == 0 ? kModeAdvanced : kModeSpaces, 'g');
  if (decision.mode.empty()) decision.mode = std::string(kModeAdvanced);  // an empty text
  return decision;
}

std::string RejoinBrokenWords(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  size_t copied = 0;
  for (size_t at = text.find("-\r\n"); at != std::string_view::npos; at = text.find("-\r\n", at + 1)) {
    // " -" at a line end is a dash standing alone, and so is "--", the typewriter's dash:
    // keep them and their line break. The second half of a broken word goes on in lower case;
    // a dash before a capital, a digit or a blank is a dash glued to its word ("злится—").
    if (at > 0 && (text[at - 1] == ' ' || text[at - 1] == '-')) continue;
    if (!IsLowerLetter(FirstCodePointOr(text.substr(at + 3)))) continue;
    out.append(text, copied, at - copied);
    copied = at + 3;
  }
  out.append(text, copied, text.size() - copied);
  return out;
}

std::string RemoveLeadingBlanks(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find("\r\n", start);
    const bool last = end == std::string_view::npos;
    if (last) end = text.size();
    out += TrimLeadingBlanks(text.substr(start, end - start));
    if (!last) out += "\r\n";
    start = last ? text.size() : end + 2;
  }
  return out;
}

}  // namespace pw::import
