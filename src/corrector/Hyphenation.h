// Hyphenation with soft hyphens (U+00AD): a rule-based syllable splitter over letter classes,
// one class table per language, no dictionary. Running it removes earlier soft hyphens
// first, so it can be run again at any time.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "common/Progress.h"

namespace pw::corrector {

inline constexpr std::string_view kSoftHyphen = "\u00AD";

enum class LetterKind : int { Other = -1, Vowel = 0, Consonant = 1, Punctuation = 2, Sign = 3 };

// The letter classes of one language. Languages: "English", "Spanish", "German", "French",
// "Polish", "Czech", "Russian"; any other name takes the default (English and Russian) sets.
class HyphenationClasses {
 public:
  explicit HyphenationClasses(std::string_view language);

  LetterKind LetterClass(char32_t c) const;
  // Whether a doubled consonant may be split before `letter` standing at 1-based `position`.
  bool MayBreakBefore(size_t position, char32_t letter) const;
  bool russian() const { return russian_; }

 private:
  void Add(std::string_view letters, LetterKind kind);

  std::unordered_map<char32_t, LetterKind> classes_;
  bool english_ = false;
  bool spanish_ = false;
  bool russian_ = false;
};

// Builds the classes for `language` (the book description's language name).
HyphenationClasses InitHyphenationClasses(std::string_view language);

// The word with soft hyphens inserted. Words under 4 characters, words holding "&" (an
// entity) and words with fewer than 2 vowels come back unchanged.
std::string HyphenateWord(std::string_view word, const HyphenationClasses& classes);

// The same rules for a word that holds tags: the tags are skipped when the letters are
// classified and come out whole; the soft hyphens go between the letters around them.
std::string HyphenateTaggedWord(std::string_view word, const HyphenationClasses& classes);

// Replaces every blank inside a tag by the character with code 14, so that splitting a
// paragraph at blanks never cuts a tag.
std::string PrepareHyphenationTags(std::string_view text, common::Progress& progress);

// Deletes every soft hyphen (the character and the "&shy;" entity).
std::string RemoveHyphenations(std::string_view text);

// Hyphenates every word of the book's paragraphs: the elements opened by
// "<DIV align=justify>", or by "<DIV>" with `plainDivParagraphs`. Other elements (titles,
// verses, ...) are untouched. A text without such paragraphs is returned as it is.
std::string InsertHyphenations(std::string_view text, bool plainDivParagraphs,
                               std::string_view language, common::Progress& progress);

}  // namespace pw::corrector
