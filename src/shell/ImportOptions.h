// The import settings a conversion can be given, declared once: the command line builds its
// options from this table, and the workshop's import dialog reads the same names, choices and
// help texts.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "common/Settings.h"

namespace pw::shell {

struct SettingOption {
  std::string_view name;  // the long option name, without dashes
  std::string_view help;
  std::span<const std::string_view> choices;  // the values it takes; the first is the default
  std::string common::Settings::*field;       // the setting it sets
};

// Paragraph mode, language and code page of sources.
std::span<const SettingOption> ImportOptions();

// The declared spelling of `value` among the choices of `option`, compared case-insensitively;
// empty when it is none of them.
std::string_view MatchChoice(const SettingOption& option, std::string_view value);

}  // namespace pw::shell
