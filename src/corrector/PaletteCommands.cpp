#include "corrector/PaletteCommands.h"

#include <algorithm>
#include <iterator>

namespace pw::corrector {
namespace {

using G = PaletteGroup;
using T = PaletteTarget;

constexpr PaletteCommand kCommands[] = {
    // Marking: the element kinds and character formats of the Format menu.
    {"book author", G::Marking, T::Selection, "bookauthor", "book author", "автор книги"},
    {"book title", G::Marking, T::Selection, "booktitle", "book title", "название книги"},
    {"title", G::Marking, T::Selection, "title", "title", "заголовок"},
    {"subtitle", G::Marking, T::Selection, "subtitle", "subtitle", "подзаголовок"},
    {"paragraph", G::Marking, T::Selection, "paragraph", "paragraph", "абзац"},
    {"epigraph", G::Marking, T::Selection, "epigraph", "epigraph", "эпиграф"},
    {"verse", G::Marking, T::Selection, "verse", "verse", "стихи"},
    {"txtaut", G::Marking, T::Selection, "textauthor", "text author", "автор текста"},
    {"bold", G::Marking, T::Selection, "bold", "bold", "жирный"},
    {"italic", G::Marking, T::Selection, "italic", "italic", "курсив"},
    {"upper case", G::Marking, T::Selection, "upper", "UPPER CASE", "ПРОПИСНЫЕ"},
    {"lower case", G::Marking, T::Selection, "lower", "lower case", "строчные"},
    {"superscript", G::Marking, T::Selection, "sup", "superscript", "верхний индекс"},
    {"subscript", G::Marking, T::Selection, "sub", "subscript", "нижний индекс"},
    // Navigation and tools.
    {"go up", G::Navigation, T::Page, "scrollup", "go up", "вверх"},
    {"go down", G::Navigation, T::Page, "scrolldown", "go down", "вниз"},
    {"undo", G::Navigation, T::Page, "undo", "undo", "отменить"},
    {"redo", G::Navigation, T::Page, "redo", "redo", "вернуть"},
    {"Settings", G::Navigation, T::Page, "settings", "settings", "настройки"},
    {"book info", G::Navigation, T::Page, "bookinfo", "book info", "о книге"},
    {"help", G::Navigation, T::Page, "help", "help", "справка"},
    {"make fb2", G::Navigation, T::Page, "makefb2", "make FB2", "сделать FB2"},
    {"make pw file", G::Navigation, T::Page, "makepwfile", "make stored book", "сохранить книгу"},
    // Selection and structure.
    {"click select", G::Structure, T::Page, "clickselect", "simple mouse selection", "простое выделение"},
    {"delete", G::Structure, T::Structure, "delete", "delete", "удалить"},
    {"select up", G::Structure, T::Select, "selectup", "select up", "выделить выше"},
    {"select down", G::Structure, T::Select, "selectdown", "select down", "выделить ниже"},
    {"add next element", G::Structure, T::Select, "addnext", "add next element", "добавить следующий"},
    {"unselect last element", G::Structure, T::Select, "unselectlast", "unselect last element",
     "снять последний"},
    {"left words shift", G::Structure, T::Body, "leftwordsshift", "left words shift", "слова вверх"},
    {"author title", G::Structure, T::Structure, "authortitle", "author title", "автор и название"},
    {"capital author", G::Structure, T::Book, "capitalisebookauthor", "capital author", "АВТОР прописными"},
    {"capital book title", G::Structure, T::Book, "capitalisebooktitle", "capital book title",
     "НАЗВАНИЕ прописными"},
    {"capital titles", G::Structure, T::Book, "capitalisetitles", "capital titles", "ЗАГОЛОВКИ прописными"},
    {"capital subtitles", G::Structure, T::Book, "capitalisesubtitles", "capital subtitles",
     "ПОДЗАГОЛОВКИ прописными"},
    {"sub to titles", G::Structure, T::Book, "subtitlestotitles", "subtitles to titles",
     "подзаголовки в заголовки"},
    {"titles to sub", G::Structure, T::Book, "titlestosubtitles", "titles to subtitles",
     "заголовки в подзаголовки"},
    {"insert contents", G::Structure, T::Book, "insertcontents", "insert contents", "вставить оглавление"},
    {"move element down", G::Structure, T::Book, "movedown", "move element down", "элемент вниз"},
    {"move element up", G::Structure, T::Book, "moveup", "move element up", "элемент вверх"},
    {"break before", G::Structure, T::Structure, "breakbefore", "break before", "разрыв перед"},
    {"break after", G::Structure, T::Structure, "breakafter", "break after", "разрыв после"},
    {"break before and after", G::Structure, T::Structure, "breakaround", "break before and after",
     "разрыв перед и после"},
    {"insert page break", G::Structure, T::Body, "pagebreakhere", "insert page break", "вставить разрыв"},
    {"insert all page breaks", G::Structure, T::Body, "insertpagebreaks", "insert all page breaks",
     "все разрывы страниц"},
    {"remove all page breaks", G::Structure, T::Book, "removepagebreaks", "remove all page breaks",
     "убрать разрывы страниц"},
    {"Fb2 section editor", G::Structure, T::Page, "sectioneditor", "FB2 section editor", "редактор секций FB2"},
};

}  // namespace

std::span<const PaletteCommand> PaletteCommands() { return kCommands; }

std::optional<PaletteCommand> FindPaletteCommand(std::string_view key) {
  const auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                  [key](const PaletteCommand& command) { return command.key == key; });
  if (found == std::end(kCommands)) return std::nullopt;
  return *found;
}

std::optional<ElementSelection> StepElementSelection(std::string_view operation, ElementSelection selection,
                                                     size_t elementCount) {
  if (elementCount == 0) return std::nullopt;
  const size_t lastIndex = elementCount - 1;
  selection.first = std::min(selection.first, lastIndex);
  selection.last = std::clamp(selection.last, selection.first, lastIndex);
  if (operation == "selectup") {
    const size_t at = selection.first == selection.last && selection.first > 0 ? selection.first - 1 : selection.first;
    return ElementSelection{at, at};
  }
  if (operation == "selectdown") {
    const size_t at = selection.first == selection.last && selection.last < lastIndex ? selection.last + 1
                                                                                        : selection.last;
    return ElementSelection{at, at};
  }
  if (operation == "addnext") return ElementSelection{selection.first, std::min(selection.last + 1, lastIndex)};
  if (operation == "unselectlast")
    return ElementSelection{selection.first, selection.last > selection.first ? selection.last - 1 : selection.first};
  return std::nullopt;
}

}  // namespace pw::corrector
