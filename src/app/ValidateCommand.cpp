// `pagewright validate FILE.fb2...`: lists every finding of the FB2 structure checks.
#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

#include "app/Commands.h"
#include "common/Files.h"
#include "fb2/Fb2Checks.h"
#include "fb2/Fb2Schema.h"
#include "shell/WorkshopFolder.h"

namespace pw::app {
namespace {

int Validate(const std::vector<std::string>& files) {
  int invalid = 0;
  for (const std::string& file : files) {
    std::string xml;
    if (!common::ReadWholeFile(file, xml)) {
      std::cerr << file << ": cannot read the file\n";
      ++invalid;
      continue;
    }
    // The schema finds what the content models forbid, the structure checks the rest; a file
    // that is not well-formed is reported once, by the structure checks.
    auto findings = fb2::CheckFb2Structure(xml);
    const bool wellFormed = findings.empty() || findings.front().message.rfind("XML: ", 0) != 0;
    if (wellFormed) {
      auto schemaFindings = fb2::ValidateFb2Schema(xml, shell::ShippedDataFolder() / fb2::kFb2SchemaFile);
      findings.insert(findings.begin(), schemaFindings.begin(), schemaFindings.end());
    }
    for (const auto& finding : findings) std::cout << file << ":" << finding.line << ": " << finding.message << "\n";
    if (findings.empty()) std::cout << file << ": ok\n";
    else ++invalid;
  }
  return invalid == 0 ? 0 : 1;
}

}  // namespace

void RegisterValidateCommand(CLI::App& app, CommandAction& action) {
  auto files = std::make_shared<std::vector<std::string>>();
  auto* validate = app.add_subcommand(
      "validate",
      "Check FB2 files against the FictionBook 2 schema and beyond it: well-formed XML, unique ids that are XML names, links and pictures that lead "
      "somewhere, binaries in use, sections and paragraphs built as readers expect, ISO dates, a numeric "
      "version. Prints every finding with its line; exits 1 when a file has any.");
  validate->add_option("FILE", *files, "FB2 files to check")->required();
  validate->callback([&action, files] { action = [files] { return Validate(*files); }; });
}

}  // namespace pw::app
