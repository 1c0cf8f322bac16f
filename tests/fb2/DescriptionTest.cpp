#include "fb2/Description.h"

#include <gtest/gtest.h>

#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::fb2 {
namespace {

Fb2Description Full() {
  Fb2Description d;
  d.genres = ParseGenreList(" prose_rus_classic, , love_history ");
  d.authors = {{"Александр", "Сергеевич", "Пушкин", "", ""}};
  d.title = "Капитанская дочка";
  d.annotation = "Повесть <1836>.\r\n\r\nО любви & чести.";
  d.keywords = "повесть";
  d.date = "1836";
  d.coverId = "cover.jpg";
  d.lang = "ru";
  d.translators = {{"Nobody", "", "Known", "", ""}};
  d.sequenceName = "Повести";
  d.sequenceNumber = "2";
  d.documentAuthors = {{"", "", "", "maker", "maker@example.org"}};
  d.program = AppendProgramUsed("Editor 1");
  d.documentDate = "22.11.2026";
  d.documentDateValue = "2026-11-22";
  d.id = "0F1E2D3C-0000-4000-8000-000000000001";
  d.publisher = "Издательство";
  d.year = "1999";
  d.customInfo = "made <B>by hand</B>&nbsp;here";
  return d;
}

TEST(Description, FullDescriptionGolden) {
  EXPECT_TRUE(test::MatchesGolden(WriteDescription(Full()), "fb2/description_full.xml"));
}

TEST(Description, OmissionRules) {
  Fb2Description onlyTitle;
  onlyTitle.title = "  Заглавие  ";
  EXPECT_EQ(WriteDescription(onlyTitle),
            "<description>\n<title-info>\n  <book-title>Заглавие</book-title>\n</title-info>\n</description>");
  Fb2Description withId;
  withId.id = "X";
  EXPECT_NE(WriteDescription(withId).find("  <version>1.0</version>\n"), std::string::npos);
  withId.version = "2.1";
  EXPECT_NE(WriteDescription(withId).find("  <version>2.1</version>\n"), std::string::npos);
  EXPECT_EQ(WriteDescription(Fb2Description{}), "<description>\n</description>");
}

TEST(Description, WrittenInsideABookPassesTheSchema) {
  const std::string xml =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" "
      "xmlns:l=\"http://www.w3.org/1999/xlink\">\n" +
      WriteDescription(Full()) +
      "\n<body><section><p>Текст</p></section></body>\n"
      "<binary id=\"cover.jpg\" content-type=\"image/jpeg\">AAAA</binary>\n</FictionBook>\n";
  EXPECT_TRUE(pw::test::IsValidFb2(xml, pw::test::Fb2Checks::kSchemas));
}

TEST(Description, AuthorsFromTheHeading) {
  const auto authors = SplitAuthors("Лев Николаевич Толстой, А.С. Пушкин и Ludwig van Beethoven and Homer");
  ASSERT_EQ(authors.size(), 4u);
  EXPECT_EQ(authors[0], (PersonName{"Лев", "Николаевич", "Толстой", "", ""}));
  EXPECT_EQ(authors[1], (PersonName{"А.", "С.", "Пушкин", "", ""}));
  EXPECT_EQ(authors[2], (PersonName{"Ludwig", "", "van Beethoven", "", ""}));
  EXPECT_EQ(authors[3], (PersonName{"", "", "Homer", "", ""}));
  EXPECT_EQ(SplitAuthors("Пушкин А. С.")[0], (PersonName{"А.", "С.", "Пушкин", "", ""}));
  EXPECT_EQ(SplitAuthors("Жан де Лафонтен")[0], (PersonName{"Жан", "", "де Лафонтен", "", ""}));
  EXPECT_TRUE(SplitAuthors("  ").empty());
}

TEST(Description, IdsDatesAndProgram) {
  const std::string id = MakeDocumentId();
  ASSERT_EQ(id.size(), 36u);
  for (const size_t dash : {8u, 13u, 18u, 23u}) EXPECT_EQ(id[dash], '-');
  for (const char c : id) EXPECT_TRUE((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || c == '-') << id;
  EXPECT_NE(MakeDocumentId(), id);
  const std::string today = TodayDateValue();
  ASSERT_EQ(today.size(), 10u);
  EXPECT_EQ(today[4], '-');
  EXPECT_EQ(AppendProgramUsed(""), "Pagewright");
  EXPECT_EQ(AppendProgramUsed("Editor"), "Editor, Pagewright");
  EXPECT_EQ(AppendProgramUsed(AppendProgramUsed("Editor")), "Editor, Pagewright");
}

}  // namespace
}  // namespace pw::fb2
