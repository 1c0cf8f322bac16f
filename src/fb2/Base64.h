// Base64 with the standard alphabet and "=" padding, as FB2 binaries carry their pictures.
#pragma once

#include <string>
#include <string_view>

namespace pw::fb2 {

// Encodes `bytes` as one unbroken line: "A-Z a-z 0-9 + /", padded with "=" or "==" so that the
// length is a multiple of four.
std::string Base64Encode(std::string_view bytes);

// Decodes `text` into `out`. Blanks and line breaks anywhere are skipped, so a binary broken
// into lines decodes like an unbroken one. Returns false, with `out` empty, for a character
// outside the alphabet, an incomplete last group, or "=" anywhere but at the end of the last
// group. Linear in the text; `out` never grows beyond three quarters of it.
bool Base64Decode(std::string_view text, std::string& out);

}  // namespace pw::fb2
