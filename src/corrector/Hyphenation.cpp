#include "corrector/Hyphenation.h"

#include <algorithm>
#include <set>
#include <vector>

#include "common/Text.h"
#include "common/Utf8.h"

namespace pw::corrector {
namespace {

constexpr char kTagBlank = '\x0E';
constexpr size_t kLongestWord = 200;

// The language letters. Each set is the language's list of single-byte codes turned into
// characters through the code page that group was written for: Windows-1250 for Polish and
// Czech, Windows-1251 for the default (English, Russian) sets, and for French, German and
// Spanish Windows-1252 for the language's own letters and Windows-1251 for the Cyrillic
// letters they also carry, so that Russian words in such books are hyphenated too. The
// typographic marks of the punctuation class are taken through Windows-1251 everywhere.
struct LanguageLetters {
  std::string_view name;
  std::string_view consonants;
  std::string_view vowels;
  std::string_view signs;
};

constexpr std::string_view kCyrillicConsonants = "бвгджзйклмнпрстфхцчшщБВГДЖЗЙКЛМНПРСТФХЦЧШЩ";
constexpr std::string_view kCyrillicVowels = "аеёиоуэыюяАЕЁИОУЭЫЮЯ";

constexpr LanguageLetters kDefaultLetters{"", kCyrillicConsonants, kCyrillicVowels, "ьъЬЪ"};

constexpr LanguageLetters kLanguages[] = {
    {"Polish", "ĆŁŃŚŹŻćłńśźż", "ĄĘÓąęó", ""},
    {"Czech", "čřšžČŘŠŽ", "áéěíüúůýÁÉĚÍÜÚŮÝ", ""},
    {"French", "ÇçгджлпрсхцчшГДЖЛПРСХЦЧШ",
     "àáâèéêìíîòóôùúûÀÁÂÈÉÊÌÍÎÒÓÔÙÚÛЕЁИОУЭЫеёиоуэыюяЮЯ", ""},
    {"German", "бвгжзйклмнпрстфхчшщБВГЖЗЙКЛМНПРСТФХЧШЩ", "äöüßÄÖÜаеёиоуэыюяАЕЁИОУЭЫЮ", "ъЪ"},
    {"Spanish", "ÑñвгджзклмпртфхцчшщВГДЖЗКЛМПРТФХЦЧШЩ", "áéíóúÁÉÍÓÚаеёиоэыюяАЕЁИОЭЫЮЯ", "ьЬ"},
};

constexpr std::string_view kBaseVowels = "aeijouAEIJOU";  // j is a vowel, y a consonant, always
constexpr std::string_view kBaseConsonants = "qwrtypsdfghklzxcvbnmQWRTYPSDFGHKLZXCVBNM";
// '.' and the middle dot both, then " … ™ © « soft-hyphen ® № ».
constexpr std::string_view kPunctuation = ".·-,:;!?@#$%^&*()[]{}=\\/~\"…™©«\u00AD®№»";

std::u32string Decode(std::string_view text) {
  std::u32string out;
  out.reserve(text.size());
  for (size_t pos = 0; pos < text.size();) out += common::NextCodePoint(text, pos);
  return out;
}

// 0-based indices k of `letters` before which a soft hyphen goes.
std::set<size_t> BreakPoints(const std::u32string& w, const HyphenationClasses& classes) {
  std::set<size_t> breaks;
  const size_t n = w.size();
  if (n < 4) return breaks;
  // c(k) and ch(k) take the 1-based positions of the rules.
  std::vector<LetterKind> kinds(n + 1);
  size_t vowels = 0;
  size_t p = 0;
  for (size_t k = 1; k <= n; ++k) {
    kinds[k] = classes.LetterClass(w[k - 1]);
    if (kinds[k] == LetterKind::Vowel) {
      ++vowels;
      p = k;
    }
  }
  if (vowels < 2) return breaks;
  auto c = [&](size_t k) { return kinds[k]; };
  auto ch = [&](size_t k) { return w[k - 1]; };
  auto isVowel = [&](size_t k) { return c(k) == LetterKind::Vowel; };
  auto isConsonant = [&](size_t k) { return c(k) == LetterKind::Consonant; };
  auto isPunct = [&](size_t k) { return c(k) == LetterKind::Punctuation; };
  auto vowelOrOther = [&](size_t k) { return c(k) == LetterKind::Vowel || c(k) == LetterKind::Other; };

  const size_t limit = n >= 3 ? std::min(p, n - 3) : 0;
  size_t v = isVowel(1) ? 1 : 0;
  for (size_t i = 1; i <= n && i <= kLongestWord; ++i) {
    if (c(i) == LetterKind::Other || isPunct(i) || ch(i) == U'-') {
      v = 0;  // a hyphen or punctuation starts a new part of the word
      continue;
    }
    if (i > limit || i + 3 > n) break;
    if (c(i + 3) == LetterKind::Other) continue;
    if (isVowel(i + 1)) ++v;
    if (v == 0) continue;

    if (ch(i + 1) == ch(i + 2) && isConsonant(i + 1) && isConsonant(i + 2) && isConsonant(i + 3) &&
        classes.MayBreakBefore(i + 2, ch(i + 2))) {
      breaks.insert(i + 1);  // between w[i+1] and w[i+2]
      i += 2;
      continue;
    }
    // The small letter breaks after it unconditionally, the capital only before a vowel and
    // not after punctuation: the asymmetry is deliberate.
    if (classes.russian() &&
        (ch(i + 2) == U'й' || (ch(i + 2) == U'Й' && isVowel(i + 3) && !isPunct(i + 1)))) {
      breaks.insert(i + 2);  // after w[i+2]
      i += 2;
      continue;
    }
    if (i >= p) break;
    const bool a = isVowel(i) && isConsonant(i + 1) && isConsonant(i + 2) && !isPunct(i + 3);
    const bool b = isConsonant(i) && vowelOrOther(i + 1) && isConsonant(i + 2) && isVowel(i + 3);
    const bool cc = isConsonant(i) && vowelOrOther(i + 1) && vowelOrOther(i + 2) && isConsonant(i + 3);
    const bool d = c(i + 1) == LetterKind::Sign && !isPunct(i + 2) && !isPunct(i + 3);
    const bool e = c(i + 1) == c(i + 2) && (isVowel(i + 1) || isConsonant(i + 1)) && !isPunct(i + 3);
    // A doubled letter that the language keeps together (Spanish ll and rr) is not split by
    // these rules either.
    const bool keptDouble = ch(i + 1) == ch(i + 2) && !classes.MayBreakBefore(i + 2, ch(i + 2));
    if ((a || b || cc || d || e) && !keptDouble) breaks.insert(i + 1);
  }
  return breaks;
}

}  // namespace

HyphenationClasses::HyphenationClasses(std::string_view language) {
  english_ = language == "English";
  spanish_ = language == "Spanish";
  russian_ = language == "Russian";
  const LanguageLetters* letters = &kDefaultLetters;
  for (const LanguageLetters& entry : kLanguages) {
    if (entry.name == language) letters = &entry;
  }
  // Looked up in the order consonant, vowel, punctuation, sign: the first set that holds a
  // character decides, so the sets are added in the reverse order and earlier ones win.
  Add(letters->signs, LetterKind::Sign);
  Add(kPunctuation, LetterKind::Punctuation);
  Add(kBaseVowels, LetterKind::Vowel);
  Add(letters->vowels, LetterKind::Vowel);
  Add(kBaseConsonants, LetterKind::Consonant);
  Add(letters->consonants, LetterKind::Consonant);
}

void HyphenationClasses::Add(std::string_view letters, LetterKind kind) {
  for (size_t pos = 0; pos < letters.size();) classes_[common::NextCodePoint(letters, pos)] = kind;
}

LetterKind HyphenationClasses::LetterClass(char32_t c) const {
  const auto found = classes_.find(c);
  return found == classes_.end() ? LetterKind::Other : found->second;
}

bool HyphenationClasses::MayBreakBefore(size_t position, char32_t letter) const {
  if (english_) return !(position == 3 && (letter == U'f' || letter == U'F'));
  if (spanish_) return letter != U'l' && letter != U'r' && letter != U'L' && letter != U'R';
  return true;
}

HyphenationClasses InitHyphenationClasses(std::string_view language) { return HyphenationClasses(language); }

std::string HyphenateWord(std::string_view word, const HyphenationClasses& classes) {
  if (word.find('&') != std::string_view::npos) return std::string(word);
  const std::u32string letters = Decode(word);
  const std::set<size_t> breaks = BreakPoints(letters, classes);
  if (breaks.empty()) return std::string(word);
  std::string out;
  out.reserve(word.size() + 2 * breaks.size());
  for (size_t k = 0; k < letters.size(); ++k) {
    if (breaks.count(k)) out += kSoftHyphen;
    common::AppendUtf8(out, letters[k]);
  }
  return out;
}

std::string HyphenateTaggedWord(std::string_view word, const HyphenationClasses& classes) {
  // The letters outside tags, each with the byte offset where it starts in the tagged word.
  std::u32string letters;
  std::vector<size_t> offsets;
  std::string plain;
  for (size_t pos = 0; pos < word.size();) {
    if (word[pos] == '<') {
      const size_t close = word.find('>', pos);
      if (close == std::string_view::npos) break;
      pos = close + 1;
      continue;
    }
    offsets.push_back(pos);
    const size_t start = pos;
    letters += common::NextCodePoint(word, pos);
    plain.append(word.substr(start, pos - start));
  }
  if (plain.find('&') != std::string::npos) return std::string(word);
  const std::set<size_t> breaks = BreakPoints(letters, classes);
  if (breaks.empty()) return std::string(word);
  std::string out;
  out.reserve(word.size() + 2 * breaks.size());
  size_t copied = 0;
  for (const size_t k : breaks) {
    out.append(word.substr(copied, offsets[k] - copied));
    out += kSoftHyphen;
    copied = offsets[k];
  }
  out.append(word.substr(copied));
  return out;
}

std::string PrepareHyphenationTags(std::string_view text, common::Progress& progress) {
  progress.Status("...hyphenations: preparing tags...");
  std::string out(text);
  bool inTag = false;
  const size_t step = std::max<size_t>(out.size() / 20, 1);
  for (size_t i = 0; i < out.size(); ++i) {
    const char c = out[i];
    if (c == '<') inTag = true;
    else if (c == '>') inTag = false;
    else if (inTag && c == ' ') out[i] = kTagBlank;
    if (i % step == 0) progress.Percent(static_cast<int>(100 * i / out.size()));
  }
  return out;
}

std::string RemoveHyphenations(std::string_view text) {
  std::string out = common::ReplaceAll(text, kSoftHyphen, "");
  common::ReplaceAllInPlace(out, "&shy;", "");
  return out;
}

std::string InsertHyphenations(std::string_view text, bool plainDivParagraphs,
                               std::string_view language, common::Progress& progress) {
  const std::string_view plainOpening = plainDivParagraphs ? "<DIV>" : "<DIV align=justify>";
  if (text.find(plainOpening) == std::string_view::npos) return std::string(text);
  // The blank inside the opening tag has become code 14 by then.
  const std::string opening = plainDivParagraphs ? "<DIV>" : std::string("<DIV") + kTagBlank + "align=justify>";

  std::string prepared = RemoveHyphenations(PrepareHyphenationTags(text, progress));
  const HyphenationClasses classes = InitHyphenationClasses(language);

  progress.Status("...inserting hyphenations...");
  const std::string_view source(prepared);
  std::string out;
  out.reserve(source.size() + source.size() / 8);
  size_t pos = 0;
  size_t nextPercent = 0;
  for (size_t open = source.find(opening); open != std::string_view::npos; open = source.find(opening, pos)) {
    const size_t start = open + opening.size();
    const size_t close = source.find("</DIV>", start);
    if (close == std::string_view::npos) break;
    out.append(source.substr(pos, start - pos));
    const std::string_view paragraph = source.substr(start, close - start);
    bool first = true;
    for (size_t wordStart = 0; wordStart <= paragraph.size();) {
      size_t wordEnd = paragraph.find(' ', wordStart);
      if (wordEnd == std::string_view::npos) wordEnd = paragraph.size();
      const std::string_view word = paragraph.substr(wordStart, wordEnd - wordStart);
      if (!first) out += ' ';
      first = false;
      out += word.find('>') != std::string_view::npos ? HyphenateTaggedWord(word, classes)
                                                      : HyphenateWord(word, classes);
      wordStart = wordEnd + 1;
    }
    out += "</DIV>";
    pos = close + 6;
    if (pos >= nextPercent) {
      progress.Percent(static_cast<int>(100 * pos / source.size()));
      nextPercent = pos + source.size() / 50;
    }
  }
  out.append(common::Trim(source.substr(pos)));
  out += "\r\n";

  // Code 14 back to blanks, runs of blanks and of soft hyphens to one.
  std::replace(out.begin(), out.end(), kTagBlank, ' ');
  common::CollapseRepeats(out, " ", true);
  common::ReplaceAllInPlace(out, "&shy;", kSoftHyphen);
  common::CollapseRepeats(out, kSoftHyphen, true);
  progress.Percent(100);
  return out;
}

}  // namespace pw::corrector
