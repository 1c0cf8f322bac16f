// Conversion of the html0 book back to plain HTML: the program's marks, fonts, styles and
// page furniture removed, the structural ids kept. It is the first stage of every export.
#pragma once

#include <string>

#include "common/Progress.h"

namespace pw::markup {

struct PlainHtmlOptions {
  bool removeTables = false;      // cut every table out whole
  bool removeLinks = false;       // drop "<A ...>" and "</A>", keeping the link text
  bool removePictures = false;    // drop "<IMG ...>"
  bool keepFormerTitles = false;  // leave "id=former_title" as it is
  bool cleanHtml = false;         // drop every SPAN tag as well
  // Leave "&lt;" and "&gt;" as the private-use stand-ins for the rest of an export, which then
  // calls RestoreEscapedBrackets at its end. Otherwise they are restored before returning.
  bool keepBracketsProtected = false;
};

// Converts `document` in place, announcing each stage on `progress`.
void ArrangeAsPlainHtml(std::string& document, const PlainHtmlOptions& options,
                        common::Progress& progress);

// "&lt;" / "&gt;" to their stand-ins and back.
void ProtectEscapedBrackets(std::string& text);
void RestoreEscapedBrackets(std::string& text);

}  // namespace pw::markup
