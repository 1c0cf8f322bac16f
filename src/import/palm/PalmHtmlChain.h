// The chain an HTML text unpacked from a Palm book goes through before the HTML-to-book
// converter: the user's first clean-up, the blanks, headers and marks of other programs, line
// breaks, hyphens at line ends, the Mobipocket tags the book has no use for, the user's last
// clean-up. Each step shows its status text, in the order listed in kPalmChainSteps.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "common/Session.h"

namespace pw::import::palm {

// The status texts of the chain, in order.
inline constexpr std::string_view kPalmChainSteps[] = {
    "...first user clean-up...",       "...arranging non-broken spaces...", "...removing html headers...",
    "...removing PW header...",        "...arranging titles...",            "...arranging line breaks...",
    "...removing non-used tags...",    "...removing PW sign...",            "...inserting paragraph indents...",
    "...removing hyphens...",          "...arranging headers...",           "...assigning colors...",
    "...removing filepos...",          "...making book start...",           "...removing repeated line breaks...",
    "...inserting line ends...",       "...last user-defined clean-up...",  "...removing tags...",
    "...replacing non-standard symbols...",
};

// Runs the chain over the UTF-8 `html`; the clean-up slots of the session's settings take
// their rule files from `ruleFolder`. Returns the HTML for the HTML-to-book converter.
std::string RunPalmHtmlChain(std::string html, common::Session& session, const std::filesystem::path& ruleFolder);

// Joins words split by a hyphen at a line end: "con-\r\ntinue" becomes "continue" when a
// letter stands before the hyphen and a lower-case letter after the line end.
std::string JoinHyphenatedLines(std::string_view text);

// Removes attribute `name` (ASCII-caseless, with its value) from every tag that has it.
std::string RemoveAttribute(std::string_view html, std::string_view name);

// Removes the tags whose name carries a prefix ("<mbp:pagebreak/>", "</dc:title>"), keeping
// what stands between them.
std::string RemovePrefixedTags(std::string_view html);

// Makes each run of more than two line-break tags two.
std::string CollapseLineBreaks(std::string_view html);

}  // namespace pw::import::palm
