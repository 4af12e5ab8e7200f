// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/TokenAlignment.h"

#include <cstddef>
#include <numeric>

namespace Tolvek {

namespace {

std::string Joined(const std::vector<std::string>& words) {
  return std::accumulate(words.begin(), words.end(), std::string());
}

}  // namespace

std::optional<std::vector<std::string>> AlignTags(const Sentence& gold,
                                                  const std::vector<std::string>& tokens) {
  if (Joined(gold.words) != Joined(tokens)) return std::nullopt;
  std::vector<std::string> tags;
  std::size_t begin = 0;
  std::size_t goldBegin = 0;
  std::size_t next = 0;  // the first gold word that does not begin before `begin`
  for (const std::string& token : tokens) {
    for (; goldBegin < begin; ++next) goldBegin += gold.words[next].size();
    const bool isGold =
        goldBegin == begin && next < gold.words.size() && gold.words[next].size() == token.size();
    tags.push_back(isGold ? gold.tags[next] : "");
    begin += token.size();
  }
  return tags;
}

}  // namespace Tolvek
