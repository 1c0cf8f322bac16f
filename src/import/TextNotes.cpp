#include "import/TextNotes.h"

#include <array>
#include <map>
#include <vector>

#include "common/Text.h"
#include "common/Utf8.h"
#include "import/TaggedText.h"
#include "markup/BookMarkup.h"

namespace pw::import {
namespace {

constexpr std::string_view kCrLf = "\r\n";
constexpr size_t kLongestInlineNote = 4000;
constexpr std::array<std::string_view, 8> kNotesHeadings = {"примечания", "сноски",   "комментарии", "notes",
                                                            "footnotes",  "endnotes", "примечание",  "сноска"};

struct Note {
  std::string number;
  std::vector<std::string> paragraphs;
};

std::string NoteId(std::string_view number) { return "n" + std::string(number); }

// The kept-tag form of a link around "[N]".
std::string LinkMarks(std::string_view number) {
  std::string out;
  out += kKeptTagOpen;
  out += "A href=#" + NoteId(number);
  out += kKeptTagClose;
  out += "[" + std::string(number) + "]";
  out += kKeptTagOpen;
  out += "/A";
  out += kKeptTagClose;
  return out;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Digits at `pos` (at most five, no leading zero); their count, 0 when none.
size_t NumberAt(std::string_view text, size_t pos) {
  size_t n = 0;
  while (pos + n < text.size() && IsDigit(text[pos + n])) ++n;
  if (n == 0 || n > 5 || text[pos] == '0') return 0;
  return n;
}

bool IsNotesHeading(std::string_view line) {
  line = common::Trim(line);
  while (!line.empty() && (line.back() == ':' || line.back() == '.')) line.remove_suffix(1);
  if (line.size() > 40) return false;
  const std::string lower = common::ToLower(line);
  for (const std::string_view heading : kNotesHeadings)
    if (lower == heading) return true;
  return false;
}

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t end = text.find(kCrLf, pos);
    if (end == std::string_view::npos) {
      lines.push_back(text.substr(pos));
      break;
    }
    lines.push_back(text.substr(pos, end - pos));
    pos = end + kCrLf.size();
  }
  return lines;
}

// A line that starts note `expected`: the number alone ("1", "1.", "1)", "[1]"), or followed
// by a blank and the note's text. `rest` gets the text.
bool StartsNote(std::string_view line, size_t expected, std::string_view& rest) {
  line = common::Trim(line);
  const bool bracket = line.starts_with('[');
  const size_t at = bracket ? 1 : 0;
  const size_t digits = NumberAt(line, at);
  if (digits == 0 || line.substr(at, digits) != std::to_string(expected)) return false;
  size_t pos = at + digits;
  if (bracket) {
    if (pos >= line.size() || line[pos] != ']') return false;
    ++pos;
  } else if (pos < line.size() && (line[pos] == '.' || line[pos] == ')')) {
    ++pos;
  }
  if (pos == line.size()) {
    rest = {};
    return true;
  }
  if (line[pos] != ' ') return false;
  rest = common::Trim(line.substr(pos));
  return true;
}

// The closing list after the notes heading at line `heading`: every filled line belongs to a
// note, and the first one starts note 1. Empty when the lines do not read so.
std::vector<Note> ReadNotesList(const std::vector<std::string_view>& lines, size_t heading) {
  std::vector<Note> notes;
  bool newParagraph = true;
  for (size_t i = heading + 1; i < lines.size(); ++i) {
    const std::string_view line = common::Trim(lines[i]);
    if (line.empty()) {
      newParagraph = true;
      continue;
    }
    std::string_view rest;
    if (StartsNote(line, notes.size() + 1, rest)) {
      notes.push_back({std::to_string(notes.size() + 1), {}});
      if (!rest.empty()) notes.back().paragraphs.emplace_back(rest);
      newParagraph = rest.empty();
      continue;
    }
    if (notes.empty()) return {};
    auto& paragraphs = notes.back().paragraphs;
    if (newParagraph || paragraphs.empty()) {
      paragraphs.emplace_back(line);
    } else {
      paragraphs.back() += ' ';
      paragraphs.back() += line;
    }
    newParagraph = false;
  }
  return notes;
}

// Rewrites the inline notes "[N - text]" of `text` into links and collects their texts; with
// `linkBare`, a "[N]" whose N is in `listed` becomes a link as well.
std::string LinkReferences(std::string_view text, std::vector<Note>& inlineNotes, bool linkBare,
                           const std::map<std::string, size_t>& listed, size_t& references) {
  std::string out;
  out.reserve(text.size());
  std::map<std::string, size_t> seen;
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t open = text.find('[', pos);
    if (open == std::string_view::npos) break;
    out.append(text, pos, open - pos);
    pos = open + 1;
    const size_t digits = NumberAt(text, open + 1);
    if (digits == 0) {
      out.push_back('[');
      continue;
    }
    const std::string number(text.substr(open + 1, digits));
    size_t after = open + 1 + digits;
    if (text.compare(after, 1, "]") == 0) {
      if (linkBare && listed.contains(number)) {
        out += LinkMarks(number);
        ++references;
        pos = after + 1;
      } else {
        out.push_back('[');
      }
      continue;
    }
    if (text.compare(after, 3, " - ") != 0) {
      out.push_back('[');
      continue;
    }
    // The note's text runs to the bracket that closes this one.
    after += 3;
    size_t depth = 1, close = after;
    for (; close < text.size() && close - after < kLongestInlineNote; ++close) {
      if (text[close] == '[') ++depth;
      if (text[close] == ']' && --depth == 0) break;
    }
    if (depth != 0 || close >= text.size()) {
      out.push_back('[');
      continue;
    }
    std::string body = common::ReplaceAll(text.substr(after, close - after), kCrLf, " ");
    std::string id = number;
    if (const size_t count = ++seen[number]; count > 1) id += "_" + std::to_string(count);
    out += LinkMarks(id);
    ++references;
    inlineNotes.push_back({id, {std::string(common::Trim(body))}});
    pos = close + 1;
  }
  out.append(text, pos, std::string_view::npos);
  return out;
}

std::string NoteParagraph(std::string_view inner) {
  std::string out(markup::kParagraphStart);
  out += inner;
  out += markup::kDivEnd;
  return out;
}

}  // namespace

TextNotesResult MarkTextNotes(std::string& work, std::string_view noteColour) {
  TextNotesResult result;
  const std::vector<std::string_view> lines = SplitLines(work);

  // The last notes heading whose lines read as a notes list.
  std::vector<Note> listed;
  size_t heading = lines.size();
  for (size_t i = lines.size(); i-- > 0;) {
    if (!IsNotesHeading(lines[i])) continue;
    listed = ReadNotesList(lines, i);
    if (!listed.empty()) heading = i;
    break;
  }
  size_t textEnd = work.size();
  if (heading < lines.size()) textEnd = static_cast<size_t>(lines[heading].data() - work.data());

  std::map<std::string, size_t> listedNumbers;
  for (size_t i = 0; i < listed.size(); ++i) listedNumbers.emplace(listed[i].number, i);
  std::vector<Note> inlineNotes;
  std::string text = LinkReferences(std::string_view(work).substr(0, textEnd), inlineNotes, !listed.empty(),
                                    listedNumbers, result.references);
  if (listed.empty() && inlineNotes.empty()) return result;

  // The list's notes, then the inline ones it does not hold.
  std::vector<Note> notes = std::move(listed);
  for (auto& note : inlineNotes)
    if (!listedNumbers.contains(note.number)) notes.push_back(std::move(note));

  std::string block;
  if (heading < lines.size()) block += NoteParagraph(common::Trim(lines[heading]));
  for (const Note& note : notes) {
    const std::string id = NoteId(note.number);
    std::string first = "<A id=" + id + " name=" + id + "></A>";
    std::string label = note.number;
    if (const size_t cut = label.find('_'); cut != std::string::npos) label.resize(cut);
    first += label;
    if (!note.paragraphs.empty()) first += " " + note.paragraphs.front();
    block += NoteParagraph(first);
    for (size_t i = 1; i < note.paragraphs.size(); ++i) block += NoteParagraph(note.paragraphs[i]);
  }
  result.notes = notes.size();

  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) text.pop_back();
  text += kCrLf;
  text += "<BR>";
  text += markup::MakeNoteBlock(block, noteColour);
  text += kCrLf;
  work = std::move(text);
  return result;
}

}  // namespace pw::import
