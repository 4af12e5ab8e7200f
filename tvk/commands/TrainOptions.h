// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tvk/text/StepLog.h"
#include "tvk/train/StepStore.h"

namespace CLI {
class App;
}

namespace Tolvek {

/// What the commands that fit models have in common.
struct TrainOptions {
  std::string out;
  bool quiet = false;
  bool fresh = false;
  const CLI::App* command = nullptr;  ///< which of them it is
};

/// Adds --out, --quiet and --fresh.
void AddTrainOptions(CLI::App& command, TrainOptions& options);

/// The log on the standard error stream.
StepLog MakeLog(const TrainOptions& options);

/// Where finished steps are kept: in the output folder, under a fingerprint of the command, of the
/// options given that results depend on, and of the files of `inputs`, one list an option. Nothing
/// is kept when an input can be read only once, such as a pipe. Borrows the log.
StepStore MakeSteps(const TrainOptions& options,
                    const std::vector<std::vector<std::string>>& inputs, StepLog& log);

}  // namespace Tolvek
