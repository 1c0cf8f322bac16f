// Notes of text books: inline "[N - text]" notes and closing numbered lists become links and
// one note block; numbered chapters stay headings.
#include <gtest/gtest.h>

#include "common/Text.h"
#include "import/TextNotes.h"
#include "import/TextTestSupport.h"
#include "markup/BookMarkup.h"

namespace pw::import {
namespace {

// The ids the book's links lead to, and the anchors of its notes.
std::vector<std::string> Between(std::string_view text, std::string_view open, std::string_view close) {
  std::vector<std::string> out;
  for (size_t at = text.find(open); at != std::string_view::npos; at = text.find(open, at + 1)) {
    const size_t start = at + open.size();
    out.emplace_back(text.substr(start, text.find(close, start) - start));
  }
  return out;
}

std::string NoteBlockOf(std::string_view book) {
  const size_t at = book.find("<SPAN id=NoteBlock>");
  if (at == std::string_view::npos) return {};
  return std::string(book.substr(at, book.find("</SPAN>", at) - at));
}

constexpr std::string_view kNovel =
    "Глава первая\r\n"
    "\r\n"
    "     - Eh bien, mon prince[1 - Ну, князь (фр.).], - сказала она.\r\n"
    "     Он говорил по-французски[2 - Дорогой друг [и брат] (фр.).] и смеялся.\r\n"
    "\r\n"
    "Глава вторая\r\n"
    "\r\n"
    "     Вечер кончился[3 - Конец\r\n"
    "вечера.] поздно.\r\n"
    "\r\n"
    "Примечания\r\n"
    "\r\n"
    "1\r\n"
    "\r\n"
    "Ну, князь (фр.).\r\n"
    "\r\n"
    "2\r\n"
    "\r\n"
    "Дорогой друг [и брат] (фр.).\r\n"
    "\r\n"
    "3\r\n"
    "\r\n"
    "Конец вечера.\r\n";

TEST(TextNotes, InlineNotesAndTheClosingListBecomeLinksAndOneBlock) {
  TextImportResult result;
  const std::string book = test::Convert(kNovel, test::Options("spaces"), &result);
  EXPECT_EQ(result.notes, 3u);
  EXPECT_EQ(result.noteReferences, 3u);
  EXPECT_EQ(Between(book, "<A href=#", ">"), (std::vector<std::string>{"n1", "n2", "n3"}));
  const std::string block = NoteBlockOf(book);
  ASSERT_FALSE(block.empty());
  EXPECT_EQ(Between(block, "<A id=", " "), (std::vector<std::string>{"n1", "n2", "n3"}));
  EXPECT_NE(block.find("<A id=n2 name=n2></A>2 Дорогой друг [и брат] (фр.).</DIV>"), std::string::npos) << block;
  EXPECT_NE(block.find("Примечания"), std::string::npos);
  // The text keeps the references and loses the inline note texts; the list's numbers are no
  // headings.
  EXPECT_NE(book.find("mon prince<A href=#n1>[1]</A>, -"), std::string::npos);
  EXPECT_GT(book.find("Ну, князь"), book.find("<SPAN id=NoteBlock>"));
  EXPECT_EQ(test::HeadingTexts(book, markup::kTitleOpen), (std::vector<std::string>{"Глава первая", "Глава вторая"}));
}

TEST(TextNotes, InlineNotesAloneMakeTheBlock) {
  std::string work = "Слово[1 - Первая.] и слово[2 - Вторая.], и снова[1 - Опять первая.].\r\n";
  const TextNotesResult result = MarkTextNotes(work, "#9400D3");
  EXPECT_EQ(result.notes, 3u);
  EXPECT_EQ(result.references, 3u);
  // A number used twice gets an id of its own; the label stays the number.
  EXPECT_NE(work.find("<A id=n1_2 name=n1_2></A>1 Опять первая.</DIV>"), std::string::npos) << work;
  EXPECT_NE(work.find("<A id=n2 name=n2></A>2 Вторая.</DIV>"), std::string::npos);
  EXPECT_EQ(work.find('<'), work.find("<BR><SPAN id=NoteBlock>"));  // the links are kept-tag marks
}

TEST(TextNotes, AClosingListLinksBareReferencesAndKeepsNoteParagraphs) {
  std::string work =
      "Текст со сноской [1] и ещё одной [2], но [7] не сноска.\r\n\r\nNotes:\r\n1. The first note,\r\n"
      "wrapped.\r\n\r\nIts second paragraph.\r\n2) The second.\r\n";
  const TextNotesResult result = MarkTextNotes(work, "#9400D3");
  EXPECT_EQ(result.notes, 2u);
  EXPECT_EQ(result.references, 2u);
  EXPECT_NE(work.find("но [7] не"), std::string::npos);
  EXPECT_NE(work.find("<A id=n1 name=n1></A>1 The first note, wrapped.</DIV>" + std::string(markup::kParagraphStart) +
                      "Its second paragraph.</DIV>"),
            std::string::npos)
      << work;
  EXPECT_NE(work.find("<A id=n2 name=n2></A>2 The second.</DIV>"), std::string::npos);
}

TEST(TextNotes, NumberedChaptersAndOtherListsStayText) {
  for (std::string_view text : {
           // Chapters numbered 1, 2, 3 with text between: no notes heading before them.
           "1\r\n\r\nПервая глава.\r\n\r\n2\r\n\r\nВторая глава.\r\n\r\n3\r\n\r\nТретья.\r\n",
           // A notes heading whose lines do not start with note 1.
           "Текст.\r\n\r\nПримечания\r\n\r\nАвтор благодарит всех.\r\n2\r\nДва.\r\n",
           // Brackets that are no notes.
           "Массив a[1] и [2 -] и [0 - ноль] и [x - y].\r\n",
       }) {
    std::string work(text);
    const TextNotesResult result = MarkTextNotes(work, "#9400D3");
    EXPECT_EQ(result.notes, 0u) << text;
    EXPECT_EQ(work, text);
  }
  TextImportResult result;
  const std::string book = test::Convert(
      "1\r\n\r\nПервая глава книги.\r\n\r\n2\r\n\r\nВторая глава книги.\r\n\r\n3\r\n\r\nТретья.\r\n",
      test::Options("advanced"), &result);
  EXPECT_EQ(test::HeadingTexts(book, markup::kTitleOpen), (std::vector<std::string>{"1", "2", "3"}));
}

}  // namespace
}  // namespace pw::import
