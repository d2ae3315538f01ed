#pragma once

// The displays of the simulated desktop; the first one holds the menu bar. A notched screen's
// bar is 37 points tall instead of 24, with the strips beside the notch as auxiliary areas.

#include <vector>

#include "base/Geometry.h"
#include "platform/Platform.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

class SimScreens final : public platform::Screens {
 public:
  // One default screen when `setups` is empty.
  explicit SimScreens(std::vector<SimScreenSetup> setups);

  std::vector<platform::ScreenInfo> screens() const override { return infos(); }

  const std::vector<SimScreenSetup>& setups() const { return setups_; }
  const SimScreenSetup& primarySetup() const { return setups_.front(); }
  std::vector<platform::ScreenInfo> infos() const;
  platform::ScreenInfo primary() const { return infos().front(); }
  // False, changing nothing, when `setups` is empty.
  bool replace(std::vector<SimScreenSetup> setups);

  // A frame of AppKit's bottom-left space in the window list's top-left space.
  Rect topLeftFrame(const Rect& frame) const;
  // A point of AppKit's bottom-left space in top-left space and back.
  Point topLeftPoint(Point bottomLeft) const;
  Point bottomLeftPoint(Point topLeft) const;

 private:
  std::vector<SimScreenSetup> setups_;
};

}  // namespace tarvolo::sim
