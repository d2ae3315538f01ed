#include "visibility/owners/CollapseBudgets.h"

#include <algorithm>

#include "visibility/CollapseLengthCache.h"
#include "visibility/VisibilityConstants.h"

namespace tarvolo {

using MenuBarVisibilityPolicy::CollapseLengthCache;

bool CollapseBudgets::mayStepDown(const std::string& pairKey) const {
  auto budget = budgets_.find(pairKey);
  return budget == budgets_.end() || budget->second.stepDowns < MenuBarVisibilityPolicy::menuEvictionStepLimit;
}

std::optional<CollapseBudget::BadUpperBound> CollapseBudgets::badUpperBound(const std::string& pairKey) const {
  auto budget = budgets_.find(pairKey);
  if (budget == budgets_.end()) return std::nullopt;
  return budget->second.badUpperBound;
}

void CollapseBudgets::noteLaidOut(const std::string& pairKey) {
  auto budget = budgets_.find(pairKey);
  if (budget == budgets_.end()) return;
  budget->second.stepDowns = 0;
  if (budget->second.isEmpty()) budgets_.erase(budget);
}

void CollapseBudgets::clearCollapseBudget(const std::string& bundleID) {
  std::erase_if(budgets_,
                [&bundleID](const auto& entry) { return CollapseLengthCache::bundlePart(entry.first) == bundleID; });
}

void CollapseBudgets::pruneCollapseBudgets(const std::vector<std::string>& keepingScreens) {
  std::erase_if(budgets_, [&keepingScreens](const auto& entry) {
    auto screen = CollapseLengthCache::screenPart(entry.first);
    return std::find(keepingScreens.begin(), keepingScreens.end(), screen) == keepingScreens.end();
  });
}

void CollapseBudgets::resetCollapseNotices() {
  for (auto& [key, budget] : budgets_) {
    budget.menusNoticeShown = false;
    budget.ejectedNoticeShown = false;
  }
  std::erase_if(budgets_, [](const auto& entry) { return entry.second.isEmpty(); });
}

}  // namespace tarvolo
