#pragma once

// Tells the user, once, what the system or another app does to the bar that Tarvolo cannot
// undo: from macOS 26 the system settings can keep Tarvolo out of the bar altogether (its items
// exist, but the toggle's window never reaches a screen), and a second tool hiding icons in the
// same bar makes both misbehave. Reads the bar only after start-up and after something changed
// (an app activated, the catalogue or the bar's state), so an idle app stays idle. Main thread
// only.

#include <optional>

#include "base/MainThreadChecker.h"
#include "base/NotificationCenter.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "ui/SystemNoticePolicy.h"

namespace tarvolo {

class LocalizationManager;
class StatusBarController;

class SystemNotices {
 public:
  static constexpr const char* menuBarNotAllowedKind = "menuBarNotAllowed";
  static constexpr const char* otherHidingToolKind = "otherHidingTool";
  // Said once for good: the other tool is the user's choice, and it stays installed.
  static constexpr const char* otherHidingToolToldKey = "com.ostrand.tarvolo.notices.otherHidingToolTold";
  // System Settings › Menu Bar, where the per-app switch is.
  static constexpr const char* menuBarSettingsURL =
      "x-apple.systempreferences:com.apple.ControlCenter-Settings.extension";
  // The first reading after start-up, and each one after a change, once the bar has settled.
  static constexpr double startupReadingDelay = 3.0;
  static constexpr double readingDelay = 1.0;

  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& defaultCenter;
    NotificationCenter& workspaceCenter;
    LocalizationManager& localization;
    StatusBarController& bar;
  };
  explicit SystemNotices(Dependencies dependencies);
  ~SystemNotices();
  SystemNotices(const SystemNotices&) = delete;
  SystemNotices& operator=(const SystemNotices&) = delete;

 private:
  void readPlacement(int read);
  void scheduleBarReading(double delay);
  void readBar();
  void stopWatchingForOtherTools();
  SystemNoticePolicy::BarReading barReading() const;

  platform::Platform& platform_;
  LocalizationManager& localization_;
  StatusBarController& bar_;
  MainThreadChecker mainThread_;
  WorkItem placementWork_;
  WorkItem readingWork_;
  std::optional<SystemNoticePolicy::BarReading> lastReading_;
  Cancellables subscriptions_;
  WeakHandleFactory<SystemNotices> weakFactory_{this};
};

}  // namespace tarvolo
