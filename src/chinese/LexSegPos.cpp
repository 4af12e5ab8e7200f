// SPDX-License-Identifier: Apache-2.0
#include "chinese/LexSegPos.h"

#include <filesystem>
#include <fstream>
#include <iostream>

#include "common/Globals.h"
#include "common/LineLoop.h"

namespace Tolvek {

LexSegPos::LexSegPos()
    : _charType(std::make_unique<CharType>()),
      _segScore(std::make_unique<SegScore>(_charType.get())),
      _posScore(std::make_unique<PosScore>(_charType.get())),
      _segmentor(std::make_unique<Segmentor>(_segScore.get(), _charType.get(), kLanguageModelWeight,
                                             kOrder)),
      _posTagger(std::make_unique<PosTagger>(_posScore.get(), kOrder)) {}

bool LexSegPos::Initialize(bool preparePos) {
  return Load(g_datapath, preparePos);
}

bool LexSegPos::Load(const std::string& folder, bool preparePos) {
  const std::filesystem::path resources(folder);
  std::cerr << "Initializing ......" << std::endl;
  if (!_charType->LoadBinary(resources / "binarySource")) return false;
  _posReady = preparePos;  // before the models are there, and whether or not they load: kept so
  if (!_segScore->Initialize(resources / "binarySegLM", resources / "binarySegModel")) return false;
  _segmentor->Initialize();
  if (preparePos) {
    if (!_posScore->Initialize(resources / "binaryPosModel", resources / "Dict")) return false;
    _posTagger->Initialize();
  }
  std::cerr << "Initialization is finished." << std::endl;
  return true;
}

void LexSegPos::SegmentSentence(std::string& in, std::string& out) {
  _segmentor->SegSentence(in, out);
}

void LexSegPos::SegmentFile(const std::string& inPath, const std::string& outPath) {
  _segmentor->SegFile(inPath, outPath);
}

bool LexSegPos::SegPosFile(const std::string& inPath, const std::string& outPath, bool pos) {
  if (!pos) {
    _segmentor->SegFile(inPath, outPath);
    return true;
  }
  if (!CheckPosReady()) return false;
  TagFile(inPath, outPath);
  return true;
}

bool LexSegPos::SegPosSentence(std::string& in, std::string& out, bool pos) {
  if (pos && !CheckPosReady()) return false;
  TrimLine(in);
  out.clear();
  if (in.empty()) return true;
  if (pos) {
    TagSentence(in, out);
  } else {
    _segmentor->SegSentence(in, out);
  }
  return true;
}

void LexSegPos::TagSentence(std::string& in, std::string& out) {
  std::string words;
  _segmentor->SegSentence(in, words);
  _posTagger->TagSentence(words, out);
}

template <class Process>
bool LexSegPos::ProcessFile(const std::string& inPath, const std::string& outPath,
                            std::ostream& report, const Process& process) {
  std::ifstream in(inPath);
  if (!in.is_open()) {
    std::cerr << kRule << std::endl
              << "Open " << inPath << " error." << std::endl
              << kRule << std::endl;
    return false;
  }
  ProcessLines(in, outPath, {.report = &report, .unit = " sentences"}, process);
  return true;
}

void LexSegPos::TagFile(const std::string& inPath, const std::string& outPath) {
  ProcessFile(inPath, outPath, std::cout,
              [this](std::string& line, std::string& result) { TagSentence(line, result); });
}

bool LexSegPos::PosFile(const std::string& inPath, const std::string& outPath) {
  return ProcessFile(inPath, outPath, std::cerr, [this](std::string& line, std::string& result) {
    _posTagger->TagSentence(line, result);
  });
}

bool LexSegPos::CheckPosReady() const {
  if (!_posReady) ReportNoPosTagger();
  return _posReady;
}

}  // namespace Tolvek
