// SPDX-License-Identifier: Apache-2.0
#include "tagging/TagModel.h"

#include "model/ContextTemplate.h"

namespace Tolvek {

template <class Evaluate>
auto TagModel::WithPrevious(TagFeatures& features, int previous, const Evaluate& evaluate) const {
  const std::size_t size = features.size();
  if (const int id = PreviousTagFeatureId(previous); id != -1) features.emplace_back(id, 1.0);
  const auto result = evaluate();
  features.resize(size);
  return result;
}

int TagModel::PreviousTagFeatureId(int previous) const {
  return _meModel.GetFeatureId(previous == -1 ? PreviousTagFeature(kBeginOfSentence)
                                              : PreviousTagFeature(TagName(previous)));
}

void TagModel::AddFeature(std::string_view text, double value, TagFeatures& features) const {
  const int id = _meModel.GetFeatureId(text);
  if (id != -1) features.emplace_back(id, value);
}

double TagModel::Score(TagFeatures& features, const std::deque<int>& tags) const {
  return WithPrevious(features, tags.at(0), [&] { return _meModel.eval(features, tags.back()); });
}

void TagModel::Probabilities(TagFeatures& features, int previous, std::vector<double>& p) const {
  WithPrevious(features, previous, [&] {
    _meModel.Probabilities(features, p);
    return 0;
  });
}

}  // namespace Tolvek
