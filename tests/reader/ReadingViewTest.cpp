#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <unistd.h>

#include "support/TestSupport.h"
#include "common/Files.h"
#include "reader/Reader.h"
#include "reader/ReadingFonts.h"
#include "reader/ReadingView.h"
#include "shell/SettingsFile.h"

namespace pw::reader {
namespace {

namespace fs = std::filesystem;

TEST(ReadingFonts, ShippedDefaultsAreACompleteFileOfThisLayout) {
  std::string text;
  ASSERT_TRUE(common::ReadWholeFile(test::ShippedDataPath("FontsDefault.dat"), text));
  FontTable table;
  for (ReadingFont& font : table.fonts) font = {"Impact", 7, true};  // nothing the file says
  ASSERT_TRUE(ParseFontsFile(text, table));
  for (size_t i = 0; i < kFontKindCount; ++i)
    EXPECT_NE(table.fonts[i].face, "Impact") << FontKindName(static_cast<FontKind>(i)) << " missing from the file";
  EXPECT_EQ(table, BuiltInFonts());
}

TEST(ReadingFonts, WrittenFileReadsBackAndDamageKeepsTheTable) {
  FontTable table = BuiltInFonts();
  table[FontKind::Verse] = {"Georgia", 21, true};
  table[FontKind::Notes] = {"Courier New", 12, false};
  const std::string file = WriteFontsFile(table);
  FontTable back;
  ASSERT_TRUE(ParseFontsFile(file, back));
  EXPECT_EQ(back, table);

  // CRLF line ends and a file naming only some kinds: the rest keep what they had.
  FontTable partial = BuiltInFonts();
  ASSERT_TRUE(ParseFontsFile("# mine\r\nversion 1\r\ntitle\tVerdana\t30\tnormal\r\n", partial));
  EXPECT_EQ(partial[FontKind::Title], (ReadingFont{"Verdana", 30, false}));
  EXPECT_EQ(partial[FontKind::Text], BuiltInFonts()[FontKind::Text]);

  const FontTable before = table;
  for (const std::string_view bad : {
           "",                                                  // no version line
           "title\tArial\t20\tbold\n",                          // records before the version
           "version 2\ntitle\tArial\t20\tbold\n",               // a later layout
           "version 1\ntitle\tNo Such Face\t20\tbold\n",        // face not offered
           "version 1\nheading\tArial\t20\tbold\n",             // unknown kind
           "version 1\ntitle\tArial\t200\tbold\n",              // size out of range
           "version 1\ntitle\tArial\t20x\tbold\n",              // not a number
           "version 1\ntitle\tArial\t20\theavy\n",              // weight
           "version 1\ntitle\tArial\t20\n",                     // a field short
           "version 1\ntext\tArial\t20\tbold\ntitle\tArial\t20\tbold\textra\n",  // cut half-way
       }) {
    EXPECT_FALSE(ParseFontsFile(bad, table)) << bad;
    EXPECT_EQ(table, before) << bad;
  }
}

TEST(ReadingFonts, LoadPrefersTheUsersFileThenTheShippedOne) {
  const fs::path root = fs::temp_directory_path() / ("pw-fonts-" + std::to_string(::getpid()));
  fs::remove_all(root);
  fs::create_directories(root);
  EXPECT_EQ(LoadReadingFonts(root), BuiltInFonts());
  ASSERT_TRUE(common::WriteFileAtomic(root / kDefaultFontsFileName, "version 1\ntext\tTahoma\t19\tnormal\n"));
  EXPECT_EQ(LoadReadingFonts(root)[FontKind::Text].face, "Tahoma");
  FontTable mine = BuiltInFonts();
  mine[FontKind::Text] = {"Verdana", 22, false};
  ASSERT_TRUE(SaveReadingFonts(root, mine));
  EXPECT_EQ(LoadReadingFonts(root), mine);
  // A damaged user file: the shipped defaults again, not a half-read table.
  ASSERT_TRUE(common::WriteFileAtomic(root / kFontsFileName, "version 1\ntext\tVerdana\t"));
  EXPECT_EQ(LoadReadingFonts(root)[FontKind::Text].face, "Tahoma");
  fs::remove_all(root);
}

TEST(ReadingFonts, FontTagAndFreeStandIns) {
  EXPECT_EQ(SelectFontNameAddSize("Georgia", 18), "<FONT face=\"Georgia\" size=4>");
  EXPECT_EQ(HtmlFontSize(5), 1);
  EXPECT_EQ(HtmlFontSize(15), 3);
  EXPECT_EQ(HtmlFontSize(100), 7);
  EXPECT_EQ(FontFamilyList("Times New Roman"), "\"Times New Roman\", \"Liberation Serif\", serif");
  EXPECT_EQ(FontFamilyList("Courier New"), "\"Courier New\", \"Liberation Mono\", monospace");
  // Every offered face has a stand-in, so a machine without it still shows the same kind.
  for (const std::string_view face : ReadingFaces())
    EXPECT_NE(FontFamilyList(face), "serif") << face;
}

TEST(ReadingView, StyleSheetGivesEveryKindItsFontAndColourOverTheBooksOwn) {
  FontTable fonts = BuiltInFonts();
  fonts[FontKind::Epigraph] = {"Arial Narrow", 14, true};
  common::Settings settings;
  settings.readerElementColours.epigraph = "#123456";
  const std::string css = ReadingStyleSheet(fonts, ColoursFor(settings));
  EXPECT_NE(css.find("background: #F0F8FF; color: #000000"), std::string::npos) << css;
  EXPECT_NE(css.find("[id=epigraph] { font-family: \"Arial Narrow\", \"Liberation Sans Narrow\", sans-serif; "
                     "font-size: 14px; font-weight: bold; color: #123456; }"),
            std::string::npos)
      << css;
  EXPECT_NE(css.find("[id=epigraph] font, [id=epigraph] b { color: #123456 !important"), std::string::npos) << css;
  // Both selectors of a kind that covers two ids get the override.
  EXPECT_NE(css.find("[id=annotation] font"), std::string::npos);

  settings.readerNightScheme = true;
  const std::string night = ReadingStyleSheet(fonts, ColoursFor(settings));
  EXPECT_NE(night.find("background: " + NightColours().background), std::string::npos);
  EXPECT_EQ(night.find("#123456"), std::string::npos);  // the day colours are not used at night
}

TEST(ReadingView, DocumentKeepsTheBookAndWrapsTheBody) {
  const std::string book =
      "<HTML>\r\n<meta content=\"text/html; charset=utf-8\" http-equiv=\"Content-Type\">\r\n"
      "<BODY style=\"FONT-SIZE: small\" text=#000000 bgColor=#FFFFFF><DIV align=justify>Раз</DIV>\r\n</BODY></HTML>";
  const std::string read = ReadingDocument(book, BuiltInFonts(), ColoursFor(common::Settings()));
  const size_t style = read.find("<style id=PwReadingStyle>");
  const size_t body = read.find("<BODY");
  const size_t font = read.find("<FONT face=\"Times New Roman\" size=4><DIV align=justify>Раз</DIV>");
  const size_t close = read.find("</FONT></BODY></HTML>");
  ASSERT_NE(style, std::string::npos);
  ASSERT_NE(font, std::string::npos) << read;
  ASSERT_NE(close, std::string::npos) << read;
  EXPECT_LT(style, body);
  EXPECT_LT(body, font);
  // A fragment without a body is wrapped whole.
  const std::string fragment = ReadingDocument("<div>x</div>", BuiltInFonts(), NightColours());
  EXPECT_NE(fragment.find("size=4><div>x</div></FONT></BODY>"), std::string::npos) << fragment;
}

TEST(ReadingView, ZoomSteps) {
  EXPECT_EQ(StepZoom(100, 1), 110);
  EXPECT_EQ(StepZoom(100, -1), 90);
  EXPECT_EQ(StepZoom(105, 1), 110);   // between steps: the next one that way
  EXPECT_EQ(StepZoom(105, -1), 100);
  EXPECT_EQ(StepZoom(ZoomSteps().back(), 1), ZoomSteps().back());
  EXPECT_EQ(StepZoom(ZoomSteps().front(), -1), ZoomSteps().front());
  EXPECT_EQ(StepZoom(10, -1), ZoomSteps().front());
}

TEST(ReadingView, TemporaryBookmarkNeverStays) {
  const std::string mark(kTemporaryBookmarkId);
  std::string document = "<DIV>a<A id=" + mark + "></A>b</DIV><DIV>c<a id=\"" + mark + "\"></a>d</DIV>";
  EXPECT_EQ(RemoveTemporaryBookmarks(document), 2u);
  EXPECT_EQ(document, "<DIV>ab</DIV><DIV>cd</DIV>");
  std::string plain = "<DIV><A id=1 name=1>x</A></DIV>";
  EXPECT_EQ(RemoveTemporaryBookmarks(plain), 0u);
  EXPECT_EQ(plain, "<DIV><A id=1 name=1>x</A></DIV>");
}

TEST(ReadingView, ReadingSettingsSurviveTheSettingsFile) {
  common::Settings settings;
  settings.readerNightScheme = true;
  settings.readerElementColours.title = "#010203";
  settings.readerGeometry = "user";
  settings.readerUserWidth = 333;
  settings.readerZoom = 125;
  settings.scrollType = "symbols";
  settings.scrollSpeedSymbols = 42.5f;
  common::Settings back;
  ASSERT_TRUE(shell::ReadSettingsRecord(shell::WriteSettingsRecord(settings), back));
  EXPECT_EQ(back, settings);
  // The reader's element colours are its own: the editor's stay at their defaults.
  EXPECT_EQ(back.elementColours.title, common::ElementColours().title);
}

}  // namespace
}  // namespace pw::reader
