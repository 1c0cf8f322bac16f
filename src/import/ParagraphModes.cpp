#include "import/ParagraphModes.h"

#include <array>

#include "import/TextAnalysis.h"
#include "import/TextCharacters.h"
#include "import/TextWriters.h"

namespace pw::import {
namespace {

bool IsIndented(std::string_view line) { return !line.empty() && line[0] == ' '; }

// Joins the pending paragraph and its lines, keeping for the modes that look back the last
// line added.
class ParagraphAssembler {
 public:
  ParagraphAssembler(const ParagraphOptions& options, std::string& out, std::string& pending, size_t width)
      : options_(options), out_(out), pending_(pending), width_(width) {}

  void Add(std::string_view line) {
    if (options_.mode == kModeLineEnds) {
      WriteParagraph(out_, line);
    } else if (options_.mode == kModeTabulators) {
      AddTabulated(line);
    } else if (options_.mode == kModeSpaces) {
      AddSpaced(line);
    } else if (options_.mode == kModeSimple) {
      if (!pending_.empty() && EndsSentence(last_)) Flush();
      Append(line);
    } else {
      if (!pending_.empty() && BreaksBetween(last_, line)) Flush();
      Append(line);
    }
    last_ = line;
  }

  void Flush() {
    WriteParagraph(out_, pending_);
    pending_.clear();
  }

 private:
  // P = P without trailing blanks + " " + the line without leading blanks.
  void Append(std::string_view line) {
    pending_.resize(TrimTrailingBlanks(pending_).size());
    if (!pending_.empty()) pending_ += ' ';
    pending_ += TrimLeadingBlanks(line);
  }

  void StartNew(std::string_view line) {
    Flush();
    pending_ = line;
  }

  void AddTabulated(std::string_view line) {
    const std::string_view trimmed = TrimLeadingBlanks(line);
    if (options_.continueLowerCase && IsLowerLetter(FirstCodePointOr(trimmed))) return Append(line);
    const char32_t first = FirstCodePointOr(line);
    if (first != U' ' && first != kEllipsis) return Append(line);
    StartNew(line);
  }

  void AddSpaced(std::string_view line) {
    if (!IsIndented(line) || TrimBlanks(pending_).empty()) return Append(line);
    const std::string_view trimmed = TrimBlanks(line);
    const std::string_view paragraph = TrimBlanks(pending_);
    if (trimmed.starts_with('[') || (paragraph.ends_with('.') && trimmed.starts_with('.'))) return StartNew(line);
    // An indent inside a sentence: the paragraph runs on into a lower-case word.
    if (!EndsSentence(paragraph) && IsLowerLetter(FirstCodePointOr(trimmed)))
      return Append(line);
    StartNew(line);
  }

  bool IsShort(std::string_view line) const {
    return width_ >= 20 && CharLength(TrimBlanks(line)) * 10 < width_ * 7;
  }

  bool BreaksBetween(std::string_view current, std::string_view next) const {
    if (!BeginsParagraph(next)) return false;
    if (EndsSentence(current) || IsShort(current)) return true;
    // A colon at a line end introduces speech, a list or a quotation.
    if (TrimTrailingBlanks(current).ends_with(':')) return true;
    return IsIndented(next) && !IsIndented(current);
  }

  const ParagraphOptions& options_;
  std::string& out_;
  std::string& pending_;
  size_t width_;
  std::string_view last_;
};

}  // namespace

size_t TypicalLineWidth(std::string_view work) {
  // Lengths above the cap count as the cap: only the shape below it matters.
  constexpr size_t kCap = 1000;
  std::array<size_t, kCap + 1> counts{};
  size_t total = 0;
  WorkTextReader in(work);
  std::string_view line;
  while (in.NextLine(line)) {
    if (IsEndLine(line)) break;
    if (IsMarkupLine(line)) continue;
    const size_t length = std::min(kCap, CharLength(TrimBlanks(line)));
    if (length == 0) continue;
    ++counts[length];
    ++total;
  }
  size_t seen = 0;
  for (size_t length = 0; length <= kCap; ++length) {
    seen += counts[length];
    if (seen * 10 >= total * 9 && total > 0) return length;
  }
  return 0;
}

void FormatParagraphs(std::string_view work, const ParagraphOptions& options, std::string& out,
                      common::Progress& progress, size_t lineCount) {
  const size_t width = options.mode == kModeAdvanced ? TypicalLineWidth(work) : 0;
  std::string pending;
  ParagraphAssembler assembler(options, out, pending, width);
  PassPercent percent(progress, lineCount);
  WorkTextReader in(work);
  size_t counter = 0;
  bool written = false;
  std::string_view line;
  while (ReadTextLine(in, out, counter, line, pending, written)) {
    percent.Line(counter);
    assembler.Add(line);
  }
  assembler.Flush();
}

}  // namespace pw::import
