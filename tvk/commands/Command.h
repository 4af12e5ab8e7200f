// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace Tolvek {

/// What the command line asked for: run after it has been read as a whole. Throws `Failure`.
using Action = std::function<void()>;

/// Each of these adds one subcommand with its options to `parent`; once the subcommand is met on
/// the command line, `action` is set. One file each; `AddAnalyze` adds all five tasks.
void AddAnalyze(CLI::App& parent, Action& action);
void AddTrainChars(CLI::App& parent, Action& action);
void AddTrainSeg(CLI::App& parent, Action& action);
void AddTrainPos(CLI::App& parent, Action& action);
void AddTrainEngpos(CLI::App& parent, Action& action);
void AddTrainAbbtitle(CLI::App& parent, Action& action);
void AddEval(CLI::App& parent, Action& action);
void AddConvert(CLI::App& parent, Action& action);
void AddText(CLI::App& parent, Action& action);
void AddCheck(CLI::App& parent, Action& action);
void AddVersion(CLI::App& parent, Action& action);

}  // namespace Tolvek
