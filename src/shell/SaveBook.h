// Saving the open book: the text that the save command writes over the working document, and
// the stored book (".html0") made from a book folder for the book-file writer.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "common/Settings.h"
#include "markup/StoredBook.h"

namespace pw::shell {

inline constexpr std::string_view kSavingStatus = "...saving file and settings... wait please";

// The caption shown while the book is saved: Pagewright "Save HTML", or
// Pagewright "Save HTML (MultiLanguage)" with the multi-language setting.
std::string_view SaveCaption(const common::Settings& settings);

// The saved form of the editor's `document`: no-break space characters as "&nbsp;", a line end
// before a blank folded into the blank, the document's own DOCTYPE, HTML, BODY, META and
// BASEFONT tags and the editor's coloured note links gone, EM and STRONG as I and B, then a new
// head and body tag from the editor settings (UTF-8, weight "normal", margin "245px"), the
// signature block dated `dateText` when the settings ask for it, and the closing tags. Saving
// a saved document again gives the same text.
std::string MakeSavedDocument(std::string_view document, const common::Settings& settings,
                              std::string_view dateText);

// Today's date as a signature shows it ("2026-11-22").
std::string TodayText();

// The library header a book's own headings give: its title and author, where `header` leaves
// them empty.
markup::StoredBookHeader CompleteHeader(const std::optional<markup::StoredBookHeader>& header,
                                        std::string_view document);

// The stored book of a saved document: its description put back inline from the description
// files of `bookFolder`, every picture the document shows that lies in that folder, and the cover.
markup::StoredBook MakeStoredBook(std::string savedDocument, const std::filesystem::path& bookFolder,
                                  const std::optional<markup::StoredBookHeader>& header, bool compress);

}  // namespace pw::shell
