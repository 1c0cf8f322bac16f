#include "import/Entities.h"

#include <gtest/gtest.h>

namespace pw::import {
namespace {

using common::CodePage;

TEST(Entities, SingleByteChainGroups) {
  const auto western = [](std::string_view text) { return ReplaceHtmlEntities(text, CodePage::Win1252); };
  // often-used: the ampersand and soft hyphens are deleted, the blanks around them stay.
  EXPECT_EQ(western("Fish &amp; chips"), "Fish  chips");
  EXPECT_EQ(western("по&shy;дач&#173;ка &quot;x&quot; &copy;"), "подачка \"x\" ©");
  // unicodes: "&#8..." references the code page has; the others stay.
  EXPECT_EQ(ReplaceHtmlEntities("&#8212;&#8470;&#8364;&#8594;", CodePage::Win1251), "—№€&#8594;");
  EXPECT_EQ(ReplaceHtmlEntities("&#8470;", CodePage::Win1252), "&#8470;");
  // extended ASCII: the byte of the book's own code page.
  EXPECT_EQ(ReplaceHtmlEntities("&#192;&#133;&#150;", CodePage::Win1251), "А…–");
  EXPECT_EQ(western("&#192;&#255;"), "Àÿ");
  EXPECT_EQ(western("&#80;&#8;"), "&#80;&#8;");
  // quotations, dashes, spaces.
  EXPECT_EQ(western("&lsquo;a&rsquo; &ldquo;b&rdquo;&hellip;"), "‘a’ “b”…");
  EXPECT_EQ(western("a&ndash;b&mdash;c"), "a-b-c");
  EXPECT_EQ(western("a&ensp;b&emsp;c&thinsp;d"), "a b c d");
  // Latin-1 groups: "&Aring;" is not among them.
  EXPECT_EQ(western("&deg;&frac12;&eacute;&divide;&aring;&Aring;"), "°½é÷å&Aring;");
  // Unknown and malformed references stay.
  EXPECT_EQ(western("&bogus; &amp &#xyz; & ;"), "&bogus; &amp &#xyz; & ;");
}

TEST(Entities, GroupsFollowTheBooksCodePage) {
  // A Cyrillic book does not turn Latin-1 entities into Cyrillic bytes: they stay references.
  EXPECT_EQ(ReplaceHtmlEntities("&eacute;&iexcl;", CodePage::Win1251), "&eacute;&iexcl;");
  // Polish and Czech letters belong to Central European books.
  EXPECT_EQ(ReplaceHtmlEntities("&#321;&#261;&#345;&#367;", CodePage::Win1250), "Łąřů");
  EXPECT_EQ(ReplaceHtmlEntities("&#321;", CodePage::Win1252), "&#321;");

  common::RecordingProgress progress;
  ReplaceHtmlEntities("x", CodePage::Win1250, &progress);
  EXPECT_EQ(progress.statuses.front(), "...replacing html entities...often-used...");
  EXPECT_EQ(progress.statuses.back(), "...replacing html entities...Czech symbols...");
}

TEST(Entities, Utf8TableAndNumericReferences) {
  EXPECT_EQ(ReplaceHtmlEntitiesUtf8("&ndash;&quot;&amp;&iexcl;&Omega;&hArr;&euro;&yuml;&Yuml;&thetasym;"),
            "–\"&¡Ω⇔€ÿŸϑ");
  EXPECT_EQ(ReplaceHtmlEntitiesUtf8("Fish &amp; chips"), "Fish & chips");
  // What the book keeps as references, and what is no entity at all.
  EXPECT_EQ(ReplaceHtmlEntitiesUtf8("&lt;p&gt;&nbsp;&shy;&apos;&Ndash;&foo;"), "&lt;p&gt;&nbsp;&shy;&apos;&Ndash;&foo;");
  // Numbers: decimal, hexadecimal, the web's 128-159, and what is no character.
  EXPECT_EQ(ReplaceHtmlEntitiesUtf8("&#1046;&#x416;&#X1F600;&#150;&#9;"), "ЖЖ😀–\t");
  EXPECT_EQ(ReplaceHtmlEntitiesUtf8("&#60;b&#62;"), "&lt;b&gt;");
  EXPECT_EQ(ReplaceHtmlEntitiesUtf8("&#0;&#xD800;&#x110000;&#1;&#99999999999;&#;&#x;"),
            "&#0;&#xD800;&#x110000;&#1;&#99999999999;&#;&#x;");
  // One pass: a reference produced by a replacement is not replaced again.
  EXPECT_EQ(ReplaceHtmlEntitiesUtf8("&amp;quot;"), "&quot;");
  EXPECT_EQ(ReplaceHtmlEntitiesUtf8("&&amp;&"), "&&&");

  common::RecordingProgress progress;
  ReplaceHtmlEntitiesUtf8("", &progress);
  EXPECT_EQ(progress.statuses,
            (std::vector<std::string>{"...replacing html entities: often-used...", "...replacing html entities: special...",
                                      "...replacing html entities: Greek...", "...replacing html entities: symbols...",
                                      "...replacing html entities: latin..."}));
}

}  // namespace
}  // namespace pw::import
