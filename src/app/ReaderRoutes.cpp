// The reader's requests: its settings (reading fonts, colours, geometry, zoom, auto-scroll) read
// as one object and changed field by field, written to the settings file and to Fonts.dat at
// once; and the book laid out for reading.
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

#include "app/ColourFields.h"
#include "app/WorkshopRoutes.h"
#include "app/WorkshopServer.h"
#include "reader/Reader.h"
#include "reader/ReadingFonts.h"
#include "reader/ReadingView.h"
#include "shell/SettingsFile.h"
#include "shell/StartUp.h"

namespace pw::app {
namespace {

using json = nlohmann::json;

bool IsColourValue(const json& value) { return value.is_string() && IsColour(value.get<std::string>()); }

constexpr int kMinUserSide = 100;
constexpr int kMaxUserSide = 4000;
constexpr double kMaxSpeed = 1000.0;

json FontsJson(const reader::FontTable& table) {
  json out = json::object();
  for (size_t i = 0; i < reader::kFontKindCount; ++i) {
    const reader::ReadingFont& font = table.fonts[i];
    out[std::string(reader::FontKindName(static_cast<reader::FontKind>(i)))] = {
        {"face", font.face}, {"size", font.size}, {"bold", font.bold}, {"family", reader::FontFamilyList(font.face)}};
  }
  return out;
}

json ReaderJson(const common::Settings& settings, const reader::FontTable& fonts) {
  json geometries = json::array();
  for (const auto& geometry : reader::PageGeometries())
    geometries.push_back({{"name", geometry.name}, {"width", geometry.width}, {"height", geometry.height}});
  json colours = json::object();
  for (const auto& colour : kColourFields) colours[colour.name] = settings.readerElementColours.*colour.field;
  json speeds = json::object();
  json intervals = json::object();
  for (const char* type : {"pixels", "lines", "symbols"}) {
    speeds[type] = reader::ScrollSpeed(settings, type);
    intervals[type] = reader::AutoScrollIntervalMs(reader::ScrollSpeed(settings, type));
  }
  json faces = json::array();
  for (const std::string_view face : reader::ReadingFaces()) faces.push_back(std::string(face));
  const reader::ReadingColours shown = reader::ColoursFor(settings);
  return {{"geometries", geometries},
          {"geometry", reader::GeometryFor(settings.readerGeometry, settings).name},
          {"userWidth", settings.readerUserWidth},
          {"userHeight", settings.readerUserHeight},
          {"zoom", settings.readerZoom},
          {"zoomSteps", std::vector<int>(reader::ZoomSteps().begin(), reader::ZoomSteps().end())},
          {"scrollType", settings.scrollType},
          {"speeds", speeds},
          {"intervals", intervals},
          {"textColour", settings.readerTextColour},
          {"background", settings.readerBackground},
          {"colours", colours},
          {"night", settings.readerNightScheme},
          {"pageColours", {{"text", shown.text}, {"background", shown.background}}},
          {"faces", faces},
          {"fonts", FontsJson(fonts)},
          {"bookmark", reader::kTemporaryBookmarkId}};
}

// Applies what `in` holds to `settings` and `fonts`; the names of refused values go to
// `refused`.
void Apply(const json& in, common::Settings& settings, reader::FontTable& fonts, std::vector<std::string>& refused) {
  if (in.contains("geometry")) {
    const json& value = in["geometry"];
    bool known = value == "user";
    for (const auto& geometry : reader::PageGeometries()) known = known || value == geometry.name;
    if (known) settings.readerGeometry = value.get<std::string>();
    else refused.push_back("geometry");
  }
  for (const auto& [name, field] : {std::pair{"userWidth", &common::Settings::readerUserWidth},
                                    std::pair{"userHeight", &common::Settings::readerUserHeight}}) {
    if (!in.contains(name)) continue;
    const json& value = in[name];
    if (value.is_number_integer() && value.get<int>() >= kMinUserSide && value.get<int>() <= kMaxUserSide)
      settings.*field = value.get<int>();
    else refused.push_back(name);
  }
  if (in.contains("zoom")) {
    const json& value = in["zoom"];
    const auto steps = reader::ZoomSteps();
    if (value.is_number_integer() && std::find(steps.begin(), steps.end(), value.get<int>()) != steps.end())
      settings.readerZoom = value.get<int>();
    else refused.push_back("zoom");
  }
  // One step of zoom from the kept value, larger (1) or smaller (-1).
  if (in.contains("zoomStep")) {
    const json& value = in["zoomStep"];
    if (value == 1 || value == -1) settings.readerZoom = reader::StepZoom(settings.readerZoom, value.get<int>());
    else refused.push_back("zoomStep");
  }
  if (in.contains("scrollType")) {
    const json& value = in["scrollType"];
    if (value == "pixels" || value == "lines" || value == "symbols") settings.scrollType = value.get<std::string>();
    else refused.push_back("scrollType");
  }
  if (in.contains("speeds") && in["speeds"].is_object()) {
    for (const auto& [type, field] : {std::pair{"pixels", &common::Settings::scrollSpeedPixels},
                                      std::pair{"lines", &common::Settings::scrollSpeedLines},
                                      std::pair{"symbols", &common::Settings::scrollSpeedSymbols}}) {
      if (!in["speeds"].contains(type)) continue;
      const json& value = in["speeds"][type];
      if (value.is_number() && std::isfinite(value.get<double>()) && value.get<double>() > 0 &&
          value.get<double>() <= kMaxSpeed)
        settings.*field = value.get<float>();
      else refused.push_back(std::string("speeds.") + type);
    }
  }
  for (const auto& [name, field] : {std::pair{"textColour", &common::Settings::readerTextColour},
                                    std::pair{"background", &common::Settings::readerBackground}}) {
    if (!in.contains(name)) continue;
    if (IsColourValue(in[name])) settings.*field = in[name].get<std::string>();
    else refused.push_back(name);
  }
  if (in.contains("colours") && in["colours"].is_object()) {
    for (const auto& colour : kColourFields) {
      if (!in["colours"].contains(colour.name)) continue;
      if (IsColourValue(in["colours"][colour.name])) settings.readerElementColours.*colour.field = in["colours"][colour.name];
      else refused.push_back(std::string("colours.") + colour.name);
    }
  }
  if (in.contains("night")) {
    if (in["night"].is_boolean()) settings.readerNightScheme = in["night"].get<bool>();
    else refused.push_back("night");
  }
  if (in.contains("fonts") && in["fonts"].is_object()) {
    for (const auto& [name, value] : in["fonts"].items()) {
      reader::FontKind kind;
      if (!reader::FontKindFromName(name, kind) || !value.is_object()) {
        refused.push_back("fonts." + name);
        continue;
      }
      reader::ReadingFont font = fonts[kind];
      if (value.contains("face")) {
        if (value["face"].is_string() && reader::IsReadingFace(value["face"].get<std::string>()))
          font.face = value["face"].get<std::string>();
        else refused.push_back("fonts." + name + ".face");
      }
      if (value.contains("size")) {
        if (value["size"].is_number_integer() && value["size"].get<int>() >= reader::kMinFontSize &&
            value["size"].get<int>() <= reader::kMaxFontSize)
          font.size = value["size"].get<int>();
        else refused.push_back("fonts." + name + ".size");
      }
      if (value.contains("bold")) {
        if (value["bold"].is_boolean()) font.bold = value["bold"].get<bool>();
        else refused.push_back("fonts." + name + ".bold");
      }
      fonts[kind] = std::move(font);
    }
  }
}

}  // namespace

// The page's edits as last sent, with the reading fonts and colours over them.
void ServeReadingView(WorkshopServer& workshop, httplib::Response& response) {
  std::lock_guard lock(workshop.bookMutex());
  std::string document;
  workshop.editor().Document(document);
  reader::RemoveTemporaryBookmarks(document);
  const std::string view = reader::ReadingDocument(document, reader::LoadReadingFonts(workshop.shell().workshop().root),
                                                   reader::ColoursFor(workshop.shell().settings()));
  response.set_content(view, "text/html; charset=utf-8");
  response.set_header("Cache-Control", "no-store");
  response.set_header("Content-Security-Policy", std::string(kBookPolicy));
}

void AddReaderRoutes(httplib::Server& server, WorkshopServer& workshop) {
  server.Get("/api/reader/settings", [&workshop](const httplib::Request&, httplib::Response& response) {
    std::lock_guard lock(workshop.bookMutex());
    Reply(response, ReaderJson(workshop.shell().settings(), reader::LoadReadingFonts(workshop.shell().workshop().root)));
  });

  // Only the fields given change; a refused value changes nothing and is named.
  server.Post("/api/reader/settings", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object()) return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(workshop.bookMutex());
    const auto& root = workshop.shell().workshop().root;
    common::Settings settings = workshop.shell().settings();
    reader::FontTable fonts = reader::LoadReadingFonts(root);
    const reader::FontTable fontsBefore = fonts;
    std::vector<std::string> refused;
    Apply(in, settings, fonts, refused);
    if (!refused.empty()) return Reply(response, {{"ok", false}, {"refused", refused}}, 422);
    bool saved = true;
    if (settings != workshop.shell().settings()) {
      workshop.shell().settings() = settings;
      saved = shell::SaveSettings(workshop.shell().workshop().settingsFile(), settings);
    }
    if (fonts != fontsBefore) saved = reader::SaveReadingFonts(root, fonts) && saved;
    json out = ReaderJson(settings, fonts);
    out["ok"] = saved;
    Reply(response, out);
  });

  // The reading style sheet alone: the page lays it over the open view, so the place in the
  // book (the temporary bookmark) survives a change of fonts or colours.
  server.Get("/api/reader/style", [&workshop](const httplib::Request&, httplib::Response& response) {
    std::lock_guard lock(workshop.bookMutex());
    const reader::FontTable fonts = reader::LoadReadingFonts(workshop.shell().workshop().root);
    const reader::ReadingFont& text = fonts[reader::FontKind::Text];
    Reply(response, {{"css", reader::ReadingStyleSheet(fonts, reader::ColoursFor(workshop.shell().settings()))},
                      {"face", text.face},
                      {"size", reader::HtmlFontSize(text.size)}});
  });

  // One step of the alarm clock's hour or minute field, with its wraps.
  server.Post("/api/reader/alarm", [](const httplib::Request& request, httplib::Response& response) {
    const json in = json::parse(request.body, nullptr, false);
    if (!in.is_object() || !in.contains("hour") || !in["hour"].is_number_integer() || !in.contains("minute") ||
        !in["minute"].is_number_integer() || !in.contains("step") || !in["step"].is_number_integer() ||
        std::abs(in["step"].get<int>()) > 60 || (in.value("field", "") != "hour" && in.value("field", "") != "minute"))
      return Reply(response, {{"ok", false}}, 400);
    reader::AlarmTime time{((in["hour"].get<int>() % 24) + 24) % 24, ((in["minute"].get<int>() % 60) + 60) % 60};
    time = in["field"] == "hour" ? reader::StepAlarmHour(time, in["step"].get<int>())
                                 : reader::StepAlarmMinute(time, in["step"].get<int>());
    Reply(response, {{"ok", true},
                      {"hour", time.hour},
                      {"minute", time.minute},
                      {"hourText", reader::TwoDigits(time.hour)},
                      {"minuteText", reader::TwoDigits(time.minute)}});
  });
}

}  // namespace pw::app
