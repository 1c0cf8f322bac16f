#include "shell/CitationFile.h"

#include "common/Files.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"

namespace pw::shell {
namespace {

constexpr std::string_view kFileStart = "<!pwcitations ";
constexpr int kLayoutVersion = 1;
constexpr std::string_view kTitleOpen = "<!pwtitle>";
constexpr std::string_view kTitleClose = "<!/pwtitle>";
constexpr std::string_view kCiteOpen = "<!pwcite source=\"";
constexpr std::string_view kCiteClose = "<!/pwcite>";
constexpr std::string_view kCrLf = "\r\n";

std::string EscapeValue(std::string_view value) {
  std::string out;
  out.reserve(value.size());
  for (char c : value) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\r':
      case '\n': out += ' '; break;
      default: out += c;
    }
  }
  return out;
}

std::string UnescapeValue(std::string_view value) {
  static constexpr std::pair<std::string_view, char> kEntities[] = {
      {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}};
  std::string out;
  out.reserve(value.size());
  for (size_t i = 0; i < value.size();) {
    bool replaced = false;
    if (value[i] == '&') {
      for (const auto& [entity, c] : kEntities) {
        if (value.substr(i, entity.size()) == entity) {
          out += c;
          i += entity.size();
          replaced = true;
          break;
        }
      }
    }
    if (!replaced) out += value[i++];
  }
  return out;
}

// Escapes text for the body of an html0 paragraph.
std::string EscapeText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    if (c == '&') out += "&amp;";
    else if (c == '<') out += "&lt;";
    else if (c == '>') out += "&gt;";
    else out += c;
  }
  return out;
}

bool IsBlank(std::string_view text) { return common::Trim(text).empty(); }

// Skips one line end (CRLF or LF) at `pos`.
size_t SkipLineEnd(std::string_view text, size_t pos) {
  if (pos < text.size() && text[pos] == '\r') ++pos;
  if (pos < text.size() && text[pos] == '\n') ++pos;
  return pos;
}

// The html0 paragraphs of a fragment: as written when it is markup, else one paragraph for
// each non-empty line.
std::string FragmentParagraphs(std::string_view fragment) {
  const std::string_view trimmed = common::Trim(fragment);
  if (!trimmed.empty() && trimmed.front() == '<') return std::string(trimmed);
  std::string out;
  size_t pos = 0;
  while (pos <= trimmed.size()) {
    size_t end = trimmed.find('\n', pos);
    if (end == std::string_view::npos) end = trimmed.size();
    const std::string_view line = common::Trim(trimmed.substr(pos, end - pos));
    if (!line.empty()) out += markup::MakeParagraph(EscapeText(line));
    pos = end + 1;
  }
  return out;
}

}  // namespace

std::string WriteCitationFile(const CitationCollection& collection) {
  std::string out;
  out += kFileStart;
  out += std::to_string(kLayoutVersion);
  out += '>';
  out += kCrLf;
  if (!collection.title.empty()) {
    out += kTitleOpen;
    out += EscapeValue(collection.title);
    out += kTitleClose;
    out += kCrLf;
  }
  for (const Citation& citation : collection.citations) {
    out += kCiteOpen;
    out += EscapeValue(citation.source);
    out += "\">";
    out += kCrLf;
    std::string fragment = citation.text;
    while (common::ReplaceAllInPlace(fragment, kCiteClose, "") > 0) {
    }
    out += common::Trim(fragment);
    out += kCrLf;
    out += kCiteClose;
    out += kCrLf;
  }
  return out;
}

bool ReadCitationFile(std::string_view text, CitationCollection& collection, std::string& error) {
  collection = {};
  if (!common::StartsWith(text, kFileStart)) {
    error = "not a citation file";
    return false;
  }
  const size_t versionEnd = text.find('>');
  const std::string_view version =
      versionEnd == std::string_view::npos ? std::string_view() : text.substr(kFileStart.size(), versionEnd - kFileStart.size());
  if (version != std::to_string(kLayoutVersion)) {
    error = "citation file of an unknown layout";
    return false;
  }
  size_t pos = SkipLineEnd(text, versionEnd + 1);
  if (common::StartsWith(text.substr(pos), kTitleOpen)) {
    const size_t close = text.find(kTitleClose, pos);
    const size_t lineEnd = text.find('\n', pos);
    if (close == std::string_view::npos || (lineEnd != std::string_view::npos && close > lineEnd)) {
      error = "the title is not closed";
      return false;
    }
    collection.title = UnescapeValue(text.substr(pos + kTitleOpen.size(), close - pos - kTitleOpen.size()));
    pos = SkipLineEnd(text, close + kTitleClose.size());
  }
  while (true) {
    const size_t open = text.find(kCiteOpen, pos);
    if (!IsBlank(text.substr(pos, open == std::string_view::npos ? std::string_view::npos : open - pos))) {
      error = "text outside the citations";
      return false;
    }
    if (open == std::string_view::npos) break;
    const size_t sourceStart = open + kCiteOpen.size();
    const size_t sourceEnd = text.find("\">", sourceStart);
    const size_t lineEnd = text.find('\n', sourceStart);
    if (sourceEnd == std::string_view::npos || (lineEnd != std::string_view::npos && sourceEnd > lineEnd)) {
      error = "citation " + std::to_string(collection.citations.size() + 1) + " has a broken source";
      return false;
    }
    const size_t fragmentStart = SkipLineEnd(text, sourceEnd + 2);
    const size_t close = text.find(kCiteClose, fragmentStart);
    if (close == std::string_view::npos) {
      error = "citation " + std::to_string(collection.citations.size() + 1) + " is not closed";
      return false;
    }
    Citation citation;
    citation.source = UnescapeValue(text.substr(sourceStart, sourceEnd - sourceStart));
    citation.text = common::Trim(text.substr(fragmentStart, close - fragmentStart));
    collection.citations.push_back(std::move(citation));
    pos = close + kCiteClose.size();
  }
  return true;
}

std::string MakeCitationBook(const CitationCollection& collection, std::string_view fallbackTitle,
                             const common::Settings& settings) {
  const common::ElementColours& colours = settings.elementColours;
  const std::string title = collection.title.empty() ? std::string(fallbackTitle) : collection.title;
  std::string book = markup::MakeBodyTag(markup::BodyStyleFromSettings(settings), true, false, false);
  book += kCrLf;
  book += markup::MakeBookTitle(EscapeText(title) + std::string(kCitationsTitleMark), colours.bookTitle);
  book += kCrLf;
  for (const Citation& citation : collection.citations) {
    const std::string source =
        citation.source.empty() ? std::string() : markup::MakeTextAuthor(EscapeText(citation.source), colours.textAuthor);
    book += markup::MakeCite(FragmentParagraphs(citation.text), source, colours.cite);
    book += kCrLf;
    book += markup::kEmptyLine;
    book += kCrLf;
  }
  book += markup::kLastParagraph;
  book += kCrLf;
  book += markup::kBookEnd;
  return book;
}

bool LoadCitationFile(const std::filesystem::path& input, const std::filesystem::path& workingDocument,
                      std::string_view fallbackTitle, const common::Settings& settings, std::string& error) {
  std::string text;
  if (!common::ReadWholeFile(input, text)) {
    error = "cannot read " + input.string();
    return false;
  }
  CitationCollection collection;
  if (!ReadCitationFile(text, collection, error)) return false;
  if (!common::WriteFileAtomic(workingDocument, MakeCitationBook(collection, fallbackTitle, settings))) {
    error = "cannot write " + workingDocument.string();
    return false;
  }
  return true;
}

bool AppendCitation(const std::filesystem::path& file, const Citation& citation, std::string& error) {
  CitationCollection collection;
  if (common::FileExists(file)) {
    std::string text;
    if (!common::ReadWholeFile(file, text)) {
      error = "cannot read " + file.string();
      return false;
    }
    if (!ReadCitationFile(text, collection, error)) return false;
  }
  collection.citations.push_back(citation);
  if (!common::WriteFileAtomic(file, WriteCitationFile(collection))) {
    error = "cannot write " + file.string();
    return false;
  }
  return true;
}

bool ConvertCitationFile(ConvertJob& job) {
  std::string error;
  const std::string fallbackTitle = std::filesystem::path(job.sourceName).stem().string();
  if (LoadCitationFile(job.input, job.workingDocument, fallbackTitle, job.session.settings, error)) return true;
  job.session.messages.Show(common::Msg::StoredBookDamaged, job.sourceName + ": " + error);
  return false;
}

}  // namespace pw::shell
