#include "corrector/FindReplace.h"

#include <limits>

#include "common/RegexMatches.h"
#include "common/Text.h"

namespace pw::corrector {

namespace {

constexpr std::string_view kMetaCharacters = "\\^$.|?*+()[]{}/-#";

// The part of a document between its body tag and the body's end; the whole text when it has
// no body tag (a selection's HTML). Both tags lie near the ends of a document.
std::pair<size_t, size_t> BodyRange(std::string_view html) {
  constexpr size_t kNear = 1u << 16;
  const std::string head = common::AsciiLower(html.substr(0, std::min(html.size(), kNear)));
  const size_t open = head.find("<body");
  const size_t start = open == std::string::npos ? std::string::npos : head.find('>', open);
  if (start == std::string::npos) return {0, html.size()};
  const size_t tailFrom = html.size() > kNear ? html.size() - kNear : 0;
  const std::string tail = common::AsciiLower(html.substr(tailFrom));
  const size_t close = tail.rfind("</body");
  const size_t end = close == std::string::npos || tailFrom + close <= start ? html.size() : tailFrom + close;
  return {start + 1, end};
}

// UTF-16 code units of the UTF-8 bytes [from, to) of `text`.
size_t Utf16Units(std::string_view text, size_t from, size_t to) {
  size_t units = 0;
  for (size_t i = from; i < to; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0) == 0x80) continue;  // continuation byte
    units += byte >= 0xF0 ? 2 : 1;        // four-byte characters are surrogate pairs
  }
  return units;
}

}  // namespace

std::string SearchPattern(std::string_view what, const FindOptions& options) {
  std::string pattern;
  if (options.regex) {
    pattern = what;
  } else {
    pattern.reserve(what.size() * 2);
    for (const char c : what) {
      if (kMetaCharacters.find(c) != std::string_view::npos) pattern += '\\';
      pattern += c;
    }
  }
  if (options.wholeWord) pattern = "(?<!\\w)(?:" + pattern + ")(?!\\w)";
  return pattern;
}

std::string ReplacementTemplate(std::string_view replacement, const FindOptions& options) {
  if (options.regex) return std::string(replacement);
  std::string out;
  for (const char c : replacement) {
    if (c == '$') out += '$';
    out += c;
  }
  return out;
}

FindResult FindInText(std::string_view text, std::string_view what, std::string_view replacement,
                      const FindOptions& options, size_t limit) {
  FindResult result;
  if (what.empty()) {
    result.ok = true;
    return result;
  }
  std::vector<common::RegexReplacement> found;
  const size_t wanted = limit == std::numeric_limits<size_t>::max() ? limit : limit + 1;
  if (!common::RegExpMatches(text, SearchPattern(what, options), ReplacementTemplate(replacement, options),
                             options.matchCase, wanted, found, &result.error))
    return result;
  if (found.size() > limit) {
    found.resize(limit);
    result.truncated = true;
  }
  // Byte offsets become the page's positions in one pass over the text.
  size_t byte = 0;
  size_t units = 0;
  result.matches.reserve(found.size());
  for (auto& match : found) {
    units += Utf16Units(text, byte, match.begin);
    const size_t start = units;
    units += Utf16Units(text, match.begin, match.end);
    byte = match.end;
    result.matches.push_back({start, units, std::move(match.text)});
  }
  result.ok = true;
  return result;
}

HtmlReplaceResult ReplaceAllInHtml(std::string& html, std::string_view what, std::string_view replacement,
                                   const FindOptions& options) {
  HtmlReplaceResult result;
  if (what.empty()) {
    result.ok = true;
    return result;
  }
  const auto [begin, end] = BodyRange(html);
  std::string_view body(html.data() + begin, end - begin);
  std::vector<common::RegexReplacement> found;
  if (!common::RegExpMatches(body, SearchPattern(what, options), ReplacementTemplate(replacement, options),
                             options.matchCase, std::numeric_limits<size_t>::max(), found, &result.error))
    return result;
  result.ok = true;
  result.count = found.size();
  if (found.empty()) return result;
  std::string out;
  out.reserve(html.size());
  out.append(html, 0, begin);
  size_t copied = 0;
  for (const auto& match : found) {
    out.append(body, copied, match.begin - copied);
    out += match.text;
    copied = match.end;
  }
  out.append(body, copied);
  out.append(html, end);
  html = std::move(out);
  return result;
}

HtmlReplaceResult CountInHtml(std::string_view html, std::string_view what, const FindOptions& options) {
  HtmlReplaceResult result;
  if (what.empty()) {
    result.ok = true;
    return result;
  }
  const auto [begin, end] = BodyRange(html);
  std::vector<common::RegexReplacement> found;
  result.ok = common::RegExpMatches(html.substr(begin, end - begin), SearchPattern(what, options), "",
                                    options.matchCase, std::numeric_limits<size_t>::max(), found, &result.error);
  result.count = found.size();
  return result;
}

}  // namespace pw::corrector
