#include "shell/ImportOptions.h"

#include "common/Text.h"

namespace pw::shell {
namespace {

constexpr std::string_view kModes[] = {"auto", "simple", "spaces", "line ends", "advanced", "tabulators"};
constexpr std::string_view kLanguages[] = {"auto",   "Russian", "English", "Spanish",
                                           "German", "French",  "Polish",  "Czech"};
constexpr std::string_view kCodePages[] = {"auto",  "Win1251", "Win1252", "Win1250", "Koi8r",
                                           "CP866", "iso",     "MacCyr",  "utf-8"};

constexpr SettingOption kImportOptions[] = {
    {"mode", "Paragraph mode of text sources", kModes, &common::Settings::paragraphMode},
    {"lang", "Language of the sources (auto: detected)", kLanguages, &common::Settings::importLanguage},
    {"codepage", "Code page of the sources (auto: detected)", kCodePages, &common::Settings::importCodePage},
};

}  // namespace

std::span<const SettingOption> ImportOptions() { return kImportOptions; }

std::string_view MatchChoice(const SettingOption& option, std::string_view value) {
  const std::string lower = common::AsciiLower(value);
  for (std::string_view choice : option.choices) {
    if (common::AsciiLower(choice) == lower) return choice;
  }
  return {};
}

}  // namespace pw::shell
