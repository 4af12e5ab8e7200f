// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tvk/text/LineBlocks.h"

namespace Tolvek {

/// During its life a signal that asks the program to end (SIGHUP, SIGINT, SIGTERM) only ends
/// reading, so that lines that were read are finished and none is cut. A second one ends the
/// program at once, and so does a reader of the output that takes nothing for two seconds.
/// There can be one at a time.
class StopBySignal {
 public:
  /// Borrows the blocks.
  explicit StopBySignal(LineBlocks& blocks);
  ~StopBySignal();
  StopBySignal(const StopBySignal&) = delete;
  StopBySignal& operator=(const StopBySignal&) = delete;

  /// To be called when some lines are written: the next ones have two seconds again.
  static void Extend();

  /// To be called when all lines are written: if there was a signal, it now does what it would have
  /// done. Else returns.
  static void Follow();
};

}  // namespace Tolvek
