#include "import/TaggedText.h"

#include <algorithm>

#include "common/Text.h"

namespace pw::import {
namespace {

struct KeptTag {
  std::string_view name;  // lower case, as written in the source
  std::string_view kept;  // the tag name the book uses
};

constexpr KeptTag kKeptTags[] = {{"b", "B"},     {"strong", "B"}, {"i", "I"},     {"em", "I"},
                                 {"u", "U"},     {"sub", "SUB"},  {"sup", "SUP"}};
constexpr std::string_view kLineEndTags[] = {"br", "p"};
constexpr size_t kLongestTag = 256;
// Tags by which a page of HTML is known.
constexpr std::string_view kHtmlTags[] = {"html", "head", "body", "title", "meta", "p", "br", "div", "span",
                                          "font", "b", "i", "u", "em", "strong", "a", "img", "table", "tr",
                                          "td", "h1", "h2", "h3", "h4", "h5", "h6", "li", "ul", "ol", "pre",
                                          "blockquote", "hr", "sub", "sup", "center"};

struct ParsedTag {
  bool closing = false;
  std::string name;  // lower case
  size_t end = 0;    // one past the ">"
};

bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// A tag starting at `at` ("<" name, attributes on the same line, ">"); false when the "<"
// does not open one.
bool ParseTag(std::string_view text, size_t at, ParsedTag& tag) {
  size_t pos = at + 1;
  tag.closing = pos < text.size() && text[pos] == '/';
  if (tag.closing) ++pos;
  const size_t nameStart = pos;
  while (pos < text.size() && (IsAsciiLetter(text[pos]) || (pos > nameStart && text[pos] >= '0' && text[pos] <= '9')))
    ++pos;
  if (pos == nameStart || pos >= text.size()) return false;
  tag.name = common::AsciiLower(text.substr(nameStart, pos - nameStart));
  const char after = text[pos];
  if (after != '>' && after != ' ' && after != '/' && after != '\t') return false;
  const size_t limit = std::min(text.size(), at + kLongestTag);
  for (; pos < limit; ++pos) {
    const char c = text[pos];
    if (c == '>') {
      tag.end = pos + 1;
      return true;
    }
    if (c == '<' || c == '\r' || c == '\n') return false;
  }
  return false;
}

}  // namespace

std::string CheckTags(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 16);
  ParsedTag tag;
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t at = text.find_first_of("<>", pos);
    if (at == std::string_view::npos) {
      out.append(text, pos, text.size() - pos);
      break;
    }
    out.append(text, pos, at - pos);
    pos = at + 1;
    if (text[at] == '>') {
      out += "&gt;";
      continue;
    }
    if (!ParseTag(text, at, tag)) {
      out += "&lt;";
      continue;
    }
    bool handled = false;
    for (const KeptTag& kept : kKeptTags) {
      if (tag.name != kept.name) continue;
      out += kKeptTagOpen;
      if (tag.closing) out += '/';
      out += kept.kept;
      out += kKeptTagClose;
      handled = true;
      break;
    }
    for (std::string_view lineEnd : kLineEndTags) {
      if (!handled && tag.name == lineEnd) {
        out += "\r\n";
        handled = true;
      }
    }
    if (handled) {
      pos = tag.end;
    } else {
      out += "&lt;";
    }
  }
  return out;
}

bool LooksLikeHtml(std::string_view text) {
  ParsedTag tag;
  for (size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    if (!ParseTag(text, at, tag)) continue;
    for (std::string_view name : kHtmlTags) {
      if (tag.name == name) return true;
    }
  }
  return false;
}

std::string EscapeAngleBrackets(std::string_view text) {
  if (text.find_first_of("<>") == std::string_view::npos) return std::string(text);
  std::string out;
  out.reserve(text.size() + 64);
  for (const char c : text) {
    if (c == '<') out += "&lt;";
    else if (c == '>') out += "&gt;";
    else out += c;
  }
  return out;
}

bool HasKeptTags(std::string_view text) { return text.find(kKeptTagOpen) != std::string_view::npos; }

std::string StripKeptTags(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t open = text.find(kKeptTagOpen, pos);
    if (open == std::string_view::npos) break;
    const size_t close = text.find(kKeptTagClose, open);
    if (close == std::string_view::npos) break;
    out.append(text, pos, open - pos);
    pos = close + kKeptTagClose.size();
  }
  out.append(text, pos, text.size() - pos);
  return out;
}

std::string RestoreKeptTags(std::string_view text) {
  std::string out = common::ReplaceAll(text, kKeptTagOpen, "<");
  common::ReplaceAllInPlace(out, kKeptTagClose, ">");
  return out;
}

}  // namespace pw::import
