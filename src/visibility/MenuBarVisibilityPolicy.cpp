#include "visibility/MenuBarVisibilityPolicy.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>
#include <utility>

#include "base/Text.h"

namespace tarvolo {

std::string_view rawValue(MenuBarHidingEngine engine) {
  switch (engine) {
    case MenuBarHidingEngine::nativeAllowList: return "nativeAllowList";
    case MenuBarHidingEngine::publicSpacer: return "publicSpacer";
  }
  return "publicSpacer";
}

std::string_view rawValue(MenuBarPresentation presentation) {
  switch (presentation) {
    case MenuBarPresentation::collapsed: return "collapsed";
    case MenuBarPresentation::shelfExpanded: return "shelfExpanded";
    case MenuBarPresentation::deepExpanded: return "deepExpanded";
  }
  return "collapsed";
}

}  // namespace tarvolo

namespace tarvolo::MenuBarVisibilityPolicy {
namespace {

// Part of the shelf formula itself, deliberately not tied to shelfHiddenSafetyMargin.
constexpr double shelfDividerClearance = 24;
constexpr double maximumSeparatorLength = 10000;
constexpr double smallestHidingLength = collapseSearchLowerBound + 1;
constexpr double searchHalfScreenMargin = 32;
constexpr double tailHalfScreenMargin = 16;
constexpr double legacyMinimumLength = 600;
constexpr double unmeasuredLengthCap = 600;
constexpr double probeEdgeSlack = 8;
constexpr double smallestProbeRoom = 41;

using text::equalsIgnoringCase;
using text::lowercased;
using text::trimmed;

int nonEmptyComponentCount(std::string_view id) {
  int count = 0;
  bool inComponent = false;
  for (char c : id) {
    if (c == '.') {
      inComponent = false;
    } else if (!inComponent) {
      inComponent = true;
      ++count;
    }
  }
  return count;
}

// Half the widest screen less a margin, clamped to lengths that hide something.
double halfScreenBound(double width, double margin) {
  return std::clamp(std::floor(width / 2) - margin, smallestHidingLength, maximumSeparatorLength);
}

// A bundle id, lower-cased, with every ancestor immediateParent walks to from the original spelling.
struct BundleLineage {
  std::string lower;
  std::vector<std::string> ancestorsLower;

  explicit BundleLineage(std::string_view id) : lower(lowercased(id)) {
    for (auto next = immediateParent(id); next; next = immediateParent(*next)) {
      ancestorsLower.push_back(lowercased(*next));
    }
  }

  bool descendsFrom(std::string_view parentLower) const {
    if (parentLower.empty() || lower.size() <= parentLower.size()) return false;
    if (lower.starts_with(parentLower) && lower[parentLower.size()] == '.') return true;
    return std::find(ancestorsLower.begin(), ancestorsLower.end(), parentLower) != ancestorsLower.end();
  }
};

// Adds trimmed ids once each, ignoring case; the first spelling stays.
class AllowListBuilder {
 public:
  void add(std::string_view id) {
    std::string_view clean = trimmed(id);
    if (clean.empty()) return;
    if (seen_.insert(lowercased(clean)).second) ids_.emplace_back(clean);
  }
  template <typename Range>
  void addAll(const Range& ids) {
    for (const auto& id : ids) add(id);
  }
  std::vector<std::string> take() && { return std::move(ids_); }

 private:
  std::vector<std::string> ids_;
  std::unordered_set<std::string> seen_;
};

std::vector<std::string> bundleIDsOfTiers(const std::vector<MenuBarTrackedApp>& apps, bool includeHidden) {
  std::vector<std::string> ids;
  for (const MenuBarTrackedApp& app : apps) {
    switch (app.tier) {
      case ItemCategory::alwaysVisible: ids.push_back(app.bundleID); break;
      case ItemCategory::hidden:
        if (includeHidden) ids.push_back(app.bundleID);
        break;
      case ItemCategory::alwaysHidden: break;
    }
  }
  return ids;
}

const std::string* savedRawTier(const std::map<std::string, std::string>& saved, std::string_view key) {
  if (auto exact = saved.find(std::string(key)); exact != saved.end()) return &exact->second;
  for (const auto& [savedKey, raw] : saved) {
    if (equalsIgnoringCase(savedKey, key)) return &raw;
  }
  return nullptr;
}

}  // namespace

PublicCollapseSizing collapseUsesStatusRegionCliff(int majorVersion) {
  return majorVersion > 26 ? PublicCollapseSizing::statusRegion : PublicCollapseSizing::legacy;
}

SeparatorLengths separatorLengths(const SeparatorLengthsInput& input) {
  const double expanded = input.expandedLength;
  const double collapsed = input.collapsedLength;
  const bool statusRegion = input.publicCollapseSizing == PublicCollapseSizing::statusRegion;
  switch (input.engine) {
    case MenuBarHidingEngine::nativeAllowList: return {0, 0, "", ""};
    case MenuBarHidingEngine::publicSpacer: break;
  }
  switch (input.presentation) {
    case MenuBarPresentation::collapsed:
      // Under the status-region cliff the normal separator alone does the hiding.
      return {collapsed, statusRegion ? expanded : collapsed, "", ""};
    case MenuBarPresentation::shelfExpanded: {
      const std::string title(expandedSeparatorTitle);
      if (!statusRegion) return {expanded, collapsed, title, ""};
      const std::optional<double> distance = input.hiddenDividerDistance;
      if (!distance || *distance <= 0) return {expanded, expanded, title, ""};
      // Hide only what lies left of the always-hidden divider.
      return {expanded, std::max(expanded, collapsed - *distance - shelfDividerClearance), title, ""};
    }
    case MenuBarPresentation::deepExpanded:
      return {expanded, expanded, std::string(expandedSeparatorTitle), std::string(alwaysHiddenSeparatorSymbol)};
  }
  return {expanded, expanded, "", ""};
}

MenuBarVisibilityPlan plan(const PlanInput& input) {
  MenuBarVisibilityPlan result{.engine = input.engine, .presentation = input.presentation};
  switch (input.engine) {
    case MenuBarHidingEngine::publicSpacer: {
      SeparatorLengths lengths = separatorLengths({.engine = input.engine,
                                                   .presentation = input.presentation,
                                                   .expandedLength = input.expandedLength,
                                                   .collapsedLength = input.collapsedLength,
                                                   .publicCollapseSizing = input.publicCollapseSizing,
                                                   .hiddenDividerDistance = input.hiddenDividerDistance});
      result.normalSeparatorLength = lengths.normal;
      result.alwaysHiddenSeparatorLength = lengths.alwaysHidden;
      result.normalSeparatorTitle = std::move(lengths.normalTitle);
      result.alwaysHiddenSeparatorTitle = std::move(lengths.alwaysHiddenTitle);
      return result;
    }
    case MenuBarHidingEngine::nativeAllowList: break;
  }
  switch (input.presentation) {
    case MenuBarPresentation::collapsed:
      result.allowedBundleIDs = expandAllowedBundleIDs(bundleIDsOfTiers(input.apps, /*includeHidden=*/false),
                                                       input.ownBundleIDs, input.runningBundleIDs);
      result.menuBarUsesAlwaysVisibleBundleIDs = true;
      break;
    case MenuBarPresentation::shelfExpanded:
      result.allowedBundleIDs = expandAllowedBundleIDs(bundleIDsOfTiers(input.apps, /*includeHidden=*/true),
                                                       input.ownBundleIDs, input.runningBundleIDs);
      break;
    case MenuBarPresentation::deepExpanded: break;
  }
  return result;
}

std::vector<std::string> expandAllowedBundleIDs(const std::vector<std::string>& ids,
                                                const std::vector<std::string>& ownBundleIDs,
                                                const std::vector<std::string>& runningBundleIDs) {
  AllowListBuilder builder;
  builder.addAll(ids);
  builder.addAll(ownBundleIDs);

  std::vector<std::pair<std::string_view, BundleLineage>> running;
  running.reserve(runningBundleIDs.size());
  for (const std::string& id : runningBundleIDs) {
    std::string_view clean = trimmed(id);
    if (!clean.empty()) running.emplace_back(clean, BundleLineage(clean));
  }

  for (const std::string& raw : ids) {
    std::string_view id = trimmed(raw);
    if (id.empty()) continue;
    builder.addAll(relatedBundleIDs(id));
    if (auto parent = immediateParent(id)) builder.add(*parent);
    const std::string idLower = lowercased(id);
    for (const auto& [runningID, lineage] : running) {
      if (lineage.descendsFrom(idLower)) builder.add(runningID);
    }
  }
  return std::move(builder).take();
}

double legacyCollapsedSeparatorLength(double widestScreenWidth) {
  return std::max(legacyMinimumLength, std::min(maximumSeparatorLength, 2 * widestScreenWidth));
}

double collapseSearchUpperBound(double widestScreenWidth) {
  return halfScreenBound(widestScreenWidth, searchHalfScreenMargin);
}

double collapseTailCeiling(double screenWidth) { return halfScreenBound(screenWidth, tailHalfScreenMargin); }

double collapseUnmeasuredLength(double widestScreenWidth) {
  return std::min(unmeasuredLengthCap, halfScreenBound(widestScreenWidth, searchHalfScreenMargin));
}

double collapseProbeCeiling(double screenWidth, double arrowFacingEdge, double screenMinX) {
  const double base = halfScreenBound(screenWidth, searchHalfScreenMargin);
  const double room = arrowFacingEdge - screenMinX - probeEdgeSlack;
  if (room < base && room >= smallestProbeRoom) return room;
  return base;
}

double collapseSearchUpperBound(double screenWidth, PublicCollapseSizing sizing) {
  switch (sizing) {
    case PublicCollapseSizing::legacy:
      return legacyCollapsedSeparatorLength(screenWidth);
    case PublicCollapseSizing::statusRegion:
      return collapseSearchUpperBound(screenWidth);
  }
  return collapseSearchUpperBound(screenWidth);
}

double collapseTailCeiling(double screenWidth, PublicCollapseSizing sizing) {
  switch (sizing) {
    case PublicCollapseSizing::legacy:
      return legacyCollapsedSeparatorLength(screenWidth);
    case PublicCollapseSizing::statusRegion:
      return collapseTailCeiling(screenWidth);
  }
  return collapseTailCeiling(screenWidth);
}

double collapseProbeCeiling(const CollapseProbeCeilingInput& in) {
  const double base = collapseSearchUpperBound(in.screenWidth, in.sizing);
  const double room = in.arrowFacingEdge - in.screenMinX - probeEdgeSlack;
  if (room < base && room >= smallestProbeRoom) return room;
  return base;
}

bool collapseLengthHidesIcons(double length) { return length > collapseSearchLowerBound; }

bool usesPhysicalDividers(bool nativeEngineAvailable, bool manualPlacement, bool hasPlacementHighlight) {
  return manualPlacement || !nativeEngineAvailable || hasPlacementHighlight;
}

bool foldingIsEffective(const FoldingIsEffectiveInput& input) {
  if (input.nativeEngineAvailable || !input.anchorReady || input.cliffGaveUp) return input.nativeEngineAvailable;
  return collapseLengthHidesIcons(input.collapseLength);
}

bool shouldWithholdCollapse(bool nativeEngineAvailable, std::optional<bool> orderIsCorrect) {
  return !nativeEngineAvailable && orderIsCorrect.has_value() && !*orderIsCorrect;
}

bool shouldRecreateNativeToggle(bool nativeEngineAvailable, bool onScreen, bool alreadyAttempted) {
  return nativeEngineAvailable && !onScreen && !alreadyAttempted;
}

ArrowClickBehavior arrowClickAction(bool /*option*/, bool command) {
  return command ? ArrowClickBehavior::revealHidden : ArrowClickBehavior::toggleFoldedIcons;
}

std::string_view logName(ArrowClickAction action) {
  switch (action) {
    case ArrowClickAction::openShelf: return "openShelf";
    case ArrowClickAction::openShelfAll: return "openShelfAll";
    case ArrowClickAction::expandFolded: return "expandFolded";
    case ArrowClickAction::expandAll: return "expandAll";
  }
  return "openShelf";
}

bool commandClickRevealsHidden(bool command, bool guideOrManualOpen) { return command && !guideOrManualOpen; }

MenuBarPresentation presentationFor(bool isExpanded, bool isDeepExpanded) {
  if (!isExpanded) return MenuBarPresentation::collapsed;
  return isDeepExpanded ? MenuBarPresentation::deepExpanded : MenuBarPresentation::shelfExpanded;
}

bool collapseAttemptReopensRepair(std::string_view reason) {
  return reason == "explicit" || reason == "menu" || reason == "app-intent" || reason == "hotkey";
}

bool collapseResetsMenusNotice(std::string_view reason) {
  return reason == "startup" || collapseAttemptReopensRepair(reason);
}

std::optional<PreferredPositionSeeding> seededPreferredPositions(std::optional<double> arrow,
                                                                 std::optional<double> fold,
                                                                 std::optional<double> hidden) {
  if (arrow && fold && hidden && *arrow < *fold && *fold < *hidden) return std::nullopt;
  PreferredPositionSeeding seeding;
  seeding.arrow = arrow.value_or(0);
  seeding.writeArrow = !arrow.has_value();
  seeding.fold = (fold && *fold > seeding.arrow) ? *fold : seeding.arrow + 1;
  seeding.writeFold = !fold.has_value() || *fold != seeding.fold;
  seeding.hidden = (hidden && *hidden > seeding.fold) ? *hidden : seeding.fold + 1;
  seeding.writeHidden = !hidden.has_value() || *hidden != seeding.hidden;
  return seeding;
}

bool frontmostOwnsMenuBar(std::string_view frontmost, std::optional<std::string_view> owner) {
  if (!owner || owner->empty()) return true;
  return equalsIgnoringCase(frontmost, *owner);
}

bool frontmostChangeIsTransient(const FrontmostChangeIsTransientInput& input) {
  if (input.bundle.empty() || input.bundle == "none") return true;
  if (input.isOwnApp) return true;
  return !(input.activationPolicyIsRegular && input.ownsMenuBar);
}

std::string_view rawValue(FrontmostCommitAction action) {
  switch (action) {
    case FrontmostCommitAction::collapse: return "collapse";
    case FrontmostCommitAction::released: return "released";
    case FrontmostCommitAction::expanded: return "expanded";
    case FrontmostCommitAction::hold: return "hold";
    case FrontmostCommitAction::apply: return "apply";
  }
  return "apply";
}

FrontmostCommitAction frontmostCommitAction(const FrontmostCommitActionInput& input) {
  if (input.releasedFor && !equalsIgnoringCase(*input.releasedFor, input.bundle)) {
    return FrontmostCommitAction::collapse;
  }
  if (!input.presentationCollapsed) {
    return input.releasedFor ? FrontmostCommitAction::released : FrontmostCommitAction::expanded;
  }
  return input.lengthMatches ? FrontmostCommitAction::hold : FrontmostCommitAction::apply;
}

bool shouldRepeatStayExpandedNotice(std::optional<double> lastAt, double now, double interval) {
  return !lastAt || now - *lastAt >= interval;
}

bool rectLiesOnConnectedScreen(const Rect& rect, const std::vector<Rect>& screenFrames) {
  if (rect.width <= 0) return false;
  if (screenFrames.empty()) return true;
  return std::any_of(screenFrames.begin(), screenFrames.end(),
                     [&](const Rect& frame) { return frame.intersects(rect); });
}

std::optional<bool> anchorProtectsAlwaysVisibleSlot(const AnchorProtectsAlwaysVisibleSlotInput& input) {
  const double toggle = input.toggleMaxX;
  const double normal = input.normalSeparatorMaxX;
  const double hidden = input.alwaysHiddenSeparatorMaxX;
  if (toggle == 0 || normal == 0 || hidden == 0) return std::nullopt;
  // A separator still at a collapse length cannot be judged by where it ends.
  const double widthLimit = std::max(64.0, 4 * input.expandedLength);
  if (input.normalSeparatorWidth > widthLimit || input.alwaysHiddenSeparatorWidth > widthLimit) return std::nullopt;
  if (std::abs(normal - toggle) <= 1 && std::abs(hidden - toggle) <= 1) return std::nullopt;
  return normal < toggle && hidden < toggle;
}

bool pointsDiffer(Point a, Point b, double tolerance) {
  const double dx = a.x - b.x;
  const double dy = a.y - b.y;
  return dx * dx + dy * dy > tolerance * tolerance;
}

bool widthMatchesRequest(double width, double requestedLength) {
  return width > 0 && std::abs(width - requestedLength) <= std::max(40.0, 0.12 * requestedLength);
}

std::optional<std::string> lookupRaw(std::string_view bundleID, const std::map<std::string, std::string>& saved) {
  if (const std::string* raw = savedRawTier(saved, bundleID)) return *raw;
  for (const std::string& related : relatedBundleIDs(bundleID)) {
    if (const std::string* raw = savedRawTier(saved, related)) return *raw;
  }
  for (auto parent = immediateParent(bundleID); parent; parent = immediateParent(*parent)) {
    if (const std::string* raw = savedRawTier(saved, *parent)) return *raw;
  }
  return std::nullopt;
}

std::optional<ItemCategory> resolveTier(std::string_view bundleID, const std::map<std::string, std::string>& saved) {
  auto raw = lookupRaw(bundleID, saved);
  return raw ? itemCategoryFromRaw(*raw) : std::nullopt;
}

std::vector<std::string> relatedBundleIDs(std::string_view bundleID) {
  const std::string lower = lowercased(bundleID);
  std::vector<std::string> related;
  auto append = [&](const auto& table) { related.insert(related.end(), table.begin(), table.end()); };
  if (lower.find("corvanta") != std::string::npos) append(corvantaFamily);
  if (lower.find("ishot") != std::string::npos) append(iShotFamily);
  if (lower.find("wetype") != std::string::npos || lower.find("inputmethod") != std::string::npos ||
      lower.find("squirrel") != std::string::npos) {
    related.emplace_back(weTypeBundleID);
    append(inputMethodCompanions);
  }
  return related;
}

std::optional<std::string> immediateParent(std::string_view bundleID) {
  const std::size_t dot = bundleID.rfind('.');
  if (dot == std::string_view::npos) return std::nullopt;
  const std::string_view head = bundleID.substr(0, dot);
  const std::string_view last = bundleID.substr(dot + 1);
  for (std::string_view suffix : roleSuffixes) {
    if (last.size() <= suffix.size() || !last.ends_with(suffix)) continue;
    std::string_view stem = last.substr(0, last.size() - suffix.size());
    while (!stem.empty() && (stem.back() == '-' || stem.back() == '_')) stem.remove_suffix(1);
    if (!stem.empty()) return std::string(head).append(".").append(stem);
  }
  // Two components name a vendor, not an app, so the walk stops above three.
  if (nonEmptyComponentCount(head) >= 3) return std::string(head);
  return std::nullopt;
}

bool isChildBundle(std::string_view child, std::string_view parent) {
  return BundleLineage(child).descendsFrom(lowercased(parent));
}

}  // namespace tarvolo::MenuBarVisibilityPolicy

namespace tarvolo::MenuBarVisibilityPolicy {

// ---- Own-item order repair ---------------------------------------------------------------------

std::optional<std::array<double, 3>> positiveRepairSlots(const OwnItemValues& preferred, const OwnItemValues& screenX) {
  const std::array<std::optional<double>, 3> stored{preferred.toggle, preferred.separator, preferred.alwaysHidden};
  const std::array<std::optional<double>, 3> edges{screenX.toggle, screenX.separator, screenX.alwaysHidden};
  // A stored position counts from the status area's right end: an item with both a positive
  // position and a right edge tells where that end lies.
  std::optional<double> rightEnd;
  for (std::size_t i = 0; i < 3; ++i) {
    if (stored[i] && *stored[i] > 0 && edges[i]) {
      rightEnd = *edges[i] + *stored[i];
      break;
    }
  }
  if (!rightEnd) {
    std::optional<double> rightmost;
    for (const auto& edge : edges) {
      if (edge) rightmost = std::max(rightmost.value_or(*edge), *edge);
    }
    if (rightmost) rightEnd = *rightmost + 1;
  }
  std::array<double, 3> slots{};
  for (std::size_t i = 0; i < 3; ++i) {
    if (stored[i] && *stored[i] > 0) {
      slots[i] = *stored[i];
    } else if (rightEnd && edges[i]) {
      // An item at the very end stands at 0; slots are positive, and the order is forced later.
      slots[i] = std::max(*rightEnd - *edges[i], 1.0);
    } else {
      return std::nullopt;
    }
  }
  return slots;
}

RepairPositions forcedRepairPositions(std::array<double, 3> slots) {
  std::sort(slots.begin(), slots.end());
  RepairPositions positions;
  positions.toggle = slots[0];
  positions.separator = std::max(slots[1], positions.toggle + 1);
  positions.alwaysHidden = std::max(slots[2], positions.separator + 1);
  return positions;
}

// ---- Auto-collapse --------------------------------------------------------------------------

double autoCollapseDelay(std::optional<double> stored) {
  if (!stored || std::isnan(*stored)) return autoCollapseDefaultDelay;
  return std::clamp(*stored, autoCollapseMinimumDelay, autoCollapseMaximumDelay);
}

std::string_view rawValue(AutoCollapseDeferral deferral) {
  switch (deferral) {
    case AutoCollapseDeferral::menu: return "menu";
    case AutoCollapseDeferral::mouse: return "mouse";
    case AutoCollapseDeferral::command: return "command";
    case AutoCollapseDeferral::menuBar: return "menubar";
    case AutoCollapseDeferral::menuBarRecent: return "menubar-recent";
    case AutoCollapseDeferral::chrome: return "chrome";
    case AutoCollapseDeferral::toggle: return "toggle";
  }
  return "menu";
}

AutoCollapseAction autoCollapseAction(const AutoCollapseInput& input) {
  auto wait = [](AutoCollapseDeferral reason) { return AutoCollapseAction{AutoCollapseAction::Kind::wait, reason}; };
  if (input.menuTracking) return wait(AutoCollapseDeferral::menu);
  if (input.mouseButtonDown) return wait(AutoCollapseDeferral::mouse);
  if (input.commandHeld) return wait(AutoCollapseDeferral::command);
  if (input.pointerInMenuBar) return wait(AutoCollapseDeferral::menuBar);
  if (input.pointerInMenuBarRecently) return wait(AutoCollapseDeferral::menuBarRecent);
  if (input.pointerOverChrome) return wait(AutoCollapseDeferral::chrome);
  if (input.pointerOnToggle) return wait(AutoCollapseDeferral::toggle);
  if (input.deepOrPlacement) return AutoCollapseAction{AutoCollapseAction::Kind::keepDeepOrPlacement, std::nullopt};
  return AutoCollapseAction{};
}

bool pointerInMenuBarRecently(std::optional<double> lastMenuBarPresence, double now) {
  if (!lastMenuBarPresence) return false;
  double since = now - *lastMenuBarPresence;
  return since >= 0 && since < recentPointerDeferral;
}

// ---- Reveal on hover --------------------------------------------------------------------------

bool pointerOnEmptyStatusSide(const HoverRevealInput& input) {
  const Point& p = input.pointer;
  bool inBar = p.y >= input.menuBar.minY() && p.y <= input.menuBar.maxY() && p.x >= input.menuBar.minX() &&
               p.x <= input.menuBar.maxX();
  return inBar && input.emptyMaxX > input.emptyMinX && p.x > input.emptyMinX && p.x < input.emptyMaxX;
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
