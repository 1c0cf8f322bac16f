#include "import/palm/PalmDocCompression.h"

#include <array>
#include <cstdint>

namespace pw::import::palm {

bool UnpackPalmDoc(std::string_view record, std::string& out, size_t limit) {
  const size_t start = out.size();
  const size_t end = start + limit;
  const auto* in = reinterpret_cast<const unsigned char*>(record.data());
  const size_t size = record.size();
  size_t i = 0;
  while (i < size) {
    const unsigned c = in[i++];
    if (c >= 1 && c <= 8) {
      if (size - i < c || out.size() + c > end) return false;
      out.append(record.data() + i, c);
      i += c;
    } else if (c < 0x80) {
      if (out.size() + 1 > end) return false;
      out.push_back(static_cast<char>(c));
    } else if (c >= 0xC0) {
      if (out.size() + 2 > end) return false;
      out.push_back(' ');
      out.push_back(static_cast<char>(c ^ 0x80));
    } else {
      if (i >= size) return false;
      const unsigned pair = ((c << 8) | in[i++]) & 0x3FFF;
      const size_t distance = pair >> 3;
      const size_t length = (pair & 7) + 3;
      // A reference reaches back only into this record's own text.
      if (distance == 0 || distance > out.size() - start || out.size() + length > end) return false;
      // Byte by byte: a reference may overlap the bytes it produces.
      size_t from = out.size() - distance;
      for (size_t k = 0; k < length; ++k) out.push_back(out[from + k]);
    }
  }
  return true;
}

std::string PackPalmDoc(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  // The last position of each three-byte sequence, found through a small hash table.
  std::array<int64_t, 1 << 14> last;
  last.fill(-1);
  auto hash = [&](size_t at) {
    const auto* p = reinterpret_cast<const unsigned char*>(text.data() + at);
    return ((p[0] << 6) ^ (p[1] << 3) ^ p[2]) & ((1 << 14) - 1);
  };
  std::string literals;
  auto flush = [&] {
    for (size_t at = 0; at < literals.size(); at += 8) {
      const size_t n = std::min<size_t>(8, literals.size() - at);
      out.push_back(static_cast<char>(n));
      out.append(literals, at, n);
    }
    literals.clear();
  };
  size_t i = 0;
  while (i < text.size()) {
    if (i + 3 <= text.size()) {
      const unsigned h = hash(i);
      const int64_t candidate = last[h];
      last[h] = static_cast<int64_t>(i);
      if (candidate >= 0 && i - static_cast<size_t>(candidate) <= 2047) {
        const size_t from = static_cast<size_t>(candidate);
        size_t length = 0;
        while (length < 10 && i + length < text.size() && text[from + length] == text[i + length]) ++length;
        if (length >= 3) {
          flush();
          const unsigned pair = 0x8000 | (static_cast<unsigned>(i - from) << 3) | static_cast<unsigned>(length - 3);
          out.push_back(static_cast<char>(pair >> 8));
          out.push_back(static_cast<char>(pair & 0xFF));
          i += length;
          continue;
        }
      }
    }
    const auto c = static_cast<unsigned char>(text[i]);
    if (c == ' ' && i + 1 < text.size()) {
      const auto next = static_cast<unsigned char>(text[i + 1]);
      if (next >= 0x40 && next < 0x80) {
        flush();
        out.push_back(static_cast<char>(next ^ 0x80));
        i += 2;
        continue;
      }
    }
    if ((c >= 1 && c <= 8) || c >= 0x80) {
      literals.push_back(static_cast<char>(c));
    } else {
      flush();
      out.push_back(static_cast<char>(c));
    }
    ++i;
  }
  flush();
  return out;
}

}  // namespace pw::import::palm
