#include "fb2/Fb2Fragments.h"

#include <cstring>
#include <vector>

namespace pw::fb2 {
namespace {

inline bool EndsName(char c) { return c == '>' || c == ' ' || c == '/'; }

// True when `text` has the start tag of `name` at `pos` ("<name>", "<name ...>", "<name/>").
bool StartTagAt(std::string_view text, size_t pos, std::string_view name) {
  return text.size() > pos + name.size() + 1 && text.compare(pos + 1, name.size(), name) == 0 &&
         EndsName(text[pos + 1 + name.size()]);
}

bool EndTagAt(std::string_view text, size_t pos, std::string_view name) {
  return text.size() >= pos + name.size() + 3 && text[pos + 1] == '/' &&
         text.compare(pos + 2, name.size(), name) == 0 && text[pos + 2 + name.size()] == '>';
}

// Tags that never have content.
bool IsVoid(std::string_view name) { return name == "BR" || name == "IMG" || name == "HR"; }

}  // namespace

void RewriteTags(std::string& text, const std::function<std::optional<std::string>(std::string_view tag)>& rewrite) {
  const std::string_view source(text);
  std::string out;
  size_t copied = 0;
  bool changed = false;
  for (size_t lt = source.find('<'); lt != std::string_view::npos; lt = source.find('<', lt + 1)) {
    const size_t gt = source.find('>', lt);
    if (gt == std::string_view::npos) break;
    const std::optional<std::string> replacement = rewrite(source.substr(lt, gt + 1 - lt));
    if (!replacement) continue;
    if (!changed) {
      out.reserve(source.size() + source.size() / 8);
      changed = true;
    }
    out.append(source, copied, lt - copied);
    out += *replacement;
    copied = gt + 1;
    lt = gt;
  }
  if (!changed) return;
  out.append(source, copied, source.size() - copied);
  text = std::move(out);
}

void RewriteElements(std::string& text, std::initializer_list<std::string_view> names,
                     const std::function<std::string(std::string_view name, std::string_view startTag,
                                                     std::string_view inner)>& rewrite) {
  struct OpenElement {
    std::string_view name;
    std::string startTag;
    size_t innerStart;  // in `out`
  };
  const std::string_view source(text);
  std::string out;
  out.reserve(source.size() + source.size() / 4);
  std::vector<OpenElement> open;
  size_t copied = 0;
  size_t pos = 0;
  while (true) {
    const void* hit = pos < source.size() ? std::memchr(source.data() + pos, '<', source.size() - pos) : nullptr;
    if (!hit) break;
    const size_t lt = static_cast<size_t>(static_cast<const char*>(hit) - source.data());
    pos = lt + 1;
    for (const std::string_view name : names) {
      if (StartTagAt(source, lt, name)) {
        const size_t gt = source.find('>', lt);
        if (gt == std::string_view::npos) break;
        out.append(source, copied, lt - copied);
        const std::string_view tag = source.substr(lt, gt + 1 - lt);
        copied = pos = gt + 1;
        if (tag[tag.size() - 2] == '/') out += rewrite(name, tag, {});
        else open.push_back({name, std::string(tag), out.size()});
        break;
      }
      if (EndTagAt(source, lt, name)) {
        if (open.empty() || open.back().name != name) break;
        out.append(source, copied, lt - copied);
        copied = pos = lt + name.size() + 3;
        const OpenElement element = std::move(open.back());
        open.pop_back();
        std::string replacement = rewrite(name, element.startTag, std::string_view(out).substr(element.innerStart));
        out.resize(element.innerStart);
        out += replacement;
        break;
      }
    }
  }
  out.append(source, copied, source.size() - copied);
  // Elements never closed keep their start tags where they stood.
  for (auto it = open.rbegin(); it != open.rend(); ++it) out.insert(it->innerStart, it->startTag);
  text = std::move(out);
}

bool NextChild(std::string_view fragment, size_t& pos, Child& child) {
  if (pos >= fragment.size()) return false;
  const size_t start = pos;
  child = Child{};
  if (fragment[pos] != '<') {
    const size_t lt = std::min(fragment.find('<', pos), fragment.size());
    child.whole = child.inner = fragment.substr(start, lt - start);
    pos = lt;
    return true;
  }
  const size_t gt = fragment.find('>', pos);
  if (gt == std::string_view::npos) {
    child.whole = child.inner = fragment.substr(start);
    pos = fragment.size();
    return true;
  }
  const std::string_view tag = fragment.substr(start, gt + 1 - start);
  size_t nameEnd = 1;
  while (nameEnd < tag.size() && !EndsName(tag[nameEnd])) ++nameEnd;
  child.name = tag.substr(1, nameEnd - 1);
  child.startTag = tag;
  pos = gt + 1;
  if (tag[1] == '/' || tag[tag.size() - 2] == '/' || IsVoid(child.name)) {
    child.whole = tag;
    return true;
  }
  // The matching end tag, counting elements of the same name inside.
  size_t depth = 1;
  for (size_t lt = fragment.find('<', pos); lt != std::string_view::npos; lt = fragment.find('<', lt + 1)) {
    if (StartTagAt(fragment, lt, child.name)) {
      const size_t end = fragment.find('>', lt);
      if (end != std::string_view::npos && fragment[end - 1] != '/') ++depth;
    } else if (EndTagAt(fragment, lt, child.name) && --depth == 0) {
      child.inner = fragment.substr(pos, lt - pos);
      pos = lt + child.name.size() + 3;
      child.whole = fragment.substr(start, pos - start);
      return true;
    }
  }
  // Never closed: the start tag stands alone.
  child.whole = tag;
  return true;
}

std::string_view AttributeOf(std::string_view tag, std::string_view name) {
  for (size_t at = tag.find(name); at != std::string_view::npos; at = tag.find(name, at + 1)) {
    if (at == 0 || tag[at - 1] != ' ') continue;
    const size_t eq = at + name.size();
    if (eq + 1 >= tag.size() || tag[eq] != '=' || tag[eq + 1] != '"') continue;
    const size_t close = tag.find('"', eq + 2);
    if (close == std::string_view::npos) return {};
    return tag.substr(eq + 2, close - eq - 2);
  }
  return {};
}

std::string TextOf(std::string_view fragment) {
  std::string out;
  out.reserve(fragment.size());
  bool inTag = false;
  for (const char c : fragment) {
    if (c == '<') inTag = true;
    else if (c == '>') inTag = false;
    else if (!inTag) out += c;
  }
  return out;
}

}  // namespace pw::fb2
