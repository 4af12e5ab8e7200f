// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace Tolvek {

/// Why a command of the companion program cannot go on. The text is complete: it names the file
/// (and line), what was found and what was expected. `main` prints it and exits with 1.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  Failure(const std::string& path, std::size_t line, const std::string& what)
      : std::runtime_error(path + ":" + std::to_string(line) + ": " + what) {}
};

}  // namespace Tolvek
