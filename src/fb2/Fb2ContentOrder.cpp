#include "fb2/Fb2ContentOrder.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pw::fb2 {
namespace {

constexpr int kMany = -1;

// One step of a content model: a child named in `names`, at least `min` and at most `max` times.
struct Stage {
  std::vector<std::string_view> names;
  int min = 0;
  int max = 1;

  bool Has(std::string_view name) const {
    for (std::string_view n : names)
      if (n == name) return true;
    return false;
  }
  std::string List() const {
    std::string out;
    for (std::string_view n : names) {
      if (!out.empty()) out += n == names.back() ? " or " : ", ";
      out += n;
    }
    return out;
  }
};

using Model = std::span<const Stage>;

const std::vector<std::string_view> kInline = {"strong", "emphasis", "style", "a",    "strikethrough",
                                               "sub",    "sup",      "code",  "image"};
// Inside a link: no other link.
const std::vector<std::string_view> kLinkInline = {"strong", "emphasis", "style", "strikethrough",
                                                   "sub",    "sup",      "code",  "image"};
const std::vector<std::string_view> kText = {"p", "image", "poem", "subtitle", "cite", "empty-line", "table"};

const Stage kSectionHead[] = {{{"title"}}, {{"epigraph"}, 0, kMany}, {{"image"}}, {{"annotation"}}};
const Stage kBody[] = {{{"image"}}, {{"title"}}, {{"epigraph"}, 0, kMany}, {{"section"}, 1, kMany}};
const Stage kPoem[] = {{{"title"}},
                       {{"epigraph"}, 0, kMany},
                       {{"subtitle", "stanza"}, 1, kMany},
                       {{"text-author"}, 0, kMany},
                       {{"date"}}};
const Stage kStanza[] = {{{"title"}}, {{"subtitle"}}, {{"v"}, 1, kMany}};
const Stage kCite[] = {{{"p", "poem", "empty-line", "subtitle", "table"}, 0, kMany}, {{"text-author"}, 0, kMany}};
const Stage kEpigraph[] = {{{"p", "poem", "cite", "empty-line"}, 0, kMany}, {{"text-author"}, 0, kMany}};
const Stage kTitle[] = {{{"p", "empty-line"}, 0, kMany}};
const Stage kAnnotation[] = {{{"p", "poem", "cite", "subtitle", "table", "empty-line"}, 0, kMany}};
const Stage kInlineModel[] = {{kInline, 0, kMany}};
const Stage kLinkModel[] = {{kLinkInline, 0, kMany}};
const Stage kTable[] = {{{"tr"}, 1, kMany}};
const Stage kRow[] = {{{"th", "td"}, 1, kMany}};
const Stage kCoverpage[] = {{{"image"}, 1, kMany}};
const Stage kRoot[] = {{{"stylesheet"}, 0, kMany}, {{"description"}, 1, 1}, {{"body"}, 1, 2}, {{"binary"}, 0, kMany}};
const Stage kDescription[] = {{{"title-info"}, 1, 1}, {{"src-title-info"}},     {{"document-info"}, 1, 1},
                              {{"publish-info"}},     {{"custom-info"}, 0, kMany}, {{"output"}, 0, 2}};
const Stage kTitleInfo[] = {{{"genre"}, 1, kMany}, {{"author"}, 1, kMany},   {{"book-title"}, 1, 1},
                            {{"annotation"}},      {{"keywords"}},           {{"date"}},
                            {{"coverpage"}},       {{"lang"}, 1, 1},         {{"src-lang"}},
                            {{"translator"}, 0, kMany}, {{"sequence"}, 0, kMany}};
const Stage kDocumentInfo[] = {{{"author"}, 1, kMany}, {{"program-used"}}, {{"date"}, 1, 1},   {{"src-url"}, 0, kMany},
                               {{"src-ocr"}},          {{"id"}, 1, 1},     {{"version"}, 1, 1}, {{"history"}},
                               {{"publisher"}, 0, kMany}};
const Stage kPublishInfo[] = {{{"book-name"}}, {{"publisher"}}, {{"city"}}, {{"year"}}, {{"isbn"}}, {{"sequence"}, 0, kMany}};
const Stage kFullName[] = {{{"first-name"}, 1, 1}, {{"middle-name"}}, {{"last-name"}, 1, 1}, {{"nickname"}},
                           {{"home-page"}, 0, kMany}, {{"email"}, 0, kMany}, {{"id"}}};
const Stage kNickname[] = {{{"nickname"}, 1, 1}, {{"home-page"}, 0, kMany}, {{"email"}, 0, kMany}, {{"id"}}};
const Stage kSequence[] = {{{"sequence"}, 0, kMany}};
const Stage kNothing[] = {{{}, 0, 0}};

std::string_view NameOf(const xmlNode* node) { return reinterpret_cast<const char*>(node->name); }

std::vector<const xmlNode*> ElementChildren(const xmlNode* element) {
  std::vector<const xmlNode*> children;
  for (const xmlNode* child = element->children; child; child = child->next)
    if (child->type == XML_ELEMENT_NODE) children.push_back(child);
  return children;
}

class OrderCheck {
 public:
  OrderCheck(const xmlNode* element, std::vector<Fb2Finding>& findings) : element_(element), findings_(findings) {}

  // Runs `children` through `model`, one finding for each child out of place and for each
  // required child missing.
  void Run(Model model, std::span<const xmlNode* const> children) {
    size_t stage = 0;
    int count = 0;
    for (const xmlNode* child : children) {
      const std::string_view name = NameOf(child);
      size_t at = stage;
      int seen = count;
      while (at < model.size() && !(model[at].Has(name) && (model[at].max == kMany || seen < model[at].max))) {
        ++at;
        seen = 0;
      }
      if (at == model.size()) {
        Misplaced(child, name, model, stage);
        continue;
      }
      for (size_t skipped = stage; skipped < at; ++skipped) {
        const int had = skipped == stage ? count : 0;
        if (had >= model[skipped].min) continue;
        Add(child, std::string(name) + " in " + Parent() + " comes before the required " + model[skipped].List());
      }
      stage = at;
      count = seen + 1;
    }
    Finish(model, stage, count);
  }

  std::string Parent() const { return std::string(NameOf(element_)); }

  void Add(const xmlNode* node, std::string message) {
    findings_.push_back({xmlGetLineNo(node), std::move(message), std::string(NameOf(node))});
  }

 private:
  void Misplaced(const xmlNode* child, std::string_view name, Model model, size_t stage) {
    for (size_t at = 0; at < model.size(); ++at) {
      if (!model[at].Has(name)) continue;
      Add(child, at == stage ? "one " + std::string(name) + " too many in " + Parent()
                             : std::string(name) + " is out of place in " + Parent());
      return;
    }
    Add(child, std::string(name) + " is not allowed in " + Parent());
  }

  void Finish(Model model, size_t stage, int count) {
    for (size_t at = stage; at < model.size(); ++at) {
      const int had = at == stage ? count : 0;
      if (had < model[at].min) Add(element_, Parent() + " lacks " + model[at].List());
    }
  }

  const xmlNode* element_;
  std::vector<Fb2Finding>& findings_;
};

// A section is empty, or holds its head (title, epigraphs, picture, annotation, in this order)
// and then either sub-sections only or text only, the text never starting with a picture.
void CheckSection(const xmlNode* section, std::vector<Fb2Finding>& findings) {
  const auto children = ElementChildren(section);
  if (children.empty()) return;
  OrderCheck check(section, findings);
  // The head: the longest run of children that fits it in order.
  size_t next = 0, stage = 0;
  bool headPicture = false;
  for (int count = 0; next < children.size(); ++next) {
    const std::string_view name = NameOf(children[next]);
    size_t at = stage;
    int seen = count;
    while (at < std::size(kSectionHead) &&
           !(kSectionHead[at].Has(name) && (kSectionHead[at].max == kMany || seen < kSectionHead[at].max))) {
      ++at;
      seen = 0;
    }
    if (at == std::size(kSectionHead)) break;
    headPicture |= name == "image";
    stage = at;
    count = seen + 1;
  }
  if (next == children.size()) {
    check.Add(section, "section holds no text: after its " + std::string(NameOf(children.back())) +
                           " it needs a paragraph, poem, subtitle, cite, empty-line, table or sub-section");
    return;
  }
  static const Stage head{{"title", "epigraph", "image", "annotation"}};
  static const Stage text{kText};
  const bool subSections = NameOf(children[next]) == "section";
  // Mixed text and sub-sections are told where one kind gives way to the other.
  bool sectionsBefore = subSections, started = false;
  for (; next < children.size(); ++next) {
    const xmlNode* child = children[next];
    const std::string_view name = NameOf(child);
    const bool isSection = name == "section";
    if (isSection || text.Has(name)) {
      if (isSection != sectionsBefore) check.Add(child, "section holds both text and sub-sections");
      sectionsBefore = isSection;
    }
    if (isSection || (subSections && text.Has(name))) {
    } else if (!text.Has(name)) {
      check.Add(child, std::string(name) + (head.Has(name) ? " is out of place in section" : " is not allowed in section"));
    } else if (!started && name == "image") {
      check.Add(child, headPicture ? "section starts with two pictures"
                                   : "section text starts with a picture: a paragraph, poem, subtitle, cite, "
                                     "empty-line or table must come first");
    } else {
      started = true;
    }
  }
}

// True inside a link: styles there take the link's rules, at any depth.
bool LinkAncestor(const xmlNode* node) {
  for (node = node->parent; node && node->type == XML_ELEMENT_NODE; node = node->parent)
    if (NameOf(node) == "a") return true;
  return false;
}

// The name of the element `levels` steps up from `node`; empty above the root.
std::string_view AncestorName(const xmlNode* node, int levels) {
  for (; node && levels > 0; --levels) node = node->parent;
  return node && node->type == XML_ELEMENT_NODE ? NameOf(node) : std::string_view();
}

}  // namespace

void CheckContentOrder(const xmlNode* element, std::vector<Fb2Finding>& findings) {
  const std::string_view name = NameOf(element);
  const std::string_view parent = AncestorName(element, 1);
  if (name == "section") {
    CheckSection(element, findings);
    return;
  }
  Model model;
  if (name == "FictionBook") model = kRoot;
  else if (name == "description") model = kDescription;
  else if (name == "title-info" || name == "src-title-info") model = kTitleInfo;
  else if (name == "document-info") model = kDocumentInfo;
  else if (name == "publish-info") model = kPublishInfo;
  else if (name == "author" || name == "translator" || (name == "publisher" && parent == "document-info")) {
    const auto children = ElementChildren(element);
    model = !children.empty() && NameOf(children.front()) == "nickname" ? Model(kNickname) : Model(kFullName);
  } else if (name == "sequence" && (parent == "title-info" || parent == "src-title-info" || parent == "publish-info" ||
                                    parent == "sequence"))
    model = kSequence;
  else if (name == "coverpage") model = kCoverpage;
  else if (name == "body") model = kBody;
  else if (name == "title") model = kTitle;
  else if (name == "epigraph") model = kEpigraph;
  else if (name == "annotation" || name == "history") model = kAnnotation;
  else if (name == "cite") model = kCite;
  else if (name == "poem") model = kPoem;
  else if (name == "stanza") model = kStanza;
  else if (name == "table") model = kTable;
  else if (name == "tr") model = kRow;
  else if (name != "image" && (name == "a" || parent == "a" || LinkAncestor(element)))
    model = kLinkModel;
  else if (name == "p" || name == "v" || name == "subtitle" || name == "text-author" || name == "td" || name == "th" ||
           name == "strong" || name == "emphasis" || name == "style" || name == "strikethrough" || name == "sub" ||
           name == "sup" || name == "code")
    model = kInlineModel;
  else if (name == "image" || name == "binary" || name == "part") model = kNothing;
  else return;
  OrderCheck(element, findings).Run(model, ElementChildren(element));
}

}  // namespace pw::fb2
