// SPDX-License-Identifier: Apache-2.0
#include "tvk/analyze/Run.h"

#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>

#include "tvk/analyze/BlockWorker.h"
#include "tvk/analyze/Folding.h"
#include "tvk/analyze/Models.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/text/LineBlocks.h"
#include "tvk/text/OrderedPipeline.h"
#include "tvk/text/OutputFile.h"
#include "tvk/text/Progress.h"
#include "tvk/text/StopBySignal.h"

namespace Tolvek {

namespace {

/// What one thread works with.
struct Worker {
  Worker(const RunOptions& options, const Models& models, const Folding& folding,
         const Charset& charset, const LineWriter& writer)
      : analyzer(options.task, models, folding),
        work(analyzer, charset, writer, options.badBytes) {}

  Analyzer analyzer;
  BlockWorker work;
};

/// One worker for each thread that asks.
class Workers {
 public:
  explicit Workers(std::function<std::unique_ptr<Worker>()> make) : _make(std::move(make)) {}

  void operator()(const LineBlock& block, BlockResult& result) {
    std::unique_ptr<Worker> worker = Take();
    worker->work(block, result);
    const std::lock_guard lock(_mutex);
    _idle.push_back(std::move(worker));
  }

 private:
  std::unique_ptr<Worker> Take() {
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

  std::function<std::unique_ptr<Worker>()> _make;
  std::mutex _mutex;
  std::vector<std::unique_ptr<Worker>> _idle;
};

class Reporter {
 public:
  Reporter(const std::vector<std::string>& paths, const Charset& from, const Charset& to)
      : _paths(paths), _from(from.Name()), _to(to.Name()), _mark(to.ReplacementName()) {}

  /// Throws what `--on-bad-bytes fail` asks for.
  [[noreturn]] void Fail(const Remarks& remarks) const {
    const bool isMalformed = remarks.malformed.count > 0;
    const TextPlace& place = (isMalformed ? remarks.malformed : remarks.lacking).first.front();
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
  void Warn(const std::string& what, const TextPlaces& places, const std::string& done,
            std::ostream& out) const {
    if (places.count == 0) return;
    out << "tvk: " << what << ": " << places.count << done;
    const char* separator = "";
    for (const TextPlace& place : places.first) {
      out << separator << Show(place);
      separator = ", ";
    }
    out << (places.count > places.first.size() ? ", ..." : "") << std::endl;
  }

  std::string Show(const TextPlace& place) const {
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
  Workers workers([&] { return std::make_unique<Worker>(options, models, folding, from, writer); });

  const auto run = [&](const std::string& path) {
    OutputFile output(path, options.output);
    LineBlocks blocks(options.inputs, from, &output);
    std::optional<StopBySignal> stop;
    if (path == options.output) stop.emplace(blocks);  // else no part of the result is kept
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
            if (stop) StopBySignal::Extend();
            progress.Add(result.lines, result.bytes);
            remarks.Add(result.remarks);
            if (result.isStopped) reporter.Fail(result.remarks);
          });
        });
    if (stop) StopBySignal::Follow();
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
