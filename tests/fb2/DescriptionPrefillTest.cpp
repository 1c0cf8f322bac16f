#include "fb2/DescriptionPrefill.h"

#include <gtest/gtest.h>

#include "fb2/Fb2Export.h"

namespace pw::fb2 {
namespace {

// The book's headings, subtitle and annotation become the description a new book starts with.
TEST(DescriptionPrefill, FromTheBooksOwnHeadings) {
  const std::string book =
      "<HTML><BODY><H2 id=BookAuthor align=center><FONT color=#ff0000><B>Vincent van Gogh and Anna Lee</B></FONT></H2>"
      "<H2 id=BookTitle align=center><FONT color=#B90000><B>Letters</B></FONT></H2>"
      "<SPAN id=subtitle><DIV align=center><FONT color=#007373><B>to his brother</B></FONT></DIV></SPAN>"
      "<SPAN id=annotation><FONT color=#808000><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;One &amp; two.</DIV>"
      "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Three.</DIV></FONT></SPAN>"
      "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;The fields were yellow that year, and the sky was wide and blue.</DIV>"
      "</BODY></HTML>";
  const Fb2Description description = DescriptionFromBook(ReadBookFacts(book));
  ASSERT_EQ(description.authors.size(), 2u);
  EXPECT_EQ(description.authors[0], (PersonName{"Vincent", "", "van Gogh", "", ""}));
  EXPECT_EQ(description.authors[1], (PersonName{"Anna", "", "Lee", "", ""}));
  EXPECT_EQ(description.title, "Letters. to his brother");
  EXPECT_EQ(description.annotation, "One & two.\nThree.");
  EXPECT_EQ(description.lang, "en");
  EXPECT_EQ(description.program, "Pagewright");
  EXPECT_EQ(description.version, "1.0");
  EXPECT_EQ(description.documentDate, description.documentDateValue);
  EXPECT_FALSE(description.id.empty());
  EXPECT_NE(DescriptionFromBook(ReadBookFacts(book)).id, description.id);
}

TEST(DescriptionPrefill, ABookWithoutHeadingsTellsOnlyTheDocument) {
  BookFacts facts;
  facts.subtitle = "Only a subtitle";
  const Fb2Description description = DescriptionFromBook(facts);
  EXPECT_TRUE(description.authors.empty());
  EXPECT_EQ(description.title, "Only a subtitle");
  facts.title = "Why?";
  EXPECT_EQ(DescriptionFromBook(facts).title, "Why? Only a subtitle");
  EXPECT_TRUE(DescriptionFromBook(facts).genres.empty());
}

}  // namespace
}  // namespace pw::fb2
