#pragma once

// What the user chose per display: whether icons hide there, and how soon an expansion there
// collapses by itself. A display without a rule of its own hides, after the general delay.

#include <map>
#include <optional>
#include <string>

namespace tarvolo {

struct DisplayRule {
  bool hideIcons = true;
  // Absent: the general auto-collapse delay.
  std::optional<double> autoCollapseDelay;
  bool isDefault() const { return hideIcons && !autoCollapseDelay; }
  friend bool operator==(const DisplayRule&, const DisplayRule&) = default;
};

// By lasting display identity.
using DisplayRules = std::map<std::string, DisplayRule>;

namespace DisplayRulePolicy {

DisplayRule ruleFor(const DisplayRules& rules, const std::string& displayID);

// The one question every collapse, search and screen change asks: while the bar is on this
// display, do its icons stay shown?
bool keepsIconsShown(const DisplayRules& rules, const std::string& displayID);

// The delay after which an expansion on this display collapses by itself.
double autoCollapseDelay(const DisplayRules& rules, const std::string& displayID, double generalDelay);

}  // namespace DisplayRulePolicy
}  // namespace tarvolo
