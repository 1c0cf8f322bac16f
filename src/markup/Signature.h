// The signature block that a saved book may carry at its end. A book never carries two:
// every caller removes the old one before adding the new.
#pragma once

#include <string>
#include <string_view>

namespace pw::markup {

inline constexpr std::string_view kSignatureSentence = "This file was created with Pagewright program";
inline constexpr std::string_view kSignatureContact = "pagewright.books@example.org";

// Removes the signature: the PWSIGN span (with the break written in front of it) or, in books
// signed before the span existed, the centred lines starting at the signature sentence.
// Returns true when something was removed.
bool RemoveSignature(std::string& document);

// Appends the signature block with `dateText`, followed by the last-paragraph mark, at the
// end of the book text (before the end-of-text mark, else before the closing body tag).
// With `withLineEnds` each line of the block stands on its own line.
void AddSignature(std::string& document, std::string_view dateText, bool withLineEnds);

// The block itself, as AddSignature writes it.
std::string MakeSignatureBlock(std::string_view dateText, bool withLineEnds);

}  // namespace pw::markup
