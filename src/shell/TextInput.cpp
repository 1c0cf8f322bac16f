#include "shell/TextInput.h"

#include "common/Files.h"
#include "common/Limits.h"
#include "import/Charset.h"
#include "import/HtmlToBook.h"
#include "import/KmlText.h"
#include "import/TcrText.h"
#include "import/TextToBook.h"
#include "shell/WorkshopFolder.h"

namespace pw::shell {
namespace {

// A book folder is "<workshop>/Temp/tmp<serial>/book<n>": the workshop's rule folder is found
// from it. Elsewhere (a job run outside a workshop) relative rule names stay relative.
fs::path RuleFolderOf(const ConvertJob& job) {
  const fs::path temp = job.bookFolder.parent_path().parent_path();
  if (temp.filename() != "Temp") return {};
  return WorkshopFolder{temp.parent_path()}.bookCleaner();
}

}  // namespace

import::TextImportOptions TextOptions(const ConvertJob& job, std::string_view sourceType) {
  import::TextImportOptions options;
  options.sourceType = std::string(sourceType);
  options.dictionaryFolder = ShippedDataFolder();
  options.ruleFolder = RuleFolderOf(job);
  options.extractText = import::ExtractTextFromHtml;
  return options;
}

bool ConvertTextBook(ConvertJob& job) {
  return import::ConvertTxtToHtml0(job.input, job.workingDocument, {}, job.session,
                                   TextOptions(job, common::LowerExtension(job.input)));
}

bool ConvertTcrBook(ConvertJob& job) {
  job.session.progress.Status("...converting tcr to html0...unpacking tcr-file...");
  std::string file;
  std::string text;
  bool tooLarge = false;
  if (!common::ReadWholeFile(job.input, file) || !import::UnpackTcr(file, text, &tooLarge)) {
    if (tooLarge)
      job.session.messages.Show(common::Msg::BookTooLarge, std::to_string(common::Megabytes(common::BookSizeLimit(file.size()))));
    return false;
  }
  return import::ConvertTextBytesToHtml0(text, job.workingDocument, {}, job.session, TextOptions(job, "tcr"));
}

bool ConvertKmlBook(ConvertJob& job) {
  job.session.progress.Status("...converting kml to html...");
  std::string file;
  if (!common::ReadWholeFile(job.input, file)) return false;
  const std::string xml = import::DetectCharset(file, job.session);
  const std::string text = import::ExtractKmlText(xml, job.session.progress);
  import::TextImportOptions options = TextOptions(job, "kml");
  options.sourceBytes = file.size();
  const std::string book =
      import::ConvertTextToBook(text, import::TextTarget::Html0, job.session, options);
  return common::WriteFileAtomic(job.workingDocument, book);
}

}  // namespace pw::shell
