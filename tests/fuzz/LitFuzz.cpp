// lit books: container, LZX sections, the package file and the text components.
#include <cstdint>

#include "FuzzSupport.h"
#include "import/lit/LitBook.h"

using namespace pw;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  import::lit::LitBook book;
  import::lit::ReadLitBook(fuzz::AsText(data, size), book, common::NoProgress());
  return 0;
}
