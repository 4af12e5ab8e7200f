// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <thread>

#include "tvk/analyze/Run.h"
#include "tvk/commands/Command.h"
#include "tvk/commands/Options.h"

namespace Tolvek {

namespace {

struct TaskHelp {
  Task task;
  const char* name;
  const char* help;
  const char* example;
};

constexpr TaskHelp kTasks[] = {
    {Task::kSeg, "seg", "Chinese text: its words", "tvk seg text.txt -o words.txt"},
    {Task::kSegpos, "segpos", "Chinese text: its words and their parts of speech",
     "echo 我来到北京清华大学 | tvk segpos"},
    {Task::kPos, "pos", "Chinese words between blanks: their parts of speech",
     "tvk seg text.txt | tvk pos"},
    {Task::kTok, "tok", "English text: its tokens", "zcat text.gz | tvk tok | gzip > tokens.gz"},
    {Task::kTokpos, "tokpos", "English text: its tokens and their parts of speech",
     "tvk tokpos --format conllu text.txt"},
};

struct Options {
  RunOptions run;
  std::optional<bool> progress;  ///< not given: where it helps
  bool isQuiet = false;
};

const std::vector<std::pair<std::string, std::optional<Encoding>>>& OutputNames() {
  static const auto names = [] {
    std::vector<std::pair<std::string, std::optional<Encoding>>> result{{"as-input", std::nullopt}};
    for (const auto& [name, encoding] : CharsetNames()) result.emplace_back(name, encoding);
    return result;
  }();
  return names;
}

/// What the parser cannot see: options that exclude one another.
void Check(const RunOptions& run) {
  const bool isJson = run.format == Format::kJsonl;
  const bool isConllu = run.format == Format::kConllu;
  if ((isJson || isConllu) && run.outputEncoding.value_or(Encoding::kUtf8) != Encoding::kUtf8) {
    throw CLI::ValidationError(
        "--to", std::string(isJson ? "JSON Lines" : "CoNLL-U") + " is always in UTF-8");
  }
  if (isConllu && run.badBytes == BadBytes::kKeep) {
    throw CLI::ValidationError("--on-bad-bytes", "CoNLL-U holds characters only: replace or fail");
  }
}

void Run(Options& options) {
  RunOptions& run = options.run;
  run.messages = options.isQuiet ? nullptr : &std::cerr;
  run.isTerminal = ::isatty(STDERR_FILENO) != 0;
  // Beside a result that scrolls by on the same terminal progress would be in the way.
  const bool isInTheWay = run.output == "-" && ::isatty(STDOUT_FILENO) != 0;
  run.showsProgress = !options.isQuiet && options.progress.value_or(run.isTerminal && !isInTheWay);
  RunTask(run);
}

}  // namespace

void AddAnalyze(CLI::App& parent, Action& action) {
  for (const TaskHelp& task : kTasks) {
    auto* command = parent.add_subcommand(
        task.name,
        std::string(task.help) + ". One line in, one line out.\nExample: " + task.example);
    const auto options = std::make_shared<Options>();
    RunOptions& run = options->run;
    run.task = task.task;
    run.threads = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    command->add_option("FILE", run.inputs, "Files to read; - is the standard input")
        ->option_text("... [-]");
    command->add_option("-o,--out", run.output, "File to write; - is the standard output")
        ->capture_default_str();
    AddChoice(*command, "--format", run.format, FormatNames(), "Form of the output");
    command->add_flag(
        "--keep-spaces", run.keepsSpaces,
        "Write down the white space, too, so that the input can be put together again");
    AddChoice(*command, "--encoding", run.encoding, CharsetNames(), "Encoding of the input");
    AddChoice(*command, "--to", run.outputEncoding, OutputNames(),
              "Encoding of the output in the formats text and tsv; the others are in utf-8");
    AddChoice(*command, "--on-bad-bytes", run.badBytes, BadBytesNames(),
              "What becomes of bytes that are no characters, and, but for keep, of characters that "
              "the output's encoding lacks; they are counted at the end");
    command->add_flag_callback(
        "--no-fold", [options] { options->run.folds = false; },
        "Look traditional characters and typographic punctuation up as they are");
    command
        ->add_option("-j,--threads", run.threads, "Threads; the result is the same at any number")
        ->check(CLI::Range(1, 1024))
        ->option_text("NUMBER [all cores]");
    command
        ->add_option("--data", run.data,
                     "Folder with the models; else $TOLVEK_DATA, ./data, or the installed one")
        ->type_name("DIR");
    command->add_flag_callback(
        "--progress", [options] { options->progress = true; },
        "Report progress on the standard error stream; by default on a terminal");
    command->add_flag_callback(
        "--no-progress", [options] { options->progress = false; }, "Don't report progress");
    command->add_flag("-q,--quiet", options->isQuiet, "No progress and no warnings");
    command->callback([&action, options] {
      Check(options->run);
      action = [options] { Run(*options); };
    });
  }
}

}  // namespace Tolvek
