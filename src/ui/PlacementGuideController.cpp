#include "ui/PlacementGuideController.h"

#include <algorithm>

#include "base/Log.h"
#include "base/Text.h"
#include "discovery/PlacementPolicy.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "discovery/owners/StatusItemManager.h"
#include "localization/LocalizationManager.h"
#include "localization/StringFormat.h"
#include "platform/windows/UserInterface.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

namespace {

// How far left of the always-hidden separator the ring reaches: a few icons' worth.
constexpr double kAlwaysHiddenRingWidth = 120;

std::string_view modeName(PlacementGuideController::Mode mode) {
  switch (mode) {
    case PlacementGuideController::Mode::place: return "place";
    case PlacementGuideController::Mode::tour: return "tour";
    case PlacementGuideController::Mode::anchorRepair: return "anchor";
  }
  return "place";
}

std::string_view outcomeName(PlacementGuideController::Outcome outcome) {
  switch (outcome) {
    case PlacementGuideController::Outcome::placed: return "placed";
    case PlacementGuideController::Outcome::cancelled: return "cancelled";
    case PlacementGuideController::Outcome::abandoned: return "abandoned";
  }
  return "cancelled";
}

struct ZoneTexts {
  const char* title;
  const char* body;
};

ZoneTexts zoneTexts(ItemCategory category) {
  switch (category) {
    case ItemCategory::alwaysVisible: return {"placement_guide_visible_title", "placement_guide_visible_body"};
    case ItemCategory::hidden: return {"placement_guide_folded_title", "placement_guide_folded_body"};
    case ItemCategory::alwaysHidden: return {"placement_guide_hidden_title", "placement_guide_hidden_body"};
  }
  return {"placement_guide_visible_title", "placement_guide_visible_body"};
}

}  // namespace

PlacementGuideController::PlacementGuideController(Dependencies dependencies)
    : platform_(dependencies.platform),
      localization_(dependencies.localization),
      catalog_(dependencies.catalog),
      categories_(dependencies.categories),
      ledger_(dependencies.ledger),
      statusBar_(dependencies.statusBar),
      checkWork_(dependencies.platform.mainQueue()),
      advanceWork_(dependencies.platform.mainQueue()) {
  tellBar();
}

PlacementGuideController::~PlacementGuideController() {
  statusBar_.notePlacementGuide({});
  if (platform_.userInterface().placementGuide().isShown()) platform_.userInterface().placementGuide().close();
}

// --- starting ------------------------------------------------------------------------------------

bool PlacementGuideController::startPlacement(const std::string& bundleID, ItemCategory category, Staged staged) {
  mainThread_.check();
  const MenuBarAppItem* item = catalog_.item(bundleID);
  if (!item) return false;
  Step step{.bundleID = text::lowercased(item->bundleId),
            .name = item->name,
            .iconPath = item->iconPath,
            .category = category,
            .pendingCategory = std::string(rawValue(item->category)),
            .pendingHadSavedTier = item->hasSavedTier,
            .staged = std::move(staged)};
  begin(Mode::place, {std::move(step)});
  return true;
}

void PlacementGuideController::startTour() {
  mainThread_.check();
  std::vector<Step> steps;
  for (const auto& item : catalog_.items.get()) {
    if (!catalog_.isOutOfPlace(item.bundleId)) continue;
    steps.push_back(Step{.bundleID = text::lowercased(item.bundleId),
                         .name = item.name,
                         .iconPath = item.iconPath,
                         .category = item.category,
                         .pendingCategory = std::string(rawValue(item.category)),
                         .pendingHadSavedTier = item.hasSavedTier});
  }
  if (steps.empty()) steps.push_back(Step{});
  begin(Mode::tour, std::move(steps));
}

void PlacementGuideController::startAnchorRepair(bool openedByCollapseAttempt, bool userInitiated) {
  mainThread_.check();
  MenuBarLog::log(LogLine("placement guide anchor")
                      .add("openedByCollapseAttempt", openedByCollapseAttempt)
                      .add("userInitiated", userInitiated));
  begin(Mode::anchorRepair, {Step{}});
  // Whoever tried to collapse still wants the bar collapsed once the order is right.
  collapseWhenDone_ = collapseWhenDone_ || openedByCollapseAttempt;
}

void PlacementGuideController::begin(Mode mode, std::vector<Step> steps) {
  // A guide already up gives way; what it staged is put back first.
  if (mode_) finish(Outcome::abandoned);
  ++generation_;
  mode_ = mode;
  tellBar();
  steps_ = std::move(steps);
  index_ = 0;
  detected_ = false;
  collapseWhenDone_ = !statusBar_.state().isExpanded;
  MenuBarLog::log(LogLine("placement guide start")
                      .add("mode", modeName(mode))
                      .add("steps", steps_.size())
                      .add("bundle", currentBundleID()));
  // Every zone must show for the user to drag into it, and for the zones to be read.
  statusBar_.expandBar(ExpandDepth::deep, Initiator::placementGuide);
  installWatchers();
  render(true);
  scheduleCheck(settleDelay);
}

void PlacementGuideController::installWatchers() {
  auto onMouseUp = bindWeak(weak(), [](PlacementGuideController& self) { self.scheduleCheck(settleDelay); });
  const auto mouseUp = platform::eventMask(platform::EventType::leftMouseUp);
  mouseUpMonitor_ = platform_.events().addGlobalMonitor(mouseUp, [onMouseUp](const platform::Event&) { onMouseUp(); });
  // Drags of Tarvolo's own items end in Tarvolo.
  ownMouseUpMonitor_ = platform_.events().addLocalMonitor(mouseUp, [onMouseUp](const platform::Event& event) {
    onMouseUp();
    return std::optional<platform::Event>(event);
  });
  gapSubscription_ = statusBar_.observe(
      [check = bindWeak(weak(), &PlacementGuideController::scheduleCheck, 0.0)](const StatusBarEvent& event) {
        if (std::holds_alternative<BarEvent::GapsChanged>(event)) check();
      });
  // Icons read through Accessibility arrive after the check that asked for them.
  zonesSubscription_ = catalog_.observedZones.subscribe(
      [&catalog = catalog_, check = bindWeak(weak(), &PlacementGuideController::scheduleCheck, 0.0)](const auto&) {
        if (catalog.readsIconsThroughAccessibility()) check();
      });
}

// --- watching ------------------------------------------------------------------------------------

void PlacementGuideController::scheduleCheck(double delay) {
  if (!mode_ || detected_) return;
  checkWork_.schedule(delay, bindWeak(weak(), [generation = generation_](PlacementGuideController& self) {
                        if (generation == self.generation_) self.check();
                      }));
}

std::optional<bool> PlacementGuideController::inPlace() const {
  if (!mode_ || index_ >= steps_.size()) return std::nullopt;
  if (mode_ == Mode::anchorRepair) return statusBar_.readAlwaysVisibleAnchor();
  const Step& step = steps_[index_];
  if (step.bundleID.empty()) return std::nullopt;
  return catalog_.iconInZone(step.bundleID, targetZone(step.category));
}

void PlacementGuideController::check() {
  if (!mode_ || detected_) return;
  const auto placed = inPlace();
  // The ring follows the items as they settle.
  render(false);
  if (placed == true) {
    stepPlaced(Evidence::observed);
    return;
  }
  // Read through Accessibility, the icons are as last read: read them again for the next check.
  if (*mode_ != Mode::anchorRepair && catalog_.readsIconsThroughAccessibility()) catalog_.refreshObservedZones();
}

void PlacementGuideController::stepPlaced(Evidence evidence) {
  detected_ = true;
  checkWork_.cancel();
  const Step& step = steps_[index_];
  MenuBarLog::log(LogLine("placement guide detected")
                      .add("mode", modeName(*mode_))
                      .add("bundle", step.bundleID.empty() ? std::string("none") : step.bundleID)
                      .add("observed", evidence == Evidence::observed));
  if (!step.bundleID.empty()) {
    const std::string raw(rawValue(step.category));
    auto ids = PlacementPolicy::confirmedBundleIDs(step.bundleID, false, {});
    categories_.setCategory(step.bundleID, step.category);
    if (step.category == ItemCategory::alwaysVisible) {
      ledger_.confirmAlwaysVisible(ids);
    } else {
      ledger_.confirm(step.bundleID, step.category);
    }
    // Seen in place again after a relaunch: the flag has done its work.
    ledger_.clearAttention(step.bundleID);
    catalog_.refreshObservedZones();
  }
  render(false);
  advanceWork_.schedule(detectedPause, bindWeak(weak(), [generation = generation_](PlacementGuideController& self) {
                          if (generation == self.generation_) self.advance();
                        }));
}

void PlacementGuideController::advance() {
  if (!mode_) return;
  if (index_ + 1 >= steps_.size()) {
    finish(Outcome::placed);
    return;
  }
  ++index_;
  detected_ = false;
  render(false);
  scheduleCheck(settleDelay);
}

// --- the user's answers --------------------------------------------------------------------------

void PlacementGuideController::confirm() {
  mainThread_.check();
  if (!mode_) return;
  if (detected_) {
    advanceWork_.cancel();
    advance();
    return;
  }
  const Step& step = steps_[index_];
  if (step.bundleID.empty() && mode_ != Mode::anchorRepair) {
    advance();
    return;
  }
  // Where the bar cannot be read the user's word stands; where it can, it has the last say.
  const auto placed = inPlace();
  if (placed.value_or(true)) {
    stepPlaced(Evidence::userSaid);
    advanceWork_.cancel();
    advance();
    return;
  }
  MenuBarLog::log(LogLine("placement guide skipped").add("bundle", step.bundleID.empty() ? "own" : step.bundleID));
  if (mode_ == Mode::anchorRepair) return;
  advance();
}

void PlacementGuideController::cancel() {
  if (!mode_) return;
  finish(Outcome::cancelled);
}

void PlacementGuideController::noteBarCollapsed() {
  if (!mode_ || collapsing_) return;
  // The user closed the bar under the guide: they are done with it.
  collapseWhenDone_ = false;
  finish(Outcome::cancelled);
}

void PlacementGuideController::restoreAfterCancel(const Step& step) {
  if (step.bundleID.empty() || !step.pendingCategory) return;
  const auto category = PlacementPolicy::categoryAfterGuideCancel(step.staged.category, *step.pendingCategory);
  const bool saved = PlacementPolicy::savedFlagAfterGuideCancel(step.staged.hadSavedTier, step.pendingHadSavedTier);
  auto parsed = itemCategoryFromRaw(category);
  if (!saved || !parsed) {
    categories_.removeCategory(step.bundleID);
    return;
  }
  categories_.setCategory(step.bundleID, *parsed);
}

void PlacementGuideController::finish(Outcome outcome) {
  if (!mode_) return;
  const Mode mode = *mode_;
  if (outcome != Outcome::placed && !detected_ && index_ < steps_.size()) restoreAfterCancel(steps_[index_]);
  MenuBarLog::log(LogLine("placement guide end").add("mode", modeName(mode)).add("outcome", outcomeName(outcome)));
  ++generation_;
  mode_.reset();
  tellBar();
  steps_.clear();
  index_ = 0;
  detected_ = false;
  checkWork_.cancel();
  advanceWork_.cancel();
  mouseUpMonitor_.reset();
  ownMouseUpMonitor_.reset();
  gapSubscription_ = Subscription();
  zonesSubscription_ = Subscription();
  auto& window = platform_.userInterface().placementGuide();
  if (window.isShown()) window.close();
  const bool collapse = collapseWhenDone_ && outcome != Outcome::abandoned;
  collapseWhenDone_ = false;
  if (collapse) {
    collapsing_ = true;
    statusBar_.collapseBar(CollapseReason::placementGuide);
    collapsing_ = false;
  }
  // The handler may start another guide.
  if (auto ended = ended_) ended(outcome);
}

// --- drawing -------------------------------------------------------------------------------------

std::optional<std::string> PlacementGuideController::currentBundleID() const {
  if (!mode_ || index_ >= steps_.size() || steps_[index_].bundleID.empty()) return std::nullopt;
  return steps_[index_].bundleID;
}

std::optional<Rect> PlacementGuideController::targetRect() const {
  const auto anchors = statusBar_.ownItems().currentPlacementAnchors();
  const auto toggle = statusBar_.ownItems().toggleFrame();
  if (!anchors || !toggle || !mode_ || index_ >= steps_.size()) return std::nullopt;
  auto span = [&](double minX, double maxX) -> std::optional<Rect> {
    if (maxX <= minX) return std::nullopt;
    return Rect{minX, toggle->y, maxX - minX, toggle->height};
  };
  if (*mode_ == Mode::anchorRepair) return span(std::min(anchors->hiddenMinX, anchors->normalMinX), anchors->toggleMaxX);
  if (steps_[index_].bundleID.empty()) return span(anchors->hiddenMinX - kAlwaysHiddenRingWidth, anchors->toggleMinX);
  switch (steps_[index_].category) {
    case ItemCategory::alwaysVisible: return span(anchors->normalMaxX, anchors->toggleMinX);
    case ItemCategory::hidden: return span(anchors->hiddenMaxX, anchors->normalMinX);
    case ItemCategory::alwaysHidden: return span(anchors->hiddenMinX - kAlwaysHiddenRingWidth, anchors->hiddenMinX);
  }
  return std::nullopt;
}

platform::PlacementGuideViewState PlacementGuideController::viewState() const {
  const auto tr = [this](std::string_view key) { return localization_.tr(key); };
  platform::PlacementGuideViewState state;
  state.confirmTitle = tr("placement_confirm");
  state.confirmHint = tr("placement_confirm_hint");
  state.cancelTitle = tr("placement_cancel");
  state.cancelHint = tr("placement_cancel_hint");
  state.target = targetRect();
  if (!mode_ || index_ >= steps_.size()) return state;
  const Step& step = steps_[index_];
  if (*mode_ == Mode::anchorRepair) {
    state.title = tr("placement_guide_anchor_title");
    state.body = tr("placement_guide_anchor_body");
    state.steps = {tr("guide_step_1"), tr("guide_step_2")};
  } else if (step.bundleID.empty()) {
    state.title = tr("placement_guide_tour_title");
    state.body = tr("placement_guide_tour_body");
    state.steps = {tr("about_sentence_arrange")};
  } else {
    const auto texts = zoneTexts(step.category);
    state.title = tr(texts.title);
    state.body = tr(texts.body);
    state.steps = {tr("guide_step_1"), tr("guide_step_2")};
    state.appName = step.name;
    state.iconPath = step.iconPath;
    if (step.category == ItemCategory::alwaysVisible) state.note = tr("placement_other_pinned_left");
  }
  if (steps_.size() > 1) {
    state.progress =
        formatText(tr("placement_guide_progress"), {std::to_string(index_ + 1), std::to_string(steps_.size())});
  }
  if (detected_) state.detected = tr(*mode_ == Mode::anchorRepair ? "order_repair_done" : "placement_detected");
  return state;
}

void PlacementGuideController::render(bool show) {
  auto& window = platform_.userInterface().placementGuide();
  if (show) {
    window.show(viewState(), platform::PlacementGuideCallbacks{
                                 .confirm = bindWeak(weak(), &PlacementGuideController::confirm),
                                 .cancel = bindWeak(weak(), &PlacementGuideController::cancel),
                             });
  } else {
    window.update(viewState());
  }
  tellBar();
}

void PlacementGuideController::tellBar() {
  PlacementGuidePresence presence{.available = true, .open = mode_.has_value()};
  if (mode_) presence.chrome = platform_.userInterface().placementGuide().chromeFrames();
  statusBar_.notePlacementGuide(std::move(presence));
}

}  // namespace tarvolo
