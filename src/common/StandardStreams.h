// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Tolvek {

/// Gives each standard stream that is closed a file that cannot be used the way it is meant. Else
/// the next file to be opened would take its place, and messages would get into the output. To be
/// called before anything is opened.
void HoldStandardStreams();

}  // namespace Tolvek
