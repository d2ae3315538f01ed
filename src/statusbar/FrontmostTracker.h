#pragma once

#include <optional>
#include <string>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "base/vocabulary/BundleID.h"
#include "platform/Platform.h"
#include "statusbar/StatusBarEvents.h"

namespace tarvolo {

class CollapseEngine;

// Follows the frontmost application: when its collapse length differs from the one in force,
// the new length is committed one second later, so that a quick switch through several apps
// applies only the last. Acts while the bar is collapsed, and while the normal expanded bar
// shows, whose always-hidden separator depends on the app's menus too; the deep expanded bar
// takes the frontmost app's length when it next collapses. Main thread only.
class FrontmostTracker {
 public:
  class Host {
   public:
    virtual ~Host() = default;
    // Applies the frontmost app's lengths and has them verified again.
    virtual void commitFrontmostLength() = 0;
  };

  struct Dependencies {
    platform::Platform& platform;
    const BarState& state;
    const CollapseEngine& engine;
    Host& host;
  };

  explicit FrontmostTracker(Dependencies dependencies);
  FrontmostTracker(const FrontmostTracker&) = delete;
  FrontmostTracker& operator=(const FrontmostTracker&) = delete;

  void noteFrontmostApplication(const platform::RunningApplication& app);
  bool commitPending() const { return frontmostCommitWork_.isScheduled(); }

 private:
  void commit();

  bool barCollapsed() const { return state_.presentation() == MenuBarPresentation::collapsed; }
  bool shelfShown() const { return state_.presentation() == MenuBarPresentation::shelfExpanded; }

  platform::Platform& platform_;
  const BarState& state_;
  const CollapseEngine& engine_;
  Host& host_;
  MainThreadChecker mainThread_;
  std::optional<BundleID> recorded_;
  WorkItem frontmostCommitWork_;
  WeakHandleFactory<FrontmostTracker> weakFactory_{this};
};

}  // namespace tarvolo
