#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <map>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Progress.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "import/KmlText.h"
#include "import/TcrText.h"
#include "support/TestSupport.h"

namespace pw::import {
namespace {

// A TCR file whose table maps byte i to `entries[i]` (the rest to single bytes i).
std::string TcrFile(const std::map<unsigned char, std::string>& entries, std::string_view indices,
                    std::string_view junk = {}) {
  std::string file(junk);
  file += kTcrSignature;
  for (int i = 0; i < 256; ++i) {
    const auto found = entries.find(static_cast<unsigned char>(i));
    const std::string entry = found == entries.end() ? std::string(1, static_cast<char>(i)) : found->second;
    file += static_cast<char>(entry.size());
    file += entry;
  }
  return file + std::string(indices);
}

TEST(UnpackTcr, EveryByteIsATableEntry) {
  std::string text;
  ASSERT_TRUE(UnpackTcr(TcrFile({{1, "the "}, {2, "road"}, {3, ""}}, "\x01\x02\x03!"), text));
  EXPECT_EQ(text, "the road!");
  // A name line before the signature is skipped.
  ASSERT_TRUE(UnpackTcr(TcrFile({{1, "ab"}}, "\x01\x01", "==> book.tcr <==\n"), text));
  EXPECT_EQ(text, "abab");
  EXPECT_FALSE(UnpackTcr("plain text, no signature", text));
  const std::string cut = TcrFile({}, "").substr(0, 200);
  EXPECT_FALSE(UnpackTcr(cut, text));
  EXPECT_FALSE(UnpackTcr(std::string(1200, 'x') + TcrFile({}, "a"), text));  // signature too far in
}

TEST(UnpackTcr, OutputPastTheBookSizeLimitIsRefused) {
  // Every byte stands for 255: a 100 KB file would unpack to 25 MB, past the 16 MB bound.
  const std::string file = TcrFile({{1, std::string(255, 'w')}}, std::string(100 * 1024, '\x01'));
  std::string text;
  bool tooLarge = false;
  EXPECT_FALSE(UnpackTcr(file, text, &tooLarge));
  EXPECT_TRUE(tooLarge);
  EXPECT_TRUE(text.empty());
  ASSERT_TRUE(UnpackTcr(TcrFile({{1, std::string(255, 'w')}}, std::string(1000, '\x01')), text, &tooLarge));
  EXPECT_FALSE(tooLarge);
  EXPECT_EQ(text.size(), 255000u);
}

TEST(UnpackTcr, TheGeneratedCorpusBooksHoldTheirSourceText) {
  const auto tcr = pw::test::CorpusPath("other/generated/ru_chekhov_vanka.tcr");
  const auto txt = pw::test::CorpusPath("txt/ru_chekhov_vanka_utf8_oneline_noblank.txt");
  if (tcr.empty() || !common::FileExists(tcr) || !common::FileExists(txt)) GTEST_SKIP() << "no corpus";
  std::string file;
  std::string source;
  ASSERT_TRUE(common::ReadWholeFile(tcr, file));
  ASSERT_TRUE(common::ReadWholeFile(txt, source));
  std::string text;
  ASSERT_TRUE(UnpackTcr(file, text));
  EXPECT_EQ(pw::test::LetterCounts(common::DecodeToUtf8(text, common::CodePage::Win1251)), pw::test::LetterCounts(source));

  const auto alice = pw::test::CorpusPath("other/generated/en_carroll_alice.tcr");
  ASSERT_TRUE(common::ReadWholeFile(alice, file));
  ASSERT_TRUE(UnpackTcr(file, text));
  EXPECT_NE(text.find("CHAPTER XII. Alice"), std::string::npos);
}

TEST(ExtractKmlText, ParagraphsOfTheBookElementBecomeLines) {
  common::RecordingProgress progress;
  const std::string xml =
      "<?xml version=\"1.0\"?><hiebook><head><title>Not text</title></head>"
      "<book>\n<para>First &amp; <b>bold</b>\nline.</para><para></para><PARA   />"
      "<para align=\"left\">  \u2014  Dialogue</para><paragraph>no</paragraph><para>&lt;tag&gt;</para>"
      "</book><para>after the book</para></hiebook>";
  EXPECT_EQ(ExtractKmlText(xml, progress), "First & bold line.\r\n\u2014  Dialogue\r\n&lt;tag&gt;\r\n");
  EXPECT_EQ(progress.statuses, std::vector<std::string>{"...extracting text..."});
  EXPECT_EQ(ExtractKmlText("<book><para></para><para> </para></book>", progress), "");
  EXPECT_EQ(ExtractKmlText("<para>no book element</para>", progress), "no book element\r\n");
}

}  // namespace
}  // namespace pw::import
