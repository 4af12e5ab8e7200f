// SPDX-License-Identifier: Apache-2.0
#include "tvk/commands/TrainOptions.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <set>
#include <system_error>

#include "tvk/text/Files.h"

namespace Tolvek {

namespace fs = std::filesystem;

namespace {

/// The width of the terminal that the standard error stream is; 0 when it is none.
std::size_t TerminalColumns() {
  if (::isatty(STDERR_FILENO) == 0) return 0;
  winsize size{};
  const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : 80;
}

/// Options that name a file, whose content counts instead, or that no fit depends on.
bool IsLeftOut(const std::string& option) {
  static const std::set<std::string> leftOut{
      "--help",      "--corpus",  "--raw",      "--lexicon",   "--chars", "--data",
      "--lists",     "--text",    "--dev",      "--out",       "--quiet", "--fresh",
      "--text-form", "--threads", "--dev-text", "--dev-every",
  };
  return leftOut.contains(option);
}

bool CanBeReadTwice(const std::string& path) {
  std::error_code ignored;
  return path != "-" && (fs::is_regular_file(path, ignored) || !fs::exists(path, ignored));
}

/// The program, as another version or build of it may compute otherwise.
void AddProgram(Fingerprint& fingerprint) {
  static const fs::path kProgram = "/proc/self/exe";
  fingerprint.Add(TVK_VERSION);
  std::error_code error;
  const auto built = fs::last_write_time(kProgram, error);
  if (!error) fingerprint.Add(std::to_string(built.time_since_epoch().count()));
}

}  // namespace

void AddTrainOptions(CLI::App& command, TrainOptions& options) {
  options.command = &command;
  command.add_option("-o,--out", options.out, "Folder to write the models to")->required();
  command.add_flag("-q,--quiet", options.quiet, "No progress on the standard error stream");
  command.add_flag("--fresh", options.fresh,
                   "Compute every step; without it, what an interrupted run with the same options "
                   "and inputs kept in OUT is taken over");
}

StepLog MakeLog(const TrainOptions& options) {
  return {options.quiet ? nullptr : &std::cerr, TerminalColumns()};
}

StepStore MakeSteps(const TrainOptions& options,
                    const std::vector<std::vector<std::string>>& inputs, StepLog& log) {
  Fingerprint fingerprint;
  AddProgram(fingerprint);
  for (const CLI::Option* option : options.command->get_options()) {
    if (option->count() == 0 || IsLeftOut(option->get_name())) continue;
    fingerprint.Add(option->get_name());
    for (const std::string& value : option->results()) fingerprint.Add(value);
  }
  for (const std::vector<std::string>& files : inputs) {
    fingerprint.Add(std::to_string(files.size()));
    for (const std::string& file : files) {
      if (!CanBeReadTwice(file)) {
        log.Say(file + ": can be read only once, so finished steps are not kept");
        return {};
      }
      // A missing one is reported where it is needed.
      if (fs::exists(file)) fingerprint.Add(ReadWholeFile(file));
    }
  }
  const auto kept = options.fresh ? StepStore::Kept::kDropped : StepStore::Kept::kTakenOver;
  return {options.out, ".tvk-train-" + options.command->get_name() + "-", fingerprint, kept, log};
}

}  // namespace Tolvek
