#include "fb2/Genres.h"

#include <unordered_set>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "markup/TagPass.h"

namespace pw::fb2 {
namespace {

constexpr std::string_view kEnumeration = "<xs:enumeration";
constexpr std::string_view kEnumerationEnd = "</xs:enumeration>";
constexpr std::string_view kDocumentation = "<xs:documentation";
constexpr std::string_view kDocumentationEnd = "</xs:documentation>";

// Element text of the list: the few references XML has, blanks collapsed.
std::string ListText(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '&') {
      static constexpr std::pair<std::string_view, char> kReferences[] = {
          {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
      bool replaced = false;
      for (const auto& [reference, character] : kReferences) {
        if (text.compare(i, reference.size(), reference) == 0) {
          out += character;
          i += reference.size() - 1;
          replaced = true;
          break;
        }
      }
      if (replaced) continue;
    }
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      if (!out.empty() && out.back() != ' ') out += ' ';
      continue;
    }
    out += c;
  }
  return std::string(common::Trim(out));
}

}  // namespace

std::string_view Genre::Name(common::Language language) const {
  const std::string& first = language == common::Language::Russian ? russian : english;
  const std::string& second = language == common::Language::Russian ? english : russian;
  if (!first.empty()) return first;
  if (!second.empty()) return second;
  return code;
}

std::vector<Genre> ReadGenreList(std::string_view xsd) {
  std::vector<Genre> genres;
  for (size_t at = xsd.find(kEnumeration); at != std::string_view::npos; at = xsd.find(kEnumeration, at + 1)) {
    const size_t tagEnd = markup::TagEnd(xsd, at);
    if (tagEnd == std::string_view::npos) break;
    const std::string_view tag = xsd.substr(at, tagEnd - at);
    Genre genre;
    if (!markup::TagAttribute(tag, "value", genre.code)) continue;
    genre.code = std::string(common::Trim(genre.code));
    if (genre.code.empty()) continue;
    if (tag.size() < 2 || tag[tag.size() - 2] != '/') {
      // The names stand between this enumeration and its end (or the next enumeration).
      size_t end = std::min(xsd.find(kEnumerationEnd, tagEnd), xsd.find(kEnumeration, tagEnd));
      if (end == std::string_view::npos) end = xsd.size();
      const std::string_view inside = xsd.substr(tagEnd, end - tagEnd);
      for (size_t doc = inside.find(kDocumentation); doc != std::string_view::npos;
           doc = inside.find(kDocumentation, doc + 1)) {
        const size_t docEnd = markup::TagEnd(inside, doc);
        const size_t close = inside.find(kDocumentationEnd, doc);
        if (docEnd == std::string_view::npos || close == std::string_view::npos || close < docEnd) break;
        std::string language;
        markup::TagAttribute(inside.substr(doc, docEnd - doc), "xml:lang", language);
        const std::string name = ListText(inside.substr(docEnd, close - docEnd));
        if (common::AsciiLower(language).starts_with("ru")) genre.russian = name;
        else if (genre.english.empty()) genre.english = name;
      }
    }
    genres.push_back(std::move(genre));
  }
  return genres;
}

std::vector<Genre> ReadUserGenres(std::string_view text) {
  std::string utf8(text);
  if (utf8.starts_with("\xEF\xBB\xBF")) utf8.erase(0, 3);
  if (!common::IsValidUtf8(utf8)) utf8 = common::DecodeToUtf8(utf8, common::CodePage::Win1251);
  std::vector<Genre> genres;
  size_t pos = 0;
  while (pos < utf8.size()) {
    size_t end = utf8.find('\n', pos);
    if (end == std::string::npos) end = utf8.size();
    const std::string_view line = common::Trim(std::string_view(utf8).substr(pos, end - pos));
    pos = end + 1;
    if (line.empty() || line[0] == '#') continue;
    const size_t gap = line.find_first_of(" \t");
    Genre genre;
    genre.user = true;
    genre.code = std::string(line.substr(0, gap));
    if (gap != std::string_view::npos) genre.english = genre.russian = std::string(common::Trim(line.substr(gap)));
    genres.push_back(std::move(genre));
  }
  return genres;
}

std::vector<Genre> LoadGenres(const std::filesystem::path& genreList, const std::filesystem::path& userGenres) {
  std::string text;
  std::vector<Genre> genres;
  if (common::ReadWholeFile(genreList, text)) genres = ReadGenreList(text);
  std::unordered_set<std::string> codes;
  for (const Genre& genre : genres) codes.insert(genre.code);
  text.clear();
  if (common::ReadWholeFile(userGenres, text)) {
    for (Genre& genre : ReadUserGenres(text))
      if (codes.insert(genre.code).second) genres.push_back(std::move(genre));
  }
  return genres;
}

}  // namespace pw::fb2
