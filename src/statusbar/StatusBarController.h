#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/MainThreadChecker.h"
#include "app/Published.h"
#include "app/Subscription.h"
#include "app/WeakHandle.h"
#include "app/WorkItem.h"
#include "discovery/PlacementTypes.h"
#include "platform/Platform.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

class AppEnvironment;

// Owns the three own status items and the visibility state, and moves between collapsed,
// expanded and deep-expanded. Main thread only.
class StatusBarController {
 public:
  static constexpr const char* toggleAutosaveName = "tarvolo_toggle";
  static constexpr const char* separatorAutosaveName = "tarvolo_separator";
  static constexpr const char* alwaysHiddenAutosaveName = "tarvolo_always_hidden_separator";
  static constexpr const char* onboardingKey = "com.ostrand.tarvolo.onboarding.v1";
  static std::string preferredPositionKey(const std::string& autosaveName) {
    return "NSStatusItem Preferred Position " + autosaveName;
  }

  explicit StatusBarController(AppEnvironment& environment);
  ~StatusBarController();
  StatusBarController(const StatusBarController&) = delete;
  StatusBarController& operator=(const StatusBarController&) = delete;

  // --- published state
  Published<bool> isExpanded{false};
  Published<bool> isDeepExpanded{false};
  Published<bool> foldingEffective{false};
  Published<bool> alwaysVisibleAnchorReady{false};

  // --- start-up
  void finishStartup();
  void scheduleStartupCollapseRetry(const std::string& reason);
  void performStartupCollapseRetry(const std::string& reason);
  void startupCollapseFramesReady();
  void cancelStartupCollapseRetry();
  std::optional<bool> readAlwaysVisibleAnchor() const;
  std::optional<PlacementAnchors> currentPlacementAnchors() const;

  // --- state machine
  void expandBar(bool deep, bool userInitiated);
  void toggleBar(bool deep);
  void collapseBar(const std::string& reason);
  void setDeepExpanded(bool deep);
  MenuBarPresentation currentPresentation() const;

  // --- clicks and the context menu
  void statusItemClicked();
  void separatorClicked();
  void alwaysHiddenSeparatorClicked();
  void showContextMenu();
  platform::Menu buildContextMenu();
  void menuOpenIconBar();
  void menuExpandFolded();
  void menuShowAll();
  void menuCollapse();
  void menuArrange();
  void menuHideInSettings();
  void menuPreferences();
  void openPreferences(std::optional<std::string> focusing);
  void quitApp();

  // --- applying lengths
  void updateButtonAppearance();
  void applyVisibilityNow(std::function<void(bool)> completion = nullptr);
  void scheduleApply();

  // --- membership and notices
  void noteMenuBarMembershipChanged(std::optional<std::string> bundleID);
  void stayExpandedBecauseFoldingFailed(const std::string& reason, bool offerAutomaticRepair);

  // --- reading the world
  std::optional<std::string> frontmostBundleID() const;
  double widestScreenWidth() const;
  double collapseLength(const std::optional<std::string>& bundleID) const;
  std::optional<double> lastAppliedNormalLength() const { return lastAppliedNormal_; }

  // --- state read by tests, the runner and other owners
  bool startupCollapseAllowed() const { return startupCollapseAllowed_; }
  bool startupCollapsePending() const { return startupCollapsePending_; }
  int startupCollapseRetryAttempt() const { return startupCollapseRetryAttempt_; }
  std::optional<std::string> startupCollapseWithheldReason() const { return startupCollapseWithheldReason_; }
  int menuTrackingCount() const { return menuTrackingCount_; }
  bool manualPlacement() const { return manualPlacement_; }
  bool onboardingComplete() const;
  double expandedSeparatorLength() const { return expandedSeparatorLength_; }
  std::optional<double> menuBarMembershipChangedAt() const { return menuBarMembershipChangedAt_; }

 private:
  void createOwnItems();
  void createToggleItem();
  void createSeparatorItem();
  void createAlwaysHiddenSeparatorItem();
  void seedPreferredPositions();
  void subscribe();
  void styleFoldSeparator(bool emphasized);
  void styleHiddenSeparator(bool emphasized);
  void updateLanguageStrings();
  void publishFoldingEffective();
  void scheduleFoldingCheck();
  std::optional<bool> measureCollapse() const;
  void recordArrowPress();
  void clearArrowPress();
  void performArrowClickAction(MenuBarVisibilityPolicy::ArrowClickAction action);
  void showIconShelf(std::optional<std::string> tier);
  void closeIconShelf();
  void presentFirstLaunchCoach();
  void showEverything();
  bool toggleScreenHasNotch() const;
  std::string text(const std::string& key) const;
  std::string stateDescription() const;
  WeakHandle<StatusBarController> weak() const { return weakFactory_.handle(); }
  // Runs `method` later on the main queue if the controller still exists.
  std::function<void()> weakly(void (StatusBarController::*method)());

  AppEnvironment& env_;
  platform::Platform& platform_;
  MainThreadChecker mainThread_;

  std::unique_ptr<platform::StatusItem> statusItem_;
  std::unique_ptr<platform::StatusItem> separatorStatusItem_;
  std::unique_ptr<platform::StatusItem> alwaysHiddenSeparatorStatusItem_;

  double expandedSeparatorLength_ = MenuBarVisibilityPolicy::defaultExpandedSeparatorLength;
  bool keepPreferencesVisible_ = false;
  bool manualPlacement_ = false;
  bool startupCollapseAllowed_ = false;
  std::optional<std::string> startupCollapseWithheldReason_;
  bool startupCollapsePending_ = false;
  int startupCollapseRetryAttempt_ = 0;
  int menuTrackingCount_ = 0;
  std::optional<double> menuBarMembershipChangedAt_;
  std::optional<double> lastAppliedNormal_;
  std::optional<double> lastAppliedHidden_;

  std::optional<Point> arrowPressPoint_;
  std::optional<Point> arrowPressFrameOrigin_;
  std::optional<double> arrowPressAt_;

  WorkItem startupCollapseRetryWork_;
  WorkItem categorySyncWorkItem_;
  WorkItem foldingCheckWork_;
  WorkItem autoCollapseWorkItem_;
  unsigned long long applyGeneration_ = 0;

  Cancellables cancellables_;
  std::unique_ptr<platform::Registration> outsideMouseMonitor_;

  WeakHandleFactory<StatusBarController> weakFactory_{this};
};

}  // namespace tarvolo
