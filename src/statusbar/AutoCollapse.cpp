#include "statusbar/AutoCollapse.h"

#include <cmath>

#include "base/Log.h"
#include "statusbar/OwnStatusItems.h"
#include "visibility/VisibilityConstants.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using platform::EventType;

AutoCollapse::AutoCollapse(Dependencies dependencies)
    : platform_(dependencies.platform),
      items_(dependencies.items),
      state_(dependencies.state),
      surroundings_(dependencies.surroundings),
      host_(dependencies.host),
      autoCollapseWorkItem_(dependencies.platform.mainQueue()),
      hoverRestWork_(dependencies.platform.mainQueue()) {
  // A click in the menu bar outside the app (another app's icon in the shown zone) opens a menu
  // the app cannot see; it counts as the user being busy in the bar.
  outsideMouseDownMonitor_ = platform_.events().addGlobalMonitor(
      platform::eventMask(EventType::leftMouseDown), bindWeak(weakFactory_.handle(), &AutoCollapse::outsideMouseDown));
  if (revealOnHover()) installMonitors();
}

AutoCollapse::~AutoCollapse() = default;

double AutoCollapse::configuredAutoCollapseDelay() const {
  return Policy::autoCollapseDelay(platform_.defaults().getDouble(delayKey));
}

void AutoCollapse::scheduleAutoCollapseTimer(std::optional<double> delay) {
  mainThread_.check();
  autoCollapseWorkItem_.cancel();
  if (!delay) return;
  autoCollapseWorkItem_.schedule(*delay, bindWeak(weakFactory_.handle(), &AutoCollapse::timerFired));
}

void AutoCollapse::barCollapsed() {
  autoCollapseWorkItem_.cancel();
  lastDeferralReason_.reset();
}

bool AutoCollapse::pointerInMenuBar(Point pointer) const {
  for (const auto& screen : platform_.screens().screens()) {
    const Rect& frame = screen.frame;
    if (pointer.x >= frame.minX() && pointer.x <= frame.maxX() && pointer.y <= frame.maxY() &&
        pointer.y >= frame.maxY() - screen.menuBarHeight) {
      return true;
    }
  }
  return false;
}

void AutoCollapse::notePointerInMenuBar(Point pointer) {
  if (pointerInMenuBar(pointer)) lastMenuBarPresence_ = platform_.clock().now();
}

Policy::AutoCollapseAction AutoCollapse::currentAutoCollapseAction() {
  auto& events = platform_.events();
  const Point pointer = events.mouseLocation();
  const double now = platform_.clock().now();
  const bool inMenuBar = pointerInMenuBar(pointer);
  if (inMenuBar) lastMenuBarPresence_ = now;
  auto toggle = items_.toggleFrame();
  const auto& guide = surroundings_.guide;
  return Policy::autoCollapseAction({
      .deepOrPlacement = state_.isDeepExpanded || surroundings_.placementInProgress(),
      .commandHeld = events.modifierFlags().has(platform::Modifier::command),
      .pointerInMenuBar = inMenuBar,
      .pointerOverChrome = guide.open && guide.covers(pointer),
      .pointerOnToggle = toggle && toggle->contains(pointer),
      .menuTracking = surroundings_.menuTracking(),
      .mouseButtonDown = events.pressedMouseButtons() != 0,
      .pointerInMenuBarRecently = !inMenuBar && Policy::pointerInMenuBarRecently(lastMenuBarPresence_, now),
  });
}

void AutoCollapse::timerFired() {
  if (!state_.isExpanded) return;
  if (surroundings_.placementInProgress() || state_.isDeepExpanded) {
    scheduleAutoCollapseTimer(std::nullopt);
    return;
  }
  auto action = currentAutoCollapseAction();
  switch (action.kind) {
    case Policy::AutoCollapseAction::Kind::collapse:
      lastDeferralReason_.reset();
      host_.collapseForTimeout();
      return;
    case Policy::AutoCollapseAction::Kind::keepDeepOrPlacement:
      scheduleAutoCollapseTimer(std::nullopt);
      return;
    case Policy::AutoCollapseAction::Kind::wait:
      if (action.reason != lastDeferralReason_) {
        MenuBarLog::log(LogLine("auto-collapse deferred").add("reason", Policy::rawValue(*action.reason)));
        lastDeferralReason_ = action.reason;
      }
      scheduleAutoCollapseTimer(Policy::autoCollapseRecheckInterval);
      return;
  }
}

// --- reveal on hover -------------------------------------------------------------------------

bool AutoCollapse::revealOnHover() const { return platform_.defaults().getBool(revealOnHoverKey).value_or(false); }

void AutoCollapse::setRevealOnHover(bool enabled) {
  mainThread_.check();
  platform_.defaults().set(revealOnHoverKey, DefaultsValue(enabled));
  Diag::log(LogLine("reveal on hover").add("enabled", enabled));
  if (enabled) {
    installMonitors();
    return;
  }
  globalMoveMonitor_.reset();
  localMoveMonitor_.reset();
  hoverRestWork_.cancel();
  hoverAnchor_.reset();
}

void AutoCollapse::installMonitors() {
  if (globalMoveMonitor_) return;
  const auto mask = platform::eventMask(EventType::mouseMoved);
  globalMoveMonitor_ =
      platform_.events().addGlobalMonitor(mask, bindWeak(weakFactory_.handle(), &AutoCollapse::pointerMoved));
  localMoveMonitor_ = platform_.events().addLocalMonitor(
      mask, [weak = weakFactory_.handle()](const platform::Event& event) -> std::optional<platform::Event> {
        if (auto* self = weak.get()) self->pointerMoved(event);
        return event;
      });
}

bool AutoCollapse::pointerOnEmptyStatusSide(Point pointer) const {
  auto screen = items_.statusItemScreen();
  auto iconsMinX = items_.visibleIconsMinX();
  if (!screen || !iconsMinX) return false;
  const Rect bar{screen->frame.minX(), screen->frame.maxY() - screen->menuBarHeight, screen->frame.width,
                 screen->menuBarHeight};
  double emptyMinX = platform_.workspace().applicationMenusMaxX().value_or(bar.minX());
  if (auto notch = screen->notchRect()) emptyMinX = std::max(emptyMinX, notch->maxX());
  return Policy::pointerOnEmptyStatusSide(
      {.pointer = pointer, .menuBar = bar, .emptyMinX = emptyMinX, .emptyMaxX = *iconsMinX});
}

void AutoCollapse::pointerMoved(const platform::Event& event) {
  notePointerInMenuBar(event.locationInScreen);
  if (state_.isExpanded || platform_.events().pressedMouseButtons() != 0 ||
      !pointerOnEmptyStatusSide(event.locationInScreen)) {
    hoverRestWork_.cancel();
    hoverAnchor_.reset();
    return;
  }
  // Small drift keeps the rest going; a real move starts it again.
  if (hoverAnchor_ && hoverRestWork_.isScheduled() &&
      std::hypot(event.locationInScreen.x - hoverAnchor_->x, event.locationInScreen.y - hoverAnchor_->y) <=
          Policy::hoverRevealDriftTolerance) {
    return;
  }
  hoverAnchor_ = event.locationInScreen;
  hoverRestWork_.schedule(Policy::hoverRevealRestDelay,
                          bindWeak(weakFactory_.handle(), &AutoCollapse::hoverRested, event.locationInScreen));
}

void AutoCollapse::hoverRested(Point anchor) {
  hoverAnchor_.reset();
  const Point pointer = platform_.events().mouseLocation();
  if (state_.isExpanded || std::hypot(pointer.x - anchor.x, pointer.y - anchor.y) > Policy::hoverRevealDriftTolerance ||
      !pointerOnEmptyStatusSide(pointer)) {
    return;
  }
  MenuBarLog::log(LogLine("reveal on hover").add("x", pointer.x));
  lastMenuBarPresence_ = platform_.clock().now();
  host_.expandForHover();
}

void AutoCollapse::outsideMouseDown(const platform::Event& event) { notePointerInMenuBar(event.locationInScreen); }

}  // namespace tarvolo
