// A small LZX compressor for the tests: stored blocks, and verbatim blocks with fixed-length
// codes and a greedy match finder. Enough to build streams whose every feature the
// decompressor must handle: literals, matches of every length, repeated offsets, blocks that
// run across frames, stored blocks of odd length, resets.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "import/lit/Lzx.h"

namespace pw::import::lit::testing {

class BitWriter {
 public:
  void Put(uint32_t value, int bits) {
    for (int i = bits - 1; i >= 0; --i) {
      word_ = static_cast<uint16_t>(word_ << 1 | ((value >> i) & 1));
      if (++used_ == 16) Flush();
    }
  }
  // Pads the current word with zeros.
  void Align() {
    if (used_) Put(0, 16 - used_);
  }
  void Raw(std::string_view bytes) {
    Align();
    bytes_ += bytes;
  }
  bool aligned() const { return used_ == 0; }
  std::string& bytes() { return bytes_; }

 private:
  void Flush() {
    bytes_ += static_cast<char>(word_ & 0xFF);
    bytes_ += static_cast<char>(word_ >> 8);
    word_ = 0;
    used_ = 0;
  }
  std::string bytes_;
  uint16_t word_ = 0;
  int used_ = 0;
};

struct Slot {
  int index;
  uint32_t base;
  int extra;
};

inline Slot SlotOf(uint32_t formatted) {
  uint32_t base = 0;
  for (int i = 0; i < 51; ++i) {
    const int extra = i < 4 ? 0 : std::min((i - 2) / 2, 17);
    if (formatted < base + (1u << extra)) return {i, base, extra};
    base += 1u << extra;
  }
  return {50, 0, 17};
}

class LzxWriter {
 public:
  explicit LzxWriter(int windowBits) : windowBits_(windowBits), mainSymbols_(256 + 8 * LzxPositionSlots(windowBits)) {}

  // The stream header of each reset interval: no call translation.
  void Header() { bits_.Put(0, 1); }

  // A stored block holding `data`.
  void Stored(std::string_view data) {
    bits_.Put(3, 3);
    bits_.Put(static_cast<uint32_t>(data.size()), 24);
    if (bits_.aligned()) bits_.Put(0, 16);
    bits_.Align();
    std::string rs;
    for (uint32_t r : r_)
      for (int i = 0; i < 4; ++i) rs += static_cast<char>((r >> (8 * i)) & 0xFF);
    bits_.Raw(rs);
    bits_.Raw(data);
    if (data.size() & 1) bits_.Raw(std::string(1, '\0'));
    Produced(data.size(), true);
  }

  // A verbatim block holding `data`, with matches found greedily within the window.
  void Verbatim(std::string_view data, std::string_view history = {}) {
    bits_.Put(1, 3);
    bits_.Put(static_cast<uint32_t>(data.size()), 24);
    WriteLengths(mainLengths_, 0, 256, 10);
    WriteLengths(mainLengths_, 256, mainSymbols_, 10);
    WriteLengths(lengthLengths_, 0, 249, 8);
    const std::string all = std::string(history) + std::string(data);
    std::unordered_map<uint32_t, size_t> last;
    const auto key = [&](size_t i) {
      return static_cast<uint32_t>(static_cast<unsigned char>(all[i])) << 16 |
             static_cast<uint32_t>(static_cast<unsigned char>(all[i + 1])) << 8 | static_cast<unsigned char>(all[i + 2]);
    };
    for (size_t i = 0; i + 2 < history.size(); ++i) last[key(i)] = i;
    size_t i = history.size();
    while (i < all.size()) {
      size_t length = 0;
      size_t offset = 0;
      if (i + 2 < all.size()) {
        const auto found = last.find(key(i));
        if (found != last.end() && i - found->second <= (size_t{1} << windowBits_) - 3) {
          offset = i - found->second;
          while (i + length < all.size() && length < 257 && all[i + length] == all[i + length - offset]) ++length;
        }
        last[key(i)] = i;
      }
      if (length >= 3) {
        Match(static_cast<uint32_t>(offset), static_cast<int>(length));
        for (size_t k = 1; k < length && i + k + 2 < all.size(); ++k) last[key(i + k)] = i + k;
        i += length;
      } else {
        bits_.Put(static_cast<unsigned char>(all[i]), 10);
        ++i;
        Produced(1, false);
      }
    }
  }

  // The stream so far, its last word completed.
  std::string& bytes() {
    bits_.Align();
    return bits_.bytes();
  }

 private:
  void WriteLengths(std::vector<uint8_t>& lengths, int first, int last, uint8_t value) {
    for (int i = 0; i < 20; ++i) bits_.Put(5, 4);  // every pretree code 5 bits long
    lengths.resize(static_cast<size_t>(std::max<int>(last, static_cast<int>(lengths.size()))), 0);
    for (int x = first; x < last; ++x) {
      const int z = (lengths[static_cast<size_t>(x)] - value + 17) % 17;
      bits_.Put(static_cast<uint32_t>(z), 5);
      lengths[static_cast<size_t>(x)] = value;
    }
  }

  void Match(uint32_t offset, int length) {
    int slot = 0;
    uint32_t extraValue = 0;
    int extra = 0;
    if (offset == r_[0]) {
      slot = 0;
    } else if (offset == r_[1]) {
      slot = 1;
      std::swap(r_[0], r_[1]);
    } else if (offset == r_[2]) {
      slot = 2;
      std::swap(r_[0], r_[2]);
    } else {
      const Slot s = SlotOf(offset + 2);
      slot = s.index;
      extra = s.extra;
      extraValue = offset + 2 - s.base;
      r_[2] = r_[1];
      r_[1] = r_[0];
      r_[0] = offset;
    }
    const int header = std::min(length - 2, 7);
    bits_.Put(static_cast<uint32_t>(256 + slot * 8 + header), 10);
    if (header == 7) bits_.Put(static_cast<uint32_t>(length - 2 - 7), 8);
    bits_.Put(extraValue, extra);
    Produced(static_cast<size_t>(length), false);
  }

  // Every frame of output ends on a word boundary of the stream.
  void Produced(size_t count, bool stored) {
    produced_ += count;
    while (produced_ >= nextFrame_) {
      nextFrame_ += kLzxFrameBytes;
      if (!stored) bits_.Align();
    }
  }

  int windowBits_;
  int mainSymbols_;
  BitWriter bits_;
  std::vector<uint8_t> mainLengths_;
  std::vector<uint8_t> lengthLengths_;
  std::array<uint32_t, 3> r_{1, 1, 1};
  size_t produced_ = 0;
  size_t nextFrame_ = kLzxFrameBytes;
};

}  // namespace pw::import::lit::testing
