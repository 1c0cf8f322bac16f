#include "shell/ContainerInput.h"

#include "common/Files.h"
#include "common/Limits.h"
#include "common/PicturePaths.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "import/Charset.h"
#include "import/HtmlToBook.h"
#include "import/TextToBook.h"
#include "import/lit/LitBook.h"
#include "import/palm/PalmBook.h"
#include "import/rb/RbContainer.h"
#include "markup/BookMarkup.h"
#include "shell/TextInput.h"

namespace pw::shell {

namespace fs = std::filesystem;

namespace {

// A name the container gives in its own bytes, as UTF-8.
std::string DecodeName(const std::string& bytes, common::CodePage codePage) {
  const std::string text = common::IsValidUtf8(bytes) ? bytes : common::DecodeToUtf8(bytes, codePage);
  return std::string(common::Trim(text));
}

// Writers that know no author put a placeholder where the name would be.
bool IsPlaceholderAuthor(std::string_view author) {
  const std::string lower = common::AsciiLower(author);
  return lower.empty() || lower == "unknown" || lower == "unknown author";
}

// A scratch folder of the book folder, removed when the conversion ends.
class ScratchFolder {
 public:
  explicit ScratchFolder(fs::path path) : path_(std::move(path)) { common::MakeFolderIfMissing(path_); }
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

// The HTML chain over the pages of a container, pictures taken from `pictureFolder`. Writers of
// these containers often make them from plain text, one paragraph element a line with the
// headings among them: a book whose markup marks no heading and holds no picture goes through
// the text converter instead, which finds its headings (and so does one that keeps no
// paragraph at all).
bool ConvertHtmlPages(const std::string& html, const fs::path& pictureFolder, ConvertJob& job, std::string_view sourceType,
                      const std::string& author, const std::string& title) {
  common::Session& session = job.session;
  const std::string text = import::DetectCharset(html, session);
  import::HtmlImportOptions options;
  options.sourceFolder = pictureFolder;
  options.bookFolder = job.bookFolder;
  import::HtmlImportReport report;
  std::string document = import::ConvertHtmlToHtml0(text, session, options, &report);
  if (report.titles == 0 && (report.paragraphs == 0 || report.pictures == 0)) {
    import::TextImportOptions textOptions = TextOptions(job, sourceType);
    textOptions.bookAuthor = author;
    textOptions.bookTitle = title;
    document = import::ConvertTextToBook(import::ExtractTextFromHtml(text, session.progress), import::TextTarget::Html0,
                                         session, textOptions);
  }
  PlaceBookHeader(document, author, title, session);
  return common::WriteFileAtomic(job.workingDocument, document);
}

// A path of the container as a path below the folder: empty when it is absolute or climbs out.
fs::path InsidePath(std::string_view path) {
  const fs::path relative = fs::path(std::string(path)).lexically_normal();
  if (relative.empty() || relative.is_absolute() || !relative.has_filename()) return {};
  for (const auto& part : relative)
    if (part == "..") return {};
  return relative;
}

}  // namespace

void PlaceBookHeader(std::string& document, const std::string& author, const std::string& title,
                     const common::Session& session) {
  std::string header;
  const common::ElementColours& colours = session.settings.elementColours;
  if (!common::Trim(author).empty() && document.find(markup::kBookAuthorOpen) == std::string::npos)
    header += std::string(markup::kCrLf) + markup::MakeBookAuthor(import::palm::EscapeMarkup(author), colours.bookAuthor);
  if (!common::Trim(title).empty() && document.find(markup::kBookTitleOpen) == std::string::npos)
    header += std::string(markup::kCrLf) + markup::MakeBookTitle(import::palm::EscapeMarkup(title), colours.bookTitle);
  if (header.empty()) return;
  const size_t body = common::FindAsciiCaseless(document, "<BODY");
  const size_t end = body == std::string::npos ? std::string::npos : document.find('>', body);
  if (end == std::string::npos) return;
  document.insert(end + 1, header);
}

bool ConvertRbBook(ConvertJob& job) {
  common::Session& session = job.session;
  session.progress.Status("...converting rb to html0...disintegrating rb-file...");
  std::string file;
  import::rb::RbBook book;
  const bool read = common::ReadWholeFile(job.input, file);
  const import::rb::RbError error = read ? import::rb::ReadRbBook(file, book) : import::rb::RbError::NotRb;
  if (error != import::rb::RbError::None) {
    session.messages.Show(common::Msg::RbCannotConvert, ": " + job.sourceName);
    return false;
  }
  file.clear();
  const std::string joined = import::rb::JoinRbPages(book);
  const import::CharsetDecision charset = import::DecideCharset(joined, session.settings.importLanguage);
  const std::string title = DecodeName(book.title, charset.source);
  std::string author = DecodeName(book.author, charset.source);
  if (IsPlaceholderAuthor(author)) author.clear();

  bool ok = false;
  if (!book.pictures.empty()) {
    ScratchFolder scratch(job.bookFolder / "rb");
    for (const auto& [name, bytes] : book.pictures) {
      const fs::path picture = scratch.path() / fs::path(name).filename();
      if (!picture.filename().empty()) common::WriteFileAtomic(picture, bytes);
    }
    ok = ConvertHtmlPages(joined, scratch.path(), job, "rb", author, title);
  } else {
    import::TextImportOptions options = TextOptions(job, "rb");
    options.bookAuthor = author;
    options.bookTitle = title;
    ok = import::ConvertTextBytesToHtml0(joined, job.workingDocument, {}, session, options);
  }
  if (!ok) session.messages.Show(common::Msg::RbCannotConvert, ": " + job.sourceName);
  return ok;
}

bool ConvertLitBook(ConvertJob& job) {
  common::Session& session = job.session;
  std::string file;
  import::lit::LitBook book;
  const import::lit::LitError error = common::ReadWholeFile(job.input, file)
                                          ? import::lit::ReadLitBook(file, book, session.progress)
                                          : import::lit::LitError::NotLit;
  const size_t fileSize = file.size();
  file.clear();
  if (error == import::lit::LitError::Protected) {
    session.messages.Show(common::Msg::LitProtected, job.sourceName);
    return false;
  }
  if (error == import::lit::LitError::TooLarge) {
    session.messages.Show(common::Msg::BookTooLarge, std::to_string(common::Megabytes(common::BookSizeLimit(fileSize))));
    return false;
  }
  if (error != import::lit::LitError::None) {
    session.messages.Show(common::Msg::LitCannotConvert, ": " + job.sourceName);
    return false;
  }
  ScratchFolder scratch(job.bookFolder / "lit");
  for (const auto& [path, bytes] : book.pictures) {
    const fs::path inside = InsidePath(path);
    if (inside.empty()) continue;
    common::MakeFolderIfMissing((scratch.path() / inside).parent_path());
    common::WriteFileAtomic(scratch.path() / inside, bytes);
    if (path == book.coverPath) {
      // The extension is one of the known pictures', never one the book makes up.
      const std::string extension = common::LowerExtension(inside);
      common::WriteFileAtomic(job.bookFolder / ("CoverPicture." + (common::IsPictureExtension(extension) ? extension : "jpg")),
                              bytes);
    }
  }
  // The reader names the style sheets itself, so they never stand in for the workshop's own
  // files beside the book.
  for (const auto& [name, text] : book.styles) common::WriteFileAtomic(job.bookFolder / name, text);
  std::string author = book.author;
  if (IsPlaceholderAuthor(author)) author.clear();
  const bool ok = ConvertHtmlPages(book.html, scratch.path(), job, "lit", author, book.title);
  if (!ok) session.messages.Show(common::Msg::LitCannotConvert, ": " + job.sourceName);
  return ok;
}

}  // namespace pw::shell
