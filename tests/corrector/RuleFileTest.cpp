#include "corrector/RuleFile.h"

#include <gtest/gtest.h>

#include "common/Files.h"
#include "corrector/RuleTableEditing.h"
#include "support/TestSupport.h"

namespace pw::corrector {
namespace {

// Builds the expected bytes by hand, field by field, from the file layout.
struct Bytes {
  std::string data;
  Bytes& I32(int32_t v) {
    for (int i = 0; i < 4; ++i) data += static_cast<char>((static_cast<uint32_t>(v) >> (8 * i)) & 0xFF);
    return *this;
  }
  Bytes& I16(int16_t v) {
    for (int i = 0; i < 2; ++i) data += static_cast<char>((static_cast<uint16_t>(v) >> (8 * i)) & 0xFF);
    return *this;
  }
  Bytes& Raw(std::string_view raw) {
    data += raw;
    return *this;
  }
};

TEST(RuleFile, BytesMatchTheLayout) {
  CleanUpTable table;
  table.mode = 4;
  table.rows = {{"Ж", "", true, false, true}, {"a", "bc", false, true, false}};
  table.comment = "<P>комментарий</P>";
  Bytes expected;
  expected.I32(2).I16(4).I16(1);
  expected.I32(1).Raw(std::string("\x16\x04", 2)).I32(-1).I16(1).I16(0).I16(1);
  expected.I32(1).Raw(std::string("a\0", 2)).I32(3).Raw(std::string("b\0c\0", 4)).I16(0).I16(1).I16(0);
  expected.Raw("<P>комментарий</P>");
  EXPECT_EQ(WriteRuleFile(table), expected.data);

  CleanUpTable back;
  std::string error;
  ASSERT_TRUE(ReadRuleFile(expected.data, back, error)) << error;
  EXPECT_EQ(back, table);
}

TEST(RuleFile, RoundTrips) {
  CleanUpTable empty;
  empty.comment = "only a comment";
  CleanUpTable back;
  std::string error;
  ASSERT_TRUE(ReadRuleFile(WriteRuleFile(empty), back, error));
  EXPECT_EQ(back, empty);
  EXPECT_EQ(WriteRuleFile(empty).size(), 8u + empty.comment.size());

  CleanUpTable big;
  big.rows.push_back({std::string(5000, 'x') + "😀Ё", "uni(171)", true, true, true});
  big.rows.push_back({"", "", false, false, false});
  ASSERT_TRUE(ReadRuleFile(WriteRuleFile(big), back, error)) << error;
  EXPECT_EQ(back, big);
}

TEST(RuleFile, DamagedFilesAreRefused) {
  CleanUpTable table;
  table.rows = {{"abc", "d", true, false, true}};
  const std::string good = WriteRuleFile(table);
  auto patched = [&](size_t pos, std::string_view bytes) {
    std::string copy = good;
    copy.replace(pos, bytes.size(), bytes);
    return copy;
  };
  const std::vector<std::string> damaged{
      "",
      good.substr(0, 7),
      patched(0, std::string("\xFF\xFF\xFF\x7F", 4)),  // lying row count
      patched(0, std::string("\xFF\xFF\xFF\xFF", 4)),  // negative row count
      patched(4, std::string("\x07\x00", 2)),          // unknown mode
      patched(6, std::string("\x02\x00", 2)),          // unknown version
      patched(8, std::string("\x04\x00\x00\x00", 4)),  // odd byte length (bound 4 = 5 bytes)
      patched(8, std::string("\xFF\xFF\x00\x00", 4)),  // bound past the end
      patched(8, std::string("\xFE\xFF\xFF\xFF", 4)),  // bound below -1
  };
  for (size_t cut = 8; cut < good.size(); ++cut) {
    CleanUpTable back;
    std::string error;
    EXPECT_FALSE(ReadRuleFile(std::string_view(good).substr(0, cut), back, error)) << "cut at " << cut;
  }
  for (size_t i = 0; i < damaged.size(); ++i) {
    CleanUpTable back;
    std::string error;
    EXPECT_FALSE(ReadRuleFile(damaged[i], back, error)) << "case " << i;
    EXPECT_FALSE(error.empty());
  }
}

TEST(RuleFile, OldFormatImport) {
  CleanUpTable table;
  std::string error;
  ASSERT_TRUE(ParseOldRuleFile("4\r\n2\r\na\r\nb\r\nTrue\r\nFalse\r\nTrue\r\nx\r\n\r\nfalse\r\nTrue\r\nyes\r\n", table, error));
  EXPECT_EQ(table.mode, 4);
  ASSERT_EQ(table.rows.size(), 2u);
  EXPECT_EQ(table.rows[0], (CleanUpRule{"a", "b", true, false, true}));
  EXPECT_EQ(table.rows[1], (CleanUpRule{"x", "", false, true, false}));
  for (std::string_view bad : {"", "7\r\n0\r\n", "x\r\n1\r\n", "1\r\n3\r\na\r\nb\r\n", "2\r\nmany\r\n"}) {
    EXPECT_FALSE(ParseOldRuleFile(bad, table, error)) << bad;
    EXPECT_EQ(error, "cannot import file");
  }
  EXPECT_EQ(ModeFromOldDigit(0), 3);
  EXPECT_EQ(ModeFromOldDigit(4), 4);
}

// Found by fuzzing: an old file in its single-byte code page gave rows that were not UTF-8, and
// the table saved as a rule file read back different.
TEST(RuleFile, OldFormatInItsCodePageBecomesUtf8AndSavesIntact) {
  CleanUpTable table;
  std::string error;
  ASSERT_TRUE(ParseOldRuleFile("3\r\n1\r\n\xc3\xeb\xe0\xe2\xe0\r\n\x97\r\nTrue\r\nFalse\r\nTrue\r\n", table, error));
  ASSERT_EQ(table.rows.size(), 1u);
  EXPECT_EQ(table.rows[0].RepWhat, "Глава");
  EXPECT_EQ(table.rows[0].RepBy, "—");
  CleanUpTable back;
  ASSERT_TRUE(ReadRuleFile(WriteRuleFile(table), back, error)) << error;
  EXPECT_EQ(back, table);
}

TEST(RuleFile, ShippedDefaultMatchesItsSource) {
  std::string source, comment, shipped;
  ASSERT_TRUE(common::ReadWholeFile(pw::test::ShippedDataPath("BookCleanerDef.dat").string(), source));
  ASSERT_TRUE(common::ReadWholeFile(pw::test::ShippedDataPath("BookCleanerDef.comment.html").string(), comment));
  ASSERT_TRUE(common::ReadWholeFile(pw::test::ShippedDataPath("BookCleanerDef.bcf").string(), shipped));
  CleanUpTable table;
  std::string error;
  ASSERT_TRUE(ParseOldRuleFile(source, table, error));
  table.comment = comment;
  EXPECT_EQ(WriteRuleFile(table), shipped) << "regenerate with: pagewright rules import data/BookCleanerDef.dat "
                                              "--comment data/BookCleanerDef.comment.html -o data/BookCleanerDef.bcf";
  EXPECT_GE(table.rows.size(), 5u);
}

TEST(RuleTableEditing, OperationsAndTheirMessages) {
  CleanUpTable table;
  CleanUpTableEditor editor(table);
  EXPECT_FALSE(editor.AddRow(Where::AtEnd, std::nullopt));
  EXPECT_EQ(editor.AddRow(Where::Before, std::nullopt), common::Msg::CleanUpBadSelection);
  table.rows[0].RepWhat = "first";
  EXPECT_FALSE(editor.AddRow(Where::After, RowSelection{0, 0}));
  table.rows[1].RepWhat = "second";
  EXPECT_FALSE(editor.AddRow(Where::Before, RowSelection{0, 0}));
  ASSERT_EQ(table.rows.size(), 3u);
  EXPECT_EQ(table.rows[1].RepWhat, "first");

  EXPECT_EQ(editor.PasteRows(Where::After, RowSelection{0, 0}), common::Msg::CleanUpBadClipboard);
  EXPECT_FALSE(editor.CutRows(RowSelection{1, 2}));
  ASSERT_EQ(table.rows.size(), 1u);
  EXPECT_EQ(editor.PasteRows(Where::After, std::nullopt), common::Msg::CleanUpBadRowSelection);
  EXPECT_EQ(editor.PasteRows(Where::After, RowSelection{3, 3}), common::Msg::CleanUpBadRowSelection);
  EXPECT_FALSE(editor.PasteRows(Where::Before, RowSelection{0, 0}));
  ASSERT_EQ(table.rows.size(), 3u);
  EXPECT_EQ(table.rows[0].RepWhat, "first");
  EXPECT_EQ(table.rows[1].RepWhat, "second");
  EXPECT_EQ(editor.RemoveRows(RowSelection{2, 1}), common::Msg::CleanUpBadSelection);
  editor.CheckAll(false);
  for (const auto& row : table.rows) EXPECT_FALSE(row.Enabled);
  EXPECT_TRUE(editor.changed());
  editor.Clear();
  EXPECT_TRUE(table.rows.empty());
}

TEST(RuleTableEditing, MovingRowsAndAClipboardKeptByThePage) {
  CleanUpTable table;
  for (const char* what : {"a", "b", "c", "d"}) table.rows.push_back({what, "", true, false, true});
  CleanUpTableEditor editor(table);
  const auto order = [&] {
    std::string out;
    for (const auto& row : table.rows) out += row.RepWhat;
    return out;
  };
  EXPECT_FALSE(editor.MoveRows(true, RowSelection{1, 2}));
  EXPECT_EQ(order(), "bcad");
  EXPECT_FALSE(editor.MoveRows(true, RowSelection{0, 1}));  // at the top: stays
  EXPECT_EQ(order(), "bcad");
  EXPECT_FALSE(editor.MoveRows(false, RowSelection{0, 0}));
  EXPECT_EQ(order(), "cbad");
  EXPECT_FALSE(editor.MoveRows(false, RowSelection{3, 3}));
  EXPECT_EQ(order(), "cbad");
  EXPECT_EQ(editor.MoveRows(false, RowSelection{2, 4}), common::Msg::CleanUpBadSelection);
  CleanUpTableEditor later(table);
  later.SetClipboard({{"x", "y", true, true, true}});
  EXPECT_FALSE(later.PasteRows(Where::After, RowSelection{3, 3}));
  EXPECT_EQ(order(), "cbadx");
}

}  // namespace
}  // namespace pw::corrector
