// SPDX-License-Identifier: Apache-2.0
// Runs the program as a user does and compares everything that it gives - exit status, standard
// output, standard error, output file - with a golden file, byte for byte. The number of seconds in
// the timing line is the only thing that is masked.
#include <fcntl.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "unit/Scratch.h"
#include "unit/SegKnowledge.h"

namespace Tolvek {
namespace {

using Arguments = std::vector<std::string>;

class Golden : public Scratch {
 protected:
  static void WriteResources() {
    SegKnowledge knowledge;
    knowledge.Favour(kWo, 'B');
    knowledge.Favour(kMen, 'E');
    knowledge.Favour(kStop, 'S');
    knowledge.Write();
  }

  /// A few lines of every kind.
  static void WriteInput() {
    WriteText("in", " " + kWo + kMen + kWo + kMen + kStop + "\r\n\n \t\n" +  //
                        kWo + kMen + kStop + "(" + kWo + kMen + ")\n" +      //
                        "abx" + kStop + "\n123" + kStop + "\n" +             //
                        kWo + kMen + kWideSpace + kWo + kMen);
  }

  /// Runs the program and gives all that it does as one text.
  static std::string Run(const Arguments& arguments) {
    const int status = Execute(arguments);
    std::string report = "status " + std::to_string(status) + "\n";
    report += "--- standard output\n" + Masked(ReadText("stdout"));
    report += "--- standard error\n" + ReadText("stderr");
    report += Exists("out") ? "--- output file\n" + ReadText("out") : "--- no output file\n";
    return report + "--- end\n";
  }

  /// Runs the program with its streams in the files "stdout" and "stderr"; its exit status.
  static int Execute(const Arguments& arguments) {
    std::vector<std::string> texts{TOLVEK_PROGRAM};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& text : texts) argv.push_back(text.data());
    argv.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
      Redirect("stdout", STDOUT_FILENO);
      Redirect("stderr", STDERR_FILENO);
      ::execv(argv[0], argv.data());
      ::_exit(127);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
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

TEST_F(Golden, Usage) {
  for (const Arguments& arguments : {Arguments{},
                                     {"-h"},
                                     {"-h", "-v"},
                                     {"-x"},
                                     {"-x", "-v"},
                                     {"--help"},
                                     {"in"},
                                     {""},
                                     {"-o", "b"},
                                     {"-i", "a"},
                                     {"-t", "seg"},
                                     {"-i"},
                                     {"-o"},
                                     {"-t"},
                                     {"-i", "a", "-o"},
                                     {"-o", "b", "-i"},
                                     {"-i", "a", "-o", "b", "-x"},
                                     {"-i", "a", "-o", "b", "-h"},
                                     {"-i", "a", "-o", "b", "c"},
                                     {"-i", "a", "-i", "-o", "b"},
                                     {"-I", "a", "-O", "b"},
                                     {"-ia", "-ob"},
                                     {"-i", "-h", "-o"}}) {
    EXPECT_EQ(Run(arguments), Expected("usage")) << testing::PrintToString(arguments);
  }
  EXPECT_EQ(Files(), (Arguments{"data", "stderr", "stdout"}));
}

TEST_F(Golden, Version) {
  for (const Arguments& arguments : {Arguments{"-v"},
                                     {"-v", "-h"},
                                     {"-v", "-i", "a"},
                                     {"-i", "a", "-o", "b", "-v"},
                                     {"-i", "a", "-v"},
                                     {"-t", "x", "-v", "-x"}}) {
    EXPECT_EQ(Run(arguments), Expected("version")) << testing::PrintToString(arguments);
  }
}

TEST_F(Golden, Segmentation) {
  WriteResources();
  WriteInput();
  for (const Arguments& arguments :
       {Arguments{"-i", "in", "-o", "out"},
        {"-o", "out", "-i", "in"},
        {"-i", "in", "-o", "out", "-t", "seg"},
        {"-t", "seg", "-i", "in", "-o", "out"},
        {"-i", "in", "-o", "out", "-t"},
        {"-i", "in", "-o", "out", "-t", "foo"},
        {"-i", "in", "-o", "out", "-t", ""},
        {"-i", "in", "-o", "out", "-t", "-v"},
        {"-i", "in", "-o", "out", "-t", "SEGPOS"},
        {"-t", "segpos", "-i", "in", "-o", "out", "-t", "seg"},
        {"-i", "nofile", "-o", "elsewhere", "-o", "out", "-i", "in"}}) {
    EXPECT_EQ(Run(arguments), Expected("segmentation")) << testing::PrintToString(arguments);
    std::filesystem::remove("out");
  }
  EXPECT_FALSE(Exists("elsewhere"));
}

TEST_F(Golden, AnExistingOutputIsReplaced) {
  WriteResources();
  WriteInput();
  WriteText("out", Repeat("something longer\n", 100));
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("segmentation"));
}

TEST_F(Golden, EmptyInput) {
  WriteResources();
  WriteText("in", "");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("empty-input"));
}

TEST_F(Golden, BlankLines) {
  WriteResources();
  WriteText("in", "\n \t \n\r\n");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("blank-lines"));
}

TEST_F(Golden, MissingInput) {
  WriteResources();
  EXPECT_EQ(Run({"-i", "nofile", "-o", "out"}), Expected("missing-input"));
}

TEST_F(Golden, AnOptionAsValue) {
  WriteResources();
  EXPECT_EQ(Run({"-i", "-v", "-o", "out"}), Expected("option-as-value"));
}

TEST_F(Golden, OutputThatCannotBeWritten) {
  WriteResources();
  WriteInput();
  EXPECT_EQ(Run({"-i", "in", "-o", "nowhere/out"}), Expected("output-not-writable"));
}

TEST_F(Golden, MissingCharacters) {
  WriteResources();
  WriteInput();
  std::filesystem::remove("data/binarySource");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("missing-characters"));
}

TEST_F(Golden, MissingLanguageModel) {
  WriteResources();
  WriteInput();
  std::filesystem::remove("data/binarySegLM");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("missing-lm"));
}

TEST_F(Golden, MissingModel) {
  WriteResources();
  WriteInput();
  std::filesystem::remove("data/binarySegModel");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("missing-model"));
}

TEST_F(Golden, ProgressOf250Lines) {
  WriteResources();
  WriteText("in", Repeat("\n", 250));
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("progress-250"));
}

TEST_F(Golden, ProgressOf5000Lines) {
  WriteResources();
  WriteText("in", Repeat(kWo + kMen + "\n", 5000));
  const std::string report = Run({"-i", "in", "-o", "out"});
  // The golden file has one line of the output file for all.
  const std::string line = kWo + kMen + " \n";
  const std::string all = Repeat(line, 5000);
  const std::size_t at = report.find(all);
  ASSERT_NE(at, std::string::npos);
  EXPECT_EQ(std::string(report).replace(at, all.size(), line), Expected("progress-5000"));
}

TEST_F(Golden, TextResources) {
  // The loaders take the text forms under the same names.
  WriteResources();
  WriteInput();
  MeSource none{{}, {"B", "M", "E", "S"}, {}, {}};
  none.Add("unused", {{0, "1"}});
  WriteText("data/binarySegModel", none.Binary());
  const std::string binary = Run({"-i", "in", "-o", "out"});
  WriteText("data/binarySegModel", none.Text());
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), binary);
}

TEST_F(Golden, ShippedModelsOnTheExamples) {
  std::filesystem::remove("data");
  std::filesystem::create_directory_symlink(PROJECT_DIR "/data", "data");
  EXPECT_EQ(Execute({"-i", PROJECT_DIR "/examples/chinese.gbk", "-o", "out"}), 0);
  EXPECT_EQ(ReadText("out"), ReadText(PROJECT_DIR "/examples/chinese.seg.gbk"));
}

}  // namespace
}  // namespace Tolvek
