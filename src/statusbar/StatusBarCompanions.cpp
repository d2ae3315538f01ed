// What the controller's companions (auto-collapse, frontmost tracking, order repair, the hiding
// engine switch) ask of it.

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
    using Items = OwnStatusItems;
    defaults.set(Items::preferredPositionKey(Items::toggleAutosaveName), DefaultsValue(positions.toggle));
    defaults.set(Items::preferredPositionKey(Items::separatorAutosaveName), DefaultsValue(positions.separator));
    defaults.set(Items::preferredPositionKey(Items::alwaysHiddenAutosaveName), DefaultsValue(positions.alwaysHidden));
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

// --- the hiding engine switch ----------------------------------------------------------------

void StatusBarController::systemStateChanged() {
  hiding_.expandIfAvailable();
  scheduleApply();
  orderRepair_.scheduleOrderRepairCheck(OwnOrderRepair::Trigger::automatic);
}

// The system's engine failed for the run: a collapsed bar collapses again, with the own
// separators and everything their collapse involves (search, verification, recovery).
void StatusBarController::nativeAvailabilityChanged() {
  if (currentPresentation() != MenuBarPresentation::collapsed || hiding_.nativeAvailable()) return scheduleApply();
  collapseBar(CollapseReason::nativeFallback);
}

void StatusBarController::recreateOwnItemsForSystemEngine() {
  items_.removeOwnItems();
  items_.seedPreferredPositions();
  items_.createOwnItems(currentPresentation(), itemActions(),
                        [this](OwnStatusItems::Item created) { companionAfterOwnItem(created); });
  scheduleApply();
}

}  // namespace tarvolo
