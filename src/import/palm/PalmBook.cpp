#include "import/palm/PalmBook.h"

#include "common/Text.h"
#include "import/palm/EReaderBook.h"
#include "import/palm/MobiBook.h"
#include "import/palm/PalmDocCompression.h"
#include "import/palm/TextRecords.h"

namespace pw::import::palm {
namespace {

// PalmDoc record 0: compression, a spare field, the text length, the record count, the
// record size and the reading position.
PalmFailure ReadPalmDoc(const PalmDatabase& database, PalmBook& book) {
  book.format = PalmFormat::PalmDoc;
  const std::string_view record0 = database.Record(0);
  if (record0.size() < 12) return PalmFailure::Damaged;
  const uint16_t compression = Read16(record0, 0);
  const size_t count = Read16(record0, 8);
  RecordUnpacker unpack;
  if (compression == 1) {
    unpack = [](std::string_view record, std::string& text) {
      text.append(record);
      return true;
    };
  } else if (compression == 2) {
    unpack = [](std::string_view record, std::string& text) { return UnpackPalmDoc(record, text, kRecordTextLimit); };
  } else {
    return PalmFailure::UnsupportedCompression;
  }
  // Records after the text (bookmarks, notes) are not part of it.
  if (count == 0 || count >= database.records.size()) return PalmFailure::Damaged;
  if (const PalmFailure failure = UnpackTextRecords(database, 1, count, unpack, book.text);
      failure != PalmFailure::None)
    return failure;
  book.encoding = TextEncoding::Unknown;
  book.markup = IsHtmlDocument(book.text);
  if (book.markup) book.text = LinkFilePositions(book.text);
  return PalmFailure::None;
}

}  // namespace

std::string HeadElementText(std::string_view html, std::string_view name) {
  const std::string_view head = html.substr(0, std::min<size_t>(html.size(), 65536));
  const size_t open = common::FindAsciiCaseless(head, "<" + std::string(name));
  if (open == std::string_view::npos) return {};
  const size_t start = head.find('>', open);
  const size_t end = common::FindAsciiCaseless(head, "</" + std::string(name), open);
  if (start == std::string_view::npos || end == std::string_view::npos || end < start) return {};
  return std::string(common::Trim(head.substr(start + 1, end - start - 1)));
}

std::string EscapeMarkup(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    if (c == '<') out += "&lt;";
    else if (c == '>') out += "&gt;";
    else if (c == '&') out += "&amp;";
    else if (c == '"') out += "&quot;";
    else out += c;
  }
  return out;
}

std::string_view PictureExtension(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xD8\xFF")) return "jpg";
  if (bytes.starts_with("\x89PNG\r\n\x1A\n")) return "png";
  if (bytes.starts_with("GIF87a") || bytes.starts_with("GIF89a")) return "gif";
  if (bytes.starts_with("BM") && bytes.size() > 26) return "bmp";
  return {};
}

bool IsHtmlDocument(std::string_view text) {
  size_t start = 0;
  while (start < text.size() && static_cast<unsigned char>(text[start]) <= ' ') ++start;
  const std::string head = common::AsciiLower(text.substr(start, 4096));
  for (const std::string_view opening : {"<html", "<!doctype html", "<?xml", "<head"})
    if (head.starts_with(opening)) return true;
  return head.find("<body") != std::string::npos || head.find("<p>") != std::string::npos ||
         head.find("<p ") != std::string::npos;
}

PalmFailure ReadPalmBook(std::string_view file, PalmBook& book) {
  book = {};
  PalmDatabase database;
  switch (ReadPalmDatabase(file, database)) {
    case PalmReadError::NotPalm: return PalmFailure::NotPalm;
    case PalmReadError::Damaged: return PalmFailure::Damaged;
    case PalmReadError::None: break;
  }
  const std::string kind = database.type + database.creator;
  if (kind == "BOOKMOBI" || (database.Record(0).size() >= 20 && database.Record(0).substr(16, 4) == "MOBI"))
    return ReadMobipocket(database, book);
  if (kind == "TEXtREAd") return ReadPalmDoc(database, book);
  if (kind == "PNRdPPrs" || kind == "DataPPrs") return ReadEReader(database, book);
  return PalmFailure::NotPalm;
}

}  // namespace pw::import::palm
