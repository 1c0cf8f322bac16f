// Which headings of an HTML page are the book's titles. A page marks its chapters with one
// heading level that repeats through the body (often h2, with h1 for the book's name and h3 or
// deeper inside chapters); that level gives titles, deeper levels subtitles, shallower levels
// (parts) titles as well. The first heading names the book when it stands above the chapter
// level before the first chapter, or reads "Author Name. Title"; a heading beside it that reads
// "by Name" (or is a name) is the book's author. A chapter-level heading with nothing under it
// before the next heading ("Contents" over a table of links) is a subtitle.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::import {

// A finished block of the book, before headings are told apart.
struct HtmlBlock {
  enum Kind { Paragraph, Heading, Picture } kind = Paragraph;
  int level = 0;  // heading level 1 to 6
  std::string html;
  std::string anchors;  // anchors that stand in front of a heading
};

enum class HeadingRole { Title, Subtitle, BookTitle, BookAuthor, BookAuthorAndTitle };

struct HeadingPlan {
  std::vector<HeadingRole> roles;  // one per block; meaningful for headings only
  std::string bookAuthor;
  std::string bookTitle;
  int chapterLevel = 0;  // 0 when the page has no heading
};

HeadingPlan PlanHeadings(const std::vector<HtmlBlock>& blocks);

// The text of book HTML without its tags, trimmed.
std::string PlainOfHtml(std::string_view html);

// "Author Name. Title of the book": two to four capitalised words, a point, and the title.
bool SplitAuthorAndTitle(const std::string& heading, std::string& author, std::string& title);

}  // namespace pw::import
