// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>

#include "model/Ngram.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Words = std::vector<std::string>;
using Ids = std::vector<int>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPlainFloor = -6.69705;
constexpr double kReportingFloor = -99.0;

/// What the reporting form of a look-up says.
struct Report {
  double logProb;
  int order;
  int depth;

  bool operator==(const Report&) const = default;
};

void PrintTo(const Report& report, std::ostream* out) {
  *out << report.logProb << " of order " << report.order << ", depth " << report.depth;
}

/// A model with a vocabulary of its own.
struct Model {
  explicit Model(int order) : ngram(&vocab, order) {}

  double Prob(const Words& words) const { return ngram.WordProb(words); }
  Report Full(const Words& words) const {
    Report report{0, -5, -5};
    report.logProb = ngram.WordProb(words, report.order, report.depth);
    return report;
  }

  Vocab vocab;
  Ngram ngram;
};

class NgramTest : public Scratch {
 protected:
  /// Reads ARPA text into a model; returns the result, a blank and the messages.
  static std::string Read(Model& model, const std::string& text) {
    WriteText("lm", text);
    int result = -1;
    const Output output = Capture([&] { result = model.ngram.ReadFile("lm"); });
    EXPECT_EQ(output.out, "");
    return std::to_string(result) + " " + output.err;
  }
  static std::string Read(const std::string& text, int order = 2) {
    Model model(order);
    return Read(model, text);
  }
  /// The same for lines within the section of k-grams of a model of two orders.
  static std::string ReadLine(int k, const std::string& line, int order = 3) {
    return Read(
        "\\data\\\nngram 1=1\nngram 2=1\n\\" + std::to_string(k) + "-grams:\n" + line + "\n",
        order);
  }
  static std::string ReadBinary(Model& model, const std::string& bytes) {
    WriteText("lm", bytes);
    int result = -1;
    const Output output = Capture([&] { result = model.ngram.LoadFile("lm"); });
    EXPECT_EQ(output.out, "");
    return std::to_string(result) + " " + output.err;
  }
};

/// "a" and "b" with the bigram "a b". P(b | a) is stored, P(c | a) backs off.
std::string Bigrams() {
  return Arpa(
      {{{"-1", "a", "-0.25"}, {"-2", "b", "-0.5"}, {"-3", "c", ""}}, {{"-0.125", "a b", ""}}});
}

bool LoadAndUse() {
  Model model(2);
  if (model.ngram.LoadFile("lm") != 1) return false;
  model.Prob({"a", "b"});
  model.Full({"a", "b", "a"});
  return true;
}

// Numbers.

TEST(NgramNumbers, FastPath) {
  const std::vector<std::pair<const char*, double>> numbers = {{"-1.5", -1.5},
                                                               {"+2", 2.0},
                                                               {"0", 0.0},
                                                               {"-99", -99.0},
                                                               {"12.", 12.0},
                                                               {"-.5", -0.5},
                                                               {"-1.2345678", -12345678 / 1e7},
                                                               {"12345678", 12345678.0},
                                                               {".12345678", 12345678 / 1e8}};
  for (const auto& [text, expected] : numbers) {
    double value = 77;
    EXPECT_TRUE(Ngram::ParseLogP(text, value)) << text;
    EXPECT_EQ(value, expected) << text;
  }
}

TEST(NgramNumbers, NoDigitsButASignOrAPoint) {
  for (const char* text : {"", "-", "+", ".", "-."}) {
    double value = 77;
    EXPECT_TRUE(Ngram::ParseLogP(text, value)) << text;
    EXPECT_EQ(value, 0.0) << text;
  }
}

TEST(NgramNumbers, GeneralConversion) {
  const std::vector<std::pair<const char*, double>> numbers = {{"-1.23456789", -1.23456789},
                                                               {"-123456789", -123456789.0},
                                                               {"1e-3", 1e-3},
                                                               {"-2.5E1", -25.0},
                                                               {"-0.000000001234", -1.234e-9},
                                                               {"1.5x", 1.5}};
  for (const auto& [text, expected] : numbers) {
    double value = 77;
    EXPECT_TRUE(Ngram::ParseLogP(text, value)) << text;
    EXPECT_DOUBLE_EQ(value, expected) << text;
  }
}

TEST(NgramNumbers, Infinity) {
  const std::vector<std::pair<const char*, double>> numbers = {
      {"Inf", kInfinity},        {"inf", kInfinity},      {"+Inf", kInfinity}, {"-inf", -kInfinity},
      {"-Infinity", -kInfinity}, {"-Infxyz", -kInfinity}, {"INF", kInfinity}};
  for (const auto& [text, expected] : numbers) {
    double value = 77;
    EXPECT_TRUE(Ngram::ParseLogP(text, value)) << text;
    EXPECT_EQ(value, expected) << text;
  }
  double value = 0;
  EXPECT_TRUE(Ngram::ParseLogP("nan", value));
  EXPECT_TRUE(std::isnan(value));
}

TEST(NgramNumbers, NoNumber) {
  for (const char* text : {"x", "--1", "-x1", "in", "a1"}) {
    double value = 0;
    EXPECT_FALSE(Ngram::ParseLogP(text, value)) << text;
  }
}

// Files that cannot be opened, and which format.

TEST_F(NgramTest, MissingFiles) {
  Model model(2);
  int result = 1;
  EXPECT_EQ(ErrorOf([&] { result = model.ngram.LoadFile("nofile"); }),
            "\nCan not open the Language Model File: nofile\n");
  EXPECT_EQ(result, 0);
  result = 1;
  EXPECT_EQ(ErrorOf([&] { result = model.ngram.ReadFile("nofile"); }),
            "Can not open the Language File: nofile\n");
  EXPECT_EQ(result, 0);
  result = 1;
  EXPECT_EQ(ErrorOf([&] { result = model.ngram.ReadBinaryFile("nofile"); }),
            "Can not open the Language Model File: nofile\n");
  EXPECT_EQ(result, 0);
  result = 1;
  EXPECT_EQ(ErrorOf([&] { result = model.ngram.ConvertToBinaryFile("nofile", "out"); }),
            "Can not open the Language File: nofile\n"
            "Can not open the Language Model File: nofile\n");
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(Exists("out"));
}

TEST_F(NgramTest, TheHeaderTellsTheFormat) {
  Model text(2);
  EXPECT_EQ(ReadBinary(text, Bigrams()), "1 ");
  EXPECT_EQ(text.Prob({"a", "b"}), -0.125);
  Model binary(2);
  EXPECT_EQ(ReadBinary(binary, kHeader + I32(1) + Record("a") + I32(4) + I32(1) + I32(1) +
                                   F64(-0.75) + I32(4)),
            "1 ");
  EXPECT_EQ(binary.Prob({"a"}), -0.75);
  // Always read as binary: the first word would be far too long.
  WriteText("lm", kHeader + "\n" + Bigrams());
  EXPECT_EQ(RunApart(LoadAndUse), End::kAbort);
}

// The ARPA reader, state by state.

TEST_F(NgramTest, TextBeforeTheDataIsIgnored) {
  Model model(2);
  EXPECT_EQ(Read(model, "a comment\n\\1-grams:\n\\end\\\n \\data\\\n-9 z\n" + Bigrams()), "1 ");
  EXPECT_EQ(model.Prob({"a", "b"}), -0.125);
  EXPECT_EQ(model.vocab.GetIndex("z"), 1);
  EXPECT_EQ(Read("nothing but\ncomments\n"), "1 ");
  EXPECT_EQ(Read(""), "1 ");
}

TEST_F(NgramTest, SixCharactersStartTheData) {
  EXPECT_EQ(Read("\\data\\ and more\nfoo\n"), "0 unexpected input\n");
  EXPECT_EQ(Read("\\data\nfoo\n"), "1 ");
}

TEST_F(NgramTest, Declarations) {
  EXPECT_EQ(Read("\\data\\\nfoo\n"), "0 unexpected input\n");
  EXPECT_EQ(Read("\\data\\\n\\end\\\n"), "0 unexpected input\n");
  EXPECT_EQ(Read("\\data\\\nngram 1\n"), "0 unexpected input\n");
  EXPECT_EQ(Read("\\data\\\nngram 10=5\n"), "0 ngram order 10 out of range\n");
  EXPECT_EQ(Read("\\data\\\nngram 0=5\n"), "0 ngram order 0 out of range\n");
  EXPECT_EQ(Read("\\data\\\nngram -1=5\n"), "0 ngram order -1 out of range\n");
  EXPECT_EQ(Read("\\data\\\nngram 9=0\nngram 1=-1\n"), "0 ngram number -1 out of range\n");
  EXPECT_EQ(Read("\\data\\\nngram  1= 5\r\n"), "1 ");
}

TEST_F(NgramTest, FirstSection) {
  EXPECT_EQ(Read("\\data\\\n\\0-grams:\n"), "0 invalid ngram order 0\n");
  EXPECT_EQ(Read("\\data\\\n\\10-grams:\n"), "0 invalid ngram order 10\n");
  EXPECT_EQ(Read("\\data\\\n\\-1-grams:\n"), "0 invalid ngram order -1\n");
  Model model(2);
  EXPECT_EQ(Read(model, "\\data\\\n\\1-grams:\n-1 a\n"), "1 ") << "it need not be declared";
  EXPECT_EQ(model.Prob({"a"}), -1.0);
}

TEST_F(NgramTest, LaterSections) {
  const std::string begin = "\\data\\\nngram 1=1\nngram 2=1\n\\1-grams:\n-1 a\n";
  EXPECT_EQ(Read(begin + "\\3-grams:\n"), "0 invalid ngram order 3\n");
  EXPECT_EQ(Read(begin + "\\0-grams:\n"), "0 invalid ngram order 0\n");
  Model model(2);
  EXPECT_EQ(Read(model, begin + "\\2-grams:\n-2 a a\n\\1-grams:\n-3 b\n"), "1 ");
  EXPECT_EQ(model.Prob({"a", "a"}), -2.0);
  EXPECT_EQ(model.Prob({"b"}), -3.0);
}

TEST_F(NgramTest, CountsAreComparedAtTheEnd) {
  Model model(3);
  EXPECT_EQ(Read(model,
                 "\\data\\\nngram 1=2\nngram 2=0\nngram 3=5\n\\1-grams:\n-1 a\n\\2-grams:\n-1 a a\n"
                 "\\end\\ of it\nnot read\n"),
            "1 warning: 1 1-grams read, expected 2\n"
            "warning: 1 2-grams read, expected 0\n"
            "warning: 0 3-grams read, expected 5\n");
  EXPECT_EQ(Read("\\data\\\nngram 1=2\n\\1-grams:\n-1 a\n"), "1 ") << "no end, no comparison";
  EXPECT_EQ(Read("\\data\\\nngram 1=1\nngram 3=5\n\\1-grams:\n-1 a\n\\end\\\n", 2), "1 ")
      << "orders above the model's are not compared";
}

TEST_F(NgramTest, RepeatedLinesAreCounted) {
  EXPECT_EQ(Read("\\data\\\nngram 1=2\n\\1-grams:\n-1 a\n-1 a\n\\end\\\n"), "1 ");
}

TEST_F(NgramTest, OtherBackslashLinesAreNgrams) {
  EXPECT_EQ(ReadLine(1, "\\foo"), "0 ngram line has 1 fields (3 expected)\n");
  Model model(2);
  EXPECT_EQ(Read(model, "\\data\\\n\\1-grams:\n-1 \\data\\\n"), "1 ");
  EXPECT_EQ(model.Prob({"\\data\\"}), -1.0);
}

TEST_F(NgramTest, FieldCounts) {
  EXPECT_EQ(ReadLine(1, "-1"), "0 ngram line has 1 fields (3 expected)\n");
  EXPECT_EQ(ReadLine(1, "-1 a b c"), "0 ngram line has 4 fields (3 expected)\n");
  EXPECT_EQ(ReadLine(1, "-1 a b c d e"), "0 ngram line has 5 fields (3 expected)\n");
  EXPECT_EQ(ReadLine(2, "-1 a"), "0 ngram line has 2 fields (4 expected)\n");
  EXPECT_EQ(ReadLine(2, " -1  a\tb \r"), "1 ");
  EXPECT_EQ(ReadLine(1, "\n \t\r\n"), "1 ") << "blank lines are skipped";
}

TEST_F(NgramTest, Probabilities) {
  EXPECT_EQ(ReadLine(1, "x a"), "0 bad prob \"x\"\n");
  EXPECT_EQ(ReadLine(1, "0 a"), "1 ");
  const std::vector<std::pair<std::string, double>> kept = {{"0.5", 0.5}, {"Inf", kInfinity}};
  for (const auto& [text, value] : kept) {
    Model model(2);
    EXPECT_EQ(Read(model, "\\data\\\n\\1-grams:\n" + text + " a\n"),
              "1 warning: questionable prob \"" + text + "\"\n");
    EXPECT_EQ(model.Prob({"a"}), value);
  }
  Model notANumber(2);
  EXPECT_EQ(Read(notANumber, "\\data\\\n\\1-grams:\nnan a\n"),
            "1 warning: questionable prob \"nan\"\n");
  EXPECT_TRUE(std::isnan(notANumber.Prob({"a"})));
  for (const std::string zero : {"-99", "-99.0", "-Inf", "-inf"}) {
    Model model(2);
    EXPECT_EQ(Read(model, "\\data\\\n\\1-grams:\n" + zero + " a\n"), "1 ");
    EXPECT_EQ(model.Prob({"a"}), -kInfinity) << zero;
  }
  Model almost(2);
  Read(almost, "\\data\\\n\\1-grams:\n-98.9 a\n");
  EXPECT_EQ(almost.Prob({"a"}), -98.9);
}

TEST_F(NgramTest, BackOffWeights) {
  EXPECT_EQ(ReadLine(1, "-1 a x"), "0 bad bow \"x\"\n");
  const auto weightOfA = [](const std::string& weight, const std::string& message) {
    Model model(2);
    EXPECT_EQ(
        Read(model, "\\data\\\nngram 1=2\nngram 2=1\n\\1-grams:\n-1 a " + weight + "\n-2 b\n"),
        "1 " + message);
    return model.Prob({"a", "b"}) + 2;
  };
  EXPECT_EQ(weightOfA("-0.5", ""), -0.5);
  EXPECT_EQ(weightOfA("0.5", ""), 0.5) << "a weight may be above 1";
  EXPECT_EQ(weightOfA("-99", ""), -kInfinity);
  EXPECT_EQ(weightOfA("-inf", ""), -kInfinity);
  EXPECT_EQ(weightOfA("inf", "warning: questionable bow \"inf\"\n"), kInfinity);
  EXPECT_TRUE(std::isnan(weightOfA("nan", "warning: questionable bow \"nan\"\n")));
}

TEST_F(NgramTest, WeightsOfTheFilesHighestOrder) {
  EXPECT_EQ(ReadLine(2, "-1 a b -0.5"), "1 ignoring non-zero bow \"-0.5\" for maximal ngram\n");
  EXPECT_EQ(ReadLine(2, "-1 a b x", 2), "1 ignoring non-zero bow \"x\" for maximal ngram\n");
  EXPECT_EQ(ReadLine(2, "-1 a b 0"), "1 ");
  EXPECT_EQ(ReadLine(2, "-1 a b 0.5"), "1 ") << "the first character decides";

  // Below the model's own order the weight is stored as 0.
  Model model(3);
  Read(model, "\\data\\\nngram 1=2\n\\1-grams:\n-1 a -0.5\n-2 b\n");
  EXPECT_EQ(model.Full({"a", "b"}), (Report{-2, 1, 1}));
}

TEST_F(NgramTest, WeightsOfTheModelsHighestOrderAreNotRead) {
  Model model(2);
  EXPECT_EQ(Read(model,
                 "\\data\\\nngram 1=2\nngram 2=1\nngram 3=1\n\\1-grams:\n-1 a\n-2 b\n"
                 "\\2-grams:\n-1 a b x\n"),
            "1 ");
  EXPECT_EQ(model.Full({"a", "b", "a"}), (Report{-1, 1, 0}));
}

TEST_F(NgramTest, HigherOrdersAreSkipped) {
  Model model(2);
  EXPECT_EQ(Read(model, Arpa({{{"-1", "a", "-0.25"}, {"-2", "b", "-0.5"}},
                              {{"-0.5", "a b", "-0.125"}},
                              {{"not even a number", "a b", ""}, {"-0.1", "a b zzz", ""}}})),
            "1 ");
  EXPECT_EQ(model.Prob({"a", "b"}), -0.5);
  EXPECT_EQ(model.vocab.GetIndex("zzz"), 1) << "words of skipped lines are not inserted";
  EXPECT_EQ(model.Full({"a", "b", "b"}), (Report{-2.5, 1, 1})) << "no weight of a bigram";
}

TEST_F(NgramTest, ARepeatedNgramKeepsItsFirstProbabilityAndLastWeight) {
  Model model(2);
  EXPECT_EQ(
      Read(model,
           "\\data\\\nngram 1=1\nngram 2=1\n\\1-grams:\n-1 a -0.5\n-2 a -0.25\n-3 b\n-1.5 a\n"),
      "1 ");
  EXPECT_EQ(model.Prob({"a"}), -1.0);
  EXPECT_EQ(model.Prob({"a", "b"}), -3.25);
  Model zero(2);
  Read(zero, "\\data\\\nngram 1=1\nngram 2=1\n\\1-grams:\n-1 a -0.5\n-2 a 0\n-3 b\n");
  EXPECT_EQ(zero.Prob({"a", "b"}), -3.0) << "a weight of 0 is a weight";
}

TEST_F(NgramTest, AFailedReadKeepsWhatItStored) {
  Model model(2);
  EXPECT_EQ(Read(model, "\\data\\\nngram 1=2\n\\1-grams:\n-1 a\nx b\n-3 c\n"),
            "0 bad prob \"x\"\n");
  EXPECT_EQ(model.Prob({"a"}), -1.0);
  EXPECT_EQ(model.Prob({"c"}), kPlainFloor);
}

TEST_F(NgramTest, LongLinesComeInPieces) {
  const std::string word(252, 'a');  // with "-1" and a tab: 255 characters
  Model model(2);
  EXPECT_EQ(Read(model, "\\data\\\nngram 1=2\n\\1-grams:\n-1\t" + word + "-2\tb\n\\end\\\n"), "1 ");
  EXPECT_EQ(model.Prob({word}), -1.0);
  EXPECT_EQ(model.Prob({"b"}), -2.0);
  EXPECT_EQ(ReadLine(1, "-1\t" + std::string(300, 'a')),
            "0 ngram line has 1 fields (3 expected)\n");
}

TEST_F(NgramTest, NineWordsAreCutToEight) {
  // An array of nine indices holds eight and the end mark: the ninth word is inserted into the
  // vocabulary, but its index gives way.
  std::string text = "\\data\\\nngram 9=1\n\\1-grams:\n-1 x\n";
  std::string context;
  for (int k = 2; k <= 7; ++k) {
    context += "w ";
    text += "\\" + std::to_string(k) + "-grams:\n-1 " + context + "x\n";
  }
  text += "\\9-grams:\n-0.5 " + context + "w x v\n";
  Model model(9);
  EXPECT_EQ(Read(model, text), "1 ");
  EXPECT_NE(model.vocab.GetIndex("v"), 1);
  Words words(7, "w");
  words.push_back("x");
  EXPECT_EQ(model.Full(words), (Report{-0.5, 8, 7})) << "stored as the 8-gram";
}

TEST_F(NgramTest, CarriageReturns) {
  std::string text = Bigrams();
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
    text.insert(at, "\r");
  }
  Model model(2);
  EXPECT_EQ(Read(model, text), "1 ");
  EXPECT_EQ(model.Prob({"a", "b"}), -0.125);
  EXPECT_EQ(model.Prob({"b", "c"}), -3.5);
}

TEST_F(NgramTest, ArpaCutAtEveryByte) {
  const std::string text = Bigrams();
  for (std::size_t length = 0; length <= text.size(); ++length) {
    Model model(2);
    Read(model, text.substr(0, length));
    model.Prob({"a", "b"});
  }
}

// The binary image.

/// Unigrams a (weight -0.25) and b, the bigram "a b".
std::string BinaryBigrams() {
  return kHeader + I32(2) + Record("a") + I32(4) + Record("b") + I32(5) + I32(2) + I32(2) + I32(1) +
         F64(-1) + I32(4) + F64(-0.25) + F64(-2) + I32(5) + F64(0) +  //
         F64(-0.125) + I32(4) + I32(5);
}

TEST_F(NgramTest, BinaryModel) {
  Model model(2);
  EXPECT_EQ(ReadBinary(model, BinaryBigrams()), "1 ");
  EXPECT_EQ(model.vocab.GetIndex("b"), 5);
  EXPECT_EQ(model.Full({"a", "b"}), (Report{-0.125, 2, 1}));
  EXPECT_EQ(model.Full({"a", "a"}), (Report{-1.25, 1, 1}));
  EXPECT_EQ(model.Full({"b", "a"}), (Report{-1, 1, 0})) << "a weight of 0 makes no context";
}

TEST_F(NgramTest, TheBinaryReaderDoesNotTestTheHeader) {
  std::string bytes = BinaryBigrams();
  bytes.replace(0, kHeader.size(), "0123456789");
  WriteText("lm", bytes);
  Model model(2);
  EXPECT_EQ(model.ngram.ReadBinaryFile("lm"), 1);
  EXPECT_EQ(model.Prob({"a", "b"}), -0.125);
}

TEST_F(NgramTest, TheOrderOfABinaryModel) {
  for (const int order : {0, 10, 0x7FFFFFFF}) {
    Model model(2);
    EXPECT_EQ(ReadBinary(model, kHeader + I32(0) + I32(order) + Repeat(I32(0), 20)),
              "0 reading the lm order wrong!\n")
        << order;
  }
  Model negative(2);
  EXPECT_EQ(ReadBinary(negative, kHeader + I32(0) + I32(-1) + Repeat(I32(0), 20)).substr(0, 2),
            "0 ");
  for (int order = 1; order <= 9; ++order) {
    Model model(2);
    EXPECT_EQ(ReadBinary(model, kHeader + I32(0) + I32(order) + Repeat(I32(0), order)), "1 ");
  }
}

TEST_F(NgramTest, TheBinaryReaderKeepsEveryOrder) {
  Model model(1);
  EXPECT_EQ(
      ReadBinary(model, kHeader + I32(2) + Record("a") + I32(4) + Record("b") + I32(5) + I32(3) +
                            I32(1) + I32(1) + I32(1) + F64(-1) + I32(4) + F64(0) +  //
                            F64(-2) + I32(5) + I32(4) + F64(-0.5) +                 //
                            F64(-3) + I32(4) + I32(5) + I32(4)),
      "1 ");
  EXPECT_EQ(model.Full({"a", "b", "a"}), (Report{-3, 3, 2}));
  EXPECT_EQ(model.Full({"b", "a"}), (Report{-2, 2, 1}));
}

TEST_F(NgramTest, RepeatedBinaryRecords) {
  Model model(2);
  EXPECT_EQ(ReadBinary(model, kHeader + I32(1) + Record("a") + I32(4) + I32(2) + I32(4) + I32(0) +
                                  F64(-1) + I32(4) + F64(-0.5) +   //
                                  F64(-2) + I32(4) + F64(-0.25) +  //
                                  F64(-3) + I32(4) + F64(0) + F64(-4) + I32(4) + F64(-0.0)),
            "1 ");
  EXPECT_EQ(model.Prob({"a"}), -1.0) << "the first probability stays";
  EXPECT_EQ(model.Prob({"a", "a"}), -1.25) << "the last weight that is not zero stays";
}

TEST_F(NgramTest, BinaryVocabulary) {
  Model model(2);
  EXPECT_EQ(ReadBinary(model, kHeader + I32(4) + Record("<unk>") + I32(9) + Record("x") + I32(4) +
                                  Record("x") + I32(5) + Record(std::string(32, 'w')) + I32(7) +
                                  I32(1) + I32(0)),
            "1 ");
  EXPECT_EQ(model.vocab.GetIndex("<unk>"), 1) << "entries that are there are kept";
  EXPECT_EQ(model.vocab.GetIndex("x"), 4);
  EXPECT_EQ(model.vocab.GetIndex(std::string(32, 'w')), 7);
}

TEST_F(NgramTest, InfinityInABinaryModel) {
  Model model(2);
  EXPECT_EQ(ReadBinary(model, kHeader + I32(1) + Record("a") + I32(4) + I32(2) + I32(1) + I32(0) +
                                  F64(-kInfinity) + I32(4) + F64(-kInfinity)),
            "1 ");
  EXPECT_EQ(model.Prob({"a"}), -kInfinity);
}

TEST_F(NgramTest, WordsOfMoreThan32BytesAbort) {
  WriteText("lm", kHeader + I32(1) + Record(std::string(33, 'w')) + I32(4) + I32(1) + I32(0));
  EXPECT_EQ(RunApart(LoadAndUse), End::kAbort);
}

TEST_F(NgramTest, NegativeWordLengthsAreRefused) {
  for (const std::int32_t length : {-1, -0x7FFFFFFF - 1}) {
    Model model(2);
    const std::string result =
        ReadBinary(model, kHeader + I32(1) + I32(length) + "a" + I32(4) + I32(1) + I32(0));
    EXPECT_EQ(result.substr(0, 2), "0 ");
    EXPECT_GT(result.size(), 2U) << "with a message";
  }
}

TEST_F(NgramTest, BinaryCutAtEveryByte) {
  const std::string bytes = BinaryBigrams();
  const std::size_t orderEnd = bytes.size() - (8 + 20 + 20 + 16);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    WriteText("lm", bytes.substr(0, length));
    const End end = RunApart(LoadAndUse);
    if (length >= orderEnd) {
      EXPECT_EQ(end, End::kTrue) << length;
    } else {
      // Without an order there is nothing to read: 0 is no order.
      EXPECT_TRUE(end == End::kTrue || end == End::kFalse) << length;
    }
  }
}

TEST_F(NgramTest, HostileNumbersInABinaryModel) {
  const std::string bytes = BinaryBigrams();
  const std::vector<std::size_t> lengths{14, 23};
  const std::vector<std::size_t> others{10, 19, 28, 32, 36, 40, 52, 72, 92, 96};
  ASSERT_EQ(bytes.size(), 100U);
  for (const std::int32_t number : kHostileNumbers) {
    for (const std::size_t offset : lengths) {
      WriteText("lm", WithInt(bytes, offset, number));
      const End end = RunApart(LoadAndUse);
      if (number > 32) {
        EXPECT_EQ(end, End::kAbort) << number << " at " << offset;
      } else if (number < 0) {
        EXPECT_EQ(end, End::kFalse) << number << " at " << offset;
      } else {
        EXPECT_TRUE(end == End::kTrue || end == End::kFalse || end == End::kAbort)
            << number << " at " << offset << " " << testing::PrintToString(end);
      }
    }
    for (const std::size_t offset : others) {
      WriteText("lm", WithInt(bytes, offset, number));
      const End end = RunApart(LoadAndUse);
      EXPECT_TRUE(end == End::kTrue || end == End::kFalse || (offset == 10 && end == End::kAbort))
          << number << " at " << offset << " " << testing::PrintToString(end);
    }
  }
}

// The converter.

/// Converts; returns the result, a blank and the messages.
std::string Convert(const std::string& arpa, int order) {
  WriteText("arpa", arpa);
  Model model(order);
  int result = -1;
  const Output output =
      Capture([&] { result = model.ngram.ConvertToBinaryFile("arpa", "binary"); });
  EXPECT_EQ(output.out, "");
  return std::to_string(result) + " " + output.err;
}

TEST_F(NgramTest, ConversionWritesTheBinaryImage) {
  EXPECT_EQ(Convert(Bigrams(), 2), "1 ");
  const std::string bytes = ReadText("binary");
  const std::string records = I32(2) + I32(3) + I32(1) +       // orders and counts
                              F64(-1) + I32(4) + F64(-0.25) +  // a
                              F64(-2) + I32(5) + F64(-0.5) +   // b
                              F64(-3) + I32(6) + F64(0) +      // c
                              F64(-0.125) + I32(4) + I32(5);   // a b
  ASSERT_GT(bytes.size(), records.size());
  EXPECT_EQ(bytes.substr(0, 14), kHeader + I32(7));
  EXPECT_EQ(bytes.substr(bytes.size() - records.size()), records);
  std::size_t vocabulary = 0;
  for (const char* word : {"NULL", "<unk>", "<s>", "</s>", "a", "b", "c"}) {
    vocabulary += 8 + std::strlen(word);
    EXPECT_NE(bytes.find(Record(word)), std::string::npos) << word;
  }
  EXPECT_EQ(bytes.size(), 14 + vocabulary + records.size());
}

TEST_F(NgramTest, ConversionOfZeros) {
  EXPECT_EQ(Convert(Arpa({{{"-99", "a", "-99"}, {"-1", "b", "0"}}, {{"-inf", "a b", ""}}}), 2),
            "1 ");
  Model model(2);
  EXPECT_EQ(model.ngram.LoadFile("binary"), 1);
  EXPECT_EQ(model.Prob({"a"}), -kInfinity);
  EXPECT_EQ(model.Prob({"a", "a"}), -kInfinity);
  EXPECT_EQ(model.Full({"b", "b"}), (Report{-1, 1, 0})) << "no context for a weight of 0";
}

TEST_F(NgramTest, ConversionOfAWrongLine) {
  // The reader stops at the line; the record is written with the words that are there.
  EXPECT_EQ(Convert("\\data\\\nngram 1=1\nngram 2=1\n\\1-grams:\n-1 a\n\\2-grams:\n-2 a\n", 2),
            "1 ngram line has 2 fields (4 expected)\nError!\n");
  const std::string record = F64(-2) + I32(4);
  const std::string bytes = ReadText("binary");
  EXPECT_EQ(bytes.substr(bytes.size() - record.size()), record);
}

TEST_F(NgramTest, ConversionOfALineWithoutWords) {
  WriteText("arpa", "\\data\\\nngram 1=1\n\\1-grams:\n-1\n");
  Model model(2);
  EXPECT_THROW(Capture([&] { model.ngram.ConvertToBinaryFile("arpa", "binary"); }),
               std::out_of_range);
}

TEST_F(NgramTest, ConversionSkipsBlankLines) {
  EXPECT_EQ(Convert("\n\\data\\\nngram 1=1\n\n \t\n\\1-grams:\n\n \t\n-1 a\n\n\\end\\\n\n", 2),
            "1 ");
  Model model(2);
  EXPECT_EQ(model.ngram.LoadFile("binary"), 1);
  EXPECT_EQ(model.Prob({"a"}), -1.0);
}

TEST_F(NgramTest, ConversionReadsTheVocabularyOfItsOrdersOnly) {
  // A word met in a skipped line only is not in the vocabulary: it becomes the unknown word.
  EXPECT_EQ(Convert(Arpa({{{"-1", "a", ""}}, {{"-2", "a z", ""}}}), 1), "1 ");
  Model model(2);
  EXPECT_EQ(model.ngram.LoadFile("binary"), 1);
  EXPECT_EQ(model.Full({"a", "<unk>"}), (Report{-2, 2, 1}));
}

TEST_F(NgramTest, TextAndBinaryAnswerAlikeToTheLastBit) {
  const std::string arpa = Arpa({{{"-1.2345678", "a", "-0.3"},
                                  {"-0.1", "b", "-1e-7"},
                                  {"-3.14159265358979", "c", "-0.70000001"},
                                  {"-99", "<s>", "-0.25"},
                                  {"-2.5", "<unk>", ""},
                                  {"-0.5", "</s>", ""}},
                                 {{"-0.123456789", "a b", "-0.1"},
                                  {"-99", "b a", "-0.2"},
                                  {"-0.3333333", "<s> a", "-0.05"},
                                  {"-1.5", "c </s>", ""}},
                                 {{"-0.7", "<s> a b", ""}, {"-0.9", "a b a", ""}}});
  ASSERT_EQ(Convert(arpa, 3), "1 ");
  Model text(3);
  Model binary(3);
  ASSERT_EQ(text.ngram.LoadFile("arpa"), 1);
  ASSERT_EQ(binary.ngram.LoadFile("binary"), 1);
  const Words words{"a", "b", "c", "<s>", "</s>", "<unk>", "unknown"};
  for (const std::string& w1 : words) {
    EXPECT_EQ(text.vocab.GetIndex(w1), binary.vocab.GetIndex(w1));
    for (const std::string& w2 : words) {
      EXPECT_TRUE(SameBits(text.Prob({w1, w2}), binary.Prob({w1, w2}))) << w1 << " " << w2;
      for (const std::string& w3 : words) {
        EXPECT_EQ(text.Full({w1, w2, w3}), binary.Full({w1, w2, w3}))
            << w1 << " " << w2 << " " << w3;
      }
    }
  }
}

// Look-up.

/// A trigram model. "a b" is a context of "c"; "b" is not, so that the trigram is out of reach.
std::string Trigrams() {
  return Arpa({{{"-1", "a", "-0.25"}, {"-2", "b", "-0.5"}, {"-3", "c", "-0.75"}},
               {{"-0.125", "a b", "-0.0625"}, {"-0.375", "b a", "-0.03125"}},
               {{"-0.2", "a b c", ""}, {"-0.3", "a b a", ""}}});
}

TEST_F(NgramTest, Unigrams) {
  Model model(2);
  Read(model, Bigrams());
  EXPECT_EQ(model.Full({"a"}), (Report{-1, 1, 0}));
  EXPECT_EQ(model.Prob({"a"}), -1.0);
  EXPECT_EQ(model.ngram.WordProb("a", Words{}), -1.0);
  EXPECT_EQ(model.ngram.WordProb(4, Ids{}), -1.0);
}

TEST_F(NgramTest, BigramsAndBackOff) {
  Model model(2);
  Read(model, Bigrams());
  EXPECT_EQ(model.Full({"a", "b"}), (Report{-0.125, 2, 1}));
  EXPECT_EQ(model.Full({"a", "c"}), (Report{-3.25, 1, 1}));
  EXPECT_EQ(model.Full({"b", "c"}), (Report{-3.5, 1, 1}));
  EXPECT_EQ(model.Full({"c", "b"}), (Report{-2, 1, 0})) << "c is no context";
  EXPECT_EQ(model.Full({"b", "a", "b"}), (Report{-0.125, 2, 1})) << "nothing is stored that long";
}

TEST_F(NgramTest, UnknownWordsWithoutUnk) {
  Model model(2);
  Read(model, Bigrams());
  EXPECT_EQ(model.Prob({"x"}), kPlainFloor);
  EXPECT_EQ(model.Full({"x"}), (Report{kReportingFloor, 0, 0}));
  EXPECT_EQ(model.Prob({"a", "x"}), -0.25 + kPlainFloor);
  EXPECT_EQ(model.Full({"a", "x"}), (Report{-0.25 + kReportingFloor, 0, 1}));
  EXPECT_EQ(model.ngram.WordProb(77, Ids{4}), -0.25 + kPlainFloor);
  EXPECT_EQ(model.vocab.NextIndex(), 7) << "look-up inserts nothing";
}

TEST_F(NgramTest, UnknownWordsWithUnk) {
  Model model(2);
  Read(model, Arpa({{{"-1", "a", "-0.25"}, {"-4", "<unk>", ""}}, {{"-0.5", "a a", ""}}}));
  EXPECT_EQ(model.Full({"x"}), (Report{-4, 1, 0})) << "an unknown text is <unk>";
  EXPECT_EQ(model.Full({"a", "x"}), (Report{-4.25, 1, 1}));
  int order = -5;
  int depth = -5;
  EXPECT_EQ(model.ngram.WordProb(77, Ids{4}, order, depth), -4.25);
  EXPECT_EQ(order, 0) << "an unknown index only borrows its probability";
  EXPECT_EQ(depth, 1);
  EXPECT_EQ(model.ngram.WordProb(77, Ids{4}), -4.25);
}

TEST_F(NgramTest, LongerContextsAreNotSearchedOnceAShorterOneLacksTheWord) {
  Model model(3);
  Read(model, Trigrams());
  // "b" is a context without c: the stored "a b c" is not consulted, but the weight of "a b"
  // counts.
  EXPECT_EQ(model.Full({"a", "b", "c"}), (Report{-3 - 0.5 - 0.0625, 1, 2}));
  EXPECT_EQ(model.Prob({"a", "b", "c"}), -3 - 0.5 - 0.0625);
  EXPECT_EQ(model.Full({"a", "b", "a"}), (Report{-0.3, 3, 2})) << "an unbroken chain";
  EXPECT_EQ(model.Full({"c", "b", "a"}), (Report{-0.375, 2, 1}));
  EXPECT_EQ(model.Full({"b", "a", "b"}), (Report{-0.125 - 0.03125, 2, 2}));
}

TEST_F(NgramTest, AContextWordThatIsNotThereEndsTheWalk) {
  Model model(3);
  Read(model, Trigrams());
  EXPECT_EQ(model.Full({"a", "x", "a"}), (Report{-1, 1, 0}));
  EXPECT_EQ(model.Full({"x", "b", "a"}), (Report{-0.375, 2, 1}));
  EXPECT_EQ(model.Full({"c", "a", "a"}), (Report{-1.25, 1, 1}));
}

TEST_F(NgramTest, FormsAgree) {
  Model model(3);
  Read(model, Trigrams());
  const Ids ids{4, 5, 4};
  const Ids context{4, 5};
  const Words words{"a", "b", "a"};
  EXPECT_EQ(model.ngram.WordProb(4, context), -0.3);
  EXPECT_EQ(model.ngram.WordProb(ids), -0.3);
  EXPECT_EQ(model.ngram.WordProb("a", Words{"a", "b"}), -0.3);
  EXPECT_EQ(model.ngram.WordProb(words), -0.3);
  EXPECT_EQ(model.ngram.LogProb(ids), -0.3);
  const auto report = [](auto&& call) {
    Report result{0, -5, -5};
    result.logProb = call(result.order, result.depth);
    return result;
  };
  const Report expected{-0.3, 3, 2};
  EXPECT_EQ(report([&](int& o, int& d) { return model.ngram.WordProb(4, context, o, d); }),
            expected);
  EXPECT_EQ(report([&](int& o, int& d) { return model.ngram.WordProb(ids, o, d); }), expected);
  EXPECT_EQ(report([&](int& o, int& d) {
              return model.ngram.WordProb("a", Words{"a", "b"}, o, d);
            }),
            expected);
  EXPECT_EQ(model.Full(words), expected);
  EXPECT_EQ(ids, (Ids{4, 5, 4})) << "the caller's vectors are not changed";
  EXPECT_EQ(context, (Ids{4, 5}));
}

TEST_F(NgramTest, EmptyNgrams) {
  Model model(2);
  Read(model, Bigrams());
  int order = 0;
  int depth = 0;
  EXPECT_THROW(model.ngram.WordProb(Ids{}), std::out_of_range);
  EXPECT_THROW(model.ngram.WordProb(Words{}), std::out_of_range);
  EXPECT_THROW(model.ngram.WordProb(Ids{}, order, depth), std::out_of_range);
  EXPECT_THROW(model.ngram.WordProb(Words{}, order, depth), std::out_of_range);
}

TEST_F(NgramTest, BeforeLoading) {
  const Model model(2);
  EXPECT_EQ(model.Prob({"a", "b"}), kPlainFloor);
  EXPECT_EQ(model.Full({"a", "b"}), (Report{kReportingFloor, 0, 0}));
}

}  // namespace
}  // namespace Tolvek
