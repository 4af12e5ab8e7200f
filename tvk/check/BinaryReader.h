// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tvk/check/Findings.h"

namespace Tolvek {

/// Takes the fields of a binary resource one after another. A field that the file doesn't hold, or
/// a number that leaves the rest without meaning, is told as such: after that nothing is given.
class BinaryReader {
 public:
  /// Both must outlive the reader. Reading begins at `offset`.
  BinaryReader(std::string_view bytes, std::size_t offset, Findings& findings)
      : _bytes(bytes), _next(offset), _findings(findings) {}

  /// Of the next byte.
  std::size_t Offset() const { return _next; }
  std::size_t Left() const { return _bytes.size() - _next; }

  /// `what` completes "the file ends in ...".
  std::optional<std::int32_t> Int(const std::string& what);
  /// A number of entries; a negative one ends the reading. `what` is their name: "features".
  std::optional<std::size_t> Count(const std::string& what);
  /// Entry `number` (from 0) of `count`, which is a length and as many bytes; `what` is its name:
  /// "feature". One of more than `longest` bytes is a problem, and given.
  std::optional<std::string_view> Text(const char* what, std::size_t number, std::size_t count,
                                       std::size_t longest);
  /// A field of entry `number` of `count`.
  std::optional<std::int32_t> IntOf(const char* what, std::size_t number, std::size_t count);

  // Fields of which the caller knows that they are there.
  std::int32_t KnownInt();
  double KnownReal();

  /// Says what is left behind the last field.
  void End(const char* lastField);

 private:
  void StopInEntry(const char* what, std::size_t number, std::size_t count);

  std::string_view _bytes;
  std::size_t _next;
  Findings& _findings;
};

}  // namespace Tolvek
