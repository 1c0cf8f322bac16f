#include "fb2/Base64.h"

#include <array>
#include <cstdint>

namespace pw::fb2 {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr int8_t kInvalid = -1;
constexpr int8_t kBlank = -2;
constexpr int8_t kPad = -3;

constexpr std::array<int8_t, 256> MakeDecodeTable() {
  std::array<int8_t, 256> table{};
  for (auto& entry : table) entry = kInvalid;
  for (size_t i = 0; i < kAlphabet.size(); ++i) {
    table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<int8_t>(i);
  }
  for (const char c : {' ', '\t', '\r', '\n', '\f', '\v'}) table[static_cast<unsigned char>(c)] = kBlank;
  table[static_cast<unsigned char>('=')] = kPad;
  return table;
}

constexpr std::array<int8_t, 256> kDecode = MakeDecodeTable();

}  // namespace

std::string Base64Encode(std::string_view bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  const auto byteAt = [&](size_t i) { return static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])); };
  size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const uint32_t group = byteAt(i) << 16 | byteAt(i + 1) << 8 | byteAt(i + 2);
    out += kAlphabet[group >> 18 & 63];
    out += kAlphabet[group >> 12 & 63];
    out += kAlphabet[group >> 6 & 63];
    out += kAlphabet[group & 63];
  }
  const size_t rest = bytes.size() - i;
  if (rest == 1) {
    const uint32_t group = byteAt(i) << 16;
    out += kAlphabet[group >> 18 & 63];
    out += kAlphabet[group >> 12 & 63];
    out += "==";
  } else if (rest == 2) {
    const uint32_t group = byteAt(i) << 16 | byteAt(i + 1) << 8;
    out += kAlphabet[group >> 18 & 63];
    out += kAlphabet[group >> 12 & 63];
    out += kAlphabet[group >> 6 & 63];
    out += '=';
  }
  return out;
}

bool Base64Decode(std::string_view text, std::string& out) {
  out.clear();
  out.reserve(text.size() / 4 * 3);
  uint32_t group = 0;
  int filled = 0;    // characters of the current group, padding included
  int padding = 0;   // "=" seen in the current group
  bool ended = false;  // a padded group closed the data; only blanks may follow
  for (const char c : text) {
    const int8_t value = kDecode[static_cast<unsigned char>(c)];
    if (value == kBlank) continue;
    if (value == kInvalid || ended) {
      out.clear();
      return false;
    }
    if (value == kPad) {
      // "=" may stand only for the third and fourth character of a group.
      if (filled < 2) {
        out.clear();
        return false;
      }
      ++padding;
      group <<= 6;
    } else {
      if (padding > 0) {  // a letter after "=" inside the group
        out.clear();
        return false;
      }
      group = group << 6 | static_cast<uint32_t>(value);
    }
    if (++filled < 4) continue;
    out += static_cast<char>(group >> 16 & 0xFF);
    if (padding < 2) out += static_cast<char>(group >> 8 & 0xFF);
    if (padding < 1) out += static_cast<char>(group & 0xFF);
    ended = padding > 0;
    group = 0;
    filled = 0;
    padding = 0;
  }
  if (filled != 0) {
    out.clear();
    return false;
  }
  return true;
}

}  // namespace pw::fb2
