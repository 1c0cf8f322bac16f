// Opening plain-text books as the working document: ".txt" files, and the text inside Psion
// ".tcr" and hiebook ".kml" books, through the text-to-book converter with the session's
// paragraph mode, the shipped heading dictionary and the workshop's clean-up rule files.
#pragma once

#include "shell/Converters.h"

namespace pw::shell {

bool ConvertTextBook(ConvertJob& job);
bool ConvertTcrBook(ConvertJob& job);
bool ConvertKmlBook(ConvertJob& job);

}  // namespace pw::shell
