// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

namespace Tolvek {

/// Do the tag histories of two states agree from the given place on?
template <class State>
bool Agree(const State& a, const State& b, std::size_t from) {
  for (std::size_t i = from; i < a.tags.size(); ++i) {
    if (a.tags[i] != b.tags[i]) return false;
  }
  return true;
}

/// The decoders' recombination, plainly: all pairs of candidates in order, the better one of two
/// whose histories agree but for the oldest tag stays. States have `tags` and a `score`.
template <class State>
void Recombine(std::vector<State>& candidates) {
  std::vector<bool> removed(candidates.size(), false);
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    if (removed[i]) continue;
    for (std::size_t j = i + 1; j < candidates.size(); ++j) {
      if (removed[j] || !Agree(candidates[i], candidates[j], 1)) continue;
      if (candidates[j].score > candidates[i].score) {
        removed[i] = true;
        break;
      }
      if (candidates[i].score > candidates[j].score || Agree(candidates[i], candidates[j], 0)) {
        removed[j] = true;
      }
    }
  }
  std::vector<State> kept;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    if (!removed[i]) kept.push_back(candidates[i]);
  }
  candidates = kept;
}

}  // namespace Tolvek
