#pragma once

// Turns what should be visible into separator lengths, titles and allow-lists, and holds the
// predicates that say whether folding works. Pure: no platform state, no clock, no shared state.
// The length bounds and the bundle relations the plan uses live beside it.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Geometry.h"
#include "base/vocabulary/PlacementTypes.h"
#include "visibility/BundleRelations.h"
#include "visibility/CollapseLengthBounds.h"
#include "visibility/VisibilityConstants.h"

namespace tarvolo {

// Who hides foreign items: the system through an allow-list, or our own long separators.
enum class MenuBarHidingEngine { nativeAllowList, publicSpacer };

enum class MenuBarPresentation {
  collapsed,
  shelfExpanded,  // hidden zone shown, always-hidden zone still hidden
  deepExpanded,   // everything shown
};

std::string_view rawValue(MenuBarHidingEngine engine);
std::string_view rawValue(MenuBarPresentation presentation);

struct MenuBarTrackedApp {
  std::string bundleID;
  ItemCategory tier = ItemCategory::hidden;
  friend bool operator==(const MenuBarTrackedApp&, const MenuBarTrackedApp&) = default;
};

struct MenuBarVisibilityPlan {
  MenuBarHidingEngine engine = MenuBarHidingEngine::publicSpacer;
  MenuBarPresentation presentation = MenuBarPresentation::collapsed;
  // Native engine only; absent means nothing is restricted.
  std::optional<std::vector<std::string>> allowedBundleIDs;
  double normalSeparatorLength = 0;
  double alwaysHiddenSeparatorLength = 0;
  std::string normalSeparatorTitle;
  std::string alwaysHiddenSeparatorTitle;
  // True when the allow-list is exactly the always-visible tier.
  bool menuBarUsesAlwaysVisibleBundleIDs = false;
  friend bool operator==(const MenuBarVisibilityPlan&, const MenuBarVisibilityPlan&) = default;
};

}  // namespace tarvolo

namespace tarvolo::MenuBarVisibilityPolicy {

// ---- Separator lengths and the plan ---------------------------------------------------------

struct SeparatorLengthsInput {
  MenuBarHidingEngine engine = MenuBarHidingEngine::publicSpacer;
  MenuBarPresentation presentation = MenuBarPresentation::collapsed;
  double expandedLength = 0;
  double collapsedLength = 0;
  PublicCollapseSizing publicCollapseSizing = PublicCollapseSizing::legacy;
  std::optional<double> hiddenDividerDistance;
};

struct SeparatorLengths {
  double normal = 0;
  double alwaysHidden = 0;
  std::string normalTitle;
  std::string alwaysHiddenTitle;
  friend bool operator==(const SeparatorLengths&, const SeparatorLengths&) = default;
};

inline constexpr std::string_view expandedSeparatorTitle = "\uFF5C";  // fullwidth vertical line
inline constexpr std::string_view alwaysHiddenSeparatorSymbol = "eye.slash";

SeparatorLengths separatorLengths(const SeparatorLengthsInput& input);

struct PlanInput {
  std::vector<MenuBarTrackedApp> apps;
  MenuBarHidingEngine engine = MenuBarHidingEngine::publicSpacer;
  MenuBarPresentation presentation = MenuBarPresentation::collapsed;
  double expandedLength = 0;
  double collapsedLength = 0;
  std::vector<std::string> ownBundleIDs;
  std::vector<std::string> runningBundleIDs;
  PublicCollapseSizing publicCollapseSizing = PublicCollapseSizing::legacy;
  std::optional<double> hiddenDividerDistance;
};

MenuBarVisibilityPlan plan(const PlanInput& input);

MenuBarPresentation presentationFor(bool isExpanded, bool isDeepExpanded);

// ---- Engine and mode predicates --------------------------------------------------------------

enum class NativeEngine { unavailable, available };
enum class PlacementMode { automatic, manual };  // manual: the user places items by hand
enum class PlacementHighlight { hidden, shown };
// While icons are arranged the separators stand where icons can be dragged across them.
bool usesPhysicalDividers(NativeEngine engine, PlacementMode placement, PlacementHighlight highlight);

struct FoldingIsEffectiveInput {
  bool nativeEngineAvailable = false;
  bool anchorReady = false;
  bool cliffGaveUp = false;
  double collapseLength = 0;
};
bool foldingIsEffective(const FoldingIsEffectiveInput& input);

// An unknown order never withholds a collapse.
bool shouldWithholdCollapse(bool nativeEngineAvailable, std::optional<bool> orderIsCorrect);
bool shouldRecreateNativeToggle(bool nativeEngineAvailable, bool onScreen, bool alreadyAttempted);
bool shouldRepeatStayExpandedNotice(std::optional<double> lastAt, double now, double interval);

// ---- Geometry predicates ---------------------------------------------------------------------

bool rectLiesOnConnectedScreen(const Rect& rect, const std::vector<Rect>& screenFrames);
bool widthMatchesRequest(double width, double requestedLength);

}  // namespace tarvolo::MenuBarVisibilityPolicy
