// SPDX-License-Identifier: Apache-2.0
// The command line and the segmentation task.
#include <filesystem>

#include "golden/Golden.h"
#include "unit/SegKnowledge.h"

namespace Tolvek {
namespace {

class SegmentationGolden : public Golden {
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

TEST_F(SegmentationGolden, Segmentation) {
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

TEST_F(SegmentationGolden, AnExistingOutputIsReplaced) {
  WriteResources();
  WriteInput();
  WriteText("out", Repeat("something longer\n", 100));
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("segmentation"));
}

TEST_F(SegmentationGolden, EmptyInput) {
  WriteResources();
  WriteText("in", "");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("empty-input"));
}

TEST_F(SegmentationGolden, BlankLines) {
  WriteResources();
  WriteText("in", "\n \t \n\r\n");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("blank-lines"));
}

TEST_F(SegmentationGolden, MissingInput) {
  WriteResources();
  EXPECT_EQ(Run({"-i", "nofile", "-o", "out"}), Expected("missing-input"));
}

TEST_F(SegmentationGolden, AnOptionAsValue) {
  WriteResources();
  EXPECT_EQ(Run({"-i", "-v", "-o", "out"}), Expected("option-as-value"));
}

TEST_F(SegmentationGolden, OutputThatCannotBeWritten) {
  WriteResources();
  WriteInput();
  EXPECT_EQ(Run({"-i", "in", "-o", "nowhere/out"}), Expected("output-not-writable"));
}

TEST_F(SegmentationGolden, MissingCharacters) {
  WriteResources();
  WriteInput();
  std::filesystem::remove("data/binarySource");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("missing-characters"));
}

TEST_F(SegmentationGolden, MissingLanguageModel) {
  WriteResources();
  WriteInput();
  std::filesystem::remove("data/binarySegLM");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("missing-lm"));
}

TEST_F(SegmentationGolden, MissingModel) {
  WriteResources();
  WriteInput();
  std::filesystem::remove("data/binarySegModel");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("missing-model"));
}

TEST_F(SegmentationGolden, ProgressOf250Lines) {
  WriteResources();
  WriteText("in", Repeat("\n", 250));
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), Expected("progress-250"));
}

TEST_F(SegmentationGolden, ProgressOf5000Lines) {
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

TEST_F(SegmentationGolden, TextResources) {
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
  const std::string examples = PROJECT_DIR "/examples/";
  struct Example {
    std::string task;
    std::string input;
    std::string output;
  };
  for (const auto& [task, input, output] : {Example{"seg", "chinese.gbk", "chinese.seg.gbk"},
                                            {"segpos", "chinese.gbk", "chinese.segpos.gbk"},
                                            {"pos", "chinese.seg.gbk", "chinese.pos.gbk"},
                                            {"tok", "english.txt", "english.tok.txt"},
                                            {"tokpos", "english.txt", "english.tokpos.txt"}}) {
    EXPECT_EQ(Execute({"-i", examples + input, "-o", "out", "-t", task}), 0);
    EXPECT_EQ(ReadText("out"), ReadText(examples + output)) << task;
  }
}

}  // namespace
}  // namespace Tolvek
