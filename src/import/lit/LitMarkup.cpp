#include "import/lit/LitMarkup.h"

#include <algorithm>
#include <array>
#include <vector>

#include "common/Text.h"
#include "common/Utf8.h"

namespace pw::import::lit {

namespace {

// Tag numbers of pages, in the order of the names the format counts them by; empty where the
// number has no element.
constexpr std::array<std::string_view, 109> kHtmlTags = {
    "", "", "", "a", "acronym", "address", "applet", "area", "b", "base", "basefont", "bdo", "bgsound",
    "big", "blink", "blockquote", "body", "br", "button", "caption", "center", "cite", "code", "col",
    "colgroup", "", "", "dd", "del", "dfn", "dir", "div", "dl", "dt", "em", "embed", "fieldset", "font",
    "form", "frame", "frameset", "", "h1", "h2", "h3", "h4", "h5", "h6", "head", "hr", "html", "i",
    "iframe", "img", "input", "ins", "kbd", "label", "legend", "li", "link", "listing", "map", "marquee",
    "menu", "meta", "nextid", "nobr", "noembed", "noframes", "noscript", "object", "ol", "option", "p",
    "param", "plaintext", "pre", "q", "rp", "rt", "ruby", "s", "samp", "script", "select", "small",
    "span", "strike", "strong", "style", "sub", "sup", "table", "tbody", "tc", "td", "textarea", "tfoot",
    "th", "thead", "title", "tr", "tt", "u", "ul", "var", "wbr", "xmp"};

// Tag numbers of the package file.
constexpr std::array<std::string_view, 41> kPackageTags = {
    "", "package", "dc:Title", "dc:Creator", "", "", "", "", "", "", "", "", "", "", "", "",
    "manifest", "item", "spine", "itemref", "metadata", "dc-metadata", "dc:Subject", "dc:Description",
    "dc:Publisher", "dc:Contributor", "dc:Date", "dc:Type", "dc:Format", "dc:Identifier", "dc:Source",
    "dc:Language", "dc:Relation", "dc:Coverage", "dc:Rights", "x-metadata", "meta", "tours", "tour",
    "site", "guide"};

struct AttributeName {
  unsigned code;
  std::string_view name;
};

// Attributes every page element may carry.
constexpr AttributeName kCommonAttributes[] = {
    {0x8001, "name"}, {0x8046, "title"}, {0x804B, "style"}, {0x83EA, "class"}, {0x83EB, "id"},
    {0x83FE, "lang"}, {0x8BBD, "dir"}};

// Attributes of particular page elements.
constexpr AttributeName kElementAttributes[] = {
    {0x03EA, "http-equiv"}, {0x03EB, "content"}, {0x03EE, "href"}, {0x03EF, "rel"}, {0x03F1, "type"},
    {0x03EC, "src"},        {0x03ED, "alt"},     {0x0001, "href"}, {0x03F0, "rev"}};

// Attributes of the package file.
constexpr AttributeName kPackageAttributes[] = {
    {0x0001, "href"},       {0x0002, "%never-used"}, {0x0003, "%guid"},      {0x0004, "%minimum_level"},
    {0x0005, "%attr5"},     {0x0006, "id"},          {0x0007, "href"},       {0x0008, "media-type"},
    {0x0009, "fallback"},   {0x000A, "idref"},       {0x000B, "xmlns:dc"},   {0x000C, "xmlns:oebpackage"},
    {0x000D, "role"},       {0x000E, "file-as"},     {0x000F, "event"},      {0x0010, "scheme"},
    {0x0011, "title"},      {0x0012, "type"},        {0x0013, "unique-identifier"}, {0x0014, "name"},
    {0x0015, "content"},    {0x0016, "xml:lang"}};

constexpr char32_t kCustom = 0x8000;
constexpr char32_t kNumberFollows = 0xFFFF;

enum Flags { kOpen = 1, kClose = 2, kAtom = 16 };

bool IsVoid(std::string_view tag) {
  static constexpr std::string_view kVoid[] = {"area", "base", "basefont", "bgsound", "br", "col", "embed", "frame",
                                               "hr", "img", "input", "link", "meta", "param", "wbr", "item",
                                               "itemref", "reference"};
  for (const std::string_view v : kVoid)
    if (v == tag) return true;
  return false;
}

std::string NumberedName(std::string_view prefix, unsigned code) { return std::string(prefix) + std::to_string(code); }

class MarkupDecoder {
 public:
  MarkupDecoder(MarkupKind kind, const std::function<std::string(std::string_view)>& resolve, std::string& out)
      : kind_(kind), resolve_(resolve), out_(out) {}

  bool Run(std::string_view tokens) {
    size_t pos = 0;
    while (pos < tokens.size()) {
      if (state_ == State::Text) {
        // Runs of plain text go over whole; no byte of a multi-byte character is one of these.
        const size_t end = std::min(tokens.find_first_of(std::string_view("\0<>&\v", 5), pos), tokens.size());
        out_.append(tokens.substr(pos, end - pos));
        pos = end;
        if (pos == tokens.size()) break;
      }
      const size_t before = pos;
      const char32_t c = common::NextCodePoint(tokens, pos);
      if (pos == before) return false;
      if (!Step(c)) return false;
    }
    // A stream may end inside the last element; close what is open.
    while (!open_.empty()) {
      out_ += "</" + open_.back() + ">";
      open_.pop_back();
    }
    return state_ == State::Text || state_ == State::Flags;
  }

 private:
  enum class State { Text, Flags, Tag, Attribute, ValueLength, Value, Number, CustomTag, CustomAttribute };

  std::string TagName(char32_t code) const {
    if (kind_ == MarkupKind::Package) {
      if (code < kPackageTags.size() && !kPackageTags[code].empty()) return std::string(kPackageTags[code]);
      if (code == 0x29) return "reference";
      return NumberedName("tag", code);
    }
    if (code < kHtmlTags.size() && !kHtmlTags[code].empty()) return std::string(kHtmlTags[code]);
    return NumberedName("tag", code);
  }

  std::string AttributeNameOf(char32_t code) const {
    if (kind_ == MarkupKind::Package) {
      for (const AttributeName& a : kPackageAttributes)
        if (a.code == code) return std::string(a.name);
    } else {
      for (const AttributeName& a : kCommonAttributes)
        if (a.code == code) return std::string(a.name);
      if (tag_ == "img" && code == 0x03EC) return "src";
      if (tag_ == "a" && code == 0x0001) return "href";
      for (const AttributeName& a : kElementAttributes)
        if (a.code == code) return std::string(a.name);
    }
    return NumberedName("attr", code);
  }

  void AppendEscaped(char32_t c, bool inValue) {
    switch (c) {
      case '<': out_ += "&lt;"; break;
      case '>': out_ += "&gt;"; break;
      case '&': out_ += "&amp;"; break;
      case '"':
        if (inValue) {
          out_ += "&quot;";
          break;
        }
        [[fallthrough]];
      default: common::AppendUtf8(out_, c);
    }
  }

  // Writes the attribute whose value was collected. A value that starts with a control
  // character names a component (the character says how): it is given as the component's file
  // name, and an attribute of unknown number that holds one is the link or picture source.
  void EndValue() {
    std::string_view value = value_;
    const bool reference = !value.empty() && static_cast<unsigned char>(value.front()) < 0x09;
    std::string name = attribute_;
    if (reference && common::StartsWith(name, "attr")) name = tag_ == "img" ? "src" : "href";
    out_ += ' ' + name + "=\"";
    if (reference) {
      value.remove_prefix(1);
      const size_t hash = value.find('#');
      std::string resolved = resolve_ ? resolve_(value.substr(0, hash)) : std::string(value.substr(0, hash));
      if (hash != std::string_view::npos) resolved += value.substr(hash);
      value = resolved;
      for (const char c : resolved) AppendEscaped(static_cast<unsigned char>(c), true);
    } else {
      size_t pos = 0;
      while (pos < value.size()) AppendEscaped(common::NextCodePoint(value, pos), true);
    }
    out_ += '"';
    state_ = State::Attribute;
  }

  void StartValue(char32_t c) {
    value_.clear();
    if (c == kNumberFollows) {
      state_ = State::Number;
      return;
    }
    count_ = static_cast<long>(c) - 1;
    if (count_ <= 0) {
      EndValue();
      return;
    }
    state_ = State::Value;
  }

  bool Step(char32_t c) {
    switch (state_) {
      case State::Text:
        if (c == 0) {
          state_ = State::Flags;
        } else if (c == '\v') {
          out_ += '\n';
        } else {
          AppendEscaped(c, false);
        }
        return true;
      case State::Flags:
        if (c == 0) {
          state_ = State::Text;
          return true;
        }
        flags_ = static_cast<unsigned>(c);
        state_ = State::Tag;
        return true;
      case State::Tag:
        if (flags_ & kOpen) {
          out_ += '<';
          if (c == kCustom) {
            state_ = State::CustomTag;
            count_ = -1;
            value_.clear();
            return true;
          }
          tag_ = (flags_ & kAtom) ? NumberedName("atom", c) : TagName(c);
          out_ += tag_;
          state_ = State::Attribute;
          return true;
        }
        if (flags_ & kClose) {
          if (open_.empty()) return false;
          out_ += "</" + open_.back() + ">";
          open_.pop_back();
          state_ = c == 0 ? State::Text : State::Attribute;
          return c == 0;
        }
        return false;
      case State::Attribute:
        if (c == 0) {
          out_ += '>';
          if (!(flags_ & kClose) && !IsVoid(tag_)) {
            if (open_.size() > 1000) return false;
            open_.push_back(tag_);
          } else if (!IsVoid(tag_)) {
            out_ += "</" + tag_ + ">";
          }
          state_ = State::Text;
          return true;
        }
        if (c == kCustom) {
          state_ = State::CustomAttribute;
          count_ = -1;
          value_.clear();
          return true;
        }
        attribute_ = AttributeNameOf(c);
        state_ = State::ValueLength;
        return true;
      case State::ValueLength:
        StartValue(c);
        return true;
      case State::Number:
        out_ += ' ' + attribute_ + "=\"" + std::to_string(static_cast<long>(c) - 1) + '"';
        state_ = State::Attribute;
        return true;
      case State::Value:
        common::AppendUtf8(value_, c);
        if (--count_ == 0) EndValue();
        return true;
      case State::CustomTag:
      case State::CustomAttribute:
        if (count_ < 0) {
          count_ = static_cast<long>(c) - 1;
          if (count_ <= 0) return false;
          return true;
        }
        common::AppendUtf8(value_, c);
        if (--count_ > 0) return true;
        if (state_ == State::CustomTag) {
          tag_ = value_;
          out_ += tag_;
          state_ = State::Attribute;
        } else {
          attribute_ = value_;
          state_ = State::ValueLength;
        }
        return true;
    }
    return false;
  }

  MarkupKind kind_;
  const std::function<std::string(std::string_view)>& resolve_;
  std::string& out_;
  State state_ = State::Text;
  unsigned flags_ = 0;
  std::string tag_;
  std::vector<std::string> open_;
  long count_ = 0;
  std::string value_;
  std::string attribute_;
};

}  // namespace

bool DecodeLitMarkup(std::string_view tokens, MarkupKind kind, const std::function<std::string(std::string_view)>& resolve,
                     std::string& out) {
  out.clear();
  out.reserve(tokens.size() * 2);
  MarkupDecoder decoder(kind, resolve, out);
  return decoder.Run(tokens);
}

}  // namespace pw::import::lit
