// Plain text with a little markup in it: the "checking tags" step of the text converter.
//
// The inline styles a book keeps (bold, italic, underline, subscript, superscript, and their
// spellings "strong" and "em") are taken out of the way of the text passes as kept-tag marks
// (private-use characters in place of "<" and ">"), so that no text line holds "<" and the
// passes still treat every line as text. "<br>" and "<p>" end a line. Every other "<" and ">"
// is text ("<ESC>" in a manual, "a < b" in a sum) and is written "&lt;" and "&gt;".
// RestoreKeptTags turns the marks back into tags once the book is written.
#pragma once

#include <string>
#include <string_view>

namespace pw::import {

inline constexpr std::string_view kKeptTagOpen = "\xEE\x80\x90";   // U+E010
inline constexpr std::string_view kKeptTagClose = "\xEE\x80\x91";  // U+E011

// The checking step: kept tags become marks in upper case ("<b>" → mark "B" mark, "<em>" →
// mark "I" mark), line-ending tags become CRLF, every other bracket is escaped.
std::string CheckTags(std::string_view text);

// True when `text` holds at least one tag of HTML ("<p>", "</div>", "<br/>", "<html ...>"), as a
// page saved as text does; "<ESC>" or "<john@example.org>" in a plain text are no such tags.
bool LooksLikeHtml(std::string_view text);

// Escapes every "<" and ">" of `text` (a text without markup).
std::string EscapeAngleBrackets(std::string_view text);

bool HasKeptTags(std::string_view text);
// `text` without its kept-tag marks and what stands between them.
std::string StripKeptTags(std::string_view text);
// The marks turned back into "<" and ">".
std::string RestoreKeptTags(std::string_view text);

}  // namespace pw::import
