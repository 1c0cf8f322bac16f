// The settings file "Pagewright.ini": the settings record written whole in binary and read
// back whole. A file that cannot be read (missing, cut short, damaged, of another layout)
// leaves the defaults in force.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "common/Settings.h"

namespace pw::shell {

inline constexpr std::string_view kSettingsFileName = "Pagewright.ini";

// The bytes of the record: the magic "PWSET", a 16-bit layout version, then every field in
// declared order. Strings: 16-bit length and the bytes (UTF-8). Flags: one byte. Numbers:
// 32 bits. Lists: 32-bit lower and upper bound, then the elements. All little-endian.
std::string WriteSettingsRecord(const common::Settings& settings);

// Parses the bytes into `settings`. False (and `settings` reset to the defaults) when the
// bytes are not a complete record of this layout.
bool ReadSettingsRecord(std::string_view bytes, common::Settings& settings);

enum class RestoreResult { Read, Missing, Damaged };

// Sets every default, then reads the file when it exists. On Damaged the caller shows
// "error reading Pagewright.ini file" / "The default settings will be used".
RestoreResult RestoreSettings(const std::filesystem::path& file, common::Settings& settings);

// Writes the record atomically. False when the file cannot be written.
bool SaveSettings(const std::filesystem::path& file, const common::Settings& settings);

}  // namespace pw::shell
