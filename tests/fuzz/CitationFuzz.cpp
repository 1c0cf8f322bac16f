// Citation files. Oracle: a collection that was read is written and reads back; a second round
// gives the same collection. Its book is made as the workshop opens it.
#include <cstdint>

#include "FuzzSupport.h"
#include "shell/CitationFile.h"

using namespace pw;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  shell::CitationCollection collection;
  std::string error;
  if (!shell::ReadCitationFile(fuzz::AsText(data, size), collection, error)) return 0;
  shell::CitationCollection back;
  PW_FUZZ_CHECK(shell::ReadCitationFile(shell::WriteCitationFile(collection), back, error), "a written collection reads back: " + error);
  PW_FUZZ_CHECK(back.citations.size() == collection.citations.size(), "every citation is written");
  shell::CitationCollection again;
  PW_FUZZ_CHECK(shell::ReadCitationFile(shell::WriteCitationFile(back), again, error), "a collection read back is written again");
  PW_FUZZ_CHECK(again == back, "a collection is stable after one writing");
  static const common::Settings settings;
  const std::string book = shell::MakeCitationBook(collection, "fuzz", settings);
  PW_FUZZ_CHECK(!book.empty(), "a collection becomes a book");
  return 0;
}
