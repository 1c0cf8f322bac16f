// The Huffman dictionary compression of text records: a HUFF record with the code tables and
// CDIC records with the phrases. Each code read from a text record names a phrase; a phrase
// is either final text or itself packed the same way, and is unpacked once, when first used.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pw::import::palm {

class HuffCdicDecoder {
 public:
  // Reads the HUFF record and the CDIC records that follow it. Nothing when a table is cut
  // off or a record does not carry its mark.
  static std::optional<HuffCdicDecoder> Make(std::string_view huff, const std::vector<std::string_view>& cdics);

  // Appends the unpacked `record` to `out`; false when a code names no phrase, a phrase
  // refers to itself, or more than `limit` bytes would come out.
  bool Unpack(std::string_view record, std::string& out, size_t limit = 65536);

 private:
  struct Phrase {
    std::string_view packed;
    std::string text;
    enum State : uint8_t { Packed, Busy, Done } state = Packed;
  };
  struct CodeEntry {
    uint8_t length = 0;
    bool terminal = false;
    uint64_t maxCode = 0;
  };

  bool UnpackBits(std::string_view bits, std::string& out, size_t limit, int depth);
  bool PhraseText(size_t index, std::string& out, size_t limit, int depth);

  CodeEntry cache_[256];
  uint64_t minCode_[33] = {};
  uint64_t maxCode_[33] = {};
  std::vector<Phrase> phrases_;
};

}  // namespace pw::import::palm
