// Psion TCR books: a text compressed by a table of 256 byte strings. The file starts with
// "!!8-Bit!!", then the table (each entry a length byte and that many bytes), then the text,
// one table index a byte. The text that comes out is in the book's own code page, as the
// source was before it was compressed.
#pragma once

#include <string>
#include <string_view>

namespace pw::import {

inline constexpr std::string_view kTcrSignature = "!!8-Bit!!";

// Unpacks a TCR file. A few bytes of junk before the signature (a name line some tools write)
// are skipped. False when there is no signature in the first kilobyte or the table is cut off,
// and (with `tooLarge` set) when the text would grow past the book size limit of the file
// (common/Limits.h): each byte may stand for up to 255.
bool UnpackTcr(std::string_view file, std::string& text, bool* tooLarge = nullptr);

}  // namespace pw::import
