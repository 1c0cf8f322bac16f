#include "shell/ToolInput.h"

#include <unistd.h>

#include <cstdlib>

#include "common/Files.h"
#include "common/Text.h"
#include "import/HtmlToBook.h"
#include "import/PdfLayout.h"
#include "import/ShellWait.h"
#include "shell/WorkshopFolder.h"

namespace pw::shell {

namespace fs = std::filesystem;

int RunTool(const std::vector<std::string>& arguments, const fs::path& folder, int timeoutSeconds,
            const fs::path& outputFile) {
  import::ShellWaitOptions options;
  options.folder = folder;
  options.outputFile = outputFile;
  const import::ShellResult result = import::ShellWait(arguments, timeoutSeconds, "", options);
  if (!result.started) return arguments.empty() ? -1 : result.exitCode;
  return result.timedOut ? -1 : result.exitCode;
}

std::string FindTool(const std::string& configured, const std::vector<std::string>& names) {
  if (!configured.empty()) return common::FileExists(configured) ? configured : std::string();
  const char* path = std::getenv("PATH");
  const std::string folders = path ? path : "/usr/bin:/bin";
  for (const auto& name : names) {
    size_t start = 0;
    while (start <= folders.size()) {
      const size_t end = std::min(folders.find(':', start), folders.size());
      const fs::path candidate = fs::path(folders.substr(start, end - start)) / name;
      if (access(candidate.c_str(), X_OK) == 0) return candidate.string();
      start = end + 1;
    }
  }
  return {};
}

namespace {

// A folder of its own in the book folder for what the program writes.
fs::path ToolFolder(const ConvertJob& job, std::string_view name) {
  const fs::path folder = job.bookFolder / name;
  common::MakeFolderIfMissing(folder);
  return folder;
}

}  // namespace

bool ConvertPdfBook(ConvertJob& job) {
  common::Session& session = job.session;
  const std::string tool = FindTool(session.settings.pdfToHtmlPath, {"pdftohtml"});
  if (tool.empty()) {
    session.messages.Show(common::Msg::ToolMissing, "pdftohtml");
    return false;
  }
  session.progress.Status("...converting pdf to html...");
  const fs::path folder = ToolFolder(job, "pdf");
  const fs::path input = fs::absolute(job.input);
  std::string xml;
  if (RunTool({tool, "-q", "-xml", "-i", "-enc", "UTF-8", input.string(), "book"}, folder,
              session.settings.pdfToolTimeout) != 0 ||
      !common::ReadWholeFile(folder / "book.xml", xml)) {
    session.messages.Show(common::Msg::CannotConvert, ": " + job.sourceName);
    return false;
  }
  // The PDF's own title and author, when poppler's pdfinfo is there to tell them.
  import::PdfInfo info;
  const fs::path tool2 = fs::path(tool).parent_path() / "pdfinfo";
  const std::string infoTool = access(tool2.c_str(), X_OK) == 0 ? tool2.string() : FindTool("", {"pdfinfo"});
  std::string infoText;
  if (!infoTool.empty() &&
      RunTool({infoTool, "-enc", "UTF-8", input.string()}, folder, session.settings.pdfToolTimeout,
              folder / "info.txt") == 0 &&
      common::ReadWholeFile(folder / "info.txt", infoText))
    info = import::ReadPdfInfo(infoText);

  session.progress.Status("...converting pdf to html0: removing pdf page headers...");
  const std::string html = import::PdfXmlToHtml(xml, info);
  import::HtmlImportOptions options;
  options.bookAuthor = info.author;
  options.bookTitle = info.title;
  const std::string document = import::ConvertHtmlToHtml0(html, session, options);
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  return common::WriteFileAtomic(job.workingDocument, document);
}

bool ConvertOfficeBook(ConvertJob& job) {
  common::Session& session = job.session;
  const std::string tool = FindTool(session.settings.wordProcessorPath, {"soffice", "libreoffice"});
  if (tool.empty()) {
    session.messages.Show(common::Msg::OfficeSuiteMissing);
    return false;
  }
  session.progress.Status("...opening file...be patient, may take long time...");
  const fs::path folder = ToolFolder(job, "office");
  const fs::path input = fs::absolute(job.input);
  // The suite keeps a profile; one of its own in the scratch folder keeps runs apart.
  const std::string profile = "-env:UserInstallation=file://" + (folder / "profile").string();
  if (RunTool({tool, profile, "--headless", "--convert-to", "html", "--outdir", folder.string(), input.string()}, folder,
              session.settings.officeToolTimeout) != 0) {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
    session.messages.Show(common::Msg::CannotConvert, ": " + job.sourceName);
    return false;
  }
  const fs::path html = folder / (job.input.stem().string() + ".html");
  session.progress.Status("...looking for styles...be patient, may take long time...");
  session.progress.Status("...making basic transformations...");
  import::HtmlImportReport report;
  const bool ok = common::FileExists(html) && import::ConvertHtmlFileToHtml0(html, job.workingDocument, session, &report);
  // The pictures were copied beside the book; the suite's files and profile go.
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  if (!ok) session.messages.Show(common::Msg::CannotConvert, ": " + job.sourceName);
  return ok;
}

}  // namespace pw::shell
