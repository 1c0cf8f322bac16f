// The clean-up slots the converters run by themselves ("before", "after" and "output"): a rule
// file name, or "none".
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "common/Session.h"

namespace pw::corrector {

inline constexpr std::string_view kNoRuleFile = "none";

// Runs the enabled rows of rule file `ruleFile` over `text` and returns the result. "none"
// or an empty name returns the text as it is; a relative name is looked up in `ruleFolder`.
// A missing or damaged file is reported through the session's messages and leaves the text
// unchanged.
std::string ApplyCleanUpFile(std::string_view text, std::string_view ruleFile,
                             const std::filesystem::path& ruleFolder, common::Session& session);

}  // namespace pw::corrector
