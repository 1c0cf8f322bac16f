// A lit book taken apart: the component list of its package file (title, author, the
// manifest in order with each item's file and media type), the text components combined in
// manifest order into one HTML document with their links pointing into it, the pictures, the
// cover and the style sheets.
#pragma once

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
  std::vector<std::pair<std::string, std::string>> styles;    // path, text
  std::string coverPath;          // the cover among the pictures; empty when there is none
};

// Takes the book out of the bytes of a lit file, announcing each step on `progress`.
LitError ReadLitBook(std::string_view file, LitBook& book, common::Progress& progress);

// The part of the package file between `open` (a tag's start, such as "<dc:Title") and
// `close`, without the rest of the opening tag and with its entities decoded; empty when absent.
std::string PackageField(std::string_view package, std::string_view open, std::string_view close);

// Rewrites the links of one text component for the combined document: a link to a component
// of `paths` (at most 100 characters) with an anchor points to the anchor; one without
// points to the start of that component, the anchor `partAnchors` gives for it.
std::string RewriteLinks(std::string_view html, const std::vector<std::string>& paths,
                         const std::vector<std::string>& partAnchors);

}  // namespace pw::import::lit
