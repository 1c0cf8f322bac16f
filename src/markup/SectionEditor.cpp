#include "markup/SectionEditor.h"

#include "common/Text.h"
#include "markup/BookMarkup.h"

namespace pw::markup {

namespace {

constexpr std::string_view kFormerTitleId = "<SPAN id=former_title>";

// The end of the element that opens at `open` (its "</SPAN>", nested spans counted).
size_t SpanEnd(std::string_view text, size_t open) {
  int depth = 0;
  size_t pos = open;
  while (pos < text.size()) {
    const size_t next = text.find("SPAN", pos);
    if (next == std::string_view::npos || next == 0) return text.size();
    if (text[next - 1] == '<') {
      ++depth;
    } else if (text[next - 1] == '/' && next >= 2 && text[next - 2] == '<') {
      if (--depth == 0) {
        const size_t gt = text.find('>', next);
        return gt == std::string_view::npos ? text.size() : gt + 1;
      }
    }
    pos = next + 4;
  }
  return text.size();
}

// Where the book text ends: before the end-of-text mark (the description follows it), else
// before the last-paragraph mark, else before the body's end.
size_t TextEnd(std::string_view document) {
  for (const std::string_view mark : {kTextEnd, std::string_view("<DIV id=LastPar"), std::string_view("</BODY>")}) {
    const size_t at = document.find(mark);
    if (at != std::string_view::npos) return at;
  }
  return document.size();
}

}  // namespace

std::vector<std::string> ListTitles(std::string_view document) {
  std::vector<std::string> titles;
  for (size_t at = document.find(kTitleOpen); at != std::string_view::npos; at = document.find(kTitleOpen, at + 1))
    titles.push_back(OneLineText(document.substr(at, SpanEnd(document, at) - at)));
  return titles;
}

std::string SectionTreeMarks(const std::vector<int>& levels) {
  std::string marks;
  int previous = 0;
  for (size_t i = 0; i < levels.size(); ++i) {
    const int level = levels[i];
    if (i > 0) {
      if (level == previous) marks += "</s>";
      else if (level < previous)
        for (int k = 0; k < previous - level + 1; ++k) marks += "</s>";
    }
    marks += "<s>";
    previous = level;
  }
  for (int k = 0; k < previous; ++k) marks += "</s>";
  return marks;
}

bool CheckSectionTree(const std::vector<int>& levels) {
  int previous = 0;
  for (size_t i = 0; i < levels.size(); ++i) {
    if (levels[i] < 1 || levels[i] > previous + 1) return false;
    previous = levels[i];
  }
  const std::string marks = SectionTreeMarks(levels);
  int depth = 0;
  for (size_t pos = 0; pos < marks.size();) {
    if (marks.compare(pos, 4, "</s>") == 0) {
      if (--depth < 0) return false;
      pos += 4;
    } else {
      ++depth;
      pos += 3;
    }
  }
  return depth == 0;
}

int ApplySectionLevels(std::string& document, const std::vector<int>& levels, const std::vector<bool>& removed,
                       common::Progress& progress, const common::Messages& messages) {
  const bool ok = CheckSectionTree(levels);
  if (!ok) {
    messages.Show(common::Msg::SectionTreeFailed);
    return -1;
  }
  messages.ShowText(messages.Text(common::Msg::SectionTreeCheck) + messages.Text(common::Msg::SectionTreeOk));
  progress.Status("...inserting sections...wait, please...");
  // 1. The old marks go.
  std::string text = common::ReplaceAll(document, kSectionStart, "");
  text = common::ReplaceAll(text, kSectionEnd, "");
  // 2. Titles out of the structure become former titles; the others get their marks.
  std::string out;
  out.reserve(text.size() + levels.size() * 64);
  size_t done = 0;
  size_t title = 0;
  size_t kept = 0;
  int previous = 0;
  for (size_t at = text.find(kTitleOpen); at != std::string::npos; at = text.find(kTitleOpen, at + 1), ++title) {
    out.append(text, done, at - done);
    done = at;
    if (title < removed.size() && removed[title]) {
      out += kFormerTitleId;
      done = at + kTitleOpen.size();
      continue;
    }
    if (kept >= levels.size()) continue;
    const int level = levels[kept];
    if (kept > 0) {
      const int closings = level == previous ? 1 : level < previous ? previous - level + 1 : 0;
      for (int k = 0; k < closings; ++k) out += kSectionEnd;
    }
    out += kSectionStart;
    previous = level;
    ++kept;
    progress.Status(std::to_string(kept) + "...inserting sections... ");
  }
  out.append(text, done);
  // 3. The sections still open close where the book text ends.
  std::string closings;
  for (int k = 0; k < previous; ++k) closings += kSectionEnd;
  out.insert(TextEnd(out), closings);
  document = std::move(out);
  messages.Show(common::Msg::SectionsInserted, std::to_string(kept));
  return static_cast<int>(kept);
}

}  // namespace pw::markup
