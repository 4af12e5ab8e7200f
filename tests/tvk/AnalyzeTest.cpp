// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <iconv.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "Child.h"
#include "Workplace.h"

namespace Tolvek {
namespace {

namespace fs = std::filesystem;

const char* const kTasks[] = {"seg", "segpos", "pos", "tok", "tokpos"};
const char* const kEncodings[] = {"utf-8", "gbk", "gb18030", "big5"};

bool TagsWords(const std::string& task) {
  return task.ends_with("pos");
}

// The output's forms, read anew from their description.

/// The C library's own opinion on text: converts all of it, or nothing.
class Iconv {
 public:
  Iconv(const std::string& from, const std::string& to)
      : _handle(::iconv_open(to.c_str(), from.c_str())) {}
  ~Iconv() { ::iconv_close(_handle); }
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;

  /// False when a part of the text has no counterpart.
  bool operator()(std::string text, std::string& out) const {
    std::string result(4 * text.size() + 4, '\0');
    char* from = text.data();
    char* to = result.data();
    std::size_t fromLeft = text.size();
    std::size_t toLeft = result.size();
    ::iconv(_handle, nullptr, nullptr, nullptr, nullptr);
    if (::iconv(_handle, &from, &fromLeft, &to, &toLeft) != 0) return false;
    out.assign(result, 0, result.size() - toLeft);
    return true;
  }

 private:
  iconv_t _handle;
};

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> pieces(1);
  for (const char c : text) {
    if (c == separator) {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

/// The lines of a text; a line feed at its end begins no line.
std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines = Split(text, '\n');
  if (lines.back().empty()) lines.pop_back();
  return lines;
}

/// The length of the character of an encoding that begins here, by what the C library converts; 1
/// for a byte that begins none. No single byte from 0x80 on is a character.
std::size_t LengthOfCharacter(const Iconv& toUtf32, std::string_view text) {
  std::string code;
  const std::size_t shortest = static_cast<unsigned char>(text[0]) < 0x80 ? 1 : 2;
  for (std::size_t length = shortest; length <= std::min<std::size_t>(4, text.size()); ++length) {
    if (toUtf32(std::string(text.substr(0, length)), code) && code.size() == 4) return length;
  }
  return 1;
}

std::size_t CountCharacters(const std::string& encoding, std::string_view text) {
  const Iconv toUtf32(encoding, "UTF-32LE");
  std::size_t count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(LengthOfCharacter(toUtf32, text));
  return count;
}

std::string InEncoding(const std::string& utf8, const std::string& encoding) {
  std::string bytes;
  EXPECT_TRUE(Iconv("UTF-8", encoding)(utf8, bytes)) << utf8;
  return bytes;
}

std::string Utf8(unsigned code) {
  std::string utf8;
  std::string utf32;
  for (unsigned shift = 0; shift < 32; shift += 8) utf32 += static_cast<char>(code >> shift & 0xFF);
  EXPECT_TRUE(Iconv("UTF-32LE", "UTF-8")(utf32, utf8)) << code;
  return utf8;
}

/// Text in which the backslash is written twice. In the encodings of two bytes a backslash may be
/// the second one, which is no backslash of the text.
std::string Unescape(const std::string& text, bool isUtf8) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    result += text[i];
    if (!isUtf8 && lead > 0x80 && lead < 0xFF && i + 1 < text.size()) {
      const auto trail = static_cast<unsigned char>(text[i + 1]);
      if (trail >= 0x40 && trail != 0x7F && trail != 0xFF) result += text[++i];
    } else if (lead == '\\') {
      EXPECT_EQ(text[i + 1], '\\') << text;
      ++i;
    }
  }
  return result;
}

/// White space that is written as \s, \t, \u3000 and so on.
std::string UnescapeSpaces(const std::string& text, const std::string& encoding) {
  static const std::map<char, char> names{{'s', ' '},  {'t', '\t'}, {'r', '\r'},
                                          {'v', '\v'}, {'f', '\f'}, {'n', '\n'}};
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    EXPECT_EQ(text[i], '\\') << text;
    if (const auto name = names.find(text[i + 1]); name != names.end()) {
      result += name->second;
      i += 2;
      continue;
    }
    EXPECT_EQ(text[i + 1], 'u') << text;
    result += InEncoding(
        Utf8(static_cast<unsigned>(std::stoul(text.substr(i + 2, 4), nullptr, 16))), encoding);
    i += 6;
  }
  return result;
}

/// A word, or with `isSpace` white space between words.
struct Item {
  std::string text{};
  std::string tag{};
  bool isSpace = false;
  std::array<std::size_t, 4> places{};  ///< begin and end in bytes, then in characters
};

struct Line {
  std::size_t number = 0;
  std::vector<Item> items{};
  bool isEnded = true;  ///< by a line feed
};

std::vector<Line> ReadText(const std::string& out, const std::string& encoding, bool tags) {
  std::vector<Line> lines;
  for (const std::string& text : LinesOf(out)) {
    Line line{lines.size() + 1};
    for (std::string piece : text.empty() ? std::vector<std::string>() : Split(text, ' ')) {
      Item item;
      EXPECT_NE(piece, "") << "two blanks: " << text;
      item.isSpace = piece.starts_with('\\') && !piece.starts_with("\\\\");
      if (tags && !item.isSpace) {
        // The last slash that leaves a tag: "/" is one, too.
        const std::size_t slash = piece.rfind('/', piece.size() - 2);
        EXPECT_NE(slash, std::string::npos) << piece;
        item.tag = piece.substr(slash + 1);
        piece.resize(slash);
      }
      item.text =
          item.isSpace ? UnescapeSpaces(piece, encoding) : Unescape(piece, encoding == "utf-8");
      line.items.push_back(item);
    }
    lines.push_back(line);
  }
  if (!lines.empty()) lines.back().isEnded = out.ends_with('\n');
  return lines;
}

std::vector<Line> ReadTsv(const std::string& out, const std::string& encoding, bool tags,
                          bool hasSpaces) {
  std::vector<Line> lines(1, Line{1});
  bool isOpen = false;  // rows without the empty line behind them
  for (const std::string& row : LinesOf(out)) {
    isOpen = !row.empty();
    if (!isOpen) {
      lines.push_back({lines.size() + 1});
      continue;
    }
    const std::vector<std::string> columns = Split(row, '\t');
    EXPECT_EQ(columns.size(), tags ? 7U : 6U) << row;
    if (columns.size() < 6) continue;
    EXPECT_EQ(std::stoul(columns[0]), lines.back().number);
    Item item;
    for (std::size_t i = 0; i < 4; ++i) item.places[i] = std::stoul(columns[i + 1]);
    item.isSpace = hasSpaces && columns[5].starts_with('\\') && !columns[5].starts_with("\\\\");
    item.text = !hasSpaces     ? columns[5]
                : item.isSpace ? UnescapeSpaces(columns[5], encoding)
                               : Unescape(columns[5], encoding == "utf-8");
    if (tags) item.tag = columns[6];
    lines.back().items.push_back(item);
  }
  if (isOpen) {
    lines.back().isEnded = false;
  } else {
    lines.pop_back();
  }
  return lines;
}

/// Just enough of JSON: objects, arrays, strings and whole numbers.
class JsonReader {
 public:
  JsonReader(std::string_view text, const std::string& encoding)
      : _text(text), _fromUtf8("UTF-8", encoding) {}

  Line ReadLine() {
    Line line;
    Object([&](const std::string& name) {
      if (name == "line") {
        line.number = Number();
      } else if (name == "before") {
        line.items.push_back({.text = String(), .isSpace = true});
      } else if (name == "words") {
        Array([&] { ReadWord(line); });
      } else {
        ADD_FAILURE() << "unknown member: " << name;
      }
    });
    EXPECT_EQ(_text, "");
    return line;
  }

 private:
  void ReadWord(Line& line) {
    Item word;
    std::string after;
    Object([&](const std::string& name) {
      if (name == "word") {
        word.text = String();
      } else if (name == "tag") {
        word.tag = String();
      } else if (name == "after") {
        after = String();
      } else {
        EXPECT_TRUE(name == "bytes" || name == "chars") << name;
        std::size_t i = name == "bytes" ? 0 : 2;
        Array([&] { word.places.at(i++) = Number(); });
      }
    });
    line.items.push_back(word);
    if (!after.empty()) line.items.push_back({.text = after, .isSpace = true});
  }

  template <class Visit>
  void Object(const Visit& visit) {
    List('{', '}', [&] {
      const std::string name = String();
      Expect(':');
      visit(name);
    });
  }
  template <class Visit>
  void Array(const Visit& visit) {
    List('[', ']', visit);
  }
  template <class Visit>
  void List(char begin, char end, const Visit& visit) {
    Expect(begin);
    if (!_text.starts_with(end)) {
      visit();
      while (_text.starts_with(',')) {
        Expect(',');
        visit();
      }
    }
    Expect(end);
  }
  std::size_t Number() {
    std::size_t number = 0;
    EXPECT_FALSE(_text.empty() || _text[0] < '0' || _text[0] > '9') << _text;
    for (; !_text.empty() && _text[0] >= '0' && _text[0] <= '9'; _text.remove_prefix(1)) {
      number = 10 * number + static_cast<std::size_t>(_text[0] - '0');
    }
    return number;
  }
  std::string String() {
    std::string result;
    std::string plain;  // UTF-8, not yet converted
    const auto flush = [&] {
      std::string bytes;
      EXPECT_TRUE(_fromUtf8(plain, bytes)) << plain;
      result += bytes;
      plain.clear();
    };
    Expect('"');
    while (!_text.empty() && _text[0] != '"') {
      EXPECT_FALSE(static_cast<unsigned char>(_text[0]) < 0x20) << "a raw control character";
      if (_text[0] != '\\') {
        plain += _text[0];
      } else if (_text[1] == 'u') {
        const auto code =
            static_cast<unsigned>(std::stoul(std::string(_text.substr(2, 4)), nullptr, 16));
        if (code >= 0xDC80 && code <= 0xDCFF) {
          flush();
          result += static_cast<char>(code & 0xFFU);
        } else {
          plain += Utf8(code);
        }
        _text.remove_prefix(5);
      } else {
        EXPECT_TRUE(_text[1] == '"' || _text[1] == '\\') << _text;
        plain += _text[1];
        _text.remove_prefix(1);
      }
      _text.remove_prefix(1);
    }
    Expect('"');
    flush();
    return result;
  }
  void Expect(char c) {
    EXPECT_TRUE(_text.starts_with(c)) << c << " expected: " << _text;
    if (!_text.empty()) _text.remove_prefix(1);
  }

  std::string_view _text;
  Iconv _fromUtf8;
};

std::vector<Line> ReadJsonl(const std::string& out, const std::string& encoding) {
  std::vector<Line> lines;
  for (const std::string& text : LinesOf(out)) {
    lines.push_back(JsonReader(text, encoding).ReadLine());
    EXPECT_EQ(lines.back().number, lines.size());
  }
  if (!lines.empty()) lines.back().isEnded = out.ends_with('\n');
  return lines;
}

/// The input that lines with white space stand for.
std::string PutTogether(const std::vector<Line>& lines) {
  std::string text;
  for (const Line& line : lines) {
    for (const Item& item : line.items) text += item.text;
    if (line.isEnded) text += '\n';
  }
  return text;
}

/// Random text: what people write, and what they don't.
class RandomText {
 public:
  /// `hasBadBytes`: also bytes that are no characters.
  RandomText(const std::string& encoding, bool hasBadBytes, unsigned seed)
      : _encoding(encoding), _hasBadBytes(hasBadBytes), _random(seed) {
    static const std::string pieces[] = {
        "我",         "来到",  "北京",   "清华大学", "中文",
        "二零二四年", "，",    "。",     "“",        "”",
        "臺灣",       "體驗",  "讀書",   "國語",     "a",
        "Hello",      "don't", "U.S.A.", "$1,000.5", "2024",
        "...",        "``",    "''",     "e-mail",   "(",
        ")",          "/",     "//",     "a/b",      "\\",
        "\\",         "\\\\",  "\\s",    "\\u",      "\"",
        "'",          "<b>",   "|",      "_",        "=",
        "#",          "Ａ",    "１",     "😀",        "👩‍👩‍👧",
        "𠮷",         "𪚥",    "\u00e9", "許",       "功",
        "蓋",         "餐",    "\u2014", "\u2026",   "\u20a9"};
    static const std::string spaces[] = {" ",  " ",      " ",      "  ",     "\t",  "\r",
                                         "\v", "\f",     "\u3000", "\u00a0", "\n",  "\n",
                                         "\n", "\u2003", "\ufeff", "\u0085", "\r\n"};
    const Iconv convert("UTF-8", encoding);
    const auto add = [&](const auto& from, std::vector<std::string>& to) {
      for (const std::string& piece : from) {
        if (std::string bytes; convert(piece, bytes)) to.push_back(bytes);
      }
    };
    add(pieces, _pieces);
    add(spaces, _spaces);
    if (encoding != "utf-8") {  // a backslash as the second byte, which is no backslash
      for (const char lead : {'\xB3', '\xB5'}) _pieces.push_back({lead, '\\'});
    }
    if (!hasBadBytes) return;
    _pieces.emplace_back(1, '\0');
    _pieces.emplace_back("\x1B");
    _pieces.emplace_back("\x7F");
  }

  std::string operator()(std::size_t pieces) {
    std::string text;
    while (pieces-- > 0) {
      const std::size_t kind = Below(_hasBadBytes ? 12 : 10);
      if (kind < 4) {
        text += Any(_spaces);
      } else if (kind < 10) {
        text += Any(_pieces);
      } else if (kind == 10) {
        // 80 and FF stand at no place of a character of two bytes, so what follows is told apart.
        text += Below(2) == 0 ? "\x80" : "\xFF";
      } else {  // a cut character, and something that cannot complete it
        const std::string piece = Any(_pieces);
        const std::size_t kept = 1 + Below(piece.size());
        text += piece.substr(0, kept);
        text += Below(2) == 0 ? " " : "\n";
      }
    }
    return text;
  }

 private:
  std::size_t Below(std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(_random);
  }
  const std::string& Any(const std::vector<std::string>& from) { return from[Below(from.size())]; }

  std::string _encoding;
  bool _hasBadBytes;
  std::mt19937 _random;
  std::vector<std::string> _pieces;
  std::vector<std::string> _spaces;
};

/// Runs the program with the shipped models as a user does.
class Analyze : public Workplace {
 protected:
  Analyze() { ::setenv("TOLVEK_DATA", PROJECT_DIR "/data", 1); }
  ~Analyze() override { ::unsetenv("TOLVEK_DATA"); }

  /// Runs a command of the shell; the two streams are left in `_out` and `_err`.
  int RunShell(const std::string& command) {
    const int status = std::system(("{ " + command + " ; } >out.txt 2>err.txt").c_str());
    _out = Get("out.txt");
    _err = Get("err.txt");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  int Run(const std::string& arguments, std::string_view input = "") {
    Put("in.txt", input);
    return RunShell(Tvk(arguments) + " <in.txt");
  }
  /// The output of a run that is expected to succeed.
  std::string OutputOf(const std::string& arguments, std::string_view input = "") {
    EXPECT_EQ(Run(arguments, input), 0) << arguments << '\n' << _err;
    return _out;
  }
  static std::string Tvk(const std::string& arguments) {
    return std::string(TVK_PROGRAM) + " " + arguments;
  }
  static std::string Example(const std::string& name) {
    return Get(std::string(PROJECT_DIR "/examples/") + name);
  }
  static std::size_t CountLines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  }

  std::string _out;
  std::string _err;
};

const std::string kSentence = "我来到北京清华大学\n";
const std::string kWords = "我 来到 北京 清华 大学\n";

// What comes out stands for what went in.

TEST_F(Analyze, KeptSpacesGiveTheInputBack) {
  unsigned seed = 20260;
  for (const std::string encoding : kEncodings) {
    for (const std::string task : kTasks) {
      const std::string text = RandomText(encoding, true, ++seed)(1500);
      for (const std::string format : {"text", "tsv", "jsonl"}) {
        SCOPED_TRACE(task + " " + encoding + " " + format + " seed " + std::to_string(seed));
        const std::string out = OutputOf(task + " --keep-spaces --on-bad-bytes keep --encoding " +
                                             encoding + " --format " + format,
                                         text);
        const bool tags = TagsWords(task);
        const std::vector<Line> lines = format == "text"  ? ReadText(out, encoding, tags)
                                        : format == "tsv" ? ReadTsv(out, encoding, tags, true)
                                                          : ReadJsonl(out, encoding);
        ASSERT_EQ(PutTogether(lines), text);
        std::size_t words = 0;
        for (const Line& line : lines) {
          for (const Item& item : line.items) {
            ASSERT_NE(item.text, "");
            ASSERT_EQ(item.tag.empty(), item.isSpace || !tags) << item.text;
            words += item.isSpace ? 0 : 1;
          }
        }
        EXPECT_GT(words, 300U);
      }
    }
  }
}

TEST_F(Analyze, LastLineFeedIsKept) {
  for (const std::string text : {"", "\n", "我", "我\n\n", " \n "}) {
    for (const std::string format : {"text", "tsv", "jsonl"}) {
      const std::string out = OutputOf("seg --keep-spaces --format " + format, text);
      const std::vector<Line> lines = format == "text"  ? ReadText(out, "utf-8", false)
                                      : format == "tsv" ? ReadTsv(out, "utf-8", false, true)
                                                        : ReadJsonl(out, "utf-8");
      EXPECT_EQ(PutTogether(lines), text) << format;
    }
  }
}

TEST_F(Analyze, PlacesAreThoseOfTheWords) {
  unsigned seed = 40260;
  for (const std::string encoding : kEncodings) {
    for (const std::string task : {"segpos", "tok"}) {
      const std::string text = RandomText(encoding, true, ++seed)(500);
      const std::vector<std::string> input = LinesOf(text);
      for (const std::string format : {"tsv", "jsonl"}) {
        SCOPED_TRACE(task + " " + encoding + " " + format + " seed " + std::to_string(seed));
        const std::string out = OutputOf(
            task + " --on-bad-bytes keep --encoding " + encoding + " --format " + format, text);
        const std::vector<Line> lines = format == "tsv"
                                            ? ReadTsv(out, encoding, TagsWords(task), false)
                                            : ReadJsonl(out, encoding);
        ASSERT_EQ(lines.size(), input.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
          std::size_t before = 0;
          for (const Item& word : lines[i].items) {
            const auto& [begin, end, beginCharacter, endCharacter] = word.places;
            ASSERT_LE(before, begin);
            ASSERT_LT(begin, end);
            ASSERT_LE(end, input[i].size());
            ASSERT_EQ(word.text, input[i].substr(begin, end - begin));
            ASSERT_EQ(beginCharacter, CountCharacters(encoding, input[i].substr(0, begin)));
            ASSERT_EQ(endCharacter - beginCharacter, CountCharacters(encoding, word.text));
            before = end;
          }
        }
      }
    }
  }
}

TEST_F(Analyze, ConlluIsValidAndGivesTheSentencesBack) {
  unsigned seed = 60260;
  for (const std::string encoding : kEncodings) {
    for (const std::string task : kTasks) {
      const bool keepsSpaces = ++seed % 2 == 0;
      const std::string text = RandomText(encoding, false, seed)(700) + "\n";
      SCOPED_TRACE(task + " " + encoding + " seed " + std::to_string(seed));
      std::string utf8;
      ASSERT_TRUE(Iconv(encoding, "UTF-8")(text, utf8));
      const std::vector<std::string> input = LinesOf(utf8);
      const std::string out = OutputOf(
          task + " --format conllu --encoding " + encoding + (keepsSpaces ? " --keep-spaces" : ""),
          text);
      ASSERT_TRUE(out.ends_with("\n\n"));
      ASSERT_FALSE(out.starts_with("\n"));
      std::vector<std::string> sentence;
      std::size_t previous = 0;
      std::string passedOver;  // lines, which must have no words
      for (const std::string& row : LinesOf(out)) {
        if (!row.empty()) {
          sentence.push_back(row);
          continue;
        }
        ASSERT_GT(sentence.size(), 2U);
        ASSERT_TRUE(sentence[0].starts_with("# sent_id = ")) << sentence[0];
        ASSERT_TRUE(sentence[1].starts_with("# text = ")) << sentence[1];
        const std::size_t number = std::stoul(sentence[0].substr(12));
        ASSERT_GT(number, previous);
        ASSERT_LE(number, input.size());
        std::string whole;
        std::string shown;
        for (std::size_t i = 2; i < sentence.size(); ++i) {
          const std::vector<std::string> columns = Split(sentence[i], '\t');
          ASSERT_EQ(columns.size(), 10U) << sentence[i];
          ASSERT_EQ(columns[0], std::to_string(i - 1));
          for (const std::string& column : columns) ASSERT_NE(column, "") << sentence[i];
          for (const unsigned column : {2U, 3U, 5U, 6U, 7U, 8U}) ASSERT_EQ(columns[column], "_");
          ASSERT_EQ(columns[4] == "_", !TagsWords(task)) << sentence[i];
          std::string after = " ";
          std::string before;
          for (const std::string& note : Split(columns[9], '|')) {
            if (note.starts_with("SpacesBefore=")) {
              before = UnescapeSpaces(note.substr(13), "utf-8");
            } else if (note.starts_with("SpacesAfter=")) {
              after = UnescapeSpaces(note.substr(12), "utf-8");
            } else if (note == "SpaceAfter=No") {
              after = "";
            } else {
              ASSERT_EQ(note, "_");
            }
          }
          ASSERT_TRUE(before.empty() || i == 2);
          whole += before;
          whole += columns[1];
          whole += after;
          shown += columns[1];
          if (!after.empty() && i + 1 < sentence.size()) shown += ' ';
        }
        ASSERT_EQ(sentence[1].substr(9), shown);
        if (keepsSpaces) {
          ASSERT_EQ(whole, input[number - 1] + "\n");
        }
        while (++previous < number) passedOver += input[previous - 1] + "\n";
        sentence.clear();
      }
      ASSERT_TRUE(sentence.empty());
      ASSERT_GT(previous, 20U);
      while (++previous <= input.size()) passedOver += input[previous - 1] + "\n";
      if (keepsSpaces) {
        ASSERT_EQ(OutputOf(task, passedOver), std::string(CountLines(passedOver), '\n'));
      }
    }
  }
}

TEST_F(Analyze, FormatsAreThoseOfTheirDescription) {
  EXPECT_EQ(OutputOf("segpos", kSentence), "我/PRP 来到/VV 北京/NNP 清华/NNP 大学/NN\n");
  EXPECT_EQ(OutputOf("segpos --format tsv", "\n我来到 \n"),
            "\n2\t0\t3\t0\t1\t我\tPRP\n2\t3\t9\t1\t3\t来到\tVV\n\n");
  EXPECT_EQ(OutputOf("segpos --format jsonl", "我\n \n"),
            "{\"line\":1,\"words\":[{\"word\":\"我\",\"tag\":\"PRP\",\"bytes\":[0,3],\"chars\":[0,"
            "1]}]}\n{\"line\":2,\"words\":[]}\n");
  EXPECT_EQ(OutputOf("segpos --format conllu", "我来到\n"),
            "# sent_id = 1\n# text = 我来到\n1\t我\t_\t_\tPRP\t_\t_\t_\t_\tSpaceAfter=No\n"
            "2\t来到\t_\t_\tVV\t_\t_\t_\t_\t_\n\n");
  EXPECT_EQ(OutputOf("seg --keep-spaces", "\t我  来到\\\r\n"), "\\t 我 \\s\\s 来到 \\\\ \\r\n");
  EXPECT_EQ(OutputOf("seg --format jsonl --keep-spaces", " 我\t"),
            "{\"line\":1,\"before\":\" \",\"words\":[{\"word\":\"我\",\"bytes\":[1,4],\"chars\":[1,"
            "2],\"after\":\"\\u0009\"}]}");
  EXPECT_EQ(OutputOf("seg", "\uFEFF我\r\n"), "我\n");
}

// The number of threads, and the sister program.

TEST_F(Analyze, EveryNumberOfThreadsGivesTheSame) {
  std::string chinese;
  std::string english;
  while (chinese.size() < 1'000'000) chinese += Example("chinese.txt");
  while (english.size() < 1'000'000) english += Example("english.txt");
  Put("chinese.txt", chinese);
  Put("english.txt", english);
  for (const std::string arguments :
       {"seg --format text chinese.txt english.txt", "segpos --format jsonl chinese.txt",
        "seg --format tsv chinese.txt", "tok --format conllu english.txt chinese.txt"}) {
    const std::string expected = OutputOf(arguments + " -j 1");
    EXPECT_GT(expected.size(), 1'000'000U);
    for (const std::string threads : {"2", "5"}) {
      EXPECT_TRUE(OutputOf(arguments + " -j " + threads) == expected) << arguments << threads;
    }
  }
}

TEST_F(Analyze, ThreadsAreAsManyAsAskedFor) {
  const auto threads = [](const std::string& option) {
    Child child(Tvk("seg " + option));
    child.Write(kSentence);
    EXPECT_EQ(child.ReadLine(), kWords);
    const fs::directory_iterator tasks("/proc/" + std::to_string(child.Id()) + "/task");
    return std::distance(begin(tasks), end(tasks));
  };
  for (const std::string option : {"-j ", "--threads "}) {
    // A sanitizer may have a thread of its own.
    EXPECT_GT(threads(option + "2"), threads(option + "1")) << option;
  }
}

TEST_F(Analyze, AgreesWithTheSisterProgram) {
  fs::create_symlink(PROJECT_DIR "/data", "data");
  const auto withoutTrailingBlanks = [](const std::string& text) {
    std::string result;
    for (std::string line : LinesOf(text)) {
      if (line.ends_with(' ')) line.pop_back();
      result += line + "\n";
    }
    return result;
  };
  for (const std::string task : kTasks) {
    const std::string name = task[0] == 't' ? "english.txt" : "chinese.gbk";
    const std::string input = task == "pos" ? "words.gbk" : name;
    Put(input, task == "pos" ? Example("chinese.seg.gbk") : Example(name));
    ASSERT_EQ(RunShell(std::string(TOLVEK_PROGRAM) + " -i " + input + " -o expected -t " + task),
              0);
    std::string expected = withoutTrailingBlanks(Get("expected"));
    std::string out =
        OutputOf(task + " --no-fold --encoding " + (task[0] == 't' ? "utf-8 " : "gbk ") + input);
    if (task == "tokpos")
      std::erase_if(out, [previous = '\n'](char c) mutable {
        return std::exchange(previous, c) == '\n' && c == '\n';
      });
    EXPECT_EQ(out, expected) << task;
  }
}

// Options.

TEST_F(Analyze, ToWritesAnotherEncoding) {
  const std::string gbk = InEncoding(kSentence, "gbk");
  EXPECT_EQ(OutputOf("seg --encoding gbk", gbk), InEncoding(kWords, "gbk"));
  EXPECT_EQ(OutputOf("seg --encoding gbk --to utf-8", gbk), kWords);
  EXPECT_EQ(OutputOf("seg --to gb18030", kSentence), InEncoding(kWords, "gb18030"));
  EXPECT_EQ(OutputOf("seg --to as-input", kSentence), kWords);
  EXPECT_EQ(OutputOf("seg --format tsv --to gbk", "我\n"),
            InEncoding("1\t0\t3\t0\t1\t我\n\n", "gbk"));
  EXPECT_EQ(OutputOf("seg --format jsonl --encoding gbk", gbk),
            OutputOf("seg --format jsonl --encoding gb18030", gbk));
  EXPECT_NE(_out.find("清华"), std::string::npos);
  // A character that the output's encoding lacks.
  EXPECT_EQ(OutputOf("seg --to gbk", "😀\n"), InEncoding("〓\n", "gbk"));
  EXPECT_EQ(CountLines(_err), 1U);
  EXPECT_NE(_err.find("standard input:1:1"), std::string::npos) << _err;
  EXPECT_EQ(Run("seg --to gbk --on-bad-bytes fail", "我\n我😀\n"), 1);
  EXPECT_EQ(_out, InEncoding("我\n", "gbk"));
  EXPECT_NE(_err.find("standard input:2:4"), std::string::npos) << _err;
}

TEST_F(Analyze, BadBytesAreReplacedKeptOrFailures) {
  Put("a", "我\n");
  Put("b", "好\n我 \xFF\x80\n\xE6\x88\n");
  EXPECT_EQ(OutputOf("seg a b"), "我\n好\n我 \uFFFD\uFFFD\n\uFFFD\uFFFD\n");
  EXPECT_EQ(CountLines(_err), 1U);
  EXPECT_NE(_err.find(" 4,"), std::string::npos) << _err;
  EXPECT_NE(_err.find("b:2:5, b:2:6, b:3:1, b:3:2"), std::string::npos) << _err;
  EXPECT_EQ(OutputOf("seg a b --on-bad-bytes replace"), "我\n好\n我 \uFFFD\uFFFD\n\uFFFD\uFFFD\n");
  EXPECT_EQ(OutputOf("seg a b --on-bad-bytes keep"), "我\n好\n我 \xFF\x80\n\xE6\x88\n");
  EXPECT_NE(_err.find("b:2:5"), std::string::npos) << _err;
  EXPECT_EQ(Run("seg a b --on-bad-bytes fail"), 1);
  EXPECT_EQ(_out, "我\n好\n");
  EXPECT_NE(_err.find("b:2:5"), std::string::npos) << _err;
  EXPECT_EQ(OutputOf("seg --encoding gbk", "\xFF\n"), InEncoding("〓\n", "gbk"));
  EXPECT_EQ(OutputOf("seg --encoding gb18030", "\xFF\n"), InEncoding("\uFFFD\n", "gb18030"));
  EXPECT_EQ(OutputOf("seg --format conllu", "\xFF\n").substr(12, 15), "1\n# text = \uFFFD\n");
}

TEST_F(Analyze, QuietSilencesWarnings) {
  OutputOf("seg", "\xFF\n");
  EXPECT_NE(_err, "");
  for (const std::string option : {"-q", "--quiet"}) {
    EXPECT_EQ(OutputOf("seg " + option, "\xFF\n"), "\uFFFD\n");
    EXPECT_EQ(_err, "");
  }
}

TEST_F(Analyze, FoldingIsForLookUpOnly) {
  const std::string traditional = "他們說漢語\n";
  EXPECT_EQ(OutputOf("seg", traditional), "他們 說 漢 語\n");
  EXPECT_NE(OutputOf("seg --no-fold", traditional), "他們 說 漢 語\n");
  const std::string typographic = "“don’t”\n";
  EXPECT_EQ(OutputOf("tok", typographic), "“ do n’t ”\n");
  EXPECT_NE(OutputOf("tok --no-fold", typographic), "“ do n’t ”\n");
}

TEST_F(Analyze, ProgressIsReportedOnDemand) {
  Put("a", kSentence);
  EXPECT_EQ(OutputOf("seg a --progress"), kWords);
  EXPECT_NE(_err.find("1 lines"), std::string::npos) << _err;
  EXPECT_NE(_err.find("MB/s"), std::string::npos) << _err;
  for (const std::string option : {"", "--no-progress", "--progress --no-progress"}) {
    EXPECT_EQ(OutputOf("seg a " + option), kWords);
    EXPECT_EQ(_err, "") << option;
  }
}

TEST_F(Analyze, SeveralFilesAreReadInOrder) {
  Put("a", "我\n来到");
  Put("b", "北京\n");
  Put("empty", "");
  EXPECT_EQ(OutputOf("seg a - empty b", "清华\n"), "我\n来到\n清华\n北京\n");
  EXPECT_EQ(OutputOf("seg empty"), "");
  EXPECT_EQ(OutputOf("seg -", "我"), "我\n");
  EXPECT_EQ(OutputOf("seg --format tsv a b"),
            "1\t0\t3\t0\t1\t我\n\n2\t0\t6\t0\t2\t来到\n\n3\t0\t6\t0\t2\t北京\n\n");
  for (const std::string name : {"-x", "a b", "n\xFF", "seg", "pos", "x,y", "%%"}) {
    Put(name, "我\n");
    EXPECT_EQ(OutputOf("seg -- '" + name + "'"), "我\n") << name;
  }
}

TEST_F(Analyze, ModelsAreLookedFor) {
  ::unsetenv("TOLVEK_DATA");
  EXPECT_EQ(OutputOf("seg --data " PROJECT_DIR "/data", kSentence), kWords);
  EXPECT_EQ(RunShell("echo 我 | TOLVEK_DATA=" PROJECT_DIR "/data " + Tvk("seg")), 0) << _err;
  fs::create_directory("half");
  Put("half/binarySource", "");
  ::setenv("TOLVEK_DATA", PROJECT_DIR "/data", 1);
  EXPECT_EQ(Run("seg --data half", kSentence), 1);  // the option goes before the environment
  EXPECT_EQ(_out, "");
  EXPECT_NE(_err.find("half"), std::string::npos) << _err;
  EXPECT_NE(_err.find("binarySegModel"), std::string::npos) << _err;
  EXPECT_NE(_err.find("--data"), std::string::npos) << _err;
  ::setenv("TOLVEK_DATA", "nowhere", 1);
  fs::create_symlink(PROJECT_DIR "/data", "data");
  EXPECT_EQ(Run("seg", kSentence), 1);  // the environment before ./data
  EXPECT_NE(_err.find("nowhere"), std::string::npos) << _err;
  ::unsetenv("TOLVEK_DATA");
  EXPECT_EQ(OutputOf("seg", kSentence), kWords);
}

TEST_F(Analyze, WrongUsageGetsTwoLinesAndStatus2) {
  for (const std::string task : {"seg", "tokpos"}) {
    for (const std::string options :
         {"-j 0", "-j 1025", "-j x", "-j -1", "-j", "--format xml", "--encoding latin1",
          "--to big6", "--on-bad-bytes x", "--format jsonl --to gbk", "--format conllu --to big5",
          "--format conllu --on-bad-bytes keep", "--bogus", "--data", "-o", "-o a -o b"}) {
      EXPECT_EQ(Run(task + " " + options), 2) << options;
      EXPECT_EQ(_out, "") << options;
      EXPECT_EQ(CountLines(_err), 2U) << _err;
      EXPECT_TRUE(_err.ends_with("Try 'tvk " + task + " --help'.\n")) << _err;
    }
  }
  for (const std::string threads : {"1", "1024"}) {
    EXPECT_EQ(OutputOf("seg --threads " + threads, kSentence), kWords);
  }
  EXPECT_EQ(OutputOf("seg --format jsonl --to utf-8", "\n"), "{\"line\":1,\"words\":[]}\n");
}

TEST_F(Analyze, FailuresSayWhatIsWrong) {
  fs::create_directory("folder");
  Put("a", kSentence);
  for (const std::string arguments :
       {"seg none", "seg a none", "seg folder", "seg a -o folder", "seg a -o none/b"}) {
    EXPECT_EQ(Run(arguments), 1) << arguments;
    EXPECT_EQ(_out, "") << arguments;
    EXPECT_NE(_err.find(arguments.find("none") != std::string::npos ? "none" : "folder"),
              std::string::npos)
        << _err;
    EXPECT_EQ(CountLines(_err), 1U) << _err;
  }
  EXPECT_EQ(RunShell(Tvk("seg a") + " >/dev/full"), 1);
  EXPECT_NE(_err.find("standard output"), std::string::npos) << _err;
  EXPECT_EQ(Run("seg a -o /dev/full"), 1);
  EXPECT_NE(_err.find("/dev/full"), std::string::npos) << _err;
  EXPECT_EQ(RunShell(Tvk("seg") + " <&-"), 1);
  EXPECT_NE(_err, "");
  EXPECT_EQ(RunShell(Tvk("seg a") + " >&-"), 1);
  EXPECT_NE(_err, "");
}

// Files of results.

TEST_F(Analyze, OutputFileAppearsWholeOrNotAtAll) {
  Put("a", kSentence);
  for (const std::string option : {"-o", "--out"}) {
    EXPECT_EQ(OutputOf("seg a " + option + " result"), "");
    EXPECT_EQ(Get("result"), kWords);
    fs::remove("result");
  }
  Put("bad", kSentence + "\xFF\n");
  EXPECT_EQ(Run("seg bad --on-bad-bytes fail -o result"), 1);
  EXPECT_EQ(Run("seg a none -o result"), 1);
  EXPECT_EQ(Run("seg a --data none -o result"), 1);
  EXPECT_EQ(NamesIn("."), (std::vector<std::string>{"a", "bad", "err.txt", "in.txt", "out.txt"}));
  Put("result", "before");
  EXPECT_EQ(Run("seg bad --on-bad-bytes fail -o result"), 1);
  EXPECT_EQ(Get("result"), "before");
}

TEST_F(Analyze, OutputMayReplaceTheInput) {
  std::string text;
  while (text.size() < 1'000'000) text += Example("chinese.txt");
  Put("a", text);
  const std::string expected = OutputOf("seg a");
  OutputOf("seg a -o a");
  EXPECT_TRUE(Get("a") == expected);
  fs::create_directory("folder");
  Put("folder/b", kSentence);
  fs::create_symlink("folder/b", "link");
  OutputOf("seg link -o link");
  EXPECT_TRUE(fs::is_symlink("link"));
  EXPECT_EQ(Get("folder/b"), kWords);
}

TEST_F(Analyze, DevicesAndPipesAreNotReplaced) {
  Put("a", kSentence);
  EXPECT_EQ(OutputOf("seg a -o /dev/null"), "");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  ASSERT_EQ(::mkfifo("fifo", 0600), 0);
  EXPECT_EQ(RunShell(Tvk("seg a -o fifo") + " & cat fifo; wait"), 0);
  EXPECT_EQ(_out, kWords);
  EXPECT_TRUE(fs::is_fifo("fifo"));
}

// Streams.

TEST_F(Analyze, LinesAreAnsweredAtOnce) {
  for (const std::string threads : {"1", "2", "5"}) {
    Child child(Tvk("seg -j " + threads));
    for (int i = 0; i < 20; ++i) {
      child.Write(kSentence);
      ASSERT_EQ(child.ReadLine(), kWords) << threads;
    }
    child.Write("北京");
    child.CloseInput();
    EXPECT_EQ(child.ReadLine(), "北京\n");
    EXPECT_EQ(child.Wait(), 0);
  }
}

TEST_F(Analyze, LineWithoutEndTakesBoundedMemory) {
  // Freed memory is not held back by a sanitizer.
  const std::string quarantine = "env ASAN_OPTIONS=quarantine_size_mb=1 ";
  for (const std::string arguments : {"seg -j 1", "tok -j 2", "seg -j 2 --format jsonl"}) {
    const auto peak = [&](std::size_t megabytes) {
      Child child(quarantine + Tvk(arguments + " -o /dev/null"));
      const std::string megabyte(1 << 20, 'a');
      for (std::size_t i = 0; i < megabytes; ++i) child.Write(megabyte);
      EXPECT_EQ(child.Wait(), 0);
      return child.PeakMemory();
    };
    EXPECT_LT(peak(8), peak(2) + 6000) << arguments;
  }
}

TEST_F(Analyze, LongLinesAreTheSameFromPipesAndFiles) {
  unsigned seed = 80260;
  std::mt19937 random(seed);
  const auto longLine = [&](const std::string& encoding, bool hasSpaces) {
    std::string line = RandomText(encoding, true, ++seed)(60000);
    std::erase(line, '\n');
    if (!hasSpaces)
      std::erase_if(line, [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); });
    return line;
  };
  for (const std::string encoding : {"utf-8", "gb18030"}) {
    for (const bool hasSpaces : {true, false}) {
      const std::string text =
          "a\n" + longLine(encoding, hasSpaces) + "\nb c\n\n" + longLine(encoding, hasSpaces);
      ASSERT_GT(text.size(), 250'000U);
      for (const std::string format : {"text", "tsv", "jsonl"}) {
        const std::string arguments = "tok -q --keep-spaces --on-bad-bytes keep --encoding " +
                                      encoding + " --format " + format;
        SCOPED_TRACE(arguments + " seed " + std::to_string(seed));
        const std::string expected = OutputOf(arguments, text);
        Child child(Tvk(arguments) + " >piped");
        for (std::size_t at = 0; at < text.size();) {
          const std::size_t size = std::uniform_int_distribution<std::size_t>(1, 9000)(random);
          child.Write(std::string_view(text).substr(at, size));
          at += size;
        }
        EXPECT_EQ(child.Wait(), 0);
        EXPECT_TRUE(Get("piped") == expected);
        if (format == "text") {
          EXPECT_TRUE(PutTogether(ReadText(expected, encoding, false)) == text);
        } else if (format == "tsv") {
          EXPECT_TRUE(PutTogether(ReadTsv(expected, encoding, false, true)) == text);
        }
      }
    }
  }
}

TEST_F(Analyze, NamedPipeIsReadAsAFile) {
  ASSERT_EQ(::mkfifo("fifo", 0600), 0);
  EXPECT_EQ(RunShell("timeout 10 sh -c 'echo 我来到北京 >fifo' & timeout 10 " + Tvk("seg fifo") +
                     "; wait"),
            0);
  EXPECT_EQ(_out, "我 来到 北京\n");
}

TEST_F(Analyze, EveryCodeOfTwoBytesIsKept) {
  for (const std::string encoding : {"gbk", "gb18030", "big5"}) {
    std::string text;
    for (int lead = 0x81; lead < 0xFF; ++lead) {
      for (int trail = 0x40; trail < 0xFF; ++trail) {
        if (trail != 0x7F) text += {static_cast<char>(lead), static_cast<char>(trail), '\n'};
      }
    }
    const std::string arguments =
        "seg -q --keep-spaces --on-bad-bytes keep --encoding " + encoding + " --format ";
    const std::vector<std::string> input = LinesOf(text);
    for (const std::string format : {"text", "tsv", "jsonl"}) {
      const std::string out = OutputOf(arguments + format, text);
      const std::vector<Line> lines = format == "text"  ? ReadText(out, encoding, false)
                                      : format == "tsv" ? ReadTsv(out, encoding, false, true)
                                                        : std::vector<Line>();
      if (format == "jsonl") {
        // Read strictly, a code that Unicode lacks cannot be told from another one.
        EXPECT_EQ(out.find("\uFFFD"), std::string::npos) << encoding;
        continue;
      }
      std::string wrong;
      for (std::size_t i = 0; i < std::min(lines.size(), input.size()); ++i) {
        if (PutTogether({lines[i]}) != input[i] + "\n") wrong += input[i] + " ";
      }
      EXPECT_EQ(wrong, "") << encoding << " " << format;
    }
  }
}

TEST_F(Analyze, ToWritesTheCodesOfTheCLibrary) {
  EXPECT_EQ(OutputOf("seg --to big5", "十\n卅\n"), InEncoding("十\n卅\n", "big5"));
}

TEST_F(Analyze, FailureEndsTheRunWhileTheInputIsIdle) {
  Child bad(Tvk("seg -j 2 --on-bad-bytes fail 2>err.txt"));
  bad.Write("\xFF\n");
  EXPECT_EQ(bad.WaitWithOpenInput(), 1);
  Child full(Tvk("seg -j 2 >/dev/full 2>err.txt"));
  full.Write("a\n");
  EXPECT_EQ(full.WaitWithOpenInput(), 1);
}

TEST_F(Analyze, ClosedStandardStreamsLeaveTheResultAlone) {
  Put("bad", "\xFF\n");
  EXPECT_EQ(RunShell(Tvk("seg bad -o result") + " 2>&-"), 0);
  EXPECT_EQ(Get("result"), "\uFFFD\n");
  Put("a", kSentence);
  EXPECT_EQ(RunShell(Tvk("seg a -o result") + " <&- >&- 2>&-"), 0);
  EXPECT_EQ(Get("result"), kWords);
}

TEST_F(Analyze, ProgressIsAutomaticOnATerminal) {
  Put("a", kSentence);
  const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(terminal, 0);
  ASSERT_EQ(::grantpt(terminal), 0);
  ASSERT_EQ(::unlockpt(terminal), 0);
  const std::string name = ::ptsname(terminal);
  const int held = ::open(name.c_str(), O_RDWR | O_NOCTTY);
  EXPECT_EQ(std::system((Tvk("seg a -o result") + " 2>" + name).c_str()), 0);
  struct pollfd watched {
    terminal, POLLIN, 0
  };
  std::string shown(1000, '\0');
  if (::poll(&watched, 1, 1000) == 1) {
    shown.resize(static_cast<std::size_t>(::read(terminal, shown.data(), shown.size())));
  } else {
    shown.clear();
  }
  ::close(held);
  ::close(terminal);
  EXPECT_NE(shown.find("1 lines"), std::string::npos) << shown;
}

TEST_F(Analyze, FileNamesMayHaveBrackets) {
  for (const std::string name : {"[a]", "[a,b]"}) {
    Put(name, "我\n");
    EXPECT_EQ(OutputOf("seg '" + name + "'"), "我\n");
  }
}

TEST_F(Analyze, PartsOfLongLinesDoNotShow) {
  EXPECT_EQ(OutputOf("seg", std::string(70'000, ' ') + "我\n"), "我\n");
  EXPECT_EQ(OutputOf("seg", "\uFEFF" + std::string(70'000, ' ') + "我\n"), "我\n");
  std::string spaces;
  for (int i = 0; i < 22'000; ++i) spaces += "\u3000";
  EXPECT_EQ(OutputOf("seg", spaces + "我\n"), "我\n");
  // A byte-order mark is white space at the beginning of a line only.
  const std::string filling(65'536, 'a');
  EXPECT_EQ(OutputOf("tok", filling + "\uFEFFb\n"), filling + " \uFEFFb\n");
  // The line goes on without white space.
  const std::string out = OutputOf("tok --format conllu", filling + "b bb\n");
  EXPECT_NE(out.find("a\t_\t_\t_\t_\t_\t_\t_\tSpaceAfter=No\n\n# sent_id = 1.2"),
            std::string::npos);
}

TEST_F(Analyze, NothingOfALineWithBadBytesIsWritten) {
  EXPECT_EQ(Run("seg --on-bad-bytes fail", "a\nb\xFF\n"), 1);
  EXPECT_EQ(_out, "a\n");
  // Of a very long line, the parts before are there: they may have been read long ago.
  const std::string part(65'536, 'b');
  EXPECT_EQ(Run("seg --on-bad-bytes fail", "a\n" + part + "bbbbb\xFF\n"), 1);
  EXPECT_EQ(_out, "a\n" + part);
}

TEST_F(Analyze, ReplacementsAreThoseThatAreTold) {
  OutputOf("seg --encoding gb18030", "\xFF\n");
  EXPECT_NE(_err.find("U+FFFD"), std::string::npos) << _err;
  EXPECT_EQ(OutputOf("seg --encoding gbk", "\xFF\n"), InEncoding("〓\n", "gbk"));
  EXPECT_NE(_err.find("U+3013"), std::string::npos) << _err;
  EXPECT_EQ(OutputOf("seg --encoding big5", "\xFF\n"), InEncoding("□\n", "big5"));
  EXPECT_NE(_err.find("U+25A1"), std::string::npos) << _err;
}

TEST_F(Analyze, TheLastFileTellsWhetherALineFeedEndsAll) {
  Put("a", "我");
  Put("b", "你");
  EXPECT_EQ(OutputOf("seg --keep-spaces a b"), "我\n你");
  Put("empty", "");
  EXPECT_EQ(OutputOf("seg --keep-spaces a empty"), "我\n");
}

TEST_F(Analyze, WhatIsOpenAlreadyIsAddedTo) {
  Put("a", "我\n");
  for (const char* out : {"/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"}) {
    Put("log", "start\n");
    EXPECT_EQ(RunShell("exec >>log; " + Tvk(std::string("seg a -o ") + out) + "; echo end"), 0);
    EXPECT_EQ(Get("log"), "start\n我\nend\n") << out;
  }
}

TEST_F(Analyze, WhatWasReadBeforeAFailureIsWritten) {
  Put("a", "我\n");
  for (const char* threads : {"1", "2"}) {
    EXPECT_EQ(Run(std::string("seg a a a a a a /proc/self/mem -j ") + threads), 1);
    EXPECT_EQ(_out, "我\n我\n我\n我\n我\n我\n") << threads;
    EXPECT_NE(_err.find("/proc/self/mem: "), std::string::npos) << _err;
  }
}

TEST_F(Analyze, AnOutputThatCannotBeIsToldBeforeTheWork) {
  fs::create_directory("folder");
  EXPECT_EQ(Run("seg none -o folder"), 1);
  EXPECT_EQ(_err, "tvk: folder: is a folder, not a file\n");
  EXPECT_EQ(Run("seg none -o nowhere/result"), 1);
  EXPECT_EQ(_err, "tvk: nowhere/result: cannot be written (No such file or directory)\n");
}

TEST_F(Analyze, TheOutputIsNoInput) {
  Put("a", "我\n");
  EXPECT_EQ(RunShell(Tvk("seg a") + " >>a"), 1);
  EXPECT_EQ(Get("a"), "我\n");
}

TEST_F(Analyze, PartsOfLongLinesAreTold) {
  OutputOf("seg", "a\n" + std::string(200'000, 'b') + "\n");
  EXPECT_EQ(_err, "tvk: lines of more than 65536 bytes: 1, done in parts; at standard input:2\n");
}

TEST_F(Analyze, DanglingLinkStaysALink) {
  Put("a", kSentence);
  fs::create_symlink("target", "link");
  OutputOf("seg a -o link");
  EXPECT_TRUE(fs::is_symlink("link"));
  EXPECT_EQ(Get("target"), kWords);
}

TEST_F(Analyze, ReplacedFileKeepsItsPermissions) {
  Put("a", kSentence);
  Put("result", "");
  ASSERT_EQ(::chmod("result", 0600), 0);
  OutputOf("seg a -o result");
  EXPECT_EQ(static_cast<unsigned>(fs::status("result").permissions()), 0600U);
}

TEST_F(Analyze, BrokenModelIsAFailureAndLeavesNothing) {
  fs::create_directory("models");
  for (const auto& entry : fs::directory_iterator(PROJECT_DIR "/data")) {
    fs::copy(entry.path(), "models" / entry.path().filename());
  }
  // A feature of 0x404 bytes: one that ends the core's loader.
  Put("models/binarySegModel",
      "#bin,model\1" + std::string("\0\0\0\4\4\0\0", 7) + std::string(3000, 'a'));
  const std::vector<std::string> before = NamesIn(".");
  EXPECT_EQ(Run("seg --data models -o result", kSentence), 1);
  EXPECT_TRUE(
      _err.ends_with(" in the Model File: models/binarySegModel\n"
                     "tvk: models/binarySegLM or models/binarySegModel: cut or malformed "
                     "(tvk check models tells what is wrong)\n"))
      << _err;
  EXPECT_FALSE(fs::exists("result"));
  fs::remove("in.txt");
  fs::remove("out.txt");
  fs::remove("err.txt");
  EXPECT_EQ(NamesIn("."), before);
}

TEST_F(Analyze, MalformedModelThatLoadsIsTold) {
  fs::create_directory("models");
  for (const char* name : {"abbtitle", "binaryEngPosModel"}) {
    fs::copy(fs::path(PROJECT_DIR "/data") / name, fs::path("models") / name);
  }
  Put("models/EngDict", "1\ncats 1 NO-SUCH-TAG\n");
  EXPECT_EQ(Run("tokpos --data models", "dogs\n"), 0) << _err;
  for (const char* threads : {"1", "2"}) {
    EXPECT_EQ(Run(std::string("tokpos --data models --threads ") + threads, "cats\n"), 1);
    EXPECT_TRUE(_err.ends_with(
        "\ntvk: a model in models: cut or malformed (tvk check models tells what is wrong)\n"))
        << _err;
  }
}

}  // namespace
}  // namespace Tolvek
