// SPDX-License-Identifier: Apache-2.0
#include "common/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace Tolvek {

void HoldStandardStreams() {
  for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(file, F_GETFD) >= 0) continue;
    const int opened = ::open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    if (opened >= 0 && opened != file) ::close(opened);
  }
}

}  // namespace Tolvek
