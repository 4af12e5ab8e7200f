// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/OutputFile.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"

namespace Tolvek {

OutputFile::OutputFile(const std::string& path, const std::string& name)
    : _name(name == "-" ? "standard output" : name),
      _file(path == "-" ? STDOUT_FILENO
                        : ::open(path.c_str(),
                                 O_WRONLY | O_CREAT | O_CLOEXEC |
                                     (IsReplaceable(path) ? O_TRUNC : O_APPEND),
                                 0666)) {
  if (_file < 0) throw Failure(_name + ": " + std::strerror(errno));
}

OutputFile::~OutputFile() {
  if (_file > STDERR_FILENO) ::close(_file);
}

void OutputFile::Close() {
  if (_file <= STDERR_FILENO) return;
  const bool isWritten = ::close(_file) == 0;
  _file = -1;
  if (!isWritten) throw Failure(_name + ": " + std::strerror(errno));
}

void OutputFile::FailAsUnread() const {
  ::raise(SIGPIPE);
  throw Failure(_name + ": " + std::strerror(EPIPE));
}

void OutputFile::Write(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t written = ::write(_file, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {  // a pipe that somebody else has set so
      struct pollfd ready {
        _file, POLLOUT, 0
      };
      ::poll(&ready, 1, -1);
    } else if (errno != EINTR) {
      throw Failure(_name + ": " + std::strerror(errno));
    }
  }
}

}  // namespace Tolvek
