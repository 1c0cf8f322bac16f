#include "markup/TagPass.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "common/Text.h"

namespace pw::markup {
namespace {

inline char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }

inline bool IsAlnum(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool EqualsAt(std::string_view text, size_t pos, std::string_view part, bool caseless) {
  if (text.size() - pos < part.size()) return false;
  if (!caseless) return std::memcmp(text.data() + pos, part.data(), part.size()) == 0;
  for (size_t i = 0; i < part.size(); ++i) {
    if (LowerAscii(text[pos + i]) != LowerAscii(part[i])) return false;
  }
  return true;
}

struct RuleState {
  // Position of the next occurrence of `until` at or after the last search start; lets the
  // scan answer repeated searches in constant time, keeping the pass linear even when many
  // openings share one far-away closing (or none at all).
  size_t untilFrom = 0;
  size_t untilAt = 0;
  bool untilKnown = false;
};

// Length of the match of `rule` at `pos`, or 0.
size_t MatchAt(std::string_view text, size_t pos, const TagRule& rule, RuleState& state) {
  if (!EqualsAt(text, pos, rule.match, rule.caseless)) return 0;
  size_t end = pos + rule.match.size();
  if (rule.toTagEnd) {
    if (end < text.size() && IsAlnum(text[end]) && IsAlnum(rule.match.back())) return 0;
    const void* close = std::memchr(text.data() + end, '>', text.size() - end);
    if (!close) return 0;
    end = static_cast<size_t>(static_cast<const char*>(close) - text.data()) + 1;
  }
  if (!rule.until.empty()) {
    if (!state.untilKnown || end < state.untilFrom ||
        (state.untilAt != std::string_view::npos && state.untilAt < end)) {
      state.untilAt = rule.caseless ? common::FindAsciiCaseless(text, rule.until, end) : text.find(rule.until, end);
      state.untilFrom = end;
      state.untilKnown = true;
    }
    if (state.untilAt == std::string_view::npos) return 0;
    end = state.untilAt + rule.until.size();
  }
  return end - pos;
}

}  // namespace

size_t ApplyTagRules(std::string& text, std::span<const TagRule> rules) {
  if (rules.empty() || text.empty()) return 0;

  // Bytes that can start a match; the scan jumps from one to the next with memchr.
  std::array<bool, 256> isStart{};
  std::vector<unsigned char> startBytes;
  auto addStart = [&](unsigned char c) {
    if (!isStart[c]) startBytes.push_back(c);
    isStart[c] = true;
  };
  for (const TagRule& rule : rules) {
    if (rule.match.empty()) continue;
    const auto c = static_cast<unsigned char>(rule.match[0]);
    addStart(c);
    if (rule.caseless && c >= 'a' && c <= 'z') addStart(static_cast<unsigned char>(c - 32));
    if (rule.caseless && c >= 'A' && c <= 'Z') addStart(static_cast<unsigned char>(c + 32));
  }

  std::vector<RuleState> states(rules.size());
  const std::string_view source(text);
  const size_t n = source.size();
  // Next occurrence of each start byte at or after the scan position (n when none is left).
  std::vector<size_t> next(startBytes.size(), 0);
  auto refresh = [&](size_t k, size_t from) {
    const void* hit = from < n ? std::memchr(source.data() + from, startBytes[k], n - from) : nullptr;
    next[k] = hit ? static_cast<size_t>(static_cast<const char*>(hit) - source.data()) : n;
  };
  for (size_t k = 0; k < startBytes.size(); ++k) refresh(k, 0);

  // Passes follow one another over the same book, so each writes into the buffer the previous
  // pass let go of: a book-sized buffer is then allocated (and faulted in) once per chain
  // rather than once per pass.
  thread_local std::string spare;
  std::string out = std::move(spare);
  out.clear();
  size_t copied = 0;  // source bytes up to here are already in `out`
  size_t count = 0;
  size_t i = 0;
  while (true) {
    size_t at = n;
    for (size_t k = 0; k < startBytes.size(); ++k) {
      if (next[k] < i) refresh(k, i);
      at = std::min(at, next[k]);
    }
    if (at >= n) break;
    size_t length = 0;
    size_t which = 0;
    for (; which < rules.size(); ++which) {
      if (rules[which].match.empty()) continue;
      length = MatchAt(source, at, rules[which], states[which]);
      if (length) break;
    }
    if (!length) {
      i = at + 1;
      continue;
    }
    // Room for rules that lengthen the text (a bare break becomes a whole paragraph).
    if (count == 0) out.reserve(n + n / 4 + 64);
    out.append(source, copied, at - copied);
    out.append(rules[which].replacement);
    i = at + length;
    copied = i;
    ++count;
  }
  if (count) {
    out.append(source, copied, n - copied);
    text.swap(out);
  }
  // Keep the spare only while it is of a reasonable size for a book.
  constexpr size_t kSpareLimit = 64u << 20;
  if (out.capacity() <= kSpareLimit) spare = std::move(out);
  return count;
}

size_t CutBlocks(std::string& text, std::string_view open, std::string_view close) {
  const std::string_view source(text);
  std::string out;
  size_t copied = 0;
  size_t count = 0;
  auto isOpenAt = [&](size_t pos) {
    return EqualsAt(source, pos, open, true) &&
           (pos + open.size() >= source.size() || !IsAlnum(source[pos + open.size()]));
  };
  size_t pos = common::FindAsciiCaseless(source, open, 0);
  while (pos != std::string_view::npos) {
    if (!isOpenAt(pos)) {
      pos = common::FindAsciiCaseless(source, open, pos + 1);
      continue;
    }
    // Walk forward counting nested openings until the matching close.
    size_t depth = 1;
    size_t scan = pos + open.size();
    size_t end = std::string_view::npos;
    // The next real opening at or after `scan`; searched again only once passed, so a far
    // opening is not searched for again at every closing.
    size_t nextOpen = pos;
    auto findOpen = [&](size_t from) {
      size_t at = common::FindAsciiCaseless(source, open, from);
      while (at != std::string_view::npos && !isOpenAt(at)) at = common::FindAsciiCaseless(source, open, at + 1);
      return at;
    };
    while (depth > 0) {
      const size_t nextClose = common::FindAsciiCaseless(source, close, scan);
      if (nextClose == std::string_view::npos) break;
      if (nextOpen != std::string_view::npos && nextOpen < scan) nextOpen = findOpen(scan);
      if (nextOpen != std::string_view::npos && nextOpen < nextClose) {
        ++depth;
        scan = nextOpen + open.size();
      } else {
        --depth;
        scan = nextClose + close.size();
        if (depth == 0) end = scan;
      }
    }
    if (end == std::string_view::npos) break;  // unclosed: leave the rest alone
    if (count == 0) out.reserve(source.size());
    out.append(source, copied, pos - copied);
    copied = end;
    ++count;
    pos = common::FindAsciiCaseless(source, open, end);
  }
  if (count) {
    out.append(source, copied, source.size() - copied);
    text = std::move(out);
  }
  return count;
}

size_t TagEnd(std::string_view text, size_t pos) {
  const size_t close = text.find('>', pos);
  return close == std::string_view::npos ? close : close + 1;
}

bool TagAttribute(std::string_view tag, std::string_view name, std::string& value) {
  // Skip the tag name, then walk name=value pairs.
  size_t i = 1;
  while (i < tag.size() && !std::strchr(" \t\r\n>", tag[i])) ++i;
  while (i < tag.size()) {
    while (i < tag.size() && std::strchr(" \t\r\n/", tag[i])) ++i;
    if (i >= tag.size() || tag[i] == '>') return false;
    const size_t nameStart = i;
    while (i < tag.size() && !std::strchr(" \t\r\n=>", tag[i])) ++i;
    const std::string_view attrName = tag.substr(nameStart, i - nameStart);
    while (i < tag.size() && std::strchr(" \t\r\n", tag[i])) ++i;
    std::string_view attrValue;
    if (i < tag.size() && tag[i] == '=') {
      ++i;
      while (i < tag.size() && std::strchr(" \t\r\n", tag[i])) ++i;
      if (i < tag.size() && (tag[i] == '"' || tag[i] == '\'')) {
        const char quote = tag[i++];
        const size_t valueStart = i;
        while (i < tag.size() && tag[i] != quote) ++i;
        attrValue = tag.substr(valueStart, i - valueStart);
        if (i < tag.size()) ++i;
      } else {
        const size_t valueStart = i;
        while (i < tag.size() && !std::strchr(" \t\r\n>", tag[i])) ++i;
        attrValue = tag.substr(valueStart, i - valueStart);
      }
    }
    if (attrName.size() == name.size() && EqualsAt(attrName, 0, name, true)) {
      value.assign(attrValue);
      return true;
    }
  }
  return false;
}

}  // namespace pw::markup
