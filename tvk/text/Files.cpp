// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/Files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "tvk/text/Failure.h"
#include "tvk/text/OutputFile.h"
#include "tvk/text/Temporary.h"

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

/// Waits until a file is on the disk: renamed before, it could be empty after a power cut. Some
/// late failures of writing are told only here.
std::error_code Sync(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const bool isKept = file >= 0 && (::fsync(file) == 0 || errno == EINVAL || errno == EROFS);
  const int error = isKept ? 0 : errno;
  if (file >= 0) ::close(file);
  return {error, std::generic_category()};
}

}  // namespace

std::string ReadWholeFile(const std::string& path) {
  static constexpr std::size_t kReadSize = std::size_t{1} << 16U;
  const bool isStandardInput = path == "-";
  const std::string name = isStandardInput ? "standard input" : path;
  const int file = isStandardInput ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  std::string content;
  std::array<char, kReadSize> part;
  ssize_t count = file < 0 ? -1 : 0;
  while (file >= 0) {
    count = ::read(file, part.data(), part.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    content.append(part.data(), static_cast<std::size_t>(count));
  }
  const int error = errno;
  if (file > STDERR_FILENO) ::close(file);
  if (count == 0) return content;
  throw Failure(name + ": " + (error == EISDIR ? "is a folder, not a file" : std::strerror(error)));
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
  const Temporary beside(BesidePath(target));
  if (!write(beside.Path())) throw Failure(path + ": cannot be written");
  std::error_code error = Sync(beside.Path());
  std::error_code ignored;
  const fs::file_status status = fs::status(target, ignored);
  if (fs::is_regular_file(status)) fs::permissions(beside.Path(), status.permissions(), ignored);
  if (!error) fs::rename(beside.Path(), target, error);
  if (error) throw Failure(path + ": " + error.message());
}

void WriteWholeFile(const std::string& path, std::string_view content) {
  const auto writeTo = [&](const std::string& to) {
    OutputFile out(to, path);
    out.Write(content);
    out.Close();
    return true;
  };
  if (path == "-") {
    writeTo(path);
  } else {
    WriteBeside(path, writeTo);
  }
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
  const Temporary beside(BesidePath(target));
  errno = 0;
  if (!std::ofstream(beside.Path(), std::ios::binary)) {
    throw Failure(path + ": cannot be written (" + ReasonOf(errno) + ")");
  }
}

}  // namespace Tolvek
