// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "tvk/commands/Command.h"
#include "tvk/text/Files.h"
#include "tvk/train/CharacterLists.h"

namespace Tolvek {

namespace {

struct Options {
  std::string lists = "resources/characters";
  std::string out;
};

void Run(const Options& options) {
  MakeFolderOf(options.out);
  CheckWritable(options.out);
  std::string warnings;
  const std::string resource = BuildCharacterResource(options.lists, warnings);
  std::cerr << warnings;
  WriteWholeFile(options.out, resource);
}

}  // namespace

void AddTrainChars(CLI::App& parent, Action& action) {
  auto* command = parent.add_subcommand(
      "chars", "Build the character resource \"binarySource\" from readable lists");
  const auto options = std::make_shared<Options>();
  command->add_option("--lists", options->lists, "Folder of the nine UTF-8 lists")
      ->capture_default_str();
  command->add_option("-o,--out", options->out, "File to write, e.g. data/binarySource")
      ->required();
  command->callback([&action, options] { action = [options] { Run(*options); }; });
}

}  // namespace Tolvek
