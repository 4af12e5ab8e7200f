// SPDX-License-Identifier: Apache-2.0
#include "common/LineLoop.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <ostream>
#include <string_view>

#include "common/Globals.h"

namespace Tolvek {

namespace {

/// The output: one call of the system writes a line. From the first failure on, which may be that
/// the file cannot be opened, all is lost silently. A stream does the same, after one more copy and
/// several more calls.
class UnbufferedFile {
 public:
  explicit UnbufferedFile(const std::string& path)
      : _file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)),
        _good(_file >= 0) {}
  ~UnbufferedFile() {
    if (_file >= 0) ::close(_file);
  }
  UnbufferedFile(const UnbufferedFile&) = delete;
  UnbufferedFile& operator=(const UnbufferedFile&) = delete;

  void Write(std::string_view bytes) {
    while (_good && !bytes.empty()) {
      const ssize_t written = ::write(_file, bytes.data(), bytes.size());
      if (written > 0) {
        bytes.remove_prefix(static_cast<std::size_t>(written));
      } else {
        _good = written < 0 && errno == EINTR;
      }
    }
  }

 private:
  int _file;
  bool _good;
};

}  // namespace

void ProcessLines(std::ifstream& in, const std::string& outPath, const LineLoop& loop,
                  const std::function<void(std::string& line, std::string& result)>& process) {
  UnbufferedFile out(outPath);
  std::ostream nowhere(nullptr);
  std::ostream& report = loop.report != nullptr ? *loop.report : nowhere;
  report << "Processing:" << std::endl;
  std::uint32_t count = 0;
  std::string line;
  std::string result;
  while (std::getline(in, line)) {
    ++count;
    if (count % loop.dotEvery == 0) {
      report << "." << std::flush;
      if (count % loop.countEvery == 0) report << "\t" << count << loop.unit << std::endl;
    }
    TrimLine(line);
    if (line.empty() && loop.dropBlankLines) continue;
    result.clear();
    if (!line.empty()) process(line, result);
    result += '\n';
    out.Write(result);
  }
  report << std::endl << count << " sentences in total." << std::endl;
}

}  // namespace Tolvek
