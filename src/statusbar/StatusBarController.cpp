#include "statusbar/StatusBarController.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "discovery/tracking/StatusItemManager.h"
#include "localization/LocalizationManager.h"
#include "statusbar/FoldPlaceholderController.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using platform::EventType;
using platform::Modifier;

namespace {

constexpr std::array<double, 4> kStartupCollapseRetryDelays = {0.2, 0.5, 1.0, 2.0};
constexpr double kApplyCoalesceDelay = 0.15;
constexpr double kArrowPressWindow = 1.0;
constexpr double kDragTolerance = 3.0;
constexpr double kToggleSymbolPointSize = 13;
constexpr double kAnchorTolerance = 1.0;
constexpr double kUnlaidSeparatorWidth = 64;

}  // namespace

StatusBarController::StatusBarController(Dependencies dependencies)
    : platform_(dependencies.platform),
      defaultCenter_(dependencies.defaultCenter),
      workspaceCenter_(dependencies.workspaceCenter),
      catalog_(dependencies.catalog),
      localization_(dependencies.localization),
      startupCollapseRetryWork_(dependencies.platform.mainQueue()),
      categorySyncWorkItem_(dependencies.platform.mainQueue()),
      foldingCheckWork_(dependencies.platform.mainQueue()),
      autoCollapseWorkItem_(dependencies.platform.mainQueue()) {
  // Positions must be in the store before any item exists: the status bar reads them only
  // when an item is created.
  seedPreferredPositions();
  createOwnItems();

  restoreCliffCache();
  logLaunchState();
  persistPerAppLengths();
  seedPinnedGapIfMissing();
  pruneCollapseLengthsToConnectedScreens();
  applyVisibilityNow();
  subscribe();

  catalog_.setOwnItemAnchors(
      [weak = weak()]() -> std::optional<PlacementAnchors> {
        auto* self = weak.get();
        return self ? self->currentPlacementAnchors() : std::nullopt;
      },
      expandedSeparatorLength_);
  catalog_.refreshAttributedMenuBarApps();
}

// Out of line: the fold placeholder's owner is only forward-declared in the header.
StatusBarController::~StatusBarController() = default;

// --- construction ------------------------------------------------------------------------------

void StatusBarController::seedPreferredPositions() {
  auto& defaults = platform_.defaults();
  auto arrow = defaults.getDouble(preferredPositionKey(toggleAutosaveName));
  auto fold = defaults.getDouble(preferredPositionKey(separatorAutosaveName));
  auto hidden = defaults.getDouble(preferredPositionKey(alwaysHiddenAutosaveName));
  auto seeding = Policy::seededPreferredPositions(arrow, fold, hidden);
  if (!seeding) return;
  if (seeding->writeArrow) defaults.set(preferredPositionKey(toggleAutosaveName), DefaultsValue(seeding->arrow));
  if (seeding->writeFold) defaults.set(preferredPositionKey(separatorAutosaveName), DefaultsValue(seeding->fold));
  if (seeding->writeHidden) {
    defaults.set(preferredPositionKey(alwaysHiddenAutosaveName), DefaultsValue(seeding->hidden));
  }
  MenuBarLog::log("seeded positions arrow=" + numberText(seeding->arrow) + " fold=" + numberText(seeding->fold) +
                  " hidden=" + numberText(seeding->hidden));
}

std::function<void()> StatusBarController::weakly(void (StatusBarController::*method)()) {
  return [weak = weak(), method] {
    if (auto* self = weak.get()) (self->*method)();
  };
}

void StatusBarController::createOwnItems() {
  createToggleItem();
  startMenuBarSampling();
  createSeparatorItem();
  installFoldPlaceholder();
  createAlwaysHiddenSeparatorItem();
}

void StatusBarController::createToggleItem() {
  statusItem_ = platform_.statusBar().createStatusItem(platform::kVariableStatusItemLength, toggleAutosaveName);
  statusItem_->setVisible(true);
  updateButtonAppearance();
  statusItem_->setAction(EventType::leftMouseDown | EventType::leftMouseUp | EventType::rightMouseUp,
                         weakly(&StatusBarController::statusItemClicked));
}

void StatusBarController::createSeparatorItem() {
  separatorStatusItem_ = platform_.statusBar().createStatusItem(expandedSeparatorLength_, separatorAutosaveName);
  separatorStatusItem_->setVisible(true);
  separatorStatusItem_->setAction(EventType::leftMouseUp | EventType::rightMouseUp,
                                  weakly(&StatusBarController::separatorClicked));
  styleFoldSeparator(false);
}

void StatusBarController::createAlwaysHiddenSeparatorItem() {
  alwaysHiddenSeparatorStatusItem_ =
      platform_.statusBar().createStatusItem(expandedSeparatorLength_, alwaysHiddenAutosaveName);
  alwaysHiddenSeparatorStatusItem_->setVisible(true);
  alwaysHiddenSeparatorStatusItem_->setAction(EventType::leftMouseUp | EventType::rightMouseUp,
                                              weakly(&StatusBarController::alwaysHiddenSeparatorClicked));
  styleHiddenSeparator(false);
}

void StatusBarController::subscribe() {
  auto& queue = platform_.mainQueue();
  auto& center = defaultCenter_;
  auto& workspace = workspaceCenter_;
  auto handler = [this, &queue](void (StatusBarController::*method)()) {
    return onMainQueue(queue, [weak = weak(), method](const Notification&) {
      if (auto* self = weak.get()) (self->*method)();
    });
  };

  cancellables_.push_back(center.addObserver(Notifications::itemCategoryDidChange,
                                             handler(&StatusBarController::scheduleApply)));
  cancellables_.push_back(center.addObserver(Notifications::menuBarCatalogDidChange,
                                             handler(&StatusBarController::scheduleApply)));
  cancellables_.push_back(center.addObserver(Notifications::applicationDidChangeScreenParameters,
                                             handler(&StatusBarController::screenParametersChanged)));
  cancellables_.push_back(workspace.addObserver(Notifications::workspaceDidWake,
                                                handler(&StatusBarController::scheduleApply)));
  cancellables_.push_back(workspace.addObserver(Notifications::activeSpaceDidChange,
                                                handler(&StatusBarController::scheduleApply)));
  auto membership = [&queue, weak = weak()](const Notification& notification) {
    std::optional<std::string> bundle;
    if (const auto* app = notification.objectAs<platform::RunningApplication>()) bundle = app->bundleIdentifier;
    queue.post(0, [weak, bundle] {
      if (auto* self = weak.get()) self->noteMenuBarMembershipChanged(bundle);
    });
  };
  cancellables_.push_back(workspace.addObserver(Notifications::didLaunchApplication, membership));
  cancellables_.push_back(workspace.addObserver(Notifications::didTerminateApplication, membership));
  cancellables_.push_back(center.addObserver(Notifications::menuDidBeginTracking, [weak = weak()](const Notification&) {
    if (auto* self = weak.get()) ++self->menuTrackingCount_;
  }));
  cancellables_.push_back(center.addObserver(Notifications::menuDidEndTracking, [weak = weak()](const Notification&) {
    if (auto* self = weak.get()) self->menuTrackingCount_ = std::max(0, self->menuTrackingCount_ - 1);
  }));
  cancellables_.push_back(center.addObserver(Notifications::nativeVisibilityAvailabilityDidChange,
                                             handler(&StatusBarController::scheduleApply)));
  cancellables_.push_back(center.addObserver(Notifications::appLanguageDidChange,
                                             handler(&StatusBarController::updateLanguageStrings)));
}

// --- start-up ----------------------------------------------------------------------------------

bool StatusBarController::onboardingComplete() const {
  return platform_.defaults().getBool(onboardingKey).value_or(false);
}

void StatusBarController::presentFirstLaunchCoach() {
  std::optional<Rect> anchor;
  if (statusItem_ && statusItem_->hasButton()) anchor = statusItem_->buttonFrameOnScreen();
  platform_.userInterface().presentFirstLaunchCoach(anchor);
}

void StatusBarController::showEverything() {
  isExpanded = true;
  isDeepExpanded = true;
  manualPlacement_ = false;
  updateButtonAppearance();
  applyVisibilityNow();
}

// The campaign retries for the reason the first collapse was withheld, or for start-up.
std::string StatusBarController::startupRetryReason() const {
  return std::string(startupCollapseWithheldReason_ ? rawValue(*startupCollapseWithheldReason_)
                                                    : rawValue(CollapseReason::startup));
}

void StatusBarController::finishStartup() {
  mainThread_.check();
  startupCollapseAllowed_ = true;
  if (!onboardingComplete()) {
    showEverything();
    presentFirstLaunchCoach();
    return;
  }
  collapseBar(CollapseReason::startup);

  std::string reason = startupRetryReason();
  startupCollapseWithheldReason_.reset();
  if (!startupCollapsePending_ && startupCollapseAllowed_ && onboardingComplete() && !manualPlacement_ &&
      isExpanded.get() && isDeepExpanded.get()) {
    startupCollapseRetryAttempt_ = 0;
    startupCollapsePending_ = true;
    scheduleStartupCollapseRetry(reason);
  }
}

void StatusBarController::scheduleStartupCollapseRetry(const std::string& reason) {
  if (!startupCollapsePending_) return;
  int attempt = startupCollapseRetryAttempt_;
  if (attempt > 3) {
    startupCollapsePending_ = false;
    MenuBarLog::log("collapse retry gave up reason=" + reason);
    if (!readAlwaysVisibleAnchor().has_value() && startupCollapseAllowed_ && onboardingComplete() &&
        !manualPlacement_) {
      collapseBar(CollapseReason::startup);
    }
    // Order repair takes over here once it exists; until then the bar stays shown.
    return;
  }
  startupCollapseRetryWork_.schedule(kStartupCollapseRetryDelays[static_cast<std::size_t>(attempt)],
                                     [weak = weak(), reason] {
                                       if (auto* self = weak.get()) self->performStartupCollapseRetry(reason);
                                     });
}

void StatusBarController::performStartupCollapseRetry(const std::string& reason) {
  if (!startupCollapsePending_) return;
  ++startupCollapseRetryAttempt_;
  MenuBarLog::log("collapse retry reason=" + reason + " attempt=" + std::to_string(startupCollapseRetryAttempt_));
  auto conditionsHold = [this] { return startupCollapseAllowed_ && onboardingComplete() && !manualPlacement_; };
  if (!conditionsHold()) {
    cancelStartupCollapseRetry();
    return;
  }
  if (readAlwaysVisibleAnchor() == true) {
    startupCollapseRetryWork_.cancel();
    collapseBar(CollapseReason::startup);
    if (isExpanded.get() && isDeepExpanded.get() && conditionsHold()) {
      scheduleStartupCollapseRetry(reason);
      return;
    }
    startupCollapsePending_ = false;
    startupCollapseWithheldReason_.reset();
    return;
  }
  scheduleStartupCollapseRetry(reason);
}

void StatusBarController::startupCollapseFramesReady() {
  if (!startupCollapsePending_ || !startupCollapseAllowed_ || !onboardingComplete() || manualPlacement_) return;
  if (readAlwaysVisibleAnchor() != true) return;
  startupCollapseRetryWork_.cancel();
  std::string reason = startupRetryReason();
  platform_.mainQueue().post(0, [weak = weak(), reason] {
    if (auto* self = weak.get()) self->performStartupCollapseRetry(reason);
  });
}

void StatusBarController::cancelStartupCollapseRetry() {
  startupCollapsePending_ = false;
  startupCollapseWithheldReason_.reset();
  startupCollapseRetryWork_.cancel();
}

std::optional<PlacementAnchors> StatusBarController::currentPlacementAnchors() const {
  if (!statusItem_ || !separatorStatusItem_ || !alwaysHiddenSeparatorStatusItem_) return std::nullopt;
  auto toggle = statusItem_->buttonFrameOnScreen();
  auto normal = separatorStatusItem_->buttonFrameOnScreen();
  auto hidden = alwaysHiddenSeparatorStatusItem_->buttonFrameOnScreen();
  if (!toggle || !normal || !hidden) return std::nullopt;
  return PlacementAnchors{.toggleMinX = toggle->minX(),
                          .toggleMaxX = toggle->maxX(),
                          .normalMinX = normal->minX(),
                          .normalMaxX = normal->maxX(),
                          .normalWidth = normal->width,
                          .hiddenMinX = hidden->minX(),
                          .hiddenMaxX = hidden->maxX(),
                          .hiddenWidth = hidden->width};
}

std::optional<bool> StatusBarController::readAlwaysVisibleAnchor() const {
  // A probe's length says nothing about the order.
  if (cliffProbeInFlight_) return std::nullopt;
  auto anchors = currentPlacementAnchors();
  if (!anchors) return std::nullopt;
  if (anchors->toggleMinX == 0 || anchors->normalMinX == 0 || anchors->hiddenMinX == 0) return std::nullopt;
  if (anchors->normalWidth > kUnlaidSeparatorWidth || anchors->hiddenWidth > kUnlaidSeparatorWidth) {
    return std::nullopt;
  }
  double lo = std::min({anchors->toggleMinX, anchors->normalMinX, anchors->hiddenMinX});
  double hi = std::max({anchors->toggleMinX, anchors->normalMinX, anchors->hiddenMinX});
  if (hi - lo <= kAnchorTolerance) return std::nullopt;
  return anchors->hiddenMinX <= anchors->normalMinX + kAnchorTolerance && anchors->normalMinX < anchors->toggleMinX &&
         anchors->hiddenMinX < anchors->toggleMinX;
}

// --- state machine -----------------------------------------------------------------------------

MenuBarPresentation StatusBarController::currentPresentation() const {
  return Policy::presentationFor(isExpanded.get(), isDeepExpanded.get());
}

void StatusBarController::toggleBar(ExpandDepth depth) {
  mainThread_.check();
  const bool deep = depth == ExpandDepth::deep;
  Diag::log(std::string("toggleBar(deep: ") + boolText(deep) + ") isExpanded=" + boolText(isExpanded.get()) +
            " isDeep=" + boolText(isDeepExpanded.get()) + " foldingEffective=" + boolText(foldingEffective.get()));
  if (!foldingEffective.get()) {
    platform_.userInterface().presentNotice(platform::NoticeRequest{
        .message = text("folding_ineffective_banner"),
        .actionTitle = text("menu_repair_order"),
        .kind = "foldingIneffective",
    });
    return;
  }
  if (deep) {
    // From the deep-expanded bar a deep toggle steps down to the expanded one, not to collapsed.
    expandBar(isExpanded.get() && isDeepExpanded.get() ? ExpandDepth::normal : ExpandDepth::deep, Initiator::user);
    return;
  }
  if (isExpanded.get()) {
    collapseBar(CollapseReason::explicitToggle);
  } else {
    expandBar(ExpandDepth::normal, Initiator::user);
  }
}

void StatusBarController::expandBar(ExpandDepth depth, Initiator initiator) {
  mainThread_.check();
  const bool deep = depth == ExpandDepth::deep;
  const bool userInitiated = isUserInitiated(initiator);
  if (userInitiated) {
    cancelStartupCollapseRetry();
    if (platform_.userInterface().isPreferencesVisible()) keepPreferencesVisible_ = true;
  }
  Diag::log(std::string("expandBar(deep: ") + boolText(deep) + ") userInitiated=" + boolText(userInitiated));
  isExpanded = true;
  isDeepExpanded = deep;
  updateButtonAppearance();
  applyVisibilityNow();
  if (userInitiated && keepPreferencesVisible_) platform_.userInterface().keepPreferencesFront();
}

void StatusBarController::collapseBar(CollapseReason collapseReason) {
  mainThread_.check();
  const std::string reason(rawValue(collapseReason));
  // Guard 1: nothing may hide before start-up finished or while the coach runs.
  if (!startupCollapseAllowed_ || !onboardingComplete()) {
    MenuBarLog::log("collapse blocked reason=" + reason);
    showEverything();
    if (!onboardingComplete()) presentFirstLaunchCoach();
    return;
  }
  // Guard 2: with the own items out of order a collapse would hide the wrong icons.
  auto order = readAlwaysVisibleAnchor();
  if (Policy::shouldWithholdCollapse(false, order)) {
    MenuBarLog::log("collapse withheld reason=order trigger=" + reason);
    stayExpandedBecauseFoldingFailed(StayExpandedReason::order, false);
    if (collapseReason == CollapseReason::startup) startupCollapseWithheldReason_ = StayExpandedReason::order;
    return;
  }
  // Guard 3: a grown room lifts the always-hidden separator's shelf cap.
  noteShelfCapBeforeCollapse();
  // Guard 4: a collapse the user asked for may show its notices again.
  if (Policy::collapseResetsMenusNotice(reason)) {
    collapseMenusNoticeKeys_.clear();
    collapseEjectedNoticeKeys_.clear();
  }
  collapseRebaselineWork_.cancel();
  auto frontmost = frontmostBundleID();
  double length = collapseLength(frontmost);
  MenuBarLog::log("collapse reason=" + reason + " length=" + numberText(length) +
                  " frontmost=" + frontmost.value_or("none") + " screen=" + collapseScreenKey());

  captureCollapseReferenceIfShort();
  captureDividerDistanceIfShort();
  isExpanded = false;
  isDeepExpanded = false;
  updateButtonAppearance();
  applyVisibilityNow();
  autoCollapseWorkItem_.cancel();
  recordCollapseLength(length, frontmost, false, std::nullopt);
  auto steps = collapseStepDownsByPair_.find(collapsePairKey(frontmost));
  beginCollapseRecovery(frontmost,
                        steps == collapseStepDownsByPair_.end() || steps->second < Policy::menuEvictionStepLimit);
  startCliffSearchIfNeeded();
}

void StatusBarController::setDeepExpanded(bool deep) {
  if (isExpanded.get() && isDeepExpanded.get() != deep) {
    expandBar(deep ? ExpandDepth::deep : ExpandDepth::normal, Initiator::user);
    return;
  }
  isDeepExpanded = deep;
}

// --- clicks --------------------------------------------------------------------------------------

void StatusBarController::recordArrowPress() {
  arrowPressPoint_ = platform_.events().mouseLocation();
  if (auto frame = statusItem_ ? statusItem_->buttonFrameOnScreen() : std::nullopt) {
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

void StatusBarController::statusItemClicked() {
  mainThread_.check();
  auto event = platform_.events().currentEvent();
  MenuBarLog::log(std::string("statusItemClicked fired, currentEvent=") +
                  std::string(event ? platform::eventTypeName(event->type) : "none"));
  if (!event) return;
  if (event->type == EventType::rightMouseUp) {
    showContextMenu();
    return;
  }
  if (event->type == EventType::leftMouseDown) {
    recordArrowPress();
    return;
  }
  if (event->type != EventType::leftMouseUp) return;

  auto session = platform_.events().modifierFlags();
  bool option = session.has(Modifier::option) || event->modifierFlags.has(Modifier::option);
  bool command = session.has(Modifier::command) || event->modifierFlags.has(Modifier::command);
  MenuBarLog::log(std::string("statusItemClicked: isOption=") + boolText(option) + " isCommand=" + boolText(command));

  if (command && arrowPressAt_ && platform_.clock().now() - *arrowPressAt_ < kArrowPressWindow) {
    bool pointerMoved = arrowPressPoint_ &&
                        Policy::pointsDiffer(*arrowPressPoint_, platform_.events().mouseLocation(), kDragTolerance);
    auto frame = statusItem_->buttonFrameOnScreen();
    bool frameMoved =
        arrowPressFrameOrigin_ && frame && Policy::pointsDiffer(*arrowPressFrameOrigin_, frame->origin(), kDragTolerance);
    if (pointerMoved || frameMoved) {
      MenuBarLog::log("statusItemClicked: ignored command drag or guide");
      clearArrowPress();
      return;
    }
  }

  bool commandReveal = Policy::commandClickRevealsHidden(command, manualPlacement_);
  MenuBarLog::log(std::string("statusItemClicked: optionReveal=") + boolText(option) +
                  " commandReveal=" + boolText(commandReveal));
  bool reveal = option || commandReveal;
  bool notch = toggleScreenHasNotch();
  using Action = Policy::ArrowClickAction;
  Action action = notch ? (reveal ? Action::openShelfAll : Action::openShelf)
                        : (reveal ? Action::expandAll : Action::expandFolded);
  MenuBarLog::log(std::string("status click option=") + boolText(option) + " notch=" + boolText(notch) +
                  " action=" + std::string(Policy::logName(action)));
  performArrowClickAction(action);
  clearArrowPress();
}

bool StatusBarController::toggleScreenHasNotch() const {
  auto screens = platform_.screens().screens();
  if (screens.empty()) return false;
  auto frame = statusItem_ ? statusItem_->buttonFrameOnScreen() : std::nullopt;
  if (frame) {
    for (const auto& screen : screens) {
      if (screen.frame.containsX(frame->midX())) return screen.notchWidth() > 0;
    }
  }
  return screens.front().notchWidth() > 0;
}

void StatusBarController::performArrowClickAction(MenuBarVisibilityPolicy::ArrowClickAction action) {
  using Action = Policy::ArrowClickAction;
  switch (action) {
    case Action::openShelf:
      if (platform_.userInterface().isIconShelfShown()) {
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
  MenuBarLog::log(LogLine("iconShelf show").add("tier", tier ? rawValue(*tier) : std::string_view("none")));
  platform_.userInterface().showIconShelf(tier);
}

void StatusBarController::closeIconShelf() {
  if (platform_.userInterface().isIconShelfShown()) platform_.userInterface().closeIconShelf();
}

void StatusBarController::separatorClicked() {
  auto event = platform_.events().currentEvent();
  if (event && event->type == EventType::rightMouseUp) {
    showContextMenu();
    return;
  }
  toggleBar(ExpandDepth::normal);
}

void StatusBarController::alwaysHiddenSeparatorClicked() {
  auto event = platform_.events().currentEvent();
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
                              .perform = weakly(method)};
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
  menu.items.push_back(platform::MenuItem::separator());
  menu.items.push_back(item("menu_preferences", "openPreferences", &StatusBarController::menuPreferences, ","));
  menu.items.push_back(item("menu_quit", "quitApp", &StatusBarController::quitApp, "q"));
  return menu;
}

void StatusBarController::showContextMenu() {
  if (!statusItem_) return;
  statusItem_->popUpMenu(buildContextMenu());
}

void StatusBarController::menuOpenIconBar() { showIconShelf(std::nullopt); }
void StatusBarController::menuExpandFolded() { expandBar(ExpandDepth::normal, Initiator::user); }
void StatusBarController::menuShowAll() { expandBar(ExpandDepth::deep, Initiator::user); }
void StatusBarController::menuCollapse() { collapseBar(CollapseReason::menu); }

void StatusBarController::menuArrange() {
  // The placement guide starts here; until it exists, show every zone so icons can be dragged.
  MenuBarLog::log("arrange requested");
  expandBar(ExpandDepth::deep, Initiator::user);
}

void StatusBarController::menuHideInSettings() { openPreferences(std::string("hiding")); }
void StatusBarController::menuPreferences() { openPreferences(std::nullopt); }

void StatusBarController::openPreferences(std::optional<std::string> focusing) {
  Diag::log("openPreferences focus=" + focusing.value_or("none"));
  platform_.userInterface().openPreferences(std::move(focusing));
}

void StatusBarController::quitApp() { platform_.application().terminate(); }

// --- appearance ------------------------------------------------------------------------------------

std::string StatusBarController::text(const std::string& key) const { return localization_.tr(key); }

std::string StatusBarController::stateDescription() const {
  if (isExpanded.get() && isDeepExpanded.get()) return text("tooltip_status_deep_expanded");
  if (isExpanded.get()) return text("tooltip_status_normal_expanded");
  return text("tooltip_status_collapsed");
}

void StatusBarController::updateButtonAppearance() {
  if (!statusItem_ || !statusItem_->hasButton()) return;
  const char* symbol = !isExpanded.get()        ? "chevron.left"
                       : isDeepExpanded.get() ? "chevron.down.circle.fill"
                                              : "chevron.down";
  if (statusItem_->setSymbolImage(symbol, kToggleSymbolPointSize)) {
    statusItem_->setTitle("");
  } else {
    statusItem_->setTitle(!isExpanded.get() ? "◀" : isDeepExpanded.get() ? "▼·" : "▼");
  }
  std::string description = stateDescription();
  statusItem_->setToolTip(description + "\n" + text("tooltip_right_click_menu"));
  statusItem_->setAccessibilityLabel(description);
}

// `emphasized` marks a separator whose zone is shown; the texts are the same either way, the
// title drawn by applyVisibilityNow carries the emphasis.
void StatusBarController::styleFoldSeparator(bool) {
  if (!separatorStatusItem_) return;
  separatorStatusItem_->setAccessibilityLabel(text("ax_separator_fold"));
  separatorStatusItem_->setToolTip(text("tooltip_separator_normal"));
}

void StatusBarController::styleHiddenSeparator(bool) {
  if (!alwaysHiddenSeparatorStatusItem_) return;
  alwaysHiddenSeparatorStatusItem_->setAccessibilityLabel(text("ax_separator_hidden"));
  alwaysHiddenSeparatorStatusItem_->setToolTip(text("tooltip_separator_always_hidden"));
}

void StatusBarController::updateLanguageStrings() {
  updateButtonAppearance();
  styleFoldSeparator(false);
  styleHiddenSeparator(false);
}

// --- applying lengths --------------------------------------------------------------------------------

std::optional<std::string> StatusBarController::frontmostBundleID() const {
  auto app = platform_.workspace().frontmostApplication();
  if (!app || !app->bundleIdentifier) return std::nullopt;
  return *app->bundleIdentifier;
}

double StatusBarController::widestScreenWidth() const {
  double widest = 0;
  for (const auto& screen : platform_.screens().screens()) widest = std::max(widest, screen.frame.width);
  return widest;
}

void StatusBarController::scheduleApply() {
  categorySyncWorkItem_.schedule(kApplyCoalesceDelay, [weak = weak()] {
    if (auto* self = weak.get()) self->applyVisibilityNow();
  });
}

void StatusBarController::applyVisibilityNow(std::function<void(bool)> completion) {
  mainThread_.check();
  ++applyGeneration_;
  auto presentation = currentPresentation();
  if (cliffProbeInFlight_ && presentation != MenuBarPresentation::collapsed) {
    MenuBarLog::log("cliff abort reason=expanded");
    abortCliffSearch();
    cliffSearchOwed_ = Policy::cliffSearchOwedAfterInterruption(cliffRecordForCurrentScreens().has_value(),
                                                                cliffGiveUps_, Policy::cliffGiveUpLimit);
  }
  // While the cliff search runs it owns the normal separator's length.
  const bool searching = cliffProbeInFlight_;
  auto sizing = Policy::collapseUsesStatusRegionCliff(platform_.system().osMajorVersion());
  auto frontmost = frontmostBundleID();
  auto& catalog = catalog_;
  auto plan = Policy::plan({
      .apps = catalog.trackedApps(),
      .engine = MenuBarHidingEngine::publicSpacer,
      .presentation = presentation,
      .expandedLength = expandedSeparatorLength_,
      .collapsedLength = collapseLength(frontmost),
      .ownBundleIDs = {platform_.system().ownBundleIdentifier()},
      .runningBundleIDs = catalog.runningBundleIDs(),
      .publicCollapseSizing = sizing,
      .hiddenDividerDistance = dividerDistance_,
  });
  if (presentation == MenuBarPresentation::shelfExpanded && shelfHiddenCap_) {
    plan.alwaysHiddenSeparatorLength = std::min(plan.alwaysHiddenSeparatorLength, *shelfHiddenCap_);
  }

  if (!searching) separatorStatusItem_->setLength(plan.normalSeparatorLength);
  alwaysHiddenSeparatorStatusItem_->setLength(plan.alwaysHiddenSeparatorLength);
  double readBackNormal = separatorStatusItem_->length();
  double readBackHidden = alwaysHiddenSeparatorStatusItem_->length();
  lastAppliedNormal_ = plan.normalSeparatorLength;
  lastAppliedHidden_ = plan.alwaysHiddenSeparatorLength;
  MenuBarLog::log("apply presentation=" + std::string(rawValue(presentation)) +
                  " requestedNormal=" + numberText(plan.normalSeparatorLength) +
                  " readBackNormal=" + numberText(readBackNormal) +
                  " requestedHidden=" + numberText(plan.alwaysHiddenSeparatorLength) +
                  " readBackHidden=" + numberText(readBackHidden));

  separatorStatusItem_->setVisible(true);
  alwaysHiddenSeparatorStatusItem_->setVisible(true);
  statusItem_->setVisible(true);
  separatorStatusItem_->setTitle(plan.normalSeparatorTitle);
  if (plan.alwaysHiddenSeparatorTitle.empty() ||
      !alwaysHiddenSeparatorStatusItem_->setSymbolImage(plan.alwaysHiddenSeparatorTitle, kToggleSymbolPointSize)) {
    alwaysHiddenSeparatorStatusItem_->setSymbolImage("", kToggleSymbolPointSize);
    alwaysHiddenSeparatorStatusItem_->setTitle(plan.alwaysHiddenSeparatorTitle.empty() ? "" : "⊘");
  } else {
    alwaysHiddenSeparatorStatusItem_->setTitle("");
  }
  styleFoldSeparator(presentation != MenuBarPresentation::collapsed);
  styleHiddenSeparator(presentation == MenuBarPresentation::deepExpanded);
  if (foldPlaceholder_) {
    std::optional<double> placeholderLength;
    if (presentation == MenuBarPresentation::collapsed) {
      placeholderLength = foldPlaceholderCollapsedLength(plan.normalSeparatorLength);
    }
    foldPlaceholder_->apply(presentation, placeholderLength);
  }
  publishFoldingEffective();
  if (presentation == MenuBarPresentation::collapsed && !searching) scheduleCollapsedCliffVerify();
  if (presentation == MenuBarPresentation::shelfExpanded &&
      plan.alwaysHiddenSeparatorLength > expandedSeparatorLength_) {
    scheduleShelfHiddenVerify();
  }
  scheduleFoldingCheck();
  // Icons are read again once the new lengths have settled.
  catalog.scheduleZoneRefresh();
  scheduleMenuBarSample();
  if (completion) completion(true);
}

// --- follow-up checks -------------------------------------------------------------------------------

void StatusBarController::scheduleFoldingCheck() {
  auto generation = applyGeneration_;
  foldingCheckWork_.schedule(Policy::collapseVerifyDelay, [weak = weak(), generation] {
    auto* self = weak.get();
    if (!self || generation != self->applyGeneration_) return;
    self->publishFoldingEffective();
    self->startupCollapseFramesReady();
  });
}

// --- membership ------------------------------------------------------------------------------------

void StatusBarController::noteMenuBarMembershipChanged(std::optional<std::string> bundleID) {
  menuBarMembershipChangedAt_ = platform_.clock().now();
  if (bundleID) {
    std::string lowered = *bundleID;
    std::transform(lowered.begin(), lowered.end(), lowered.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    clearCollapseBudget(lowered);
    MenuBarLog::log("collapse budget cleared bundle=" + lowered);
  }
  if (currentPresentation() == MenuBarPresentation::collapsed) {
    // New or departed icons change the gaps a collapse is judged by: measure afresh.
    forgetCollapseReference();
    scheduleCollapseRebaseline();
  }
  scheduleApply();
}

}  // namespace tarvolo
