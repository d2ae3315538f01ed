#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/vocabulary/ScreenKey.h"
#include "platform/Platform.h"
#include "visibility/MenuBarVisibilityPolicy.h"
#include "visibility/owners/SeparatorItems.h"

namespace tarvolo {

// The screen arrangement as the engine files its lengths: the keys of the screens and the width
// that bounds a collapse. Holds no state; every answer is read fresh.
class CollapseScreens {
 public:
  CollapseScreens(platform::Screens& screens, const platform::SystemInfo& system, const SeparatorItems& items)
      : screens_(screens), system_(system), items_(items) {}

  // Every connected screen's key, joined by "|".
  ScreenKey screenConfigKey() const;
  // The key of the screen that holds the own items, or the whole arrangement.
  ScreenKey collapseScreenKey() const;
  std::vector<ScreenKey> connectedScreenKeys() const;
  double widestScreenWidth() const;
  // The width of the screen that holds the own items, else the widest.
  double collapseScreenWidth() const;
  std::optional<platform::ScreenInfo> statusItemScreen() const { return items_.statusItemScreen(); }
  MenuBarVisibilityPolicy::PublicCollapseSizing sizing() const {
    return MenuBarVisibilityPolicy::collapseUsesStatusRegionCliff(system_.osMajorVersion());
  }
  // The bounds of a search and of a fold tail on the collapse screen, as the sizing has them.
  double searchUpperBound() const {
    return MenuBarVisibilityPolicy::collapseSearchUpperBound(collapseScreenWidth(), sizing());
  }
  double tailCeiling() const { return MenuBarVisibilityPolicy::collapseTailCeiling(collapseScreenWidth(), sizing()); }

 private:
  std::vector<Rect> frames() const;

  platform::Screens& screens_;
  const platform::SystemInfo& system_;
  const SeparatorItems& items_;
};

}  // namespace tarvolo
