// SPDX-License-Identifier: Apache-2.0
#include "chinese/PosTagger.h"

#include <ctime>
#include <fstream>
#include <iostream>

#include "common/Fields.h"
#include "common/Globals.h"
#include "common/LineLoop.h"

namespace Tolvek {

void PosTagger::SplitLine(const std::string& line, std::vector<std::string>& words) {
  SplitFields(line, words);
}

bool PosTagger::CheckEqual(const std::deque<int>& a, const std::deque<int>& b) {
  return SameHistory(a, b, 0);
}

bool PosTagger::CheckMerge(const std::deque<int>& a, const std::deque<int>& b) {
  return SameHistory(a, b, 1);
}

void PosTagger::TagSentence(std::string& line, std::string& out) {
  TrimLine(line);
  _decoder.Tag(*_posScore, line, out);
}

void PosTagger::TagFile(const std::string& inPath, const std::string& outPath) {
  const std::clock_t start = std::clock();
  std::ifstream in(inPath);
  if (!in.is_open()) {
    std::cerr << "Open " << inPath << " error!" << std::endl;
    return;
  }
  ProcessLines(in, outPath, {},
               [this](std::string& line, std::string& result) { TagSentence(line, result); });
  std::cout << "It takes " << static_cast<double>(std::clock() - start) / 1000000 << " secs."
            << std::endl;
}

}  // namespace Tolvek
