// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/LoggedFit.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace Tolvek {

namespace {

std::string Show(const char* format, double value) {
  std::array<char, 48> text;
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

}  // namespace

void LoggedFit(MaxEntTrainer& trainer, const std::string& name, const Objective& objective,
               const FitOptions& options, const FitFigures& figures, StepLog& log, StepStore& steps,
               std::vector<double>& weights) {
  if (steps.Take(name, weights)) return;
  log.Begin(name, options.iterations);
  std::fill(weights.begin(), weights.end(), 0.0);
  double logLikelihood = 0;
  int iterations = 0;
  const auto report = [&](const FitProgress& progress) {
    iterations = progress.iteration;
    logLikelihood = progress.logLikelihood;
    const std::string more = figures(progress.iteration, progress.weights);
    log.Iteration(progress.iteration,
                  "log-likelihood " + Show("%.1f", progress.logLikelihood) + ", gradient norm " +
                      Show("%.2f", progress.gradientNorm) + more,
                  !more.empty());
  };
  const std::string remark = trainer.Fit(objective, options, report, weights);
  log.End("log-likelihood " + Show("%.1f", logLikelihood) + " after " + std::to_string(iterations) +
          " iterations" + figures(0, weights) + (remark.empty() ? "" : "; " + remark));
  steps.Keep(weights);
}

}  // namespace Tolvek
