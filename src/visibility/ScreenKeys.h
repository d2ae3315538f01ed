#pragma once

#include <optional>
#include <vector>

#include "base/Geometry.h"
#include "base/vocabulary/ScreenKey.h"

namespace tarvolo {

// One screen as "<width>x<height>@<originX>,<originY>" in whole points, e.g. "1512x982@0,0".
ScreenKey screenKey(const Rect& screenFrame);
// Every connected screen's key, in the platform's screen order, joined by "|".
ScreenKey screenConfigKey(const std::vector<Rect>& screenFrames);
// The key of the screen holding the status items, or the whole arrangement when it is unknown.
ScreenKey collapseScreenKey(const std::optional<Rect>& statusItemScreen, const std::vector<Rect>& screenFrames);
// Every key a remembered length may be filed under while these screens are connected.
std::vector<ScreenKey> connectedScreenKeys(const std::vector<Rect>& screenFrames);

}  // namespace tarvolo
