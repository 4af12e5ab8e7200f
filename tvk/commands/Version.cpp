// SPDX-License-Identifier: Apache-2.0
#include <tbb/version.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <system_error>

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

/// Where the tasks of a language find their models.
struct Resources {
  std::string language;
  std::string folder;   ///< empty: nowhere
  std::string failure;  ///< why
  std::vector<ResourceFile> files;
};

Resources Find(const std::string& language, Task task, const std::optional<std::string>& data) {
  Resources found{language, "", "", {}};
  try {
    found.folder = FindResources(data, {ResourcesOf(task).front()});
  } catch (const Failure& failure) {
    found.failure = failure.what();
    return found;
  }
  for (const std::string& name : ResourcesOf(task)) {
    const std::string path = (std::filesystem::path(found.folder) / name).string();
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) continue;
    const std::string content = ReadWholeFile(path);
    Fingerprint fingerprint;
    fingerprint.Add(content);
    found.files.push_back({name, content.size(), fingerprint.Text()});
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

std::string Json(const std::vector<Resources>& all, const std::string& tbb) {
  nlohmann::ordered_json document{
      {"version", TVK_VERSION}, {"compiler", Compiler()}, {"build", TVK_BUILD}, {"onetbb", tbb}};
  for (const Resources& resources : all) {
    nlohmann::ordered_json& models = document[resources.language];
    models["folder"] = nullptr;
    if (!resources.folder.empty()) models["folder"] = resources.folder;
    models["files"] = nlohmann::ordered_json::array();
    for (const ResourceFile& file : resources.files) {
      models["files"].push_back(
          {{"name", file.name}, {"bytes", file.bytes}, {"fingerprint", file.fingerprint}});
    }
  }
  return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string Text(const std::vector<Resources>& all, const std::string& tbb) {
  std::ostringstream text;
  text << "tvk " << TVK_VERSION << "\ncompiler  " << Compiler() << "\nbuild     " << TVK_BUILD
       << "\noneTBB    " << tbb << '\n';
  for (const Resources& resources : all) {
    text << resources.language << "   "
         << (resources.folder.empty() ? resources.failure : resources.folder) << '\n';
    for (const ResourceFile& file : resources.files) {
      text << "          " << file.fingerprint << "  " << file.name << ", " << file.bytes
           << " bytes\n";
    }
  }
  return text.str();
}

void Run(const Options& options) {
  const std::vector<Resources> all{Find("chinese", Task::kSegpos, options.data),
                                   Find("english", Task::kTokpos, options.data)};
  if (options.data && all[0].folder.empty() && all[1].folder.empty()) throw Failure(all[0].failure);
  const std::string tbb =
      std::to_string(TBB_VERSION_MAJOR) + "." + std::to_string(TBB_VERSION_MINOR);
  WriteWholeFile("-", options.json ? Json(all, tbb) : Text(all, tbb));
}

}  // namespace

void AddVersion(CLI::App& parent, Action& action) {
  auto* command = parent.add_subcommand(
      "version",
      "Tell how tvk was built, and which models it finds: their sizes, and fingerprints that tell "
      "equal files from others");
  const auto options = std::make_shared<Options>();
  command->add_option("--data", options->data, "Folder with the models")->type_name("DIR");
  command->add_flag("--json", options->json, "Write it as JSON");
  command->callback([&action, options] { action = [options] { Run(*options); }; });
}

}  // namespace Tolvek
