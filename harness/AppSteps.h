#pragma once

// Steps that happen to the desktop and to Tarvolo's process: other apps launch, quit and come
// to the front, the screens and languages change, the user grants a permission or changes a
// setting, Tarvolo is reopened, relaunched or quit.

#include <optional>
#include <string>
#include <vector>

#include "base/vocabulary/PlacementTypes.h"
#include "harness/Step.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::scenario::step {

struct LaunchApp {
  std::string bundleId;
  std::string describe() const { return "launch " + bundleId; }
  std::optional<std::string> perform(StepContext& context) const;
};
struct TerminateApp {
  std::string bundleId;
  std::string describe() const { return "terminate " + bundleId; }
  std::optional<std::string> perform(StepContext& context) const;
};
struct ActivateApp {
  std::string bundleId;
  std::string describe() const { return "activate " + bundleId; }
  std::optional<std::string> perform(StepContext& context) const;
};
// An app stops answering Accessibility (its extras menu bar cannot be read), or answers again.
struct SetAppAccessibility {
  std::string bundleId;
  bool answers = true;
  std::string describe() const;
  std::optional<std::string> perform(StepContext& context) const;
};
// An app changes its first item's length.
struct ResizeItem {
  std::string bundleId;
  double width = 0;
  std::string describe() const;
  std::optional<std::string> perform(StepContext& context) const;
};
struct ChangeScreens {
  std::vector<sim::SimScreenSetup> screens;
  std::string describe() const;
  std::optional<std::string> perform(StepContext& context) const;
};
struct ChangeLanguages {
  std::vector<std::string> languages;
  std::string describe() const { return "languages " + joined(languages); }
  std::optional<std::string> perform(StepContext& context) const;
};
// Saves the app's category (none: back to the default); `confirm` also records the placement
// as confirmed, as the placement guide does once the icon sits in its zone.
struct AssignCategory {
  std::string bundleId;
  std::optional<ItemCategory> category;
  bool confirm = false;
  std::string describe() const;
  std::optional<std::string> perform(StepContext& context) const;
};
// The user switches Tarvolo's Accessibility permission in System Settings; nothing tells the app.
struct SetAccessibility {
  bool trusted = true;
  std::string describe() const { return trusted ? "accessibility granted" : "accessibility revoked"; }
  std::optional<std::string> perform(StepContext& context) const;
};
// The user brings Tarvolo to the front (back from System Settings, say).
struct ActivateTarvolo {
  std::string describe() const { return "Tarvolo activated"; }
  std::optional<std::string> perform(StepContext& context) const;
};
struct Relaunch {
  std::string describe() const { return "relaunch"; }
  std::optional<std::string> perform(StepContext& context) const;
};
struct Reopen {
  std::string describe() const { return "reopen"; }
  std::optional<std::string> perform(StepContext& context) const;
};
struct Wake {
  std::string describe() const { return "wake"; }
  std::optional<std::string> perform(StepContext& context) const;
};
struct Quit {
  std::string describe() const { return "quit"; }
  std::optional<std::string> perform(StepContext& context) const;
  bool endsTheRun() const { return true; }
};
struct OpenURL {
  std::string url;
  std::string describe() const { return "open " + url; }
  std::optional<std::string> perform(StepContext& context) const;
};
struct AppleScriptCommand {
  std::string command;
  std::string describe() const { return "AppleScript \"" + command + "\""; }
  std::optional<std::string> perform(StepContext& context) const;
};
// The settings' switches.
struct SetLoginItem {
  bool enabled = true;
  std::string describe() const { return std::string("open at login ") + (enabled ? "on" : "off"); }
  std::optional<std::string> perform(StepContext& context) const;
};
struct SetRevealOnHover {
  bool enabled = true;
  std::string describe() const { return std::string("reveal on hover ") + (enabled ? "on" : "off"); }
  std::optional<std::string> perform(StepContext& context) const;
};

}  // namespace tarvolo::scenario::step

namespace tarvolo::scenario {

std::vector<StepKind> appStepKinds();

}  // namespace tarvolo::scenario
