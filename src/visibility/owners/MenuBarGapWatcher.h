#pragma once

#include <memory>
#include <optional>

#include "base/NotificationCenter.h"
#include "base/Subscription.h"
#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "visibility/MenuBarGapPolicy.h"
#include "visibility/owners/CliffSearch.h"
#include "visibility/owners/CollapseAttempt.h"
#include "visibility/owners/CollapseHost.h"
#include "visibility/owners/CollapseLengthStore.h"
#include "visibility/owners/CollapseScreens.h"
#include "visibility/owners/CollapseVerifier.h"
#include "visibility/owners/FoldTails.h"
#include "visibility/owners/SeparatorItems.h"
#include "visibility/owners/ShelfHiddenLength.h"

namespace tarvolo {

// Watches the gaps between the own items while the separators are short: a stable gap that
// jumps means an icon was dragged across a separator, and the readings keep the references
// a collapse is judged by fresh. Main thread only.
class MenuBarGapWatcher {
 public:
  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& workspaceCenter;
    const SeparatorItems& items;
    const CollapseScreens& screens;
    CollapseLengthStore& lengths;
    FoldTails& fold;
    ShelfHiddenLength& shelf;
    const CliffSearch& cliff;
    CollapseVerifier& verifier;
    const PresentedBar& bar;
    CollapseHost& host;
  };

  explicit MenuBarGapWatcher(Dependencies dependencies);
  MenuBarGapWatcher(const MenuBarGapWatcher&) = delete;
  MenuBarGapWatcher& operator=(const MenuBarGapWatcher&) = delete;

  // Installs the mouse-up monitors and the desktop-space clock, and takes a first sample.
  void startMenuBarSampling();
  // A sample once the bar has settled after a change.
  void scheduleMenuBarSample();
  const MenuBarGapTracker& menuBarGapTracker() const { return gapTracker_; }
  // A mouse-up on one of the own items, which only their actions see.
  void noteMouseUp();

 private:
  void noteMenuBarGaps();
  void logDragEndGaps();
  std::optional<double> gapSecondsSinceMouseUp() const;
  void rememberPinnedGap(double gap);
  void noteMenuBarRearrangeDrag(MenuBarGapCrossing crossing);
  WeakHandle<MenuBarGapWatcher> weak() const { return weakFactory_.handle(); }

  platform::Platform& platform_;
  NotificationCenter& workspaceCenter_;
  const SeparatorItems& items_;
  const CollapseScreens& screens_;
  CollapseLengthStore& lengths_;
  FoldTails& fold_;
  ShelfHiddenLength& shelf_;
  const CliffSearch& cliff_;
  CollapseVerifier& verifier_;
  const PresentedBar& bar_;
  CollapseHost& host_;

  MainThreadChecker mainThread_;
  MenuBarGapTracker gapTracker_;
  std::optional<MenuBarGapSample> lastSettledSample_;
  WorkspaceActivityClock workspaceClock_;
  std::optional<double> lastMouseUpAt_;
  std::unique_ptr<platform::Registration> mouseUpMonitor_;
  std::unique_ptr<platform::Registration> ownMouseUpMonitor_;
  Cancellables samplingSubscriptions_;
  WorkItem gapSampleWork_;

  WeakHandleFactory<MenuBarGapWatcher> weakFactory_{this};
};

}  // namespace tarvolo
