#pragma once

// The last resort for opening another application's menu: a synthesized click, posted only at a
// point the Accessibility hit test attributes to the intended item, never behind the camera
// housing or off the menu bar, and never while the user holds a mouse button.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/Platform.h"
#include "shelf/owners/ShelfOperation.h"

namespace tarvolo::NativeStatusItemClick {

// "TVRL" as a big-endian 32-bit integer, in the events' user-data field.
constexpr std::int64_t eventMarker = 0x5456524C;
constexpr int targetAttempts = 8;
constexpr double targetAttemptInterval = 0.06;
constexpr double downToUpDelay = 0.04;
constexpr double afterUpDelay = 0.03;
constexpr int menuPolls = 10;
constexpr double menuPollInterval = 0.06;
constexpr double cursorReturnSlop = 3;
constexpr int hitTestDepth = 8;
constexpr double probeTimeout = 0.1;

// One screen's menu bar in top-left global space, and the camera housing inside it.
struct MenuBarStrip {
  Rect strip;
  std::optional<Rect> blocked;
  friend bool operator==(const MenuBarStrip&, const MenuBarStrip&) = default;
};

// The strips of every screen, primary first. The height covers the bar: the safe-area inset of
// a notched screen plus the bar's lower margin, else the status bar's thickness plus its margins.
std::vector<MenuBarStrip> menuBarStrips(const std::vector<platform::ScreenInfo>& screens, double statusBarThickness);
// A frame the click may aim at: non-empty, wholly inside one strip and clear of its housing.
bool qualifies(const Rect& frame, const std::vector<MenuBarStrip>& strips);

struct Context {
  platform::Accessibility& accessibility;
  platform::Events& events;
  platform::Screens& screens;
  platform::StatusBar& statusBar;
  platform::SerialQueue& queue;
};

// From a step of `context.queue`; `done` runs on the queue with whether a menu opened.
void perform(const Context& context, const platform::AXElement& element, bool canContinue,
             std::weak_ptr<ShelfOperation> operation, std::function<void(bool)> done);

}  // namespace tarvolo::NativeStatusItemClick
