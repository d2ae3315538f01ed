#pragma once

// Tells the user, once per app, that a newly started app's icon may have landed in a hidden
// zone, and offers to show everything and arrange it. Accessory apps are offered their notice
// once their icon has settled; regular apps only when the bar's gaps changed soon after launch,
// since most of them own no icon at all. One notice shows at a time; the rest wait in a queue.
// Main thread only.

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "base/MainThreadChecker.h"
#include "base/NotificationCenter.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "discovery/NewAppNoticePolicy.h"
#include "platform/Platform.h"

namespace tarvolo {

class LocalizationManager;
class NewAppNoticeLedger;
class StatusItemManager;

class NewAppLaunchCenter {
 public:
  // After a notice leaves, the next queued one follows this much later, so two panels never
  // seem to be one.
  static constexpr double nextNoticeDelay = 0.8;

  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& workspaceCenter;
    StatusItemManager& catalog;
    // Which apps are known, which had their notice, and whether notices are on.
    NewAppNoticeLedger& notices;
    LocalizationManager& localization;
  };
  // Starts the placement guide for the app's icon, the bar held expanded; false when it could
  // not start (then nothing is held).
  using ArrangeStarter = std::function<bool(const std::string& bundleID)>;

  explicit NewAppLaunchCenter(Dependencies dependencies);
  ~NewAppLaunchCenter();
  NewAppLaunchCenter(const NewAppLaunchCenter&) = delete;
  NewAppLaunchCenter& operator=(const NewAppLaunchCenter&) = delete;

  void setArrangeStarter(ArrangeStarter starter) { startArrange_ = std::move(starter); }

  void noteLaunch(const platform::RunningApplication& app);
  // A gap between the own items moved (an icon arrived, left or was dragged).
  void noteGapChange();
  void offer(const std::string& bundleID);
  void arrangeClicked();
  void ignoreClicked();
  // The guide started by "Show all and arrange" is over, done or cancelled.
  void noteGuideEnded();
  void cancelWork(const std::string& bundleID);

  const NewAppNoticeQueue& queue() const { return queue_; }
  bool holdingForArrange() const { return holdingForArrange_; }
  bool isWatching(const std::string& bundleID) const { return watches_.contains(bundleID); }

 private:
  struct Watch {
    std::string name;
    double startedAt = 0;
    bool gapChanged = false;
  };

  void recheckRegular(const std::string& bundleID);
  void schedule(const std::string& bundleID, double delay, void (NewAppLaunchCenter::*step)(const std::string&));
  void present(const std::string& bundleID);
  void presentNext();
  void closePanel();
  void panelTimedOut();
  void markNoticed(const std::string& bundleID, std::string_view outcome);
  std::string displayName(const std::string& bundleID) const;
  WeakHandle<NewAppLaunchCenter> weak() const { return weakFactory_.handle(); }

  platform::Platform& platform_;
  StatusItemManager& catalog_;
  NewAppNoticeLedger& notices_;
  LocalizationManager& localization_;
  ArrangeStarter startArrange_;

  std::map<std::string, std::string> names_;
  std::map<std::string, Watch> watches_;
  std::map<std::string, std::unique_ptr<WorkItem>> pendingWork_;
  NewAppNoticeQueue queue_;
  WorkItem arrangeWork_;
  WorkItem dismissWork_;
  bool holdingForArrange_ = false;
  MainThreadChecker mainThread_;
  Cancellables cancellables_;
  WeakHandleFactory<NewAppLaunchCenter> weakFactory_{this};
};

}  // namespace tarvolo
