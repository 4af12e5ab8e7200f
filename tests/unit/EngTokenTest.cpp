// SPDX-License-Identifier: Apache-2.0
#include "english/EngToken.h"
#include "unit/EngKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Texts = std::vector<std::string>;
/// What goes in and what comes out.
using Cases = std::vector<std::pair<std::string, std::string>>;

class EngTokenTest : public Scratch {
 protected:
  EngTokenTest() { Load({"!", "(", ")", "\"", "`", "``"}, {"Mr", "etc", "e.g"}); }

  /// Starts anew with other lists.
  void Load(const Texts& separators, const Texts& abbreviations) {
    LoadFile(TitleList(separators, abbreviations));
  }
  void LoadFile(const std::string& bytes) {
    WriteText("data/abbtitle", bytes);
    _tokenizer = EngToken();
    ASSERT_TRUE(_tokenizer.Initialize());
  }

  std::string Tokens(std::string text) const {
    std::string tokens = "old";
    _tokenizer.TokenizeSentence(text, tokens);
    return tokens;
  }
  void Check(const Cases& cases) const {
    for (const auto& [text, tokens] : cases) EXPECT_EQ(Tokens(text), tokens) << "<" << text << ">";
  }

  /// The output of a file with these bytes, after a look at the progress.
  std::string FileOf(const std::string& bytes, const std::string& progress) const {
    WriteText("in", bytes);
    bool result = false;
    const Output output = Capture([&] { result = _tokenizer.TokenizeFile("in", "out"); });
    EXPECT_TRUE(result);
    EXPECT_EQ(output.out, progress);
    EXPECT_EQ(output.err, "");
    return ReadText("out");
  }

  EngToken _tokenizer;
};

void CheckQuo(const Cases& cases) {
  for (const auto& [token, parts] : cases) EXPECT_EQ(EngToken::TokenQuo(token), parts) << token;
}

// The resource.

TEST_F(EngTokenTest, InitializeIsSilent) {
  bool result = false;
  const Output output = Capture([&] { result = EngToken().Initialize(); });
  EXPECT_TRUE(result);
  EXPECT_EQ(output.out + output.err, "");
}

TEST_F(EngTokenTest, AMissingList) {
  std::filesystem::remove("data/abbtitle");
  bool result = true;
  const Output output = Capture([&] { result = EngToken().Initialize(); });
  EXPECT_FALSE(result);
  EXPECT_EQ(output.err, "Open data/abbtitle error!\n");
  EXPECT_EQ(output.out, "");
}

TEST_F(EngTokenTest, WithoutListsOnlyPeriodsCommasAndQuotesSplit) {
  _tokenizer = EngToken();
  Check({{"(a) b! \"c\" it's, d.", "(a) b! \"c\" it 's , d ."}, {"etc. x", "etc . x"}});
}

TEST_F(EngTokenTest, EveryLineIsTrimmed) {
  LoadFile(" \t2 \r\n  ! \r\n\t?\t\r\n 1\r\n\tetc \r\n");
  Check({{"a!b?c", "a ! b ? c"}, {"etc. x", "etc. x"}});
}

TEST_F(EngTokenTest, ACountIsTheNumberAtTheStartOfItsLine) {
  LoadFile("1 separator\n!\n1, the abbreviations\netc\nno\n");
  Check({{"a!b", "a ! b"}, {"etc. x", "etc. x"}, {"no. x", "no . x"}});
}

TEST_F(EngTokenTest, ACountBelowOneSkipsItsSection) {
  for (const char* none : {"0", "-1", "none", ""}) {
    LoadFile(std::string(none) + "\n1\netc\n");
    Check({{"1", "1"}, {"a!b", "a!b"}, {"etc. x", "etc. x"}});
    LoadFile("1\n!\n" + std::string(none) + "\netc\n");
    Check({{"a!b", "a ! b"}, {"etc. x", "etc . x"}});
  }
}

TEST_F(EngTokenTest, DuplicatesAreHarmless) {
  Load({"!", "!", "!"}, {"etc", "etc"});
  Check({{"a!b", "a ! b"}, {"etc. x", "etc. x"}});
}

TEST_F(EngTokenTest, ABlankEntryIsHarmless) {
  Load({"", "!", " \t"}, {"", "etc"});
  Check({{"a!b  c", "a ! b c"}, {". x", ". x"}, {"etc. x", "etc. x"}});
}

TEST_F(EngTokenTest, MissingLinesAreNoEntries) {
  for (const char* bytes :
       {"", "\n", "3\n!\n", "3\n!", "1\n!\n", "1\n!\n5\netc\n", "1\n!\n5\netc"}) {
    LoadFile(bytes);
    const std::string all = bytes;
    EXPECT_EQ(Tokens("a!b"), all.find('!') == all.npos ? "a!b" : "a ! b");
    EXPECT_EQ(Tokens("etc. x"), all.find("etc") == all.npos ? "etc . x" : "etc. x");
  }
}

TEST_F(EngTokenTest, HostileCountsEnd) {
  for (const char* count : {"2147483647", "-2147483648", "99999999999999999999", "1e9"}) {
    WriteText("data/abbtitle", std::string(count) + "\n!\n" + count + "\netc\n");
    EXPECT_EQ(RunApart([] { return EngToken().Initialize(); }), End::kTrue) << count;
  }
}

// First pass: separators.

TEST_F(EngTokenTest, SeparatorsStandAlone) {
  Check({{"a!b", "a ! b"},
         {"!", "!"},
         {"!!", "! !"},
         {"(\"a\")!", "( \" a \" ) !"},
         {"Hello, (world)!", "Hello , ( world ) !"},
         {"a-b/c", "a-b/c"}});
}

TEST_F(EngTokenTest, WhiteSpaceSeparatesAndIsNotKept) {
  Check({{"  a \t\t b\r", "a b"},
         {"a\vb\fc", "a b c"},
         {"a\rb\nc", "a b c"},
         {"a\xA0 b", "a\xA0 b"}});
}

TEST_F(EngTokenTest, NothingToSplit) {
  Check({{"", ""}, {" \t\r\n", ""}, {"\v", ""}, {"\f\v", ""}});
}

TEST_F(EngTokenTest, TheInputIsTrimmedInPlace) {
  for (const auto& [before, after] :
       Cases{{" \ta  b! \r\n", "a  b!"}, {" \t\r\n", ""}, {"\va ", "\va"}}) {
    std::string text = before;
    std::string tokens;
    _tokenizer.TokenizeSentence(text, tokens);
    EXPECT_EQ(text, after);
  }
}

TEST_F(EngTokenTest, AnyByteMaySeparate) {
  Load({"\xE9", "x", "7", std::string(1, '\0')}, {});
  Check({{"caf\xE9s", "caf \xE9 s"},
         {"boxes", "bo x es"},
         {"1775", "1 7 7 5"},
         {std::string("a\0b", 3), std::string("a \0 b", 5)}});
  Load({}, {});
  Check({{std::string("a\0b", 3), std::string("a\0b", 3)}});
}

TEST_F(EngTokenTest, AListedPeriodOrCommaAlwaysSplits) {
  Load({"."}, {"Mr", "U.S"});
  Check({{"Mr. Smith", "Mr . Smith"},
         {"U.S. x", "U . S . x"},
         {"Yes. x", "Yes . x"},
         {"1.5", "1 . 5"},
         {"a...", "a . . ."},
         {"don't.", "do n't ."},
         {"1,000, x", "1,000 , x"}});
  Load({","}, {});
  Check({{"1,000", "1 , 000"}, {"it's, x", "it 's , x"}, {",,", ", ,"}});
}

TEST_F(EngTokenTest, AListedApostropheSplitsBeforeAnyClitic) {
  Load({"'"}, {});
  Check({{"don't", "don ' t"}, {"''", "' '"}, {"'a'", "' a '"}, {"dogs'.", "dogs ' ."}});
}

TEST_F(EngTokenTest, BackQuotes) {
  for (const Texts& separators : {Texts{"`"}, {"`", "``"}}) {
    Load(separators, {});
    Check({{"a`b", "a `b"},
           {"`b", "`b"},
           {"b`", "b `"},
           {"a``b", "a `` b"},
           {"``b", "`` b"},
           {"``", "``"},
           {"a```b", "a `` ` b"},
           {"a````b", "a `` ` ` b"},
           {"`````", "`` ` ` `"},
           {"` `", "` `"},
           {"a` `b", "a ` `b"},
           {"`a`b`", "`a `b `"},
           {"``a``", "`` a ``"},
           {"`.", "` ."},
           {"``.", "`` ."},
           {"`a's", "`a 's"},
           {"`'s", "` 's"}});
  }
}

TEST_F(EngTokenTest, BackQuotesBesideOtherSeparators) {
  Load({"`", "!"}, {});
  Check({{"!`!", "! ` !"}, {"!``!", "! `` !"}, {"`!`", "` ! `"}, {"`!``", "` ! ``"}});
}

TEST_F(EngTokenTest, BackQuotesThatAreNotListed) {
  for (const Texts& separators : {Texts{}, {"``"}}) {
    Load(separators, {});
    Check({{"a`b", "a`b"}, {"a``b", "a``b"}, {"`` a ```", "`` a ```"}, {"``.", "`` ."}});
  }
}

TEST_F(EngTokenTest, ALongerEntryKeepsATokenWhole) {
  Load({"...", "don't", "cannot", "a,", "No.", "''", "x y", "!"}, {});
  Check({{"Wait ... what", "Wait ... what"},
         {"Wait ...", "Wait ..."},
         {"Wait...", "Wait.. ."},
         {"Wait... what", "Wait... what"},
         {"don't", "don't"},
         {"Don't", "Do n't"},
         {"I cannot.", "I can not ."},
         {"I cannot", "I cannot"},
         {"a, b", "a, b"},
         {"it is No.", "it is No."},
         {"a ''", "a ''"},
         {"x y!", "x y !"}});
}

// Second pass: periods and commas.

TEST_F(EngTokenTest, TheLastPeriodIsSplitOff) {
  Check({{"I can't go.", "I ca n't go ."},
         {"Mr.", "Mr ."},
         {"He is Mr.", "He is Mr ."},
         {"the U.S.", "the U.S ."},
         {"Yes.", "Yes ."},
         {"Z.", "Z ."},
         {"cannot.", "can not ."},
         {"the dogs'.", "the dogs ' ."},
         {"'hello'.", "' hello ' ."},
         {"'.", "' ."},
         {"''.", "'  ' ."},
         {".", "."},
         {"a .", "a ."},
         {"..", ". ."},
         {"...", ".. ."},
         {"a. \v", "a ."}});
}

TEST_F(EngTokenTest, ATokenIsNotTheLastBeforeASeparator) {
  Check({{"(Mr.)", "( Mr. )"}, {"Yes.!", "Yes. !"}, {"end.)", "end . )"}});
}

TEST_F(EngTokenTest, AbbreviationsKeepTheirPeriod) {
  Check({{"Mr. Smith left.", "Mr. Smith left ."},
         {"etc. x", "etc. x"},
         {"e.g. x", "e.g. x"},
         {"etc.. x", "etc. . x"},
         {"etc x", "etc x"},
         {"etc, x", "etc , x"},
         {"ETC. x", "ETC. x"},
         {"i.e. x", "i.e . x"}});
  Load({}, {"etc.", "o'c", "3", "don't"});
  Check({{"etc. x", "etc . x"}, {"o'c. x", "o'c. x"}, {"3. x", "3. x"}, {"don't. x", "don't. x"}});
}

TEST_F(EngTokenTest, TokensBetweenCapitalAAndZKeepTheirPeriod) {
  Load({}, {});
  Check({{"Mr. Smith left.", "Mr. Smith left ."},
         {"A. x", "A. x"},
         {"Aa. x", "Aa. x"},
         {"B. x", "B. x"},
         {"Yes. x", "Yes. x"},
         {"Y\xFF\xFF. x", "Y\xFF\xFF. x"},
         {"Yzzz. x", "Yzzz. x"},
         {"Z. x", "Z. x"},
         {"U.S. x", "U.S. x"},
         {"I'm. x", "I'm. x"},
         {"A'. x", "A'. x"}});
}

TEST_F(EngTokenTest, TokensOutsideCapitalAAndZLoseTheirPeriod) {
  Load({}, {});
  Check({{"the end. Then", "the end . Then"},
         {"Zoo. x", "Zoo . x"},
         {"Zo. x", "Zo . x"},
         {"ZA. x", "ZA . x"},
         {"Z0. x", "Z0 . x"},
         {"Z.. x", "Z. . x"},
         {"[. x", "[ . x"},
         {"a. x", "a . x"},
         {"z. x", "z . x"},
         {"@. x", "@ . x"},
         {"@B. x", "@B . x"},
         {"3. x", "3 . x"},
         {"1998. x", "1998 . x"},
         {"-A. x", "-A . x"},
         {"'A'. x", "' A ' . x"},
         {"don't. x", "do n't . x"},
         {"cannot. x", "can not . x"},
         {".. x", ". . x"},
         {"... x", ".. . x"}});
}

TEST_F(EngTokenTest, HighBytesSortAboveTheCapitals) {
  Load({}, {});
  Check({{"\x80. x", "\x80 . x"},
         {"\xC9tat. x", "\xC9tat . x"},
         {"\xFF"
          "A. x",
          "\xFF"
          "A . x"},
         {"\x7F. x", "\x7F . x"}});
}

TEST_F(EngTokenTest, Commas) {
  Check({{"a, b", "a , b"},
         {"a,", "a ,"},
         {",", ","},
         {", x", ", x"},
         {",,", ", ,"},
         {",,,", ",, ,"},
         {"1,000", "1,000"},
         {"don't, x", "do n't , x"},
         {"wanna,", "wan na ,"},
         {"'em, x", "' em , x"},
         {"Mr., x", "Mr. , x"},
         {"Mr, x", "Mr , x"},
         {"end.,", "end. ,"},
         {"x,.", "x, ."},
         {",. x", ", . x"},
         {"a,b", "a,b"}});
}

TEST_F(EngTokenTest, APeriodInsideStays) {
  Check({{"3.14 a.b .a", "3.14 a.b .a"}, {".5.", ".5 ."}});
}

// Quotes and clitics.

TEST_F(EngTokenTest, TwoFusedWords) {
  CheckQuo({{"wanna", "wan na"},
            {"cannot", "can not"},
            {"Wanna", "Wanna"},
            {"Cannot", "Cannot"},
            {"CANNOT", "CANNOT"},
            {"wannabe", "wannabe"},
            {"cannots", "cannots"},
            {"gonna", "gonna"},
            {"'cannot'", "' cannot '"},
            {"cannot'", "cannot '"},
            {"cannot's", "cannot 's"},
            {"can not", "can not"}});
}

TEST_F(EngTokenTest, Quotes) {
  CheckQuo({{"", ""},
            {"a", "a"},
            {"a-b", "a-b"},
            {"'", "'"},
            {"''", "'  '"},
            {"'''", "' ' '"},
            {"'hello'", "' hello '"},
            {"'a'b'", "' a'b '"},
            {"'don't'", "' don't '"},
            {"'em", "' em"},
            {"'tis", "' tis"},
            {"'t", "' t"},
            {"'s", "' s"},
            {"''a", "' 'a"},
            {"'a'b", "' a'b"},
            {"'cannot", "' cannot"},
            {"dogs'", "dogs '"},
            {"n'", "n '"}});
}

TEST_F(EngTokenTest, Clitics) {
  CheckQuo({{"we'll", "we 'll"},
            {"we're", "we 're"},
            {"we've", "we 've"},
            {"it's", "it 's"},
            {"I'm", "I 'm"},
            {"he'd", "he 'd"},
            {"dogs''", "dogs ''"},
            {"Cannot's", "Cannot 's"},
            {"\xE9's", "\xE9 's"}});
}

TEST_F(EngTokenTest, NegationTakesTheNFromItsStem) {
  CheckQuo({{"don't", "do n't"},
            {"can't", "ca n't"},
            {"isn't", "is n't"},
            {"shan't", "sha n't"},
            {"nn't", "n n't"},
            {"n't", " n't"},
            {"N't", "N 't"},
            {"DON't", "DON 't"},
            {"it't", "it 't"},
            {"can'T", "can'T"},
            {"n'ts", "n'ts"}});
}

TEST_F(EngTokenTest, OtherApostrophesStay) {
  CheckQuo({{"o'clock", "o'clock"},
            {"O'Neil", "O'Neil"},
            {"O'Neil's", "O'Neil's"},
            {"rock'n'roll", "rock'n'roll"},
            {"don't've", "don't've"},
            {"it''s", "it''s"},
            {"a'''", "a'''"},
            {"a'b'", "a'b'"},
            {"IT'S", "IT'S"},
            {"we'l", "we'l"},
            {"we'lls", "we'lls"},
            {"a'n", "a'n"}});
}

TEST_F(EngTokenTest, QuotesInASentence) {
  Check({{"'hello' he said", "' hello ' he said"},
         {"a '' b", "a '  ' b"},
         {"''", "'  '"},
         {"the dogs'' x", "the dogs '' x"},
         {"it is o'clock", "it is o'clock"},
         {"We'll see, won't we?", "We 'll see , wo n't we?"},
         {"I wanna, I cannot!", "I wan na , I can not !"},
         {"n't x", "n't x"},
         {"a n't x", "a  n't x"}});
}

// Files.

TEST_F(EngTokenTest, FileLineByLine) {
  EXPECT_EQ(FileOf(" Don't go!\r\n\n \t \n\v\nMr. X, etc.\n\nend.",
                   "Processing:\n\n7 sentences in total.\n"),
            "Do n't go !\n\n\n\nMr. X , etc .\n\nend .\n");
}

TEST_F(EngTokenTest, FileWithoutLines) {
  WriteText("out", "something");
  EXPECT_EQ(FileOf("", "Processing:\n\n0 sentences in total.\n"), "");
}

TEST_F(EngTokenTest, ADotEvery1000Lines) {
  EXPECT_EQ(FileOf(Repeat("\n", 999), "Processing:\n\n999 sentences in total.\n"),
            Repeat("\n", 999));
  EXPECT_EQ(FileOf(Repeat("a.\n", 1000), "Processing:\n.\n1000 sentences in total.\n"),
            Repeat("a .\n", 1000));
  FileOf(Repeat("\n", 5001), "Processing:\n.....\n5001 sentences in total.\n");
}

TEST_F(EngTokenTest, TheCountEvery50000Lines) {
  const std::string fifty(50, '.');
  FileOf(Repeat("\n", 49'999), "Processing:\n" + fifty.substr(1) + "\n49999 sentences in total.\n");
  FileOf(Repeat("\n", 101'000), "Processing:\n" + fifty + "\t50000 sentence\n" + fifty +
                                    "\t100000 sentence\n.\n101000 sentences in total.\n");
}

TEST_F(EngTokenTest, AMissingInput) {
  bool result = true;
  const Output output = Capture([&] { result = _tokenizer.TokenizeFile("nofile", "out"); });
  EXPECT_FALSE(result);
  EXPECT_EQ(output.err, "Open nofile error!\n");
  EXPECT_EQ(output.out, "");
  EXPECT_FALSE(Exists("out"));
}

TEST_F(EngTokenTest, AnOutputThatCannotBeWritten) {
  WriteText("in", "a\nb\n");
  bool result = false;
  const Output output = Capture([&] { result = _tokenizer.TokenizeFile("in", "nowhere/out"); });
  EXPECT_TRUE(result);
  EXPECT_EQ(output.out, "Processing:\n\n2 sentences in total.\n");
  EXPECT_EQ(output.err, "");
}

}  // namespace
}  // namespace Tolvek
