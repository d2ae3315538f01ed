#pragma once

// Where a foreign application's icon belongs and where it actually sits. Every function is pure
// and total: categories travel as their raw strings, so an unknown string is an ordinary input.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/vocabulary/PlacementTypes.h"

namespace tarvolo {

// What the placement ledger remembers. Keys are lower-cased bundle identifiers.
struct PlacementLedgerSnapshot {
  // Raw categories the user confirmed (in practice always-visible placements).
  std::map<std::string, std::string> confirmed;
  // Confirmed always-visible applications that were relaunched and must be checked again.
  std::set<std::string> attention;
  // Confirmed always-visible applications that quit and have not started again; never persisted.
  std::set<std::string> awaitingRelaunch;
  friend bool operator==(const PlacementLedgerSnapshot&, const PlacementLedgerSnapshot&) = default;
};

}  // namespace tarvolo

namespace tarvolo::PlacementPolicy {

inline constexpr std::string_view alwaysVisibleRaw = "always_visible";

// A status-item window is at most this high and between these widths.
inline constexpr double statusItemMaxHeight = 40;
inline constexpr double statusItemMinWidth = 8;
inline constexpr double statusItemMaxWidth = 220;
// A separator wider than this many expanded lengths stands collapsed; its edges mean nothing.
inline constexpr double anchorWidthFactor = 4;
inline constexpr double anchorWidthFloor = 64;

// Window owners that are never a foreign application, compared lower-cased.
const std::set<std::string>& systemOwners();

// The key under which an application is remembered: its bundle identifier lower-cased.
std::string ledgerKey(std::string_view bundleID);

// "always_visible" and "always_hidden" map to their zones; everything else is folded.
PlacementZone targetZone(std::string_view category);

bool anchorsUsable(const PlacementAnchors& anchors, double expandedLength);

struct ZoneInput {
  double minX = 0;
  double maxX = 0;
  PlacementAnchors anchors;
  double expandedLength = 0;
};
// The zone of an item by its midpoint; absent when the anchors are not usable.
std::optional<PlacementZone> zone(const ZoneInput& input);

bool ownerMatches(std::string_view ownerName, std::string_view appName, std::string_view bundleID);

// A window list's status items grouped by their owner's name in comparison form, built once per
// reading of the bar: matching every application against every window name by name would fold
// the same names apps × windows times on each refresh.
struct OwnerIndex {
  // Comparison form of an owner name to the positions of its status-item windows in the indexed
  // list, ascending. System owners and unnamed windows are left out: they never match.
  std::unordered_map<std::string, std::vector<std::size_t>> statusItems;
};
OwnerIndex indexOwners(std::span<const ForeignMenuBarWindow> windows);
// The names, in comparison form, a window owner may carry for an application; prepared once per
// scan, since the applications change far less often than the bar is read.
std::vector<std::string> ownerNames(std::string_view appName, std::string_view bundleID);
// The positions of the application's status-item windows in the indexed list, ascending.
std::vector<std::size_t> statusItemsOf(const OwnerIndex& index, std::span<const std::string> ownerNames);
// The first position, in list order, of the application's status-item windows that `accepts`;
// what a refresh needs without gathering every position.
template <class Predicate>
std::optional<std::size_t> firstStatusItemOf(const OwnerIndex& index, std::span<const std::string> ownerNames,
                                             Predicate accepts) {
  std::optional<std::size_t> first;
  for (const std::string& name : ownerNames) {
    const auto found = index.statusItems.find(name);
    if (found == index.statusItems.end()) continue;
    for (std::size_t position : found->second) {
      if (first && position >= *first) break;
      if (accepts(position)) {
        first = position;
        break;
      }
    }
  }
  return first;
}
std::vector<std::size_t> statusItemsOf(const OwnerIndex& index, std::string_view appName, std::string_view bundleID);
// How many names this process has put into comparison form for owner matching. Matching stays
// linear in applications plus windows; a check holds the count to that.
std::uint64_t ownerNamesFolded();

// The tier an icon at this window shows, as a raw category; absent on the system's side of the
// bar or while the anchors cannot be used.
std::optional<std::string> zoneShownAt(const ForeignMenuBarWindow& window, const PlacementAnchors& anchors,
                                       double expandedLength);

// Whether the window overlaps the screen horizontally; true when a screen edge is unknown.
bool isOnStatusItemScreen(const ForeignMenuBarWindow& window, std::optional<double> screenMinX,
                          std::optional<double> screenMaxX);
// The windows overlapping the screen horizontally; all of them when a screen edge is unknown.
std::vector<ForeignMenuBarWindow> windowsOnStatusItemScreen(std::span<const ForeignMenuBarWindow> windows,
                                                            std::optional<double> screenMinX,
                                                            std::optional<double> screenMaxX);

struct ObservedZoneInput {
  std::string_view appName;
  std::string_view bundleID;
  std::span<const ForeignMenuBarWindow> windows;
  std::optional<PlacementAnchors> anchors;
  double expandedLength = 0;
};
// The tier the application's first status-item window shows, as a raw category.
std::optional<std::string> observedZone(const ObservedZoneInput& input);

struct ForeignItemInTargetZoneInput {
  std::string_view appName;
  std::string_view bundleID;
  std::span<const ForeignMenuBarWindow> windows;
  PlacementAnchors anchors;
  PlacementZone target = PlacementZone::alwaysVisible;
  double expandedLength = 0;
};
// True as soon as any of the application's status-item windows sits in the target zone.
std::optional<bool> foreignItemInTargetZone(const ForeignItemInTargetZoneInput& input);

// The tier shown for an application in lists; never an unknown string.
std::string displayedTier(const std::optional<std::string>& savedCategory,
                          const std::optional<std::string>& confirmedCategory,
                          const std::optional<std::string>& observedZone);

// Stored categories as loaded: always-visible survives only where it was confirmed.
std::map<std::string, std::string> migrateStoredCategories(const std::map<std::string, std::string>& saved,
                                                           const std::map<std::string, std::string>& confirmed);

struct IsOutOfPlaceInput {
  std::string_view category;
  std::optional<std::string> confirmedCategory;
  bool relaunched = false;
  std::optional<std::string> observedZone;
};
bool isOutOfPlace(const IsOutOfPlaceInput& input);

// Tier clicks in the category picker.
bool clickAssignsTier(bool nativeEngineAvailable, std::string_view category);
bool offersImmediateTierClick(bool nativeEngineAvailable);
bool shouldGuide(bool nativeEngine, std::string_view newCategory, const std::optional<std::string>& currentCategory);
bool reselectIsNoOp(std::string_view newCategory, std::string_view currentCategory);
std::string categoryAfterGuideCancel(const std::optional<std::string>& stagedCategory,
                                     std::string_view pendingCategory);
bool savedFlagAfterGuideCancel(std::optional<bool> stagedHadSavedTier, bool pendingHadSavedTier);

// The applications a finished placement confirms.
std::vector<std::string> confirmedBundleIDs(const std::optional<std::string>& namedBundleID, bool tour,
                                            const std::vector<std::string>& tourBundleIDs);

// Ledger transitions. An absent or empty bundle identifier leaves the snapshot unchanged.
PlacementLedgerSnapshot confirm(PlacementLedgerSnapshot snapshot, std::string_view bundleID,
                                std::string_view category);
PlacementLedgerSnapshot confirmAlwaysVisible(PlacementLedgerSnapshot snapshot,
                                             const std::vector<std::string>& bundleIDs);
PlacementLedgerSnapshot noteTerminated(PlacementLedgerSnapshot snapshot, const std::optional<std::string>& bundleID);
// A relaunched application loses its confirmation: the system may seat its icon anywhere.
PlacementLedgerSnapshot noteLaunched(PlacementLedgerSnapshot snapshot, const std::optional<std::string>& bundleID);

}  // namespace tarvolo::PlacementPolicy
