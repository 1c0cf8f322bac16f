// The PalmDoc compression of text records: a byte-oriented LZ77. A byte 1 to 8 copies that
// many following bytes as they are; 0 and 9 to 0x7F stand for themselves; 0x80 to 0xBF start
// a two-byte pair holding a distance back (11 bits) and a length (3 bits, plus 3); 0xC0 to 0xFF
// stand for a blank followed by the byte with its top bit cleared.
#pragma once

#include <string>
#include <string_view>

namespace pw::import::palm {

// Appends the unpacked `record` to `out`. False, with `out` holding what came before the
// fault, when a pair points before the start of the record's text or a literal run is cut
// off; at most `limit` bytes are appended.
bool UnpackPalmDoc(std::string_view record, std::string& out, size_t limit = 65536);

// The packing side, used to write books: literal runs, back references of 3 to 10 bytes and
// the blank pairs. Any text unpacks to itself.
std::string PackPalmDoc(std::string_view text);

}  // namespace pw::import::palm
