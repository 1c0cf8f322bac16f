#include "import/TextWriters.h"

#include <gtest/gtest.h>

#include "import/TaggedText.h"
#include "import/TextSymbols.h"

namespace pw::import {
namespace {

TEST(WriteParagraph, TrimsAndSkipsEmptyText) {
  std::string out;
  WriteParagraph(out, "   \t ");
  EXPECT_EQ(out, "");
  WriteParagraph(out, "  Text here.  ");
  EXPECT_EQ(out, "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Text here.</DIV>\r\n");
}

TEST(WriteParagraph, ADialogueDashGetsANoBreakSpace) {
  std::string out;
  WriteParagraph(out, "- Далеко ли?");
  WriteParagraph(out, "-Близко,   ");
  WriteParagraph(out, "-   Рядом.");
  WriteParagraph(out, "-");
  EXPECT_EQ(out,
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-&nbsp;Далеко ли?</DIV>\r\n"
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-&nbsp;Близко,</DIV>\r\n"
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-&nbsp;Рядом.</DIV>\r\n"
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-&nbsp;</DIV>\r\n");
}

TEST(WriteHeading, TitlesAndSubtitlesWithTheirColoursAndABreakBefore) {
  common::ElementColours colours;
  colours.title = "123456";
  std::string out;
  WriteHeading(out, "Глава 1", false, colours);
  WriteHeading(out, "* * *", true, colours);
  EXPECT_EQ(out,
            "<BR><SPAN id=title><DIV align=center><FONT color=#123456><B>Глава 1</B></FONT></DIV></SPAN>\r\n"
            "<BR><SPAN id=subtitle><DIV align=center><FONT color=#007373><B>* * *</B></FONT></DIV></SPAN>\r\n");
}

TEST(WriteEpigraphAndVerse, BlocksOfParagraphsWithTheirTextAuthor) {
  const common::ElementColours colours;
  std::string out;
  WriteEpigraph(out, {"И жить торопится,", "- и чувствовать спешит."}, "  Князь Вяземский ", colours);
  EXPECT_EQ(out,
            "<BR><SPAN id=epigraph><I><FONT color=#0000CD>"
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;И жить торопится,</DIV>\r\n"
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;-&nbsp;и чувствовать спешит.</DIV>\r\n"
            "<SPAN id=txtaut><FONT color=#A52A2A><DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Князь Вяземский"
            "</DIV></FONT></SPAN></FONT></I></SPAN><BR>\r\n");
  out.clear();
  WriteVerse(out, {"Мороз и солнце;", "День чудесный!"}, {}, colours);
  EXPECT_EQ(out,
            "<BR><SPAN id=verse><I><FONT color=#3D00B9>"
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Мороз и солнце;</DIV>\r\n"
            "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;День чудесный!</DIV></FONT></I></SPAN><BR>\r\n");
  // Every line of a block holds "<", so the next pass copies it as markup.
  for (size_t pos = 0; pos < out.size();) {
    const size_t end = out.find("\r\n", pos);
    EXPECT_TRUE(IsMarkupLine(std::string_view(out).substr(pos, end - pos)));
    pos = end + 2;
  }
}

// A work text: two text lines around a markup line, then the end line and the sentinel.
std::string WorkText() {
  std::string work = "first line\r\n<BR>\r\n  second line";
  AppendEndSentinel(work);
  return work + "\r\nnever read\r\n";
}

TEST(ReadTextLine, CopiesMarkupStopsAtTheEndLineAndCounts) {
  const std::string work = WorkText();
  WorkTextReader in(work);
  std::string out;
  size_t counter = 0;
  std::string_view line;
  ASSERT_TRUE(ReadTextLine(in, out, counter, line));
  EXPECT_EQ(line, "first line");
  EXPECT_EQ(counter, 1u);
  ASSERT_TRUE(ReadTextLine(in, out, counter, line));
  EXPECT_EQ(line, "  second line");
  EXPECT_EQ(counter, 3u);
  EXPECT_EQ(out, "<BR>\r\n");
  EXPECT_FALSE(ReadTextLine(in, out, counter, line));
  EXPECT_EQ(counter, 3u);
  EXPECT_EQ(out.find(kEndSentinel), std::string::npos);
}

TEST(ReadTextLine, TheJoiningFormFlushesThePendingParagraphFirst) {
  const std::string work = WorkText();
  WorkTextReader in(work);
  std::string out;
  std::string pending;
  bool written = false;
  size_t counter = 0;
  std::string_view line;
  ASSERT_TRUE(ReadTextLine(in, out, counter, line, pending, written));
  pending = "first line joined";
  EXPECT_FALSE(written);
  ASSERT_TRUE(ReadTextLine(in, out, counter, line, pending, written));
  EXPECT_TRUE(written);
  EXPECT_TRUE(pending.empty());
  EXPECT_EQ(out, "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;first line joined</DIV>\r\n<BR>\r\n");
  EXPECT_FALSE(ReadTextLine(in, out, counter, line, pending, written));
}

TEST(ReadTextLine, ATextWithoutEndLineEndsAtItsLastLine) {
  WorkTextReader in("a\r\nb");
  std::string out;
  size_t counter = 0;
  std::string_view line;
  EXPECT_TRUE(ReadTextLine(in, out, counter, line));
  EXPECT_TRUE(ReadTextLine(in, out, counter, line));
  EXPECT_EQ(line, "b");
  EXPECT_FALSE(ReadTextLine(in, out, counter, line));
}

TEST(PassPercent, ReportsEachPercentageOnce) {
  common::RecordingProgress progress;
  PassPercent percent(progress, 400);
  for (size_t line = 1; line <= 400; ++line) percent.Line(line);
  ASSERT_EQ(progress.percents.size(), 101u);  // 0 to 100
  EXPECT_EQ(progress.percents.front(), 0);
  EXPECT_EQ(progress.percents.back(), 100);
  common::RecordingProgress none;
  PassPercent empty(none, 0);  // no lines: the step is taken as one line
  empty.Line(1);
  EXPECT_EQ(none.percents, std::vector<int>{100});
}

TEST(TextSymbols, LineEndsBecomeCrLf) {
  EXPECT_EQ(NormaliseLineEnds("a\nb\r\nc\rd\n\ne"), "a\r\nb\r\nc\r\nd\r\n\r\ne");
  EXPECT_EQ(NormaliseLineEnds("\r\r\n"), "\r\n\r\n");
}

TEST(TextSymbols, BadSymbolsGoTabsAndLineEndsStay) {
  std::string text;
  for (int code = 0; code < 32; ++code) text += static_cast<char>(code);
  text += "ok";
  RemoveBadSymbols(text);
  EXPECT_EQ(text, "\t\n\rok");
}

TEST(TextSymbols, NonStandardSymbolsInTheirOrder) {
  std::string text = "a *b\u00A0c\u2013d\u2014e\u00ADf==g\th\u00A0*";
  ReplaceNonStandardSymbols(text);
  // The no-break space becomes a blank after " *" was handled, so " *" stays there.
  EXPECT_EQ(text, "a*b c-d-ef-g h *");
  std::string equals = "=====";
  ReplaceNonStandardSymbols(equals);
  EXPECT_EQ(equals, "--=");
}

TEST(TextSymbols, DashesPairwiseAndTheEndMarkGoes) {
  std::string text = "a--b---c\u2014\u2014d\x01";
  ReplaceDashes(text);
  EXPECT_EQ(text, "a-b--c-d");
}

TEST(TextSymbols, TcrLeftovers) {
  std::string text = "PPL text <* > and <* > again";
  RemoveTcrLeftovers(text);
  EXPECT_EQ(text, " text  and <* > again");
  std::string second = "\nPPLx";
  RemoveTcrLeftovers(second);
  EXPECT_EQ(second, "\nx");
  std::string later = "abPPL";
  RemoveTcrLeftovers(later);
  EXPECT_EQ(later, "abPPL");
}

TEST(TaggedText, InlineStylesAreKeptOtherBracketsEscaped) {
  const std::string checked = CheckTags("<b>Bold</B> a < b > c <ESC> <i class=x>it</i><br>next<p>para");
  EXPECT_EQ(checked.find('<'), std::string::npos);
  EXPECT_EQ(RestoreKeptTags(checked),
            "<B>Bold</B> a &lt; b &gt; c &lt;ESC&gt; <I>it</I>\r\nnext\r\npara");
  EXPECT_EQ(StripKeptTags(checked), "Bold a &lt; b &gt; c &lt;ESC&gt; it\r\nnext\r\npara");
  EXPECT_TRUE(HasKeptTags(checked));
  EXPECT_EQ(RestoreKeptTags(CheckTags("<strong>s</strong><em>e</em><sub>1</sub><sup>2</sup><u>u</u>")),
            "<B>s</B><I>e</I><SUB>1</SUB><SUP>2</SUP><U>u</U>");
  // A tag cut by a line end is no tag.
  EXPECT_EQ(CheckTags("<b\r\n>x"), "&lt;b\r\n&gt;x");
  EXPECT_EQ(EscapeAngleBrackets("1 < 2 > 0"), "1 &lt; 2 &gt; 0");
}

TEST(TaggedText, HtmlIsKnownByItsTags) {
  EXPECT_TRUE(LooksLikeHtml("<HTML><BODY>text"));
  EXPECT_TRUE(LooksLikeHtml("a line<br/>another"));
  EXPECT_TRUE(LooksLikeHtml("text </P> more"));
  EXPECT_TRUE(LooksLikeHtml("<p class=x>para"));
  EXPECT_FALSE(LooksLikeHtml("Press <ESC> or <Enter>, write to <john@example.org>"));
  EXPECT_FALSE(LooksLikeHtml("a < b and c > d"));
  EXPECT_FALSE(LooksLikeHtml("<paragraph> is no tag of a page"));
}

}  // namespace
}  // namespace pw::import
