#include "platform/sim/SimInput.h"

#include <algorithm>
#include <utility>

#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimBar.h"
#include "platform/sim/SimHotkeys.h"
#include "platform/sim/SimMainQueue.h"
#include "platform/sim/SimMenus.h"
#include "platform/sim/SimProcesses.h"
#include "platform/sim/SimScreens.h"
#include "platform/sim/SimServices.h"
#include "platform/sim/SimUserInterface.h"

namespace tarvolo::sim {

using platform::Event;
using platform::EventType;

namespace {

constexpr std::uint16_t kReturnKeyCode = 36;
constexpr std::uint16_t kEscapeKeyCode = 53;
constexpr std::uint16_t kEnterKeyCode = 76;

class SimRegistration final : public platform::Registration {
 public:
  explicit SimRegistration(std::function<void()> remove) : remove_(std::move(remove)) {}
  ~SimRegistration() override { remove_(); }

 private:
  std::function<void()> remove_;
};

std::uint32_t buttonBit(MouseButton button) { return button == MouseButton::left ? 1u : 2u; }
EventType downType(MouseButton button) {
  return button == MouseButton::left ? EventType::leftMouseDown : EventType::rightMouseDown;
}
EventType upType(MouseButton button) {
  return button == MouseButton::left ? EventType::leftMouseUp : EventType::rightMouseUp;
}

}  // namespace

SimInput::SimInput(Parts parts)
    : settings_(parts.settings),
      queue_(parts.queue),
      screens_(parts.screens),
      bar_(parts.bar),
      menus_(parts.menus),
      processes_(parts.processes),
      hotkeys_(parts.hotkeys),
      accessibility_(parts.accessibility),
      ui_(parts.ui),
      application_(parts.application) {}

// --- platform::Events ---------------------------------------------------------------------------

int SimInput::addMonitor(Monitor monitor) {
  const int id = ++nextMonitorId_;
  monitors_[id] = std::move(monitor);
  return id;
}

std::unique_ptr<platform::Registration> SimInput::addGlobalMonitor(platform::EventMask mask,
                                                                   std::function<void(const Event&)> handler) {
  const int id = addMonitor(Monitor{.mask = mask, .global = true, .globalHandler = std::move(handler)});
  return std::make_unique<SimRegistration>([this, id] { monitors_.erase(id); });
}

std::unique_ptr<platform::Registration> SimInput::addLocalMonitor(
    platform::EventMask mask, std::function<std::optional<Event>(const Event&)> handler) {
  const int id = addMonitor(Monitor{.mask = mask, .global = false, .localHandler = std::move(handler)});
  return std::make_unique<SimRegistration>([this, id] { monitors_.erase(id); });
}

bool SimInput::mayPostEvents() const { return settings_.postEventAccess; }

Point SimInput::cursorTopLeft() const { return screens_.topLeftPoint(pointer_); }

void SimInput::warpCursor(Point topLeft) { pointer_ = screens_.bottomLeftPoint(topLeft); }

void SimInput::postMouseEvent(const platform::SyntheticMouseEvent& event) {
  using Kind = platform::SyntheticMouseEvent::Kind;
  posted_.push_back(SimPostedEvent{event, queue_.now()});
  warpCursor(event.location);
  const EventType type = event.kind == Kind::leftMouseDown  ? EventType::leftMouseDown
                         : event.kind == Kind::leftMouseUp ? EventType::leftMouseUp
                                                           : EventType::leftMouseDragged;
  dispatchEvent(Event{type, event.modifierFlags, pointer_, queue_.now()}, nullptr);
  const bool command = event.modifierFlags.has(platform::Modifier::command);
  if (event.kind == Kind::leftMouseDown && command) {
    // ⌘ held, the window server picks the item up instead of clicking it.
    pendingPostedDown_.reset();
    const SimItemState* picked = bar_.foreignItemAt(event.location);
    postedDrag_ = picked ? std::optional<PostedDrag>(PostedDrag{.itemId = picked->id}) : std::nullopt;
    return;
  }
  if (event.kind == Kind::leftMouseDragged) {
    if (postedDrag_) postedDrag_->moved = true;
    return;
  }
  if (event.kind == Kind::leftMouseDown) {
    postedDrag_.reset();
    pendingPostedDown_ = event;
    return;
  }
  if (auto drag = std::exchange(postedDrag_, std::nullopt)) {
    // The item follows the drag and lands where the button comes up; without a drag it stays.
    SimItemState* held = bar_.item(drag->itemId);
    if (held && drag->moved && command) bar_.drop(*held, pointer_.x);
    return;
  }
  // The window server makes a click of a down and an up at one place, both with click state 1.
  const auto pressed = std::exchange(pendingPostedDown_, std::nullopt);
  if (!pressed || pressed->location != event.location || pressed->clickState != 1 || event.clickState != 1) return;
  const SimItemState* target = bar_.foreignItemAt(event.location);
  if (!target) {
    menus_.closeForeignMenu("click-elsewhere");
    return;
  }
  if (const auto* open = menus_.foreignMenu(); open && open->itemId == target->id) {
    menus_.closeForeignMenu("click");
    return;
  }
  menus_.openForeignMenu(target->id, "click");
}

// --- dispatch -----------------------------------------------------------------------------------

Point SimInput::itemCenter(const SimItemState& item) const {
  if (!item.frame) return pointer_;
  return {item.frame->maxX() - std::min(item.frame->width, item.contentWidth) / 2,
          item.frame->y + item.frame->height / 2};
}

void SimInput::dispatchEvent(const Event& event, const SimItemState* target) {
  const bool ownTarget = target && target->ownerPid == kOwnPid && processes_.ownAppRunning();
  // A status button tracks the mouse inside its mouse-down, which consumes the mouse-up: the
  // app's local monitors never see it; only the button's action does.
  const bool consumedByTracking = ownTarget && (event.type == EventType::leftMouseUp ||
                                                event.type == EventType::rightMouseUp);
  // Copy: a handler may install or remove monitors.
  auto monitors = monitors_;
  std::optional<Event> delivered = event;
  for (auto& [id, monitor] : monitors) {
    if (!(monitor.mask & platform::eventMask(event.type))) continue;
    if (!monitors_.count(id)) continue;
    if (monitor.global && !ownTarget) monitor.globalHandler(event);
    if (!monitor.global && ownTarget && delivered && !consumedByTracking) delivered = monitor.localHandler(*delivered);
  }
  if (!ownTarget || !delivered) return;
  SimItemState* state = bar_.item(target->id);
  if (!state || !(state->actionMask & platform::eventMask(event.type)) || !state->action) return;
  currentEvent_ = *delivered;
  lastEvent_ = *delivered;
  auto action = state->action;
  action(*delivered);
  currentEvent_.reset();
}

// --- the user -----------------------------------------------------------------------------------

bool SimInput::pressOwnItemThroughAccessibility(const std::string& autosaveName) {
  const SimItemState* target = bar_.ownItem(autosaveName);
  if (!target || !processes_.ownAppRunning() || !target->action) return false;
  // The application's current event is whatever it handled last, which says nothing of this press.
  currentEvent_ = lastEvent_;
  auto action = target->action;
  action(std::nullopt);
  currentEvent_.reset();
  return true;
}

bool SimInput::clickOwnItem(const std::string& autosaveName, MouseButton button, platform::ModifierFlags modifiers) {
  const SimItemState* target = bar_.ownItem(autosaveName);
  if (!target || !target->onScreen) return false;
  if (menus_.openMenu()) menus_.dismissMenu();
  pointer_ = itemCenter(*target);
  modifiers_ = modifiers;
  pressedButtons_ = buttonBit(button);
  const int id = target->id;
  dispatchEvent(Event{downType(button), modifiers, pointer_, queue_.now()}, target);
  queue_.post(settings_.clickDuration, [this, id, button, modifiers] {
    pressedButtons_ = 0;
    dispatchEvent(Event{upType(button), modifiers, pointer_, queue_.now()}, bar_.item(id));
    modifiers_ = {};
  });
  return true;
}

bool SimInput::commandDragItem(const std::string& name, double toX) {
  SimItemState* dragged = bar_.draggableItem(name);
  if (!dragged) return false;
  const platform::ModifierFlags command = platform::ModifierFlags{}.with(platform::Modifier::command);
  modifiers_ = command;
  pointer_ = itemCenter(*dragged);
  pressedButtons_ = 1;
  const int id = dragged->id;
  dispatchEvent(Event{EventType::leftMouseDown, command, pointer_, queue_.now()}, dragged);
  if (SimItemState* held = bar_.item(id)) bar_.drop(*held, toX);
  pointer_.x = toX;
  queue_.post(0.3, [this, id, command] {
    pressedButtons_ = 0;
    dispatchEvent(Event{EventType::leftMouseUp, command, pointer_, queue_.now()}, bar_.item(id));
    modifiers_ = {};
  });
  return true;
}

void SimInput::clickElsewhere(Point location) {
  if (menus_.openMenu()) menus_.dismissMenu();
  menus_.closeForeignMenu("click-elsewhere");
  pointer_ = location;
  dispatchEvent(Event{EventType::leftMouseDown, {}, location, queue_.now()}, nullptr);
  queue_.post(settings_.clickDuration, [this, location] {
    dispatchEvent(Event{EventType::leftMouseUp, {}, location, queue_.now()}, nullptr);
  });
}

void SimInput::movePointer(Point location) {
  pointer_ = location;
  dispatchEvent(Event{EventType::mouseMoved, modifiers_, location, queue_.now()}, nullptr);
}

void SimInput::pressMouseButton(MouseButton button) {
  pressedButtons_ |= buttonBit(button);
  dispatchEvent(Event{downType(button), modifiers_, pointer_, queue_.now()}, nullptr);
}

void SimInput::releaseMouseButton(MouseButton button) {
  pressedButtons_ &= ~buttonBit(button);
  dispatchEvent(Event{upType(button), modifiers_, pointer_, queue_.now()}, nullptr);
}

void SimInput::pressModifiers(platform::ModifierFlags flags) {
  modifiers_.raw |= flags.raw;
  dispatchEvent(Event{EventType::flagsChanged, modifiers_, pointer_, queue_.now()}, nullptr);
}

void SimInput::releaseModifiers(platform::ModifierFlags flags) {
  modifiers_.raw &= ~flags.raw;
  dispatchEvent(Event{EventType::flagsChanged, modifiers_, pointer_, queue_.now()}, nullptr);
}

void SimInput::typeKey(std::uint16_t keyCode, platform::ModifierFlags modifiers) {
  const platform::KeyChord chord{keyCode, {modifiers.raw & platform::kChordModifierMask}};
  // Another app's hot key swallows the key before anyone sees it.
  if (hotkeys_.takenElsewhere(chord)) return;
  if (const SimHotkeyRecord* held = hotkeys_.heldFor(chord)) {
    // The system reports the press on the app's event thread; the handler runs on the main queue.
    queue_.post(0, [handler = held->handler, id = held->id] { handler(id); });
    return;
  }
  // An open menu of another app takes the keys that close it.
  if (keyCode == kEscapeKeyCode) menus_.closeForeignMenu("escape");
  if (keyCode == kReturnKeyCode || keyCode == kEnterKeyCode) menus_.closeForeignMenu("return");
  const bool toOwnApp = processes_.ownAppRunning() && ui_.preferences().isShown();
  const bool globalSees = accessibility_.isProcessTrusted();
  for (EventType type : {EventType::keyDown, EventType::keyUp}) {
    Event event{type, modifiers, pointer_, queue_.now(), keyCode};
    auto monitors = monitors_;
    std::optional<Event> delivered = event;
    for (auto& [id, monitor] : monitors) {
      if (!(monitor.mask & platform::eventMask(type)) || !monitors_.count(id)) continue;
      if (monitor.global && !toOwnApp && globalSees) monitor.globalHandler(event);
      if (!monitor.global && toOwnApp && delivered) delivered = monitor.localHandler(*delivered);
    }
  }
}

bool SimInput::pressMainMenuShortcut(const std::string& keyEquivalent, bool shift) {
  if (!processes_.ownAppRunning()) return false;
  const platform::MainMenuItem* item = application_.mainMenu().itemFor(keyEquivalent, shift);
  if (!item) return false;
  if (item->responderAction) {
    std::string pasteboard = application_.pasteboard();
    ui_.performResponderAction(*item->responderAction, pasteboard);
    application_.setPasteboard(std::move(pasteboard));
    return true;
  }
  // The menu runs its action after the key event, as AppKit does.
  if (item->perform) queue_.post(0, item->perform);
  return true;
}

bool SimInput::chooseForeignMenuEntry() {
  if (!menus_.foreignMenu()) return false;
  menus_.closeForeignMenu("choice");
  dispatchEvent(Event{EventType::leftMouseUp, {}, pointer_, queue_.now()}, nullptr);
  return true;
}

}  // namespace tarvolo::sim
