// SPDX-License-Identifier: Apache-2.0
#include <random>
#include <sstream>

#include "Workplace.h"
#include "chinese/SegScore.h"
#include "chinese/Segmentor.h"
#include "tvk/train/CharacterLists.h"
#include "tvk/train/SegTrainer.h"

namespace Tolvek {
namespace {

/// Trains on small corpora made of random words of a fixed lexicon.
class SmallTraining : public Workplace {
 protected:
  SmallTraining() {
    PutLists("lists");
    std::string warnings;
    Put("resource", BuildCharacterResource("lists", warnings));
    EXPECT_TRUE(_types.LoadBinary("resource"));
    Put("train", RandomSentences(60, 1, " "));
    Put("raw", RandomSentences(60, 2, ""));
    Put("dev", RandomSentences(40, 3, " "));
    Put("lexicon", "# towns\n上海 哈尔滨\n北京\n");
  }

  static std::string RandomSentences(int count, unsigned seed, const char* separator) {
    static const std::vector<std::string> lexicon{
        "我",     "中国", "人", "人民", "国人", "的",     "北京市", "市", "京城",
        "一二三", "2012", "年", "abc",  "x",    "(",      ")",      "。", "，",
        "3",      "月",   "民", "国",   "明",   "尔斯明", "北",     "京"};
    std::mt19937 random(seed);
    std::string text;
    for (int i = 0; i < count; ++i) {
      std::vector<std::string> words;
      const unsigned length = 3 + random() % 8;
      for (unsigned w = 0; w < length; ++w) words.push_back(lexicon[random() % lexicon.size()]);
      if (*separator == '\0') {
        text += RunningText(words);
      } else {
        for (const std::string& word : words) text += word + separator;
      }
      text += '\n';
    }
    return text;
  }

  SegModels Train(const SegTrainerOptions& options, SegCounts* counts = nullptr) {
    StepLog log(&_log, 0);
    StepStore steps;
    SegTrainer trainer(_types, options, log, steps);
    trainer.AddCorpus(ReadCorpus("train", Encoding::kUtf8, Tagging::kUntagged));
    trainer.AddRawText(Get("raw"));
    trainer.AddLexicon(ReadReadableList("lexicon", 1));
    trainer.SetDevelopment(ReadCorpus("dev", Encoding::kUtf8, Tagging::kUntagged));
    const SegModels models = trainer.Train();
    if (counts != nullptr) *counts = trainer.Evaluate();
    return models;
  }

  CharType _types;
  std::ostringstream _log;
};

TEST_F(SmallTraining, SameBytesAtAnyNumberOfThreads) {
  for (const double l1 : {0.0, 0.5}) {
    SegTrainerOptions options;
    options.fit.iterations = 40;
    options.fit.l1 = l1;
    options.ngram.pruning = 1e-5;
    options.threads = 1;
    const SegModels one = Train(options);
    options.threads = 3;
    const SegModels three = Train(options);
    EXPECT_EQ(one.meText, three.meText);
    EXPECT_EQ(one.lmArpa, three.lmArpa);
    EXPECT_GT(one.weights, 0U);
    EXPECT_GT(one.bigrams, 0U);
  }
}

TEST_F(SmallTraining, TheCoreDecodesAsTheTrainerDoes) {
  SegTrainerOptions options;
  options.fit.iterations = 60;
  SegCounts trained;
  const SegModels models = Train(options, &trained);
  Put("me", models.meText);
  Put("lm", models.lmArpa);
  SegScore scorer(&_types);
  ASSERT_TRUE(scorer.Initialize("lm", "me"));
  Segmentor segmentor(&scorer, &_types, 0.3, 2);
  segmentor.Initialize();
  const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  const Converter toUtf8(Encoding::kGbk, Encoding::kUtf8);
  std::string output;
  for (const Sentence& sentence :
       ReadCorpus("dev", Encoding::kUtf8, Tagging::kUntagged).sentences) {
    std::string line = toGbk(RunningText(sentence.words)).value();
    std::string words;
    segmentor.SegSentence(line, words);
    output += toUtf8(words).value() + "\n";
  }
  Put("out", output);
  const SegCounts written =
      CompareCorpora(ReadCorpus("dev", Encoding::kUtf8, Tagging::kUntagged),
                     ReadCorpus("out", Encoding::kUtf8, Tagging::kUntagged), {});
  EXPECT_EQ(written.goldWords, trained.goldWords);
  EXPECT_EQ(written.outputWords, trained.outputWords);
  EXPECT_EQ(written.correctWords, trained.correctWords);
  EXPECT_GT(*F1(written), 0.7) << "the lexicon is small: most of it is learnt";
}

TEST_F(SmallTraining, TheLexiconsTokensAreInTheLanguageModel) {
  SegTrainerOptions options;
  options.fit.iterations = 5;
  const std::string arpa = Train(options).lmArpa;
  const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  for (const char* bigram : {"上/B 海/E\n", "哈/B 尔/M\n", "尔/M 滨/E\n"}) {
    EXPECT_NE(arpa.find("\t" + toGbk(bigram).value()), std::string::npos) << bigram;
  }
  EXPECT_EQ(arpa.find(toGbk("海/E 哈/B").value()), std::string::npos);
  // As many lines as are declared.
  Put("lm", arpa);
  Vocab vocab;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Ngram(&vocab, 2).ReadFile("lm"), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(SmallTraining, OptionsHaveTheirEffect) {
  SegTrainerOptions options;
  options.fit.iterations = 20;
  const SegModels plain = Train(options);
  const auto differs = [&](const auto& change) {
    SegTrainerOptions changed = options;
    change(changed);
    const SegModels models = Train(changed);
    return std::pair(models.meText != plain.meText, models.lmArpa != plain.lmArpa);
  };
  using Both = std::pair<bool, bool>;
  EXPECT_EQ(differs([](auto& o) { o.weightThreshold = 0.2; }), Both(true, false));
  EXPECT_EQ(differs([](auto& o) { o.ngram.cutOff = 1; }).second, true);
  EXPECT_EQ(differs([](auto& o) { o.lexiconWeight = 3; }).second, true);
  EXPECT_EQ(differs([](auto& o) { o.featureCutOff = 3; }).first, true);
  EXPECT_EQ(differs([](auto& o) { o.allPairs = false; }).first, true);
  EXPECT_EQ(differs([](auto& o) { o.folds = 1; }).first, true);
  EXPECT_EQ(differs([](auto& o) { o.goldWeight = 3; }).second, true);
  EXPECT_EQ(differs([](auto& o) { o.rawWeight = 3; }).second, true);
  EXPECT_EQ(differs([](auto& o) { o.rounds = 0; }), Both(true, true));
  EXPECT_EQ(differs([](auto& o) { o.fit.l2 = 3; }).first, true);
  EXPECT_EQ(differs([](auto& o) { o.alpha = 0.1; }).first, true);
}

TEST_F(SmallTraining, CountsWhatItSkips) {
  Put("train", "我 的\n我 \U0001F600\n");
  Put("raw", "我的\n\U0001F600\n");
  Train({});
  EXPECT_NE(_log.str().find(
                "train: sentences skipped, as GBK or the decoder's lattice cannot hold them: 1"),
            std::string::npos)
      << _log.str();
  EXPECT_NE(_log.str().find("raw text: sentences skipped, as GBK cannot hold them: 1"),
            std::string::npos)
      << _log.str();
}

TEST_F(SmallTraining, FailsWithoutText) {
  Put("train", "\n");
  EXPECT_EQ(FailureOf([&] { Train({}); }), "no sentence to train on");
}

TEST_F(SmallTraining, FailsWhenNothingIsLeft) {
  SegTrainerOptions options;
  options.fit.iterations = 5;
  options.weightThreshold = 1e6;
  EXPECT_NE(FailureOf([&] { Train(options); }), "");
}

}  // namespace
}  // namespace Tolvek
