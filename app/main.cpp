// The program "vantro": one command a file, each adds itself to the command line.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <new>
#include <string>

#include "app/failure.h"
#include "app/interrupt.h"
#include "app/photo_command.h"
#include "app/printable.h"
#include "app/video_command.h"

namespace {

// Whether the first argument is a command or an option of the program itself; complains otherwise.
bool CheckFirstArgument(const CLI::App& program, const std::string& first) {
  const bool is_option = first.starts_with('-');
  const auto is_named = [&first](const CLI::App* command) { return command->check_name(first); };
  if (is_option ? program.get_option_no_throw(first) != nullptr
                : !program.get_subcommands(is_named).empty()) {
    return true;
  }
  const std::string kind = is_option ? "option" : "command";
  vantro::app::PrintMessage(
      (first.empty() ? "a command is missing" : "there is no " + kind + " \"" + first + "\"") +
      "; the commands are video and photo");
  std::fprintf(stderr, "See \"vantro --help\".\n");
  return false;
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): memory for the command line itself.
int main(int argc, char** argv) {
  using namespace vantro::app;
  // A reader of our output that goes away is an error of the write, with a message.
  std::signal(SIGPIPE, SIG_IGN);
  // So is a file that grows beyond the limit for files (ulimit -f).
  std::signal(SIGXFSZ, SIG_IGN);

  CLI::App program("The person in the picture keeps their colours, everything else turns grey.",
                   "vantro");
  program.set_version_flag("--version", "vantro " VANTRO_VERSION);
  program.require_subcommand(1);
  program.footer("\"vantro COMMAND --help\" tells all about a command.");
  program.failure_message([](const CLI::App* app, const CLI::Error& error) {
    // The command that was named, if any, has the help that helps.
    std::string command = app->get_name();
    for (const CLI::App* named : app->get_subcommands()) command += " " + named->get_name();
    return "vantro: " + Printable(error.what()) + "\nSee \"" + command + " --help\".\n";
  });
  std::function<int()> chosen;
  AddVideoCommand(program, chosen);
  AddPhotoCommand(program, chosen);
  // What CLI11 calls subcommands.
  program.get_formatter()->label("SUBCOMMAND", "COMMAND");
  for (CLI::App* command : program.get_subcommands({})) command->group("Commands");
  if (!CheckFirstArgument(program, argc < 2 ? "" : argv[1])) return kExitUsage;
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return program.exit(error) == 0 ? 0 : kExitUsage;
  }
  try {
    return chosen();
  } catch (const UsageError& error) {
    PrintMessage(error.what());
    return kExitUsage;
  } catch (const Interrupted& interrupted) {
    PrintMessage("interrupted before the first frame; nothing was written");
    return 128 + interrupted.signal;
  } catch (const std::bad_alloc&) {
    PrintMessage("not enough memory");
  } catch (const std::exception& error) {
    PrintMessage(error.what());
  }
  return kExitFailure;
}
