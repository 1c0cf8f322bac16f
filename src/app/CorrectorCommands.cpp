// `pagewright clean`, `rules show|import`, `check` and `hyphenate`: the book corrector from the
// command line.
#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

#include "app/Commands.h"
#include "common/Files.h"
#include "common/Progress.h"
#include "corrector/CleanUpRules.h"
#include "corrector/Hyphenation.h"
#include "corrector/ParagraphEnds.h"
#include "corrector/RuleFile.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;

struct CorrectorOptions {
  std::string input;
  std::string output;
  std::string rules;
  std::string comment;
  std::string codePage = "Win1251";
  std::string ends{corrector::kDefaultParagraphEnds};
  std::string language = "Russian";
  bool remove = false;
  bool plainDiv = false;
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

// Reads the input and writes the transformed text to the output, never over the input.
int Transform(const CorrectorOptions& options, const std::function<std::string(const std::string&)>& work) {
  if (SameFile(options.input, options.output)) return Fail("the output would overwrite the input");
  std::string text;
  if (!common::ReadWholeFile(options.input, text)) return Fail("cannot read " + options.input);
  if (!common::WriteFileAtomic(options.output, work(text))) return Fail("cannot write " + options.output);
  return 0;
}

int Clean(const CorrectorOptions& options) {
  corrector::CleanUpTable table;
  std::string error;
  if (!corrector::LoadReplacementTable(options.rules, table, error)) return Fail(options.rules + ": " + error);
  corrector::CleanUpReport report;
  common::NullProgress progress;
  const int rc = Transform(options, [&](const std::string& book) {
    return corrector::CleanUpLoadedBook(book, table.rows, BookCodePage(options.codePage), progress, &report);
  });
  for (const std::string& problem : report.errors) std::cerr << "pagewright: skipped " << problem << "\n";
  return rc;
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

int Check(const CorrectorOptions& options) {
  std::string book;
  if (!common::ReadWholeFile(options.input, book)) return Fail("cannot read " + options.input);
  corrector::ParagraphEnds ends;
  ends.Set(options.ends, BookCodePage(options.codePage));
  const auto suspects = corrector::FindBadSentenceEnds(book, ends.decoded);
  std::cout << "bad sentence ends: " << suspects.size() << "\n";
  for (const auto& suspect : suspects) std::cout << suspect.index << '\t' << suspect.shown << '\n';
  return 0;
}

int Hyphenate(const CorrectorOptions& options) {
  common::NullProgress progress;
  return Transform(options, [&](const std::string& book) {
    if (options.remove) return corrector::RemoveHyphenations(book);
    return corrector::InsertHyphenations(book, options.plainDiv, options.language, progress);
  });
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

  auto* check = app.add_subcommand("check", "List paragraphs that do not end in a good paragraph end");
  check->add_option("INPUT", options->input, "Book to check")->required()->check(CLI::ExistingFile);
  check->add_option("--ends", options->ends, "Good paragraph ends, chr() and uni() notations allowed (default .?!;:chr(133))");
  check->add_option("--codepage", options->codePage, "Book code page for chr() notations (default Win1251)");
  check->callback([&action, options] { action = [options] { return Check(*options); }; });

  auto* hyphenate = app.add_subcommand("hyphenate", "Put soft hyphens into the words of a book's paragraphs");
  hyphenate->add_option("INPUT", options->input, "Book to hyphenate")->required()->check(CLI::ExistingFile);
  hyphenate->add_option("-o,--output", options->output, "Hyphenated book to write")->required();
  hyphenate->add_option("--lang", options->language,
                        "Book language: Russian (default), English, Spanish, German, French, Polish, Czech");
  hyphenate->add_flag("--remove", options->remove, "Only remove the soft hyphens already there");
  hyphenate->add_flag("--plain-div", options->plainDiv, "Paragraphs are <DIV> elements rather than <DIV align=justify>");
  hyphenate->callback([&action, options] { action = [options] { return Hyphenate(*options); }; });
}

}  // namespace pw::app
