// Character tests of the text-to-book converter over UTF-8 lines: letters by case, the
// characters that end a sentence and those that may begin a paragraph. Where the converter
// speaks of a code of the book's code page ("224 to 255", the guillemets, code 133), the test
// here takes the Unicode character, so every script the book may be in is served alike.
#pragma once

#include <string_view>

namespace pw::import {

inline constexpr char32_t kEllipsis = U'\u2026';

// The first and the last code point of `text`, and a blank (32) for an empty text, as the
// character tests read a text with one blank appended.
char32_t FirstCodePointOr(std::string_view text, char32_t empty = U' ');
char32_t LastCodePointOr(std::string_view text, char32_t empty = U' ');

// Number of characters (code points) of `text`.
size_t CharLength(std::string_view text);

bool IsLowerLetter(char32_t cp);
bool IsUpperLetter(char32_t cp);
bool IsAsciiDigit(char32_t cp);
bool IsLetterOrDigit(char32_t cp);

// Quotes and brackets that may close a sentence after its point, and those that may open one.
bool IsClosingQuote(char32_t cp);
bool IsOpeningQuote(char32_t cp);

// The text without blanks (spaces only) at its start / end.
std::string_view TrimLeadingBlanks(std::string_view text);
std::string_view TrimTrailingBlanks(std::string_view text);
// Trimmed of blanks at both ends.
std::string_view TrimBlanks(std::string_view text);

// True when `line` ends a sentence: ".", "…", "!" or "?" as its last character, or followed
// only by closing quotes ("the dogs’" does not end one: its quote is an apostrophe).
bool EndsSentence(std::string_view line);

// True when the first character of the trimmed `line` may begin a paragraph: a capital
// letter, an opening quote or guillemet, a dash (a dialogue line), a digit (a list item or a
// number), the ellipsis, an opening bracket or a bullet.
bool BeginsParagraph(std::string_view line);

// True when the first letter of the trimmed `line`, after opening quotes, brackets, dashes and
// the ellipsis, is a capital: the start of a verse line («Кабы я была царица, —).
bool BeginsWithCapital(std::string_view line);

}  // namespace pw::import
