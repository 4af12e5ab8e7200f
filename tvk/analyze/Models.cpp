// SPDX-License-Identifier: Apache-2.0
#include "tvk/analyze/Models.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string_view>

#include "common/Fields.h"
#include "tvk/text/Failure.h"
#include "tvk/text/WithoutAnnouncements.h"

namespace Tolvek {

namespace {

namespace fs = std::filesystem;

/// Behind a message on a resource.
std::string CheckAdvice(const std::string& folder) {
  return " (tvk check " + folder + " tells what is wrong)";
}

/// Some faults of a model end the core's loaders, after their message, by `std::abort`. While this
/// lives, that is a failure like others: its message, status 1.
class AbortIsFailure {
 public:
  explicit AbortIsFailure(const std::string& failure) {
    message = "tvk: " + failure + '\n';
    _before = std::signal(SIGABRT, [](int) {
      // What a signal may do.
      static_cast<void>(::write(STDERR_FILENO, message.data(), message.size()) < 0);
      std::_Exit(1);
    });
  }
  ~AbortIsFailure() { std::signal(SIGABRT, _before); }
  AbortIsFailure(const AbortIsFailure&) = delete;
  AbortIsFailure& operator=(const AbortIsFailure&) = delete;

 private:
  inline static std::string message;  // where the handler finds it
  void (*_before)(int);
};

/// The folders to look in when none is given.
std::vector<std::string> UsualFolders() {
  std::vector<std::string> folders{"data"};
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (!error) folders.push_back((program.parent_path().parent_path() / "share/tolvek").string());
  const std::string installed = TOLVEK_SHARE_DIR;
  if (std::find(folders.begin(), folders.end(), installed) == folders.end()) {
    folders.push_back(installed);
  }
  return folders;
}

/// Output and the core's own text would not tell where such a tag ends.
void RefuseSpaceIn(const std::string& tag, const std::string& path) {
  if (std::none_of(tag.begin(), tag.end(), IsSpace)) return;
  throw Failure(path + ": a tag holds white space: \"" + tag + '"');
}

template <class Scorer>
void CheckTags(const Scorer& scorer, const std::string& path) {
  if (scorer.GetPosSize() == 0) throw Failure(path + ": holds no tags: cut or malformed");
  for (int tag = 0; tag < scorer.GetPosSize(); ++tag) RefuseSpaceIn(scorer.GetPos(tag), path);
}

}  // namespace

std::vector<std::string> ResourcesOf(Task task) {
  std::vector<std::string> files;
  if (IsEnglish(task)) {
    files = {"abbtitle"};
    if (Tags(task)) files.insert(files.end(), {"binaryEngPosModel", "EngDict"});
  } else {
    files = {"binarySource"};
    if (Segments(task)) files.insert(files.end(), {"binarySegLM", "binarySegModel"});
    if (Tags(task)) files.insert(files.end(), {"binaryPosModel", "Dict"});
  }
  return files;
}

std::string FindResources(const std::optional<std::string>& given,
                          const std::vector<std::string>& files) {
  const char* const environment = std::getenv("TOLVEK_DATA");
  std::vector<std::string> folders;
  std::string source;
  if (given) {
    folders = {*given};
    source = " (--data)";
  } else if (environment != nullptr && *environment != '\0') {
    folders = {environment};
    source = " ($TOLVEK_DATA)";
  } else {
    folders = UsualFolders();
  }
  const auto has = [](const std::string& folder, const std::string& file) {
    std::error_code error;
    return fs::is_regular_file(fs::path(folder) / file, error);
  };
  const auto found = std::find_if(folders.begin(), folders.end(), [&](const std::string& folder) {
    return has(folder, files.front());
  });
  const bool isFound = found != folders.end();
  std::string places = isFound ? *found : "";
  std::string missing;
  for (const std::string& file : files) {
    if (!isFound || !has(*found, file)) missing += (missing.empty() ? "" : ", ") + file;
  }
  if (missing.empty()) return *found;
  for (const std::string& folder : isFound ? std::vector<std::string>() : folders) {
    places += (places.empty() ? "" : ", ") + folder;
  }
  throw Failure(
      "resources missing: " + missing + "\n  looked for in: " + places + source +
      "\n  They come with tolvek, in its folder data and in its package. Name their folder "
      "with --data DIR or in\n  the environment variable TOLVEK_DATA, or make your own: "
      "tvk train --help.");
}

std::string MalformedModel(const std::string& folder) {
  return "cut or malformed" + CheckAdvice(folder);
}

Models::Models(Task task, const std::string& path) : folder(path) {
  const auto inFolder = [&](const char* name) { return (fs::path(folder) / name).string(); };
  // The core loads some files by twos; its own message tells which one it is.
  const auto load = [&](const std::string& paths, const std::function<bool()>& loadFiles) {
    const Failure failure(paths + ": " + MalformedModel(folder));
    const AbortIsFailure guard(failure.what());
    try {
      if (loadFiles()) return;
    } catch (const std::out_of_range&) {
      throw failure;
    }
    throw Failure(paths + ": cannot be loaded" + CheckAdvice(folder));
  };
  const auto loadTwo = [&](auto& scorer, const char* first, const char* second) {
    load(inFolder(first) + " or " + inFolder(second),
         [&] { return scorer.Initialize(inFolder(first), inFolder(second)); });
  };
  const WithoutAnnouncements quiet;
  if (IsEnglish(task)) {
    tokens = std::make_unique<EngToken>();
    load(inFolder("abbtitle"), [&] { return tokens->Load(inFolder("abbtitle")); });
    if (!Tags(task)) return;
    englishTags = std::make_unique<EngPosScore>();
    loadTwo(*englishTags, "binaryEngPosModel", "EngDict");
    CheckTags(*englishTags, inFolder("binaryEngPosModel"));
    return;
  }
  characters = std::make_unique<CharType>();
  load(inFolder("binarySource"), [&] { return characters->LoadBinary(inFolder("binarySource")); });
  if (Segments(task)) {
    segmentation = std::make_unique<SegScore>(characters.get());
    loadTwo(*segmentation, "binarySegLM", "binarySegModel");
    for (const char* tag : {"B", "M", "E", "S"}) {
      if (segmentation->GetTagIndex(tag) < 0) {
        throw Failure(inFolder("binarySegModel") + ": the tag " + tag +
                      " is missing: not a model of segmentation");
      }
    }
  }
  if (Tags(task)) {
    chineseTags = std::make_unique<PosScore>(characters.get());
    loadTwo(*chineseTags, "binaryPosModel", "Dict");
    CheckTags(*chineseTags, inFolder("binaryPosModel"));
  }
}

}  // namespace Tolvek
