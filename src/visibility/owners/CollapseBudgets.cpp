#include "visibility/owners/CollapseBudgets.h"

#include <algorithm>

#include "visibility/VisibilityConstants.h"

namespace tarvolo {

bool CollapseBudgets::mayStepDown(const PerAppKey& pair) const {
  auto budget = budgets_.find(pair);
  return budget == budgets_.end() || budget->second.stepDowns < MenuBarVisibilityPolicy::menuEvictionStepLimit;
}

std::optional<CollapseBudget::BadUpperBound> CollapseBudgets::badUpperBound(const PerAppKey& pair) const {
  auto budget = budgets_.find(pair);
  if (budget == budgets_.end()) return std::nullopt;
  return budget->second.badUpperBound;
}

void CollapseBudgets::noteLaidOut(const PerAppKey& pair) {
  auto budget = budgets_.find(pair);
  if (budget == budgets_.end()) return;
  budget->second.stepDowns = 0;
  if (budget->second.isEmpty()) budgets_.erase(budget);
}

void CollapseBudgets::clearCollapseBudget(const std::optional<BundleID>& bundleID) {
  std::erase_if(budgets_, [&bundleID](const auto& entry) { return entry.first.bundleID() == bundleID; });
}

void CollapseBudgets::pruneCollapseBudgets(const std::vector<ScreenKey>& keepingScreens) {
  std::erase_if(budgets_, [&keepingScreens](const auto& entry) {
    const ScreenKey& screen = entry.first.screen();
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
