// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>

#include "chinese/CharType.h"
#include "common/Globals.h"
#include "common/ResourceFile.h"
#include "model/MeModel.h"
#include "model/Ngram.h"
#include "model/Vocab.h"
#include "tvk/check/Limits.h"
#include "tvk/commands/Command.h"
#include "tvk/convert/TextForms.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/text/Temporary.h"

namespace Tolvek {

namespace {

struct Paths {
  std::string from;
  std::string to;
  std::string lists = g_datapath;  ///< folder of the nine text lists
};

/// Lets the folder `lists` be ./data, from which alone the core reads text lists, by working in
/// another folder that has a link of that name, until the end of its life.
class AsData {
 public:
  explicit AsData(const std::string& lists) : _before(std::filesystem::current_path()) {
    namespace fs = std::filesystem;
    std::random_device random;
    _folder.emplace(fs::temp_directory_path() /
                    ("tvk-lists-" + std::to_string(random()) + std::to_string(random())));
    const fs::path name = _folder->Path();
    if (::mkdir(name.c_str(), 0700) != 0) {
      throw Failure(name.string() + ": no folder can be made here");
    }
    _link.emplace(name / "data");
    fs::create_directory_symlink(fs::absolute(lists), _link->Path());
    fs::current_path(name);
  }
  ~AsData() {
    std::error_code ignored;
    std::filesystem::current_path(_before, ignored);
  }
  AsData(const AsData&) = delete;
  AsData& operator=(const AsData&) = delete;

 private:
  std::filesystem::path _before;
  std::optional<Temporary> _folder;
  std::optional<Temporary> _link;  ///< is removed, not what it leads to
};

/// Writes `paths.to` with a converter of the core, whose range errors mean malformed input.
void Convert(const Paths& paths, const std::function<bool(const std::string& to)>& convert) {
  if (paths.to == "-")
    throw Failure("a binary resource goes to a file, not to the standard output");
  CheckWritable(paths.to);
  try {
    WriteBeside(paths.to, convert);
  } catch (const std::out_of_range&) {
    throw Failure(paths.from + ": malformed: a line has fewer fields than its section needs");
  }
}

void CheckReadable(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw Failure(path + ": is no file (it is read more than once)");
  }
  if (!std::ifstream(path)) throw Failure(path + ": cannot be read");
}

void ConvertMe(const Paths& paths) {
  CheckReadable(paths.from);
  if (IsBinaryModel(paths.from)) {
    WriteWholeFile(paths.to, MaxEntText(paths.from));
    return;
  }
  Convert(paths, [&](const std::string& to) {
    return MeModel().ConvertToBinaryModel(paths.from, to) == 1;
  });
}

void ConvertLm(const Paths& paths) {
  CheckReadable(paths.from);
  if (IsBinaryModel(paths.from)) {
    WriteWholeFile(paths.to, Arpa(paths.from));
    return;
  }
  Convert(paths, [&](const std::string& to) {
    Vocab vocab;
    return Ngram(&vocab, kHighestOrder).ConvertToBinaryFile(paths.from.c_str(), to.c_str()) == 1;
  });
}

/// The core's converter does not say whether it could write all of its file.
bool IsWholeCharacterResource(const std::string& path) {
  static constexpr int kTables = 4;
  ResourceFile file;
  if (!file.Open(path)) return false;
  for (int table = 0; table < kTables; ++table) {
    std::int32_t entries = 0;
    if (!file.Read(entries)) return false;
    for (; entries > 0; --entries) {
      std::int32_t size = 0;
      std::int32_t code = 0;
      if (!file.Read(size)) return false;
      const auto length = static_cast<std::size_t>(size);
      if (file.ReadBytes(length).size() != length || !file.Read(code)) return false;
    }
  }
  return file.AtEnd();
}

void ConvertChars(const Paths& paths) {
  if (!paths.from.empty()) {
    CheckReadable(paths.from);
    WriteCharacterLists(paths.from, paths.to);
    return;
  }
  // The core's loader goes on without a list that it cannot open; a resource should not.
  for (const char* list : {"Punc", "ANum", "CNum1", "CNum2", "EChar", "Date", "CFamilyName",
                           "CGivenName", "ForeignName"}) {
    CheckReadable((std::filesystem::path(paths.lists) / list).string());
  }
  Convert(paths, [&](const std::string& to) {
    const std::string target = std::filesystem::absolute(to).string();
    std::optional<AsData> folder;
    if (paths.lists != g_datapath) folder.emplace(paths.lists);
    CharType().Convert2Binary(target);
    return IsWholeCharacterResource(target);
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
  auto* convert =
      parent.add_subcommand("convert", "Turn text resources into their binary form, and back");
  convert->require_subcommand(1);
  const auto paths = std::make_shared<Paths>();

  auto* me = Add(*convert, "me",
                 "Maximum-entropy model: text to binary. A binary FROM becomes text, from which "
                 "the same bytes can be made again.",
                 paths, action, ConvertMe);
  me->add_option("FROM", paths->from, "Model, text or binary")->required();
  me->add_option("TO", paths->to, "File to write, in the other form")->required();
  auto* lm = Add(*convert, "lm",
                 "Back-off language model: ARPA text to binary. A binary FROM becomes ARPA text, "
                 "from which the same bytes can be made again.",
                 paths, action, ConvertLm);
  lm->add_option("FROM", paths->from, "Model, ARPA text or binary")->required();
  lm->add_option("TO", paths->to, "File to write, in the other form")->required();
  auto* chars = Add(*convert, "chars",
                    "Character resource: nine GBK lists to binary. With --from a resource becomes "
                    "the readable lists from which 'tvk train chars' makes the same bytes again.",
                    paths, action, ConvertChars);
  chars->add_option("TO", paths->to, "File to write; with --from the folder, new or empty")
      ->required();
  auto* lists = chars->add_option("--lists", paths->lists, "Folder of the nine lists")
                    ->type_name("DIR")
                    ->capture_default_str();
  chars->add_option("--from", paths->from, "Character resource to take apart")
      ->type_name("FILE")
      ->excludes(lists);
}

}  // namespace Tolvek
