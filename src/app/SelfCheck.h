// The self-check of the html0 machinery, callable without the command line.
#pragma once

#include <ostream>
#include <string>

namespace pw::app {

// Checks `bookPath` (or the bundled sample book when empty), printing one line per check to
// `out`. Returns the process exit code: 0 when every check passed, 1 otherwise.
int RunSelfCheck(const std::string& bookPath, std::ostream& out);

}  // namespace pw::app
