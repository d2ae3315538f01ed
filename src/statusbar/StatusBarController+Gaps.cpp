// Watching the gaps between the own items: a stable gap that jumps means an icon was dragged
// across a separator, and the pinned gap is the reference a verified collapse is judged by.

#include <algorithm>
#include <cmath>

#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "statusbar/FoldPlaceholderController.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;

namespace {
// The pinned gap may wander this much before the remembered one is replaced.
constexpr double kPinnedGapTolerance = Policy::collapsePinTolerance;
constexpr int kPlaceholderRereadLimit = 5;
}  // namespace

void StatusBarController::startMenuBarSampling() {
  auto noteMouseUp = [weak = weak()] {
    auto* self = weak.get();
    if (!self) return;
    self->lastMouseUpAt_ = self->platform_.clock().now();
    self->logDragEndGaps();
  };
  const auto mouseUp = platform::eventMask(platform::EventType::leftMouseUp);
  mouseUpMonitor_ =
      platform_.events().addGlobalMonitor(mouseUp, [noteMouseUp](const platform::Event&) { noteMouseUp(); });
  // Drags of the app's own items end in the app.
  ownMouseUpMonitor_ = platform_.events().addLocalMonitor(mouseUp, [noteMouseUp](const platform::Event& event) {
    noteMouseUp();
    return std::optional<platform::Event>(event);
  });
  samplingSubscriptions_.push_back(workspaceCenter_.addObserver(
      Notifications::activeSpaceDidChange, [weak = weak()](const Notification&) {
        if (auto* self = weak.get()) self->workspaceClock_.note(self->platform_.clock().now());
      }));
  scheduleMenuBarSample();
}

void StatusBarController::scheduleMenuBarSample() {
  gapSampleWork_.schedule(MenuBarGapTracker::settleDelay, [weak = weak()] {
    if (auto* self = weak.get()) self->noteMenuBarGaps();
  });
}

std::optional<double> StatusBarController::gapSecondsSinceMouseUp() const {
  if (!lastMouseUpAt_) return std::nullopt;
  return platform_.clock().now() - *lastMouseUpAt_;
}

void StatusBarController::noteMenuBarGaps() {
  if (cliffProbeInFlight_ || !statusItem_ || !separatorStatusItem_ || !alwaysHiddenSeparatorStatusItem_) return;
  auto toggle = statusItem_->buttonFrameOnScreen();
  auto normal = separatorStatusItem_->buttonFrameOnScreen();
  auto hidden = alwaysHiddenSeparatorStatusItem_->buttonFrameOnScreen();
  if (!toggle || !normal || !hidden) return;
  if (!MenuBarGapPolicy::measurable(normal->width, hidden->width, Policy::shortDividerWidthLimit)) return;

  captureCollapseReferenceIfShort();
  captureDividerDistanceIfShort();
  if (foldPlaceholder_) {
    foldPlaceholder_->check(currentPresentation(), normal, hidden);
    // A placeholder just (re)created is judged on the next reading.
    if (!foldPlaceholder_->placedBesideFold() && !foldPlaceholder_->isSuppressed() &&
        ++placeholderRereads_ <= kPlaceholderRereadLimit) {
      scheduleMenuBarSample();
    } else if (foldPlaceholder_->placedBesideFold()) {
      placeholderRereads_ = 0;
    }
  }

  const auto sample = MenuBarGapPolicy::sample(*toggle, *normal, *hidden);
  const auto previous = gapTracker_.baseline;
  const bool mouseDown = platform_.events().pressedMouseButtons() != 0;
  gapTracker_.observe(sample, mouseDown, gapSecondsSinceMouseUp());
  if (gapTracker_.dragFrozen) {
    // Look again once the drag has settled.
    double wait = MenuBarGapTracker::settleDelay;
    if (!mouseDown) wait = std::max(wait, MenuBarGapTracker::dragSettle - gapSecondsSinceMouseUp().value_or(0) + 0.05);
    gapSampleWork_.schedule(wait, [weak = weak()] {
      if (auto* self = weak.get()) self->noteMenuBarGaps();
    });
    return;
  }
  if (previous) {
    auto crossing = gapTracker_.noteMovement(*previous, workspaceClock_.age(platform_.clock().now()));
    if (crossing != MenuBarGapCrossing::none) noteMenuBarRearrangeDrag(crossing);
  }
  if (gapTracker_.gapMoved || gapTracker_.pinnedGapMoved) {
    rememberPinnedGap(sample.pinnedGap);
    gapTracker_.acknowledgeMovement();
  }
}

void StatusBarController::logDragEndGaps() {
  auto toggle = statusItem_ ? statusItem_->buttonFrameOnScreen() : std::nullopt;
  auto normal = separatorStatusItem_ ? separatorStatusItem_->buttonFrameOnScreen() : std::nullopt;
  auto hidden = alwaysHiddenSeparatorStatusItem_ ? alwaysHiddenSeparatorStatusItem_->buttonFrameOnScreen()
                                                 : std::nullopt;
  if (toggle && normal && hidden) {
    auto sample = MenuBarGapPolicy::sample(*toggle, *normal, *hidden);
    Diag::log("gaps mouseUp pinned=" + numberText(sample.pinnedGap) + " folded=" + numberText(sample.foldedGap) +
              " hiddenMaxX=" + numberText(sample.hiddenMaxX));
  }
  scheduleMenuBarSample();
}

void StatusBarController::rememberPinnedGap(double gap) {
  const std::string screen = collapseScreenKey();
  auto known = perAppLengths_.knownGoodGap(screen);
  // The always-visible zone changed width; a collapse now shows the new gap.
  if (!known || std::abs(*known - gap) <= kPinnedGapTolerance) return;
  perAppLengths_.recordGap(screen, gap);
  persistPerAppLengths();
  MenuBarLog::log("gap pinned remembered gap=" + numberText(gap) + " was=" + numberText(*known));
}

void StatusBarController::noteMenuBarRearrangeDrag(MenuBarGapCrossing crossing) {
  MenuBarLog::log("gap crossing=" + std::string(rawValue(crossing)));
  // The reference was read with another set of icons beside the separator.
  forgetCollapseReference();
  captureCollapseReferenceIfShort();
}

}  // namespace tarvolo
