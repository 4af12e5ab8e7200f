// SPDX-License-Identifier: Apache-2.0
#include "english/LexEngPos.h"

#include <filesystem>
#include <iostream>

#include "common/Globals.h"

namespace Tolvek {

namespace {

constexpr int kOrder = 2;

}  // namespace

LexEngPos::LexEngPos()
    : _engToken(std::make_unique<EngToken>()),
      _engPosScore(std::make_unique<EngPosScore>()),
      _engPosTagger(std::make_unique<EngPosTagger>(kOrder)) {}

bool LexEngPos::Initialize(bool preparePos) {
  return Load(g_datapath, preparePos);
}

bool LexEngPos::Load(const std::string& folder, bool preparePos) {
  const std::filesystem::path resources(folder);
  if (!_engToken->Load(resources / "abbtitle")) {
    std::cerr << "Tokenizer Initialize Failed!" << std::endl;
    return false;
  }
  if (!preparePos) return true;
  if (!_engPosScore->Initialize(resources / "binaryEngPosModel", resources / "EngDict")) {
    return false;
  }
  _engPosTagger->Initialize(_engToken.get(), _engPosScore.get());
  _posReady = true;
  return true;
}

void LexEngPos::EngTokenSentence(std::string& in, std::string& out) {
  _engToken->TokenizeSentence(in, out);
}

bool LexEngPos::EngTokenFile(const std::string& inPath, const std::string& outPath) {
  return _engToken->TokenizeFile(inPath, outPath);
}

void LexEngPos::EngTagSentence(std::string& in, std::string& out, bool tokenized) {
  if (!CheckPosReady()) return;
  TrimLine(in);
  _engPosTagger->TagSentence(in, out, tokenized);
}

bool LexEngPos::EngTagFile(const std::string& inPath, const std::string& outPath, bool tokenized) {
  return CheckPosReady() && _engPosTagger->TagFile(inPath, outPath, tokenized) == 1;
}

bool LexEngPos::CheckPosReady() const {
  if (!_posReady) ReportNoPosTagger();
  return _posReady;
}

}  // namespace Tolvek
