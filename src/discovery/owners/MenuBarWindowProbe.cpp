#include "discovery/owners/MenuBarWindowProbe.h"

#include <algorithm>

namespace tarvolo::MenuBarWindowProbe {

namespace {

const platform::ScreenInfo* primaryScreen(std::span<const platform::ScreenInfo> screens) {
  auto atOrigin = std::find_if(screens.begin(), screens.end(),
                               [](const platform::ScreenInfo& s) { return s.frame.x == 0 && s.frame.y == 0; });
  if (atOrigin != screens.end()) return &*atOrigin;
  return screens.empty() ? nullptr : &screens.front();
}

bool inSomeMenuBar(double top, double height, std::span<const platform::ScreenInfo> screens) {
  return std::any_of(screens.begin(), screens.end(), [&](const platform::ScreenInfo& screen) {
    const double maxY = screen.frame.maxY();
    return top <= maxY + topSlack && maxY - height - bottomSlack <= top;
  });
}

}  // namespace

std::vector<ForeignMenuBarWindow> menuBarWindows(std::span<const platform::WindowInfo> windows,
                                                 std::span<const platform::ScreenInfo> screens) {
  std::vector<ForeignMenuBarWindow> out;
  const platform::ScreenInfo* primary = primaryScreen(screens);
  if (!primary) return out;
  const double primaryHeight = primary->frame.height;
  for (const auto& window : windows) {
    if (!window.bounds) continue;
    const Rect& bounds = *window.bounds;
    if (!(bounds.width > 0) || !(bounds.height > 0) || bounds.height > maxWindowHeight) continue;
    // The list speaks top-left; screens speak bottom-left.
    const double top = primaryHeight - bounds.y;
    if (!inSomeMenuBar(top, bounds.height, screens)) continue;
    out.push_back(ForeignMenuBarWindow{.ownerName = window.ownerName,
                                       .minX = bounds.x,
                                       .maxX = bounds.x + bounds.width,
                                       .width = bounds.width,
                                       .height = bounds.height});
  }
  return out;
}

std::vector<ForeignMenuBarWindow> snapshot(const platform::WindowList& windowList, const platform::Screens& screens) {
  auto windows = windowList.onScreenWindows(platform::DesktopElements::exclude);
  if (!windows) return {};
  auto screenInfos = screens.screens();
  return menuBarWindows(*windows, screenInfos);
}

}  // namespace tarvolo::MenuBarWindowProbe
