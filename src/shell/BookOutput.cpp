#include "shell/BookOutput.h"

#include "common/Files.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/PlainHtml.h"
#include "shell/SaveBook.h"

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

// The writers of this build, in one place.
const std::vector<BookWriter>& Writers() {
  static const std::vector<BookWriter> writers{
      {"html0", "html0", WriteStored},
      {"html", "html", WritePlainHtml},
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
