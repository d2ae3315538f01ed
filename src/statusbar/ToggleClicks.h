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

// The same guard for the two separators: the system's ⌘-drag of a separator ends in a mouse-up
// on it, which must not toggle the bar. Main thread only.
class SeparatorClicks {
 public:
  enum class Which { separator, alwaysHidden };

  SeparatorClicks(platform::Platform& platform, const OwnStatusItems& items);

  // A left mouse-down on the separator.
  void recordPress(Which which);
  // Whether the left mouse-up `event` ends a ⌘-drag of the separator rather than a click.
  bool endsCommandDrag(Which which, const platform::Event& event);

 private:
  std::optional<Rect> frame(Which which) const;

  platform::Platform& platform_;
  const OwnStatusItems& items_;
  struct Press {
    Which which = Which::separator;
    Point pointer;
    std::optional<Point> frameOrigin;
    double at = 0;
  };
  std::optional<Press> press_;
};

}  // namespace tarvolo
