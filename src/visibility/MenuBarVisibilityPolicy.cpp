#include "visibility/MenuBarVisibilityPolicy.h"

#include <algorithm>
#include <cmath>
#include <utility>

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

}  // namespace

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
      const std::optional<double> distance = input.hiddenDividerDistance;
      if (!distance || *distance <= 0) {
        // Without a distance there is nothing to size from. Under the status-region cliff the
        // collapsed always-hidden separator is short anyway; before it, the collapse length at
        // least keeps the always-hidden zone off screen until a measurement corrects it.
        return {expanded, statusRegion ? expanded : collapsed, title, ""};
      }
      // Hide only what lies left of the always-hidden divider: at the whole collapse length it
      // would start that distance further left and run into the app's menus.
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

MenuBarPresentation presentationFor(bool isExpanded, bool isDeepExpanded) {
  if (!isExpanded) return MenuBarPresentation::collapsed;
  return isDeepExpanded ? MenuBarPresentation::deepExpanded : MenuBarPresentation::shelfExpanded;
}

bool usesPhysicalDividers(NativeEngine engine, PlacementMode placement, PlacementHighlight highlight) {
  return placement == PlacementMode::manual || engine == NativeEngine::unavailable ||
         highlight == PlacementHighlight::shown;
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

bool shouldRepeatStayExpandedNotice(std::optional<double> lastAt, double now, double interval) {
  return !lastAt || now - *lastAt >= interval;
}

bool rectLiesOnConnectedScreen(const Rect& rect, const std::vector<Rect>& screenFrames) {
  if (rect.width <= 0) return false;
  if (screenFrames.empty()) return true;
  return std::any_of(screenFrames.begin(), screenFrames.end(),
                     [&](const Rect& frame) { return frame.intersects(rect); });
}

bool widthMatchesRequest(double width, double requestedLength) {
  return width > 0 && std::abs(width - requestedLength) <= std::max(40.0, 0.12 * requestedLength);
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
