// SPDX-License-Identifier: Apache-2.0
#include "chinese/LexSegPos.h"

#include <iostream>

#include "common/Globals.h"

namespace Tolvek {

namespace {

constexpr double kLanguageModelWeight = 0.3;
constexpr int kOrder = 2;

}  // namespace

LexSegPos::LexSegPos()
    : _charType(std::make_unique<CharType>()),
      _segScore(std::make_unique<SegScore>(_charType.get())),
      _segmentor(std::make_unique<Segmentor>(_segScore.get(), _charType.get(), kLanguageModelWeight,
                                             kOrder)) {}

bool LexSegPos::Initialize(bool preparePos) {
  std::cerr << "Initializing ......" << std::endl;
  if (!_charType->Initialize(true)) return false;
  if (!_segScore->Initialize(g_datapath + "binarySegLM", g_datapath + "binarySegModel")) {
    return false;
  }
  _segmentor->Initialize();
  if (preparePos) {
    std::cerr << "This version does not tag parts of speech yet." << std::endl;
    return false;
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
  if (pos) return ReportNoPos();
  _segmentor->SegFile(inPath, outPath);
  return true;
}

bool LexSegPos::SegPosSentence(std::string& in, std::string& out, bool pos) {
  if (pos) return ReportNoPos();
  TrimLine(in);
  out.clear();
  if (!in.empty()) _segmentor->SegSentence(in, out);
  return true;
}

bool LexSegPos::ReportNoPos() {
  const std::string rule(36, '#');
  std::cerr << rule
            << std::endl
            // No line end between the message and the closing rule: kept so.
            << "The PosTagger has not been initialized." << rule << std::endl;
  return false;
}

}  // namespace Tolvek
