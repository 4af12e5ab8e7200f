// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "Program.h"
#include "common/Globals.h"

namespace Tolvek {
namespace {

class Commands : public Program {};

TEST_F(Commands, HelpGoesToTheStandardOutput) {
  for (const char* command : {"",
                              "train",
                              "train chars",
                              "train seg",
                              "train pos",
                              "train abbtitle",
                              "train engpos",
                              "eval",
                              "eval seg",
                              "eval pos",
                              "eval segpos",
                              "eval tok",
                              "eval tokpos",
                              "convert",
                              "convert me",
                              "convert lm",
                              "convert chars",
                              "text",
                              "seg",
                              "segpos",
                              "pos",
                              "tok",
                              "tokpos",
                              "version",
                              "check"}) {
    EXPECT_EQ(Run(std::string(command) + " --help"), 0) << command;
    EXPECT_NE(_out.find("Usage: tvk"), std::string::npos) << command;
    EXPECT_EQ(_err, "") << command;
  }
  EXPECT_EQ(Run("--version"), 0);
  EXPECT_TRUE(_out.starts_with("tvk ")) << _out;
}

TEST_F(Commands, WrongUsageGetsTwoLinesAndStatus2) {
  for (const char* arguments : {"",
                                "nonsense",
                                "train",
                                "train seg",
                                "train seg --corpus a --out b --l2 -1",
                                "train seg --corpus a --out b --smoothing none",
                                "train pos --out b",
                                "train engpos --corpus a --out b --template 2:3",
                                "train abbtitle",
                                "eval seg a",
                                "eval tok a",
                                "eval pos a b --output-tagging tagged",
                                "eval tokpos a b --encoding gbk",
                                "convert me a",
                                "text a --to latin",
                                "text a b",
                                "check",
                                "check a --as model",
                                "check a --limit 0",
                                "check . --as me"}) {
    EXPECT_EQ(Run(arguments), 2) << arguments;
    EXPECT_EQ(_out, "") << arguments;
    EXPECT_EQ(Lines(_err), 2U) << arguments << '\n' << _err;
  }
  Run("train seg --corpus a --out b --l2 -1");
  EXPECT_EQ(_err,
            "tvk train seg: --l2: a number of at least 0 expected, found \"-1\"\n"
            "Try 'tvk train seg --help'.\n");
}

TEST_F(Commands, FailuresNameTheFileAndGiveStatus1) {
  for (const char* arguments :
       {"eval seg none none", "eval pos none none", "eval segpos none none", "eval tok none none",
        "eval tokpos none none", "convert me none b", "convert lm none b", "convert chars b",
        "text none", "train chars --lists none --out b",
        "train seg --corpus none --chars none --out folder",
        "train pos --corpus none --data none --out folder",
        "train engpos --corpus none --lists none --out folder",
        "train abbtitle --separators none --out b"}) {
    EXPECT_EQ(Run(arguments), 1) << arguments;
    EXPECT_NE(_err, "") << arguments;
    EXPECT_FALSE(std::filesystem::exists("b")) << arguments;
  }
}

TEST_F(Commands, VersionTellsOfTheBuildAndTheModels) {
  const std::string data = PROJECT_DIR "/data";
  EXPECT_EQ(Run("version --data " + data), 0) << _err;
  EXPECT_TRUE(_out.starts_with("tvk ")) << _out;
  for (const std::string& part :
       {std::string("\ncompiler  "), std::string("\nbuild     "), std::string("\noneTBB    20"),
        "\nchinese   " + data + "\n", "\nenglish   " + data + "\n", std::string("  binarySegLM, "),
        std::string("  EngDict, ")}) {
    EXPECT_NE(_out.find(part), std::string::npos) << part << " in\n" << _out;
  }
  EXPECT_EQ(Run("version"), 0) << _err;
  EXPECT_EQ(Run("version --data none"), 1);
  EXPECT_NE(_err.find("looked for in: none (--data)"), std::string::npos) << _err;

  std::filesystem::create_directory("models");
  Put("models/abbtitle", "0\n0\n");
  EXPECT_EQ(Run("version --json --data models"), 0) << _err;
  const auto document = nlohmann::json::parse(_out);
  EXPECT_EQ(document["chinese"]["folder"], nullptr);
  EXPECT_EQ(document["english"]["folder"], "models");
  ASSERT_EQ(document["english"]["files"].size(), 1U) << "only what is there";
  const auto& file = document["english"]["files"][0];
  EXPECT_EQ(file["name"], "abbtitle");
  EXPECT_EQ(file["bytes"], 4);
  Put("models/abbtitle", "0\n1\n");
  EXPECT_EQ(Run("version --json --data models"), 0) << _err;
  EXPECT_NE(nlohmann::json::parse(_out)["english"]["files"][0]["fingerprint"], file["fingerprint"]);
}

TEST_F(Commands, ConvertTurnsModelsBinary) {
  Put("me.txt", "title\n1\n1/a\n2\nB\nS\n2 0 1\n2\n0.5\n-0.25\n");
  EXPECT_EQ(Run("convert me me.txt me.bin"), 0) << _err;
  EXPECT_TRUE(Get("me.bin").starts_with(g_Model_Header));
  Put("lm.arpa", "\\data\\\nngram 1=2\n\n\\1-grams:\n-1\t<unk>\n-2\ta/S\n\n\\end\\\n");
  EXPECT_EQ(Run("convert lm lm.arpa lm.bin"), 0) << _err;
  EXPECT_TRUE(Get("lm.bin").starts_with(g_Model_Header));
  EXPECT_EQ(Run("convert me me.txt nowhere/me.bin"), 1);
  Put("bad.arpa", "\\data\\\nngram 1=1\n\n\\1-grams:\n-1\n\n\\end\\\n");
  EXPECT_EQ(Run("convert lm bad.arpa bad.bin"), 1);
  EXPECT_FALSE(std::filesystem::exists("bad.bin"));
}

TEST_F(Commands, ConvertCharsReadsTheListsInData) {
  std::filesystem::create_directory("data");
  for (const char* list : {"Punc", "ANum", "CNum1", "CNum2", "EChar", "Date", "CGivenName"}) {
    Put(std::string("data/") + list, "header\n0\n");
  }
  Put("data/CFamilyName", "header\n0\nheader\n0\n");
  EXPECT_EQ(Run("convert chars out.bin"), 1) << "ForeignName is missing";
  EXPECT_NE(_err.find("data/ForeignName"), std::string::npos);
  Put("data/ForeignName", "header\n0\n");
  EXPECT_EQ(Run("convert chars out.bin"), 0) << _err;
  EXPECT_EQ(Get("out.bin"), std::string(16, '\0'));
}

TEST_F(Commands, ConvertCharsReadsTheListsOfAnyFolder) {
  std::filesystem::create_directory("lists");
  for (const char* list :
       {"Punc", "ANum", "CNum1", "CNum2", "EChar", "Date", "CGivenName", "ForeignName"}) {
    Put(std::string("lists/") + list, "header\n0\n");
  }
  Put("lists/Punc", "header\n1\n!\n");
  EXPECT_EQ(Run("convert chars --lists lists out.bin"), 1);
  EXPECT_EQ(_err, "tvk: lists/CFamilyName: cannot be read\n");
  Put("lists/CFamilyName", "header\n0\nheader\n0\n");
  EXPECT_EQ(Run("convert chars --lists lists out.bin"), 0) << _err;
  EXPECT_EQ(Get("out.bin"), std::string("\1\0\0\0\1\0\0\0!\1\0\0\0", 13) + std::string(12, '\0'));
  EXPECT_EQ(Get("lists/Punc"), "header\n1\n!\n");
  EXPECT_EQ(Run("convert chars --lists lists nowhere/out.bin"), 1);
}

TEST_F(Commands, ConvertTurnsBinaryResourcesBack) {
  const std::string me = "2\n1/a\n2/b\n2\nB\nS\n2 0 1\n0\n2\n0.1\n-1e-20\n";
  Put("me.txt", "title\n" + me);
  ASSERT_EQ(Run("convert me me.txt me.bin"), 0) << _err;
  EXPECT_EQ(Run("convert me me.bin -"), 0) << _err;
  EXPECT_EQ(_out, "maximum-entropy model\n" + me);
  const std::string lm =
      "\\data\\\nngram 1=2\nngram 2=1\n\n\\1-grams:\n-1\t<unk>\n-2.5\ta/S\t-0.25\n\n"
      "\\2-grams:\n-99\ta/S a/S\n\n\\end\\\n";
  Put("lm.arpa", lm);
  ASSERT_EQ(Run("convert lm lm.arpa lm.bin"), 0) << _err;
  EXPECT_EQ(Run("convert lm lm.bin again.arpa"), 0) << _err;
  EXPECT_EQ(Get("again.arpa"), lm);
  PutLists("lists");
  ASSERT_EQ(Run("train chars --lists lists --out chars"), 0) << _err;
  EXPECT_EQ(Run("convert chars --from chars again"), 0) << _err;
  EXPECT_EQ(Run("train chars --lists again --out chars.again"), 0) << _err;
  EXPECT_EQ(Get("chars.again"), Get("chars"));
  EXPECT_EQ(Run("convert chars --from chars again"), 1) << "the folder is there";
  EXPECT_EQ(Run("convert chars --from chars --lists lists more"), 2);

  Put("cut", Get("me.bin").substr(0, 30));
  EXPECT_EQ(Run("convert me cut out"), 1);
  EXPECT_TRUE(_err.starts_with("tvk: cut: offset ")) << _err;
  EXPECT_FALSE(std::filesystem::exists("out"));
  Put("cut", Get("lm.bin").substr(0, 60));
  EXPECT_EQ(Run("convert lm cut out"), 1);
  EXPECT_FALSE(std::filesystem::exists("out"));
}

TEST_F(Commands, TextWritesRunningText) {
  Put("c", "我/A New/B York/B\n\U0001F600/C\n");
  EXPECT_EQ(Run("text c"), 0);
  EXPECT_EQ(_out, "我New York\n\U0001F600\n");
  EXPECT_EQ(Run("text c --words"), 0);
  EXPECT_EQ(_out, "我 New York\n\U0001F600\n");
  EXPECT_EQ(Run("text c --to gbk -o c.gbk"), 0);
  EXPECT_EQ(Get("c.gbk"), "\xCE\xD2New York\n\xA1\xFE\n");
  EXPECT_NE(_err.find("geta marks (U+3013): 1\n"), std::string::npos) << _err;
}

TEST_F(Commands, CheckSaysWhatFilesAre) {
  Put("good", "title\n1\n15/0\n2\nNN\nVB\n2 0 1\n2\n0.5\n-0.25\n");
  EXPECT_EQ(Run("check good"), 0) << _err;
  EXPECT_EQ(_out,
            "good: maximum-entropy model, text, 39 bytes\n"
            "  use: English tagging\n"
            "  features: 1\n"
            "  weights: 2\n"
            "  tags: 2: NN VB\n"
            "no problems\n");
  EXPECT_EQ(_err, "");
  EXPECT_EQ(Run("check good --quiet"), 0);
  EXPECT_EQ(_out, "");
  EXPECT_EQ(Run("check - <good"), 0);
  EXPECT_TRUE(_out.starts_with("-: maximum-entropy model, text, 39 bytes\n")) << _out;
}

TEST_F(Commands, CheckSaysWhatIsWrong) {
  Put("EngDict", "5\nShe 20 PRP\nShe 0 PRP\nhe\n\nit x PRP");
  EXPECT_EQ(Run("check EngDict none --limit 3"), 1);
  EXPECT_EQ(_out,
            "EngDict: English tag dictionary, text, 35 bytes\n"
            "  words: 5\n"
            "  tags: 1: PRP\n"
            "  remark: the last line has no line feed: is the file cut inside it?\n"
            "EngDict:3: \"She\" is listed in line 2 already: all entries behind this one get wrong "
            "tags\n"
            "EngDict:3: how often the word was seen expected, from 1, found \"0\"\n"
            "EngDict:4: a word, a count and tags expected, found 1 field: \"he\" (is a count of "
            "entries wrong?)\n"
            "EngDict: ... and 2 more\n"
            "none: not read\n"
            "none: No such file or directory\n");
  EXPECT_EQ(_err, "tvk: check: problems: 6, in 2 of 2 files\n");
  const std::string tooLong(5000, 'x');
  EXPECT_EQ(Run("check --as me -q EngDict " + tooLong), 1);
  EXPECT_NE(_out.find(tooLong + ": "), std::string::npos) << "one that no system takes";
  EXPECT_TRUE(_err.ends_with("in 2 of 2 files\n")) << _err;
  Put("binary", g_Model_Header + "xyz");
  EXPECT_EQ(Run("check -q binary"), 1);
  EXPECT_EQ(
      _out,
      "binary: byte 13: the file ends in the number of features: it is cut; the rest cannot be "
      "made sense of and is not checked\n");
}

TEST_F(Commands, CheckTakesAFileAsWhatIsAsked) {
  Put("file", "1\nwait 3 NN\n0\n");
  EXPECT_EQ(Run("check file"), 0) << _out;
  EXPECT_TRUE(_out.starts_with("file: Chinese tag dictionary, text, 14 bytes\n")) << _out;
  EXPECT_EQ(Run("check --as abbtitle file"), 0) << _out;
  EXPECT_TRUE(_out.starts_with("file: tokenizer lists, text, 14 bytes\n")) << _out;
  EXPECT_EQ(Run("check --as engdict file"), 1);
  EXPECT_NE(_out.find("file:3: lines behind the last entry: 1,"), std::string::npos) << _out;
  for (const char* kind : {"me", "lm", "chars"}) {
    EXPECT_EQ(Run(std::string("check file --as ") + kind), 1) << kind;
  }
}

TEST_F(Commands, CheckLooksAtFolders) {
  EXPECT_EQ(Run("check " PROJECT_DIR "/data"), 0) << _out << _err;
  EXPECT_TRUE(_out.ends_with("\nno problems\n")) << _out;
  EXPECT_EQ(_out.find("MODEL_CARD"), std::string::npos);
  std::filesystem::create_directory("empty");
  EXPECT_EQ(Run("check empty -q"), 1);
  EXPECT_EQ(Lines(_out), 8U) << _out;
  EXPECT_NE(_out.find("empty/Dict: No such file or directory\n"), std::string::npos) << _out;
  EXPECT_EQ(_err, "tvk: check: problems: 8, in 8 of 8 files\n");
}

TEST_F(Commands, CheckWritesJson) {
  Put("f", "2\nwait 3 NN\ngo 0 VB");
  EXPECT_EQ(Run("check --json --as engdict f"), 1);
  EXPECT_EQ(_out, R"({
  "problem_count": 1,
  "files": [
    {
      "path": "f",
      "kind": "engdict",
      "title": "English tag dictionary",
      "binary": false,
      "bytes": 19,
      "facts": {
        "words": 2,
        "tags": [
          "NN",
          "VB"
        ]
      },
      "remarks": [
        "the last line has no line feed: is the file cut inside it?"
      ],
      "problem_count": 1,
      "problems": [
        {
          "line": 3,
          "text": "how often the word was seen expected, from 1, found \"0\""
        }
      ]
    }
  ]
}
)");
  Put("\xFF", g_Model_Header);
  EXPECT_EQ(Run("check --json -q --as me $(printf '\\377')"), 1);
  EXPECT_EQ(_out, R"({
  "problem_count": 1,
  "files": [
    {
      "path": "�",
      "problem_count": 1,
      "problems": [
        {
          "byte": 10,
          "text": "the file ends in the number of features: it is cut; the rest cannot be made sense of and is not checked"
        }
      ]
    }
  ]
}
)");
}

TEST_F(Commands, EvalReportsGbkAgainstUtf8) {
  Put("gold", "我/A 中国/B\n");
  Put("out", "\xCE\xD2 \xD6\xD0 \xB9\xFA \n");
  Put("train", "我/A\n");
  EXPECT_EQ(Run("eval seg gold out --train train"), 0) << _err;
  EXPECT_EQ(_out,
            "lines                    1\n"
            "gold words               2\n"
            "output words             3\n"
            "correct words            1\n"
            "precision                33.33\n"
            "recall                   50.00\n"
            "F1                       40.00\n"
            "unknown gold words       1\n"
            "recall of unknown words  0.00\n"
            "recall of known words    100.00\n");
  Put("out", "\xCE\xD2 \xD6\xD0\n");
  EXPECT_EQ(Run("eval seg gold out"), 1);
  EXPECT_TRUE(_err.starts_with("tvk: out:1: the text differs")) << _err;
}

TEST_F(Commands, EvalPosReportsTags) {
  Put("gold", "我/A 中国/B 😀/C\n\n·// 的/D\n");
  Put("out", "\xCE\xD2/ \xD6\xD0\xB9\xFA/ \xA1\xFE/ \n\n\xA1\xA4// \xB5\xC4/D \n");
  Put("train", "我 中国\n");
  EXPECT_EQ(Run("eval pos gold out"), 0) << _err;
  EXPECT_EQ(_out,
            "lines                    3\n"
            "words                    5\n"
            "correct tags             2\n"
            "tag accuracy             40.00\n"
            "\n"
            "gold    output  count\n"
            "A       (none)  1\n"
            "B       (none)  1\n"
            "C       (none)  1\n");
  EXPECT_EQ(Run("eval pos gold out --train train"), 0) << _err;
  EXPECT_NE(_out.find("tag accuracy             40.00\n"
                      "unknown words            3\n"
                      "tag accuracy of unknown  66.67\n"
                      "tag accuracy of known    0.00\n"
                      "\n"),
            std::string::npos)
      << _out;
  Put("out", "我/A 中/B 国/B\n");
  EXPECT_EQ(Run("eval pos gold out"), 1);
  EXPECT_EQ(_err,
            "tvk: out:1: the text differs from line 1 of gold: \"中国\" expected at word 2, found "
            "\"中\"\n");
  Put("gold", "我/A 中国\n");
  EXPECT_EQ(Run("eval pos gold out"), 1);
  EXPECT_EQ(_err, "tvk: gold:1: WORD/TAG expected, found \"中国\"\n");
}

TEST_F(Commands, EvalSegposReportsWordsAndTags) {
  Put("gold", "我/A 中国/B 人/B 的/C\n");
  Put("out", "\xCE\xD2/A \xD6\xD0/B \xB9\xFA/B \xC8\xCB/C \xB5\xC4/D \n");
  Put("train", "我/A 人/B\n");
  EXPECT_EQ(Run("eval segpos gold out --train train"), 0) << _err;
  EXPECT_EQ(_out,
            "lines                    1\n"
            "gold words               4\n"
            "output words             5\n"
            "correct words            3\n"
            "precision                60.00\n"
            "recall                   75.00\n"
            "F1                       66.67\n"
            "unknown gold words       2\n"
            "recall of unknown words  50.00\n"
            "recall of known words    100.00\n"
            "correctly tagged words   1\n"
            "joint precision          20.00\n"
            "joint recall             25.00\n"
            "joint F1                 22.22\n"
            "tag accuracy             33.33\n"
            "joint recall of unknown  0.00\n"
            "joint recall of known    50.00\n"
            "\n"
            "gold    output  count\n"
            "B       C       1\n"
            "C       D       1\n");
}

TEST_F(Commands, EvalTokReportsTokens) {
  Put("gold", "Do/VB n't/RB go/VB ./.\n\ndéjà/FW vu/FW\n");
  Put("out", "Do n't go.\n\nd\xE9j\xE0 vu\n");
  EXPECT_EQ(Run("eval tok gold out"), 0) << _err;
  EXPECT_EQ(_out,
            "lines                    2\n"
            "gold tokens              6\n"
            "output tokens            5\n"
            "correct tokens           4\n"
            "precision                80.00\n"
            "recall                   66.67\n"
            "F1                       72.73\n");
  EXPECT_EQ(Run("eval tok gold gold --train out"), 0) << _err;
  EXPECT_NE(_out.find("unknown gold tokens      2\n"
                      "recall of unknown tokens 100.00\n"
                      "recall of known tokens   100.00\n"),
            std::string::npos)
      << _out;
}

TEST_F(Commands, EvalTokposSkipsBlankLines) {
  Put("gold", "Do/VB n't/RB\n\ngo/LONGTAG home/NN ./.\n");
  Put("out", "Do/VB n't/RB \ngo/NN home./NN \n");
  EXPECT_EQ(Run("eval tokpos gold out --train out"), 0) << _err;
  EXPECT_EQ(_out,
            "lines                    2\n"
            "gold tokens              5\n"
            "output tokens            4\n"
            "correct tokens           3\n"
            "precision                75.00\n"
            "recall                   60.00\n"
            "F1                       66.67\n"
            "unknown gold tokens      2\n"
            "recall of unknown tokens 0.00\n"
            "recall of known tokens   100.00\n"
            "correctly tagged tokens  2\n"
            "joint precision          50.00\n"
            "joint recall             40.00\n"
            "joint F1                 44.44\n"
            "tag accuracy             66.67\n"
            "joint recall of unknown  0.00\n"
            "joint recall of known    66.67\n"
            "\n"
            "gold     output   count\n"
            "LONGTAG  NN       1\n");
}

TEST_F(Commands, EvalWritesJson) {
  Put("gold", "我/A 中国/B 人/B 的/C\n");
  Put("out", "我/A 中/B 国/B 人/\" 的/\n");
  Put("train", "我/A 人/B\n");
  EXPECT_EQ(Run("eval segpos gold out --train train --json"), 0) << _err;
  EXPECT_EQ(_out, R"({
  "task": "segpos",
  "lines": 1,
  "gold_words": 4,
  "output_words": 5,
  "correct_words": 3,
  "precision": 0.6,
  "recall": 0.75,
  "f1": 0.6666666666666665,
  "unknown_gold_words": 2,
  "recall_of_unknown_words": 0.5,
  "recall_of_known_words": 1.0,
  "correctly_tagged_words": 1,
  "joint_precision": 0.2,
  "joint_recall": 0.25,
  "joint_f1": 0.22222222222222224,
  "tag_accuracy": 0.3333333333333333,
  "joint_recall_of_unknown": 0.0,
  "joint_recall_of_known": 0.5,
  "confusions": [
    {
      "gold": "B",
      "output": "\"",
      "count": 1
    },
    {
      "gold": "C",
      "output": null,
      "count": 1
    }
  ]
}
)");
  Put("words", "我/A 中国/B 人/B 的/C\n");
  EXPECT_EQ(Run("eval pos gold words --train gold --json"), 0) << _err;
  EXPECT_EQ(_out, R"({
  "task": "pos",
  "lines": 1,
  "words": 4,
  "correct_tags": 4,
  "tag_accuracy": 1.0,
  "unknown_words": 0,
  "tag_accuracy_of_unknown": null,
  "tag_accuracy_of_known": 1.0,
  "confusions": []
}
)");
  Put("tokens", "a b\n");
  EXPECT_EQ(Run("eval tok tokens tokens --json"), 0) << _err;
  EXPECT_EQ(_out, R"({
  "task": "tok",
  "lines": 1,
  "gold_tokens": 2,
  "output_tokens": 2,
  "correct_tokens": 2,
  "precision": 1.0,
  "recall": 1.0,
  "f1": 1.0
}
)");
  EXPECT_EQ(Run("eval seg tokens gold --json"), 1);
  EXPECT_EQ(_out, "");
}

TEST_F(Commands, TrainedModelsAreComplete) {
  PutLists("lists");
  EXPECT_EQ(Run("train chars --lists lists --out resource"), 0) << _err;
  std::string corpus;
  for (int i = 0; i < 20; ++i) corpus += "我 是 中国 人 。\n他 在 北京 。\n";
  Put("train", corpus);
  Put("dev", "他 是 北京 人 。\n");
  const std::string arguments = "train seg --corpus train --dev dev --chars resource --raw dev ";
  EXPECT_EQ(Run(arguments + "--out models --text --dev-every 10"), 0) << _err;
  for (const char* name : {"binarySegModel", "binarySegLM"}) {
    EXPECT_TRUE(Get(std::string("models/") + name).starts_with(g_Model_Header)) << name;
  }
  EXPECT_TRUE(Get("models/segLM.arpa").starts_with("\\data\\"));
  EXPECT_NE(Get("models/segModel.txt"), "");
  EXPECT_NE(_err.find("written models on the development corpus: F1 100.00"), std::string::npos)
      << _err;
  EXPECT_EQ(Run(arguments + "--out quiet --quiet"), 0);
  EXPECT_EQ(_err, "");
  EXPECT_EQ(Get("quiet/binarySegModel"), Get("models/binarySegModel"));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("quiet"), {}), 2)
      << "nothing but the two models is left";
}

TEST_F(Commands, ATrainedChineseTaggerIsComplete) {
  PutLists("lists");
  Put("file", "");
  ASSERT_EQ(Run("train chars --lists lists --out file/binarySource"), 1) << "no such folder";
  ASSERT_EQ(Run("train chars --lists lists --out data/binarySource"), 0) << _err;
  std::string corpus;
  for (int i = 0; i < 20; ++i)
    corpus += "我/PRP 是/VC 中国/NNP 人/NN 。/.\n他/PRP 在/IN 北京/NNP 。/.\n";
  Put("train", corpus);
  Put("dev", "他/PRP 是/VC 北京/NNP 人/NN 。/.\n");
  Put("raw", "他是中国人。\n\n我在北京。\n");
  ASSERT_EQ(Run("train seg --corpus train --chars data/binarySource --out data --quiet"), 0)
      << _err;
  const std::string arguments = "train pos --corpus train --raw raw --data data --dev dev ";
  EXPECT_EQ(Run(arguments + "--out data --text-form"), 0) << _err;
  EXPECT_TRUE(Get("data/binaryPosModel").starts_with(g_Model_Header));
  EXPECT_TRUE(Get("data/binaryPosModel.txt").starts_with("Chinese parts of speech\n"));
  EXPECT_NE(Get("data/Dict").find("\n\xCE\xD2 20 PRP\n"), std::string::npos);
  EXPECT_NE(_err.find("tag accuracy on gold words 100.00"), std::string::npos) << _err;
  EXPECT_NE(_err.find("F1 of words 100.00, of words with tags 100.00\n"), std::string::npos)
      << _err;
  EXPECT_EQ(Run(arguments + "--out again --quiet --threads 3"), 0);
  EXPECT_EQ(Get("again/binaryPosModel"), Get("data/binaryPosModel"));
  EXPECT_EQ(Get("again/Dict"), Get("data/Dict"));
  EXPECT_EQ(Run("train pos --corpus train --data data --dev none --out early"), 1);
  EXPECT_FALSE(std::filesystem::exists("early/Dict")) << "known before the work, not after it";
}

TEST_F(Commands, ATrainedEnglishTaggerIsComplete) {
  Put("separators", "! ?\n");
  Put("abbreviations", "etc\n");
  EXPECT_EQ(
      Run("train abbtitle --separators separators --abbreviations abbreviations --out abbtitle"), 0)
      << _err;
  EXPECT_EQ(Get("abbtitle"), "2\n!\n?\n1\netc\n");
  std::string corpus;
  std::string text;
  for (int i = 0; i < 20; ++i) {
    corpus += "She/PRP did/VBD n't/RB go/VB ./.\nA/DT 15/CD -/HYPH year/NN wait/NN !/.\n";
    text += "She didn't go.\nA 15-year wait!\n";
  }
  Put("train", corpus);
  Put("text", text);
  Put("dev", "She/PRP did/VBD go/VB !/.\nShe/PRP did/VBD !/.\n");
  Put("dev-text", "She did go!\nShe did go!\n");
  const std::string arguments =
      "train engpos --corpus train --text text --raw text --lists abbtitle --dev dev "
      "--dev-text dev-text ";
  EXPECT_EQ(Run(arguments + "--out data"), 0) << _err;
  EXPECT_TRUE(Get("data/binaryEngPosModel").starts_with(g_Model_Header));
  EXPECT_NE(Get("data/EngDict").find("\nShe 20 PRP\n"), std::string::npos);
  EXPECT_NE(_err.find("train: 180 tokens of the tokenizer, 160 of them gold tokens"),
            std::string::npos)
      << _err;
  EXPECT_NE(_err.find("F1 of words 100.00, of words with tags 100.00 (sentences left out, as their "
                      "text comes out differently: 1)\n"),
            std::string::npos)
      << _err;
  EXPECT_EQ(Run(arguments + "--out again --quiet --threads 3"), 0);
  EXPECT_EQ(_err, "");
  EXPECT_EQ(Get("again/binaryEngPosModel"), Get("data/binaryEngPosModel"));

  Put("text", "one line\n");
  EXPECT_EQ(Run(arguments + "--out again"), 1);
  EXPECT_EQ(_err, "tvk: text: 40 lines expected, as in train, found 1\n");
  EXPECT_EQ(Run("train engpos --corpus train --text text text --lists abbtitle --out again"), 1);
}

}  // namespace
}  // namespace Tolvek
