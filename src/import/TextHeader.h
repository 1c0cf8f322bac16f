// The author and title of a text book, read from its first lines. Three layouts are known,
// Russian and English alike:
//   "Михаил Лермонтов. Герой нашего времени"   (author, a point, the title on one line)
//   "Антон Чехов" then "ВАНЬКА"                 (an author line, then the title line(s))
//   "ALICE IN WONDERLAND" then "by Lewis Carroll"
// An author is two to four capitalised words (initials allowed) and nothing else; a title is
// a short line that does not run on. A first paragraph of prose matches none of them, and then
// nothing is taken.
#pragma once

#include <string>
#include <string_view>

namespace pw::import {

struct TextHeader {
  std::string author;
  std::string title;
  // Bytes of the text, from its start, that the header lines take (with their line ends);
  // 0 when no header was found.
  size_t length = 0;

  bool found() const { return length > 0; }
};

// Looks at the first lines of `text` (lines end in LF or CRLF; a byte-order mark and empty
// lines before them are skipped).
TextHeader FindTextHeader(std::string_view text);

// True when `line` reads as a person's name: two to four words, each capitalised ("Лермонтов",
// "Салтыков-Щедрин") or an initial ("А.", "A.S."), or all of them in capitals when
// `allowCapitals` is set; nothing else on the line.
bool LooksLikePersonName(std::string_view line, bool allowCapitals = false);

// A heading written with blanks between its letters ("Ч А С Т Ь   П Е Р В А Я",
// "C H A P T E R  I") read as its words: a wider gap separates words. Any other line comes back
// as it is.
std::string JoinSpacedLetters(std::string_view line);

}  // namespace pw::import
