// Hiebook (".kml") books: an XML text whose "<book>" element holds the book as "<para>"
// elements. The text of each non-empty paragraph becomes one line of a plain text for the
// text-to-book converter.
#pragma once

#include <string>
#include <string_view>

#include "common/Progress.h"

namespace pw::import {

// The lines of the paragraphs between "<book>" and "</book>" (the whole text when there is no
// book element), each paragraph's inner tags removed and its character references replaced,
// empty paragraphs dropped. (A paragraph that starts with a dash needs nothing here: the
// converter writes every such line as a dialogue line, "-&nbsp;".) Shows "...extracting text...".
std::string ExtractKmlText(std::string_view xml, common::Progress& progress);

}  // namespace pw::import
