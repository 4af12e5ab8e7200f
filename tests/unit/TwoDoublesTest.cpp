// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "common/TwoDoubles.h"

namespace Tolvek {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kNumbers[] = {-kInfinity, -2.5, -0.0, 0.0, 1e-300, 1.0, kInfinity, kNan};

// The operations are those of single numbers, also on what is not one.
TEST(TwoDoubles, EqualsSingleNumbers) {
  for (const double a : kNumbers) {
    for (const double b : kNumbers) {
      SCOPED_TRACE(std::to_string(a) + " " + std::to_string(b));
      const TwoDoubles first{a, b};
      const TwoDoubles second{b, a};
      const TwoDoubles larger = Larger(first, second);
      const double expectedLarger = a > b ? a : b;
      EXPECT_TRUE(larger[0] == expectedLarger || std::isnan(expectedLarger)) << larger[0];
      EXPECT_EQ(std::isnan(larger[0]), std::isnan(expectedLarger));
      EXPECT_EQ(WhichLarger(first, second), (a > b ? 1U : 0U) | (b > a ? 2U : 0U));
      EXPECT_FALSE(std::signbit(Magnitude(first)[0]));
      EXPECT_TRUE(Magnitude(first)[1] == std::fabs(b) || std::isnan(b));
    }
  }
}

TEST(TwoDoubles, BothIsTheSameTwice) {
  EXPECT_EQ(Both(-1.5)[0], -1.5);
  EXPECT_EQ(Both(-1.5)[1], -1.5);
}

}  // namespace
}  // namespace Tolvek
