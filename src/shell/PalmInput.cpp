#include "shell/PalmInput.h"

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "import/Charset.h"
#include "import/HtmlToBook.h"
#include "import/palm/PalmBook.h"
#include "import/palm/PalmHtmlChain.h"
#include "markup/BookMarkup.h"
#include "shell/ContainerInput.h"
#include "shell/TextInput.h"

namespace pw::shell {
namespace {

using import::palm::PalmBook;
using import::palm::TextEncoding;

std::string ToUtf8(std::string_view text, TextEncoding encoding) {
  if (encoding == TextEncoding::Utf8 && common::IsValidUtf8(text)) return std::string(text);
  return common::DecodeToUtf8(text, common::CodePage::Win1252);
}

bool WritePictures(const PalmBook& book, const fs::path& folder) {
  for (const auto& picture : book.pictures) {
    if (!common::WriteFileAtomic(folder / picture.name, picture.bytes)) return false;
    // The cover goes beside the book as "cover.jpg" or "cover.png", where the FB2 writer takes
    // the cover of a book from.
    const std::string_view kind = import::palm::PictureExtension(picture.bytes);
    if (picture.name == book.coverName && (kind == "jpg" || kind == "png")) {
      if (!common::WriteFileAtomic(folder / ("cover." + std::string(kind)), picture.bytes)) return false;
    }
  }
  return true;
}

bool ConvertMarkup(ConvertJob& job, const PalmBook& book, std::string author, std::string title) {
  common::Session& session = job.session;
  std::string html;
  if (book.encoding == TextEncoding::Win1252) {
    html = common::DecodeToUtf8(book.text, common::CodePage::Win1252);
    session.codePage = common::CodePage::Win1252;
  } else {
    html = import::DetectCharset(book.text, session);
  }
  // A text without a container header may name its book in its own metadata.
  if (author.empty()) author = import::palm::HeadElementText(html, "dc:Creator");
  if (title.empty()) title = import::palm::HeadElementText(html, "dc:Title");
  const import::TextImportOptions textOptions = TextOptions(job, common::LowerExtension(job.input));
  html = import::palm::RunPalmHtmlChain(std::move(html), session, textOptions.ruleFolder);
  import::HtmlImportReport report;
  std::string document = import::ConvertHtmlToHtml0(html, session, {}, &report);
  if (report.paragraphs == 0 && report.titles == 0) {
    const std::string text = import::ExtractTextFromHtml(html, session.progress);
    if (common::Trim(text).empty()) {
      session.messages.Show(common::Msg::HtmlCannotTransform);
      return false;
    }
    import::TextImportOptions options = textOptions;
    options.bookAuthor = author;
    options.bookTitle = title;
    document = import::ConvertTextToBook(text, import::TextTarget::Html0, session, options);
  } else {
    // What the text's own first headings name stays; the container fills in the rest.
    PlaceBookHeader(document, report.bookAuthor.empty() ? author : std::string(),
                    report.bookTitle.empty() ? title : std::string(), session);
  }
  if (!common::WriteFileAtomic(job.workingDocument, document)) {
    session.messages.Show(common::Msg::ErrorWritingFile, job.workingDocument.string());
    return false;
  }
  return true;
}

}  // namespace

bool ConvertPalmBook(ConvertJob& job) {
  common::Session& session = job.session;
  session.progress.Status("...unpacking file...");
  std::string file;
  if (!common::ReadWholeFile(job.input, file)) {
    session.messages.Show(common::Msg::ErrorReadingFile, job.sourceName);
    return false;
  }
  PalmBook book;
  const import::palm::PalmFailure failure = import::palm::ReadPalmBook(file, book);
  if (failure == import::palm::PalmFailure::Protected) {
    session.messages.Show(common::Msg::PalmProtected, job.sourceName);
    return false;
  }
  if (failure != import::palm::PalmFailure::None || common::Trim(book.text).empty()) {
    session.messages.Show(common::Msg::PalmCannotUnpack, ": " + job.sourceName);
    return false;
  }
  session.progress.Status("...converting Palm file to html...");
  if (!WritePictures(book, job.bookFolder)) {
    session.messages.Show(common::Msg::ErrorWritingFile, job.bookFolder.string());
    return false;
  }
  std::string author = ToUtf8(book.author, book.encoding);
  const std::string title = ToUtf8(book.title, book.encoding);
  // A converter's stand-in for a missing author is not a name.
  if (author == "Unknown") author.clear();

  if (book.markup) return ConvertMarkup(job, book, author, title);
  import::TextImportOptions options = TextOptions(job, common::LowerExtension(job.input));
  options.bookAuthor = author;
  options.bookTitle = title;
  const std::string text =
      book.encoding == TextEncoding::Win1252 ? common::DecodeToUtf8(book.text, common::CodePage::Win1252) : book.text;
  return import::ConvertTextBytesToHtml0(text, job.workingDocument, {}, session, options);
}

}  // namespace pw::shell
