// Opening Palm books (.prc, .pdb, .mobi, .azw) as the working document: the container is read
// by the built-in readers of import/palm, the pictures are written into the book folder, and
// the text goes through the Palm HTML chain and the HTML-to-book converter when it is an HTML
// document, through the text converter otherwise. The book's author and title from the
// container head the book when the text does not name them itself.
#pragma once

#include "shell/Converters.h"

namespace pw::shell {

// False, with "cannot unpack Palm-file" (or the DRM message) shown, when the file is not a
// readable Palm book.
bool ConvertPalmBook(ConvertJob& job);

}  // namespace pw::shell
