// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {

using Arguments = std::vector<std::string>;

/// Runs the program as a user does, to compare everything that it gives - exit status, standard
/// output, standard error, output file - with a golden file, byte for byte. The number of seconds
/// in the timing line is the only thing that is masked.
class Golden : public Scratch {
 protected:
  /// Runs the program and gives all that it does as one text.
  static std::string Run(const Arguments& arguments) {
    const int status = Execute(arguments);
    std::string report = "status " + std::to_string(status) + "\n";
    report += "--- standard output\n" + Masked(ReadText("stdout"));
    report += "--- standard error\n" + ReadText("stderr");
    report += Exists("out") ? "--- output file\n" + ReadText("out") : "--- no output file\n";
    return report + "--- end\n";
  }

  /// Runs the program with its streams in the files "stdout" and "stderr"; its exit status, or 128
  /// and the number of the signal that ended it.
  static int Execute(const Arguments& arguments) {
    std::vector<std::string> texts{TOLVEK_PROGRAM};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& text : texts) argv.push_back(text.data());
    argv.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
      const rlimit none{0, 0};
      ::setrlimit(RLIMIT_CORE, &none);
      Redirect("stdout", STDOUT_FILENO);
      Redirect("stderr", STDERR_FILENO);
      ::execv(argv[0], argv.data());
      ::_exit(127);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  }

  static std::string Expected(const std::string& name) {
    return ReadText(GOLDEN_DIR "/" + name + ".expected");
  }

  /// The files in the working directory.
  static std::vector<std::string> Files() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  static void Redirect(const char* path, int descriptor) {
    ::dup2(::open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600), descriptor);
  }

  /// Masks the number of seconds, if it is written as a stream writes a number by default.
  static std::string Masked(std::string text) {
    const std::string before = "It takes ";
    const std::size_t start = text.find(before);
    if (start == std::string::npos) return text;
    const std::size_t begin = start + before.size();
    const std::size_t end = text.find(" secs.\n", begin);
    if (end == std::string::npos) return text;
    std::ostringstream seconds;
    seconds << std::strtod(text.c_str() + begin, nullptr);
    return seconds.str() == text.substr(begin, end - begin) ? text.replace(begin, end - begin, "#")
                                                            : text;
  }
};

}  // namespace Tolvek
