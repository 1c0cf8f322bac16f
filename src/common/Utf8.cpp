#include "common/Utf8.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace pw::common {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Length of the well-formed sequence at `pos` and its code point; 0 when ill-formed.
size_t DecodeAt(std::string_view text, size_t pos, char32_t& cp) {
  const auto b0 = static_cast<unsigned char>(text[pos]);
  if (b0 < 0x80) {
    cp = b0;
    return 1;
  }
  size_t length;
  char32_t value;
  char32_t minimum;
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    length = 2, value = b0 & 0x1F, minimum = 0x80;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    length = 3, value = b0 & 0x0F, minimum = 0x800;
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    length = 4, value = b0 & 0x07, minimum = 0x10000;
  } else {
    return 0;
  }
  if (text.size() - pos < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    const auto b = static_cast<unsigned char>(text[pos + i]);
    if ((b & 0xC0) != 0x80) return 0;
    value = (value << 6) | (b & 0x3F);
  }
  if (value < minimum || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return 0;
  cp = value;
  return length;
}

}  // namespace

char32_t NextCodePoint(std::string_view text, size_t& pos) {
  if (pos >= text.size()) return 0;
  char32_t cp = 0;
  const size_t length = DecodeAt(text, pos, cp);
  if (length == 0) {
    ++pos;
    return kReplacement;
  }
  pos += length;
  return cp;
}

void AppendUtf8(std::string& out, char32_t cp) {
  if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = kReplacement;
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

std::string Utf8Of(char32_t cp) {
  std::string out;
  AppendUtf8(out, cp);
  return out;
}

std::string FirstChar(std::string_view text) {
  if (text.empty()) return {};
  char32_t cp = 0;
  const size_t length = DecodeAt(text, 0, cp);
  return std::string(text.substr(0, length == 0 ? 1 : length));
}

std::string LastChar(std::string_view text) {
  if (text.empty()) return {};
  // Step back over at most three continuation bytes to the lead byte.
  size_t start = text.size() - 1;
  while (start > 0 && text.size() - start < 4 && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80)
    --start;
  char32_t cp = 0;
  if (DecodeAt(text, start, cp) == text.size() - start) return std::string(text.substr(start));
  return std::string(text.substr(text.size() - 1));
}

size_t CodePointCount(std::string_view text) {
  size_t count = 0;
  for (size_t pos = 0; pos < text.size(); ++count) NextCodePoint(text, pos);
  return count;
}

bool IsValidUtf8(std::string_view text) {
  for (size_t pos = 0; pos < text.size();) {
    if (static_cast<unsigned char>(text[pos]) < 0x80) {
      ++pos;
      continue;
    }
    char32_t cp = 0;
    const size_t length = DecodeAt(text, pos, cp);
    if (length == 0) return false;
    pos += length;
  }
  return true;
}

std::string ToUpper(std::string_view text) {
  icu::UnicodeString s = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  std::string out;
  s.toUpper(icu::Locale::getRoot()).toUTF8String(out);
  return out;
}

std::string ToLower(std::string_view text) {
  icu::UnicodeString s = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  std::string out;
  s.toLower(icu::Locale::getRoot()).toUTF8String(out);
  return out;
}

std::string ToTitle(std::string_view text) {
  // ICU's title casing with its word break rules: the first letter of each word upper, the
  // rest lower.
  icu::UnicodeString s = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  std::string out;
  s.toTitle(nullptr, icu::Locale::getRoot()).toUTF8String(out);
  return out;
}

}  // namespace pw::common
