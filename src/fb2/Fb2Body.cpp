#include "fb2/Fb2Body.h"

#include <memory>
#include <unordered_map>
#include <unordered_set>

#include <unicode/uchar.h>

#include "common/Utf8.h"

namespace pw::fb2 {

namespace {

// ---------------------------------------------------------------------------------------------
// Ids and links

class IdTable {
 public:
  // Registers an element's anchor name; returns the valid id it is written with, or empty when
  // the name already names an earlier element.
  std::string Define(const std::string& raw) {
    if (raw.empty() || byRaw_.contains(raw)) return {};
    std::string id = MakeValidId(raw);
    if (used_.contains(id)) {
      for (int n = 2;; ++n) {
        const std::string candidate = id + "_" + std::to_string(n);
        if (!used_.contains(candidate)) {
          id = candidate;
          break;
        }
      }
    }
    used_.insert(id);
    byRaw_.emplace(raw, id);
    return id;
  }

  void Alias(const std::string& alias, const std::string& raw) {
    if (!byRaw_.contains(alias)) aliases_.emplace(alias, raw);
  }

  // The id a link to `raw` leads to; empty when nothing of that name is in the book.
  std::string Resolve(const std::string& raw) const {
    auto it = byRaw_.find(raw);
    if (it == byRaw_.end()) {
      const auto alias = aliases_.find(raw);
      if (alias == aliases_.end()) return {};
      it = byRaw_.find(alias->second);
      if (it == byRaw_.end()) return {};
    }
    return emitted_.contains(it->second) ? it->second : std::string();
  }

  void Emitted(const std::string& id) { emitted_.insert(id); }

 private:
  std::unordered_map<std::string, std::string> byRaw_;
  std::unordered_map<std::string, std::string> aliases_;
  std::unordered_set<std::string> used_;
  std::unordered_set<std::string> emitted_;
};

// ---------------------------------------------------------------------------------------------
// The section tree

struct Section;

struct Node {
  Fb2Block block;
  std::unique_ptr<Section> child;  // set for a nested section; `block` unused then
};

struct Section {
  std::string id;
  std::string image;  // of the body only: the picture above its title
  std::vector<Fb2Line> title;
  std::vector<Fb2Block> epigraphs;
  std::vector<Node> nodes;

  bool HasTitle() const { return !title.empty(); }
  // Nothing but empty lines after the title and epigraphs.
  bool NoContent() const {
    for (const auto& node : nodes)
      if (node.child || node.block.kind != BlockKind::EmptyLine) return false;
    return true;
  }
  bool Empty() const { return !HasTitle() && epigraphs.empty() && NoContent(); }
};

std::vector<Fb2Line> TextLines(std::vector<Fb2Line>& lines) {
  std::vector<Fb2Line> out;
  for (auto& line : lines)
    if (!line.empty && !line.xml.empty()) out.push_back(std::move(line));
  return out;
}

// Gives the first title line the title block's own id.
void CarryBlockId(Fb2Block& block, std::vector<Fb2Line>& lines) {
  if (!block.id.empty() && !lines.empty() && lines.front().id.empty()) lines.front().id = block.id;
}

// A text author standing on its own belongs to the cite, poem or epigraph right before it;
// with none there it is an ordinary paragraph.
void AddTextAuthor(Section& section, Fb2Block block) {
  Fb2Block* host = nullptr;
  for (auto it = section.nodes.rbegin(); it != section.nodes.rend(); ++it) {
    if (it->child) break;
    if (it->block.kind == BlockKind::EmptyLine) continue;
    if (it->block.kind == BlockKind::Cite || it->block.kind == BlockKind::Poem || it->block.kind == BlockKind::Epigraph)
      host = &it->block;
    break;
  }
  if (!host && section.NoContent() && !section.epigraphs.empty()) host = &section.epigraphs.back();
  if (host) {
    for (auto& line : TextLines(block.lines)) host->authors.push_back(std::move(line));
    return;
  }
  block.kind = BlockKind::Paragraph;
  section.nodes.push_back(Node{std::move(block), nullptr});
}

// Puts a title into `section` when it can stand there: at the start, or merged with a title
// that nothing follows yet. Returns false when the section already has content.
bool PlaceTitle(Section& section, Fb2Block& block) {
  std::vector<Fb2Line> lines = TextLines(block.lines);
  CarryBlockId(block, lines);
  if (lines.empty()) return true;  // a title with nothing in it is dropped
  if (!section.NoContent() || !section.epigraphs.empty()) {
    block.lines = std::move(lines);
    return false;
  }
  if (section.HasTitle()) section.title.push_back(Fb2Line{{}, {}, true});
  for (auto& line : lines) section.title.push_back(std::move(line));
  section.nodes.clear();  // the empty lines between merged titles
  return true;
}

// Sections from titles: every title starts a new top-level section; what stands before the
// first title is a section of its own. An epigraph after content starts a new section too.
std::vector<std::unique_ptr<Section>> SectionsFromTitles(std::vector<Fb2Block>& blocks) {
  std::vector<std::unique_ptr<Section>> sections;
  sections.push_back(std::make_unique<Section>());
  for (auto& block : blocks) {
    Section* current = sections.back().get();
    switch (block.kind) {
      case BlockKind::Title:
        if (!PlaceTitle(*current, block)) {
          sections.push_back(std::make_unique<Section>());
          PlaceTitle(*sections.back(), block);
        }
        break;
      case BlockKind::Epigraph:
        if (!current->NoContent()) {
          sections.push_back(std::make_unique<Section>());
          current = sections.back().get();
        }
        current->nodes.clear();
        current->epigraphs.push_back(std::move(block));
        break;
      case BlockKind::TextAuthor:
        AddTextAuthor(*current, std::move(block));
        break;
      case BlockKind::SectionStart:
      case BlockKind::SectionEnd:
      case BlockKind::Annotation:
        break;
      default:
        current->nodes.push_back(Node{std::move(block), nullptr});
        break;
    }
  }
  return sections;
}

// The epigraphs that stand right before `poem` in the section's text (empty lines between them
// aside) become the poem's own: the book shows a poem's epigraph above its verse.
void TakeEpigraphsBefore(Section& section, Fb2Block& poem) {
  size_t first = section.nodes.size();
  while (first > 0 && !section.nodes[first - 1].child &&
         (section.nodes[first - 1].block.kind == BlockKind::Epigraph ||
          section.nodes[first - 1].block.kind == BlockKind::EmptyLine))
    --first;
  bool any = false;
  for (size_t i = first; i < section.nodes.size(); ++i) {
    if (section.nodes[i].block.kind != BlockKind::Epigraph) continue;
    poem.epigraphs.push_back(std::move(section.nodes[i].block));
    any = true;
  }
  if (any) section.nodes.resize(first);
}

// A picture that is all the body holds before its epigraph is the body's own picture, above
// its title, as a book that opens with a picture, a title and an epigraph has it.
void TakeBodyPicture(Section& body) {
  const Node* picture = nullptr;
  for (const auto& node : body.nodes) {
    if (node.child || (node.block.kind != BlockKind::EmptyLine && node.block.kind != BlockKind::Image)) return;
    if (node.block.kind != BlockKind::Image) continue;
    if (picture) return;
    picture = &node;
  }
  if (!picture || !body.image.empty()) return;
  body.image = picture->block.image;
  body.nodes.clear();
}

// Sections from the book's own marks, nested as marked. A title that does not open its
// section is written as a subtitle, an epigraph after content as a cite.
std::unique_ptr<Section> SectionsFromMarks(std::vector<Fb2Block>& blocks) {
  auto root = std::make_unique<Section>();
  std::vector<Section*> stack{root.get()};
  for (auto& block : blocks) {
    Section* current = stack.back();
    switch (block.kind) {
      case BlockKind::SectionStart: {
        Node node;
        node.child = std::make_unique<Section>();
        Section* child = node.child.get();
        current->nodes.push_back(std::move(node));
        stack.push_back(child);
        break;
      }
      case BlockKind::SectionEnd:
        if (stack.size() > 1) stack.pop_back();
        break;
      case BlockKind::Title:
        if (current == root.get() || !PlaceTitle(*current, block)) {
          if (current == root.get() && current->nodes.empty() && !current->HasTitle()) {
            // A title before the first mark opens the section that holds what precedes it.
            Node node;
            node.child = std::make_unique<Section>();
            PlaceTitle(*node.child, block);
            Section* child = node.child.get();
            current->nodes.push_back(std::move(node));
            stack.push_back(child);
            break;
          }
          block.kind = BlockKind::Subtitle;
          current->nodes.push_back(Node{std::move(block), nullptr});
        }
        break;
      case BlockKind::Epigraph:
        if (current == root.get()) TakeBodyPicture(*root);
        if (current->NoContent()) {
          // At the start of a section, or of the body before its first section.
          current->nodes.clear();
          current->epigraphs.push_back(std::move(block));
        } else {
          // Elsewhere it is written as a cite, unless a poem follows that can take it.
          current->nodes.push_back(Node{std::move(block), nullptr});
        }
        break;
      case BlockKind::TextAuthor:
        AddTextAuthor(*current, std::move(block));
        break;
      case BlockKind::Annotation:
        break;
      case BlockKind::Poem:
        TakeEpigraphsBefore(*current, block);
        current->nodes.push_back(Node{std::move(block), nullptr});
        break;
      default:
        current->nodes.push_back(Node{std::move(block), nullptr});
        break;
    }
  }
  return root;
}

// ---------------------------------------------------------------------------------------------
// Writing

class Writer {
 public:
  Writer(const BodyOptions& options, IdTable& ids) : options_(options), ids_(ids) {}

  std::string Take() { return std::move(out_); }
  // A writer with the same options and ids whose text the caller adds when it wants it.
  Writer Aside() const { return Writer(options_, ids_); }

  void Raw(std::string_view text) { out_ += text; }
  void Break() {
    if (options_.lineEnds) out_.push_back('\n');
  }
  void Element(std::string_view text) {
    out_ += text;
    Break();
  }

  void Paragraph(std::string_view tag, const Fb2Line& line, bool verse = false) {
    out_.push_back('<');
    out_ += tag;
    IdAttribute(line.id);
    out_.push_back('>');
    out_ += ChangeDashes(line.xml, options_.dashes, verse);
    out_ += "</";
    out_ += tag;
    out_.push_back('>');
    Break();
  }

  void IdAttribute(const std::string& raw) {
    if (raw.empty()) return;
    const std::string id = ids_.Define(raw);
    if (id.empty()) return;
    ids_.Emitted(id);
    out_ += " id=\"";
    out_ += id;
    out_ += '"';
  }

  void Title(const std::vector<Fb2Line>& lines) {
    if (lines.empty()) return;
    Element("<title>");
    for (const auto& line : lines) {
      if (line.empty) Element("<empty-line/>");
      else Paragraph("p", line);
    }
    Element("</title>");
  }

  // Paragraphs and empty lines of a block element: no empty line at either end, none doubled.
  void BlockLines(const std::vector<Fb2Line>& lines) {
    size_t first = 0, last = lines.size();
    while (first < last && lines[first].empty) ++first;
    while (last > first && lines[last - 1].empty) --last;
    bool previousEmpty = false;
    for (size_t i = first; i < last; ++i) {
      if (lines[i].empty) {
        if (!previousEmpty) Element("<empty-line/>");
        previousEmpty = true;
        continue;
      }
      previousEmpty = false;
      Paragraph("p", lines[i]);
    }
  }

  void TextAuthors(const std::vector<Fb2Line>& authors) {
    for (const auto& line : authors)
      if (!line.empty && !line.xml.empty()) Paragraph("text-author", line);
  }

  bool HasLines(const Fb2Block& block) const {
    for (const auto& line : block.lines)
      if (!line.empty) return true;
    return !block.authors.empty();
  }

  void Epigraph(const Fb2Block& block) {
    if (!HasLines(block)) return;
    Raw("<epigraph");
    IdAttribute(block.id);
    Element(">");
    BlockLines(block.lines);
    TextAuthors(block.authors);
    Element("</epigraph>");
  }

  void Cite(const Fb2Block& block) {
    if (!HasLines(block)) return;
    Raw("<cite");
    IdAttribute(block.id);
    Element(">");
    BlockLines(block.lines);
    TextAuthors(block.authors);
    Element("</cite>");
  }

  // Verse lines, stanzas split at empty lines; a poem with no line at all writes its text
  // authors as paragraphs, if it has any.
  bool Poem(const Fb2Block& block) {
    std::vector<std::vector<const Fb2Line*>> stanzas(1);
    for (const auto& line : block.lines) {
      if (line.empty) {
        if (!stanzas.back().empty()) stanzas.emplace_back();
        continue;
      }
      stanzas.back().push_back(&line);
    }
    if (stanzas.back().empty()) stanzas.pop_back();
    if (stanzas.empty()) {
      for (const auto& epigraph : block.epigraphs) Cite(epigraph);
      for (const auto& line : block.authors) Paragraph("p", line);
      return !block.authors.empty() || !block.epigraphs.empty();
    }
    Raw("<poem");
    IdAttribute(block.id);
    Element(">");
    for (const auto& epigraph : block.epigraphs) Epigraph(epigraph);
    for (const auto& stanza : stanzas) {
      Element("<stanza>");
      for (const auto* line : stanza) Paragraph("v", *line, true);
      Element("</stanza>");
    }
    TextAuthors(block.authors);
    Element("</poem>");
    return true;
  }

  // One content element; false when it wrote nothing.
  bool Content(const Fb2Block& block) {
    switch (block.kind) {
      case BlockKind::Paragraph:
      case BlockKind::Subtitle: {
        bool any = false;
        for (const auto& line : block.lines) {
          if (line.empty) continue;
          Fb2Line withId = line;
          if (withId.id.empty() && !any) withId.id = block.id;
          Paragraph(block.kind == BlockKind::Subtitle ? "subtitle" : "p", withId);
          any = true;
        }
        return any;
      }
      case BlockKind::EmptyLine: Element("<empty-line/>"); return true;
      case BlockKind::Image:
        Raw("<image l:href=\"#");
        Raw(block.image);
        Element("\"/>");
        return true;
      case BlockKind::Poem: return Poem(block);
      case BlockKind::Cite:
      case BlockKind::Epigraph:
      case BlockKind::Annotation:
        if (!HasLines(block)) return false;
        Cite(block);
        return true;
      case BlockKind::TextAuthor:
        for (const auto& line : block.lines) Paragraph("p", line);
        return !block.lines.empty();
      default: return false;
    }
  }

 private:
  const BodyOptions& options_;
  IdTable& ids_;
  std::string out_;
};


// The empty lines of a run of content: none at the ends, none next to a poem, runs folded to
// one (two with the older cleaning's double empty lines), and in library mode one between a
// subtitle and a paragraph.
std::vector<const Fb2Block*> CleanContent(const std::vector<Node>& nodes, size_t from, size_t to,
                                          const BodyOptions& options) {
  std::vector<const Fb2Block*> out;
  const size_t keepRun = (!options.bookForLibrary && options.multiEmptyLines) ? 2 : 1;
  size_t run = 0;
  for (size_t i = from; i < to; ++i) {
    const Fb2Block& block = nodes[i].block;
    if (block.kind == BlockKind::EmptyLine) {
      if (out.empty() || run >= keepRun || out.back()->kind == BlockKind::Poem) continue;
      ++run;
      out.push_back(&block);
      continue;
    }
    if (block.kind == BlockKind::Poem)
      while (!out.empty() && out.back()->kind == BlockKind::EmptyLine) out.pop_back();
    run = 0;
    out.push_back(&block);
  }
  while (!out.empty() && out.back()->kind == BlockKind::EmptyLine) out.pop_back();
  if (options.bookForLibrary) {
    static const Fb2Block kEmpty = [] {
      Fb2Block empty;
      empty.kind = BlockKind::EmptyLine;
      return empty;
    }();
    std::vector<const Fb2Block*> spaced;
    for (const Fb2Block* block : out) {
      if (!spaced.empty()) {
        const BlockKind before = spaced.back()->kind;
        if ((before == BlockKind::Subtitle && block->kind == BlockKind::Paragraph) ||
            (before == BlockKind::Paragraph && block->kind == BlockKind::Subtitle))
          spaced.push_back(&kEmpty);
      }
      spaced.push_back(block);
    }
    out = std::move(spaced);
  }
  return out;
}

// Writes the text blocks of one section. A picture may lead a section's text, but the format
// wants a text block after it before any other picture and before the section ends: an empty
// line is put there, so that no picture is lost and the section stays valid.
bool WriteContent(Writer& writer, const std::vector<const Fb2Block*>& blocks) {
  bool wrote = false;
  bool leadPictureAlone = false;
  for (const Fb2Block* block : blocks) {
    const bool picture = block->kind == BlockKind::Image;
    if (picture && leadPictureAlone) {
      writer.Element("<empty-line/>");
      leadPictureAlone = false;
    }
    if (!writer.Content(*block)) continue;
    leadPictureAlone = picture && !wrote;
    wrote = true;
  }
  if (leadPictureAlone) writer.Element("<empty-line/>");
  return wrote;
}

void WriteSection(Writer& writer, const Section& section, const BodyOptions& options);

// Content nodes and nested sections of one section. Where both are mixed, each run of
// content between nested sections becomes a section of its own, as the format wants.
bool WriteNodes(Writer& writer, const std::vector<Node>& nodes, const BodyOptions& options, bool asSections) {
  bool hasChild = asSections;
  for (const auto& node : nodes)
    if (node.child) hasChild = true;
  bool wrote = false;
  if (!hasChild) return WriteContent(writer, CleanContent(nodes, 0, nodes.size(), options));
  size_t i = 0;
  while (i < nodes.size()) {
    if (nodes[i].child) {
      if (!nodes[i].child->Empty()) {
        WriteSection(writer, *nodes[i].child, options);
        wrote = true;
      }
      ++i;
      continue;
    }
    size_t end = i;
    while (end < nodes.size() && !nodes[end].child) ++end;
    const auto content = CleanContent(nodes, i, end, options);
    if (!content.empty()) {
      // Written aside first: a run whose blocks all turn out empty makes no section.
      Writer run = writer.Aside();
      run.Element("<section>");
      if (WriteContent(run, content)) {
        run.Element("</section>");
        writer.Raw(run.Take());
        wrote = true;
      }
    }
    i = end;
  }
  return wrote;
}

void WriteSection(Writer& writer, const Section& section, const BodyOptions& options) {
  writer.Raw("<section");
  writer.IdAttribute(section.id);
  writer.Element(">");
  writer.Title(section.title);
  for (const auto& epigraph : section.epigraphs) writer.Epigraph(epigraph);
  // No section may hold a title or an epigraph alone.
  if (!WriteNodes(writer, section.nodes, options, false)) writer.Element("<empty-line/>");
  writer.Element("</section>");
}

// Replaces the link marks of `text` with links to valid targets and drops the others.
std::string ResolveLinks(std::string_view text, const Html0Book& book, const IdTable& ids,
                         const std::unordered_set<std::string>& noteIds) {
  std::string out;
  out.reserve(text.size() + text.size() / 16);
  bool open = false;
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t mark = text.find_first_of("\x01\x03", pos);
    if (mark == std::string_view::npos) break;
    out.append(text, pos, mark - pos);
    if (text[mark] == kLinkClose) {
      if (open) out += "</a>";
      open = false;
      pos = mark + 1;
      continue;
    }
    const size_t end = text.find(kLinkMark, mark);
    if (end == std::string_view::npos) {
      pos = mark + 1;
      continue;
    }
    size_t number = 0;
    for (size_t i = mark + 1; i < end; ++i) number = number * 10 + static_cast<size_t>(text[i] - '0');
    pos = end + 1;
    const std::string target = number < book.linkTargets.size() ? ids.Resolve(book.linkTargets[number]) : std::string();
    if (target.empty()) {
      open = false;
      continue;
    }
    out += "<a l:href=\"#";
    out += target;
    out += noteIds.contains(target) ? "\" type=\"note\">" : "\">";
    open = true;
  }
  out.append(text, pos);
  return out;
}

}  // namespace

std::string MakeValidId(std::string_view raw) {
  std::string id;
  for (size_t pos = 0; pos < raw.size();) {
    const char32_t cp = common::NextCodePoint(raw, pos);
    const bool nameChar = (cp < 0x80) ? ((cp >= 'a' && cp <= 'z') || (cp >= 'A' && cp <= 'Z') ||
                                         (cp >= '0' && cp <= '9') || cp == '_' || cp == '-' || cp == '.')
                                      : (u_isalnum(static_cast<UChar32>(cp)) != 0);
    if (nameChar) common::AppendUtf8(id, cp);
    else id.push_back('_');
  }
  if (id.empty()) return "_";
  size_t first = 0;
  const char32_t start = common::NextCodePoint(id, first);
  const bool startOk = start == '_' || (start < 0x80 ? ((start >= 'a' && start <= 'z') || (start >= 'A' && start <= 'Z'))
                                                     : u_isalpha(static_cast<UChar32>(start)) != 0);
  return startOk ? id : "_" + id;
}

Fb2Bodies WriteFb2Bodies(Html0Book& book, const BodyOptions& options, common::Progress& progress) {
  IdTable ids;
  for (const auto& [alias, raw] : book.aliases) ids.Alias(alias, raw);
  std::unordered_set<std::string> noteIds;

  progress.Status("...converting html to fb2: cleaning book...paragraphs...");
  progress.Status("...converting html to fb2:...inserting sections...");
  std::vector<std::unique_ptr<Section>> sections;
  std::unique_ptr<Section> root;
  if (book.explicitSections) root = SectionsFromMarks(book.blocks);
  else sections = SectionsFromTitles(book.blocks);
  book.blocks.clear();
  progress.Status("...converting html to fb2:...checking sections...");
  progress.Status("...converting html to fb2:...cleaning sections...");
  progress.Status("...converting html to fb2:...checking non-standard elements...");

  // The older cleaning signs the book at the end of its last section.
  if (!options.bookForLibrary) {
    Section* last = nullptr;
    if (root) {
      // The innermost section that ends the book.
      last = root.get();
      while (true) {
        auto it = last->nodes.rbegin();
        while (it != last->nodes.rend() && !it->child && it->block.kind == BlockKind::EmptyLine) ++it;
        if (it == last->nodes.rend() || !it->child) break;
        last = it->child.get();
      }
    } else {
      last = sections.back().get();
    }
    for (const std::string_view text : {std::string_view("This file was created"), std::string_view("with Pagewright program"),
                                        std::string_view(options.signatureDate)}) {
      if (text.empty()) continue;
      Fb2Block block;
      block.kind = BlockKind::Subtitle;
      block.lines.push_back(Fb2Line{{}, BookTextToXml(text), false});
      last->nodes.push_back(Node{std::move(block), nullptr});
    }
  }
  progress.Status("...converting html to fb2: cleaning book...replacements...");
  progress.Status("...converting html to fb2: removing not-used empty lines...");
  progress.Status("...changing dashes...");

  Writer writer(options, ids);
  writer.Raw("<body>");
  writer.Break();
  if (root && !root->image.empty() && !book.leadImage.empty()) {
    // The body has its picture already: the other one goes back into the text.
    Node node;
    node.block.kind = BlockKind::Image;
    node.block.image = std::move(root->image);
    root->image.clear();
    root->nodes.insert(root->nodes.begin(), std::move(node));
  }
  const std::string& leadImage = !book.leadImage.empty() || !root ? book.leadImage : root->image;
  if (!leadImage.empty()) {
    writer.Raw("<image l:href=\"#" + leadImage + "\"/>");
    writer.Break();
  }
  std::vector<Fb2Line> bodyTitle;
  for (const std::string* part : {&book.bookAuthor, &book.bookTitle, &book.bookSubtitle}) {
    if (part->empty()) continue;
    if (!bodyTitle.empty()) bodyTitle.push_back(Fb2Line{{}, {}, true});
    bodyTitle.push_back(Fb2Line{{}, *part, false});
  }
  writer.Title(bodyTitle);
  bool wrote = false;
  if (root) {
    for (const auto& epigraph : root->epigraphs) writer.Epigraph(epigraph);
    wrote = WriteNodes(writer, root->nodes, options, true);
  } else {
    for (const auto& section : sections) {
      if (section->Empty()) continue;
      WriteSection(writer, *section, options);
      wrote = true;
    }
  }
  if (!wrote) {
    writer.Element("<section>");
    writer.Element("<empty-line/>");
    writer.Element("</section>");
  }
  writer.Element("</body>");

  std::string notes;
  if (!book.notes.empty()) {
    // The links of both bodies are resolved once both exist, so that a note's id is known to
    // the links that lead to it.
    Writer w(options, ids);
    w.Raw("<body name=\"notes\">");
    w.Break();
    w.Title(book.notesTitle);
    for (const auto& note : book.notes) {
      w.Raw("<section");
      const std::string id = ids.Define(note.id);
      if (!id.empty()) {
        ids.Emitted(id);
        noteIds.insert(id);
        w.Raw(" id=\"" + id + "\"");
      }
      w.Element(">");
      w.Title({Fb2Line{{}, BookTextToXml(note.label), false}});
      bool any = false;
      for (const auto& paragraph : note.paragraphs) {
        if (paragraph.xml.empty()) continue;
        w.Paragraph("p", paragraph);
        any = true;
      }
      if (!any) w.Element("<empty-line/>");
      w.Element("</section>");
    }
    w.Element("</body>");
    notes = w.Take();
  }
  Fb2Bodies bodies;
  bodies.main = ResolveLinks(writer.Take(), book, ids, noteIds);
  if (!notes.empty()) bodies.notes = ResolveLinks(notes, book, ids, noteIds);
  return bodies;
}

}  // namespace pw::fb2
