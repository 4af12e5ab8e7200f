// SPDX-License-Identifier: Apache-2.0
//
// tolvek: one task on one file. Everything but the timing line and the progress of the file loops
// goes to the standard error stream.

#include <ctime>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "chinese/LexSegPos.h"
#include "common/Globals.h"
#include "common/StandardStreams.h"
#include "english/LexEngPos.h"

namespace {

/// Usage errors, "-v", "-h" and a failed initialisation all end with status 255.
constexpr int kFailure = -1;

// The line of -t names four of the five tasks: kept so.
constexpr const char* kUsage =
    "\t\n"
    "\tUsage : tolvek -i inputfile -o outputfile -t [option]\n"
    "\toption\t\tmeaning\n"
    "\t-i\t\tinputfile\n"
    "\t-o\t\toutputfile\n"
    "\t-t\t\ttask: seg/segpos/tok/tokpos\n"
    "\t\t\t    seg(default)        : Chinese word segmentation\n"
    "\t\t\t    segpos              : Chinese word segmentation and pos tagging\n"
    "\t\t\t    pos                 : Chinese pos tagging\n"
    "\t\t\t    tok                 : English tokenize\n"
    "\t\t\t    tokpos              : English tokenize and pos tagging\n"
    "\t-v\t\tshow the version and exit\n"
    "\t-h\t\tprint this message and exit\n"
    "\t";

struct Options {
  std::string input;
  std::string output;
  std::string task;
};

/// Reads the option pairs. Where they don't make a task, says why and returns nothing.
std::optional<Options> ReadOptions(int argc, char** argv) {
  std::optional<std::string> input;
  std::optional<std::string> output;
  std::optional<std::string> task;
  for (int i = 1; i < argc; i += 2) {
    const std::string_view word = argv[i];
    std::optional<std::string> value;  // absent when the word is the last argument
    if (i + 1 < argc) value = argv[i + 1];
    if (word == "-i") {
      input = value;
    } else if (word == "-o") {
      output = value;
    } else if (word == "-t") {
      task = value;
    } else {
      std::cerr << (word == "-v" ? "\n" + Tolvek::g_version : kUsage) << std::endl;
      return std::nullopt;
    }
  }
  if (!input || !output) {
    std::cerr << kUsage << std::endl;
    return std::nullopt;
  }
  return Options{*input, *output, task.value_or("seg")};
}

/// Runs a Chinese task; false when its resources do not load. The models are released on return,
/// inside the timed span.
bool RunChinese(const Options& options) {
  const bool tagsOnly = options.task == "pos";
  const bool tags = tagsOnly || options.task == "segpos";
  Tolvek::LexSegPos lexer;
  if (!lexer.Initialize(tags)) return false;
  if (tagsOnly) {
    lexer.PosFile(options.input, options.output);
  } else {
    lexer.SegPosFile(options.input, options.output, tags);  // an unknown task word: no tags
  }
  return true;
}

/// The same for an English task.
bool RunEnglish(const Options& options) {
  const bool tags = options.task == "tokpos";
  Tolvek::LexEngPos lexer;
  if (!lexer.Initialize(tags)) return false;
  if (tags) {
    lexer.EngTagFile(options.input, options.output, false);
  } else {
    lexer.EngTokenFile(options.input, options.output);
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Tolvek::HoldStandardStreams();
  const std::optional<Options> options = ReadOptions(argc, argv);
  if (!options) return kFailure;

  const std::clock_t start = std::clock();
  std::cerr << Tolvek::g_copyright << Tolvek::g_version << std::endl;
  const bool isEnglish = options->task == "tok" || options->task == "tokpos";
  if (!(isEnglish ? RunEnglish(*options) : RunChinese(*options))) {
    std::cerr << "Initialize error" << std::endl;
    return kFailure;
  }
  // The divisor is one million whatever the clock's unit.
  std::cout << "It takes " << static_cast<double>(std::clock() - start) / 1e6 << " secs."
            << std::endl;
  return 0;
}
