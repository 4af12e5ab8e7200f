// SPDX-License-Identifier: Apache-2.0
#include "Workplace.h"
#include "english/EngToken.h"
#include "tvk/train/TokenizerLists.h"

namespace Tolvek {
namespace {

class TokenizerLists : public Workplace {
 protected:
  static std::string Build(std::string& warnings) {
    return BuildTokenizerResource("separators", "abbreviations", warnings);
  }
};

TEST_F(TokenizerLists, EntriesInTheirOrderBehindTheirNumber) {
  Put("separators", "# marks\n! ?\n...\n\n$ #\n");
  Put("abbreviations", "Mr\ne.g\nétc\n");
  std::string warnings;
  EXPECT_EQ(Build(warnings), "5\n!\n?\n...\n$\n#\n3\nMr\ne.g\nétc\n");
  EXPECT_EQ(warnings, "");
}

TEST_F(TokenizerLists, TheTokenizerReadsIt) {
  Put("separators", "! ...\n");
  Put("abbreviations", "etc\n");
  std::string warnings;
  Put("abbtitle", Build(warnings));
  EngToken tokenizer;
  ASSERT_TRUE(tokenizer.Load("abbtitle"));
  std::string line = "a etc. b! ...";
  std::string tokens;
  tokenizer.TokenizeSentence(line, tokens);
  EXPECT_EQ(tokens, "a etc. b ! ...");
}

TEST_F(TokenizerLists, WarnsOfRepeatedAndOfUselessEntries) {
  Put("separators", "! : `\n``\n!\n:)\n");
  Put("abbreviations", "Mr\na:b\nMr\n");
  std::string warnings;
  EXPECT_EQ(Build(warnings), "5\n!\n:\n`\n``\n:)\n2\nMr\na:b\n");
  EXPECT_EQ(warnings,
            "separators:3: \"!\" is listed already\n"
            "separators:4: \":)\" is never a token, as it holds a separator\n"
            "abbreviations:2: \"a:b\" is never a token, as it holds a separator\n"
            "abbreviations:3: \"Mr\" is listed already\n");
}

TEST_F(TokenizerLists, AMissingListIsAFailure) {
  Put("separators", "!\n");
  std::string warnings;
  EXPECT_NE(FailureOf([&] { Build(warnings); }).find("abbreviations"), std::string::npos);
}

}  // namespace
}  // namespace Tolvek
