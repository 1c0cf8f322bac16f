#include "shell/BookOutput.h"

#include "common/Files.h"
#include "common/Session.h"
#include "fb2/DescriptionReader.h"
#include "fb2/Fb2Export.h"
#include "fb2/Fb2Schema.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/PlainHtml.h"
#include "shell/SaveBook.h"
#include "shell/WorkshopFolder.h"

namespace pw::shell {
namespace {

bool WriteStored(const OutputJob& job, std::string& error) {
  const std::string saved = MakeSavedDocument(job.document, job.settings, job.dateText);
  const markup::StoredBook book = MakeStoredBook(saved, job.bookFolder, job.header, job.compress);
  return markup::SaveStoredBookFile(job.output, book, error);
}

bool WritePlainHtml(const OutputJob& job, std::string& error) {
  std::string plain = job.document;
  markup::ArrangeAsPlainHtml(plain, markup::PlainHtmlOptions{}, job.progress);
  std::string page = "<HTML>\r\n" + markup::MakeCharsetMeta(true, false) + "\r\n<BODY>\r\n";
  page += common::Trim(plain);
  page += "\r\n</BODY></HTML>\r\n";
  if (common::WriteFileAtomic(job.output, page)) return true;
  error = "cannot write " + job.output.string();
  return false;
}

// Fields given for the batch win over what the book's own description says.
void Overlay(fb2::Fb2Description& book, const fb2::Fb2Description& given) {
  if (!given.genres.empty()) book.genres = given.genres;
  if (!given.authors.empty()) book.authors = given.authors;
  if (!given.title.empty()) book.title = given.title;
  if (!given.annotation.empty()) book.annotation = given.annotation;
  if (!given.lang.empty()) book.lang = given.lang;
  if (!given.sequenceName.empty()) book.sequenceName = given.sequenceName;
  if (!given.sequenceNumber.empty()) book.sequenceNumber = given.sequenceNumber;
}

bool WriteFb2(const OutputJob& job, std::string& error) {
  common::RecordingSink quietSink;
  common::Messages quietMessages(quietSink, job.settings.interfaceLanguage);
  common::Messages& messages = job.messages ? *job.messages : quietMessages;
  common::Session session(job.progress, messages);
  session.settings = job.settings;
  session.workFolder = job.bookFolder;
  common::ParseCodePage(job.settings.bookCodePage, session.codePage);

  // The book's own description (kept in its folder), or the one of the file given for the
  // batch; the fields given one by one win over both.
  fb2::Fb2Description description;
  if (auto stored = fb2::ReadDescriptionFile(job.bookFolder)) description = std::move(*stored);
  if (job.fb2 && !job.fb2->descriptionFile.empty()) {
    std::string bytes;
    if (!common::ReadWholeFile(job.fb2->descriptionFile, bytes)) {
      error = "cannot read " + job.fb2->descriptionFile.string();
      return false;
    }
    auto given = fb2::ReadFb2FileDescription(bytes, job.settings.importLanguage);
    if (!given) {
      error = messages.Text(common::Msg::Fb2DescriptionNotFound) + ": " + job.fb2->descriptionFile.string();
      return false;
    }
    description = std::move(*given);
  }
  fb2::Fb2ExportOptions options = fb2::ExportOptionsFromSettings(job.settings);
  options.fallbackTitle = job.output.stem().string();
  bool zip = job.settings.fb2Zip;
  // A cover the book brought along (an FB2 source's cover picture) is the cover again.
  for (const char* name : {"cover.jpg", "cover.png"})
    if (options.cover.empty() && std::filesystem::is_regular_file(job.bookFolder / name)) options.cover = job.bookFolder / name;
  if (job.fb2) {
    Overlay(description, job.fb2->description);
    if (!job.fb2->cover.empty()) options.cover = job.fb2->cover;
    zip = zip || job.fb2->zip;
  }
  fb2::Fb2ExportResult result;
  if (!fb2::MakeFb2File(job.document, description, options, job.bookFolder, job.output, zip, session, &result,
                        false)) {
    error = result.ok ? "" : "the export was cancelled";
    return false;
  }
  if (job.fb2 && job.fb2->validate) {
    const auto findings = fb2::ValidateFb2(result.bytes, ShippedDataFolder() / fb2::kFb2SchemaFile);
    for (const auto& finding : findings)
      messages.ShowText(job.output.string() + ":" + std::to_string(finding.line) + ": " + finding.message);
    if (!findings.empty()) {
      error = "the written book is not valid FictionBook 2";
      return false;
    }
  }
  return true;
}

// The writers of this build, in one place.
const std::vector<BookWriter>& Writers() {
  static const std::vector<BookWriter> writers{
      {"html0", "html0", WriteStored},
      {"html", "html", WritePlainHtml},
      {"fb2", "fb2", WriteFb2},
  };
  return writers;
}

}  // namespace

const BookWriter* FindBookWriter(std::string_view target) {
  for (const BookWriter& writer : Writers()) {
    if (writer.target == target) return &writer;
  }
  return nullptr;
}

std::string TargetForOutput(const std::filesystem::path& output) {
  const std::string extension = common::LowerExtension(output);
  if (extension == "html0") return "html0";
  if (extension == "html" || extension == "htm") return "html";
  return "fb2";
}

}  // namespace pw::shell
