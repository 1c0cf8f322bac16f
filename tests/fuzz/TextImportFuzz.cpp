// Text import: code page and language decided, then the whole text-to-book chain with the
// shipped heading dictionary, in each paragraph mode in turn.
#include <cstdint>

#include "FuzzSupport.h"
#include "import/Charset.h"
#include "import/HeadingDictionary.h"
#include "import/HtmlToBook.h"
#include "import/TextToBook.h"

#ifndef PW_FUZZ_DATA_DIR
#define PW_FUZZ_DATA_DIR "data"
#endif

using namespace pw;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const import::HeadingDictionary& dictionary = import::LoadHeadingDictionary(PW_FUZZ_DATA_DIR);
  static constexpr const char* kModes[] = {"auto", "simple", "spaces", "line ends", "advanced", "tabulators"};
  fuzz::QuietJob job;
  const std::string_view bytes = fuzz::AsText(data, size, 256 * 1024);
  const std::string text = import::DetectCharset(bytes, job.session);
  import::TextImportOptions options;
  options.sourceType = "txt";
  options.requestedMode = kModes[size % 6];
  options.sourceBytes = bytes.size();
  options.dictionary = &dictionary;
  options.extractText = import::ExtractTextFromHtml;
  const std::string book = import::ConvertTextToBook(text, import::TextTarget::Html0, job.session, options);
  PW_FUZZ_CHECK(!book.empty(), "a text becomes a book");
  return 0;
}
