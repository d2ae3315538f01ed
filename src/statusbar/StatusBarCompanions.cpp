// What the controller's companions (auto-collapse, frontmost tracking, order repair) ask of it.

#include "base/Log.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

std::optional<double> StatusBarController::visibleIconsMinX() const {
  if (auto separator = items_.separatorFrame()) return separator->maxX();
  if (auto toggle = items_.toggleFrame()) return toggle->minX();
  return std::nullopt;
}

void StatusBarController::commitFrontmostLength() {
  applyVisibilityNow();
  engine_.verifier().scheduleCollapsedCliffVerify();
}

MenuBarVisibilityPolicy::OwnItemValues StatusBarController::ownItemRightEdges() const {
  auto maxX = [](std::optional<Rect> frame) -> std::optional<double> {
    if (!frame) return std::nullopt;
    return frame->maxX();
  };
  return {.toggle = maxX(items_.toggleFrame()),
          .separator = maxX(items_.separatorFrame()),
          .alwaysHidden = maxX(items_.alwaysHiddenSeparatorFrame())};
}

void StatusBarController::recreateOwnItems(const MenuBarVisibilityPolicy::RepairPositions& positions) {
  engine_.cliff().abortForExpandedBar();
  items_.removeOwnItems();
  // A removed item deletes its stored position when it goes away at the end of this turn, so the
  // new positions are written, and the items made, on the next one; written now they would be lost.
  recreateItemsWork_.schedule(0, bindWeak(weak(), [positions](StatusBarController& self) {
    auto& defaults = self.platform_.defaults();
    defaults.set(preferredPositionKey(toggleAutosaveName), DefaultsValue(positions.toggle));
    defaults.set(preferredPositionKey(separatorAutosaveName), DefaultsValue(positions.separator));
    defaults.set(preferredPositionKey(alwaysHiddenAutosaveName), DefaultsValue(positions.alwaysHidden));
    self.items_.createOwnItems(self.currentPresentation(), self.itemActions(),
                               [&self](OwnStatusItems::Item created) { self.companionAfterOwnItem(created); });
    self.updateLanguageStrings();
    self.applyVisibilityNow();
  }));
}

void StatusBarController::orderRepairFinished(bool inOrder) {
  publishFoldingEffective();
  if (!inOrder) return;
  // What the wrong order made the bar say no longer holds.
  platform_.userInterface().dismissNotice("collapseStayExpanded");
  platform_.userInterface().dismissNotice("foldingIneffective");
}

}  // namespace tarvolo
