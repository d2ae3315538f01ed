#include "shelf/MenuBarAccessPolicy.h"

#include <algorithm>

namespace tarvolo::MenuBarAccessPolicy {

namespace {

template <typename Predicate>
std::vector<std::size_t> indicesWhere(std::size_t count, Predicate matches) {
  std::vector<std::size_t> out;
  for (std::size_t i = 0; i < count; ++i) {
    if (matches(i)) out.push_back(i);
  }
  return out;
}

}  // namespace

std::set<std::string> retainedItemIDs(const std::map<std::string, std::string>& knownOwners,
                                      const std::set<std::string>& observedOwners,
                                      const std::set<std::string>& liveOwners) {
  std::set<std::string> out;
  for (const auto& [id, owner] : knownOwners) {
    if (liveOwners.contains(owner) && !observedOwners.contains(owner)) out.insert(id);
  }
  return out;
}

bool hiddenItemsLeaveAccessibilityTree(int osMajorVersion) { return osMajorVersion >= 27; }

std::optional<std::string> nextSelection(const std::optional<std::string>& current, const std::vector<std::string>& ids,
                                         int delta) {
  if (ids.empty()) return std::nullopt;
  auto found = current ? std::find(ids.begin(), ids.end(), *current) : ids.end();
  if (found == ids.end()) return delta < 0 ? ids.back() : ids.front();
  const auto last = static_cast<long long>(ids.size()) - 1;
  const auto index = std::clamp(static_cast<long long>(found - ids.begin()) + delta, 0LL, last);
  return ids[static_cast<std::size_t>(index)];
}

std::optional<std::size_t> matchingItemIndex(const MatchingInput& input) {
  const auto& identifiers = input.identifiers;
  const auto& titles = input.titles;
  if (identifiers.size() != titles.size()) return std::nullopt;
  const std::size_t count = titles.size();
  if (input.originalID && !input.originalID->empty()) {
    auto byID = indicesWhere(count, [&](std::size_t i) { return identifiers[i] == input.originalID; });
    if (byID.size() == 1) return byID.front();
    if (byID.size() > 1) return std::nullopt;
  }
  const std::optional<std::size_t> fallback =
      input.knownOwnerCount == 1 && count == 1 ? std::optional<std::size_t>(0) : std::nullopt;
  if (!input.originalTitle || input.originalTitle->empty()) return fallback;
  auto byTitle = indicesWhere(count, [&](std::size_t i) { return titles[i] == *input.originalTitle; });
  if (byTitle.empty()) return fallback;
  if (byTitle.size() == 1) return byTitle.front();
  return std::nullopt;
}

}  // namespace tarvolo::MenuBarAccessPolicy
