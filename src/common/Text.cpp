#include "common/Text.h"

#include <unicode/uchar.h>

#include <charconv>

#include "common/Utf8.h"

namespace pw::common {
namespace {

inline char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }

// Simple case folding of a code point, the comparison key of caseless matching.
inline char32_t Fold(char32_t cp) {
  if (cp < 0x80) return static_cast<char32_t>(LowerAscii(static_cast<char>(cp)));
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(cp), U_FOLD_CASE_DEFAULT));
}

std::u32string FoldAll(std::string_view text) {
  std::u32string out;
  for (size_t pos = 0; pos < text.size();) out += Fold(NextCodePoint(text, pos));
  return out;
}

// Length in bytes of a caseless match of `needle` (folded) at `pos`, or npos.
size_t CaselessMatchAt(std::string_view text, size_t pos, const std::u32string& needle) {
  size_t at = pos;
  for (const char32_t want : needle) {
    if (at >= text.size()) return std::string_view::npos;
    if (Fold(NextCodePoint(text, at)) != want) return std::string_view::npos;
  }
  return at - pos;
}

template <class Find>
size_t ReplaceWith(std::string& text, std::string_view to, size_t maxResult, Find find) {
  const std::string_view source(text);
  std::string out;
  size_t copied = 0;
  size_t count = 0;
  size_t length = 0;
  for (size_t at = find(source, 0, length); at != std::string_view::npos;
       at = find(source, copied, length)) {
    if (count++ == 0) out.reserve(source.size());
    out.append(source, copied, at - copied);
    out.append(to);
    copied = at + length;
    // What is left of the text is copied as it is, so the result is at least this long.
    if (out.size() + (source.size() - copied) > maxResult) return kResultTooLarge;
  }
  if (count) {
    out.append(source, copied, source.size() - copied);
    text = std::move(out);
  }
  return count;
}

// Parses "n, n, ..." (decimal, blanks around numbers allowed) into code points.
bool ParseCodeList(std::string_view list, std::u32string& codes) {
  codes.clear();
  size_t pos = 0;
  while (true) {
    while (pos < list.size() && (list[pos] == ' ' || list[pos] == '\t')) ++pos;
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(list.data() + pos, list.data() + list.size(), value);
    if (error != std::errc()) return false;
    codes += static_cast<char32_t>(value);
    pos = static_cast<size_t>(end - list.data());
    while (pos < list.size() && (list[pos] == ' ' || list[pos] == '\t')) ++pos;
    if (pos == list.size()) return true;
    if (list[pos] != ',') return false;
    ++pos;
  }
}

// The decoded text of one notation body, or false when it is not well formed.
bool DecodeNotation(bool unicode, std::string_view list, CodePage cp, std::string& out) {
  std::u32string codes;
  if (!ParseCodeList(list, codes)) return false;
  std::string decoded;
  for (const char32_t code : codes) {
    if (unicode) {
      if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
      AppendUtf8(decoded, code);
    } else {
      const std::string c = CharOfCode(static_cast<unsigned>(code), cp);
      if (code > 255 || c.empty()) return false;
      decoded += c;
    }
  }
  out += decoded;
  return true;
}

}  // namespace

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
  std::string out(text);
  ReplaceAllInPlace(out, from, to);
  return out;
}

size_t ReplaceAllInPlace(std::string& text, std::string_view from, std::string_view to, size_t maxResult) {
  if (from.empty()) return 0;
  return ReplaceWith(text, to, maxResult, [from](std::string_view source, size_t start, size_t& length) {
    length = from.size();
    return source.find(from, start);
  });
}

std::string ReplaceAllCaseless(std::string_view text, std::string_view from, std::string_view to) {
  std::string out(text);
  ReplaceAllCaselessInPlace(out, from, to);
  return out;
}

size_t ReplaceAllCaselessInPlace(std::string& text, std::string_view from, std::string_view to,
                                 size_t maxResult) {
  if (from.empty()) return 0;
  const std::u32string needle = FoldAll(from);
  return ReplaceWith(text, to, maxResult, [&needle](std::string_view source, size_t start, size_t& length) {
    // Try each character start; a match needs the first folded character to agree, which
    // rejects almost every position after one decode.
    for (size_t pos = start; pos < source.size();) {
      const size_t here = pos;
      if (Fold(NextCodePoint(source, pos)) != needle[0]) continue;
      const size_t matched = CaselessMatchAt(source, here, needle);
      if (matched != std::string_view::npos) {
        length = matched;
        return here;
      }
    }
    return std::string_view::npos;
  });
}

bool ReplaceFirst(std::string& text, std::string_view from, std::string_view to) {
  if (from.empty()) return false;
  const size_t at = text.find(from);
  if (at == std::string::npos) return false;
  text.replace(at, from.size(), to);
  return true;
}

void CollapseRepeats(std::string& text, std::string_view symbol, bool caseSensitive) {
  if (symbol.empty()) return;
  // One pass: every run of the symbol, two or more back to back, keeps its first occurrence.
  // This is what halving doubled symbols until the length stops changing comes to.
  const std::u32string folded = FoldAll(symbol);
  auto matchAt = [&](std::string_view source, size_t pos) -> size_t {
    if (caseSensitive) return source.compare(pos, symbol.size(), symbol) == 0 ? symbol.size() : std::string_view::npos;
    return CaselessMatchAt(source, pos, folded);
  };
  const std::string_view source(text);
  std::string out;
  out.reserve(source.size());
  size_t pos = 0;
  bool changed = false;
  while (pos < source.size()) {
    const size_t first = matchAt(source, pos);
    if (first == std::string_view::npos || first == 0) {
      size_t next = pos;
      NextCodePoint(source, next);
      out.append(source, pos, next - pos);
      pos = next;
      continue;
    }
    out.append(source, pos, first);
    pos += first;
    for (size_t again = matchAt(source, pos); again != std::string_view::npos && again > 0;
         again = matchAt(source, pos)) {
      pos += again;
      changed = true;
    }
  }
  if (changed) text = std::move(out);
}

std::string DecodeCharNotation(std::string_view text, CodePage bookCodePage) {
  std::string out;
  out.reserve(text.size());
  size_t pos = 0;
  size_t uni = 0;
  size_t chr = 0;
  while (pos < text.size()) {
    // Each search is redone only once passed, so the pass stays linear.
    if (uni != std::string_view::npos && uni < pos) uni = text.find("uni(", pos);
    if (chr != std::string_view::npos && chr < pos) chr = text.find("chr(", pos);
    if (pos == 0) {
      uni = text.find("uni(");
      chr = text.find("chr(");
    }
    const size_t at = std::min(uni, chr);
    if (at == std::string_view::npos) break;
    const size_t open = at + 4;
    const size_t close = text.find(')', open);
    out.append(text, pos, at - pos);
    if (close == std::string_view::npos ||
        !DecodeNotation(at == uni, text.substr(open, close - open), bookCodePage, out)) {
      out.append(text, at, 4);  // not a notation: keep as typed and look further on
      pos = open;
      continue;
    }
    pos = close + 1;
  }
  out.append(text, pos, text.size() - pos);
  return out;
}

size_t CountOccurrences(std::string_view text, std::string_view part) {
  if (part.empty()) return 0;
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at + part.size()))
    ++count;
  return count;
}

bool StartsWith(std::string_view text, std::string_view part) { return text.starts_with(part); }

bool EndsWith(std::string_view text, std::string_view part) { return text.ends_with(part); }

std::string_view Trim(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

std::string AsciiLower(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = LowerAscii(c);
  return out;
}

size_t FindAsciiCaseless(std::string_view text, std::string_view needle, size_t from) {
  if (needle.empty()) return from <= text.size() ? from : std::string_view::npos;
  const char first = LowerAscii(needle[0]);
  const char firstUpper = (first >= 'a' && first <= 'z') ? static_cast<char>(first - 32) : first;
  for (size_t i = from; i + needle.size() <= text.size(); ++i) {
    const char c = text[i];
    if (c != first && c != firstUpper) continue;
    size_t k = 1;
    while (k < needle.size() && LowerAscii(text[i + k]) == LowerAscii(needle[k])) ++k;
    if (k == needle.size()) return i;
  }
  return std::string_view::npos;
}

}  // namespace pw::common
