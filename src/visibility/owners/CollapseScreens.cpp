#include "visibility/owners/CollapseScreens.h"

#include <algorithm>

#include "visibility/ScreenKeys.h"

namespace tarvolo {

std::vector<Rect> CollapseScreens::frames() const {
  std::vector<Rect> out;
  for (const auto& screen : screens_.screens()) out.push_back(screen.frame);
  return out;
}

ScreenKey CollapseScreens::screenConfigKey() const { return ::tarvolo::screenConfigKey(frames()); }

ScreenKey CollapseScreens::collapseScreenKey() const {
  auto screen = statusItemScreen();
  return ::tarvolo::collapseScreenKey(screen ? std::optional<Rect>(screen->frame) : std::nullopt, frames());
}

std::vector<ScreenKey> CollapseScreens::connectedScreenKeys() const {
  return ::tarvolo::connectedScreenKeys(frames());
}

double CollapseScreens::widestScreenWidth() const {
  double widest = 0;
  for (const auto& screen : screens_.screens()) widest = std::max(widest, screen.frame.width);
  return widest;
}

double CollapseScreens::collapseScreenWidth() const {
  auto screen = statusItemScreen();
  return screen ? screen->frame.width : widestScreenWidth();
}

}  // namespace tarvolo
