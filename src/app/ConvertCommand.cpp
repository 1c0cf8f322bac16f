// `pagewright convert`: the batch converter. Each input goes through the book session into
// its own book folder, then out as a stored book or plain HTML; several inputs may run in
// parallel.
#include <CLI/CLI.hpp>

#include <unistd.h>

#include <atomic>
#include <iostream>
#include <memory>
#include <mutex>
#include <thread>

#include "app/Commands.h"
#include "app/TerminalProgress.h"
#include "common/Files.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/PlainHtml.h"
#include "markup/StoredBook.h"
#include "shell/BookSession.h"
#include "shell/InstanceFile.h"
#include "shell/SettingsFile.h"
#include "shell/WorkshopFolder.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;

struct ConvertOptions {
  std::vector<std::string> inputs;
  std::string output;
  std::string target;
  std::string mode = "auto";
  std::string language = "auto";
  std::string codePage = "auto";
  std::string home;
  bool compress = false;
  bool quiet = false;
  unsigned jobs = 1;
};

std::string TargetOf(const ConvertOptions& options) {
  if (!options.target.empty()) return options.target;
  const std::string extension = common::LowerExtension(options.output);
  if (extension == "html0" || extension == "html" || extension == "htm") return extension == "htm" ? "html" : extension;
  return "fb2";
}

// Where the book made from `input` goes: the output file for one input, a file in the
// output folder for several, else beside the input (never over it).
fs::path OutputFor(const ConvertOptions& options, const fs::path& input, const std::string& target) {
  const std::string name = input.stem().string() + "." + target;
  if (!options.output.empty()) {
    if (options.inputs.size() == 1 && !fs::is_directory(options.output)) return options.output;
    return fs::path(options.output) / name;
  }
  fs::path beside = input.parent_path() / name;
  std::error_code ec;
  if (fs::exists(beside, ec) && fs::equivalent(beside, input, ec))
    beside = input.parent_path() / (input.stem().string() + ".converted." + target);
  return beside;
}

bool WriteBook(const std::string& document, const fs::path& output, const std::string& target, bool compress,
               common::Session& session, std::string& error) {
  if (target == "html0") {
    markup::StoredBook book;
    book.document = document;
    book.compressed = compress;
    return markup::SaveStoredBookFile(output, book, error);
  }
  std::string plain = document;
  markup::ArrangeAsPlainHtml(plain, markup::PlainHtmlOptions{}, session.progress);
  std::string page = "<HTML>\r\n" + markup::MakeCharsetMeta(true, false) + "\r\n<BODY>\r\n";
  page += common::Trim(plain);
  page += "\r\n</BODY></HTML>\r\n";
  if (!common::WriteFileAtomic(output, page)) {
    error = "cannot write " + output.string();
    return false;
  }
  return true;
}

int Convert(const ConvertOptions& options) {
  const std::string target = TargetOf(options);
  if (target != "html0" && target != "html") {
    std::cerr << "pagewright: conversion to " << target << " is not available in this build; use --to html0 or --to html\n";
    return 1;
  }
  if (options.inputs.size() > 1 && !options.output.empty() && !fs::is_directory(options.output) &&
      !common::MakeFolderIfMissing(options.output)) {
    std::cerr << "pagewright: cannot make the output folder " << options.output << "\n";
    return 1;
  }

  shell::WorkshopFolder workshop{shell::ResolveWorkshopFolder(options.home)};
  if (!shell::PrepareWorkshopFolder(workshop, shell::ShippedDataFolder())) {
    std::cerr << "pagewright: cannot prepare the workshop folder " << workshop.root.string() << "\n";
    return 1;
  }
  common::Settings settings;
  shell::RestoreSettings(workshop.settingsFile(), settings);
  settings.paragraphMode = options.mode;
  settings.importLanguage = options.language;
  settings.importCodePage = options.codePage;

  shell::InstanceRegistration instance(workshop.instanceFile(), workshop.temp());
  StderrSink sink;
  const bool showBar = options.jobs == 1 && options.inputs.size() == 1 && !options.quiet && ::isatty(2);
  std::atomic<size_t> next{0};
  std::atomic<int> failures{0};
  std::mutex printMutex;

  auto worker = [&] {
    for (size_t i = next++; i < options.inputs.size(); i = next++) {
      const fs::path input = options.inputs[i];
      TerminalProgress progress(showBar);
      common::Messages messages(sink, settings.interfaceLanguage);
      common::Session session(progress, messages);
      session.settings = settings;
      shell::BookSession book(workshop, instance.serial(), session);
      std::string error;
      bool ok = shell::CheckInputFile(input, messages) == shell::InputCheck::Ok && book.PrepareBook(input);
      std::string document;
      const fs::path output = OutputFor(options, input, target);
      if (ok && !common::ReadWholeFile(book.workingDocument(), document)) {
        error = "cannot read the working document";
        ok = false;
      }
      if (ok) ok = WriteBook(document, output, target, options.compress, session, error);
      if (!ok) {
        ++failures;
        if (!error.empty()) messages.Show(common::Msg::ErrorProcessingFile, ": " + input.string() + ": " + error);
      } else if (!options.quiet) {
        std::lock_guard lock(printMutex);
        std::cerr << input.string() << " -> " << output.string() << "\n";
      }
      std::error_code ignored;
      fs::remove_all(book.bookFolder(), ignored);
    }
  };
  const unsigned threads = std::max(1u, std::min<unsigned>(options.jobs, static_cast<unsigned>(options.inputs.size())));
  std::vector<std::thread> pool;
  for (unsigned t = 1; t < threads; ++t) pool.emplace_back(worker);
  worker();
  for (auto& thread : pool) thread.join();

  std::error_code ignored;
  fs::remove_all(workshop.instanceFolder(instance.serial()), ignored);
  return failures == 0 ? 0 : 1;
}

}  // namespace

void RegisterConvertCommand(CLI::App& app, CommandAction& action) {
  auto options = std::make_shared<ConvertOptions>();
  auto* convert = app.add_subcommand(
      "convert", "Convert books: each INPUT becomes a stored html0 book or plain HTML (FB2 comes later)");
  convert->add_option("INPUT", options->inputs, "Books to convert")->required();
  convert->add_option("-o,--output", options->output,
                      "Output file for one input, or output folder for several (default: beside each input)");
  convert->add_option("--to", options->target, "Target: html0 or html (default: from the output's extension)")
      ->check(CLI::IsMember({"fb2", "html0", "html"}));
  convert->add_option("--mode", options->mode, "Paragraph mode of text sources")
      ->check(CLI::IsMember({"auto", "simple", "spaces", "line ends", "advanced", "tabulators"}));
  convert->add_option("--lang", options->language, "Language of sources (auto detects)")
      ->check(CLI::IsMember({"auto", "Russian", "English", "Spanish", "German", "French", "Polish", "Czech"}));
  convert->add_option("--codepage", options->codePage, "Code page of sources (auto detects)");
  convert->add_flag("--compress", options->compress, "Write stored books compressed");
  convert->add_option("-j,--jobs", options->jobs, "Inputs converted in parallel")->check(CLI::Range(1u, 64u));
  convert->add_option("--home", options->home, "Workshop folder (default: $PAGEWRIGHT_HOME or the user data folder)");
  convert->add_flag("-q,--quiet", options->quiet, "No progress and no list of written files");
  convert->callback([&action, options] { action = [options] { return Convert(*options); }; });
}

}  // namespace pw::app
