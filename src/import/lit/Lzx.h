// The LZX decompressor: the sliding-window compression of the lit container's compressed
// sections. A stream is a series of blocks (verbatim, aligned-offset or stored), each with its
// Huffman trees, producing 32 KiB frames; the state is reset at fixed intervals so that a
// reader can start at any reset point. Damaged input is refused, never read or written
// beyond its bounds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pw::import::lit {

inline constexpr size_t kLzxFrameBytes = 32768;

struct LzxStream {
  std::string_view input;
  int windowBits = 17;       // 15 to 21
  // Bytes the stream unpacks to; never more is written. The output grows as it is decoded,
  // so the caller bounds only this length, not what is set aside for it up front.
  size_t outputLength = 0;
  // Bytes of output between resets of the decoder (a multiple of the frame size); 0: the
  // stream is never reset.
  size_t resetInterval = 0;
  // Where in `input` each reset interval starts (the first is 0); when missing, the input
  // continues where the previous interval ended.
  std::vector<uint64_t> resetOffsets;
};

// Unpacks `stream` into `out`. False when the stream is damaged or ends early; `out` is then
// empty.
bool LzxDecompress(const LzxStream& stream, std::string& out);

// The number of position slots of a window of 2^windowBits bytes; 0 for a window LZX does not
// have.
int LzxPositionSlots(int windowBits);

}  // namespace pw::import::lit
