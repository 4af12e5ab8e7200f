// SPDX-License-Identifier: Apache-2.0
#include "tvk/analyze/Run.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <mutex>
#include <ostream>

#include "tvk/analyze/Analyzer.h"
#include "tvk/analyze/Folding.h"
#include "tvk/analyze/Models.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/text/LineBlocks.h"
#include "tvk/text/OrderedPipeline.h"
#include "tvk/text/OutputFile.h"
#include "tvk/text/Progress.h"

namespace Tolvek {

namespace {

/// Where a character stands.
struct Place {
  std::size_t file;  ///< which one, from 0
  std::size_t line;  ///< there, from 1
  std::size_t byte;  ///< in the line, from 1; 0: the line as a whole
};

/// How many characters there were of some kind, and where the first ones stand.
struct Places {
  static constexpr std::size_t kMostShown = 5;

  std::size_t count = 0;
  std::vector<Place> first;

  void Add(const Place& place) {
    ++count;
    if (first.size() < kMostShown) first.push_back(place);
  }
  void Add(const Places& later) {
    count += later.count;
    for (const Place& place : later.first) {
      if (first.size() < kMostShown) first.push_back(place);
    }
  }
};

/// What the user should know of the text.
struct Remarks {
  Places malformed;  ///< bytes that are no characters
  Places lacking;    ///< characters that the output's encoding lacks
  Places cut;        ///< lines done in parts

  void Add(const Remarks& later) {
    malformed.Add(later.malformed);
    lacking.Add(later.lacking);
    cut.Add(later.cut);
  }
};

/// A block, done.
struct BlockResult {
  std::string text;
  Remarks remarks;
  bool isStopped = false;  ///< at the first remark that is a failure: the text ends before it
  std::size_t lines = 0;
  std::size_t bytes = 0;

  void Clear() {
    std::string memory = std::move(text);
    memory.clear();
    *this = {};
    text = std::move(memory);
  }
};

/// Does the blocks of one thread.
class BlockWorker {
 public:
  BlockWorker(Task task, const Models& models, const Folding& folding, const Charset& charset,
              const LineWriter& writer, BadBytes badBytes)
      : _analyzer(task, models, folding),
        _charset(charset),
        _writer(writer),
        _failsOnBadBytes(badBytes == BadBytes::kFail) {}

  void operator()(const LineBlock& block, BlockResult& result) {
    result.Clear();
    result.bytes = block.bytes.size();
    std::string_view rest = block.bytes;
    AnalyzedLine line{};
    line.number = block.line;
    line.part = block.part;
    line.firstByte = block.firstByte;
    line.firstCharacter = block.firstCharacter;
    line.isBlankBefore = block.isBlankBefore;
    Place place{block.file, block.lineOfFile, 0};
    while (!rest.empty() && !result.isStopped) {
      const std::size_t end = std::min(rest.find('\n'), rest.size());
      line.hasLineFeed = end < rest.size() || !block.isLast;
      const bool goesOn = end == rest.size() && block.isCut;
      DoLine(rest.substr(0, end), goesOn, place, line, result);
      rest.remove_prefix(std::min(end + 1, rest.size()));
      if (!goesOn) ++result.lines;
      ++line.number;
      ++place.line;
      line.part = line.firstByte = line.firstCharacter = 0;
      line.isBlankBefore = true;
    }
  }

 private:
  /// Does what is left of a line: all of it, or, where the line goes on in another block, a part.
  void DoLine(std::string_view text, bool goesOn, Place place, AnalyzedLine& line,
              BlockResult& result) {
    do {
      const std::size_t length = goesOn ? text.size() : PartLength(text, _charset);
      line.isLast = !goesOn && length == text.size();
      if (line.part == 0 && !line.isLast) line.part = 1;
      line.bytes = text.substr(0, length);
      line.isClean = _charset.Decode(line.bytes, _characters);
      if (line.part == 1) result.remarks.cut.Add(place);
      if (_writer.MayReplace(line)) Inspect(line, place, result);
      if (result.isStopped) return;
      line.characters = _characters;
      line.tokens = _analyzer(_characters, line.firstByte == 0);
      _writer.Append(line, result.text);
      line.isBlankBefore = line.isBlankBefore && IsBlank(_characters);
      text.remove_prefix(length);
      ++line.part;
      line.firstByte += length;
      line.firstCharacter += _characters.size();
    } while (!text.empty());
  }

  void Inspect(const AnalyzedLine& line, Place place, BlockResult& result) const {
    place.byte = line.firstByte + 1;
    for (const Character& character : _characters) {
      const bool isMalformed = IsMalformed(character.code);
      if (isMalformed || _writer.IsReplaced(character.code)) {
        (isMalformed ? result.remarks.malformed : result.remarks.lacking).Add(place);
        result.isStopped = _failsOnBadBytes;
        if (result.isStopped) return;
      }
      place.byte += character.length;
    }
  }

  Analyzer _analyzer;
  const Charset& _charset;
  const LineWriter& _writer;
  bool _failsOnBadBytes;
  std::vector<Character> _characters;
};

/// One worker for each thread that asks.
class Workers {
 public:
  explicit Workers(std::function<std::unique_ptr<BlockWorker>()> make) : _make(std::move(make)) {}

  void operator()(const LineBlock& block, BlockResult& result) {
    std::unique_ptr<BlockWorker> worker = Take();
    (*worker)(block, result);
    const std::lock_guard lock(_mutex);
    _idle.push_back(std::move(worker));
  }

 private:
  std::unique_ptr<BlockWorker> Take() {
    {
      const std::lock_guard lock(_mutex);
      if (!_idle.empty()) {
        auto worker = std::move(_idle.back());
        _idle.pop_back();
        return worker;
      }
    }
    return _make();
  }

  std::function<std::unique_ptr<BlockWorker>()> _make;
  std::mutex _mutex;
  std::vector<std::unique_ptr<BlockWorker>> _idle;
};

class Reporter {
 public:
  Reporter(const std::vector<std::string>& paths, const Charset& from, const Charset& to)
      : _paths(paths), _from(from.Name()), _to(to.Name()), _mark(to.ReplacementName()) {}

  /// Throws what `--on-bad-bytes fail` asks for.
  [[noreturn]] void Fail(const Remarks& remarks) const {
    const bool isMalformed = remarks.malformed.count > 0;
    const Place& place = (isMalformed ? remarks.malformed : remarks.lacking).first.front();
    throw Failure(Show(place) + ": " +
                  (isMalformed ? "a byte that is not " + _from +
                                     " (line:byte; is the text in another encoding? see --encoding)"
                               : "a character that " + _to + " lacks (line:byte; see --to)"));
  }

  void Warn(const Remarks& remarks, BadBytes badBytes, std::ostream& out) const {
    const std::string replaced = ", replaced by " + _mark + "; at (line:byte) ";
    const std::string kept = ", kept; at (line:byte) ";
    Warn("bytes that are not " + _from, remarks.malformed,
         badBytes == BadBytes::kKeep ? kept : replaced, out);
    Warn("characters that " + _to + " lacks", remarks.lacking, replaced, out);
    Warn("lines of more than " + std::to_string(kLongestPart) + " bytes", remarks.cut,
         ", done in parts; at ", out);
  }

 private:
  void Warn(const std::string& what, const Places& places, const std::string& done,
            std::ostream& out) const {
    if (places.count == 0) return;
    out << "tvk: " << what << ": " << places.count << done;
    const char* separator = "";
    for (const Place& place : places.first) {
      out << separator << Show(place);
      separator = ", ";
    }
    out << (places.count > places.first.size() ? ", ..." : "") << std::endl;
  }

  std::string Show(const Place& place) const {
    const std::string& path = _paths[place.file];
    return (path == "-" ? "standard input" : path) + ":" + std::to_string(place.line) +
           (place.byte > 0 ? ":" + std::to_string(place.byte) : "");
  }

  const std::vector<std::string>& _paths;
  std::string _from;
  std::string _to;
  std::string _mark;
};

}  // namespace

void RunTask(const RunOptions& options) {
  const Charset& from = Charset::Of(options.encoding);
  const LineWriter writer(
      {options.format, options.keepsSpaces, Tags(options.task), options.badBytes}, from,
      Charset::Of(options.outputEncoding.value_or(options.encoding)));
  CheckWritable(options.output);
  // Before anything of the output is made.
  const Models models(options.task, FindResources(options.data, ResourcesOf(options.task)));
  const Folding folding(options.folds);
  Workers workers([&] {
    return std::make_unique<BlockWorker>(options.task, models, folding, from, writer,
                                         options.badBytes);
  });

  const auto run = [&](const std::string& path) {
    OutputFile output(path);
    LineBlocks blocks(options.inputs, from, options.output == "-" ? output.Descriptor() : -1);
    Progress progress(options.showsProgress ? options.messages : nullptr, options.isTerminal, "tvk",
                      blocks.TotalSize());
    const Reporter reporter(blocks.Paths(), from, writer.Target());
    Remarks remarks;
    std::exception_ptr readFailure;
    // A failure must not wait for input that may never come.
    const auto stopsAtFailure = [&](const auto& step) {
      try {
        step();
      } catch (...) {
        blocks.Stop();
        throw;
      }
    };
    RunOrdered<LineBlock, BlockResult>(
        options.threads,
        [&](LineBlock& block) {
          try {
            return blocks.Next(block);
          } catch (...) {  // what was read before is finished first
            readFailure = std::current_exception();
            return false;
          }
        },
        [&](const LineBlock& block, BlockResult& result) {
          stopsAtFailure([&] { workers(block, result); });
        },
        [&](const BlockResult& result) {
          stopsAtFailure([&] {
            output.Write(result.text);
            if (output.IsAbandoned()) blocks.Stop();
            progress.Add(result.lines, result.bytes);
            remarks.Add(result.remarks);
            if (result.isStopped) reporter.Fail(result.remarks);
          });
        });
    if (readFailure) std::rethrow_exception(readFailure);
    output.Close();
    progress.End();
    if (options.messages != nullptr) reporter.Warn(remarks, options.badBytes, *options.messages);
    return true;
  };
  if (options.output == "-") {
    run("-");
  } else {
    WriteBeside(options.output, run);
  }
}

}  // namespace Tolvek
