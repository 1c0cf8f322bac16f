#include "shell/SettingsFile.h"

#include <gtest/gtest.h>

#include "common/Files.h"
#include "support/TestSupport.h"

namespace pw::shell {
namespace {

common::Settings Changed() {
  common::Settings s;
  VisitSettings(s, [](const char* name, auto& field) {
    using T = std::decay_t<decltype(field)>;
    if constexpr (std::is_same_v<T, std::string>) field = std::string(name) + " ё";
    else if constexpr (std::is_same_v<T, bool>) field = !field;
    else if constexpr (std::is_same_v<T, float>) field += 0.5f;
    else if constexpr (std::is_same_v<T, int>) field = -field - 7;
    else if constexpr (std::is_same_v<T, common::Language>) field = common::Language::Russian;
    else field = {std::string(name), "", "второй"};
  });
  return s;
}

TEST(SettingsFile, EveryFieldRoundTrips) {
  const common::Settings changed = Changed();
  ASSERT_NE(changed, common::Settings{});
  common::Settings back;
  ASSERT_TRUE(ReadSettingsRecord(WriteSettingsRecord(changed), back));
  EXPECT_EQ(back, changed);
  ASSERT_TRUE(ReadSettingsRecord(WriteSettingsRecord(common::Settings{}), back));
  EXPECT_EQ(back, common::Settings{});
}

TEST(SettingsFile, DefaultsCarryTheValuesOtherPartsDependOn) {
  const common::Settings s;
  EXPECT_EQ(s.readerBackground, "#F0F8FF");
  EXPECT_EQ(s.readerFontWeight, "bold");
  EXPECT_EQ(s.elementColours.bookTitle, "#B90000");
  EXPECT_EQ(s.dashStyle, "middle");
  EXPECT_EQ(s.documentIdPrefix, "Pgw-");
  EXPECT_EQ(s.validParagraphEnds, ".?!;:chr(133)");
  EXPECT_EQ(s.recentFiles.front(), "Empty");
  EXPECT_EQ(s.importCodePage, "auto");
  EXPECT_EQ(s.cleanUpBefore, "none");
}

TEST(SettingsFile, BadFilesGiveTheDefaults) {
  const std::string good = WriteSettingsRecord(Changed());
  const std::vector<std::string> bad{
      "",
      good.substr(0, good.size() / 2),
      good.substr(0, good.size() - 1),
      good + "x",
      std::string("PWSET\x01\x00", 7) + good.substr(7),  // an older layout
      std::string("PWSET\x03\x00", 7) + good.substr(7),  // the layout before the tool time-outs
      std::string("PWSET\x05\x00", 7) + good.substr(7),  // a newer layout
      std::string("<HTML>foreign file</HTML>"),
  };
  for (size_t i = 0; i < bad.size(); ++i) {
    common::Settings s = Changed();
    EXPECT_FALSE(ReadSettingsRecord(bad[i], s)) << "case " << i;
    EXPECT_EQ(s, common::Settings{}) << "case " << i;
  }
  // Every cut of a real record is refused.
  for (size_t cut = 0; cut < good.size(); cut += 7) {
    common::Settings s;
    EXPECT_FALSE(ReadSettingsRecord(std::string_view(good).substr(0, cut), s)) << cut;
  }
}

TEST(SettingsFile, RestoreAndSave) {
  test::ScratchFolder folder;
  const auto file = folder / "Pagewright.ini";
  common::Settings s = Changed();
  EXPECT_EQ(RestoreSettings(file, s), RestoreResult::Missing);
  EXPECT_EQ(s, common::Settings{});
  ASSERT_TRUE(SaveSettings(file, Changed()));
  EXPECT_EQ(RestoreSettings(file, s), RestoreResult::Read);
  EXPECT_EQ(s, Changed());
  std::string bytes;
  ASSERT_TRUE(common::ReadWholeFile(file, bytes));
  ASSERT_TRUE(common::WriteFileAtomic(file, bytes.substr(0, bytes.size() / 2)));
  EXPECT_EQ(RestoreSettings(file, s), RestoreResult::Damaged);
  EXPECT_EQ(s, common::Settings{});
}

}  // namespace
}  // namespace pw::shell
