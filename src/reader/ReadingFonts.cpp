#include "reader/ReadingFonts.h"

#include <charconv>
#include <cstdlib>

#include "common/Files.h"

namespace pw::reader {
namespace {

constexpr std::array<std::string_view, kFontKindCount> kKindNames = {
    "text", "bookAuthor", "bookTitle", "title", "subtitle",
    "epigraph", "verse", "cite", "textAuthor", "notes",
};

constexpr std::string_view kFaces[] = {
    "Arial",         "Arial Black",         "Arial Narrow",         "Bookman Old Style", "Comic Sans Ms",
    "Courier New",   "Georgia",             "Impact",               "Lucida Console",    "Lucida Sans Unicode",
    "Microsoft Sans Serif", "Tahoma",       "Times New Roman",      "Verdana",
};

// Free faces with the same advance widths where one exists (so a page holds the same words),
// else the nearest free face of the same kind; then the generic family.
struct StandIn {
  std::string_view face;
  std::string_view freeFace;
  std::string_view generic;
};
constexpr StandIn kStandIns[] = {
    {"Arial", "Liberation Sans", "sans-serif"},
    {"Arial Black", "DejaVu Sans", "sans-serif"},
    {"Arial Narrow", "Liberation Sans Narrow", "sans-serif"},
    {"Bookman Old Style", "URW Bookman", "serif"},
    {"Comic Sans Ms", "Comic Neue", "cursive"},
    {"Courier New", "Liberation Mono", "monospace"},
    {"Georgia", "DejaVu Serif", "serif"},
    {"Impact", "DejaVu Sans Condensed", "sans-serif"},
    {"Lucida Console", "DejaVu Sans Mono", "monospace"},
    {"Lucida Sans Unicode", "DejaVu Sans", "sans-serif"},
    {"Microsoft Sans Serif", "Liberation Sans", "sans-serif"},
    {"Tahoma", "DejaVu Sans", "sans-serif"},
    {"Times New Roman", "Liberation Serif", "serif"},
    {"Verdana", "DejaVu Sans", "sans-serif"},
};

// The pixel sizes of the seven HTML font sizes.
constexpr int kHtmlSizes[] = {10, 13, 16, 18, 24, 32, 48};

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
    text.remove_suffix(1);
  return text;
}

bool ParseInt(std::string_view text, int& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

// Splits `line` at tabs into exactly `count` fields.
bool SplitTabs(std::string_view line, std::string_view* fields, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const size_t tab = line.find('\t');
    if ((tab == std::string_view::npos) != (i + 1 == count)) return false;
    fields[i] = Trim(line.substr(0, tab));
    if (tab != std::string_view::npos) line.remove_prefix(tab + 1);
  }
  return true;
}

}  // namespace

std::string_view FontKindName(FontKind kind) { return kKindNames[static_cast<size_t>(kind)]; }

bool FontKindFromName(std::string_view name, FontKind& kind) {
  for (size_t i = 0; i < kKindNames.size(); ++i) {
    if (kKindNames[i] == name) {
      kind = static_cast<FontKind>(i);
      return true;
    }
  }
  return false;
}

FontTable BuiltInFonts() {
  FontTable table;
  for (ReadingFont& font : table.fonts) font = {"Times New Roman", 18, false};
  table[FontKind::BookAuthor] = {"Times New Roman", 24, true};
  table[FontKind::BookTitle] = {"Times New Roman", 28, true};
  table[FontKind::Title] = {"Times New Roman", 22, true};
  table[FontKind::Subtitle] = {"Times New Roman", 20, true};
  table[FontKind::Epigraph] = {"Times New Roman", 16, false};
  table[FontKind::Cite] = {"Times New Roman", 17, false};
  table[FontKind::TextAuthor] = {"Times New Roman", 16, false};
  table[FontKind::Notes] = {"Times New Roman", 15, false};
  return table;
}

std::span<const std::string_view> ReadingFaces() { return kFaces; }

bool IsReadingFace(std::string_view face) {
  for (const std::string_view known : kFaces)
    if (known == face) return true;
  return false;
}

bool ParseFontsFile(std::string_view text, FontTable& table) {
  FontTable read = table;
  bool versionSeen = false;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (Trim(line).empty() || Trim(line).front() == '#') continue;
    if (!versionSeen) {
      int version = 0;
      const std::string_view trimmed = Trim(line);
      if (!trimmed.starts_with("version ") || !ParseInt(Trim(trimmed.substr(8)), version) ||
          version != kFontsLayoutVersion)
        return false;
      versionSeen = true;
      continue;
    }
    std::string_view fields[4];
    FontKind kind;
    ReadingFont font;
    if (!SplitTabs(line, fields, 4) || !FontKindFromName(fields[0], kind) || !IsReadingFace(fields[1]) ||
        !ParseInt(fields[2], font.size) || font.size < kMinFontSize || font.size > kMaxFontSize)
      return false;
    if (fields[3] != "normal" && fields[3] != "bold") return false;
    font.face = std::string(fields[1]);
    font.bold = fields[3] == "bold";
    read[kind] = std::move(font);
  }
  if (!versionSeen) return false;
  table = std::move(read);
  return true;
}

std::string WriteFontsFile(const FontTable& table) {
  std::string out =
      "# Reading fonts of the reader: kind, face, size in pixels, weight (tab-separated).\n"
      "version " + std::to_string(kFontsLayoutVersion) + "\n";
  for (size_t i = 0; i < kFontKindCount; ++i) {
    const ReadingFont& font = table.fonts[i];
    out += std::string(kKindNames[i]) + '\t' + font.face + '\t' + std::to_string(font.size) + '\t' +
           (font.bold ? "bold" : "normal") + '\n';
  }
  return out;
}

int HtmlFontSize(int pixels) {
  int best = 1;
  for (int i = 0; i < 7; ++i) {
    if (std::abs(kHtmlSizes[i] - pixels) < std::abs(kHtmlSizes[best - 1] - pixels)) best = i + 1;
  }
  return best;
}

std::string SelectFontNameAddSize(std::string_view face, int pixels) {
  return "<FONT face=\"" + std::string(face) + "\" size=" + std::to_string(HtmlFontSize(pixels)) + ">";
}

FontTable LoadReadingFonts(const std::filesystem::path& root) {
  for (const std::string_view name : {kFontsFileName, kDefaultFontsFileName}) {
    std::string text;
    FontTable table = BuiltInFonts();
    if (common::ReadWholeFile(root / name, text) && ParseFontsFile(text, table)) return table;
  }
  return BuiltInFonts();
}

bool SaveReadingFonts(const std::filesystem::path& root, const FontTable& table) {
  return common::WriteFileAtomic(root / kFontsFileName, WriteFontsFile(table));
}

std::string FontFamilyList(std::string_view face) {
  for (const StandIn& standIn : kStandIns) {
    if (standIn.face == face)
      return "\"" + std::string(face) + "\", \"" + std::string(standIn.freeFace) + "\", " +
             std::string(standIn.generic);
  }
  return "serif";
}

}  // namespace pw::reader
