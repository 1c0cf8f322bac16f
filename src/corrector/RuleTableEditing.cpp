#include "corrector/RuleTableEditing.h"

#include <algorithm>

namespace pw::corrector {

bool CleanUpTableEditor::Valid(const std::optional<RowSelection>& selection) const {
  return selection && selection->first <= selection->last && selection->last < table_.rows.size();
}

std::optional<common::Msg> CleanUpTableEditor::AddRow(Where where, std::optional<RowSelection> selection) {
  auto& rows = table_.rows;
  if (where == Where::AtEnd) {
    rows.emplace_back();
  } else {
    if (!Valid(selection)) return common::Msg::CleanUpBadSelection;
    const size_t at = where == Where::Before ? selection->first : selection->last + 1;
    rows.insert(rows.begin() + static_cast<std::ptrdiff_t>(at), CleanUpRule{});
  }
  changed_ = true;
  return std::nullopt;
}

std::optional<common::Msg> CleanUpTableEditor::RemoveRows(std::optional<RowSelection> selection) {
  if (!Valid(selection)) return common::Msg::CleanUpBadSelection;
  auto& rows = table_.rows;
  rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(selection->first),
             rows.begin() + static_cast<std::ptrdiff_t>(selection->last + 1));
  changed_ = true;
  return std::nullopt;
}

std::optional<common::Msg> CleanUpTableEditor::CopyRows(std::optional<RowSelection> selection) {
  if (!Valid(selection)) return common::Msg::CleanUpBadSelection;
  clipboard_.assign(table_.rows.begin() + static_cast<std::ptrdiff_t>(selection->first),
                    table_.rows.begin() + static_cast<std::ptrdiff_t>(selection->last + 1));
  return std::nullopt;
}

std::optional<common::Msg> CleanUpTableEditor::CutRows(std::optional<RowSelection> selection) {
  if (auto message = CopyRows(selection)) return message;
  return RemoveRows(selection);
}

std::optional<common::Msg> CleanUpTableEditor::PasteRows(Where where, std::optional<RowSelection> selection) {
  if (clipboard_.empty()) return common::Msg::CleanUpBadClipboard;
  auto& rows = table_.rows;
  size_t at = rows.size();
  if (where != Where::AtEnd) {
    if (!Valid(selection)) return common::Msg::CleanUpBadRowSelection;
    at = where == Where::Before ? selection->first : selection->last + 1;
  }
  rows.insert(rows.begin() + static_cast<std::ptrdiff_t>(at), clipboard_.begin(), clipboard_.end());
  changed_ = true;
  return std::nullopt;
}

std::optional<common::Msg> CleanUpTableEditor::MoveRows(bool up, std::optional<RowSelection> selection) {
  if (!Valid(selection)) return common::Msg::CleanUpBadSelection;
  auto& rows = table_.rows;
  const auto first = rows.begin() + static_cast<std::ptrdiff_t>(selection->first);
  const auto last = rows.begin() + static_cast<std::ptrdiff_t>(selection->last + 1);
  if (up && first != rows.begin()) std::rotate(first - 1, first, last);
  else if (!up && last != rows.end()) std::rotate(first, last, last + 1);
  else return std::nullopt;
  changed_ = true;
  return std::nullopt;
}

void CleanUpTableEditor::CheckAll(bool enabled) {
  for (CleanUpRule& row : table_.rows) row.Enabled = enabled;
  changed_ = true;
}

void CleanUpTableEditor::Clear() {
  table_.rows.clear();
  changed_ = true;
}

}  // namespace pw::corrector
