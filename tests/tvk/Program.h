// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>

#include "Workplace.h"

namespace Tolvek {

/// A test that runs the program as a user does.
class Program : public Workplace {
 protected:
  /// The exit status; the two streams are left in `_out` and `_err`.
  int Run(const std::string& arguments) {
    const std::string command = std::string(TVK_PROGRAM) + " " + arguments + " >out.txt 2>err.txt";
    const int status = std::system(command.c_str());
    _out = Get("out.txt");
    _err = Get("err.txt");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  static std::size_t Lines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  }

  std::string _out;
  std::string _err;
};

}  // namespace Tolvek
