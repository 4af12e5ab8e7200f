// SPDX-License-Identifier: Apache-2.0
#include "Workplace.h"
#include "tvk/train/Corpus.h"

namespace Tolvek {
namespace {

using Words = std::vector<std::string>;

TEST(SplitItem, TagFollowsTheLastSlashThatLeavesIt) {
  std::string_view word;
  std::string_view tag;
  ASSERT_TRUE(SplitItem("的/DEC", word, tag));
  EXPECT_EQ(word, "的");
  EXPECT_EQ(tag, "DEC");
  ASSERT_TRUE(SplitItem("·//", word, tag));
  EXPECT_EQ(word, "·");
  EXPECT_EQ(tag, "/");
  ASSERT_TRUE(SplitItem("km/h/NN", word, tag));
  EXPECT_EQ(word, "km/h");
  ASSERT_TRUE(SplitItem("//SYM", word, tag));
  EXPECT_EQ(word, "/");
  for (const char* item : {"", "/", "//", "a/", "/A", "word"}) {
    EXPECT_FALSE(SplitItem(item, word, tag)) << item;
  }
}

TEST(RunningText, PutsABlankBetweenLatinWordsOnly) {
  EXPECT_EQ(RunningText({"我", "爱", "New", "York", "2", "号", "A", "股"}), "我爱New York2号A股");
  EXPECT_EQ(RunningText({}), "");
}

class CorpusFile : public Workplace {};

TEST_F(CorpusFile, ReadsTaggedText) {
  Put("c", "我/PRP 在/VV\n\n中国/NNP\r\n");
  const Corpus corpus = ReadCorpus("c", Encoding::kAuto, Tagging::kAuto);
  EXPECT_TRUE(corpus.tagged);
  ASSERT_EQ(corpus.sentences.size(), 3U);
  EXPECT_EQ(corpus.sentences[0].words, (Words{"我", "在"}));
  EXPECT_EQ(corpus.sentences[0].tags, (Words{"PRP", "VV"}));
  EXPECT_TRUE(corpus.sentences[1].words.empty());
  EXPECT_EQ(corpus.sentences[2].words, (Words{"中国"}));
  EXPECT_EQ(corpus.sentences[2].line, 3U);
}

TEST_F(CorpusFile, ReadsWordsThatOnlyLookTagged) {
  Put("c", "100 km/h 的 速度\n");
  EXPECT_EQ(ReadCorpus("c", Encoding::kAuto, Tagging::kAuto).sentences[0].words,
            (Words{"100", "km/h", "的", "速度"}));
  Put("d", "a/b\n");
  EXPECT_EQ(ReadCorpus("d", Encoding::kAuto, Tagging::kUntagged).sentences[0].words,
            (Words{"a/b"}));
}

TEST_F(CorpusFile, ATaggersOutputMayLackTags) {
  Put("c", "a/X ·// //\n//Y b/ a/X\nhttp:/// ok/\n1/2/\n");
  const Corpus corpus = ReadCorpus("c", Encoding::kAuto, Tagging::kTagged, EmptyTags::kAllowed);
  EXPECT_EQ(corpus.sentences[0].words, (Words{"a", "·", "/"}));
  EXPECT_EQ(corpus.sentences[0].tags, (Words{"X", "/", ""}));
  EXPECT_EQ(corpus.sentences[1].words, (Words{"/", "b", "a"}));
  EXPECT_EQ(corpus.sentences[1].tags, (Words{"Y", "", "X"}));
  EXPECT_EQ(corpus.sentences[2].words, (Words{"http://", "ok"}));
  EXPECT_EQ(corpus.sentences[2].tags, (Words{"", ""}));
  EXPECT_EQ(corpus.sentences[3].words, (Words{"1/2"}));
  EXPECT_EQ(corpus.sentences[3].tags, (Words{""}));
  EXPECT_EQ(FailureOf([] { ReadCorpus("c", Encoding::kAuto, Tagging::kTagged); }),
            "c:1: WORD/TAG expected, found \"//\"");
  for (const char* item : {"word", "/", "a/ /", "/A"}) {
    Put("d", item);
    EXPECT_NE(
        FailureOf([] { ReadCorpus("d", Encoding::kAuto, Tagging::kTagged, EmptyTags::kAllowed); }),
        "")
        << item;
  }
}

TEST_F(CorpusFile, ReadsGbk) {
  Put("c", "\xD6\xD0/A \xB9\xFA/B\n");
  EXPECT_EQ(ReadCorpus("c", Encoding::kAuto, Tagging::kAuto).sentences[0].words,
            (Words{"中", "国"}));
}

TEST_F(CorpusFile, ErrorsNameFileLineAndWhatWasExpected) {
  Put("c", "我/PRP 在/VV\n你/PRP 好\n");
  EXPECT_EQ(FailureOf([] { ReadCorpus("c", Encoding::kUtf8, Tagging::kAuto); }),
            "c:2: WORD/TAG expected, found \"好\" (a corpus without tags? see --tagging)");
  Put("d", "ok\n\xD6\xD0\n");
  EXPECT_TRUE(FailureOf([] {
                ReadCorpus("d", Encoding::kUtf8, Tagging::kAuto);
              }).starts_with("d:2: malformed UTF-8"));
}

}  // namespace
}  // namespace Tolvek
