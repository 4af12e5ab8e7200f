// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/WordClusters.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <string>
#include <utility>

namespace Tolvek {

namespace {

/// Words and clusters that are none of the text's: the edge of a sentence, and all rare words.
enum Reserved { kEdge, kRare, kFirstWord };

struct Neighbour {
  int word;
  int count;
};

/// The bigrams of a text: each word's followers and predecessors, and how often it begins one.
struct Bigrams {
  std::vector<std::vector<Neighbour>> followers;
  std::vector<std::vector<Neighbour>> predecessors;
  std::vector<int> counts;

  Bigrams(const std::vector<std::vector<int>>& sentences, std::size_t words)
      : followers(words), predecessors(words), counts(words) {
    FlatMap<std::uint64_t, int> pairs;
    for (const std::vector<int>& sentence : sentences) {
      int previous = kEdge;
      for (std::size_t i = 0; i <= sentence.size(); ++i) {
        const int word = i < sentence.size() ? sentence[i] : static_cast<int>(kEdge);
        const auto key = (static_cast<std::uint64_t>(previous) << 32) |
                         static_cast<std::uint64_t>(static_cast<std::uint32_t>(word));
        ++pairs.insert({key, 0}).first->second;
        previous = word;
      }
    }
    for (const auto& [key, count] : pairs) {
      const int first = static_cast<int>(key >> 32);
      const int second = static_cast<int>(key & 0xFFFFFFFFU);
      followers[static_cast<std::size_t>(first)].push_back({second, count});
      predecessors[static_cast<std::size_t>(second)].push_back({first, count});
      counts[static_cast<std::size_t>(first)] += count;
    }
  }
};

/// One clustering while words move.
class Exchange {
 public:
  Exchange(const Bigrams& bigrams, int clusters)
      : _bigrams(bigrams),
        _size(static_cast<std::size_t>(clusters)),
        _clusterOf(bigrams.counts.size()),
        _pairs(_size * _size),
        _counts(_size),
        _after(_size),
        _before(_size) {
    const int all = std::accumulate(bigrams.counts.begin(), bigrams.counts.end(), 0);
    for (int n = 0; n <= all; ++n) _entropies.push_back(n > 0 ? n * std::log(n) : 0.0);
    for (std::size_t word = 0; word < _clusterOf.size(); ++word) {
      // The most frequent words begin with a cluster of their own, the others are dealt out.
      _clusterOf[word] =
          word < _size ? word : kFirstWord + (word - kFirstWord) % (_size - kFirstWord);
    }
    for (std::size_t word = 0; word < _clusterOf.size(); ++word) {
      _counts[_clusterOf[word]] += bigrams.counts[word];
      for (const Neighbour& next : bigrams.followers[word]) {
        _pairs[_clusterOf[word] * _size + ClusterOf(next)] += next.count;
      }
    }
  }

  /// Moves every word once; how many changed their cluster.
  std::size_t Round() {
    std::size_t moved = 0;
    for (std::size_t word = kFirstWord; word < _clusterOf.size(); ++word) moved += Move(word);
    return moved;
  }

  const std::vector<std::size_t>& Result() const { return _clusterOf; }

 private:
  std::size_t ClusterOf(const Neighbour& neighbour) const {
    return _clusterOf[static_cast<std::size_t>(neighbour.word)];
  }

  /// n log n: what the log-likelihood is made of.
  double Entropy(double n) const { return _entropies[static_cast<std::size_t>(n)]; }

  /// The sums of a word's neighbours by cluster, without the word itself.
  void Gather(std::size_t word, const std::vector<Neighbour>& neighbours, std::vector<double>& sums,
              std::vector<std::size_t>& clusters, double& self) const {
    for (const std::size_t cluster : clusters) sums[cluster] = 0;
    clusters.clear();
    for (const Neighbour& neighbour : neighbours) {
      if (static_cast<std::size_t>(neighbour.word) == word) {
        self = neighbour.count;
        continue;
      }
      const std::size_t cluster = ClusterOf(neighbour);
      if (sums[cluster] == 0) clusters.push_back(cluster);
      sums[cluster] += neighbour.count;
    }
  }

  /// Adds the word's bigrams to a cluster, or takes them away (`sign` -1).
  void Add(std::size_t word, std::size_t cluster, double self, double sign) {
    for (const std::size_t next : _clustersAfter) {
      _pairs[cluster * _size + next] += sign * _after[next];
    }
    for (const std::size_t previous : _clustersBefore) {
      _pairs[previous * _size + cluster] += sign * _before[previous];
    }
    _pairs[cluster * _size + cluster] += sign * self;
    _counts[cluster] += sign * _bigrams.counts[word];
  }

  /// What the log-likelihood gains when the word, taken out before, joins a cluster.
  double Gain(std::size_t word, std::size_t cluster, double self) const {
    double gain = 0;
    const auto add = [&](double now, double more) { gain += Entropy(now + more) - Entropy(now); };
    for (const std::size_t next : _clustersAfter) {
      if (next != cluster) add(_pairs[cluster * _size + next], _after[next]);
    }
    for (const std::size_t previous : _clustersBefore) {
      if (previous != cluster) add(_pairs[previous * _size + cluster], _before[previous]);
    }
    add(_pairs[cluster * _size + cluster], _after[cluster] + _before[cluster] + self);
    // A word begins as many bigrams as it ends.
    return gain -
           2 * (Entropy(_counts[cluster] + _bigrams.counts[word]) - Entropy(_counts[cluster]));
  }

  bool Move(std::size_t word) {
    double self = 0;
    Gather(word, _bigrams.followers[word], _after, _clustersAfter, self);
    Gather(word, _bigrams.predecessors[word], _before, _clustersBefore, self);
    const std::size_t from = _clusterOf[word];
    Add(word, from, self, -1);
    std::size_t best = from;
    double bestGain = Gain(word, from, self);
    for (std::size_t cluster = kFirstWord; cluster < _size; ++cluster) {
      const double gain = cluster == from ? bestGain : Gain(word, cluster, self);
      if (gain > bestGain) {
        best = cluster;
        bestGain = gain;
      }
    }
    Add(word, best, self, 1);
    _clusterOf[word] = best;
    return best != from;
  }

  const Bigrams& _bigrams;
  std::size_t _size;
  std::vector<std::size_t> _clusterOf;  ///< [words]
  std::vector<double> _pairs;           ///< [cluster][next cluster] bigrams
  std::vector<double> _counts;          ///< [cluster]
  std::vector<double> _entropies;       ///< [n] n log n
  // Of the word in hand: its neighbours by cluster, and the clusters that have some.
  std::vector<double> _after;
  std::vector<double> _before;
  std::vector<std::size_t> _clustersAfter;
  std::vector<std::size_t> _clustersBefore;
};

}  // namespace

WordClusters::WordClusters(const std::vector<std::vector<std::string>>& sentences,
                           const WordClusterOptions& options, StepLog& log, StepStore& steps) {
  TextTable counts;
  for (const auto& sentence : sentences) {
    for (const std::string& word : sentence) ++counts.insert({word, 0}).first->second;
  }
  std::vector<std::pair<std::string, int>> words(counts.begin(), counts.end());
  std::erase_if(words, [&](const auto& word) { return word.second < options.leastCount; });
  std::stable_sort(words.begin(), words.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  for (const auto& [word, count] : words) {
    _wordIds.insert({word, static_cast<int>(kFirstWord + _wordIds.size())});
  }
  std::vector<std::vector<int>> ids;
  for (const auto& sentence : sentences) {
    std::vector<int>& line = ids.emplace_back();
    for (const std::string& word : sentence) {
      const auto found = _wordIds.find(word);
      line.push_back(found == _wordIds.end() ? static_cast<int>(kRare) : found->second);
    }
  }
  const Bigrams bigrams(ids, kFirstWord + words.size());
  for (const int size : options.sizes) {
    const std::string name = std::to_string(size) + " word clusters";
    std::vector<int>& clusters = _clusterings.emplace_back(kFirstWord + words.size());
    if (steps.Take(name, clusters)) continue;
    log.Begin(name, options.rounds);
    Exchange exchange(bigrams, std::max(size, 1) + kFirstWord);
    std::size_t moved = words.size();
    for (int round = 1; round <= options.rounds && moved >= words.size() / 200; ++round) {
      moved = exchange.Round();
      log.Iteration(round, std::to_string(moved) + " words moved");
    }
    std::transform(exchange.Result().begin(), exchange.Result().end(), clusters.begin(),
                   [](std::size_t cluster) { return static_cast<int>(cluster); });
    log.End(std::to_string(words.size()) + " words");
    steps.Keep(clusters);
  }
}

int WordClusters::Find(std::size_t clustering, std::string_view word) const {
  const auto found = _wordIds.find(word);
  const std::size_t id =
      found == _wordIds.end() ? std::size_t{kRare} : static_cast<std::size_t>(found->second);
  return _clusterings[clustering][id];
}

}  // namespace Tolvek
