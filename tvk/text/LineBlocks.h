// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tvk/text/Charset.h"
#include "tvk/text/OutputFile.h"

namespace Tolvek {

/// A line longer than this (bytes) is done in parts, so that memory stays bounded.
inline constexpr std::size_t kLongestPart = std::size_t{1} << 16U;

/// The length of the first part of a line, of which `rest` is left: all of it when it is not longer
/// than about `kLongestPart`. A part ends behind white space if it holds any, else between two
/// characters. What lies more than three bytes behind `kLongestPart` has no influence.
std::size_t PartLength(std::string_view rest, const Charset& charset);

/// Is there nothing but white space, as between words of Chinese text?
bool IsBlank(std::span<const Character> text);

/// Is this so much of a line that its first part can be told without the rest?
constexpr bool HasWholePart(std::size_t size) {
  return size >= kLongestPart + 4;
}

/// Some whole lines of one file, or one part of a very long line.
struct LineBlock {
  std::string bytes{};             ///< with line feeds
  std::size_t file = 0;            ///< which one, from 0
  std::size_t lineOfFile = 0;      ///< number of the first line there, from 1
  std::size_t line = 0;            ///< number of the first line in all of the input, from 1
  std::size_t part = 0;            ///< of the first line, from 1; 0: the line begins here
  std::size_t firstByte = 0;       ///< where in its line the block begins
  std::size_t firstCharacter = 0;  ///< the same
  bool isBlankBefore = true;       ///< nothing but white space before that in the line
  bool isCut = false;              ///< the line goes on in the next block
  bool isLast = false;             ///< ends the last file, without a line feed
};

/// Reads files, or the standard input ("-"), one after another in blocks: whatever is there is
/// handed on at once, so that a slow writer's lines are not kept waiting. A file's end also ends
/// its last line.
class LineBlocks {
 public:
  /// Throws `Failure` when a file cannot be read, which is looked at in advance, or is the one that
  /// is written: it would never end. When nobody reads the output any more, that is noticed also
  /// while no input comes. Borrows `output`, which may be null.
  LineBlocks(std::vector<std::string> paths, const Charset& charset, const OutputFile* output);
  ~LineBlocks();
  LineBlocks(const LineBlocks&) = delete;
  LineBlocks& operator=(const LineBlocks&) = delete;

  /// The size of all files in bytes, or 0 when it is not known.
  std::size_t TotalSize() const { return _totalSize; }
  const std::vector<std::string>& Paths() const { return _paths; }

  /// False at the end. Throws `Failure` when reading fails.
  bool Next(LineBlock& block);

  /// Ends reading, also when it waits for input. May be called on another thread, and at a signal.
  void Stop();

 private:
  bool OpenNext();
  /// Appends to `_carried`; false at the end of the file.
  bool Read();
  /// Hands on the first bytes of what was read.
  void Take(std::size_t size, LineBlock& block);
  /// The same for the first part of a line whose end has not been read.
  void TakePart(LineBlock& block);

  std::vector<std::string> _paths;
  const Charset& _charset;
  const OutputFile* _output;
  int _stopEvent = -1;  ///< can be read once reading is to end
  std::atomic<bool> _isStopped = false;
  std::size_t _totalSize = 0;
  std::size_t _nextFile = 0;
  int _file = -1;
  std::string _carried;       ///< read, but not yet handed on
  std::size_t _searched = 0;  ///< so many bytes of it hold no line feed
  LineBlock _place;           ///< where the next block begins; its bytes are not used
};

}  // namespace Tolvek
