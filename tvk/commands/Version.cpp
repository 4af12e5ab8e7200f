// SPDX-License-Identifier: Apache-2.0
#include <tbb/version.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "tvk/analyze/Models.h"
#include "tvk/commands/Command.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/text/Fingerprint.h"

namespace Tolvek {

namespace {

struct Options {
  std::optional<std::string> data;
  bool json = false;
};

struct ResourceFile {
  std::string name;
  std::size_t bytes;
  std::string fingerprint;
};

/// What is installed where the tasks look for their models.
struct Resources {
  std::string folder;  ///< empty: none was found
  std::vector<ResourceFile> files;
};

Resources FindAll(const std::optional<std::string>& data) {
  Resources found;
  for (const Task task : {Task::kPos, Task::kTok}) {
    try {
      found.folder = FindResources(data, {ResourcesOf(task).front()});
      break;
    } catch (const Failure&) {
      if (data && task == Task::kTok) throw;
    }
  }
  if (found.folder.empty()) return found;
  for (const Task task : {Task::kSegpos, Task::kTokpos}) {
    for (const std::string& name : ResourcesOf(task)) {
      const std::string path = (std::filesystem::path(found.folder) / name).string();
      if (!std::filesystem::is_regular_file(path)) continue;
      const std::string content = ReadWholeFile(path);
      Fingerprint fingerprint;
      fingerprint.Add(content);
      found.files.push_back({name, content.size(), fingerprint.Text()});
    }
  }
  return found;
}

std::string Compiler() {
#ifdef __clang__
  return "clang " __clang_version__;
#else
  return "g++ " __VERSION__;
#endif
}

void Run(const Options& options) {
  const Resources resources = FindAll(options.data);
  const std::string tbb =
      std::to_string(TBB_VERSION_MAJOR) + "." + std::to_string(TBB_VERSION_MINOR);
  if (options.json) {
    nlohmann::ordered_json files = nlohmann::ordered_json::array();
    for (const ResourceFile& file : resources.files) {
      files.push_back(
          {{"name", file.name}, {"bytes", file.bytes}, {"fingerprint", file.fingerprint}});
    }
    nlohmann::ordered_json document{{"version", TVK_VERSION}, {"compiler", Compiler()},
                                    {"build", TVK_BUILD},     {"onetbb", tbb},
                                    {"data", nullptr},        {"models", files}};
    if (!resources.folder.empty()) document["data"] = resources.folder;
    std::cout << document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
    return;
  }
  std::cout << "tvk " << TVK_VERSION << "\ncompiler  " << Compiler() << "\nbuild     " << TVK_BUILD
            << "\noneTBB    " << tbb << "\nmodels    "
            << (resources.folder.empty() ? "none found (see tvk seg --help, --data)"
                                         : resources.folder)
            << '\n';
  for (const ResourceFile& file : resources.files) {
    std::cout << "          " << file.fingerprint << "  " << file.name << ", " << file.bytes
              << " bytes\n";
  }
}

}  // namespace

void AddVersion(CLI::App& parent, Action& action) {
  auto* command = parent.add_subcommand("version",
                                        "Tell how tvk was built, and which models it finds: their "
                                        "sizes, and fingerprints (FNV-1a of 64 "
                                        "bits) that tell equal files from others");
  const auto options = std::make_shared<Options>();
  command->add_option("--data", options->data, "Folder with the models")->type_name("DIR");
  command->add_flag("--json", options->json, "Write it as JSON");
  command->callback([&action, options] { action = [options] { Run(*options); }; });
}

}  // namespace Tolvek
