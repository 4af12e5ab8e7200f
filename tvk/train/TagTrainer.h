// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/FlatMap.h"
#include "model/ContextTemplate.h"
#include "tagging/TagModel.h"
#include "tvk/text/StepLog.h"
#include "tvk/train/Corpus.h"
#include "tvk/train/MaxEntTrainer.h"
#include "tvk/train/StepStore.h"

namespace Tolvek {

/// The tags of a tagger, numbered in the order in which they were first met.
class TagSet {
 public:
  /// The tag's number; a new tag gets the next one.
  int Add(const std::string& name);
  /// The number of a tag that is there.
  int Find(std::string_view name) const { return _ids.find(name)->second; }
  const std::vector<std::string>& Names() const { return _names; }
  int Size() const { return static_cast<int>(_names.size()); }

 private:
  TextTable _ids;
  std::vector<std::string> _names;
};

/// A sentence to learn tags from, in the bytes that the tagger sees.
struct TaggedSentence {
  std::vector<std::string> words;
  std::vector<int> tags;  ///< [words] -1: the word is context only
};

/// The sentences of a tagged corpus, as they are.
std::vector<TaggedSentence> MakeTagged(const Corpus& corpus, TagSet& tags);

/// Calls `visit` with the text and the value of each feature of a word. The text begins with the
/// number of its template and a slash.
using FeatureVisitor = std::function<void(std::string_view text, double value)>;
using SentenceFeatures = std::function<void(const std::vector<std::string>& words,
                                            std::size_t position, const FeatureVisitor& visit)>;

/// The features of a scorer of the core, which look at a word and its two neighbours.
template <class ForEachFeature>
SentenceFeatures NeighbourFeatures(ForEachFeature forEachFeature) {
  return [forEachFeature](const std::vector<std::string>& words, std::size_t position,
                          const FeatureVisitor& visit) {
    forEachFeature(position == 0 ? kBeginOfSentence : words[position - 1], words[position],
                   position + 1 == words.size() ? kEndOfSentence : words[position + 1], visit);
  };
}

/// What the recipe says of the features of one template.
struct TemplateOptions {
  double cutOff = 1;    ///< features seen fewer times are left out
  double l2Factor = 1;  ///< multiplies the L2 penalty
};

struct TagTrainerOptions {
  FitOptions fit{.l2 = 0.5, .scaled = true, .iterations = 100, .tolerance = 1e-4};
  std::vector<TemplateOptions> templates;  ///< [template number]; 0 is that of the tag before
};

/// A fitted model: weights of features for tags.
struct TagModelFit {
  TextTable features;
  Parameters parameters;
  std::vector<double> weights;
};

/// Fits the maximum-entropy model of a tagger, word by word with the right tag before it (McCallum,
/// Freitag and Pereira, 2000).
class TagTrainer {
 public:
  /// Borrows the tags, the log and the kept steps, of which the fit is one.
  TagTrainer(const TagSet& tags, SentenceFeatures features, TagTrainerOptions options, StepLog& log,
             StepStore& steps);

  /// Text to learn from, which must outlive the trainer. Its log-likelihood counts `weight` times,
  /// and each of its features as seen `seen` times.
  void Add(const std::vector<TaggedSentence>& sentences, double weight = 1, double seen = 1);

  /// Throws `Failure` when there is nothing to learn from.
  TagModelFit Train(const std::string& name);

 private:
  struct Text {
    const std::vector<TaggedSentence>* sentences;
    double weight;
    double seen;
  };

  template <class Visit>
  void ForEachRow(const Visit& visit) const;
  void ForEachFeature(const TaggedSentence& sentence, std::size_t position,
                      const FeatureVisitor& visit) const;
  TemplateOptions OptionsOf(std::string_view feature) const;

  const TagSet& _tags;
  SentenceFeatures _features;
  TagTrainerOptions _options;
  StepLog& _log;
  StepStore& _steps;
  std::vector<Text> _texts;
};

}  // namespace Tolvek
