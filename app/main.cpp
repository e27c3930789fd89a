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
#include "app/video_command.h"

// NOLINTNEXTLINE(bugprone-exception-escape): memory for the command line itself.
int main(int argc, char** argv) {
  using namespace vantro::app;
  // A reader of our output that goes away is an error of the write, with a message.
  std::signal(SIGPIPE, SIG_IGN);

  CLI::App program("The person in the picture keeps their colours, everything else turns grey.",
                   "vantro");
  program.set_version_flag("--version", "vantro " VANTRO_VERSION);
  program.require_subcommand(1);
  program.footer("\"vantro COMMAND --help\" tells all about a command.");
  program.failure_message([](const CLI::App* app, const CLI::Error& error) {
    // The command that was named, if any, has the help that helps.
    std::string command = app->get_name();
    for (const CLI::App* named : app->get_subcommands()) command += " " + named->get_name();
    return "vantro: " + std::string(error.what()) + "\nSee \"" + command + " --help\".\n";
  });
  std::function<int()> chosen;
  AddVideoCommand(program, chosen);
  AddPhotoCommand(program, chosen);
  const auto is_named = [argv](const CLI::App* command) { return command->check_name(argv[1]); };
  if (argc < 2 || (argv[1][0] != '-' && program.get_subcommands(is_named).empty())) {
    const std::string named = argc < 2 ? "" : " \"" + std::string(argv[1]) + "\"";
    std::fprintf(stderr, "vantro: %s%s; the commands are video and photo\nSee \"vantro --help\".\n",
                 argc < 2 ? "a command is missing" : "there is no command", named.c_str());
    return kExitUsage;
  }
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return program.exit(error) == 0 ? 0 : kExitUsage;
  }
  try {
    return chosen();
  } catch (const UsageError& error) {
    std::fprintf(stderr, "vantro: %s\n", error.what());
    return kExitUsage;
  } catch (const Interrupted& interrupted) {
    std::fprintf(stderr, "vantro: interrupted before the first frame; nothing was written\n");
    return 128 + interrupted.signal;
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "vantro: not enough memory\n");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vantro: %s\n", error.what());
  }
  return kExitFailure;
}
