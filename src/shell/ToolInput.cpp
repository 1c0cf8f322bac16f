#include "shell/ToolInput.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "common/Files.h"
#include "common/Text.h"
#include "import/HtmlToBook.h"
#include "import/PdfLayout.h"
#include "shell/WorkshopFolder.h"

namespace pw::shell {

namespace fs = std::filesystem;

int RunTool(const std::vector<std::string>& arguments, const fs::path& folder, int timeoutSeconds,
            const fs::path& outputFile) {
  if (arguments.empty()) return -1;
  std::vector<char*> argv;
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child < 0) return -1;
  if (child == 0) {
    if (!folder.empty() && chdir(folder.c_str()) != 0) _exit(127);
    const int devNull = open("/dev/null", O_RDWR);
    if (devNull >= 0) {
      dup2(devNull, STDIN_FILENO);
      dup2(devNull, STDOUT_FILENO);
      dup2(devNull, STDERR_FILENO);
    }
    if (!outputFile.empty()) {
      const int out = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      if (out < 0) _exit(127);
      dup2(out, STDOUT_FILENO);
    }
    setpgid(0, 0);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
  int status = 0;
  while (true) {
    const pid_t done = waitpid(child, &status, WNOHANG);
    if (done == child) break;
    if (done < 0) return -1;
    if (std::chrono::steady_clock::now() > deadline) {
      kill(-child, SIGKILL);
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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

constexpr int kToolTimeout = 300;

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
  if (RunTool({tool, "-q", "-xml", "-i", "-enc", "UTF-8", input.string(), "book"}, folder, kToolTimeout) != 0 ||
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
      RunTool({infoTool, "-enc", "UTF-8", input.string()}, folder, kToolTimeout, folder / "info.txt") == 0 &&
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
    session.messages.Show(common::Msg::ToolMissing, "soffice");
    return false;
  }
  session.progress.Status("...opening file...be patient, may take long time...");
  const fs::path folder = ToolFolder(job, "office");
  const fs::path input = fs::absolute(job.input);
  // The suite keeps a profile; one of its own in the scratch folder keeps runs apart.
  const std::string profile = "-env:UserInstallation=file://" + (folder / "profile").string();
  if (RunTool({tool, profile, "--headless", "--convert-to", "html", "--outdir", folder.string(), input.string()}, folder,
              kToolTimeout) != 0) {
    session.messages.Show(common::Msg::CannotConvert, ": " + job.sourceName);
    return false;
  }
  const fs::path html = folder / (job.input.stem().string() + ".html");
  session.progress.Status("...making basic transformations...");
  import::HtmlImportReport report;
  if (!common::FileExists(html) || !import::ConvertHtmlFileToHtml0(html, job.workingDocument, session, &report)) {
    session.messages.Show(common::Msg::CannotConvert, ": " + job.sourceName);
    return false;
  }
  return true;
}

}  // namespace pw::shell
