#pragma once

// What a click on the toggle does. Pure.

#include <string_view>

#include "base/Geometry.h"

namespace tarvolo::MenuBarVisibilityPolicy {

enum class ArrowClickBehavior { revealHidden, toggleFoldedIcons };
// The option flag is accepted for symmetry with the click handler but does not matter.
ArrowClickBehavior arrowClickAction(bool option, bool command);

// What a click on the arrow ended up doing, for the trace.
enum class ArrowClickAction { openShelf = 0, openShelfAll = 1, expandFolded = 2, expandAll = 3 };
std::string_view logName(ArrowClickAction action);

bool commandClickRevealsHidden(bool command, bool guideOrManualOpen);
// A press that moved further than `tolerance` is a drag, not a click.
bool pointsDiffer(Point a, Point b, double tolerance);

}  // namespace tarvolo::MenuBarVisibilityPolicy
