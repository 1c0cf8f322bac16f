#include "corrector/PaletteCommands.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "markup/BookOperations.h"
#include "markup/ElementOperations.h"

namespace pw::corrector {
namespace {

// Every key text of the three groups reaches an operation its target knows.
TEST(PaletteCommands, EveryKeyDispatchesToAKnownOperation) {
  std::set<std::string_view> selection(markup::SelectionOperationNames().begin(), markup::SelectionOperationNames().end());
  std::set<std::string_view> book(markup::BookOperationNames().begin(), markup::BookOperationNames().end());
  const std::set<std::string_view> structure = {"breakbefore", "breakafter", "breakaround", "delete", "authortitle"};
  const std::set<std::string_view> body = {"insertpagebreaks", "pagebreakhere", "leftwordsshift"};
  const std::set<std::string_view> select = {"selectup", "selectdown", "addnext", "unselectlast"};
  std::set<std::string_view> keys;
  for (const PaletteCommand& command : PaletteCommands()) {
    EXPECT_TRUE(keys.insert(command.key).second) << "twice: " << command.key;
    EXPECT_FALSE(command.english.empty());
    EXPECT_FALSE(command.russian.empty());
    const std::set<std::string_view>* known = nullptr;
    switch (command.target) {
      case PaletteTarget::Selection: known = &selection; break;
      case PaletteTarget::Book: known = &book; break;
      case PaletteTarget::Structure: known = &structure; break;
      case PaletteTarget::Body: known = &body; break;
      case PaletteTarget::Select: known = &select; break;
      case PaletteTarget::Page: break;
    }
    if (known) {
      EXPECT_TRUE(known->count(command.operation)) << command.key << " -> " << command.operation;
    }
  }
  // The key texts the palette's buttons carry, each group complete.
  for (std::string_view key :
       {"book author", "book title", "title", "subtitle", "paragraph", "epigraph", "verse", "txtaut", "bold", "italic",
        "upper case", "lower case", "superscript", "subscript", "undo", "redo", "Settings", "book info", "help",
        "make fb2", "make pw file", "click select", "delete", "select up", "select down", "add next element",
        "unselect last element", "left words shift", "author title", "capital author", "capital book title",
        "capital titles", "capital subtitles", "sub to titles", "titles to sub", "insert contents",
        "move element down", "move element up", "break before", "break after", "break before and after",
        "insert page break", "insert all page breaks", "remove all page breaks", "Fb2 section editor"})
    EXPECT_TRUE(keys.count(key)) << key;
}

TEST(PaletteCommands, LookupByKeyTextIsExact) {
  const auto capital = FindPaletteCommand("capital author");
  ASSERT_TRUE(capital);
  EXPECT_EQ(capital->operation, "capitalisebookauthor");
  EXPECT_EQ(capital->group, PaletteGroup::Structure);
  EXPECT_EQ(FindPaletteCommand("txtaut")->operation, "textauthor");
  EXPECT_EQ(FindPaletteCommand("titles to sub")->operation, "titlestosubtitles");
  EXPECT_EQ(FindPaletteCommand("move element up")->operation, "moveup");
  EXPECT_FALSE(FindPaletteCommand("Title"));  // case counts
  EXPECT_FALSE(FindPaletteCommand("title "));
  EXPECT_FALSE(FindPaletteCommand(""));
}

TEST(PaletteCommands, SelectionSteps) {
  const auto step = [](std::string_view op, size_t first, size_t last, size_t count) {
    return StepElementSelection(op, {first, last}, count);
  };
  EXPECT_EQ(step("selectup", 3, 3, 10), (ElementSelection{2, 2}));
  EXPECT_EQ(step("selectdown", 3, 3, 10), (ElementSelection{4, 4}));
  // At the ends of the book the selection stays.
  EXPECT_EQ(step("selectup", 0, 0, 10), (ElementSelection{0, 0}));
  EXPECT_EQ(step("selectdown", 9, 9, 10), (ElementSelection{9, 9}));
  // A longer selection collapses to its first or last element first.
  EXPECT_EQ(step("selectup", 3, 5, 10), (ElementSelection{3, 3}));
  EXPECT_EQ(step("selectdown", 3, 5, 10), (ElementSelection{5, 5}));
  EXPECT_EQ(step("addnext", 3, 5, 10), (ElementSelection{3, 6}));
  EXPECT_EQ(step("addnext", 3, 9, 10), (ElementSelection{3, 9}));
  EXPECT_EQ(step("unselectlast", 3, 5, 10), (ElementSelection{3, 4}));
  EXPECT_EQ(step("unselectlast", 3, 3, 10), (ElementSelection{3, 3}));  // the first stays
  // Indexes beyond the book are brought inside it; an empty book has nothing to select.
  EXPECT_EQ(step("addnext", 12, 15, 10), (ElementSelection{9, 9}));
  EXPECT_FALSE(step("selectup", 0, 0, 0));
  EXPECT_FALSE(step("select sideways", 1, 1, 10));
}

}  // namespace
}  // namespace pw::corrector
