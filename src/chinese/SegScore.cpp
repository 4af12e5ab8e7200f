// SPDX-License-Identifier: Apache-2.0
#include "chinese/SegScore.h"

#include <cmath>
#include <iostream>

namespace Tolvek {

bool SegScore::Initialize(const std::string& lmPath, const std::string& mePath) {
  std::cerr << "Segmentor Initializing ... " << std::flush;
  _tables.reset();  // also when loading fails: the models change
  if (_languageModel.LoadFile(lmPath.c_str()) == 0) return false;
  _unkIndex = _vocab.UnkIndex();
  if (_meModel.LoadModel(mePath) == 0) return false;
  _tables = SegTables::Make(*_charType, _meModel, _vocab, _languageModel);
  std::cerr << "done" << std::endl;
  return true;
}

void SegScore::GetMeScore(const std::deque<std::string>& context,
                          std::vector<std::pair<std::string, double>>& scores) const {
  std::vector<std::pair<std::string, double>> features;
  ForEachFeature(*_charType, context.at(0), context.at(1), context.at(2),
                 [&](std::string_view text, double value) { features.emplace_back(text, value); });
  _meModel.eval_all(features, scores, false);
}

void SegScore::GetMeScore(std::string_view previous, std::string_view current,
                          std::string_view next, std::vector<double>& scores) const {
  std::vector<std::pair<int, double>> features;
  features.reserve(10);
  ForEachFeature(*_charType, previous, current, next, [&](std::string_view text, double value) {
    features.emplace_back(_meModel.GetFeatureId(text), value);
  });
  _meModel.Probabilities(features, scores);
  for (double& score : scores) score = std::log10(score);
}

double SegScore::GetScore(const std::deque<int>& history) const {
  return GetScore(std::vector<int>(history.begin(), history.end()));
}

double SegScore::GetScore(std::span<const int> history) const {
  const double score = _languageModel.LogProb(history);
  return history.back() == _unkIndex ? score - kUnknownPenalty : score;
}

}  // namespace Tolvek
