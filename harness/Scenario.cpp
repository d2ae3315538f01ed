#include "harness/Scenario.h"

#include <algorithm>

#include "statusbar/StatusBarController.h"

namespace tarvolo::scenario {

using json = nlohmann::json;

std::string_view targetName(OwnItem item) {
  switch (item) {
    case OwnItem::toggle: return "toggle";
    case OwnItem::separator: return "separator";
    case OwnItem::alwaysHiddenSeparator: return "alwaysHiddenSeparator";
  }
  return "toggle";
}

std::optional<OwnItem> ownItemFromTargetName(std::string_view name) {
  for (OwnItem item : {OwnItem::toggle, OwnItem::separator, OwnItem::alwaysHiddenSeparator}) {
    if (targetName(item) == name) return item;
  }
  return std::nullopt;
}

std::string autosaveName(OwnItem item) {
  switch (item) {
    case OwnItem::toggle: return OwnStatusItems::toggleAutosaveName;
    case OwnItem::separator: return OwnStatusItems::separatorAutosaveName;
    case OwnItem::alwaysHiddenSeparator: return OwnStatusItems::alwaysHiddenAutosaveName;
  }
  return OwnStatusItems::toggleAutosaveName;
}

bool Scenario::endsByQuitting() const { return !steps.empty() && steps.back().action->endsTheRun(); }

const sim::SimAppSetup* Scenario::app(std::string_view bundleId) const {
  const std::string wanted = lower(bundleId);
  auto found = std::find_if(apps.begin(), apps.end(),
                            [&](const sim::SimAppSetup& candidate) { return lower(candidate.bundleId) == wanted; });
  return found == apps.end() ? nullptr : &*found;
}

std::string knownAppId(const Field& field, const Scenario& scenario) {
  std::string bundleId = field.nonEmptyString();
  if (!scenario.app(bundleId)) field.fail("unknown app " + inQuotes(bundleId) + " (not listed in apps)");
  return bundleId;
}

}  // namespace tarvolo::scenario
