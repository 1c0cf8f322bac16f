// The element colours of the settings record by the names the page uses, and the colour check
// of every request that sets one.
#pragma once

#include <algorithm>
#include <cctype>
#include <string>

#include "common/Settings.h"

namespace pw::app {

struct ColourField {
  const char* name;
  std::string common::ElementColours::*field;
};

inline constexpr ColourField kColourFields[] = {
    {"bookAuthor", &common::ElementColours::bookAuthor}, {"bookTitle", &common::ElementColours::bookTitle},
    {"title", &common::ElementColours::title},           {"subtitle", &common::ElementColours::subtitle},
    {"verse", &common::ElementColours::verse},           {"epigraph", &common::ElementColours::epigraph},
    {"textAuthor", &common::ElementColours::textAuthor}, {"annotation", &common::ElementColours::annotation},
    {"cite", &common::ElementColours::cite},             {"noteBlock", &common::ElementColours::noteBlock},
};

// "#rgb" or "#rrggbb": colours are written bare after "color=" in the book.
inline bool IsColour(const std::string& text) {
  if ((text.size() != 4 && text.size() != 7) || text[0] != '#') return false;
  return std::all_of(text.begin() + 1, text.end(), [](char c) { return std::isxdigit(static_cast<unsigned char>(c)); });
}

}  // namespace pw::app
