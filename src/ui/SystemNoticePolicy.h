#pragma once

// When to tell the user what the system or another app does to the bar: the own items given no
// place at all (from macOS 26 the system settings can keep an app out of the bar), and the signs
// of a second tool hiding icons in the same bar (a spacer far longer than any icon, or an item
// whose length jumps while the bar otherwise stands still).

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "base/Geometry.h"
#include "base/vocabulary/PlacementTypes.h"

namespace tarvolo::SystemNoticePolicy {

// From this major version the system settings hold a per-app "Allow in the Menu Bar" switch.
inline constexpr int menuBarSwitchFromOSMajor = 26;
// From this one the bar is one surface with no per-item windows left to measure.
inline constexpr int singleBarSurfaceFromOSMajor = 27;
// The toggle's window is read this many times after start-up, this far apart, before it counts
// as never placed: the items' first layout can take a moment on a busy login.
inline constexpr int placementReads = 3;
inline constexpr double placementReadInterval = 2.0;
// No icon is this long (a long text item takes about half of it); a spacer that pushes icons
// off the screen is.
inline constexpr double longestIconLength = 500;
// A length change this large while the own items stand still is another tool folding or
// unfolding its spacer; text items change by tens of points.
inline constexpr double lengthJump = 200;

// The window layer of status items (the status window level); the menu bars below them are as
// long as their screens are wide.
inline constexpr int statusItemWindowLayer = 25;

enum class Placement { onScreen, offEveryScreen, unknown };

// Where a readable frame stands: a window the system gave no place is readable but on no
// screen. An unreadable frame tells nothing. `screens` and `frame` share one global space.
Placement placement(const std::optional<Rect>& frame, std::span<const Rect> screens);

// One reading of the bar: other processes' status-item windows.
struct BarReading {
  std::vector<ForeignMenuBarWindow> windows;
};

// The windows that are none of the own items, whose frames `own` gives: two items never overlap
// in the bar, so a window overlapping an own item is that item's.
std::vector<ForeignMenuBarWindow> withoutOwnItems(std::span<const ForeignMenuBarWindow> windows,
                                                  std::span<const Rect> own);

enum class HiderSign { longItem, lengthJump };
std::string_view rawValue(HiderSign sign);

// What the reading shows of another tool hiding icons, compared with the reading before it. An
// item keeps its right edge as its length changes (the bar lays items out from the right), so
// the same right edge is the same item; the bar stood still around it when every item right of
// it kept its place and length. Only the app that draws an item changes its length: the own
// separators move other items, never resize them.
std::optional<HiderSign> anotherHider(const std::optional<BarReading>& previous, const BarReading& now);

}  // namespace tarvolo::SystemNoticePolicy
