// SPDX-License-Identifier: Apache-2.0
#include "english/LexEngPos.h"
#include "unit/EngKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

const std::string kRule(36, '#');
const std::string kNotReady = kRule + "\nThe PosTagger has not been initialized." + kRule + "\n";

class LexEngPosTest : public Scratch {
 protected:
  static void Write() {
    EngKnowledge knowledge;
    knowledge.List("the", "DT");
    knowledge.List("end", "NN");
    knowledge.List(".", ".");
    knowledge.Favour("end.", "VB");
    knowledge.Write();
  }
  void Initialize(bool preparePos) {
    Write();
    Capture([&] { ASSERT_TRUE(_lexer.Initialize(preparePos)); });
  }
  /// Initializes and returns the messages, then the result.
  static std::string Report(LexEngPos& lexer, bool preparePos) {
    return ReportOf([&] { return lexer.Initialize(preparePos); });
  }

  /// The same for loading from a folder.
  static std::string LoadReport(LexEngPos& lexer, const std::string& folder, bool preparePos) {
    return ReportOf([&] { return lexer.Load(folder, preparePos); });
  }
  template <class Call>
  static std::string ReportOf(const Call& call) {
    bool result = false;
    const Output output = Capture([&] { result = call(); });
    EXPECT_EQ(output.out, "");
    return output.err + (result ? "true" : "false");
  }

  /// Every request to tag is refused, and nothing is touched.
  static void ExpectRefusal(LexEngPos& lexer) {
    WriteText("in", "the end.\n");
    WriteText("old", "old");
    for (const bool tokenized : {false, true}) {
      for (const std::string input : {"in", "nofile"}) {
        for (const std::string target : {"old", "new", "nowhere/new"}) {
          bool result = true;
          const Output output =
              Capture([&] { result = lexer.EngTagFile(input, target, tokenized); });
          EXPECT_FALSE(result);
          EXPECT_EQ(output.err, kNotReady);
          EXPECT_EQ(output.out, "");
        }
      }
      std::string in = " the end.";
      std::string out = "untouched";
      const Output output = Capture([&] { lexer.EngTagSentence(in, out, tokenized); });
      EXPECT_EQ(output.err, kNotReady);
      EXPECT_EQ(output.out, "");
      EXPECT_EQ(out, "untouched");
      EXPECT_EQ(in, " the end.");
    }
    EXPECT_EQ(ReadText("old"), "old");
    EXPECT_FALSE(Exists("new"));
  }

  static std::string Tagged(LexEngPos& lexer, std::string line, bool tokenized) {
    std::string out = "old";
    lexer.EngTagSentence(line, out, tokenized);
    return out;
  }

  LexEngPos _lexer;
};

// Loading.

TEST_F(LexEngPosTest, WithoutTaggingOneListIsEnough) {
  Write();
  std::filesystem::remove("data/binaryEngPosModel");
  std::filesystem::remove("data/EngDict");
  EXPECT_EQ(Report(_lexer, false), "true") << "and nothing is announced";
  EXPECT_EQ(Report(_lexer, true),
            "English Postagger Initializing ... \n"
            "Can not open the ME model File: data/binaryEngPosModel\nfalse");
  ExpectRefusal(_lexer);
}

TEST_F(LexEngPosTest, WithTagging) {
  Write();
  EXPECT_EQ(Report(_lexer, true), "English Postagger Initializing ... done\ntrue");
}

TEST_F(LexEngPosTest, InitializeStopsAtTheFirstMissingResource) {
  const std::string noList = "Open data/abbtitle error!\nTokenizer Initialize Failed!\nfalse";
  for (const bool preparePos : {false, true}) {
    LexEngPos lexer;
    EXPECT_EQ(Report(lexer, preparePos), noList);
  }
  Write();
  std::filesystem::remove("data/abbtitle");
  LexEngPos second;
  EXPECT_EQ(Report(second, true), noList);
  ExpectRefusal(second);

  Write();
  std::filesystem::remove("data/EngDict");
  LexEngPos third;
  EXPECT_EQ(Report(third, true),
            "English Postagger Initializing ... \nOpen data/EngDict error.\nfalse");
  ExpectRefusal(third);

  std::filesystem::remove("data/binaryEngPosModel");
  LexEngPos fourth;
  EXPECT_EQ(Report(fourth, true),
            "English Postagger Initializing ... \n"
            "Can not open the ME model File: data/binaryEngPosModel\nfalse");
  ExpectRefusal(fourth);
}

TEST_F(LexEngPosTest, LoadsFromAnyFolder) {
  Write();
  std::filesystem::rename("data", "else where");
  const std::string absolute = std::filesystem::absolute("else where").string();
  for (const std::string& folder : {std::string("else where"), std::string("else where/"),
                                    std::string("./else where//"), absolute, absolute + "/"}) {
    LexEngPos lexer;
    EXPECT_EQ(LoadReport(lexer, folder, true), "English Postagger Initializing ... done\ntrue");
    EXPECT_EQ(Tagged(lexer, "the end.", false), "the/DT end/NN ./. ") << folder;
  }
  std::filesystem::current_path("else where");
  EXPECT_EQ(LoadReport(_lexer, "", true), "English Postagger Initializing ... done\ntrue")
      << "the working directory itself";
}

TEST_F(LexEngPosTest, LoadNamesTheFirstMissingResource) {
  Write();
  std::filesystem::rename("data", "share");
  const auto report = [](const std::string& folder, bool preparePos) {
    LexEngPos lexer;
    const std::string text = LoadReport(lexer, folder, preparePos);
    ExpectRefusal(lexer);
    return text;
  };
  std::filesystem::remove("share/EngDict");
  EXPECT_EQ(report("share", true),
            "English Postagger Initializing ... \nOpen share/EngDict error.\nfalse");
  std::filesystem::remove("share/binaryEngPosModel");
  EXPECT_EQ(report("./share/", true),
            "English Postagger Initializing ... \n"
            "Can not open the ME model File: ./share/binaryEngPosModel\nfalse");
  EXPECT_EQ(report("share", false), "true") << "the tokenizer does not need them";
  for (const bool preparePos : {false, true}) {
    EXPECT_EQ(report("nowhere", preparePos),
              "Open nowhere/abbtitle error!\nTokenizer Initialize Failed!\nfalse");
    EXPECT_EQ(report("", preparePos), "Open abbtitle error!\nTokenizer Initialize Failed!\nfalse");
  }
}

TEST_F(LexEngPosTest, ADictionaryThatEndsEarly) {
  Write();
  WriteText("data/EngDict", "3\nthe 1 DT\n");
  EXPECT_THROW(Capture([&] { _lexer.Initialize(true); }), std::out_of_range);
  ExpectRefusal(_lexer);
}

TEST_F(LexEngPosTest, TheBinaryModelIsTakenToo) {
  EngKnowledge knowledge;
  knowledge.Favour("x", "RB");
  knowledge.Write();
  WriteText("data/binaryEngPosModel", knowledge.me.Binary());
  EXPECT_EQ(Report(_lexer, true), "English Postagger Initializing ... done\ntrue");
  EXPECT_EQ(Tagged(_lexer, "x", false), "x/RB ");
}

TEST_F(LexEngPosTest, TaggingMayBePreparedLater) {
  Initialize(false);
  ExpectRefusal(_lexer);
  EXPECT_EQ(Report(_lexer, true), "English Postagger Initializing ... done\ntrue");
  EXPECT_EQ(Tagged(_lexer, "the end.", false), "the/DT end/NN ./. ");
}

// Tokens.

TEST_F(LexEngPosTest, TokenSentence) {
  for (const bool preparePos : {false, true}) {
    LexEngPos lexer;
    Write();
    Capture([&] { ASSERT_TRUE(lexer.Initialize(preparePos)); });
    std::string in = " \tMr. X (don't) say.\r\n";
    std::string out = "old";
    const Output output = Capture([&] { lexer.EngTokenSentence(in, out); });
    EXPECT_EQ(in, "Mr. X (don't) say.") << "the caller sees the trimmed text";
    EXPECT_EQ(out, "Mr. X ( do n't ) say .");
    EXPECT_EQ(output.out + output.err, "");
  }
}

TEST_F(LexEngPosTest, TokenSentenceOfBlanks) {
  Initialize(false);
  for (std::string in : {"", " \t\r\n"}) {
    std::string out = "old";
    _lexer.EngTokenSentence(in, out);
    EXPECT_EQ(in, "");
    EXPECT_EQ(out, "");
  }
}

TEST_F(LexEngPosTest, TokenFile) {
  for (const bool preparePos : {false, true}) {
    LexEngPos lexer;
    Write();
    Capture([&] { ASSERT_TRUE(lexer.Initialize(preparePos)); });
    WriteText("in", "the end.\n\nI'm\n");
    bool result = false;
    const Output output = Capture([&] { result = lexer.EngTokenFile("in", "out"); });
    EXPECT_TRUE(result);
    EXPECT_EQ(output.out, "Processing:\n\n3 sentences in total.\n");
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(ReadText("out"), "the end .\n\nI 'm\n");
  }
}

TEST_F(LexEngPosTest, TokensOfAMissingFile) {
  Initialize(false);
  bool result = true;
  const Output output = Capture([&] { result = _lexer.EngTokenFile("nofile", "out"); });
  EXPECT_FALSE(result);
  EXPECT_EQ(output.err, "Open nofile error!\n");
  EXPECT_EQ(output.out, "");
  EXPECT_FALSE(Exists("out"));
}

TEST_F(LexEngPosTest, TokensNeedNoPreparation) {
  std::string in = "Don't (stop).";
  std::string out;
  _lexer.EngTokenSentence(in, out);
  EXPECT_EQ(out, "Do n't (stop) .") << "no lists, but no refusal";
}

// Tags.

TEST_F(LexEngPosTest, TaggingThatWasNotPrepared) {
  ExpectRefusal(_lexer);
  Initialize(false);
  ExpectRefusal(_lexer);
}

TEST_F(LexEngPosTest, TagSentence) {
  Initialize(true);
  for (const bool tokenized : {false, true}) {
    std::string in = " \tthe end.\r\n";
    std::string out = "old";
    const Output output = Capture([&] { _lexer.EngTagSentence(in, out, tokenized); });
    EXPECT_EQ(in, "the end.") << "the caller sees the trimmed text";
    EXPECT_EQ(out, tokenized ? "the/DT end./VB " : "the/DT end/NN ./. ");
    EXPECT_EQ(output.out + output.err, "");
  }
}

TEST_F(LexEngPosTest, TagSentenceOfBlanks) {
  Initialize(true);
  for (const bool tokenized : {false, true}) {
    for (std::string in : {"", " \t\r\n"}) {
      std::string out = "old";
      EXPECT_EQ(ErrorOf([&] { _lexer.EngTagSentence(in, out, tokenized); }), "");
      EXPECT_EQ(in, "");
      EXPECT_EQ(out, "");
    }
  }
}

TEST_F(LexEngPosTest, TagFile) {
  Initialize(true);
  WriteText("in", "the end.\n\nthe\n");
  for (const bool tokenized : {false, true}) {
    bool result = false;
    const Output output = Capture([&] { result = _lexer.EngTagFile("in", "out", tokenized); });
    EXPECT_TRUE(result);
    EXPECT_EQ(output.out, "Processing:\n\n3 sentences in total.\n");
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(ReadText("out"),
              tokenized ? "the/DT end./VB \nthe/DT \n" : "the/DT end/NN ./. \nthe/DT \n");
  }
}

TEST_F(LexEngPosTest, TagsOfAMissingFile) {
  Initialize(true);
  bool result = true;
  const Output output = Capture([&] { result = _lexer.EngTagFile("nofile", "out", false); });
  EXPECT_FALSE(result);
  EXPECT_EQ(output.err, "Open nofile error!\n");
  EXPECT_EQ(output.out, "");
  EXPECT_FALSE(Exists("out"));
}

TEST_F(LexEngPosTest, TheOrderIsTwo) {
  // "x" is VB after NN, whatever stands before that.
  EngKnowledge knowledge;
  knowledge.FavourAfter("NN", "VB");
  knowledge.List("n", "NN");
  knowledge.List("d", "DT");
  knowledge.List("x", "RB VB");
  knowledge.me.Add("2/x", {{3, "1"}});
  knowledge.Write();
  Capture([&] { ASSERT_TRUE(_lexer.Initialize(true)); });
  EXPECT_EQ(Tagged(_lexer, "d n x", true), "d/DT n/NN x/VB ");
  EXPECT_EQ(Tagged(_lexer, "n d x", true), "n/NN d/DT x/RB ");
}

TEST_F(LexEngPosTest, ManyFacades) {
  Initialize(true);
  LexEngPos other;
  EngKnowledge knowledge;
  knowledge.List("the", "RB");
  knowledge.Write();
  Capture([&] { ASSERT_TRUE(other.Initialize(true)); });
  EXPECT_EQ(Tagged(other, "the", false), "the/RB ");
  EXPECT_EQ(Tagged(_lexer, "the", false), "the/DT ");
}

}  // namespace
}  // namespace Tolvek
