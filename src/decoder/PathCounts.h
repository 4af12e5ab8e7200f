// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace Tolvek {

/// How many lines each way of decoding has served. All give the same bytes; they differ in time.
struct PathCounts {
  std::size_t certified = 0;  ///< by scores whose rounding cannot have changed any decision
  std::size_t exact = 0;      ///< by the documented sums over the same tables
  std::size_t plain = 0;      ///< by the plain operations: any model, any tie
};

}  // namespace Tolvek
