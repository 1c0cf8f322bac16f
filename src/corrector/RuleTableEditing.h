// Editing of a clean-up table as operations on the model, so that the dialog only calls them:
// rows are added, removed, copied, cut and pasted by index, with the messages a user gets
// for a bad selection or an empty clipboard.
#pragma once

#include <optional>
#include <vector>

#include "common/Messages.h"
#include "corrector/CleanUpRules.h"

namespace pw::corrector {

// A selection of rows: the first and last index, or nothing when the caret is outside the table.
struct RowSelection {
  size_t first = 0;
  size_t last = 0;
};

enum class Where { AtEnd, Before, After };

class CleanUpTableEditor {
 public:
  explicit CleanUpTableEditor(CleanUpTable& table) : table_(table) {}

  // Adds an empty enabled row at the end, or before / after the selected row.
  // Returns the message to show when the selection does not allow it.
  std::optional<common::Msg> AddRow(Where where, std::optional<RowSelection> selection);
  std::optional<common::Msg> RemoveRows(std::optional<RowSelection> selection);
  std::optional<common::Msg> CopyRows(std::optional<RowSelection> selection);
  std::optional<common::Msg> CutRows(std::optional<RowSelection> selection);
  // Pastes the clipboard before or after the selected row.
  std::optional<common::Msg> PasteRows(Where where, std::optional<RowSelection> selection);

  // Moves the selected rows one place up or down; at the table's edge they stay.
  std::optional<common::Msg> MoveRows(bool up, std::optional<RowSelection> selection);

  void CheckAll(bool enabled);
  void Clear();

  // The rows cut or copied before, when the clipboard outlives the editor (the page keeps it).
  void SetClipboard(std::vector<CleanUpRule> rows) { clipboard_ = std::move(rows); }

  bool changed() const { return changed_; }
  const std::vector<CleanUpRule>& clipboard() const { return clipboard_; }

 private:
  bool Valid(const std::optional<RowSelection>& selection) const;

  CleanUpTable& table_;
  std::vector<CleanUpRule> clipboard_;
  bool changed_ = false;
};

}  // namespace pw::corrector
