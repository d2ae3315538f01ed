#pragma once

// A scenario: the desktop Tarvolo starts on and a timeline of what happens to it. Parsing
// validates every field and names the one at fault, so a typo never runs as something else.

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/vocabulary/PlacementTypes.h"
#include "base/DefaultsValue.h"
#include "platform/Platform.h"
#include "platform/sim/SimDesktop.h"

namespace tarvolo::scenario {

// What makes a scenario unusable, with the path of the offending field ("steps[3].click").
class ScenarioError : public std::runtime_error {
 public:
  ScenarioError(std::string path, std::string problem);
  // Empty for the document as a whole.
  const std::string& path() const { return path_; }
  const std::string& problem() const { return problem_; }

 private:
  std::string path_;
  std::string problem_;
};

// Tarvolo's own items as scenarios name them.
enum class OwnItem { toggle, separator, alwaysHiddenSeparator };

std::string_view targetName(OwnItem item);
std::optional<OwnItem> ownItemFromTargetName(std::string_view name);
std::string autosaveName(OwnItem item);

// The actions a step can take; each is the value of one key of the step object.
namespace step {
struct LaunchApp {
  std::string bundleId;
};
struct TerminateApp {
  std::string bundleId;
};
struct ActivateApp {
  std::string bundleId;
};
struct Click {
  OwnItem target = OwnItem::toggle;
  sim::SimDesktop::MouseButton button = sim::SimDesktop::MouseButton::left;
  platform::ModifierFlags modifiers;
};
// `item` is an own item's target name or a foreign app's bundle id (its first item).
struct CommandDrag {
  std::string item;
  double toX = 0;
};
// Opens the context menu with a right click on the toggle, then chooses `action`.
struct ChooseMenuAction {
  std::string action;
};
struct ChangeScreens {
  std::vector<sim::SimScreenSpec> screens;
};
struct ChangeLanguages {
  std::vector<std::string> languages;
};
// Saves the app's category (none: back to the default); `confirm` also records the placement
// as confirmed, as the placement guide does once the icon sits in its zone.
struct AssignCategory {
  std::string bundleId;
  std::optional<ItemCategory> category;
  bool confirm = false;
};
// The Icon Shelf, as the toggle's click opens it (on a tier, or the one last chosen), and what
// its controls do: typing into the search field, picking a tier, a key, a click on a row, the
// "identify" button.
struct OpenShelf {
  std::optional<MenuBarAccessTier> tier;
};
struct ShelfType {
  std::string text;
};
struct ShelfTier {
  MenuBarAccessTier tier = MenuBarAccessTier::all;
};
enum class ShelfKey { up, down, enter, escape, find };
struct ShelfPressKey {
  ShelfKey key = ShelfKey::down;
};
// A row by its name as the shelf shows it, or by its id.
struct ShelfChoose {
  std::string row;
};
struct ShelfDiscover {};
// Closes another app's open menu: Escape, Return, a click elsewhere, or choosing an entry.
enum class MenuCloser { escape, enter, clickElsewhere, choose };
struct CloseMenu {
  MenuCloser how = MenuCloser::escape;
};
// ⌘ and a key of Tarvolo's main menu ("," opens Preferences).
struct Shortcut {
  std::string key;
};
// Chooses a tab of the open settings window.
struct PreferencesTab {
  platform::PreferencesTab tab = platform::PreferencesTab::general;
};
// Sets a control of the open settings window, as a click or a typed text would.
struct PreferencesSet {
  std::string control;
  nlohmann::json value;
};
// Picks a zone for an app in the settings window's list.
struct PickZone {
  std::string bundleId;
  ItemCategory zone = ItemCategory::hidden;
};
// Presses a button of the new-app notice.
struct NoticeButton {
  bool arrange = true;  // false: Ignore
};
// Presses a button of the rating prompt.
enum class ReviewButton { rate, later, never };
struct ReviewPromptButton {
  ReviewButton button = ReviewButton::later;
};
// An app stops answering Accessibility (its extras menu bar cannot be read), or answers again.
struct SetAppAccessibility {
  std::string bundleId;
  bool answers = true;
};
// Acts on the placement guide: drag the guided icon into its target, confirm, or cancel.
enum class GuideAction { drag, confirm, cancel };
struct Guide {
  GuideAction action = GuideAction::drag;
};
struct ClosePreferences {};
// The pointer moves to a point (AppKit global coordinates) or to a named spot.
struct MovePointer {
  enum class Spot { point, emptyMenuBar, desktop };
  Spot spot = Spot::point;
  Point location;
};
// A mouse button goes down or up where the pointer is (never on Tarvolo's items).
struct MouseButtonPress {
  sim::SimDesktop::MouseButton button = sim::SimDesktop::MouseButton::left;
  bool down = true;
};
struct ModifierPress {
  platform::ModifierFlags modifiers;
  bool down = true;
};
// A key typed with modifiers held: a letter "A"…"Z", "escape", or a virtual key code.
struct TypeKey {
  std::uint16_t keyCode = 0;
  std::string name;
  platform::ModifierFlags modifiers;
};
struct MenuTracking {
  bool begins = true;
};
struct OpenURL {
  std::string url;
};
struct AppleScriptCommand {
  std::string command;
};
// The settings' chord recorder starts listening (the settings window comes to the front).
struct RecordHotkey {};
// The settings' switches.
struct SetLoginItem {
  bool enabled = true;
};
struct SetRevealOnHover {
  bool enabled = true;
};
// A click on a control of the first-launch coach's panel.
struct PressCoach {
  sim::SimFirstLaunchCoachWindow::Control control = sim::SimFirstLaunchCoachWindow::Control::next;
};
// The user switches Tarvolo's Accessibility permission in System Settings; nothing tells the app.
struct SetAccessibility {
  bool trusted = true;
};
// The user brings Tarvolo to the front (back from System Settings, say).
struct ActivateTarvolo {};
struct Relaunch {};
struct Reopen {};
struct Wake {};
struct Quit {};
}  // namespace step

using Action = std::variant<step::LaunchApp, step::TerminateApp, step::ActivateApp, step::Click, step::CommandDrag,
                            step::ChooseMenuAction, step::ChangeScreens, step::ChangeLanguages,
                            step::AssignCategory, step::Relaunch, step::Reopen, step::Wake, step::Quit,
                            step::OpenShelf, step::ShelfType, step::ShelfTier, step::ShelfPressKey,
                            step::ShelfChoose, step::ShelfDiscover, step::CloseMenu,
                            step::Shortcut, step::PreferencesTab, step::PreferencesSet, step::PickZone,
                            step::NoticeButton, step::Guide, step::ClosePreferences,
                            step::MovePointer, step::MouseButtonPress, step::ModifierPress, step::TypeKey,
                            step::MenuTracking, step::OpenURL, step::AppleScriptCommand, step::RecordHotkey,
                            step::SetLoginItem, step::SetRevealOnHover, step::PressCoach, step::SetAccessibility,
                            step::ActivateTarvolo, step::ReviewPromptButton, step::SetAppAccessibility>;

// The controls a `preferencesSet` step may set, with the JSON type each takes.
const std::vector<std::string>& knownPreferencesControls();

struct Step {
  double at = 0;
  Action action;
  std::string note;
};

// A one-line description for logs and renderings ("click separator (left, ⌥)").
std::string describe(const Action& action);

// The context-menu actions a `menu` step may choose.
const std::vector<std::string>& knownMenuActions();

struct Scenario {
  std::string name;
  std::string description;
  // Holds the OS version, languages, arguments and the simulator's knobs.
  sim::SimSettings settings;
  std::vector<sim::SimScreenSpec> screens;
  std::vector<sim::SimAppSpec> apps;
  // Process names the window list gives apps whose process is not named like the app.
  std::map<std::string, std::string> processNames;
  bool accessibilityTrusted = true;
  std::optional<std::string> frontmost;
  std::map<std::string, DefaultsValue> defaults;
  std::vector<Step> steps;

  // Whether the timeline itself ends the app's run (a quit step or the Quit menu item).
  bool endsByQuitting() const;
  const sim::SimAppSpec* app(std::string_view bundleId) const;
};

// All throw ScenarioError.
Scenario parseScenario(const nlohmann::json& document);
Scenario parseScenarioText(std::string_view text);
// The scenario's name defaults to the file's stem.
Scenario loadScenario(const std::filesystem::path& file);

}  // namespace tarvolo::scenario
