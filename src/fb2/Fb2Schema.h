// Validation of an FB2 file against the FictionBook 2 schema shipped with the program.
#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

#include "fb2/Fb2Checks.h"

namespace pw::fb2 {

inline constexpr std::string_view kFb2SchemaFile = "FictionBook.xsd";

// Every schema error of `xml` with its line; empty when the book is valid. A schema that
// cannot be loaded is itself reported as a finding. The compiled schema is kept per path.
std::vector<Fb2Finding> ValidateFb2Schema(std::string_view xml, const std::filesystem::path& schema);

// The whole truth about `xml`: the findings of the schema and of the checks beyond it
// (`CheckFb2Structure`), ordered by line. A misplaced element that the schema reports is told
// once, in the schema's words; a file that is not well-formed is reported by the XML reader only.
std::vector<Fb2Finding> ValidateFb2(std::string_view xml, const std::filesystem::path& schema);

}  // namespace pw::fb2
