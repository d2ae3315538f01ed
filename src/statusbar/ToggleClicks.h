#pragma once

#include <optional>

#include "base/Geometry.h"
#include "platform/Platform.h"
#include "statusbar/ClickPolicy.h"

namespace tarvolo {

class OwnStatusItems;

// Reads a left click on the toggle: remembers where a press began, tells a ⌘-drag of the item
// from a ⌘-click, and chooses what the click does from the modifiers and the screen's notch.
// Main thread only.
class ToggleClicks {
 public:
  ToggleClicks(platform::Platform& platform, const OwnStatusItems& items);

  // A left mouse-down on the toggle.
  void recordArrowPress();
  // The left mouse-up that ends the click. Absent when the press was the system's ⌘-drag of the
  // item, which is no click. While the user arranges icons ⌘ reveals nothing.
  std::optional<MenuBarVisibilityPolicy::ArrowClickAction> readClick(const platform::Event& event,
                                                                     bool arrangingIcons);

 private:
  void clearArrowPress();
  bool toggleScreenHasNotch() const;

  platform::Platform& platform_;
  const OwnStatusItems& items_;
  std::optional<Point> arrowPressPoint_;
  std::optional<Point> arrowPressFrameOrigin_;
  std::optional<double> arrowPressAt_;
};

}  // namespace tarvolo
