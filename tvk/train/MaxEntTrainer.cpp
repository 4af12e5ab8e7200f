// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/MaxEntTrainer.h"

#include <lbfgs.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <exception>
#include <memory>
#include <numeric>

#include "tvk/text/Failure.h"
#include "tvk/text/Parallel.h"

namespace Tolvek {

namespace {

static_assert(sizeof(lbfgsfloatval_t) == sizeof(double));

struct FreeVector {
  void operator()(double* vector) const { lbfgs_free(vector); }
};

/// One search: what the optimiser's callbacks need.
struct Search {
  MaxEntTrainer& trainer;
  const Objective& objective;
  const FitOptions& options;
  const std::function<void(const FitProgress&)>& report;
  std::vector<double> weights;  ///< at the point in hand
  std::vector<double> scales;   ///< of the weights: the optimiser's variables times these
  double logLikelihood = 0;
  std::exception_ptr error;

  /// The weights at the optimiser's point `x`.
  void Take(const double* x) {
    for (std::size_t p = 0; p < weights.size(); ++p) {
      weights[p] = scales.empty() ? x[p] : x[p] * scales[p];
    }
  }

  double Minus(const double* x, double* gradient) {
    Take(x);
    const std::span<double> derivatives(gradient, weights.size());
    logLikelihood = trainer.Evaluate(objective, weights, derivatives);
    double squares = 0;
    for (std::size_t p = 0; p < weights.size(); ++p) {
      const double factor = options.l2Factors.empty() ? 1.0 : options.l2Factors[p];
      squares += factor * weights[p] * weights[p];
      derivatives[p] = options.l2 * factor * weights[p] - derivatives[p];
      if (!scales.empty()) derivatives[p] *= scales[p];
    }
    return options.l2 / 2 * squares - logLikelihood;
  }
};

double EvaluateSearch(void* instance, const double* x, double* gradient, int count, double) {
  auto& search = *static_cast<Search*>(instance);
  std::fill(gradient + search.weights.size(), gradient + count, 0.0);
  try {
    return search.Minus(x, gradient);
  } catch (...) {  // must not pass through the C library
    search.error = std::current_exception();
    return std::nan("");
  }
}

int ReportSearch(void* instance, const double* x, const double*, double, double,
                 double gradientNorm, double, int, int iteration, int) {
  auto& search = *static_cast<Search*>(instance);
  if (search.error) return 1;
  try {
    search.Take(x);
    search.report({iteration, search.logLikelihood, gradientNorm, search.weights});
  } catch (...) {
    search.error = std::current_exception();
    return 1;
  }
  return 0;
}

/// A number as short as it can be when it is read back to the same value.
std::string ShowWeight(double value) {
  std::array<char, 32> text;
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), result.ptr};
}

}  // namespace

Parameters MakeParameters(const FeatureRows& rows, std::size_t features, int tagCount,
                          std::span<const int> tagOfRow, bool allPairs) {
  const auto tags = static_cast<std::size_t>(tagCount);
  std::vector<bool> seen(features * tags, allPairs);
  for (std::size_t row = 0; row < rows.Rows(); ++row) {
    for (std::size_t i = rows.starts[row]; i < rows.starts[row + 1]; ++i) {
      const auto feature = static_cast<std::size_t>(rows.entries[i].feature);
      seen[feature * tags + static_cast<std::size_t>(tagOfRow[row])] = true;
    }
  }
  Parameters parameters;
  parameters.tagCount = tagCount;
  for (std::size_t feature = 0; feature < features; ++feature) {
    for (std::size_t tag = 0; tag < tags; ++tag) {
      if (seen[feature * tags + tag]) parameters.tags.push_back(static_cast<int>(tag));
    }
    parameters.starts.push_back(parameters.tags.size());
  }
  return parameters;
}

Objective PositionObjective(std::vector<int> tagOfRow, int tagCount, int threads,
                            std::vector<float> weightOfRow) {
  return [tagOfRow = std::move(tagOfRow), weightOfRow = std::move(weightOfRow),
          tags = static_cast<std::size_t>(tagCount),
          threads](std::span<const double> scores, std::span<double> residuals) {
    std::vector<double> logProbs(tagOfRow.size());
    ParallelFor(threads, tagOfRow.size(), [&](std::size_t begin, std::size_t end) {
      for (std::size_t row = begin; row < end; ++row) {
        const std::span<const double> score = scores.subspan(row * tags, tags);
        const std::span<double> residual = residuals.subspan(row * tags, tags);
        const double weight = weightOfRow.empty() ? 1.0 : weightOfRow[row];
        const double highest = *std::max_element(score.begin(), score.end());
        double z = 0;
        for (std::size_t t = 0; t < tags; ++t) z += residual[t] = std::exp(score[t] - highest);
        for (double& r : residual) r = -weight * r / z;
        const auto gold = static_cast<std::size_t>(tagOfRow[row]);
        residual[gold] += weight;
        logProbs[row] = weight * (score[gold] - highest - std::log(z));
      }
    });
    return std::accumulate(logProbs.begin(), logProbs.end(), 0.0);
  };
}

MaxEntTrainer::MaxEntTrainer(const FeatureRows& rows, const Parameters& parameters, int threads)
    : _rows(rows), _parameters(parameters), _threads(threads) {
  _starts.assign(parameters.Features() + 1, 0);
  for (const FeatureRows::Entry& entry : rows.entries) {
    ++_starts[static_cast<std::size_t>(entry.feature) + 1];
  }
  std::partial_sum(_starts.begin(), _starts.end(), _starts.begin());
  _occurrences.resize(rows.entries.size());
  std::vector<std::size_t> next(_starts.begin(), _starts.end() - 1);
  for (std::size_t row = 0; row < rows.Rows(); ++row) {
    for (std::size_t i = rows.starts[row]; i < rows.starts[row + 1]; ++i) {
      const FeatureRows::Entry& entry = rows.entries[i];
      _occurrences[next[static_cast<std::size_t>(entry.feature)]++] = {
          static_cast<std::uint32_t>(row), entry.value};
    }
  }
  _scores.resize(rows.Rows() * static_cast<std::size_t>(parameters.tagCount));
  _residuals.resize(_scores.size());
}

void MaxEntTrainer::Scores(std::span<const double> weights, std::vector<double>& scores) const {
  const auto tags = static_cast<std::size_t>(_parameters.tagCount);
  scores.assign(_rows.Rows() * tags, 0.0);
  ParallelFor(_threads, _rows.Rows(), [&](std::size_t begin, std::size_t end) {
    for (std::size_t row = begin; row < end; ++row) {
      double* const score = &scores[row * tags];
      for (std::size_t i = _rows.starts[row]; i < _rows.starts[row + 1]; ++i) {
        const auto feature = static_cast<std::size_t>(_rows.entries[i].feature);
        const double value = _rows.entries[i].value;
        for (std::size_t p = _parameters.starts[feature]; p < _parameters.starts[feature + 1];
             ++p) {
          score[_parameters.tags[p]] += weights[p] * value;
        }
      }
    }
  });
}

double MaxEntTrainer::Evaluate(const Objective& objective, std::span<const double> weights,
                               std::span<double> gradient) {
  Scores(weights, _scores);
  const double logLikelihood = objective(_scores, _residuals);
  const auto tags = static_cast<std::size_t>(_parameters.tagCount);
  ParallelFor(_threads, _parameters.Features(), [&](std::size_t begin, std::size_t end) {
    for (std::size_t feature = begin; feature < end; ++feature) {
      const std::size_t first = _parameters.starts[feature];
      const std::size_t last = _parameters.starts[feature + 1];
      std::fill(gradient.begin() + static_cast<std::ptrdiff_t>(first),
                gradient.begin() + static_cast<std::ptrdiff_t>(last), 0.0);
      for (std::size_t i = _starts[feature]; i < _starts[feature + 1]; ++i) {
        const double* const residual = &_residuals[_occurrences[i].row * tags];
        const double value = _occurrences[i].value;
        for (std::size_t p = first; p < last; ++p) {
          gradient[p] += value * residual[_parameters.tags[p]];
        }
      }
    }
  });
  return logLikelihood;
}

std::vector<double> MaxEntTrainer::Scales(const FitOptions& options) const {
  // An estimate of how fast the gradient changes with the weight: the penalty, and the variance of
  // a tag that is seldom certain.
  static constexpr double kVariance = 0.05;
  std::vector<double> scales(_parameters.tags.size());
  for (std::size_t feature = 0; feature < _parameters.Features(); ++feature) {
    double squares = 0;
    for (std::size_t i = _starts[feature]; i < _starts[feature + 1]; ++i) {
      squares += static_cast<double>(_occurrences[i].value) * _occurrences[i].value;
    }
    for (std::size_t p = _parameters.starts[feature]; p < _parameters.starts[feature + 1]; ++p) {
      const double factor = options.l2Factors.empty() ? 1.0 : options.l2Factors[p];
      const double curvature = options.l2 * factor + kVariance * squares;
      scales[p] = curvature > 0 ? 1 / std::sqrt(curvature) : 1;
    }
  }
  return scales;
}

std::string MaxEntTrainer::Fit(const Objective& objective, const FitOptions& options,
                               const std::function<void(const FitProgress&)>& report,
                               std::vector<double>& weights) {
  if (weights.empty()) throw Failure("nothing to fit: the training corpus gives no features");
  const int count = static_cast<int>(weights.size());
  const std::unique_ptr<double, FreeVector> x(lbfgs_malloc(count));
  if (!x) throw std::bad_alloc();
  Search search{*this, objective, options, report, std::vector<double>(weights.size()), {}, 0, {}};
  if (options.scaled) search.scales = Scales(options);
  for (std::size_t p = 0; p < weights.size(); ++p) {
    x.get()[p] = options.scaled ? weights[p] / search.scales[p] : weights[p];
  }

  lbfgs_parameter_t parameter;
  lbfgs_parameter_init(&parameter);
  parameter.max_iterations = options.iterations;
  parameter.past = 10;
  parameter.delta = options.tolerance;
  if (options.l1 > 0) {
    parameter.orthantwise_c = options.l1;
    parameter.linesearch = LBFGS_LINESEARCH_BACKTRACKING;
  }
  const int status =
      lbfgs(count, x.get(), nullptr, EvaluateSearch, ReportSearch, &search, &parameter);
  if (search.error) std::rethrow_exception(search.error);
  search.Take(x.get());
  weights = search.weights;
  const bool fine = status == LBFGS_SUCCESS || status == LBFGS_STOP ||
                    status == LBFGS_ALREADY_MINIMIZED || status == LBFGSERR_MAXIMUMITERATION;
  return fine ? "" : "the search ended early (optimiser status " + std::to_string(status) + ")";
}

std::string ModelText(const std::string& title, const TextTable& features,
                      const std::vector<std::string>& tags, const Parameters& parameters,
                      std::span<const double> weights, double threshold, std::size_t& kept) {
  std::string names;
  std::string lists;
  std::string values;
  std::size_t featureCount = 0;
  kept = 0;
  for (const auto& [name, id] : features) {
    std::string list;
    int count = 0;
    for (std::size_t p = parameters.starts[static_cast<std::size_t>(id)];
         p < parameters.starts[static_cast<std::size_t>(id) + 1]; ++p) {
      const double weight = std::round(weights[p] * 1e6) / 1e6;
      if (weight == 0 || std::abs(weight) < threshold) continue;
      ++count;
      list += ' ' + std::to_string(parameters.tags[p]);
      values += ShowWeight(weight) + '\n';
    }
    if (count == 0) continue;
    ++featureCount;
    kept += static_cast<std::size_t>(count);
    names += name + '\n';
    lists += std::to_string(count) + list + '\n';
  }
  std::string text = title + '\n' + std::to_string(featureCount) + '\n' + names +
                     std::to_string(tags.size()) + '\n';
  for (const std::string& tag : tags) text += tag + '\n';
  return text + lists + std::to_string(kept) + '\n' + values;
}

}  // namespace Tolvek
