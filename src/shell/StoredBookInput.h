// Opening a stored book (".html0") as the working document: its pictures are written beside
// the document, its description is cut out into the description files of the book folder,
// and an older book in a single-byte code page is brought to UTF-8.
#pragma once

#include <string>

#include "shell/Converters.h"

namespace pw::shell {

// Brings a document to UTF-8: text that is not valid UTF-8 is decoded from the code page its
// meta line names (windows-1251, the working default, when it names none or an unknown one),
// and the meta line then names "utf-8". Returns true when the bytes were decoded.
bool MakeDocumentUtf8(std::string& document);

// The converter of ".html0" files: reads the stored book (plain or compressed), writes its
// pictures into the book folder, cuts out its description and writes the working document.
// A damaged file is reported with its reason and converts to nothing.
bool ConvertStoredBook(ConvertJob& job);

}  // namespace pw::shell
