#include "fb2/Fb2Tidy.h"

#include <cstring>
#include <unordered_map>
#include <unordered_set>

#include "common/Limits.h"
#include "common/Text.h"
#include "common/TextScan.h"
#include "import/Entities.h"

namespace pw::fb2 {
namespace {

constexpr std::string_view kXLinkNamespace = "http://www.w3.org/1999/xlink";
constexpr std::string_view kFb2NamespaceStart = "http://www.gribuser.ru/xml/fictionbook/";

enum class Kind { Root, Block, Text, Inline, Empty, Binary, Skip };

struct ElementInfo {
  std::string_view name;  // as written in the regular form
  Kind kind;
  // Blocks: what loose text inside becomes: 'p' a paragraph, 'v' a verse line, 0 nothing.
  char wraps = 0;
};

constexpr ElementInfo kElements[] = {
    {"FictionBook", Kind::Root},
    {"body", Kind::Block, 'p'},
    {"section", Kind::Block, 'p'},
    {"epigraph", Kind::Block, 'p'},
    {"cite", Kind::Block, 'p'},
    {"annotation", Kind::Block, 'p'},
    {"history", Kind::Block, 'p'},
    {"title", Kind::Block, 'p'},
    {"poem", Kind::Block, 'v'},
    {"stanza", Kind::Block, 'v'},
    {"description", Kind::Block},
    {"title-info", Kind::Block},
    {"src-title-info", Kind::Block},
    {"document-info", Kind::Block},
    {"publish-info", Kind::Block},
    {"author", Kind::Block},
    {"translator", Kind::Block},
    {"coverpage", Kind::Block},
    {"p", Kind::Text},
    {"v", Kind::Text},
    {"subtitle", Kind::Text},
    {"text-author", Kind::Text},
    {"date", Kind::Text},
    {"genre", Kind::Text},
    {"first-name", Kind::Text},
    {"middle-name", Kind::Text},
    {"last-name", Kind::Text},
    {"nickname", Kind::Text},
    {"home-page", Kind::Text},
    {"email", Kind::Text},
    {"book-title", Kind::Text},
    {"keywords", Kind::Text},
    {"lang", Kind::Text},
    {"src-lang", Kind::Text},
    {"program-used", Kind::Text},
    {"src-url", Kind::Text},
    {"src-ocr", Kind::Text},
    {"id", Kind::Text},
    {"version", Kind::Text},
    {"book-name", Kind::Text},
    {"publisher", Kind::Text},
    {"city", Kind::Text},
    {"year", Kind::Text},
    {"isbn", Kind::Text},
    {"custom-info", Kind::Text},
    {"a", Kind::Inline},
    {"strong", Kind::Inline},
    {"emphasis", Kind::Inline},
    {"sup", Kind::Inline},
    {"sub", Kind::Inline},
    {"strikethrough", Kind::Inline},
    {"style", Kind::Inline},
    {"empty-line", Kind::Empty},
    {"image", Kind::Empty},
    {"sequence", Kind::Empty},
    {"binary", Kind::Binary},
    {"stylesheet", Kind::Skip},
};

const ElementInfo* Lookup(std::string_view lowerName) {
  static const std::unordered_map<std::string, const ElementInfo*> table = [] {
    std::unordered_map<std::string, const ElementInfo*> map;
    for (const ElementInfo& info : kElements) map.emplace(common::AsciiLower(info.name), &info);
    return map;
  }();
  const auto it = table.find(std::string(lowerName));
  return it == table.end() ? nullptr : it->second;
}

const ElementInfo& Info(std::string_view name) { return *Lookup(name); }

// Attributes the import reads; every other attribute is dropped.
bool KeepsAttribute(std::string_view element, std::string_view attribute) {
  if (attribute == "id") return element != "FictionBook";
  if (attribute == "l:href") return element == "a" || element == "image";
  if (attribute == "type") return element == "a";
  if (attribute == "name") return element == "body" || element == "sequence";
  if (attribute == "number") return element == "sequence";
  if (attribute == "content-type") return element == "binary";
  if (attribute == "value") return element == "date";
  if (attribute == "info-type") return element == "custom-info";
  return false;
}

// Description fields (and the date of a poem): paragraph-like only where they belong; anywhere
// else they lose their tags and keep their text.
bool IsField(const ElementInfo& info) {
  return info.kind == Kind::Text && info.name != "p" && info.name != "v" && info.name != "subtitle" &&
         info.name != "text-author";
}

inline bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
inline bool IsNameStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
         static_cast<unsigned char>(c) >= 0x80;
}
inline bool IsNameChar(char c) {
  return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}
inline bool IsBase64Char(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
}

struct Attribute {
  std::string name;  // resolved: "l:href", "id", ...
  std::string_view value;  // as written, references not yet read
};

struct Open {
  const ElementInfo* info;  // the element written
  std::string_view source;  // the name its end tag carries
  bool ghost = false;       // nothing was written for it, nor is for its end
  bool implicit = false;    // opened by the reader, not by the text
};

class Tidier {
 public:
  Tidier(std::string_view in, TidyReport& report)
      : in_(in), report_(report), entityBudget_(common::BookSizeLimit(in.size())) {}

  std::string Run() {
    out_.reserve(in_.size() + in_.size() / 16);
    const size_t n = in_.size();
    size_t pos = 0;
    while (pos < n) {
      if (in_[pos] != '<') {
        const void* lt = std::memchr(in_.data() + pos, '<', n - pos);
        const size_t end = lt ? static_cast<size_t>(static_cast<const char*>(lt) - in_.data()) : n;
        Text(in_.substr(pos, end - pos), false);
        pos = end;
        continue;
      }
      pos = Markup(pos);
    }
    while (!stack_.empty()) CloseTop(true);
    return std::move(out_);
  }

 private:
  // --- markup -------------------------------------------------------------------------------

  // Handles the markup starting with "<" at `pos`; returns where reading goes on.
  size_t Markup(size_t pos) {
    const std::string_view rest = in_.substr(pos);
    if (rest.starts_with("<!--")) {
      const size_t end = in_.find("-->", pos + 4);
      return end == std::string_view::npos ? pos + 4 : end + 3;
    }
    if (rest.starts_with("<![CDATA[")) {
      const size_t end = in_.find("]]>", pos + 9);
      const size_t stop = end == std::string_view::npos ? in_.size() : end;
      Text(in_.substr(pos + 9, stop - pos - 9), true);
      return end == std::string_view::npos ? in_.size() : end + 3;
    }
    if (rest.starts_with("<!")) return DocumentType(pos);
    if (rest.starts_with("<?")) {
      size_t end = in_.find("?>", pos + 2);
      if (end != std::string_view::npos) return end + 2;
      end = in_.find('>', pos + 2);
      return end == std::string_view::npos ? in_.size() : end + 1;
    }
    const bool closing = rest.size() > 1 && rest[1] == '/';
    const size_t nameStart = pos + (closing ? 2 : 1);
    if (nameStart >= in_.size() || !IsNameStart(in_[nameStart])) {
      Text(in_.substr(pos, 1), false);
      return pos + 1;
    }
    const size_t tagEnd = FindTagEnd(pos);
    if (tagEnd == std::string_view::npos) {
      // "<" followed by something that never becomes a tag: a "<" of the text.
      Text(in_.substr(pos, 1), false);
      return pos + 1;
    }
    size_t nameEnd = nameStart;
    while (nameEnd < tagEnd && IsNameChar(in_[nameEnd])) ++nameEnd;
    const std::string_view name = in_.substr(nameStart, nameEnd - nameStart);
    if (closing) {
      EndTag(name);
      return tagEnd + 1;
    }
    const bool selfClosing = in_[tagEnd - 1] == '/' && tagEnd - 1 >= nameEnd;
    const std::string_view attributes = in_.substr(nameEnd, tagEnd - nameEnd - (selfClosing ? 1 : 0));
    return StartTag(name, attributes, selfClosing, tagEnd + 1);
  }

  // The ">" that ends the tag at `pos`, quotes respected; npos when a "<" comes first.
  size_t FindTagEnd(size_t pos) const {
    char quote = 0;
    for (size_t i = pos + 1; i < in_.size(); ++i) {
      const char c = in_[i];
      if (c == '<') return std::string_view::npos;
      if (quote) {
        if (c == quote) quote = 0;
        continue;
      }
      if (c == '>') return i;
      if ((c == '"' || c == '\'') && i > pos + 1 && (in_[i - 1] == '=' || IsSpace(in_[i - 1]))) quote = c;
    }
    return std::string_view::npos;
  }

  // A document type: skipped, but the entities its internal subset declares are kept.
  size_t DocumentType(size_t pos) {
    const size_t gt = in_.find('>', pos);
    const size_t bracket = in_.find('[', pos);
    if (bracket == std::string_view::npos || (gt != std::string_view::npos && gt < bracket))
      return gt == std::string_view::npos ? in_.size() : gt + 1;
    const size_t close = in_.find(']', bracket);
    const std::string_view subset =
        in_.substr(bracket + 1, (close == std::string_view::npos ? in_.size() : close) - bracket - 1);
    for (size_t at = subset.find("<!ENTITY"); at != std::string_view::npos; at = subset.find("<!ENTITY", at + 8)) {
      size_t i = at + 8;
      while (i < subset.size() && IsSpace(subset[i])) ++i;
      if (i < subset.size() && subset[i] == '%') continue;  // parameter entities are not text
      const size_t nameStart = i;
      while (i < subset.size() && IsNameChar(subset[i])) ++i;
      const std::string_view name = subset.substr(nameStart, i - nameStart);
      while (i < subset.size() && IsSpace(subset[i])) ++i;
      if (name.empty() || i >= subset.size() || (subset[i] != '"' && subset[i] != '\'')) continue;
      const size_t valueEnd = subset.find(subset[i], i + 1);
      if (valueEnd == std::string_view::npos) continue;
      entities_.emplace(std::string(name), std::string(subset.substr(i + 1, valueEnd - i - 1)));
    }
    if (close == std::string_view::npos) return in_.size();
    const size_t end = in_.find('>', close);
    return end == std::string_view::npos ? in_.size() : end + 1;
  }

  // The element a name stands for: a prefix bound to the FictionBook namespace is dropped,
  // any other prefix makes the element unknown.
  const ElementInfo* Resolve(std::string_view name, std::string& lower) const {
    const size_t colon = name.find(':');
    if (colon != std::string_view::npos) {
      if (!fbPrefixes_.contains(std::string(name.substr(0, colon)))) return nullptr;
      name.remove_prefix(colon + 1);
    }
    lower = common::AsciiLower(name);
    return Lookup(lower);
  }

  std::vector<Attribute> ReadAttributes(std::string_view text) {
    std::vector<Attribute> raw;
    size_t i = 0;
    while (i < text.size()) {
      while (i < text.size() && (IsSpace(text[i]) || text[i] == '/')) ++i;
      const size_t nameStart = i;
      while (i < text.size() && IsNameChar(text[i])) ++i;
      if (i == nameStart) {
        ++i;  // a stray character between attributes
        continue;
      }
      Attribute attribute;
      attribute.name = common::AsciiLower(text.substr(nameStart, i - nameStart));
      while (i < text.size() && IsSpace(text[i])) ++i;
      if (i < text.size() && text[i] == '=') {
        ++i;
        while (i < text.size() && IsSpace(text[i])) ++i;
        if (i < text.size() && (text[i] == '"' || text[i] == '\'')) {
          const char quote = text[i];
          const size_t end = std::min(text.find(quote, i + 1), text.size());
          attribute.value = text.substr(i + 1, end - i - 1);
          i = end + 1;
        } else {
          const size_t valueStart = i;
          while (i < text.size() && !IsSpace(text[i])) ++i;
          attribute.value = text.substr(valueStart, i - valueStart);
        }
      }
      raw.push_back(std::move(attribute));
    }
    // Namespace declarations first: they may stand after the attributes that use them.
    for (const Attribute& attribute : raw) {
      if (!attribute.name.starts_with("xmlns:")) continue;
      const std::string prefix = attribute.name.substr(6);
      if (attribute.value == kXLinkNamespace) xlinkPrefixes_.insert(prefix);
      else if (attribute.value.starts_with(kFb2NamespaceStart)) fbPrefixes_.insert(prefix);
    }
    std::vector<Attribute> out;
    for (Attribute& attribute : raw) {
      if (attribute.name == "xmlns" || attribute.name.starts_with("xmlns:")) continue;
      const size_t colon = attribute.name.find(':');
      if (colon != std::string::npos) {
        if (!xlinkPrefixes_.contains(attribute.name.substr(0, colon))) continue;
        attribute.name = "l:" + attribute.name.substr(colon + 1);
      } else if (attribute.name == "href") {
        attribute.name = "l:href";
      }
      bool seen = false;
      for (const Attribute& kept : out) seen = seen || kept.name == attribute.name;
      if (!seen) out.push_back(std::move(attribute));
    }
    return out;
  }

  size_t StartTag(std::string_view name, std::string_view attributeText, bool selfClosing, size_t next) {
    std::vector<Attribute> attributes = ReadAttributes(attributeText);
    std::string lower;
    const ElementInfo* info = Resolve(name, lower);
    if (!info) {
      UnknownTag(lower);
      return next;
    }
    switch (info->kind) {
      case Kind::Skip: {
        if (selfClosing) return next;
        const size_t close = in_.find("</stylesheet", next);
        if (close == std::string_view::npos) return next;
        const size_t end = in_.find('>', close);
        return end == std::string_view::npos ? in_.size() : end + 1;
      }
      case Kind::Binary:
        return Binary(attributes, selfClosing, next);
      default:
        break;
    }
    if (info->kind != Kind::Empty && stack_.size() >= kTidyMaxDepth) {
      ++report_.tooDeep;
      return next;
    }
    switch (info->kind) {
      case Kind::Root:
        while (!stack_.empty()) CloseTop(true);
        out_ += "<FictionBook>";
        stack_.push_back({info, info->name});
        break;
      case Kind::Block:
        BeforeBlock(info->name);
        WriteStartTag(info->name, attributes, false);
        stack_.push_back({info, info->name});
        needSpace_ = justOpened_ = false;
        break;
      case Kind::Text:
        if (IsField(*info) && !FieldBelongs(*info)) return next;
        if (!OpenText(info, attributes)) {
          if (selfClosing) CloseTop(false);
          return next;
        }
        break;
      case Kind::Inline:
        EnsureTextContext();
        BeforeContent();
        WriteStartTag(info->name, attributes, false);
        stack_.push_back({info, info->name});
        break;
      case Kind::Empty:
        if (info->name != "sequence" && InTextContainer()) {
          if (info->name == "image") BeforeContent();
          else needSpace_ = false;
          blankWritten_ = false;
        } else {
          needSpace_ = justOpened_ = false;
        }
        WriteStartTag(info->name, attributes, true);
        return next;
      default:
        break;
    }
    if (selfClosing) CloseTop(false);
    return next;
  }

  void UnknownTag(std::string_view lower) {
    // Table cells and line breaks separate words even when their tags go; a table row is a
    // line of its own.
    if (lower == "td" || lower == "th" || lower == "br") needSpace_ = true;
    if (lower == "tr" || lower == "table") EndImplicitParagraph();
  }

  void EndImplicitParagraph() {
    const size_t i = InnermostNonInline();
    if (i >= stack_.size() || !stack_[i].implicit || stack_[i].info->kind != Kind::Text) return;
    while (stack_.size() > i) CloseTop(false);
  }

  void EndTag(std::string_view name) {
    std::string lower;
    const ElementInfo* info = Resolve(name, lower);
    if (!info) {
      UnknownTag(lower);
      return;
    }
    if (info->kind == Kind::Empty || info->kind == Kind::Binary || info->kind == Kind::Skip) return;
    size_t i = stack_.size();
    while (i > 0 && stack_[i - 1].source != info->name) --i;
    if (i == 0) {
      if (!IsField(*info)) ++report_.strayEndTags;
      return;
    }
    while (stack_.size() > i) CloseTop(true);
    CloseTop(false);
  }

  // Closes the innermost open element; `missing` when the text never closed it.
  void CloseTop(bool missing) {
    const Open open = stack_.back();
    stack_.pop_back();
    if (open.ghost) {
      needSpace_ = true;
      return;
    }
    if (missing && !open.implicit) ++report_.closedElements;
    out_ += "</";
    out_ += open.info->name;
    out_ += '>';
    if (open.info->kind != Kind::Inline) needSpace_ = false;
    justOpened_ = false;
  }

  // Index of the innermost open element that is not inline; stack size when there is none.
  size_t InnermostNonInline() const {
    size_t i = stack_.size();
    while (i > 0 && stack_[i - 1].info->kind == Kind::Inline) --i;
    return i == 0 ? stack_.size() : i - 1;
  }

  bool InTextContainer() const {
    const size_t i = InnermostNonInline();
    return i < stack_.size() && stack_[i].info->kind == Kind::Text;
  }

  bool FieldBelongs(const ElementInfo& field) const {
    const size_t i = InnermostNonInline();
    if (i >= stack_.size()) return false;
    const ElementInfo& block = *stack_[i].info;
    if (block.kind == Kind::Block && block.wraps == 0) return true;
    return field.name == "date" && block.name == "poem";
  }

  bool TopIs(std::string_view name) const { return !stack_.empty() && stack_.back().info->name == name; }

  // Before a block element: paragraphs and inline elements end; a section ends whatever is not
  // a section or body; a title, stanza or poem ends an open one of its kind.
  void BeforeBlock(std::string_view name) {
    while (!stack_.empty() && (stack_.back().info->kind == Kind::Inline || stack_.back().info->kind == Kind::Text))
      CloseTop(true);
    if (name == "section") {
      while (!stack_.empty() && !TopIs("section") && !TopIs("body") && stack_.back().info->kind != Kind::Root)
        CloseTop(true);
    } else if (name == "body" || name == "description") {
      while (!stack_.empty() && stack_.back().info->kind != Kind::Root) CloseTop(true);
    } else if (name == "title" || name == "stanza" || name == "poem") {
      if (TopIs(name)) CloseTop(true);
    }
  }

  void OpenImplicit(std::string_view name) {
    const ElementInfo& info = Info(name);
    out_ += '<';
    out_ += info.name;
    out_ += '>';
    stack_.push_back({&info, info.name, false, true});
    needSpace_ = false;
    justOpened_ = true;
  }

  // Opens a paragraph-like element; false when it is unwrapped (nothing written).
  bool OpenText(const ElementInfo* info, const std::vector<Attribute>& attributes) {
    std::string_view source = info->name;
    const size_t inner = InnermostNonInline();
    if (inner < stack_.size() && stack_[inner].info->kind == Kind::Text) {
      if (info->name == "p" && stack_[inner].source != "p" && !stack_[inner].implicit) {
        // A paragraph inside a subtitle, verse line or field: its text belongs to the outer one.
        stack_.push_back({info, "p", true});
        needSpace_ = true;
        return false;
      }
      while (stack_.size() > inner) CloseTop(true);
    }
    if (info->name == "p" || info->name == "v") {
      const std::string_view block = stack_.empty() ? std::string_view() : stack_.back().info->name;
      if (block == "poem") {
        OpenImplicit("stanza");
        info = &Info("v");
      } else if (block == "stanza") {
        info = &Info("v");
      }
    }
    WriteStartTag(info->name, attributes, false);
    stack_.push_back({info, source});
    needSpace_ = false;
    justOpened_ = true;
    return true;
  }

  // Loose text or an inline element outside any paragraph: a paragraph (or verse line) opens.
  void EnsureTextContext() {
    const size_t i = InnermostNonInline();
    if (i >= stack_.size()) return;
    const ElementInfo& block = *stack_[i].info;
    if (block.kind != Kind::Block || block.wraps == 0) return;
    if (block.name == "poem") OpenImplicit("stanza");
    OpenImplicit(block.wraps == 'v' ? "v" : "p");
  }

  // A pending blank is written before content, except at the start of a paragraph.
  void BeforeContent() {
    if (needSpace_ && !justOpened_ && !blankWritten_) {
      out_ += ' ';
      blankWritten_ = true;
    }
    needSpace_ = justOpened_ = false;
  }

  void WriteStartTag(std::string_view name, const std::vector<Attribute>& attributes, bool empty) {
    out_ += '<';
    out_ += name;
    for (const Attribute& attribute : attributes) {
      if (!KeepsAttribute(name, attribute.name)) continue;
      if (attribute.name == "id") {
        const std::string value(common::Trim(attribute.value));
        if (value.empty()) continue;
        if (!ids_.insert(value).second) {
          ++report_.duplicateIds;
          continue;
        }
      }
      out_ += ' ';
      out_ += attribute.name;
      out_ += "=\"";
      Value(attribute.value);
      out_ += '"';
    }
    out_ += empty ? "/>" : ">";
  }

  size_t Binary(const std::vector<Attribute>& attributes, bool selfClosing, size_t next) {
    std::string_view content;
    size_t after = next;
    if (!selfClosing) {
      const size_t close = in_.find("</binary", next);
      if (close == std::string_view::npos) {
        const size_t lt = in_.find('<', next);
        after = lt == std::string_view::npos ? in_.size() : lt;
        content = in_.substr(next, after - next);
      } else {
        content = in_.substr(next, close - next);
        const size_t end = in_.find('>', close);
        after = end == std::string_view::npos ? in_.size() : end + 1;
      }
    }
    std::string_view id;
    std::string_view type;
    for (const Attribute& attribute : attributes) {
      if (attribute.name == "id") id = common::Trim(attribute.value);
      if (attribute.name == "content-type") type = attribute.value;
    }
    if (id.empty()) {
      ++report_.binariesWithoutId;
      return after;
    }
    if (!binaryIds_.insert(std::string(id)).second) {
      ++report_.duplicateBinaries;
      return after;
    }
    std::string data;
    data.reserve(content.size());
    bool damaged = false;
    size_t padding = 0;
    for (const char c : content) {
      if (IsBase64Char(c)) {
        if (padding) damaged = true;  // data after padding
        data += c;
      } else if (c == '=') {
        ++padding;
      } else if (!IsSpace(c)) {
        damaged = true;
      }
    }
    size_t needed = 0;
    switch (data.size() % 4) {
      case 1: data.pop_back(); damaged = true; break;
      case 2: needed = 2; break;
      case 3: needed = 1; break;
      default: break;
    }
    if (padding != needed) damaged = true;
    if (damaged) ++report_.repairedBinaries;
    data.append(needed, '=');
    out_ += "<binary id=\"";
    Value(id);
    out_ += "\" content-type=\"";
    Value(type);
    out_ += "\">";
    out_ += data;
    out_ += "</binary>";
    return after;
  }

  // --- text -----------------------------------------------------------------------------------

  // Text between tags. `literal` text (CDATA) has no references.
  void Text(std::string_view text, bool literal) {
    size_t i = 0;
    bool placed = false;  // the context for content has been made for this run
    while (i < text.size()) {
      const char c = text[i];
      if (IsSpace(c)) {
        needSpace_ = true;
        ++i;
        continue;
      }
      if (static_cast<unsigned char>(c) < 0x20) {
        ++i;
        continue;
      }
      if (!placed) {
        EnsureTextContext();
        placed = true;
      }
      BeforeContent();
      const size_t before = out_.size();
      if (c == '&' && !literal) {
        i += Reference(text, i, false);
      } else {
        Char(c, false);
        ++i;
      }
      if (out_.size() != before) blankWritten_ = false;
    }
  }

  void Char(char c, bool inValue) {
    switch (c) {
      case '&': out_ += "&amp;"; break;
      case '<': out_ += "&lt;"; break;
      case '>': out_ += "&gt;"; break;
      case '"':
        if (inValue) out_ += "&quot;";
        else out_ += c;
        break;
      default: out_ += c;
    }
  }

  void Value(std::string_view value) {
    for (size_t i = 0; i < value.size();) {
      const char c = value[i];
      if (c == '&') {
        i += Reference(value, i, true);
        continue;
      }
      if (IsSpace(c)) out_ += ' ';
      else if (static_cast<unsigned char>(c) >= 0x20) Char(c, true);
      ++i;
    }
  }

  // Reads the reference at text[at] ('&') and writes its regular form; returns its length.
  size_t Reference(std::string_view text, size_t at, bool inValue) {
    const size_t semicolon = common::FindWithin(text, ';', at + 1, 40);
    if (semicolon == std::string_view::npos) {
      out_ += "&amp;";
      return 1;
    }
    const std::string_view body = text.substr(at + 1, semicolon - at - 1);
    const size_t length = semicolon - at + 1;
    if (!body.empty() && body[0] == '#') {
      char32_t code = 0;
      if (!ParseNumber(body.substr(1), code)) {
        out_ += "&amp;";
        return 1;
      }
      if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF) || code == 0xFFFE || code == 0xFFFF ||
          (code < 0x20 && code != '\t' && code != '\n' && code != '\r'))
        return length;  // not a character: dropped
      if (code == '&') out_ += "&amp;";
      else if (code == '<') out_ += "&lt;";
      else if (code == '>') out_ += "&gt;";
      else out_.append(text.substr(at, length));
      return length;
    }
    for (const char c : body) {
      if (!IsNameChar(c)) {
        out_ += "&amp;";
        return 1;
      }
    }
    if (body.empty()) {
      out_ += "&amp;";
      return 1;
    }
    if (body == "amp" || body == "lt" || body == "gt") {
      out_.append(text.substr(at, length));
    } else if (body == "quot") {
      out_ += inValue ? "&quot;" : "\"";
    } else if (body == "apos") {
      out_ += '\'';
    } else if (const auto it = entities_.find(std::string(body)); it != entities_.end()) {
      // A small file may declare a large entity and use it many times: the expansions
      // together may grow the text only up to the book size limit.
      if (report_.entitiesOverLimit || it->second.size() > entityBudget_ - entityBytes_) {
        ++report_.entitiesOverLimit;
        out_ += "&amp;";
        out_.append(body);
        out_ += ';';
        return length;
      }
      entityBytes_ += it->second.size();
      for (const char c : it->second) Char(c, inValue);
    } else if (IsHtmlEntity(text.substr(at, length))) {
      out_.append(text.substr(at, length));
    } else {
      ++report_.undeclaredEntities;
      if (report_.undeclaredNames.size() < 8) {
        const std::string name(text.substr(at, length));
        bool known = false;
        for (const std::string& seen : report_.undeclaredNames) known = known || seen == name;
        if (!known) report_.undeclaredNames.push_back(name);
      }
      out_ += "&amp;";
      out_.append(body);
      out_ += ';';
    }
    return length;
  }

  static bool ParseNumber(std::string_view digits, char32_t& code) {
    int base = 10;
    if (!digits.empty() && (digits[0] == 'x' || digits[0] == 'X')) {
      base = 16;
      digits.remove_prefix(1);
    }
    if (digits.empty() || digits.size() > 8) return false;
    code = 0;
    for (const char c : digits) {
      int value;
      if (c >= '0' && c <= '9') value = c - '0';
      else if (base == 16 && c >= 'a' && c <= 'f') value = c - 'a' + 10;
      else if (base == 16 && c >= 'A' && c <= 'F') value = c - 'A' + 10;
      else return false;
      code = code * base + value;
    }
    return true;
  }

  // A named reference that the entity replacement of the import knows (and the two that the
  // book keeps as references).
  bool IsHtmlEntity(std::string_view reference) {
    if (reference == "&nbsp;" || reference == "&shy;") return true;
    const auto it = htmlEntities_.find(std::string(reference));
    if (it != htmlEntities_.end()) return it->second;
    const bool known = import::ReplaceHtmlEntitiesUtf8(reference) != reference;
    htmlEntities_.emplace(std::string(reference), known);
    return known;
  }

  std::string_view in_;
  TidyReport& report_;
  std::string out_;
  std::vector<Open> stack_;
  bool needSpace_ = false;   // white space seen since the last content
  bool justOpened_ = false;  // a paragraph-like element has just started
  bool blankWritten_ = false;  // a blank was written and no character since (only tags)
  std::unordered_set<std::string> xlinkPrefixes_{"xlink", "l"};
  std::unordered_set<std::string> fbPrefixes_;
  std::unordered_set<std::string> ids_;
  std::unordered_set<std::string> binaryIds_;
  std::unordered_map<std::string, std::string> entities_;
  std::unordered_map<std::string, bool> htmlEntities_;
  size_t entityBudget_;
  size_t entityBytes_ = 0;  // bytes of entity text written so far
};

}  // namespace

std::string TidyFb2(std::string_view text, TidyReport& report) {
  report = TidyReport{};
  return Tidier(text, report).Run();
}

}  // namespace pw::fb2
