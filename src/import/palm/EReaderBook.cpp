#include "import/palm/EReaderBook.h"

#include <cctype>

#include "common/CodePage.h"
#include "common/Utf8.h"
#include "import/palm/PalmDocCompression.h"
#include "import/palm/TextRecords.h"

namespace pw::import::palm {
namespace {

// Record 0 of the unencrypted book.
constexpr size_t kCompressionAt = 0;
constexpr size_t kNonTextAt = 12;
constexpr size_t kPictureCountAt = 20;
constexpr size_t kHasMetadataAt = 24;
constexpr size_t kFirstPictureAt = 40;
constexpr size_t kMetadataAt = 44;

constexpr uint16_t kPalmDoc = 2;
constexpr uint16_t kZlib = 10;
constexpr uint16_t kEncrypted1 = 260;
constexpr uint16_t kEncrypted2 = 272;

// A picture record: "PNG " (whatever the picture's kind), a 32-byte name, the picture from
// byte 62.
constexpr size_t kPictureNameAt = 4;
constexpr size_t kPictureDataAt = 62;

// The quoted argument of a code: `="..."` right after it; empty when there is none.
std::string_view Argument(std::string_view text, size_t& at) {
  if (at + 1 >= text.size() || text[at] != '=' || text[at + 1] != '"') return {};
  const size_t end = text.find('"', at + 2);
  if (end == std::string_view::npos) {  // never closed: the rest of the text is the argument
    at = text.size();
    return {};
  }
  const std::string_view value = text.substr(at + 2, end - at - 2);
  at = end + 1;
  return value;
}

void AppendCodePoint(std::string& out, char32_t code) {
  if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return;
  common::AppendUtf8(out, code);
}

// Toggled codes and their HTML tags.
struct Toggle {
  std::string_view code;
  std::string_view open;
  std::string_view close;
};
constexpr Toggle kToggles[] = {
    {"i", "<i>", "</i>"},     {"u", "<u>", "</u>"},     {"o", "<s>", "</s>"},     {"B", "<b>", "</b>"},
    {"b", "<b>", "</b>"},     {"Sp", "<sup>", "</sup>"}, {"Sb", "<sub>", "</sub>"}, {"x", "<h1>", "</h1>"},
    {"X0", "<h1>", "</h1>"}, {"X1", "<h2>", "</h2>"}, {"X2", "<h3>", "</h3>"}, {"X3", "<h4>", "</h4>"},
    {"X4", "<h4>", "</h4>"}, {"c", "<div align=center>", "</div>"},          {"r", "<div align=right>", "</div>"},
};

}  // namespace

bool EReaderMarkupHasStructure(std::string_view markup) {
  for (size_t at = markup.find('\\'); at != std::string_view::npos && at + 1 < markup.size();
       at = markup.find('\\', at + 2)) {
    const char c = markup[at + 1];
    if (c == 'x' || c == 'X') return true;
  }
  return false;
}

std::string EReaderMarkupToUtf8(std::string_view markup, bool html) {
  const std::string text = common::DecodeToUtf8(markup, common::CodePage::Win1252);
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  bool open[std::size(kToggles)] = {};
  bool invisible = false;
  bool inLink = false;
  if (html) out += "<html><body>\n";
  size_t at = 0;
  while (at < text.size()) {
    const char c = text[at];
    if (c != '\\') {
      const size_t next = std::min(text.find('\\', at), text.size());
      if (!invisible) out += html ? EscapeMarkup(std::string_view(text).substr(at, next - at)) : text.substr(at, next - at);
      at = next;
      continue;
    }
    ++at;
    if (at >= text.size()) break;
    const std::string_view rest = std::string_view(text).substr(at);
    if (rest[0] == '\\') {
      if (!invisible) out += '\\';
      ++at;
      continue;
    }
    if (static_cast<unsigned char>(rest[0]) >= 0x80) continue;  // no code: the backslash alone goes
    if (rest[0] == 'v') {  // hidden text, a comment
      invisible = !invisible;
      ++at;
      continue;
    }
    if (rest[0] == 'a' || rest[0] == 'U') {
      // A character by its number: three decimal digits of Windows-1252, or four hexadecimal
      // digits of Unicode. A number cut short stands for nothing.
      const bool unicode = rest[0] == 'U';
      const size_t digits = unicode ? 4 : 3;
      size_t n = 1;
      while (n <= digits && n < rest.size() &&
             (unicode ? std::isxdigit(static_cast<unsigned char>(rest[n])) : std::isdigit(static_cast<unsigned char>(rest[n]))))
        ++n;
      at += n;
      if (n != digits + 1 || invisible) continue;
      const unsigned long code = std::stoul(std::string(rest.substr(1, digits)), nullptr, unicode ? 16 : 10);
      if (unicode) AppendCodePoint(out, static_cast<char32_t>(code));
      else if (code > 0 && code < 256) out += common::DecodeToUtf8(std::string(1, static_cast<char>(code)), common::CodePage::Win1252);
      continue;
    }
    if (rest[0] == '-') {  // a soft hyphen
      ++at;
      continue;
    }
    bool matched = false;
    for (size_t t = std::size(kToggles); t-- > 0;) {
      const Toggle& toggle = kToggles[t];
      if (!rest.starts_with(toggle.code)) continue;
      at += toggle.code.size();
      if (html) out += open[t] ? toggle.close : toggle.open;
      else if (toggle.open.starts_with("<h") || toggle.open.starts_with("<div")) out += '\n';
      open[t] = !open[t];
      matched = true;
      break;
    }
    if (matched) continue;
    // Codes with an argument, then the letters that stand alone.
    const char code = rest[0];
    ++at;
    if (code == 'm') {
      const std::string_view name = Argument(text, at);
      if (html && !name.empty()) out += "<img src=\"" + EscapeMarkup(name) + "\">";
    } else if (code == 'q') {
      const std::string_view target = Argument(text, at);
      if (!html) continue;
      if (!target.empty()) {
        out += "<a href=\"" + EscapeMarkup(target) + "\">";
        inLink = true;
      } else if (inLink) {
        out += "</a>";
        inLink = false;
      }
    } else if (code == 'Q') {
      const std::string_view name = Argument(text, at);
      if (html && !name.empty()) out += "<a name=\"" + EscapeMarkup(name) + "\"></a>";
    } else if (code == 'C' && at < text.size() && std::isdigit(static_cast<unsigned char>(text[at]))) {
      ++at;
      Argument(text, at);  // an entry of the chapter list, not shown in the text
    } else if (code == 'F' || code == 'S') {
      if (at < text.size() && (text[at] == 'n' || text[at] == 'd')) ++at;
      Argument(text, at);
    } else if (code == 'T' || code == 'w') {
      Argument(text, at);
      if (code == 'w' && html) out += "<hr>";
    } else if (code == 'p') {
      out += '\n';
    }
    // \t, \n, \s, \l, \k, \I and codes unknown here only change the look: dropped.
  }
  if (html) {
    for (size_t t = std::size(kToggles); t-- > 0;)
      if (open[t]) out += kToggles[t].close;
    if (inLink) out += "</a>";
  }
  if (!html) return out;
  // Every line is a paragraph; an empty line only separates them.
  std::string document;
  document.reserve(out.size() + out.size() / 4);
  size_t start = 0;
  while (start <= out.size()) {
    size_t end = out.find('\n', start);
    if (end == std::string::npos) end = out.size();
    std::string_view line = std::string_view(out).substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.starts_with("<html>") || line.starts_with("<h") || line.starts_with("<div")) {
      document += line;
      document += '\n';
    } else if (!line.empty()) {
      document += "<p>";
      document += line;
      document += "</p>\n";
    }
    start = end + 1;
  }
  document += "</body></html>\n";
  return document;
}

PalmFailure ReadEReader(const PalmDatabase& database, PalmBook& book) {
  book.format = PalmFormat::EReader;
  const std::string_view record0 = database.Record(0);
  if (record0.size() < kMetadataAt + 2) return PalmFailure::Damaged;
  const uint16_t compression = Read16(record0, kCompressionAt);
  if (compression == kEncrypted1 || compression == kEncrypted2) return PalmFailure::Protected;
  const size_t nonText = Read16(record0, kNonTextAt);
  if (nonText < 2) return PalmFailure::Damaged;

  RecordUnpacker unpack;
  if (compression == kPalmDoc) {
    unpack = [](std::string_view record, std::string& text) { return UnpackPalmDoc(record, text, kRecordTextLimit); };
  } else if (compression == kZlib) {
    unpack = [](std::string_view record, std::string& text) { return Inflate(record, text, kRecordTextLimit); };
  } else {
    return PalmFailure::UnsupportedCompression;
  }
  std::string markup;
  if (nonText - 1 >= database.records.size()) return PalmFailure::Damaged;
  if (const PalmFailure failure = UnpackTextRecords(database, 1, nonText - 1, unpack, markup);
      failure != PalmFailure::None)
    return failure;

  if (Read16(record0, kHasMetadataAt) != 0) {
    const std::string_view metadata = database.Record(Read16(record0, kMetadataAt));
    // Zero-separated: title, author, rights, publisher, ISBN.
    const size_t titleEnd = std::min(metadata.find('\0'), metadata.size());
    book.title = common::DecodeToUtf8(metadata.substr(0, titleEnd), common::CodePage::Win1252);
    if (titleEnd < metadata.size()) {
      const std::string_view rest = metadata.substr(titleEnd + 1);
      book.author = common::DecodeToUtf8(rest.substr(0, std::min(rest.find('\0'), rest.size())), common::CodePage::Win1252);
    }
  }
  const size_t pictureCount = Read16(record0, kPictureCountAt);
  const size_t firstPicture = Read16(record0, kFirstPictureAt);
  for (size_t i = 0; i < pictureCount && firstPicture + i < database.records.size(); ++i) {
    const std::string_view record = database.records[firstPicture + i];
    if (record.size() <= kPictureDataAt || record.substr(0, 4) != "PNG ") continue;
    const std::string_view field = record.substr(kPictureNameAt, 32);
    const std::string name(field.substr(0, std::min(field.find('\0'), field.size())));
    const std::string_view bytes = record.substr(kPictureDataAt);
    // Only plain names that a picture of a known kind answers to; nothing that climbs folders.
    if (name.empty() || name.find_first_of("/\\:\"<>") != std::string::npos || name.starts_with('.') ||
        PictureExtension(bytes).empty())
      continue;
    book.pictures.push_back({name, bytes, i + 1});
  }

  book.encoding = TextEncoding::Utf8;
  book.markup = EReaderMarkupHasStructure(markup) || !book.pictures.empty();
  book.text = EReaderMarkupToUtf8(markup, book.markup);
  return PalmFailure::None;
}

}  // namespace pw::import::palm
