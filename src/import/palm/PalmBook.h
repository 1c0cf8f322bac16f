// Palm books: what the three readers of the Palm container (PalmDoc, eReader, Mobipocket)
// take out of a file, and the one entry that picks the reader by the database's type and
// creator codes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::import::palm {

enum class PalmFormat { PalmDoc, EReader, Mobipocket };

enum class TextEncoding {
  Unknown,  // a PalmDoc text: the code page is decided from the bytes
  Win1252,
  Utf8,
};

struct PalmPicture {
  std::string name;  // the file name the book refers to: "picture0003.jpg"
  std::string_view bytes;
  size_t number = 0;  // how the text names it: a record number, counted from the first picture
};

struct PalmBook {
  PalmFormat format = PalmFormat::PalmDoc;
  std::string text;  // the unpacked text records, joined
  TextEncoding encoding = TextEncoding::Unknown;
  bool markup = false;  // the text is an HTML document (a Mobipocket book, an eReader book with structure)
  std::string author;   // in the text's encoding
  std::string title;
  std::vector<PalmPicture> pictures;
  std::string coverName;  // the cover's file name, one of the pictures'; empty when none
};

enum class PalmFailure {
  None,
  NotPalm,                 // no Palm database, or a type and creator of no known book
  Damaged,                 // offsets, counts or headers that contradict the file
  BadCompression,          // a text record that does not unpack
  UnsupportedCompression,  // a compression this reader does not know
  Protected,               // the text is encrypted (DRM)
};

// Reads a PalmDoc ("TEXt"/"REAd"), eReader ("PNRd"/"PPrs") or Mobipocket ("BOOK"/"MOBI")
// book from `file`. The pictures are views into `file`.
PalmFailure ReadPalmBook(std::string_view file, PalmBook& book);

// Whether `text` is an HTML document rather than a plain text: it starts, after blanks, with
// "<html", "<!DOCTYPE html", "<?xml" or "<head", or holds "<body" or "<p" in its first
// kilobytes.
bool IsHtmlDocument(std::string_view text);

// The text of the first element `name` ("<dc:Title ...>text</dc:Title>", ASCII-caseless) in
// the first 64 kilobytes of an HTML text, where the metadata of a book is written; empty when
// there is none.
std::string HeadElementText(std::string_view html, std::string_view name);

// `text` with "&", "<", ">" and '"' written as entities, for text and attribute values.
std::string EscapeMarkup(std::string_view text);

// The file name extension of a picture by its first bytes ("jpg", "png", "gif", "bmp"); empty
// when the bytes are not a picture.
std::string_view PictureExtension(std::string_view bytes);

}  // namespace pw::import::palm
