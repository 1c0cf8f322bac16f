// Deciding the code page of a source and decoding it to UTF-8.
//
// A source arrives as bytes. The decision follows the user's language setting first (Polish
// and Czech books are Windows-1250, the Western languages Windows-1252), then a validity test
// for UTF-8, then letter statistics on a cleaned sample that tell the Cyrillic code pages
// apart. The decided code page is reported in the status line and recorded in the session as
// the book's script family; the text that comes out is always UTF-8.
#pragma once

#include <string>
#include <string_view>

#include "common/CodePage.h"
#include "common/Session.h"

namespace pw::import {

// The share of byte value `c` in `sample`, in percent of the sample's length.
double LetterShare(std::string_view sample, unsigned char c);

// True when `bytes` is well-formed UTF-8 (no overlong forms, no surrogates, nothing beyond
// U+10FFFF) and holds enough multi-byte sequences to tell it from plain ASCII. A text cut in
// the middle of its last sequence still counts.
bool LooksLikeUtf8(std::string_view bytes);

// The sample the statistics are taken on: the first 10,000 bytes, extended to and including
// the next ">" so that no tag is cut.
std::string_view TakeSample(std::string_view bytes);

// Removes the head and style parts, every tag and every short entity from `sample`, and
// makes every run of white space one blank.
std::string CleanSample(std::string_view sample);

// The letter-share table: the code page of a cleaned sample of single-byte text, Win1251 by
// default.
common::CodePage DecideCyrillicCodePage(std::string_view cleanedSample);

// The language of a cleaned UTF-8 sample: "Russian", "English", "Spanish",
// "German", "French", "Polish" or "Czech".
std::string DetectLanguage(std::string_view cleanedSample);

// The same for a sample of single-byte Latin text whose code page is not known yet: the
// Central European languages are read as Windows-1250, the Western ones as Windows-1252.
std::string DetectLanguageOfSingleByte(std::string_view cleanedSample);

// The code page that a language setting calls for.
common::CodePage LanguageCodePage(std::string_view language);

struct CharsetDecision {
  common::CodePage source = common::CodePage::Win1251;    // how the bytes were decoded
  common::CodePage codePage = common::CodePage::Win1251;  // the book's script family
  std::string language;                                   // set when the setting was "auto"
};

// Decides the code page of `bytes` under `language` (the import setting: "auto", "Russian",
// "English", "Spanish", "German", "French", "Polish", "Czech").
CharsetDecision DecideCharset(std::string_view bytes, std::string_view language);

// The whole step: decides, shows the status texts, records the book's code page in the
// session and returns the text decoded to UTF-8 (a byte-order mark dropped).
std::string DetectCharset(std::string_view bytes, common::Session& session);

}  // namespace pw::import
