// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace Tolvek {

/// A figure of an evaluation, 1 being all; nothing where the denominator is 0.
using Ratio = std::optional<double>;

Ratio Divide(std::size_t part, std::size_t whole);

/// Nothing when one of them is undefined or both are 0.
Ratio HarmonicMean(const Ratio& a, const Ratio& b);

/// Percent with two decimals, or "undefined".
std::string ShowRatio(const Ratio& ratio);

}  // namespace Tolvek
