// The description a book starts with before the user fills it: what its own headings and
// annotation say, and the document facts of a new electronic edition.
#pragma once

#include "fb2/Description.h"
#include "fb2/Fb2Export.h"

namespace pw::fb2 {

// Authors split from the book-author heading, the book title (with the subtitle after it),
// the annotation and the language of the text; a document dated today, made with this program,
// with a new id and version "1.0". Fields the book does not tell stay empty.
Fb2Description DescriptionFromBook(const BookFacts& book);

}  // namespace pw::fb2
