// The bold and italic classes of a page's style sheet.
#include "common/Text.h"
#include "import/HtmlToBook.h"

namespace pw::import {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }

}  // namespace

std::vector<StyleClass> ReadStyleClasses(std::string_view css) {
  std::vector<StyleClass> classes;
  size_t pos = 0;
  while (pos < css.size()) {
    const size_t open = css.find('{', pos);
    if (open == std::string_view::npos) break;
    const size_t close = css.find('}', open);
    const std::string_view selectors = css.substr(pos, open - pos);
    const std::string body =
        common::AsciiLower(css.substr(open + 1, (close == std::string_view::npos ? css.size() : close) - open - 1));
    pos = close == std::string_view::npos ? css.size() : close + 1;
    std::string compact;
    for (const char c : body)
      if (!IsBlank(c)) compact.push_back(c);
    const auto value = [&](std::string_view property) -> std::string {
      const size_t at = compact.find(property);
      if (at == std::string::npos) return {};
      const size_t start = at + property.size();
      const size_t end = compact.find(';', start);
      return compact.substr(start, (end == std::string::npos ? compact.size() : end) - start);
    };
    const std::string weight = value("font-weight:");
    const std::string style = value("font-style:");
    const bool bold = weight.starts_with("bold") || weight == "600" || weight == "700" || weight == "800" ||
                      weight == "900" || weight.starts_with("bolder");
    const bool italic = style.starts_with("italic") || style.starts_with("oblique");
    if (!bold && !italic) continue;
    // Each selector of the list: the class after its last ".".
    size_t s = 0;
    while (s <= selectors.size()) {
      const size_t comma = selectors.find(',', s);
      const std::string_view selector =
          common::Trim(selectors.substr(s, (comma == std::string_view::npos ? selectors.size() : comma) - s));
      const size_t dot = selector.rfind('.');
      if (dot != std::string_view::npos && selector.find(' ') == std::string_view::npos) {
        std::string name(selector.substr(dot + 1));
        if (!name.empty()) classes.push_back({name, bold, italic});
      }
      if (comma == std::string_view::npos) break;
      s = comma + 1;
    }
  }
  return classes;
}

}  // namespace pw::import
