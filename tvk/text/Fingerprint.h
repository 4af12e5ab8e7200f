// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Tolvek {

/// A number that stands for a sequence of texts: equal for equal sequences, and for others as good
/// as never (FNV-1a, 64 bits).
class Fingerprint {
 public:
  /// Adds one text. Its length counts, too: "ab", "c" is another sequence than "a", "bc".
  void Add(std::string_view bytes);
  std::uint64_t Value() const { return _value; }
  /// 16 hexadecimal digits.
  std::string Text() const;

 private:
  void AddBytes(std::string_view bytes);

  std::uint64_t _value = 0xCBF29CE484222325U;
};

}  // namespace Tolvek
