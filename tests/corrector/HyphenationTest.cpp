#include "corrector/Hyphenation.h"

#include <gtest/gtest.h>

#include "common/Files.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "support/TestSupport.h"

namespace pw::corrector {
namespace {

// Soft hyphens shown as "-" for readable expectations.
std::string Shown(std::string_view word, std::string_view language) {
  return common::ReplaceAll(HyphenateWord(word, InitHyphenationClasses(language)), kSoftHyphen, "=");
}

struct Case {
  std::string_view language;
  std::string_view word;
  std::string_view expected;
};

// Worked out by hand from the rules: the break goes between positions i+1 and i+2 where one of
// the patterns holds, doubled consonants split before a consonant, and the Russian й closes its
// syllable.
TEST(Hyphenation, WordsByLanguage) {
  const Case cases[] = {
      {"Russian", "молоко", "мо=ло=ко"},      // consonant-vowel-consonant-vowel twice
      {"Russian", "хозяйка", "хо=зяй=ка"},    // й closes the syllable
      {"Russian", "стройка", "строй=ка"},
      {"Russian", "подъезд", "подъ=езд"},    // after the hard sign
      {"Russian", "программа", "прог=рам=ма"},
      {"Russian", "раЙон", "раЙ=он"},        // capital Й only before a vowel
      {"Russian", "кот", "кот"},             // three letters
      {"Russian", "книга", "кни=га"},
      {"English", "butter", "but=ter"},
      {"English", "offer", "offer"},          // ff at position 3 is kept together
      {"English", "computer", "com=pu=ter"},
      {"English", "strength", "strength"},    // one vowel
      {"Spanish", "perro", "perro"},          // rr is never split
      {"Spanish", "casa", "ca=sa"},
      {"Spanish", "mañana", "ma=ña=na"},
      {"German", "Wasser", "Was=ser"},
      {"German", "Schule", "Schu=le"},
      {"French", "garçon", "gar=çon"},
      {"French", "pomme", "pom=me"},
      {"Polish", "woda", "wo=da"},
      {"Polish", "szkoła", "szko=ła"},
      {"Czech", "kočka", "koč=ka"},
      {"Czech", "řeka", "ře=ka"},
  };
  for (const Case& c : cases) EXPECT_EQ(Shown(c.word, c.language), c.expected) << c.language << " " << c.word;
}

TEST(Hyphenation, WordsLeftWhole) {
  EXPECT_EQ(Shown("&nbsp;молоко", "Russian"), "&nbsp;молоко");
  EXPECT_EQ(Shown("дом", "Russian"), "дом");
  EXPECT_EQ(Shown("сколь", "Russian"), "сколь");
  EXPECT_EQ(Shown("12345", "Russian"), "12345");
}

TEST(Hyphenation, TaggedWordsKeepTheirTags) {
  const auto classes = InitHyphenationClasses("Russian");
  EXPECT_EQ(common::ReplaceAll(HyphenateTaggedWord("мо<I>ло</I>ко", classes), kSoftHyphen, "="),
            "мо<I>=ло</I>=ко");
  EXPECT_EQ(HyphenateTaggedWord("<B>&amp;молоко</B>", classes), "<B>&amp;молоко</B>");
}

TEST(Hyphenation, OnlyParagraphsAndNeverInsideTags) {
  common::NullProgress progress;
  const std::string book = "<BODY>" + markup::MakeTitle("молоко", "#001950") +
                           markup::MakeParagraph("слово молоко <A href=\"#n1\" class=x>хозяйка</A> стройка") +
                           "</BODY>";
  const std::string out = InsertHyphenations(book, false, "Russian", progress);
  EXPECT_NE(out.find("<B>молоко</B>"), std::string::npos);  // the title is untouched
  EXPECT_NE(out.find("<A href=\"#n1\" class=x>"), std::string::npos);
  EXPECT_NE(out.find("мо\u00ADло\u00ADко <A"), std::string::npos);
  // No soft hyphen inside a tag or an entity.
  bool inTag = false;
  for (size_t i = 0; i < out.size(); ++i) {
    if (out[i] == '<') inTag = true;
    if (out[i] == '>') inTag = false;
    if (inTag) {
      EXPECT_NE(out.compare(i, kSoftHyphen.size(), kSoftHyphen), 0) << "at " << i;
    }
  }
  EXPECT_EQ(out.find("&nb\u00AD"), std::string::npos);
  EXPECT_EQ(InsertHyphenations("<BODY><P>молоко</P></BODY>", false, "Russian", progress),
            "<BODY><P>молоко</P></BODY>");
}

TEST(Hyphenation, TwiceEqualsOnceAndRemovalUndoes) {
  common::NullProgress progress;
  const std::string book = "<BODY>" + markup::MakeParagraph("Молоко и хозяйка&shy;ство стройка ") +
                           markup::MakeParagraph("программа") + "</BODY>";
  const std::string once = InsertHyphenations(book, false, "Russian", progress);
  EXPECT_EQ(InsertHyphenations(once, false, "Russian", progress), once);
  EXPECT_EQ(RemoveHyphenations(once).find(kSoftHyphen), std::string::npos);
  EXPECT_EQ(common::CountOccurrences(once, std::string(kSoftHyphen) + std::string(kSoftHyphen)), 0u);
}

TEST(Hyphenation, RealBookIsIdempotent) {
  const auto path = test::CorpusPath("html/ru_pushkin_kapitanskaya_dochka_libru_utf8.html");
  if (path.empty() || !common::FileExists(path)) GTEST_SKIP() << "corpus not present";
  std::string book;
  ASSERT_TRUE(common::ReadWholeFile(path, book));
  // The corpus page holds the text as preformatted lines; make each line a paragraph.
  std::string paragraphs;
  for (size_t pos = 0; pos < book.size();) {
    size_t end = book.find('\n', pos);
    if (end == std::string::npos) end = book.size();
    const std::string line = markup::OneLineText(std::string_view(book).substr(pos, end - pos));
    if (!line.empty()) paragraphs += markup::MakeParagraph(line) + "\r\n";
    pos = end + 1;
  }
  book = "<BODY>\r\n" + paragraphs + "</BODY>";
  common::NullProgress progress;
  const std::string once = InsertHyphenations(book, false, "Russian", progress);
  EXPECT_GT(common::CountOccurrences(once, kSoftHyphen), 1000u);
  EXPECT_EQ(InsertHyphenations(once, false, "Russian", progress), once);
}

}  // namespace
}  // namespace pw::corrector
