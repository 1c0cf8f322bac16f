// Rule files: the binary ".bcf" table of clean-up rows, and the import of the older ".dat"
// text format. Reading checks every count and bound against the bytes that are there, so a
// damaged file is refused with a message, never a crash or a huge allocation.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "corrector/CleanUpRules.h"

namespace pw::corrector {

inline constexpr std::string_view kRuleFileExtension = "bcf";
inline constexpr int16_t kRuleFileVersion = 1;

// The bytes of a rule file:
//   int32 row count, int16 mode (3 or 4), int16 version (1), the rows, the comment.
//   A row: int32 byte bound of RepWhat (-1 when empty, else byte length - 1) and its UTF-16LE
//   bytes, the same for RepBy, then int16 Case, RegExp and Enabled (1 or 0).
//   The comment runs to the end of the file, in UTF-8 (it is HTML text, which says its own
//   charset where it matters).
std::string WriteRuleFile(const CleanUpTable& table);

// Parses rule-file bytes. False with `error` filled when the file is damaged.
bool ReadRuleFile(std::string_view bytes, CleanUpTable& table, std::string& error);

bool LoadReplacementTable(const std::filesystem::path& path, CleanUpTable& table, std::string& error);
bool SaveReplacementTable(const std::filesystem::path& path, const CleanUpTable& table, std::string& error);

// Reads an old ".dat" rule file (a mode digit 0 to 4, the row count, then five lines a row), in
// UTF-8 or, when the bytes are not UTF-8, in windows-1251.
// False with "cannot import file" when the text is not of that form.
bool ParseOldRuleFile(std::string_view text, CleanUpTable& table, std::string& error);

// The old mode digits 0 to 4 become the stored mode: 4 stays 4, every other digit is 3.
int ModeFromOldDigit(int digit);

}  // namespace pw::corrector
