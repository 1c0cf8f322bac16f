// Opening plain-text books as the working document: ".txt" files, and the text inside Psion
// ".tcr" and hiebook ".kml" books, through the text-to-book converter with the session's
// paragraph mode, the shipped heading dictionary and the workshop's clean-up rule files.
#pragma once

#include "import/TextToBook.h"
#include "shell/Converters.h"

namespace pw::shell {

// The text converter's options for a job: the shipped heading dictionary, the workshop's rule
// folder and the HTML extraction, with `sourceType` as the source's kind.
import::TextImportOptions TextOptions(const ConvertJob& job, std::string_view sourceType);

bool ConvertTextBook(ConvertJob& job);
bool ConvertTcrBook(ConvertJob& job);
bool ConvertKmlBook(ConvertJob& job);

}  // namespace pw::shell
