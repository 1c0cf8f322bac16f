// Whole-text passes over the regular FB2 form that TidyFb2 writes: rewriting single tags,
// rewriting whole elements innermost first, and walking the children of an element. Every
// pass is one scan over the text.
#pragma once

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace pw::fb2 {

// Calls `rewrite` with every tag ("<" to ">") of `text`; a tag for which it returns a value is
// replaced by it, the others stay. Text between tags is copied as it is.
void RewriteTags(std::string& text, const std::function<std::optional<std::string>(std::string_view tag)>& rewrite);

// Replaces every element named in `names` (start tag "<name>" or "<name ...>" to its matching
// end tag) by what `rewrite` makes of its start tag and its content. Elements inside elements
// are rewritten first, so `inner` already holds their replacements. An element whose end tag
// is missing stays as it is.
void RewriteElements(std::string& text, std::initializer_list<std::string_view> names,
                     const std::function<std::string(std::string_view name, std::string_view startTag,
                                                     std::string_view inner)>& rewrite);

// One child of a fragment: an element with its content, a tag that stands alone ("<BR>",
// "<empty-line/>"), or a run of text.
struct Child {
  std::string_view name;   // element name; empty for text
  std::string_view whole;  // the child as written
  std::string_view startTag;
  std::string_view inner;  // content of an element; the text itself for text
};

// The child starting at `pos` of `fragment`; advances `pos` past it. False at the end.
bool NextChild(std::string_view fragment, size_t& pos, Child& child);

// The value of attribute `name` in the regular-form start tag `tag` (double-quoted, escaped as
// written); empty when absent.
std::string_view AttributeOf(std::string_view tag, std::string_view name);

// Text of a regular-form fragment without its tags, references left as written.
std::string TextOf(std::string_view fragment);

}  // namespace pw::fb2
