#include "shell/TextInput.h"

#include <gtest/gtest.h>

#include "common/CodePage.h"
#include "common/Text.h"
#include "corrector/RuleFile.h"
#include "import/TcrText.h"
#include "shell/BookSession.h"
#include "shell/ShellTestSupport.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;
using testing::StateOf;
using testing::Workbench;

struct TextBench : Workbench {
  BookSession session{workshop, 3, settings, editor, messages, progress};

  std::string Opened(const fs::path& source) {
    std::string document;
    EXPECT_TRUE(session.PrepareBook(source.string())) << ::testing::PrintToString(sink.shown);
    editor.Document(document);
    return document;
  }
};

constexpr std::string_view kText =
    "Глава первая\r\n\r\n"
    "     Вечером мы долго сидели у огня и говорили о дороге, которая ждала\r\n"
    "нас утром.\r\n"
    "     - Далеко ли? - спросил он.\r\n";

TEST(TextInput, TheRegistryOpensTextBooks) {
  for (std::string_view extension : {"txt", "tcr", "kml"}) EXPECT_NE(BuiltInConverters().Find(extension), nullptr);
}

TEST(TextInput, ATextFileBecomesTheWorkingBook) {
  TextBench b;
  b.settings.paragraphMode = "tabulators";
  const fs::path source = b.Write("book.txt", common::EncodeFromUtf8(kText, common::CodePage::Win1251));
  const auto before = StateOf(source);
  const std::string document = b.Opened(source);
  EXPECT_NE(document.find("<SPAN id=title><DIV align=center><FONT color=#001950><B>Глава первая</B>"),
            std::string::npos);
  EXPECT_NE(document.find("&nbsp;&nbsp;&nbsp;&nbsp;Вечером мы долго сидели у огня и говорили о дороге, которая "
                          "ждала нас утром.</DIV>"),
            std::string::npos);
  EXPECT_NE(document.find("&nbsp;&nbsp;&nbsp;&nbsp;-&nbsp;Далеко ли? - спросил он.</DIV>"), std::string::npos);
  EXPECT_EQ(StateOf(source), before);
  const auto& statuses = b.progress.statuses;
  EXPECT_NE(std::find(statuses.begin(), statuses.end(), "...txt to html0...looking for titles..."), statuses.end());
}

TEST(TextInput, CleanUpSlotsTakeTheirRuleFilesFromTheWorkshop) {
  TextBench b;
  corrector::CleanUpTable table;
  table.rows.push_back({"огня", "костра", true, false, true});
  std::string error;
  ASSERT_TRUE(corrector::SaveReplacementTable(b.workshop.bookCleaner() / "mine.bcf", table, error)) << error;
  b.settings.cleanUpBefore = "mine.bcf";
  const std::string document = b.Opened(b.Write("book.txt", std::string(kText)));
  EXPECT_NE(document.find("у костра"), std::string::npos);
  EXPECT_TRUE(b.sink.shown.empty()) << ::testing::PrintToString(b.sink.shown);
}

TEST(TextInput, TcrAndKmlBooks) {
  TextBench b;
  // A tcr book whose table spells out whole words.
  std::string tcr(import::kTcrSignature);
  const std::string words[] = {"CHAPTER ONE\r\n\r\n", "The road went on.\r\n", "PPL"};
  for (int i = 0; i < 256; ++i) {
    const std::string entry = i < 3 ? words[i] : std::string(1, static_cast<char>(i));
    tcr += static_cast<char>(entry.size()) + entry;
  }
  tcr += std::string("\x02\x00\x01\x01", 4);
  std::string document = b.Opened(b.Write("book.tcr", tcr));
  EXPECT_NE(document.find("<B>CHAPTER ONE</B>"), std::string::npos);
  EXPECT_EQ(common::CountOccurrences(document, "&nbsp;&nbsp;&nbsp;&nbsp;The road went on.</DIV>"), 2u);
  EXPECT_EQ(document.find("PPL"), std::string::npos);  // the tcr leftover at the start is dropped
  EXPECT_FALSE(b.session.PrepareBook(b.Write("broken.tcr", "no signature in here").string()));

  document = b.Opened(b.Write("book.kml", "<hiebook><book><para>ГЛАВА 2</para><para>Текст &amp; ещё.</para>"
                                          "<para></para></book></hiebook>"));
  EXPECT_NE(document.find("<B>ГЛАВА 2</B>"), std::string::npos);
  EXPECT_NE(document.find("&nbsp;&nbsp;&nbsp;&nbsp;Текст & ещё.</DIV>"), std::string::npos);
}

}  // namespace
}  // namespace pw::shell
