// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tbb/global_control.h>
#include <tbb/parallel_pipeline.h>

#include <cstddef>
#include <memory>

namespace Tolvek {

/// Reads items one after another, works on several at a time, and writes the results in the order
/// of the items. `read(Input&)` is false at the end; `work(const Input&, Output&)` is called on up
/// to `threads` threads; `write(const Output&)` is not called by two at once. Few items are held at
/// a time, so memory stays bounded. Exceptions come out here.
template <class Input, class Output, class Read, class Work, class Write>
void RunOrdered(int threads, const Read& read, const Work& work, const Write& write) {
  if (threads <= 1) {
    Input input;
    Output output;
    while (read(input)) {
      work(input, output);
      write(output);
    }
    return;
  }
  const auto count = static_cast<std::size_t>(threads);
  const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, count);
  using tbb::filter_mode;
  tbb::parallel_pipeline(
      3 * count, tbb::make_filter<void, std::shared_ptr<Input>>(filter_mode::serial_in_order,
                                                                [&](tbb::flow_control& control) {
                                                                  auto input =
                                                                      std::make_shared<Input>();
                                                                  if (!read(*input)) control.stop();
                                                                  return input;
                                                                }) &
                     tbb::make_filter<std::shared_ptr<Input>, std::shared_ptr<Output>>(
                         filter_mode::parallel,
                         [&](const std::shared_ptr<Input>& input) {
                           auto output = std::make_shared<Output>();
                           work(*input, *output);
                           return output;
                         }) &
                     tbb::make_filter<std::shared_ptr<Output>, void>(
                         filter_mode::serial_in_order,
                         [&](const std::shared_ptr<Output>& output) { write(*output); }));
}

}  // namespace Tolvek
