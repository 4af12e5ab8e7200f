// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/StepStore.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"

namespace Tolvek {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kMagic = "TVKSTEP1";

std::string_view Text(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The magic and a fingerprint of the result, which its length is a part of.
std::string Head(std::span<const std::byte> values) {
  Fingerprint checksum;
  checksum.Add(Text(values));
  return std::string(kMagic) + checksum.Text();
}

/// Is this the name of a folder that a run of the same command keeps its steps in?
bool IsStepFolder(const fs::directory_entry& entry, const std::string& prefix) {
  const std::string name = entry.path().filename();
  static constexpr std::string_view kDigits = "0123456789abcdef";
  return name.starts_with(prefix) && name.size() == prefix.size() + Fingerprint().Text().size() &&
         name.find_first_not_of(kDigits, prefix.size()) == std::string::npos &&
         !entry.is_symlink() && entry.is_directory();
}

}  // namespace

StepStore::StepStore(const fs::path& out, const std::string& prefix, const Fingerprint& fingerprint,
                     Kept kept, StepLog& log)
    : _folder(out / (prefix + fingerprint.Text())), _prefix(prefix), _kept(kept), _log(&log) {}

fs::path StepStore::File() const {
  return _folder / (std::to_string(_step) + ".step");
}

void StepStore::Prepare() {
  std::vector<fs::path> dropped;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(_folder.parent_path(), ignored)) {
    const bool isOwn = entry.path() == _folder && _kept == Kept::kTakenOver;
    if (!isOwn && IsStepFolder(entry, _prefix)) dropped.push_back(entry.path());
  }
  for (const fs::path& folder : dropped) {
    fs::remove_all(folder, ignored);
    _log->Say(folder.string() + ": removed, kept by an interrupted run" +
              (_kept == Kept::kTakenOver ? " with other options or inputs" : ""));
  }
}

bool StepStore::TakeBytes(const std::string& name, std::span<std::byte> values) {
  if (_folder.empty()) return false;
  if (++_step == 1) Prepare();
  std::error_code ignored;
  if (!fs::exists(File(), ignored)) return false;
  std::string content;
  try {
    content = ReadWholeFile(File());
  } catch (const Failure& failure) {
    _log->Say(std::string(failure.what()) + "; the step is computed anew");
    return false;
  }
  const std::size_t head = Head({}).size();
  const std::string_view kept = std::string_view(content).substr(std::min(head, content.size()));
  if (kept.size() != values.size() || !content.starts_with(Head(std::as_bytes(std::span(kept))))) {
    _log->Say(File().string() + ": damaged; the step is computed anew");
    return false;
  }
  std::copy(kept.begin(), kept.end(), reinterpret_cast<char*>(values.data()));
  _log->Say(name + ": taken over from an interrupted run, " + File().string());
  return true;
}

void StepStore::KeepBytes(std::span<const std::byte> values) {
  if (_folder.empty()) return;
  std::error_code error;
  fs::create_directory(_folder, error);
  try {
    WriteWholeFile(File(), Head(values) + std::string(Text(values)));
  } catch (const Failure& failure) {
    _log->Say(std::string(failure.what()) +
              "; the step is not kept, an interrupted run would have to compute it anew");
  }
}

void StepStore::Done() {
  if (_folder.empty()) return;
  std::error_code ignored;
  fs::remove_all(_folder, ignored);
}

}  // namespace Tolvek
