// SPDX-License-Identifier: Apache-2.0
#include "english/EngPosTagger.h"

#include <fstream>
#include <iostream>

#include "common/Fields.h"
#include "common/LineLoop.h"

namespace Tolvek {

int EngPosTagger::Initialize(const EngToken* tokenizer, const EngPosScore* scorer) {
  _engToken = tokenizer;
  _engPosScore = scorer;
  return 1;
}

void EngPosTagger::SplitLine(const std::string& line, std::vector<std::string>& words) {
  SplitFields(line, words);
}

bool EngPosTagger::CheckEqual(const std::deque<int>& a, const std::deque<int>& b) {
  return SameHistory(a, b, 0);
}

bool EngPosTagger::CheckMerge(const std::deque<int>& a, const std::deque<int>& b) {
  return SameHistory(a, b, 1);
}

void EngPosTagger::TagSentence(std::string& line, std::string& out, bool tokenized) {
  if (!tokenized) _engToken->TokenizeSentence(line, _tokens);
  _decoder.Tag(*_engPosScore, tokenized ? line : _tokens, out);
}

int EngPosTagger::TagFile(const std::string& inPath, const std::string& outPath, bool tokenized) {
  std::ifstream in(inPath);
  if (!in.is_open()) {
    std::cerr << "Open " << inPath << " error!" << std::endl;
    return 0;
  }
  ProcessLines(
      in, outPath, {.report = &std::cout, .dropBlankLines = true},
      [&](std::string& line, std::string& result) { TagSentence(line, result, tokenized); });
  return 1;
}

}  // namespace Tolvek
