// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tbb/concurrent_queue.h>
#include <tbb/global_control.h>
#include <tbb/parallel_pipeline.h>

#include <cstddef>
#include <stdexcept>
#include <vector>

#include "tvk/text/HandOver.h"

namespace Tolvek {

/// Reads items one after another, works on several at a time, and writes the results in the order
/// of the items. `read(Input&)` is false at the end; `work(const Input&, Output&)` is called on up
/// to `threads` threads; `write(const Output&)` is not called by two at once. Few items are held at
/// a time, and used again with the memory they have, so memory stays bounded. Exceptions come out
/// here.
template <class Input, class Output, class Read, class Work, class Write>
void RunOrdered(int threads, const Read& read, const Work& work, const Write& write) {
  struct Item {
    Input input;
    Output output;
    HandOver handOver;
  };
  if (threads <= 1) {
    Item item;
    while (read(item.input)) {
      work(item.input, item.output);
      write(item.output);
    }
    return;
  }
  const auto count = static_cast<std::size_t>(threads);
  const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, count);
  std::vector<Item> items(3 * count);
  tbb::concurrent_queue<Item*> idle;
  for (Item& item : items) idle.push(&item);
  HandOver reader;
  HandOver writer;
  using tbb::filter_mode;
  tbb::parallel_pipeline(
      items.size(),
      tbb::make_filter<void, Item*>(filter_mode::serial_in_order, [&](tbb::flow_control& control) {
        const Turn readerTurn(reader);
        Item* item = nullptr;
        // As many items are under way at most as there are.
        if (!idle.try_pop(item)) throw std::logic_error("no item is idle");
        const Turn turn(item->handOver);
        if (!read(item->input)) control.stop();
        return item;
      }) & tbb::make_filter<Item*, Item*>(filter_mode::parallel, [&](Item* item) {
        const Turn turn(item->handOver);
        work(item->input, item->output);
        return item;
      }) & tbb::make_filter<Item*, void>(filter_mode::serial_in_order, [&](Item* item) {
        const Turn writerTurn(writer);
        {
          const Turn turn(item->handOver);
          write(item->output);
        }
        idle.push(item);
      }));
}

}  // namespace Tolvek
