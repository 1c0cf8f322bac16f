// Rocket eBook containers. Oracle: what is unpacked stays within the bound given.
#include <cstdint>

#include "FuzzSupport.h"
#include "import/rb/RbContainer.h"

using namespace pw;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kLimit = size_t{8} << 20;
  import::rb::RbBook book;
  if (import::rb::ReadRbBook(fuzz::AsText(data, size), book, kLimit) != import::rb::RbError::None) return 0;
  size_t unpacked = 0;
  for (const auto& [name, page] : book.pages) unpacked += page.size();
  for (const auto& [name, picture] : book.pictures) unpacked += picture.size();
  PW_FUZZ_CHECK(unpacked <= kLimit, "the unpacked parts stay within the bound");
  PW_FUZZ_CHECK(!book.pages.empty(), "a book that was read has a page");
  import::rb::JoinRbPages(book);
  return 0;
}
