// The bytes of an FB2 file and their encoding: byte-order marks, UTF-16 files, the encoding the
// XML declaration names, and the decoding to UTF-8 when the declaration is missing or wrong.
#pragma once

#include <string>
#include <string_view>

#include "common/CodePage.h"

namespace pw::fb2 {

// Drops a UTF-8 byte-order mark; a UTF-16 text (marked, or recognised by its zero bytes around
// "<") is converted to UTF-8 and `wasUtf16` set. Other bytes are returned as they are.
std::string PrepareFb2Bytes(std::string_view bytes, bool& wasUtf16);

// The encoding named by the XML declaration at the start of `text` ("<?xml ... encoding=...?>"),
// in lower case; empty when there is no declaration or it names none.
std::string DeclaredXmlEncoding(std::string_view text);

struct Fb2Decoding {
  std::string text;                                  // UTF-8
  common::CodePage source = common::CodePage::Utf8;  // how the bytes were read
  // Set when the bytes were not what the declaration says (or it named an unknown encoding):
  // what was assumed instead, for the user.
  std::string note;
};

// Decodes `bytes` by `declared` (empty means UTF-8). Bytes that are valid UTF-8 with non-ASCII
// letters are read as UTF-8 whatever the declaration says; bytes declared as UTF-8 that are not
// valid UTF-8 are read in the code page that letter statistics point to (`language` is the
// import language setting). Never fails: what cannot be decoded becomes U+FFFD.
Fb2Decoding DecodeFb2Text(std::string_view bytes, std::string_view declared, std::string_view language);

// A Windows-1251 text that was once read as Latin-1 and saved again as UTF-8 ("Àëåêñàíäð" for
// "Александр") is read back as it was meant. The text is taken as such only when outside its
// tags it has no character beyond Windows-1252 and at least two words made wholly of letters
// from the upper half of Latin-1, more than words that mix those letters with ASCII ones (as
// Western languages do). Returns true when `utf8` was repaired.
bool RepairDoubleEncoding(std::string& utf8);

}  // namespace pw::fb2
