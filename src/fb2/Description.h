// The FB2 description: what the book is (title-info), what the electronic document is
// (document-info), the printed edition (publish-info) and free information (custom-info).
// The model, its writer with the file's element order and indentation, and the pre-filling
// from the book's own headings.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::fb2 {

struct PersonName {
  std::string first;
  std::string middle;
  std::string last;
  std::string nickname;  // document authors only
  std::string email;     // document authors only

  bool operator==(const PersonName&) const = default;
};

struct Fb2Description {
  // title-info
  std::vector<std::string> genres;
  std::vector<PersonName> authors;
  std::string title;
  std::string annotation;  // multi-line text, one paragraph a line
  std::string keywords;
  std::string date;
  std::string dateValue;
  std::string coverId;  // "cover.jpg" or "cover.png" when the book has a cover picture
  std::string lang;
  std::string srcLang;
  std::vector<PersonName> translators;
  std::string sequenceName;
  std::string sequenceNumber;
  // document-info
  std::vector<PersonName> documentAuthors;
  std::string program;
  std::string documentDate;
  std::string documentDateValue;
  std::string srcUrl;
  std::string srcOcr;
  std::string id;
  std::string version;
  std::string history;  // multi-line text
  // publish-info
  std::string bookName;
  std::string publisher;
  std::string city;
  std::string year;
  std::string isbn;
  // custom-info
  std::string customInfo;
};

// The genre field of the dialog ("a, b") as genre codes, trimmed, empty items dropped.
std::vector<std::string> ParseGenreList(std::string_view field);

// The description element as written into an FB2 file: fields trimmed and escaped, empty
// fields and empty blocks left out, "1.0" for an empty version, one element a line.
std::string WriteDescription(const Fb2Description& description);

// Splits a book-author heading into authors ("," " and " " и " between them) and each author
// into first, middle and last name. Rules: one word is a last name; the particles van, de,
// du, le (ван, де, дю, ле) and the words after them form the last name; with two or more
// words the first is the first name and the last the last name, those between the middle
// name; initials glued together ("А.С.") count as first and middle name; a heading that puts
// the last name first ("Пушкин А. С.", a word followed only by initials) is read that way.
std::vector<PersonName> SplitAuthors(std::string_view heading);

// A new document id: a fresh UUID in upper-case hexadecimal groups joined by "-".
std::string MakeDocumentId();

// Today's date as an ISO date value (year-month-day).
std::string TodayDateValue();

// The program-used field with ", Pagewright" appended once ("Pagewright" when empty).
std::string AppendProgramUsed(std::string_view field);

}  // namespace pw::fb2
