// Code pages of books and their conversion to and from UTF-8 (ICU converters).
// Inside the program every text is UTF-8; these functions are the only way bytes of a
// single-byte code page come in or go out.
#pragma once

#include <string>
#include <string_view>

namespace pw::common {

enum class CodePage { Utf8, Win1251, Win1252, Win1250, Koi8r, Cp866, Iso88595, MacCyr };

// The session names of the code pages: "Win1251", "Win1252", "Win1250", "Koi8r", "CP866",
// "iso", "MacCyr"; "utf-8" for Utf8.
std::string_view CodePageName(CodePage cp);

// The charset name used in HTML meta lines and XML declarations ("windows-1251", "koi8-r", ...).
std::string_view CodePageCharset(CodePage cp);

// Parses a session name or a charset name, case-insensitively. False when unknown.
bool ParseCodePage(std::string_view name, CodePage& cp);

// Decodes bytes of `cp` to UTF-8. Bytes that the code page leaves undefined (or as C1) become U+FFFD.
std::string DecodeToUtf8(std::string_view bytes, CodePage cp);

enum class Unmappable {
  NumericReference,  // write "&#NNNN;" for a character the target lacks
  Question,          // write "?"
};

// Encodes UTF-8 text into `cp`. Characters that `cp` lacks are written as `unmappable` says.
// Invalid UTF-8 input bytes become U+FFFD first.
std::string EncodeFromUtf8(std::string_view utf8, CodePage cp,
                           Unmappable unmappable = Unmappable::NumericReference);

// The character with single-byte `code` (0..255) in `cp`, as UTF-8; empty when undefined.
// Codes below 128 are ASCII in every supported code page. For Utf8, the code is taken as a
// Windows-1251 code, the working default of book text.
std::string CharOfCode(unsigned code, CodePage cp);

}  // namespace pw::common
