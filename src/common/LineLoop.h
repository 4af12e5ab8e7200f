// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <functional>
#include <iosfwd>
#include <string>

namespace Tolvek {

/// How a file loop goes about its lines. Its progress is "Processing:", a dot every `dotEvery`
/// lines, the count every `countEvery` lines, and the count at the end.
struct LineLoop {
  std::ostream* report = nullptr;  ///< where progress goes; null: nowhere
  unsigned dotEvery = 100;
  unsigned countEvery = 5000;
  const char* unit = " sentence";  ///< follows the count every `countEvery` lines
  bool dropBlankLines = false;     ///< they count, but nothing is written for them
};

/// The file loop of every task. Opens `outPath` for writing (a failure is not reported; the lines
/// are lost, but the loop runs), then trims each line of `in` and gives the ones with content to
/// `process`, which fills the result. Each result, empty for an empty line, is one line of the
/// output and is there before the next line is begun.
void ProcessLines(std::ifstream& in, const std::string& outPath, const LineLoop& loop,
                  const std::function<void(std::string& line, std::string& result)>& process);

}  // namespace Tolvek
