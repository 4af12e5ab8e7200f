// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/LineBlocks.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "common/Fields.h"
#include "tvk/text/Failure.h"

namespace Tolvek {

namespace {

constexpr std::size_t kReadSize = std::size_t{1} << 18U;

std::string NameOf(const std::string& path) {
  return path == "-" ? "standard input" : path;
}

/// What the system knows of a file that can be read. Opens nothing: a named pipe may be opened once
/// only.
struct stat StatusOf(const std::string& path) {
  struct stat status {};
  const bool isStandardInput = path == "-";
  const int failed =
      isStandardInput ? ::fstat(STDIN_FILENO, &status) : ::stat(path.c_str(), &status);
  if (failed != 0 || (!isStandardInput && ::access(path.c_str(), R_OK) != 0)) {
    throw Failure(NameOf(path) + ": " + std::strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) throw Failure(NameOf(path) + ": is a folder, not a file");
  return status;
}

int Open(const std::string& path) {
  const int file = path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) throw Failure(NameOf(path) + ": " + std::strerror(errno));
  return file;
}

/// -1 stands for none.
int DescriptorOf(const OutputFile* output) {
  return output == nullptr ? -1 : output->Descriptor();
}

void Close(int file) {
  if (file > STDERR_FILENO) ::close(file);
}

}  // namespace

std::size_t PartLength(std::string_view rest, const Charset& charset) {
  if (!HasWholePart(rest.size())) return rest.size();
  std::size_t afterSpace = 0;
  std::size_t at = 0;
  for (;;) {
    const std::size_t next = at + charset.LengthOfFirst(rest.substr(at));
    if (next > kLongestPart) return afterSpace > 0 ? afterSpace : at;
    if (IsSpace(rest[at])) afterSpace = next;
    at = next;
  }
}

bool IsBlank(std::span<const Character> text) {
  static constexpr char32_t kByteOrderMark = 0xFEFF;
  static constexpr char32_t kFullWidthSpace = 0x3000;
  return std::all_of(text.begin(), text.end(), [](const Character& character) {
    const char32_t code = character.code;
    return code == kByteOrderMark || code == kFullWidthSpace ||
           (code < 0x80 && IsSpace(static_cast<char>(code)));
  });
}

LineBlocks::LineBlocks(std::vector<std::string> paths, const Charset& charset,
                       const OutputFile* output)
    : _paths(std::move(paths)), _charset(charset), _output(output) {
  struct stat written {};
  const bool isFile = ::fstat(DescriptorOf(output), &written) == 0 && S_ISREG(written.st_mode);
  bool isKnown = true;
  for (const std::string& path : _paths) {
    const struct stat status = StatusOf(path);
    if (isFile && status.st_dev == written.st_dev && status.st_ino == written.st_ino) {
      throw Failure(NameOf(path) + ": is the file that is written");
    }
    isKnown = isKnown && S_ISREG(status.st_mode);
    _totalSize += static_cast<std::size_t>(status.st_size);
  }
  if (!isKnown) _totalSize = 0;
  _place.line = 1;
  _stopEvent = ::eventfd(0, EFD_CLOEXEC);
  if (_stopEvent < 0) throw Failure(std::string("no event: ") + std::strerror(errno));
}

LineBlocks::~LineBlocks() {
  Close(_file);
  ::close(_stopEvent);
}

void LineBlocks::Stop() {
  static constexpr std::uint64_t kOne = 1;
  _isStopped = true;
  while (::write(_stopEvent, &kOne, sizeof kOne) < 0 && errno == EINTR) {
  }
}

bool LineBlocks::OpenNext() {
  if (_nextFile == _paths.size()) return false;
  _place.file = _nextFile++;
  _place.lineOfFile = 1;
  _file = Open(_paths[_place.file]);
  return true;
}

bool LineBlocks::Read() {
  std::array<struct pollfd, 3> watched{
      {{_file, POLLIN, 0}, {DescriptorOf(_output), 0, 0}, {_stopEvent, POLLIN, 0}}};
  while (::poll(watched.data(), watched.size(), -1) < 0 && errno == EINTR) {
  }
  if (_isStopped) return false;
  if ((watched[1].revents & (POLLERR | POLLHUP)) != 0) _output->FailAsUnread();
  const std::size_t size = _carried.size();
  _carried.resize(size + kReadSize);
  ssize_t count = 0;
  do {
    count = ::read(_file, _carried.data() + size, kReadSize);
  } while (count < 0 && errno == EINTR);
  if (count < 0) throw Failure(NameOf(_paths[_place.file]) + ": " + std::strerror(errno));
  _carried.resize(size + static_cast<std::size_t>(count));
  return count > 0;
}

bool LineBlocks::Next(LineBlock& block) {
  while (!_isStopped) {
    if (_file < 0 && !OpenNext()) return false;
    const std::size_t lineFeed = std::string_view(_carried).substr(_searched).rfind('\n');
    if (lineFeed != std::string_view::npos) {
      Take(_searched + lineFeed + 1, block);
      return true;
    }
    _searched = _carried.size();
    if (HasWholePart(_carried.size())) {
      TakePart(block);
      return true;
    }
    if (Read()) continue;
    if (_isStopped) break;
    Close(_file);
    _file = -1;
    if (_carried.empty()) continue;
    Take(_carried.size(), block);
    block.isLast = _nextFile == _paths.size();
    _place = {.file = block.file, .line = block.line + 1};
    return true;
  }
  return false;
}

void LineBlocks::Take(std::size_t size, LineBlock& block) {
  std::string bytes = std::move(block.bytes);  // for its memory
  block = _place;
  block.bytes = std::move(bytes);
  block.bytes.assign(_carried, 0, size);
  _carried.erase(0, size);
  _searched = 0;
  const auto lines =
      static_cast<std::size_t>(std::count(block.bytes.begin(), block.bytes.end(), '\n'));
  _place = {.file = block.file, .lineOfFile = block.lineOfFile + lines, .line = block.line + lines};
}

void LineBlocks::TakePart(LineBlock& block) {
  const LineBlock place = _place;
  Take(PartLength(_carried, _charset), block);
  block.isCut = true;
  block.part = std::max<std::size_t>(place.part, 1);
  std::vector<Character> characters;
  _charset.Decode(block.bytes, characters);
  _place = place;
  _place.part = block.part + 1;
  _place.firstByte += block.bytes.size();
  _place.firstCharacter += characters.size();
  _place.isBlankBefore = place.isBlankBefore && IsBlank(characters);
}

}  // namespace Tolvek
