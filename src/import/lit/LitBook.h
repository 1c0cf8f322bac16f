// A lit book taken apart: the component list of its package file (title, author, the
// manifest in order with each item's file and media type), the text components combined in
// manifest order into one HTML document with their links pointing into it, the pictures, the
// cover and the style sheets.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Progress.h"
#include "import/lit/LitContainer.h"

namespace pw::import::lit {

struct LitItem {
  std::string id;
  std::string internal;   // the component's name inside the container
  std::string path;       // its file name in the book as made
  std::string mediaType;
};

struct LitBook {
  std::string title;
  std::string author;
  std::vector<LitItem> manifest;  // in the package file's order
  std::string html;               // the text components combined
  std::vector<std::pair<std::string, std::string>> pictures;  // path, bytes
  // The style sheets: the file name each is given beside the book and its text. The names are
  // the reader's own ("LitStyle1.css", ...), never the book's, so that a book cannot put a
  // file of its choosing beside itself; the pages' links to the sheets lead to these names.
  std::vector<std::pair<std::string, std::string>> styles;
  std::string coverPath;          // the cover among the pictures; empty when there is none
};

// Takes the book out of the bytes of a lit file, announcing each step on `progress`. Each
// component is read once, however often the package lists it; TooLarge when the text, the
// pictures and the style sheets together would pass common::BookSizeLimit of the file's size.
LitError ReadLitBook(std::string_view file, LitBook& book, common::Progress& progress);

// The part of the package file between `open` (a tag's start, such as "<dc:Title") and
// `close`, without the rest of the opening tag and with its entities decoded; empty when absent.
std::string PackageField(std::string_view package, std::string_view open, std::string_view close);

// Where a link to one component of the book leads in the book as made.
struct LinkTarget {
  // A text component: "#" and the anchor of its start in the combined document. Any other
  // component: its file name beside the book.
  std::string to;
  bool part = false;
};
// The targets by the components' paths.
using LinkTargets = std::map<std::string, LinkTarget, std::less<>>;

// Rewrites the links of one text component for the combined document. A link to a component
// of `targets` (its path at most 100 characters) leads, when the component is text, to the
// link's own anchor or else to the component's start; any other component's link gets its
// new file name, its anchor kept.
std::string RewriteLinks(std::string_view html, const LinkTargets& targets);

}  // namespace pw::import::lit
