// eReader books ("PNRd"/"PPrs", the unencrypted forms): record 0 names the compression
// (PalmDoc or zlib; the encrypted kinds are refused), the first record that is not text, the
// picture records and the metadata record (title, author, ...). The text is in the reader's
// markup language, backslash codes in Windows-1252 text; it comes out as HTML when it marks
// chapter titles or has pictures, else as a plain text, whose headings the text converter finds.
#pragma once

#include <string>
#include <string_view>

#include "import/palm/PalmBook.h"
#include "import/palm/PalmDatabase.h"

namespace pw::import::palm {

PalmFailure ReadEReader(const PalmDatabase& database, PalmBook& book);

// The markup of an eReader text to UTF-8: HTML when `html` is set (chapter titles and the
// numbered headings as h1 to h4, centred and right-aligned lines, bold, italic, underline,
// sub- and superscript, pictures, links and anchors), else plain text (codes removed, the
// characters they stand for kept). Footnote and sidebar markers keep their text.
std::string EReaderMarkupToUtf8(std::string_view markup, bool html);

// Whether the markup marks chapter titles or headings.
bool EReaderMarkupHasStructure(std::string_view markup);

}  // namespace pw::import::palm
