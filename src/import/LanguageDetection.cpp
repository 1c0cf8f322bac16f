// Telling the languages of imported books apart.
//
// The rules, on a sample with its markup removed:
//  1. Cyrillic letters outnumber Latin ones: Russian.
//  2. Otherwise each Latin language gets a score: one point for every word of the sample that
//     is among its most frequent short words, and three points for every letter that only it
//     (of the six) uses:
//       English  (words only: it has no letters of its own)
//       Spanish  ñ ¿ ¡
//       German   ä ö ü ß
//       French   è ê à ç ù â î ô û ë œ
//       Polish   ą ę ł ś ż ź ń ć
//       Czech    ř ě ů č š ž ť ď ň
//     The word lists hold words that are common in one language and rare in the others
//     ("the", "der", "się", "že"...). The highest score wins; no score at all, or a tie with
//     English, means English, the commonest Western language of books.
//  3. A single-byte sample of unknown code page is read twice: as Windows-1250 for Polish and
//     Czech and as Windows-1252 for the others. A Polish text read as Windows-1252 shows a few
//     Spanish and French letters (ñ, ¿, œ), but read as Windows-1250 it shows all of its own,
//     so the right reading always scores higher.
#include <array>
#include <string>
#include <string_view>
#include <unordered_set>

#include "common/CodePage.h"
#include "common/Utf8.h"
#include "import/Charset.h"

#include <unicode/uchar.h>

namespace pw::import {

namespace {

enum Lang { kEnglish, kSpanish, kGerman, kFrench, kPolish, kCzech, kLangCount };

constexpr std::array<std::string_view, kLangCount> kLangNames = {"English", "Spanish", "German",
                                                                 "French",  "Polish",  "Czech"};

struct LanguageData {
  std::unordered_set<std::string_view> words;
  std::u32string letters;
};

const std::array<LanguageData, kLangCount>& Languages() {
  static const std::array<LanguageData, kLangCount> data = {{
      {{"the", "and", "of", "was", "that", "with", "his", "her", "you", "had", "which", "were",
        "would", "have", "this", "from", "they", "she", "what", "when"},
       U""},
      {{"el", "los", "las", "que", "y", "del", "por", "una", "con", "para", "como", "pero", "su",
        "sus", "muy", "yo", "está", "era", "había", "dijo"},
       U"ñ¿¡"},
      {{"der", "die", "und", "das", "ist", "nicht", "ein", "eine", "ich", "sie", "mit", "auf",
        "den", "dem", "zu", "sich", "auch", "wie", "aber", "war"},
       U"äöüß"},
      {{"le", "les", "et", "des", "est", "une", "dans", "pas", "il", "je", "qui", "du", "au",
        "ne", "sur", "elle", "mais", "avec", "nous", "vous"},
       U"èêàçùâîôûëœ"},
      {{"się", "nie", "jest", "w", "i", "z", "że", "jak", "był", "była", "było", "tak", "już",
        "tylko", "mnie", "jego", "przez", "który", "może", "dla"},
       U"ąęłśżźńć"},
      {{"a", "je", "se", "v", "že", "jsem", "byl", "byla", "není", "jako", "také", "když", "jeho",
        "ale", "mu", "by", "tak", "jen", "už", "které"},
       U"řěůčšžťďň"},
  }};
  return data;
}

struct Counts {
  size_t cyrillic = 0;
  size_t latin = 0;
  std::array<size_t, kLangCount> score{};
};

void CountWord(const std::string& word, int firstLang, int lastLang, Counts& counts) {
  if (word.empty() || word.size() > 12) return;
  const auto& langs = Languages();
  for (int l = firstLang; l <= lastLang; ++l)
    if (langs[l].words.contains(word)) ++counts.score[l];
}

// Scores the languages firstLang to lastLang on the UTF-8 text; the other languages are left alone.
void Score(std::string_view text, int firstLang, int lastLang, Counts& counts) {
  const auto& langs = Languages();
  std::string word;
  for (size_t pos = 0; pos < text.size();) {
    const char32_t raw = common::NextCodePoint(text, pos);
    const auto cp = static_cast<char32_t>(u_tolower(static_cast<UChar32>(raw)));
    if (u_isalpha(static_cast<UChar32>(cp))) {
      const UBlockCode block = ublock_getCode(static_cast<UChar32>(cp));
      if (block == UBLOCK_CYRILLIC) ++counts.cyrillic;
      else if (block == UBLOCK_BASIC_LATIN || block == UBLOCK_LATIN_1_SUPPLEMENT || block == UBLOCK_LATIN_EXTENDED_A)
        ++counts.latin;
      for (int l = firstLang; l <= lastLang; ++l)
        if (langs[l].letters.find(cp) != std::u32string::npos) counts.score[l] += 3;
      common::AppendUtf8(word, cp);
      continue;
    }
    if (cp == U'¿' || cp == U'¡') {
      if (firstLang <= kSpanish && kSpanish <= lastLang) counts.score[kSpanish] += 3;
    }
    CountWord(word, firstLang, lastLang, counts);
    word.clear();
  }
  CountWord(word, firstLang, lastLang, counts);
}

std::string Decide(const Counts& counts) {
  if (counts.cyrillic > counts.latin) return "Russian";
  int best = kEnglish;
  for (int l = kSpanish; l < kLangCount; ++l)
    if (counts.score[l] > counts.score[best]) best = l;
  return std::string(kLangNames[best]);
}

}  // namespace

std::string DetectLanguage(std::string_view cleanedSample) {
  Counts counts;
  Score(cleanedSample, kEnglish, kCzech, counts);
  return Decide(counts);
}

std::string DetectLanguageOfSingleByte(std::string_view cleanedSample) {
  Counts counts;
  Score(common::DecodeToUtf8(cleanedSample, common::CodePage::Win1252), kEnglish, kFrench, counts);
  Counts central;
  Score(common::DecodeToUtf8(cleanedSample, common::CodePage::Win1250), kPolish, kCzech, central);
  counts.score[kPolish] = central.score[kPolish];
  counts.score[kCzech] = central.score[kCzech];
  return Decide(counts);
}

}  // namespace pw::import
