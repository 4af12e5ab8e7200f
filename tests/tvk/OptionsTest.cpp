// SPDX-License-Identifier: Apache-2.0
#include <random>
#include <regex>
#include <set>
#include <vector>

#include "Program.h"
#include "tvk/text/Encoding.h"
#include "tvk/train/Corpus.h"
#include "tvk/train/StepStore.h"

namespace Tolvek {
namespace {

namespace fs = std::filesystem;

/// What an option does to the files that a training writes.
enum class Effect { kOther, kSame };

struct Case {
  std::string option;  ///< with its value
  Effect effect = Effect::kOther;
};

/// Each option of a command does what it says.
class Options : public Program {
 protected:
  /// The names of a command's options, from its help.
  std::set<std::string> OptionsOf(const std::string& command) {
    EXPECT_EQ(Run(command + " --help"), 0);
    std::set<std::string> names;
    static const std::regex kName("--[a-z0-9-]+");
    for (std::size_t i = 0; (i = _out.find("\n  -", i)) != std::string::npos; ++i) {
      // "-o,--out", "--all-pairs,--seen-pairs{false}", "--l2": up to the first blank
      const std::size_t begin = i + 3;
      const std::string item = _out.substr(begin, _out.find_first_of(" \n", begin) - begin);
      for (std::sregex_iterator name(item.begin(), item.end(), kName); name != decltype(name)();
           ++name) {
        names.insert(name->str());
      }
    }
    names.erase("--help");
    return names;
  }

  /// Trains with the arguments; what stands for all that it wrote.
  std::string Train(const std::string& arguments) {
    fs::remove_all("out");
    EXPECT_EQ(Run(arguments + " --quiet --out out"), 0) << arguments << '\n' << _err;
    Fingerprint all;
    for (const std::string& name : NamesIn("out")) {
      all.Add(name);
      all.Add(Get("out/" + name));
    }
    return all.Text();
  }

  /// Every option of the command is among the cases or, as tested elsewhere, in `others`.
  void Check(const std::string& command, const std::string& arguments,
             const std::vector<Case>& cases, std::set<std::string> others) {
    const std::string base = Train(command + arguments);
    for (const auto& [option, effect] : cases) {
      EXPECT_EQ(Train(command + arguments + " " + option) == base, effect == Effect::kSame)
          << option;
      others.insert(option.substr(0, option.find(' ')));
    }
    EXPECT_EQ(OptionsOf(command), others);
  }

  /// Sentences of words with tags, drawn at random; words may have one of two tags.
  static std::string Sentences(const std::vector<std::string>& words, int count, unsigned seed) {
    std::mt19937 random(seed);
    std::string text;
    for (int i = 0; i < count; ++i) {
      for (auto length = 3 + random() % 6; length > 0; --length) {
        const std::size_t word = random() % words.size();
        text += words[word] + "/T" + std::to_string(word % 3 + (random() % 5 == 0 ? 1 : 0)) + ' ';
      }
      text += '\n';
    }
    return text;
  }

  static std::string ToGbk(const std::string& utf8) {
    return Converter(Encoding::kUtf8, Encoding::kGbk)(utf8).value();
  }

  void PutChinese() {
    PutLists("lists");
    ASSERT_EQ(Run("train chars --lists lists --out chars"), 0) << _err;
    Put("lists/CNum1.txt", "我 国\n");
    ASSERT_EQ(Run("train chars --lists lists --out other-chars"), 0) << _err;
    const std::vector<std::string> words{"我",   "中国", "人", "人民", "国人", "的",
                                         "北京", "市",   "京", "2012", "年",   "。"};
    Put("train", Sentences(words, 60, 1));
    Put("train.gbk", ToGbk(Get("train")));
    Put("dev", Sentences(words, 20, 2));
    std::vector<std::string> more = words;
    more.insert(more.end(), {"天天", "国", "民", "中", "年年", "市民", "天"});
    std::string raw;
    Put("tagged", Sentences(more, 80, 3));
    const Corpus corpus = ReadCorpus("tagged", Encoding::kUtf8, Tagging::kTagged);
    for (const Sentence& sentence : corpus.sentences) raw += RunningText(sentence.words) + '\n';
    Put("raw", raw);
    Put("raw.gbk", ToGbk(raw));
    Put("lexicon", "天天 国民 人人\n");
  }
};

TEST_F(Options, OfTrainSeg) {
  PutChinese();
  const std::string base = " --corpus train --chars chars --raw raw --iterations 15";
  Check("train seg", base,
        {
            {"--lexicon lexicon"},
            {"--threads 3", Effect::kSame},
            {"--fresh", Effect::kSame},
            {"--dev dev", Effect::kSame},
            {"--dev-every 3", Effect::kSame},
            {"--encoding auto", Effect::kSame},
            {"--tagging untagged"},
            {"--text"},
            {"--l2 3"},
            {"--first-fit positions"},
            {"--first-l2 9"},
            {"--l1 0.5"},
            {"--tolerance 1000"},
            {"--rounds 1"},
            {"--folds 1"},
            {"--cutoff 3"},
            {"--seen-pairs"},
            {"--all-pairs", Effect::kSame},
            {"--threshold 0.2"},
            {"--alpha 0.1"},
            {"--smoothing wb"},
            {"--discount 0.5"},
            {"--prune 1e-3"},
            {"--count-cutoff 1"},
            {"--gold-weight 3"},
            {"--raw-weight 3"},
            {"--lexicon-weight 5 --lexicon lexicon"},
        },
        {"--corpus", "--raw", "--chars", "--iterations", "--out", "--quiet"});
  const std::string models = Train("train seg" + base);
  EXPECT_NE(Train("train seg --corpus train --chars chars --iterations 15"), models) << "--raw";
  EXPECT_NE(Train("train seg --corpus train --chars chars --raw raw --iterations 2"), models);
  EXPECT_NE(Train("train seg --corpus train --chars other-chars --raw raw --iterations 15"),
            models);
  EXPECT_EQ(Train("train seg --corpus train.gbk --chars chars --raw raw.gbk --iterations 15 "
                  "--encoding gbk"),
            models);
  EXPECT_EQ(Run("train seg" + base + " --out out --dev dev --dev-every 4"), 0);
  EXPECT_TRUE(std::regex_search(_err, std::regex("iteration 4 of .*, development F1 "))) << _err;
  EXPECT_FALSE(std::regex_search(_err, std::regex("iteration 5 "))) << _err;
}

TEST_F(Options, OfTrainPos) {
  PutChinese();
  for (const std::string data : {"data", "other-data"}) {
    const std::string chars = data == "data" ? "chars" : "other-chars";
    ASSERT_EQ(Run("train seg --corpus train --iterations 15 --chars " + chars + " --out " + data),
              0)
        << _err;
    fs::copy(chars, data + "/binarySource");
  }
  const std::string few = " --iterations 15 --teacher-iterations 15 --clusters 4";
  const std::string base = " --corpus train --raw raw" + few;
  Check("train pos", base,
        {
            {"--dev dev", Effect::kSame},
            {"--fresh", Effect::kSame},
            {"--text-form"},
            {"--threads 3", Effect::kSame},
            {"--data other-data"},
            {"--encoding auto", Effect::kSame},
            {"--l2 3"},
            {"--tolerance 1000"},
            {"--template 2:9:1"},
            {"--threshold 0.5"},
            {"--raw-weight 2"},
            {"--raw-seen 1"},
            {"--teacher-l2 1000"},
            {"--cluster-count 1000"},
            {"--least-count 30"},
            {"--least-share 0.5"},
            {"--no-raw-words"},
            {"--list-raw-words", Effect::kSame},
            {"--raw-least-count 30"},
            {"--raw-least-share 1.1"},
        },
        {"--corpus", "--raw", "--iterations", "--teacher-iterations", "--clusters", "--out",
         "--quiet"});
  const std::string pos = "train pos --corpus train";
  const std::string models = Train("train pos" + base);
  EXPECT_EQ(_err, "") << "--quiet";
  EXPECT_NE(Train(pos + few), models) << "--raw";
  EXPECT_NE(Train(pos + " --raw raw --iterations 2 --teacher-iterations 15 --clusters 4"), models);
  EXPECT_NE(Train(pos + " --raw raw --iterations 15 --teacher-iterations 2 --clusters 4"), models);
  EXPECT_NE(Train(pos + " --raw raw --iterations 15 --teacher-iterations 15 --clusters 2"), models);
  EXPECT_EQ(Train("train pos --corpus train.gbk --raw raw.gbk --encoding gbk" + few), models);
}

TEST_F(Options, OfTrainEngpos) {
  const std::vector<std::string> words{"the", "a",  "man", "old", "sailed", "sails", "boat",
                                       "to",  "12", "fan", "New", "run",    "+",     "caf\u00E9"};
  Put("train", Sentences(words, 60, 1));
  std::vector<std::string> more = words;
  more.insert(more.end(), {"blue", "sky", "ran", "sailing", "boats", "men", "fans"});
  const auto plain = [](const std::string& tagged) {
    return std::regex_replace(tagged, std::regex("/T[0-9]"), "");
  };
  Put("text", std::regex_replace(plain(Get("train")), std::regex(" [+] "), "+"));
  Put("raw", plain(Sentences(more, 80, 3)) + "a zebra sails\n");
  for (const char* name : {"train", "text", "raw"}) {
    Put(std::string(name) + ".1252",
        Converter(Encoding::kUtf8, Encoding::kWindows1252)(Get(name)).value());
  }
  fs::create_directory("data");
  Put("data/abbtitle", "2\n!\n?\n1\netc\n");
  Put("lists", "1\n+\n0\n");
  const std::string few = " --iterations 15 --teacher-iterations 15 --clusters 4";
  const std::string base = " --corpus train --text text --raw raw" + few;
  Check("train engpos", base,
        {
            {"--dev train", Effect::kSame},
            {"--dev-text text", Effect::kSame},
            {"--fresh", Effect::kSame},
            {"--text-form"},
            {"--threads 3", Effect::kSame},
            {"--lists lists"},
            {"--encoding utf-8", Effect::kSame},
            {"--l2 3"},
            {"--tolerance 1000"},
            {"--template 2:9:1"},
            {"--threshold 0.5"},
            {"--gold-weight 2"},
            {"--own-weight 2"},
            {"--raw-weight 2"},
            {"--raw-seen 2 --template 2:9:1"},
            {"--teacher-l2 1000"},
            {"--cluster-count 1000"},
            {"--least-count 30"},
            {"--least-share 0.5"},
            {"--list-raw-words"},
            {"--no-raw-words", Effect::kSame},
            {"--raw-least-count 1 --list-raw-words"},
            {"--raw-least-share 1.1", Effect::kSame},
        },
        {"--corpus", "--text", "--raw", "--iterations", "--teacher-iterations", "--clusters",
         "--out", "--quiet"});
  const std::string engpos = "train engpos --corpus train --text text";
  const std::string models = Train("train engpos" + base);
  EXPECT_NE(Train(engpos + few), models) << "--raw";
  EXPECT_NE(Train("train engpos --corpus train --raw raw" + few), models) << "--text";
  EXPECT_NE(Train(engpos + " --raw raw --iterations 2 --teacher-iterations 15 --clusters 4"),
            models);
  EXPECT_NE(Train(engpos + " --raw raw --iterations 15 --teacher-iterations 2 --clusters 4"),
            models);
  EXPECT_NE(Train(engpos + " --raw raw --iterations 15 --teacher-iterations 15 --clusters 2"),
            models);
  const std::string old =
      "train engpos --corpus train.1252 --text text.1252 --raw raw.1252 --encoding ";
  EXPECT_EQ(Train(old + "windows-1252" + few), models);
  EXPECT_EQ(Run(old + "utf-8 --out out"), 1);
  // The effect of a share shows where raw words are listed.
  const std::string listed = Train("train engpos" + base + " --list-raw-words");
  EXPECT_NE(Train("train engpos" + base + " --list-raw-words --raw-least-share 1.1"), listed);
  EXPECT_NE(Train("train engpos" + base + " --list-raw-words --raw-least-count 1"), listed);
  EXPECT_NE(Train("train engpos" + base + " --template 2:9:1"),
            Train("train engpos" + base + " --raw-seen 2 --template 2:9:1"));
}

TEST_F(Options, OfEval) {
  EXPECT_EQ(OptionsOf("eval seg"), (std::set<std::string>{"--train", "--encoding", "--tagging",
                                                          "--output-tagging", "--json"}));
  for (const char* task : {"eval pos", "eval segpos", "eval tokpos"}) {
    EXPECT_EQ(OptionsOf(task),
              (std::set<std::string>{"--train", "--encoding", "--tagging", "--json"}));
  }
  EXPECT_EQ(OptionsOf("eval tok"), OptionsOf("eval seg"));

  // These four bytes are two characters in GBK and one and a half in UTF-8, or the other way.
  Put("gbk", "\xCE\xD2/A \xD6\xD0/B\n");
  EXPECT_EQ(Run("eval seg gbk gbk --encoding gbk"), 0) << _err;
  EXPECT_EQ(Run("eval seg gbk gbk --encoding utf-8"), 1);
  EXPECT_NE(_err.find("gbk:1: malformed UTF-8"), std::string::npos) << _err;
  Put("old", "d\xE9j\xE0/A\n");
  EXPECT_EQ(Run("eval tokpos old old --encoding windows-1252"), 0) << _err;
  EXPECT_EQ(Run("eval tokpos old old --encoding utf-8"), 1);

  Put("tagged", "a/B c/D\n");
  Put("plain", "a c\n");
  Put("slashes", "a/Bc /D\n");
  EXPECT_EQ(Run("eval tok tagged plain"), 0) << _err;
  EXPECT_EQ(Run("eval tok tagged plain --tagging untagged"), 1) << "a/B is a word";
  EXPECT_EQ(Run("eval tok tagged slashes --tagging untagged --output-tagging untagged"), 0) << _err;
  EXPECT_EQ(Run("eval seg tagged slashes --tagging untagged --output-tagging tagged"), 1);
  // Here the option is about the training corpora.
  for (const char* task : {"pos", "segpos", "tokpos"}) {
    const std::string command = std::string("eval ") + task + " tagged tagged --train tagged";
    EXPECT_EQ(Run(command), 0) << _err;
    const std::string known = _out;
    EXPECT_EQ(Run(command + " --tagging untagged"), 0) << _err;
    EXPECT_NE(_out, known);
  }
}

TEST_F(Options, OfText) {
  EXPECT_EQ(OptionsOf("text"),
            (std::set<std::string>{"--out", "--words", "--to", "--encoding", "--tagging"}));
  Put("c", "\xCE\xD2/A\n");
  EXPECT_EQ(Run("text c --encoding gbk"), 0) << _err;
  EXPECT_EQ(_out, "我\n");
  EXPECT_EQ(Run("text c --encoding utf-8"), 1);
  EXPECT_EQ(Run("text c --tagging untagged"), 0);
  EXPECT_EQ(_out, "我/A\n");
}

TEST_F(Options, OfConvertAndTheLists) {
  using Names = std::set<std::string>;
  EXPECT_EQ(OptionsOf("convert me"), Names());
  EXPECT_EQ(OptionsOf("convert lm"), Names());
  EXPECT_EQ(OptionsOf("convert chars"), (Names{"--lists", "--from"}));
  EXPECT_EQ(OptionsOf("train chars"), (Names{"--lists", "--out"}));
  EXPECT_EQ(OptionsOf("train abbtitle"), (Names{"--separators", "--abbreviations", "--out"}));
}

}  // namespace
}  // namespace Tolvek
