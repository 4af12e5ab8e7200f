// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "tvk/text/StepLog.h"
#include "tvk/train/MaxEntTrainer.h"
#include "tvk/train/StepStore.h"

namespace Tolvek {

/// More to tell of a fit after an iteration, or, as iteration 0, at its end: begins with ", " or is
/// empty.
using FitFigures = std::function<std::string(int iteration, std::span<const double> weights)>;

/// Fits weights from zero, as one step of the log and of what is kept. A fit that stops early then
/// stays on the careful side.
void LoggedFit(MaxEntTrainer& trainer, const std::string& name, const Objective& objective,
               const FitOptions& options, const FitFigures& figures, StepLog& log, StepStore& steps,
               std::vector<double>& weights);

}  // namespace Tolvek
