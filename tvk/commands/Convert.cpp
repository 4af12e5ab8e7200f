// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "chinese/CharType.h"
#include "common/Globals.h"
#include "model/MeModel.h"
#include "model/Ngram.h"
#include "model/Vocab.h"
#include "tvk/commands/Command.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"

namespace Tolvek {

namespace {

struct Paths {
  std::string from;
  std::string to;
};

/// Writes `paths.to` with a converter of the core, whose range errors mean malformed input.
void Convert(const Paths& paths, const std::function<bool(const std::string& to)>& convert) {
  CheckWritable(paths.to);
  try {
    WriteBeside(paths.to, convert);
  } catch (const std::out_of_range&) {
    throw Failure(paths.from + ": malformed: a line has fewer fields than its section needs");
  }
}

void CheckReadable(const std::string& path) {
  if (!std::ifstream(path) || std::filesystem::is_directory(path)) {
    throw Failure(path + ": cannot be read");
  }
}

void ConvertMe(const Paths& paths) {
  CheckReadable(paths.from);
  Convert(paths, [&](const std::string& to) {
    return MeModel().ConvertToBinaryModel(paths.from, to) == 1;
  });
}

void ConvertLm(const Paths& paths) {
  CheckReadable(paths.from);
  Convert(paths, [&](const std::string& to) {
    static constexpr int kHighestOrder = 9;  // of the format
    Vocab vocab;
    return Ngram(&vocab, kHighestOrder).ConvertToBinaryFile(paths.from.c_str(), to.c_str()) == 1;
  });
}

void ConvertChars(const Paths& paths) {
  // The core's loader goes on without a list that it cannot open; a resource should not.
  for (const char* list : {"Punc", "ANum", "CNum1", "CNum2", "EChar", "Date", "CFamilyName",
                           "CGivenName", "ForeignName"}) {
    CheckReadable(g_datapath + list);
  }
  Convert(paths, [&](const std::string& to) {
    CharType().Convert2Binary(to);
    return std::filesystem::exists(to);
  });
}

CLI::App* Add(CLI::App& convert, const char* name, const char* help,
              const std::shared_ptr<Paths>& paths, Action& action, void (*run)(const Paths&)) {
  auto* command = convert.add_subcommand(name, help);
  command->callback([&action, paths, run] { action = [paths, run] { run(*paths); }; });
  return command;
}

}  // namespace

void AddConvert(CLI::App& parent, Action& action) {
  auto* convert = parent.add_subcommand("convert", "Turn text resources into their binary form");
  convert->require_subcommand(1);
  const auto paths = std::make_shared<Paths>();

  auto* me = Add(*convert, "me", "Maximum-entropy model", paths, action, ConvertMe);
  me->add_option("TEXT", paths->from, "Text model")->required();
  me->add_option("BINARY", paths->to, "File to write")->required();
  auto* lm = Add(*convert, "lm", "Back-off language model", paths, action, ConvertLm);
  lm->add_option("ARPA", paths->from, "Model in the ARPA format")->required();
  lm->add_option("BINARY", paths->to, "File to write")->required();
  auto* chars = Add(*convert, "chars", "Character resource, from the nine GBK lists in ./data",
                    paths, action, ConvertChars);
  chars->add_option("OUT", paths->to, "File to write")->required();
}

}  // namespace Tolvek
