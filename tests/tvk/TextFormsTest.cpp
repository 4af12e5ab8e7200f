// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>

#include "Workplace.h"
#include "common/Globals.h"
#include "common/ResourceFile.h"
#include "model/MeModel.h"
#include "model/Ngram.h"
#include "model/Vocab.h"
#include "tvk/convert/TextForms.h"
#include "tvk/train/CharacterLists.h"

namespace Tolvek {
namespace {

class TextForms : public Workplace {
 protected:
  using Names = std::vector<std::string>;

  static std::string Field(std::int32_t value) {
    ResourceWriter bytes;
    bytes.Write(value);
    return bytes.Bytes();
  }
  static std::string Field(double value) {
    ResourceWriter bytes;
    bytes.Write(value);
    return bytes.Bytes();
  }
  static std::string Field(const std::string& text) {
    return Field(static_cast<std::int32_t>(text.size())) + text;
  }

  /// A maximum-entropy model with a weight for each feature and tag.
  static std::string MaxEnt(const Names& features, const Names& tags,
                            const std::vector<double>& weights) {
    std::string bytes = g_Model_Header + Field(static_cast<std::int32_t>(features.size()));
    for (const std::string& feature : features) bytes += Field(feature);
    bytes += Field(static_cast<std::int32_t>(tags.size()));
    for (const std::string& tag : tags) bytes += Field(tag);
    for (std::size_t i = 0; i < features.size(); ++i) {
      bytes += Field(static_cast<std::int32_t>(tags.size()));
      for (std::int32_t k = 0; k < static_cast<std::int32_t>(tags.size()); ++k) bytes += Field(k);
    }
    bytes += Field(static_cast<std::int32_t>(weights.size()));
    for (const double weight : weights) bytes += Field(weight);
    return bytes;
  }

  /// A unigram and a bigram model over the four words that are always there and others.
  static std::string Bigrams(const Names& others, double logProb, double backOff) {
    Names words{"NULL", "<unk>", "<s>", "</s>"};
    words.insert(words.end(), others.begin(), others.end());
    std::string bytes = g_Model_Header + Field(static_cast<std::int32_t>(words.size()));
    for (std::size_t i = 0; i < words.size(); ++i) {
      bytes += Field(words[i]) + Field(static_cast<std::int32_t>(i));
    }
    bytes += Field(2) + Field(static_cast<std::int32_t>(words.size() - 1)) + Field(1);
    for (std::size_t i = 1; i < words.size(); ++i) {
      bytes += Field(logProb) + Field(static_cast<std::int32_t>(i)) + Field(backOff);
    }
    return bytes + Field(logProb) + Field(2) + Field(3);
  }

  static std::string MaxEntAgain(const std::string& text) {
    Put("again.txt", text);
    EXPECT_EQ(MeModel().ConvertToBinaryModel("again.txt", "again.bin"), 1);
    return Get("again.bin");
  }
  static std::string ArpaAgain(const std::string& text) {
    Put("again.txt", text);
    Vocab vocab;
    EXPECT_EQ(Ngram(&vocab, 9).ConvertToBinaryFile("again.txt", "again.bin"), 1);
    return Get("again.bin");
  }

  static std::string MaxEntFailure(const std::string& bytes) {
    Put("bin", bytes);
    return FailureOf([] { MaxEntText("bin"); });
  }
  static std::string ArpaFailure(const std::string& bytes) {
    Put("bin", bytes);
    return FailureOf([] { Arpa("bin"); });
  }

  const std::string kShipped = PROJECT_DIR "/data/";
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const std::vector<double> kOddNumbers{0.1,
                                      -0.0,
                                      1e300,
                                      -1e-300,
                                      std::numeric_limits<double>::denorm_min(),
                                      std::numeric_limits<double>::max(),
                                      1.0 / 3,
                                      123456789.0,
                                      -99.0};

TEST_F(TextForms, ShippedModelsComeBackByteForByte) {
  for (const char* name : {"binarySegModel", "binaryPosModel", "binaryEngPosModel"}) {
    EXPECT_TRUE(IsBinaryModel(kShipped + name));
    EXPECT_TRUE(MaxEntAgain(MaxEntText(kShipped + name)) == Get(kShipped + name)) << name;
  }
  EXPECT_TRUE(ArpaAgain(Arpa(kShipped + "binarySegLM")) == Get(kShipped + "binarySegLM"));
  WriteCharacterLists(kShipped + "binarySource", "lists");
  std::string warnings;
  EXPECT_TRUE(BuildCharacterResource("lists", warnings) == Get(kShipped + "binarySource"));
  EXPECT_EQ(warnings, "");
}

TEST_F(TextForms, AMaxEntModelIsReadable) {
  Put("bin", MaxEnt({"2/\xCE\xD2", "7/0"}, {"B", "S"}, {0.5, -0.25, 0.1, 1e-7}));
  EXPECT_EQ(MaxEntText("bin"),
            "maximum-entropy model\n2\n2/\xCE\xD2\n7/0\n2\nB\nS\n2 0 1\n2 0 1\n4\n0.5\n-0.25\n0.1\n"
            "1e-07\n");
}

TEST_F(TextForms, OddMaxEntModelsComeBack) {
  const std::string longest(254, 'x');
  for (const std::string& bytes :
       {MaxEnt({}, {}, {}), MaxEnt({}, {"a"}, {1}), MaxEnt({longest, "", "a b"}, {longest}, {}),
        MaxEnt({std::string("\0", 1), "#"}, Names(60, "same"), kOddNumbers)}) {
    Put("bin", bytes);
    EXPECT_EQ(MaxEntAgain(MaxEntText("bin")), bytes);
  }
}

TEST_F(TextForms, ALanguageModelIsReadable) {
  Put("bin", Bigrams({"a"}, -0.5, 0));
  EXPECT_EQ(Arpa("bin"),
            "\\data\\\nngram 1=4\nngram 2=1\n\n\\1-grams:\n-0.5\t<unk>\n-0.5\t<s>\n-0.5\t</s>\n"
            "-0.5\ta\n\n\\2-grams:\n-0.5\t<s> </s>\n\n\\end\\\n");
}

TEST_F(TextForms, OddLanguageModelsComeBack) {
  testing::internal::CaptureStderr();  // of probabilities above 1 the core warns
  for (const double number : kOddNumbers) {
    if (number == -99.0) continue;
    for (const std::string& bytes :
         {Bigrams({}, number, number), Bigrams({"a", "\\", "\xFF"}, -kInfinity, number),
          Bigrams({"ngram", "1=2", "NULL2"}, kInfinity, -kInfinity)}) {
      Put("bin", bytes);
      EXPECT_EQ(ArpaAgain(Arpa("bin")), bytes) << number;
    }
  }
  testing::internal::GetCapturedStderr();
  const std::string unigrams = g_Model_Header + Field(5) + Field("NULL") + Field(0) +
                               Field("<unk>") + Field(1) + Field("<s>") + Field(2) + Field("</s>") +
                               Field(3) + Field("a") + Field(4) + Field(1) + Field(1) +
                               Field(-0.5) + Field(4);
  Put("bin", unigrams);
  EXPECT_EQ(ArpaAgain(Arpa("bin")), unigrams);
}

TEST_F(TextForms, WhatTextCannotSayIsRefused) {
  EXPECT_EQ(MaxEntFailure(MaxEnt({"a", " b"}, {}, {})),
            "bin: offset 19: feature 1 begins or ends with white space or has a line feed, which "
            "the text form cannot say");
  EXPECT_NE(MaxEntFailure(MaxEnt({"a\r"}, {}, {})), "");
  EXPECT_NE(MaxEntFailure(MaxEnt({"a\nb"}, {}, {})), "");
  EXPECT_NE(MaxEntFailure(MaxEnt({}, {"\tB"}, {})), "");
  EXPECT_EQ(MaxEntFailure(MaxEnt({std::string(255, 'x')}, {}, {})),
            "bin: offset 14: a line of 255 bytes would be needed; the text form has at most 254");
  EXPECT_NE(MaxEntFailure(MaxEnt({"a"}, Names(200, "t"), {})), "") << "a list of 200 tags";
  EXPECT_EQ(MaxEntFailure(MaxEnt({}, {}, {1, std::nan("")})),
            "bin: offset 30: weight 1 is nan, which the text form cannot say");
  EXPECT_NE(MaxEntFailure(MaxEnt({}, {}, {kInfinity})), "");

  for (const std::string& word : {std::string(), std::string("a b"), std::string("a\x0B"),
                                  std::string("a\0b", 3), std::string(300, 'x')}) {
    EXPECT_NE(ArpaFailure(Bigrams({word}, -1, 0)), "") << word;
  }
  for (const char* word : {"\\data\\", "x\\end\\", "2-grams:", "a", "<s>"}) {
    EXPECT_NE(ArpaFailure(Bigrams({word, "a"}, -1, 0)), "") << word;
  }
  EXPECT_EQ(ArpaFailure(Bigrams({}, -99, 0)),
            "bin: offset 74: -99, which the text form cannot say: -99 means the logarithm of zero "
            "there");
  EXPECT_NE(ArpaFailure(Bigrams({}, -1, -99)), "");
  EXPECT_NE(ArpaFailure(Bigrams({}, std::nan(""), 0)), "");
}

TEST_F(TextForms, CutAndCorruptModelsAreRefused) {
  EXPECT_NE(FailureOf([] { MaxEntText("none"); }), "");
  EXPECT_NE(MaxEntFailure("title\n0\n0\n0\n"), "") << "a text model";
  const std::string me = MaxEnt({"a", "b"}, {"B", "S"}, {1, 2, 3, 4});
  const std::string lm = Bigrams({"a"}, -1, -0.5);
  for (std::size_t i = 0; i < me.size(); ++i) {
    EXPECT_NE(MaxEntFailure(me.substr(0, i)), "") << i;
  }
  for (std::size_t i = 0; i < lm.size(); ++i) EXPECT_NE(ArpaFailure(lm.substr(0, i)), "") << i;
  EXPECT_EQ(MaxEntFailure(me + "x"), "bin: offset " + std::to_string(me.size()) +
                                         ": the end of the file expected, found 1 more bytes");
  EXPECT_NE(ArpaFailure(lm + "x"), "");
  // Counts and lengths of every size: refused, or read as what they say; never out of bounds.
  for (const std::int32_t value : {-1, 0, 1, 255, 0x7FFFFFFF}) {
    for (std::size_t i = g_Model_Header.size(); i + 4 <= std::max(me.size(), lm.size()); ++i) {
      std::string changed = me;
      if (i + 4 <= me.size()) MaxEntFailure(changed.replace(i, 4, Field(value)));
      changed = lm;
      if (i + 4 <= lm.size()) ArpaFailure(changed.replace(i, 4, Field(value)));
    }
  }
  EXPECT_EQ(ArpaFailure(g_Model_Header + Field(0) + Field(10)),
            "bin: offset 14: an order of 1 to 9 expected, found 10");
  EXPECT_EQ(ArpaFailure(g_Model_Header + Field(0) + Field(1) + Field(1) + Field(-1.0) + Field(7)),
            "bin: offset 22: no word has the number 7");
}

TEST_F(TextForms, CharacterListsComeBack) {
  PutLists("lists");
  // An entry that would be a comment; a name of the second section and one that is given twice.
  Put("lists/Punc.txt", " # ，\n==\n");
  Put("lists/CGivenName.txt", "明 王 高 尔 尔\n");
  std::string warnings;
  const std::string resource = BuildCharacterResource("lists", warnings);
  Put("resource", resource);
  WriteCharacterLists("resource", "again");
  EXPECT_EQ(Get("again/Punc.txt"), " #\n，\n==\n");
  EXPECT_EQ(Get("again/CFamilyName.txt"), "王\n李\n== second ==\n高\n欧阳\n");
  EXPECT_EQ(Get("again/CGivenName.txt"), "王\n高\n明\n尔\n尔\n");
  EXPECT_EQ(BuildCharacterResource("again", warnings), resource);

  EXPECT_EQ(FailureOf([] { WriteCharacterLists("resource", "again"); }),
            "again: exists; name a new folder, or one that is empty");
  std::filesystem::create_directory("empty");
  WriteCharacterLists("resource", "empty/");
  EXPECT_EQ(Get("empty/Punc.txt"), " #\n，\n==\n");
}

TEST_F(TextForms, CharacterResourcesThatListsCannotGiveAreRefused) {
  const auto failure = [](const std::string& bytes) {
    Put("resource", bytes);
    const std::string text = FailureOf([] { WriteCharacterLists("resource", "out"); });
    EXPECT_FALSE(std::filesystem::exists("out")) << text;
    return text;
  };
  const std::string none = Field(0);
  EXPECT_EQ(failure(Field(1) + Field("a") + Field(1) + none + none),
            "resource: offset 21: number of entries: 4 bytes expected, found 0");
  EXPECT_EQ(failure(Field(1) + Field("a") + Field(0) + none + none + none),
            "resource: offset 4: entry 0: no list gives code 0");
  EXPECT_EQ(failure(Field(1) + Field("\xFF") + Field(1) + none + none + none),
            "resource: offset 4: entry 0 is not GBK");
  EXPECT_EQ(failure(none + Field(2) + Field("a") + Field(3) + Field("1") + Field(0) + none + none),
            "resource: lists cannot give these entries in this order");
  EXPECT_NE(failure(Field(1) + Field("a b") + Field(1) + none + none + none), "");
  EXPECT_NE(failure(none + none + none + none + "x"), "");
  EXPECT_NE(failure(Field(-1)), "");
  Put("resource", none + none + none + none);
  EXPECT_EQ(FailureOf([] { WriteCharacterLists("resource", "no/folder"); }),
            "no/folder: cannot be written");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), 1)
      << "nothing but the resource is left";
}

}  // namespace
}  // namespace Tolvek
