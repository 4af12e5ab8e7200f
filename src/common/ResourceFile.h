// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/FlatMap.h"

namespace Tolvek {

/// A resource file read into memory at once and taken apart field by field, line by line or piece
/// by piece. No operation goes past the end: a field that the file does not hold is reported and
/// leaves its target as it was.
///
///     ResourceFile file;
///     std::int32_t count = 0;
///     if (file.Open("data/binarySource") && file.Read(count)) ...
class ResourceFile {
 public:
  /// Reads the file; false when it cannot be opened (a directory cannot).
  bool Open(const std::string& path);

  /// Bytes not yet taken.
  std::size_t Left() const { return _bytes.size() - _next; }
  bool AtEnd() const { return Left() == 0; }

  /// Little-endian binary fields; false, and the value untouched, when fewer bytes are left (the
  /// rest is then used up).
  bool Read(std::int32_t& value);
  bool Read(double& value);

  /// The next `count` bytes, or what is left of them. Valid as long as this object.
  std::string_view ReadBytes(std::size_t count);

  /// The next line without its line feed; false, and `line` empty, at the end.
  bool ReadLine(std::string& line);

  /// What a reader with a 256-byte buffer gets: up to 255 characters, up to and including the
  /// line feed. A longer line comes in several pieces. False, and `piece` empty, at the end.
  bool ReadPiece(std::string& piece);

  /// Does the rest of the file begin with this text?
  bool StartsWith(std::string_view text) const {
    return std::string_view(_bytes).substr(_next).starts_with(text);
  }

 private:
  template <class T>
  bool ReadField(T& value);

  std::string _bytes;
  std::size_t _next = 0;
};

/// The binary fields of a resource, collected in memory and written at once, so that a failed
/// conversion leaves an existing file alone.
class ResourceWriter {
 public:
  void Write(std::int32_t value);
  void Write(double value);
  void WriteBytes(std::string_view bytes) { _bytes += bytes; }
  /// The entries of a table, in their order: each as the key's length in bytes, the key, the value.
  void WriteEntries(const TextTable& table);
  const std::string& Bytes() const { return _bytes; }

  /// Writes the file; on failure says "Can not write " + path + the system's reason on the
  /// standard error stream and returns false.
  bool Save(const std::string& path) const;

 private:
  std::string _bytes;
};

}  // namespace Tolvek
