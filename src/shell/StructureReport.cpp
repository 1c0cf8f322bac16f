#include "shell/StructureReport.h"

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "import/Entities.h"
#include "markup/BookMarkup.h"
#include "markup/StoredBook.h"
#include "markup/TagReader.h"

namespace pw::shell {
namespace {

// The text between `from` and the closing tag `close`, tags dropped, references decoded,
// blanks folded.
std::string TextUpTo(std::string_view text, size_t from, std::string_view close, size_t* endOut = nullptr) {
  size_t end = text.find(close, from);
  if (end == std::string_view::npos) end = text.size();
  if (endOut) *endOut = end;
  std::string plain;
  bool inTag = false;
  for (const char c : text.substr(from, end - from)) {
    if (c == '<') {
      inTag = true;
      plain.push_back(' ');
    } else if (c == '>') {
      inTag = false;
    } else if (!inTag) {
      plain.push_back(c == '\r' || c == '\n' || c == '\t' ? ' ' : c);
    }
  }
  std::string decoded = import::ReplaceHtmlEntitiesUtf8(plain);
  common::ReplaceAllInPlace(decoded, "&nbsp;", " ");
  std::string folded;
  for (const char c : decoded) {
    if (c == ' ' && (folded.empty() || folded.back() == ' ')) continue;
    folded.push_back(c);
  }
  return std::string(common::Trim(folded));
}

}  // namespace

BookStructure ReadFb2Structure(std::string_view xml) {
  BookStructure book;
  bool inTitleInfo = false, inAuthor = false, notesBody = false;
  int depth = 0;  // section depth in the body being read
  std::string author;
  for (size_t lt = xml.find('<'); lt != std::string_view::npos; lt = xml.find('<', lt + 1)) {
    markup::TagToken tag;
    size_t end = 0;
    if (!markup::ReadTagToken(xml, lt, tag, end)) continue;
    const std::string& n = tag.name;
    const bool selfClosing = tag.attributes.ends_with('/');
    if (n == "title-info") inTitleInfo = !tag.closing;
    if (!inTitleInfo && !tag.closing && n == "body")
      notesBody = markup::TagAttribute(tag.attributes, "name") == "notes";
    if (inTitleInfo) {
      if (n == "author") {
        if (!tag.closing) {
          inAuthor = true;
          author.clear();
        } else {
          inAuthor = false;
          if (!author.empty()) book.authors.push_back(author);
        }
      } else if (!tag.closing && inAuthor && (n == "first-name" || n == "middle-name" || n == "last-name")) {
        const std::string part = TextUpTo(xml, end, "</" + n);
        if (!part.empty()) author += (author.empty() ? "" : " ") + part;
      } else if (!tag.closing && n == "book-title") {
        book.title = TextUpTo(xml, end, "</book-title");
      } else if (!tag.closing && n == "lang") {
        book.lang = TextUpTo(xml, end, "</lang");
      } else if (!tag.closing && n == "genre") {
        book.genres.push_back(TextUpTo(xml, end, "</genre"));
      } else if (!tag.closing && n == "coverpage") {
        book.cover = true;
      }
      lt = end - 1;
      continue;
    }
    if (n == "section" && !selfClosing) {
      if (tag.closing) {
        --depth;
      } else {
        ++depth;
        if (notesBody && depth == 1) ++book.notes;
      }
    } else if (n == "title" && !tag.closing && !notesBody && depth > 0) {
      size_t close = 0;
      book.headings.push_back({depth, TextUpTo(xml, end, "</title", &close)});
      end = close;
    } else if (!tag.closing && n == "image") {
      ++book.pictures;
    } else if (!tag.closing && n == "epigraph") {
      ++book.epigraphs;
    } else if (!tag.closing && n == "poem") {
      ++book.verses;
    } else if (!tag.closing && n == "a" && markup::TagAttribute(tag.attributes, "type") == "note") {
      ++book.noteLinks;
    }
    lt = end - 1;
  }
  return book;
}

BookStructure ReadHtml0Structure(std::string_view html) {
  BookStructure book;
  const auto each = [&](std::string_view open, auto visit) {
    for (size_t at = html.find(open); at != std::string_view::npos; at = html.find(open, at + open.size()))
      visit(at + open.size());
  };
  each("<H2 id=BookAuthor", [&](size_t at) { book.authors.push_back(TextUpTo(html, html.find('>', at) + 1, "</H2>")); });
  each("<H2 id=BookTitle", [&](size_t at) { book.title = TextUpTo(html, html.find('>', at) + 1, "</H2>"); });
  // Titles and subtitles in the order they stand.
  for (size_t at = html.find("<SPAN id="); at != std::string_view::npos; at = html.find("<SPAN id=", at + 9)) {
    const std::string_view rest = html.substr(at + 9);
    const int level = rest.starts_with("title>") ? 1 : rest.starts_with("subtitle>") ? 2 : 0;
    if (level == 0) continue;
    book.headings.push_back({level, TextUpTo(html, at, "</SPAN>")});
  }
  each("<SPAN id=NoteBlock>", [&](size_t at) {
    const size_t close = html.find("</SPAN>", at);
    const std::string_view block = html.substr(at, (close == std::string_view::npos ? html.size() : close) - at);
    book.notes += common::CountOccurrences(block, " name=");
  });
  book.noteLinks = common::CountOccurrences(html, "<A href=#") + common::CountOccurrences(html, "<A href=\"#");
  book.pictures = common::CountOccurrences(html, "<IMG ");
  book.epigraphs = common::CountOccurrences(html, "<SPAN id=epigraph>");
  book.verses = common::CountOccurrences(html, "<SPAN id=verse>");
  return book;
}

bool ReadBookFileStructure(const std::filesystem::path& path, BookStructure& book) {
  std::string bytes;
  if (!common::ReadWholeFile(path, bytes)) return false;
  if (common::LowerExtension(path) == "fb2") {
    // The declared encoding, when it is one of the single-byte code pages an FB2 is written in.
    const size_t declaration = bytes.find("encoding=\"");
    common::CodePage codePage = common::CodePage::Utf8;
    if (declaration != std::string::npos && declaration < 200) {
      const size_t start = declaration + 10;
      const std::string name = bytes.substr(start, bytes.find('"', start) - start);
      if (!common::ParseCodePage(name, codePage)) codePage = common::CodePage::Utf8;
    }
    book = ReadFb2Structure(codePage == common::CodePage::Utf8 ? bytes : common::DecodeToUtf8(bytes, codePage));
    return true;
  }
  markup::StoredBook stored;
  std::string error;
  if (!markup::ReadStoredBook(bytes, stored, error)) return false;
  book = ReadHtml0Structure(stored.document);
  return true;
}

std::string FormatStructure(const BookStructure& book) {
  std::string out;
  const auto line = [&](std::string text) { out += text + "\n"; };
  std::string authors;
  for (const std::string& author : book.authors) authors += (authors.empty() ? "" : ", ") + author;
  line("  author: " + (authors.empty() ? std::string("-") : authors));
  line("  title: " + (book.title.empty() ? std::string("-") : book.title));
  if (!book.lang.empty()) line("  language: " + book.lang);
  if (!book.genres.empty()) {
    std::string genres;
    for (const std::string& genre : book.genres) genres += (genres.empty() ? "" : ", ") + genre;
    line("  genres: " + genres);
  }
  line(std::string("  cover: ") + (book.cover ? "yes" : "no"));
  line("  headings: " + std::to_string(book.headings.size()));
  for (const StructureHeading& heading : book.headings)
    line("    " + std::string(static_cast<size_t>(2 * (heading.level - 1)), ' ') + std::to_string(heading.level) + " " +
         heading.text);
  line("  notes: " + std::to_string(book.notes) + " (links " + std::to_string(book.noteLinks) + ")");
  line("  pictures: " + std::to_string(book.pictures));
  line("  epigraphs: " + std::to_string(book.epigraphs));
  line("  verse blocks: " + std::to_string(book.verses));
  return out;
}

}  // namespace pw::shell
