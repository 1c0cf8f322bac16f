#include "markup/HtmlTags.h"

#include <cctype>
#include <cstring>

namespace pw::markup {
namespace {

inline bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
inline bool IsAsciiAlnum(char c) { return IsAsciiLetter(c) || (c >= '0' && c <= '9'); }
inline char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }
inline char Upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; }

bool InList(std::string_view name, std::initializer_list<std::string_view> names) {
  for (std::string_view n : names) {
    if (n == name) return true;
  }
  return false;
}

}  // namespace

bool ReadTagAt(std::string_view text, size_t pos, HtmlTag& tag) {
  if (pos >= text.size() || text[pos] != '<') return false;
  size_t i = pos + 1;
  const bool closing = i < text.size() && text[i] == '/';
  if (closing) ++i;
  if (i >= text.size() || !IsAsciiLetter(text[i])) return false;
  const size_t nameStart = i;
  while (i < text.size() && IsAsciiAlnum(text[i])) ++i;
  const void* close = std::memchr(text.data() + i, '>', text.size() - i);
  if (!close) return false;
  tag.begin = pos;
  tag.end = static_cast<size_t>(static_cast<const char*>(close) - text.data()) + 1;
  tag.closing = closing;
  tag.name.clear();
  for (size_t k = nameStart; k < i; ++k) tag.name += Lower(text[k]);
  return true;
}

bool IsVoidTag(std::string_view lowerName) {
  return InList(lowerName, {"br", "hr", "img", "meta", "input", "wbr", "col", "area", "base", "link"});
}

bool IsStyleTag(std::string_view lowerName) {
  return InList(lowerName, {"b", "strong", "i", "em", "u", "s", "strike", "sub", "sup"});
}

std::string UpperCaseTagName(std::string_view tagText) {
  std::string out(tagText);
  size_t i = 1;
  if (i < out.size() && out[i] == '/') ++i;
  for (; i < out.size() && IsAsciiAlnum(out[i]); ++i) out[i] = Upper(out[i]);
  return out;
}

size_t ElementEnd(std::string_view text, size_t open) {
  HtmlTag tag;
  if (!ReadTagAt(text, open, tag) || tag.closing) return std::string_view::npos;
  if (IsVoidTag(tag.name)) return tag.end;
  const std::string name = tag.name;
  int depth = 1;
  size_t pos = tag.end;
  while (pos < text.size()) {
    const void* lt = std::memchr(text.data() + pos, '<', text.size() - pos);
    if (!lt) break;
    const size_t at = static_cast<size_t>(static_cast<const char*>(lt) - text.data());
    if (!ReadTagAt(text, at, tag)) {
      pos = at + 1;
      continue;
    }
    if (tag.name == name) {
      depth += tag.closing ? -1 : 1;
      if (depth == 0) return tag.end;
    }
    pos = tag.end;
  }
  return std::string_view::npos;
}

size_t ElementStart(std::string_view text, size_t close) {
  HtmlTag tag;
  if (!ReadTagAt(text, close, tag) || !tag.closing) return std::string_view::npos;
  const std::string name = tag.name;
  int depth = 1;
  size_t pos = close;
  while (pos > 0) {
    const size_t at = text.rfind('<', pos - 1);
    if (at == std::string_view::npos) break;
    pos = at;
    if (!ReadTagAt(text, at, tag) || tag.name != name) continue;
    depth += tag.closing ? 1 : -1;
    if (depth == 0) return at;
  }
  return std::string_view::npos;
}

size_t FindTagIgnoringCase(std::string_view text, std::string_view lowerTag, size_t from) {
  for (size_t at = text.find('<', from); at != std::string_view::npos; at = text.find('<', at + 1)) {
    if (text.size() - at < lowerTag.size()) return std::string_view::npos;
    bool same = true;
    for (size_t i = 1; i < lowerTag.size() && same; ++i)
      same = std::tolower(static_cast<unsigned char>(text[at + i])) == lowerTag[i];
    // "<body" is not the start of "<bodyguard>".
    const size_t after = at + lowerTag.size();
    if (same && (after == text.size() || text[after] == '>' || text[after] == '/' || IsBlankByte(text[after]))) return at;
  }
  return std::string_view::npos;
}

}  // namespace pw::markup
