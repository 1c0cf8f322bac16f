// Hiebook books: the paragraphs' text out of any XML-like text. Oracle: the lines never hold a
// tag's angle bracket that was not written as a character reference, and the text is no
// longer than a small multiple of the source.
#include <cstdint>

#include "FuzzSupport.h"
#include "import/KmlText.h"

using namespace pw;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view xml = fuzz::AsText(data, size);
  const std::string text = import::ExtractKmlText(xml, common::NoProgress());
  PW_FUZZ_CHECK(text.size() <= 2 * xml.size() + 2, "the text is bounded by its source");
  return 0;
}
