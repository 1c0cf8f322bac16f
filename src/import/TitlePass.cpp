#include "import/TitlePass.h"

#include <vector>

#include "common/Text.h"
#include "import/HeadingClassifier.h"
#include "import/TaggedText.h"
#include "import/TextHeader.h"
#include "import/TextCharacters.h"
#include "import/TextWriters.h"
#include "import/VerseBlocks.h"
#include "markup/BookMarkup.h"

namespace pw::import {
namespace {

bool RunsOn(std::string_view line) {
  const std::string_view trimmed = TrimTrailingBlanks(line);
  if (trimmed.empty()) return false;
  const char last = trimmed.back();
  return last == ',' || last == ':' || last == ';' || last == '-';
}

// Whether the classifier's answer may stand where the line is.
bool HeadingFitsContext(std::string_view line, const HeadingVerdict& verdict, const std::vector<std::string_view>& block) {
  if (!block.empty() && RunsOn(block.back())) return false;
  if (verdict.sceneSeparator || verdict.test == 11) return true;
  const std::string_view trimmed = TrimTrailingBlanks(line);
  return !(trimmed.ends_with(',') || trimmed.ends_with('-'));
}

class TitleWriter {
 public:
  TitleWriter(const HeadingDictionary* dictionary, const common::ElementColours& colours, std::string& out)
      : dictionary_(dictionary), colours_(colours), out_(out) {}

  void TextLine(std::string_view line) {
    std::string stripped;
    const bool tagged = HasKeptTags(line);
    if (tagged) stripped = StripKeptTags(line);
    std::string_view probe = tagged ? std::string_view(stripped) : line;
    if (common::Trim(probe).empty()) {
      FlushBlock();
      // A run of empty lines is one break, and none is needed after a break already written.
      breakPending_ = wroteSomething_;
      return;
    }
    // "Ч А С Т Ь   П Е Р В А Я" is tried as the words it spells.
    const std::string joined = JoinSpacedLetters(probe);
    if (joined != probe) probe = joined;
    const HeadingVerdict verdict = ClassifyHeadingLine(probe, dictionary_);
    if (verdict.heading && HeadingFitsContext(probe, verdict, block_)) {
      FlushBlock();
      breakPending_ = false;
      WriteHeading(out_, common::Trim(probe), verdict.subtitle, colours_);
      Wrote(true);
      report.sceneSeparator = report.sceneSeparator || verdict.sceneSeparator;
      (verdict.subtitle ? report.subtitles : report.titles) += 1;
      afterTitle_ = !verdict.subtitle;
      return;
    }
    block_.push_back(line);
  }

  void MarkupLine(std::string_view line) {
    FlushBlock();
    WritePendingBreak();
    out_ += line;
    out_ += markup::kCrLf;
    Wrote(line.ends_with(kBreakLine));
  }

  void FlushBlock() {
    if (block_.empty()) return;
    if (afterTitle_ && IsEpigraphBlock(block_)) {
      WriteEpigraphBlock();
    } else {
      size_t next = 0;
      for (const auto& [first, last] : FindVerseRuns(block_)) {
        CopyLines(next, first);
        std::vector<std::string> lines;
        for (size_t i = first; i < last; ++i) lines.emplace_back(common::Trim(block_[i]));
        breakPending_ = false;
        WriteVerse(out_, lines, {}, colours_);
        Wrote(true);
        ++report.verses;
        next = last;
      }
      CopyLines(next, block_.size());
    }
    block_.clear();
    afterTitle_ = false;
  }

  TitlePassReport report;

 private:
  void WriteEpigraphBlock() {
    const std::vector<std::string_view> quote(block_.begin(), block_.end() - 1);
    std::vector<std::string> paragraphs;
    if (ReadsAsVerse(quote)) {
      for (std::string_view line : quote) paragraphs.emplace_back(common::Trim(line));
    } else {
      std::string joined;
      for (std::string_view line : quote) {
        if (!joined.empty()) joined += ' ';
        joined += common::Trim(line);
      }
      paragraphs.push_back(std::move(joined));
    }
    breakPending_ = false;
    WriteEpigraph(out_, paragraphs, common::Trim(block_.back()), colours_);
    Wrote(true);
    ++report.epigraphs;
  }

  void CopyLines(size_t first, size_t last) {
    if (first >= last) return;
    WritePendingBreak();
    for (size_t i = first; i < last; ++i) {
      out_ += block_[i];
      out_ += markup::kCrLf;
    }
    Wrote(false);
  }

  void WritePendingBreak() {
    if (!breakPending_) return;
    out_ += kBreakLine;
    out_ += markup::kCrLf;
    breakPending_ = false;
  }

  void Wrote(bool endsWithBreak) {
    wroteSomething_ = !endsWithBreak;
  }

  const HeadingDictionary* dictionary_;
  const common::ElementColours& colours_;
  std::string& out_;
  std::vector<std::string_view> block_;
  bool afterTitle_ = false;
  bool breakPending_ = false;
  // Something that does not end in a break was written last: an empty line after it needs one.
  bool wroteSomething_ = false;
};

}  // namespace

TitlePassReport FindTitles(std::string_view work, const HeadingDictionary* dictionary,
                           const common::ElementColours& colours, std::string& out, common::Progress& progress,
                           size_t lineCount) {
  TitleWriter writer(dictionary, colours, out);
  PassPercent percent(progress, lineCount);
  WorkTextReader in(work);
  size_t counter = 0;
  std::string_view line;
  while (in.NextLine(line) && !IsEndLine(line)) {
    percent.Line(++counter);
    if (IsMarkupLine(line)) {
      writer.MarkupLine(line);
    } else {
      writer.TextLine(line);
    }
  }
  writer.FlushBlock();
  out += kEndMark;
  out += markup::kCrLf;
  out += kEndSentinel;
  return writer.report;
}

}  // namespace pw::import
