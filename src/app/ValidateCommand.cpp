// `pagewright validate FILE.fb2...`: lists every finding of the FB2 structure checks.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <memory>

#include "app/Commands.h"
#include "common/Files.h"
#include "fb2/Fb2Checks.h"
#include "fb2/Fb2Schema.h"
#include "shell/WorkshopFolder.h"

namespace pw::app {
namespace {

int Validate(const std::vector<std::string>& files, const std::filesystem::path& schema) {
  int invalid = 0;
  for (const std::string& file : files) {
    std::string xml;
    if (!common::ReadWholeFile(file, xml)) {
      std::cerr << file << ": cannot read the file\n";
      ++invalid;
      continue;
    }
    const auto findings = fb2::ValidateFb2(xml, schema);
    for (const auto& finding : findings) std::cout << file << ":" << finding.line << ": " << finding.message << "\n";
    if (findings.empty()) std::cout << file << ": ok\n";
    else ++invalid;
  }
  return invalid == 0 ? 0 : 1;
}

}  // namespace

void RegisterValidateCommand(CLI::App& app, CommandAction& action) {
  auto files = std::make_shared<std::vector<std::string>>();
  auto schema = std::make_shared<std::string>();
  auto* validate = app.add_subcommand(
      "validate",
      "Check FB2 files against the FictionBook 2 schema and beyond it: well-formed XML, unique ids that are XML names, links and pictures that lead "
      "somewhere, binaries in use, sections and paragraphs built as readers expect, ISO dates, a numeric "
      "version. Prints every finding with its line; exits 1 when a file has any.");
  validate->add_option("FILE", *files, "FB2 files to check")->required();
  validate->add_option("--schema", *schema, "Check against this XML schema instead of the shipped one")
      ->check(CLI::ExistingFile);
  validate->callback([&action, files, schema] {
    action = [files, schema] {
      return Validate(*files, schema->empty() ? shell::ShippedDataFolder() / fb2::kFb2SchemaFile
                                              : std::filesystem::path(*schema));
    };
  });
}

}  // namespace pw::app
