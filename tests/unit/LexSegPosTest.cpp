// SPDX-License-Identifier: Apache-2.0
#include "chinese/LexSegPos.h"
#include "unit/Scratch.h"
#include "unit/SegKnowledge.h"

namespace Tolvek {
namespace {

const std::string kRule(36, '#');

class LexSegPosTest : public Scratch {
 protected:
  void Initialize() {
    SegKnowledge knowledge;
    knowledge.FavourEach({kWo, kMen}, 'S');
    knowledge.Write();
    Capture([this] { ASSERT_TRUE(_lexer.Initialize(false)); });
  }
  /// Initializes and returns the messages, then the result.
  std::string Report() {
    bool result = false;
    const Output output = Capture([&] { result = LexSegPos().Initialize(false); });
    EXPECT_EQ(output.out, "");
    return output.err + (result ? "true" : "false");
  }

  LexSegPos _lexer;
};

TEST_F(LexSegPosTest, InitializeReports) {
  SegKnowledge().Write();
  EXPECT_EQ(
      Report(),
      "Initializing ......\nSegmentor Initializing ... done\nInitialization is finished.\ntrue");
}

TEST_F(LexSegPosTest, InitializeStopsAtTheFirstMissingResource) {
  EXPECT_EQ(Report(), "Initializing ......\nCan not open the Model File: data/binarySource\nfalse");
  SegKnowledge().Write();
  std::filesystem::remove("data/binarySegModel");
  EXPECT_EQ(Report(),
            "Initializing ......\nSegmentor Initializing ... \n"
            "Can not open the ME model File: data/binarySegModel\nfalse");
  std::filesystem::remove("data/binarySegLM");
  EXPECT_EQ(Report(),
            "Initializing ......\nSegmentor Initializing ... \n"
            "Can not open the Language Model File: data/binarySegLM\nfalse");
}

TEST_F(LexSegPosTest, OnlyTheBinaryCharacterResourceIsUsed) {
  SegKnowledge().Write();
  std::filesystem::remove("data/binarySource");
  WriteText("data/Punc", Section({","}));
  EXPECT_EQ(Report(), "Initializing ......\nCan not open the Model File: data/binarySource\nfalse");
}

TEST_F(LexSegPosTest, SegmentSentence) {
  Initialize();
  std::string in = " " + kWo + kMen + "\n";
  std::string out = "old";
  _lexer.SegmentSentence(in, out);
  EXPECT_EQ(out, kWo + " " + kMen + " ");
  in = " ";
  EXPECT_THROW(_lexer.SegmentSentence(in, out), std::out_of_range);
}

TEST_F(LexSegPosTest, SegPosSentence) {
  Initialize();
  std::string in = " \t" + kWo + kMen + "\r\n";
  std::string out = "old";
  EXPECT_TRUE(_lexer.SegPosSentence(in, out, false));
  EXPECT_EQ(in, kWo + kMen) << "the caller sees the trimmed text";
  EXPECT_EQ(out, kWo + " " + kMen + " ");
}

TEST_F(LexSegPosTest, SegPosSentenceOfBlanks) {
  Initialize();
  for (std::string in : {"", " \t\r\n"}) {
    std::string out = "old";
    EXPECT_TRUE(_lexer.SegPosSentence(in, out, false));
    EXPECT_EQ(in, "");
    EXPECT_EQ(out, "");
  }
}

TEST_F(LexSegPosTest, Files) {
  Initialize();
  WriteText("in", kWo + kMen + "\n\n");
  const std::string progress = "Processing:\n\n2 sentences in total.\n";
  const std::string expected = kWo + " " + kMen + " \n\n";
  EXPECT_EQ(Capture([&] { _lexer.SegmentFile("in", "out1"); }).out, progress);
  EXPECT_EQ(ReadText("out1"), expected);
  bool result = false;
  EXPECT_EQ(Capture([&] { result = _lexer.SegPosFile("in", "out2", false); }).out, progress);
  EXPECT_TRUE(result);
  EXPECT_EQ(ReadText("out2"), expected);
}

TEST_F(LexSegPosTest, AMissingInputIsNoFailureOfSegmentation) {
  Initialize();
  bool result = false;
  const Output output = Capture([&] { result = _lexer.SegPosFile("nofile", "out", false); });
  EXPECT_TRUE(result);
  EXPECT_EQ(output.err, "*****\nCannot open nofile\n*****\n");
  EXPECT_EQ(output.out, "");
  EXPECT_FALSE(Exists("out"));
}

TEST_F(LexSegPosTest, TaggingThatWasNotPrepared) {
  Initialize();
  const std::string report = kRule + "\nThe PosTagger has not been initialized." + kRule + "\n";
  WriteText("in", kWo + "\n");
  bool result = true;
  Output output = Capture([&] { result = _lexer.SegPosFile("in", "out", true); });
  EXPECT_FALSE(result);
  EXPECT_EQ(output.err, report);
  EXPECT_EQ(output.out, "");
  EXPECT_FALSE(Exists("out"));

  std::string in = " " + kWo;
  std::string out = "untouched";
  result = true;
  output = Capture([&] { result = _lexer.SegPosSentence(in, out, true); });
  EXPECT_FALSE(result);
  EXPECT_EQ(output.err, report);
  EXPECT_EQ(out, "untouched");
  EXPECT_EQ(in, " " + kWo);
}

TEST_F(LexSegPosTest, AlphaIsThreeTenthsAndTheOrderTwo) {
  // A word is 10 / ln 10 = 4.34 a character better in the ME model. Single characters are given a
  // lead of d a character in the language model: 0.7 * 4.34 = 0.3 d at d = 10.1.
  for (const auto& [lead, expected] : {std::pair{"-9.5", "pq "}, {"-10.8", "p q "}}) {
    SegKnowledge knowledge;
    knowledge.me.Add("2/p", {{0, "5"}});
    knowledge.me.Add("2/q", {{2, "5"}});
    knowledge.lm = {{{lead, "p/B", ""}, {lead, "q/E", ""}, {"0", "p/S", ""}, {"0", "q/S", ""}}};
    knowledge.Write();
    LexSegPos lexer;
    Capture([&] { ASSERT_TRUE(lexer.Initialize(false)); });
    std::string in = "pq";
    std::string out;
    lexer.SegmentSentence(in, out);
    EXPECT_EQ(out, expected);
  }
}

TEST_F(LexSegPosTest, ManyFacades) {
  Initialize();
  LexSegPos other;
  Capture([&] { ASSERT_TRUE(other.Initialize(false)); });
  std::string in = kWo;
  std::string out;
  EXPECT_TRUE(other.SegPosSentence(in, out, false));
  EXPECT_TRUE(_lexer.SegPosSentence(in, out, false));
  EXPECT_EQ(out, kWo + " ");
}

}  // namespace
}  // namespace Tolvek
