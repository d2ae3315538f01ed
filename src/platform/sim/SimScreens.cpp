#include "platform/sim/SimScreens.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace tarvolo::sim {

namespace {

constexpr double kNotchBarHeight = 37;
constexpr double kPlainBarHeight = 24;

}  // namespace

SimScreens::SimScreens(std::vector<SimScreenSetup> setups) : setups_(std::move(setups)) {
  if (setups_.empty()) setups_.push_back(SimScreenSetup{});
}

bool SimScreens::replace(std::vector<SimScreenSetup> setups) {
  if (setups.empty()) return false;
  setups_ = std::move(setups);
  return true;
}

std::vector<platform::ScreenInfo> SimScreens::infos() const {
  std::vector<platform::ScreenInfo> out;
  bool builtInNamed = false;
  for (const auto& config : setups_) {
    platform::ScreenInfo info;
    // A Mac has one built-in display: the first notched screen is it.
    const bool builtIn = config.notchWidth && *config.notchWidth > 0 && !std::exchange(builtInNamed, true);
    info.name = config.name.value_or(builtIn ? "Built-in Retina Display" : "Display " + std::to_string(out.size() + 1));
    info.displayID = config.id.value_or(info.name);
    info.frame = Rect{config.x, config.y, config.width, config.height};
    bool notched = config.notchWidth && *config.notchWidth > 0;
    info.menuBarHeight = notched ? kNotchBarHeight : kPlainBarHeight;
    info.visibleFrame = Rect{config.x, config.y, config.width, config.height - info.menuBarHeight - 1};
    if (notched) {
      double notchMinX = config.x + std::floor((config.width - *config.notchWidth) / 2);
      double top = config.y + config.height - info.menuBarHeight;
      info.auxiliaryTopLeftArea = Rect{config.x, top, notchMinX - config.x, info.menuBarHeight};
      double rightMinX = notchMinX + *config.notchWidth;
      info.auxiliaryTopRightArea = Rect{rightMinX, top, config.x + config.width - rightMinX, info.menuBarHeight};
      info.safeAreaTop = 32;
    }
    out.push_back(info);
  }
  return out;
}

// Top-left space has its origin at the top-left of the screen whose origin is AppKit's.
Rect SimScreens::topLeftFrame(const Rect& frame) const {
  auto origin = std::find_if(setups_.begin(), setups_.end(),
                             [](const SimScreenSetup& screen) { return screen.x == 0 && screen.y == 0; });
  const double height = origin == setups_.end() ? setups_.front().height : origin->height;
  return Rect{frame.x, height - frame.maxY(), frame.width, frame.height};
}

// The cursor's two spaces meet at the primary screen's top edge.
Point SimScreens::topLeftPoint(Point bottomLeft) const { return {bottomLeft.x, primarySetup().height - bottomLeft.y}; }

Point SimScreens::bottomLeftPoint(Point topLeft) const { return {topLeft.x, primarySetup().height - topLeft.y}; }

}  // namespace tarvolo::sim
