// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace Tolvek {

/// Are the programs built with a sanitizer?
inline constexpr bool kIsSanitized = IS_SANITIZED;

/// How a program ended and what it wrote.
struct Ending {
  int status = 0;        ///< the exit status; -1 when a signal ended it
  int signal = 0;        ///< 0: none
  double seconds = 0;    ///< processor time
  double megabytes = 0;  ///< memory, resident, at its most; in MiB
  std::string out;
  std::string err;
};

/// Runs a program, given with its arguments, in the working directory, within limits: 1 GiB of
/// memory (of address space; with AddressSanitizer, which takes terabytes of that, resident), 10 s
/// of processor time, 30 s by the clock, and no core dump. A program that exceeds them ends with a
/// failed allocation, SIGXCPU or SIGALRM. Writes the files "stdout" and "stderr".
Ending RunLimited(std::vector<std::string> arguments);

}  // namespace Tolvek
