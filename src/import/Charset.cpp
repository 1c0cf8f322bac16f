#include "import/Charset.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "common/Text.h"
#include "common/Utf8.h"
#include "common/TextScan.h"

namespace pw::import {

using common::CodePage;

namespace {

constexpr size_t kSampleLength = 10000;
constexpr size_t kShortest = 10;
constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// Length of the well-formed UTF-8 sequence at `pos`, 0 when it is malformed, and
// `truncated` set when the text ends inside an otherwise good sequence.
size_t SequenceLength(std::string_view s, size_t pos, bool& truncated) {
  const auto c = static_cast<unsigned char>(s[pos]);
  size_t len = 0;
  unsigned char lo = 0x80, hi = 0xBF;  // bounds of the second byte
  if (c >= 0xC2 && c <= 0xDF) {
    len = 2;
  } else if (c >= 0xE0 && c <= 0xEF) {
    len = 3;
    if (c == 0xE0) lo = 0xA0;  // overlong
    if (c == 0xED) hi = 0x9F;  // surrogates
  } else if (c >= 0xF0 && c <= 0xF4) {
    len = 4;
    if (c == 0xF0) lo = 0x90;  // overlong
    if (c == 0xF4) hi = 0x8F;  // beyond U+10FFFF
  } else {
    return 0;
  }
  for (size_t i = 1; i < len; ++i) {
    if (pos + i >= s.size()) {
      truncated = true;
      return 0;
    }
    const auto b = static_cast<unsigned char>(s[pos + i]);
    if (i == 1 ? (b < lo || b > hi) : !IsContinuation(b)) return 0;
  }
  return len;
}

// Removes every part from `open` to `close` (ASCII, any case) from `text`.
std::string RemoveParts(std::string_view text, std::string_view open, std::string_view close) {
  std::string out;
  out.reserve(text.size());
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t start = common::FindAsciiCaseless(text, open, pos);
    if (start == std::string_view::npos) break;
    const size_t end = common::FindAsciiCaseless(text, close, start + open.size());
    if (end == std::string_view::npos) break;
    out.append(text, pos, start - pos);
    pos = end + close.size();
  }
  out.append(text, pos);
  return out;
}

}  // namespace

double LetterShare(std::string_view sample, unsigned char c) {
  if (sample.empty()) return 0.0;
  const size_t count = static_cast<size_t>(std::count(sample.begin(), sample.end(), static_cast<char>(c)));
  return static_cast<double>(count) * 100.0 / static_cast<double>(sample.size());
}

// Real UTF-8 files are sometimes damaged in a few places (a cut sequence where two files were
// joined, a stray byte from a bad copy). One bad byte in a hundred good sequences does not make
// the rest of the book another code page, so such a file still counts as UTF-8 and the bad
// bytes become U+FFFD when decoded. A short text must be flawless.
bool LooksLikeUtf8(std::string_view bytes) {
  if (bytes.starts_with(kUtf8Bom)) return true;
  size_t good = 0, bad = 0;
  for (size_t pos = 0; pos < bytes.size();) {
    const auto c = static_cast<unsigned char>(bytes[pos]);
    if (c < 0x80) {
      // Plain ASCII runs are skipped quickly: they say nothing either way.
      ++pos;
      continue;
    }
    bool truncated = false;
    const size_t len = SequenceLength(bytes, pos, truncated);
    if (truncated) break;  // a text cut inside its last character
    if (len == 0) {
      ++bad;
      ++pos;
    } else {
      ++good;
      pos += len;
    }
  }
  if (good == 0) return false;
  if (good < 100) return bad == 0;
  return bad * 100 <= good;
}

std::string_view TakeSample(std::string_view bytes) {
  if (bytes.size() <= kSampleLength) return bytes;
  const size_t close = bytes.find('>', kSampleLength);
  // A ">" that belongs to no tag far away would drag the whole book in; a tag is short.
  if (close == std::string_view::npos || close - kSampleLength > kSampleLength) return bytes.substr(0, kSampleLength);
  return bytes.substr(0, close + 1);
}

std::string CleanSample(std::string_view sample) {
  std::string text = RemoveParts(sample, "<HEAD", "</HEAD>");
  text = RemoveParts(text, "<STYLE", "</STYLE>");
  // Tags ("<[^>]*>") and short entities ("&[^;]{0,8};") go in one pass, and every run of
  // blanks, tabs and line ends becomes one blank, as the text preparation of an import makes
  // it: indentation and justification blanks would otherwise water the letter shares down so
  // far that a plain Cyrillic or English text passes no rule. An unclosed "<" is kept.
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    const char c = text[i];
    if (c == '<') {
      const size_t close = text.find('>', i + 1);
      if (close == std::string::npos) {
        out.push_back(c);
        ++i;
        continue;
      }
      i = close + 1;
      continue;
    }
    if (c == '&') {
      const size_t semi = common::FindWithin(text, ';', i + 1, 9);
      if (semi != std::string::npos) {
        i = semi + 1;
        continue;
      }
    }
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      if (!out.empty() && out.back() != ' ') out.push_back(' ');
      ++i;
      continue;
    }
    out.push_back(c);
    ++i;
  }
  return out;
}

CodePage DecideCyrillicCodePage(std::string_view sample) {
  std::array<size_t, 256> counts{};
  for (const char c : sample) ++counts[static_cast<unsigned char>(c)];
  const double n = static_cast<double>(sample.size());
  const auto p = [&](unsigned c) { return n == 0 ? 0.0 : static_cast<double>(counts[c]) * 100.0 / n; };
  if (p(224) > 4 && p(255) > 1) return CodePage::Win1251;
  if (p(193) > 4 && p(207) > 4) return CodePage::Koi8r;
  if (p(160) > 4 && p(207) < 0.1) return CodePage::Cp866;
  if (p(97) > 4) return CodePage::Win1252;
  if (p(208) > 4) return CodePage::Iso88595;
  if (p(224) > 3 && p(255) < 0.001) return CodePage::MacCyr;
  return CodePage::Win1251;
}

CodePage LanguageCodePage(std::string_view language) {
  if (language == "Polish" || language == "Czech") return CodePage::Win1250;
  if (language == "English" || language == "Spanish" || language == "German" || language == "French")
    return CodePage::Win1252;
  return CodePage::Win1251;
}

CharsetDecision DecideCharset(std::string_view bytes, std::string_view language) {
  CharsetDecision decision;
  const bool detectLanguage = language == "auto";
  const bool cyrillicSetting = detectLanguage || language == "Russian";

  // A UTF-8 source is decoded as UTF-8 under every setting; the setting (or the detected
  // language) still decides the book's script family.
  if (LooksLikeUtf8(bytes)) {
    decision.source = CodePage::Utf8;
    if (detectLanguage) {
      std::string_view text = bytes;
      if (text.starts_with(kUtf8Bom)) text.remove_prefix(kUtf8Bom.size());
      decision.language = DetectLanguage(CleanSample(TakeSample(text)));
      decision.codePage = LanguageCodePage(decision.language);
    } else {
      decision.codePage = LanguageCodePage(language);
    }
    return decision;
  }
  if (!cyrillicSetting) {
    decision.source = decision.codePage = LanguageCodePage(language);
    return decision;
  }
  if (bytes.size() < kShortest) return decision;
  const std::string sample = CleanSample(TakeSample(bytes));
  if (sample.size() < kShortest) return decision;
  decision.source = DecideCyrillicCodePage(sample);
  decision.codePage = decision.source;
  if (decision.source == CodePage::Win1252) {
    // A Latin text. Under "auto" the language decides between the Western and the Central
    // European code page; the language detector reads the sample in both.
    if (detectLanguage) {
      decision.language = DetectLanguageOfSingleByte(sample);
      decision.source = decision.codePage = LanguageCodePage(decision.language);
      if (decision.codePage == CodePage::Win1251) decision.source = decision.codePage = CodePage::Win1252;
    }
  } else {
    if (detectLanguage) decision.language = "Russian";
    decision.codePage = CodePage::Win1251;  // every Cyrillic code page is one script family
  }
  return decision;
}

std::string DetectCharset(std::string_view bytes, common::Session& session) {
  const std::string& setting = session.settings.importCodePage;
  CodePage chosen;
  CharsetDecision decision;
  if (setting != "auto" && common::ParseCodePage(setting, chosen)) {
    // The user named the code page: no guessing, except that a byte-order mark is believed.
    decision.source = bytes.starts_with(kUtf8Bom) ? CodePage::Utf8 : chosen;
    decision.codePage = chosen == CodePage::Utf8 ? LanguageCodePage(session.settings.importLanguage) : chosen;
    if (decision.codePage == CodePage::Koi8r || decision.codePage == CodePage::Cp866 ||
        decision.codePage == CodePage::Iso88595 || decision.codePage == CodePage::MacCyr)
      decision.codePage = CodePage::Win1251;
  } else {
    session.progress.Status("...detecting charset...");
    decision = DecideCharset(bytes, session.settings.importLanguage);
  }
  session.codePage = decision.codePage;

  if (decision.source == CodePage::Utf8) {
    session.progress.Status("...converting from utf-8...");
    if (bytes.starts_with(kUtf8Bom)) bytes.remove_prefix(kUtf8Bom.size());
    if (common::IsValidUtf8(bytes)) return std::string(bytes);
    return common::DecodeToUtf8(bytes, CodePage::Utf8);
  }
  switch (decision.source) {
    case CodePage::Koi8r:
    case CodePage::Cp866:
    case CodePage::Iso88595:
    case CodePage::MacCyr:
      session.progress.Status("...converting from " + std::string(common::CodePageName(decision.source)) +
                              " to win-1251...");
      break;
    default:
      // Nothing to convert in the original sense, but the user should see what was assumed.
      session.progress.Status("...charset: " + std::string(common::CodePageName(decision.source)) + "...");
      break;
  }
  return common::DecodeToUtf8(bytes, decision.source);
}

}  // namespace pw::import
