#pragma once

#include <optional>
#include <string>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "visibility/CollapseReasons.h"

namespace tarvolo {

// Tries the first collapse after launch again when it could not happen at once (the own items
// not laid out yet, or standing out of order): after 0.2, 0.5, 1.0 and 2.0 s, and at once when
// the items' frames become known. Main thread only.
class StartupCollapseCampaign {
 public:
  // What the campaign needs of the state machine.
  class Host {
   public:
    virtual ~Host() = default;
    // Start-up collapses are allowed, onboarding is complete and the user is not placing items
    // by hand.
    virtual bool startupCollapseMayRun() const = 0;
    virtual std::optional<bool> readAlwaysVisibleAnchor() const = 0;
    // Both zones shown, as a blocked or withheld collapse leaves the bar.
    virtual bool showsEverything() const = 0;
    virtual void collapseBar(CollapseReason reason) = 0;
    // The fourth attempt found the bar still shown.
    virtual void startupCollapseGaveUp() = 0;
  };

  StartupCollapseCampaign(MainQueue& queue, Host& host);
  StartupCollapseCampaign(const StartupCollapseCampaign&) = delete;
  StartupCollapseCampaign& operator=(const StartupCollapseCampaign&) = delete;

  // Start-up has finished: from now on the bar may collapse.
  void allowStartupCollapse() { startupCollapseAllowed_ = true; }
  bool startupCollapseAllowed() const { return startupCollapseAllowed_; }
  // The start-up collapse was withheld for `reason`; the campaign retries for it.
  void noteWithheld(StayExpandedReason reason) { startupCollapseWithheldReason_ = reason; }
  // After the first collapse: starts the campaign when it left everything shown.
  void beginIfNeeded();

  void scheduleStartupCollapseRetry(const std::string& reason);
  void performStartupCollapseRetry(const std::string& reason);
  void startupCollapseFramesReady();
  void cancelStartupCollapseRetry();

  bool startupCollapsePending() const { return startupCollapsePending_; }
  int startupCollapseRetryAttempt() const { return startupCollapseRetryAttempt_; }
  std::optional<StayExpandedReason> startupCollapseWithheldReason() const { return startupCollapseWithheldReason_; }

 private:
  std::string retryReason() const;

  MainQueue& queue_;
  Host& host_;
  MainThreadChecker mainThread_;
  bool startupCollapseAllowed_ = false;
  bool startupCollapsePending_ = false;
  int startupCollapseRetryAttempt_ = 0;
  std::optional<StayExpandedReason> startupCollapseWithheldReason_;
  WorkItem startupCollapseRetryWork_;
  WeakHandleFactory<StartupCollapseCampaign> weakFactory_{this};
};

}  // namespace tarvolo
