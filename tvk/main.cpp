// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "common/StandardStreams.h"
#include "tvk/commands/Command.h"
#include "tvk/text/Files.h"

namespace {

enum ExitStatus { kDone = 0, kFailed = 1, kWrongUsage = 2 };

/// "tvk train seg": the innermost subcommand that was named.
std::string NameOf(const CLI::App& app) {
  const CLI::App* command = &app;
  std::string name = "tvk";
  while (!command->get_subcommands().empty()) {
    command = command->get_subcommands().front();
    name += " " + command->get_name();
  }
  return name;
}

/// The arguments, in reverse. A file name in brackets gets a folder, as the parser would take it
/// for a list.
std::vector<std::string> Arguments(int argc, char** argv) {
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) {
    const std::string argument = argv[i];
    const bool isInBrackets = argument.starts_with('[') && argument.ends_with(']');
    arguments.push_back(isInBrackets ? "./" + argument : argument);
  }
  return arguments;
}

}  // namespace

int main(int argc, char** argv) {
  Tolvek::HoldStandardStreams();
  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is a failed write, which is told
  CLI::App app{
      "tvk: words and parts of speech of Chinese and English text, and the models behind them.\n"
      "Text in, text out, one line for one line, in UTF-8 unless told otherwise:\n"
      "  echo 我来到北京清华大学 | tvk segpos\n"
      "  tvk seg --format jsonl -o words.jsonl part1.txt part2.txt\n"
      "Each command has its own --help. Data goes to the standard output or to files that are "
      "renamed when complete, everything else to the standard error stream.\n"
      "Exit status: 0 done; 1 failed, or problems found; 2 wrong usage.",
      "tvk"};
  app.set_version_flag("--version", std::string("tvk ") + TVK_VERSION);
  app.require_subcommand(1);
  app.get_formatter()->column_width(34);
  app.get_formatter()->label("TEXT", "PATH");
  app.get_formatter()->label("REQUIRED", "(required)");

  Tolvek::Action action;
  Tolvek::AddAnalyze(app, action);
  auto* train = app.add_subcommand("train", "Make resources from lists and corpora");
  train->require_subcommand(1);
  Tolvek::AddTrainChars(*train, action);
  Tolvek::AddTrainSeg(*train, action);
  Tolvek::AddTrainPos(*train, action);
  Tolvek::AddTrainAbbtitle(*train, action);
  Tolvek::AddTrainEngpos(*train, action);
  Tolvek::AddEval(app, action);
  Tolvek::AddConvert(app, action);
  Tolvek::AddText(app, action);
  Tolvek::AddCheck(app, action);
  Tolvek::AddVersion(app, action);

  try {
    app.parse(Arguments(argc, argv));
  } catch (const CLI::Success& asked) {  // --help, --version
    std::ostringstream text;
    app.exit(asked, text, text);
    action = [text = text.str()] { Tolvek::WriteWholeFile("-", text); };
  } catch (const CLI::ParseError& error) {
    const std::string name = NameOf(app);
    std::cerr << name << ": " << error.what() << "\nTry '" << name << " --help'." << std::endl;
    return kWrongUsage;
  }
  try {
    action();
  } catch (const std::exception& failure) {
    std::cerr << "tvk: " << failure.what() << std::endl;
    return kFailed;
  }
  return kDone;
}
