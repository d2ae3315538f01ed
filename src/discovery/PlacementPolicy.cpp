#include "discovery/PlacementPolicy.h"

#include <algorithm>
#include <atomic>
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

std::atomic<std::uint64_t> namesFolded{0};

// Trimmed and lower-cased: how owner names and the names they may stand for are compared.
std::string comparisonForm(std::string_view name) {
  namesFolded.fetch_add(1, std::memory_order_relaxed);
  return text::lowercased(text::trimmed(name));
}

// One application's side of owner matching, prepared once: the names a window owner may carry
// for it, each in comparison form.
class OwnerMatcher {
 public:
  OwnerMatcher(std::string_view appName, std::string_view bundleID) {
    const std::string_view app = text::trimmed(appName);
    const std::string_view bundle = text::trimmed(bundleID);
    const std::string_view last = lastBundleComponent(bundle);
    // One-letter names and components would match unrelated processes.
    if (characterCount(app) >= 2) add(app);
    if (bundle.empty()) return;
    add(bundle);
    if (characterCount(last) >= 2) add(last);
  }

  // `owner` in comparison form.
  bool matches(const std::string& owner) const {
    if (owner.empty() || systemOwners().contains(owner)) return false;
    return std::find(names_.begin(), names_.end(), owner) != names_.end();
  }
  const std::vector<std::string>& names() const { return names_; }

 private:
  void add(std::string_view name) {
    std::string form = comparisonForm(name);
    if (std::find(names_.begin(), names_.end(), form) == names_.end()) names_.push_back(std::move(form));
  }

  std::vector<std::string> names_;
};

bool looksLikeStatusItem(const ForeignMenuBarWindow& window) {
  return window.height <= statusItemMaxHeight && window.width >= statusItemMinWidth &&
         window.width <= statusItemMaxWidth;
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
  return OwnerMatcher(appName, bundleID).matches(comparisonForm(ownerName));
}

OwnerIndex indexOwners(std::span<const ForeignMenuBarWindow> windows) {
  // An application's icons all carry its owner name and tend to follow one another in the list:
  // the list is walked run by run of one name, and each distinct name is folded once.
  auto runEnd = [&](std::size_t start) {
    std::size_t end = start + 1;
    while (end < windows.size() && windows[end].ownerName == windows[start].ownerName) ++end;
    return end;
  };
  std::size_t runs = 0;
  for (std::size_t start = 0; start < windows.size(); start = runEnd(start)) ++runs;

  OwnerIndex index;
  index.statusItems.reserve(runs);
  // The entries point into the index, whose nodes stay put as it grows; null marks a name never
  // matched.
  std::unordered_map<std::string_view, std::vector<std::size_t>*> byRawName;
  byRawName.reserve(runs);
  for (std::size_t start = 0, end = 0; start < windows.size(); start = end) {
    end = runEnd(start);
    const auto first = std::find_if(windows.begin() + start, windows.begin() + end, looksLikeStatusItem);
    if (first == windows.begin() + end) continue;
    auto [entry, added] = byRawName.try_emplace(first->ownerName, nullptr);
    if (added) {
      std::string owner = comparisonForm(first->ownerName);
      if (!owner.empty() && !systemOwners().contains(owner)) entry->second = &index.statusItems[std::move(owner)];
    }
    std::vector<std::size_t>* positions = entry->second;
    if (!positions) continue;
    // A name seen in one run only, the usual case, is sized once; a recurring one grows as usual.
    if (positions->empty()) positions->reserve(end - start);
    for (auto window = first; window != windows.begin() + end; ++window) {
      if (looksLikeStatusItem(*window)) positions->push_back(static_cast<std::size_t>(window - windows.begin()));
    }
  }
  return index;
}

std::vector<std::string> ownerNames(std::string_view appName, std::string_view bundleID) {
  return OwnerMatcher(appName, bundleID).names();
}

std::vector<std::size_t> statusItemsOf(const OwnerIndex& index, std::string_view appName, std::string_view bundleID) {
  return statusItemsOf(index, ownerNames(appName, bundleID));
}

std::vector<std::size_t> statusItemsOf(const OwnerIndex& index, std::span<const std::string> names) {
  std::vector<std::size_t> positions;
  for (const std::string& name : names) {
    const auto found = index.statusItems.find(name);
    if (found == index.statusItems.end()) continue;
    positions.insert(positions.end(), found->second.begin(), found->second.end());
  }
  // The names are distinct, so no window is listed twice; only the order needs restoring.
  std::sort(positions.begin(), positions.end());
  return positions;
}

std::uint64_t ownerNamesFolded() { return namesFolded.load(std::memory_order_relaxed); }

std::optional<std::string> zoneShownAt(const ForeignMenuBarWindow& window, const PlacementAnchors& anchors,
                                       double expandedLength) {
  const auto where = zone({.minX = window.minX, .maxX = window.maxX, .anchors = anchors, .expandedLength = expandedLength});
  if (!where) return std::nullopt;
  return tierShownIn(*where);
}

std::vector<ForeignMenuBarWindow> windowsOnStatusItemScreen(std::span<const ForeignMenuBarWindow> windows,
                                                            std::optional<double> screenMinX,
                                                            std::optional<double> screenMaxX) {
  std::vector<ForeignMenuBarWindow> out;
  for (const auto& window : windows) {
    if (isOnStatusItemScreen(window, screenMinX, screenMaxX)) out.push_back(window);
  }
  return out;
}

bool isOnStatusItemScreen(const ForeignMenuBarWindow& window, std::optional<double> screenMinX,
                          std::optional<double> screenMaxX) {
  return !screenMinX || !screenMaxX || (window.maxX > *screenMinX && window.minX < *screenMaxX);
}

std::optional<std::string> observedZone(const ObservedZoneInput& input) {
  if (!input.anchors || !anchorsUsable(*input.anchors, input.expandedLength)) return std::nullopt;
  // Only the first window in window-list order speaks for the application.
  const auto positions = statusItemsOf(indexOwners(input.windows), input.appName, input.bundleID);
  if (positions.empty()) return std::nullopt;
  return zoneShownAt(input.windows[positions.front()], *input.anchors, input.expandedLength);
}

std::optional<bool> foreignItemInTargetZone(const ForeignItemInTargetZoneInput& input) {
  if (!anchorsUsable(input.anchors, input.expandedLength)) return std::nullopt;
  const auto positions = statusItemsOf(indexOwners(input.windows), input.appName, input.bundleID);
  if (positions.empty()) return std::nullopt;
  // Any one icon in place counts: an application with several items is placed once one of them is.
  return std::any_of(positions.begin(), positions.end(), [&](std::size_t position) {
    const ForeignMenuBarWindow& window = input.windows[position];
    return zone({.minX = window.minX,
                 .maxX = window.maxX,
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
