#pragma once

// Turns what should be visible into separator lengths, titles and allow-lists, and holds the
// small predicates the controllers consult. Pure: no platform state, no clock, no shared state.

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/vocabulary/PlacementTypes.h"
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

// ---- Own-item order repair ---------------------------------------------------------------------

// One value for each own item.
struct OwnItemValues {
  std::optional<double> toggle;
  std::optional<double> separator;
  std::optional<double> alwaysHidden;
  friend bool operator==(const OwnItemValues&, const OwnItemValues&) = default;
};

// Three positive preferred positions, one per item, near where the items stand now: the stored
// positions where they are positive, else derived from the buttons' right edges (`screenX`)
// and the status area's right end those stored positions imply. Absent when nothing can be
// derived. Unordered: `forcedRepairPositions` orders them.
std::optional<std::array<double, 3>> positiveRepairSlots(const OwnItemValues& preferred,
                                                         const OwnItemValues& screenX);

struct RepairPositions {
  double toggle = 0;
  double separator = 0;
  double alwaysHidden = 0;
  friend bool operator==(const RepairPositions&, const RepairPositions&) = default;
};
// The slots sorted ascending and handed out so the order is forced: the toggle takes the
// smallest, each separator stands at least one unit left of the item before it.
RepairPositions forcedRepairPositions(std::array<double, 3> slots);

// ---- Auto-collapse --------------------------------------------------------------------------

// "autoCollapseDelay" as stored: absent or not a number is the default, then clamped.
double autoCollapseDelay(std::optional<double> stored);

// Why auto-collapse waits; the raw values are what the log says.
enum class AutoCollapseDeferral {
  menu,           // "menu": a menu is open
  mouse,          // "mouse": a mouse button is down
  command,        // "command": ⌘ is held, as for dragging icons
  menuBar,        // "menubar": the pointer is in the menu bar
  menuBarRecent,  // "menubar-recent": it left the menu bar moments ago
  chrome,         // "chrome": the pointer is over the placement guide
  toggle,         // "toggle": the pointer is on the toggle
};
std::string_view rawValue(AutoCollapseDeferral deferral);

struct AutoCollapseAction {
  enum class Kind {
    collapse,
    keepDeepOrPlacement,  // deep-expanded or a placement in progress: not the timer's to end
    wait,
  };
  Kind kind = Kind::collapse;
  std::optional<AutoCollapseDeferral> reason;  // set exactly when waiting
  friend bool operator==(const AutoCollapseAction&, const AutoCollapseAction&) = default;
};

struct AutoCollapseInput {
  bool deepOrPlacement = false;
  bool commandHeld = false;
  bool pointerInMenuBar = false;
  bool pointerOverChrome = false;
  bool pointerOnToggle = false;
  bool menuTracking = false;
  bool mouseButtonDown = false;
  bool pointerInMenuBarRecently = false;
};
// A user busy with menus, the mouse or the menu bar comes first; then the guide and the toggle;
// then a deep expansion or a placement.
AutoCollapseAction autoCollapseAction(const AutoCollapseInput& input);

// The pointer was seen in the menu bar `recentPointerDeferral` seconds ago or less.
bool pointerInMenuBarRecently(std::optional<double> lastMenuBarPresence, double now);

// ---- Reveal on hover --------------------------------------------------------------------------

struct HoverRevealInput {
  Point pointer;
  Rect menuBar;          // the bar of the screen holding the status items
  double emptyMinX = 0;  // right end of the app menus (and the notch)
  double emptyMaxX = 0;  // left end of the icons that stay visible
};
// The pointer lies on the empty stretch of the bar between the app menus and the visible icons.
bool pointerOnEmptyStatusSide(const HoverRevealInput& input);

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
