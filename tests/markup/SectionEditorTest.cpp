#include "markup/SectionEditor.h"

#include <gtest/gtest.h>

#include "common/Text.h"
#include "markup/BookMarkup.h"

namespace pw::markup {
namespace {

const std::string kOpen(kSectionStart);
const std::string kClose(kSectionEnd);

std::string Book() {
  return "<BODY>" + MakeBookAuthor("A", "#ff0000") + MakeTitle("One", "#001950") + MakeParagraph("a.") +
         MakeTitle("One.One", "#001950") + MakeParagraph("b.") + "<BR>" + MakeTitle("One.Two", "#001950") +
         MakeParagraph("c.") + MakeTitle("Two", "#001950") + MakeParagraph("d.") + std::string(kTextEnd) +
         "<fb2_description></fb2_description></BODY></HTML>";
}

TEST(SectionEditor, TreeMarksAndChecks) {
  // Levels 1, 2, 2, 1: open; open; close, open; close, close, open; one close at the end.
  EXPECT_EQ(SectionTreeMarks({1, 2, 2, 1}), "<s><s></s><s></s></s><s></s>");
  EXPECT_TRUE(CheckSectionTree({1, 2, 2, 1}));
  EXPECT_TRUE(CheckSectionTree({1, 2, 3, 1, 2}));
  EXPECT_TRUE(CheckSectionTree({}));
  EXPECT_FALSE(CheckSectionTree({2, 1}));     // the first title cannot be indented
  EXPECT_FALSE(CheckSectionTree({1, 3}));     // one level deeper at the most
  EXPECT_FALSE(CheckSectionTree({1, 0}));
}

TEST(SectionEditor, MarksAreWrittenBeforeTheTitles) {
  EXPECT_EQ(ListTitles(Book()), (std::vector<std::string>{"One", "One.One", "One.Two", "Two"}));
  std::string book = Book() ;
  common::NullProgress progress;
  common::RecordingSink sink;
  common::Messages messages(sink);
  ASSERT_EQ(ApplySectionLevels(book, {1, 2, 2, 1}, {}, progress, messages), 4);
  EXPECT_EQ(sink.shown.front(), "section tree check: it seems OK");
  EXPECT_EQ(sink.shown.back(), "4 sections have been inserted into the book.");
  const std::string title = "<SPAN id=title>";
  EXPECT_NE(book.find(kOpen + title + "<DIV align=center><FONT color=#001950><B>One<"), std::string::npos);
  EXPECT_NE(book.find("<BR>" + kClose + kOpen + title), std::string::npos);
  EXPECT_NE(book.find(kClose + kClose + kOpen + title + "<DIV align=center><FONT color=#001950><B>Two<"), std::string::npos);
  // The last section closes before the description, the book author stays outside.
  EXPECT_NE(book.find(kClose + std::string(kTextEnd)), std::string::npos);
  EXPECT_LT(book.find("BookAuthor"), book.find(kOpen));
  EXPECT_EQ(common::CountOccurrences(book, kOpen), 4u);
  EXPECT_EQ(common::CountOccurrences(book, kClose), 4u);

  // Applied again with other levels: the old marks are replaced, a removed title is a former
  // title and leaves the structure.
  ASSERT_EQ(ApplySectionLevels(book, {1, 1, 1}, {false, true, false, false}, progress, messages), 3);
  EXPECT_NE(book.find("<SPAN id=former_title><DIV align=center><FONT color=#001950><B>One.One"), std::string::npos);
  EXPECT_EQ(common::CountOccurrences(book, kOpen), 3u);
  EXPECT_EQ(common::CountOccurrences(book, kClose), 3u);

  // A failed check writes nothing.
  const std::string before = book;
  EXPECT_EQ(ApplySectionLevels(book, {2, 1, 1}, {}, progress, messages), -1);
  EXPECT_EQ(book, before);
  EXPECT_EQ(sink.shown.back(), "Error. Section tree check failed.");
}

}  // namespace
}  // namespace pw::markup
