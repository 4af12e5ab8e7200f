// SPDX-License-Identifier: Apache-2.0
// The English tasks of the program, each run compared with a golden file.
#include "golden/Golden.h"
#include "unit/EngKnowledge.h"
#include "unit/SegKnowledge.h"

namespace Tolvek {
namespace {

class EnglishGolden : public Golden {
 protected:
  static void WriteResources() {
    EngKnowledge knowledge;
    knowledge.List("I", "NN");
    knowledge.List("the", "DT");
    knowledge.List("ca", "VB");
    knowledge.List("go", "VB NN");
    knowledge.List("end", "NN VB");
    knowledge.List("end.", "RB");
    knowledge.List("n't", "RB");
    knowledge.List(".", ".");
    knowledge.List("Mr.", "NN");
    knowledge.FavourAfter("DT", "NN");
    knowledge.FavourAfter("RB", "VB");
    knowledge.List("Smith.", "NN");
    knowledge.Write();
  }

  /// A few lines of every kind.
  static void WriteInput() {
    WriteText("in",
              "I can't go.\r\n\n \t\n"
              "\tMr. Smith, 'the end. Then' (we \"wanna\" go).\n"
              "the dogs' ``o'clock'', etc. a!b\n\n"
              "the end");
  }
  /// Lines whose words' tags are certain.
  static void WriteCertainInput() {
    WriteText("in", "I can't go.\r\n\n \t\n\tMr. Smith. the  end\n\nthe end.");
  }

  static Arguments Task(const std::string& task) { return {"-i", "in", "-o", "out", "-t", task}; }

  /// A report whose golden file has only one of the many equal lines of the output file.
  static void ExpectWithLines(std::string report, const std::string& line, int count,
                              const std::string& name) {
    const std::string all = Repeat(line, count);
    const std::size_t at = report.find(all);
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(report.replace(at, all.size(), line), Expected(name));
  }
};

TEST_F(EnglishGolden, Tokens) {
  WriteResources();
  WriteInput();
  for (const Arguments& arguments : {Task("tok"),
                                     {"-t", "tok", "-o", "out", "-i", "in"},
                                     {"-t", "tokpos", "-i", "in", "-o", "out", "-t", "tok"}}) {
    EXPECT_EQ(Run(arguments), Expected("tok-lines")) << testing::PrintToString(arguments);
    std::filesystem::remove("out");
  }
}

TEST_F(EnglishGolden, TokensNeedNoTaggingResources) {
  WriteResources();
  WriteInput();
  std::filesystem::remove("data/binaryEngPosModel");
  std::filesystem::remove("data/EngDict");
  EXPECT_EQ(Run(Task("tok")), Expected("tok-lines"));
}

TEST_F(EnglishGolden, Tags) {
  WriteResources();
  WriteCertainInput();
  for (const Arguments& arguments : {Task("tokpos"),
                                     {"-t", "tokpos", "-o", "out", "-i", "in"},
                                     {"-t", "tok", "-i", "in", "-o", "out", "-t", "tokpos"}}) {
    EXPECT_EQ(Run(arguments), Expected("tokpos-lines")) << testing::PrintToString(arguments);
    std::filesystem::remove("out");
  }
}

TEST_F(EnglishGolden, AnExistingOutputIsReplaced) {
  WriteResources();
  WriteInput();
  WriteText("out", Repeat("something longer\n", 100));
  EXPECT_EQ(Run(Task("tok")), Expected("tok-lines"));
  WriteCertainInput();
  WriteText("out", Repeat("something longer\n", 100));
  EXPECT_EQ(Run(Task("tokpos")), Expected("tokpos-lines"));
}

TEST_F(EnglishGolden, EmptyInput) {
  WriteResources();
  WriteText("in", "");
  EXPECT_EQ(Run(Task("tok")), Expected("tok-empty-input"));
  EXPECT_EQ(Run(Task("tokpos")), Expected("tokpos-empty-input"));
}

TEST_F(EnglishGolden, BlankLines) {
  WriteResources();
  WriteText("in", "\n \t \n\r\n");
  EXPECT_EQ(Run(Task("tok")), Expected("tok-blank-lines"));
  EXPECT_EQ(Run(Task("tokpos")), Expected("tokpos-blank-lines"));
}

TEST_F(EnglishGolden, MissingInput) {
  WriteResources();
  EXPECT_EQ(Run({"-i", "nofile", "-o", "out", "-t", "tok"}), Expected("tok-missing-input"));
  EXPECT_EQ(Run({"-i", "nofile", "-o", "out", "-t", "tokpos"}), Expected("tokpos-missing-input"));
}

TEST_F(EnglishGolden, MissingList) {
  WriteResources();
  WriteInput();
  std::filesystem::remove("data/abbtitle");
  EXPECT_EQ(Run(Task("tok")), Expected("tok-missing-list"));
  EXPECT_EQ(Run(Task("tokpos")), Expected("tok-missing-list")) << "the same for both";
}

TEST_F(EnglishGolden, MissingModel) {
  WriteResources();
  WriteInput();
  std::filesystem::remove("data/binaryEngPosModel");
  EXPECT_EQ(Run(Task("tokpos")), Expected("tokpos-missing-model"));
}

TEST_F(EnglishGolden, MissingDictionary) {
  WriteResources();
  WriteInput();
  std::filesystem::remove("data/EngDict");
  EXPECT_EQ(Run(Task("tokpos")), Expected("tokpos-missing-dictionary"));
}

TEST_F(EnglishGolden, OutputThatCannotBeWritten) {
  WriteResources();
  WriteCertainInput();
  for (const std::string task : {"tok", "tokpos"}) {
    EXPECT_EQ(Run({"-i", "in", "-o", "nowhere/out", "-t", task}),
              Expected(task + "-output-not-writable"));
  }
}

TEST_F(EnglishGolden, ProgressOfTokens) {
  WriteResources();
  WriteText("in", Repeat("a.\n", 2'500));
  ExpectWithLines(Run(Task("tok")), "a .\n", 2'500, "tok-progress-2500");
  WriteText("in", Repeat("a.\n", 50'000));
  ExpectWithLines(Run(Task("tok")), "a .\n", 50'000, "tok-progress-50000");
}

TEST_F(EnglishGolden, ProgressOfTags) {
  WriteResources();
  WriteText("in", Repeat("the end\n", 250));
  ExpectWithLines(Run(Task("tokpos")), "the/DT end/NN \n", 250, "tokpos-progress-250");
  WriteText("in", Repeat("the end\n", 5'000));
  ExpectWithLines(Run(Task("tokpos")), "the/DT end/NN \n", 5'000, "tokpos-progress-5000");
  // Blank lines count.
  WriteText("in", Repeat("\nthe end\n", 2'500));
  ExpectWithLines(Run(Task("tokpos")), "the/DT end/NN \n", 2'500, "tokpos-progress-5000");
}

TEST_F(EnglishGolden, TaskWordsAreExact) {
  WriteResources();
  SegKnowledge().Write();
  WriteText("in", "a b, don't.\n");
  const std::string segmented = Run(Task("seg"));
  EXPECT_NE(segmented.find("Segmentor Initializing"), std::string::npos);
  for (const char* task : {"Tok", "TOK", "tok ", " tok", "token", "to", "tokPos", "TokPos", "tokpo",
                           "tokposs", "tok-pos", "tokpos "}) {
    EXPECT_EQ(Run(Task(task)), segmented) << task;
  }
}

}  // namespace
}  // namespace Tolvek
