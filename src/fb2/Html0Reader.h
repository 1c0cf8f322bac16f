// Reading an html0 book for the FB2 export: one left-to-right scan over the book's HTML that
// turns its marked elements, paragraphs, styles, anchors, links and pictures into a flat list
// of blocks whose text is already FB2 inline markup. Tags are read, never trusted: styles are
// nested properly whatever order the HTML closes them in, text is escaped for XML, control
// characters are dropped, so that whatever the book holds, what comes out is well-formed.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Progress.h"
#include "fb2/Html0Text.h"

namespace pw::fb2 {

// In the inline markup of a line, a link is written as kLinkOpen + link number + kLinkMark
// and closed by kLinkClose; the writer resolves the number to a target id or drops the link.
inline constexpr char kLinkOpen = '\x01';
inline constexpr char kLinkMark = '\x02';
inline constexpr char kLinkClose = '\x03';

// A paragraph-like line: a paragraph, a verse line, a title line or a text author.
struct Fb2Line {
  std::string id;   // the anchor name found in it, as the book spells it
  std::string xml;  // FB2 inline markup
  bool empty = false;  // an empty line (in verse: the end of a stanza)
};

enum class BlockKind {
  Paragraph,
  EmptyLine,
  Title,
  Subtitle,
  Epigraph,
  Cite,
  Poem,
  TextAuthor,
  Annotation,
  Image,
  SectionStart,
  SectionEnd,
};

struct Fb2Block {
  BlockKind kind = BlockKind::Paragraph;
  std::string id;
  std::vector<Fb2Line> lines;
  std::vector<Fb2Line> authors;  // text authors inside an epigraph, cite, poem or annotation
  std::string image;             // picture id of an Image block
  std::vector<Fb2Block> epigraphs;  // a poem's own epigraphs
};

struct Fb2Note {
  std::string id;
  std::string label;
  std::vector<Fb2Line> paragraphs;
};

struct Html0Book {
  std::string bookAuthor;  // plain text of the book-author heading
  std::string bookTitle;
  std::string bookSubtitle;
  std::string leadImage;  // a picture that stood before the book-author heading
  std::vector<Fb2Block> blocks;
  std::vector<Fb2Line> annotation;  // the book's annotation, for the description
  std::vector<Fb2Note> notes;
  std::vector<Fb2Line> notesTitle;  // the heading of the notes, a line each
  std::vector<std::string> linkTargets;  // by link number
  // Anchor names that stand on an element already named by another anchor: (alias, name).
  std::vector<std::pair<std::string, std::string>> aliases;
  bool explicitSections = false;
};

// Stores the picture `src` (with the WIDTH and HEIGHT of its tag, 0 when absent) as a binary
// and returns its id; empty when the picture is left out.
using PictureStore = std::function<std::string(std::string_view src, int width, int height)>;

// Reads the book text (the whole html0 document or its body). The contents block is left out:
// a reader builds its own contents from the sections.
Html0Book ReadHtml0Book(std::string_view html0, const PictureStore& pictures, common::Progress& progress);


}  // namespace pw::fb2
