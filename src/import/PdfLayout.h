// The pages of a PDF book, as poppler's "pdftohtml -xml" lays them out (every run of text with
// its place and font), made into a book page: the running heads and feet that repeat at the top
// or bottom of the pages and the bare page numbers go; words broken by a hyphen at a line end
// are joined when the whole word occurs elsewhere in the book; lines become paragraphs by their
// indents and gaps; headings are the lines the PDF's outline names (at the outline's depth) or,
// without an outline, the lines set in a clearly larger type than the text (a larger type, a
// higher level); the PDF's own title and author lead the page. The result is HTML for the
// HTML-to-book converter, which decides titles and subtitles from those levels.
#pragma once

#include <string>
#include <string_view>

namespace pw::import {

struct PdfInfo {
  std::string title;
  std::string author;
};

// The "Title:" and "Author:" lines of poppler's pdfinfo output (UTF-8).
PdfInfo ReadPdfInfo(std::string_view pdfinfoOutput);

struct PdfLayoutReport {
  size_t pages = 0;
  size_t runningLines = 0;  // running heads and feet removed
  size_t pageNumbers = 0;   // bare page numbers removed
  size_t joinedWords = 0;   // words joined across a line end
  size_t headings = 0;
  bool outline = false;     // the headings came from the outline
};

// The HTML page of the book whose "pdftohtml -xml" output is `xml`.
std::string PdfXmlToHtml(std::string_view xml, const PdfInfo& info, PdfLayoutReport* report = nullptr);

}  // namespace pw::import
