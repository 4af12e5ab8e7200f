// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/SegLattice.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "tvk/text/Parallel.h"

namespace Tolvek {

namespace {

bool Has(TagSet tags, std::size_t tag) {
  return (tags >> tag & 1U) != 0;
}

}  // namespace

CharIds SegAlphabet::Read(const std::string& gbk) {
  std::vector<std::string> characters;
  SplitCharacters(gbk, characters);
  CharIds ids;
  ids.reserve(characters.size());
  for (const std::string& character : characters) ids.push_back(Insert(character));
  return ids;
}

int SegAlphabet::Insert(const std::string& text) {
  const auto [entry, inserted] = _ids.insert({text, static_cast<int>(_characters.size())});
  if (!inserted) return entry->second;
  const SegRole role = GetSegRole(_charType, text);
  int key = -1;
  if (std::isspace(static_cast<unsigned char>(text.front())) == 0) {
    const int next = static_cast<int>(_keys.size());
    key = _keys.insert({LexicalKey(text, role), next}).first->second;
  }
  _characters.push_back({text, role, key});
  return entry->second;
}

TagSet SegAlphabet::AllowedTags(const CharIds& sentence, std::size_t position) const {
  const auto roleAt = [&](std::size_t i) { return &At(sentence[i]).role; };
  TagSet allowed = 0;
  for (const SegTag tag :
       Tolvek::AllowedTags(position == 0 ? nullptr : roleAt(position - 1), *roleAt(position),
                           position + 1 == sentence.size() ? nullptr : roleAt(position + 1))) {
    allowed |= Bit(tag);
  }
  return allowed;
}

std::vector<std::string> SegAlphabet::TokenNames() const {
  std::vector<std::string> names{"<unk>", "<s>", "</s>"};
  for (const auto& [key, number] : _keys) {
    for (const SegTag tag : {kTagB, kTagM, kTagE, kTagS}) names.push_back(SegToken(key, tag));
  }
  return names;
}

Transitions MakeTransitions(const SegAlphabet& alphabet, const CharIds& sentence,
                            const BigramModel& model, double factor) {
  const auto score = [&](int previous, int token) {
    const double penalty = model.Knows(token) && token != kUnknownToken ? 0 : kUnknownPenalty;
    return factor * (model.LogProb(previous, token) - penalty);
  };
  Transitions transitions;
  transitions.weights.assign(sentence.size() * kSegTags * 2, 0.0);
  for (std::size_t i = 0; i < sentence.size(); ++i) {
    const TagSet allowed = alphabet.AllowedTags(sentence, i);
    for (std::size_t tag = 0; tag < kSegTags; ++tag) {
      if (!Has(allowed, tag)) continue;
      const int token = alphabet.Token(sentence[i], static_cast<SegTag>(tag));
      for (std::size_t k = 0; k < 2; ++k) {
        const int previous = i == 0 ? static_cast<int>(kBeginToken)
                                    : alphabet.Token(sentence[i - 1], kPredecessors[tag][k]);
        transitions.At(i, tag, k) = score(previous, token);
      }
    }
  }
  for (const SegTag tag : {kTagE, kTagS}) {
    transitions.ends[tag] = score(alphabet.Token(sentence.back(), tag), kEndToken);
  }
  return transitions;
}

std::vector<SegTag> BestPath(std::span<const TagSet> allowed, std::span<const double> scores,
                             const Transitions& transitions) {
  static constexpr double kNever = -std::numeric_limits<double>::infinity();
  const std::size_t length = allowed.size();
  std::vector<std::array<SegTag, kSegTags>> back(length);
  std::array<double, kSegTags> best{};
  for (std::size_t i = 0; i < length; ++i) {
    std::array<double, kSegTags> next;
    next.fill(kNever);
    for (std::size_t tag = 0; tag < kSegTags; ++tag) {
      if (!Has(allowed[i], tag)) continue;
      if (i == 0) {
        next[tag] = scores[tag] + transitions.At(0, tag, 0);
        continue;
      }
      for (std::size_t k = 0; k < 2; ++k) {
        const SegTag previous = kPredecessors[tag][k];
        const double score =
            best[previous] + scores[i * kSegTags + tag] + transitions.At(i, tag, k);
        if (score > next[tag]) {
          next[tag] = score;
          back[i][tag] = previous;
        }
      }
    }
    best = next;
  }
  if (length == 0) return {};
  const double endE = best[kTagE] + transitions.ends[kTagE];
  const double endS = best[kTagS] + transitions.ends[kTagS];
  if (endE == kNever && endS == kNever) return {};
  std::vector<SegTag> path(length);
  path.back() = endS > endE ? kTagS : kTagE;
  for (std::size_t i = length - 1; i > 0; --i) path[i - 1] = back[i][path[i]];
  return path;
}

double SumPaths(std::span<const TagSet> allowed, std::span<const double> scores,
                const Transitions& exponentials, std::span<double> marginals,
                std::vector<double>& scratch) {
  const std::size_t length = allowed.size();
  // Forward sums, each position scaled to a sum of one, are kept in `marginals`; the exponentials
  // of the scores and the scales in `scratch`.
  scratch.resize(length * (kSegTags + 1));
  double* const local = scratch.data();
  double* const scale = scratch.data() + length * kSegTags;
  double logSum = 0;
  for (std::size_t i = 0; i < length; ++i) {
    double highest = -std::numeric_limits<double>::infinity();
    for (std::size_t tag = 0; tag < kSegTags; ++tag) {
      if (Has(allowed[i], tag)) highest = std::max(highest, scores[i * kSegTags + tag]);
    }
    double sum = 0;
    for (std::size_t tag = 0; tag < kSegTags; ++tag) {
      double& forward = marginals[i * kSegTags + tag];
      double& here = local[i * kSegTags + tag];
      forward = here = 0;
      if (!Has(allowed[i], tag)) continue;
      here = std::exp(scores[i * kSegTags + tag] - highest);
      if (i == 0) {
        forward = here * exponentials.At(0, tag, 0);
      } else {
        const double* const before = &marginals[(i - 1) * kSegTags];
        forward = here * (before[kPredecessors[tag][0]] * exponentials.At(i, tag, 0) +
                          before[kPredecessors[tag][1]] * exponentials.At(i, tag, 1));
      }
      sum += forward;
    }
    scale[i] = 1 / sum;
    for (std::size_t tag = 0; tag < kSegTags; ++tag) marginals[i * kSegTags + tag] *= scale[i];
    logSum += highest + std::log(sum);
  }

  std::array<double, kSegTags> backward{};
  double sum = 0;
  for (const SegTag tag : {kTagE, kTagS}) {
    sum += marginals[(length - 1) * kSegTags + tag] * exponentials.ends[tag];
  }
  for (const SegTag tag : {kTagE, kTagS}) backward[tag] = exponentials.ends[tag] / sum;
  logSum += std::log(sum);
  for (std::size_t i = length; i-- > 0;) {
    for (std::size_t tag = 0; tag < kSegTags; ++tag) {
      marginals[i * kSegTags + tag] *= backward[tag];
    }
    std::array<double, kSegTags> before{};
    for (std::size_t tag = 0; i > 0 && tag < kSegTags; ++tag) {
      const double here = local[i * kSegTags + tag] * backward[tag] * scale[i];
      for (std::size_t k = 0; k < 2; ++k) {
        before[kPredecessors[tag][k]] += here * exponentials.At(i, tag, k);
      }
    }
    backward = before;
  }
  return logSum;
}

PathSentence MakePathSentence(std::vector<TagSet> allowed, std::vector<SegTag> gold,
                              Transitions transitions) {
  double sum = transitions.ends[gold.back()];
  for (std::size_t i = 0; i < gold.size(); ++i) {
    const bool second = i > 0 && kPredecessors[gold[i]][1] == gold[i - 1];
    sum += transitions.At(i, gold[i], second ? 1 : 0);
  }
  for (double& weight : transitions.weights) weight = std::exp(weight);
  for (double& weight : transitions.ends) weight = std::exp(weight);
  return {std::move(allowed), std::move(gold), std::move(transitions), sum};
}

Objective PathObjective(const std::vector<PathSentence>& sentences, int threads) {
  std::vector<std::size_t> starts{0};
  for (const PathSentence& sentence : sentences) {
    starts.push_back(starts.back() + sentence.gold.size());
  }
  return [&sentences, starts = std::move(starts), threads](std::span<const double> scores,
                                                           std::span<double> residuals) {
    std::vector<double> logProbs(sentences.size());
    ParallelFor(threads, sentences.size(), [&](std::size_t begin, std::size_t end) {
      std::vector<double> scratch;
      for (std::size_t s = begin; s < end; ++s) {
        const PathSentence& sentence = sentences[s];
        const std::size_t length = sentence.gold.size();
        const auto score = scores.subspan(starts[s] * kSegTags, length * kSegTags);
        const auto residual = residuals.subspan(starts[s] * kSegTags, length * kSegTags);
        const double logSum =
            SumPaths(sentence.allowed, score, sentence.exponentials, residual, scratch);
        double gold = sentence.goldTransitions;
        for (double& r : residual) r = -r;
        for (std::size_t i = 0; i < length; ++i) {
          gold += score[i * kSegTags + sentence.gold[i]];
          residual[i * kSegTags + sentence.gold[i]] += 1;
        }
        logProbs[s] = gold - logSum;
      }
    });
    return std::accumulate(logProbs.begin(), logProbs.end(), 0.0);
  };
}

}  // namespace Tolvek
