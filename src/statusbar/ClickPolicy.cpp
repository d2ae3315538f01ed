#include "statusbar/ClickPolicy.h"

namespace tarvolo::MenuBarVisibilityPolicy {

ArrowClickBehavior arrowClickAction(bool /*option*/, bool command) {
  return command ? ArrowClickBehavior::revealHidden : ArrowClickBehavior::toggleFoldedIcons;
}

std::string_view logName(ArrowClickAction action) {
  switch (action) {
    case ArrowClickAction::openShelf: return "openShelf";
    case ArrowClickAction::openShelfAll: return "openShelfAll";
    case ArrowClickAction::expandFolded: return "expandFolded";
    case ArrowClickAction::expandAll: return "expandAll";
  }
  return "openShelf";
}

bool commandClickRevealsHidden(bool command, bool guideOrManualOpen) { return command && !guideOrManualOpen; }

bool pointsDiffer(Point a, Point b, double tolerance) {
  const double dx = a.x - b.x;
  const double dy = a.y - b.y;
  return dx * dx + dy * dy > tolerance * tolerance;
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
