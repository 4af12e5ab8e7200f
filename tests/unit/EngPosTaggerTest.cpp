// SPDX-License-Identifier: Apache-2.0
#include "english/EngPosTagger.h"
#include "unit/EngKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using History = std::deque<int>;
using Words = std::vector<std::string>;

class EngPosTaggerTest : public Scratch {
 protected:
  void Load(const EngKnowledge& knowledge) {
    knowledge.Write();
    Capture([this] {
      ASSERT_TRUE(_tokenizer.Initialize());
      ASSERT_TRUE(_scorer.Initialize("data/binaryEngPosModel", "data/EngDict"));
    });
    EXPECT_EQ(_tagger.Initialize(&_tokenizer, &_scorer), 1);
  }

  /// A few words with their tags.
  void LoadWords() {
    EngKnowledge knowledge;
    knowledge.List("the", "DT");
    knowledge.List("dog", "NN VB");
    knowledge.List(".", ".");
    knowledge.List("do", "VB");
    knowledge.List("n't", "RB");
    knowledge.Favour("dog", "NN");
    knowledge.Favour("go", "VB");
    Load(knowledge);
  }

  std::string Tagged(std::string line, bool tokenized) {
    std::string out = "old";
    _tagger.TagSentence(line, out, tokenized);
    return out;
  }

  /// The output of a file with these bytes, after a look at the progress.
  std::string FileOf(const std::string& bytes, bool tokenized, const std::string& progress) {
    WriteText("in", bytes);
    int result = 0;
    const Output output = Capture([&] { result = _tagger.TagFile("in", "out", tokenized); });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(output.out, progress);
    EXPECT_EQ(output.err, "");
    return ReadText("out");
  }

  EngToken _tokenizer;
  EngPosScore _scorer;
  EngPosTagger _tagger{2};
};

TEST_F(EngPosTaggerTest, InitializeIsSilent) {
  int result = 0;
  const Output output = Capture([&] { result = _tagger.Initialize(&_tokenizer, &_scorer); });
  EXPECT_EQ(result, 1) << "ready or not";
  EXPECT_EQ(output.out + output.err, "");
}

TEST_F(EngPosTaggerTest, SplitLineAppends) {
  Words words{"old"};
  EngPosTagger::SplitLine(" a\tb \v c.\r\n", words);
  EXPECT_EQ(words, (Words{"old", "a", "b", "c."}));
}

TEST_F(EngPosTaggerTest, CheckEqual) {
  EXPECT_TRUE(EngPosTagger::CheckEqual({}, {}));
  EXPECT_TRUE(EngPosTagger::CheckEqual({-1, 2}, {-1, 2}));
  EXPECT_FALSE(EngPosTagger::CheckEqual({0, 2}, {-1, 2}));
  EXPECT_FALSE(EngPosTagger::CheckEqual({-1, 2}, {-1, 3}));
}

TEST_F(EngPosTaggerTest, CheckMerge) {
  EXPECT_TRUE(EngPosTagger::CheckMerge({}, {}));
  EXPECT_TRUE(EngPosTagger::CheckMerge({1}, {2}));
  EXPECT_TRUE(EngPosTagger::CheckMerge({1, 2}, {3, 2}));
  EXPECT_FALSE(EngPosTagger::CheckMerge({1, 2}, {1, 3}));
  EXPECT_FALSE(EngPosTagger::CheckMerge({1, 2, 4}, {1, 3, 4}));
}

TEST_F(EngPosTaggerTest, HistoriesOfDifferentLengths) {
  const std::string report = "The size of context are not the same!\n";
  bool result = true;
  EXPECT_EQ(ErrorOf([&] { result = EngPosTagger::CheckEqual({1}, {1, 1}); }), report);
  EXPECT_FALSE(result);
  result = true;
  EXPECT_EQ(ErrorOf([&] { result = EngPosTagger::CheckMerge({1}, {1, 1}); }), report);
  EXPECT_FALSE(result);
}

// The decoder.

TEST_F(EngPosTaggerTest, OneTagAWord) {
  LoadWords();
  std::vector<int> tags{7, 7, 7, 7};
  _tagger.RenewLattice({"the", "dog", "."});
  _tagger.Viterbi(tags);
  EXPECT_EQ(tags, (std::vector<int>{0, 1, 4}));
}

TEST_F(EngPosTaggerTest, NoWords) {
  LoadWords();
  std::vector<int> tags{7};
  _tagger.RenewLattice({"the"});
  _tagger.RenewLattice({});
  EXPECT_EQ(ErrorOf([&] { _tagger.Viterbi(tags); }), "");
  EXPECT_EQ(tags, std::vector<int>{});
}

TEST_F(EngPosTaggerTest, OneWordHasItsBestTag) {
  EngKnowledge knowledge;
  knowledge.me.Add("2/run", {{1, "1"}, {2, "2"}, {3, "9"}});
  knowledge.List("run", "NN VB DT");
  Load(knowledge);
  EXPECT_EQ(Tagged("run", true), "run/VB ") << "RB is not listed";
}

TEST_F(EngPosTaggerTest, AnUnknownWordMayHaveEveryTag) {
  for (const std::string tag : {"DT", "NN", "VB", "RB", "."}) {
    EngKnowledge knowledge;
    knowledge.Favour("zyx", tag);
    knowledge.List("a", "NN");
    knowledge.Write();
    EngPosScore scorer;
    Capture([&] { ASSERT_TRUE(scorer.Initialize("data/binaryEngPosModel", "data/EngDict")); });
    _tagger.Initialize(&_tokenizer, &scorer);
    EXPECT_EQ(Tagged("zyx", true), "zyx/" + tag + " ");
    EXPECT_EQ(Tagged("a zyx a", true), "a/NN zyx/" + tag + " a/NN ");
  }
}

TEST_F(EngPosTaggerTest, TheBestSequenceNotTheBestTags) {
  // By itself "a" is rather NN, but what follows fits VB better.
  EngKnowledge knowledge;
  knowledge.me.Add("2/a", {{1, "0.5"}});
  knowledge.FavourAfter("VB", "DT", "3");
  knowledge.List("a", "NN VB");
  knowledge.List("b", "DT");
  Load(knowledge);
  EXPECT_EQ(Tagged("a", true), "a/NN ");
  EXPECT_EQ(Tagged("a b", true), "a/VB b/DT ");
  EXPECT_EQ(Tagged("a a b a", true), "a/NN a/VB b/DT a/NN ");
}

TEST_F(EngPosTaggerTest, TheSentenceHasEdges) {
  EngKnowledge knowledge;
  knowledge.FavourAfter("B_0", "NN");
  knowledge.me.Add("1/B_0", {{2, "1"}});
  knowledge.me.Add("3/E_0", {{3, "4"}});
  knowledge.List("y", "DT");
  Load(knowledge);
  EXPECT_EQ(Tagged("x y z", true), "x/NN y/DT z/RB ");
  EXPECT_EQ(Tagged("z y x", true), "z/NN y/DT x/RB ");
}

TEST_F(EngPosTaggerTest, PreviousAndNextWordCount) {
  EngKnowledge knowledge;
  knowledge.me.Add("6/x/z", {{1, "3"}});
  knowledge.me.Add("4/x/y", {{2, "0.5"}});
  knowledge.me.Add("5/y/w", {{3, "2"}});
  for (const char* word : {"x", "z", "w"}) knowledge.List(word, "DT");
  Load(knowledge);
  EXPECT_EQ(Tagged("x y z", true), "x/DT y/NN z/DT ");
  EXPECT_EQ(Tagged("x y w", true), "x/DT y/RB w/DT ");
  EXPECT_EQ(Tagged("x y", true), "x/DT y/VB ");
}

TEST_F(EngPosTaggerTest, TheBeamHolds30) {
  // 40 tags, the lower the better for "w", or the higher. One of them would make "v" likely.
  for (const bool isLowBest : {true, false}) {
    for (const int rank : {1, 28, 29, 30, 31, 39}) {
      const auto name = [&](int r) { return "T" + std::to_string(isLowBest ? r : 39 - r); };
      EngKnowledge knowledge;
      knowledge.me.tags.clear();
      for (int tag = 0; tag < 40; ++tag) knowledge.me.tags.push_back("T" + std::to_string(tag));
      std::vector<std::pair<int, std::string>> parameters;
      for (int r = 0; r < 40; ++r) {
        parameters.emplace_back(knowledge.Tag(name(r)), std::to_string(-0.01 * r));
      }
      knowledge.me.Add("2/w", parameters);
      knowledge.FavourAfter(name(rank), "T5");
      knowledge.List("v", "T5");
      knowledge.Write();
      EngPosScore scorer;
      Capture([&] { ASSERT_TRUE(scorer.Initialize("data/binaryEngPosModel", "data/EngDict")); });
      _tagger.Initialize(&_tokenizer, &scorer);
      EXPECT_EQ(Tagged("w v", true), "w/" + name(rank < 30 ? rank : 0) + " v/T5 ") << rank;
    }
  }
}

TEST_F(EngPosTaggerTest, MergedStatesLeaveTheirPlacesInTheBeam) {
  // 30 states before "v": from each to the next A is likelier, and likelier than B. Only one A may
  // stay, else there is no place for B, which "u" asks for.
  EngKnowledge knowledge;
  knowledge.me.tags = {"A", "B", "C"};
  std::string tags;
  std::vector<std::pair<int, std::string>> parameters;
  for (int k = 0; k < 30; ++k) {
    const std::string name = "T" + std::to_string(k);
    knowledge.me.tags.push_back(name);
    tags += " " + name;
    parameters.emplace_back(knowledge.Tag(name), std::to_string(-0.001 * k));
    knowledge.FavourAfter(name, "A", std::to_string(1.5 + 0.05 * k));
  }
  knowledge.me.Add("2/w", parameters);
  knowledge.FavourAfter("B", "C", "6");
  knowledge.List("w", tags);
  knowledge.List("v", "A B");
  knowledge.List("u", "C");
  Load(knowledge);
  EXPECT_EQ(Tagged("w v", true), "w/T29 v/A ");
  EXPECT_EQ(Tagged("w v u", true), "w/T0 v/B u/C ");
}

TEST_F(EngPosTaggerTest, TheOrderSaysHowFarBackThePreviousTagIs) {
  EngKnowledge knowledge;
  knowledge.FavourAfter("NN", "VB");
  knowledge.List("n", "NN");
  knowledge.List("d", "DT");
  knowledge.List("x", "RB VB");
  knowledge.me.Add("2/x", {{3, "1"}});
  Load(knowledge);
  EXPECT_EQ(Tagged("n x d x", true), "n/NN x/VB d/DT x/RB ");
  EngPosTagger third(3);
  third.Initialize(&_tokenizer, &_scorer);
  std::string line = "n x n d x";
  std::string out;
  third.TagSentence(line, out, true);
  EXPECT_EQ(out, "n/NN x/RB n/NN d/DT x/VB ");
}

TEST_F(EngPosTaggerTest, AnUnknownTagIsOutOfRange) {
  EngKnowledge knowledge;
  knowledge.List("a", "XX NN");
  knowledge.List("b", "NN");
  Load(knowledge);
  EXPECT_THROW(Tagged("a", true), std::out_of_range);
  EXPECT_THROW(Tagged("b a b", true), std::out_of_range);
  EXPECT_EQ(Tagged("b", true), "b/NN ") << "others can go on";
}

TEST_F(EngPosTaggerTest, AWordListedWithoutTagsLeavesItsLineUntagged) {
  EngKnowledge knowledge;
  knowledge.List("a", "");
  knowledge.List("b", "NN");
  Load(knowledge);
  for (const auto& [line, tagged] : std::vector<std::pair<std::string, std::string>>{
           {"a", "a/ "}, {"b a", "b/ a/ "}, {"a b b", "a/ b/ b/ "}}) {
    std::string out;
    const std::string& text = line;  // a structured binding cannot be captured by clang's lambdas
    EXPECT_EQ(ErrorOf([&] { out = Tagged(text, true); }),
              "No sequence of tags is possible: the line is not tagged.\n");
    EXPECT_EQ(out, tagged);
  }
  EXPECT_EQ(Tagged("b", true), "b/NN ");
}

// Lines.

TEST_F(EngPosTaggerTest, ALineOfText) {
  LoadWords();
  EXPECT_EQ(Tagged("the dog, don't go.", false).substr(0, 14), "the/DT dog/NN ");
  EXPECT_EQ(Tagged("the dog.", false), "the/DT dog/NN ./. ");
  EXPECT_EQ(Tagged("don't go", false), "do/VB n't/RB go/VB ");
}

TEST_F(EngPosTaggerTest, ALineOfTokensIsTakenAsItStands) {
  EngKnowledge knowledge;
  knowledge.Favour("don't", "VB");
  knowledge.Favour("go.", "NN");
  Load(knowledge);
  EXPECT_EQ(Tagged("don't go.", true), "don't/VB go./NN ");
}

TEST_F(EngPosTaggerTest, OnlyTheTokenizerTrimsTheLine) {
  LoadWords();
  std::string line = " \tthe\t dog \r\n";
  std::string out = "old";
  _tagger.TagSentence(line, out, true);
  EXPECT_EQ(out, "the/DT dog/NN ");
  EXPECT_EQ(line, " \tthe\t dog \r\n");
  _tagger.TagSentence(line, out, false);
  EXPECT_EQ(out, "the/DT dog/NN ");
}

TEST_F(EngPosTaggerTest, ALineWithoutWords) {
  LoadWords();
  for (const bool tokenized : {false, true}) {
    for (const char* line : {"", " \t\r\n", "\v\f"}) {
      std::string out;
      EXPECT_EQ(ErrorOf([&] { out = Tagged(line, tokenized); }), "");
      EXPECT_EQ(out, "");
    }
  }
}

TEST_F(EngPosTaggerTest, SentencesDoNotTouchEachOther) {
  LoadWords();
  EXPECT_EQ(Tagged("the dog the dog the dog", true), "the/DT dog/NN the/DT dog/NN the/DT dog/NN ");
  EXPECT_EQ(Tagged("the", true), "the/DT ");
  EXPECT_EQ(Tagged("dog .", true), "dog/NN ./. ");
}

// Files.

TEST_F(EngPosTaggerTest, BlankLinesOfAFileCountButDisappear) {
  LoadWords();
  EXPECT_EQ(FileOf("the dog.\n\n \t\r\n don't go\r\n\nthe", false,
                   "Processing:\n\n6 sentences in total.\n"),
            "the/DT dog/NN ./. \ndo/VB n't/RB go/VB \nthe/DT \n");
  EXPECT_EQ(FileOf("\n\n\n", false, "Processing:\n\n3 sentences in total.\n"), "");
}

TEST_F(EngPosTaggerTest, AFileOfTokens) {
  EngKnowledge knowledge;
  knowledge.Favour("don't", "VB");
  knowledge.Favour("go.", "NN");
  Load(knowledge);
  EXPECT_EQ(FileOf(" don't  go.\r\n\n", true, "Processing:\n\n2 sentences in total.\n"),
            "don't/VB go./NN \n");
}

TEST_F(EngPosTaggerTest, ALineOfOtherWhiteSpaceIsNotBlank) {
  LoadWords();
  EXPECT_EQ(FileOf("\v\nthe\n", false, "Processing:\n\n2 sentences in total.\n"), "\nthe/DT \n");
  EXPECT_EQ(FileOf("the\n\f", true, "Processing:\n\n2 sentences in total.\n"), "the/DT \n\n");
}

TEST_F(EngPosTaggerTest, FileWithoutLines) {
  LoadWords();
  WriteText("out", "something");
  EXPECT_EQ(FileOf("", false, "Processing:\n\n0 sentences in total.\n"), "");
}

TEST_F(EngPosTaggerTest, ADotEvery100Lines) {
  LoadWords();
  EXPECT_EQ(FileOf(Repeat("\n", 99), false, "Processing:\n\n99 sentences in total.\n"), "");
  EXPECT_EQ(FileOf(Repeat("the\n", 100), false, "Processing:\n.\n100 sentences in total.\n"),
            Repeat("the/DT \n", 100));
  FileOf(Repeat("\n", 250), true, "Processing:\n..\n250 sentences in total.\n");
}

TEST_F(EngPosTaggerTest, TheCountEvery5000Lines) {
  LoadWords();
  const std::string fifty(50, '.');
  FileOf(Repeat("\n", 10'100), false,
         "Processing:\n" + fifty + "\t5000 sentence\n" + fifty +
             "\t10000 sentence\n.\n10100 sentences in total.\n");
}

TEST_F(EngPosTaggerTest, AMissingInput) {
  LoadWords();
  int result = 1;
  const Output output = Capture([&] { result = _tagger.TagFile("nofile", "out", false); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output.err, "Open nofile error!\n");
  EXPECT_EQ(output.out, "");
  EXPECT_FALSE(Exists("out"));
}

TEST_F(EngPosTaggerTest, AnOutputThatCannotBeWritten) {
  LoadWords();
  WriteText("in", "the\n");
  int result = 0;
  const Output output = Capture([&] { result = _tagger.TagFile("in", "nowhere/out", false); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(output.out, "Processing:\n\n1 sentences in total.\n");
  EXPECT_EQ(output.err, "");
}

TEST_F(EngPosTaggerTest, TwoTaggersShareTheirKnowledge) {
  LoadWords();
  EngPosTagger other(2);
  other.Initialize(&_tokenizer, &_scorer);
  std::vector<int> tags;
  _tagger.RenewLattice({"the", "dog"});
  other.RenewLattice({"."});
  other.Viterbi(tags);
  EXPECT_EQ(tags, (std::vector<int>{4}));
  _tagger.Viterbi(tags);
  EXPECT_EQ(tags, (std::vector<int>{0, 1}));
}

}  // namespace
}  // namespace Tolvek
