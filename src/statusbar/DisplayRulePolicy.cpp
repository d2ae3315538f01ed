#include "statusbar/DisplayRulePolicy.h"

#include "statusbar/AutoCollapsePolicy.h"

namespace tarvolo::DisplayRulePolicy {

DisplayRule ruleFor(const DisplayRules& rules, const std::string& displayID) {
  auto it = rules.find(displayID);
  return it == rules.end() ? DisplayRule{} : it->second;
}

bool keepsIconsShown(const DisplayRules& rules, const std::string& displayID) {
  // A display the system gives no identity cannot carry a rule.
  if (displayID.empty()) return false;
  return !ruleFor(rules, displayID).hideIcons;
}

double autoCollapseDelay(const DisplayRules& rules, const std::string& displayID, double generalDelay) {
  const auto own = ruleFor(rules, displayID).autoCollapseDelay;
  return own ? MenuBarVisibilityPolicy::autoCollapseDelay(*own) : generalDelay;
}

}  // namespace tarvolo::DisplayRulePolicy
