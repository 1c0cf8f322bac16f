#include "markup/BookOperations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "common/Settings.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/SampleBook.h"
#include "support/TestSupport.h"

namespace pw::markup {
namespace {

const common::ElementColours kColours;

std::string P(std::string_view text) { return MakeParagraph(text); }
std::string Lines(std::initializer_list<std::string> parts) {
  std::string out;
  for (const std::string& part : parts) {
    if (!out.empty()) out += kCrLf;
    out += part;
  }
  return out;
}
// A book around `body`, ending with the last-paragraph mark.
std::string Book(std::string_view body) {
  return Lines({MakeBodyTag(BodyStyle{}, true, false, false), std::string(body), std::string(kLastParagraph),
                std::string(kBookEnd)});
}
std::string Marked(std::string_view element) { return std::string(kMovedElementMarker) + std::string(element); }

// --- letter case -----------------------------------------------------------------------------

TEST(Capitalise, TitlesLeaveSubtitlesAndMarkupAlone) {
  const std::string subtitle = MakeSubtitle("* * * часть вторая", kColours.subtitle);
  std::string doc = Book(Lines({MakeTitle("Глава первая &amp; b&nbsp;c", "#00aa11"), subtitle,
                                P("текст"), MakeTitle("ещё", kColours.title)}));
  common::RecordingProgress progress;
  EXPECT_EQ(CapitaliseElements(doc, HeadingKind::Title, progress), 2u);
  EXPECT_EQ(doc, Book(Lines({MakeTitle("ГЛАВА ПЕРВАЯ &amp; B&nbsp;C", "#00aa11"), subtitle, P("текст"),
                             MakeTitle("ЕЩЁ", kColours.title)})));
  EXPECT_EQ(progress.statuses, std::vector<std::string>{"...capitalizing titles..."});
  EXPECT_EQ(progress.percents.front(), 0);
  EXPECT_EQ(progress.percents.back(), 100);
}

TEST(Capitalise, EachKindOnlyItsOwn) {
  const std::string author = MakeBookAuthor("Иван Петров", kColours.bookAuthor);
  const std::string title = MakeBookTitle("Дорога на север", kColours.bookTitle);
  const std::string subtitle = MakeSubtitle("конец", kColours.subtitle);
  std::string doc = Book(Lines({author, title, subtitle}));
  common::RecordingProgress progress;
  EXPECT_EQ(CapitaliseElements(doc, HeadingKind::BookAuthor, progress), 1u);
  EXPECT_EQ(CapitaliseElements(doc, HeadingKind::BookTitle, progress), 1u);
  EXPECT_EQ(CapitaliseElements(doc, HeadingKind::Subtitle, progress), 1u);
  EXPECT_EQ(CapitaliseElements(doc, HeadingKind::Title, progress), 0u);
  EXPECT_EQ(doc, Book(Lines({MakeBookAuthor("ИВАН ПЕТРОВ", kColours.bookAuthor),
                             MakeBookTitle("ДОРОГА НА СЕВЕР", kColours.bookTitle),
                             MakeSubtitle("КОНЕЦ", kColours.subtitle)})));
  EXPECT_EQ(progress.statuses,
            (std::vector<std::string>{"...capitalizing book author...", "...capitalizing book title...",
                                      "...capitalizing subtitles...", "...capitalizing titles..."}));
}

TEST(Capitalise, TitlesWithContentsAnchorsKeepThem) {
  std::string doc = MakeSampleBook(2, common::Settings{});
  ASSERT_TRUE(InsertBookContents(doc, "Win1251", common::NoProgress()));
  EXPECT_EQ(CapitaliseElements(doc, HeadingKind::Title, common::NoProgress()), 2u);
  EXPECT_NE(doc.find("<SPAN id=title><A id=1 name=1><DIV align=center><FONT color=#001950><B>ГЛАВА 1. THE ROAD "
                     "&lt;NORTH&gt;</B></FONT></DIV></A></SPAN>"),
            std::string::npos);
  // The contents entries are not titles and keep their case.
  EXPECT_NE(doc.find("href=\"#1\">Глава 1. The Road &lt;north&gt;</A>"), std::string::npos);
}

// --- titles and subtitles ---------------------------------------------------------------------

TEST(HeadingKinds, SubtitlesToTitlesChangeOnlyTheSettingsColour) {
  common::ElementColours colours;
  colours.subtitle = "00AA11";  // as the settings may hold it: no "#", other case
  std::string doc = Book(Lines({MakeSubtitle("One", "#00aa11"), MakeSubtitle("Two", "#123456"),
                                MakeTitle("Three", colours.title)}));
  common::RecordingProgress progress;
  EXPECT_EQ(SubtitlesToTitles(doc, colours, progress), 2u);
  EXPECT_EQ(doc, Book(Lines({MakeTitle("One", colours.title), MakeTitle("Two", "#123456"),
                             MakeTitle("Three", colours.title)})));
  EXPECT_EQ(progress.statuses, std::vector<std::string>{"...converting subtitles to titles..."});
  EXPECT_EQ(progress.percents, (std::vector<int>{0, 50, 100}));
}

TEST(HeadingKinds, TitlesToSubtitlesAndBackIsTheSameBook) {
  const std::string original = Book(Lines({"<HR>" + MakeTitle("One", kColours.title), P("text"),
                                           MakeTitle("Two", "#123456")}));
  std::string doc = original;
  common::RecordingProgress progress;
  EXPECT_EQ(TitlesToSubtitles(doc, kColours, progress), 2u);
  EXPECT_EQ(doc, Book(Lines({"<HR>" + MakeSubtitle("One", kColours.subtitle), P("text"),
                             MakeSubtitle("Two", "#123456")})));
  EXPECT_EQ(SubtitlesToTitles(doc, kColours, progress), 2u);
  EXPECT_EQ(doc, original);
  EXPECT_EQ(progress.statuses.front(), "...converting titles to subtitles...");
}

TEST(HeadingKinds, TitlesAndSubtitlesToParagraphs) {
  const std::string subtitle = MakeSubtitle("* * *", kColours.subtitle);
  std::string doc = Book(Lines({"<HR>" + MakeTitle("Глава <B>1</B>", kColours.title), subtitle}));
  common::RecordingProgress progress;
  EXPECT_EQ(TitlesToParagraphs(doc, progress), 1u);
  EXPECT_EQ(doc, Book(Lines({"<HR>" + P("Глава 1"), subtitle})));
  EXPECT_EQ(SubtitlesToParagraphs(doc, progress), 1u);
  EXPECT_EQ(doc, Book(Lines({"<HR>" + P("Глава 1"), P("* * *")})));
  EXPECT_EQ(TitlesToParagraphs(doc, progress), 0u);
  EXPECT_EQ(progress.statuses,
            (std::vector<std::string>{"...converting titles to paragraphs...",
                                      "...converting subtitles to paragraphs...",
                                      "...converting titles to paragraphs..."}));
}

TEST(HeadingKinds, SampleBookWithoutHeadings) {
  std::string doc = MakeSampleBook(2, common::Settings{});
  EXPECT_EQ(TitlesToParagraphs(doc, common::NoProgress()), 2u);
  EXPECT_EQ(SubtitlesToParagraphs(doc, common::NoProgress()), 2u);
  EXPECT_TRUE(test::MatchesGolden(doc, "markup/operations/sample_book.headings_to_paragraphs.html0"));
}

TEST(HeadingKinds, ProgressOncePerPercentOnALargeBook) {
  std::string doc = MakeSampleBook(250, common::Settings{});
  common::RecordingProgress progress;
  EXPECT_EQ(TitlesToSubtitles(doc, kColours, progress), 250u);
  EXPECT_EQ(common::CountOccurrences(doc, "<SPAN id=subtitle>"), 500u);
  EXPECT_EQ(common::CountOccurrences(doc, "<SPAN id=title>"), 0u);
  EXPECT_EQ(progress.percents.size(), 101u);
  EXPECT_TRUE(std::is_sorted(progress.percents.begin(), progress.percents.end()));
  EXPECT_EQ(progress.percents.back(), 100);
}

// --- page breaks, contents, note blocks ---------------------------------------------------------

TEST(PageBreaks, EveryBreakGoes) {
  std::string doc = "<HR>a<hr>b<HR size=2>c<HREF>";
  common::RecordingProgress progress;
  EXPECT_EQ(RemovePageBreaks(doc, progress), 3u);
  EXPECT_EQ(doc, "abc<HREF>");
  EXPECT_EQ(progress.statuses, std::vector<std::string>{"...removing page breaks..."});
  EXPECT_EQ(progress.percents.back(), 100);
}

TEST(BookContents, InsertedOnceAndDeletedWithoutTrace) {
  const std::string original = MakeSampleBook(2, common::Settings{});
  std::string doc = original;
  common::RecordingProgress progress;
  ASSERT_TRUE(InsertBookContents(doc, "Win1251", progress));
  EXPECT_TRUE(test::MatchesGolden(doc, "markup/operations/sample_book.contents.html0"));
  EXPECT_EQ(progress.statuses, std::vector<std::string>{"...making new contents..."});

  // Making it again replaces the block: the book is the same.
  std::string again = doc;
  ASSERT_TRUE(InsertBookContents(again, "Win1251", common::NoProgress()));
  EXPECT_EQ(again, doc);

  ASSERT_TRUE(DeleteBookContents(doc, common::NoProgress()));
  EXPECT_EQ(doc, original);
  EXPECT_FALSE(DeleteBookContents(doc, common::NoProgress()));
  EXPECT_EQ(doc, original);
}

TEST(BookContents, WesternHeadingAndBooksWithoutTitles) {
  std::string doc = Book(Lines({MakeBookTitle("Book", kColours.bookTitle), MakeTitle("Start", kColours.title)}));
  ASSERT_TRUE(InsertBookContents(doc, "Win1252", common::NoProgress()));
  EXPECT_NE(doc.find(MakeBookTitle("Book", kColours.bookTitle) + std::string(kCrLf) +
                     "<SPAN id=BCONTENTS>\r\n<DIV align=center><B><FONT color=#0000ff>Table of Content</FONT>"),
            std::string::npos);

  const std::string untitled = Book(Lines({P("only text"), MakeSubtitle("sub", kColours.subtitle)}));
  doc = untitled;
  EXPECT_FALSE(InsertBookContents(doc, "Win1251", common::NoProgress()));
  EXPECT_EQ(doc, untitled);
}

TEST(BookNoteBlocks, EveryBlockIsUnwrappedThenThereIsNothingToRemove) {
  const common::Settings settings;
  std::string doc = MakeSampleBook(2, settings);
  std::string notes;
  for (const char* n : {"1", "2"}) {
    notes += P(std::string("<A name=note") + n + "></A>" + n + " The city lies beyond the river.");
  }
  const std::string expected = common::ReplaceAll(doc, MakeNoteBlock(notes, kColours.noteBlock), notes);
  ASSERT_NE(expected, doc);

  common::RecordingSink sink;
  common::Messages messages(sink);
  common::RecordingProgress progress;
  EXPECT_EQ(RemoveNoteBlocks(doc, progress, messages), 1u);
  EXPECT_EQ(doc, expected);
  EXPECT_TRUE(sink.shown.empty());
  EXPECT_EQ(RemoveNoteBlocks(doc, progress, messages), 0u);
  EXPECT_EQ(doc, expected);
  EXPECT_EQ(sink.shown, std::vector<std::string>{"no note blocks - nothing to remove"});
  EXPECT_EQ(progress.statuses,
            (std::vector<std::string>{"...removing note blocks...", "...removing note blocks..."}));
}

// --- moving elements ---------------------------------------------------------------------------

class MoveElementTest : public ::testing::Test {
 protected:
  const std::string first = P("First");
  const std::string second = P("Second");
  const std::string title = MakeTitle("Chapter", kColours.title);
  const std::string epigraph =
      MakeEpigraph(P("Quote"), std::string(kCrLf) + MakeTextAuthor("Someone", kColours.textAuthor), kColours.epigraph);
  common::RecordingSink sink;
  common::Messages messages{sink};
};

TEST_F(MoveElementTest, UpAndDownPastTheNeighbour) {
  std::string doc = Book(Lines({first, Marked(title), second}));
  EXPECT_TRUE(MoveElement(doc, MoveDirection::Up, messages));
  EXPECT_EQ(doc, Book(Lines({title, first, second})));

  doc = Book(Lines({first, Marked(title), second}));
  EXPECT_TRUE(MoveElement(doc, MoveDirection::Down, messages));
  EXPECT_EQ(doc, Book(Lines({first, second, title})));

  // A block with its nested text author moves whole, past a page break and a title.
  doc = Book(Lines({title, "<HR>" + Marked(epigraph), second}));
  EXPECT_TRUE(MoveElement(doc, MoveDirection::Up, messages));
  EXPECT_EQ(doc, Book(Lines({title, epigraph + "<HR>", second})));
  doc = Lines({title, epigraph + "<HR>", second});
  doc.insert(0, kMovedElementMarker);
  EXPECT_TRUE(MoveElement(doc, MoveDirection::Down, messages));
  EXPECT_EQ(doc, Lines({epigraph, title + "<HR>", second}));
  EXPECT_TRUE(sink.shown.empty());
}

TEST_F(MoveElementTest, EmptyParagraphsArePassedWithTheNextBlock) {
  const std::string empty = P("");
  std::string doc = Book(Lines({first, empty, empty, Marked(title), second}));
  EXPECT_TRUE(MoveElement(doc, MoveDirection::Up, messages));
  EXPECT_EQ(doc, Book(Lines({title, first, empty, empty, second})));
  doc = Book(Lines({first, Marked(title), empty, second}));
  EXPECT_TRUE(MoveElement(doc, MoveDirection::Down, messages));
  EXPECT_EQ(doc, Book(Lines({first, empty, second, title})));
  // Only empty paragraphs before it: it still moves past them.
  doc = Book(Lines({empty, Marked(title), first}));
  EXPECT_TRUE(MoveElement(doc, MoveDirection::Up, messages));
  EXPECT_EQ(doc, Book(Lines({title, empty, first})));
}

TEST_F(MoveElementTest, NeverPastTheEndOfTheBookOrOutOfItsParent) {
  const std::string atEnd = Book(Lines({first, title}));
  std::string doc = Book(Lines({first, Marked(title)}));
  EXPECT_FALSE(MoveElement(doc, MoveDirection::Down, messages));
  EXPECT_EQ(doc, atEnd);  // unchanged but for the marker

  const std::string atStart = Book(Lines({title, first}));
  doc = Book(Lines({Marked(title), first}));
  EXPECT_FALSE(MoveElement(doc, MoveDirection::Up, messages));
  EXPECT_EQ(doc, atStart);

  // A text author moves inside its block only.
  const std::string author = MakeTextAuthor("Someone", kColours.textAuthor);
  const std::string block = MakeEpigraph(P("Quote"), Marked(author), kColours.epigraph);
  doc = block;
  EXPECT_FALSE(MoveElement(doc, MoveDirection::Down, messages));
  doc = block;
  EXPECT_TRUE(MoveElement(doc, MoveDirection::Up, messages));
  EXPECT_EQ(doc, MakeEpigraph(author + P("Quote"), "", kColours.epigraph));
  EXPECT_TRUE(sink.shown.empty());
}

TEST_F(MoveElementTest, OnlyWholeElementsMove) {
  std::string doc = Book(Lines({Marked(first), second}));
  EXPECT_FALSE(MoveElement(doc, MoveDirection::Down, messages));
  EXPECT_EQ(doc, Book(Lines({first, second})));
  EXPECT_FALSE(MoveElement(doc, MoveDirection::Up, messages));
  ASSERT_EQ(sink.shown.size(), 2u);
  EXPECT_EQ(sink.shown[0], "Only the complete Pagewright elements\nselected by the double click can be moved");
  EXPECT_EQ(sink.shown[1], sink.shown[0]);
}

// --- the operations by name ------------------------------------------------------------------

TEST(BookOperations, EveryNameRunsAndUnknownNamesAreRefused) {
  const common::Settings settings;
  common::RecordingSink sink;
  common::Messages messages(sink);
  for (std::string_view name : BookOperationNames()) {
    std::string doc = MakeSampleBook(1, settings);
    const BookOperationResult result = ApplyBookOperation(name, doc, settings, common::NoProgress(), messages);
    EXPECT_TRUE(result.known) << name;
    // The sample has every element but no contents block and no moved-element marker, and its
    // only subtitle ("* * *") has no letters to capitalise.
    const bool nothingToDo = name == "deletecontents" || name == "moveup" || name == "movedown" ||
                             name == "capitalisesubtitles";
    EXPECT_EQ(result.changed, !nothingToDo) << name;
    EXPECT_EQ(doc == MakeSampleBook(1, settings), nothingToDo) << name;
  }
  EXPECT_EQ(sink.shown.size(), 2u);  // the two moves without a marked element
  std::string doc = MakeSampleBook(1, settings);
  EXPECT_FALSE(ApplyBookOperation("shuffle", doc, settings, common::NoProgress(), messages).known);
}

}  // namespace
}  // namespace pw::markup
