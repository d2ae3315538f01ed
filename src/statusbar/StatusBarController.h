#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/MainThreadChecker.h"
#include "base/Published.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "discovery/PlacementTypes.h"
#include "platform/Platform.h"
#include "statusbar/BarTransitions.h"
#include "visibility/CollapseLengthCache.h"
#include "visibility/CollapseLengthSearch.h"
#include "visibility/CollapseReasons.h"
#include "visibility/CollapseRecoveryPolicy.h"
#include "visibility/MenuBarGapPolicy.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

class FoldPlaceholderController;
class LocalizationManager;
class NotificationCenter;
class StatusItemManager;

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

  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& defaultCenter;
    NotificationCenter& workspaceCenter;
    StatusItemManager& catalog;
    LocalizationManager& localization;
  };

  explicit StatusBarController(Dependencies dependencies);
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
  void expandBar(ExpandDepth depth, Initiator initiator);
  void toggleBar(ExpandDepth depth);
  void collapseBar(CollapseReason reason);
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
  void stayExpandedBecauseFoldingFailed(StayExpandedReason reason, bool offerAutomaticRepair);

  // --- reading the world
  std::optional<std::string> frontmostBundleID() const;
  double widestScreenWidth() const;
  double collapseLength(const std::optional<std::string>& bundleID) const;
  std::optional<double> lastAppliedNormalLength() const { return lastAppliedNormal_; }

  // --- the collapse-length engine
  // One reading of the normal separator (and the toggle beside it).
  struct SeparatorMeasurement {
    double arrowFacingEdge = 0;  // x of the edge that faces the toggle
    double leadingEdge = 0;      // x of the far edge
    double windowWidth = 0;
    double buttonWidth = 0;
    double chosenWidth = 0;  // the width believed
    bool usable = false;     // fresh for the requested length
    bool sharedHost = false;  // the window also holds other items
    bool orderKnown = false;
    bool separatorLeftOfToggle = false;
    std::string source;  // "button" or "window"
    std::optional<double> toggleAnchor;
    std::optional<SeparatorReadFailure> failure;  // noWindow when nothing could be read
  };
  SeparatorMeasurement measureSeparator(double requestedLength) const;
  bool beginCliffSearch(bool force);
  void recordCollapseLength(double length, const std::optional<std::string>& bundleID, bool knownGood,
                            std::optional<double> pinnedGap);
  void beginCollapseRecovery(const std::optional<std::string>& bundleID, bool allowOneStep);
  void clearCollapseBudget(const std::string& bundleID);
  void pruneCollapseLengthsToConnectedScreens();
  std::vector<std::string> connectedScreenKeys() const;
  std::string screenConfigKey() const;
  std::string collapseScreenKey() const;
  void dropToNormalExpandedShelf();

  const std::optional<CliffRecord>& cliffCache() const { return cliffCache_; }
  const MenuBarVisibilityPolicy::CollapseLengthCache& perAppLengths() const { return perAppLengths_; }
  const std::set<std::string>& collapseMenuLimitedKeys() const { return collapseMenuLimitedKeys_; }
  const std::map<std::string, double>& collapseFoldTailByPair() const { return collapseFoldTailByPair_; }
  bool cliffSearchInFlight() const { return cliffProbeInFlight_; }
  int cliffProbeCount() const { return cliffProbeCount_; }
  // Probes made by every search of this run.
  int cliffProbesMade() const { return cliffProbesMade_; }
  int cliffSearchesStarted() const { return cliffSearchesStarted_; }
  int cliffGiveUps() const { return cliffGiveUps_; }
  int cliffCampaigns() const { return cliffCampaigns_; }
  bool cliffSearchGaveUp() const { return cliffSearchGaveUp_; }
  bool cliffSearchOwed() const { return cliffSearchOwed_; }
  std::optional<MenuBarVisibilityPolicy::SeparatorLayoutVerdict> lastCollapseVerdict() const {
    return lastCollapseVerdict_;
  }
  // When the last collapse was judged laid out, in clock seconds.
  std::optional<double> collapseVerifiedAt() const { return collapseVerifiedAt_; }
  MenuBarVisibilityPolicy::CollapseRecoveryPhase collapseRecoveryPhase() const { return collapseRecoveryPhase_; }
  const FoldPlaceholderController* foldPlaceholder() const { return foldPlaceholder_.get(); }
  const MenuBarGapTracker& menuBarGapTracker() const { return gapTracker_; }

  // --- state read by tests, the runner and other owners
  bool startupCollapseAllowed() const { return startupCollapseAllowed_; }
  bool startupCollapsePending() const { return startupCollapsePending_; }
  int startupCollapseRetryAttempt() const { return startupCollapseRetryAttempt_; }
  std::optional<StayExpandedReason> startupCollapseWithheldReason() const { return startupCollapseWithheldReason_; }
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
  void recordArrowPress();
  void clearArrowPress();
  void performArrowClickAction(MenuBarVisibilityPolicy::ArrowClickAction action);
  void showIconShelf(std::optional<MenuBarAccessTier> tier);
  void closeIconShelf();
  void presentFirstLaunchCoach();
  void showEverything();
  bool toggleScreenHasNotch() const;
  std::string text(const std::string& key) const;
  std::string stateDescription() const;
  std::string startupRetryReason() const;
  WeakHandle<StatusBarController> weak() const { return weakFactory_.handle(); }
  // Runs `method` later on the main queue if the controller still exists.
  std::function<void()> weakly(void (StatusBarController::*method)());

  platform::Platform& platform_;
  NotificationCenter& defaultCenter_;
  NotificationCenter& workspaceCenter_;
  StatusItemManager& catalog_;
  LocalizationManager& localization_;
  MainThreadChecker mainThread_;

  std::unique_ptr<platform::StatusItem> statusItem_;
  std::unique_ptr<platform::StatusItem> separatorStatusItem_;
  std::unique_ptr<platform::StatusItem> alwaysHiddenSeparatorStatusItem_;

  double expandedSeparatorLength_ = MenuBarVisibilityPolicy::defaultExpandedSeparatorLength;
  bool keepPreferencesVisible_ = false;
  bool manualPlacement_ = false;
  bool startupCollapseAllowed_ = false;
  std::optional<StayExpandedReason> startupCollapseWithheldReason_;
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

  // --- the collapse-length engine (StatusBarController+Cliff/Verify/Recovery/Fold/Gaps.cpp)
  using SeparatorLayoutVerdict = MenuBarVisibilityPolicy::SeparatorLayoutVerdict;
  // The separator and the toggle as read while the separator was short.
  struct CollapseReference {
    double arrowFacingEdge = 0;
    double leadingEdge = 0;
    std::optional<double> toggleAnchor;
    double length = 0;
  };

  // construction, keys and persistence
  void restoreCliffCache();
  void persistCliffCache();
  void persistPerAppLengths();
  void persistFoldTails();
  void writeDefaults(const DefaultsWrites& writes);
  void logLaunchState();
  void seedPinnedGapIfMissing();
  void installFoldPlaceholder();
  std::optional<platform::ScreenInfo> statusItemScreen() const;
  double collapseScreenWidth() const;
  std::optional<CliffRecord> cliffRecordForCurrentScreens() const;
  std::string collapsePairKey(const std::optional<std::string>& bundleID) const;
  double collapseLowerBound() const;
  std::string ownFramesSummary() const;

  // the cliff search
  std::optional<std::string> calibrationBlockedReason() const;
  void startCliffSearchIfNeeded();
  void readCliffBaseline(unsigned long long generation);
  void retryCliffBaseline(unsigned long long generation, SeparatorReadFailure reason);
  void probeCliff(unsigned long long generation);
  void readCliffProbe(unsigned long long generation, double probe);
  void retryCliffProbe(unsigned long long generation, double probe, SeparatorReadFailure reason);
  void finishCliffSearch(double length);
  void giveUpCliffSearch(StayExpandedReason reason, std::optional<double> applyLength);
  void abortCliffSearch();
  void tightenCliffCeiling(double edge);
  void scheduleCliffRetryIfNeeded();
  void screenParametersChanged();

  // verification of a collapse
  void captureCollapseReferenceIfShort();
  void captureDividerDistanceIfShort();
  void scheduleCollapsedCliffVerify();
  void verifyCollapseLayout(unsigned long long generation);
  SeparatorLayoutVerdict collapseVerdict(const SeparatorMeasurement& measurement, double requestedLength,
                                         std::optional<double>& observedGap) const;
  double foldLeadingEdge(const SeparatorMeasurement& measurement) const;
  void acceptVerifiedCollapse(double length, std::optional<double> observedGap);
  void scheduleCollapseRebaseline();
  void forgetCollapseReference();

  // recovery
  void nextCollapseRecoveryStep(SeparatorLayoutVerdict verdict, double length, const SeparatorMeasurement& measurement);
  void applyRecoveredLength(const std::string& key, double length, double rejected);
  void stopCollapseRecovery();
  void stopEjectedRecovery(const std::string& key);
  void pruneCollapseBudgets();
  void presentCollapseNotice(const std::string& kind, const std::string& messageKey, std::set<std::string>& shownKeys,
                             const std::string& key);
  void noteShelfCapBeforeCollapse();
  void scheduleShelfHiddenVerify();
  void verifyShelfHiddenLength(unsigned long long generation);
  void stepDownShelfHidden(double ejected);
  std::optional<double> shelfHiddenRoom() const;

  // the fold
  void noteCollapseFoldTail(const std::string& key, double length, double base);
  void rememberVerifiedCollapseFoldTail(const std::string& key);
  void revertCollapseFoldTailIfRejected(const std::string& key, double length);
  bool tryCollapseFoldTail(const std::string& key, double length, double leading, double menusRight);
  std::optional<double> foldPlaceholderCollapsedLength(double separatorLength);

  // menu-bar gaps
  void startMenuBarSampling();
  void scheduleMenuBarSample();
  void noteMenuBarGaps();
  void logDragEndGaps();
  std::optional<double> gapSecondsSinceMouseUp() const;
  void rememberPinnedGap(double gap);
  void noteMenuBarRearrangeDrag(MenuBarGapCrossing crossing);

  // cliff search and cache
  std::optional<CliffRecord> cliffCache_;
  MenuBarVisibilityPolicy::CollapseLengthCache perAppLengths_;
  std::set<std::string> collapseMenuLimitedKeys_;
  std::optional<double> collapseSearchFloor_;
  std::optional<MenuBarVisibilityPolicy::CollapseLengthSearch> cliffSearch_;
  std::optional<double> cliffBaselineEdge_;
  std::optional<double> cliffBaselineLeading_;
  std::optional<double> cliffBaselineToggle_;
  std::optional<double> cliffPinnedGap_;
  std::optional<std::string> cliffScreenKeyPending_;
  std::optional<std::string> cliffSearchBundle_;
  unsigned long long cliffGeneration_ = 0;
  bool cliffProbeInFlight_ = false;
  int cliffUnreadRetries_ = 0;
  int cliffProbeCount_ = 0;
  int cliffGiveUps_ = 0;
  int cliffCampaigns_ = 0;
  int cliffProbesMade_ = 0;
  int cliffSearchesStarted_ = 0;
  bool cliffSearchOwed_ = false;
  bool cliffSearchForced_ = false;
  bool cliffSearchGaveUp_ = false;
  bool cliffAwaitingVerification_ = false;
  std::optional<std::string> lastCliffDeferral_;

  // verification
  std::optional<CollapseReference> collapseReference_;
  unsigned long long collapseVerifyGeneration_ = 0;
  int collapseVerifyUnreadRetries_ = 0;
  std::optional<SeparatorLayoutVerdict> lastCollapseVerdict_;
  std::optional<double> collapseVerifiedAt_;
  std::optional<double> lastHiddenMaxX_;

  // recovery
  MenuBarVisibilityPolicy::CollapseRecoveryPhase collapseRecoveryPhase_ =
      MenuBarVisibilityPolicy::CollapseRecoveryPhase::observing;
  bool collapseSessionDidStep_ = false;
  bool collapseSessionDidSearch_ = false;
  std::optional<std::string> collapseRecoveryTrigger_;
  bool collapseRecoverySearch_ = false;
  std::map<std::string, int> collapseStepDownsByPair_;
  std::map<std::string, double> badUpperBoundByApp_;
  std::map<std::string, double> badUpperBoundRecordedAt_;
  std::optional<double> collapseRefusedNoticeAt_;
  std::set<std::string> collapseMenusNoticeKeys_;
  std::set<std::string> collapseEjectedNoticeKeys_;

  // the always-hidden separator in the shelf presentation
  std::optional<double> dividerDistance_;
  std::optional<double> shelfHiddenCap_;
  std::optional<double> shelfHiddenAccepted_;
  std::optional<double> shelfHiddenEjected_;
  std::optional<double> shelfCapRoom_;
  int shelfStepDowns_ = 0;
  unsigned long long shelfVerifyGeneration_ = 0;
  std::optional<CollapseReference> shelfHiddenReference_;

  // the fold
  std::map<std::string, double> collapseFoldTailByPair_;
  std::map<std::string, double> collapseFoldTailBaseByPair_;
  std::set<std::string> collapseFoldTailVerified_;
  std::set<std::string> collapseFoldTailRejected_;
  std::unique_ptr<FoldPlaceholderController> foldPlaceholder_;
  int placeholderRereads_ = 0;

  // gaps
  MenuBarGapTracker gapTracker_;
  WorkspaceActivityClock workspaceClock_;
  std::optional<double> lastMouseUpAt_;
  std::unique_ptr<platform::Registration> mouseUpMonitor_;
  std::unique_ptr<platform::Registration> ownMouseUpMonitor_;
  Cancellables samplingSubscriptions_;

  WorkItem cliffStepWork_{platform_.mainQueue()};
  WorkItem cliffDeferWork_{platform_.mainQueue()};
  WorkItem cliffRetryWork_{platform_.mainQueue()};
  WorkItem collapseVerifyWork_{platform_.mainQueue()};
  WorkItem shelfVerifyWork_{platform_.mainQueue()};
  WorkItem gapSampleWork_{platform_.mainQueue()};
  WorkItem collapseRebaselineWork_{platform_.mainQueue()};

  WeakHandleFactory<StatusBarController> weakFactory_{this};
};

}  // namespace tarvolo
