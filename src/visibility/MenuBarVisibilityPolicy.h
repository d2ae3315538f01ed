#pragma once

// Turns what should be visible into separator lengths, titles and allow-lists, and holds the
// small predicates the controllers consult. Pure: no platform state, no clock, no shared state.

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/PlacementTypes.h"
#include "base/Geometry.h"
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

// ---- Bundle-id tables -----------------------------------------------------------------------

inline constexpr std::array<std::string_view, 3> corvantaFamily = {
    "com.ostrand.zt-corvanta", "com.ostrand.zt-corvanta-pro", "com.ostrand.zt-corvanta-swift"};
inline constexpr std::array<std::string_view, 2> iShotFamily = {"cn.better365.iShotPro",
                                                                "cn.better365.iShotProHelper"};
inline constexpr std::string_view weTypeBundleID = "com.tencent.inputmethod.wetype";
inline constexpr std::array<std::string_view, 3> inputMethodCompanions = {
    "com.apple.TextInputMenuAgent", "com.apple.TextInputSwitcher", "com.apple.HIToolbox"};
inline constexpr std::array<std::string_view, 2> alwaysOnSystemBundleIDs = {"com.apple.Spotlight",
                                                                            "com.apple.controlcenter"};
// Endings of a helper's last id component; longer endings come before their own tails.
inline constexpr std::array<std::string_view, 7> roleSuffixes = {"HelperApp", "SmartDelete", "Extension", "Helper",
                                                                 "helper",    "status",      "agent"};

// ---- Separator lengths and the plan ---------------------------------------------------------

enum class PublicCollapseSizing { legacy, statusRegion };

// Newer systems lay out the status region on their own terms, so the normal separator alone hides.
PublicCollapseSizing collapseUsesStatusRegionCliff(int majorVersion);

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

// The native allow-list: the given ids, then our own, then for each given id its related ids,
// its parent and the running ids that are its child bundles. Trimmed, each added once ignoring
// case, first spelling wins.
std::vector<std::string> expandAllowedBundleIDs(const std::vector<std::string>& ids,
                                                const std::vector<std::string>& ownBundleIDs,
                                                const std::vector<std::string>& runningBundleIDs);

// ---- Length bounds (w = screen width in points) ----------------------------------------------

double legacyCollapsedSeparatorLength(double widestScreenWidth);
double collapseSearchUpperBound(double widestScreenWidth);
double collapseTailCeiling(double screenWidth);
// The length used before anything has been measured.
double collapseUnmeasuredLength(double widestScreenWidth);
// Keeps a probe from reaching past the screen edge the arrow faces.
double collapseProbeCeiling(double screenWidth, double arrowFacingEdge, double screenMinX);

// The bounds as the sizing has them. Under `statusRegion` (macOS 27 on) the system drops an
// item of half the display, so the half-width bounds above hold. Under `legacy` the system lays
// out far longer items, and only the room left of the separator bounds a collapse: the search
// and the fold tail reach up to `legacyCollapsedSeparatorLength`, and the probe ceiling's room
// rule applies beneath it.
double collapseSearchUpperBound(double screenWidth, PublicCollapseSizing sizing);
double collapseTailCeiling(double screenWidth, PublicCollapseSizing sizing);
struct CollapseProbeCeilingInput {
  double screenWidth = 0;
  double arrowFacingEdge = 0;
  double screenMinX = 0;
  PublicCollapseSizing sizing = PublicCollapseSizing::statusRegion;
};
double collapseProbeCeiling(const CollapseProbeCeilingInput& input);
bool collapseLengthHidesIcons(double length);

// ---- Engine and mode predicates --------------------------------------------------------------

bool usesPhysicalDividers(bool nativeEngineAvailable, bool manualPlacement, bool hasPlacementHighlight);

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

enum class ArrowClickBehavior { revealHidden, toggleFoldedIcons };
// The option flag is accepted for symmetry with the click handler but does not matter.
ArrowClickBehavior arrowClickAction(bool option, bool command);

// What a click on the arrow ended up doing, for the trace.
enum class ArrowClickAction { openShelf = 0, openShelfAll = 1, expandFolded = 2, expandAll = 3 };
std::string_view logName(ArrowClickAction action);

bool commandClickRevealsHidden(bool command, bool guideOrManualOpen);
MenuBarPresentation presentationFor(bool isExpanded, bool isDeepExpanded);

// Collapse reasons the user asked for; automatic ones do not reopen repair or reset notices.
bool collapseAttemptReopensRepair(std::string_view reason);
bool collapseResetsMenusNotice(std::string_view reason);

// ---- Own-item preferred positions -------------------------------------------------------------

// A larger preferred position stands further left; right to left the order must be
// toggle (arrow) < separator (fold) < always-hidden separator (hidden).
struct PreferredPositionSeeding {
  double arrow = 0;
  double fold = 0;
  double hidden = 0;
  bool writeArrow = false;
  bool writeFold = false;
  bool writeHidden = false;
  friend bool operator==(const PreferredPositionSeeding&, const PreferredPositionSeeding&) = default;
};

// Absent when the stored positions are complete and already in order.
std::optional<PreferredPositionSeeding> seededPreferredPositions(std::optional<double> arrow,
                                                                 std::optional<double> fold,
                                                                 std::optional<double> hidden);

// ---- Frontmost-app predicates ----------------------------------------------------------------

bool frontmostOwnsMenuBar(std::string_view frontmost, std::optional<std::string_view> owner);

struct FrontmostChangeIsTransientInput {
  std::string bundle;
  bool isOwnApp = false;
  bool activationPolicyIsRegular = false;
  bool ownsMenuBar = false;
};
bool frontmostChangeIsTransient(const FrontmostChangeIsTransientInput& input);

enum class FrontmostCommitAction { collapse, released, expanded, hold, apply };
std::string_view rawValue(FrontmostCommitAction action);

struct FrontmostCommitActionInput {
  std::optional<std::string> releasedFor;
  std::string bundle;
  bool presentationCollapsed = false;
  bool lengthMatches = false;
};
FrontmostCommitAction frontmostCommitAction(const FrontmostCommitActionInput& input);

bool shouldRepeatStayExpandedNotice(std::optional<double> lastAt, double now, double interval);

// ---- Geometry predicates ---------------------------------------------------------------------

bool rectLiesOnConnectedScreen(const Rect& rect, const std::vector<Rect>& screenFrames);

struct AnchorProtectsAlwaysVisibleSlotInput {
  double toggleMaxX = 0;
  double normalSeparatorMaxX = 0;
  double alwaysHiddenSeparatorMaxX = 0;
  double normalSeparatorWidth = 0;
  double alwaysHiddenSeparatorWidth = 0;
  double expandedLength = 0;
};
// Absent when the frames cannot tell (unread, still collapsed, or stacked on the toggle).
std::optional<bool> anchorProtectsAlwaysVisibleSlot(const AnchorProtectsAlwaysVisibleSlotInput& input);

bool pointsDiffer(Point a, Point b, double tolerance);
bool widthMatchesRequest(double width, double requestedLength);

// ---- Tier lookup and related bundles ---------------------------------------------------------

// The per-application lookup every table keyed by bundle id shares: exact key, then ignoring
// case, then related ids, then the chain of parents; the first value found.
std::optional<std::string> lookupRaw(std::string_view bundleID, const std::map<std::string, std::string>& saved);

// `lookupRaw` read as a tier; an unknown string is no tier.
std::optional<ItemCategory> resolveTier(std::string_view bundleID, const std::map<std::string, std::string>& saved);

// Ids that ship alongside this one and must share its fate.
std::vector<std::string> relatedBundleIDs(std::string_view bundleID);

// The id of the app a helper belongs to: a role ending stripped from the last component
// ("com.x.AppHelper" -> "com.x.App"), else the last component dropped while three remain
// ("com.x.App.login" -> "com.x.App"). Absent for a plain app id.
std::optional<std::string> immediateParent(std::string_view bundleID);

// Ignoring case: the child extends the parent by dot components, or walking immediateParent
// from the child reaches the parent. A bundle is not its own child.
bool isChildBundle(std::string_view child, std::string_view parent);

}  // namespace tarvolo::MenuBarVisibilityPolicy
