// One-pass rewriting of tags and other short literals in a whole book. Every chain step that
// removes or replaces tags is a list of rules applied by a single left-to-right scan, so a
// step costs one pass over the book whatever the number of its rules.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace pw::markup {

struct TagRule {
  // Literal text the rule looks for, usually starting with '<' or '&'.
  std::string_view match;
  // What replaces the matched text.
  std::string_view replacement;
  // Compare `match` ignoring ASCII case.
  bool caseless = false;
  // The match runs on over any characters but '>' up to and including the next '>', as the
  // pattern match + "[^>]*>" would. The character right after `match` must then not be a
  // letter or digit, so "<A" does not take "<ADDRESS ...>".
  bool toTagEnd = false;
  // When not empty, the match runs on to the end of the next occurrence of `until`, as a lazy
  // dot-all pattern would; without such an occurrence the rule does not match.
  std::string_view until = {};
};

// Applies the rules in one scan: at each position the first rule that matches is replaced and
// the scan goes on after the match. Returns the number of replacements. Cost is linear in the
// text for any rule list.
size_t ApplyTagRules(std::string& text, std::span<const TagRule> rules);

// A single rule, for callers with one rewrite to make.
inline size_t ApplyTagRule(std::string& text, const TagRule& rule) {
  return ApplyTagRules(text, std::span<const TagRule>(&rule, 1));
}

// Cuts out every block from `open` (ASCII-caseless, followed by a non-alphanumeric character)
// to the end of its matching `close`, counting nested blocks of the same kind, as for tables
// inside tables. An unclosed block is left as it is. Returns the number of blocks cut.
size_t CutBlocks(std::string& text, std::string_view open, std::string_view close);

// Finds the end (one past '>') of the tag that starts at `pos`; npos when it never closes.
size_t TagEnd(std::string_view text, size_t pos);

// Reads the value of attribute `name` (ASCII-caseless) from the single tag `tag`, with or
// without quotes. Returns false when the tag has no such attribute.
bool TagAttribute(std::string_view tag, std::string_view name, std::string& value);

}  // namespace pw::markup
