#include "discovery/PlacementPolicy.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "base/Text.h"

namespace tarvolo::PlacementPolicy {
namespace {

constexpr std::string_view hiddenRaw = "hidden";
constexpr std::string_view alwaysHiddenRaw = "always_hidden";

bool isHidingTier(std::string_view category) { return category == hiddenRaw || category == alwaysHiddenRaw; }
bool isAlwaysVisible(const std::optional<std::string>& category) { return category && *category == alwaysVisibleRaw; }

// Code points that join the preceding character rather than starting a new one.
bool extendsPreviousCharacter(char32_t cp) {
  return (cp >= 0x0300 && cp <= 0x036F) || (cp >= 0x20D0 && cp <= 0x20FF) || cp == 0x200D ||
         (cp >= 0xFE00 && cp <= 0xFE0F) || (cp >= 0x1F3FB && cp <= 0x1F3FF);
}

std::size_t characterCount(std::string_view name) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < name.size();) {
    if (!extendsPreviousCharacter(text::decodeScalar(name, i)) || count == 0) ++count;
  }
  return count;
}

std::string_view lastBundleComponent(std::string_view bundleID) {
  while (!bundleID.empty() && bundleID.back() == '.') bundleID.remove_suffix(1);
  std::size_t dot = bundleID.rfind('.');
  return dot == std::string_view::npos ? bundleID : bundleID.substr(dot + 1);
}

// One application's side of owner matching, prepared once: a zone refresh compares every
// application against every window, so nothing is trimmed or counted twice.
class OwnerMatcher {
 public:
  OwnerMatcher(std::string_view appName, std::string_view bundleID)
      : app_(text::trimmed(appName)), bundle_(text::trimmed(bundleID)), last_(lastBundleComponent(bundle_)) {
    // One-letter names and components would match unrelated processes.
    appUsable_ = characterCount(app_) >= 2;
    lastUsable_ = characterCount(last_) >= 2;
  }

  bool matches(std::string_view ownerName) const {
    const std::string_view owner = text::trimmed(ownerName);
    if (owner.empty() || isSystemOwner(owner)) return false;
    if (appUsable_ && text::equalsIgnoringCase(app_, owner)) return true;
    if (bundle_.empty()) return false;
    if (text::equalsIgnoringCase(bundle_, owner)) return true;
    return lastUsable_ && text::equalsIgnoringCase(last_, owner);
  }

 private:
  static bool isSystemOwner(std::string_view owner) {
    const auto& system = systemOwners();
    return std::any_of(system.begin(), system.end(),
                       [&](const std::string& name) { return text::equalsIgnoringCase(owner, name); });
  }

  std::string_view app_;
  std::string_view bundle_;
  std::string_view last_;
  bool appUsable_ = false;
  bool lastUsable_ = false;
};

bool looksLikeStatusItem(const ForeignMenuBarWindow& window) {
  return window.height <= statusItemMaxHeight && window.width >= statusItemMinWidth &&
         window.width <= statusItemMaxWidth;
}

std::vector<const ForeignMenuBarWindow*> statusItemsOf(std::string_view appName, std::string_view bundleID,
                                                       std::span<const ForeignMenuBarWindow> windows) {
  const OwnerMatcher matcher(appName, bundleID);
  std::vector<const ForeignMenuBarWindow*> out;
  for (const auto& window : windows) {
    if (looksLikeStatusItem(window) && matcher.matches(window.ownerName)) out.push_back(&window);
  }
  return out;
}

std::optional<std::string> tierShownIn(PlacementZone zone) {
  switch (zone) {
    case PlacementZone::alwaysVisible: return std::string(alwaysVisibleRaw);
    case PlacementZone::folded: return std::string(hiddenRaw);
    case PlacementZone::alwaysHidden: return std::string(alwaysHiddenRaw);
    case PlacementZone::systemSide: return std::nullopt;
  }
  return std::nullopt;
}

std::optional<std::string> confirmedValueFor(const std::string& key, const std::map<std::string, std::string>& confirmed) {
  if (auto exact = confirmed.find(key); exact != confirmed.end()) return exact->second;
  const std::string wanted = text::lowercased(key);
  for (const auto& [candidate, value] : confirmed) {
    if (text::lowercased(candidate) == wanted) return value;
  }
  return std::nullopt;
}

}  // namespace

const std::set<std::string>& systemOwners() {
  static const std::set<std::string> owners = {"control center", "controlcenter", "window server",
                                               "systemuiserver", "tarvolo",        "zttarvolo"};
  return owners;
}

std::string ledgerKey(std::string_view bundleID) { return text::lowercased(bundleID); }

PlacementZone targetZone(std::string_view category) {
  if (category == alwaysVisibleRaw) return PlacementZone::alwaysVisible;
  if (category == alwaysHiddenRaw) return PlacementZone::alwaysHidden;
  return PlacementZone::folded;
}

bool anchorsUsable(const PlacementAnchors& anchors, double expandedLength) {
  // A zero right edge means the item is not on screen.
  if (anchors.toggleMaxX == 0 || anchors.normalMaxX == 0 || anchors.hiddenMaxX == 0) return false;
  const double widthLimit = std::max(anchorWidthFactor * expandedLength, anchorWidthFloor);
  if (anchors.normalWidth > widthLimit || anchors.hiddenWidth > widthLimit) return false;
  const bool allRightEdgesCoincide = std::abs(anchors.toggleMaxX - anchors.normalMaxX) < 1 &&
                                     std::abs(anchors.toggleMaxX - anchors.hiddenMaxX) < 1;
  if (allRightEdgesCoincide) return false;
  // The separators' order among themselves is left alone: a swapped pair is for the guide to fix.
  return anchors.normalMaxX < anchors.toggleMaxX && anchors.hiddenMaxX < anchors.toggleMaxX;
}

std::optional<PlacementZone> zone(const ZoneInput& input) {
  const PlacementAnchors& a = input.anchors;
  if (!anchorsUsable(a, input.expandedLength)) return std::nullopt;
  const double mid = (input.minX + input.maxX) / 2;
  if (a.toggleMinX <= mid) return PlacementZone::systemSide;
  if (a.normalMaxX <= mid) return PlacementZone::alwaysVisible;
  if (a.hiddenMaxX <= mid && mid < a.normalMinX) return PlacementZone::folded;
  if (mid < a.hiddenMinX) return PlacementZone::alwaysHidden;
  // On a separator itself: the normal one counts as visible, the hidden divider as folded.
  if (a.normalMinX <= mid) return PlacementZone::alwaysVisible;
  return PlacementZone::folded;
}

bool ownerMatches(std::string_view ownerName, std::string_view appName, std::string_view bundleID) {
  return OwnerMatcher(appName, bundleID).matches(ownerName);
}

std::vector<ForeignMenuBarWindow> windowsOnStatusItemScreen(std::span<const ForeignMenuBarWindow> windows,
                                                            std::optional<double> screenMinX,
                                                            std::optional<double> screenMaxX) {
  if (!screenMinX || !screenMaxX) return {windows.begin(), windows.end()};
  std::vector<ForeignMenuBarWindow> out;
  for (const auto& window : windows) {
    if (window.maxX > *screenMinX && window.minX < *screenMaxX) out.push_back(window);
  }
  return out;
}

std::optional<std::string> observedZone(const ObservedZoneInput& input) {
  if (!input.anchors || !anchorsUsable(*input.anchors, input.expandedLength)) return std::nullopt;
  // Only the first window in window-list order speaks for the application.
  const OwnerMatcher matcher(input.appName, input.bundleID);
  const auto found = std::find_if(input.windows.begin(), input.windows.end(), [&](const ForeignMenuBarWindow& window) {
    return looksLikeStatusItem(window) && matcher.matches(window.ownerName);
  });
  if (found == input.windows.end()) return std::nullopt;
  const ForeignMenuBarWindow& first = *found;
  const auto where =
      zone({.minX = first.minX, .maxX = first.maxX, .anchors = *input.anchors, .expandedLength = input.expandedLength});
  if (!where) return std::nullopt;
  return tierShownIn(*where);
}

std::optional<bool> foreignItemInTargetZone(const ForeignItemInTargetZoneInput& input) {
  if (!anchorsUsable(input.anchors, input.expandedLength)) return std::nullopt;
  const auto candidates = statusItemsOf(input.appName, input.bundleID, input.windows);
  if (candidates.empty()) return std::nullopt;
  // Any one icon in place counts: an application with several items is placed once one of them is.
  return std::any_of(candidates.begin(), candidates.end(), [&](const ForeignMenuBarWindow* window) {
    return zone({.minX = window->minX,
                 .maxX = window->maxX,
                 .anchors = input.anchors,
                 .expandedLength = input.expandedLength}) == input.target;
  });
}

std::string displayedTier(const std::optional<std::string>& savedCategory,
                          const std::optional<std::string>& confirmedCategory,
                          const std::optional<std::string>& observedZone) {
  // A saved always-visible alone proves nothing: the icon may never have been moved there.
  if (savedCategory && isHidingTier(*savedCategory)) return *savedCategory;
  if (isAlwaysVisible(observedZone) || isAlwaysVisible(confirmedCategory)) return std::string(alwaysVisibleRaw);
  if (observedZone && isHidingTier(*observedZone)) return *observedZone;
  if (confirmedCategory && isHidingTier(*confirmedCategory)) return *confirmedCategory;
  return std::string(hiddenRaw);
}

std::map<std::string, std::string> migrateStoredCategories(const std::map<std::string, std::string>& saved,
                                                           const std::map<std::string, std::string>& confirmed) {
  std::map<std::string, std::string> out;
  std::set<std::string> savedKeys;
  for (const auto& [key, value] : saved) {
    savedKeys.insert(text::lowercased(key));
    if (isHidingTier(value)) {
      out.emplace(key, value);
      continue;
    }
    if (isAlwaysVisible(confirmedValueFor(key, confirmed))) out.emplace(key, std::string(alwaysVisibleRaw));
  }
  for (const auto& [key, value] : confirmed) {
    if (value == alwaysVisibleRaw && !savedKeys.contains(text::lowercased(key))) out.emplace(key, value);
  }
  return out;
}

bool isOutOfPlace(const IsOutOfPlaceInput& input) {
  if (input.category != alwaysVisibleRaw) {
    return isAlwaysVisible(input.observedZone) || isAlwaysVisible(input.confirmedCategory);
  }
  // Flagged after a relaunch stays flagged until confirmed again, even when seen in place.
  if (isAlwaysVisible(input.observedZone)) return input.relaunched;
  return input.relaunched || !isAlwaysVisible(input.confirmedCategory);
}

bool clickAssignsTier(bool nativeEngineAvailable, std::string_view category) {
  // Without the native engine only the user can seat an icon in the visible zone, so that tier
  // starts the placement guide instead.
  return nativeEngineAvailable || category != alwaysVisibleRaw;
}

bool offersImmediateTierClick(bool nativeEngineAvailable) { return nativeEngineAvailable; }

bool shouldGuide(bool nativeEngine, std::string_view newCategory, const std::optional<std::string>& currentCategory) {
  if (nativeEngine) return false;
  if (!currentCategory) return true;
  return newCategory != *currentCategory;
}

bool reselectIsNoOp(std::string_view newCategory, std::string_view currentCategory) {
  return newCategory == currentCategory;
}

std::string categoryAfterGuideCancel(const std::optional<std::string>& stagedCategory,
                                     std::string_view pendingCategory) {
  return stagedCategory ? *stagedCategory : std::string(pendingCategory);
}

bool savedFlagAfterGuideCancel(std::optional<bool> stagedHadSavedTier, bool pendingHadSavedTier) {
  return stagedHadSavedTier.value_or(pendingHadSavedTier);
}

std::vector<std::string> confirmedBundleIDs(const std::optional<std::string>& namedBundleID, bool tour,
                                            const std::vector<std::string>& tourBundleIDs) {
  if (tour) return tourBundleIDs;
  if (!namedBundleID) return {};
  const std::string_view named = text::trimmed(*namedBundleID);
  if (named.empty()) return {};
  return {std::string(named)};
}

PlacementLedgerSnapshot confirm(PlacementLedgerSnapshot snapshot, std::string_view bundleID,
                                std::string_view category) {
  const std::string key = ledgerKey(bundleID);
  if (key.empty()) return snapshot;
  snapshot.confirmed[key] = std::string(category);
  snapshot.awaitingRelaunch.erase(key);
  return snapshot;
}

PlacementLedgerSnapshot confirmAlwaysVisible(PlacementLedgerSnapshot snapshot,
                                             const std::vector<std::string>& bundleIDs) {
  for (const auto& bundleID : bundleIDs) snapshot = confirm(std::move(snapshot), bundleID, alwaysVisibleRaw);
  return snapshot;
}

PlacementLedgerSnapshot noteTerminated(PlacementLedgerSnapshot snapshot, const std::optional<std::string>& bundleID) {
  if (!bundleID) return snapshot;
  const std::string key = ledgerKey(*bundleID);
  if (key.empty()) return snapshot;
  auto found = snapshot.confirmed.find(key);
  if (found != snapshot.confirmed.end() && found->second == alwaysVisibleRaw) snapshot.awaitingRelaunch.insert(key);
  return snapshot;
}

PlacementLedgerSnapshot noteLaunched(PlacementLedgerSnapshot snapshot, const std::optional<std::string>& bundleID) {
  if (!bundleID) return snapshot;
  const std::string key = ledgerKey(*bundleID);
  if (key.empty() || !snapshot.awaitingRelaunch.contains(key)) return snapshot;
  snapshot.awaitingRelaunch.erase(key);
  snapshot.confirmed.erase(key);
  snapshot.attention.insert(key);
  return snapshot;
}

}  // namespace tarvolo::PlacementPolicy
