// The corrector palette's commands: one table of every button, looked up by the button's key
// text, that says which group the button sits in, what runs when it is pressed (an element
// operation on the selection, a whole-book operation, a structure command of the corrector, or
// something the page does itself) and its labels in English and Russian. The page builds the
// palette from this table and sends the pressed key text back; nothing is matched by label.
#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace pw::corrector {

enum class PaletteGroup { Marking, Navigation, Structure };

enum class PaletteTarget {
  Selection,  // an element operation on the selection (markup::ApplySelectionOperation)
  Book,       // a whole-book operation (markup::ApplyBookOperation)
  Body,       // a corrector command on the book's body (ApplyBodyCommand)
  Structure,  // a corrector command on the selected elements (ApplyStructureCommand)
  Select,     // a change of the element selection (StepElementSelection)
  Page,       // done by the page itself (undo, scrolling, opening a form, the mouse mode)
};

struct PaletteCommand {
  std::string_view key;        // the key text the dispatcher compares
  PaletteGroup group;
  PaletteTarget target;
  std::string_view operation;  // the name the target knows the command by
  std::string_view english;    // button label
  std::string_view russian;
};

// Every button of the palette in display order.
std::span<const PaletteCommand> PaletteCommands();

// The command whose key text is `key` (exact, case-sensitive); empty for an unknown key.
std::optional<PaletteCommand> FindPaletteCommand(std::string_view key);

// Elements selected in advanced mouse selection: top-level elements `first` to `last` of the
// book's body (0-based, inclusive).
struct ElementSelection {
  size_t first = 0;
  size_t last = 0;
  bool operator==(const ElementSelection&) const = default;
};

// "select up" and "select down" move a one-element selection to the element before or after
// (a longer selection collapses to its first or last element first); "add next element"
// takes in the element after the last one; "unselect last element" lets the last one go but
// never the first. At the ends of the book the selection stays. Empty for another name or for
// a book without elements.
std::optional<ElementSelection> StepElementSelection(std::string_view operation, ElementSelection selection,
                                                     size_t elementCount);

}  // namespace pw::corrector
