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
  // One default screen when `specs` is empty.
  explicit SimScreens(std::vector<SimScreenSpec> specs);

  std::vector<platform::ScreenInfo> screens() const override { return infos(); }

  const std::vector<SimScreenSpec>& specs() const { return specs_; }
  const SimScreenSpec& primarySpec() const { return specs_.front(); }
  std::vector<platform::ScreenInfo> infos() const;
  platform::ScreenInfo primary() const { return infos().front(); }
  // False, changing nothing, when `specs` is empty.
  bool replace(std::vector<SimScreenSpec> specs);

  // A frame of AppKit's bottom-left space in the window list's top-left space.
  Rect topLeftFrame(const Rect& frame) const;
  // A point of AppKit's bottom-left space in top-left space and back.
  Point topLeftPoint(Point bottomLeft) const;
  Point bottomLeftPoint(Point topLeft) const;

 private:
  std::vector<SimScreenSpec> specs_;
};

}  // namespace tarvolo::sim
