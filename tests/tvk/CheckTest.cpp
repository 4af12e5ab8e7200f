// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <functional>
#include <limits>

#include "Workplace.h"
#include "chinese/CharType.h"
#include "chinese/PosScore.h"
#include "english/EngPosScore.h"
#include "english/EngToken.h"
#include "model/MeModel.h"
#include "model/Ngram.h"
#include "tvk/check/CharacterCheck.h"
#include "tvk/check/LanguageModelCheck.h"
#include "tvk/check/Limits.h"
#include "tvk/check/MaxEntCheck.h"
#include "tvk/check/ResourceCheck.h"
#include "tvk/check/ResourceText.h"
#include "tvk/check/TagDictionaryCheck.h"
#include "tvk/check/TokenizerListsCheck.h"
#include "unit/Fixtures.h"

namespace Tolvek {
namespace {

const std::string kUnchecked = "; the rest cannot be made sense of and is not checked\n";

std::string PlaceOf(const Problem& problem) {
  if (problem.place.in == Place::In::kFile) return "";
  return (problem.place.in == Place::In::kLine ? "line " : "byte ") +
         std::to_string(problem.place.number) + ": ";
}

/// All problems, a line each.
std::string ProblemsOf(const Findings& findings) {
  std::string lines;
  for (const Problem& problem : findings.Problems()) {
    lines += PlaceOf(problem) + problem.what + '\n';
  }
  return lines;
}

std::string RemarksOf(const Findings& findings) {
  return Lines(findings.Remarks());
}

Findings MaxEnt(std::string_view content, ModelUse use = ModelUse::kUnknown) {
  Findings findings(20);
  CheckMaxEntModel(content, use, findings);
  return findings;
}

Findings LanguageModel(std::string_view content, WordForm form = WordForm::kByContent,
                       const TextTable* classes = nullptr) {
  Findings findings(20);
  CheckLanguageModel(content, form, classes, findings);
  return findings;
}

Findings Characters(std::string_view content) {
  Findings findings(20);
  CheckCharacters(content, findings);
  return findings;
}

Findings Dictionary(std::string_view content, DictionaryLanguage language,
                    const ModelTags* tags = nullptr) {
  Findings findings(20);
  CheckTagDictionary(content, language, tags, findings);
  return findings;
}

Findings TokenizerLists(std::string_view content) {
  Findings findings(20);
  CheckTokenizerLists(content, findings);
  return findings;
}

std::size_t Number(const Findings& findings, const std::string& name) {
  for (const Fact& fact : findings.Facts()) {
    if (fact.name == name) return std::get<std::size_t>(fact.value);
  }
  ADD_FAILURE() << "no fact " << name;
  return 0;
}

template <class Value>
Value FactOf(const Findings& findings, const std::string& name) {
  for (const Fact& fact : findings.Facts()) {
    if (fact.name == name) return std::get<Value>(fact.value);
  }
  ADD_FAILURE() << "no fact " << name;
  return {};
}

// Small files without a fault.

MeSource GoodModel() {
  MeSource model{{}, {"B", "M", "E", "S"}, {}, {}};
  model.Add("2/" + kWo, {{0, "0.5"}, {3, "-0.25"}});
  model.Add("2/" + kMen, {{2, "0.75"}});
  model.Add("7/0", {{3, "0.125"}});
  return model;
}

MeSource GoodTagger(const std::string& feature) {
  MeSource model{{}, {"PRP", "NN"}, {}, {}};
  model.Add("0/B_0", {{0, "1"}});
  model.Add(feature, {{0, "0.5"}, {1, "-0.5"}});
  return model;
}

const std::string kB = kWo + "/B";
const std::string kE = kMen + "/E";

std::string GoodArpa() {
  return Arpa({{{"-99", "<s>", "-0.3"},
                {"-0.7", "</s>", ""},
                {"-1.5", "<unk>", ""},
                {"-0.6", kB, "-0.2"},
                {"-0.6", kE, ""}},
               {{"-0.4", "<s> " + kB, ""}, {"-0.1", kB + " " + kE, ""}}});
}

std::string BinaryWord(std::string_view word, int number) {
  return Record(word) + I32(number);
}

std::string BinaryWords() {
  return BinaryWord("NULL", 0) + BinaryWord("<unk>", 1) + BinaryWord("<s>", 2) +
         BinaryWord("</s>", 3) + BinaryWord(kB, 4) + BinaryWord(kE, 5);
}

std::string Unigram(double probability, int word, double weight = 0) {
  return F64(probability) + I32(word) + F64(weight);
}

std::string Bigram(double probability, int first, int second) {
  return F64(probability) + I32(first) + I32(second);
}

constexpr double kNever = -std::numeric_limits<double>::infinity();

std::string BinaryUnigrams() {
  return Unigram(kNever, 2, -0.3) + Unigram(-0.7, 3) + Unigram(-1.5, 1) + Unigram(-0.6, 4, -0.2) +
         Unigram(-0.6, 5);
}

std::string GoodBinaryLm() {
  return kHeader + I32(6) + BinaryWords() + I32(2) + I32(5) + I32(2) + BinaryUnigrams() +
         Bigram(-0.4, 2, 4) + Bigram(-0.1, 4, 5);
}

const std::string kWang = "\xCD\xF5";
const std::string kOuyang = "\xC5\xB7\xD1\xF4";

std::string GoodCharacters() {
  return Block({{kStop, 1}}) + Block({{"1", 0}, {"a", 3}}) + Block({{kWang, 3}, {kOuyang, 1}}) +
         Block({{kMen, 1}});
}

std::string GoodDict() {
  return "2\n" + kMen + " 12 PRP\n" + kWo + " 30 PRP NN\n1\n" + kWo + kMen + " 25 PRP\n";
}

const std::string kGoodEngDict = "2\nShe 20 PRP\nwait 3 NN PRP\n";
const std::string kGoodLists = "4\n!\n\"\n`\n...\n2\nMr\netc\n";

struct GoodFile {
  const char* name;
  std::string content;
  std::function<Findings(std::string_view)> check;
};

std::vector<GoodFile> GoodFiles() {
  const auto maxEnt = [](std::string_view content) { return MaxEnt(content); };
  const auto languageModel = [](std::string_view content) { return LanguageModel(content); };
  return {
      {"binary maximum-entropy model", GoodModel().Binary(), maxEnt},
      {"text maximum-entropy model", GoodModel().Text(), maxEnt},
      {"binary language model", GoodBinaryLm(), languageModel},
      {"ARPA text", GoodArpa(), languageModel},
      {"characters", GoodCharacters(), Characters},
      {"Dict", GoodDict(),
       [](std::string_view content) { return Dictionary(content, DictionaryLanguage::kChinese); }},
      {"EngDict", kGoodEngDict,
       [](std::string_view content) { return Dictionary(content, DictionaryLanguage::kEnglish); }},
      {"abbtitle", kGoodLists, TokenizerLists}};
}

TEST(Check, GoodFilesHaveNoProblems) {
  for (const auto& [name, content, check] : GoodFiles()) {
    const Findings findings = check(content);
    EXPECT_EQ(ProblemsOf(findings), "") << name;
    EXPECT_EQ(RemarksOf(findings), "") << name;
    EXPECT_TRUE(findings.IsComplete()) << name;
  }
}

TEST(Check, EveryCutIsTold) {
  for (const auto& [name, content, check] : GoodFiles()) {
    std::size_t valid = 0;
    for (std::size_t size = 0; size < content.size(); ++size) {
      const Findings findings = check(std::string_view(content).substr(0, size));
      if (findings.ProblemCount() > 0) continue;
      // A text that lacks the end of its last line is one all the same.
      ++valid;
      EXPECT_GT(size, content.rfind('\n', content.size() - 2)) << name << ", " << size << " bytes";
      EXPECT_EQ(RemarksOf(findings), "the last line has no line feed: is the file cut inside it?\n")
          << name << ", " << size << " bytes";
    }
    EXPECT_EQ(valid > 0, content.ends_with('\n')) << name;
  }
}

TEST(Check, WhatStandsBehindTheEndIsTold) {
  for (const auto& [name, content, check] : GoodFiles()) {
    const Findings findings = check(content + "x\n");
    if (content == GoodArpa()) {
      EXPECT_EQ(RemarksOf(findings), "lines behind \"\\end\\\", which are ignored: 1\n");
    } else {
      EXPECT_EQ(findings.ProblemCount(), 1U) << name;
    }
  }
  EXPECT_EQ(ProblemsOf(MaxEnt(GoodModel().Binary() + "xyz")),
            "byte 125: bytes behind the last weight: 3, none expected\n");
  EXPECT_EQ(ProblemsOf(LanguageModel(GoodBinaryLm() + "x")),
            "byte 230: bytes behind the last n-gram: 1, none expected\n");
  EXPECT_EQ(ProblemsOf(TokenizerLists(kGoodLists + "\nDr\n Prof\n")),
            "line 10: lines behind the last entry: 2, none expected (is a count wrong?)\n");
}

TEST(Check, HostileNumbersCostNothing) {
  for (const auto& [name, content, check] : GoodFiles()) {
    for (std::size_t offset = 0; offset + 4 <= content.size(); ++offset) {
      for (const std::int32_t number : kHostileNumbers) {
        check(WithInt(content, offset, number));
      }
    }
  }
  for (const char* text : {"title\n2147483647\n", "2147483647\na 1 b\n", "99999999999999999999\n",
                           "\\data\\\nngram 1=2147483647\n"}) {
    EXPECT_GT(MaxEnt(text).ProblemCount(), 0U) << text;
    EXPECT_GT(LanguageModel(text).ProblemCount(), 0U) << text;
    EXPECT_GT(Dictionary(text, DictionaryLanguage::kEnglish).ProblemCount(), 0U) << text;
    EXPECT_GT(TokenizerLists(text).ProblemCount(), 0U) << text;
  }
  const std::string most = I32(std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(
      RunApart([&] {
        return MaxEnt(kHeader + most + Record("1/a")).ProblemCount() == 1 &&
               LanguageModel(kHeader + most + BinaryWords()).ProblemCount() == 1 &&
               LanguageModel(kHeader + I32(6) + BinaryWords() + I32(1) + most + Unigram(-1, 1))
                       .ProblemCount() == 1 &&
               Characters(most + BinaryWord("a", 1)).ProblemCount() == 1;
      }),
      End::kTrue);
}

// Maximum-entropy models.

TEST(MaxEntCheck, CountsAndNames) {
  for (const std::string& content : {GoodModel().Binary(), GoodModel().Text()}) {
    const Findings findings = MaxEnt(content);
    EXPECT_EQ(FactOf<std::string>(findings, "use"), "segmentation");
    EXPECT_EQ(Number(findings, "features"), 3U);
    EXPECT_EQ(Number(findings, "weights"), 4U);
    EXPECT_EQ(FactOf<std::vector<std::string>>(findings, "tags"),
              (std::vector<std::string>{"B", "M", "E", "S"}));
  }
}

TEST(MaxEntCheck, BinaryCountsAndLengths) {
  const std::string good = GoodModel().Binary();
  EXPECT_EQ(ProblemsOf(MaxEnt(WithInt(good, 10, -1))),
            "byte 10: a number of features expected, found -1, which is negative" + kUnchecked);
  EXPECT_EQ(ProblemsOf(MaxEnt(WithInt(good, 14, -7))),
            "byte 14: feature 0 has a negative length, -7" + kUnchecked);
  EXPECT_EQ(ProblemsOf(MaxEnt(WithInt(good, 14, 104))),
            "byte 125: the file ends in feature 1 of 3 (from 0): it is cut, or a count or length "
            "before is wrong" +
                kUnchecked);
  EXPECT_EQ(
      ProblemsOf(MaxEnt(WithInt(good, 14, 300))),
      "byte 14: feature 0 has 300 bytes, at most 256 are allowed and 107 are left" + kUnchecked);
  EXPECT_EQ(ProblemsOf(MaxEnt(WithInt(good, 61, -2))),
            "byte 61: feature 0 has a negative number of weights, -2" + kUnchecked);
  EXPECT_EQ(ProblemsOf(MaxEnt(WithInt(good, 89, -2))),
            "byte 89: a number of weights expected, found -2, which is negative" + kUnchecked);
  EXPECT_EQ(ProblemsOf(MaxEnt(WithInt(good, 89, 5))),
            "byte 89: the number of weights is 5, the features list 4\n"
            "byte 125: the file ends behind 4 of 5 weights: it is cut, or their number is wrong" +
                kUnchecked);
  EXPECT_EQ(ProblemsOf(MaxEnt(WithInt(good, 89, 3))),
            "byte 89: the number of weights is 3, the features list 4\n"
            "byte 117: bytes behind the last weight: 8, none expected\n");
}

TEST(MaxEntCheck, BinaryTagNumbersAndWeights) {
  const std::string good = GoodModel().Binary();
  EXPECT_EQ(
      ProblemsOf(MaxEnt(WithInt(WithInt(good, 65, 4), 69, -1))),
      "byte 65: feature 0 has a weight for tag 4, the tags' numbers are from 0 to below 4\n"
      "byte 69: feature 0 has a weight for tag -1, the tags' numbers are from 0 to below 4\n");
  EXPECT_EQ(ProblemsOf(MaxEnt(WithInt(good, 65, 3))), "byte 69: feature 0 lists tag 3 twice\n");
  MeSource model = GoodModel();
  model.values = {"nan", "0.5", "inf", "-inf"};
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Binary())),
            "byte 93: weight 0 is not finite: nan\n"
            "byte 109: weight 2 is not finite: inf\n"
            "byte 117: weight 3 is not finite: -inf\n");
  const MeSource none{{}, {"B", "M", "E", "S"}, {}, {}};
  EXPECT_EQ(ProblemsOf(MaxEnt(none.Binary())),
            "byte 38: the model has no weights: the program cannot load it\n");
  EXPECT_EQ(ProblemsOf(MaxEnt(none.Text())), "");
}

TEST(MaxEntCheck, Names) {
  MeSource model = GoodModel();
  model.Add("2/" + kWo, {{0, "1"}});
  model.Add("", {{0, "1"}});
  model.Add(std::string(257, 'x'), {{0, "1"}});
  model.tags[1] = "B";
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Binary())),
            "byte 37: feature 3, \"2/\\xce\\xd2\", is the same as feature 0: nothing finds it\n"
            "byte 45: feature 4 has no text\n"
            "byte 49: feature 5 has 257 bytes, at most 256 are allowed\n"
            "byte 319: tag 1, \"B\", is the same as tag 0: nothing finds it\n");
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Text())),
            "line 6: feature 3, \"2/\\xce\\xd2\", is the same as feature 0: nothing finds it\n"
            "line 7: feature 4 has no text\n"
            "line 8: a name of 257 bytes, at most 256 are allowed in the binary form\n"
            "line 11: tag 1, \"B\", is the same as tag 0: nothing finds it\n");
  model = GoodModel();
  model.tags = {"B", "M", "E", "S T"};
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Text())),
            "line 10: tag \"S T\" holds white space: no dictionary can name it\n");
  model.tags.clear();
  model.lists = {{}, {}, {}};
  model.values = {};
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Text())), "the model has no tags\n");
  EXPECT_EQ(RemarksOf(MaxEnt(model.Text())), "features without a weight: 3\n");
}

TEST(MaxEntCheck, TextCountsAndNumbers) {
  EXPECT_EQ(ProblemsOf(MaxEnt("title\nx\n")),
            "line 2: the number of features expected, found \"x\" (is a count before wrong?)" +
                kUnchecked);
  EXPECT_EQ(ProblemsOf(MaxEnt("title\n1\n1/a\n")),
            "line 4: the file ends where the number of tags is expected: it is cut" + kUnchecked);
  EXPECT_EQ(
      ProblemsOf(MaxEnt("title\n3\n1/a\n")),
      "line 4: the file ends behind 1 of 3 features: it is cut, or a count is wrong" + kUnchecked);
  EXPECT_EQ(ProblemsOf(MaxEnt("title\n-1\n2\nA\nB\n0\n")),
            "line 2: the number of features is negative: -1\n");
  const std::string begin = "title\n1\n1/a\n2\nA\nB\n";
  EXPECT_EQ(ProblemsOf(MaxEnt(begin + "2 0\n1\n0.5\n")),
            "line 7: feature 0 declares 2 weights and lists 1 tags\n");
  EXPECT_EQ(ProblemsOf(MaxEnt(begin + "\n0\n")),
            "line 7: the line is empty, the number of weights of feature 0 and their tags "
            "expected\n");
  EXPECT_EQ(ProblemsOf(MaxEnt(begin + "2 0 x\n2\n0.5\n1\n")),
            "line 7: a number expected in the list of feature 0, found \"x\"\n");
  EXPECT_EQ(ProblemsOf(MaxEnt(begin + "3 1 1 2\n3\n0,5\nnan\n1e999\n")),
            "line 7: feature 0 lists tag 1 twice\n"
            "line 7: feature 0 has a weight for tag 2, the tags' numbers are from 0 to below 2\n"
            "line 9: a weight expected, found \"0,5\"\n"
            "line 10: weight 1 is not finite: nan\n"
            "line 11: a weight expected, found \"1e999\"\n");
  EXPECT_EQ(ProblemsOf(MaxEnt(begin + "1 0\n2\n+0.5\n1e-3\n")),
            "line 8: the number of weights is 2, the features list 1\n");
}

TEST(MaxEntCheck, LongLinesAreForTheConverterOnly) {
  const std::string name(kLongestLine + 1, 'x');
  const Findings findings = MaxEnt("title\n1\n" + name + "\n1\nA\n1 0\n1\n0.5\n");
  EXPECT_EQ(ProblemsOf(findings), "");
  EXPECT_EQ(RemarksOf(findings),
            "lines of more than 254 bytes: 1, the first is line 3; tvk convert me would take each "
            "for two lines\n");
}

TEST(MaxEntCheck, SegmentationHasItsTags) {
  MeSource model = GoodModel();
  model.tags = {"S", "E", "M", "B"};
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Binary(), ModelUse::kSegmentation)), "");
  const std::string problem = "a model for segmentation has the tags B, M, E and S and no others\n";
  model.tags = {"B", "M", "E", "X"};
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Binary(), ModelUse::kSegmentation)), problem);
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Binary())), "") << "may be a model of another use";
  model.tags = {"B", "M", "E", "S", "X"};
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Binary(), ModelUse::kSegmentation)), problem);
}

TEST(MaxEntCheck, ChineseNamesAreGbk) {
  MeSource model = GoodModel();
  model.features[1] = "2/\x81/";
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Text())), "line 4: malformed GBK: \"2/\\x81/\"\n");
  model.features[0] = "2/我";
  model.features[1] = "2/们";
  EXPECT_EQ(ProblemsOf(MaxEnt(model.Text())),
            "line 3: the texts are UTF-8, here \"2/我\"; GBK expected (iconv -f UTF-8 -t GBK "
            "converts a text file)\n");
  EXPECT_EQ(ProblemsOf(MaxEnt(GoodTagger("2/caf\xE9").Text(), ModelUse::kEnglishTagging)), "");
}

/// How many of the features are not the templates'.
std::string OddFeatures(ModelUse use, const std::vector<std::string>& features) {
  MeSource model = use == ModelUse::kSegmentation ? GoodModel() : GoodTagger("1/a");
  for (const std::string& feature : features) model.Add(feature, {{0, "1"}});
  return RemarksOf(MaxEnt(model.Binary(), use));
}

TEST(MaxEntCheck, FeaturesOfTheTemplates) {
  EXPECT_EQ(OddFeatures(ModelUse::kSegmentation,
                        {"1/B_0", "1/" + kWo, "3/E_0", "3/a", "4/" + kWo + kMen, "4/B_0" + kMen,
                         "5/" + kMen + "E_0", "6/B_0E_0", "7/1", "8/555", "9/034", "10/010"}),
            "");
  for (const char* odd :
       {"1/E_0", "2/", "2/ab", "11/a", "0/B", "7/2", "8/55", "8/556", "9/666", "10/002", "4/a"}) {
    EXPECT_EQ(OddFeatures(ModelUse::kSegmentation, {odd}),
              "features that segmentation never asks for: 1, the first is \"" + std::string(odd) +
                  "\"\n");
  }
  EXPECT_EQ(OddFeatures(ModelUse::kChineseTagging,
                        {"0/NN", "1/B_0", "2/" + kWo + kMen, "3/E_0", "4/B_0/" + kWo, "5/a/E_0",
                         "6/a/b", "7/S/" + kWo, "8/M/a", "9/S/1", "10/M/0", "11/S/5", "12/M/4"}),
            "");
  for (const char* odd :
       {"0/XX", "4/ab", "7/a", "7/S/ab", "9/S/2", "11/S/6", "13/S/1", "6/a b/c", "x"}) {
    EXPECT_EQ(OddFeatures(ModelUse::kChineseTagging, {odd}),
              "features that Chinese tagging never asks for: 1, the first is \"" +
                  std::string(odd) + "\"\n");
  }
  EXPECT_EQ(OddFeatures(ModelUse::kEnglishTagging,
                        {"0/PRP", "6/a/E_0", "7/a", "8/ab", "9/abc", "10/abcd", "11/a", "12/ab",
                         "13/abc", "14/abcd", "15/0", "16/1", "17/1"}),
            "");
  for (const char* odd : {"7/ab", "8/a", "9/ab", "10/abc", "14/abcde", "15/2", "18/a", "7/"}) {
    EXPECT_EQ(OddFeatures(ModelUse::kEnglishTagging, {odd}),
              "features that English tagging never asks for: 1, the first is \"" +
                  std::string(odd) + "\"\n");
  }
}

TEST(MaxEntCheck, TheUseIsFoundByContent) {
  const auto useOf = [](const std::string& feature) {
    return FactOf<std::string>(MaxEnt(GoodTagger(feature).Binary()), "use");
  };
  EXPECT_EQ(useOf("9/S/0"), "Chinese tagging");
  EXPECT_EQ(useOf("15/0"), "English tagging");
  EXPECT_EQ(useOf("1/a"), "unknown");
}

// Language models.

TEST(LanguageModelCheck, Counts) {
  const Findings binary = LanguageModel(GoodBinaryLm());
  EXPECT_EQ(Number(binary, "words"), 6U);
  EXPECT_EQ(Number(binary, "order"), 2U);
  EXPECT_EQ(FactOf<std::vector<std::size_t>>(binary, "n-grams"), (std::vector<std::size_t>{5, 2}));
  const Findings text = LanguageModel(GoodArpa());
  EXPECT_EQ(Number(text, "words"), 5U);
  EXPECT_EQ(Number(text, "order"), 2U);
  EXPECT_EQ(FactOf<std::vector<std::size_t>>(text, "n-grams"), (std::vector<std::size_t>{5, 2}));
}

TEST(LanguageModelCheck, BinaryWords) {
  const auto check = [](const std::string& words, int count) {
    return ProblemsOf(
        LanguageModel(kHeader + I32(count) + words + I32(2) + I32(5) + I32(0) + BinaryUnigrams()));
  };
  EXPECT_EQ(check(BinaryWords(), 6), "");
  EXPECT_EQ(check(BinaryWords() + BinaryWord(kB, 6), 7),
            "byte 86: word \"我/B\" is listed twice\n");
  EXPECT_EQ(check(BinaryWords() + BinaryWord("a/B", 5), 7),
            "byte 93: word \"a/B\" has the number 5, as another one before\n");
  EXPECT_EQ(check(BinaryWords() + BinaryWord("a/B", 9), 7),
            "byte 93: word \"a/B\" has the number 9, from 0 to below 7 expected\n");
  EXPECT_EQ(check(BinaryWords() + BinaryWord("a/B", -1), 7),
            "byte 93: word \"a/B\" has the number -1, from 0 to below 7 expected\n");
  EXPECT_EQ(check(BinaryWords() + BinaryWord("", 6) + BinaryWord("a b", 7), 8),
            "byte 86: a word without text\n"
            "byte 94: word \"a b\" holds white space\n");
  EXPECT_EQ(check(BinaryWords() + BinaryWord(std::string(33, 'x'), 6), 7),
            "byte 86: word 6 has 33 bytes, at most 32 are allowed\n");
  EXPECT_EQ(check(WithInt(BinaryWords(), 8, 1), 6),
            "\"<unk>\" has no 1-gram\n"
            "byte 22: word \"NULL\" has the number 1, it must be 0\n"
            "byte 35: word \"<unk>\" has the number 1, as another one before\n");
  EXPECT_EQ(check(WithInt(BinaryWords(), 0, -1), 6),
            "byte 14: word 0 has a negative length, -1" + kUnchecked);
}

TEST(LanguageModelCheck, BinaryOrderAndCounts) {
  const std::string words = kHeader + I32(6) + BinaryWords();
  EXPECT_EQ(ProblemsOf(LanguageModel(words + I32(0))),
            "byte 86: an order from 1 to 9 expected, found 0" + kUnchecked);
  EXPECT_EQ(ProblemsOf(LanguageModel(words + I32(10))),
            "byte 86: an order from 1 to 9 expected, found 10" + kUnchecked);
  EXPECT_EQ(ProblemsOf(LanguageModel(words + I32(1) + I32(-5))),
            "byte 90: a number of 1-grams expected, found -5, which is negative" + kUnchecked);
  EXPECT_EQ(ProblemsOf(LanguageModel(words + I32(2) + I32(6) + I32(2) + BinaryUnigrams())),
            "byte 198: the file ends behind 5 of 6 1-grams: it is cut, or their number is wrong" +
                kUnchecked);
}

TEST(LanguageModelCheck, BinaryNgrams) {
  const auto check = [](int unigrams, const std::string& more, int bigrams,
                        const std::string& last) {
    return ProblemsOf(LanguageModel(kHeader + I32(6) + BinaryWords() + I32(2) + I32(unigrams) +
                                    I32(bigrams) + BinaryUnigrams() + more + last));
  };
  EXPECT_EQ(check(5, "", 1, Bigram(0.5, 2, 4)),
            "byte 198: log10 of a probability expected, which is at most 0, found 0.5\n");
  EXPECT_EQ(check(5, "", 1, Bigram(std::numeric_limits<double>::quiet_NaN(), 2, 4)),
            "byte 198: log10 of a probability expected, which is at most 0, found nan\n");
  EXPECT_EQ(check(5, "", 1, Bigram(-1, 2, 77)),
            "byte 198: a 2-gram of word 77, which is not there\n");
  EXPECT_EQ(check(5, "", 2, Bigram(-1, 2, 4) + Bigram(-2, 2, 4)),
            "byte 214: n-gram \"<s> 我/B\" is listed twice\n");
  EXPECT_EQ(check(5, "", 1, Bigram(-1, 2, 0)),
            "byte 198: word \"NULL\" of n-gram \"<s> NULL\" is in no 1-gram\n");
  EXPECT_EQ(check(6, Unigram(-1, 5, -kNever), 0, ""),
            "byte 198: a back-off weight expected, found inf\n"
            "byte 198: n-gram \"们/E\" is listed twice\n");
  const std::string trigram = F64(-1) + I32(2) + I32(4) + I32(5);
  EXPECT_EQ(
      ProblemsOf(LanguageModel(kHeader + I32(6) + BinaryWords() + I32(3) + I32(5) + I32(1) +
                               I32(1) + BinaryUnigrams() + Bigram(-1, 4, 5) + F64(0) + trigram)),
      "byte 226: n-gram \"<s> 我/B 们/E\" is listed, its context \"<s> 我/B\" is not\n");
}

TEST(LanguageModelCheck, ItsOwnWordsAreThere) {
  EXPECT_EQ(ProblemsOf(LanguageModel(Arpa({{{"-1", kB, ""}}}))),
            "\"<unk>\" has no 1-gram\n\"<s>\" has no 1-gram\n\"</s>\" has no 1-gram\n");
  EXPECT_EQ(ProblemsOf(LanguageModel(kHeader + I32(6) + BinaryWords() + I32(1) + I32(2) + F64(-1) +
                                     I32(1) + F64(-1) + I32(2))),
            "\"</s>\" has no 1-gram\n");
  EXPECT_EQ(RemarksOf(LanguageModel(kHeader + I32(6) + BinaryWords() + I32(1) + I32(2) + F64(-1) +
                                    I32(1) + F64(-1) + I32(2))),
            "words without a 1-gram: 3\n");
}

TEST(LanguageModelCheck, ArpaCountsAndSections) {
  const std::string unigrams = "\\1-grams:\n-99 <s>\n-1 </s>\n-1 <unk>\n";
  const auto check = [](const std::string& text) { return ProblemsOf(LanguageModel(text)); };
  EXPECT_EQ(check("a title\n\\data\\\nngram 1=3\n" + unigrams + "\\end\\\n"), "");
  EXPECT_EQ(check("ngram 1=3\n"), "line 1: the file ends without a line \"\\data\\\"" + kUnchecked);
  EXPECT_EQ(check("\\data\\\nngram 1=4\n" + unigrams + "\\end\\\n"),
            "line 2: 4 1-grams are declared, 3 are there\n");
  EXPECT_EQ(check("\\data\\\nngram 1=3\nngram 2=0\n" + unigrams),
            "line 7: the file ends without a line \"\\end\\\": it is cut\n");
  EXPECT_EQ(
      check("\\data\\\nngram 1=3\nngram 1x=0\nngram 10=1\nngram 2=-1\n" + unigrams + "\\end\\\n"),
      "line 3: \"ngram K=N\" with K from 1 to 9 and N from 0 expected, found \"ngram 1x=0\"\n"
      "line 4: \"ngram K=N\" with K from 1 to 9 and N from 0 expected, found \"ngram 10=1\"\n"
      "line 5: \"ngram K=N\" with K from 1 to 9 and N from 0 expected, found \"ngram "
      "2=-1\"\n");
  EXPECT_EQ(check("\\data\\\nngram 1=3\nngram 3=0\n" + unigrams + "\\end\\\n"),
            "line 3: the number of 3-grams is declared where that of 2-grams is expected\n");
  EXPECT_EQ(check("\\data\\\nngram 1=3\n" + unigrams + "\\2-grams:\n\\end\\\n"),
            "line 7: the section of 2-grams is not declared\n");
  EXPECT_EQ(check("\\data\\\nngram 1=3\n" + unigrams + "\\1-grams:\n\\end\\\n"),
            "line 7: the section of 1-grams comes again, or behind one of a higher order\n");
  EXPECT_EQ(
      check("\\data\\\nngram 1=3\nngram 2=0\nngram 3=0\n" + unigrams + "\\3-grams:\n\\end\\\n"),
      "line 9: the section of 3-grams comes before that of 2-grams\n");
  EXPECT_EQ(check("\\data\\\nngram 1=3\n" + unigrams + "\\two-grams:\n\\end\\\n"),
            "line 7: \"\\K-grams:\" with K from 1 to 9 or \"\\end\\\" expected, found "
            "\"\\two-grams:\"" +
                kUnchecked);
}

TEST(LanguageModelCheck, ArpaNgrams) {
  const auto check = [](const std::string& lines, int unigrams, int bigrams) {
    return ProblemsOf(LanguageModel(
        "\\data\\\nngram 1=" + std::to_string(unigrams) + "\nngram 2=" + std::to_string(bigrams) +
        "\n\\1-grams:\n-99 <s> -1\n-1 </s>\n-1\t<unk>\t0\n" + lines + "\\end\\\n"));
  };
  EXPECT_EQ(check("\\2-grams:\n-1 <s> </s>\n", 3, 1), "");
  EXPECT_EQ(check("-1\n-1 a b c\n", 5, 0),
            "line 8: a probability, 1 words and perhaps a back-off weight expected, found 1 "
            "fields\n"
            "line 9: a probability, 1 words and perhaps a back-off weight expected, found 4 "
            "fields\n");
  EXPECT_EQ(check("x a\n-1 b y\n0.1 c\nnan d\n-1 e inf\n-Inf f -inf\n", 9, 0),
            "line 8: a probability expected, found \"x\"\n"
            "line 9: a back-off weight expected, found \"y\"\n"
            "line 10: log10 of a probability expected, which is at most 0, found 0.1\n"
            "line 11: log10 of a probability expected, which is at most 0, found nan\n"
            "line 12: a back-off weight expected, found inf\n");
  EXPECT_EQ(check("-1 <s>\n", 4, 0), "line 8: n-gram \"<s>\" is listed twice\n");
  EXPECT_EQ(check("\\2-grams:\n-1 <s> a\n", 3, 1), "line 9: word \"a\" is in no 1-gram\n");
  EXPECT_EQ(check("\\2-grams:\n-1 <s> </s> -1\n", 3, 1),
            "line 9: a back-off weight of the highest order, which is ignored\n");
  EXPECT_EQ(check("-1 " + std::string(33, 'x') + "\n", 4, 0),
            "line 8: word \"" + std::string(33, 'x') +
                "\" has 33 bytes, at most 32 are allowed in the binary form\n");
  EXPECT_EQ(check("-1" + std::string(252, ' ') + "a\n", 4, 0),
            "line 8: a line of 255 bytes, which readers take for two: at most 254 are allowed\n");
}

TEST(LanguageModelCheck, TokensOfSegmentation) {
  const auto arpa = [](const std::vector<std::string>& words) {
    std::vector<Gram> unigrams{{"-99", "<s>", ""}, {"-1", "</s>", ""}, {"-1", "<unk>", ""}};
    for (const std::string& word : words) unigrams.push_back({"-1", word, ""});
    return Arpa({unigrams});
  };
  EXPECT_EQ(RemarksOf(LanguageModel(arpa({kB, "0/M", "(/S", "a/B", "word"}))),
            "words that segmentation never asks for: 1, the first is \"word\"\n");
  EXPECT_EQ(RemarksOf(LanguageModel(arpa({kB, kE, "0/M", "(/B", "a/X", "ab/S", "/S"}))),
            "words that segmentation never asks for: 4, the first is \"(/B\"\n");
  EXPECT_EQ(RemarksOf(LanguageModel(arpa({"the", "word"}))), "") << "not a model of segmentation";
  EXPECT_EQ(RemarksOf(LanguageModel(arpa({"the", "word"}), WordForm::kTokens)),
            "words that segmentation never asks for: 2, the first is \"the\"\n");
  TextTable classes;
  for (const auto& [character, code] :
       {std::pair("1", 0), {"9", 0}, {kYi.c_str(), 1}, {"a", 3}, {kNian.c_str(), 4}, {"(", 3}}) {
    classes.insert({character, code});
  }
  EXPECT_EQ(RemarksOf(LanguageModel(arpa({kB, "0/B", "1/B", "3/B", kNian + "/S", "(/S"}),
                                    WordForm::kTokens, &classes)),
            "");
  EXPECT_EQ(RemarksOf(LanguageModel(arpa({"9/B", "a/B", kYi + "/S"}), WordForm::kTokens, &classes)),
            "words that segmentation never asks for: 3, the first is \"9/B\"\n");
  EXPECT_EQ(ProblemsOf(LanguageModel(arpa({"\xCE/B"}), WordForm::kTokens)),
            "line 9: malformed GBK: \"\\xce/B\"\n");
}

// Characters.

TEST(CharacterCheck, CountsAndEntries) {
  const Findings findings = Characters(GoodCharacters());
  EXPECT_EQ(Number(findings, "punctuation"), 1U);
  EXPECT_EQ(Number(findings, "character classes"), 2U);
  EXPECT_EQ(Number(findings, "Chinese names"), 2U);
  EXPECT_EQ(Number(findings, "foreign names"), 1U);
  EXPECT_EQ(ProblemsOf(Characters(std::string(16, '\0'))), "");

  const std::string none = I32(0);
  EXPECT_EQ(ProblemsOf(Characters(I32(-1))),
            "byte 0: a number of entries of the table of punctuation expected, found -1, which is "
            "negative" +
                kUnchecked);
  EXPECT_EQ(ProblemsOf(Characters(Block({{kStop, 1}, {kStop, 1}}) + none + none + none)),
            "byte 14: \"。\" is listed twice in the table of punctuation\n");
  EXPECT_EQ(ProblemsOf(Characters(Block({{kStop, 0}}) + Block({{"1", 5}}) + Block({{kWang, -1}}) +
                                  Block({{kMen, 2}}))),
            "byte 10: \"。\" has the code 0 in the table of punctuation, 1 expected\n"
            "byte 23: \"1\" has the code 5 in the table of character classes, 0 to 4 expected\n"
            "byte 37: \"王\" has the code -1 in the table of Chinese names, 0 to 4 expected\n"
            "byte 51: \"们\" has the code 2 in the table of foreign names, 1 expected\n");
  EXPECT_EQ(ProblemsOf(Characters(Block({{"", 1}, {"\xA1", 1}}) + none + none + none)),
            "byte 4: an entry without text in the table of punctuation\n"
            "byte 12: malformed GBK: \"\\xa1\"\n");
  EXPECT_EQ(ProblemsOf(Characters(Block({{std::string(257, 'x'), 1}}) + none + none + none)),
            "byte 4: entry of the table of punctuation 0 has 257 bytes, at most 256 are allowed\n");
  EXPECT_EQ(RemarksOf(Characters(Block({{"ab", 1}}) + none + Block({{kOuyang, 1}}) + none)),
            "entries of several characters, which are never looked up: 1, the first is \"ab\"\n");
}

// Tag dictionaries.

TEST(TagDictionaryCheck, CountsAndEntries) {
  const auto chinese = [](const std::string& text) {
    return Dictionary(text, DictionaryLanguage::kChinese);
  };
  const auto english = [](const std::string& text) {
    return ProblemsOf(Dictionary(text, DictionaryLanguage::kEnglish));
  };
  const Findings findings = chinese(GoodDict());
  EXPECT_EQ(Number(findings, "characters"), 2U);
  EXPECT_EQ(Number(findings, "words"), 1U);
  EXPECT_EQ(FactOf<std::vector<std::string>>(findings, "tags"),
            (std::vector<std::string>{"NN", "PRP"}));

  EXPECT_EQ(english("1 entry\nShe 20 PRP\n"), "");
  EXPECT_EQ(english("one\n"),
            "line 1: the number of words expected, found \"one\" (is a count before wrong?)" +
                kUnchecked);
  EXPECT_EQ(english("5\n\nShe\nhe 3\nit x PRP\nwe 0 PRP PRP\n"),
            "line 2: the line is empty, a word, a count and tags expected\n"
            "line 3: a word, a count and tags expected, found 1 field: \"She\" (is a count of "
            "entries wrong?)\n"
            "line 4: a word, a count and tags expected, found 2 fields: \"he 3\" (is a count of "
            "entries wrong?)\n"
            "line 5: how often the word was seen expected, from 1, found \"x\"\n"
            "line 6: how often the word was seen expected, from 1, found \"0\"\n"
            "line 6: tag \"PRP\" is listed twice\n");
  EXPECT_EQ(english("3\nShe 20 PRP\nhe 3 PRP\nShe 1 NN\n"),
            "line 4: \"She\" is listed in line 2 already: all entries behind this one get wrong "
            "tags\n");
  EXPECT_EQ(english("1\nShe 20 PRP\nhe 3 PRP\nit 1 PRP\n"),
            "line 3: lines behind the last entry: 2, none expected (is a count wrong?)\n");
  EXPECT_EQ(ProblemsOf(chinese("1\n" + kWo + " 1 PRP\n" + kMen + " 2 PRP\n0\n")),
            "line 3: the number of words expected, found \"\\xc3\\xc7 2 PRP\" (is a count before "
            "wrong?)" +
                kUnchecked);
  EXPECT_EQ(ProblemsOf(chinese("0\n1\n\xCE 1 PRP\n")), "line 3: malformed GBK: \"\\xce\"\n");
  EXPECT_EQ(
      ProblemsOf(chinese("1\n我 1 PRP\n1\n我们 1 PRP\n")),
      "line 2: the texts are UTF-8, here \"我\"; GBK expected (iconv -f UTF-8 -t GBK converts "
      "a text file)\n");
  EXPECT_EQ(RemarksOf(chinese("0\n1\n我们 1 PRP\n")),
            "the texts could be UTF-8; GBK is expected\n");
  EXPECT_EQ(RemarksOf(chinese("1\nab 1 NN\n0\n")),
            "entries of several characters among the single ones, which nothing looks up there: 1, "
            "the first is in line 2\n");
}

TEST(TagDictionaryCheck, TagsOfTheModel) {
  const ModelTags tags{"binaryEngPosModel", {"PRP"}};
  EXPECT_EQ(ProblemsOf(Dictionary("3\na 1 PRP\nb 1 NN PRP\nc 1 NN\n", DictionaryLanguage::kEnglish,
                                  &tags)),
            "line 3: tag \"NN\" is none of binaryEngPosModel (entries that list it: 2)\n");
}

// Tokenizer lists.

TEST(TokenizerListsCheck, CountsAndEntries) {
  const Findings findings = TokenizerLists(kGoodLists);
  EXPECT_EQ(Number(findings, "separators"), 4U);
  EXPECT_EQ(Number(findings, "abbreviations"), 2U);
  EXPECT_EQ(ProblemsOf(TokenizerLists("2\n!\n \n1\nMr\n")),
            "line 3: the line is empty, an entry expected\n");
  EXPECT_EQ(ProblemsOf(TokenizerLists("1\n!\n?\n1\nMr\n")),
            "line 3: the number of abbreviations expected, found \"?\" (is a count before wrong?)" +
                kUnchecked);
  EXPECT_EQ(ProblemsOf(TokenizerLists("1\n!\n3\nMr\n")),
            "line 5: the file ends behind 1 of 3 abbreviations: it is cut, or a count is wrong" +
                kUnchecked);
  EXPECT_EQ(RemarksOf(TokenizerLists("2\n!\n!\n1\na b\n")),
            "repeated separators: 1\n"
            "abbreviations that hold white space, so that no token is like them: 1\n");
}

// Texts in messages.

TEST(ResourceText, ShowsWhatCanBeRead) {
  const ResourceText gbk(ResourceText::Form::kGbk);
  EXPECT_EQ(gbk.Show(kWo + "/B"), "\"我/B\"");
  EXPECT_EQ(gbk.Show("\x81"), "\"\\x81\"");
  EXPECT_EQ(gbk.Show(std::string("a\0\n", 3)), "\"a\\x00\\x0a\"");
  const ResourceText bytes(ResourceText::Form::kBytes);
  EXPECT_EQ(bytes.Show("é\xE9"), "\"é\\xe9\"");
  const std::string shown = bytes.Show(std::string(1000, 'x'));
  EXPECT_LT(shown.size(), 80U);
  EXPECT_TRUE(shown.ends_with("x...\"")) << shown;
}

// Files and folders.

class CheckedFiles : public Workplace {
 protected:
  static std::string ProblemsIn(const std::string& path,
                                std::optional<ResourceKind> as = std::nullopt) {
    return ProblemsOf(CheckFile(path, as, 20).findings);
  }

  static std::optional<ResourceKind> KindOf(const std::string& name, std::string_view content) {
    Put(name, content);
    const FileReport report = CheckFile(name, std::nullopt, 20);
    EXPECT_EQ(report.size, content.size());
    return report.kind;
  }

  /// A complete resource folder.
  static void PutData() {
    std::filesystem::create_directory("data");
    Put("data/binarySource", GoodCharacters());
    Put("data/binarySegLM", GoodBinaryLm());
    Put("data/binarySegModel", GoodModel().Binary());
    Put("data/binaryPosModel", GoodTagger("9/S/0").Binary());
    Put("data/Dict", GoodDict());
    Put("data/binaryEngPosModel", GoodTagger("15/0").Text());
    Put("data/EngDict", kGoodEngDict);
    Put("data/abbtitle", kGoodLists);
    Put("data/MODEL_CARD.md", "# What stands here\n");
  }

  static std::string ProblemsInData() {
    std::string lines;
    for (const FileReport& report : CheckDirectory("data", 20)) {
      if (report.findings.ProblemCount() == 0) continue;
      lines += report.path + ": " + ProblemsOf(report.findings);
    }
    return lines;
  }
};

TEST_F(CheckedFiles, TheContentTellsTheKind) {
  using enum ResourceKind;
  EXPECT_EQ(KindOf("f", GoodModel().Binary()), kMaxEntModel);
  EXPECT_EQ(KindOf("f", GoodModel().Text()), kMaxEntModel);
  EXPECT_EQ(KindOf("f", "12\n1\n1/a\n1\nA\n1 0\n1\n0.5\n"), kMaxEntModel);
  EXPECT_EQ(KindOf("f", GoodBinaryLm()), kLanguageModel);
  EXPECT_EQ(KindOf("f", GoodArpa()), kLanguageModel);
  EXPECT_EQ(KindOf("f", GoodCharacters()), kCharacters);
  EXPECT_EQ(KindOf("f", std::string(16, '\0')), kCharacters);
  EXPECT_EQ(KindOf("f", GoodDict()), kChineseDictionary);
  EXPECT_EQ(KindOf("f", kGoodEngDict), kEnglishDictionary);
  EXPECT_EQ(KindOf("f", kGoodLists), kTokenizerLists);
  EXPECT_EQ(KindOf("binarySegModel", GoodBinaryLm()), kLanguageModel);
  EXPECT_EQ(KindOf("f", ""), std::nullopt);
  EXPECT_EQ(KindOf("f", "# What stands here\n"), std::nullopt);
  EXPECT_EQ(KindOf("f", std::string("\0\1\2\3\4", 5)), std::nullopt);
}

TEST_F(CheckedFiles, TheNameDecidesWhereTheContentDoesNot) {
  using enum ResourceKind;
  EXPECT_EQ(KindOf("EngDict", GoodDict()), kEnglishDictionary);
  EXPECT_EQ(KindOf("Dict", kGoodEngDict), kChineseDictionary);
  EXPECT_EQ(KindOf("Dict", "0\n0\n"), kChineseDictionary);
  EXPECT_EQ(KindOf("abbtitle", "0\n0\n"), kTokenizerLists);
  EXPECT_EQ(KindOf("f", "0\n"), std::nullopt);
  const std::string both = kHeader + I32(0);
  EXPECT_EQ(KindOf("binarySegLM", both), kLanguageModel);
  EXPECT_EQ(KindOf("binarySegModel", both), kMaxEntModel);
}

TEST_F(CheckedFiles, OtherFormsAreRecognised) {
  const std::string rest = ": unpack or convert it first\n";
  using namespace std::string_view_literals;
  for (const auto& [begin, name] : {std::pair("\x1F\x8B\x08\0\0"sv, "compressed by gzip"),
                                    {"\x28\xB5\x2F\xFD\0\0"sv, "compressed by zstd"},
                                    {"\xFD\x37zXZ\0\0"sv, "compressed by xz"},
                                    {"BZh91AY&SYxyz"sv, "compressed by bzip2"},
                                    {"\xFF\xFE\x31\0\n\0"sv, "text in UTF-16"},
                                    {"\xFE\xFF\0\x31\0\n"sv, "text in UTF-16"}}) {
    EXPECT_EQ(KindOf("Dict", begin), std::nullopt) << name;
    EXPECT_EQ(ProblemsIn("Dict"), std::string("the file is ") + name + rest);
    EXPECT_EQ(ProblemsIn("Dict", ResourceKind::kCharacters),
              std::string("the file is ") + name + rest);
  }
  EXPECT_EQ(KindOf("f", "BZh"), std::nullopt) << "too short to tell";
  EXPECT_EQ(KindOf("f", "BZh title\n" + GoodModel().Text().substr(13)), ResourceKind::kMaxEntModel);
  Put("f", "\xEF\xBB\xBF" + kGoodEngDict + "she 1 PRP\n");
  EXPECT_EQ(ProblemsIn("f", ResourceKind::kEnglishDictionary),
            "the file begins with the byte-order mark of UTF-8: remove it\n"
            "line 4: lines behind the last entry: 1, none expected (is a count wrong?)\n");
  Put("f", "\xEF\xBB\xBF" + GoodModel().Binary());
  EXPECT_EQ(ProblemsIn("f"), "the file begins with the byte-order mark of UTF-8: remove it\n");
}

TEST_F(CheckedFiles, UnknownAndUnreadableFiles) {
  EXPECT_EQ(ProblemsIn("none"), "No such file or directory\n");
  EXPECT_FALSE(CheckFile("none", std::nullopt, 20).size);
  Put("f", "some text\n");
  EXPECT_EQ(ProblemsIn("f"),
            "the file is of no kind that is known here; --as KIND says what it should be\n");
  Put("f", "");
  EXPECT_EQ(ProblemsIn("f"), "the file is empty\n");
  Put("f", kGoodLists);
  EXPECT_EQ(ProblemsIn("f", ResourceKind::kTokenizerLists), "");
  EXPECT_NE(ProblemsIn("f", ResourceKind::kEnglishDictionary), "");
}

TEST_F(CheckedFiles, TheFirstProblemsOfTheFileAreKept) {
  // Names are looked at last.
  Put("f", "title\n2\n1/a\n1/a\n1\nA\n1 x\n1 y\n2\n1\n1\n");
  const FileReport report = CheckFile("f", ResourceKind::kMaxEntModel, 2);
  EXPECT_EQ(report.findings.ProblemCount(), 3U);
  EXPECT_EQ(ProblemsOf(report.findings),
            "line 4: feature 1, \"1/a\", is the same as feature 0: nothing finds it\n"
            "line 7: a number expected in the list of feature 0, found \"x\"\n");
}

TEST_F(CheckedFiles, AFolderIsCheckedAsAWhole) {
  PutData();
  EXPECT_EQ(ProblemsInData(), "");
  std::vector<std::string> paths;
  for (const FileReport& report : CheckDirectory("data", 20)) paths.push_back(report.path);
  EXPECT_EQ(paths,
            (std::vector<std::string>{"data/binarySource", "data/binarySegLM",
                                      "data/binarySegModel", "data/binaryPosModel", "data/Dict",
                                      "data/binaryEngPosModel", "data/EngDict", "data/abbtitle"}));
}

TEST_F(CheckedFiles, MissingFilesAreProblems) {
  PutData();
  for (const FileReport& report : CheckDirectory("data", 20)) {
    std::filesystem::rename(report.path, "away");
    EXPECT_EQ(ProblemsInData(), report.path + ": No such file or directory\n");
    std::filesystem::rename("away", report.path);
  }
  EXPECT_EQ(CheckDirectory("nowhere", 20).size(), 8U);
}

TEST_F(CheckedFiles, AFolderMayLackWhatNothingThereNeeds) {
  PutData();
  for (const char* name : {"binaryEngPosModel", "EngDict", "abbtitle"}) {
    EXPECT_EQ(std::filesystem::remove(std::string("data/") + name), true);
    // The tokenizer's lists are needed as long as the tagger is there.
    EXPECT_EQ(ProblemsInData(), name == std::string("binaryEngPosModel")
                                    ? "data/binaryEngPosModel: No such file or directory\n"
                                    : "")
        << name;
  }
  EXPECT_EQ(CheckDirectory("data", 20).back().findings.Remarks(),
            std::vector<std::string>{"not there, and nothing there needs it"});
  for (const char* name : {"binarySegLM", "binarySegModel"}) {
    std::filesystem::remove(std::string("data/") + name);
  }
  EXPECT_EQ(ProblemsInData(), "");
  std::filesystem::remove("data/binarySource");
  EXPECT_EQ(ProblemsInData(), "data/binarySource: No such file or directory\n");
}

TEST_F(CheckedFiles, FilesHaveToBeWhatTheirPlaceSays) {
  PutData();
  Put("data/binarySegLM", GoodModel().Binary());
  Put("data/abbtitle", kGoodEngDict);
  EXPECT_EQ(ProblemsInData(),
            "data/binarySegLM: language model expected, found: maximum-entropy model\n"
            "data/abbtitle: tokenizer lists expected, found: English tag dictionary\n");
  PutData();
  Put("data/EngDict", "");
  EXPECT_EQ(ProblemsInData(),
            "data/EngDict: line 1: the file ends where the number of words is expected: it is "
            "cut" +
                kUnchecked);
}

TEST_F(CheckedFiles, FilesHaveToFitTogether) {
  PutData();
  Put("data/binarySegModel", GoodTagger("2/a").Binary());
  Put("data/Dict", "0\n1\n" + kWo + " 1 VB\n");
  Put("data/EngDict", "1\nwait 1 NN VB\n");
  EXPECT_EQ(ProblemsInData(),
            "data/binarySegModel: a model for segmentation has the tags B, M, E and S and no "
            "others\n"
            "data/Dict: line 3: tag \"VB\" is none of binaryPosModel (entries that list it: 1)\n"
            "data/EngDict: line 2: tag \"VB\" is none of binaryEngPosModel (entries that list it: "
            "1)\n");
  const std::vector<FileReport> reports = CheckDirectory("data", 20);
  EXPECT_EQ(RemarksOf(reports[2].findings),
            "features that segmentation never asks for: 1, the first is \"0/B_0\"\n");
  std::filesystem::remove("data/binaryPosModel");
  EXPECT_EQ(ProblemsInData().find("data/Dict"), std::string::npos)
      << "no tags are known to compare with";
  PutData();
  const std::string class9 = kHeader + I32(7) + BinaryWords() + BinaryWord("a/B", 6) + I32(1) +
                             I32(4) + F64(-1) + I32(1) + F64(-1) + I32(2) + F64(-1) + I32(3) +
                             F64(-1) + I32(6);
  Put("data/binarySegLM", class9);
  EXPECT_NE(RemarksOf(CheckDirectory("data", 20)[1].findings)
                .find("never asks for: 1, the first is \"a/B\"\n"),
            std::string::npos)
      << "the character resource says that it is a letter, so its token is 3/B";
}

TEST(ShippedResources, HaveNoProblems) {
  for (const FileReport& report : CheckDirectory(PROJECT_DIR "/data", 20)) {
    EXPECT_EQ(ProblemsOf(report.findings), "") << report.path;
    EXPECT_TRUE(report.findings.IsComplete()) << report.path;
    EXPECT_EQ(CheckFile(report.path, std::nullopt, 20).kind, report.kind) << report.path;
  }
}

// The core's loaders.

class Loaders : public Workplace {};

/// Holds the facts of a model against what the loader has.
void ExpectSameModel(const std::string& path) {
  const FileReport report = CheckFile(path, ResourceKind::kMaxEntModel, 20);
  ASSERT_EQ(ProblemsOf(report.findings), "") << path;
  MeModel model;
  ASSERT_EQ(model.LoadModel(path), 1) << path;
  EXPECT_TRUE(model.HasSoundParameters());
  EXPECT_EQ(model.FeatureTexts().size(), Number(report.findings, "features")) << path;
  const auto tags = FactOf<std::vector<std::string>>(report.findings, "tags");
  ASSERT_EQ(static_cast<std::size_t>(model.GetTagSize()), tags.size()) << path;
  std::size_t weights = 0;
  for (const auto& [text, id] : model.FeatureTexts()) {
    model.ForEachParameter(id, [&](int, double) { ++weights; });
  }
  EXPECT_EQ(weights, Number(report.findings, "weights")) << path;
  for (std::size_t i = 0; i < tags.size(); ++i) {
    EXPECT_EQ(model.GetTag(static_cast<int>(i)), tags[i]) << path;
  }
}

TEST_F(Loaders, AgreeOnGoodFiles) {
  Put("me.bin", GoodModel().Binary());
  Put("me.txt", GoodModel().Text());
  ExpectSameModel("me.bin");
  ExpectSameModel("me.txt");
  for (const char* name : {"binarySegModel", "binaryPosModel", "binaryEngPosModel"}) {
    ExpectSameModel(std::string(PROJECT_DIR "/data/") + name);
  }

  Put("lm.bin", GoodBinaryLm());
  Put("lm.arpa", GoodArpa());
  for (const std::string path : {"lm.bin", "lm.arpa", PROJECT_DIR "/data/binarySegLM"}) {
    const FileReport report = CheckFile(path, ResourceKind::kLanguageModel, 20);
    ASSERT_EQ(ProblemsOf(report.findings), "") << path;
    Vocab vocab;
    Ngram model(&vocab, 2);
    std::string said = ErrorOf([&] { EXPECT_EQ(model.LoadFile(path.c_str()), 1) << path; });
    EXPECT_EQ(said, "") << path;
    const auto counts = FactOf<std::vector<std::size_t>>(report.findings, "n-grams");
    EXPECT_EQ(model.Contexts().Root().probs.size(), counts.at(0)) << path;
    std::size_t bigrams = 0;
    model.Contexts().ForEachContextWord(
        [&](int, const NgramNode& node) { bigrams += node.probs.size(); });
    EXPECT_EQ(bigrams, counts.at(1)) << path;
  }

  Put("chars", GoodCharacters());
  CharType characters;
  ASSERT_TRUE(characters.LoadBinary("chars"));
  std::size_t entries = 0;
  characters.ForEachCharacter([&](std::string_view) { ++entries; });
  EXPECT_EQ(entries, 6U);

  Put("tagger", GoodTagger("1/a").Text());
  Put("Dict", GoodDict());
  Put("EngDict", kGoodEngDict);
  Put("abbtitle", kGoodLists);
  Capture([&] {
    PosScore chinese(&characters);
    EXPECT_TRUE(chinese.Initialize("tagger", "Dict"));
    std::vector<int> tags;
    EXPECT_TRUE(chinese.GetPossiblePos(kWo, tags));
    EXPECT_EQ(tags, (std::vector<int>{0, 1}));
    EngPosScore english;
    EXPECT_TRUE(english.Initialize("tagger", "EngDict"));
    EXPECT_TRUE(english.GetPossiblePos("wait", tags));
    EXPECT_EQ(tags, (std::vector<int>{1, 0}));
    EXPECT_TRUE(EngToken().Load("abbtitle"));
  });
}

TEST_F(Loaders, HaveTheSameLimits) {
  const auto maxEnt = [](std::size_t size) {
    MeSource model = GoodModel();
    model.Add(std::string(size, 'x'), {{0, "1"}});
    Put("f", model.Binary());
    return RunApart([] { return MeModel().LoadModel("f") == 1; });
  };
  EXPECT_EQ(maxEnt(kLongestName), End::kTrue);
  EXPECT_EQ(maxEnt(kLongestName + 1), End::kAbort);

  const auto word = [](std::size_t size) {
    Put("f", kHeader + I32(1) + BinaryWord(std::string(size, 'x'), 4) + I32(1) + I32(0));
    return RunApart([] {
      Vocab vocab;
      return Ngram(&vocab, 2).LoadFile("f") == 1;
    });
  };
  EXPECT_EQ(word(kLongestWord), End::kTrue);
  EXPECT_EQ(word(kLongestWord + 1), End::kAbort);

  const auto order = [](int highest) {
    Put("f", kHeader + I32(0) + I32(highest) + Repeat(I32(0), highest));
    Vocab vocab;
    int loaded = 0;
    Capture([&] { loaded = Ngram(&vocab, 2).LoadFile("f"); });
    return loaded;
  };
  EXPECT_EQ(order(kHighestOrder), 1);
  EXPECT_EQ(order(kHighestOrder + 1), 0);

  const auto key = [](std::size_t size) {
    Put("f", Block({{std::string(size, 'x'), 1}}) + std::string(12, '\0'));
    bool loaded = false;
    Capture([&] { loaded = CharType().LoadBinary("f"); });
    return loaded;
  };
  EXPECT_TRUE(key(kLongestKey));
  EXPECT_FALSE(key(kLongestKey + 1));

  const auto line = [](std::size_t size) {
    Put("f", "title\n1\n" + std::string(size, 'x') + "\n1\nA\n1 0\n1\n0.5\n");
    EXPECT_EQ(MeModel().ConvertToBinaryModel("f", "f.bin"), 1);
    return CheckFile("f.bin", ResourceKind::kMaxEntModel, 20).findings.ProblemCount();
  };
  EXPECT_EQ(line(kLongestLine), 0U);
  EXPECT_GT(line(kLongestLine + 1), 0U);
}

}  // namespace
}  // namespace Tolvek
