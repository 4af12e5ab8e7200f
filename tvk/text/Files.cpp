// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/Files.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

#include "tvk/text/Failure.h"

namespace Tolvek {

namespace fs = std::filesystem;

namespace {

std::string ReasonOf(int error) {
  return error == 0 ? "cannot be read or written" : std::strerror(error);
}

/// Process id in the name: two runs never share the file.
std::string BesidePath(const std::string& path) {
  return path + ".tmp" + std::to_string(::getpid());
}

/// Is this a name for something that is open already, such as /proc/self/fd/1?
bool IsDescriptor(const fs::path& path) {
  std::error_code error;
  const fs::path folder = fs::weakly_canonical(fs::absolute(path, error).parent_path(), error);
  return folder.string().starts_with("/proc/");
}

/// What is written by this name: where links lead to, but for those that name a descriptor.
fs::path TargetOf(fs::path path) {
  static constexpr int kMostLinks = 40;
  std::error_code error;
  for (int links = 0; links < kMostLinks && fs::is_symlink(path, error); ++links) {
    if (IsDescriptor(path)) break;
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return fs::absolute(path, error);
}

/// Removes a file when a signal ends the program; of several, the one that was named first.
class RemovedWhenKilled {
 public:
  explicit RemovedWhenKilled(const std::string& path) : _isFirst(_path[0] == '\0') {
    if (!_isFirst || path.size() >= sizeof _path) return;
    std::memcpy(_path, path.c_str(), path.size() + 1);
    for (const int number : kSignals) {
      struct sigaction action {};
      ::sigaction(number, nullptr, &action);
      if (action.sa_handler != SIG_DFL) continue;  // ignored, as by nohup
      action.sa_handler = Remove;
      action.sa_flags = static_cast<int>(SA_RESETHAND);
      ::sigaction(number, &action, nullptr);
    }
  }
  ~RemovedWhenKilled() {
    if (_isFirst) _path[0] = '\0';
  }
  RemovedWhenKilled(const RemovedWhenKilled&) = delete;
  RemovedWhenKilled& operator=(const RemovedWhenKilled&) = delete;

 private:
  static constexpr int kSignals[] = {SIGHUP, SIGINT, SIGTERM};

  /// Once is enough: then the signal does what it would have done.
  static void Remove(int number) {
    if (_path[0] != '\0') ::unlink(_path);
    ::raise(number);
  }

  static inline char _path[PATH_MAX] = "";
  bool _isFirst;
};

}  // namespace

std::string ReadWholeFile(const std::string& path) {
  if (path == "-") return {std::istreambuf_iterator<char>(std::cin), {}};
  std::error_code ignored;
  if (fs::is_directory(path, ignored)) throw Failure(path + ": is a folder, not a file");
  errno = 0;
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Failure(path + ": " + ReasonOf(errno));
  std::string content{std::istreambuf_iterator<char>(in), {}};
  if (in.bad()) throw Failure(path + ": " + ReasonOf(errno));
  return content;
}

std::vector<std::string_view> SplitLines(std::string_view text) {
  static constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    lines.push_back(line);
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return lines;
}

std::vector<std::string_view> SplitAtBlanks(std::string_view line) {
  static constexpr std::string_view kBlanks = " \t\r\n";
  std::vector<std::string_view> pieces;
  std::size_t start = 0;
  while ((start = line.find_first_not_of(kBlanks, start)) != std::string_view::npos) {
    const std::size_t end = std::min(line.find_first_of(kBlanks, start), line.size());
    pieces.push_back(line.substr(start, end - start));
    start = end;
  }
  return pieces;
}

bool IsReplaceable(const std::string& path) {
  std::error_code error;
  const fs::path target = TargetOf(path);
  if (IsDescriptor(target)) return false;
  const auto status = fs::status(target, error);
  return !fs::exists(status) || fs::is_regular_file(status) || fs::is_directory(status);
}

void WriteBeside(const std::string& path,
                 const std::function<bool(const std::string& besidePath)>& write) {
  if (!IsReplaceable(path)) {
    if (!write(path)) throw Failure(path + ": cannot be written");
    return;
  }
  const fs::path target = TargetOf(path);
  const std::string beside = BesidePath(target);
  const RemovedWhenKilled guard(beside);
  std::error_code error;
  bool isWritten = false;
  try {
    isWritten = write(beside);
    if (isWritten) {
      const fs::file_status status = fs::status(target, error);
      if (fs::is_regular_file(status)) fs::permissions(beside, status.permissions(), error);
      fs::rename(beside, target, error);
    }
  } catch (...) {
    fs::remove_all(beside, error);
    throw;
  }
  if (isWritten && !error) return;
  const std::string reason = error ? error.message() : "cannot be written";
  fs::remove_all(beside, error);
  throw Failure(path + ": " + reason);
}

void WriteWholeFile(const std::string& path, std::string_view content) {
  const auto writeTo = [&](std::ostream& out) {
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    return static_cast<bool>(out.flush());
  };
  if (path == "-") {
    if (!writeTo(std::cout)) throw Failure("standard output: cannot be written");
    return;
  }
  WriteBeside(path, [&](const std::string& beside) {
    // What is open already is added to: a file may stand behind it.
    std::ofstream out(beside,
                      std::ios::binary | (IsReplaceable(path) ? std::ios::trunc : std::ios::app));
    return out && writeTo(out);
  });
}

void MakeFolderOf(const std::string& path) {
  const auto folder = fs::path(path).parent_path();
  std::error_code error;
  if (!folder.empty()) fs::create_directories(folder, error);
  if (error) throw Failure(folder.string() + ": " + error.message());
}

void CheckWritable(const std::string& path) {
  std::error_code ignored;
  if (path == "-") return;
  if (fs::is_directory(path, ignored)) throw Failure(path + ": is a folder, not a file");
  if (!IsReplaceable(path)) return;
  const std::string target = TargetOf(path);
  if (fs::exists(target, ignored) && ::access(target.c_str(), W_OK) != 0) {
    throw Failure(path + ": cannot be written (" + ReasonOf(errno) + ")");
  }
  const std::string beside = BesidePath(target);
  errno = 0;
  if (!std::ofstream(beside, std::ios::binary)) {
    throw Failure(path + ": cannot be written (" + ReasonOf(errno) + ")");
  }
  fs::remove(beside, ignored);
}

}  // namespace Tolvek
