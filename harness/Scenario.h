#pragma once

// A scenario: the desktop Tarvolo starts on and a timeline of what happens to it
// (ScenarioParser.h reads one).

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/DefaultsValue.h"
#include "harness/ScenarioFields.h"
#include "harness/Step.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::scenario {

// Tarvolo's own items as scenarios name them.
enum class OwnItem { toggle, separator, alwaysHiddenSeparator };

std::string_view targetName(OwnItem item);
std::optional<OwnItem> ownItemFromTargetName(std::string_view name);
std::string autosaveName(OwnItem item);

struct Scenario {
  std::string name;
  std::string description;
  // Holds the OS version, languages, arguments and the simulator's knobs.
  sim::SimSettings settings;
  std::vector<sim::SimScreenSetup> screens;
  std::vector<sim::SimAppSetup> apps;
  // Process names the window list gives apps whose process is not named like the app.
  std::map<std::string, std::string> processNames;
  bool accessibilityTrusted = true;
  std::optional<std::string> frontmost;
  std::map<std::string, DefaultsValue> defaults;
  std::vector<Step> steps;

  // Whether the timeline itself ends the app's run (a quit step or the Quit menu item).
  bool endsByQuitting() const;
  const sim::SimAppSetup* app(std::string_view bundleId) const;
};

// The bundle id of an app the scenario lists; throws ScenarioError naming the field.
std::string knownAppId(const Field& field, const Scenario& scenario);

}  // namespace tarvolo::scenario
