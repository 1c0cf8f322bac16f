#include "markup/Signature.h"

#include <gtest/gtest.h>

#include "common/Text.h"

#include "markup/BookMarkup.h"
#include "support/TestSupport.h"

namespace pw::markup {
namespace {

std::string Book() {
  return "<BODY>" + MakeParagraph("Text.") + std::string(kLastParagraph) + "</BODY></HTML>";
}

TEST(Signature, BlockShapeWithAndWithoutLineEnds) {
  EXPECT_EQ(MakeSignatureBlock("22.11.2026", false),
            "<BR><SPAN id=PWSIGN><DIV align=center>This file was created with Pagewright program"
            "</DIV><DIV align=center>pagewright.books@example.org</DIV><DIV align=center>22.11.2026"
            "</DIV></SPAN>" + std::string(kLastParagraph));
  EXPECT_EQ(common::CountOccurrences(MakeSignatureBlock("d", true), "\r\n"), 5u);
}

TEST(Signature, SigningTwiceLeavesOneBlockAndOneLastParagraph) {
  for (bool lineEnds : {false, true}) {
    std::string book = Book();
    for (int i = 0; i < 2; ++i) {
      RemoveSignature(book);
      AddSignature(book, "22.11.2026", lineEnds);
    }
    EXPECT_EQ(common::CountOccurrences(book, kSignatureOpen), 1u);
    EXPECT_EQ(common::CountOccurrences(book, kLastParagraph), 1u);
    EXPECT_EQ(common::CountOccurrences(book, "<BR>"), 1u);
    // The last-paragraph mark stays the body's last element.
    EXPECT_LT(book.find("</SPAN>", book.find(kSignatureOpen)), book.find(kLastParagraph));
    EXPECT_NE(book.find(std::string(kLastParagraph) + (lineEnds ? "\r\n" : "") + "</BODY>"),
              std::string::npos);
  }
}

TEST(Signature, GoesBeforeTheTextEndMark) {
  std::string book = "<BODY>" + MakeParagraph("x") + std::string(kTextEnd) +
                     "<fb2_description>d</fb2_description></BODY></HTML>";
  AddSignature(book, "d", false);
  EXPECT_LT(book.find(kSignatureOpen), book.find(kTextEnd));
}

TEST(Signature, OldSignatureWithoutSpanIsRemoved) {
  const std::string before = "<BODY>" + MakeParagraph("Text.");
  std::string book = before +
                     "<BR><DIV align=center>This file was created with Pagewright program</DIV>\r\n"
                     "<DIV align=center>someone@example.org</DIV><DIV align=center>1.1.2020</DIV>"
                     "</BODY>";
  EXPECT_TRUE(RemoveSignature(book));
  EXPECT_EQ(book, before + "</BODY>");
  EXPECT_FALSE(RemoveSignature(book));
}

}  // namespace
}  // namespace pw::markup
