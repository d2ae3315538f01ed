#pragma once

// Steps of the user's hands: clicks and ⌘-drags on the bar's items, the pointer, the mouse
// buttons, modifier keys and typed keys, and the app's menus tracking.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Geometry.h"
#include "harness/Scenario.h"
#include "harness/Step.h"
#include "platform/Platform.h"
#include "platform/sim/SimInput.h"

namespace tarvolo::scenario::step {

struct Click {
  OwnItem target = OwnItem::toggle;
  sim::MouseButton button = sim::MouseButton::left;
  platform::ModifierFlags modifiers;
  std::string describe() const;
  std::optional<std::string> perform(StepContext& context) const;
};
// `item` is an own item's target name or a foreign app's bundle id (its first item).
struct CommandDrag {
  std::string item;
  double toX = 0;
  std::string describe() const { return "⌘-drag " + item + " to x=" + numberWord(toX); }
  std::optional<std::string> perform(StepContext& context) const;
};
// The pointer moves to a point (AppKit global coordinates) or to a named spot.
struct MovePointer {
  enum class Spot { point, emptyMenuBar, desktop };
  Spot spot = Spot::point;
  Point location;
  std::string describe() const;
  std::optional<std::string> perform(StepContext& context) const;
};
// A mouse button goes down or up where the pointer is (never on Tarvolo's items).
struct MouseButtonPress {
  sim::MouseButton button = sim::MouseButton::left;
  bool down = true;
  std::string describe() const;
  std::optional<std::string> perform(StepContext& context) const;
};
struct ModifierPress {
  platform::ModifierFlags modifiers;
  bool down = true;
  std::string describe() const { return modifierSymbols(modifiers) + (down ? " down" : " up"); }
  std::optional<std::string> perform(StepContext& context) const;
};
// A key typed with modifiers held: a letter "A"…"Z", "escape", or a virtual key code.
struct TypeKey {
  std::uint16_t keyCode = 0;
  std::string name;
  platform::ModifierFlags modifiers;
  std::string describe() const { return "key " + modifierSymbols(modifiers) + name; }
  std::optional<std::string> perform(StepContext& context) const;
};
// ⌘ (and ⇧ where `shift`) and a key of Tarvolo's main menu ("," opens Preferences, "v" pastes).
struct Shortcut {
  std::string key;
  bool shift = false;
  std::string describe() const { return (shift ? "⇧⌘" : "⌘") + key; }
  std::optional<std::string> perform(StepContext& context) const;
};
// Another app puts text on the general pasteboard.
struct Pasteboard {
  std::string text;
  std::string describe() const { return "pasteboard " + text; }
  std::optional<std::string> perform(StepContext& context) const;
};
struct MenuTracking {
  bool begins = true;
  std::string describe() const { return begins ? "menu begins tracking" : "menu ends tracking"; }
  std::optional<std::string> perform(StepContext& context) const;
};

}  // namespace tarvolo::scenario::step

namespace tarvolo::scenario {

std::vector<StepKind> inputStepKinds();

}  // namespace tarvolo::scenario
