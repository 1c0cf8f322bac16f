#include "fb2/Fb2Encoding.h"

#include <unordered_map>

#include "common/Text.h"
#include "common/Utf8.h"
#include "import/Charset.h"

namespace pw::fb2 {
namespace {

using common::CodePage;

constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";

bool IsUtf8Name(std::string_view name) {
  return name.empty() || name == "utf-8" || name == "utf8" || name == "us-ascii" || name == "ascii" ||
         name == "utf-16" || name == "utf-16le" || name == "utf-16be" || name == "unicode";
}

std::string FromUtf16(std::string_view bytes, bool littleEndian) {
  std::string out;
  out.reserve(bytes.size());
  auto unit = [&](size_t i) -> char32_t {
    const auto a = static_cast<unsigned char>(bytes[i]);
    const auto b = static_cast<unsigned char>(bytes[i + 1]);
    return littleEndian ? (a | (b << 8)) : ((a << 8) | b);
  };
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    char32_t cp = unit(i);
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 3 < bytes.size()) {
      const char32_t low = unit(i + 2);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
        i += 2;
      }
    }
    common::AppendUtf8(out, cp);
  }
  return out;
}

// The byte of `cp` in Windows-1252 (Latin-1 below 256 and the typographic characters of
// 128 to 159); -1 when it has none.
int Windows1252Byte(char32_t cp) {
  if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return static_cast<int>(cp);
  static const std::unordered_map<char32_t, int> specials = [] {
    std::unordered_map<char32_t, int> map;
    for (unsigned code = 0x80; code < 0xA0; ++code) {
      const std::string ch = common::CharOfCode(code, CodePage::Win1252);
      size_t pos = 0;
      if (!ch.empty()) map.emplace(common::NextCodePoint(ch, pos), static_cast<int>(code));
    }
    return map;
  }();
  const auto it = specials.find(cp);
  return it == specials.end() ? -1 : it->second;
}

bool IsUpperLatin1Letter(char32_t cp) { return (cp >= 0xC0 && cp <= 0xFF && cp != 0xD7 && cp != 0xF7) || cp == 0xA8 || cp == 0xB8; }
bool IsAsciiLetter(char32_t cp) { return (cp >= 'a' && cp <= 'z') || (cp >= 'A' && cp <= 'Z'); }

}  // namespace

bool RepairDoubleEncoding(std::string& utf8) {
  size_t whollyUpper = 0;
  size_t mixed = 0;
  bool inTag = false;
  bool ascii = false;
  bool upper = false;
  size_t letters = 0;
  auto endWord = [&] {
    if (upper && !ascii && letters >= 3) ++whollyUpper;
    if (upper && ascii) ++mixed;
    ascii = upper = false;
    letters = 0;
  };
  for (size_t pos = 0; pos < utf8.size();) {
    const char32_t cp = common::NextCodePoint(utf8, pos);
    if (cp == '<') inTag = true;
    if (inTag) {
      if (cp == '>') inTag = false;
      endWord();
      continue;
    }
    if (Windows1252Byte(cp) < 0) return false;  // a character no Latin-1 reading could have made
    if (IsAsciiLetter(cp)) {
      ascii = true;
      ++letters;
    } else if (IsUpperLatin1Letter(cp)) {
      upper = true;
      ++letters;
    } else {
      endWord();
    }
  }
  endWord();
  if (whollyUpper < 2 || whollyUpper <= mixed) return false;
  std::string bytes;
  bytes.reserve(utf8.size());
  for (size_t pos = 0; pos < utf8.size();) {
    const int byte = Windows1252Byte(common::NextCodePoint(utf8, pos));
    if (byte < 0) return false;
    bytes += static_cast<char>(byte);
  }
  utf8 = common::DecodeToUtf8(bytes, CodePage::Win1251);
  return true;
}

std::string PrepareFb2Bytes(std::string_view bytes, bool& wasUtf16) {
  wasUtf16 = false;
  if (bytes.starts_with(kUtf8Bom)) return std::string(bytes.substr(kUtf8Bom.size()));
  if (bytes.size() >= 2) {
    const auto a = static_cast<unsigned char>(bytes[0]);
    const auto b = static_cast<unsigned char>(bytes[1]);
    if ((a == 0xFF && b == 0xFE) || (a == 0xFE && b == 0xFF)) {
      wasUtf16 = true;
      return FromUtf16(bytes.substr(2), a == 0xFF);
    }
    // No mark, but "<" with a zero byte beside it: UTF-16 all the same.
    if (a == '<' && b == 0) {
      wasUtf16 = true;
      return FromUtf16(bytes, true);
    }
    if (a == 0 && b == '<') {
      wasUtf16 = true;
      return FromUtf16(bytes, false);
    }
  }
  return std::string(bytes);
}

std::string DeclaredXmlEncoding(std::string_view text) {
  size_t start = 0;
  while (start < text.size() && (text[start] == ' ' || text[start] == '\t' || text[start] == '\r' ||
                                 text[start] == '\n'))
    ++start;
  if (text.compare(start, 5, "<?xml") != 0) return {};
  const size_t end = text.find("?>", start);
  if (end == std::string_view::npos) return {};
  const std::string_view declaration = text.substr(start, end - start);
  const size_t at = declaration.find("encoding");
  if (at == std::string_view::npos) return {};
  size_t pos = at + 8;
  while (pos < declaration.size() && (declaration[pos] == ' ' || declaration[pos] == '=')) ++pos;
  if (pos >= declaration.size()) return {};
  const char quote = declaration[pos];
  if (quote != '"' && quote != '\'') return {};
  const size_t close = declaration.find(quote, pos + 1);
  if (close == std::string_view::npos) return {};
  return common::AsciiLower(common::Trim(declaration.substr(pos + 1, close - pos - 1)));
}

Fb2Decoding DecodeFb2Text(std::string_view bytes, std::string_view declared, std::string_view language) {
  Fb2Decoding result;
  CodePage named = CodePage::Utf8;
  const bool utf8Named = IsUtf8Name(declared);
  const bool known = utf8Named || common::ParseCodePage(declared, named);

  if (common::IsValidUtf8(bytes)) {
    // Valid UTF-8 that is not plain ASCII is UTF-8, whatever a single-byte declaration says.
    if (known && !utf8Named && named != CodePage::Utf8 && !import::LooksLikeUtf8(bytes)) {
      result.source = named;
      result.text = common::DecodeToUtf8(bytes, named);
      return result;
    }
    if (!utf8Named && named != CodePage::Utf8)
      result.note = "the text is UTF-8, not " + std::string(declared);
    result.source = CodePage::Utf8;
    result.text = std::string(bytes);
    return result;
  }
  if (known && !utf8Named && named != CodePage::Utf8) {
    result.source = named;
    result.text = common::DecodeToUtf8(bytes, named);
    return result;
  }
  // Declared (or taken) as UTF-8 but not valid UTF-8, or an encoding nobody knows: the
  // letters decide.
  const import::CharsetDecision decision = import::DecideCharset(bytes, language);
  result.source = decision.source;
  result.text = common::DecodeToUtf8(bytes, decision.source);
  const std::string assumed(common::CodePageCharset(decision.source));
  if (!known) result.note = "unknown encoding " + std::string(declared) + ", read as " + assumed;
  else result.note = "the text is not UTF-8, read as " + assumed;
  return result;
}

}  // namespace pw::fb2
