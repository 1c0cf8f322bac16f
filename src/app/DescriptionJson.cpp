#include "app/DescriptionJson.h"

#include <utility>

namespace pw::app {

namespace {

using json = nlohmann::json;
using fb2::Fb2Description;
using fb2::PersonName;

struct TextField {
  const char* key;
  std::string Fb2Description::*field;
};

// In the order the description writes them.
constexpr TextField kTextFields[] = {
    {"b_title", &Fb2Description::title},
    {"b_annot", &Fb2Description::annotation},
    {"b_keywords", &Fb2Description::keywords},
    {"b_date", &Fb2Description::date},
    {"b_date_val", &Fb2Description::dateValue},
    {"b_lang", &Fb2Description::lang},
    {"b_lang_orig", &Fb2Description::srcLang},
    {"b_seqname", &Fb2Description::sequenceName},
    {"b_seqnum", &Fb2Description::sequenceNumber},
    {"d_program", &Fb2Description::program},
    {"d_date", &Fb2Description::documentDate},
    {"d_date_val", &Fb2Description::documentDateValue},
    {"d_src-url", &Fb2Description::srcUrl},
    {"d_src-ocr", &Fb2Description::srcOcr},
    {"d_id", &Fb2Description::id},
    {"d_version", &Fb2Description::version},
    {"b_history", &Fb2Description::history},
    {"p_book-name", &Fb2Description::bookName},
    {"p_publisher", &Fb2Description::publisher},
    {"p_city", &Fb2Description::city},
    {"p_year", &Fb2Description::year},
    {"p_isbn", &Fb2Description::isbn},
    {"c_info", &Fb2Description::customInfo},
};

// A group of person fields: its array key, the prefix of its field ids, whether it has the
// document author's nickname and e-mail.
struct PersonGroup {
  const char* key;
  const char* prefix;
  std::vector<PersonName> Fb2Description::*people;
  bool contact;
};

constexpr PersonGroup kGroups[] = {
    {"authors", "b_", &Fb2Description::authors, false},
    {"translators", "t_", &Fb2Description::translators, false},
    {"docAuthors", "d_", &Fb2Description::documentAuthors, true},
};

struct PersonField {
  const char* suffix;
  std::string PersonName::*field;
  bool contact;
};

constexpr PersonField kPersonFields[] = {
    {"first", &PersonName::first, false},   {"middle", &PersonName::middle, false},
    {"last", &PersonName::last, false},     {"nick", &PersonName::nickname, true},
    {"e-mail", &PersonName::email, true},
};

json PersonJson(const PersonName& person, const PersonGroup& group) {
  json out = json::object();
  PersonName shown = person;
  // The book's author and translator fields have no nickname: one standing alone is shown as
  // the last name, which the export writes back as a nickname.
  if (!group.contact && shown.last.empty() && shown.first.empty()) shown.last = shown.nickname;
  for (const auto& field : kPersonFields)
    if (group.contact || !field.contact) out[std::string(group.prefix) + field.suffix] = shown.*field.field;
  return out;
}

bool ReadText(const json& in, const std::string& key, std::string& out) {
  if (!in.contains(key)) return true;
  if (!in[key].is_string()) return false;
  out = in[key].get<std::string>();
  return true;
}

}  // namespace

json DescriptionToJson(const Fb2Description& description) {
  json out = json::object();
  std::string genres;
  for (const auto& genre : description.genres) genres += (genres.empty() ? "" : ", ") + genre;
  out["b_genre"] = genres;
  for (const auto& field : kTextFields) out[field.key] = description.*field.field;
  for (const auto& group : kGroups) {
    json people = json::array();
    for (const auto& person : description.*group.people) people.push_back(PersonJson(person, group));
    out[group.key] = std::move(people);
  }
  out["cover"] = description.coverId;
  return out;
}

bool DescriptionFromJson(const json& in, Fb2Description& description) {
  if (!in.is_object()) return false;
  Fb2Description read;
  std::string genres;
  bool ok = ReadText(in, "b_genre", genres);
  read.genres = fb2::ParseGenreList(genres);
  for (const auto& field : kTextFields) ok = ok && ReadText(in, field.key, read.*field.field);
  for (const auto& group : kGroups) {
    if (!in.contains(group.key)) continue;
    const json& people = in[group.key];
    if (!people.is_array()) return false;
    for (const json& entry : people) {
      if (!entry.is_object()) return false;
      PersonName person;
      for (const auto& field : kPersonFields)
        if (group.contact || !field.contact)
          ok = ok && ReadText(entry, std::string(group.prefix) + field.suffix, person.*field.field);
      // An empty group of the form is no person.
      if (person != PersonName{}) (read.*group.people).push_back(std::move(person));
    }
  }
  if (!ok) return false;
  description = std::move(read);
  return true;
}

}  // namespace pw::app
