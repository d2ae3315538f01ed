#pragma once

// Whether one Icon Shelf row matches one typed query, and how well: by name, by bundle
// identifier, or by the pinyin initials of a Chinese name ("wx" finds 微信). Pure.

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvolo::DrawerSearch {

// The comparison form of a text: case and accents folded the same in every locale, trimmed.
std::string fold(std::string_view text);

// The lower-case initials of a name that uses the pinyin table at least once; absent for a name
// without a mapped Han character or with any other character outside Latin.
std::optional<std::string> pinyinInitials(std::string_view name);

// 0 exact (or an empty query), 1 prefix, 2 substring of the name, 3 substring of the bundle
// identifier, 4 substring of the pinyin initials; absent when nothing matches. Lower is better.
std::optional<int> rank(std::string_view query, std::string_view name, std::string_view bundleID);
// The same for a query already folded, so a list is ranked with one fold of the query.
std::optional<int> rankFolded(std::string_view foldedQuery, std::string_view name, std::string_view bundleID);

// A row's name and bundle identifier in comparison form, with the initials of its name: folded
// once when the rows change, so a keystroke only compares.
struct SearchKey {
  std::string name;
  std::string bundleID;
  std::optional<std::string> initials;
};
SearchKey searchKey(std::string_view name, std::string_view bundleID);
// The rank of `rankFolded` for a prepared row.
std::optional<int> rankKey(std::string_view foldedQuery, const SearchKey& key);

// The matching items, best rank first; equal ranks keep their input order.
template <typename T, typename NameOf, typename BundleOf>
std::vector<T> ordered(const std::vector<T>& items, std::string_view query, NameOf name, BundleOf bundleID) {
  const std::string folded = fold(query);
  std::vector<std::pair<int, std::size_t>> ranked;
  ranked.reserve(items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (auto r = rankFolded(folded, std::invoke(name, items[i]), std::invoke(bundleID, items[i]))) {
      ranked.emplace_back(*r, i);
    }
  }
  std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<T> out;
  out.reserve(ranked.size());
  for (const auto& [r, index] : ranked) out.push_back(items[index]);
  return out;
}

// `ordered` over rows prepared with `searchKey`; `keys[i]` belongs to `items[i]`.
template <typename T>
std::vector<T> ordered(const std::vector<T>& items, const std::vector<SearchKey>& keys, std::string_view query) {
  const std::string folded = fold(query);
  std::vector<std::pair<int, std::size_t>> ranked;
  ranked.reserve(items.size());
  for (std::size_t i = 0; i < items.size() && i < keys.size(); ++i) {
    if (auto r = rankKey(folded, keys[i])) ranked.emplace_back(*r, i);
  }
  std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<T> out;
  out.reserve(ranked.size());
  for (const auto& [r, index] : ranked) out.push_back(items[index]);
  return out;
}

}  // namespace tarvolo::DrawerSearch
