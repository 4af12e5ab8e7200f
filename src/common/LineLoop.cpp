// SPDX-License-Identifier: Apache-2.0
#include "common/LineLoop.h"

#include <cstdint>
#include <ostream>

#include "common/Globals.h"

namespace Tolvek {

void ProcessLines(std::ifstream& in, const std::string& outPath, const Progress& progress,
                  const std::function<void(std::string& line, std::string& result)>& process) {
  std::ofstream out(outPath);
  std::ostream& report = progress.stream;
  report << "Processing:" << std::endl;
  std::uint32_t count = 0;
  std::string line;
  std::string result;
  while (std::getline(in, line)) {
    ++count;
    if (count % progress.dotEvery == 0) {
      report << "." << std::flush;
      if (count % progress.countEvery == 0) {
        report << "\t" << count << progress.unit << std::endl;
      }
    }
    TrimLine(line);
    result.clear();
    if (!line.empty()) process(line, result);
    result += '\n';
    out << result << std::flush;
  }
  report << std::endl << count << " sentences in total." << std::endl;
}

}  // namespace Tolvek
