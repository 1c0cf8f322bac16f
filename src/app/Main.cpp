// Entry point: parses the command line and runs the chosen subcommand.
#include <CLI/CLI.hpp>

#include <iostream>

#include "app/Commands.h"
#include "app/WorkshopServer.h"

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
  app.footer(
      "Without a subcommand Pagewright is the workshop: it serves its main window on 127.0.0.1, prints the "
      "address and opens it in the browser, with BOOK (if given) open. Each subcommand has its own --help.");

  // Without a subcommand the program is the workshop, on the book named (if any).
  pw::app::WorkshopOptions workshop;
  std::string book, bookAfterR;
  app.add_option("BOOK", book, "Book to open in the workshop")->check(CLI::ExistingFile);
  app.add_option("-r", bookAfterR, "Book to open in the workshop (as from a shortcut)");
  app.add_option("--port", workshop.port, "Port of the workshop on 127.0.0.1 (default: a free one)")
      ->check(CLI::Range(1, 65535));
  bool noBrowser = false;
  app.add_flag("--no-browser", noBrowser, "Print the workshop's address but do not open a browser");
  app.add_option("--home", workshop.home, "Workshop folder (default: $PAGEWRIGHT_HOME, else the per-user data folder)");

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
    workshop.openBrowser = !noBrowser;
    if (!bookAfterR.empty()) workshop.commandLine = "-r " + bookAfterR;
    else workshop.commandLine = book;
    action = [workshop] { return pw::app::RunWorkshop(workshop); };
  }
  try {
    return action();
  } catch (const std::exception& e) {
    std::cerr << "pagewright: " << e.what() << "\n";
    return 1;
  }
}
