#include "fb2/DescriptionDisplay.h"

#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/DescriptionPlace.h"

namespace pw::fb2 {
namespace {

std::string Html(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : common::Trim(text)) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string out;
  for (std::string_view part : parts) {
    part = common::Trim(part);
    if (part.empty()) continue;
    if (!out.empty()) out += ' ';
    out += part;
  }
  return out;
}

void Field(std::string& out, std::string_view label, std::string_view value) {
  if (common::Trim(value).empty()) return;
  out += "<DIV align=justify><FONT color=";
  out += kDescriptionLabelColour;
  out += '>';
  out += label;
  out += ":&nbsp;</FONT>";
  out += Html(value);
  out += "</DIV>";
  out += markup::kCrLf;
}

void Heading(std::string& out, std::string_view text) {
  out += "<DIV align=center><B><FONT color=";
  out += kDescriptionHeadingColour;
  out += '>';
  out += text;
  out += "</FONT></B></DIV>";
  out += markup::kCrLf;
}

void People(std::string& out, std::string_view label, const std::vector<PersonName>& people) {
  for (const PersonName& person : people) {
    Field(out, label, Joined({person.first, person.middle, person.last}));
    Field(out, "nickname", person.nickname);
    Field(out, "e-mail", person.email);
  }
}

std::string Paragraphs(std::string_view text) {
  std::string out;
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string_view::npos) end = text.size();
    const std::string line = Html(text.substr(pos, end - pos));
    if (!line.empty()) out += markup::MakeParagraph(line);
    pos = end + 1;
  }
  return out;
}

}  // namespace

std::string MakeDescriptionDisplay(const Fb2Description& d, const common::ElementColours& colours) {
  std::string out(markup::kDescriptionDisplayOpen);
  out += markup::kCrLf;
  out += "<DIV align=center><A id=Fiction_Book_Description name=Fiction_Book_Description_Name><B><FONT color=";
  out += kDescriptionHeadingColour;
  out += ">Title Info</FONT></B></A></DIV>";
  out += markup::kCrLf;

  std::string genres;
  for (const std::string& genre : d.genres) genres += (genres.empty() ? "" : ", ") + genre;
  Field(out, "genre", genres);
  People(out, "author", d.authors);
  Field(out, "title", d.title);
  std::string sequence = Html(d.sequenceName);
  if (!sequence.empty() && !common::Trim(d.sequenceNumber).empty()) sequence += " - " + Html(d.sequenceNumber);
  if (!sequence.empty()) {
    out += markup::MakeSubtitle(sequence, colours.subtitle);
    out += markup::kCrLf;
  }
  Field(out, "keywords", d.keywords);
  Field(out, "language", d.lang);
  Field(out, "src-language", d.srcLang);
  if (!common::Trim(d.date).empty() || !common::Trim(d.dateValue).empty()) {
    std::string date(common::Trim(d.date));
    if (!common::Trim(d.dateValue).empty()) date += (date.empty() ? "(value=" : " (value=") + std::string(common::Trim(d.dateValue)) + ")";
    Field(out, "date", date);
  }
  if (!common::Trim(d.sequenceName).empty()) {
    std::string value(common::Trim(d.sequenceName));
    if (!common::Trim(d.sequenceNumber).empty()) value += " (" + std::string(common::Trim(d.sequenceNumber)) + ")";
    Field(out, "sequence", value);
  }
  People(out, "translator", d.translators);
  People(out, "document author", d.documentAuthors);
  Field(out, "program used", d.program);
  Field(out, "id", d.id);
  Field(out, "version", d.version);
  Field(out, "book name", d.bookName);
  Field(out, "publisher", d.publisher);
  Field(out, "city", d.city);
  Field(out, "year", d.year);
  Field(out, "isbn", d.isbn);

  if (const std::string annotation = Paragraphs(d.annotation); !annotation.empty()) {
    Heading(out, "Annotation");
    out += markup::MakeAnnotation(annotation, {}, colours.annotation);
    out += markup::kCrLf;
  }
  out += "</SPAN>";
  return out;
}

}  // namespace pw::fb2
