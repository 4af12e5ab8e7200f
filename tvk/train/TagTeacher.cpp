// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/TagTeacher.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

namespace Tolvek {

namespace {

using Tags = std::vector<std::size_t>;

/// p(tag | tag before) of every tag, from scores of which the normaliser is not taken off.
void Normalise(std::span<const double> scores, std::span<const double> transitions,
               std::vector<double>& p) {
  p.resize(scores.size());
  for (std::size_t t = 0; t < p.size(); ++t) p[t] = scores[t] + transitions[t];
  const double highest = *std::max_element(p.begin(), p.end());
  double z = 0;
  for (double& score : p) z += score = std::exp(score - highest);
  for (double& score : p) score /= z;
}

}  // namespace

TagTeacher::TagTeacher(const TagSet& tags, const SentenceFeatures& features,
                       const TagModelFit& model, const TagDictionaryBuilder& dictionary)
    : _tags(tags), _features(features), _model(model), _dictionary(dictionary) {
  std::vector<std::string> before = tags.Names();
  before.emplace_back(kBeginOfSentence);
  for (const std::string& tag : before) {
    _transitions.emplace_back(tags.Names().size());
    AddScores(PreviousTagFeature(tag), 1.0, _transitions.back());
  }
}

void TagTeacher::AddScores(std::string_view feature, double value, std::span<double> scores) const {
  const auto found = _model.features.find(feature);
  if (found == _model.features.end()) return;
  const auto id = static_cast<std::size_t>(found->second);
  for (std::size_t p = _model.parameters.starts[id]; p < _model.parameters.starts[id + 1]; ++p) {
    scores[static_cast<std::size_t>(_model.parameters.tags[p])] += _model.weights[p] * value;
  }
}

Tags TagTeacher::Possible(const std::string& word) const {
  Tags possible;
  if (const auto* listed = _dictionary.Find(word)) {
    for (const auto& [tag, count] : *listed) {
      possible.push_back(static_cast<std::size_t>(_tags.Find(tag)));
    }
  } else {
    possible.resize(_tags.Names().size());
    std::iota(possible.begin(), possible.end(), std::size_t{0});
  }
  return possible;
}

void TagTeacher::Tag(TaggedSentence& sentence) const {
  const std::size_t length = sentence.words.size();
  sentence.tags.assign(length, -1);
  if (length == 0) return;
  const std::size_t start = _tags.Names().size();
  std::vector<std::vector<double>> scores(length, std::vector<double>(start));
  std::vector<Tags> possible(length);
  for (std::size_t i = 0; i < length; ++i) {
    _features(sentence.words, i, [&](std::string_view feature, double value) {
      AddScores(feature, value, scores[i]);
    });
    possible[i] = Possible(sentence.words[i]);
  }

  // The best path: from each tag its log-probability and the tag before, as indices of `possible`.
  std::vector<std::vector<double>> best(length);
  std::vector<std::vector<std::size_t>> from(length);
  std::vector<double> p;
  for (std::size_t i = 0; i < length; ++i) {
    best[i].assign(possible[i].size(), -std::numeric_limits<double>::infinity());
    from[i].assign(possible[i].size(), 0);
    const std::size_t states = i == 0 ? 1 : possible[i - 1].size();
    for (std::size_t a = 0; a < states; ++a) {
      Normalise(scores[i], _transitions[i == 0 ? start : possible[i - 1][a]], p);
      const double before = i == 0 ? 0 : best[i - 1][a];
      for (std::size_t b = 0; b < possible[i].size(); ++b) {
        const double score = before + std::log(p[possible[i][b]]);
        if (score > best[i][b]) {
          best[i][b] = score;
          from[i][b] = a;
        }
      }
    }
  }
  auto state = static_cast<std::size_t>(std::max_element(best.back().begin(), best.back().end()) -
                                        best.back().begin());
  for (std::size_t i = length; i-- > 0; state = from[i][state]) {
    sentence.tags[i] = static_cast<int>(possible[i][state]);
    if (i == 0) break;
  }
}

}  // namespace Tolvek
