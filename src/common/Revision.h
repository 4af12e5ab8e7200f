// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace Tolvek {

/// Tells apart what was loaded at different times, also into the same object or at the same
/// address. Whoever keeps what was computed of it compares.
class Revision {
 public:
  Revision() = default;
  Revision(const Revision&) = default;
  Revision& operator=(const Revision&) = default;
  /// Leaves none behind, as nothing stays of what is moved.
  Revision(Revision&& other) noexcept : _number(std::exchange(other._number, 0)) {}
  Revision& operator=(Revision&& other) noexcept {
    _number = std::exchange(other._number, 0);
    return *this;
  }
  ~Revision() = default;

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
