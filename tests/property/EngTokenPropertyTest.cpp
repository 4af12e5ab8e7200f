// SPDX-License-Identifier: Apache-2.0
#include <random>
#include <set>
#include <sstream>

#include "english/EngToken.h"
#include "unit/EngKnowledge.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

using Texts = std::vector<std::string>;

const std::string kBlanks = " \t\r\n";

std::string PlainTrim(std::string text) {
  while (!text.empty() && kBlanks.find(text.front()) != kBlanks.npos) text.erase(0, 1);
  while (!text.empty() && kBlanks.find(text.back()) != kBlanks.npos) text.pop_back();
  return text;
}

/// The tokenizer written down plainly, rule after rule.
class PlainTokenizer {
 public:
  PlainTokenizer(const Texts& separators, const Texts& abbreviations) {
    for (const std::string& entry : separators) _separators.insert(PlainTrim(entry));
    for (const std::string& entry : abbreviations) _abbreviations.insert(PlainTrim(entry));
  }

  std::string Tokenize(const std::string& sentence) const {
    const Texts tokens = Split(SetApart(PlainTrim(sentence)));
    std::string out;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
      out += Finish(tokens[i], i + 1 == tokens.size()) + " ";
    }
    return PlainTrim(out);
  }

  static std::string Quo(const std::string& w) {
    if (w.empty()) return "";
    if (w == "wanna") return "wan na";
    if (w == "cannot") return "can not";
    const std::size_t p = w.find('\'');
    if (p == w.npos) return w;
    if (p == 0) {
      if (w == "'") return w;
      if (w.rfind('\'') == w.size() - 1) return "' " + w.substr(1, w.size() - 2) + " '";
      return "' " + w.substr(1);
    }
    if (p == w.size() - 1) return w.substr(0, p) + " '";
    const std::string head = w.substr(0, p);
    const std::string clitic = w.substr(p);
    for (const char* known : {"'ll", "'re", "'ve", "'s", "'m", "'d", "''"}) {
      if (clitic == known) return head + " " + clitic;
    }
    if (clitic != "'t") return w;
    return head.back() == 'n' ? head.substr(0, p - 1) + " n't" : head + " 't";
  }

 private:
  std::string SetApart(const std::string& sentence) const {
    std::string buffer;
    for (std::size_t i = 0; i < sentence.size(); ++i) {
      const std::string c(1, sentence[i]);
      if (_separators.count(c) == 0) {
        buffer += c;
      } else if (c != "`") {
        buffer += " " + c + " ";
      } else if (i > 0 && sentence[i - 1] == '`') {
        buffer += c + " ";
      } else {
        buffer += " " + c;
      }
    }
    return buffer;
  }

  static Texts Split(const std::string& buffer) {
    std::istringstream in(buffer);
    Texts tokens;
    for (std::string token; in >> token;) tokens.push_back(token);
    return tokens;
  }

  std::string Finish(const std::string& t, bool isLast) const {
    if (_separators.count(t) != 0 || t == "." || t == ",") return t;
    const std::string s = t.substr(0, t.size() - 1);
    if (t.back() == '.') {
      if (isLast) return Quo(s) + " .";
      if (_abbreviations.count(s) != 0) return t;
      return Below(s, "A") || Below("Z", s) ? Quo(s) + " ." : t;
    }
    if (t.back() == ',') return Quo(s) + " ,";
    return Quo(t);
  }

  /// Does the first text sort below the second, byte by byte, bytes counting from 0 to 255?
  static bool Below(const std::string& a, const std::string& b) {
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
      const int x = static_cast<unsigned char>(a[i]);
      const int y = static_cast<unsigned char>(b[i]);
      if (x != y) return x < y;
    }
    return a.size() < b.size();
  }

  std::set<std::string> _separators;
  std::set<std::string> _abbreviations;
};

/// Texts and lists that meet the rules often.
class RandomText {
 public:
  explicit RandomText(std::mt19937& random) : _random(random) {}

  std::size_t Below(std::size_t bound) { return _random() % bound; }

  /// A line of words, of pieces of words, of the few bytes that matter, or of any bytes.
  std::string Line(std::size_t most = 20) {
    std::string line;
    const std::size_t kind = Below(5);
    for (std::size_t count = Below(kind == 0 ? 2 * most : most); count > 0; --count) {
      if (kind == 0) {
        line += AnyByte();
      } else if (kind == 1) {
        line += "``'!., an"[Below(9)];
      } else {
        line += Piece();
        if (kind == 2 && Below(2) == 0) line += ' ';
      }
    }
    return line;
  }

  Texts List() {
    Texts list(Below(12));
    for (std::string& entry : list) entry = Entry();
    if (Below(2) == 0) list.insert(list.end(), {"`", "!"});
    return list;
  }

 private:
  char AnyByte() { return static_cast<char>(Below(256)); }

  const std::string& Pick(const Texts& from) { return from[Below(from.size())]; }

  std::string Piece() {
    static const Texts kPieces{
        "'",       "'",         "''",      "`",        "`",      "``",        ".",      ".",
        ",",       "...",       "'s",      "'ll",      "'re",    "'ve",       "'m",     "'d",
        "'t",      "n't",       "n",       "t",        "wanna",  "cannot",    "don",    "A",
        "Z",       "Zo",        "Y",       "[",        "@",      "Mr",        "etc",    "a",
        "z",       "7",         "\x80",    "\xFF",     "U.S",    "!",         "(",      ")",
        "\"",      "-",         " ",       " ",        "  ",     "\t",        "\v",     "\f",
        "\r",      "\xA0",      "o'c",     "dogs",     "x",      "' '",       "can't.", "end. ",
        "Mr. ",    "a, ",       ",.",      ".,",       "I'm",    "e.g",       "3.1",    "\x01",
        "'em ",    "'hi' ",     "`a`",     "cannot ",  "''a ",   "\x7F",      "ann",    "manna",
        "wa",      "nna",       "can",     "not",      "wanna ", " wannabe ", "can't ", "n't ",
        "don't, ", "'cannot' ", "wanna. ", "cannot, ", "Z. ",    "Z",         "Y. "};
    return Below(12) == 0 ? std::string(1, AnyByte()) : Pick(kPieces);
  }

  /// An entry of a list: a byte, a word; white space around it doesn't count.
  std::string Entry() {
    static const Texts kEntries{"`",   "``",      "'",     ".",     ",",    "!",     "(",
                                ")",   "...",     "''",    "don't", "A",    "Z",     "7",
                                "n",   "Mr",      "\v",    "\f",    "",     "a b",   "``.",
                                "''.", "cannot.", "wanna", "\xE9",  "\xA0", "a.",    "don't,",
                                "Zo",  "etc",     "e.g",   "U.S",   "'s",   "cannot"};
    std::string entry;
    switch (Below(4)) {
      case 0:
        entry = std::string(1, AnyByte());
        break;
      case 1:
        entry = Piece() + Piece();
        break;
      default:
        entry = Pick(kEntries);
    }
    std::erase(entry, '\n');
    return Below(8) == 0 ? " " + entry + "\t\r" : entry;
  }

  std::mt19937& _random;
};

class EngTokenProperty : public Scratch {
 protected:
  void Check(unsigned seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    RandomText texts(random);
    const Texts separators = texts.List();
    const Texts abbreviations = texts.List();
    WriteText("data/abbtitle", TitleList(separators, abbreviations));
    EngToken tokenizer;
    ASSERT_TRUE(tokenizer.Initialize());
    const PlainTokenizer plain(separators, abbreviations);
    for (int i = 0; i < 200; ++i) {
      const std::string line = texts.Line(i % 20 == 0 ? 500 : 20);
      std::string trimmed = line;
      std::string tokens = "old";
      tokenizer.TokenizeSentence(trimmed, tokens);
      ASSERT_EQ(tokens, plain.Tokenize(line)) << Shown(line) << Shown(separators);
      ASSERT_EQ(trimmed, PlainTrim(line));
      // No byte is lost and none is added, whatever the lists are.
      ASSERT_EQ(Dense(tokens), Dense(line)) << Shown(line);
      _splits += tokens != trimmed;
    }
  }

  static std::string Shown(const std::string& text) { return testing::PrintToString(text); }
  static std::string Shown(const Texts& texts) { return testing::PrintToString(texts); }

  static std::string Dense(std::string text) {
    std::erase_if(text, [](char c) { return (kBlanks + "\v\f").find(c) != std::string::npos; });
    return text;
  }

  int _splits = 0;
};

TEST_F(EngTokenProperty, EqualsThePlainTokenizer) {
  for (unsigned seed = 1; seed <= 400 && !HasFatalFailure(); ++seed) Check(seed);
  EXPECT_GT(_splits, 20'000) << "the lines are worth a test";
}

TEST_F(EngTokenProperty, EveryShortSentence) {
  // All sentences of up to five of these bytes, with and without something after them.
  const std::string bytes = "'n.,` Z";
  Texts sentences{""};
  for (std::size_t first = 0; first < sentences.size() && sentences[first].size() < 5; ++first) {
    for (const char c : bytes) sentences.push_back(sentences[first] + c);
  }
  ASSERT_EQ(sentences.size(), 19'608U);
  const std::vector<std::pair<Texts, Texts>> lists{
      {{}, {}}, {{"`"}, {"n", ","}}, {{".", "'", "`"}, {}}, {{",", "n.", "''", "``"}, {"'", "''"}}};
  for (const auto& [separators, abbreviations] : lists) {
    WriteText("data/abbtitle", TitleList(separators, abbreviations));
    EngToken tokenizer;
    ASSERT_TRUE(tokenizer.Initialize());
    const PlainTokenizer plain(separators, abbreviations);
    std::string tokens;
    for (const std::string& sentence : sentences) {
      for (const char* end : {"", "\v", " x"}) {
        std::string line = sentence + end;
        const std::string expected = plain.Tokenize(line);
        tokenizer.TokenizeSentence(line, tokens);
        ASSERT_EQ(tokens, expected) << Shown(sentence + end) << Shown(separators);
      }
    }
  }
}

TEST_F(EngTokenProperty, EveryRuleAtEveryPosition) {
  // Sentences are searched piece by piece: a token may lie on any edge.
  const Texts separators{"`", "!", "..."};
  const Texts abbreviations{"etc"};
  WriteText("data/abbtitle", TitleList(separators, abbreviations));
  EngToken tokenizer;
  ASSERT_TRUE(tokenizer.Initialize());
  const PlainTokenizer plain(separators, abbreviations);
  std::string tokens;
  for (const std::string token : {"a", "!", "``", "```", "don't", "'x'", "''", "cannot", "wanna",
                                  "etc.", "end.", "a,", "..."}) {
    for (std::size_t before = 0; before < 600; ++before) {
      for (const char* gap : {"", " ", "\t \v"}) {
        std::string line = std::string(before, 'x') + gap + token + gap + "x";
        const std::string expected = plain.Tokenize(line);
        tokenizer.TokenizeSentence(line, tokens);
        ASSERT_EQ(tokens, expected) << before << Shown(gap) << token;
      }
    }
  }
}

TEST_F(EngTokenProperty, VeryLongSentences) {
  const unsigned seed = 5;
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  RandomText texts(random);
  const Texts separators{"`", "!", "(", ")", "\""};
  const Texts abbreviations{"Mr", "etc"};
  WriteText("data/abbtitle", TitleList(separators, abbreviations));
  EngToken tokenizer;
  ASSERT_TRUE(tokenizer.Initialize());
  const PlainTokenizer plain(separators, abbreviations);
  std::string words;
  while (words.size() < 3'000'000) words += texts.Line(500);
  const std::string word(3'000'000, 'x');
  for (const std::string& sentence :
       {words, word, word + "n't", "'" + word + "'", std::string(300'000, '`'),
        std::string(300'000, '\''), std::string(300'000, '!') + word + "."}) {
    std::string line = sentence;
    std::string tokens;
    tokenizer.TokenizeSentence(line, tokens);
    EXPECT_TRUE(tokens == plain.Tokenize(sentence)) << sentence.substr(0, 20);
  }
}

TEST_F(EngTokenProperty, QuotesOfEveryShortToken) {
  // All tokens of up to six of these bytes, and the fused words with more around them.
  const std::string bytes = "'ntsl";
  Texts tokens{""};
  for (std::size_t first = 0; first < tokens.size() && tokens[first].size() < 6; ++first) {
    for (const char c : bytes) tokens.push_back(tokens[first] + c);
  }
  ASSERT_EQ(tokens.size(), 19'531U);
  for (const char* const before : {"", "w", "'", "ca"}) {
    for (const char* const word : {"wanna", "cannot", "annann"}) {
      for (const char* const after : {"", "a", "'", "'s", "'t", "n't"}) {
        tokens.push_back(std::string(before) + word + after);
      }
    }
  }
  for (const std::string& token : tokens) {
    ASSERT_EQ(EngToken::TokenQuo(token), PlainTokenizer::Quo(token)) << token;
  }
}

TEST_F(EngTokenProperty, LinesOfAFileAreSentences) {
  const unsigned seed = 77;
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  RandomText texts(random);
  const Texts separators{"`", "!", "(", ")", "\""};
  const Texts abbreviations{"Mr", "etc"};
  WriteText("data/abbtitle", TitleList(separators, abbreviations));
  EngToken tokenizer;
  ASSERT_TRUE(tokenizer.Initialize());
  const PlainTokenizer plain(separators, abbreviations);
  std::string in;
  std::string expected;
  for (int i = 0; i < 2'000; ++i) {
    std::string line = texts.Line();
    std::erase(line, '\n');
    in += line + (i % 3 == 0 ? "\r\n" : "\n");
    expected += plain.Tokenize(line) + "\n";
  }
  WriteText("in", in);
  EXPECT_EQ(Capture([&] { ASSERT_TRUE(tokenizer.TokenizeFile("in", "out")); }).out,
            "Processing:\n..\n2000 sentences in total.\n");
  EXPECT_EQ(ReadText("out"), expected);
}

}  // namespace
}  // namespace Tolvek
