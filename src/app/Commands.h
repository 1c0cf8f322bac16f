// Subcommands of the program. Each file of this folder registers one subcommand on the
// command-line parser; Main.cpp calls every registration and runs the chosen one.
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace pw::app {

// A registered subcommand sets this to the work to run once parsing succeeded.
// The work returns the process exit code.
using CommandAction = std::function<int()>;

void RegisterSelfCheckCommand(CLI::App& app, CommandAction& action);
void RegisterBookCommand(CLI::App& app, CommandAction& action);
void RegisterCorrectorCommands(CLI::App& app, CommandAction& action);
void RegisterConvertCommand(CLI::App& app, CommandAction& action);
void RegisterValidateCommand(CLI::App& app, CommandAction& action);

}  // namespace pw::app
