// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/TagDictionaryBuilder.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace Tolvek {

namespace {

int Total(const std::map<std::string, int>& tags) {
  return std::accumulate(tags.begin(), tags.end(), 0,
                         [](int sum, const auto& tag) { return sum + tag.second; });
}

}  // namespace

void TagDictionaryBuilder::Count(const std::string& key, const std::string& tag, int count) {
  _counts[key][tag] += count;
}

const std::map<std::string, int>* TagDictionaryBuilder::Find(const std::string& key) const {
  const auto found = _counts.find(key);
  return found == _counts.end() ? nullptr : &found->second;
}

void TagDictionaryBuilder::Keep(const TagDictionaryOptions& options) {
  std::erase_if(_counts,
                [&](const auto& entry) { return Total(entry.second) < options.leastCount; });
  for (auto& [key, tags] : _counts) {
    const double least = options.leastShare * Total(tags);
    std::erase_if(tags, [&](const auto& tag) { return tag.second < least; });
  }
}

void TagDictionaryBuilder::Add(const TagDictionaryBuilder& other) {
  for (const auto& [key, tags] : other._counts) {
    for (const auto& [tag, count] : tags) Count(key, tag, count);
  }
}

std::string TagDictionaryBuilder::Section() const {
  std::string section = std::to_string(_counts.size()) + '\n';
  for (const auto& [key, tags] : _counts) {
    std::vector<std::pair<std::string, int>> listed(tags.begin(), tags.end());
    std::stable_sort(listed.begin(), listed.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    section += key + ' ' + std::to_string(Total(tags));
    for (const auto& [tag, count] : listed) section += ' ' + tag;
    section += '\n';
  }
  return section;
}

}  // namespace Tolvek
