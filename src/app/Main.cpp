// Entry point: parses the command line and runs the chosen subcommand.
#include <CLI/CLI.hpp>

#include <iostream>

#include "app/Commands.h"

namespace {

constexpr int kUsageError = 2;

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{
      "Pagewright: an e-book workshop. Opens books in many source forms, turns them into one "
      "working html0 book, and writes FictionBook 2 or stored html0 books.",
      "pagewright"};
  app.set_version_flag("--version", std::string("pagewright ") + PW_VERSION);
  app.require_subcommand(0, 1);

  pw::app::CommandAction action;
  pw::app::RegisterConvertCommand(app, action);
  pw::app::RegisterSelfCheckCommand(app, action);
  pw::app::RegisterBookCommand(app, action);
  pw::app::RegisterCorrectorCommands(app, action);
  pw::app::RegisterValidateCommand(app, action);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return app.exit(e);
    app.exit(e);  // prints the message and the usage hint
    return kUsageError;
  }

  if (!action) {
    std::cout << app.help();
    return 0;
  }
  try {
    return action();
  } catch (const std::exception& e) {
    std::cerr << "pagewright: " << e.what() << "\n";
    return 1;
  }
}
