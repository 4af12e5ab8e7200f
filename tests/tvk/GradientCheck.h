// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "tvk/train/MaxEntTrainer.h"

namespace Tolvek {

/// Expects the gradient at `weights` to be that of central differences.
inline void ExpectGradientOfDifferences(MaxEntTrainer& trainer, const Objective& objective,
                                        const std::vector<double>& weights) {
  static constexpr double kStep = 1e-5;
  std::vector<double> gradient(weights.size());
  std::vector<double> ignored(weights.size());
  trainer.Evaluate(objective, weights, gradient);
  for (std::size_t p = 0; p < weights.size(); ++p) {
    std::vector<double> moved = weights;
    moved[p] += kStep;
    const double above = trainer.Evaluate(objective, moved, ignored);
    moved[p] -= 2 * kStep;
    const double below = trainer.Evaluate(objective, moved, ignored);
    EXPECT_NEAR(gradient[p], (above - below) / (2 * kStep), 1e-5) << "weight " << p;
  }
}

}  // namespace Tolvek
