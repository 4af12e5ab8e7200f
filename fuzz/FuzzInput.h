// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>

namespace Tolvek {

/// Writes the fuzzer's bytes to a file of this process's scratch folder, which becomes the working
/// directory, and returns its path.
std::string WriteInput(const std::string& name, const std::uint8_t* bytes, std::size_t size);

/// Runs the action. What is documented as fatal for a malformed file (a range error, an abort) ends
/// the action and not the fuzzer. Messages are dropped.
void Survive(const std::function<void()>& action);

/// Ends the run, which is a finding, unless the condition holds.
inline void Expect(bool isTrue) {
  if (!isTrue) std::abort();
}

}  // namespace Tolvek
