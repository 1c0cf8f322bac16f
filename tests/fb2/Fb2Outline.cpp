#include "Fb2Outline.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <unicode/uchar.h>

#include <map>
#include <set>

#include "common/Utf8.h"

namespace pw::fb2::test {
namespace {

std::string_view Name(const xmlNode* node) { return reinterpret_cast<const char*>(node->name); }

bool Is(const xmlNode* node, std::string_view name) {
  return node && node->type == XML_ELEMENT_NODE && Name(node) == name;
}

// An attribute by its local name, whatever its namespace ("href" finds "l:href" and "xlink:href").
std::string Attribute(const xmlNode* node, std::string_view name) {
  for (const xmlAttr* attr = node->properties; attr; attr = attr->next) {
    if (std::string_view(reinterpret_cast<const char*>(attr->name)) != name) continue;
    xmlChar* value = xmlNodeListGetString(node->doc, attr->children, 1);
    std::string out = value ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return out;
  }
  return {};
}

// Text compared loosely: blanks collapsed and trimmed, every dash a hyphen, the no-break space a
// blank, the ellipsis three points, soft hyphens gone.
std::string Loose(std::string_view text) {
  std::string out;
  bool blank = false;
  for (size_t pos = 0; pos < text.size();) {
    const char32_t cp = common::NextCodePoint(text, pos);
    if (cp == 0xAD) continue;
    if (cp == ' ' || cp == '\t' || cp == '\r' || cp == '\n' || cp == 0xA0) {
      blank = !out.empty();
      continue;
    }
    if (blank) out += ' ';
    blank = false;
    if ((cp >= 0x2010 && cp <= 0x2015) || cp == 0x2212) out += '-';
    else if (cp == 0x2026) out += "...";
    else common::AppendUtf8(out, cp);
  }
  return out;
}

std::string Text(const xmlNode* node) {
  xmlChar* content = xmlNodeGetContent(node);
  std::string out = content ? Loose(reinterpret_cast<const char*>(content)) : "";
  xmlFree(content);
  return out;
}

std::string Join(const std::vector<std::string>& parts, std::string_view separator) {
  std::string out;
  for (const std::string& part : parts) {
    if (part.empty()) continue;
    if (!out.empty()) out += separator;
    out += part;
  }
  return out;
}

class Reader {
 public:
  explicit Reader(Fb2Outline& outline) : o_(outline) {}

  void Read(const xmlNode* root) {
    Ids(root);
    for (const xmlNode* child = root->children; child; child = child->next) {
      if (Is(child, "binary")) binaries_.insert(Attribute(child, "id"));
    }
    bool first = true;
    for (const xmlNode* child = root->children; child; child = child->next) {
      if (Is(child, "description")) {
        o_.hasDescription = true;
        Description(child);
      }
      if (!Is(child, "body")) continue;
      Letters(child);
      const std::string name = Attribute(child, "name");
      if (name == "notes" || name == "comments") {
        Notes(child);
        continue;
      }
      Body(child, first);
      first = false;
    }
  }

 private:
  void Letters(const xmlNode* body) {
    xmlChar* content = xmlNodeGetContent(body);
    const std::string_view text = content ? reinterpret_cast<const char*>(content) : "";
    for (size_t pos = 0; pos < text.size();) {
      const char32_t cp = common::NextCodePoint(text, pos);
      if (u_isalpha(static_cast<UChar32>(cp))) common::AppendUtf8(o_.letters, cp);
    }
    xmlFree(content);
  }

  void Ids(const xmlNode* node) {
    for (; node; node = node->next) {
      if (node->type != XML_ELEMENT_NODE) continue;
      if (const std::string id = Attribute(node, "id"); !id.empty()) ids_.insert(id);
      Ids(node->children);
    }
  }

  std::vector<std::string> Lines(const xmlNode* node) {
    std::vector<std::string> lines;
    for (const xmlNode* child = node->children; child; child = child->next) {
      if (Is(child, "p") || Is(child, "v") || Is(child, "subtitle")) lines.push_back(Text(child));
    }
    return lines;
  }

  void Body(const xmlNode* body, bool first) {
    bool start = true;
    for (const xmlNode* child = body->children; child; child = child->next) {
      if (child->type != XML_ELEMENT_NODE) continue;
      if (Is(child, "title") && first && start) {
        for (const std::string& line : Lines(child))
          if (!line.empty()) o_.bodyTitle.push_back(line);
      } else if (Is(child, "section")) {
        Section(child, 1);
      } else {
        Block(child);
      }
      if (!Is(child, "image")) start = false;
    }
  }

  void Section(const xmlNode* section, int depth) {
    std::string title;
    for (const xmlNode* child = section->children; child; child = child->next) {
      if (Is(child, "title")) {
        title = Join(Lines(child), " / ");
        break;
      }
    }
    o_.sections.push_back(std::to_string(depth) + "|" + title);
    if (!title.empty()) o_.titles.push_back(title);
    std::string loose;
    for (const xmlNode* child = section->children; child; child = child->next) {
      // Text standing loose in a section, with the inline elements around it, reads as a paragraph.
      if (child->type == XML_TEXT_NODE || IsInline(child)) {
        Gather(child, loose, true);
        continue;
      }
      if (const std::string text = Loose(loose); !text.empty()) o_.paragraphs.push_back(text);
      loose.clear();
      if (child->type != XML_ELEMENT_NODE || Is(child, "title")) continue;
      if (Is(child, "section")) Section(child, depth + 1);
      else Block(child);
    }
    if (const std::string text = Loose(loose); !text.empty()) o_.paragraphs.push_back(text);
  }

  // Paragraph texts of a block, its text authors taken out.
  std::string BlockText(const xmlNode* block) {
    std::vector<std::string> lines;
    for (const xmlNode* child = block->children; child; child = child->next) {
      if (Is(child, "text-author")) o_.textAuthors.push_back(Text(child));
      else if (Is(child, "p") || Is(child, "v") || Is(child, "subtitle")) lines.push_back(Text(child));
      else if (Is(child, "poem") || Is(child, "cite")) lines.push_back(BlockText(child));
      else if (Is(child, "stanza")) lines.push_back(BlockText(child));
    }
    return Join(lines, " / ");
  }

  void Block(const xmlNode* node) {
    Pictures(node);
    Links(node);
    if (Is(node, "p") || Is(node, "v")) {
      if (const std::string text = Text(node); !text.empty()) o_.paragraphs.push_back(text);
    } else if (Is(node, "subtitle")) {
      o_.subtitles.push_back(Text(node));
    } else if (Is(node, "epigraph")) {
      o_.epigraphs.push_back(BlockText(node));
    } else if (Is(node, "cite")) {
      o_.cites.push_back(BlockText(node));
    } else if (Is(node, "text-author")) {
      o_.textAuthors.push_back(Text(node));
    } else if (Is(node, "poem")) {
      Poem(node);
    } else if (Is(node, "annotation")) {
      for (const xmlNode* child = node->children; child; child = child->next) Block(child);
    } else if (Is(node, "table")) {
      // A table reads as a line of text per row.
      for (const xmlNode* row = node->children; row; row = row->next) {
        if (!Is(row, "tr")) continue;
        if (const std::string text = Words(row); !text.empty()) o_.paragraphs.push_back(text);
      }
    }
  }

  void Poem(const xmlNode* poem) {
    std::vector<std::string> stanzas;
    std::string date;
    for (const xmlNode* child = poem->children; child; child = child->next) {
      if (Is(child, "title")) {
        for (const std::string& line : Lines(child)) o_.subtitles.push_back(line);
      } else if (Is(child, "epigraph")) {
        o_.epigraphs.push_back(BlockText(child));
      } else if (Is(child, "stanza")) {
        std::vector<std::string> lines;
        for (const xmlNode* line = child->children; line; line = line->next) {
          if (Is(line, "title")) {
            for (const std::string& part : Lines(line)) lines.push_back(part);
          } else if (Is(line, "v") || Is(line, "subtitle")) {
            lines.push_back(Text(line));
          } else if (Is(line, "text-author")) {
            o_.textAuthors.push_back(Text(line));
          }
        }
        if (lines.empty()) continue;
        ++o_.stanzas;
        stanzas.push_back(Join(lines, " / "));
      } else if (Is(child, "text-author")) {
        o_.textAuthors.push_back(Text(child));
      } else if (Is(child, "date")) {
        date = Text(child);
      }
    }
    // A poem's date reads as its last line.
    if (!date.empty() && !stanzas.empty()) stanzas.back() += " / " + date;
    o_.poems.push_back(Join(stanzas, " // "));
  }

  void Pictures(const xmlNode* node) {
    if (node->type != XML_ELEMENT_NODE) return;
    if (Is(node, "image")) {
      std::string target = Attribute(node, "href");
      if (!target.empty() && target[0] == '#') target.erase(0, 1);
      if (binaries_.contains(target)) ++o_.pictures;
    }
    for (const xmlNode* child = node->children; child; child = child->next)
      if (!Is(child, "section")) Pictures(child);
  }

  void Links(const xmlNode* node) {
    if (node->type != XML_ELEMENT_NODE || Is(node, "section")) return;
    if (Is(node, "a")) {
      const std::string target = Attribute(node, "href");
      if (target.starts_with("#")) {
        ++o_.links;
        if (!ids_.contains(target.substr(1))) ++o_.brokenLinks;
      }
    }
    for (const xmlNode* child = node->children; child; child = child->next) Links(child);
  }

  void Notes(const xmlNode* body) {
    for (const xmlNode* child = body->children; child; child = child->next) {
      if (!Is(child, "section")) continue;
      std::vector<std::string> lines;
      for (const xmlNode* part = child->children; part; part = part->next) {
        if (Is(part, "title") || part->type != XML_ELEMENT_NODE) continue;
        if (const std::string text = Text(part); !text.empty()) lines.push_back(text);
      }
      o_.notes.push_back(Join(lines, " / "));
    }
  }

  void Description(const xmlNode* description) {
    for (const xmlNode* info = description->children; info; info = info->next) {
      if (!Is(info, "title-info")) continue;
      for (const xmlNode* child = info->children; child; child = child->next) {
        if (Is(child, "book-title")) o_.title = Text(child);
        else if (Is(child, "genre")) o_.genres.push_back(Text(child));
        else if (Is(child, "lang")) o_.lang = Text(child);
        else if (Is(child, "sequence") && o_.sequence.empty())
          o_.sequence = Loose(Attribute(child, "name")) + "|" + Loose(Attribute(child, "number"));
        else if (Is(child, "annotation")) o_.annotation = Words(child);
        else if (Is(child, "author")) {
          std::vector<std::string> parts;
          for (const char* name : {"first-name", "middle-name", "last-name"}) {
            for (const xmlNode* part = child->children; part; part = part->next)
              if (Is(part, name)) parts.push_back(Text(part));
          }
          o_.authors.push_back(Join(parts, " "));
        }
      }
    }
  }

  // The words of an element, block boundaries read as blanks.
  static std::string Words(const xmlNode* node) {
    std::string raw;
    Gather(node, raw);
    return Loose(raw);
  }

  static bool IsInline(const xmlNode* node) {
    static constexpr std::string_view kInline[] = {"a", "strong", "emphasis", "sup", "sub", "strikethrough",
                                                   "style", "code"};
    if (node->type != XML_ELEMENT_NODE) return false;
    for (const std::string_view name : kInline)
      if (Name(node) == name) return true;
    return false;
  }

  // Appends the text of `node` (itself too when `self`), block boundaries as blanks.
  static void Gather(const xmlNode* node, std::string& out, bool self = false) {
    if (self) {
      if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
        out += reinterpret_cast<const char*>(node->content);
        return;
      }
      if (node->type != XML_ELEMENT_NODE) return;
    }
    for (const xmlNode* child = node->children; child; child = child->next) {
      if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) {
        out += reinterpret_cast<const char*>(child->content);
      } else if (child->type == XML_ELEMENT_NODE) {
        const bool inlineElement = IsInline(child);
        if (!inlineElement) out += ' ';
        Gather(child, out);
        if (!inlineElement) out += ' ';
      }
    }
  }

  Fb2Outline& o_;
  std::set<std::string> ids_;
  std::set<std::string> binaries_;
};

void CompareLists(std::vector<std::string>& diffs, std::string_view name, const std::vector<std::string>& a,
                  const std::vector<std::string>& b) {
  if (a.size() != b.size())
    diffs.push_back(std::string(name) + ": " + std::to_string(a.size()) + " became " + std::to_string(b.size()));
  size_t shown = 0;
  for (size_t i = 0; i < std::min(a.size(), b.size()) && shown < 3; ++i) {
    if (a[i] == b[i]) continue;
    diffs.push_back(std::string(name) + "[" + std::to_string(i) + "]: '" + a[i] + "' became '" + b[i] + "'");
    ++shown;
  }
}

void CompareCounts(std::vector<std::string>& diffs, std::string_view name, size_t a, size_t b) {
  if (a != b) diffs.push_back(std::string(name) + ": " + std::to_string(a) + " became " + std::to_string(b));
}

void CompareText(std::vector<std::string>& diffs, std::string_view name, const std::string& a, const std::string& b) {
  if (a != b) diffs.push_back(std::string(name) + ": '" + a + "' became '" + b + "'");
}

}  // namespace

Fb2Outline ReadFb2Outline(std::string_view xml) {
  Fb2Outline outline;
  xmlDoc* doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "book.fb2", nullptr,
                              XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING |
                                  XML_PARSE_HUGE);
  if (!doc) return outline;
  if (const xmlNode* root = xmlDocGetRootElement(doc)) {
    Reader(outline).Read(root);
    outline.parsed = true;
  }
  xmlFreeDoc(doc);
  return outline;
}

// Every letter of `before` is in `after` as often (the second text may add letters of its own,
// such as a body title made from the description, and may put a block elsewhere).
void LettersKept(std::vector<std::string>& diffs, std::string_view before, std::string_view after) {
  std::map<char32_t, long> balance;
  for (size_t pos = 0; pos < before.size();) ++balance[common::NextCodePoint(before, pos)];
  for (size_t pos = 0; pos < after.size();) --balance[common::NextCodePoint(after, pos)];
  std::string lost;
  long count = 0;
  for (const auto& [letter, missing] : balance) {
    if (missing <= 0) continue;
    common::AppendUtf8(lost, letter);
    count += missing;
  }
  if (count > 0) diffs.push_back("letters: " + std::to_string(count) + " lost (" + lost + ")");
}

std::vector<std::string> CompareFb2Outlines(const Fb2Outline& a, const Fb2Outline& b, const OutlineOptions& options) {
  std::vector<std::string> diffs;
  if (!a.parsed || !b.parsed) {
    diffs.push_back(a.parsed ? "the second text is not XML" : "the first text is not XML");
    return diffs;
  }
  // The body's title comes back from the book's headings: each of its lines must still be there.
  for (const std::string& line : a.bodyTitle) {
    bool found = false;
    for (const std::string& other : b.bodyTitle) found = found || other == line;
    if (!found) diffs.push_back("body title: '" + line + "' is missing");
  }
  if (options.nesting) CompareLists(diffs, "sections", a.sections, b.sections);
  if (options.mergedTitles) CompareText(diffs, "titles", Join(a.titles, " / "), Join(b.titles, " / "));
  else CompareLists(diffs, "titles", a.titles, b.titles);
  CompareLists(diffs, "subtitles", a.subtitles, b.subtitles);
  CompareLists(diffs, "paragraphs", a.paragraphs, b.paragraphs);
  CompareLists(diffs, "epigraphs", a.epigraphs, b.epigraphs);
  CompareLists(diffs, "cites", a.cites, b.cites);
  CompareLists(diffs, "text authors", a.textAuthors, b.textAuthors);
  CompareLists(diffs, "poems", a.poems, b.poems);
  CompareCounts(diffs, "stanzas", a.stanzas, b.stanzas);
  CompareCounts(diffs, "pictures", a.pictures, b.pictures);
  CompareCounts(diffs, "links", a.links, b.links);
  CompareCounts(diffs, "broken links", a.brokenLinks, b.brokenLinks);
  CompareLists(diffs, "notes", a.notes, b.notes);
  LettersKept(diffs, a.letters, b.letters);
  // The fields the first text has: a writer may fill those it lacks.
  if (options.description && a.hasDescription) {
    if (!a.title.empty()) CompareText(diffs, "book title", a.title, b.title);
    if (!a.authors.empty()) CompareLists(diffs, "authors", a.authors, b.authors);
    if (!a.genres.empty()) CompareLists(diffs, "genres", a.genres, b.genres);
    if (!a.lang.empty()) CompareText(diffs, "language", a.lang, b.lang);
    if (!a.sequence.empty()) CompareText(diffs, "sequence", a.sequence, b.sequence);
    if (!a.annotation.empty()) CompareText(diffs, "annotation", a.annotation, b.annotation);
  }
  return diffs;
}

}  // namespace pw::fb2::test
