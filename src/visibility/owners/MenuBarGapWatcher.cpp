#include "visibility/owners/MenuBarGapWatcher.h"

#include <algorithm>
#include <cmath>

#include "base/Log.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;

namespace {
// The pinned gap may wander this much before the remembered one is replaced.
constexpr double kPinnedGapTolerance = Policy::collapsePinTolerance;
// A drag is over this long after the mouse went up; the next sample comes just after.
constexpr double kAfterDragSlack = 0.05;
}  // namespace

MenuBarGapWatcher::MenuBarGapWatcher(Dependencies dependencies)
    : platform_(dependencies.platform),
      workspaceCenter_(dependencies.workspaceCenter),
      items_(dependencies.items),
      screens_(dependencies.screens),
      lengths_(dependencies.lengths),
      fold_(dependencies.fold),
      shelf_(dependencies.shelf),
      cliff_(dependencies.cliff),
      verifier_(dependencies.verifier),
      bar_(dependencies.bar),
      host_(dependencies.host),
      gapSampleWork_(dependencies.platform.mainQueue()) {}

void MenuBarGapWatcher::startMenuBarSampling() {
  mainThread_.check();
  const auto mouseUp = platform::eventMask(platform::EventType::leftMouseUp);
  auto noteMouseUp = bindWeak(weak(), &MenuBarGapWatcher::noteMouseUp);
  mouseUpMonitor_ =
      platform_.events().addGlobalMonitor(mouseUp, [noteMouseUp](const platform::Event&) { noteMouseUp(); });
  // Mouse-ups in the app's own windows; those on its status items are consumed by the buttons'
  // tracking and reach `noteMouseUp` through their actions instead.
  ownMouseUpMonitor_ = platform_.events().addLocalMonitor(mouseUp, [noteMouseUp](const platform::Event& event) {
    noteMouseUp();
    return std::optional<platform::Event>(event);
  });
  auto noteSpaceChange = bindWeak(weak(), [](MenuBarGapWatcher& self) {
    self.workspaceClock_.note(self.platform_.clock().now());
  });
  samplingSubscriptions_.push_back(workspaceCenter_.addObserver(
      Notifications::activeSpaceDidChange, [noteSpaceChange](const Notification&) { noteSpaceChange(); }));
  scheduleMenuBarSample();
}

void MenuBarGapWatcher::noteMouseUp() {
  lastMouseUpAt_ = platform_.clock().now();
  logDragEndGaps();
}

void MenuBarGapWatcher::scheduleMenuBarSample() {
  mainThread_.check();
  gapSampleWork_.schedule(MenuBarGapTracker::settleDelay, bindWeak(weak(), &MenuBarGapWatcher::noteMenuBarGaps));
}

std::optional<double> MenuBarGapWatcher::gapSecondsSinceMouseUp() const {
  if (!lastMouseUpAt_) return std::nullopt;
  return platform_.clock().now() - *lastMouseUpAt_;
}

void MenuBarGapWatcher::noteMenuBarGaps() {
  if (cliff_.cliffSearchInFlight()) return;
  auto toggle = items_.toggleFrame();
  auto normal = items_.separatorFrame();
  auto hidden = items_.alwaysHiddenSeparatorFrame();
  if (!toggle || !normal || !hidden || !MenuBarGapPolicy::measurable(normal->width, hidden->width,
                                                                      Policy::shortDividerWidthLimit)) {
    // A collapsed bar says nothing; the next short sample starts afresh.
    lastSettledSample_.reset();
    return;
  }

  verifier_.captureCollapseReferenceIfShort();
  shelf_.captureDividerDistanceIfShort();
  if (fold_.checkFoldPlaceholderFromSample(bar_.presentation, *normal, *hidden)) scheduleMenuBarSample();

  const auto sample = MenuBarGapPolicy::sample(*toggle, *normal, *hidden);
  const auto previous = gapTracker_.baseline;
  const bool mouseDown = platform_.events().pressedMouseButtons() != 0;
  gapTracker_.observe(sample, mouseDown, gapSecondsSinceMouseUp());
  if (gapTracker_.dragFrozen) {
    // Look again once the drag has settled.
    double wait = MenuBarGapTracker::settleDelay;
    if (!mouseDown) {
      wait = std::max(wait, MenuBarGapTracker::dragSettle - gapSecondsSinceMouseUp().value_or(0) + kAfterDragSlack);
    }
    gapSampleWork_.schedule(wait, bindWeak(weak(), &MenuBarGapWatcher::noteMenuBarGaps));
    return;
  }
  // Any settled change tells the listeners, whatever the drag heuristics make of it.
  const bool changed = lastSettledSample_ && MenuBarGapPolicy::gapsDiffer(*lastSettledSample_, sample);
  lastSettledSample_ = sample;
  bool crossed = false;
  if (previous) {
    auto crossing = gapTracker_.noteMovement(*previous, workspaceClock_.age(platform_.clock().now()));
    crossed = crossing != MenuBarGapCrossing::none;
    if (crossed) noteMenuBarRearrangeDrag(crossing);
  }
  const bool moved = gapTracker_.gapMoved || gapTracker_.pinnedGapMoved;
  if (moved) {
    rememberPinnedGap(sample.pinnedGap);
    gapTracker_.acknowledgeMovement();
  }
  if (changed || moved || crossed) host_.menuBarGapsChanged();
}

void MenuBarGapWatcher::logDragEndGaps() {
  auto toggle = items_.toggleFrame();
  auto normal = items_.separatorFrame();
  auto hidden = items_.alwaysHiddenSeparatorFrame();
  if (toggle && normal && hidden) {
    auto sample = MenuBarGapPolicy::sample(*toggle, *normal, *hidden);
    Diag::log(LogLine("gaps mouseUp")
                  .add("pinned", sample.pinnedGap)
                  .add("folded", sample.foldedGap)
                  .add("hiddenMaxX", sample.hiddenMaxX));
  }
  scheduleMenuBarSample();
}

void MenuBarGapWatcher::rememberPinnedGap(double gap) {
  const ScreenKey screen = screens_.collapseScreenKey();
  auto known = lengths_.perAppLengths().knownGoodGap(screen);
  // The always-visible zone changed width; a collapse now shows the new gap.
  if (!known || std::abs(*known - gap) <= kPinnedGapTolerance) return;
  lengths_.recordGap(screen, gap);
  MenuBarLog::log(LogLine("gap pinned remembered").add("gap", gap).add("was", *known));
}

void MenuBarGapWatcher::noteMenuBarRearrangeDrag(MenuBarGapCrossing crossing) {
  MenuBarLog::log(LogLine("gap").add("crossing", rawValue(crossing)));
  // The reference was read with another set of icons beside the separator.
  verifier_.forgetCollapseReference();
  verifier_.captureCollapseReferenceIfShort();
}

}  // namespace tarvolo
