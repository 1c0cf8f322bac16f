// Where the FictionBook description lives around an html0 book: not in the body text, but in
// "Description.fb2" and "Description.html0" beside the working document. The book text ends
// with the end-of-text mark; a stored book may carry the description after it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace pw::markup {

inline constexpr std::string_view kDescriptionFb2File = "Description.fb2";
inline constexpr std::string_view kDescriptionHtmlFile = "Description.html0";
inline constexpr std::string_view kFb2DescriptionOpen = "<fb2_description>";
inline constexpr std::string_view kFb2DescriptionClose = "</fb2_description>";
inline constexpr std::string_view kDescriptionDisplayOpen = "<SPAN id=Fb2Description>";
inline constexpr std::string_view kDescriptionLink =
    "<DIV align=center><A id=Fiction_Book_Description||link "
    "href=\"#Fiction_Book_Description_Name_False\">Fiction Book Description</A></DIV>";

// Writes the end-of-text mark before "</BASEFONT>", else "</BODY>", else "</HTML>" (the first
// of these the document has), else at the end. A document that has the mark keeps it.
void PlaceTextEndMark(std::string& document);

// Cuts the "<fb2_description>" block out of `document` and returns what stood between the
// markers; nothing when the document has no complete block.
std::optional<std::string> CutFb2Description(std::string& document);

// Cuts the "<SPAN id=Fb2Description>" display block (with its nested spans) out of
// `document` and returns it whole; nothing when absent or unclosed.
std::optional<std::string> CutDescriptionDisplay(std::string& document);

// Puts `description` between the markers right after the end-of-text mark (placing the mark
// first when missing), replacing a description block the document had.
void AttachFb2Description(std::string& document, std::string_view description);

// Cuts both description forms out of `document` and writes them into `workFolder` as
// "Description.fb2" and "Description.html0". Returns false when a file could not be written;
// the document is changed only when everything was written.
bool SplitOutDescription(std::string& document, const std::filesystem::path& workFolder);

}  // namespace pw::markup
