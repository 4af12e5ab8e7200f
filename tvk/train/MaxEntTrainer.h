// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/FlatMap.h"

namespace Tolvek {

/// The active features of many positions ("rows"), one row after another.
struct FeatureRows {
  struct Entry {
    std::int32_t feature;
    float value;
  };
  std::vector<std::size_t> starts{0};  ///< [rows + 1] row r: entries r to r + 1
  std::vector<Entry> entries;

  std::size_t Rows() const { return starts.size() - 1; }
  void EndRow() { starts.push_back(entries.size()); }
};

/// Which (feature, tag) pairs have a weight: those of feature f are the parameters from
/// `starts[f]` to `starts[f + 1]`, each for the tag `tags[p]`; the layout of `MeModel`.
struct Parameters {
  int tagCount = 0;
  std::vector<std::size_t> starts{0};
  std::vector<int> tags;

  std::size_t Features() const { return starts.size() - 1; }
};

/// The parameters of the pairs seen together (`tagOfRow`), or of all pairs.
Parameters MakeParameters(const FeatureRows& rows, std::size_t features, int tagCount,
                          std::span<const int> tagOfRow, bool allPairs);

/// What is maximised beside the penalty. Given the scores of all rows, [row][tag], it returns the
/// log-likelihood (natural logarithm) and fills `residuals`, [row][tag], with its derivatives:
/// observed minus expected.
using Objective =
    std::function<double(std::span<const double> scores, std::span<double> residuals)>;

/// Each row for itself: the sum of log p(tagOfRow | features), as `MeModel` computes it, times the
/// row's weight (1 where none are given).
Objective PositionObjective(std::vector<int> tagOfRow, int tagCount, int threads,
                            std::vector<float> weightOfRow = {});

/// What a fit is told and tells.
struct FitOptions {
  double l2 = 1;  ///< the penalty (l2 / 2) * |w|^2
  /// [parameters] each multiplies l2 for its weight; none: 1 for all
  std::span<const double> l2Factors = {};
  /// The search runs in units that fit each weight, which needs fewer iterations where features
  /// differ much in how often they are seen.
  bool scaled = false;
  double l1 = 0;            ///< the penalty l1 * |w|_1 (orthant-wise search)
  int iterations = 150;     ///< at most
  double tolerance = 1e-5;  ///< stops when ten iterations gain less than this part of the objective
  int threads = 1;
};

/// State of a fit after an iteration.
struct FitProgress {
  int iteration;
  double logLikelihood;  ///< of the data, without penalties
  double gradientNorm;
  std::span<const double> weights;
};

/// Fits log-linear weights to an objective by limited-memory quasi-Newton search (Liu and Nocedal,
/// 1989; with an l1 penalty Andrew and Gao, 2007).
///
/// Scores are gathered row by row and gradients parameter by parameter, each in one fixed order, so
/// that the result has the same bits at any number of threads.
class MaxEntTrainer {
 public:
  /// Borrows both, which must outlive the trainer.
  MaxEntTrainer(const FeatureRows& rows, const Parameters& parameters, int threads);

  /// Replaces `scores` by the sum of weight times value, [row][tag].
  void Scores(std::span<const double> weights, std::vector<double>& scores) const;

  /// The objective at `weights`; `gradient` receives its derivatives.
  double Evaluate(const Objective& objective, std::span<const double> weights,
                  std::span<double> gradient);

  /// Improves `weights` from where they are. Returns a remark on how the search ended; empty when
  /// it converged or used up its iterations.
  std::string Fit(const Objective& objective, const FitOptions& options,
                  const std::function<void(const FitProgress&)>& report,
                  std::vector<double>& weights);

 private:
  struct Occurrence {
    std::uint32_t row;
    float value;
  };

  /// The units of the weights in a scaled search.
  std::vector<double> Scales(const FitOptions& options) const;

  const FeatureRows& _rows;
  const Parameters& _parameters;
  int _threads;
  std::vector<std::size_t> _starts;      ///< [features + 1] into `_occurrences`
  std::vector<Occurrence> _occurrences;  ///< the rows of each feature, ascending
  std::vector<double> _scores;
  std::vector<double> _residuals;
};

/// The text form of a model, as `MeModel` reads it: (feature, tag) pairs whose weight is at least
/// `threshold` in size (and never one of 0), without the features that this leaves empty. Weights
/// are rounded to six decimals. `kept` receives the number of pairs.
std::string ModelText(const std::string& title, const TextTable& features,
                      const std::vector<std::string>& tags, const Parameters& parameters,
                      std::span<const double> weights, double threshold, std::size_t& kept);

}  // namespace Tolvek
