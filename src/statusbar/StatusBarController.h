#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/MainThreadChecker.h"
#include "base/ObserverList.h"
#include "base/Published.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "discovery/PlacementTypes.h"
#include "platform/Platform.h"
#include "statusbar/AutoCollapse.h"
#include "statusbar/BarTransitions.h"
#include "statusbar/HidingEngineSwitch.h"
#include "statusbar/IconShelfPresenter.h"
#include "statusbar/FrontmostTracker.h"
#include "statusbar/OwnOrderRepair.h"
#include "statusbar/OwnStatusItems.h"
#include "statusbar/StartupCollapseCampaign.h"
#include "visibility/CollapseReasons.h"
#include "statusbar/ClickPolicy.h"
#include "visibility/MenuBarVisibilityPolicy.h"
#include "visibility/owners/CollapseEngine.h"
#include "visibility/owners/CollapseHost.h"

namespace tarvolo {

class LocalizationManager;
class NativeVisibilityEngine;
class NotificationCenter;
class StatusItemManager;

// The expand/collapse state machine, and the owner other subsystems call: moves between
// collapsed, expanded and deep-expanded, guards every collapse, runs the start-up collapse
// campaign, and answers clicks and the context menu. The own items and the collapse-length engine
// are owners of their own, held here; what this class offers of theirs forwards to them.
// Main thread only.
class StatusBarController final : private CollapseHost,
                                  private StartupCollapseCampaign::Host,
                                  private AutoCollapse::Host,
                                  private FrontmostTracker::Host,
                                  private OwnOrderRepair::Host {
 public:
  static constexpr const char* onboardingKey = "com.ostrand.tarvolo.onboarding.v1";

  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& defaultCenter;
    NotificationCenter& workspaceCenter;
    StatusItemManager& catalog;
    LocalizationManager& localization;
    NativeVisibilityEngine& nativeEngine;
  };

  // What the state machine asks of the windows built after it: Preferences and the guide.
  struct WindowHooks {
    std::function<void(std::optional<std::string> focus)> openPreferences;
    std::function<void()> arrange;
    std::function<bool()> placementGuideOpen;
    std::function<bool(Point)> pointerOverGuide;
    std::function<void(bool openedByCollapseAttempt, bool userInitiated)> startAnchorRepair;
    std::function<void()> barDidCollapse;
  };

  explicit StatusBarController(Dependencies dependencies);
  ~StatusBarController() override;
  StatusBarController(const StatusBarController&) = delete;
  StatusBarController& operator=(const StatusBarController&) = delete;

  // --- published state
  Published<bool> isExpanded{false};
  Published<bool> isDeepExpanded{false};
  Published<bool> foldingEffective{false};
  Published<bool> alwaysVisibleAnchorReady{false};
  // Told whenever the first-launch coach is wanted: at start-up without onboarding, and on each
  // collapse that onboarding blocks. The coach's owner (src/ui/) listens.
  ObserverList<> firstLaunchCoachWanted;

  void setWindowHooks(WindowHooks hooks) { windowHooks_ = std::move(hooks); }
  // Told whenever a gap between the own items moved (an icon arrived, left or was dragged).
  [[nodiscard]] Subscription observeMenuBarGapChanges(std::function<void()> observer) {
    return gapChanges_.add(std::move(observer));
  }

  // --- start-up
  void finishStartup();
  // The coach was finished or dismissed: stores that, and collapses at once as start-up would.
  void completeOnboarding();
  // Whether the own items stand in order; absent while that cannot be told (a probe's length
  // says nothing about the order).
  std::optional<bool> readAlwaysVisibleAnchor() const override;

  // --- state machine
  void expandBar(ExpandDepth depth, Initiator initiator);
  void toggleBar(ExpandDepth depth);
  void collapseBar(CollapseReason reason) override;
  void setDeepExpanded(bool deep);
  MenuBarPresentation currentPresentation() const;

  // --- clicks and the context menu
  // With the event that sent the click; absent when pressed through Accessibility, which acts
  // as a plain left click.
  void statusItemClicked(std::optional<platform::Event> event);
  void separatorClicked(std::optional<platform::Event> event);
  void alwaysHiddenSeparatorClicked(std::optional<platform::Event> event);
  void showContextMenu();
  platform::Menu buildContextMenu();
  void menuOpenIconBar();
  // The Icon Shelf the toggle and the context menu open; none until the environment hands it in.
  void setIconShelf(IconShelfPresenter* shelf) { shelf_ = shelf; }
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
  void scheduleApply() override;
  void publishFoldingEffective() override;
  // The frontmost app's collapse length now.
  double lengthForFrontmost() const { return engine_.chooser().lengthForFrontmost(); }

  // --- membership, and when folding fails
  void noteMenuBarMembershipChanged(std::optional<std::string> bundleID);
  void stayExpandedBecauseFoldingFailed(StayExpandedReason reason, RepairOffer offer) override;
  void dropToNormalExpandedShelf() override;

  // --- companions: auto-collapse, frontmost tracking, order repair
  AutoCollapse& autoCollapse() { return autoCollapse_; }
  const AutoCollapse& autoCollapse() const { return autoCollapse_; }
  const FrontmostTracker& frontmostTracker() const { return frontmost_; }
  OwnOrderRepair& orderRepair() { return orderRepair_; }
  const OwnOrderRepair& orderRepair() const { return orderRepair_; }

  // --- the own items and the collapse-length engine, which own what follows
  const OwnStatusItems& ownItems() const { return items_; }
  const CollapseEngine& collapseEngine() const { return engine_; }
  const HidingEngineSwitch& hidingEngines() const { return hiding_; }
  const StartupCollapseCampaign& startupCampaign() const { return campaign_; }

  // --- state read by tests, the runner and other owners
  bool startupCollapseAllowed() const { return startupCollapseAllowed_; }
  int menuTrackingCount() const { return menuTrackingCount_; }
  bool manualPlacement() const { return manualPlacement_; }
  bool onboardingComplete() const;
  double expandedSeparatorLength() const { return expandedSeparatorLength_; }
  std::optional<double> menuBarMembershipChangedAt() const { return menuBarMembershipChangedAt_; }

 private:
  // CollapseHost, the rest of it
  void reapplyVisibility() override { applyVisibilityNow(); }
  void noteAlwaysVisibleAnchorReady() override { alwaysVisibleAnchorReady = true; }
  void menuBarGapsChanged() override { gapChanges_.notify(); }

  // Both flags at once, told to the engine.
  void setShown(bool expanded, bool deep);
  void noteMenuTracking(int count);
  // Applies the plan for the current presentation with `collapseLength` as the collapse length.
  void applyVisibility(double collapseLength, std::function<void(bool)> completion);
  void publishFoldingEffective(double collapseLength);

  OwnStatusItems::Actions itemActions();
  void noteOwnItemMouseUp(const std::optional<platform::Event>& event);
  void companionAfterOwnItem(OwnStatusItems::Item created);
  void subscribe();
  void screenParametersChanged();
  // Wake, space change: the system's engine lets everything back before the list is handed over again.
  void systemStateChanged();
  void nativeAvailabilityChanged();
  void recreateOwnItemsForSystemEngine();
  void updateLanguageStrings();
  void scheduleFoldingCheck();
  // StartupCollapseCampaign::Host
  bool startupCollapseMayRun() const override;
  bool showsEverything() const override;
  void startupCollapseGaveUp() override;
  // AutoCollapse::Host
  bool barExpanded() const override { return isExpanded.get(); }
  bool barDeepExpanded() const override { return isDeepExpanded.get(); }
  bool placementInProgress() const override {
    return manualPlacement_ || (windowHooks_.placementGuideOpen && windowHooks_.placementGuideOpen());
  }
  bool pointerOverChrome(Point pointer) const override {
    return windowHooks_.pointerOverGuide && windowHooks_.pointerOverGuide(pointer);
  }
  bool menuTracking() const override { return menuTrackingCount_ > 0; }
  MenuBarVisibilityPolicy::PlacementMode placementMode() const {
    return manualPlacement_ ? MenuBarVisibilityPolicy::PlacementMode::manual
                            : MenuBarVisibilityPolicy::PlacementMode::automatic;
  }
  std::optional<Rect> toggleFrame() const override { return items_.toggleFrame(); }
  std::optional<double> visibleIconsMinX() const override;
  std::optional<platform::ScreenInfo> statusItemScreen() const override { return items_.statusItemScreen(); }
  void collapseForTimeout() override { collapseBar(CollapseReason::shelfTimeout); }
  void expandForHover() override { expandBar(ExpandDepth::normal, Initiator::user); }
  // FrontmostTracker::Host
  bool barCollapsed() const override { return currentPresentation() == MenuBarPresentation::collapsed; }
  double collapseLength(const std::optional<std::string>& bundleID) const override {
    return engine_.collapseLength(bundleID);
  }
  std::optional<double> lastAppliedNormalLength() const override {
    return engine_.presentedBar().lastAppliedNormalLength;
  }
  void commitFrontmostLength() override;
  // OwnOrderRepair::Host
  MenuBarVisibilityPolicy::OwnItemValues ownItemRightEdges() const override;
  void recreateOwnItems(const MenuBarVisibilityPolicy::RepairPositions& positions) override;
  void orderRepairFinished(bool inOrder) override;
  bool startAnchorRepair(bool openedByCollapseAttempt, bool userInitiated) override {
    if (!windowHooks_.startAnchorRepair) return false;
    windowHooks_.startAnchorRepair(openedByCollapseAttempt, userInitiated);
    return true;
  }
  std::string localizedText(std::string_view key) const override;
  std::function<void()> repairAction();
  void repairMenuBarOrder() { orderRepair_.repairMenuBarOrder(); }

  void recordArrowPress();
  void clearArrowPress();
  void performArrowClickAction(MenuBarVisibilityPolicy::ArrowClickAction action);
  void showIconShelf(std::optional<MenuBarAccessTier> tier);
  void closeIconShelf();
  void presentFirstLaunchCoach();
  void showEverything();
  bool toggleScreenHasNotch() const;
  std::string text(const std::string& key) const;
  WeakHandle<StatusBarController> weak() const { return weakFactory_.handle(); }

  platform::Platform& platform_;
  NotificationCenter& defaultCenter_;
  NotificationCenter& workspaceCenter_;
  StatusItemManager& catalog_;
  LocalizationManager& localization_;
  MainThreadChecker mainThread_;

  const double expandedSeparatorLength_ = MenuBarVisibilityPolicy::defaultExpandedSeparatorLength;
  OwnStatusItems items_;
  CollapseEngine engine_;
  HidingEngineSwitch hiding_;
  StartupCollapseCampaign campaign_;
  IconShelfPresenter* shelf_ = nullptr;
  AutoCollapse autoCollapse_;
  FrontmostTracker frontmost_;
  OwnOrderRepair orderRepair_;

  WindowHooks windowHooks_;
  bool keepPreferencesVisible_ = false;
  bool manualPlacement_ = false;
  bool startupCollapseAllowed_ = false;
  int menuTrackingCount_ = 0;
  std::optional<double> menuBarMembershipChangedAt_;
  std::optional<double> collapseRefusedNoticeAt_;
  unsigned long long applyGeneration_ = 0;

  std::optional<Point> arrowPressPoint_;
  std::optional<Point> arrowPressFrameOrigin_;
  std::optional<double> arrowPressAt_;

  WorkItem categorySyncWorkItem_;
  WorkItem foldingCheckWork_;
  WorkItem recreateItemsWork_;

  Cancellables cancellables_;
  ObserverList<> gapChanges_;

  WeakHandleFactory<StatusBarController> weakFactory_{this};
};

}  // namespace tarvolo
