// Author and title from the first lines of a text book, and letter-spaced headings.
#include <gtest/gtest.h>

#include "import/TextHeader.h"
#include "import/TextTestSupport.h"
#include "markup/BookMarkup.h"

namespace pw::import {
namespace {

struct HeaderCase {
  std::string_view text;
  std::string_view author;
  std::string_view title;
  std::string_view restStartsWith;  // what the text holds after the header lines
};

TEST(TextHeader, TheKnownLayoutsGiveAuthorAndTitle) {
  const HeaderCase cases[] = {
      {"Михаил Лермонтов. Герой нашего времени\r\n\r\n\r\n     Во всякой книге", "Михаил Лермонтов",
       "Герой нашего времени", "\r\n\r\n     Во"},
      {"\xEF\xBB\xBF\r\nАнтон Чехов\r\nВАНЬКА\r\nВанька Жуков, девятилетний мальчик", "Антон Чехов", "ВАНЬКА",
       "Ванька"},
      {"Александр Сергеевич Пушкин \r\nЕвгений Онегин\r\n     \r\nРоман в стихах", "Александр Сергеевич Пушкин",
       "Евгений Онегин", "     \r\nРоман"},
      {"Александр Пушкин\nСКАЗКА О ЦАРЕ САЛТАНЕ,\nО СЫНЕ ЕГО\nИ О ЦАРЕВНЕ ЛЕБЕДИ\nТри девицы под окном",
       "Александр Пушкин", "СКАЗКА О ЦАРЕ САЛТАНЕ, О СЫНЕ ЕГО И О ЦАРЕВНЕ ЛЕБЕДИ", "Три"},
      {"ALICE'S ADVENTURES IN WONDERLAND\n\nby Lewis Carroll\n\nCHAPTER I", "Lewis Carroll",
       "ALICE'S ADVENTURES IN WONDERLAND", "\nCHAPTER"},
      {"The Hound of the Baskervilles\nBY ARTHUR CONAN DOYLE\n", "ARTHUR CONAN DOYLE", "The Hound of the Baskervilles",
       ""},
      {"А. С. Пушкин. Капитанская дочка\n\nГлава I", "А. С. Пушкин", "Капитанская дочка", "\nГлава"},
      {"Салтыков-Щедрин Михаил\nИСТОРИЯ ОДНОГО ГОРОДА\n", "Салтыков-Щедрин Михаил", "ИСТОРИЯ ОДНОГО ГОРОДА", ""},
  };
  for (const HeaderCase& c : cases) {
    SCOPED_TRACE(std::string(c.text.substr(0, 40)));
    const TextHeader header = FindTextHeader(c.text);
    ASSERT_TRUE(header.found());
    EXPECT_EQ(header.author, c.author);
    EXPECT_EQ(header.title, c.title);
    EXPECT_TRUE(c.text.substr(header.length).starts_with(c.restStartsWith)) << c.text.substr(header.length);
  }
}

TEST(TextHeader, ProseAndHeadingsAreNoHeader) {
  for (std::string_view text : {
           "Alice was beginning to get very tired of sitting by her sister on the\nbank, and of having nothing",
           "ДЕЙСТВУЮЩИЕ ЛИЦА\n\nКомедия в 4-х действиях\n\nРаневская Любовь Андреевна, помещица.",
           "  I\n\n  From fairest creatures we desire increase,\n  That thereby beauty's rose might never die,",
           "Глава Первая\nВ ДЕРЕВНЕ\n\nТекст.",
           "Иван Петрович. Он пришёл домой поздно вечером и долго сидел у окна, глядя на улицу.\nПотом лёг.",
           "Иван Петров\nбыл высоким человеком и жил в доме у реки,\nгде по утрам шумела мельница.",
           "Мария Ивановна\nВошла в комнату и села у окна, не говоря ни слова.\nЗа окном шёл дождь.",
           "ВЕЛИКИЙ ГЭТСБИ\nСкотт Фицджеральд\n",  // a name under the title without "by" is not read
           "Chapter One\nThe Boy Who Lived\n\nMr. and Mrs. Dursley",
           "",
           "\n\n\n",
       }) {
    const TextHeader header = FindTextHeader(text);
    EXPECT_FALSE(header.found()) << text << " -> " << header.author << " / " << header.title;
  }
}

TEST(TextHeader, PersonNames) {
  EXPECT_TRUE(LooksLikePersonName("Лев Толстой"));
  EXPECT_TRUE(LooksLikePersonName("J. R. R. Tolkien"));
  EXPECT_TRUE(LooksLikePersonName("Дж. Лондон"));
  EXPECT_TRUE(LooksLikePersonName("Flannery O'Connor"));
  EXPECT_FALSE(LooksLikePersonName("Толстой"));  // one word
  EXPECT_FALSE(LooksLikePersonName("ЛЕВ ТОЛСТОЙ"));
  EXPECT_TRUE(LooksLikePersonName("ЛЕВ ТОЛСТОЙ", true));
  EXPECT_FALSE(LooksLikePersonName("Часть Первая"));
  EXPECT_FALSE(LooksLikePersonName("Лев Толстой, 1869"));
  EXPECT_FALSE(LooksLikePersonName("Война и мир"));
  EXPECT_FALSE(LooksLikePersonName("Один Два Три Четыре Пять"));
}

TEST(TextHeader, LetterSpacedWords) {
  EXPECT_EQ(JoinSpacedLetters("Ч А С Т Ь   П Е Р В А Я"), "ЧАСТЬ ПЕРВАЯ");
  EXPECT_EQ(JoinSpacedLetters("  C H A P T E R  I  "), "CHAPTER I");
  EXPECT_EQ(JoinSpacedLetters("Г Л А В А"), "ГЛАВА");
  // Lines that are not spelled out letter by letter stay as they are.
  for (std::string_view line : {"* * *", "A B", "Глава I", "I  II", "A BC D E", "x x x"})
    EXPECT_EQ(JoinSpacedLetters(line), line);
}

TEST(TextHeader, TheConverterWritesTheHeaderAndKeepsTheRest) {
  TextImportResult result;
  const std::string book =
      test::Convert("Антон Чехов\r\nВАНЬКА\r\n\r\nВанька Жуков, девятилетний мальчик, не ложился спать.\r\n",
                    test::Options("line ends"), &result);
  EXPECT_EQ(result.bookAuthor, "Антон Чехов");
  EXPECT_EQ(result.bookTitle, "ВАНЬКА");
  EXPECT_NE(book.find(markup::MakeBookAuthor("Антон Чехов", "#ff0000")), std::string::npos);
  EXPECT_NE(book.find(markup::MakeBookTitle("ВАНЬКА", "#B90000")), std::string::npos);
  EXPECT_EQ(result.titles, 0u);
  EXPECT_NE(book.find("Ванька Жуков, девятилетний мальчик"), std::string::npos);

  // A header the caller gives wins; the first lines stay text then.
  TextImportOptions options = test::Options("line ends");
  options.bookTitle = "Given";
  test::Convert("Антон Чехов\r\nВАНЬКА\r\n", options, &result);
  EXPECT_EQ(result.bookTitle, "Given");
  EXPECT_EQ(result.titles, 1u);  // "ВАНЬКА" as a chapter heading
}

TEST(TextHeader, LetterSpacedHeadingsInABook) {
  TextImportResult result;
  const std::string book = test::Convert(
      "Some first words of prose here.\r\n\r\nЧ А С Т Ь   П Е Р В А Я\r\n\r\nТекст первой части.\r\n", test::Options(),
      &result);
  EXPECT_EQ(test::HeadingTexts(book, markup::kTitleOpen), std::vector<std::string>{"ЧАСТЬ ПЕРВАЯ"});
}

}  // namespace
}  // namespace pw::import
