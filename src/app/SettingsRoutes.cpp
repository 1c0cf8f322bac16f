// The settings a user changes in the workshop's dialogs (the settings dialog and the import
// settings): read as one object, changed field by field with each value checked, and written
// to the settings file at once, so that a crash loses nothing.
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <span>

#include "app/ColourFields.h"
#include "app/WorkshopRoutes.h"
#include "app/WorkshopServer.h"
#include "shell/ImportOptions.h"
#include "shell/SettingsFile.h"
#include "shell/StartUp.h"

namespace pw::app {
namespace {

using json = nlohmann::json;

constexpr std::string_view kFontSizes[] = {"x-small", "small", "medium", "large", "x-large", "xx-large"};
constexpr std::string_view kWeights[] = {"normal", "bold"};
constexpr std::string_view kDashStyles[] = {"short", "middle", "long"};
constexpr std::string_view kEncodings[] = {"utf-8", "windows-1251", "windows-1252"};

// A text setting the dialogs change; no choices means any text of one line.
struct TextSetting {
  const char* name;
  std::string common::Settings::*field;
  std::span<const std::string_view> choices;
};

const TextSetting kTextSettings[] = {
    {"editorFont", &common::Settings::editorFont, {}},
    {"editorFontSize", &common::Settings::editorFontSize, kFontSizes},
    {"editorFontWeight", &common::Settings::editorFontWeight, kWeights},
    {"dashStyle", &common::Settings::dashStyle, kDashStyles},
    {"fb2Encoding", &common::Settings::fb2Encoding, kEncodings},
    {"outputCharset", &common::Settings::outputCharset, kEncodings},
    {"wordProcessorPath", &common::Settings::wordProcessorPath, {}},
    {"pdfToHtmlPath", &common::Settings::pdfToHtmlPath, {}},
    {"validatorPath", &common::Settings::validatorPath, {}},
};

struct FlagSetting {
  const char* name;
  bool common::Settings::*field;
};

const FlagSetting kFlagSettings[] = {
    {"signBooks", &common::Settings::signBooks},
    {"warnUnsaved", &common::Settings::warnUnsaved},
    {"openLastBook", &common::Settings::openLastBook},
};

// A whole number of the settings with its bounds: the seconds an outside program may run.
struct NumberSetting {
  const char* name;
  int common::Settings::*field;
  int least;
  int most;
};

const NumberSetting kNumberSettings[] = {
    {"pdfToolTimeout", &common::Settings::pdfToolTimeout, 1, 86400},
    {"officeToolTimeout", &common::Settings::officeToolTimeout, 1, 86400},
};

bool OneLine(const std::string& text) {
  return text.size() < 1000 && text.find_first_of("\r\n") == std::string::npos;
}

json Choices(std::span<const std::string_view> choices) {
  json out = json::array();
  for (std::string_view choice : choices) out.push_back(std::string(choice));
  return out;
}

json ColoursJson(const common::ElementColours& colours) {
  json out = json::object();
  for (const auto& colour : kColourFields) out[colour.name] = colours.*colour.field;
  return out;
}

json SettingsJson(const common::Settings& settings) {
  json out;
  out["interfaceLanguage"] = settings.interfaceLanguage == common::Language::Russian ? "ru" : "en";
  for (const auto& setting : kTextSettings) {
    out[setting.name] = settings.*setting.field;
    if (!setting.choices.empty()) out["choices"][setting.name] = Choices(setting.choices);
  }
  for (const auto& setting : kFlagSettings) out[setting.name] = settings.*setting.field;
  for (const auto& setting : kNumberSettings) out[setting.name] = settings.*setting.field;
  out["colours"] = ColoursJson(settings.elementColours);
  out["defaultColours"] = ColoursJson(common::ElementColours{});
  out["outsidePrograms"] = settings.outsidePrograms;
  for (const shell::SettingOption& option : shell::ImportOptions()) {
    out[std::string(option.name)] = settings.*option.field;
    out["choices"][std::string(option.name)] = Choices(option.choices);
  }
  return out;
}

// Applies what `in` holds; the names of the values refused go to `refused`.
void ApplySettings(const json& in, common::Settings& settings, std::vector<std::string>& refused) {
  if (in.contains("interfaceLanguage")) {
    const json& value = in["interfaceLanguage"];
    if (value == "ru") settings.interfaceLanguage = common::Language::Russian;
    else if (value == "en") settings.interfaceLanguage = common::Language::English;
    else refused.push_back("interfaceLanguage");
  }
  for (const auto& setting : kTextSettings) {
    if (!in.contains(setting.name)) continue;
    const json& value = in[setting.name];
    const bool ok = value.is_string() && OneLine(value.get<std::string>()) &&
                    (setting.choices.empty() ||
                     std::find(setting.choices.begin(), setting.choices.end(), value.get<std::string>()) !=
                         setting.choices.end());
    if (ok) settings.*setting.field = value.get<std::string>();
    else refused.push_back(setting.name);
  }
  for (const auto& setting : kFlagSettings) {
    if (!in.contains(setting.name)) continue;
    if (in[setting.name].is_boolean()) settings.*setting.field = in[setting.name].get<bool>();
    else refused.push_back(setting.name);
  }
  for (const auto& setting : kNumberSettings) {
    if (!in.contains(setting.name)) continue;
    const json& value = in[setting.name];
    if (value.is_number_integer() && value.get<int64_t>() >= setting.least && value.get<int64_t>() <= setting.most)
      settings.*setting.field = static_cast<int>(value.get<int64_t>());
    else refused.push_back(setting.name);
  }
  if (in.contains("resetColours") && in["resetColours"] == true) settings.elementColours = common::ElementColours{};
  if (in.contains("colours") && in["colours"].is_object()) {
    for (const auto& colour : kColourFields) {
      if (!in["colours"].contains(colour.name)) continue;
      const json& value = in["colours"][colour.name];
      if (value.is_string() && IsColour(value.get<std::string>())) settings.elementColours.*colour.field = value;
      else refused.push_back(std::string("colours.") + colour.name);
    }
  }
  if (in.contains("outsidePrograms")) {
    const json& value = in["outsidePrograms"];
    std::vector<std::string> programs;
    bool ok = value.is_array() && value.size() <= 16;
    for (const json& entry : ok ? value : json::array()) {
      ok = ok && entry.is_string() && OneLine(entry.get<std::string>());
      if (ok && !entry.get<std::string>().empty()) programs.push_back(entry.get<std::string>());
    }
    if (ok) settings.outsidePrograms = std::move(programs);
    else refused.push_back("outsidePrograms");
  }
  for (const shell::SettingOption& option : shell::ImportOptions()) {
    const std::string name(option.name);
    if (!in.contains(name)) continue;
    const std::string_view chosen = in[name].is_string() ? shell::MatchChoice(option, in[name].get<std::string>()) : "";
    if (!chosen.empty()) settings.*option.field = std::string(chosen);
    else refused.push_back(name);
  }
}

}  // namespace

void AddSettingsRoutes(httplib::Server& server, WorkshopServer& workshop) {
  server.Get("/api/settings", [&workshop](const httplib::Request&, httplib::Response& response) {
    std::lock_guard lock(workshop.bookMutex());
    Reply(response, SettingsJson(workshop.shell().settings()));
  });

  // Only the fields given change; a refused value changes nothing of the rest and is named.
  server.Post("/api/settings", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object()) return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(workshop.bookMutex());
    common::Settings changed = workshop.shell().settings();
    std::vector<std::string> refused;
    ApplySettings(in, changed, refused);
    if (!refused.empty()) return Reply(response, {{"ok", false}, {"refused", refused}}, 422);
    workshop.shell().settings() = changed;
    const bool saved = shell::SaveSettings(workshop.shell().workshop().settingsFile(), changed);
    json out = SettingsJson(changed);
    out["ok"] = saved;
    Reply(response, out);
  });
}

}  // namespace pw::app
