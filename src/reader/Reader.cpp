#include "reader/Reader.h"

#include <array>
#include <cmath>

namespace pw::reader {

namespace {

// The sizes come from common reading devices; the names say what they are, not who made them.
constexpr std::array<PageGeometry, 9> kGeometries = {{
    {"full screen", 0, 0},
    {"standard book", 430, 650},
    {"pocket book", 320, 500},
    {"small square (160x160)", 160, 160},
    {"square (320x320)", 320, 320},
    {"handheld (320x480)", 320, 480},
    {"small handheld (200x240)", 200, 240},
    {"handheld (240x320)", 240, 320},
    {"large handheld (480x640)", 480, 640},
}};

}  // namespace

std::span<const PageGeometry> PageGeometries() { return kGeometries; }

PageGeometry GeometryFor(std::string_view name, const common::Settings& settings) {
  if (name == "user") return {"user", settings.readerUserWidth, settings.readerUserHeight};
  for (const auto& geometry : kGeometries)
    if (geometry.name == name) return geometry;
  return kGeometries[1];
}

PageNumbers ComputePageNumbers(double scrollTop, double pageHeight, double scrollHeight) {
  PageNumbers pages;
  const long long height = std::llround(pageHeight);
  if (height <= 0) return pages;
  pages.current = static_cast<int>(static_cast<long long>(std::max(0.0, scrollTop)) / height) + 1;
  pages.total = static_cast<int>(static_cast<long long>(std::max(0.0, scrollHeight)) / height);
  if (pages.total < 1) pages.total = 1;
  if (pages.current > pages.total) pages.current = pages.total;
  return pages;
}

std::string PageLabel(int current) { return "- " + std::to_string(current) + " -"; }

std::string TotalLabel(int total) { return std::to_string(total) + " pages"; }

int AutoScrollIntervalMs(double unitsPerSecond) {
  if (!(unitsPerSecond > 0)) return 0;
  return static_cast<int>(std::lround(1.0 / unitsPerSecond * 1000.0));
}

double ScrollSpeed(const common::Settings& settings, std::string_view scrollType) {
  if (scrollType == "pixels") return settings.scrollSpeedPixels;
  if (scrollType == "symbols") return settings.scrollSpeedSymbols;
  return settings.scrollSpeedLines;
}

AlarmTime StepAlarmMinute(AlarmTime time, int step) {
  time.minute += step;
  while (time.minute > 59) {
    time.minute -= 60;
    time = StepAlarmHour(time, 1);
  }
  while (time.minute < 0) {
    time.minute += 60;
    time = StepAlarmHour(time, -1);
  }
  return time;
}

AlarmTime StepAlarmHour(AlarmTime time, int step) {
  time.hour = ((time.hour + step) % 24 + 24) % 24;
  return time;
}

std::string TwoDigits(int value) { return (value < 10 ? "0" : "") + std::to_string(value); }

bool HasTextToRead(std::string_view document) {
  // The body's text: everything outside tags and the head, references counted as text except
  // the blank ones.
  size_t start = 0;
  for (const std::string_view body : {"<BODY", "<body"}) {
    const size_t at = document.find(body);
    if (at != std::string_view::npos) {
      start = at;
      break;
    }
  }
  bool inTag = false;
  for (size_t i = start; i < document.size(); ++i) {
    const char c = document[i];
    if (c == '<') inTag = true;
    else if (c == '>') inTag = false;
    else if (!inTag) {
      if (c == '&' && document.compare(i, 6, "&nbsp;") == 0) {
        i += 5;
        continue;
      }
      if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return true;
    }
  }
  return false;
}

}  // namespace pw::reader
