#include "import/HtmlHeadings.h"

#include <algorithm>
#include <map>

#include "common/Text.h"
#include "common/Utf8.h"
#include "import/TextHeader.h"
#include "markup/BookMarkup.h"

namespace pw::import {
namespace {

bool IsHeading(const HtmlBlock& block) { return block.kind == HtmlBlock::Heading; }

// "by Lewis Carroll", "By Lewis Carroll": the name; empty for anything else.
std::string ByLine(std::string_view text) {
  if (text.size() < 4 || common::AsciiLower(text.substr(0, 3)) != "by ") return {};
  return std::string(common::Trim(text.substr(3)));
}

// The level whose headings repeat most (the shallower on a tie); the shallowest level when no
// level repeats.
int ChapterLevel(const std::vector<HtmlBlock>& blocks) {
  std::map<int, size_t> counts;
  for (const HtmlBlock& block : blocks)
    if (IsHeading(block)) ++counts[block.level];
  if (counts.empty()) return 0;
  int best = counts.begin()->first;
  size_t most = 1;
  for (const auto& [level, count] : counts)
    if (count > most) {
      best = level;
      most = count;
    }
  return best;
}

}  // namespace

std::string PlainOfHtml(std::string_view html) { return markup::OneLineText(html); }

bool SplitAuthorAndTitle(const std::string& heading, std::string& author, std::string& title) {
  const size_t point = heading.find(". ");
  if (point == std::string::npos) return false;
  const std::string_view first(heading.data(), point);
  size_t words = 1;
  for (const char c : first)
    if (c == ' ') ++words;
  if (words < 2 || words > 4 || first.find_first_of("0123456789,:;") != std::string_view::npos) return false;
  // Every word starts with a capital letter.
  for (size_t pos = 0; pos < first.size();) {
    size_t next = pos;
    common::NextCodePoint(first, next);
    const std::string letter(first.substr(pos, next - pos));
    if (common::ToUpper(letter) != letter || common::ToLower(letter) == letter) return false;
    const size_t space = first.find(' ', pos);
    if (space == std::string_view::npos) break;
    pos = space + 1;
  }
  author = std::string(first);
  title = std::string(common::Trim(std::string_view(heading).substr(point + 2)));
  return !title.empty();
}

HeadingPlan PlanHeadings(const std::vector<HtmlBlock>& blocks) {
  HeadingPlan plan;
  plan.roles.assign(blocks.size(), HeadingRole::Title);
  plan.chapterLevel = ChapterLevel(blocks);
  const auto firstIt = std::find_if(blocks.begin(), blocks.end(), IsHeading);
  if (firstIt == blocks.end()) return plan;
  const size_t first = static_cast<size_t>(firstIt - blocks.begin());
  const int chapterLevel = plan.chapterLevel;
  const auto firstChapter = std::find_if(blocks.begin(), blocks.end(),
                                         [&](const HtmlBlock& b) { return IsHeading(b) && b.level == chapterLevel; });
  const size_t firstChapterAt = static_cast<size_t>(firstChapter - blocks.begin());

  // The book's title (and author).
  const std::string firstText = PlainOfHtml(blocks[first].html);
  size_t topCount = 0;
  bool deeperFollow = false;
  for (size_t i = first; i < blocks.size(); ++i) {
    if (!IsHeading(blocks[i])) continue;
    topCount += blocks[i].level == blocks[first].level;
    deeperFollow = deeperFollow || blocks[i].level > blocks[first].level;
  }
  bool bookTitle = false;
  if (SplitAuthorAndTitle(firstText, plan.bookAuthor, plan.bookTitle)) {
    plan.roles[first] = HeadingRole::BookAuthorAndTitle;
  } else if (topCount == 1 && ((blocks[first].level < chapterLevel && first < firstChapterAt) || deeperFollow)) {
    plan.roles[first] = HeadingRole::BookTitle;
    plan.bookTitle = firstText;
    bookTitle = true;
  }
  if (bookTitle) {
    // The next heading names the author when it reads "by Name" or is a name.
    const auto next = std::find_if(blocks.begin() + static_cast<long>(first) + 1, blocks.end(), IsHeading);
    if (next != blocks.end()) {
      const std::string text = PlainOfHtml(next->html);
      std::string author = ByLine(text);
      if (author.empty() && LooksLikePersonName(text, true) && next->level >= blocks[first].level) author = text;
      if (!author.empty()) {
        plan.roles[static_cast<size_t>(next - blocks.begin())] = HeadingRole::BookAuthor;
        plan.bookAuthor = author;
      }
    }
  }

  // The chapter level gives titles unless nothing stands under the heading; deeper levels give
  // subtitles; shallower ones (parts) titles.
  for (size_t i = 0; i < blocks.size(); ++i) {
    if (!IsHeading(blocks[i]) || plan.roles[i] != HeadingRole::Title) continue;
    if (blocks[i].level > chapterLevel) {
      plan.roles[i] = HeadingRole::Subtitle;
      continue;
    }
    if (blocks[i].level < chapterLevel) continue;
    const bool empty = i + 1 >= blocks.size() || IsHeading(blocks[i + 1]);
    if (empty && i + 1 < blocks.size() && blocks[i + 1].level == chapterLevel) plan.roles[i] = HeadingRole::Subtitle;
  }
  return plan;
}

}  // namespace pw::import
