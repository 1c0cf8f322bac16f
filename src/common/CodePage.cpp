#include "common/CodePage.h"

#include <unicode/ucnv.h>

#include <array>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "common/Utf8.h"

namespace pw::common {
namespace {

struct CodePageInfo {
  CodePage cp;
  std::string_view sessionName;
  std::string_view charset;
  std::string_view icuName;
};

constexpr std::array kCodePages{
    CodePageInfo{CodePage::Utf8, "utf-8", "utf-8", "UTF-8"},
    CodePageInfo{CodePage::Win1251, "Win1251", "windows-1251", "windows-1251"},
    CodePageInfo{CodePage::Win1252, "Win1252", "windows-1252", "windows-1252"},
    CodePageInfo{CodePage::Win1250, "Win1250", "windows-1250", "windows-1250"},
    CodePageInfo{CodePage::Koi8r, "Koi8r", "koi8-r", "KOI8-R"},
    CodePageInfo{CodePage::Cp866, "CP866", "ibm866", "ibm-866"},
    CodePageInfo{CodePage::Iso88595, "iso", "iso-8859-5", "ISO-8859-5"},
    CodePageInfo{CodePage::MacCyr, "MacCyr", "x-mac-cyrillic", "x-mac-cyrillic"},
};

// Further spellings of the charsets met in meta lines and XML declarations.
constexpr std::array<std::pair<std::string_view, CodePage>, 12> kAliases{{
    {"utf8", CodePage::Utf8},
    {"cp1251", CodePage::Win1251},
    {"cp1252", CodePage::Win1252},
    {"cp1250", CodePage::Win1250},
    {"iso-8859-1", CodePage::Win1252},
    {"latin1", CodePage::Win1252},
    {"koi8r", CodePage::Koi8r},
    {"cp866", CodePage::Cp866},
    {"ibm-866", CodePage::Cp866},
    {"iso8859-5", CodePage::Iso88595},
    {"mac-cyrillic", CodePage::MacCyr},
    {"x-mac-cyr", CodePage::MacCyr},
}};

const CodePageInfo& Info(CodePage cp) { return kCodePages[static_cast<size_t>(cp)]; }

std::string Lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  }
  return out;
}

// The single-byte code page as two tables, read once from ICU: byte to UTF-8 and code point
// to byte. Converting through tables keeps whole-book conversion a single fast pass.
struct ByteTable {
  std::array<std::string, 256> decode;
  std::unordered_map<char32_t, unsigned char> encode;
};

ByteTable BuildTable(CodePage cp) {
  ByteTable table;
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(std::string(Info(cp).icuName).c_str(), &status);
  for (unsigned code = 0; code < 256; ++code) {
    if (code < 128) {
      table.decode[code] = std::string(1, static_cast<char>(code));
      table.encode[code] = static_cast<unsigned char>(code);
      continue;
    }
    if (!converter || U_FAILURE(status)) continue;
    const char byte = static_cast<char>(code);
    UChar buffer[4];
    UErrorCode err = U_ZERO_ERROR;
    ucnv_reset(converter);
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &err);
    err = U_ZERO_ERROR;
    const int32_t length = ucnv_toUChars(converter, buffer, 4, &byte, 1, &err);
    if (U_FAILURE(err) || length != 1 || buffer[0] == 0xFFFD || buffer[0] == 0x1A) continue;
    // Bytes a code page leaves undefined come back from the converter as C1 control characters
    // (0x98 of windows-1251, 0x81 of windows-1252). They are no text: reading them gives U+FFFD,
    // and a C1 character is never written back as a raw byte, which XML readers refuse.
    if (buffer[0] >= 0x80 && buffer[0] <= 0x9F) continue;
    table.decode[code] = Utf8Of(buffer[0]);
    table.encode.emplace(buffer[0], static_cast<unsigned char>(code));
  }
  if (converter) ucnv_close(converter);
  return table;
}

const ByteTable& Table(CodePage cp) {
  static std::mutex mutex;
  static std::array<std::unique_ptr<ByteTable>, kCodePages.size()> tables;
  std::lock_guard lock(mutex);
  auto& slot = tables[static_cast<size_t>(cp)];
  if (!slot) slot = std::make_unique<ByteTable>(BuildTable(cp));
  return *slot;
}

}  // namespace

std::string_view CodePageName(CodePage cp) { return Info(cp).sessionName; }

std::string_view CodePageCharset(CodePage cp) { return Info(cp).charset; }

bool ParseCodePage(std::string_view name, CodePage& cp) {
  const std::string lower = Lower(name);
  for (const CodePageInfo& info : kCodePages) {
    if (lower == Lower(info.sessionName) || lower == Lower(info.charset) || lower == Lower(info.icuName)) {
      cp = info.cp;
      return true;
    }
  }
  for (const auto& [alias, value] : kAliases) {
    if (lower == alias) {
      cp = value;
      return true;
    }
  }
  return false;
}

std::string DecodeToUtf8(std::string_view bytes, CodePage cp) {
  if (cp == CodePage::Utf8) {
    if (IsValidUtf8(bytes)) return std::string(bytes);
    std::string out;
    out.reserve(bytes.size());
    for (size_t pos = 0; pos < bytes.size();) AppendUtf8(out, NextCodePoint(bytes, pos));
    return out;
  }
  const ByteTable& table = Table(cp);
  std::string out;
  out.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 128) {
      out += c;
    } else if (!table.decode[code].empty()) {
      out += table.decode[code];
    } else {
      out += "\xEF\xBF\xBD";
    }
  }
  return out;
}

std::string EncodeFromUtf8(std::string_view utf8, CodePage cp, Unmappable unmappable) {
  if (cp == CodePage::Utf8) return DecodeToUtf8(utf8, CodePage::Utf8);
  const ByteTable& table = Table(cp);
  std::string out;
  out.reserve(utf8.size());
  for (size_t pos = 0; pos < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[pos]);
    if (lead < 128) {
      out += static_cast<char>(lead);
      ++pos;
      continue;
    }
    const char32_t code = NextCodePoint(utf8, pos);
    if (const auto found = table.encode.find(code); found != table.encode.end()) {
      out += static_cast<char>(found->second);
    } else if (unmappable == Unmappable::NumericReference) {
      out += "&#";
      out += std::to_string(static_cast<uint32_t>(code));
      out += ';';
    } else {
      out += '?';
    }
  }
  return out;
}

std::string CharOfCode(unsigned code, CodePage cp) {
  if (code > 255) return {};
  if (cp == CodePage::Utf8) cp = CodePage::Win1251;
  return Table(cp).decode[code];
}

}  // namespace pw::common
