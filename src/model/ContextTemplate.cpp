// SPDX-License-Identifier: Apache-2.0
#include "model/ContextTemplate.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "common/FlatMap.h"
#include "model/MeModel.h"

namespace Tolvek {

double LargestSum(const MeModel& model, std::span<const ContextTemplate> templates) {
  if (!model.HasSoundParameters()) return std::numeric_limits<double>::infinity();
  FlatMap<std::string, double> largest;  // by prefix
  std::vector<int> lastFeature(static_cast<std::size_t>(std::max(model.GetTagSize(), 0)), -1);
  bool isUsual = true;
  for (const auto& [text, id] : model.FeatureTexts()) {
    const std::string_view prefix = std::string_view(text).substr(0, text.find('/') + 1);
    double value = 1;
    for (const ContextTemplate& each : templates) {
      if (each.prefix == prefix) value = each.value;
    }
    auto known = largest.find(prefix);
    if (known == largest.end()) known = largest.insert({std::string(prefix), 0.0}).first;
    double& most = known->second;
    model.ForEachParameter(id, [&, feature = id](int tag, double lambda) {
      int& last = lastFeature[static_cast<std::size_t>(tag)];
      isUsual = isUsual && last != feature && std::isfinite(lambda);
      last = feature;
      most = std::max(most, std::abs(lambda) * value);
    });
  }
  double sum = 0;
  for (const auto& [prefix, weight] : largest) sum += weight;
  return isUsual ? sum : std::numeric_limits<double>::infinity();
}

}  // namespace Tolvek
