// `pagewright clean`, `rules show|import`, `check` and `hyphenate`: the book corrector from the
// command line.
#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

#include "app/Commands.h"
#include "app/TerminalProgress.h"
#include "common/Files.h"
#include "common/Progress.h"
#include "corrector/CleanUpRules.h"
#include "corrector/Hyphenation.h"
#include "corrector/ParagraphEnds.h"
#include "corrector/ParagraphLists.h"
#include "corrector/RuleFile.h"
#include "shell/BatchConvert.h"
#include "shell/BookOutput.h"
#include "shell/InstanceFile.h"
#include "shell/SettingsFile.h"
#include "shell/WorkshopFolder.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;

struct CorrectorOptions {
  std::string input;
  std::string output;
  std::string rules;
  std::string comment;
  std::string codePage = "Win1251";
  std::string ends;       // empty: the saved setting
  std::string list = "badends";
  std::string language = "auto";
  std::string home;
  bool remove = false;
};

int Fail(const std::string& message) {
  std::cerr << "pagewright: " << message << "\n";
  return 1;
}

bool SameFile(const fs::path& a, const fs::path& b) {
  std::error_code ec;
  return fs::exists(b, ec) && fs::equivalent(a, b, ec);
}

common::CodePage BookCodePage(const std::string& name) {
  common::CodePage cp = common::CodePage::Win1251;
  common::ParseCodePage(name, cp);
  return cp;
}

int Clean(const CorrectorOptions& options) {
  corrector::CleanUpTable table;
  std::string error;
  if (!corrector::LoadReplacementTable(options.rules, table, error)) return Fail(options.rules + ": " + error);
  corrector::CleanUpReport report;
  common::NullProgress progress;
  if (SameFile(options.input, options.output)) return Fail("the output would overwrite the input");
  std::string book;
  if (!common::ReadWholeFile(options.input, book)) return Fail("cannot read " + options.input);
  const std::string cleaned = corrector::CleanUpLoadedBook(book, table.rows, BookCodePage(options.codePage), progress, &report);
  for (const std::string& problem : report.errors) std::cerr << "pagewright: skipped " << problem << "\n";
  // A rule past the bounds leaves the book as it was: nothing is written.
  if (report.stop) {
    common::RecordingSink sink;
    return Fail(common::Messages(sink).Text(*report.stop, std::to_string(report.stoppedRow)));
  }
  if (!common::WriteFileAtomic(options.output, cleaned)) return Fail("cannot write " + options.output);
  return 0;
}

int ShowRules(const CorrectorOptions& options) {
  corrector::CleanUpTable table;
  std::string error;
  if (!corrector::LoadReplacementTable(options.input, table, error)) return Fail(options.input + ": " + error);
  std::cout << "mode " << table.mode << ", " << table.rows.size() << " rows\n";
  std::cout << "N\tuse\tcase\tRegExp\tfind what\treplace by\n";
  for (size_t i = 0; i < table.rows.size(); ++i) {
    const auto& row = table.rows[i];
    std::cout << i + 1 << '\t' << (row.Enabled ? "x" : "-") << '\t' << (row.Case ? "x" : "-") << '\t'
              << (row.RegExp ? "x" : "-") << '\t' << row.RepWhat << '\t' << row.RepBy << '\n';
  }
  if (!table.comment.empty()) std::cout << "comment:\n" << table.comment << "\n";
  return 0;
}

int ImportRules(const CorrectorOptions& options) {
  std::string text;
  if (!common::ReadWholeFile(options.input, text)) return Fail("cannot read " + options.input);
  corrector::CleanUpTable table;
  std::string error;
  if (!corrector::ParseOldRuleFile(text, table, error)) return Fail(error + ": " + options.input);
  if (!options.comment.empty() && !common::ReadWholeFile(options.comment, table.comment))
    return Fail("cannot read " + options.comment);
  fs::path output = options.output;
  if (output.empty()) output = fs::path(options.input).replace_extension(corrector::kRuleFileExtension);
  if (SameFile(options.input, output)) return Fail("the output would overwrite the input");
  if (!corrector::SaveReplacementTable(output, table, error)) return Fail(error);
  std::cout << output.string() << ": " << table.rows.size() << " rows\n";
  return 0;
}

// The workshop folder and the saved settings, as `convert` uses them.
struct BookJob {
  shell::WorkshopFolder workshop;
  common::Settings settings;
};

bool OpenBookJob(const CorrectorOptions& options, BookJob& job) {
  job.workshop = shell::WorkshopFolder{shell::ResolveWorkshopFolder(options.home)};
  shell::RestoreSettings(job.workshop.settingsFile(), job.settings);
  if (!shell::PrepareWorkshopFolder(job.workshop, shell::ShippedDataFolder())) {
    Fail(std::string(common::MessageText(common::Msg::ErrorWritingFile, job.settings.interfaceLanguage)) +
         job.workshop.root.string());
    return false;
  }
  return true;
}

constexpr std::pair<std::string_view, std::string_view> kListTitles[] = {
    {"badends", "bad sentence ends"},
    {"short", "short paragraphs"},
    {"empty", "empty paragraphs"},
    {"lowercase", "lower-case starts"},
};

// Any book `convert` reads is converted first; the paragraphs of the working document are listed.
int Check(const CorrectorOptions& options) {
  corrector::ParagraphCheck check;
  if (!corrector::ParseParagraphCheck(options.list, check)) return Fail("unknown list: " + options.list);
  BookJob job;
  if (!OpenBookJob(options, job)) return 1;
  corrector::ParagraphEnds ends;
  ends.Set(options.ends.empty() ? job.settings.validParagraphEnds : options.ends, BookCodePage(options.codePage));
  TerminalBatchView view(1, false);
  shell::InstanceRegistration instance(job.workshop.instanceFile(), job.workshop.temp(), job.workshop.inputCopy());
  std::vector<corrector::SuspectParagraph> listed;
  common::NullProgress progress;
  const bool ok = shell::ReadBookDocument(options.input, job.workshop, instance.serial(), job.settings, view.Sink(),
                                          progress, [&](const std::string& document) {
                                            listed = corrector::ListParagraphs(document, check, ends.decoded);
                                          });
  instance.Unregister();
  std::error_code ignored;
  fs::remove(job.workshop.inputCopy() / ("tmp" + std::to_string(instance.serial())), ignored);
  fs::remove(job.workshop.instanceFolder(instance.serial()), ignored);
  if (!ok) return 1;
  for (const auto& [name, title] : kListTitles)
    if (name == options.list) std::cout << title << ": " << listed.size() << "\n";
  for (const auto& suspect : listed) std::cout << suspect.index << '\t' << suspect.shown << '\n';
  return 0;
}

// Any book `convert` reads is converted first and written in the form the output's extension
// names, with soft hyphens put in (or, with --remove, taken out).
int Hyphenate(const CorrectorOptions& options) {
  const std::string extension = common::LowerExtension(fs::path(options.output));
  if (extension != "html0" && extension != "html" && extension != "htm" && extension != "fb2")
    return Fail("the hyphenated book is written as .html0, .html or .fb2, not as " + options.output);
  BookJob job;
  if (!OpenBookJob(options, job)) return 1;
  shell::BatchRequest request;
  request.inputs = {options.input};
  request.output = options.output;
  if (options.remove) {
    request.correct = [](std::string& document, common::Progress&) {
      document = corrector::RemoveHyphenations(document);
    };
  } else {
    request.hyphenate = options.language;
  }
  shell::BatchPlan plan;
  std::string error;
  if (!shell::PlanBatch(request, job.settings.interfaceLanguage, plan, error)) return Fail(error);
  TerminalBatchView view(1, false);
  shell::InstanceRegistration instance(job.workshop.instanceFile(), job.workshop.temp(), job.workshop.inputCopy());
  const size_t failures = shell::RunBatch(plan, request, job.workshop, instance.serial(), job.settings, view);
  instance.Unregister();
  std::error_code ignored;
  fs::remove(job.workshop.inputCopy() / ("tmp" + std::to_string(instance.serial())), ignored);
  fs::remove(job.workshop.instanceFolder(instance.serial()), ignored);
  return failures == 0 ? 0 : 1;
}

}  // namespace

void RegisterCorrectorCommands(CLI::App& app, CommandAction& action) {
  auto options = std::make_shared<CorrectorOptions>();

  auto* clean = app.add_subcommand("clean", "Run a clean-up rule file (.bcf) over a whole book");
  clean->add_option("--rules", options->rules, "Rule file to run")->required()->check(CLI::ExistingFile);
  clean->add_option("INPUT", options->input, "Book to clean (html0 or HTML)")->required()->check(CLI::ExistingFile);
  clean->add_option("-o,--output", options->output, "Cleaned book to write")->required();
  clean->add_option("--codepage", options->codePage,
                    "Book code page for chr() notations: Win1251 (default), Win1252, Win1250");
  clean->callback([&action, options] { action = [options] { return Clean(*options); }; });

  auto* rules = app.add_subcommand("rules", "Clean-up rule files: show one, import an old .dat file");
  rules->require_subcommand(1);
  auto* show = rules->add_subcommand("show", "Print the rows and the comment of a rule file");
  show->add_option("FILE", options->input, "Rule file (.bcf)")->required()->check(CLI::ExistingFile);
  show->callback([&action, options] { action = [options] { return ShowRules(*options); }; });
  auto* import = rules->add_subcommand("import", "Convert an old .dat rule file to a .bcf file beside it");
  import->add_option("FILE", options->input, "Old rule file (.dat)")->required()->check(CLI::ExistingFile);
  import->add_option("-o,--output", options->output, "Rule file to write (default: FILE with .bcf)");
  import->add_option("--comment", options->comment, "HTML file whose text becomes the rule file's comment")
      ->check(CLI::ExistingFile);
  import->callback([&action, options] { action = [options] { return ImportRules(*options); }; });

  auto* check = app.add_subcommand(
      "check", "List suspect paragraphs of a book (any input convert reads): bad sentence ends, short, empty, "
               "or starting in lower case");
  check->add_option("INPUT", options->input, "Book to check")->required()->check(CLI::ExistingFile);
  check->add_option("--ends", options->ends,
                    "Good paragraph ends, chr() and uni() notations allowed (default: the saved setting, .?!;:chr(133))");
  check->add_option("--list", options->list, "Which list: badends (default), short, empty, lowercase")
      ->check(CLI::IsMember({"badends", "short", "empty", "lowercase"}));
  check->add_option("--codepage", options->codePage, "Book code page for chr() notations (default Win1251)");
  check->add_option("--home", options->home, "Workshop folder (default: $PAGEWRIGHT_HOME, else the per-user data folder)");
  check->callback([&action, options] { action = [options] { return Check(*options); }; });

  auto* hyphenate = app.add_subcommand(
      "hyphenate", "Put soft hyphens into the words of a book's paragraphs (any input convert reads)");
  hyphenate->add_option("INPUT", options->input, "Book to hyphenate")->required()->check(CLI::ExistingFile);
  hyphenate->add_option("-o,--output", options->output, "Hyphenated book to write: .html0, .html or .fb2")->required();
  hyphenate->add_option("--lang", options->language,
                        "Book language: auto (default, told from the text), Russian, English, Spanish, German, French, "
                        "Polish, Czech")
      ->check(CLI::IsMember({"auto", "Russian", "English", "Spanish", "German", "French", "Polish", "Czech"}));
  hyphenate->add_flag("--remove", options->remove, "Only remove the soft hyphens already there");
  hyphenate->add_option("--home", options->home, "Workshop folder (default: $PAGEWRIGHT_HOME, else the per-user data folder)");
  hyphenate->callback([&action, options] { action = [options] { return Hyphenate(*options); }; });
}

}  // namespace pw::app
