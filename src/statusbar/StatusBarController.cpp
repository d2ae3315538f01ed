#include "statusbar/StatusBarController.h"

#include <algorithm>

#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "base/Text.h"
#include "discovery/tracking/StatusItemManager.h"
#include "localization/LocalizationManager.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using platform::EventType;
using platform::Modifier;

namespace {

constexpr double kApplyCoalesceDelay = 0.15;
constexpr double kArrowPressWindow = 1.0;
constexpr double kDragTolerance = 3.0;
constexpr const char* kStayExpandedNoticeKind = "collapseStayExpanded";

// A notification handler that runs `method` on the controller, if it still exists.
NotificationCenter::Handler calling(WeakHandle<StatusBarController> weak, void (StatusBarController::*method)()) {
  return [call = bindWeak(std::move(weak), method)](const Notification&) { call(); };
}

}  // namespace

StatusBarController::StatusBarController(Dependencies dependencies)
    : platform_(dependencies.platform),
      defaultCenter_(dependencies.defaultCenter),
      workspaceCenter_(dependencies.workspaceCenter),
      catalog_(dependencies.catalog),
      localization_(dependencies.localization),
      items_(dependencies.platform, dependencies.localization, expandedSeparatorLength_),
      engine_({.platform = dependencies.platform,
               .workspaceCenter = dependencies.workspaceCenter,
               .localization = dependencies.localization,
               .items = items_,
               .host = *this}),
      hiding_({.engine = dependencies.nativeEngine,
               .items = items_,
               .expandedSeparatorLength = expandedSeparatorLength_}),
      campaign_(dependencies.platform.mainQueue(), *this),
      autoCollapse_(dependencies.platform, *this),
      frontmost_(dependencies.platform, *this),
      orderRepair_(dependencies.platform, *this),
      categorySyncWorkItem_(dependencies.platform.mainQueue()),
      foldingCheckWork_(dependencies.platform.mainQueue()),
      recreateItemsWork_(dependencies.platform.mainQueue()) {
  // Positions must be in the store before any item exists: the status bar reads them only
  // when an item is created.
  hiding_.setRecreateOwnItems(bindWeak(weak(), &StatusBarController::recreateOwnItemsForSystemEngine));
  items_.seedPreferredPositions();
  items_.createOwnItems(currentPresentation(), itemActions(),
                        [this](OwnStatusItems::Item created) { companionAfterOwnItem(created); });

  engine_.restorePersistedLengths();
  engine_.logLaunchState();
  engine_.lengths().persistPerAppLengths();
  engine_.lengths().seedPinnedGapIfMissing();
  engine_.pruneCollapseLengthsToConnectedScreens();
  applyVisibilityNow();
  subscribe();

  catalog_.setOwnItemAnchors(
      [weak = weak()]() -> std::optional<PlacementAnchors> {
        auto* self = weak.get();
        return self ? self->items_.currentPlacementAnchors() : std::nullopt;
      },
      expandedSeparatorLength_);
  catalog_.refreshAttributedMenuBarApps();
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

void StatusBarController::subscribe() {
  auto& queue = platform_.mainQueue();
  auto& center = defaultCenter_;
  auto& workspace = workspaceCenter_;
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
        self.noteMenuTracking(self.menuTrackingCount_ + 1);
      })));
  cancellables_.push_back(center.addObserver(
      Notifications::menuDidEndTracking, bindWeak(weak(), [](StatusBarController& self, const Notification&) {
        self.noteMenuTracking(std::max(0, self.menuTrackingCount_ - 1));
      })));
  cancellables_.push_back(center.addObserver(Notifications::nativeVisibilityAvailabilityDidChange,
                                             onMain(&StatusBarController::nativeAvailabilityChanged)));
  cancellables_.push_back(center.addObserver(Notifications::appLanguageDidChange,
                                             onMain(&StatusBarController::updateLanguageStrings)));
}

void StatusBarController::noteMenuTracking(int count) {
  menuTrackingCount_ = count;
  engine_.noteMenuTracking(count > 0);
}

void StatusBarController::screenParametersChanged() {
  if (!hiding_.nativeAvailable()) return engine_.screenParametersChanged();
  engine_.pruneCollapseLengthsToConnectedScreens();
  hiding_.expandIfAvailable();
  scheduleApply();
}

// --- start-up ----------------------------------------------------------------------------------

bool StatusBarController::onboardingComplete() const {
  return platform_.defaults().getBool(onboardingKey).value_or(false);
}

void StatusBarController::presentFirstLaunchCoach() { firstLaunchCoachWanted.notify(); }

void StatusBarController::completeOnboarding() {
  mainThread_.check();
  platform_.defaults().set(onboardingKey, DefaultsValue(true));
  collapseBar(CollapseReason::startup);
  campaign_.beginIfNeeded();
}

void StatusBarController::showEverything() {
  setShown(true, true);
  manualPlacement_ = false;
  updateButtonAppearance();
  applyVisibilityNow();
}

void StatusBarController::finishStartup() {
  mainThread_.check();
  orderRepair_.scheduleOrderRepairCheck(OwnOrderRepair::Trigger::automatic);
  startupCollapseAllowed_ = true;
  if (!onboardingComplete()) {
    showEverything();
    presentFirstLaunchCoach();
    return;
  }
  collapseBar(CollapseReason::startup);
  campaign_.beginIfNeeded();
}

bool StatusBarController::startupCollapseMayRun() const {
  return startupCollapseAllowed_ && onboardingComplete() && !manualPlacement_;
}

bool StatusBarController::showsEverything() const { return isExpanded.get() && isDeepExpanded.get(); }

void StatusBarController::startupCollapseGaveUp() {
  if (showsEverything()) orderRepair_.considerOrderRepair(OwnOrderRepair::Trigger::automatic);
}

std::optional<bool> StatusBarController::readAlwaysVisibleAnchor() const {
  if (engine_.cliff().cliffSearchInFlight()) return std::nullopt;
  return items_.ownItemsInOrder();
}

// --- state machine -----------------------------------------------------------------------------

MenuBarPresentation StatusBarController::currentPresentation() const {
  return Policy::presentationFor(isExpanded.get(), isDeepExpanded.get());
}

void StatusBarController::setShown(bool expanded, bool deep) {
  isExpanded = expanded;
  isDeepExpanded = deep;
  engine_.notePresentation(currentPresentation());
}

void StatusBarController::toggleBar(ExpandDepth depth) {
  mainThread_.check();
  Diag::log(LogLine(std::string("toggleBar(deep: ") + boolText(depth == ExpandDepth::deep) + ")")
                .add("isExpanded", isExpanded.get())
                .add("isDeep", isDeepExpanded.get())
                .add("foldingEffective", foldingEffective.get()));
  if (!foldingEffective.get()) {
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
      expandBar(isExpanded.get() && isDeepExpanded.get() ? ExpandDepth::normal : ExpandDepth::deep, Initiator::user);
      return;
    case ExpandDepth::normal:
      if (isExpanded.get()) {
        collapseBar(CollapseReason::explicitToggle);
      } else {
        expandBar(ExpandDepth::normal, Initiator::user);
      }
      return;
  }
}

void StatusBarController::expandBar(ExpandDepth depth, Initiator initiator) {
  mainThread_.check();
  const bool deep = depth == ExpandDepth::deep;
  const bool userInitiated = isUserInitiated(initiator);
  if (userInitiated) {
    campaign_.cancelStartupCollapseRetry();
    if (platform_.userInterface().preferences().isShown()) keepPreferencesVisible_ = true;
  }
  Diag::log(LogLine(std::string("expandBar(deep: ") + boolText(deep) + ")").add("userInitiated", userInitiated));
  setShown(true, deep);
  updateButtonAppearance();
  applyVisibilityNow();
  if (userInitiated && keepPreferencesVisible_) platform_.userInterface().preferences().keepFront();
  bool fromGuide = initiator == Initiator::placementGuide;
  autoCollapse_.scheduleAutoCollapseTimer(fromGuide || manualPlacement_
                                              ? std::nullopt
                                              : std::optional(autoCollapse_.configuredAutoCollapseDelay()));
}

void StatusBarController::collapseBar(CollapseReason reason) {
  mainThread_.check();
  const auto reasonText = rawValue(reason);
  // Guard 1: nothing may hide before start-up finished or while the coach runs.
  if (!startupCollapseAllowed_ || !onboardingComplete()) {
    MenuBarLog::log(LogLine("collapse blocked").add("reason", reasonText));
    showEverything();
    if (!onboardingComplete()) presentFirstLaunchCoach();
    return;
  }
  // Guard 2: with the own items out of order a collapse would hide the wrong icons.
  auto order = readAlwaysVisibleAnchor();
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
  setShown(false, false);
  updateButtonAppearance();
  applyVisibility(attempt.length, nullptr);
  if (windowHooks_.barDidCollapse) windowHooks_.barDidCollapse();
  autoCollapse_.barCollapsed();
  // The system hides by list: no length to remember, search or recover.
  if (hiding_.nativeAvailable()) return;
  engine_.collapsed(attempt);
  orderRepair_.considerOrderRepair(OwnOrderRepair::Trigger::automatic);
}

void StatusBarController::setDeepExpanded(bool deep) {
  if (isExpanded.get() && isDeepExpanded.get() != deep) {
    expandBar(deep ? ExpandDepth::deep : ExpandDepth::normal, Initiator::user);
    return;
  }
  isDeepExpanded = deep;
  engine_.notePresentation(currentPresentation());
}

// --- clicks --------------------------------------------------------------------------------------

void StatusBarController::recordArrowPress() {
  arrowPressPoint_ = platform_.events().mouseLocation();
  if (auto frame = items_.toggleFrame()) {
    arrowPressFrameOrigin_ = frame->origin();
  } else {
    arrowPressFrameOrigin_.reset();
  }
  arrowPressAt_ = platform_.clock().now();
}

void StatusBarController::clearArrowPress() {
  arrowPressPoint_.reset();
  arrowPressFrameOrigin_.reset();
  arrowPressAt_.reset();
}

void StatusBarController::statusItemClicked(std::optional<platform::Event> sent) {
  mainThread_.check();
  MenuBarLog::log(LogLine("statusItemClicked fired,")
                      .add("currentEvent", sent ? platform::eventTypeName(sent->type) : "none"));
  // Pressed through Accessibility: what a plain left click does.
  const platform::Event event =
      sent.value_or(platform::Event{.type = EventType::leftMouseUp, .timestamp = platform_.clock().now()});
  if (event.type == EventType::rightMouseUp) {
    showContextMenu();
    return;
  }
  if (event.type == EventType::leftMouseDown) {
    recordArrowPress();
    return;
  }
  if (event.type != EventType::leftMouseUp) return;

  auto session = platform_.events().modifierFlags();
  bool option = session.has(Modifier::option) || event.modifierFlags.has(Modifier::option);
  bool command = session.has(Modifier::command) || event.modifierFlags.has(Modifier::command);
  MenuBarLog::log(LogLine("statusItemClicked:").add("isOption", option).add("isCommand", command));

  if (command && arrowPressAt_ && platform_.clock().now() - *arrowPressAt_ < kArrowPressWindow) {
    bool pointerMoved = arrowPressPoint_ &&
                        Policy::pointsDiffer(*arrowPressPoint_, platform_.events().mouseLocation(), kDragTolerance);
    auto frame = items_.toggleFrame();
    bool frameMoved = arrowPressFrameOrigin_ && frame &&
                      Policy::pointsDiffer(*arrowPressFrameOrigin_, frame->origin(), kDragTolerance);
    if (pointerMoved || frameMoved) {
      MenuBarLog::log("statusItemClicked: ignored command drag or guide");
      clearArrowPress();
      orderRepair_.scheduleOrderRepairCheck(OwnOrderRepair::Trigger::detected);
      return;
    }
  }

  const bool guideOpen = windowHooks_.placementGuideOpen && windowHooks_.placementGuideOpen();
  bool commandReveal = Policy::commandClickRevealsHidden(command, manualPlacement_ || guideOpen);
  MenuBarLog::log(LogLine("statusItemClicked:").add("optionReveal", option).add("commandReveal", commandReveal));
  bool reveal = option || commandReveal;
  bool notch = toggleScreenHasNotch();
  using Action = Policy::ArrowClickAction;
  Action action = notch ? (reveal ? Action::openShelfAll : Action::openShelf)
                        : (reveal ? Action::expandAll : Action::expandFolded);
  MenuBarLog::log(
      LogLine("status click").add("option", option).add("notch", notch).add("action", Policy::logName(action)));
  performArrowClickAction(action);
  clearArrowPress();
}

bool StatusBarController::toggleScreenHasNotch() const {
  auto screen = items_.statusItemScreen();
  return screen && screen->notchWidth() > 0;
}

void StatusBarController::performArrowClickAction(MenuBarVisibilityPolicy::ArrowClickAction action) {
  using Action = Policy::ArrowClickAction;
  switch (action) {
    case Action::openShelf:
      if (shelf_ && shelf_->isShelfShown()) {
        closeIconShelf();
      } else {
        showIconShelf(std::nullopt);
      }
      return;
    case Action::openShelfAll:
      showIconShelf(MenuBarAccessTier::all);
      return;
    case Action::expandFolded:
      closeIconShelf();
      toggleBar(ExpandDepth::normal);
      return;
    case Action::expandAll:
      closeIconShelf();
      expandBar(ExpandDepth::deep, Initiator::user);
      return;
  }
}

void StatusBarController::showIconShelf(std::optional<MenuBarAccessTier> tier) {
  if (shelf_) shelf_->showShelf(tier);
}

void StatusBarController::closeIconShelf() {
  if (shelf_ && shelf_->isShelfShown()) shelf_->closeShelf();
}

void StatusBarController::separatorClicked(std::optional<platform::Event> event) {
  if (event && event->type == EventType::rightMouseUp) {
    showContextMenu();
    return;
  }
  toggleBar(ExpandDepth::normal);
}

void StatusBarController::alwaysHiddenSeparatorClicked(std::optional<platform::Event> event) {
  if (event && event->type == EventType::rightMouseUp) {
    showContextMenu();
    return;
  }
  toggleBar(ExpandDepth::deep);
}

// --- context menu ----------------------------------------------------------------------------------

platform::Menu StatusBarController::buildContextMenu() {
  auto item = [this](const char* key, const char* action, void (StatusBarController::*method)(),
                     const char* keyEquivalent = "") {
    return platform::MenuItem{.title = text(key), .action = action, .keyEquivalent = keyEquivalent,
                              .perform = bindWeak(weak(), method)};
  };
  platform::Menu menu;
  menu.items.push_back(item("iconbar.title", "menuOpenIconBar", &StatusBarController::menuOpenIconBar));
  menu.items.push_back(item("iconbar.expand", "menuExpandFolded", &StatusBarController::menuExpandFolded));
  menu.items.push_back(item("menu_show_all", "menuShowAll", &StatusBarController::menuShowAll));
  menu.items.push_back(item("menu_collapse", "menuCollapse", &StatusBarController::menuCollapse));
  menu.items.push_back(item("menu_arrange", "menuArrange", &StatusBarController::menuArrange));
  // Offered while icons are shown, the moment a user notices one they would rather hide.
  if (isExpanded.get()) {
    menu.items.push_back(item("menu_hide_in_settings", "menuHideInSettings", &StatusBarController::menuHideInSettings));
  }
  if (orderRepair_.repairOffered()) {
    menu.items.push_back(item("menu_repair_order", "repairMenuBarOrder", &StatusBarController::repairMenuBarOrder));
  }
  menu.items.push_back(platform::MenuItem::separator());
  menu.items.push_back(item("menu_preferences", "openPreferences", &StatusBarController::menuPreferences, ","));
  menu.items.push_back(item("menu_quit", "quitApp", &StatusBarController::quitApp, "q"));
  return menu;
}

void StatusBarController::showContextMenu() {
  if (!items_.hasToggle()) return;
  items_.popUpToggleMenu(buildContextMenu());
}

void StatusBarController::menuOpenIconBar() { showIconShelf(std::nullopt); }
void StatusBarController::menuExpandFolded() { expandBar(ExpandDepth::normal, Initiator::user); }
void StatusBarController::menuShowAll() { expandBar(ExpandDepth::deep, Initiator::user); }
void StatusBarController::menuCollapse() { collapseBar(CollapseReason::menu); }

void StatusBarController::menuArrange() {
  MenuBarLog::log("arrange requested");
  if (windowHooks_.arrange) {
    windowHooks_.arrange();
    return;
  }
  expandBar(ExpandDepth::deep, Initiator::user);
}

void StatusBarController::menuHideInSettings() { openPreferences(std::string("items")); }
void StatusBarController::menuPreferences() { openPreferences(std::nullopt); }

void StatusBarController::openPreferences(std::optional<std::string> focusing) {
  Diag::log(LogLine("openPreferences").add("focus", focusing));
  if (windowHooks_.openPreferences) windowHooks_.openPreferences(std::move(focusing));
}

void StatusBarController::quitApp() { platform_.application().terminate(); }

// --- appearance ------------------------------------------------------------------------------------

std::string StatusBarController::text(const std::string& key) const { return localization_.tr(key); }

std::string StatusBarController::localizedText(std::string_view key) const { return localization_.tr(key); }

void StatusBarController::updateButtonAppearance() { items_.updateButtonAppearance(currentPresentation()); }

void StatusBarController::updateLanguageStrings() { items_.updateLanguageStrings(currentPresentation()); }

// --- applying lengths --------------------------------------------------------------------------------

void StatusBarController::scheduleApply() {
  categorySyncWorkItem_.schedule(kApplyCoalesceDelay, bindWeak(weak(), [](StatusBarController& self) {
                                   self.applyVisibilityNow();
                                 }));
}

std::function<void()> StatusBarController::repairAction() {
  return bindWeak(weak(), &StatusBarController::repairMenuBarOrder);
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
  auto sizing = Policy::collapseUsesStatusRegionCliff(platform_.system().osMajorVersion());
  auto& catalog = catalog_;
  const auto hidingEngine = hiding_.hidingEngine();
  auto plan = Policy::plan({
      .apps = catalog.trackedApps(),
      .engine = hidingEngine,
      .presentation = presentation,
      .expandedLength = expandedSeparatorLength_,
      .collapsedLength = collapseLength,
      .ownBundleIDs = {platform_.system().ownBundleIdentifier()},
      .runningBundleIDs = catalog.runningBundleIDs(),
      .publicCollapseSizing = sizing,
      .hiddenDividerDistance = engine_.shelf().dividerDistance(),
  });
  if (hidingEngine == MenuBarHidingEngine::nativeAllowList) {
    hiding_.apply(plan, Policy::usesPhysicalDividers(Policy::NativeEngine::available, placementMode(), Policy::PlacementHighlight::hidden), std::move(completion));
    engine_.noteApplied(items_.separatorLength(), items_.alwaysHiddenSeparatorLength());
    return publishFoldingEffective(collapseLength);
  }
  auto shelfCap = engine_.shelf().shelfHiddenCap();
  if (presentation == MenuBarPresentation::shelfExpanded && shelfCap) {
    plan.alwaysHiddenSeparatorLength = std::min(plan.alwaysHiddenSeparatorLength, *shelfCap);
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
  items_.styleFoldSeparator(presentation != MenuBarPresentation::collapsed);
  items_.styleHiddenSeparator(presentation == MenuBarPresentation::deepExpanded);
  engine_.applyFoldPlaceholder(presentation, plan.normalSeparatorLength);
  engine_.applyHiddenPlaceholder(presentation, plan.alwaysHiddenSeparatorLength);
  publishFoldingEffective(collapseLength);
  if (presentation == MenuBarPresentation::collapsed && !searching) engine_.verifier().scheduleCollapsedCliffVerify();
  if (presentation == MenuBarPresentation::shelfExpanded &&
      plan.alwaysHiddenSeparatorLength > expandedSeparatorLength_) {
    engine_.shelf().scheduleShelfHiddenVerify();
  }
  scheduleFoldingCheck();
  // Icons are read again once the new lengths have settled.
  catalog.scheduleZoneRefresh();
  engine_.gaps().scheduleMenuBarSample();
  if (completion) completion(true);
}

void StatusBarController::publishFoldingEffective() { publishFoldingEffective(lengthForFrontmost()); }

void StatusBarController::publishFoldingEffective(double collapseLength) {
  // The order can only be judged while the separators are short; a collapse is judged by its
  // verification.
  if (auto order = readAlwaysVisibleAnchor()) alwaysVisibleAnchorReady = *order;
  foldingEffective = Policy::foldingIsEffective({
      .nativeEngineAvailable = hiding_.nativeAvailable(),
      .anchorReady = alwaysVisibleAnchorReady.get(),
      .cliffGaveUp = engine_.cliff().cliffSearchGaveUp(),
      .collapseLength = collapseLength,
  });
}

// --- follow-up checks -------------------------------------------------------------------------------

void StatusBarController::scheduleFoldingCheck() {
  auto generation = applyGeneration_;
  foldingCheckWork_.schedule(Policy::collapseVerifyDelay,
                             bindWeak(weak(), [generation](StatusBarController& self) {
                               if (generation != self.applyGeneration_) return;
                               self.publishFoldingEffective();
                               self.campaign_.startupCollapseFramesReady();
                             }));
}

// --- when folding fails ------------------------------------------------------------------------------

void StatusBarController::stayExpandedBecauseFoldingFailed(StayExpandedReason reason, RepairOffer offer) {
  MenuBarLog::log(LogLine("collapse stays expanded")
                      .add("reason", rawValue(reason))
                      .add("offerRepair", offer == RepairOffer::collapseAgain));
  setShown(true, true);
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
  MenuBarLog::log(LogLine("collapse dropped to shelf").add("frontmost", engine_.chooser().frontmostBundleID()));
  setShown(true, false);
  updateButtonAppearance();
  applyVisibilityNow();
  if (!manualPlacement_) autoCollapse_.scheduleAutoCollapseTimer(autoCollapse_.configuredAutoCollapseDelay());
}

// --- membership ------------------------------------------------------------------------------------

void StatusBarController::noteMenuBarMembershipChanged(std::optional<std::string> bundleID) {
  menuBarMembershipChangedAt_ = platform_.clock().now();
  hiding_.expandIfAvailable();
  if (bundleID) {
    const std::string lowered = text::lowercased(*bundleID);
    engine_.clearCollapseBudget(lowered);
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
