#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "visibility/engine/SeparatorItems.h"

namespace tarvolo {

// The screen arrangement as the engine files its lengths: the keys of the screens and the width
// that bounds a collapse. Holds no state; every answer is read fresh.
class CollapseScreens {
 public:
  CollapseScreens(platform::Screens& screens, const SeparatorItems& items) : screens_(screens), items_(items) {}

  // Every connected screen's key, joined by "|".
  std::string screenConfigKey() const;
  // The key of the screen that holds the own items, or the whole arrangement.
  std::string collapseScreenKey() const;
  std::vector<std::string> connectedScreenKeys() const;
  // The per-app key of the collapse screen and `bundleID` (none files under "").
  std::string collapsePairKey(const std::optional<std::string>& bundleID) const;
  double widestScreenWidth() const;
  // The width of the screen that holds the own items, else the widest.
  double collapseScreenWidth() const;
  std::optional<platform::ScreenInfo> statusItemScreen() const { return items_.statusItemScreen(); }

 private:
  std::vector<Rect> frames() const;

  platform::Screens& screens_;
  const SeparatorItems& items_;
};

}  // namespace tarvolo
