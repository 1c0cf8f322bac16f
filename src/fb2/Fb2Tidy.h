// A forgiving reader of FictionBook text.
//
// Real FB2 files are often broken: ampersands and angle brackets left unescaped, entities that
// nobody declared, closing tags missing, paragraphs inside subtitles, binaries broken into lines
// or padded with junk, ids given twice, namespace prefixes that nobody bound. TidyFb2 reads such
// a text in one pass and writes it again in the one regular form the import's passes rely on:
//
// - tags in lower case, attribute values in double quotes, only the attributes the import reads;
//   every XLink attribute, whatever its prefix (bound to the XLink namespace, or the usual
//   "xlink" and "l" left unbound), written "l:" + name; no namespace declarations;
// - every element closed, in order; text standing loose in a section, body, epigraph, cite,
//   annotation or title wrapped in a paragraph, and in a poem or stanza in a verse line; a
//   paragraph inside a subtitle, text author, verse line or description field unwrapped; a
//   paragraph inside a stanza read as a verse line;
// - no XML declaration, comment, processing instruction or document type; CDATA as text;
//   entities declared in the document type replaced by their text;
// - text with "&amp;", "&lt;" and "&gt;" for the three markup characters; numeric references
//   and references naming an HTML character kept as written; white space as single blanks,
//   none at the start or end of a paragraph and none between block elements; control
//   characters dropped;
// - elements the format does not know lose their tags and keep their text; stylesheets go;
// - binaries hold only base64 characters with correct padding; a second binary with an id
//   already taken, and a second element with an id already taken, lose it.
//
// The bytes of the text are not decoded: any encoding that keeps ASCII as ASCII passes through.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::fb2 {

// What the reader had to mend or leave out, for the user.
struct TidyReport {
  size_t undeclaredEntities = 0;              // written as text
  std::vector<std::string> undeclaredNames;   // the first few distinct names
  size_t closedElements = 0;                  // elements whose end tag was missing
  size_t strayEndTags = 0;                    // end tags without an open element
  size_t duplicateIds = 0;                    // ids dropped because an element had them before
  size_t duplicateBinaries = 0;               // binaries dropped for the same reason
  size_t repairedBinaries = 0;                // base64 text with characters outside the alphabet
  size_t binariesWithoutId = 0;               // dropped
  size_t tooDeep = 0;                         // tags dropped beyond the nesting limit
  // References to declared entities left unexpanded because expanding them would grow the
  // text past the book size limit (common/Limits.h); a book that needs them is refused.
  size_t entitiesOverLimit = 0;
};

// The regular form of `text` as described above.
std::string TidyFb2(std::string_view text, TidyReport& report);

// Nesting beyond this depth is not followed: deeper tags lose their tags and keep their text.
// XML readers refuse documents nested much deeper, so nothing of use is lost.
inline constexpr size_t kTidyMaxDepth = 200;

}  // namespace pw::fb2
