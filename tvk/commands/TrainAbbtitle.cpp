// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "tvk/commands/Command.h"
#include "tvk/text/Files.h"
#include "tvk/train/TokenizerLists.h"

namespace Tolvek {

namespace {

struct Options {
  std::string separators = "resources/english/separators.txt";
  std::string abbreviations = "resources/english/abbreviations.txt";
  std::string out;
};

void Run(const Options& options) {
  MakeFolderOf(options.out);
  CheckWritable(options.out);
  std::string warnings;
  const std::string resource =
      BuildTokenizerResource(options.separators, options.abbreviations, warnings);
  std::cerr << warnings;
  WriteWholeFile(options.out, resource);
}

}  // namespace

void AddTrainAbbtitle(CLI::App& parent, Action& action) {
  auto* command = parent.add_subcommand(
      "abbtitle",
      "Build the English tokenizer's resource \"abbtitle\" from readable lists (UTF-8).\n"
      "Separators: a single byte is a token wherever it stands, a longer entry keeps a token of "
      "that form whole. Abbreviations are listed without their final period.");
  const auto options = std::make_shared<Options>();
  command->add_option("--separators", options->separators, "List of separators")
      ->capture_default_str();
  command->add_option("--abbreviations", options->abbreviations, "List of abbreviations")
      ->capture_default_str();
  command->add_option("-o,--out", options->out, "File to write, e.g. data/abbtitle")->required();
  command->callback([&action, options] { action = [options] { Run(*options); }; });
}

}  // namespace Tolvek
