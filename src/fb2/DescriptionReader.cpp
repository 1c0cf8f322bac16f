#include "fb2/DescriptionReader.h"

#include "common/Files.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "fb2/Fb2Encoding.h"
#include "fb2/Fb2Fragments.h"
#include "fb2/Fb2Tidy.h"
#include "import/Entities.h"
#include "markup/DescriptionPlace.h"

namespace pw::fb2 {
namespace {

// Plain text of a regular-form fragment: tags dropped, every reference decoded, white space
// collapsed, trimmed.
std::string Plain(std::string_view fragment) {
  const std::string text = TextOf(fragment);
  std::string out;
  out.reserve(text.size());
  bool space = false;
  auto put = [&](std::string_view piece) {
    for (const char c : piece) {
      if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
        space = !out.empty();
        continue;
      }
      if (space) out += ' ';
      space = false;
      out += c;
    }
  };
  for (size_t i = 0; i < text.size();) {
    if (text[i] != '&') {
      const size_t amp = std::min(text.find('&', i), text.size());
      put(std::string_view(text).substr(i, amp - i));
      i = amp;
      continue;
    }
    const size_t semicolon = text.find(';', i);
    if (semicolon == std::string::npos || semicolon - i > 40) {
      put("&");
      ++i;
      continue;
    }
    const std::string_view reference = std::string_view(text).substr(i, semicolon + 1 - i);
    if (reference == "&amp;") put("&");
    else if (reference == "&lt;") put("<");
    else if (reference == "&gt;") put(">");
    else if (reference == "&nbsp;") put("\u00A0");
    else if (reference == "&shy;") put("");
    else put(import::ReplaceHtmlEntitiesUtf8(reference));
    i = semicolon + 1;
  }
  return out;
}

PersonName Person(std::string_view inner) {
  PersonName person;
  size_t pos = 0;
  Child child;
  while (NextChild(inner, pos, child)) {
    if (child.name == "first-name") person.first = Plain(child.inner);
    else if (child.name == "middle-name") person.middle = Plain(child.inner);
    else if (child.name == "last-name") person.last = Plain(child.inner);
    else if (child.name == "nickname") person.nickname = Plain(child.inner);
    else if (child.name == "email") person.email = Plain(child.inner);
  }
  return person;
}

void AddPerson(std::vector<PersonName>& people, std::string_view inner) {
  PersonName person = Person(inner);
  if (person == PersonName{}) return;
  if (!people.empty() && people.back() == person) return;  // the same person given twice
  people.push_back(std::move(person));
}

// Paragraph-like lines of an annotation or history, one a line.
void Lines(std::string_view fragment, std::string& out) {
  size_t pos = 0;
  Child child;
  while (NextChild(fragment, pos, child)) {
    if (child.name == "p" || child.name == "v" || child.name == "subtitle" || child.name == "text-author") {
      const std::string line = Plain(child.inner);
      if (line.empty()) continue;
      if (!out.empty()) out += '\n';
      out += line;
    } else if (child.name.empty()) {
      const std::string line = Plain(child.inner);
      if (line.empty()) continue;
      if (!out.empty()) out += '\n';
      out += line;
    } else if (!child.inner.empty()) {
      Lines(child.inner, out);
    }
  }
}

void Date(const Child& child, std::string& text, std::string& value) {
  text = Plain(child.inner);
  value = Plain(AttributeOf(child.startTag, "value"));
}

void TitleInfo(std::string_view inner, Fb2Description& d) {
  size_t pos = 0;
  Child child;
  bool sequence = false;
  while (NextChild(inner, pos, child)) {
    const std::string_view n = child.name;
    if (n == "genre") {
      if (std::string genre = Plain(child.inner); !genre.empty()) d.genres.push_back(std::move(genre));
    } else if (n == "author") {
      AddPerson(d.authors, child.inner);
    } else if (n == "book-title") {
      d.title = Plain(child.inner);
    } else if (n == "annotation") {
      Lines(child.inner, d.annotation);
    } else if (n == "keywords") {
      d.keywords = Plain(child.inner);
    } else if (n == "date") {
      Date(child, d.date, d.dateValue);
    } else if (n == "coverpage") {
      size_t p = 0;
      Child image;
      while (NextChild(child.inner, p, image)) {
        if (image.name != "image") continue;
        std::string id = Plain(AttributeOf(image.startTag, "l:href"));
        if (!id.empty() && id[0] == '#') id.erase(0, 1);
        if (!id.empty()) {
          d.coverId = std::move(id);
          break;
        }
      }
    } else if (n == "lang") {
      d.lang = Plain(child.inner);
    } else if (n == "src-lang") {
      d.srcLang = Plain(child.inner);
    } else if (n == "translator") {
      AddPerson(d.translators, child.inner);
    } else if (n == "sequence" && !sequence) {
      d.sequenceName = Plain(AttributeOf(child.startTag, "name"));
      d.sequenceNumber = Plain(AttributeOf(child.startTag, "number"));
      sequence = !d.sequenceName.empty();
    }
  }
}

void DocumentInfo(std::string_view inner, Fb2Description& d) {
  size_t pos = 0;
  Child child;
  while (NextChild(inner, pos, child)) {
    const std::string_view n = child.name;
    if (n == "author") AddPerson(d.documentAuthors, child.inner);
    else if (n == "program-used") d.program = Plain(child.inner);
    else if (n == "date") Date(child, d.documentDate, d.documentDateValue);
    else if (n == "src-url" && d.srcUrl.empty()) d.srcUrl = Plain(child.inner);
    else if (n == "src-ocr") d.srcOcr = Plain(child.inner);
    else if (n == "id") d.id = Plain(child.inner);
    else if (n == "version") d.version = Plain(child.inner);
    else if (n == "history") Lines(child.inner, d.history);
  }
}

void PublishInfo(std::string_view inner, Fb2Description& d) {
  size_t pos = 0;
  Child child;
  while (NextChild(inner, pos, child)) {
    const std::string_view n = child.name;
    if (n == "book-name") d.bookName = Plain(child.inner);
    else if (n == "publisher") d.publisher = Plain(child.inner);
    else if (n == "city") d.city = Plain(child.inner);
    else if (n == "year") d.year = Plain(child.inner);
    else if (n == "isbn") d.isbn = Plain(child.inner);
  }
}

// The first description element of a regular-form text.
std::optional<Fb2Description> ReadTidyDescription(std::string_view tidy) {
  const size_t open = tidy.find("<description>");
  if (open == std::string_view::npos) return std::nullopt;
  size_t pos = open;
  Child description;
  if (!NextChild(tidy, pos, description) || description.name != "description") return std::nullopt;
  Fb2Description d;
  pos = 0;
  Child child;
  while (NextChild(description.inner, pos, child)) {
    if (child.name == "title-info") TitleInfo(child.inner, d);
    else if (child.name == "document-info") DocumentInfo(child.inner, d);
    else if (child.name == "publish-info") PublishInfo(child.inner, d);
    else if (child.name == "custom-info") {
      const std::string info = Plain(child.inner);
      if (info.empty()) continue;
      if (!d.customInfo.empty()) d.customInfo += '\n';
      d.customInfo += info;
    }
  }
  if (d.lang.empty()) d.lang = "eng";
  return d;
}

}  // namespace

std::optional<Fb2Description> ReadDescription(std::string_view xml) {
  TidyReport report;
  return ReadTidyDescription(TidyFb2(xml, report));
}

std::optional<Fb2Description> ReadFb2FileDescription(std::string_view bytes, std::string_view language) {
  bool utf16 = false;
  const std::string prepared = PrepareFb2Bytes(bytes, utf16);
  const std::string declared = utf16 ? std::string() : DeclaredXmlEncoding(prepared);
  TidyReport report;
  const std::string tidy = TidyFb2(prepared, report);
  // Only the description is decoded: the rest of the file may be megabytes of pictures.
  const size_t open = tidy.find("<description>");
  if (open == std::string::npos) return std::nullopt;
  size_t end = tidy.find("</description>", open);
  end = end == std::string::npos ? tidy.size() : end + 14;
  Fb2Decoding decoded = DecodeFb2Text(std::string_view(tidy).substr(open, end - open), declared, language);
  if (decoded.source == common::CodePage::Utf8) RepairDoubleEncoding(decoded.text);
  return ReadTidyDescription(decoded.text);
}

std::optional<Fb2Description> LoadFb2Description(const std::filesystem::path& fb2File, common::Session& session) {
  std::string bytes;
  if (!common::ReadWholeFile(fb2File, bytes)) {
    session.messages.Show(common::Msg::ErrorReadingFile, fb2File.string());
    return std::nullopt;
  }
  std::optional<Fb2Description> description = ReadFb2FileDescription(bytes, session.settings.importLanguage);
  if (!description) {
    session.messages.Show(common::Msg::Fb2DescriptionNotFound);
    return std::nullopt;
  }
  const std::filesystem::path target = session.workFolder / markup::kDescriptionFb2File;
  if (!common::WriteFileAtomic(target, WriteDescription(*description))) {
    session.messages.Show(common::Msg::ErrorWritingFile, target.string());
    return std::nullopt;
  }
  return description;
}

std::optional<Fb2Description> ReadDescriptionFile(const std::filesystem::path& workFolder) {
  std::string text;
  if (!common::ReadWholeFile(workFolder / markup::kDescriptionFb2File, text)) return std::nullopt;
  bool utf16 = false;
  text = PrepareFb2Bytes(text, utf16);
  if (!common::IsValidUtf8(text)) text = DecodeFb2Text(text, {}, "auto").text;
  return ReadDescription(text);
}

}  // namespace pw::fb2
