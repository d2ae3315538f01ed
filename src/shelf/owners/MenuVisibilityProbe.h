#pragma once

#include <optional>

#include "platform/Platform.h"

namespace tarvolo {

constexpr int kMenuProbeChildLimit = 24;

// Whether an element shows a menu: a visible AXMenu or AXPopover among its first children.
// Any thread; bounded by a short messaging time-out.
bool visibleMenu(platform::Accessibility& accessibility, const platform::AXElement& element);

// The element's frame in top-left global space from AXPosition and AXSize; absent if either
// cannot be read.
std::optional<Rect> elementFrame(platform::Accessibility& accessibility, const platform::AXElement& element);

}  // namespace tarvolo
