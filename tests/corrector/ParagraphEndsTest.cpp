#include "corrector/ParagraphEnds.h"

#include <gtest/gtest.h>

#include "markup/BookMarkup.h"

namespace pw::corrector {
namespace {

std::string Book(std::initializer_list<std::string_view> paragraphs) {
  std::string book = "<BODY>" + markup::MakeTitle("Title without end", "#001950");
  for (std::string_view p : paragraphs) book += markup::MakeParagraph(p);
  return book + "</BODY>";
}

std::vector<size_t> Indices(const std::vector<SuspectParagraph>& suspects) {
  std::vector<size_t> out;
  for (const auto& s : suspects) out.push_back(s.index);
  return out;
}

TEST(ParagraphEnds, DefaultListAcceptsTheEllipsis) {
  ParagraphEnds ends;
  ends.Set(ends.typed, common::CodePage::Win1251);
  EXPECT_EQ(ends.decoded, ".?!;:…");
  const auto suspects = FindBadSentenceEnds(
      Book({"Конец.", "И так далее…", "оборванное", "с запятой,", "Вопрос? ", "<I>курсив.</I>&nbsp;", ""}),
      ends.decoded);
  EXPECT_EQ(Indices(suspects), (std::vector<size_t>{2, 3}));
  EXPECT_EQ(suspects[0].shown, "оборванное");
}

TEST(ParagraphEnds, EmptyListMakesEveryParagraphASuspect) {
  EXPECT_EQ(FindBadSentenceEnds(Book({"a.", "b!", "&nbsp;"}), "").size(), 2u);
}

TEST(ParagraphEnds, ShorteningAtThirtyCharacters) {
  const std::string twentyNine = "абвгдежзийклмнопрстуфхцчшщъыь";
  ASSERT_EQ(twentyNine.size(), 58u);
  EXPECT_EQ(ShortenForList(twentyNine), twentyNine);
  const std::string thirty = twentyNine + "э";
  EXPECT_EQ(ShortenForList(thirty), "абвгдежзийклмно /.../ прстуфхцчшщъыьэ");
}

TEST(ParagraphEnds, GuillemetNotationAndPreview) {
  ParagraphEnds ends;
  ends.Set(".chr(187)", common::CodePage::Win1251);
  EXPECT_TRUE(FindBadSentenceEnds(Book({"«Цитата.»"}), ends.decoded).empty());
  EXPECT_EQ(FindBadSentenceEnds(Book({"«Цитата.»"}), ".").size(), 1u);
  EXPECT_EQ(ParagraphEnds::Preview(".?chr(133)", common::CodePage::Win1251), ". ? …");
}

TEST(ParagraphEnds, IndentMarkerOtherThanNbsp) {
  const std::string book = "<DIV align=justify>____text,____</DIV><DIV align=justify>____</DIV>";
  EXPECT_EQ(FindBadSentenceEnds(book, ".", "____").size(), 1u);
}

}  // namespace
}  // namespace pw::corrector
