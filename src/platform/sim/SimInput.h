#pragma once

// The user's hands on the simulated desktop: the pointer, the mouse buttons and the keys, the
// monitors the app installs and the mouse events it posts. A click on one of the app's own items
// goes to the item's action; a key goes to a registered hot key first, then to whichever app is
// in front.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Geometry.h"
#include "platform/Platform.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

class SimAccessibility;
class SimApplication;
class SimBar;
class SimHotkeys;
class SimMainQueue;
class SimMenus;
class SimProcesses;
class SimScreens;
class SimUserInterface;
struct SimItemState;

enum class MouseButton { left, right };

// An event the app posted, with every field it set.
struct SimPostedEvent {
  platform::SyntheticMouseEvent event;
  double time = 0;
};

class SimInput final : public platform::Events {
 public:
  struct Parts {
    const SimSettings& settings;
    SimMainQueue& queue;
    const SimScreens& screens;
    SimBar& bar;
    SimMenus& menus;
    const SimProcesses& processes;
    const SimHotkeys& hotkeys;
    const SimAccessibility& accessibility;
    SimUserInterface& ui;
    SimApplication& application;
  };
  explicit SimInput(Parts parts);
  SimInput(const SimInput&) = delete;
  SimInput& operator=(const SimInput&) = delete;

  // --- platform::Events
  Point mouseLocation() const override { return pointer_; }
  std::uint32_t pressedMouseButtons() const override { return pressedButtons_; }
  platform::ModifierFlags modifierFlags() const override { return modifiers_; }
  std::optional<platform::Event> currentEvent() const override { return currentEvent_; }
  std::unique_ptr<platform::Registration> addGlobalMonitor(
      platform::EventMask mask, std::function<void(const platform::Event&)> handler) override;
  std::unique_ptr<platform::Registration> addLocalMonitor(
      platform::EventMask mask, std::function<std::optional<platform::Event>(const platform::Event&)> handler) override;
  bool mayPostEvents() const override;
  bool mouseButtonHeld() const override { return (pressedButtons_ & 0x3) != 0; }
  Point cursorPosition() const override { return cursorTopLeft(); }
  void postMouseEvent(const platform::SyntheticMouseEvent& event) override;
  void warpCursor(Point topLeft) override;

  // --- the user
  // A click on one of the app's own items (by autosave name), down now and up after the click
  // duration. Returns false when no such item is shown.
  bool clickOwnItem(const std::string& autosaveName, MouseButton button, platform::ModifierFlags modifiers = {});
  // AXPress on one of the app's own items (VoiceOver): its action runs without an event of its own.
  bool pressOwnItemThroughAccessibility(const std::string& autosaveName);
  // A press on the item with ⌘ held, a drag to `toX` and the release; the system moves the
  // item when the drop point lies past a neighbour's middle.
  bool commandDragItem(const std::string& autosaveName, double toX);
  // A click somewhere outside the app (another app's window, the desktop).
  void clickElsewhere(Point location);
  // The pointer moves to `location` (no button held): monitors of mouse moves see it.
  void movePointer(Point location);
  // A mouse button goes down or up where the pointer is, over no item of the app.
  void pressMouseButton(MouseButton button);
  void releaseMouseButton(MouseButton button);
  void setModifierFlags(platform::ModifierFlags flags) { modifiers_ = flags; }
  // Modifier keys go down or up; monitors see a flags-changed event.
  void pressModifiers(platform::ModifierFlags flags);
  void releaseModifiers(platform::ModifierFlags flags);
  // A key typed with `modifiers` held (a key-down, then its key-up). A registered hot key takes
  // it before any monitor; otherwise it goes to the app when its settings window is in front,
  // else to the frontmost app, which global monitors see only with Accessibility trust. Escape,
  // Return and Enter close another app's open menu first.
  void typeKey(std::uint16_t keyCode, platform::ModifierFlags modifiers);
  // `typeKey` with the modifiers held now.
  void pressKey(std::uint16_t keyCode) { typeKey(keyCode, modifiers_); }
  // A key equivalent of the app's main menu typed with ⌘ (and ⇧ where `shift`): "," for
  // Settings, "v" for Paste; false when the menu has no such item. An app command runs after the
  // key event; a standard command goes to the key window's first responder, if it answers it.
  bool pressMainMenuShortcut(const std::string& keyEquivalent, bool shift = false);
  // The user picks an entry of the open foreign menu, which closes it.
  bool chooseForeignMenuEntry();

  const std::vector<SimPostedEvent>& postedEvents() const { return posted_; }
  // The cursor in top-left global space.
  Point cursorTopLeft() const;

  // How many event monitors the app has installed and not removed.
  std::size_t monitorCount() const { return monitors_.size(); }
  // The app's process ended: its monitors went with it.
  void ownProcessExited() { monitors_.clear(); }

 private:
  struct Monitor {
    platform::EventMask mask = 0;
    bool global = true;
    std::function<void(const platform::Event&)> globalHandler;
    std::function<std::optional<platform::Event>(const platform::Event&)> localHandler;
  };

  int addMonitor(Monitor monitor);
  // Delivers a mouse event to the monitors and, over one of the app's items, to its action.
  void dispatchEvent(const platform::Event& event, const SimItemState* target);
  // Where a click on the item lands: the middle of what it draws.
  Point itemCenter(const SimItemState& item) const;

  const SimSettings& settings_;
  SimMainQueue& queue_;
  const SimScreens& screens_;
  SimBar& bar_;
  SimMenus& menus_;
  const SimProcesses& processes_;
  const SimHotkeys& hotkeys_;
  const SimAccessibility& accessibility_;
  SimUserInterface& ui_;
  SimApplication& application_;

  platform::ModifierFlags modifiers_;
  Point pointer_{};
  std::uint32_t pressedButtons_ = 0;
  std::optional<platform::Event> currentEvent_;
  std::optional<platform::Event> lastEvent_;  // the last event the app handled
  std::map<int, Monitor> monitors_;
  int nextMonitorId_ = 0;
  std::optional<platform::SyntheticMouseEvent> pendingPostedDown_;
  // An item picked up by a posted ⌘-down, until the posted up drops it.
  struct PostedDrag {
    int itemId = 0;
    bool moved = false;  // a dragged event came between
  };
  std::optional<PostedDrag> postedDrag_;
  std::vector<SimPostedEvent> posted_;
};

}  // namespace tarvolo::sim
