#include "statusbar/StatusBarController.h"

#include <algorithm>

#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "base/Text.h"
#include "discovery/owners/StatusItemManager.h"
#include "localization/LocalizationManager.h"
#include "platform/windows/UserInterface.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using platform::EventType;

namespace {

constexpr double kApplyCoalesceDelay = 0.15;
constexpr const char* kStayExpandedNoticeKind = "collapseStayExpanded";

// A notification handler that runs `method` on the controller, if it still exists.
NotificationCenter::Handler calling(WeakHandle<StatusBarController> weak, void (StatusBarController::*method)()) {
  return [call = bindWeak(std::move(weak), method)](const Notification&) { call(); };
}

// "name(label: value)", the head of the traces that name a call and its one flag.
LogLine callLine(std::string_view callAndLabel, bool value) {
  LogLine line(callAndLabel);
  line.raw(value ? "true)" : "false)");
  return line;
}

}  // namespace

StatusBarController::StatusBarController(Dependencies dependencies)
    : platform_(dependencies.platform),
      catalog_(dependencies.catalog),
      localization_(dependencies.localization),
      displayRules_(dependencies.platform.defaults()),
      items_(dependencies.platform, dependencies.localization, expandedSeparatorLength),
      engine_({.platform = dependencies.platform,
               .workspaceCenter = dependencies.workspaceCenter,
               .localization = dependencies.localization,
               .items = items_,
               .host = *this}),
      hiding_({.engine = dependencies.nativeEngine,
               .items = items_,
               .expandedSeparatorLength = expandedSeparatorLength,
               .host = *this}),
      campaign_(dependencies.platform.mainQueue(), *this),
      autoCollapse_({.platform = dependencies.platform,
                     .items = items_,
                     .state = state_,
                     .surroundings = surroundings_,
                     .host = *this}),
      frontmost_({.platform = dependencies.platform, .state = state_, .engine = engine_, .host = *this}),
      orderRepair_({.platform = dependencies.platform,
                    .items = items_,
                    .localization = dependencies.localization,
                    .host = *this}),
      clicks_(dependencies.platform, items_),
      separatorClicks_(dependencies.platform, items_),
      categorySyncWorkItem_(dependencies.platform.mainQueue()),
      foldingCheckWork_(dependencies.platform.mainQueue()),
      recreateItemsWork_(dependencies.platform.mainQueue()),
      orderReadWork_(dependencies.platform.mainQueue()) {
  // Positions must be in the store before any item exists: the status bar reads them only
  // when an item is created.
  items_.seedPreferredPositions();
  createOwnItems();

  engine_.restorePersistedLengths();
  engine_.logLaunchState();
  engine_.lengths().persistPerAppLengths();
  engine_.lengths().seedPinnedGapIfMissing();
  engine_.pruneCollapseLengthsToConnectedScreens();
  applyVisibilityNow();
  subscribe(dependencies.defaultCenter, dependencies.workspaceCenter);

  catalog_.setOwnItemAnchors(
      [weak = weak()]() -> std::optional<PlacementAnchors> {
        auto* self = weak.get();
        return self ? self->items_.currentPlacementAnchors() : std::nullopt;
      },
      expandedSeparatorLength);
  catalog_.refreshAttributedMenuBarApps();
  cancellables_.push_back(displayRules_.rules.subscribe([weak = weak()](const DisplayRules&) {
    auto* self = weak.get();
    if (!self || self->followDisplayRule() || !std::exchange(self->keptForDisplay_, false)) return;
    self->collapseBar(CollapseReason::displayRule);
  }));
}

StatusBarController::~StatusBarController() = default;

// --- construction ------------------------------------------------------------------------------

OwnStatusItems::Actions StatusBarController::itemActions() {
  auto clicked = [weak = weak()](void (StatusBarController::*method)(std::optional<platform::Event>)) {
    return bindWeak(weak, [method](StatusBarController& self, std::optional<platform::Event> event) {
      self.noteOwnItemMouseUp(event);
      (self.*method)(event);
    });
  };
  return OwnStatusItems::Actions{
      .toggleClicked = clicked(&StatusBarController::statusItemClicked),
      .separatorClicked = clicked(&StatusBarController::separatorClicked),
      .alwaysHiddenSeparatorClicked = clicked(&StatusBarController::alwaysHiddenSeparatorClicked),
  };
}

void StatusBarController::createOwnItems() {
  items_.createOwnItems(currentPresentation(), itemActions(),
                        [this](OwnStatusItems::Item created) { companionAfterOwnItem(created); });
}

// The button's tracking consumes the mouse-up, so no monitor sees it; its action does.
void StatusBarController::noteOwnItemMouseUp(const std::optional<platform::Event>& event) {
  if (event && event->type == EventType::leftMouseUp) engine_.gaps().noteMouseUp();
}

// Sampling starts with the toggle; the placeholder must be created between the two separators
// to land beside the fold.
void StatusBarController::companionAfterOwnItem(OwnStatusItems::Item created) {
  switch (created) {
    case OwnStatusItems::Item::toggle:
      engine_.gaps().startMenuBarSampling();
      return;
    case OwnStatusItems::Item::separator:
      engine_.fold().installFoldPlaceholder(OwnStatusItems::separatorAutosaveName,
                                            OwnStatusItems::alwaysHiddenAutosaveName);
      return;
    case OwnStatusItems::Item::alwaysHiddenSeparator:
      engine_.installHiddenPlaceholder(OwnStatusItems::alwaysHiddenAutosaveName);
      return;
  }
}

void StatusBarController::subscribe(NotificationCenter& center, NotificationCenter& workspace) {
  auto& queue = platform_.mainQueue();
  auto onMain = [this, &queue](void (StatusBarController::*method)()) {
    return onMainQueue(queue, calling(weak(), method));
  };

  cancellables_.push_back(
      center.addObserver(Notifications::itemCategoryDidChange, onMain(&StatusBarController::scheduleApply)));
  cancellables_.push_back(
      center.addObserver(Notifications::menuBarCatalogDidChange, onMain(&StatusBarController::scheduleApply)));
  cancellables_.push_back(center.addObserver(Notifications::applicationDidChangeScreenParameters,
                                             onMain(&StatusBarController::screenParametersChanged)));
  auto wokeOrMoved = onMainQueue(queue, calling(weak(), &StatusBarController::systemStateChanged));
  cancellables_.push_back(workspace.addObserver(Notifications::workspaceDidWake, wokeOrMoved));
  cancellables_.push_back(workspace.addObserver(Notifications::activeSpaceDidChange, wokeOrMoved));
  cancellables_.push_back(workspace.addObserver(
      Notifications::didActivateApplication,
      bindWeak(weak(), [](StatusBarController& self, const Notification& notification) {
        if (const auto* app = notification.objectAs<platform::RunningApplication>()) {
          self.frontmost_.noteFrontmostApplication(*app);
        }
      })));
  auto membership = [&queue, weak = weak()](const Notification& notification) {
    std::optional<std::string> bundle;
    if (const auto* app = notification.objectAs<platform::RunningApplication>()) bundle = app->bundleIdentifier;
    queue.post(0, bindWeak(weak, &StatusBarController::noteMenuBarMembershipChanged, bundle));
  };
  cancellables_.push_back(workspace.addObserver(Notifications::didLaunchApplication, membership));
  cancellables_.push_back(workspace.addObserver(Notifications::didTerminateApplication, membership));
  cancellables_.push_back(center.addObserver(
      Notifications::menuDidBeginTracking, bindWeak(weak(), [](StatusBarController& self, const Notification&) {
        self.noteMenuTracking(self.surroundings_.menuTrackingCount + 1);
      })));
  cancellables_.push_back(center.addObserver(
      Notifications::menuDidEndTracking, bindWeak(weak(), [](StatusBarController& self, const Notification&) {
        self.noteMenuTracking(std::max(0, self.surroundings_.menuTrackingCount - 1));
      })));
  cancellables_.push_back(center.addObserver(Notifications::nativeVisibilityAvailabilityDidChange,
                                             onMain(&StatusBarController::nativeAvailabilityChanged)));
  cancellables_.push_back(center.addObserver(Notifications::appLanguageDidChange,
                                             onMain(&StatusBarController::updateLanguageStrings)));
}

void StatusBarController::noteMenuTracking(int count) {
  surroundings_.menuTrackingCount = count;
  engine_.noteMenuTracking(surroundings_.menuTracking());
}

void StatusBarController::notePlacementGuide(PlacementGuidePresence presence) {
  mainThread_.check();
  surroundings_.guide = std::move(presence);
}

void StatusBarController::screenParametersChanged() {
  // Expanded first, so the engine starts no search for a display whose icons stay shown.
  const bool kept = followDisplayRule();
  if (!kept && std::exchange(keptForDisplay_, false)) {
    if (!hiding_.nativeAvailable()) engine_.screenParametersChanged();
    collapseBar(CollapseReason::displayRule);
    return;
  }
  if (!hiding_.nativeAvailable()) return engine_.screenParametersChanged();
  engine_.pruneCollapseLengthsToConnectedScreens();
  hiding_.expandIfAvailable();
  scheduleApply();
}

// --- what the bar shows ------------------------------------------------------------------------

void StatusBarController::setState(BarState next) {
  if (next == state_) return;
  state_ = next;
  engine_.notePresentation(state_.presentation());
  publish(BarEvent::StateChanged{state_});
}

void StatusBarController::show(ExpandDepth depth) {
  BarState next = state_;
  next.isExpanded = true;
  next.isDeepExpanded = depth == ExpandDepth::deep;
  setState(next);
}

void StatusBarController::showCollapsed() {
  BarState next = state_;
  next.isExpanded = false;
  next.isDeepExpanded = false;
  setState(next);
}

void StatusBarController::noteAlwaysVisibleAnchorReady() {
  BarState next = state_;
  next.alwaysVisibleAnchorReady = true;
  setState(next);
}

// --- start-up ----------------------------------------------------------------------------------

bool StatusBarController::onboardingComplete() const {
  return platform_.defaults().getBool(onboardingKey).value_or(false);
}

void StatusBarController::completeOnboarding() {
  mainThread_.check();
  platform_.defaults().set(onboardingKey, DefaultsValue(true));
  collapseBar(CollapseReason::startup);
  campaign_.beginIfNeeded();
}

void StatusBarController::showEverything() {
  show(ExpandDepth::deep);
  surroundings_.manualPlacement = false;
  updateButtonAppearance();
  applyVisibilityNow();
}

void StatusBarController::finishStartup() {
  mainThread_.check();
  orderRepair_.scheduleOrderRepairCheck(OwnOrderRepair::Trigger::automatic);
  campaign_.allowStartupCollapse();
  if (!onboardingComplete()) {
    showEverything();
    presentFirstLaunchCoach();
    return;
  }
  collapseBar(CollapseReason::startup);
  campaign_.beginIfNeeded();
}

std::optional<bool> StatusBarController::readAlwaysVisibleAnchor() const {
  if (engine_.cliff().cliffSearchInFlight()) return std::nullopt;
  return items_.ownItemsInOrder();
}

// --- state machine -----------------------------------------------------------------------------

void StatusBarController::toggleBar(ExpandDepth depth) {
  mainThread_.check();
  Diag::log(callLine("toggleBar(deep:", depth == ExpandDepth::deep)
                .add("isExpanded", state_.isExpanded)
                .add("isDeep", state_.isDeepExpanded)
                .add("foldingEffective", state_.foldingEffective));
  if (!state_.foldingEffective) {
    platform_.userInterface().presentNotice(platform::NoticeRequest{
        .message = text("folding_ineffective_banner"),
        .actionTitle = text("menu_repair_order"),
        .kind = "foldingIneffective",
        .onAction = repairAction(),
    });
    return;
  }
  switch (depth) {
    case ExpandDepth::deep:
      // From the deep-expanded bar a deep toggle steps down to the expanded one, not to collapsed.
      expandBar(state_.isExpanded && state_.isDeepExpanded ? ExpandDepth::normal : ExpandDepth::deep, Initiator::user);
      return;
    case ExpandDepth::normal:
      if (state_.isExpanded) {
        collapseBar(CollapseReason::explicitToggle);
      } else {
        expandBar(ExpandDepth::normal, Initiator::user);
      }
      return;
  }
}

// After a drag the order cannot be read while a separator is long: everything is shown, so both
// separators are short, and the collapse is asked for again once they have been laid out.
void StatusBarController::readOrderThenCollapse(CollapseReason reason) {
  MenuBarLog::log(LogLine("collapse waits for order").add("trigger", rawValue(reason)));
  orderUnsureAfterDrag_ = false;
  show(ExpandDepth::deep);
  updateButtonAppearance();
  applyVisibilityNow();
  orderReadWork_.schedule(Policy::collapseVerifyDelay, bindWeak(weak(), [reason](StatusBarController& self) {
                            if (!self.state_.isExpanded) return;
                            self.collapseBar(reason);
                          }));
}

void StatusBarController::expandBar(ExpandDepth depth, Initiator initiator) {
  mainThread_.check();
  const bool userInitiated = isUserInitiated(initiator);
  if (userInitiated) {
    campaign_.cancelStartupCollapseRetry();
    if (platform_.userInterface().preferences().isShown()) keepPreferencesVisible_ = true;
  }
  Diag::log(callLine("expandBar(deep:", depth == ExpandDepth::deep).add("userInitiated", userInitiated));
  show(depth);
  updateButtonAppearance();
  applyVisibilityNow();
  if (userInitiated && keepPreferencesVisible_) platform_.userInterface().preferences().keepFront();
  bool fromGuide = initiator == Initiator::placementGuide;
  autoCollapse_.scheduleAutoCollapseTimer(fromGuide || surroundings_.manualPlacement || barDisplayKeepsIconsShown()
                                              ? std::nullopt
                                              : std::optional(autoCollapseDelayHere()));
}

// --- rules per display -------------------------------------------------------------------------

std::string StatusBarController::barDisplayID() const {
  auto screen = items_.statusItemScreen();
  return screen ? screen->displayID : std::string();
}

bool StatusBarController::barDisplayKeepsIconsShown() const {
  return DisplayRulePolicy::keepsIconsShown(displayRules_.rules.get(), barDisplayID());
}

double StatusBarController::autoCollapseDelayHere() const {
  return DisplayRulePolicy::autoCollapseDelay(displayRules_.rules.get(), barDisplayID(),
                                              autoCollapse_.configuredAutoCollapseDelay());
}

void StatusBarController::keepExpandedForDisplay(std::string_view trigger) {
  MenuBarLog::log(LogLine("collapse skipped").add("reason", "display-rule").add("trigger", trigger).add("display", barDisplayID()));
  keptForDisplay_ = true;
  // Nothing is left to time out: the rule holds until the bar moves or the rule changes.
  autoCollapse_.scheduleAutoCollapseTimer(std::nullopt);
  if (state_.isExpanded && !state_.isDeepExpanded) return;
  show(ExpandDepth::normal);
  updateButtonAppearance();
  applyVisibilityNow();
}

bool StatusBarController::followDisplayRule() {
  mainThread_.check();
  if (!campaign_.startupCollapseAllowed() || !onboardingComplete()) return false;
  if (barDisplayKeepsIconsShown()) {
    // A deep expansion the user asked for stays until it steps down.
    if (!state_.isExpanded) keepExpandedForDisplay("display-change");
    keptForDisplay_ = true;
    return true;
  }
  return false;
}

void StatusBarController::collapseBar(CollapseReason reason) {
  mainThread_.check();
  const auto reasonText = rawValue(reason);
  // Guard 1: nothing may hide before start-up finished or while the coach runs.
  if (!campaign_.startupCollapseAllowed() || !onboardingComplete()) {
    MenuBarLog::log(LogLine("collapse blocked").add("reason", reasonText));
    showEverything();
    if (!onboardingComplete()) presentFirstLaunchCoach();
    return;
  }
  // The user keeps every icon shown on this display.
  if (barDisplayKeepsIconsShown()) {
    keepExpandedForDisplay(reasonText);
    return;
  }
  // Guard 2: with the own items out of order a collapse would hide the wrong icons.
  auto order = readAlwaysVisibleAnchor();
  if (!order && orderUnsureAfterDrag_ && !hiding_.nativeAvailable()) {
    readOrderThenCollapse(reason);
    return;
  }
  if (order) orderUnsureAfterDrag_ = false;
  if (Policy::shouldWithholdCollapse(hiding_.nativeAvailable(), order)) {
    MenuBarLog::log(
        LogLine("collapse withheld").add("reason", rawValue(StayExpandedReason::order)).add("trigger", reasonText));
    stayExpandedBecauseFoldingFailed(StayExpandedReason::order, RepairOffer::none);
    if (reason == CollapseReason::startup) campaign_.noteWithheld(StayExpandedReason::order);
    if (Policy::collapseAttemptReopensRepair(reason)) orderRepair_.considerRepairForUserCollapse();
    return;
  }
  // Guards 3 and 4, and the attempt: made once, then handed along.
  const CollapseAttempt attempt = engine_.beginCollapse(reason);
  showCollapsed();
  updateButtonAppearance();
  applyVisibility(attempt.length, nullptr);
  publish(BarEvent::Collapsed{});
  autoCollapse_.barCollapsed();
  // The system hides by list: no length to remember, search or recover.
  if (hiding_.nativeAvailable()) return;
  engine_.collapsed(attempt);
  orderRepair_.considerOrderRepair(OwnOrderRepair::Trigger::automatic);
}

void StatusBarController::setDeepExpanded(bool deep) {
  const ExpandDepth depth = deep ? ExpandDepth::deep : ExpandDepth::normal;
  if (state_.isExpanded && state_.isDeepExpanded != deep) {
    expandBar(depth, Initiator::user);
    return;
  }
  BarState next = state_;
  next.isDeepExpanded = deep;
  setState(next);
}

// --- appearance --------------------------------------------------------------------------------

std::string StatusBarController::text(const std::string& key) const { return localization_.tr(key); }

void StatusBarController::updateButtonAppearance() { items_.updateButtonAppearance(currentPresentation()); }

void StatusBarController::updateLanguageStrings() { items_.updateLanguageStrings(currentPresentation()); }

// --- applying lengths --------------------------------------------------------------------------

void StatusBarController::scheduleApply() {
  categorySyncWorkItem_.schedule(kApplyCoalesceDelay, bindWeak(weak(), [](StatusBarController& self) {
                                   self.applyVisibilityNow();
                                 }));
}

Policy::PlacementMode StatusBarController::placementMode() const {
  return surroundings_.manualPlacement ? Policy::PlacementMode::manual : Policy::PlacementMode::automatic;
}

void StatusBarController::applyVisibilityNow(std::function<void(bool)> completion) {
  applyVisibility(lengthForFrontmost(), std::move(completion));
}

void StatusBarController::applyVisibility(double collapseLength, std::function<void(bool)> completion) {
  mainThread_.check();
  ++applyGeneration_;
  auto presentation = currentPresentation();
  if (presentation != MenuBarPresentation::collapsed) engine_.cliff().abortForExpandedBar();
  // While the cliff search runs it owns the normal separator's length.
  const bool searching = engine_.cliff().cliffSearchInFlight();
  const auto hidingEngine = hiding_.hidingEngine();
  auto plan = Policy::plan({
      .apps = catalog_.trackedApps(),
      .engine = hidingEngine,
      .presentation = presentation,
      .expandedLength = expandedSeparatorLength,
      .collapsedLength = collapseLength,
      .ownBundleIDs = {platform_.system().ownBundleIdentifier()},
      .runningBundleIDs = catalog_.runningBundleIDs(),
      .publicCollapseSizing = Policy::collapseUsesStatusRegionCliff(platform_.system().osMajorVersion()),
      .hiddenDividerDistance = engine_.shelf().dividerDistance(),
  });
  if (hidingEngine == MenuBarHidingEngine::nativeAllowList) {
    const bool dividers = Policy::usesPhysicalDividers(Policy::NativeEngine::available, placementMode(),
                                                       Policy::PlacementHighlight::hidden);
    hiding_.apply(plan, dividers, std::move(completion));
    engine_.noteApplied(items_.separatorLength(), items_.alwaysHiddenSeparatorLength());
    return publishFoldingEffective(collapseLength);
  }
  if (presentation == MenuBarPresentation::shelfExpanded) {
    plan.alwaysHiddenSeparatorLength = engine_.shelf().lengthForShelf(plan.alwaysHiddenSeparatorLength);
  }
  // On a cold start only a guess at the collapse length exists until the start-up collapse
  // searches, and on a narrow screen the guess pushes the app's menus aside: the separators wait
  // short. The search keeps the always-hidden one short too, so its readings see one long item.
  const bool awaitingSearch = presentation == MenuBarPresentation::collapsed && !campaign_.startupCollapseAllowed() &&
                              engine_.cliff().collapseLengthUnmeasured();
  if (awaitingSearch) plan.normalSeparatorLength = expandedSeparatorLength;
  if (awaitingSearch || searching) {
    plan.alwaysHiddenSeparatorLength = std::min(plan.alwaysHiddenSeparatorLength, expandedSeparatorLength);
  }

  if (!searching) items_.setSeparatorLength(plan.normalSeparatorLength);
  items_.setAlwaysHiddenSeparatorLength(plan.alwaysHiddenSeparatorLength);
  double readBackNormal = items_.separatorLength();
  double readBackHidden = items_.alwaysHiddenSeparatorLength();
  engine_.noteApplied(plan.normalSeparatorLength, plan.alwaysHiddenSeparatorLength);
  MenuBarLog::log(LogLine("apply")
                      .add("presentation", rawValue(presentation))
                      .add("requestedNormal", plan.normalSeparatorLength)
                      .add("readBackNormal", readBackNormal)
                      .add("requestedHidden", plan.alwaysHiddenSeparatorLength)
                      .add("readBackHidden", readBackHidden));

  items_.showAll();
  items_.applySeparatorTitles(plan.normalSeparatorTitle, plan.alwaysHiddenSeparatorTitle);
  items_.styleFoldSeparator();
  items_.styleHiddenSeparator();
  engine_.applyFoldPlaceholder(presentation, plan.normalSeparatorLength);
  engine_.applyHiddenPlaceholder(presentation, plan.alwaysHiddenSeparatorLength);
  publishFoldingEffective(collapseLength);
  if (presentation == MenuBarPresentation::collapsed && !searching && !awaitingSearch) {
    engine_.verifier().scheduleCollapsedCliffVerify();
  }
  if (presentation == MenuBarPresentation::shelfExpanded) engine_.shelf().scheduleShelfHiddenVerify();
  scheduleFoldingCheck();
  // Icons are read again once the new lengths have settled.
  catalog_.scheduleZoneRefresh();
  engine_.gaps().scheduleMenuBarSample();
  if (completion) completion(true);
}

void StatusBarController::publishFoldingEffective() { publishFoldingEffective(lengthForFrontmost()); }

void StatusBarController::publishFoldingEffective(double collapseLength) {
  BarState next = state_;
  // The order can only be judged while the separators are short; a collapse is judged by its
  // verification.
  if (auto order = readAlwaysVisibleAnchor()) next.alwaysVisibleAnchorReady = *order;
  // Where the icons stay shown by choice nothing has been tried that could have failed: the
  // toggle answers as usual rather than offering a repair.
  next.foldingEffective = barDisplayKeepsIconsShown() || Policy::foldingIsEffective({
                                                             .nativeEngineAvailable = hiding_.nativeAvailable(),
                                                             .anchorReady = next.alwaysVisibleAnchorReady,
                                                             .cliffGaveUp = engine_.cliff().cliffSearchGaveUp(),
                                                             .collapseLength = collapseLength,
                                                         });
  setState(next);
}

void StatusBarController::scheduleFoldingCheck() {
  auto generation = applyGeneration_;
  foldingCheckWork_.schedule(Policy::collapseVerifyDelay,
                             bindWeak(weak(), [generation](StatusBarController& self) {
                               if (generation != self.applyGeneration_) return;
                               self.publishFoldingEffective();
                               self.campaign_.startupCollapseFramesReady();
                             }));
}

// --- when folding fails ------------------------------------------------------------------------

void StatusBarController::stayExpandedBecauseFoldingFailed(StayExpandedReason reason, RepairOffer offer) {
  MenuBarLog::log(LogLine("collapse stays expanded")
                      .add("reason", rawValue(reason))
                      .add("offerRepair", offer == RepairOffer::collapseAgain));
  show(ExpandDepth::deep);
  updateButtonAppearance();
  applyVisibilityNow();

  const double now = platform_.clock().now();
  if (!Policy::shouldRepeatStayExpandedNotice(collapseRefusedNoticeAt_, now,
                                              Policy::collapseStayExpandedNoticeInterval)) {
    return;
  }
  collapseRefusedNoticeAt_ = now;
  const bool order = reason == StayExpandedReason::order;
  platform::NoticeRequest notice{
      .message = text(order ? "folding_ineffective_banner" : "collapse_folding_unavailable"),
      .actionTitle = std::nullopt,
      .kind = kStayExpandedNoticeKind,
  };
  if (order) {
    notice.actionTitle = text("menu_repair_order");
    notice.onAction = repairAction();
  } else if (offer == RepairOffer::collapseAgain) {
    // Measuring again later may succeed where this attempt could not.
    notice.actionTitle = text("menu_collapse");
    notice.onAction = bindWeak(weak(), &StatusBarController::collapseBar, CollapseReason::menu);
  }
  MenuBarLog::log(LogLine("collapse notice").add("kind", kStayExpandedNoticeKind).add("reason", rawValue(reason)));
  platform_.userInterface().presentNotice(std::move(notice));
}

void StatusBarController::dropToNormalExpandedShelf() {
  MenuBarLog::log(LogLine("collapse dropped to shelf").add("frontmost", spellingOf(engine_.chooser().frontmostBundleID())));
  show(ExpandDepth::normal);
  updateButtonAppearance();
  applyVisibilityNow();
  if (!surroundings_.manualPlacement && !barDisplayKeepsIconsShown()) {
    autoCollapse_.scheduleAutoCollapseTimer(autoCollapseDelayHere());
  }
}

// --- membership --------------------------------------------------------------------------------

void StatusBarController::noteMenuBarMembershipChanged(std::optional<std::string> bundleID) {
  surroundings_.menuBarMembershipChangedAt = platform_.clock().now();
  hiding_.expandIfAvailable();
  if (bundleID) {
    const std::string lowered = text::lowercased(*bundleID);
    engine_.clearCollapseBudget(BundleID::from(lowered));
    MenuBarLog::log(LogLine("collapse budget cleared").add("bundle", lowered));
  }
  if (currentPresentation() == MenuBarPresentation::collapsed) {
    // New or departed icons change the gaps a collapse is judged by: measure afresh.
    engine_.verifier().forgetCollapseReference();
    engine_.verifier().scheduleCollapseRebaseline();
  }
  scheduleApply();
}

}  // namespace tarvolo
