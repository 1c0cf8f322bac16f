#include "import/PdfLayout.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "common/Text.h"
#include "common/Utf8.h"
#include "import/Entities.h"
#include "import/TextCharacters.h"
#include "markup/BookMarkup.h"
#include "markup/TagReader.h"

namespace pw::import {
namespace {

// How far the top and bottom of a page reach for running heads and page numbers, in lines.
constexpr size_t kEdgeLines = 2;
// A running head repeats on at least this many pages.
constexpr size_t kRunningPages = 3;
// A heading's type is at least this much larger than the text's.
constexpr double kHeadingScale = 1.25;

struct Line {
  int top = 0;
  int left = 0;
  int right = 0;
  int height = 0;
  int size = 0;     // type size of the line's longest run
  size_t sized = 0;  // characters of that run
  std::string text;
  bool removed = false;
  int level = 0;  // heading level (2 and deeper); 0 for text
};

struct Page {
  std::vector<Line> lines;
};

struct OutlineItem {
  std::string text;
  int page = 0;
  int depth = 0;
};

int IntAttribute(std::string_view attributes, std::string_view name) {
  const std::string value = markup::TagAttribute(attributes, name);
  return value.empty() ? 0 : std::atoi(value.c_str());
}

// The text of an element's content: inner tags dropped, references decoded, no-break spaces
// made blanks.
std::string ContentText(std::string_view content) {
  const std::string plain = markup::OneLineText(content);
  // The decoding keeps "&lt;" and "&gt;" as they are; the page writer escapes every bracket.
  std::string text = ReplaceHtmlEntitiesUtf8(plain);
  common::ReplaceAllInPlace(text, "&lt;", "<");
  common::ReplaceAllInPlace(text, "&gt;", ">");
  common::ReplaceAllInPlace(text, "\xC2\xA0", " ");
  return text;
}

// Lower-case letters and digits of `text`, nothing else: how lines and outline entries are
// compared.
std::string Key(std::string_view text) {
  std::string letters;
  for (size_t pos = 0; pos < text.size();) {
    const size_t start = pos;
    if (IsLetterOrDigit(common::NextCodePoint(text, pos))) letters.append(text.substr(start, pos - start));
  }
  return common::ToLower(letters);
}

class Reader {
 public:
  explicit Reader(std::string_view xml) : xml_(xml) {}

  void Run(std::vector<Page>& pages, std::vector<OutlineItem>& outline) {
    int depth = 0;
    for (size_t lt = xml_.find('<'); lt != std::string_view::npos; lt = xml_.find('<', lt + 1)) {
      markup::TagToken tag;
      size_t end = 0;
      if (!markup::ReadTagToken(xml_, lt, tag, end)) continue;
      if (tag.name == "page" && !tag.closing) {
        pages.emplace_back();
      } else if (tag.name == "fontspec" && !tag.closing) {
        sizes_[IntAttribute(tag.attributes, "id")] = IntAttribute(tag.attributes, "size");
      } else if (tag.name == "outline") {
        depth += tag.closing ? -1 : 1;
      } else if ((tag.name == "text" || tag.name == "item") && !tag.closing) {
        const size_t close = xml_.find(tag.name == "text" ? "</text>" : "</item>", end);
        if (close == std::string_view::npos) break;
        const std::string text = ContentText(xml_.substr(end, close - end));
        if (tag.name == "item") {
          outline.push_back({text, IntAttribute(tag.attributes, "page"), std::max(depth, 1)});
        } else if (!pages.empty()) {
          AddRun(pages.back(), tag.attributes, text);
        }
        end = close;
      }
      lt = end - 1;
    }
  }

 private:
  // A run of text joins the line it stands on, or starts the next one.
  void AddRun(Page& page, std::string_view attributes, const std::string& text) {
    if (common::Trim(text).empty()) return;
    const int top = IntAttribute(attributes, "top");
    const int left = IntAttribute(attributes, "left");
    const int width = IntAttribute(attributes, "width");
    const int height = IntAttribute(attributes, "height");
    const int size = sizes_[IntAttribute(attributes, "font")];
    const size_t chars = common::CodePointCount(text);
    if (!page.lines.empty()) {
      Line& line = page.lines.back();
      if (std::abs(top - line.top) <= std::max(3, std::min(height, line.height) / 2) && left >= line.right - 2) {
        if (left - line.right >= 3 && !line.text.ends_with(' ') && !text.starts_with(' ')) line.text += ' ';
        line.text += text;
        line.right = left + width;
        line.height = std::max(line.height, height);
        if (chars > line.sized) {
          line.size = size;
          line.sized = chars;
        }
        return;
      }
    }
    page.lines.push_back({top, left, left + width, height, size, chars, text, false, 0});
  }

  std::string_view xml_;
  std::unordered_map<int, int> sizes_;
};

bool IsRoman(std::string_view text) {
  return !text.empty() && text.size() <= 7 &&
         std::all_of(text.begin(), text.end(), [](char c) { return std::string_view("ivxlcdmIVXLCDM").find(c) != std::string_view::npos; });
}

// "12", "- 12 -", "[xiv]": a page number alone.
bool IsPageNumber(std::string_view text) {
  text = common::Trim(text);
  while (!text.empty() && std::string_view("-[]() ").find(text.front()) != std::string_view::npos) text.remove_prefix(1);
  while (!text.empty() && std::string_view("-[]() ").find(text.back()) != std::string_view::npos) text.remove_suffix(1);
  if (text.empty()) return false;
  if (text.size() <= 5 && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) return true;
  return IsRoman(text);
}

// The line with its digit runs as "#": "CHAPTER I 3" and "CHAPTER I 4" are the same head.
std::string RunningKey(std::string_view text) {
  std::string key;
  for (const char c : common::Trim(text)) {
    if (c >= '0' && c <= '9') {
      if (!key.ends_with('#')) key.push_back('#');
    } else {
      key.push_back(c);
    }
  }
  return common::ToLower(key);
}

template <typename Visit>
void EachEdgeLine(Page& page, Visit visit) {
  const size_t n = page.lines.size();
  for (size_t i = 0; i < n; ++i)
    if (i < kEdgeLines || i + kEdgeLines >= n) visit(page.lines[i]);
}

void RemoveRunningLines(std::vector<Page>& pages, PdfLayoutReport& report) {
  std::unordered_map<std::string, size_t> counts;
  for (Page& page : pages) {
    std::unordered_set<std::string> seen;
    EachEdgeLine(page, [&](Line& line) {
      if (std::string key = RunningKey(line.text); seen.insert(key).second) ++counts[key];
    });
  }
  for (Page& page : pages) {
    EachEdgeLine(page, [&](Line& line) {
      if (IsPageNumber(line.text)) {
        line.removed = true;
        ++report.pageNumbers;
        return;
      }
      const std::string key = RunningKey(line.text);
      if (key.size() <= 120 && counts[key] >= kRunningPages) {
        line.removed = true;
        ++report.runningLines;
      }
    });
  }
}

int BodySize(const std::vector<Page>& pages) {
  std::map<int, size_t> chars;
  for (const Page& page : pages)
    for (const Line& line : page.lines)
      if (!line.removed) chars[line.size] += line.sized;
  int best = 0;
  size_t most = 0;
  for (const auto& [size, count] : chars)
    if (count > most) {
      best = size;
      most = count;
    }
  return best;
}

// Without an outline: lines in a larger type are headings, the larger the higher.
void MarkHeadingsByType(std::vector<Page>& pages, int bodySize) {
  std::vector<int> sizes;
  for (const Page& page : pages)
    for (const Line& line : page.lines)
      if (!line.removed && line.size >= bodySize * kHeadingScale && !Key(line.text).empty()) sizes.push_back(line.size);
  std::sort(sizes.begin(), sizes.end(), std::greater<int>());
  sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());
  for (Page& page : pages)
    for (Line& line : page.lines) {
      const auto at = std::find(sizes.begin(), sizes.end(), line.size);
      if (!line.removed && at != sizes.end() && !Key(line.text).empty())
        line.level = std::min(6, 2 + static_cast<int>(at - sizes.begin()));
    }
}

// With an outline: the lines each entry names, on its page or the next, at the entry's depth.
void MarkHeadingsByOutline(std::vector<Page>& pages, const std::vector<OutlineItem>& outline) {
  for (const OutlineItem& item : outline) {
    const std::string wanted = Key(item.text);
    if (wanted.empty()) continue;
    bool found = false;
    for (int p = item.page - 1; p <= item.page && !found; ++p) {
      if (p < 0 || static_cast<size_t>(p) >= pages.size()) continue;
      std::vector<Line>& lines = pages[static_cast<size_t>(p)].lines;
      for (size_t i = 0; i < lines.size() && !found; ++i) {
        std::string have = Key(lines[i].text);
        if (lines[i].removed || lines[i].level != 0 || have.empty() || !wanted.starts_with(have)) continue;
        size_t last = i;
        while (have.size() < wanted.size() && last + 1 < lines.size()) {
          const std::string more = have + Key(lines[last + 1].text);
          if (!wanted.starts_with(more)) break;
          have = more;
          ++last;
        }
        for (size_t k = i; k <= last; ++k) lines[k].level = std::min(6, item.depth + 1);
        found = true;
      }
    }
  }
}

bool EndsWithBrokenWord(std::string_view text) {
  if (!text.ends_with('-') || text.size() < 2) return false;
  std::string_view before = text.substr(0, text.size() - 1);
  const char32_t last = LastCodePointOr(before);
  return IsLetterOrDigit(last) && !IsAsciiDigit(last);
}

// The letters at the end of `text` (before its hyphen) and at the start of `next`.
std::string TrailingWord(std::string_view text) {
  size_t start = text.size();
  while (start > 0) {
    size_t back = start - 1;
    while (back > 0 && (static_cast<unsigned char>(text[back]) & 0xC0) == 0x80) --back;
    size_t pos = back;
    if (!IsLetterOrDigit(common::NextCodePoint(text, pos))) break;
    start = back;
  }
  return std::string(text.substr(start));
}

std::string LeadingWord(std::string_view text) {
  size_t pos = 0;
  while (pos < text.size()) {
    size_t next = pos;
    if (!IsLetterOrDigit(common::NextCodePoint(text, next))) break;
    pos = next;
  }
  return std::string(text.substr(0, pos));
}

std::unordered_set<std::string> WordsOf(const std::vector<Page>& pages) {
  std::unordered_set<std::string> words;
  for (const Page& page : pages)
    for (const Line& line : page.lines) {
      if (line.removed) continue;
      std::string_view text = line.text;
      size_t pos = 0;
      while (pos < text.size()) {
        const std::string word = LeadingWord(text.substr(pos));
        if (!word.empty()) {
          words.insert(common::ToLower(word));
          pos += word.size();
        } else {
          common::NextCodePoint(text, pos);
        }
      }
    }
  return words;
}

void AppendEscaped(std::string& out, std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '&': out += "&amp;"; break;
      default: out.push_back(c);
    }
  }
}

class PageWriter {
 public:
  PageWriter(int bodySize, std::unordered_set<std::string> words, PdfLayoutReport& report)
      : bodySize_(bodySize), words_(std::move(words)), report_(report) {}

  void AddPage(const Page& page) {
    if (headingLevel_ != 0) EndBlock();  // a heading does not run on to the next page
    int margin = 1 << 20, right = 0;
    for (const Line& line : page.lines)
      if (!line.removed && line.level == 0) {
        margin = std::min(margin, line.left);
        right = std::max(right, line.right);
      }
    const Line* previous = nullptr;
    for (const Line& line : page.lines) {
      if (line.removed) continue;
      if (line.level > 0) {
        Heading(line);
      } else {
        const bool indented = line.left >= margin + bodySize_ / 2;
        const bool gap = previous && previous->level == 0 && line.top - previous->top > previous->height * 2;
        const bool shortEnd = previous && previous->level == 0 && previous->right < right - 3 * bodySize_ &&
                              EndsSentence(paragraph_);
        if (indented || gap || shortEnd) EndBlock();
        Text(line.text);
      }
      previous = &line;
    }
  }

  std::string Take() {
    EndBlock();
    return std::move(out_);
  }

 private:
  void Heading(const Line& line) {
    if (headingLevel_ != line.level) EndBlock();
    headingLevel_ = line.level;
    if (!paragraph_.empty()) paragraph_ += ' ';
    paragraph_ += common::Trim(line.text);
  }

  void Text(std::string_view text) {
    if (headingLevel_ != 0) EndBlock();
    text = common::Trim(text);
    if (paragraph_.empty()) {
      paragraph_ = text;
      return;
    }
    if (EndsWithBrokenWord(paragraph_) && IsLowerLetter(FirstCodePointOr(text))) {
      const std::string head = TrailingWord(std::string_view(paragraph_).substr(0, paragraph_.size() - 1));
      const std::string joined = common::ToLower(head + LeadingWord(text));
      if (words_.contains(joined)) {
        paragraph_.pop_back();
        ++report_.joinedWords;
      }
      paragraph_ += text;
      return;
    }
    paragraph_ += ' ';
    paragraph_ += text;
  }

  void EndBlock() {
    if (!paragraph_.empty()) {
      const std::string tag = headingLevel_ ? "h" + std::to_string(headingLevel_) : "p";
      out_ += "<" + tag + ">";
      AppendEscaped(out_, paragraph_);
      out_ += "</" + tag + ">\n";
      report_.headings += headingLevel_ != 0;
    }
    paragraph_.clear();
    headingLevel_ = 0;
  }

  int bodySize_;
  std::unordered_set<std::string> words_;
  PdfLayoutReport& report_;
  std::string out_;
  std::string paragraph_;
  int headingLevel_ = 0;
};

}  // namespace

PdfInfo ReadPdfInfo(std::string_view output) {
  PdfInfo info;
  size_t pos = 0;
  while (pos < output.size()) {
    size_t end = output.find('\n', pos);
    if (end == std::string_view::npos) end = output.size();
    const std::string_view line = output.substr(pos, end - pos);
    if (line.starts_with("Title:")) info.title = std::string(common::Trim(line.substr(6)));
    if (line.starts_with("Author:")) info.author = std::string(common::Trim(line.substr(7)));
    pos = end + 1;
  }
  return info;
}

std::string PdfXmlToHtml(std::string_view xml, const PdfInfo& info, PdfLayoutReport* reportOut) {
  PdfLayoutReport report;
  std::vector<Page> pages;
  std::vector<OutlineItem> outline;
  Reader(xml).Run(pages, outline);
  report.pages = pages.size();
  RemoveRunningLines(pages, report);
  const int bodySize = BodySize(pages);
  report.outline = !outline.empty();
  if (report.outline) {
    MarkHeadingsByOutline(pages, outline);
  } else {
    MarkHeadingsByType(pages, bodySize);
  }
  PageWriter writer(bodySize, WordsOf(pages), report);
  for (const Page& page : pages) writer.AddPage(page);

  std::string html = "<html><head><meta charset=\"utf-8\"><title>";
  AppendEscaped(html, info.title);
  html += "</title></head><body>\n";
  html += writer.Take();
  html += "</body></html>\n";
  if (reportOut) *reportOut = report;
  return html;
}

}  // namespace pw::import
