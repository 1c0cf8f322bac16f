// The html0 book: its skeleton, the exact HTML of every marked element, and the contents
// block. Elements are found elsewhere by exact, case-sensitive substring search, so every
// writer of the format builds them here and nowhere else.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/Settings.h"

namespace pw::markup {

// Line separator of every text the program writes.
inline constexpr std::string_view kCrLf = "\r\n";

// Fixed pieces of the vocabulary.
inline constexpr std::string_view kParagraphStart = "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;";
inline constexpr std::string_view kDivEnd = "</DIV>";
inline constexpr std::string_view kEmptyIndentedParagraph =
    "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;</DIV>";
inline constexpr std::string_view kEmptyLine = "<DIV align=justify>&nbsp;</DIV>";
inline constexpr std::string_view kEmptyLineBlank = "<DIV align=justify> </DIV>";
inline constexpr std::string_view kKeepBr = "<BR id=KeepBr>";
inline constexpr std::string_view kPageBreak = "<HR>";
inline constexpr std::string_view kMarkColour = "#ffb848";
inline constexpr std::string_view kFirstParagraphStart =
    "<DIV id=FirstPar align=justify>&nbsp;&nbsp;&nbsp;&nbsp;";
inline constexpr std::string_view kLastParagraph =
    "<DIV id=LastPar align=justify>&nbsp;&nbsp;&nbsp;&nbsp;</DIV>";
inline constexpr std::string_view kContentsPlace = "<SPAN id=ContPlace></SPAN>";
inline constexpr std::string_view kSectionStart = "<SPAN id=FbSection></SPAN>";
inline constexpr std::string_view kSectionEnd = "<SPAN id=FbSectionEnd></SPAN>";
inline constexpr std::string_view kTextEnd = "<SPAN id=FB2TEXTEND></SPAN>";
inline constexpr std::string_view kBookEnd = "</BODY></HTML>";

// Opening strings by which elements are recognised, in the order the element browser tries them.
inline constexpr std::string_view kContentsOpen = "<SPAN id=BCONTENTS>";
inline constexpr std::string_view kBookAuthorOpen = "<H2 id=BookAuthor";
inline constexpr std::string_view kBookTitleOpen = "<H2 id=BookTitle";
inline constexpr std::string_view kTitleOpen = "<SPAN id=title>";
inline constexpr std::string_view kFormerTitleOpen = "<SPAN id=former_title>";
inline constexpr std::string_view kSubtitleOpen = "<SPAN id=subtitle>";
inline constexpr std::string_view kEpigraphOpen = "<SPAN id=epigraph>";
inline constexpr std::string_view kCiteOpen = "<SPAN id=cite>";
inline constexpr std::string_view kVerseOpen = "<SPAN id=verse>";
inline constexpr std::string_view kTextAuthorOpen = "<SPAN id=txtaut>";
inline constexpr std::string_view kAnnotationOpen = "<SPAN id=annotation>";
inline constexpr std::string_view kNoteBlockOpen = "<SPAN id=NoteBlock>";
inline constexpr std::string_view kSignatureOpen = "<SPAN id=PWSIGN>";

// Escaped angle brackets ("&lt;" and "&gt;") stand protected as these private-use characters
// while a chain removes tags, so that text which only looks like a tag survives.
inline constexpr std::string_view kProtectedLt = "\xEE\x80\x80";  // U+E000
inline constexpr std::string_view kProtectedGt = "\xEE\x80\x81";  // U+E001

// The look of the body: font, colours and page geometry.
struct BodyStyle {
  std::string bgColor = "#FFFFFF";
  std::string textColor = "#000000";
  std::string fontSize = "small";
  std::string fontFamily = "Times New Roman";
  std::string fontWeight = "normal";
  std::string marginBottom = "245px";
  std::string lineHeight = "normal";
};

// The editor's body style from the settings; colours get their leading "#".
BodyStyle BodyStyleFromSettings(const common::Settings& settings);

// The head line. The charset is "utf-8" with forceUtf8, "windows-1251" with forceCyrillic,
// else `documentCharset`, falling back to "windows-1251" when that is empty.
std::string MakeCharsetMeta(bool forceUtf8, bool forceCyrillic, std::string_view documentCharset = {});

// The "<HTML>", head and body lines of the skeleton joined by CRLF (no CRLF after the body
// tag), or the body tag alone with `bodyOnly`.
std::string MakeBodyTag(std::string_view bgColor, std::string_view textColor,
                        std::string_view fontSize, std::string_view fontFamily, bool forceUtf8,
                        bool forceCyrillic, bool bodyOnly, std::string_view fontWeight = "normal",
                        std::string_view marginBottom = "245px",
                        std::string_view lineHeight = "normal",
                        std::string_view documentCharset = {});
std::string MakeBodyTag(const BodyStyle& style, bool forceUtf8, bool forceCyrillic, bool bodyOnly,
                        std::string_view documentCharset = {});

// A complete new book: the skeleton in UTF-8 with the default body and the two paragraphs
// "Start to type here" and the last-paragraph mark.
std::string MakeBlankBook();

// The seed document that gives an empty editing surface, with one empty paragraph or none.
std::string MakeSeedDocument(bool withParagraph);

// Colour written after "color=": bare, with its leading "#" (added when missing).
std::string HashColour(std::string_view colour);

// Text of a one-line element: every tag removed, line breaks turned into blanks, trimmed.
// Escaped brackets ("&lt;", "&gt;") are text and stay escaped.
std::string OneLineText(std::string_view html);

// A plain paragraph. A leading dash followed by a blank (a dialogue line) gets a no-break space.
std::string MakeParagraph(std::string_view text);

// One-line elements; `text` may hold markup, which is removed.
std::string MakeBookAuthor(std::string_view text, std::string_view colour);
std::string MakeBookTitle(std::string_view text, std::string_view colour);
std::string MakeTitle(std::string_view text, std::string_view colour);
std::string MakeFormerTitle(std::string_view text, std::string_view colour);
std::string MakeSubtitle(std::string_view text, std::string_view colour);
std::string MakeTextAuthor(std::string_view text, std::string_view colour);

// Block elements around `paragraphs` (already built paragraphs). `textAuthor`, when not
// empty, is the text-author element placed last inside the block.
std::string MakeVerse(std::string_view paragraphs, std::string_view textAuthor, std::string_view colour);
std::string MakeEpigraph(std::string_view paragraphs, std::string_view textAuthor, std::string_view colour);
std::string MakeAnnotation(std::string_view paragraphs, std::string_view textAuthor, std::string_view colour);
std::string MakeCite(std::string_view paragraphs, std::string_view textAuthor, std::string_view colour);
std::string MakeNoteBlock(std::string_view noteParagraphs, std::string_view colour);

// The text of the book-author or book-title heading (`open` is kBookAuthorOpen or
// kBookTitleOpen); empty when the book has none.
std::string BookHeadingText(std::string_view document, std::string_view open);

// The heading of the contents block for the book's code page setting.
std::string_view ContentsHeading(std::string_view bookCodePage);

// Gives every title of `document` an anchor numbered from 1 and returns the title texts in
// order. Titles that carry an anchor already keep it and count in the numbering.
std::vector<std::string> AnchorTitles(std::string& document);

// The contents block for titles numbered 1..n, as AnchorTitles numbered them.
std::string MakeContentsBlock(const std::vector<std::string>& titles, std::string_view heading);

// Anchors every title and places the contents block: after the contents place mark when the
// book has one, else after the book-title heading, else before the first paragraph.
// Returns false (document unchanged) when the book has no title.
bool InsertContents(std::string& document, std::string_view bookCodePage);

}  // namespace pw::markup
