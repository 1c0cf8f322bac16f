// `pagewright selfcheck [FILE]`: runs a book through the html0 machinery and checks what comes
// out: load normalisation, contents, signature, plain HTML and the stored-book container.
#include <CLI/CLI.hpp>

#include <iostream>

#include "app/Commands.h"
#include "app/SelfCheck.h"

namespace pw::app {

void RegisterSelfCheckCommand(CLI::App& app, CommandAction& action) {
  auto* command = app.add_subcommand(
      "selfcheck",
      "Check the html0 book machinery on the bundled sample book, or on FILE (an html0 or HTML "
      "book): load normalisation, contents, signature, plain HTML, stored-book round trips.");
  auto file = std::make_shared<std::string>();
  command->add_option("FILE", *file, "Book to check instead of the bundled sample")
      ->check(CLI::ExistingFile);
  command->callback([&action, file] {
    action = [file] { return RunSelfCheck(*file, std::cout); };
  });
}

}  // namespace pw::app
