#include "import/lit/Lzx.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace pw::import::lit {

namespace {

constexpr int kMaxCodeBits = 16;
constexpr int kPretreeSymbols = 20;
constexpr int kLengthSymbols = 249;
constexpr int kAlignedSymbols = 8;
constexpr int kLiterals = 256;
constexpr int kMinMatch = 2;
// A match may run past the end of its frame by up to the longest match.
constexpr size_t kMatchSlack = 260;
// What the output reserves before anything is decoded, however long the stream says it is.
constexpr size_t kReservedUpFront = size_t{1} << 20;

enum BlockType { kVerbatim = 1, kAligned = 2, kStored = 3 };

// Extra bits and base of each position slot: the extra bits grow by one every two slots
// and stop at 17.
struct SlotTables {
  std::array<uint8_t, 51> extra{};
  std::array<uint32_t, 51> base{};
  SlotTables() {
    for (int i = 0; i < 51; ++i) extra[i] = static_cast<uint8_t>(i < 4 ? 0 : std::min((i - 2) / 2, 17));
    for (int i = 1; i < 51; ++i) base[i] = base[i - 1] + (1u << extra[i - 1]);
  }
};
const SlotTables kSlots;

// Bits of the stream, read from 16-bit little-endian words, the first bit the highest.
// Reading past the end gives zero bits and is remembered, so a decoder never leaves its input.
class BitReader {
 public:
  void Start(std::string_view input, size_t pos) {
    input_ = input;
    pos_ = pos;
    buffer_ = 0;
    bits_ = 0;
  }
  uint32_t Peek(int n) {
    Fill();
    return static_cast<uint32_t>(buffer_ >> (64 - n));
  }
  void Skip(int n) {
    buffer_ <<= n;
    bits_ -= n;
  }
  uint32_t Read(int n) {
    if (n == 0) return 0;
    const uint32_t value = Peek(n);
    Skip(n);
    return value;
  }
  // Drops what is left of the current 16-bit word.
  void Align() {
    Fill();
    Skip(bits_ & 15);
  }
  // Before a stored block: to the next word boundary, or a whole word when already on one.
  void AlignForStored() {
    Fill();
    const int partial = bits_ & 15;
    Skip(partial ? partial : 16);
  }
  // The byte position of the next unread bit (on a word boundary) and a restart from there.
  size_t BytePosition() const { return pos_ - static_cast<size_t>(bits_ / 8); }
  // True once bits beyond the end of the input were taken.
  bool Overrun() const { return BytePosition() > input_.size(); }
  std::string_view input() const { return input_; }

 private:
  void Fill() {
    while (bits_ <= 48) {
      uint32_t word = 0;
      if (pos_ + 1 < input_.size())
        word = static_cast<unsigned char>(input_[pos_]) | static_cast<uint32_t>(static_cast<unsigned char>(input_[pos_ + 1])) << 8;
      pos_ += 2;
      buffer_ |= static_cast<uint64_t>(word) << (48 - bits_);
      bits_ += 16;
    }
  }

  std::string_view input_;
  size_t pos_ = 0;
  uint64_t buffer_ = 0;
  int bits_ = 0;
};

// A canonical Huffman code from its code lengths: short codes through a table, long ones by
// walking the lengths.
class Huffman {
 public:
  static constexpr int kTableBits = 10;

  // False when the lengths over-subscribe the code space. An incomplete code is kept: its
  // unused codes are refused when met.
  bool Build(const uint8_t* lengths, int symbols) {
    count_.fill(0);
    for (int s = 0; s < symbols; ++s) {
      if (lengths[s] > kMaxCodeBits) return false;
      ++count_[lengths[s]];
    }
    count_[0] = 0;
    int left = 1;
    for (int len = 1; len <= kMaxCodeBits; ++len) {
      left = (left << 1) - count_[len];
      if (left < 0) return false;
    }
    std::array<uint16_t, kMaxCodeBits + 2> offsets{};
    for (int len = 1; len <= kMaxCodeBits; ++len) offsets[len + 1] = static_cast<uint16_t>(offsets[len] + count_[len]);
    sorted_.assign(static_cast<size_t>(symbols), 0);
    for (int s = 0; s < symbols; ++s)
      if (lengths[s]) sorted_[offsets[lengths[s]]++] = static_cast<uint16_t>(s);
    table_.fill(kNone);
    uint32_t code = 0;
    size_t index = 0;
    for (int len = 1; len <= kTableBits; ++len) {
      for (int i = 0; i < count_[len]; ++i, ++code, ++index) {
        const uint32_t first = code << (kTableBits - len);
        const uint32_t last = (code + 1) << (kTableBits - len);
        for (uint32_t t = first; t < last; ++t) table_[t] = static_cast<uint32_t>(sorted_[index]) << 5 | static_cast<uint32_t>(len);
      }
      code <<= 1;
    }
    return true;
  }

  // The next symbol, or -1 for a code the tree does not have.
  int Decode(BitReader& bits) const {
    const uint32_t peek = bits.Peek(kMaxCodeBits);
    const uint32_t entry = table_[peek >> (kMaxCodeBits - kTableBits)];
    if (entry != kNone) {
      bits.Skip(static_cast<int>(entry & 31));
      return static_cast<int>(entry >> 5);
    }
    int code = 0;
    int first = 0;
    int index = 0;
    for (int len = 1; len <= kMaxCodeBits; ++len) {
      code |= static_cast<int>((peek >> (kMaxCodeBits - len)) & 1);
      const int count = count_[len];
      if (code - first < count) {
        bits.Skip(len);
        return sorted_[static_cast<size_t>(index + code - first)];
      }
      index += count;
      first = (first + count) << 1;
      code <<= 1;
    }
    return -1;
  }

 private:
  static constexpr uint32_t kNone = 0xFFFFFFFF;
  std::array<uint16_t, kMaxCodeBits + 1> count_{};
  std::vector<uint16_t> sorted_;
  std::array<uint32_t, 1u << kTableBits> table_{};
};

class Decoder {
 public:
  Decoder(const LzxStream& stream, std::string& out)
      : stream_(stream), out_(out), slots_(LzxPositionSlots(stream.windowBits)),
        mainSymbols_(kLiterals + 8 * slots_), windowBytes_(size_t{1} << stream.windowBits) {}

  bool Run() {
    if (slots_ == 0) return false;
    const size_t total = stream_.outputLength;
    const size_t interval = stream_.resetInterval;
    if (interval % kLzxFrameBytes != 0) return false;
    // The output grows frame by frame as it is decoded, so a stream that declares far more
    // than it holds costs only what it really produced before it ran dry.
    out_.clear();
    out_.reserve(std::min(total + kMatchSlack, kReservedUpFront));
    bits_.Start(stream_.input, 0);
    size_t resetIndex = 0;
    ResetState();
    for (size_t frameStart = 0; frameStart < total; frameStart += kLzxFrameBytes) {
      if (interval && frameStart && frameStart % interval == 0) {
        ++resetIndex;
        if (resetIndex < stream_.resetOffsets.size()) {
          const uint64_t at = stream_.resetOffsets[resetIndex];
          if (at > stream_.input.size()) return false;
          bits_.Start(stream_.input, static_cast<size_t>(at));
        } else {
          bits_.Align();
          bits_.Start(stream_.input, bits_.BytePosition());
        }
        ResetState();
      }
      const size_t frameEnd = std::min(total, frameStart + kLzxFrameBytes);
      if (out_.size() < frameEnd + kMatchSlack) out_.resize(frameEnd + kMatchSlack);
      if (!DecodeFrame(frameEnd)) return false;
      frames_.push_back({frameStart, frameEnd, intelStarted_ ? intelSize_ : 0});
      if (bits_.Overrun()) return false;
    }
    out_.resize(total);
    TranslateCalls();
    return true;
  }

 private:
  struct Frame {
    size_t start, end;
    uint32_t intelSize;
  };

  void ResetState() {
    r_ = {1, 1, 1};
    mainLengths_.assign(static_cast<size_t>(mainSymbols_), 0);
    lengthLengths_.assign(kLengthSymbols, 0);
    headerRead_ = false;
    blockRemaining_ = 0;
    blockType_ = 0;
    intelSize_ = 0;
    intelStarted_ = false;
  }

  // Code lengths of `lengths[first..last)`, delta-coded against their previous values through
  // a pretree.
  bool ReadLengths(std::vector<uint8_t>& lengths, int first, int last) {
    uint8_t pre[kPretreeSymbols];
    for (uint8_t& length : pre) length = static_cast<uint8_t>(bits_.Read(4));
    Huffman pretree;
    if (!pretree.Build(pre, kPretreeSymbols)) return false;
    for (int x = first; x < last;) {
      int z = pretree.Decode(bits_);
      if (z < 0) return false;
      if (z == 17 || z == 18) {
        const int run = z == 17 ? static_cast<int>(bits_.Read(4)) + 4 : static_cast<int>(bits_.Read(5)) + 20;
        if (run > last - x) return false;
        for (int i = 0; i < run; ++i) lengths[static_cast<size_t>(x++)] = 0;
      } else if (z == 19) {
        const int run = static_cast<int>(bits_.Read(1)) + 4;
        z = pretree.Decode(bits_);
        if (z < 0 || z > 16 || run > last - x) return false;
        const uint8_t value = static_cast<uint8_t>((lengths[static_cast<size_t>(x)] + 17 - z) % 17);
        for (int i = 0; i < run; ++i) lengths[static_cast<size_t>(x++)] = value;
      } else {
        lengths[static_cast<size_t>(x)] = static_cast<uint8_t>((lengths[static_cast<size_t>(x)] + 17 - z) % 17);
        ++x;
      }
      if (bits_.Overrun()) return false;
    }
    return true;
  }

  bool ReadBlockHeader() {
    blockType_ = static_cast<int>(bits_.Read(3));
    blockRemaining_ = static_cast<int64_t>(bits_.Read(24));
    if (blockRemaining_ == 0) return false;
    switch (blockType_) {
      case kAligned: {
        uint8_t aligned[kAlignedSymbols];
        for (uint8_t& length : aligned) length = static_cast<uint8_t>(bits_.Read(3));
        if (!alignedTree_.Build(aligned, kAlignedSymbols)) return false;
        [[fallthrough]];
      }
      case kVerbatim:
        if (!ReadLengths(mainLengths_, 0, kLiterals) || !ReadLengths(mainLengths_, kLiterals, mainSymbols_) ||
            !mainTree_.Build(mainLengths_.data(), mainSymbols_))
          return false;
        if (mainLengths_[0xE8] != 0) intelStarted_ = true;
        return ReadLengths(lengthLengths_, 0, kLengthSymbols) && lengthTree_.Build(lengthLengths_.data(), kLengthSymbols);
      case kStored: {
        intelStarted_ = true;
        bits_.AlignForStored();
        size_t at = bits_.BytePosition();
        const std::string_view input = bits_.input();
        if (at > input.size() || input.size() - at < 12) return false;
        for (uint32_t& r : r_) {
          r = static_cast<unsigned char>(input[at]) | static_cast<uint32_t>(static_cast<unsigned char>(input[at + 1])) << 8 |
              static_cast<uint32_t>(static_cast<unsigned char>(input[at + 2])) << 16 |
              static_cast<uint32_t>(static_cast<unsigned char>(input[at + 3])) << 24;
          at += 4;
        }
        storedAt_ = at;
        return true;
      }
      default:
        return false;
    }
  }

  bool CopyStored(size_t frameEnd) {
    const std::string_view input = bits_.input();
    const size_t want = static_cast<size_t>(std::min<int64_t>(blockRemaining_, static_cast<int64_t>(frameEnd - pos_)));
    if (storedAt_ > input.size() || input.size() - storedAt_ < want) return false;
    std::memcpy(&out_[pos_], input.data() + storedAt_, want);
    pos_ += want;
    storedAt_ += want;
    blockRemaining_ -= static_cast<int64_t>(want);
    if (blockRemaining_ == 0) {
      // A stored block of odd length is followed by a byte of padding; then the bits go on.
      bits_.Start(input, storedAt_ + (storedLength_ & 1));
    }
    return true;
  }

  bool DecodeMatches(size_t frameEnd) {
    const bool aligned = blockType_ == kAligned;
    while (pos_ < frameEnd && blockRemaining_ > 0) {
      const int symbol = mainTree_.Decode(bits_);
      if (symbol < 0) return false;
      if (symbol < kLiterals) {
        out_[pos_++] = static_cast<char>(symbol);
        --blockRemaining_;
        continue;
      }
      const int code = symbol - kLiterals;
      int length = code & 7;
      if (length == 7) {
        const int footer = lengthTree_.Decode(bits_);
        if (footer < 0) return false;
        length += footer;
      }
      length += kMinMatch;
      const int slot = code >> 3;
      uint32_t offset = 0;
      if (slot == 0) {
        offset = r_[0];
      } else if (slot == 1) {
        offset = r_[1];
        r_[1] = r_[0];
        r_[0] = offset;
      } else if (slot == 2) {
        offset = r_[2];
        r_[2] = r_[0];
        r_[0] = offset;
      } else {
        const int extra = kSlots.extra[static_cast<size_t>(slot)];
        offset = kSlots.base[static_cast<size_t>(slot)] - 2;
        if (aligned && extra >= 3) {
          offset += bits_.Read(extra - 3) << 3;
          const int low = alignedTree_.Decode(bits_);
          if (low < 0) return false;
          offset += static_cast<uint32_t>(low);
        } else {
          offset += bits_.Read(extra);
        }
        r_[2] = r_[1];
        r_[1] = r_[0];
        r_[0] = offset;
      }
      if (offset == 0 || offset > pos_ || offset > windowBytes_ || length > blockRemaining_ ||
          pos_ + static_cast<size_t>(length) > out_.size())
        return false;
      char* to = &out_[pos_];
      const char* from = to - offset;
      for (int i = 0; i < length; ++i) to[i] = from[i];
      pos_ += static_cast<size_t>(length);
      blockRemaining_ -= length;
      if (bits_.Overrun()) return false;
    }
    return true;
  }

  bool DecodeFrame(size_t frameEnd) {
    if (!headerRead_) {
      headerRead_ = true;
      if (bits_.Read(1)) intelSize_ = bits_.Read(16) << 16 | bits_.Read(16);
    }
    while (pos_ < frameEnd) {
      if (blockRemaining_ == 0) {
        if (!ReadBlockHeader()) return false;
        storedLength_ = static_cast<uint32_t>(blockRemaining_);
      }
      const bool ok = blockType_ == kStored ? CopyStored(frameEnd) : DecodeMatches(frameEnd);
      if (!ok) return false;
    }
    // Every frame ends on a word boundary of the input.
    if (blockType_ != kStored || blockRemaining_ == 0) bits_.Align();
    return true;
  }

  // Undoes the encoder's translation of x86 call targets (the byte E8 and an absolute
  // address), frame by frame.
  void TranslateCalls() {
    for (size_t f = 0; f < frames_.size() && f < 32768; ++f) {
      const Frame& frame = frames_[f];
      if (!frame.intelSize || frame.end - frame.start <= 10) continue;
      const int32_t size = static_cast<int32_t>(frame.intelSize);
      for (size_t i = frame.start; i + 10 < frame.end;) {
        if (static_cast<unsigned char>(out_[i]) != 0xE8) {
          ++i;
          continue;
        }
        int32_t absolute = 0;
        std::memcpy(&absolute, &out_[i + 1], 4);
        const int32_t current = static_cast<int32_t>(i);
        if (absolute >= -current && absolute < size) {
          const int32_t relative = absolute >= 0 ? absolute - current : absolute + size;
          std::memcpy(&out_[i + 1], &relative, 4);
        }
        i += 5;
      }
    }
  }

  const LzxStream& stream_;
  std::string& out_;
  const int slots_;
  const int mainSymbols_;
  const size_t windowBytes_;
  BitReader bits_;
  Huffman mainTree_, lengthTree_, alignedTree_;
  std::vector<uint8_t> mainLengths_, lengthLengths_;
  std::array<uint32_t, 3> r_{1, 1, 1};
  bool headerRead_ = false;
  int blockType_ = 0;
  int64_t blockRemaining_ = 0;
  uint32_t storedLength_ = 0;
  size_t storedAt_ = 0;
  uint32_t intelSize_ = 0;
  bool intelStarted_ = false;
  size_t pos_ = 0;
  std::vector<Frame> frames_;
};

}  // namespace

int LzxPositionSlots(int windowBits) {
  switch (windowBits) {
    case 15: return 30;
    case 16: return 32;
    case 17: return 34;
    case 18: return 36;
    case 19: return 38;
    case 20: return 42;
    case 21: return 50;
    default: return 0;
  }
}

bool LzxDecompress(const LzxStream& stream, std::string& out) {
  Decoder decoder(stream, out);
  if (decoder.Run()) return true;
  out.clear();
  return false;
}

}  // namespace pw::import::lit
