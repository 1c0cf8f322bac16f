// The pictures of an HTML page travel with its input copy, and nothing outside the page's
// folder tree does.
#include "shell/PagePictures.h"

#include <gtest/gtest.h>

#include "common/Files.h"
#include "shell/StructureReport.h"
#include "support/TestSupport.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

// Which references pass is the picture gate's own matter (PicturePathsTest); here: what passes
// is copied with its sub-folders and the cover link, and what the gate refuses is not.
TEST(PagePictures, OnlyPicturesInsideThePagesFolderTreeAreCopied) {
  test::ScratchFolder place;
  const fs::path root = place / "book";
  fs::create_directories(root / "images" / "sub");
  ASSERT_TRUE(common::WriteFileAtomic(root / "images" / "a.jpg", "jpeg"));
  ASSERT_TRUE(common::WriteFileAtomic(root / "images" / "sub" / "b c.png", "png"));
  ASSERT_TRUE(common::WriteFileAtomic(root / "cover.jpg", "cover"));
  ASSERT_TRUE(common::WriteFileAtomic(place / "outside.jpg", "outside"));
  const std::string page =
      "<html><head><link rel=coverpage href='cover.jpg'></head><body>"
      "<img src=\"images/a.jpg\"><img src='images/sub/b%20c.png'><img src=images/./a.jpg?size=2>"
      "<img src=\"../outside.jpg\"><img src=\"" + (place / "outside.jpg").string() + "\"><img src=\"missing.jpg\">"
      "</body></html>";
  ASSERT_TRUE(common::WriteFileAtomic(root / "page.html", page));

  const fs::path copy = place / "copy";
  fs::create_directories(copy);
  EXPECT_EQ(CopyPagePictures(root / "page.html", copy), 3u);
  EXPECT_TRUE(fs::exists(copy / "cover.jpg"));
  EXPECT_TRUE(fs::exists(copy / "images" / "a.jpg"));
  EXPECT_TRUE(fs::exists(copy / "images" / "sub" / "b c.png"));
  // Nothing else came along: three files in all.
  size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(copy)) files += entry.is_regular_file() ? 1 : 0;
  EXPECT_EQ(files, 3u);
}

TEST(StructureReport, Fb2AndHtml0Books) {
  const BookStructure fb2 = ReadFb2Structure(
      "<?xml version=\"1.0\"?><FictionBook><description><title-info><genre>prose</genre><author><first-name>Лев"
      "</first-name><last-name>Толстой</last-name></author><book-title>Война &amp; мир</book-title>"
      "<coverpage><image l:href=\"#cover.jpg\"/></coverpage><lang>ru</lang></title-info></description>"
      "<body><title><p>Book</p></title><section><title><p>Part</p><p>One</p></title><epigraph><p>e</p></epigraph>"
      "<section><title><p>I</p></title><p>x<a l:href=\"#n1\" type=\"note\">1</a></p><poem><stanza><v>v</v></stanza>"
      "</poem><image l:href=\"#p.jpg\"/></section></section></body>"
      "<body name=\"notes\"><section id=\"n1\"><title><p>1</p></title><p>n</p></section></body></FictionBook>");
  ASSERT_EQ(fb2.headings.size(), 2u);
  EXPECT_EQ(fb2.headings[0].text, "Part One");
  EXPECT_EQ(fb2.headings[1].level, 2);
  EXPECT_EQ(fb2.authors, std::vector<std::string>{"Лев Толстой"});
  EXPECT_EQ(fb2.title, "Война & мир");
  EXPECT_TRUE(fb2.cover);
  EXPECT_EQ(fb2.notes, 1u);
  EXPECT_EQ(fb2.noteLinks, 1u);
  EXPECT_EQ(fb2.pictures, 1u);
  EXPECT_EQ(fb2.epigraphs, 1u);
  EXPECT_EQ(fb2.verses, 1u);
  const std::string report = FormatStructure(fb2);
  EXPECT_NE(report.find("  headings: 2\n    1 Part One\n      2 I\n"), std::string::npos) << report;

  const BookStructure html0 = ReadHtml0Structure(
      "<H2 id=BookAuthor align=center><FONT color=#ff0000>A B</FONT></H2><SPAN id=title><DIV align=center><FONT "
      "color=#001950><B>One</B></FONT></DIV></SPAN><SPAN id=subtitle><DIV><B>Sub</B></DIV></SPAN>"
      "<DIV align=justify>x<A href=#n1>[1]</A><IMG src=\"a.png\"></DIV><BR><SPAN id=NoteBlock><FONT color=#9400D3>"
      "<DIV align=justify><A id=n1 name=n1></A>1 Note.</DIV></FONT></SPAN>");
  ASSERT_EQ(html0.headings.size(), 2u);
  EXPECT_EQ(html0.headings[1].text, "Sub");
  EXPECT_EQ(html0.headings[1].level, 2);
  EXPECT_EQ(html0.authors, std::vector<std::string>{"A B"});
  EXPECT_EQ(html0.notes, 1u);
  EXPECT_EQ(html0.noteLinks, 1u);
  EXPECT_EQ(html0.pictures, 1u);
}

}  // namespace
}  // namespace pw::shell
