// Psion TCR books. Oracle: the text is at most what the table can make of the bytes (each byte
// of the text stands for at most 255 bytes).
#include <cstdint>

#include "FuzzSupport.h"
#include "import/TcrText.h"

using namespace pw;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text;
  if (!import::UnpackTcr(fuzz::AsText(data, size), text)) return 0;
  PW_FUZZ_CHECK(text.size() <= 255 * size, "the unpacked text is bounded by its table");
  return 0;
}
