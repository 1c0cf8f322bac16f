#include "import/Charset.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>

#include "common/CodePage.h"
#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::import {
namespace {

using common::CodePage;

// A sample of `length` bytes holding `count` times each byte of `bytes`, blanks elsewhere.
std::string Sample(std::map<unsigned char, size_t> bytes, size_t length = 1000) {
  std::string s;
  for (const auto& [byte, count] : bytes) s.append(count, static_cast<char>(byte));
  s.resize(length, ' ');
  return s;
}

const std::string kRussian =
    "Вечером мы долго сидели у огня и говорили о дороге, которая ждала нас утром. Старик рассказывал, "
    "как в молодости ходил через перевал зимой, когда снег лежал выше пояса, а ночью выли волки. "
    "Мы слушали его молча, и каждый думал о своём. Потом хозяйка принесла чай, и разговор стих.";
const std::string kEnglish =
    "The rain had stopped by the time we reached the village, and the road that led to the old mill was "
    "still wet. She said that they would wait for us at the bridge, but when we came there was nobody. "
    "His brother had gone home with the horses, which was what we had feared.";
const std::string kGerman =
    "Der Regen hatte aufgehört, als wir das Dorf erreichten, und die Straße zur alten Mühle war noch nass. "
    "Sie sagte, dass sie an der Brücke auf uns warten würden, aber es war niemand da. Ich weiß nicht, "
    "warum er mit den Pferden schon nach Hause gegangen war; das hatten wir befürchtet.";
const std::string kFrench =
    "La pluie avait cessé quand nous sommes arrivés au village, et la route qui mène au vieux moulin était "
    "encore mouillée. Elle a dit qu'ils nous attendraient sur le pont, mais il n'y avait personne. Son frère "
    "était rentré à la maison avec les chevaux, ce que nous avions craint dès le début.";
const std::string kSpanish =
    "La lluvia había parado cuando llegamos al pueblo, y el camino que lleva al viejo molino todavía estaba "
    "mojado. Ella dijo que nos esperarían en el puente, pero no había nadie. ¿Por qué su hermano se fue a "
    "casa con los caballos? Era lo que temíamos desde el principio, señor.";
const std::string kPolish =
    "Deszcz przestał padać, kiedy dotarliśmy do wioski, a droga prowadząca do starego młyna była jeszcze "
    "mokra. Powiedziała, że będą na nas czekać przy moście, ale nikogo tam nie było. Jego brat już wrócił "
    "do domu z końmi, czego się obawialiśmy od samego początku.";
const std::string kCzech =
    "Déšť přestal, když jsme došli do vesnice, a cesta ke starému mlýnu byla ještě mokrá. Řekla, že na nás "
    "budou čekat u mostu, ale nikdo tam nebyl. Jeho bratr už odešel domů s koňmi, čehož jsme se obávali od "
    "samého začátku, a tak jsme šli dál sami.";

TEST(Charset, Utf8TestIsAValidityCheck) {
  EXPECT_TRUE(LooksLikeUtf8(kRussian));
  EXPECT_TRUE(LooksLikeUtf8("\xEF\xBB\xBF" "plain"));
  EXPECT_FALSE(LooksLikeUtf8("plain ASCII has nothing to tell"));
  EXPECT_FALSE(LooksLikeUtf8(common::EncodeFromUtf8(kRussian, CodePage::Win1251)));
  EXPECT_FALSE(LooksLikeUtf8(common::EncodeFromUtf8(kRussian, CodePage::Koi8r)));
  EXPECT_FALSE(LooksLikeUtf8("a\xC0\x80z"));          // overlong NUL
  EXPECT_FALSE(LooksLikeUtf8("a\xE0\x80\xAFz"));      // overlong "/"
  EXPECT_FALSE(LooksLikeUtf8("a\xED\xA0\x80z"));      // surrogate
  EXPECT_FALSE(LooksLikeUtf8("a\xF4\x90\x80\x80z"));  // beyond U+10FFFF
  EXPECT_TRUE(LooksLikeUtf8("Жук \xD0"));              // cut inside the last character
  // A long UTF-8 book with one damaged byte is still UTF-8; a short text must be flawless.
  std::string longText;
  for (int i = 0; i < 10; ++i) longText += kRussian;
  EXPECT_TRUE(LooksLikeUtf8(longText + "\xFF" + longText));
  EXPECT_FALSE(LooksLikeUtf8("Жук\xFF"));
}

TEST(Charset, SampleEndsAfterTheTagItWouldCut) {
  const std::string text = std::string(9995, 'x') + "<span class=a>" + std::string(100, 'y');
  EXPECT_EQ(TakeSample(text).size(), 9995u + 14u);
  EXPECT_EQ(TakeSample("short").size(), 5u);
  EXPECT_EQ(TakeSample(std::string(20000, 'x')).size(), 10000u);

  EXPECT_EQ(CleanSample("<HTML><head><title>t</title></HEAD><style>p{}</style><p class=x>a&amp;b&nbsp;c</p>"
                        "&averyveryverylongname;\r\n\t  <unclosed"),
            "abc&averyveryverylongname; <unclosed");
}

TEST(Charset, LetterShareTableWithStrictComparisons) {
  // Each rule just above its threshold, and just at it, where the next rule takes over.
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{224, 41}, {255, 11}, {193, 41}, {207, 41}})), CodePage::Win1251);
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{224, 41}, {255, 10}, {193, 41}, {207, 41}})), CodePage::Koi8r);
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{224, 40}, {255, 11}, {193, 41}, {207, 41}})), CodePage::Koi8r);
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{193, 40}, {207, 41}, {97, 41}})), CodePage::Win1252);
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{160, 41}})), CodePage::Cp866);
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{160, 41}, {207, 1}, {97, 41}})), CodePage::Win1252);
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{160, 40}, {97, 41}})), CodePage::Win1252);
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{97, 40}, {208, 41}})), CodePage::Iso88595);
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{208, 40}, {224, 31}})), CodePage::MacCyr);
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{224, 30}})), CodePage::Win1251);
  // p(224) = 3.5 and no byte 255 is Mac Cyrillic; one byte 255 in 10,000 (p = 0.01) is not.
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{224, 350}}, 10000)), CodePage::MacCyr);
  EXPECT_EQ(DecideCyrillicCodePage(Sample({{224, 350}, {255, 1}}, 10000)), CodePage::Win1251);
  EXPECT_EQ(DecideCyrillicCodePage(""), CodePage::Win1251);
}

TEST(Charset, RealCyrillicCodePagesAreTold) {
  std::string book;
  for (int i = 0; i < 20; ++i) book += kRussian + "\n";
  for (const CodePage cp : {CodePage::Win1251, CodePage::Koi8r, CodePage::Cp866, CodePage::Iso88595, CodePage::MacCyr}) {
    const auto decision = DecideCharset(common::EncodeFromUtf8(book, cp), "Russian");
    EXPECT_EQ(decision.source, cp) << common::CodePageName(cp);
    EXPECT_EQ(decision.codePage, CodePage::Win1251);
  }
}

TEST(Charset, LanguageSettingComesFirst) {
  const std::string polish = common::EncodeFromUtf8(kPolish, CodePage::Win1250);
  const std::string koi8 = common::EncodeFromUtf8(kRussian, CodePage::Koi8r);
  // Under "Polish" or "English" no Cyrillic code page is ever considered.
  EXPECT_EQ(DecideCharset(polish, "Polish").source, CodePage::Win1250);
  EXPECT_EQ(DecideCharset(koi8, "Czech").source, CodePage::Win1250);
  EXPECT_EQ(DecideCharset(koi8, "French").source, CodePage::Win1252);
  // UTF-8 is UTF-8 under every setting; the setting still gives the script family.
  const auto western = DecideCharset(kFrench, "French");
  EXPECT_EQ(western.source, CodePage::Utf8);
  EXPECT_EQ(western.codePage, CodePage::Win1252);
  const auto russian = DecideCharset(kRussian, "Russian");
  EXPECT_EQ(russian.source, CodePage::Utf8);
  EXPECT_EQ(russian.codePage, CodePage::Win1251);
  // Too short to judge: the default.
  EXPECT_EQ(DecideCharset("\xC1\xCF\xC1", "Russian").source, CodePage::Win1251);
  EXPECT_EQ(DecideCharset("<b><i><u>\xC1\xCF</u></i></b>", "Russian").source, CodePage::Win1251);
}

TEST(Charset, MostlyMarkupIsJudgedOnItsText) {
  // The tags are full of Latin "a" (byte 97); only the KOI8-R text between them counts.
  std::string html = "<html><head><title>aaaa</title></head><body>";
  const std::string koi8 = common::EncodeFromUtf8(kRussian, CodePage::Koi8r);
  for (int i = 0; i < 20; ++i) html += "<p class=\"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\">" + koi8 + "</p>";
  const auto decision = DecideCharset(html, "auto");
  EXPECT_EQ(decision.source, CodePage::Koi8r);
  EXPECT_EQ(decision.language, "Russian");
}

TEST(Charset, AutoTellsTheLanguages) {
  const std::pair<const std::string*, std::string> books[] = {
      {&kRussian, "Russian"}, {&kEnglish, "English"}, {&kGerman, "German"}, {&kFrench, "French"},
      {&kSpanish, "Spanish"}, {&kPolish, "Polish"},   {&kCzech, "Czech"}};
  for (const auto& [text, language] : books) {
    EXPECT_EQ(DetectLanguage(*text), language);
    // The same text as UTF-8 and in its single-byte code page, decided and decoded under "auto".
    const CodePage family = LanguageCodePage(language);
    for (const bool utf8 : {true, false}) {
      common::NullProgress progress;
      common::RecordingSink sink;
      common::Messages messages(sink);
      common::Session session(progress, messages);
      session.settings.importLanguage = "auto";
      const std::string bytes = utf8 ? *text : common::EncodeFromUtf8(*text, family);
      EXPECT_EQ(DetectCharset(bytes, session), *text) << language << (utf8 ? " utf-8" : " single-byte");
      EXPECT_EQ(session.codePage, family) << language;
    }
  }
}

TEST(Charset, StatusTextsNameWhatWasAssumed) {
  std::string book;
  for (int i = 0; i < 5; ++i) book += kRussian + "\n";
  common::RecordingProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::Session session(progress, messages);
  session.settings.importLanguage = "Russian";
  EXPECT_EQ(DetectCharset(common::EncodeFromUtf8(book, CodePage::Koi8r), session), book);
  EXPECT_EQ(progress.statuses,
            (std::vector<std::string>{"...detecting charset...", "...converting from Koi8r to win-1251..."}));

  progress.statuses.clear();
  EXPECT_EQ(DetectCharset("\xEF\xBB\xBF" + book, session), book);
  EXPECT_EQ(progress.statuses.back(), "...converting from utf-8...");

  progress.statuses.clear();
  EXPECT_EQ(DetectCharset(common::EncodeFromUtf8(book, CodePage::Win1251), session), book);
  EXPECT_EQ(progress.statuses.back(), "...charset: Win1251...");

  // A code page the user chose is used without guessing.
  session.settings.importCodePage = "CP866";
  progress.statuses.clear();
  EXPECT_EQ(DetectCharset(common::EncodeFromUtf8(book, CodePage::Cp866), session), book);
  EXPECT_EQ(progress.statuses, (std::vector<std::string>{"...converting from CP866 to win-1251..."}));
}

TEST(Charset, CorpusBooksAreDetected) {
  const auto corpus = test::CorpusPath("");
  if (corpus.empty() || !std::filesystem::exists(corpus)) GTEST_SKIP() << "no sample corpus beside the checkout";
  // What each file is, from the corpus manifest: the code page its bytes are in and the book's
  // script family. Pure ASCII files may be read as either Western code page or UTF-8.
  struct Expected {
    const char* file;
    CodePage source;
    CodePage family;
  };
  const Expected books[] = {
      {"txt/en_carroll_alice_ascii_crlf_noheader.txt", CodePage::Win1252, CodePage::Win1252},
      {"txt/en_shakespeare_sonnets_utf8bom_crlf_verse.txt", CodePage::Utf8, CodePage::Win1252},
      {"txt/ru_chekhov_vanka_utf8_oneline_noblank.txt", CodePage::Utf8, CodePage::Win1251},
      {"txt/ru_chekhov_vishnevyi_sad_play_utf8.txt", CodePage::Utf8, CodePage::Win1251},
      {"txt/ru_dos_readme_s3vbefix_cp866_lf.txt", CodePage::Cp866, CodePage::Win1251},
      {"txt/ru_dos_readme_s3vbefix_utf8bom.txt", CodePage::Utf8, CodePage::Win1251},
      {"txt/ru_dos_readme_vga3x_cp866_crlf.txt", CodePage::Cp866, CodePage::Win1251},
      {"txt/ru_lermontov_geroi_nashego_vremeni_utf8_libru_layout.txt", CodePage::Utf8, CodePage::Win1251},
      {"txt/ru_pushkin_onegin_cp1251_crlf_libru_style.txt", CodePage::Win1251, CodePage::Win1251},
      {"txt/ru_pushkin_skazka_o_tsare_saltane_utf8_verse.txt", CodePage::Utf8, CodePage::Win1251},
      {"txt/ru_vimtutor_cp1251.txt", CodePage::Win1251, CodePage::Win1251},
      {"txt/ru_vimtutor_koi8r.txt", CodePage::Koi8r, CodePage::Win1251},
      {"txt/ru_vimtutor_utf8.txt", CodePage::Utf8, CodePage::Win1251},
      {"html/en_carroll_alice_pg_xhtml1_old.htm", CodePage::Win1252, CodePage::Win1252},
      {"html/en_carroll_alice_pg_xhtml_with_image/11-h.htm", CodePage::Utf8, CodePage::Win1252},
      {"html/ru_pushkin_kapitanskaya_dochka_libru_cp1251.html", CodePage::Win1251, CodePage::Win1251},
      {"html/ru_pushkin_kapitanskaya_dochka_libru_utf8.html", CodePage::Utf8, CodePage::Win1251},
  };
  int hits = 0, total = 0;
  for (const auto& book : books) {
    const auto path = corpus / book.file;
    if (!std::filesystem::exists(path)) continue;
    std::string bytes;
    ASSERT_TRUE(common::ReadWholeFile(path, bytes)) << book.file;
    const auto decision = DecideCharset(bytes, "auto");
    ++total;
    const bool ascii = std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 128; });
    const bool sourceOk = decision.source == book.source || (ascii && decision.source == CodePage::Win1252);
    EXPECT_TRUE(sourceOk) << book.file << ": read as " << common::CodePageName(decision.source);
    EXPECT_EQ(decision.codePage, book.family) << book.file;
    if (sourceOk && decision.codePage == book.family) ++hits;
  }
  std::printf("charset detection: %d of %d corpus books\n", hits, total);
}

}  // namespace
}  // namespace pw::import
