// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/Files.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

#include "tvk/text/Failure.h"

namespace Tolvek {

namespace {

std::string ReasonOf(int error) {
  return error == 0 ? "cannot be read or written" : std::strerror(error);
}

/// Process id in the name: two runs never share the file.
std::string BesidePath(const std::string& path) {
  return path + ".tmp" + std::to_string(::getpid());
}

}  // namespace

std::string ReadWholeFile(const std::string& path) {
  if (path == "-") return {std::istreambuf_iterator<char>(std::cin), {}};
  if (std::filesystem::is_directory(path)) throw Failure(path + ": is a folder, not a file");
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
  const auto status = std::filesystem::status(path, error);
  return !std::filesystem::exists(status) || std::filesystem::is_regular_file(status) ||
         std::filesystem::is_directory(status);
}

void WriteBeside(const std::string& path,
                 const std::function<bool(const std::string& besidePath)>& write) {
  if (!IsReplaceable(path)) {
    if (!write(path)) throw Failure(path + ": cannot be written");
    return;
  }
  std::error_code error;
  const auto linked = std::filesystem::canonical(path, error);
  const std::string target = error ? path : linked.string();
  const std::string beside = BesidePath(target);
  error.clear();
  bool isWritten = false;
  try {
    isWritten = write(beside);
    if (isWritten) std::filesystem::rename(beside, target, error);
  } catch (...) {
    std::filesystem::remove_all(beside, error);
    throw;
  }
  if (isWritten && !error) return;
  const std::string reason = error ? error.message() : "cannot be written";
  std::filesystem::remove_all(beside, error);
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
    std::ofstream out(beside, std::ios::binary);
    return out && writeTo(out);
  });
}

void MakeFolderOf(const std::string& path) {
  const auto folder = std::filesystem::path(path).parent_path();
  std::error_code error;
  if (!folder.empty()) std::filesystem::create_directories(folder, error);
  if (error) throw Failure(folder.string() + ": " + error.message());
}

void CheckWritable(const std::string& path) {
  if (path == "-") return;
  if (std::filesystem::is_directory(path)) throw Failure(path + ": is a folder, not a file");
  if (!IsReplaceable(path)) return;
  const std::string beside = BesidePath(path);
  errno = 0;
  if (!std::ofstream(beside, std::ios::binary)) {
    throw Failure(path + ": cannot be written (" + ReasonOf(errno) + ")");
  }
  std::error_code ignored;
  std::filesystem::remove(beside, ignored);
}

}  // namespace Tolvek
