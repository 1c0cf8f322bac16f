// The character passes of the text-to-book converter over the whole work text, each one
// linear: line ends, the tcr leftovers, bad symbols, non-standard symbols and dashes.
#pragma once

#include <string>
#include <string_view>

namespace pw::import {

// Every line end (CRLF, a lone LF or a lone CR) as CRLF.
std::string NormaliseLineEnds(std::string_view text);

// A tcr source: "PPL" at the first or second character is removed, then the first "<* >".
void RemoveTcrLeftovers(std::string& text);

// Deletes every character with code 0 to 8, 11, 12 and 14 to 31 (tab, line feed and carriage
// return stay).
void RemoveBadSymbols(std::string& text);

// In this order: " *" becomes "*"; the no-break space a blank; the en and em dashes "-"; the
// soft hyphen is deleted; "==" becomes "-"; the tab a blank.
void ReplaceNonStandardSymbols(std::string& text);

// The en and em dashes become "-" and "--" becomes "-" (one left-to-right pass, as the
// replacement of a pair); the character code 1 is deleted.
void ReplaceDashes(std::string& text);

// Appends the line separator, the end line (code 1) and the sentinel line.
void AppendEndSentinel(std::string& text);

}  // namespace pw::import
