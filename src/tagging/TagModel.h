// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/MeModel.h"

namespace Tolvek {

/// Features that a model knows: (feature id, value).
using TagFeatures = std::vector<std::pair<int, double>>;

/// The text of the feature of the tag before, by its name; `kBeginOfSentence` before the first
/// word.
inline std::string PreviousTagFeature(std::string_view tag) {
  return std::string("0/").append(tag);
}

/// A maximum-entropy model whose tags are parts of speech: what the scorers of both languages
/// share. Beside a word's own features it has one of the tag before: "0/" and that tag's name, or
/// "0/B_0" at the start of a sentence. A tag is its id in the model; -1 stands for none.
///
/// Nothing changes after loading: several threads may share a model.
class TagModel {
 public:
  /// 1, or 0 after a message on the standard error stream.
  int LoadModel(const std::string& path) { return _meModel.LoadModel(path); }

  /// The tag's id; -1, with a notice on the standard error stream, when the model has no such tag.
  int TagId(const std::string& name) const { return _meModel.GetTagId(name); }
  /// The tag's name; empty when there is no such id.
  std::string TagName(int tag) const { return _meModel.GetTag(tag); }
  int TagCount() const { return _meModel.GetTagSize(); }

  /// The id of the feature of the tag before, -1 being the beginning of a sentence; -1 if unknown.
  int PreviousTagFeatureId(int previous) const;
  const MeModel& Parameters() const { return _meModel; }

  /// Appends the feature, unless the model doesn't know it.
  void AddFeature(std::string_view text, double value, TagFeatures& features) const;

  /// log10 p(last of `tags` | features, first of `tags`): a history of tags, oldest first, -1
  /// before the sentence, the candidate last. The features leave the call as they came. Throws
  /// std::out_of_range for a candidate of -1.
  double Score(TagFeatures& features, const std::deque<int>& tags) const;

  /// Replaces `p` by p(tag | features, previous tag) of every tag: what `Score` is the log10 of.
  void Probabilities(TagFeatures& features, int previous, std::vector<double>& p) const;

 private:
  /// Calls `evaluate()` with the feature of the previous tag among the features.
  template <class Evaluate>
  auto WithPrevious(TagFeatures& features, int previous, const Evaluate& evaluate) const;

  MeModel _meModel;
};

}  // namespace Tolvek
