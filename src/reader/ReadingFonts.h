// Reading fonts: a face, a size and a weight for every kind of element the reader shows, the
// file that keeps the user's choices ("Fonts.dat") and the shipped defaults
// ("FontsDefault.dat"), and the free faces that stand in for a face the machine lacks.
//
// Layout of Fonts.dat / FontsDefault.dat (UTF-8 text, one record a line, LF or CRLF):
//
//   # comment lines start with "#" and are skipped, as are blank lines
//   version 1
//   <kind> TAB <face> TAB <size> TAB <weight>
//
// The first line that is not a comment must be "version " and the layout number; only 1 is
// read. <kind> is one of the names of FontKindName (text, bookAuthor, bookTitle, title,
// subtitle, epigraph, verse, cite, textAuthor, notes); <face> one of ReadingFaces(); <size>
// whole pixels, 6 to 96; <weight> "normal" or "bold". A kind missing from the file keeps the
// default; an unknown kind, face or a bad number makes the whole file unreadable (the
// defaults stay) so that a damaged file never yields a half-read table.
#pragma once

#include <array>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace pw::reader {

enum class FontKind {
  Text,
  BookAuthor,
  BookTitle,
  Title,
  Subtitle,
  Epigraph,
  Verse,
  Cite,
  TextAuthor,
  Notes,
};
inline constexpr size_t kFontKindCount = 10;

std::string_view FontKindName(FontKind kind);
// False when `name` names no kind.
bool FontKindFromName(std::string_view name, FontKind& kind);

struct ReadingFont {
  std::string face = "Times New Roman";
  int size = 18;  // pixels
  bool bold = false;

  bool operator==(const ReadingFont&) const = default;
};

inline constexpr int kMinFontSize = 6;
inline constexpr int kMaxFontSize = 96;
inline constexpr int kFontsLayoutVersion = 1;
inline constexpr std::string_view kFontsFileName = "Fonts.dat";
inline constexpr std::string_view kDefaultFontsFileName = "FontsDefault.dat";

// One reading font per kind, indexed by the kind's number.
struct FontTable {
  std::array<ReadingFont, kFontKindCount> fonts;

  ReadingFont& operator[](FontKind kind) { return fonts[static_cast<size_t>(kind)]; }
  const ReadingFont& operator[](FontKind kind) const { return fonts[static_cast<size_t>(kind)]; }
  bool operator==(const FontTable&) const = default;
};

// The table built in, used when neither file can be read.
FontTable BuiltInFonts();

// The faces offered to the reader.
std::span<const std::string_view> ReadingFaces();
bool IsReadingFace(std::string_view face);

// Parses a fonts file into `table`, over the kinds the file names. False (and `table`
// untouched) when the text is not a complete file of this layout.
bool ParseFontsFile(std::string_view text, FontTable& table);
std::string WriteFontsFile(const FontTable& table);

// The `<FONT` tag that applies a face and a size to the reading view: face= the face, size=
// the nearest of the seven HTML font sizes to `pixels`.
std::string SelectFontNameAddSize(std::string_view face, int pixels);
// The HTML font size (1 to 7) nearest to `pixels`.
int HtmlFontSize(int pixels);

// The user's reading fonts from the workshop folder `root`: "Fonts.dat", else the shipped
// "FontsDefault.dat", else the built-in table (a file that cannot be read counts as absent).
FontTable LoadReadingFonts(const std::filesystem::path& root);
// Writes "Fonts.dat" in `root`. False when it cannot be written.
bool SaveReadingFonts(const std::filesystem::path& root, const FontTable& table);

// The CSS font-family list for `face`: the face itself, then the metric-compatible free face
// that stands in for it where the machine lacks it, then the generic family.
std::string FontFamilyList(std::string_view face);

}  // namespace pw::reader
