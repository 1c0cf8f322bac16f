#include "fb2/Description.h"

#include <uuid/uuid.h>

#include <ctime>

#include "common/Text.h"
#include "common/Utf8.h"

namespace pw::fb2 {
namespace {

std::string Escape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

// Appends indent + <tag>value</tag> + line break when the trimmed value is not empty.
void Element(std::string& out, std::string_view indent, std::string_view tag, std::string_view value) {
  value = common::Trim(value);
  if (value.empty()) return;
  out += indent;
  out += '<';
  out += tag;
  out += '>';
  out += Escape(value);
  out += "</";
  out += tag;
  out += ">\n";
}

void Date(std::string& out, std::string_view text, std::string_view value) {
  text = common::Trim(text);
  value = common::Trim(value);
  if (text.empty() && value.empty()) return;
  if (value.empty()) out += "<date>";
  else out += "<date value=\"" + Escape(value) + "\">";
  out += Escape(text);
  out += "</date>\n";
}

void Person(std::string& out, std::string_view tag, const PersonName& name) {
  std::string inner;
  Element(inner, "    ", "first-name", name.first);
  Element(inner, "    ", "middle-name", name.middle);
  Element(inner, "    ", "last-name", name.last);
  Element(inner, "    ", "nickname", name.nickname);
  Element(inner, "    ", "email", name.email);
  if (inner.empty()) return;
  out += "  <";
  out += tag;
  out += ">\n";
  out += inner;
  out += "  </";
  out += tag;
  out += ">\n";
}

// A multi-line text as paragraphs, one a line; empty lines are dropped.
void Paragraphs(std::string& out, std::string_view tag, std::string_view text) {
  std::string inner;
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = common::Trim(text.substr(pos, end - pos));
    if (!line.empty() && line != "&nbsp;") inner += "<p>" + Escape(line) + "</p>\n";
    pos = end + 1;
  }
  if (inner.empty()) return;
  out += "  <";
  out += tag;
  out += ">\n";
  out += inner;
  out += "  </";
  out += tag;
  out += ">\n";
}

// Wraps a block, or writes nothing when the block is empty.
void Block(std::string& out, std::string_view tag, const std::string& inner) {
  if (inner.empty()) return;
  out += "<";
  out += tag;
  out += ">\n";
  out += inner;
  out += "</";
  out += tag;
  out += ">\n";
}

// Custom information is plain text: entities and tags are dropped.
std::string PlainText(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '<') {
      const size_t end = text.find('>', i);
      if (end != std::string_view::npos) {
        i = end;
        continue;
      }
    }
    if (text[i] == '&') {
      const size_t end = text.find(';', i);
      if (end != std::string_view::npos) {
        i = end;
        continue;
      }
    }
    out += text[i];
  }
  return out;
}

bool IsInitial(std::string_view word) {
  // One letter and a dot, or several such glued together ("А.С.").
  if (word.empty() || word.back() != '.') return false;
  size_t pos = 0;
  while (pos < word.size()) {
    common::NextCodePoint(word, pos);
    if (pos >= word.size() || word[pos] != '.') return false;
    ++pos;
  }
  return true;
}

// "А.С." -> {"А.", "С."}
std::vector<std::string> SplitInitials(std::string_view word) {
  std::vector<std::string> out;
  size_t start = 0;
  for (size_t dot = word.find('.'); dot != std::string_view::npos; dot = word.find('.', start)) {
    out.emplace_back(word.substr(start, dot - start + 1));
    start = dot + 1;
  }
  return out;
}

bool IsParticle(std::string_view word) {
  static constexpr std::string_view kParticles[] = {"van", "de", "du", "le", "ван", "де", "дю", "ле"};
  for (std::string_view particle : kParticles) {
    if (word == particle) return true;
  }
  return false;
}

PersonName SplitName(std::string_view author) {
  std::vector<std::string> words;
  size_t pos = 0;
  while (pos < author.size()) {
    const size_t end = std::min(author.find(' ', pos), author.size());
    if (end > pos) {
      const std::string_view word = author.substr(pos, end - pos);
      if (IsInitial(word)) {
        for (std::string& initial : SplitInitials(word)) words.push_back(std::move(initial));
      } else {
        words.emplace_back(word);
      }
    }
    pos = end + 1;
  }
  PersonName name;
  if (words.empty()) return name;
  // "Пушкин А. С.": a last name followed only by initials.
  bool initialsAfter = words.size() > 1 && !IsInitial(words[0]);
  for (size_t i = 1; i < words.size() && initialsAfter; ++i) initialsAfter = IsInitial(words[i]);
  if (initialsAfter) {
    name.last = words[0];
    name.first = words[1];
    for (size_t i = 2; i < words.size(); ++i) name.middle += (name.middle.empty() ? "" : " ") + words[i];
    return name;
  }
  // The last name runs from the first particle (not the first word) to the end.
  size_t lastStart = words.size() - 1;
  for (size_t i = 1; i + 1 < words.size(); ++i) {
    if (IsParticle(words[i])) {
      lastStart = i;
      break;
    }
  }
  for (size_t i = lastStart; i < words.size(); ++i) name.last += (name.last.empty() ? "" : " ") + words[i];
  if (lastStart > 0) name.first = words[0];
  for (size_t i = 1; i < lastStart; ++i) name.middle += (name.middle.empty() ? "" : " ") + words[i];
  return name;
}

}  // namespace

std::vector<std::string> ParseGenreList(std::string_view field) {
  std::vector<std::string> genres;
  size_t pos = 0;
  while (pos <= field.size()) {
    size_t end = field.find(',', pos);
    if (end == std::string_view::npos) end = field.size();
    const std::string_view item = common::Trim(field.substr(pos, end - pos));
    if (!item.empty()) genres.emplace_back(item);
    pos = end + 1;
  }
  return genres;
}

std::string WriteDescription(const Fb2Description& d) {
  std::string title;
  for (const std::string& genre : d.genres) Element(title, "    ", "genre", genre);
  for (const PersonName& author : d.authors) Person(title, "author", author);
  Element(title, "  ", "book-title", d.title);
  Paragraphs(title, "annotation", d.annotation);
  Element(title, "  ", "keywords", d.keywords);
  Date(title, d.date, d.dateValue);
  if (!common::Trim(d.coverId).empty())
    title += "  <coverpage><image l:href=\"#" + Escape(common::Trim(d.coverId)) + "\"/></coverpage>\n";
  Element(title, "  ", "lang", d.lang);
  Element(title, "  ", "src-lang", d.srcLang);
  for (const PersonName& translator : d.translators) Person(title, "translator", translator);
  if (const std::string_view name = common::Trim(d.sequenceName); !name.empty()) {
    title += "  <sequence name=\"" + Escape(name) + "\"";
    if (const std::string_view number = common::Trim(d.sequenceNumber); !number.empty())
      title += " number=\"" + Escape(number) + "\"";
    title += "/>\n";
  }

  std::string document;
  for (const PersonName& author : d.documentAuthors) Person(document, "author", author);
  Element(document, "  ", "program-used", d.program);
  Date(document, d.documentDate, d.documentDateValue);
  Element(document, "  ", "src-url", d.srcUrl);
  Element(document, "  ", "src-ocr", d.srcOcr);
  Element(document, "  ", "id", d.id);
  if (!document.empty()) {
    const std::string_view version = common::Trim(d.version);
    Element(document, "  ", "version", version.empty() ? "1.0" : version);
  }
  Paragraphs(document, "history", d.history);

  std::string publish;
  Element(publish, "  ", "book-name", d.bookName);
  Element(publish, "  ", "publisher", d.publisher);
  Element(publish, "  ", "city", d.city);
  Element(publish, "  ", "year", d.year);
  Element(publish, "  ", "isbn", d.isbn);

  std::string out = "<description>\n";
  Block(out, "title-info", title);
  Block(out, "document-info", document);
  Block(out, "publish-info", publish);
  if (const std::string custom = PlainText(common::Trim(d.customInfo)); !common::Trim(custom).empty())
    out += "<custom-info info-type=\"general\">" + Escape(common::Trim(custom)) + "</custom-info>\n";
  out += "</description>";
  return out;
}

std::vector<PersonName> SplitAuthors(std::string_view heading) {
  // Every separator becomes a comma first, then the heading is cut at commas.
  std::string text(common::Trim(heading));
  common::ReplaceAllInPlace(text, " and ", ",");
  common::ReplaceAllInPlace(text, " и ", ",");
  std::vector<PersonName> authors;
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t end = text.find(',', pos);
    if (end == std::string::npos) end = text.size();
    const std::string_view author = common::Trim(std::string_view(text).substr(pos, end - pos));
    if (!author.empty()) authors.push_back(SplitName(author));
    pos = end + 1;
  }
  return authors;
}

std::string MakeDocumentId() {
  uuid_t uuid;
  uuid_generate(uuid);
  char text[37];
  uuid_unparse_upper(uuid, text);
  return text;
}

std::string TodayDateValue() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[16];
  std::strftime(text, sizeof text, "%Y-%m-%d", &local);
  return text;
}

std::string AppendProgramUsed(std::string_view field) {
  const std::string_view trimmed = common::Trim(field);
  if (trimmed.empty()) return "Pagewright";
  if (trimmed.find("Pagewright") != std::string_view::npos) return std::string(trimmed);
  return std::string(trimmed) + ", Pagewright";
}

}  // namespace pw::fb2
