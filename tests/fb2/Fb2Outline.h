// Test helper: the structure of an FB2 text as a reader sees it (titles, sections, paragraphs,
// epigraphs, poems and stanzas, cites, text authors, subtitles, notes and the links to them,
// pictures, the description's main fields), read with libxml2, and a comparison of two of them
// that says what differs. Used to check that a book keeps its structure through the import and
// the export.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::fb2::test {

struct Fb2Outline {
  bool parsed = false;
  // The first body's own title, a line per paragraph.
  std::vector<std::string> bodyTitle;
  // Every section of the main bodies in document order as "depth|title text".
  std::vector<std::string> sections;
  std::vector<std::string> titles;       // section titles, lines joined by " / "
  std::vector<std::string> subtitles;    // subtitles, and the titles of poems
  std::vector<std::string> paragraphs;   // text of every non-empty paragraph outside titles and blocks
  std::vector<std::string> epigraphs;    // paragraph texts of each epigraph joined by " / "
  std::vector<std::string> cites;
  std::vector<std::string> textAuthors;
  std::vector<std::string> poems;        // lines of each poem, stanzas separated by " // "
  size_t stanzas = 0;
  size_t pictures = 0;                   // images in the bodies whose binary is there
  size_t links = 0;                      // links inside the book ("#id") in the main bodies
  size_t brokenLinks = 0;                // of them, links whose target is nowhere
  std::vector<std::string> notes;        // each note section: its text without its title
  std::string letters;                   // every letter of the bodies' text, in order
  // Description.
  bool hasDescription = false;
  std::string title;
  std::vector<std::string> authors;      // "first middle last"
  std::vector<std::string> genres;
  std::string lang;
  std::string sequence;                  // "name|number"
  std::string annotation;                // its words

};

// Reads `xml` (an FB2 text in its own encoding; broken XML is read as far as libxml2 recovers).
// Texts are compared loosely: blanks collapsed, dashes, no-break spaces and ellipses in one form.
Fb2Outline ReadFb2Outline(std::string_view xml);

struct OutlineOptions {
  bool nesting = true;         // compare the section outline, not only the titles
  // Compare the titles' text as one run: without section marks, titles that follow one another
  // become one title with several lines.
  bool mergedTitles = false;
  bool description = true;     // compare the description fields (when the first text has them)
};

// Every difference between `before` and `after`, one line each ("titles[3]: 'A' became 'B'");
// empty when they agree.
std::vector<std::string> CompareFb2Outlines(const Fb2Outline& before, const Fb2Outline& after,
                                            const OutlineOptions& options = {});

}  // namespace pw::fb2::test
