#include "import/TextWriters.h"

#include "common/Text.h"
#include "markup/BookMarkup.h"

namespace pw::import {
namespace {

std::string BlockParagraphs(const std::vector<std::string>& paragraphs) {
  std::string out;
  for (const std::string& paragraph : paragraphs) {
    if (!out.empty()) out += markup::kCrLf;
    WriteParagraph(out, paragraph);
    // WriteParagraph ends the line; inside a block the lines are joined by the caller.
    if (out.ends_with(markup::kCrLf)) out.resize(out.size() - markup::kCrLf.size());
  }
  return out;
}

std::string TextAuthor(std::string_view author, const common::ElementColours& colours) {
  author = common::Trim(author);
  if (author.empty()) return {};
  std::string out(markup::kCrLf);
  out += markup::MakeTextAuthor(author, colours.textAuthor);
  return out;
}

}  // namespace

void WriteParagraph(std::string& out, std::string_view text) {
  text = common::Trim(text);
  if (text.empty()) return;
  if (text[0] == '-') {
    // The builder writes "-&nbsp;" for a dash followed by a blank.
    std::string dialogue = "- ";
    dialogue += common::Trim(text.substr(1));
    out += markup::MakeParagraph(dialogue);
  } else {
    out += markup::MakeParagraph(text);
  }
  out += markup::kCrLf;
}

void WriteHeading(std::string& out, std::string_view text, bool subtitle, const common::ElementColours& colours) {
  out += kBreakLine;
  out += subtitle ? markup::MakeSubtitle(text, colours.subtitle) : markup::MakeTitle(text, colours.title);
  out += markup::kCrLf;
}

void WriteEpigraph(std::string& out, const std::vector<std::string>& paragraphs, std::string_view author,
                   const common::ElementColours& colours) {
  out += kBreakLine;
  out += markup::MakeEpigraph(BlockParagraphs(paragraphs), TextAuthor(author, colours), colours.epigraph);
  out += kBreakLine;
  out += markup::kCrLf;
}

void WriteVerse(std::string& out, const std::vector<std::string>& paragraphs, std::string_view author,
                const common::ElementColours& colours) {
  out += kBreakLine;
  out += markup::MakeVerse(BlockParagraphs(paragraphs), TextAuthor(author, colours), colours.verse);
  out += kBreakLine;
  out += markup::kCrLf;
}

bool WorkTextReader::NextLine(std::string_view& line) {
  if (pos_ >= text_.size()) return false;
  size_t end = text_.find("\r\n", pos_);
  if (end == std::string_view::npos) {
    line = text_.substr(pos_);
    pos_ = text_.size();
  } else {
    line = text_.substr(pos_, end - pos_);
    pos_ = end + 2;
  }
  return true;
}

bool ReadTextLine(WorkTextReader& in, std::string& out, size_t& lineCounter, std::string_view& line) {
  while (in.NextLine(line)) {
    if (IsEndLine(line)) return false;
    ++lineCounter;
    if (!IsMarkupLine(line)) return true;
    out += line;
    out += markup::kCrLf;
  }
  return false;
}

bool ReadTextLine(WorkTextReader& in, std::string& out, size_t& lineCounter, std::string_view& line,
                  std::string& pending, bool& paragraphWritten) {
  while (in.NextLine(line)) {
    if (IsEndLine(line)) return false;
    ++lineCounter;
    if (!IsMarkupLine(line)) return true;
    if (!pending.empty()) {
      WriteParagraph(out, pending);
      pending.clear();
      paragraphWritten = true;
    }
    out += line;
    out += markup::kCrLf;
  }
  return false;
}

}  // namespace pw::import
