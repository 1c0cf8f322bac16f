// The bodies of an exported book: sections made from the book's titles (or from its explicit
// section marks), titles, epigraphs, poems, cites and paragraphs in the order the format
// allows, the notes body, and every id and link made valid.
#pragma once

#include <string>

#include "common/Progress.h"
#include "fb2/Fb2Dashes.h"
#include "fb2/Html0Reader.h"

namespace pw::fb2 {

struct BodyOptions {
  DashStyle dashes = DashStyle::Short;
  bool bookForLibrary = false;   // the full section cleaning; otherwise the older one with the signature
  bool multiEmptyLines = false;  // the older cleaning keeps double empty lines
  bool lineEnds = true;          // a line break after every block element
  std::string signatureDate;     // the date line of the older cleaning's signature
};

struct Fb2Bodies {
  std::string main;   // "<body>" ... "</body>"
  std::string notes;  // "<body name=\"notes\">" ... "</body>", empty without notes
};

// Makes an id valid in FB2 (an XML name): "|" and every character a name cannot hold become
// "_", and a name that cannot start as it is gets a leading "_".
std::string MakeValidId(std::string_view raw);

Fb2Bodies WriteFb2Bodies(Html0Book& book, const BodyOptions& options, common::Progress& progress);

}  // namespace pw::fb2
