// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace Tolvek {

/// Tells apart what was loaded at different times, also into the same object or at the same
/// address. Whoever keeps what was computed of it compares.
class Revision {
 public:
  /// Becomes one that no other object ever had.
  void Renew() { _number = Next(); }
  bool operator==(const Revision&) const = default;

 private:
  static std::uint64_t Next() {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
  }

  std::uint64_t _number = 0;  ///< 0: nothing was loaded
};

}  // namespace Tolvek
