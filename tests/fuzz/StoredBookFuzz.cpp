// The stored-book container, read and written. Oracle: a book that was read is written plainly
// and compressed, and each form reads back to the same document and pictures; a second round
// changes nothing more.
#include <cstdint>

#include "FuzzSupport.h"
#include "markup/StoredBook.h"

using namespace pw;

namespace {

bool SamePictures(const markup::StoredBook& a, const markup::StoredBook& b) {
  if (a.pictures.size() != b.pictures.size()) return false;
  for (size_t i = 0; i < a.pictures.size(); ++i)
    if (a.pictures[i].name != b.pictures[i].name || a.pictures[i].data != b.pictures[i].data) return false;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  markup::StoredBook book;
  std::string error;
  if (!markup::ReadStoredBook(fuzz::AsText(data, size), book, error)) return 0;
  for (const bool compressed : {false, true}) {
    markup::StoredBook written = book;
    written.compressed = compressed;
    markup::StoredBook back;
    PW_FUZZ_CHECK(markup::ReadStoredBook(markup::WriteStoredBook(written), back, error), "a written book reads back: " + error);
    PW_FUZZ_CHECK(back.document == book.document, "the document read back is the one written");
    PW_FUZZ_CHECK(SamePictures(back, book), "the pictures read back are the ones written");
    markup::StoredBook again;
    PW_FUZZ_CHECK(markup::ReadStoredBook(markup::WriteStoredBook(back), again, error), "a book read back is written again: " + error);
    PW_FUZZ_CHECK(again.header.fields == back.header.fields, "the header is stable after one writing");
  }
  return 0;
}
