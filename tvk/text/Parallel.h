// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <exception>
#include <thread>
#include <vector>

namespace Tolvek {

/// Calls `work(begin, end)` for consecutive parts of [0, count), on up to `threads` threads. Where
/// the parts lie depends on the number of threads, so `work` must compute each index by itself;
/// sums over indices are made afterwards, in order. Exceptions come out here.
template <class Work>
void ParallelFor(int threads, std::size_t count, const Work& work) {
  const std::size_t parts = std::clamp<std::size_t>(static_cast<std::size_t>(std::max(threads, 1)),
                                                    1, std::max<std::size_t>(count, 1));
  if (parts == 1) {
    work(std::size_t{0}, count);
    return;
  }
  std::vector<std::exception_ptr> errors(parts);
  {
    std::vector<std::thread> workers;
    for (std::size_t part = 0; part < parts; ++part) {
      workers.emplace_back([&, part] {
        try {
          work(count * part / parts, count * (part + 1) / parts);
        } catch (...) {
          errors[part] = std::current_exception();
        }
      });
    }
    for (std::thread& worker : workers) worker.join();
  }
  for (const std::exception_ptr& error : errors) {
    if (error) std::rethrow_exception(error);
  }
}

}  // namespace Tolvek
