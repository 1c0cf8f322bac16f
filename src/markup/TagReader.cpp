#include "markup/TagReader.h"

#include <algorithm>

#include "common/Text.h"

namespace pw::markup {

namespace {

bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }

}  // namespace

bool ReadTagToken(std::string_view text, size_t pos, TagToken& tag, size_t& end) {
  size_t i = pos + 1;
  tag.closing = i < text.size() && text[i] == '/';
  if (tag.closing) ++i;
  if (i >= text.size() || !IsAsciiLetter(text[i])) return false;
  tag.name.clear();
  while (i < text.size() && (IsAsciiLetter(text[i]) || (text[i] >= '0' && text[i] <= '9') || text[i] == ':' ||
                             text[i] == '-' || text[i] == '_'))
    tag.name.push_back(Lower(text[i++]));
  const size_t attrStart = i;
  char quote = 0;
  for (; i < text.size(); ++i) {
    const char c = text[i];
    if (quote) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      // A quote counts only where an attribute value starts.
      size_t k = i;
      while (k > attrStart && IsBlank(text[k - 1])) --k;
      if (k > attrStart && text[k - 1] == '=') quote = c;
    } else if (c == '>') {
      break;
    } else if (c == '<') {
      return false;  // the first "<" was text
    }
  }
  if (i >= text.size()) return false;
  tag.attributes = text.substr(attrStart, i - attrStart);
  end = i + 1;
  return true;
}

std::string TagAttribute(std::string_view attributes, std::string_view name) {
  for (auto& [attribute, value] : TagAttributes(attributes))
    if (attribute == name) return std::move(value);
  return {};
}

std::vector<std::pair<std::string, std::string>> TagAttributes(std::string_view attributes) {
  std::vector<std::pair<std::string, std::string>> out;
  size_t i = 0;
  while (i < attributes.size()) {
    while (i < attributes.size() && !IsAsciiLetter(attributes[i])) ++i;
    if (i >= attributes.size()) break;
    const size_t nameStart = i;
    while (i < attributes.size() && attributes[i] != '=' && !IsBlank(attributes[i]) && attributes[i] != '/' &&
           attributes[i] != '>')
      ++i;
    std::string name;
    for (size_t k = nameStart; k < i; ++k) name.push_back(Lower(attributes[k]));
    size_t look = i;
    while (look < attributes.size() && IsBlank(attributes[look])) ++look;
    std::string value;
    bool hasValue = false;
    if (look < attributes.size() && attributes[look] == '=') {
      hasValue = true;
      i = look + 1;
      while (i < attributes.size() && IsBlank(attributes[i])) ++i;
      if (i < attributes.size() && (attributes[i] == '"' || attributes[i] == '\'')) {
        const char quote = attributes[i++];
        const size_t close = attributes.find(quote, i);
        const size_t stop = close == std::string_view::npos ? attributes.size() : close;
        value.assign(attributes.substr(i, stop - i));
        i = std::min(attributes.size(), stop + 1);
      } else {
        const size_t start = i;
        while (i < attributes.size() && !IsBlank(attributes[i])) ++i;
        value.assign(attributes.substr(start, i - start));
      }
    }
    out.emplace_back(std::move(name), hasValue ? std::move(value) : std::string());
    if (i == nameStart) ++i;
  }
  return out;
}

std::string ToBookSpelling(std::string_view html) {
  std::string out;
  out.reserve(html.size());
  size_t pos = 0;
  while (pos < html.size()) {
    const size_t lt = html.find('<', pos);
    if (lt == std::string_view::npos) break;
    out.append(html, pos, lt - pos);
    if (html.compare(lt, 4, "<!--") == 0) {
      const size_t end = html.find("-->", lt + 4);
      const size_t stop = end == std::string_view::npos ? html.size() : end + 3;
      out.append(html, lt, stop - lt);
      pos = stop;
      continue;
    }
    TagToken tag;
    size_t end = 0;
    if (!ReadTagToken(html, lt, tag, end)) {
      out.push_back('<');
      pos = lt + 1;
      continue;
    }
    out.push_back('<');
    if (tag.closing) out.push_back('/');
    for (const char c : tag.name) out.push_back((c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c);
    for (const auto& [name, value] : TagAttributes(tag.attributes)) {
      out.push_back(' ');
      out += name;
      if (value.empty()) continue;  // an attribute without a value, or an empty one
      out.push_back('=');
      const bool bare = !value.empty() && value.find_first_of(" \t\r\n\"'<>=`") == std::string::npos;
      if (bare) {
        out += value;
      } else {
        out.push_back('"');
        out += common::ReplaceAll(value, "\"", "&quot;");
        out.push_back('"');
      }
    }
    out.push_back('>');
    pos = end;
  }
  out.append(html.substr(std::min(pos, html.size())));
  return out;
}

size_t SkipElementContent(std::string_view html, size_t pos, std::string_view name) {
  const std::string close = "</" + std::string(name);
  const size_t at = common::FindAsciiCaseless(html, close, pos);
  if (at == std::string_view::npos) return html.size();
  const size_t gt = html.find('>', at);
  return gt == std::string_view::npos ? html.size() : gt + 1;
}

}  // namespace pw::markup
