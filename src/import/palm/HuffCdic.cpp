#include "import/palm/HuffCdic.h"

#include "import/palm/PalmDatabase.h"

namespace pw::import::palm {
namespace {

// Phrases nest; real books go two or three levels deep.
constexpr int kMaxDepth = 32;

uint64_t Read64(const std::string& bytes, size_t at) {
  uint64_t v = 0;
  for (size_t k = 0; k < 8; ++k) v = (v << 8) | static_cast<unsigned char>(bytes[at + k]);
  return v;
}

}  // namespace

std::optional<HuffCdicDecoder> HuffCdicDecoder::Make(std::string_view huff, const std::vector<std::string_view>& cdics) {
  if (huff.size() < 24 || huff.substr(0, 4) != "HUFF") return std::nullopt;
  const size_t cacheAt = Read32(huff, 8);
  const size_t baseAt = Read32(huff, 12);
  if (cacheAt > huff.size() || huff.size() - cacheAt < 256 * 4) return std::nullopt;
  if (baseAt > huff.size() || huff.size() - baseAt < 64 * 4) return std::nullopt;

  HuffCdicDecoder decoder;
  for (size_t i = 0; i < 256; ++i) {
    const uint32_t v = Read32(huff, cacheAt + 4 * i);
    CodeEntry& entry = decoder.cache_[i];
    entry.length = static_cast<uint8_t>(v & 0x1F);
    entry.terminal = (v & 0x80) != 0;
    if (entry.length == 0) return std::nullopt;
    entry.maxCode = (((uint64_t{v} >> 8) + 1) << (32 - entry.length)) - 1;
  }
  for (size_t length = 1; length <= 32; ++length) {
    const uint64_t low = Read32(huff, baseAt + 8 * (length - 1));
    const uint64_t high = Read32(huff, baseAt + 8 * (length - 1) + 4);
    decoder.minCode_[length] = low << (32 - length);
    decoder.maxCode_[length] = ((high + 1) << (32 - length)) - 1;
  }

  for (const std::string_view cdic : cdics) {
    if (cdic.size() < 16 || cdic.substr(0, 4) != "CDIC") return std::nullopt;
    const size_t headerSize = Read32(cdic, 4);
    const size_t total = Read32(cdic, 8);
    const unsigned bits = Read32(cdic, 12);
    if (headerSize < 16 || headerSize > cdic.size() || bits > 16) return std::nullopt;
    const size_t remaining = total > decoder.phrases_.size() ? total - decoder.phrases_.size() : 0;
    const size_t count = std::min<size_t>(size_t{1} << bits, remaining);
    const std::string_view body = cdic.substr(headerSize);
    for (size_t i = 0; i < count; ++i) {
      if (2 * i + 2 > body.size()) return std::nullopt;
      const size_t at = Read16(body, 2 * i);
      if (at + 2 > body.size()) return std::nullopt;
      const uint16_t word = Read16(body, at);
      const size_t length = word & 0x7FFF;
      if (length > body.size() - at - 2) return std::nullopt;
      Phrase phrase;
      phrase.packed = body.substr(at + 2, length);
      if (word & 0x8000) {
        phrase.text = std::string(phrase.packed);
        phrase.state = Phrase::Done;
      }
      decoder.phrases_.push_back(std::move(phrase));
    }
  }
  return decoder;
}

bool HuffCdicDecoder::PhraseText(size_t index, std::string& out, size_t limit, int depth) {
  if (index >= phrases_.size()) return false;
  Phrase& phrase = phrases_[index];
  if (phrase.state == Phrase::Busy) return false;  // a phrase that contains itself
  if (phrase.state == Phrase::Packed) {
    if (depth >= kMaxDepth) return false;
    phrase.state = Phrase::Busy;
    std::string text;
    if (!UnpackBits(phrase.packed, text, limit, depth + 1)) return false;
    // The vector does not grow while unpacking, so `phrase` is still the same element.
    phrase.text = std::move(text);
    phrase.state = Phrase::Done;
  }
  if (phrase.text.size() > limit - std::min(limit, out.size())) return false;
  out += phrase.text;
  return true;
}

bool HuffCdicDecoder::UnpackBits(std::string_view packed, std::string& out, size_t limit, int depth) {
  // The codes are read 32 bits at a time from a 64-bit window; eight zero bytes after the
  // data let the window run over the end.
  std::string bits(packed);
  bits.append(8, '\0');
  int64_t bitsLeft = static_cast<int64_t>(packed.size()) * 8;
  size_t at = 0;
  uint64_t window = Read64(bits, at);
  int shift = 32;
  while (true) {
    if (shift <= 0) {
      at += 4;
      if (at + 8 > bits.size()) break;
      window = Read64(bits, at);
      shift += 32;
    }
    const uint64_t code = (window >> shift) & 0xFFFFFFFFu;
    const CodeEntry& entry = cache_[code >> 24];
    unsigned length = entry.length;
    uint64_t maxCode = entry.maxCode;
    if (!entry.terminal) {
      while (length < 32 && code < minCode_[length]) ++length;
      if (code < minCode_[length]) return false;
      maxCode = maxCode_[length];
    }
    shift -= static_cast<int>(length);
    bitsLeft -= length;
    if (bitsLeft < 0) break;
    if (maxCode < code) return false;
    const uint64_t index = (maxCode - code) >> (32 - length);
    if (!PhraseText(static_cast<size_t>(index), out, limit, depth)) return false;
  }
  return true;
}

bool HuffCdicDecoder::Unpack(std::string_view record, std::string& out, size_t limit) {
  std::string text;
  if (!UnpackBits(record, text, limit, 0)) return false;
  out += text;
  return true;
}

}  // namespace pw::import::palm
