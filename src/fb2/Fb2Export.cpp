#include "fb2/Fb2Export.h"

#include <archive.h>
#include <archive_entry.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <unordered_set>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/PicturePaths.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "fb2/Fb2Body.h"
#include "fb2/GenreCodes.h"
#include "fb2/Html0Reader.h"
#include "fb2/Pictures.h"
#include "import/Charset.h"
#include "markup/BookMarkup.h"

namespace pw::fb2 {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kDescriptionBlockOpen = "<A id=Fiction_Book_Description";

// FB2 inline markup back to plain text: tags and link marks dropped, the three escapes undone.
std::string XmlToPlain(std::string_view xml) {
  std::string out;
  for (size_t i = 0; i < xml.size(); ++i) {
    const char c = xml[i];
    if (c == '<') {
      const size_t close = xml.find('>', i);
      if (close == std::string_view::npos) break;
      i = close;
    } else if (c == kLinkOpen) {
      const size_t mark = xml.find(kLinkMark, i);
      if (mark == std::string_view::npos) break;
      i = mark;
    } else if (c != kLinkClose) {
      out.push_back(c);
    }
  }
  std::string text = common::ReplaceAll(out, "&lt;", "<");
  text = common::ReplaceAll(text, "&gt;", ">");
  return common::ReplaceAll(text, "&amp;", "&");
}

// The book text without the description display block and what follows the text's end.
std::string WithoutDescriptionBlock(std::string_view html0) {
  const size_t start = html0.find(kDescriptionBlockOpen);
  if (start == std::string_view::npos) return std::string(html0);
  const size_t end = common::FindAsciiCaseless(html0, "</A>", start);
  std::string out(html0.substr(0, start));
  if (end != std::string_view::npos) out.append(html0.substr(end + 4));
  return out;
}

// One kind of finding about the book's pictures: told once, with its count when it repeats.
struct PictureFindings {
  size_t count = 0;
  std::string first;  // the message of the first one

  void Add(std::string message) {
    if (count++ == 0) first = std::move(message);
  }
  void Tell(std::vector<std::string>& warnings, const common::Messages& messages, common::Msg counted) const {
    if (count == 1) warnings.push_back(first);
    if (count > 1) warnings.push_back(messages.Text(counted, std::to_string(count)));
  }
};

std::string TodayShortDate() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%02d.%02d.%04d", local.tm_mday, local.tm_mon + 1, local.tm_year + 1900);
  return buffer;
}

// The language code of the book's text, from a sample of its paragraphs.
std::string LanguageCode(const Html0Book& book) {
  std::string sample;
  for (const auto& block : book.blocks) {
    if (sample.size() > 10000) break;
    for (const auto& line : block.lines) sample += XmlToPlain(line.xml) + " ";
  }
  if (sample.size() < 20) return {};
  static const std::pair<std::string_view, std::string_view> kCodes[] = {
      {"Russian", "ru"}, {"English", "en"}, {"German", "de"}, {"French", "fr"},
      {"Spanish", "es"}, {"Polish", "pl"},  {"Czech", "cs"}};
  const std::string language = import::DetectLanguage(sample);
  for (const auto& [name, code] : kCodes)
    if (name == language) return std::string(code);
  return {};
}

// Note anchors outside every note block: paragraphs whose anchor a link of the book leads to.
size_t CountUnformattedNotes(const Html0Book& book) {
  std::unordered_set<std::string> targets(book.linkTargets.begin(), book.linkTargets.end());
  size_t count = 0;
  for (const auto& block : book.blocks) {
    if (block.kind != BlockKind::Paragraph) continue;
    for (const auto& line : block.lines)
      if (!line.id.empty() && targets.contains(line.id)) ++count;
  }
  return count;
}

BookFacts FactsOf(const Html0Book& book) {
  BookFacts facts;
  facts.author = XmlToPlain(book.bookAuthor);
  facts.title = XmlToPlain(book.bookTitle);
  facts.subtitle = XmlToPlain(book.bookSubtitle);
  for (const auto& line : book.annotation) facts.annotation += (facts.annotation.empty() ? "" : "\n") + XmlToPlain(line.xml);
  facts.lang = LanguageCode(book);
  return facts;
}

bool WriteZip(const fs::path& zipPath, const std::string& entryName, std::string_view bytes) {
  archive* zip = archive_write_new();
  archive_write_set_format_zip(zip);
  const std::string temporary = zipPath.string() + ".part";
  bool ok = archive_write_open_filename(zip, temporary.c_str()) == ARCHIVE_OK;
  if (ok) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, entryName.c_str());
    archive_entry_set_size(entry, static_cast<la_int64_t>(bytes.size()));
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_perm(entry, 0644);
    archive_entry_set_mtime(entry, std::time(nullptr), 0);
    ok = archive_write_header(zip, entry) == ARCHIVE_OK &&
         archive_write_data(zip, bytes.data(), bytes.size()) == static_cast<la_ssize_t>(bytes.size());
    archive_entry_free(entry);
  }
  ok = archive_write_close(zip) == ARCHIVE_OK && ok;
  archive_write_free(zip);
  std::error_code error;
  if (ok) fs::rename(temporary, zipPath, error);
  if (!ok || error) {
    fs::remove(temporary, error);
    return false;
  }
  return true;
}

}  // namespace

Fb2ExportOptions ExportOptionsFromSettings(const common::Settings& settings) {
  Fb2ExportOptions options;
  options.encoding = settings.fb2Encoding;
  options.dashes = settings.dashStyle;
  options.bookForLibrary = settings.fb2BookForLibrary;
  options.multiEmptyLines = settings.fb2MultiEmptyLines;
  options.removeLineEnds = settings.fb2RemoveLineEnds;
  options.keepPictureSizes = settings.fb2KeepPictureSizes;
  return options;
}

common::CodePage ExportEncoding(std::string_view name, std::string& canonical) {
  const std::string lower = common::AsciiLower(common::Trim(name));
  if (lower == "windows-1251" || lower == "win-1251") {
    canonical = "windows-1251";
    return common::CodePage::Win1251;
  }
  if (lower == "windows-1252" || lower == "win-1252") {
    canonical = "windows-1252";
    return common::CodePage::Win1252;
  }
  canonical = "utf-8";
  return common::CodePage::Utf8;
}

BookFacts ReadBookFacts(std::string_view html0) {
  const PictureStore noPictures = [](std::string_view, int, int) { return std::string(); };
  return FactsOf(ReadHtml0Book(WithoutDescriptionBlock(html0), noPictures, common::NoProgress()));
}

void CompleteDescription(Fb2Description& d, const BookFacts& book) {
  if (d.genres.empty()) d.genres.push_back("unrecognised");
  if (d.authors.empty()) d.authors = SplitAuthors(book.author);
  for (auto& author : d.authors) {
    // An author needs a first and a last name, or a nickname.
    if (author.nickname.empty() && (author.first.empty() || author.last.empty())) {
      if (author.last.empty()) author.last = author.first;
      if (author.first.empty()) {
        author.nickname = author.last;
        author.last.clear();
        author.middle.clear();
      }
    }
  }
  std::erase_if(d.authors, [](const PersonName& p) { return p.nickname.empty() && p.last.empty(); });
  if (d.authors.empty()) d.authors.push_back(PersonName{"", "", "", "Unknown", ""});
  if (common::Trim(d.title).empty()) d.title = book.title.empty() ? book.fallbackTitle : book.title;
  if (common::Trim(d.title).empty()) d.title = "noname";
  if (common::Trim(d.annotation).empty()) d.annotation = book.annotation;
  if (common::Trim(d.lang).empty()) d.lang = book.lang.empty() ? "eng" : book.lang;
  for (auto& translator : d.translators)
    if (translator.nickname.empty() && (translator.first.empty() || translator.last.empty())) {
      translator.nickname = common::Trim(translator.first + " " + translator.last);
      translator.first.clear();
      translator.middle.clear();
      translator.last.clear();
    }
  std::erase_if(d.translators, [](const PersonName& p) { return p.nickname.empty() && p.last.empty(); });
  if (d.documentAuthors.empty()) d.documentAuthors.push_back(PersonName{"", "", "", "Pagewright", ""});
  for (auto& author : d.documentAuthors)
    if (author.nickname.empty() && (author.first.empty() || author.last.empty())) {
      author.nickname = common::Trim(author.first + " " + author.last);
      if (author.nickname.empty()) author.nickname = "Pagewright";
      author.first.clear();
      author.middle.clear();
      author.last.clear();
    }
  d.program = AppendProgramUsed(d.program);
  if (common::Trim(d.documentDate).empty()) {
    d.documentDateValue = TodayDateValue();
    d.documentDate = TodayShortDate();
  }
  if (common::Trim(d.id).empty()) d.id = MakeDocumentId();
  if (common::Trim(d.version).empty()) d.version = "1.0";
  if (!book.coverId.empty()) d.coverId = book.coverId;
}

Fb2ExportResult ConvertHtml0ToFb2(std::string_view html0, const Fb2Description& description,
                                  const Fb2ExportOptions& options, const fs::path& bookFolder,
                                  common::Session& session) {
  common::Progress& progress = session.progress;
  Fb2ExportResult result;
  std::string encodingName;
  const common::CodePage encoding = ExportEncoding(options.encoding, encodingName);

  progress.Status("...converting html to fb2: removing non-used tags...");
  std::vector<std::string> binaries;
  std::string coverId;
  if (!options.cover.empty()) {
    if (auto cover = MakeFb2CoverImage(options.cover, progress, session.messages.language())) {
      if (cover->ok()) {
        coverId = cover->id;
        binaries.push_back(cover->element);
      } else {
        result.warnings.push_back(cover->message);
      }
    } else {
      result.warnings.push_back(session.messages.Text(common::Msg::FileNotFound, options.cover.string()));
    }
  }
  const std::string text = WithoutDescriptionBlock(html0);

  progress.Status("...arranging html: removing PW tags...");
  progress.Status("...converting html to fb2: making bookmarks...");
  progress.Status("...converting html to fb2: making pictures...");
  progress.Status("...converting html to fb2: looking for styles...");
  progress.Status("...converting html to fb2: looking for bold...");
  progress.Status("...converting html to fb2: looking for italic...");
  progress.Status("...converting html to fb2: looking for paragraphs...");
  int pictureNumber = 0;
  std::unordered_map<std::string, std::string> storedPictures;
  PictureFindings missing, unsupported, outside;
  const PictureStore pictures = [&](std::string_view src, int width, int height) -> std::string {
    const std::string key = std::string(src) + "|" + std::to_string(width) + "x" + std::to_string(height);
    if (const auto it = storedPictures.find(key); it != storedPictures.end()) return it->second;
    // Only picture files inside the book's own folder go into the book: never an absolute
    // path, "file:" or a link, whatever the book names.
    const fs::path relative = common::RelativePicturePath(src);
    const auto file = common::PictureInsideFolder(bookFolder, src);
    std::optional<Fb2Binary> binary;
    if (file) {
      binary = PictureToBinary(*file, width, height, options.keepPictureSizes, pictureNumber + 1,
                               session.messages.language());
    }
    std::string id;
    std::error_code error;
    if (!file && !relative.empty() && !fs::exists(fs::symlink_status(bookFolder / relative, error))) {
      missing.Add(session.messages.Text(common::Msg::FileNotFound, (bookFolder / relative).string()));
    } else if (!file) {
      outside.Add(session.messages.Text(common::Msg::PictureOutsideBook, src));
    } else if (!binary) {
      missing.Add(session.messages.Text(common::Msg::FileNotFound, file->string()));
    } else if (!binary->ok()) {
      unsupported.Add(binary->message);
    } else {
      ++pictureNumber;
      id = binary->id;
      binaries.push_back(std::move(binary->element));
    }
    storedPictures.emplace(key, id);
    return id;
  };
  Html0Book book = ReadHtml0Book(text, pictures, progress);
  missing.Tell(result.warnings, session.messages, common::Msg::PicturesNotFound);
  unsupported.Tell(result.warnings, session.messages, common::Msg::PicturesUnsupported);
  outside.Tell(result.warnings, session.messages, common::Msg::PicturesOutsideBook);
  progress.Status("...converting html to fb2: cleaning book...styles...");
  progress.Status("...converting html to fb2: cleaning book...elements...");

  if (const size_t loose = CountUnformattedNotes(book); loose > 0) {
    if (!session.messages.Ask(common::Msg::Fb2UnformattedNotes, {}, false)) return result;
  }

  Fb2Description full = description;
  std::erase_if(full.genres, [&](const std::string& genre) {
    if (IsGenreCode(genre)) return false;
    result.warnings.push_back(session.messages.Text(common::Msg::Fb2GenreLeftOut, genre));
    return true;
  });
  BookFacts facts = FactsOf(book);
  facts.coverId = coverId;
  facts.fallbackTitle = options.fallbackTitle;
  CompleteDescription(full, facts);

  BodyOptions bodyOptions;
  bodyOptions.dashes = ParseDashStyle(options.dashes);
  bodyOptions.bookForLibrary = options.bookForLibrary;
  bodyOptions.multiEmptyLines = options.multiEmptyLines;
  bodyOptions.lineEnds = !options.removeLineEnds;
  bodyOptions.signatureDate = options.signatureDate.empty() ? TodayShortDate() : options.signatureDate;
  const Fb2Bodies bodies = WriteFb2Bodies(book, bodyOptions, progress);

  std::string xml;
  xml.reserve(bodies.main.size() + bodies.notes.size() + 4096);
  xml += "<?xml version=\"1.0\" encoding=\"" + encodingName + "\"?>\n";
  xml +=
      "<FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" "
      "xmlns:l=\"http://www.w3.org/1999/xlink\" xmlns:xlink=\"http://www.w3.org/1999/xlink\">\n";
  std::string descriptionXml = WriteDescription(full);
  if (options.removeLineEnds) common::ReplaceAllInPlace(descriptionXml, "\n", "");
  xml += descriptionXml;
  xml += '\n';
  xml += bodies.main;
  xml += bodies.notes;
  for (const auto& binary : binaries) {
    xml += binary;
    xml += '\n';
  }
  xml += "</FictionBook>\n";
  result.bytes = encoding == common::CodePage::Utf8
                     ? std::move(xml)
                     : common::EncodeFromUtf8(xml, encoding, common::Unmappable::NumericReference);
  result.ok = true;
  return result;
}

std::string MakeFb2FileName(const Fb2Description& description, std::string_view nameField, bool fromDescription,
                            bool latin) {
  std::string name(common::Trim(nameField));
  if (fromDescription) {
    std::vector<std::string> parts;
    if (!description.authors.empty()) {
      const auto& a = description.authors.front();
      const std::string author(common::Trim(a.last + " " + a.first));
      parts.push_back(author.empty() ? a.nickname : author);
    }
    parts.push_back(description.title);
    parts.push_back(description.sequenceName);
    parts.push_back(description.sequenceNumber);
    name.clear();
    for (auto& part : parts) {
      const std::string trimmed(common::Trim(part));
      if (trimmed.empty()) continue;
      if (!name.empty()) name += '_';
      name += trimmed;
    }
  }
  // Characters no file system likes become "_".
  std::string clean;
  for (size_t pos = 0; pos < name.size();) {
    const char32_t cp = common::NextCodePoint(name, pos);
    if (cp < 0x20 || cp == '/' || cp == '\\' || cp == ':' || cp == '*' || cp == '?' || cp == '"' || cp == '<' ||
        cp == '>' || cp == '|')
      clean.push_back('_');
    else if (cp == ' ' && fromDescription)
      clean.push_back('_');
    else
      common::AppendUtf8(clean, cp);
  }
  if (latin) clean = TransliterateToLatin(clean);
  if (clean.empty()) clean = "noname";
  return clean + ".fb2";
}

std::string TransliterateToLatin(std::string_view text) {
  static const std::unordered_map<char32_t, std::string_view> table = {
      {U'а', "a"},  {U'б', "b"},  {U'в', "v"},  {U'г', "g"},    {U'д', "d"},  {U'е', "e"},  {U'ё', "e"},
      {U'ж', "zh"}, {U'з', "z"},  {U'и', "i"},  {U'й', "y"},    {U'к', "k"},  {U'л', "l"},  {U'м', "m"},
      {U'н', "n"},  {U'о', "o"},  {U'п', "p"},  {U'р', "r"},    {U'с', "s"},  {U'т', "t"},  {U'у', "u"},
      {U'ф', "f"},  {U'х', "kh"}, {U'ц', "ts"}, {U'ч', "ch"},   {U'ш', "sh"}, {U'щ', "shch"}, {U'ъ', ""},
      {U'ы', "y"},  {U'ь', ""},   {U'э', "e"},  {U'ю', "yu"},   {U'я', "ya"},
  };
  std::string out;
  for (size_t pos = 0; pos < text.size();) {
    const char32_t cp = common::NextCodePoint(text, pos);
    const std::string lower = common::ToLower(common::Utf8Of(cp));
    size_t k = 0;
    const char32_t lowerCp = common::NextCodePoint(lower, k);
    const auto it = table.find(lowerCp);
    if (it == table.end()) {
      if (cp < 0x80) out.push_back(static_cast<char>(cp));
      else out.push_back('_');
      continue;
    }
    std::string latin(it->second);
    if (lowerCp != cp && !latin.empty()) latin[0] = static_cast<char>(latin[0] - 'a' + 'A');
    out += latin;
  }
  return out;
}

bool MakeFb2File(std::string_view html0, const Fb2Description& description, const Fb2ExportOptions& options,
                 const fs::path& bookFolder, const fs::path& outputPath, bool zip, common::Session& session,
                 Fb2ExportResult* resultOut, bool announce) {
  // A file that exists but cannot be written (open elsewhere, read-only) stops the export
  // before anything is done.
  std::error_code error;
  if (fs::exists(outputPath, error)) {
    std::ofstream probe(outputPath, std::ios::binary | std::ios::app);
    if (!probe) {
      session.messages.Show(common::Msg::Fb2OutputLocked, outputPath.string());
      return false;
    }
  }
  Fb2ExportResult result = ConvertHtml0ToFb2(html0, description, options, bookFolder, session);
  for (const auto& warning : result.warnings) session.messages.ShowText(warning);
  if (!result.ok) {
    if (resultOut) *resultOut = std::move(result);
    return false;
  }
  if (!common::WriteFileAtomic(outputPath, result.bytes)) {
    session.messages.Show(common::Msg::ErrorWritingFile, outputPath.string());
    return false;
  }
  if (zip && !WriteZip(outputPath.string() + ".zip", outputPath.filename().string(), result.bytes)) {
    session.messages.Show(common::Msg::ErrorWritingFile, outputPath.string() + ".zip");
    return false;
  }
  if (announce) session.messages.Show(common::Msg::Fb2BookSaved, outputPath.string());
  if (resultOut) *resultOut = std::move(result);
  return true;
}

}  // namespace pw::fb2
