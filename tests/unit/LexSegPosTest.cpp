// SPDX-License-Identifier: Apache-2.0
#include "chinese/LexSegPos.h"
#include "unit/PosKnowledge.h"
#include "unit/Scratch.h"
#include "unit/SegKnowledge.h"

namespace Tolvek {
namespace {

const std::string kRuleText(36, '#');
const std::string kNotInitialized =
    kRuleText + "\nThe PosTagger has not been initialized." + kRuleText + "\n";

class LexSegPosTest : public Scratch {
 protected:
  void Initialize() {
    SegKnowledge knowledge;
    knowledge.FavourEach({kWo, kMen}, 'S');
    knowledge.Write();
    Capture([this] { ASSERT_TRUE(_lexer.Initialize(false)); });
  }
  /// Initializes and returns the messages, then the result.
  static std::string Report(bool pos = false) {
    return ReportOf([&] { return LexSegPos().Initialize(pos); });
  }
  /// The same for loading from a folder.
  static std::string LoadReport(LexSegPos& lexer, const std::string& folder, bool pos) {
    return ReportOf([&] { return lexer.Load(folder, pos); });
  }
  template <class Call>
  static std::string ReportOf(const Call& call) {
    bool result = false;
    const Output output = Capture([&] { result = call(); });
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

TEST_F(LexSegPosTest, LoadsFromAnyFolder) {
  SegKnowledge knowledge;
  knowledge.FavourEach({kWo, kMen}, 'S');
  knowledge.Write();
  std::filesystem::rename("data", "else where");
  const std::string absolute = std::filesystem::absolute("else where").string();
  for (const std::string& folder : {std::string("else where"), std::string("else where/"),
                                    std::string("./else where//"), absolute, absolute + "/"}) {
    LexSegPos lexer;
    EXPECT_EQ(LoadReport(lexer, folder, false),
              "Initializing ......\nSegmentor Initializing ... done\n"
              "Initialization is finished.\ntrue");
    std::string in = kWo + kMen;
    std::string out;
    EXPECT_TRUE(lexer.SegPosSentence(in, out, false));
    EXPECT_EQ(out, kWo + " " + kMen + " ") << folder;
  }
  std::filesystem::current_path("else where");
  LexSegPos lexer;
  EXPECT_EQ(
      LoadReport(lexer, "", false),
      "Initializing ......\nSegmentor Initializing ... done\nInitialization is finished.\ntrue")
      << "the working directory itself";
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
  WriteText("in", kWo + "\n");
  bool result = true;
  Output output = Capture([&] { result = _lexer.SegPosFile("in", "out", true); });
  EXPECT_FALSE(result);
  EXPECT_EQ(output.err, kNotInitialized);
  EXPECT_EQ(output.out, "");
  EXPECT_FALSE(Exists("out"));

  std::string in = " " + kWo;
  std::string out = "untouched";
  result = true;
  output = Capture([&] { result = _lexer.SegPosSentence(in, out, true); });
  EXPECT_FALSE(result);
  EXPECT_EQ(output.err, kNotInitialized);
  EXPECT_EQ(output.out, "");
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

// Tagging.

class LexSegPosTagging : public LexSegPosTest {
 protected:
  LexSegPosTagging() {
    SegKnowledge segmentation;
    segmentation.Favour(kWo, 'B');
    segmentation.Favour(kMen, 'E');
    segmentation.Favour(kStop, 'S');
    segmentation.Write();
    PosKnowledge tagging;
    tagging.words = {{kWo + kMen, "n"}, {kStop, "w"}, {"x", "v"}, {kWo + kStop, "a"}};
    tagging.Write();
  }

  void InitializeTagging() {
    Capture([this] { ASSERT_TRUE(_lexer.Initialize(true)); });
  }

  /// Was the facade asked to prepare tagging? Tells by what it says of a file that is not there.
  static bool IsPosReady(LexSegPos& lexer) {
    bool result = false;
    const std::string messages = ErrorOf([&] { result = lexer.SegPosFile("nofile", "out", true); });
    EXPECT_EQ(messages, result ? kMissing : kNotInitialized);
    return result;
  }

  static const std::string kMissing;  ///< what is said of "nofile"
};

const std::string LexSegPosTagging::kMissing =
    kRuleText + "\nOpen nofile error.\n" + kRuleText + "\n";

TEST_F(LexSegPosTagging, InitializeReports) {
  EXPECT_EQ(Report(true),
            "Initializing ......\nSegmentor Initializing ... done\n"
            "Postagger Initializing ... done\nInitialization is finished.\ntrue");
}

TEST_F(LexSegPosTagging, InitializeStopsAtTheFirstMissingResource) {
  const std::string start = "Initializing ......\nSegmentor Initializing ... ";
  std::filesystem::remove("data/Dict");
  EXPECT_EQ(Report(true),
            start + "done\nPostagger Initializing ... \nOpen data/Dict error.\nfalse");
  std::filesystem::remove("data/binaryPosModel");
  EXPECT_EQ(Report(true), start +
                              "done\nPostagger Initializing ... \n"
                              "Can not open the ME model File: data/binaryPosModel\nfalse");
  EXPECT_EQ(Report(false), start + "done\nInitialization is finished.\ntrue")
      << "segmentation does not need them";
  std::filesystem::remove("data/binarySegModel");
  EXPECT_EQ(Report(true), start + "\nCan not open the ME model File: data/binarySegModel\nfalse");
  std::filesystem::remove("data/binarySegLM");
  EXPECT_EQ(Report(true),
            start + "\nCan not open the Language Model File: data/binarySegLM\nfalse");
  std::filesystem::remove("data/binarySource");
  EXPECT_EQ(Report(true),
            "Initializing ......\nCan not open the Model File: data/binarySource\nfalse");
}

TEST_F(LexSegPosTagging, LoadsFromAnyFolder) {
  std::filesystem::rename("data", "share");
  LexSegPos lexer;
  EXPECT_EQ(LoadReport(lexer, "share", true),
            "Initializing ......\nSegmentor Initializing ... done\n"
            "Postagger Initializing ... done\nInitialization is finished.\ntrue");
  std::string in = kWo + kMen + kStop;
  std::string out;
  EXPECT_TRUE(lexer.SegPosSentence(in, out, true));
  EXPECT_EQ(out, kWo + kMen + "/n " + kStop + "/w ");
}

TEST_F(LexSegPosTagging, LoadNamesTheFirstMissingResource) {
  std::filesystem::rename("data", "share");
  const std::string start = "Initializing ......\nSegmentor Initializing ... ";
  const auto report = [](const std::string& folder) {
    LexSegPos lexer;
    return LoadReport(lexer, folder, true);
  };
  std::filesystem::remove("share/Dict");
  EXPECT_EQ(report("share"),
            start + "done\nPostagger Initializing ... \nOpen share/Dict error.\nfalse");
  std::filesystem::remove("share/binaryPosModel");
  EXPECT_EQ(report("share/"), start +
                                  "done\nPostagger Initializing ... \n"
                                  "Can not open the ME model File: share/binaryPosModel\nfalse");
  std::filesystem::remove("share/binarySegModel");
  EXPECT_EQ(report("./share"),
            start + "\nCan not open the ME model File: ./share/binarySegModel\nfalse");
  std::filesystem::remove("share/binarySegLM");
  EXPECT_EQ(report("share"),
            start + "\nCan not open the Language Model File: share/binarySegLM\nfalse");
  std::filesystem::remove("share/binarySource");
  EXPECT_EQ(report("share"),
            "Initializing ......\nCan not open the Model File: share/binarySource\nfalse");
  EXPECT_EQ(report("nowhere"),
            "Initializing ......\nCan not open the Model File: nowhere/binarySource\nfalse");
  EXPECT_EQ(report(""), "Initializing ......\nCan not open the Model File: binarySource\nfalse");
}

TEST_F(LexSegPosTagging, TheFlagIsSetBeforeTheModelsAreLoaded) {
  LexSegPos none;
  EXPECT_FALSE(IsPosReady(none)) << "after construction";
  LexSegPos all;
  Capture([&] { EXPECT_TRUE(all.Initialize(true)); });
  EXPECT_TRUE(IsPosReady(all));
  for (const char* name :
       {"data/Dict", "data/binaryPosModel", "data/binarySegModel", "data/binarySegLM"}) {
    std::filesystem::remove(name);
    LexSegPos lexer;
    Capture([&] { EXPECT_FALSE(lexer.Initialize(true)); });
    EXPECT_TRUE(IsPosReady(lexer)) << name;
  }
  std::filesystem::remove("data/binarySource");
  LexSegPos lexer;
  Capture([&] { EXPECT_FALSE(lexer.Initialize(true)); });
  EXPECT_FALSE(IsPosReady(lexer)) << "the characters come before";
}

TEST_F(LexSegPosTagging, SegPosSentence) {
  InitializeTagging();
  std::string in = " \t" + kWo + kMen + kStop + "\r\n";
  std::string out = "old";
  EXPECT_TRUE(_lexer.SegPosSentence(in, out, true));
  EXPECT_EQ(in, kWo + kMen + kStop) << "the caller sees the trimmed text";
  EXPECT_EQ(out, kWo + kMen + "/n " + kStop + "/w ");
  EXPECT_TRUE(_lexer.SegPosSentence(in, out, false));
  EXPECT_EQ(out, kWo + kMen + " " + kStop + " ");
}

TEST_F(LexSegPosTagging, SegPosSentenceOfBlanks) {
  InitializeTagging();
  for (std::string in : {"", " \t\r\n"}) {
    std::string out = "old";
    EXPECT_TRUE(_lexer.SegPosSentence(in, out, true));
    EXPECT_EQ(in, "");
    EXPECT_EQ(out, "");
  }
}

TEST_F(LexSegPosTagging, ALineOfWhichNothingIsLeft) {
  InitializeTagging();
  std::string in = kWideSpace;
  std::string out = "old";
  EXPECT_TRUE(_lexer.SegPosSentence(in, out, true));
  EXPECT_EQ(out, "");
}

TEST_F(LexSegPosTagging, TagSentence) {
  InitializeTagging();
  std::string in = kStop + kWo + kMen + " x";
  std::string out = "old";
  _lexer.TagSentence(in, out);
  EXPECT_EQ(out, kStop + "/w " + kWo + kMen + "/n x/v ");
  in = " ";
  EXPECT_THROW(_lexer.TagSentence(in, out), std::out_of_range) << "blank lines are not checked";
}

TEST_F(LexSegPosTagging, TheTaggersOrderIsTwo) {
  PosKnowledge tagging;
  tagging.words = {{kWo + kMen, "n"}, {kStop, "v"}, {"x", "a w"}};
  tagging.After("v", {{"a", "2"}});
  tagging.After("n", {{"w", "2"}});  // seen by order 3
  tagging.After("w", {{"w", "5"}});  // seen by order 1
  tagging.Write();
  InitializeTagging();
  std::string in = kWo + kMen + kStop + "x";
  std::string out;
  _lexer.TagSentence(in, out);
  EXPECT_EQ(out, kWo + kMen + "/n " + kStop + "/v x/a ");
}

TEST_F(LexSegPosTagging, TheTaggerKnowsTheCharacters) {
  PosKnowledge tagging;
  tagging.Add("9/S/1", {{"w", "1"}});   // punctuation
  tagging.Add("11/S/3", {{"a", "1"}});  // letters
  tagging.Write();
  InitializeTagging();
  std::string in = kStop + "x";
  std::string out;
  _lexer.TagSentence(in, out);
  EXPECT_EQ(out, kStop + "/w x/a ");
}

TEST_F(LexSegPosTagging, AFileIsSegmentedAndTagged) {
  InitializeTagging();
  WriteText("in", " " + kWo + kMen + kStop + "\r\n\n \t\nx" + kStop);
  const std::string progress = "Processing:\n\n4 sentences in total.\n";
  const std::string expected = kWo + kMen + "/n " + kStop + "/w \n\n\nx/v " + kStop + "/w \n";
  Output output = Capture([&] { _lexer.TagFile("in", "out1"); });
  EXPECT_EQ(output.out, progress);
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(ReadText("out1"), expected);
  bool result = false;
  output = Capture([&] { result = _lexer.SegPosFile("in", "out2", true); });
  EXPECT_TRUE(result);
  EXPECT_EQ(output.out, progress);
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(ReadText("out2"), expected);
}

TEST_F(LexSegPosTagging, SegmentationStaysUntagged) {
  InitializeTagging();
  WriteText("in", kWo + kMen + kStop);
  Capture([&] { EXPECT_TRUE(_lexer.SegPosFile("in", "out", false)); });
  EXPECT_EQ(ReadText("out"), kWo + kMen + " " + kStop + " \n");
}

TEST_F(LexSegPosTagging, AFileThatIsSegmentedIsTagged) {
  InitializeTagging();
  // The segmenter would take these apart otherwise.
  WriteText("in", " " + kWo + kStop + "\t" + kWo + kMen + " \r\n\n \t\nx");
  bool result = false;
  const Output output = Capture([&] { result = _lexer.PosFile("in", "out"); });
  EXPECT_TRUE(result);
  EXPECT_EQ(output.out, "");
  EXPECT_EQ(output.err, "Processing:\n\n4 sentences in total.\n");
  EXPECT_EQ(ReadText("out"), kWo + kStop + "/a " + kWo + kMen + "/n \n\n\nx/v \n");
}

TEST_F(LexSegPosTagging, ProgressOfFiles) {
  InitializeTagging();
  const std::string of250 = "Processing:\n..\n250 sentences in total.\n";
  WriteText("in", Repeat("\nx\n", 125));
  EXPECT_EQ(Capture([&] { _lexer.TagFile("in", "out"); }).out, of250);
  EXPECT_EQ(Capture([&] { _lexer.PosFile("in", "out"); }).err, of250);
  const std::string of5000 =
      "Processing:\n" + std::string(50, '.') + "\t5000 sentences\n.\n5100 sentences in total.\n";
  WriteText("in", Repeat("\n", 5100));
  EXPECT_EQ(Capture([&] { _lexer.TagFile("in", "out"); }).out, of5000);
  EXPECT_EQ(Capture([&] { _lexer.PosFile("in", "out"); }).err, of5000);
}

TEST_F(LexSegPosTagging, BlankLinesNeedNoComponent) {
  LexSegPos lexer;  // nothing is loaded
  WriteText("in", "\n \t\n\r\n");
  const std::string progress = "Processing:\n\n3 sentences in total.\n";
  EXPECT_EQ(Capture([&] { lexer.TagFile("in", "out1"); }).out, progress);
  EXPECT_EQ(ReadText("out1"), "\n\n\n");
  EXPECT_EQ(Capture([&] { EXPECT_TRUE(lexer.PosFile("in", "out2")); }).err, progress);
  EXPECT_EQ(ReadText("out2"), "\n\n\n");
}

TEST_F(LexSegPosTagging, MissingInput) {
  InitializeTagging();
  Output output = Capture([&] { _lexer.TagFile("nofile", "out"); });
  EXPECT_EQ(output.err, kMissing);
  EXPECT_EQ(output.out, "");
  output = Capture([&] { EXPECT_FALSE(_lexer.PosFile("nofile", "out")); });
  EXPECT_EQ(output.err, kMissing);
  EXPECT_EQ(output.out, "");
  output = Capture([&] { EXPECT_TRUE(_lexer.SegPosFile("nofile", "out", true)); });
  EXPECT_EQ(output.err, kMissing);
  EXPECT_EQ(output.out, "");
  EXPECT_FALSE(Exists("out"));
}

TEST_F(LexSegPosTagging, AnOutputThatCannotBeWrittenLosesTheLinesOnly) {
  InitializeTagging();
  WriteText("in", "x\nx\n");
  const std::string progress = "Processing:\n\n2 sentences in total.\n";
  Output output = Capture([&] { _lexer.TagFile("in", "nowhere/out"); });
  EXPECT_EQ(output.out, progress);
  EXPECT_EQ(output.err, "");
  output = Capture([&] { EXPECT_TRUE(_lexer.PosFile("in", "nowhere/out")); });
  EXPECT_EQ(output.out, "");
  EXPECT_EQ(output.err, progress);
}

TEST_F(LexSegPosTagging, WithoutTaggingResourcesTagsAreEmpty) {
  Capture([this] { ASSERT_TRUE(_lexer.Initialize(false)); });
  std::string in = kWo + kMen + kStop;
  std::string out = "old";
  Capture([&] { _lexer.TagSentence(in, out); });
  EXPECT_EQ(out, kWo + kMen + "/ " + kStop + "/ ");
  WriteText("in", kWo + kMen + " x\n");
  Capture([&] { _lexer.TagFile("in", "out1"); });
  EXPECT_EQ(ReadText("out1"), kWo + kMen + "/ x/ \n");
  Capture([&] { EXPECT_TRUE(_lexer.PosFile("in", "out2")); });
  EXPECT_EQ(ReadText("out2"), kWo + kMen + "/ x/ \n");
}

}  // namespace
}  // namespace Tolvek
