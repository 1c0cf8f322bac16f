// `pagewright convert`: the batch converter on the command line. Each INPUT goes through the
// book session into its own book folder and out through the writer of the chosen form; with
// --jobs several inputs are converted side by side.
#include <CLI/CLI.hpp>

#include <unistd.h>

#include <iostream>
#include <map>
#include <memory>

#include "app/Commands.h"
#include "app/TerminalProgress.h"
#include "common/Messages.h"
#include "fb2/Description.h"
#include "shell/BatchConvert.h"
#include "shell/ImportOptions.h"
#include "shell/InstanceFile.h"
#include "shell/SettingsFile.h"
#include "shell/StructureReport.h"
#include "shell/WorkshopFolder.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;

struct ConvertOptions {
  shell::BatchRequest request;
  std::map<std::string, std::string> importSettings;  // option name -> value given
  std::string home;
  bool quiet = false;
  bool yes = false;
  bool report = false;
  // FictionBook options that override the saved settings when given.
  std::string encoding;
  std::string dashes;
  bool library = false;
  bool multiEmptyLines = false;
  bool removeLineEnds = false;
  bool keepPictureSizes = false;
  std::string authors;
  std::string genres;
  std::string cleanUpBefore;
  std::string cleanUpAfter;
  std::string cleanUpOutput;
};

int Convert(const ConvertOptions& options) {
  const shell::WorkshopFolder workshop{shell::ResolveWorkshopFolder(options.home)};
  common::Settings settings;
  const shell::RestoreResult restored = shell::RestoreSettings(workshop.settingsFile(), settings);
  const common::Language language = settings.interfaceLanguage;

  shell::BatchPlan plan;
  std::string error;
  if (!shell::PlanBatch(options.request, language, plan, error)) {
    std::cerr << "pagewright: " << error << "\n";
    return 1;
  }
  if (!shell::PrepareWorkshopFolder(workshop, shell::ShippedDataFolder())) {
    std::cerr << "pagewright: " << common::MessageText(common::Msg::ErrorWritingFile, language)
              << workshop.root.string() << "\n";
    return 1;
  }
  for (const shell::SettingOption& option : shell::ImportOptions()) {
    const auto given = options.importSettings.find(std::string(option.name));
    if (given != options.importSettings.end() && !given->second.empty())
      settings.*option.field = std::string(shell::MatchChoice(option, given->second));
  }

  if (!options.cleanUpBefore.empty()) settings.cleanUpBefore = options.cleanUpBefore;
  if (!options.cleanUpAfter.empty()) settings.cleanUpAfter = options.cleanUpAfter;
  if (!options.cleanUpOutput.empty()) settings.cleanUpOutput = options.cleanUpOutput;
  if (!options.encoding.empty()) settings.fb2Encoding = options.encoding;
  if (!options.dashes.empty()) settings.dashStyle = options.dashes;
  if (options.library) settings.fb2BookForLibrary = true;
  if (options.multiEmptyLines) settings.fb2MultiEmptyLines = true;
  if (options.removeLineEnds) settings.fb2RemoveLineEnds = true;
  if (options.keepPictureSizes) settings.fb2KeepPictureSizes = true;
  shell::BatchRequest request = options.request;
  if (!options.authors.empty()) request.fb2.description.authors = fb2::SplitAuthors(options.authors);
  if (!options.genres.empty()) request.fb2.description.genres = fb2::ParseGenreList(options.genres);

  TerminalBatchView view(plan.books.size(), !options.quiet && ::isatty(STDERR_FILENO));
  view.SetAssumeYes(options.yes);
  if (restored == shell::RestoreResult::Damaged && !options.quiet)
    view.Sink().Show(common::MessageText(common::Msg::SettingsUnreadable, language));

  shell::InstanceRegistration instance(workshop.instanceFile(), workshop.temp(), workshop.inputCopy());
  const size_t failures = shell::RunBatch(plan, request, workshop, instance.serial(), settings, view);
  instance.Unregister();
  std::error_code ignored;
  fs::remove(workshop.inputCopy() / ("tmp" + std::to_string(instance.serial())), ignored);
  fs::remove(workshop.instanceFolder(instance.serial()), ignored);

  if (!options.quiet) {
    for (const shell::PlannedBook& book : plan.books) {
      std::error_code ec;
      if (fs::exists(book.output, ec) && !book.overwritesInput)
        view.Print(stdout, book.input + " -> " + book.output.string());
    }
  }
  if (options.report) {
    // What each written book holds, for the user to check before trusting the conversion.
    for (const shell::PlannedBook& book : plan.books) {
      shell::BookStructure structure;
      if (book.overwritesInput || !shell::ReadBookFileStructure(book.output, structure)) continue;
      std::cout << book.input << " -> " << book.output.string() << "\n" << shell::FormatStructure(structure);
    }
  }
  return failures == 0 ? 0 : 1;
}

}  // namespace

void RegisterConvertCommand(CLI::App& app, CommandAction& action) {
  auto options = std::make_shared<ConvertOptions>();
  shell::BatchRequest& request = options->request;
  auto* convert = app.add_subcommand(
      "convert", "Convert books: each INPUT becomes a FictionBook 2 file (fb2), a stored html0 book (html0) or plain "
                 "HTML (html)");
  convert->add_option("INPUT", request.inputs, "Books to convert")->required();
  convert->add_option("-o,--output", request.output,
                      "Output file for one input, output folder for several (default: beside each input)");
  convert->add_option("--to", request.target, "Output form: fb2, html0 or html (default: from the output's "
                                              "extension, else fb2)")
      ->check(CLI::IsMember({"fb2", "html0", "html"}, CLI::ignore_case));
  for (const shell::SettingOption& option : shell::ImportOptions()) {
    std::vector<std::string> choices(option.choices.begin(), option.choices.end());
    convert->add_option("--" + std::string(option.name), options->importSettings[std::string(option.name)],
                        std::string(option.help) + " (default: the saved setting)")
        ->check(CLI::IsMember(choices, CLI::ignore_case));
  }
  convert->add_flag("--compress", request.compress, "Write stored books compressed");
  convert->add_option("--entry", request.entry,
                      "The book to open inside a zip or rar input (its name in the archive; default: the only book "
                      "in it)");
  convert->add_option("-j,--jobs", request.jobs, "Inputs converted side by side")->check(CLI::Range(1u, 64u));
  convert->add_option("--home", options->home,
                      "Workshop folder (default: $PAGEWRIGHT_HOME, else the per-user data folder)");
  convert->add_flag("-q,--quiet", options->quiet, "No progress bar and no list of written books");
  convert->add_flag("--report", options->report,
                    "After converting, print what each book holds: headings with their levels, notes, pictures, "
                    "epigraphs, verse blocks and the description");
  convert->add_flag("-y,--yes", options->yes, "Answer yes to every question (such as notes not in a note block)");
  auto* correct = convert->add_option_group("Correction");
  correct->add_option("--cleanup-before", options->cleanUpBefore,
                      "Rule file (.bcf) run over a text source before it is structured, or none "
                      "(default: the saved setting; relative names are read from the workshop's BookCleaner folder)");
  correct->add_option("--cleanup-after", options->cleanUpAfter, "Rule file run over the converted book, or none");
  correct->add_option("--cleanup-output", options->cleanUpOutput, "Rule file run over the book before it is written, or none");
  correct->add_option("--hyphenate", request.hyphenate,
                      "Put soft hyphens into the paragraphs before writing: a language (Russian, English, Spanish, "
                      "German, French, Polish, Czech) or auto")
      ->check(CLI::IsMember({"auto", "Russian", "English", "Spanish", "German", "French", "Polish", "Czech"}));
  auto* fb2 = convert->add_option_group("FictionBook output");
  shell::Fb2Request& f = request.fb2;
  fb2->add_option("--encoding", options->encoding, "Encoding of the FB2 file (default: the saved setting, utf-8)")
      ->check(CLI::IsMember({"utf-8", "windows-1251", "win-1251", "windows-1252", "win-1252"}, CLI::ignore_case));
  fb2->add_option("--dashes", options->dashes, "Dash style: short (-), middle (en dash) or long (em dash)")
      ->check(CLI::IsMember({"short", "middle", "long"}, CLI::ignore_case));
  fb2->add_flag("--library", options->library, "Book for a library: full section cleaning, no signature");
  fb2->add_flag("--multi-empty-lines", options->multiEmptyLines, "Keep double empty lines (without --library)");
  fb2->add_flag("--remove-line-ends", options->removeLineEnds, "Write the whole file without line breaks");
  fb2->add_flag("--keep-picture-sizes", options->keepPictureSizes, "Do not fit pictures to a 238x318 screen");
  fb2->add_option("--cover", f.cover, "Cover picture")->check(CLI::ExistingFile);
  fb2->add_option("--description", f.descriptionFile,
                  "An FB2 file whose description every book takes (fields given one by one still win)")
      ->check(CLI::ExistingFile);
  fb2->add_flag("--zip", f.zip, "Also pack each FB2 file into FILE.fb2.zip");
  fb2->add_flag("--validate", f.validate, "Check each written FB2 file against the schema; invalid is a failure");
  fb2->add_option("--author", options->authors, "Book authors (\"First Last, First Last\")");
  fb2->add_option("--title", f.description.title, "Book title");
  fb2->add_option("--genre", options->genres, "Genre codes, comma-separated (see the FB2 genre list)");
  fb2->add_option("--book-lang", f.description.lang, "Language code written into the description (ru, en, ...; "
                  "default: told from the text)");
  fb2->add_option("--sequence", f.description.sequenceName, "Series the book belongs to");
  fb2->add_option("--sequence-number", f.description.sequenceNumber, "Number of the book in its series");
  fb2->add_option("--annotation", f.description.annotation, "Annotation (a paragraph a line)");
  convert->callback([&action, options] { action = [options] { return Convert(*options); }; });
}

}  // namespace pw::app
