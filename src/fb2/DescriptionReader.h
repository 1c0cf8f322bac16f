// Reading a FictionBook description into the description model: from "Description.fb2" in a
// book folder, or from the description of an FB2 file, however broken the file is.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include "common/Session.h"
#include "fb2/Description.h"

namespace pw::fb2 {

// Reads the first description element of `xml` (UTF-8: a lone description element or a whole
// FB2 text). Text is plain in the model: references decoded, white space collapsed; the
// annotation and history hold one paragraph a line (verse lines, cites and poems inside them
// included); a missing language becomes "eng"; a person given twice in a row is kept once.
// Nothing when there is no description element.
std::optional<Fb2Description> ReadDescription(std::string_view xml);

// The same for the bytes of an FB2 file in any encoding (read as the import reads them).
// `language` is the import language setting, used only when the bytes lie about their encoding.
std::optional<Fb2Description> ReadFb2FileDescription(std::string_view bytes, std::string_view language = "auto");

// Loading the description from an FB2 file into the book folder `session.workFolder`: the
// description is written there as "Description.fb2" and returned. A file without one shows
// "Fiction Book description not found" and leaves the current description as it is; an
// unreadable file shows the reading error. Nothing in both cases.
std::optional<Fb2Description> LoadFb2Description(const std::filesystem::path& fb2File, common::Session& session);

// The current description of a book folder, from its "Description.fb2"; nothing when the
// folder has none or it holds no description.
std::optional<Fb2Description> ReadDescriptionFile(const std::filesystem::path& workFolder);

}  // namespace pw::fb2
