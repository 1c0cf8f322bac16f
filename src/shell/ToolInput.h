// Sources that outside programs turn into HTML first: PDF through poppler's pdftohtml, Word and
// RTF documents through a headless office suite. A missing program fails the import with its
// message before anything is run.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "shell/Converters.h"

namespace pw::shell {

// Runs `arguments` (the program first, looked up on PATH when it has no folder) in `folder`
// hidden, through ShellWait; ends it after `timeoutSeconds`. The program's exit code, 127 when
// there is no such program, or -1 when it was ended or nothing was given. With `outputFile`
// set, the program's standard output goes there.
int RunTool(const std::vector<std::string>& arguments, const std::filesystem::path& folder, int timeoutSeconds,
            const std::filesystem::path& outputFile = {});

// The program to run: `configured` when set, else the first of `names` found on PATH; empty
// when there is none.
std::string FindTool(const std::string& configured, const std::vector<std::string>& names);

// pdf: "pdftohtml -q -xml -i -enc UTF-8" lays out the pages, which become a page of HTML with
// running heads, page numbers and line-end hyphens dealt with and headings by the outline or
// the type (PdfLayout.h); "pdfinfo" gives the PDF's own title and author. The page goes
// through the HTML-to-book converter.
bool ConvertPdfBook(ConvertJob& job);

// doc and rtf: the office suite saves the document as HTML, which the HTML-to-book converter
// reads with its pictures.
bool ConvertOfficeBook(ConvertJob& job);

}  // namespace pw::shell
