// SPDX-License-Identifier: Apache-2.0
#include "common/LineLoop.h"

#include <cstdint>
#include <ostream>

#include "common/Globals.h"

namespace Tolvek {

void ProcessLines(std::ifstream& in, const std::string& outPath, const LineLoop& loop,
                  const std::function<void(std::string& line, std::string& result)>& process) {
  std::ofstream out(outPath);
  std::ostream nowhere(nullptr);
  std::ostream& report = loop.report != nullptr ? *loop.report : nowhere;
  report << "Processing:" << std::endl;
  std::uint32_t count = 0;
  std::string line;
  std::string result;
  while (std::getline(in, line)) {
    ++count;
    if (count % loop.dotEvery == 0) {
      report << "." << std::flush;
      if (count % loop.countEvery == 0) report << "\t" << count << loop.unit << std::endl;
    }
    TrimLine(line);
    if (line.empty() && loop.dropBlankLines) continue;
    result.clear();
    if (!line.empty()) process(line, result);
    result += '\n';
    out << result << std::flush;
  }
  report << std::endl << count << " sentences in total." << std::endl;
}

}  // namespace Tolvek
