// What the state machine's companions (the start-up campaign, frontmost tracking, order repair,
// the hiding engine switch) ask of it.

#include "base/Log.h"
#include "platform/windows/UserInterface.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

// --- the start-up campaign -------------------------------------------------------------------

bool StatusBarController::startupCollapseMayRun() const {
  return campaign_.startupCollapseAllowed() && onboardingComplete() && !surroundings_.manualPlacement;
}

bool StatusBarController::showsEverything() const { return state_.isExpanded && state_.isDeepExpanded; }

void StatusBarController::startupCollapseGaveUp() {
  if (showsEverything()) orderRepair_.considerOrderRepair(OwnOrderRepair::Trigger::automatic);
}

// --- frontmost tracking ----------------------------------------------------------------------

void StatusBarController::commitFrontmostLength() {
  applyVisibilityNow();
  // The normal expanded bar schedules its own measurement as it is applied.
  if (currentPresentation() == MenuBarPresentation::collapsed) engine_.verifier().scheduleCollapsedCliffVerify();
}

// --- order repair ----------------------------------------------------------------------------

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
    self.createOwnItems();
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

bool StatusBarController::handAnchorRepairToGuide(OwnOrderRepair::Requester requester) {
  if (!surroundings_.guide.available) return false;
  publish(BarEvent::RepairAnchors{.openedByCollapseAttempt = false,
                                  .userInitiated = requester == OwnOrderRepair::Requester::user});
  return true;
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
  createOwnItems();
  scheduleApply();
}

}  // namespace tarvolo
