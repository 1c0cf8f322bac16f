// The arithmetic of the paged reader: page geometries that imitate reading devices, page
// numbers from the view's scroll position, the auto-scroll timer, the alarm clock fields, and
// the marker of the temporary bookmark. The page lays the book out; these rules say what it
// shows.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "common/Settings.h"

namespace pw::reader {

struct PageGeometry {
  std::string_view name;
  int width = 0;   // pixels; 0 for the whole screen
  int height = 0;
};

// "full screen", "standard book", "pocket book" and the sizes of small reading devices.
std::span<const PageGeometry> PageGeometries();

// The geometry of `name`; the "user" geometry takes the settings' own size; an unknown name is
// the standard book.
PageGeometry GeometryFor(std::string_view name, const common::Settings& settings);

struct PageNumbers {
  int current = 1;
  int total = 1;
};

// Current page = scroll offset / page height + 1 (whole-number division), total = full height
// / page height (a remainder makes no page); both at least 1, the current never above the
// total. The page height is rounded to whole pixels first.
PageNumbers ComputePageNumbers(double scrollTop, double pageHeight, double scrollHeight);

// "- 3 -" and "12 pages".
std::string PageLabel(int current);
std::string TotalLabel(int total);

// The auto-scroll timer's interval: 1 / speed seconds, in whole milliseconds (7 a second gives
// 143 ms). A speed of zero or less gives no timer (0).
int AutoScrollIntervalMs(double unitsPerSecond);

// The speed the settings keep for `scrollType` ("pixels", "lines" or "symbols").
double ScrollSpeed(const common::Settings& settings, std::string_view scrollType);

// The alarm clock's fields: stepping the minutes past 59 shows "00" and advances the hour;
// hours wrap from 24 to 00 (and below 00 to 23, minutes below 00 to 59).
struct AlarmTime {
  int hour = 0;
  int minute = 0;
};
AlarmTime StepAlarmMinute(AlarmTime time, int step);
AlarmTime StepAlarmHour(AlarmTime time, int step);
std::string TwoDigits(int value);

// The identifier of the temporary bookmark anchor that keeps the reading position while the
// book is laid out anew; no book holds it.
inline constexpr std::string_view kTemporaryBookmarkId = "()*^^^%^*";

// Whether the book has anything to read (text beyond its markup and blanks).
bool HasTextToRead(std::string_view document);

}  // namespace pw::reader
