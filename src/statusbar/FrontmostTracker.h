#pragma once

#include <optional>
#include <string>

#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"

namespace tarvolo {

// Follows the frontmost application: when its collapse length differs from the one in force,
// the new length is committed one second later, so that a quick switch through several apps
// applies only the last. Acts only while the bar is collapsed: an expanded bar takes the
// frontmost app's length when it next collapses. Main thread only.
class FrontmostTracker {
 public:
  class Host {
   public:
    virtual ~Host() = default;
    virtual bool barCollapsed() const = 0;
    virtual double collapseLength(const std::optional<std::string>& bundleID) const = 0;
    virtual std::optional<double> lastAppliedNormalLength() const = 0;
    // Applies the frontmost app's length and has the collapse verified again.
    virtual void commitFrontmostLength() = 0;
  };

  FrontmostTracker(platform::Platform& platform, Host& host);
  FrontmostTracker(const FrontmostTracker&) = delete;
  FrontmostTracker& operator=(const FrontmostTracker&) = delete;

  void noteFrontmostApplication(const platform::RunningApplication& app);
  bool commitPending() const { return frontmostCommitWork_.isScheduled(); }

 private:
  void commit();

  platform::Platform& platform_;
  Host& host_;
  std::optional<std::string> recorded_;
  WorkItem frontmostCommitWork_;
  WeakHandleFactory<FrontmostTracker> weakFactory_{this};
};

}  // namespace tarvolo
