// Mobipocket books ("BOOK"/"MOBI", also .mobi and unencrypted .azw): record 0 holds the
// PalmDoc header, the MOBI header (text encoding, first picture record, Huffman tables, the
// flags of the trailing entries) and the EXTH metadata (author, title, cover). The text
// records are uncompressed, PalmDoc-packed or Huffman-coded; each may end in trailing entries
// that are not text. Picture records follow the text; the text refers to them by number.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "import/palm/PalmBook.h"
#include "import/palm/PalmDatabase.h"

namespace pw::import::palm {

PalmFailure ReadMobipocket(const PalmDatabase& database, PalmBook& book);

// The length of `record` without its trailing entries, by the extra-data `flags` of the
// header: each flag bit above the lowest adds an entry whose size is written, backwards, at
// the record's end; the lowest bit adds the 1 to 4 bytes of a character cut at the record's
// end. Never more than the record's length.
size_t TextLengthWithoutTrailers(std::string_view record, uint16_t flags);

// Points the picture tags of `html` that name a picture record ("recindex", 1 for the first
// picture record) at the picture files: `<img recindex="00003">` becomes `<img
// src="picture0003.jpg">` when picture 3 exists. Other tags stay as they are.
std::string LinkRecordPictures(std::string_view html, const PalmBook& book);

// Turns the links by byte position of a Mobipocket text (`<a filepos=0000012345>`) into links
// to anchors: an anchor `<a id="filepos12345"></a>` is written where each position points
// (before the tag it falls in), and the link becomes `<a href="#filepos12345">`. Positions
// past the end of the text are left alone.
std::string LinkFilePositions(std::string_view html);

}  // namespace pw::import::palm
