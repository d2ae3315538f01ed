#pragma once

#include <memory>
#include <optional>

#include "base/Geometry.h"
#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "statusbar/AutoCollapsePolicy.h"
#include "statusbar/StatusBarEvents.h"

namespace tarvolo {

class OwnStatusItems;

// Collapses an expanded bar again once the delay has passed and the user is not busy with the
// menu bar, and, when the user opts in, expands it while the pointer rests on the bar's empty
// status side. Event-driven: nothing runs while collapsed except what pointer events start.
// Main thread only.
class AutoCollapse {
 public:
  static constexpr const char* delayKey = "autoCollapseDelay";
  static constexpr const char* revealOnHoverKey = "com.ostrand.tarvolo.revealOnHover";

  // What the timer asks of the state machine.
  class Host {
   public:
    virtual ~Host() = default;
    virtual void collapseForTimeout() = 0;
    virtual void expandForHover() = 0;
  };

  struct Dependencies {
    platform::Platform& platform;
    const OwnStatusItems& items;
    const BarState& state;
    const BarSurroundings& surroundings;
    Host& host;
  };

  explicit AutoCollapse(Dependencies dependencies);
  ~AutoCollapse();
  AutoCollapse(const AutoCollapse&) = delete;
  AutoCollapse& operator=(const AutoCollapse&) = delete;

  // "autoCollapseDelay" as stored, clamped.
  double configuredAutoCollapseDelay() const;
  // Arms the timer for `delay` seconds; no delay disarms it.
  void scheduleAutoCollapseTimer(std::optional<double> delay);
  MenuBarVisibilityPolicy::AutoCollapseAction currentAutoCollapseAction();
  // The bar collapsed by any path: the timer and the remembered reason go.
  void barCollapsed();

  bool armed() const { return autoCollapseWorkItem_.isScheduled(); }
  std::optional<MenuBarVisibilityPolicy::AutoCollapseDeferral> lastDeferralReason() const {
    return lastDeferralReason_;
  }

  // Reveal on hover, persisted; off unless the user turns it on.
  bool revealOnHover() const;
  void setRevealOnHover(bool enabled);

 private:
  void timerFired();
  bool pointerInMenuBar(Point pointer) const;
  void notePointerInMenuBar(Point pointer);
  void installMonitors();
  void pointerMoved(const platform::Event& event);
  void outsideMouseDown(const platform::Event& event);
  void hoverRested(Point anchor);
  bool pointerOnEmptyStatusSide(Point pointer) const;

  platform::Platform& platform_;
  const OwnStatusItems& items_;
  const BarState& state_;
  const BarSurroundings& surroundings_;
  Host& host_;
  MainThreadChecker mainThread_;
  std::optional<MenuBarVisibilityPolicy::AutoCollapseDeferral> lastDeferralReason_;
  std::optional<double> lastMenuBarPresence_;
  std::optional<Point> hoverAnchor_;
  std::unique_ptr<platform::Registration> outsideMouseDownMonitor_;
  std::unique_ptr<platform::Registration> globalMoveMonitor_;
  std::unique_ptr<platform::Registration> localMoveMonitor_;
  WorkItem autoCollapseWorkItem_;
  WorkItem hoverRestWork_;
  WeakHandleFactory<AutoCollapse> weakFactory_{this};
};

}  // namespace tarvolo
