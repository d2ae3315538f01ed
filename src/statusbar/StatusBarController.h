#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/MainThreadChecker.h"
#include "base/ObserverList.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "statusbar/AutoCollapse.h"
#include "statusbar/BarTransitions.h"
#include "statusbar/DisplayRuleStore.h"
#include "statusbar/FrontmostTracker.h"
#include "statusbar/HidingEngineSwitch.h"
#include "statusbar/OwnOrderRepair.h"
#include "statusbar/OwnStatusItems.h"
#include "statusbar/StartupCollapseCampaign.h"
#include "statusbar/StatusBarEvents.h"
#include "statusbar/ToggleClicks.h"
#include "visibility/CollapseReasons.h"
#include "visibility/MenuBarVisibilityPolicy.h"
#include "visibility/owners/CollapseEngine.h"
#include "visibility/owners/CollapseHost.h"

namespace tarvolo {

class LocalizationManager;
class NativeVisibilityEngine;
class NotificationCenter;
class StatusItemManager;

// The expand/collapse state machine: moves between collapsed, expanded and deep-expanded, guards
// every collapse, runs the start-up collapse campaign, and answers clicks and the context menu.
// The own items, the collapse-length engine and the companions below own their state and are
// reached through their own interfaces. What it shows and what its clicks ask for go up through
// one list of events (StatusBarEvents.h). Main thread only.
class StatusBarController final : private CollapseHost,
                                  private StartupCollapseCampaign::Host,
                                  private AutoCollapse::Host,
                                  private FrontmostTracker::Host,
                                  private OwnOrderRepair::Host,
                                  private HidingEngineSwitch::Host {
 public:
  static constexpr const char* onboardingKey = "com.ostrand.tarvolo.onboarding.v1";
  // The length the separators take while their zone is shown.
  static constexpr double expandedSeparatorLength = MenuBarVisibilityPolicy::defaultExpandedSeparatorLength;

  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& defaultCenter;
    NotificationCenter& workspaceCenter;
    StatusItemManager& catalog;
    LocalizationManager& localization;
    NativeVisibilityEngine& nativeEngine;
  };

  explicit StatusBarController(Dependencies dependencies);
  ~StatusBarController() override;
  StatusBarController(const StatusBarController&) = delete;
  StatusBarController& operator=(const StatusBarController&) = delete;

  // --- up and down
  // Every change of what the bar shows and every command of its clicks and menu, in order.
  [[nodiscard]] Subscription observe(std::function<void(const StatusBarEvent&)> observer) {
    return events_.add(std::move(observer));
  }
  const BarState& state() const { return state_; }
  // The placement guide tells whether it exists, runs, and where its panel and ring stand.
  void notePlacementGuide(PlacementGuidePresence presence);
  // The update framework runs, so the context menu offers to check for a new version.
  void noteUpdatesAvailable(bool available) { updatesAvailable_ = available; }

  // --- start-up
  void finishStartup();
  // The coach was finished or dismissed: stores that, and collapses at once as start-up would.
  void completeOnboarding();
  bool onboardingComplete() const;
  bool startupCollapseAllowed() const { return campaign_.startupCollapseAllowed(); }
  // Whether the own items stand in order; absent while that cannot be told (a probe's length
  // says nothing about the order).
  std::optional<bool> readAlwaysVisibleAnchor() const override;
  bool systemHidesByList() const override { return hiding_.nativeAvailable(); }

  // --- state machine
  void expandBar(ExpandDepth depth, Initiator initiator);
  void toggleBar(ExpandDepth depth);
  void collapseBar(CollapseReason reason) override;
  void setDeepExpanded(bool deep);
  MenuBarPresentation currentPresentation() const { return state_.presentation(); }

  // --- clicks and the context menu
  // With the event that sent the click; absent when pressed through Accessibility, which acts
  // as a plain left click.
  void statusItemClicked(std::optional<platform::Event> event);
  void separatorClicked(std::optional<platform::Event> event);
  void alwaysHiddenSeparatorClicked(std::optional<platform::Event> event);
  // The press or the end of a ⌘-drag of a separator, which is no click; true when consumed.
  bool separatorWasDragged(SeparatorClicks::Which which, const std::optional<platform::Event>& event);
  void showContextMenu();
  platform::Menu buildContextMenu();
  void menuOpenIconBar();
  void menuExpandFolded();
  void menuShowAll();
  void menuCollapse();
  void menuArrange();
  void menuHideInSettings();
  void menuPreferences();
  void menuCheckForUpdates();
  void openPreferences(std::optional<std::string> focusing);
  void repairMenuBarOrder();
  void quitApp();

  // --- applying lengths
  void updateButtonAppearance();
  void applyVisibilityNow(std::function<void(bool)> completion = nullptr);
  void scheduleApply() override;
  void publishFoldingEffective() override;

  // --- membership, and when folding fails
  void noteMenuBarMembershipChanged(std::optional<std::string> bundleID);
  void stayExpandedBecauseFoldingFailed(StayExpandedReason reason, RepairOffer offer) override;
  void dropToNormalExpandedShelf() override;

  // --- the owners it holds, through their own interfaces
  const OwnStatusItems& ownItems() const { return items_; }
  const CollapseEngine& collapseEngine() const { return engine_; }
  const HidingEngineSwitch& hidingEngines() const { return hiding_; }
  const StartupCollapseCampaign& startupCampaign() const { return campaign_; }
  AutoCollapse& autoCollapse() { return autoCollapse_; }
  const AutoCollapse& autoCollapse() const { return autoCollapse_; }
  const FrontmostTracker& frontmostTracker() const { return frontmost_; }
  const OwnOrderRepair& orderRepair() const { return orderRepair_; }
  const BarSurroundings& surroundings() const { return surroundings_; }
  DisplayRuleStore& displayRules() { return displayRules_; }
  const DisplayRuleStore& displayRules() const { return displayRules_; }
  // The display whose bar holds the own items, by its lasting identity ("" when unknown).
  std::string barDisplayID() const;
  // Its rule keeps every icon shown: nothing collapses or searches while the bar is there.
  bool barDisplayKeepsIconsShown() const;
  // The bar stands expanded because its display's rule says so.
  bool keptExpandedForDisplay() const { return keptForDisplay_; }
  // How soon an expansion on the bar's display collapses by itself.
  double autoCollapseDelayHere() const;

 private:
  // CollapseHost
  void reapplyVisibility() override { applyVisibilityNow(); }
  void noteAlwaysVisibleAnchorReady() override;
  void menuBarGapsChanged() override { publish(BarEvent::GapsChanged{}); }
  // StartupCollapseCampaign::Host
  bool startupCollapseMayRun() const override;
  bool showsEverything() const override;
  void startupCollapseGaveUp() override;
  // AutoCollapse::Host
  void collapseForTimeout() override { collapseBar(CollapseReason::shelfTimeout); }
  void expandForHover() override { expandBar(ExpandDepth::normal, Initiator::user); }
  // FrontmostTracker::Host
  void commitFrontmostLength() override;
  // OwnOrderRepair::Host
  void recreateOwnItems(const MenuBarVisibilityPolicy::RepairPositions& positions) override;
  void orderRepairFinished(bool inOrder) override;
  bool handAnchorRepairToGuide(OwnOrderRepair::Requester requester) override;
  // HidingEngineSwitch::Host
  void recreateOwnItemsForSystemEngine() override;

  // --- what the bar shows
  void publish(StatusBarEvent event) { events_.notify(event); }
  // Takes `next` as the bar's state, tells the engine what it presents, and publishes a change.
  void setState(BarState next);
  void show(ExpandDepth depth);
  void showCollapsed();
  void showEverything();
  void presentFirstLaunchCoach() { publish(BarEvent::CoachWanted{}); }

  // --- the own items and what the system reports
  OwnStatusItems::Actions itemActions();
  void createOwnItems();
  void noteOwnItemMouseUp(const std::optional<platform::Event>& event);
  void companionAfterOwnItem(OwnStatusItems::Item created);
  void subscribe(NotificationCenter& center, NotificationCenter& workspace);
  void noteMenuTracking(int count);
  void screenParametersChanged();
  // Expands (not deep) on a display whose icons stay shown, and collapses when the bar has left it;
  // true when it expanded.
  bool followDisplayRule();
  void keepExpandedForDisplay(std::string_view trigger);
  // Wake, space change: the system's engine lets everything back before the list is handed over again.
  void systemStateChanged();
  void nativeAvailabilityChanged();
  void updateLanguageStrings();

  // --- clicks
  void performArrowClickAction(MenuBarVisibilityPolicy::ArrowClickAction action);

  // --- applying lengths
  // Applies the plan for the current presentation, with `collapseLength` as the collapse length.
  void applyVisibility(double collapseLength, std::function<void(bool)> completion);
  void publishFoldingEffective(double collapseLength);
  double lengthForFrontmost() const { return engine_.chooser().lengthForFrontmost(); }
  MenuBarVisibilityPolicy::PlacementMode placementMode() const;
  void scheduleFoldingCheck();
  void readOrderThenCollapse(CollapseReason reason);
  std::function<void()> repairAction();
  std::string text(const std::string& key) const;
  WeakHandle<StatusBarController> weak() const { return weakFactory_.handle(); }

  platform::Platform& platform_;
  StatusItemManager& catalog_;
  LocalizationManager& localization_;
  MainThreadChecker mainThread_;

  BarState state_;
  BarSurroundings surroundings_;
  DisplayRuleStore displayRules_;
  bool keptForDisplay_ = false;
  bool updatesAvailable_ = false;
  OwnStatusItems items_;
  CollapseEngine engine_;
  HidingEngineSwitch hiding_;
  StartupCollapseCampaign campaign_;
  AutoCollapse autoCollapse_;
  FrontmostTracker frontmost_;
  OwnOrderRepair orderRepair_;
  ToggleClicks clicks_;
  SeparatorClicks separatorClicks_;

  bool keepPreferencesVisible_ = false;
  // An own item was dragged while a separator may be long, so the order reads as unknown: it is
  // read at expanded lengths before the next collapse.
  bool orderUnsureAfterDrag_ = false;
  std::optional<double> collapseRefusedNoticeAt_;
  unsigned long long applyGeneration_ = 0;
  WorkItem categorySyncWorkItem_;
  WorkItem foldingCheckWork_;
  WorkItem recreateItemsWork_;
  WorkItem orderReadWork_;
  Cancellables cancellables_;
  ObserverList<const StatusBarEvent&> events_;

  WeakHandleFactory<StatusBarController> weakFactory_{this};
};

}  // namespace tarvolo
