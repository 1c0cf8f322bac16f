// The user's clean-up rules: a table of find-and-replace rows (literal, regular expression,
// or collapsing of repeated symbols) run in order over a book's text.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/CodePage.h"
#include "common/Limits.h"
#include "common/Messages.h"
#include "common/Progress.h"

namespace pw::corrector {

struct CleanUpRule {
  std::string RepWhat;
  std::string RepBy;
  bool Case = false;     // matching is case-sensitive
  bool RegExp = false;   // RepWhat is a regular expression
  bool Enabled = true;   // the row takes part

  bool operator==(const CleanUpRule&) const = default;
};

struct CleanUpTable {
  std::vector<CleanUpRule> rows;
  int mode = 3;  // the dialog's option pair: 3 (first button) or 4 (second button)
  std::string comment;

  bool operator==(const CleanUpTable&) const = default;
};

// Errors met while applying rules: a regular expression that does not compile or that costs
// too much on this text. The row is skipped and the rest still run. `counts` holds, for each
// row of the table, how many replacements it made (for a keyword row: how many repeated
// symbols it removed).
struct CleanUpReport {
  std::vector<std::string> errors;
  std::vector<size_t> counts;
  // Set when a row went past the bounds of rule application (RuleTooSlow, RuleResultTooLarge):
  // the rows stopped there and the text came back as it was given.
  std::optional<common::Msg> stop;
  size_t stoppedRow = 0;  // 1-based
};

// The bounds of rule application: the time one row may take in all, and the largest text the
// rows may make (0: the book size limit of the text they start from, common/Limits.h).
struct CleanUpBounds {
  std::chrono::milliseconds rowTime = common::kRuleTimeLimit;
  size_t maxResult = 0;
};

// A regular-expression row whose pattern does not compile, with the engine's message.
struct RuleProblem {
  size_t row = 0;  // 0-based
  std::string message;
};

// Checks the patterns of the enabled expression rows before anything runs.
std::vector<RuleProblem> ValidateRules(const std::vector<CleanUpRule>& rows);

// Runs the enabled rows in table order over `text` and returns the result. Literal rows and
// the keyword rows decode the character notations of their texts with `bookCodePage`;
// expression rows are used exactly as typed.
// A row that goes past `bounds` stops the run, and the text comes back unchanged (see
// CleanUpReport::stop).
std::string ApplyCleanUpRules(std::string_view text, const std::vector<CleanUpRule>& rows,
                              common::CodePage bookCodePage, common::Progress& progress,
                              CleanUpReport* report = nullptr, const CleanUpBounds& bounds = {});

// Joins the body into one line the way the interactive command does before its rules run:
// a line break followed by a blank becomes that blank, every other line break goes.
std::string FlattenLineBreaks(std::string_view text);

// The interactive clean-up of a whole book: takes the body's inner HTML, flattens it, runs the
// rows, and puts the result back in place of the old body content.
std::string CleanUpLoadedBook(std::string_view book, const std::vector<CleanUpRule>& rows,
                              common::CodePage bookCodePage, common::Progress& progress,
                              CleanUpReport* report = nullptr);

// What the editor hands over when the user cleans a selection.
struct SelectionFragment {
  bool hasSelection = false;  // the selection type is not "None"
  bool usable = false;        // the selection could be taken as an HTML fragment
  std::string html;
};

struct FragmentResult {
  std::optional<common::Msg> message;  // set when nothing was cleaned
  std::string html;                    // the cleaned fragment, to put back in place
};

// The interactive clean-up of a selected fragment: flattened and run through the rows like
// the whole book.
FragmentResult CleanUpFragment(const SelectionFragment& selection, const std::vector<CleanUpRule>& rows,
                               common::CodePage bookCodePage, common::Progress& progress,
                               CleanUpReport* report = nullptr);

}  // namespace pw::corrector
