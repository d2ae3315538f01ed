#pragma once

// Picks the status-item-sized windows at the top of any screen out of the window server's list.
// The system's own items are kept: owner matching rejects them later.

#include <span>
#include <vector>

#include "base/vocabulary/PlacementTypes.h"
#include "platform/Platform.h"

namespace tarvolo::MenuBarWindowProbe {

// A menu-bar window is at most this high, and its top may stand this far above a screen's top or
// this far below the bar's lower edge.
inline constexpr double maxWindowHeight = 40;
inline constexpr double topSlack = 2;
inline constexpr double bottomSlack = 6;

// The windows of `windows` (in list order) that sit in some screen's menu bar. `screens` are in
// AppKit's bottom-left space; the primary screen is the first at the origin, else the first.
std::vector<ForeignMenuBarWindow> menuBarWindows(std::span<const platform::WindowInfo> windows,
                                                 std::span<const platform::ScreenInfo> screens);

// Asks the window server for on-screen windows without desktop elements; empty when it cannot.
std::vector<ForeignMenuBarWindow> snapshot(const platform::WindowList& windowList, const platform::Screens& screens);

}  // namespace tarvolo::MenuBarWindowProbe
