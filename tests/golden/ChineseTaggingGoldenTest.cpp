// SPDX-License-Identifier: Apache-2.0
// The tasks that tag Chinese text: "segpos" segments and tags, "pos" tags what is segmented.
#include <filesystem>

#include "golden/Golden.h"
#include "unit/PosKnowledge.h"
#include "unit/SegKnowledge.h"

namespace Tolvek {
namespace {

const Arguments kSegPos{"-i", "in", "-o", "out", "-t", "segpos"};
const Arguments kPos{"-i", "in", "-o", "out", "-t", "pos"};

class ChineseTaggingGolden : public Golden {
 protected:
  static void WriteResources() {
    SegKnowledge segmentation;
    segmentation.Favour(kWo, 'B');
    segmentation.Favour(kMen, 'E');
    segmentation.FavourEach({kStop, "?"}, 'S');
    segmentation.Write();
    Tagging().Write();
  }

  static PosKnowledge Tagging() {
    PosKnowledge tagging;
    tagging.words = {{kWo + kMen, "n"}, {kStop, "w"}, {kYi, "a v"}};
    tagging.characters = {{kWo, "n v"}, {kMen, "v"}, {"x", "a"}};
    tagging.Add("9/S/0", {{"v", "1"}});   // no punctuation
    tagging.Add("11/M/0", {{"a", "1"}});  // begins with a digit
    tagging.Add("7/M/a", {{"a", "1"}});
    tagging.Add("8/M/n", {{"n", "1"}});
    tagging.After("w", {{"n", "3"}});
    return tagging;
  }

  /// A few lines of every kind.
  static void WriteInput() {
    WriteText("in", " " + kWo + kMen + kWo + kMen + kStop + "\r\n\n \t\n" +  //
                        "?" + kStop + "?" + kWo + kMen + "\n" +              //
                        "123" + kStop + "\nabx" + kMen + "\n" +              //
                        kWo + kMen + kWideSpace + kWo + kMen);
  }
  /// The same, segmented otherwise than the segmenter does it.
  static void WriteSegmentedInput() {
    WriteText("in", " " + kWo + kMen + " " + kWo + "\t " + kMen + kStop + " \r\n\n \t\n" +  //
                        "? " + kStop + " ? " + kYi + "\n" +                                 //
                        "12 " + kStop + " 3\n" +                                            //
                        kWo + kMen);
  }

  /// The golden file of 5000 lines has one line of the output file for all.
  static std::string WithOneLine(std::string report, const std::string& line) {
    const std::string all = Repeat(line, 5000);
    const std::size_t at = report.find("--- output file\n" + all + "--- end\n");
    EXPECT_NE(at, std::string::npos);
    if (at == std::string::npos) return report;
    return report.replace(report.find(all, at), all.size(), line);
  }

  /// Runs the program, which is to fail at the second line, and gives what is left, without the
  /// last words of the runtime library.
  static std::string RunToItsEnd(const Arguments& arguments) {
    std::string report = Run(arguments);
    const std::string start = "Processing:\n";
    const std::size_t begin = report.find(start) + start.size();
    const std::size_t end = report.find("--- output file");
    EXPECT_NE(report.substr(begin, end - begin).find("out_of_range"), std::string::npos) << report;
    if (begin < end && end != std::string::npos) report.erase(begin, end - begin);
    return report;
  }
};

TEST_F(ChineseTaggingGolden, SegmentationAndTagging) {
  WriteResources();
  WriteInput();
  for (const Arguments& arguments : {kSegPos,
                                     {"-t", "segpos", "-o", "out", "-i", "in"},
                                     {"-t", "seg", "-i", "in", "-t", "segpos", "-o", "out"}}) {
    EXPECT_EQ(Run(arguments), Expected("segpos")) << testing::PrintToString(arguments);
    std::filesystem::remove("out");
  }
}

TEST_F(ChineseTaggingGolden, Tagging) {
  WriteResources();
  WriteSegmentedInput();
  for (const Arguments& arguments : {kPos,
                                     {"-t", "pos", "-o", "out", "-i", "in"},
                                     {"-t", "tok", "-i", "in", "-t", "pos", "-o", "out"}}) {
    EXPECT_EQ(Run(arguments), Expected("pos")) << testing::PrintToString(arguments);
    std::filesystem::remove("out");
  }
}

TEST_F(ChineseTaggingGolden, AnExistingOutputIsReplaced) {
  WriteResources();
  WriteInput();
  WriteText("out", Repeat("something longer\n", 100));
  EXPECT_EQ(Run(kSegPos), Expected("segpos"));
  WriteSegmentedInput();
  WriteText("out", Repeat("something longer\n", 100));
  EXPECT_EQ(Run(kPos), Expected("pos"));
}

TEST_F(ChineseTaggingGolden, BlankLines) {
  WriteResources();
  WriteText("in", "\n \t \n\r\n");
  EXPECT_EQ(Run(kSegPos), Expected("segpos-blank-lines"));
  EXPECT_EQ(Run(kPos), Expected("pos-blank-lines"));
}

TEST_F(ChineseTaggingGolden, EmptyInput) {
  WriteResources();
  WriteText("in", "");
  EXPECT_EQ(Run(kSegPos), Expected("segpos-empty-input"));
  EXPECT_EQ(Run(kPos), Expected("pos-empty-input"));
}

TEST_F(ChineseTaggingGolden, MissingInput) {
  WriteResources();
  EXPECT_EQ(Run(kSegPos), Expected("tagging-missing-input"));
  EXPECT_EQ(Run(kPos), Expected("tagging-missing-input"));
}

TEST_F(ChineseTaggingGolden, OutputThatCannotBeWritten) {
  WriteResources();
  WriteInput();
  EXPECT_EQ(Run({"-i", "in", "-o", "nowhere/out", "-t", "segpos"}),
            Expected("segpos-output-not-writable"));
  EXPECT_EQ(Run({"-i", "in", "-o", "nowhere/out", "-t", "pos"}),
            Expected("pos-output-not-writable"));
}

TEST_F(ChineseTaggingGolden, MissingResources) {
  // Those of segmentation are needed too, and their lack is reported as in segmentation.
  for (const auto& [file, golden] : {std::pair{"data/Dict", "missing-dict"},
                                     {"data/binaryPosModel", "missing-pos-model"},
                                     {"data/binarySegModel", "missing-model"},
                                     {"data/binarySegLM", "missing-lm"},
                                     {"data/binarySource", "missing-characters"}}) {
    WriteResources();
    WriteInput();
    std::filesystem::remove(file);
    EXPECT_EQ(Run(kSegPos), Expected(golden));
    EXPECT_EQ(Run(kPos), Expected(golden));
  }
}

TEST_F(ChineseTaggingGolden, SegmentationNeedsNoTaggingResources) {
  WriteResources();
  WriteText("in", "?\n");
  const std::string report = Run({"-i", "in", "-o", "out"});
  std::filesystem::remove("data/Dict");
  std::filesystem::remove("data/binaryPosModel");
  EXPECT_EQ(Run({"-i", "in", "-o", "out"}), report);
  EXPECT_EQ(ReadText("out"), "? \n");
}

TEST_F(ChineseTaggingGolden, ProgressOf250Lines) {
  WriteResources();
  WriteText("in", Repeat("\n", 250));
  EXPECT_EQ(Run(kSegPos), Expected("segpos-progress-250"));
  EXPECT_EQ(Run(kPos), Expected("pos-progress-250"));
}

TEST_F(ChineseTaggingGolden, ProgressOf5000Lines) {
  WriteResources();
  WriteText("in", Repeat(kWo + kMen + kStop + "\n", 5000));
  EXPECT_EQ(WithOneLine(Run(kSegPos), kWo + kMen + "/n " + kStop + "/w \n"),
            Expected("segpos-progress-5000"));
  WriteText("in", Repeat(kWo + kMen + " " + kStop + "\n", 5000));
  EXPECT_EQ(WithOneLine(Run(kPos), kWo + kMen + "/n " + kStop + "/w \n"),
            Expected("pos-progress-5000"));
}

TEST_F(ChineseTaggingGolden, UnknownTagNames) {
  // Noted while loading, harmless as long as no word has one.
  WriteResources();
  PosKnowledge tagging = Tagging();
  tagging.words.emplace_back("q", "n zz");
  tagging.characters.emplace_back(kNian, "Zz");
  tagging.Write();
  WriteText("in", kWo + kMen + " " + kStop);
  EXPECT_EQ(Run(kPos), Expected("unknown-tags"));

  // The line before the one with such a word is written.
  WriteText("in", kWo + kMen + "\nq\n" + kWo + kMen + "\n");
  EXPECT_EQ(RunToItsEnd(kPos), Expected("unknown-tag-used"));
  WriteText("in", kWo + kMen + "\n" + kWo + kNian + "\n" + kWo + kMen + "\n");
  EXPECT_EQ(RunToItsEnd(kPos), Expected("unknown-tag-used"));
}

TEST_F(ChineseTaggingGolden, OddBytes) {
  WriteResources();
  const std::string zero("x\0\xCE", 3);
  WriteText("in", "/ " + kWo + kMen + "/n \xCE " + kWideSpace + " x\x80\xFF\n" +  //
                      kMen + "\xA0 " + zero + "\v" + kMen + "\x85\xCE\xC3\n\v\n\f\x7F");
  EXPECT_EQ(Run(kPos), Expected("pos-odd-bytes"));
  WriteText("in", "?\xCE\n" + kStop + "\x80\xFF" + kStop + "\n" + kWideSpace + "\n/?");
  EXPECT_EQ(Run(kSegPos), Expected("segpos-odd-bytes"));
}

TEST_F(ChineseTaggingGolden, ATextModelAndABinaryOne) {
  WriteResources();
  WriteSegmentedInput();
  WriteText("data/binaryPosModel", Tagging().me.Binary());
  EXPECT_EQ(Run(kPos), Expected("pos"));
}

}  // namespace
}  // namespace Tolvek
