#include "corrector/RuleFile.h"

#include <charconv>
#include <cstdint>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "common/Utf8.h"

namespace pw::corrector {
namespace {

void PutInt(std::string& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

bool GetInt(std::string_view bytes, size_t& pos, int width, int64_t& value) {
  if (bytes.size() - pos < static_cast<size_t>(width)) return false;
  uint32_t u = 0;
  for (int i = 0; i < width; ++i) u |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[pos + i])) << (8 * i);
  pos += static_cast<size_t>(width);
  value = width == 2 ? static_cast<int16_t>(u) : static_cast<int32_t>(u);
  return true;
}

std::string ToUtf16Le(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size() * 2);
  for (size_t pos = 0; pos < utf8.size();) {
    char32_t cp = common::NextCodePoint(utf8, pos);
    if (cp >= 0x10000) {
      cp -= 0x10000;
      PutInt(out, 0xD800 + (cp >> 10), 2);
      PutInt(out, 0xDC00 + (cp & 0x3FF), 2);
    } else {
      PutInt(out, cp, 2);
    }
  }
  return out;
}

std::string FromUtf16Le(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    char32_t unit = static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8);
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 3 < bytes.size()) {
      const char32_t low = static_cast<unsigned char>(bytes[i + 2]) | (static_cast<unsigned char>(bytes[i + 3]) << 8);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        i += 2;
      }
    }
    common::AppendUtf8(out, unit);  // a lone surrogate becomes U+FFFD
  }
  return out;
}

void PutText(std::string& out, std::string_view text) {
  if (text.empty()) {
    PutInt(out, static_cast<uint32_t>(-1), 4);
    return;
  }
  const std::string units = ToUtf16Le(text);
  PutInt(out, static_cast<uint32_t>(units.size() - 1), 4);
  out += units;
}

bool GetText(std::string_view bytes, size_t& pos, std::string& text, std::string& error) {
  int64_t bound = 0;
  if (!GetInt(bytes, pos, 4, bound)) {
    error = "the file is cut short";
    return false;
  }
  if (bound == -1) {
    text.clear();
    return true;
  }
  if (bound < 0 || (bound + 1) % 2 != 0 || static_cast<uint64_t>(bound + 1) > bytes.size() - pos) {
    error = "a text length does not fit the file";
    return false;
  }
  text = FromUtf16Le(bytes.substr(pos, static_cast<size_t>(bound + 1)));
  pos += static_cast<size_t>(bound + 1);
  return true;
}

bool GetFlag(std::string_view bytes, size_t& pos, bool& flag, std::string& error) {
  int64_t value = 0;
  if (!GetInt(bytes, pos, 2, value)) {
    error = "the file is cut short";
    return false;
  }
  if (value != 0 && value != 1) {
    error = "a check mark holds " + std::to_string(value);
    return false;
  }
  flag = value == 1;
  return true;
}

}  // namespace

std::string WriteRuleFile(const CleanUpTable& table) {
  std::string out;
  PutInt(out, static_cast<uint32_t>(table.rows.size()), 4);
  PutInt(out, static_cast<uint32_t>(table.mode == 4 ? 4 : 3), 2);
  PutInt(out, static_cast<uint32_t>(kRuleFileVersion), 2);
  for (const CleanUpRule& row : table.rows) {
    PutText(out, row.RepWhat);
    PutText(out, row.RepBy);
    PutInt(out, row.Case ? 1 : 0, 2);
    PutInt(out, row.RegExp ? 1 : 0, 2);
    PutInt(out, row.Enabled ? 1 : 0, 2);
  }
  out += table.comment;
  return out;
}

bool ReadRuleFile(std::string_view bytes, CleanUpTable& table, std::string& error) {
  table = CleanUpTable{};
  size_t pos = 0;
  int64_t count = 0, mode = 0, version = 0;
  if (!GetInt(bytes, pos, 4, count) || !GetInt(bytes, pos, 2, mode) || !GetInt(bytes, pos, 2, version)) {
    error = "the file is too short for a rule file";
    return false;
  }
  if (version != kRuleFileVersion) {
    error = "unknown rule file version " + std::to_string(version);
    return false;
  }
  if (mode != 3 && mode != 4) {
    error = "unknown mode " + std::to_string(mode);
    return false;
  }
  // Every row takes at least 14 bytes: two bounds and three check marks.
  constexpr size_t kSmallestRow = 14;
  if (count < 0 || static_cast<uint64_t>(count) > (bytes.size() - pos) / kSmallestRow) {
    error = "the row count does not fit the file";
    return false;
  }
  table.mode = static_cast<int>(mode);
  table.rows.resize(static_cast<size_t>(count));
  for (CleanUpRule& row : table.rows) {
    if (!GetText(bytes, pos, row.RepWhat, error) || !GetText(bytes, pos, row.RepBy, error) ||
        !GetFlag(bytes, pos, row.Case, error) || !GetFlag(bytes, pos, row.RegExp, error) ||
        !GetFlag(bytes, pos, row.Enabled, error))
      return false;
  }
  table.comment.assign(bytes.substr(pos));
  return true;
}

bool LoadReplacementTable(const std::filesystem::path& path, CleanUpTable& table, std::string& error) {
  std::string bytes;
  if (!common::ReadWholeFile(path, bytes)) {
    error = "file not found";
    return false;
  }
  if (!ReadRuleFile(bytes, table, error)) {
    error = path.filename().string() + ": " + error;
    return false;
  }
  return true;
}

bool SaveReplacementTable(const std::filesystem::path& path, const CleanUpTable& table, std::string& error) {
  if (!common::WriteFileAtomic(path, WriteRuleFile(table))) {
    error = "cannot write " + path.string();
    return false;
  }
  return true;
}

int ModeFromOldDigit(int digit) { return digit == 4 ? 4 : 3; }

bool ParseOldRuleFile(std::string_view bytes, CleanUpTable& table, std::string& error) {
  table = CleanUpTable{};
  // Older rule files were written by a single-byte program: text that is not UTF-8 is read in
  // its code page, so the rows hold UTF-8 like every other text (and a table written as a rule
  // file reads back the same).
  const std::string decoded = common::IsValidUtf8(bytes) ? std::string() : common::DecodeToUtf8(bytes, common::CodePage::Win1251);
  const std::string_view text = decoded.empty() ? bytes : std::string_view(decoded);
  std::vector<std::string_view> lines;
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(pos, end - pos);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.push_back(line);
    pos = end + 1;
  }
  error = "cannot import file";
  if (lines.size() < 2) return false;
  const std::string_view modeLine = common::Trim(lines[0]);
  if (modeLine.size() != 1 || modeLine[0] < '0' || modeLine[0] > '4') return false;
  size_t count = 0;
  const std::string_view countLine = common::Trim(lines[1]);
  const auto [end, ec] = std::from_chars(countLine.data(), countLine.data() + countLine.size(), count);
  if (ec != std::errc() || end != countLine.data() + countLine.size() || count > (lines.size() - 2) / 5)
    return false;
  table.mode = ModeFromOldDigit(modeLine[0] - '0');
  for (size_t i = 0; i < count; ++i) {
    const size_t at = 2 + 5 * i;
    CleanUpRule row;
    row.RepWhat = lines[at];
    row.RepBy = lines[at + 1];
    row.Case = common::Trim(lines[at + 2]) == "True";
    row.RegExp = common::Trim(lines[at + 3]) == "True";
    row.Enabled = common::Trim(lines[at + 4]) == "True";
    table.rows.push_back(std::move(row));
  }
  error.clear();
  return true;
}

}  // namespace pw::corrector
