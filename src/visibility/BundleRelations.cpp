#include "visibility/BundleRelations.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "base/Text.h"

namespace tarvolo::MenuBarVisibilityPolicy {
namespace {

using text::equalsIgnoringCase;
using text::lowercased;
using text::trimmed;

int nonEmptyComponentCount(std::string_view id) {
  int count = 0;
  bool inComponent = false;
  for (char c : id) {
    if (c == '.') {
      inComponent = false;
    } else if (!inComponent) {
      inComponent = true;
      ++count;
    }
  }
  return count;
}

// A bundle id, lower-cased, with every ancestor immediateParent walks to from the original spelling.
struct BundleLineage {
  std::string lower;
  std::vector<std::string> ancestorsLower;

  explicit BundleLineage(std::string_view id) : lower(lowercased(id)) {
    for (auto next = immediateParent(id); next; next = immediateParent(*next)) {
      ancestorsLower.push_back(lowercased(*next));
    }
  }

  bool descendsFrom(std::string_view parentLower) const {
    if (parentLower.empty() || lower.size() <= parentLower.size()) return false;
    if (lower.starts_with(parentLower) && lower[parentLower.size()] == '.') return true;
    return std::find(ancestorsLower.begin(), ancestorsLower.end(), parentLower) != ancestorsLower.end();
  }
};

// Adds trimmed ids once each, ignoring case; the first spelling stays.
class AllowListBuilder {
 public:
  void add(std::string_view id) {
    std::string_view clean = trimmed(id);
    if (clean.empty()) return;
    if (seen_.insert(lowercased(clean)).second) ids_.emplace_back(clean);
  }
  template <typename Range>
  void addAll(const Range& ids) {
    for (const auto& id : ids) add(id);
  }
  std::vector<std::string> take() && { return std::move(ids_); }

 private:
  std::vector<std::string> ids_;
  std::unordered_set<std::string> seen_;
};

const std::string* savedRawTier(const std::map<std::string, std::string>& saved, std::string_view key) {
  if (auto exact = saved.find(std::string(key)); exact != saved.end()) return &exact->second;
  for (const auto& [savedKey, raw] : saved) {
    if (equalsIgnoringCase(savedKey, key)) return &raw;
  }
  return nullptr;
}

}  // namespace

std::vector<std::string> expandAllowedBundleIDs(const std::vector<std::string>& ids,
                                                const std::vector<std::string>& ownBundleIDs,
                                                const std::vector<std::string>& runningBundleIDs) {
  AllowListBuilder builder;
  builder.addAll(ids);
  builder.addAll(ownBundleIDs);

  std::vector<std::pair<std::string_view, BundleLineage>> running;
  running.reserve(runningBundleIDs.size());
  for (const std::string& id : runningBundleIDs) {
    std::string_view clean = trimmed(id);
    if (!clean.empty()) running.emplace_back(clean, BundleLineage(clean));
  }

  for (const std::string& raw : ids) {
    std::string_view id = trimmed(raw);
    if (id.empty()) continue;
    builder.addAll(relatedBundleIDs(id));
    if (auto parent = immediateParent(id)) builder.add(*parent);
    const std::string idLower = lowercased(id);
    for (const auto& [runningID, lineage] : running) {
      if (lineage.descendsFrom(idLower)) builder.add(runningID);
    }
  }
  return std::move(builder).take();
}

std::optional<std::string> lookupRaw(std::string_view bundleID, const std::map<std::string, std::string>& saved) {
  if (const std::string* raw = savedRawTier(saved, bundleID)) return *raw;
  for (const std::string& related : relatedBundleIDs(bundleID)) {
    if (const std::string* raw = savedRawTier(saved, related)) return *raw;
  }
  for (auto parent = immediateParent(bundleID); parent; parent = immediateParent(*parent)) {
    if (const std::string* raw = savedRawTier(saved, *parent)) return *raw;
  }
  return std::nullopt;
}

std::optional<ItemCategory> resolveTier(std::string_view bundleID, const std::map<std::string, std::string>& saved) {
  auto raw = lookupRaw(bundleID, saved);
  return raw ? itemCategoryFromRaw(*raw) : std::nullopt;
}

std::optional<ItemCategory> resolveTier(const BundleID& bundleID, const std::map<BundleID, ItemCategory>& saved) {
  auto find = [&saved](const BundleID& id) -> std::optional<ItemCategory> {
    auto found = saved.find(id);
    if (found == saved.end()) return std::nullopt;
    return found->second;
  };
  if (auto tier = find(bundleID)) return tier;
  for (const std::string& related : relatedBundleIDs(bundleID.spelling())) {
    if (auto tier = find(BundleID(related))) return tier;
  }
  // Role endings are matched as spelt, so the parents come from the identifier as it arrived.
  for (auto parent = immediateParent(bundleID.spelling()); parent; parent = immediateParent(*parent)) {
    if (auto tier = find(BundleID(*parent))) return tier;
  }
  return std::nullopt;
}

std::vector<std::string> relatedBundleIDs(std::string_view bundleID) {
  const std::string lower = lowercased(bundleID);
  std::vector<std::string> related;
  auto append = [&](const auto& table) { related.insert(related.end(), table.begin(), table.end()); };
  if (lower.find("corvanta") != std::string::npos) append(corvantaFamily);
  if (lower.find("ishot") != std::string::npos) append(iShotFamily);
  if (lower.find("wetype") != std::string::npos || lower.find("inputmethod") != std::string::npos ||
      lower.find("squirrel") != std::string::npos) {
    related.emplace_back(weTypeBundleID);
    append(inputMethodCompanions);
  }
  return related;
}

std::optional<std::string> immediateParent(std::string_view bundleID) {
  const std::size_t dot = bundleID.rfind('.');
  if (dot == std::string_view::npos) return std::nullopt;
  const std::string_view head = bundleID.substr(0, dot);
  const std::string_view last = bundleID.substr(dot + 1);
  for (std::string_view suffix : roleSuffixes) {
    if (last.size() <= suffix.size() || !last.ends_with(suffix)) continue;
    std::string_view stem = last.substr(0, last.size() - suffix.size());
    while (!stem.empty() && (stem.back() == '-' || stem.back() == '_')) stem.remove_suffix(1);
    if (!stem.empty()) return std::string(head).append(".").append(stem);
  }
  // Two components name a vendor, not an app, so the walk stops above three.
  if (nonEmptyComponentCount(head) >= 3) return std::string(head);
  return std::nullopt;
}

bool isChildBundle(std::string_view child, std::string_view parent) {
  return BundleLineage(child).descendsFrom(lowercased(parent));
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
