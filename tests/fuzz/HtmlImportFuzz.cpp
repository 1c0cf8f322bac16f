// HTML import: the bytes decided and decoded as an HTML file's are, then the whole chain to an
// html0 book. No source folder: pictures are named, never copied.
#include <cstdint>

#include "FuzzSupport.h"
#include "import/Charset.h"
#include "import/HtmlToBook.h"

using namespace pw;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::QuietJob job;
  const std::string text = import::DetectCharset(fuzz::AsText(data, size), job.session);
  import::HtmlImportOptions options;
  options.linkHeadings = size % 2 == 0;
  const std::string book = import::ConvertHtmlToHtml0(text, job.session, options);
  PW_FUZZ_CHECK(!book.empty(), "an HTML text becomes a book");
  return 0;
}
