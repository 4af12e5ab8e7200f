// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "decoder/PathCounts.h"

namespace Tolvek {

/// What the weights of a random model are like.
enum class Weights {
  kAny,       ///< all different: paths differ by far more than rounding
  kFew,       ///< few values whose sums are exact: many exact ties
  kDecimals,  ///< few values whose sums are not: many paths differ by rounding alone
  kNear,      ///< few values, and differences of 1e-15 to 1e-6
  kZero,      ///< all paths tie
  kHigh,      ///< probabilities of 1e-50 and less
  kWide,      ///< of all magnitudes: probabilities may underflow, or be no number
};

inline double Pick(std::mt19937& random, const std::vector<double>& from) {
  return from[random() % from.size()];
}

inline double RandomWeight(std::mt19937& random, Weights kind) {
  const auto between = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  const double sign = random() % 2 == 0 ? 1 : -1;
  switch (kind) {
    case Weights::kAny:
      return between(-2, 2);
    case Weights::kFew:
      return Pick(random, {0, 0.5, -0.5, 1, -1});
    case Weights::kDecimals:
      return Pick(random, {0.1, 0.2, 0.3, 0.7, -0.1, -0.3});
    case Weights::kNear:
      return Pick(random, {0, 0.5, -0.5, 1}) + sign * std::pow(10, between(-15, -6));
    case Weights::kZero:
      return 0;
    case Weights::kHigh:
      return between(-8, 8);
    case Weights::kWide:
      if (random() % 32 == 0) return sign * std::numeric_limits<double>::denorm_min();
      return sign * std::pow(10, between(-9, 3.2));
  }
  return 0;
}

/// A number that reads back as it is.
inline std::string Number(double value) {
  std::ostringstream text;
  text.precision(17);
  text << value;
  return text.str();
}

inline std::size_t Total(const PathCounts& counts) {
  return counts.certified + counts.exact + counts.plain;
}

inline std::string Shown(const PathCounts& counts) {
  return std::to_string(counts.certified) + " certified, " + std::to_string(counts.exact) +
         " exact, " + std::to_string(counts.plain) + " plain";
}

inline PathCounts& operator+=(PathCounts& sum, const PathCounts& counts) {
  sum.certified += counts.certified;
  sum.exact += counts.exact;
  sum.plain += counts.plain;
  return sum;
}

}  // namespace Tolvek
