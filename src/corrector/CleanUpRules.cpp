#include "corrector/CleanUpRules.h"

#include "common/Regex.h"
#include "common/Text.h"

namespace pw::corrector {
namespace {

constexpr std::string_view kRepeatKeyword = "RemoveRepeatedSymbols(";

// The symbol of a "RemoveRepeatedSymbols(s)" row, or false when the row is not one.
bool RepeatedSymbol(std::string_view repWhat, std::string_view& symbol) {
  const size_t at = repWhat.find(kRepeatKeyword);
  if (at == std::string_view::npos) return false;
  const size_t open = at + kRepeatKeyword.size();
  // The last bracket closes, so that a decoded ")" can itself be the symbol.
  const size_t close = repWhat.rfind(')');
  if (close == std::string_view::npos || close < open) return false;
  symbol = repWhat.substr(open, close - open);
  return true;
}

}  // namespace

std::string ApplyCleanUpRules(std::string_view text, const std::vector<CleanUpRule>& rows,
                              common::CodePage bookCodePage, common::Progress& progress,
                              CleanUpReport* report, const CleanUpBounds& bounds) {
  std::string result(text);
  if (report) report->counts.assign(rows.size(), 0);
  const size_t sizeLimit = bounds.maxResult ? bounds.maxResult : common::BookSizeLimit(text.size());
  // A row past the bounds stops everything: the text comes back as it was given.
  auto stop = [&](size_t row, common::Msg why) {
    if (report) {
      report->stop = why;
      report->stoppedRow = row + 1;
      report->counts.assign(rows.size(), 0);
    }
    progress.Percent(100);
    return std::string(text);
  };
  for (size_t i = 0; i < rows.size(); ++i) {
    const CleanUpRule& row = rows[i];
    progress.Status("...user-defined book clean up... " + std::to_string(i + 1));
    progress.Percent(static_cast<int>(100 * i / rows.size()));
    if (!row.Enabled || row.RepWhat.empty()) continue;

    if (row.RegExp) {
      progress.Status("user clean-up: RegExp " + row.RepWhat + " -> " + row.RepBy);
      std::string error;
      size_t count = 0;
      common::RegexBounds limits;
      limits.deadline = std::chrono::steady_clock::now() + bounds.rowTime;
      limits.maxResult = sizeLimit;
      if (!common::RegExpReplaceAll(result, row.RepWhat, row.RepBy, row.Case, &error, &count, &limits)) {
        if (limits.timeRanOut) return stop(i, common::Msg::RuleTooSlow);
        if (limits.tooLarge) return stop(i, common::Msg::RuleResultTooLarge);
        if (report) report->errors.push_back("row " + std::to_string(i + 1) + ": " + row.RepWhat + ": " + error);
      }
      if (report) report->counts[i] = count;
      continue;
    }

    const std::string what = common::DecodeCharNotation(row.RepWhat, bookCodePage);
    std::string_view symbol;
    if (RepeatedSymbol(what, symbol)) {
      if (!symbol.empty()) {
        const size_t before = result.size();
        common::CollapseRepeats(result, symbol, row.Case);
        if (report) report->counts[i] = (before - result.size()) / symbol.size();
      }
      continue;
    }

    const std::string by = common::DecodeCharNotation(row.RepBy, bookCodePage);
    progress.Status("user clean-up: replacing " + row.RepWhat + " -> " + row.RepBy);
    // A growing row stops as soon as its result would pass the size limit.
    const size_t count = row.Case ? common::ReplaceAllInPlace(result, what, by, sizeLimit)
                                  : common::ReplaceAllCaselessInPlace(result, what, by, sizeLimit);
    if (count == common::kResultTooLarge) return stop(i, common::Msg::RuleResultTooLarge);
    if (report) report->counts[i] = count;
  }
  progress.Percent(100);
  return result;
}

std::vector<RuleProblem> ValidateRules(const std::vector<CleanUpRule>& rows) {
  std::vector<RuleProblem> problems;
  for (size_t i = 0; i < rows.size(); ++i) {
    if (!rows[i].Enabled || !rows[i].RegExp || rows[i].RepWhat.empty()) continue;
    std::string error;
    if (!common::RegExpIsValid(rows[i].RepWhat, &error)) problems.push_back({i, error});
  }
  return problems;
}

std::string FlattenLineBreaks(std::string_view text) {
  // Replacing "break + blank" by the blank and then deleting the other breaks comes to
  // deleting every CR and LF.
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    if (c != '\r' && c != '\n') out += c;
  }
  return out;
}

std::string CleanUpLoadedBook(std::string_view book, const std::vector<CleanUpRule>& rows,
                              common::CodePage bookCodePage, common::Progress& progress,
                              CleanUpReport* report) {
  progress.Status("...getting book html...wait, please...");
  // The body's inner HTML: after the body tag, up to the closing body tag.
  size_t start = common::FindAsciiCaseless(book, "<body");
  start = start == std::string_view::npos ? 0 : book.find('>', start);
  start = start == std::string_view::npos ? 0 : start + 1;
  size_t end = common::FindAsciiCaseless(book, "</body>", start);
  if (end == std::string_view::npos) end = book.size();

  const std::string cleaned =
      ApplyCleanUpRules(FlattenLineBreaks(book.substr(start, end - start)), rows, bookCodePage, progress, report);
  progress.Status("...inserting new fragment...wait, please...");
  std::string out;
  out.reserve(book.size());
  out.append(book.substr(0, start));
  out += cleaned;
  out.append(book.substr(end));
  return out;
}

FragmentResult CleanUpFragment(const SelectionFragment& selection, const std::vector<CleanUpRule>& rows,
                               common::CodePage bookCodePage, common::Progress& progress,
                               CleanUpReport* report) {
  if (!selection.hasSelection) return {common::Msg::CleanUpNothingSelected, {}};
  if (!selection.usable) return {common::Msg::CleanUpBadFragment, {}};
  FragmentResult result;
  result.html = ApplyCleanUpRules(FlattenLineBreaks(selection.html), rows, bookCodePage, progress, report);
  progress.Status("...inserting new fragment...wait, please...");
  return result;
}

}  // namespace pw::corrector
