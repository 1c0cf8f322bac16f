#include "markup/ElementOperations.h"

#include <gtest/gtest.h>

#include <string>

#include "common/Settings.h"
#include "markup/BookMarkup.h"
#include "markup/SampleBook.h"
#include "markup/TextFormatting.h"
#include "support/TestSupport.h"

namespace pw::markup {
namespace {

const common::ElementColours kColours;

std::string P(std::string_view text) { return MakeParagraph(text); }
std::string Lines(std::initializer_list<std::string> paragraphs) {
  std::string out;
  for (const std::string& paragraph : paragraphs) {
    if (!out.empty()) out += kCrLf;
    out += paragraph;
  }
  return out;
}
std::string Author(std::string_view text) {
  return std::string(kCrLf) + MakeTextAuthor(text, kColours.textAuthor);
}

// --- one-line elements -------------------------------------------------------------------

TEST(OneLineElements, SelectionOfOnlyBlanksAndTagsChangesNothing) {
  const std::string selection =
      "&nbsp;<B></B>&nbsp;<br>\r\n<div align=\"justify\">&nbsp;&nbsp;&nbsp;&nbsp;</div><A name=x></A>"
      "<IMG src=\"pic.png\">\xC2\xA0";
  EXPECT_EQ(CleanOneLineText(selection), "");
  for (ElementKind kind : {ElementKind::BookAuthor, ElementKind::BookTitle, ElementKind::Title,
                           ElementKind::Subtitle, ElementKind::TextAuthor, ElementKind::Epigraph,
                           ElementKind::Verse, ElementKind::Cite, ElementKind::Annotation}) {
    EXPECT_EQ(FormatAsElement(selection, kind, kColours), "") << static_cast<int>(kind);
  }
  EXPECT_EQ(FormatAsParagraph(selection, false), "");
}

TEST(OneLineElements, TitleKeepsTheTextOfALinkButNotTheLink) {
  EXPECT_EQ(FormatAsElement("<a href=\"#ch1\">Chapter</a> <b>One</b>", ElementKind::Title, kColours),
            "<SPAN id=title><DIV align=center><FONT color=#001950><B>Chapter One</B></FONT></DIV></SPAN>");
}

TEST(OneLineElements, CleaningFollowsItsSteps) {
  // Escaped brackets stay escaped, real tags go.
  EXPECT_EQ(CleanOneLineText("The &lt;B&gt; <B>road</B> &amp; more"), "The &lt;B&gt; road &amp; more");
  // Line ends, no-break spaces and paragraph boundaries are blanks, collapsed and trimmed.
  EXPECT_EQ(CleanOneLineText("<div align=\"justify\">&nbsp;&nbsp;&nbsp;&nbsp;Глава&nbsp;1</div>\r\n"
                             "<DIV>Начало\tпути</DIV>  "),
            "Глава 1 Начало пути");
  // A break before the text (the converters' prefix) leaves nothing; a break between words
  // separates them.
  EXPECT_EQ(CleanOneLineText("<BR><SPAN id=title>Part<br>two</SPAN>"), "Part two");
  // Inline markup inside a word does not split it; pictures go.
  EXPECT_EQ(CleanOneLineText("Г<font color=\"red\">ЛАВА</font> <IMG src=x.png>1"), "ГЛАВА 1");
  EXPECT_EQ(CleanOneLineText("<A href=#a>x</A><A href=#b>y</A>"), "xy");
}

TEST(OneLineElements, EveryKindHasItsShapeAndColour) {
  common::ElementColours colours;
  colours.bookAuthor = "112233";
  EXPECT_EQ(FormatAsElement("Лев <i>Толстой</i>", ElementKind::BookAuthor, colours),
            "<H2 id=BookAuthor align=center><FONT color=#112233><B>Лев Толстой</B></FONT></H2>");
  EXPECT_EQ(FormatAsElement("Война и мир", ElementKind::BookTitle, kColours),
            "<H2 id=BookTitle align=center><FONT color=#B90000><B>Война и мир</B></FONT></H2>");
  EXPECT_EQ(FormatAsElement("* * *", ElementKind::Subtitle, kColours),
            "<SPAN id=subtitle><DIV align=center><FONT color=#007373><B>* * *</B></FONT></DIV></SPAN>");
  EXPECT_EQ(FormatAsElement("<DIV align=right>А. Пушкин</DIV>", ElementKind::TextAuthor, kColours),
            "<SPAN id=txtaut><FONT color=#A52A2A><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;А. Пушкин"
            "</DIV></FONT></SPAN>");
}

TEST(OneLineElements, MarkingAMarkedElementReplacesItsMark) {
  const std::string title = MakeTitle("Глава 1", kColours.title);
  EXPECT_EQ(FormatAsElement(title, ElementKind::Subtitle, kColours), MakeSubtitle("Глава 1", kColours.subtitle));
  // As the browser serialises it.
  EXPECT_EQ(FormatAsElement("<span id=\"title\"><div align=\"center\"><font color=\"#001950\"><b>Глава 1</b>"
                            "</font></div></span>",
                            ElementKind::Title, kColours),
            title);
}

TEST(OneLineElements, BrokenSelectionsStillGiveCleanText) {
  // Cleaning is stable: the text of a made element cleans to itself, whatever the selection was.
  for (std::string_view selection :
       {"a < b", "<", "<a", "x</b></i>y", "<span id=txtaut>unclosed", "&", "&nbsp", "\xEE\x80",
        "<div align=right>r</div", "<<b>>", "<IMG src=x.png", "one<!-- note -->two"}) {
    const std::string text = CleanOneLineText(selection);
    EXPECT_EQ(CleanOneLineText(text), text) << selection;
    const std::string title = FormatAsElement(selection, ElementKind::Title, kColours);
    EXPECT_EQ(title, text.empty() ? "" : MakeTitle(text, kColours.title)) << selection;
    EXPECT_EQ(OneLineText(title), text) << selection;
  }
  EXPECT_EQ(CleanOneLineText("a < b"), "a &lt; b");
}

// --- blocks --------------------------------------------------------------------------------

TEST(Blocks, LinesBecomeParagraphsWithTheRightAlignedAuthorLast) {
  const std::string selection =
      "<div align=\"right\">Гераклит</div>"
      "<div align=\"justify\">&nbsp;&nbsp;&nbsp;&nbsp;Всё течёт,</div>\r\n"
      "<div align=\"justify\">всё меняется.</div>";
  EXPECT_EQ(FormatAsElement(selection, ElementKind::Epigraph, kColours),
            MakeEpigraph(Lines({P("Всё течёт,"), P("всё меняется.")}), Author("Гераклит"), kColours.epigraph));
  EXPECT_EQ(FormatAsElement("<P style=\"TEXT-ALIGN: right\">Автор</P><P>Строка</P>", ElementKind::Cite, kColours),
            MakeCite(P("Строка"), Author("Автор"), kColours.cite));
}

TEST(Blocks, RemarkingABlockKeepsItsAuthorAndDropsTheOldMarks) {
  const std::string epigraph =
      MakeEpigraph(Lines({P("Всё <I>течёт</I>,"), P("всё <B>меняется</B>.")}),
                   Author("Гераклит"), kColours.epigraph);
  const std::string verse = FormatAsElement(epigraph, ElementKind::Verse, kColours);
  EXPECT_EQ(verse, MakeVerse(Lines({P("Всё течёт,"), P("всё <B>меняется</B>.")}), Author("Гераклит"),
                             kColours.verse));
  // And back again: marking twice gives the same block.
  EXPECT_EQ(FormatAsElement(verse, ElementKind::Epigraph, kColours),
            FormatAsElement(epigraph, ElementKind::Epigraph, kColours));
}

TEST(Blocks, TheMarkerMakesAnyLineTheAuthor) {
  const std::string selection = std::string("<div>First line</div><div>") + std::string(kTextAuthorMarker) +
                                "Someone</div><div>Last line</div>";
  EXPECT_EQ(FormatAsElement(selection, ElementKind::Annotation, kColours),
            MakeAnnotation(Lines({P("First line"), P("Last line")}), Author("Someone"), kColours.annotation));
}

TEST(Blocks, EmptyLinesBetweenStanzasStayAsOneEmptyLine) {
  const std::string selection =
      "<div><br></div><div>Мороз и солнце;</div><div>день чудесный!</div>"
      "<DIV align=justify>&nbsp;</DIV><div><br></div>"
      "<div>Ещё ты дремлешь,<br>друг прелестный</div><div>&nbsp;&nbsp;&nbsp;&nbsp;</div>";
  EXPECT_EQ(FormatAsElement(selection, ElementKind::Verse, kColours),
            MakeVerse(Lines({P("Мороз и солнце;"), P("день чудесный!"), std::string(kEmptyLine),
                             P("Ещё ты дремлешь,"), P("друг прелестный")}),
                      "", kColours.verse));
}

TEST(Blocks, DialogueDashesAndNoteLinksSurvive) {
  const std::string selection =
      "<div>-&nbsp;Далеко ли? - спросил он.<a href=\"#n1\" style=\"COLOR: blue\">[1]</a></div>";
  EXPECT_EQ(FormatAsElement(selection, ElementKind::Cite, kColours),
            MakeCite("<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-&nbsp;Далеко ли? - спросил он."
                     "<A href=\"#n1\" style=\"COLOR: blue\">[1]</A></DIV>",
                     "", kColours.cite));
}

TEST(Blocks, AuthorLinesAloneAreTheText) {
  EXPECT_EQ(FormatAsElement("<div align=right>Only this</div>", ElementKind::Epigraph, kColours),
            MakeEpigraph(P("Only this"), "", kColours.epigraph));
}

// --- paragraphs ----------------------------------------------------------------------------

TEST(Paragraphs, PlainParagraphsLoseEveryTag) {
  EXPECT_EQ(FormatAsParagraph(MakeTitle("Глава 1", kColours.title), false), P("Глава 1"));
  EXPECT_EQ(FormatAsParagraph("<b>Bold</b> and <A href=#x>link</A><img src=a.png>, <sup>2</sup>"
                              "<div>- Second&nbsp;line</div>",
                              false),
            Lines({P("Bold and link, 2"), "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-&nbsp;Second line</DIV>"}));
}

TEST(Paragraphs, KeepStylesKeepsStylesLinksAndPicturesWellNested) {
  EXPECT_EQ(FormatAsParagraph("<b>Bold</b> and <i>it</i><a href=\"#n1\">1</a> <img src=\"a.png\">", true),
            P("<B>Bold</B> and <I>it</I><A href=\"#n1\">1</A> <IMG src=\"a.png\">"));
  // A style that spans two paragraphs is closed and opened again in each.
  EXPECT_EQ(FormatAsParagraph("<I><DIV>one <B>two</DIV><DIV>three</B> four</DIV></I>", true),
            Lines({P("<I>one <B>two</B></I>"), P("<I><B>three</B> four</I>")}));
  // A closing tag whose opening lies before the selection is dropped; the element colour goes.
  EXPECT_EQ(FormatAsParagraph("end</u> of <font color=#0000CD>it</font>", true), P("end of it"));
  EXPECT_EQ(FormatAsParagraph("<b> </b>", true), "");
}

TEST(Paragraphs, LargeSelectionAsParagraphs) {
  const std::string chapter = MakeSampleChapter(1, kColours) +
                              P("A <B>bold</B> and <i>slanted</i> word, H<SUB>2</SUB>O, <U>under</U>.") +
                              MakeEpigraph(P("An <I>inner</I> stress."), "", kColours.epigraph);
  EXPECT_TRUE(test::MatchesGolden(FormatAsParagraph(chapter, true),
                                  "markup/operations/sample_chapter.paragraphs_styles.html"));
  EXPECT_TRUE(test::MatchesGolden(FormatAsParagraph(chapter, false),
                                  "markup/operations/sample_chapter.paragraphs.html"));
}

// --- note blocks ---------------------------------------------------------------------------

TEST(NoteBlocks, SelectedNotesBecomeANoteBlock) {
  common::RecordingSink sink;
  common::Messages messages(sink);
  common::RecordingProgress progress;
  const std::string selection =
      "<div align=\"justify\">&nbsp;&nbsp;&nbsp;&nbsp;<a name=\"n1\"></a>1 The first note.</div>\r\n"
      "<div align=\"justify\">&nbsp;&nbsp;&nbsp;&nbsp;It goes on.</div>\r\n"
      "<div align=\"justify\"><a name=\"n2\"></a>2 The <i>second</i>.</div>";
  EXPECT_EQ(FormatNoteBlock(selection, kColours, progress, messages),
            MakeNoteBlock(Lines({P("<A name=\"n1\"></A>1 The first note."), P("It goes on."),
                                 P("<A name=\"n2\"></A>2 The <I>second</I>.")}),
                          kColours.noteBlock));
  EXPECT_TRUE(sink.shown.empty());
  EXPECT_EQ(progress.statuses, std::vector<std::string>{"...formatting note block..."});
}

TEST(NoteBlocks, WrongSelectionsAreExplained) {
  common::RecordingSink sink;
  common::Messages messages(sink);
  EXPECT_EQ(FormatNoteBlock("<div>No anchors <a href=\"#x\">here</a></div>", kColours,
                            common::NoProgress(), messages),
            "");
  EXPECT_EQ(FormatNoteBlock("<div>tail of a paragraph</div><div><a name=n1></a>1 Note</div>", kColours,
                            common::NoProgress(), messages),
            "");
  ASSERT_EQ(sink.shown.size(), 2u);
  EXPECT_EQ(sink.shown[0], "Error: no bookmarks inside selection");
  EXPECT_EQ(sink.shown[1],
            "Error: bad selection.\nTo format notes:\n- double-click on the first note;\n"
            "- Shift+click on the last note;\n- Format -> mark note block.");
}

TEST(NoteBlocks, RemovingTheMarkKeepsTheNotes) {
  common::RecordingSink sink;
  common::Messages messages(sink, common::Language::Russian);
  const std::string notes = Lines({P("<A name=note1></A>1 One."), P("<A name=note2></A>2 Two.")});
  EXPECT_EQ(RemoveNoteBlockMark("\r\n" + MakeNoteBlock(notes, kColours.noteBlock) + "\r\n", messages),
            "\r\n" + notes + "\r\n");
  EXPECT_EQ(RemoveNoteBlockMark("<span id=\"NoteBlock\"><font color=\"#9400d3\">" + notes + "</font></span>",
                                messages),
            notes);
  EXPECT_TRUE(sink.shown.empty());
  EXPECT_EQ(RemoveNoteBlockMark(notes, messages), "");
  ASSERT_EQ(sink.shown.size(), 1u);
  EXPECT_EQ(sink.shown[0].substr(0, sink.shown[0].find('\n')), "Ошибка: блок примечаний не выделен.");
}

// --- text formatting ---------------------------------------------------------------------------

TEST(TextFormatting, StylesWrapTheTextOfEachParagraph) {
  EXPECT_EQ(FormatSelectionText("word", TextFormat::Bold), "<B>word</B>");
  EXPECT_EQ(FormatSelectionText(Lines({P("one"), P("a <I>b</I> c")}), TextFormat::Underline),
            Lines({P("<U>one</U>"), P("<U>a <I>b</I> c</U>")}));
  EXPECT_EQ(FormatSelectionText(" x&nbsp;", TextFormat::Superscript), " <SUP>x</SUP>&nbsp;");
  EXPECT_EQ(FormatSelectionText("H<sub>2</sub>O", TextFormat::Subscript), "<SUB>H<sub>2</sub>O</SUB>");
  // Tags around the text that belong to it are taken in.
  EXPECT_EQ(FormatSelectionText("<a href=\"#x\">link</a> more", TextFormat::Italic),
            "<I><a href=\"#x\">link</a> more</I>");
  // A tag left open at the end cannot be taken in: each piece of text on its own.
  EXPECT_EQ(FormatSelectionText("one <b>two", TextFormat::Italic), "<I>one</I> <b><I>two</I>");
  // Tags that cross each other: again each piece on its own.
  EXPECT_EQ(FormatSelectionText("<b>a<i>b</b>c</i>", TextFormat::Bold), "<b><B>a</B><i><B>b</B></b><B>c</B></i>");
  EXPECT_EQ(FormatSelectionText("<div>&nbsp;</div><b> </b>", TextFormat::Bold), "");
}

TEST(TextFormatting, CaseChangesTouchOnlyText) {
  const std::string html = "<font color=\"#ff00aa\">Ёлка &amp; <b>ёж</b>&nbsp;x</font>";
  EXPECT_EQ(FormatSelectionText(html, TextFormat::UpperCase),
            "<font color=\"#ff00aa\">ЁЛКА &amp; <b>ЁЖ</b>&nbsp;X</font>");
  EXPECT_EQ(FormatSelectionText("ÉCOLE <B>STRASSE</B>", TextFormat::LowerCase), "école <B>strasse</B>");
  EXPECT_EQ(FormatSelectionText("straße", TextFormat::UpperCase), "STRASSE");
}

TEST(TextFormatting, ProperCaseWords) {
  EXPECT_EQ(FormatSelectionText("ОН СКАЗАЛ: don't JEAN-PAUL o'neil 2nd hel<B>LO</B> wORLD", TextFormat::ProperCase),
            "Он Сказал: Don't Jean-Paul O'neil 2nd Hel<B>lo</B> World");
  EXPECT_EQ(FormatSelectionText(Lines({P("one"), P("two&nbsp;three")}), TextFormat::ProperCase),
            Lines({P("One"), P("Two&nbsp;Three")}));
}

TEST(TextFormatting, RemoveSpacesClosesUpLetterSpacing) {
  EXPECT_EQ(FormatSelectionText("Г л а в а   п е р в а я", TextFormat::RemoveSpaces), "Глава первая");
  EXPECT_EQ(FormatSelectionText(P("С л о в о") + "\r\n" + P("x"), TextFormat::RemoveSpaces),
            P("Слово") + "\r\n" + P("x"));
  EXPECT_EQ(FormatSelectionText("<B>Г л</B> а <font color=red>b</font>", TextFormat::RemoveSpaces),
            "<B>Гл</B>а<font color=red>b</font>");
  EXPECT_EQ(FormatSelectionText("-&nbsp;a b", TextFormat::RemoveSpaces), "-&nbsp;ab");
}

// --- the operations by name ------------------------------------------------------------------

TEST(SelectionOperations, EveryNameRunsAndUnknownNamesAreRefused) {
  common::Settings settings;
  common::RecordingSink sink;
  common::Messages messages(sink);
  const std::string selection = "<div>Some <b>text</b></div>";
  for (std::string_view name : SelectionOperationNames()) {
    const SelectionOperationResult result =
        ApplySelectionOperation(name, selection, settings, common::NoProgress(), messages);
    EXPECT_TRUE(result.known) << name;
    const bool noteOperation = name == "noteblock" || name == "removenoteblock";
    EXPECT_EQ(result.html.empty(), noteOperation) << name;
  }
  EXPECT_EQ(sink.shown.size(), 2u);  // the two note operations explain the selection
  EXPECT_EQ(ApplySelectionOperation("title", selection, settings, common::NoProgress(), messages).html,
            MakeTitle("Some text", settings.elementColours.title));
  EXPECT_EQ(ApplySelectionOperation("bold", selection, settings, common::NoProgress(), messages).html,
            "<div><B>Some <b>text</b></B></div>");
  EXPECT_FALSE(ApplySelectionOperation("explode", selection, settings, common::NoProgress(), messages).known);
}

TEST(SelectionOperations, NothingSelected) {
  common::Settings settings;
  common::RecordingSink sink;
  common::Messages messages(sink);
  const SelectionOperationResult result =
      ApplySelectionOperation("verse", " \r\n", settings, common::NoProgress(), messages);
  EXPECT_TRUE(result.known);
  EXPECT_EQ(result.html, "");
  EXPECT_EQ(sink.shown, std::vector<std::string>{"Error. No text selected in the main Pagewright window"});
}

}  // namespace
}  // namespace pw::markup
