// The HTML-to-book converter: an HTML document becomes the html0 book, keeping the inline
// styles the book knows (bold, italic, underline, sub- and superscript), links, anchors and
// pictures, with headings as titles and subtitles, list items, table-free text and preformatted
// blocks as paragraphs. Also the plain-text extraction of HTML and the formatting of HTML from
// the clipboard.
//
// The document is read in one scan, tag by tag, instead of by a chain of replacements over the
// whole text: tags of any case, with or without quotes, unclosed paragraphs and list items,
// comments that hold tags, script and style content are all told apart there, and the book
// that comes out has its inline tags balanced in every paragraph.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/Progress.h"
#include "common/Session.h"

namespace pw::import {

struct HtmlImportOptions {
  // Where relative picture names of the source are found; empty: pictures are not copied.
  std::filesystem::path sourceFolder;
  // Where pictures are copied to (the book's folder); empty: pictures keep their names.
  std::filesystem::path bookFolder;
  bool linkHeadings = false;  // a contents block linking every title
  // The book's author and title when the source names them itself (a PDF's own fields); they
  // win over what the headings say.
  std::string bookAuthor;
  std::string bookTitle;
};

struct HtmlImportReport {
  size_t paragraphs = 0;
  size_t titles = 0;
  size_t subtitles = 0;
  size_t pictures = 0;        // picture tags kept
  size_t copiedPictures = 0;  // picture files copied beside the book
  // The copied picture that is the page's cover: the one its "<link rel=coverpage>" names, or
  // its first picture before any text; empty when none.
  std::string coverPicture;
  std::string bookAuthor;
  std::string bookTitle;
};

// The classes of a style sheet that make text bold or italic: a class selector (".c", "p.c",
// "span.c") whose declarations hold "font-weight: bold" (or bolder, or 600 to 900) or
// "font-style: italic" (or oblique). Returned as (class, bold, italic).
struct StyleClass {
  std::string name;
  bool bold = false;
  bool italic = false;
};
std::vector<StyleClass> ReadStyleClasses(std::string_view css);

// The whole chain on a UTF-8 HTML text; returns the html0 document.
std::string ConvertHtmlToHtml0(std::string_view html, common::Session& session, const HtmlImportOptions& options = {},
                               HtmlImportReport* report = nullptr);

// The file entry: reads `source`, decides its code page, converts and writes `output`; when the
// book keeps no paragraph of a source that has text, says "cannot transform to Pagewright format
// keeping original format", asks "Do you want to try the complete re-formatting?" and on "yes"
// converts the extracted text as a text book. False when nothing was written.
bool ConvertHtmlFileToHtml0(const std::filesystem::path& source, const std::filesystem::path& output,
                            common::Session& session, HtmlImportReport* report = nullptr);

// The plain text of an HTML document: block ends become line ends, tags go, the blank-like
// entities become blanks and the soft hyphens vanish.
std::string ExtractTextFromHtml(std::string_view html, common::Progress& progress);

// HTML from the clipboard as book paragraphs: bold, italic, sub- and superscript, underline,
// pictures and links kept, headings centred, every other tag removed.
std::string FormatClipboardHtml(std::string_view html, common::Progress& progress);

}  // namespace pw::import
