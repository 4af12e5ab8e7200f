// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>
#include <utility>

#include "model/MeModel.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Ids = std::vector<std::pair<int, double>>;
using Texts = std::vector<std::string>;
using Valued = std::vector<std::pair<std::string, double>>;

/// The exponential as the running program computes it: the compiler's own may differ in the last
/// bit.
double Exp(double x) {
  volatile double argument = x;
  return std::exp(argument);
}

double Log10(double x) {
  volatile double argument = x;
  return std::log10(argument);
}

/// Two tags and three features. With "half" the scores are (ln 3, 0), so that p = (3/4, 1/4).
MeSource Small() {
  MeSource source;
  source.tags = {"B", "E"};
  source.Add("half", {{0, "1.0986122886681098"}});
  source.Add("both", {{1, "0.25"}, {0, "-0.5"}});
  source.Add("none", {});
  return source;
}

class MeModelTest : public Scratch {
 protected:
  void LoadSmall() {
    WriteText("model", Small().Text());
    ASSERT_EQ(_model.LoadModel("model"), 1);
  }
  int LoadText(const std::string& text) {
    WriteText("model", text);
    return _model.LoadMaxEntModel("model") ? 1 : 0;
  }
  int LoadBinary(const std::string& bytes) {
    WriteText("model", bytes);
    return _model.LoadMaxEntBinaryModel("model");
  }

  MeModel _model;
};

// Loading: which format, and files that cannot be opened.

TEST_F(MeModelTest, MissingFiles) {
  int result = 1;
  EXPECT_EQ(ErrorOf([&] { result = _model.LoadModel("nofile"); }),
            "\nCan not open the ME model File: nofile\n");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(ErrorOf([&] { result = _model.LoadMaxEntModel("nofile"); }), "Open nofile error!\n");
  EXPECT_EQ(result, 0);
  result = 1;
  EXPECT_EQ(ErrorOf([&] { result = _model.LoadMaxEntBinaryModel("nofile"); }),
            "Can not open the Model File: nofile\n");
  EXPECT_EQ(result, 0);
  result = 1;
  EXPECT_EQ(ErrorOf([&] { result = _model.ConvertToBinaryModel("nofile", "out"); }),
            "Can not open the Model File: nofile\n");
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(Exists("out"));
}

TEST_F(MeModelTest, TheHeaderTellsTheFormat) {
  WriteText("text", Small().Text());
  WriteText("binary", Small().Binary());
  for (const char* path : {"text", "binary"}) {
    MeModel model;
    const Output output = Capture([&] { EXPECT_EQ(model.LoadModel(path), 1); });
    EXPECT_EQ(output.out + output.err, "");
    EXPECT_EQ(model.GetTagSize(), 2);
    EXPECT_EQ(model.GetFeatureId("none"), 2);
  }
}

TEST_F(MeModelTest, ATextModelWithTheHeaderAsItsTitleIsTakenForBinary) {
  const std::string text = "#bin,model\n0\n1\nT";
  WriteText("model", text);
  Capture([&] { _model.LoadModel("model"); });
  EXPECT_NE(_model.GetTagSize(), 1);
  MeModel asText;
  ASSERT_TRUE(asText.LoadMaxEntModel("model"));
  EXPECT_EQ(asText.GetTagSize(), 1);
  EXPECT_EQ(asText.GetTagId("T"), 0);
}

TEST_F(MeModelTest, AFileShorterThanTheHeaderIsText) {
  for (const char* text : {"", "#bin", "#bin,mode", "#bin,mode\n0\n1\nT\n0\n"}) {
    WriteText("model", text);
    MeModel model;
    EXPECT_EQ(model.LoadModel("model"), 1) << text;
  }
}

// The text form.

TEST_F(MeModelTest, TextModel) {
  LoadSmall();
  EXPECT_EQ(_model.GetFeatureId("half"), 0);
  EXPECT_EQ(_model.GetFeatureId("both"), 1);
  EXPECT_EQ(_model.GetFeatureId("none"), 2);
  EXPECT_EQ(_model.GetTagId("B"), 0);
  EXPECT_EQ(_model.GetTagId("E"), 1);
  EXPECT_EQ(_model.GetTagSize(), 2);
  EXPECT_NEAR(_model.eval(Texts{"half"}, "B"), Log10(0.75), 1e-15);
  EXPECT_NEAR(_model.eval(Texts{"half"}, "E"), Log10(0.25), 1e-15);
}

TEST_F(MeModelTest, TextNamesAreTrimmed) {
  ASSERT_EQ(LoadText("title\r\n1\r\n \tmy feature \r\n1\r\n T \r\n 1 0 \r\n1\r\n\t0.5\r\n"), 1);
  EXPECT_EQ(_model.GetFeatureId("my feature"), 0);
  EXPECT_EQ(_model.GetFeatureId(" \tmy feature \r"), -1);
  EXPECT_EQ(_model.GetTag(0), "T");
  EXPECT_EQ(_model.eval(Texts{"my feature"}, "T"), 0.0);
}

TEST_F(MeModelTest, BinaryNamesAreNot) {
  MeSource source;
  source.tags = {" T\r"};
  source.Add("\tf ", {{0, "1"}});
  ASSERT_EQ(LoadBinary(source.Binary()), 1);
  EXPECT_EQ(_model.GetFeatureId("\tf "), 0);
  EXPECT_EQ(_model.GetFeatureId("f"), -1);
  EXPECT_EQ(_model.GetTag(0), " T\r");
}

TEST_F(MeModelTest, CountsAreTheNumberAtTheStartOfTheirLine) {
  ASSERT_EQ(LoadText("title\n  1 feature\nf\n1;\nT\n1 0\n 1 value\n0.5 and more\n"), 1);
  EXPECT_EQ(_model.GetFeatureId("f"), 0);
  EXPECT_EQ(_model.GetTagSize(), 1);
}

TEST_F(MeModelTest, EmptySectionsTakeNoLines) {
  ASSERT_EQ(LoadText("title\n0\n2\nB\nE\n0\n"), 1);
  EXPECT_EQ(_model.GetTagId("E"), 1);
  EXPECT_EQ(_model.eval(Texts{"x"}, "E"), Log10(0.5));

  MeModel noTags;
  WriteText("model", "title\n1\nf\n0\n0\n0\n");
  ASSERT_TRUE(noTags.LoadMaxEntModel("model"));
  EXPECT_EQ(noTags.GetTagSize(), 0);
  EXPECT_EQ(noTags.GetFeatureId("f"), 0);
  Valued scores{{"old", 1.0}};
  noTags.eval_all(Texts{"f"}, scores, false);
  EXPECT_TRUE(scores.empty());
}

TEST_F(MeModelTest, NegativeCountsAreEmptySections) {
  WriteText("model", "title\n-2\n-1\n0\n");
  EXPECT_EQ(RunApart([] { return MeModel().LoadMaxEntModel("model"); }), End::kTrue);
}

TEST_F(MeModelTest, RepeatedNamesKeepTheirFirstId) {
  MeSource source;
  source.tags = {"B", "B", "E"};
  source.Add("f", {{0, "1"}});
  source.Add("f", {{2, "2"}});
  source.Add("g", {{2, "0.5"}});
  for (const std::string& bytes : {source.Text(), source.Binary()}) {
    WriteText("model", bytes);
    MeModel model;
    ASSERT_EQ(model.LoadModel("model"), 1);
    EXPECT_EQ(model.GetFeatureId("f"), 0);
    EXPECT_EQ(model.GetFeatureId("g"), 2);
    EXPECT_EQ(model.GetTagId("B"), 0);
    EXPECT_EQ(model.GetTagId("E"), 2);
    EXPECT_EQ(model.GetTagSize(), 3);
    EXPECT_EQ(model.GetTag(1), "B") << "both copies keep their place";
    // The second list is a range of its own, reached by its id only.
    const double z = 1 + 1 + Exp(2.0);
    EXPECT_DOUBLE_EQ(model.eval(Ids{{1, 1.0}}, 2), Log10(Exp(2.0) / z));
    EXPECT_DOUBLE_EQ(model.eval(Texts{"f"}, "B"), Log10(Exp(1.0) / (Exp(1.0) + 2)));
  }
}

TEST_F(MeModelTest, AListThatDisagreesWithItsCountIsTrusted) {
  // The first feature claims two parameters and lists one, the second's list starts where the
  // count says: its parameter has no tag.
  ASSERT_EQ(LoadText("title\n2\nf\ng\n2\nB\nE\n2 0\n1 1\n3\n0.5\n0.25\n0.125\n"), 1);
  const double z = Exp(0.5) + Exp(0.25);
  EXPECT_DOUBLE_EQ(_model.eval(Texts{"f"}, "B"), Log10(Exp(0.5) / z));
  EXPECT_DOUBLE_EQ(_model.eval(Texts{"f"}, "E"), Log10(Exp(0.25) / z));
  EXPECT_THROW(_model.eval(Texts{"g"}, "B"), std::out_of_range);
}

TEST_F(MeModelTest, AParameterOfATagThatIsNotThere) {
  MeSource source;
  source.tags = {"B"};
  source.Add("high", {{1, "0.5"}});
  source.Add("low", {{-1, "0.5"}});
  WriteText("model", source.Text());
  ASSERT_EQ(_model.LoadModel("model"), 1);
  EXPECT_THROW(_model.eval(Texts{"high"}, "B"), std::out_of_range);
  EXPECT_THROW(_model.eval(Texts{"low"}, "B"), std::out_of_range);
}

TEST_F(MeModelTest, AParameterLineWithoutIntegers) {
  EXPECT_THROW(LoadText("title\n1\nf\n1\nT\n\n1\n0.5\n"), std::out_of_range);
  MeModel words;
  WriteText("model", "title\n1\nf\n1\nT\nnone at all\n1\n0.5\n");
  EXPECT_THROW(words.LoadMaxEntModel("model"), std::out_of_range);
  MeModel missing;
  WriteText("model", "title\n1\nf\n1\nT");
  EXPECT_THROW(missing.LoadMaxEntModel("model"), std::out_of_range);
}

using MeModelDeathTest = MeModelTest;

/// The text of the assertion, as a regular expression.
constexpr const char* kCountAssertion = "_lambdaSize == \\(int\\)_lambdasVec->size\\(\\)";

TEST_F(MeModelDeathTest, ANegativeParameterCount) {
  EXPECT_DEATH(LoadText("title\n0\n1\nT\n-1\n"), kCountAssertion);
}

TEST_F(MeModelDeathTest, MissingValues) {
  EXPECT_DEATH(LoadText("title\n1\nf\n1\nT\n1 0\n2\n0.5\n"), kCountAssertion);
}

TEST_F(MeModelDeathTest, ASecondLoad) {
  LoadSmall();
  EXPECT_DEATH(_model.LoadMaxEntModel("model"), kCountAssertion);
  EXPECT_DEATH(_model.LoadModel("model"), kCountAssertion);
}

TEST_F(MeModelDeathTest, TheAssertionNamesItsFunction) {
  EXPECT_DEATH(LoadText("title\n0\n1\nT\n-1\n"), "MeModel.*Tolvek::MeModel::LoadMaxEntModel");
}

TEST_F(MeModelTest, SpiltLine) {
  std::vector<int> numbers{9, 9};
  MeModel::SpiltLine("3 1\t-2  +4 \r", &numbers);
  EXPECT_EQ(numbers, (std::vector<int>{3, 1, -2, 4}));
  MeModel::SpiltLine("3 1 x 5", &numbers);
  EXPECT_EQ(numbers, (std::vector<int>{3, 1})) << "reading ends at what is no integer";
  MeModel::SpiltLine("1.5", &numbers);
  EXPECT_EQ(numbers, (std::vector<int>{1}));
  for (const char* none : {"", "  ", "x 1"}) {
    numbers = {9};
    MeModel::SpiltLine(none, &numbers);
    EXPECT_TRUE(numbers.empty()) << none;
  }
}

// The binary form.

TEST_F(MeModelTest, TheBinaryLoaderDoesNotTestTheHeader) {
  std::string bytes = Small().Binary();
  bytes.replace(0, kHeader.size(), "0123456789");
  ASSERT_EQ(LoadBinary(bytes), 1);
  EXPECT_EQ(_model.GetFeatureId("both"), 1);
}

TEST_F(MeModelTest, ABinaryModelWithoutParameters) {
  MeSource source;
  source.tags = {"T"};
  EXPECT_THROW(LoadBinary(source.Binary()), std::out_of_range);
}

TEST_F(MeModelTest, TextsOf256BytesFit) {
  MeSource source;
  source.tags = {std::string(256, 't')};
  source.Add(std::string(256, 'f'), {{0, "1"}});
  source.Add(std::string("\0x", 2), {{0, "1"}});
  ASSERT_EQ(LoadBinary(source.Binary()), 1);
  EXPECT_EQ(_model.GetFeatureId(std::string(256, 'f')), 0);
  EXPECT_EQ(_model.GetFeatureId(std::string("\0x", 2)), 1);
  EXPECT_EQ(_model.GetTag(0), std::string(256, 't'));
}

TEST_F(MeModelDeathTest, LongerTextsAbort) {
  MeSource feature;
  feature.tags = {"T"};
  feature.Add(std::string(257, 'f'), {{0, "1"}});
  WriteText("feature", feature.Binary());
  EXPECT_EQ(RunApart([] { return MeModel().LoadMaxEntBinaryModel("feature") == 1; }), End::kAbort);
  MeSource tag;
  tag.tags = {std::string(257, 't')};
  tag.Add("f", {{0, "1"}});
  WriteText("tag", tag.Binary());
  EXPECT_EQ(RunApart([] { return MeModel().LoadModel("tag") == 1; }), End::kAbort);
}

TEST_F(MeModelTest, ValuesMissingInABinaryFileAreZero) {
  const MeSource source = Small();
  const std::string bytes = source.Binary();
  for (const std::size_t cut : {1U, 7U, 8U, 9U, 16U, 23U}) {
    WriteText("model", bytes.substr(0, bytes.size() - cut));
    MeModel model;
    const Output output = Capture([&] { EXPECT_EQ(model.LoadModel("model"), 1); });
    EXPECT_EQ(output.out + output.err, "") << "a cut file is not reported";
    const double last = model.eval(Texts{"both"}, "B");
    if (cut <= 8) {
      EXPECT_DOUBLE_EQ(last, Log10(1 / (1 + Exp(0.25)))) << cut;
    } else {
      EXPECT_DOUBLE_EQ(last, Log10(0.5)) << cut;
    }
  }
}

TEST_F(MeModelTest, NegativeLengthsAreRefused) {
  for (const std::int32_t length : {-1, -0x7FFFFFFF - 1}) {
    const std::string inFeature = kHeader + I32(1) + I32(length) + "f" + I32(1) + Record("T");
    const std::string inTag = kHeader + I32(0) + I32(1) + I32(length) + "T";
    for (const std::string& bytes : {inFeature, inTag}) {
      WriteText("model", bytes);
      int result = 1;
      EXPECT_NE(ErrorOf([&] { result = MeModel().LoadModel("model"); }), "");
      EXPECT_EQ(result, 0);
    }
  }
}

TEST_F(MeModelTest, TagCountsThatTheFileDoesNotHoldAreRefused) {
  WriteText("model", kHeader + I32(0) + I32(65'537) + Record("T"));
  int result = 1;
  EXPECT_NE(ErrorOf([&] { result = MeModel().LoadModel("model"); }), "");
  EXPECT_EQ(result, 0);
}

/// Loads and then evaluates: a broken model may answer anything, or raise the range error.
bool LoadAndUse() {
  MeModel model;
  if (model.LoadModel("model") != 1) return false;
  Valued scores;
  try {
    model.eval_all(Texts{"half", "both", "none"}, scores, true);
  } catch (const std::out_of_range&) {
  }
  try {
    model.eval(Ids{{0, 1.0}, {2, 1.0}}, 1);
  } catch (const std::out_of_range&) {
  }
  model.GetTag(1);
  return true;
}

TEST_F(MeModelTest, CutAtEveryByte) {
  const std::string bytes = Small().Binary();
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    WriteText("model", bytes.substr(0, length));
    const End end = RunApart(LoadAndUse);
    // Where the values begin, their count is known; before that there may be no parameters.
    if (length > bytes.size() - 24) {
      EXPECT_EQ(end, End::kTrue) << length;
    } else {
      EXPECT_TRUE(end == End::kTrue || end == End::kOutOfRange)
          << length << " " << testing::PrintToString(end);
    }
  }
}

TEST_F(MeModelTest, TextCutAtEveryByte) {
  const std::string text = Small().Text();
  for (std::size_t length = 0; length < text.size(); ++length) {
    WriteText("model", text.substr(0, length));
    const End end = RunApart(LoadAndUse);
    EXPECT_TRUE(end == End::kTrue || end == End::kOutOfRange || end == End::kAbort)
        << length << " " << testing::PrintToString(end);
  }
}

TEST_F(MeModelTest, HostileNumbers) {
  const std::string bytes = Small().Binary();
  std::size_t next = kHeader.size();
  const auto skip = [&](std::size_t count) { return std::exchange(next, next + count); };
  std::vector<std::size_t> counts{skip(4)};
  std::vector<std::size_t> lengths;
  for (int i = 0; i < 3; ++i) lengths.push_back(skip(4 + 4));
  counts.push_back(skip(4));
  for (int i = 0; i < 2; ++i) lengths.push_back(skip(4 + 1));
  for (const std::size_t parameters : {1U, 2U, 0U}) counts.push_back(skip(4 + 4 * parameters));
  counts.push_back(skip(4));
  ASSERT_EQ(next + 3 * 8, bytes.size());

  for (const std::int32_t number : kHostileNumbers) {
    for (const std::size_t offset : counts) {
      // What follows a wrong count is read as something else, lengths included: it may be refused
      // or abort as a text that is too long.
      WriteText("model", WithInt(bytes, offset, number));
      const End end = RunApart(LoadAndUse);
      EXPECT_NE(end, End::kOther) << number << " at " << offset;
      EXPECT_NE(end, End::kOtherException) << number << " at " << offset;
    }
    for (const std::size_t offset : lengths) {
      WriteText("model", WithInt(bytes, offset, number));
      const End end = RunApart(LoadAndUse);
      if (number > 256) {
        EXPECT_EQ(end, End::kAbort) << number << " at " << offset;
      } else if (number < 0) {
        EXPECT_EQ(end, End::kFalse) << number << " at " << offset;
      } else {
        EXPECT_NE(end, End::kOther) << number << " at " << offset;
      }
    }
  }
}

TEST_F(MeModelTest, HugeCountsInTextModels) {
  for (const char* text :
       {"t\n2147483647\nf\n", "t\n0\n2147483647\nT\n", "t\n0\n1\nT\n2147483647\n0.5\n",
        "t\n99999999999\n", "t\n1\nf\n1\nT\n2147483647 0\n1\n0.5\n"}) {
    WriteText("model", text);
    const End end = RunApart(LoadAndUse);
    EXPECT_TRUE(end != End::kOther && end != End::kOtherException)
        << text << " " << testing::PrintToString(end);
  }
}

// The converter.

TEST_F(MeModelTest, ConversionWritesTheBinaryForm) {
  WriteText("text", Small().Text());
  const Output output = Capture([&] { EXPECT_EQ(_model.ConvertToBinaryModel("text", "out"), 1); });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(ReadText("out"), Small().Binary());
}

TEST_F(MeModelTest, ConversionOfEmptySectionsAndRaggedText) {
  WriteText("text", "t\r\n 1 \r\n \tf g\t\r\n1 \r\n T\r\n 2  0 \t0\r\n 2\r\n 0.1\r\n1e-3 \r\n");
  ASSERT_EQ(_model.ConvertToBinaryModel("text", "out"), 1);
  EXPECT_EQ(ReadText("out"), kHeader + I32(1) + Record("f g") + I32(1) + Record("T") + I32(2) +
                                 I32(0) + I32(0) + I32(2) + F64(0.1) + F64(0.001));
  WriteText("text", "t\n0\n0\n0\n");
  ASSERT_EQ(_model.ConvertToBinaryModel("text", "out"), 1);
  EXPECT_EQ(ReadText("out"), kHeader + I32(0) + I32(0) + I32(0));
}

TEST_F(MeModelTest, ConversionReadsLongLinesInPieces) {
  WriteText("text", "t\n2\n" + std::string(300, 'f') + "\n1\nT\n1 0\n1 0\n2\n0.5\n0.25\n");
  ASSERT_EQ(_model.ConvertToBinaryModel("text", "out"), 1);
  ASSERT_EQ(_model.LoadModel("out"), 1);
  EXPECT_EQ(_model.GetFeatureId(std::string(255, 'f')), 0);
  EXPECT_EQ(_model.GetFeatureId(std::string(45, 'f')), 1);
}

TEST_F(MeModelTest, TextAndBinaryAnswerAlikeToTheLastBit) {
  MeSource source;
  source.tags = {"B", "M", "E", "S"};
  const char* const values[] = {"0.1", "-1.7976931348623157", "3e-7", "0.30000000000000004", "-0"};
  for (int f = 0; f < 40; ++f) {
    std::vector<std::pair<int, std::string>> parameters;
    for (int t = 0; t < f % 5; ++t) parameters.push_back({(f + t) % 4, values[(f + 3 * t) % 5]});
    source.Add("feature " + std::to_string(f), parameters);
  }
  WriteText("text", source.Text());
  ASSERT_EQ(MeModel().ConvertToBinaryModel("text", "binary"), 1);
  EXPECT_EQ(ReadText("binary"), source.Binary());
  MeModel binary;
  ASSERT_EQ(_model.LoadModel("text"), 1);
  ASSERT_EQ(binary.LoadModel("binary"), 1);
  for (int f = 0; f < 40; ++f) {
    const std::string feature = "feature " + std::to_string(f);
    EXPECT_EQ(_model.GetFeatureId(feature), f);
    EXPECT_EQ(binary.GetFeatureId(feature), f);
    for (int tag = 0; tag < 4; ++tag) {
      const Ids features{{f, 1.0}, {39 - f, 3.0}};
      EXPECT_TRUE(SameBits(_model.eval(features, tag), binary.eval(features, tag)));
    }
  }
}

TEST_F(MeModelTest, ConversionToAFileThatCannotBeWritten) {
  WriteText("text", Small().Text());
  Capture([&] { _model.ConvertToBinaryModel("text", "nowhere/out"); });
  EXPECT_FALSE(Exists("nowhere/out"));
}

// Evaluation.

TEST_F(MeModelTest, NoFeatures) {
  LoadSmall();
  for (const Texts& features : {Texts{}, Texts{"unknown"}, Texts{"none", "unknown"}}) {
    EXPECT_EQ(_model.eval(features, "B"), Log10(0.5));
    EXPECT_EQ(_model.eval(features, "E"), Log10(0.5));
  }
}

TEST_F(MeModelTest, AllFormsAgree) {
  LoadSmall();
  // Scores: B ln 3 - 0.5, E 0.25.
  const double b = Exp(1.0986122886681098 + -0.5);
  const double e = Exp(0.25);
  const double expected[] = {Log10(b / (b + e)), Log10(e / (b + e))};
  const Texts texts{"half", "both"};
  const Valued valued{{"half", 1.0}, {"both", 1.0}};
  const Ids ids{{0, 1.0}, {1, 1.0}};
  Valued all;
  Valued allValued;
  _model.eval_all(texts, all, false);
  _model.eval_all(valued, allValued, false);
  ASSERT_EQ(all.size(), 2U);
  for (std::size_t tag = 0; tag < 2; ++tag) {
    const std::string name = tag == 0 ? "B" : "E";
    EXPECT_EQ(_model.eval(texts, name), expected[tag]);
    EXPECT_EQ(_model.eval(valued, name), expected[tag]);
    EXPECT_EQ(_model.eval(ids, static_cast<int>(tag)), expected[tag]);
    EXPECT_EQ(all[tag], (std::pair<std::string, double>(name, expected[tag])));
    EXPECT_EQ(allValued[tag], all[tag]);
  }
  EXPECT_NEAR(std::pow(10, all[0].second) + std::pow(10, all[1].second), 1.0, 1e-14);
}

TEST_F(MeModelTest, ValuesMultiply) {
  LoadSmall();
  const auto ofB = [&](const Valued& features) { return _model.eval(features, "B"); };
  EXPECT_EQ(ofB({{"half", 0.0}}), Log10(0.5)) << "zero cancels";
  EXPECT_NEAR(ofB({{"half", -1.0}}), Log10(0.25), 1e-15) << "a negative value reverses";
  EXPECT_NEAR(ofB({{"half", 2.0}}), Log10(0.9), 1e-15);
  EXPECT_NEAR(ofB({{"half", 1.0}, {"half", 1.0}}), Log10(0.9), 1e-15) << "twice counts twice";
  EXPECT_NEAR(_model.eval(Texts{"half", "half"}, "B"), Log10(0.9), 1e-15);
  EXPECT_NEAR(_model.eval(Ids{{0, 2.0}}, 0), Log10(0.9), 1e-15);
}

TEST_F(MeModelTest, IdsOutsideTheModel) {
  LoadSmall();
  EXPECT_EQ(_model.eval(Ids{{-1, 1.0}, {0, 1.0}}, 0), _model.eval(Ids{{0, 1.0}}, 0))
      << "-1 is skipped";
  for (const int feature : {-2, 3, 4, 1000, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
    EXPECT_THROW(_model.eval(Ids{{feature, 1.0}}, 0), std::out_of_range) << feature;
  }
  EXPECT_THROW(_model.eval(Ids{{0, 1.0}}, 2), std::out_of_range) << "as many as there are tags";
  EXPECT_THROW(_model.eval(Ids{{0, 1.0}}, -1), std::out_of_range);
  EXPECT_EQ(_model.eval(Ids{{0, 1.0}}, 3), 0.0);
  EXPECT_EQ(_model.eval(Ids{{1000, 1.0}}, 3), 0.0) << "features are not looked at then";
}

TEST_F(MeModelTest, UnknownTagsAreCertain) {
  LoadSmall();
  const Output output = Capture([&] {
    EXPECT_EQ(_model.eval(Texts{"half"}, "X"), 0.0);
    EXPECT_EQ(_model.eval(Valued{{"half", 1.0}}, ""), 0.0);
  });
  EXPECT_EQ(output.out + output.err, "");
}

TEST_F(MeModelTest, EvalAllReplacesAndSorts) {
  LoadSmall();
  Valued scores(7, {"old", 5.0});
  _model.eval_all(Texts{"half"}, scores, true);
  ASSERT_EQ(scores.size(), 2U);
  EXPECT_EQ(scores[0].first, "B");
  EXPECT_EQ(scores[1].first, "E");
  _model.eval_all(Valued{{"half", -1.0}}, scores, true);
  EXPECT_EQ(scores[0].first, "E");
  EXPECT_GT(scores[0].second, scores[1].second);
  _model.eval_all(Valued{{"half", -1.0}}, scores, false);
  EXPECT_EQ(scores[0].first, "B");
}

TEST_F(MeModelTest, NoScoreIsShiftedBeforeTheExponential) {
  MeSource source;
  source.tags = {"A", "B", "C"};
  source.Add("f", {{0, "1000"}, {1, "-1000"}});
  source.Add("g", {{1, "-1000"}});
  WriteText("model", source.Text());
  ASSERT_EQ(_model.LoadModel("model"), 1);
  Valued scores;
  _model.eval_all(Texts{"f"}, scores, false);
  EXPECT_TRUE(std::isnan(scores[0].second)) << "infinity by infinity";
  EXPECT_EQ(scores[1].second, -std::numeric_limits<double>::infinity());
  EXPECT_EQ(scores[2].second, -std::numeric_limits<double>::infinity());
  _model.eval_all(Texts{"f"}, scores, true);  // sorting bears what is not a number
  EXPECT_EQ(scores.size(), 3U);
  EXPECT_EQ(_model.eval(Texts{"g"}, "B"), -std::numeric_limits<double>::infinity());
}

TEST_F(MeModelTest, SumsRunInFeatureOrderThenFileOrder) {
  // 1e16 + 1 - 1e16 depends on the order of the additions.
  MeSource source;
  source.tags = {"A", "B"};
  source.Add("big", {{0, "1e16"}});
  source.Add("one", {{0, "1"}});
  source.Add("back", {{0, "-1e16"}});
  source.Add("all", {{0, "1e16"}, {0, "-1e16"}, {0, "1"}});
  WriteText("model", source.Text());
  ASSERT_EQ(_model.LoadModel("model"), 1);
  EXPECT_EQ(_model.eval(Texts{"big", "one", "back"}, "A"), Log10(0.5));
  const double e = Exp(1.0);
  EXPECT_EQ(_model.eval(Texts{"big", "back", "one"}, "A"), Log10(e / (e + 1)));
  EXPECT_EQ(_model.eval(Texts{"all"}, "A"), Log10(e / (e + 1)));
}

TEST_F(MeModelTest, Names) {
  LoadSmall();
  const std::string rule(36, '#');
  int id = 0;
  EXPECT_EQ(ErrorOf([&] { id = _model.GetTagId("X"); }),
            rule + "\nThere is no tag named: X\n" + rule + "\n");
  EXPECT_EQ(id, -1);
  const Output output = Capture([&] {
    EXPECT_EQ(_model.GetFeatureId("unknown"), -1);
    EXPECT_EQ(_model.GetTag(0), "B");
    EXPECT_EQ(_model.GetTag(1), "E");
    EXPECT_EQ(_model.GetTag(2), "");
    EXPECT_EQ(_model.GetTag(-1), "");
  });
  EXPECT_EQ(output.out + output.err, "");
}

TEST_F(MeModelTest, BeforeLoading) {
  EXPECT_EQ(_model.GetTagSize(), 0);
  EXPECT_EQ(_model.GetFeatureId("f"), -1);
  EXPECT_EQ(_model.GetTag(0), "");
  EXPECT_EQ(_model.eval(Texts{"f"}, "T"), 0.0);
  EXPECT_EQ(_model.eval(Ids{}, 1), 0.0);
  EXPECT_THROW(_model.eval(Ids{}, 0), std::out_of_range);
}

}  // namespace
}  // namespace Tolvek
