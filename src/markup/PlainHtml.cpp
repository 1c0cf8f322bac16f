#include "markup/PlainHtml.h"

#include <vector>

#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/TagPass.h"

namespace pw::markup {
namespace {

// Custom-tag forms of the program's own blocks, which an HTML engine may have produced from
// the marks; they mean nothing outside the program.
constexpr std::string_view kCustomTags[] = {
    "<BCONTENTS>", "</BCONTENTS>", "<PWSIGN>",    "</PWSIGN>",   "<FB2TEXTEND>",
    "</FB2TEXTEND>", "<ContPlace>", "</ContPlace>", "<FbSection>", "</FbSection>",
    "<FbSectionEnd>", "</FbSectionEnd>", "<KeepBr>", "</KeepBr>",
};

void RemoveBadAscii(std::string& text) {
  // Control characters other than tab and line ends have no place in a book; a few old
  // converters leave them behind (page feeds, the end sentinel).
  size_t out = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 32 && c != '\t' && c != '\r' && c != '\n') continue;
    text[out++] = text[i];
  }
  text.resize(out);
}

}  // namespace

void ProtectEscapedBrackets(std::string& text) {
  static constexpr TagRule kRules[] = {
      {.match = "&lt;", .replacement = kProtectedLt},
      {.match = "&gt;", .replacement = kProtectedGt},
  };
  ApplyTagRules(text, kRules);
}

void RestoreEscapedBrackets(std::string& text) {
  static constexpr TagRule kRules[] = {
      {.match = kProtectedLt, .replacement = "&lt;"},
      {.match = kProtectedGt, .replacement = "&gt;"},
  };
  ApplyTagRules(text, kRules);
}

void ArrangeAsPlainHtml(std::string& document, const PlainHtmlOptions& options,
                        common::Progress& progress) {
  progress.Status("...arranging html: removing PW tags...");
  progress.Percent(0);
  if (options.removeTables) CutBlocks(document, "<TABLE", "</TABLE>");

  // The program's own marks and forms, all rewritten in one pass. Order matters only where
  // two rules could start at the same place: longer, more specific forms come first.
  std::vector<TagRule> rules;
  if (options.removeLinks) {
    rules.push_back({.match = "<A", .replacement = "", .caseless = true, .toTagEnd = true});
    rules.push_back({.match = "</A>", .replacement = "", .caseless = true});
  }
  if (options.removePictures) {
    rules.push_back({.match = "<IMG", .replacement = "", .caseless = true, .toTagEnd = true});
  }
  rules.push_back({.match = kKeepBr, .replacement = "<BR>"});
  rules.push_back({.match = "&lt;", .replacement = kProtectedLt});
  rules.push_back({.match = "&gt;", .replacement = kProtectedGt});
  // The coloured note links and the former titles are the program's own tags, so they are
  // matched as whole tag openings, which keeps the scan on '<' and '&' only.
  rules.push_back({.match = "<A style=\"COLOR: blue\" href=", .replacement = "<A href="});
  rules.push_back({.match = "<A style=\"COLOR: brown\" href=", .replacement = "<A href="});
  if (!options.keepFormerTitles) {
    rules.push_back({.match = "<SPAN id=former_title>", .replacement = "<SPAN id=title>"});
  }
  rules.push_back({.match = kLastParagraph, .replacement = ""});
  rules.push_back({.match = "<DIV id=LastPar align=justify>&nbsp;</DIV>", .replacement = ""});
  rules.push_back({.match = kEmptyLine, .replacement = "<BR>"});
  rules.push_back({.match = kEmptyLineBlank, .replacement = "<BR>"});
  for (std::string_view tag : kCustomTags) {
    rules.push_back({.match = tag, .replacement = "", .caseless = true});
  }
  rules.push_back({.match = "<H2 id=BookAuthor align=center>", .replacement = "<H2 align=center>"});
  rules.push_back({.match = "<H2 id=BookTitle align=center>", .replacement = "<H2 align=center>"});
  if (options.cleanHtml) {
    rules.push_back({.match = "<SPAN", .replacement = "", .caseless = true, .toTagEnd = true});
    rules.push_back({.match = "</SPAN>", .replacement = "", .caseless = true});
  }
  ApplyTagRules(document, rules);
  progress.Percent(40);

  progress.Status("...arranging html: non-used tags...");
  static constexpr TagRule kUnusedTags[] = {
      {.match = "<BODY", .replacement = "", .caseless = true, .toTagEnd = true},
      {.match = "</BODY>", .replacement = "", .caseless = true},
      {.match = "<BASEFONT", .replacement = "", .caseless = true, .toTagEnd = true},
      {.match = "</BASEFONT>", .replacement = "", .caseless = true},
      {.match = "<META", .replacement = "", .caseless = true, .toTagEnd = true},
      {.match = "<BookReader", .replacement = "", .caseless = true, .toTagEnd = true},
      {.match = "<HTML>", .replacement = "", .caseless = true},
      {.match = "</HTML>", .replacement = "", .caseless = true},
  };
  ApplyTagRules(document, kUnusedTags);
  progress.Percent(55);

  progress.Status("...arranging html: removing style tags...");
  ApplyTagRule(document, {.match = "<DIV style", .replacement = "<DIV align=justify>",
                          .toTagEnd = true});
  progress.Percent(70);

  progress.Status("...arranging html: removing font tags...");
  static constexpr TagRule kFontTags[] = {
      {.match = "<FONT", .replacement = "", .caseless = true, .toTagEnd = true},
      {.match = "</FONT>", .replacement = "", .caseless = true},
  };
  ApplyTagRules(document, kFontTags);
  progress.Percent(85);

  progress.Status("...arranging html: removing bad ASCII...");
  RemoveBadAscii(document);
  // Inner pairs first, so "<B><I></I></B>" goes as a whole.
  ApplyTagRule(document, {.match = "<I></I>", .replacement = ""});
  ApplyTagRule(document, {.match = "<B></B>", .replacement = ""});
  if (!options.keepBracketsProtected) RestoreEscapedBrackets(document);
  progress.Percent(100);
}

}  // namespace pw::markup
