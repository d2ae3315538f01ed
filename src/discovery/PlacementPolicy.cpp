#include "discovery/PlacementPolicy.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace tarvolo::PlacementPolicy {
namespace {

constexpr std::string_view hiddenRaw = "hidden";
constexpr std::string_view alwaysHiddenRaw = "always_hidden";

bool isHidingTier(std::string_view category) { return category == hiddenRaw || category == alwaysHiddenRaw; }
bool isAlwaysVisible(const std::optional<std::string>& category) { return category && *category == alwaysVisibleRaw; }

// Decodes the UTF-8 sequence starting at `i`; malformed bytes count as one code point each so
// that odd owner names never stall the scan.
char32_t decodeAt(std::string_view text, std::size_t i, std::size_t& length) {
  auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
  unsigned char lead = byte(i);
  std::size_t need = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 1;
  if (need == 1 || i + need > text.size()) {
    length = 1;
    return lead;
  }
  char32_t cp = lead & (0xFF >> (need + 1));
  for (std::size_t k = 1; k < need; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) {
      length = 1;
      return lead;
    }
    cp = (cp << 6) | (byte(i + k) & 0x3F);
  }
  length = need;
  return cp;
}

// White space and line breaks in the Unicode sense, as owner names and pasted identifiers may
// carry no-break or ideographic spaces.
bool isWhitespaceOrNewline(char32_t cp) {
  if (cp == 0x20 || (cp >= 0x09 && cp <= 0x0D) || cp == 0x85 || cp == 0xA0 || cp == 0x1680) return true;
  if (cp >= 0x2000 && cp <= 0x200A) return true;
  return cp == 0x2028 || cp == 0x2029 || cp == 0x202F || cp == 0x205F || cp == 0x3000;
}

// Code points that join the preceding character rather than starting a new one.
bool extendsPreviousCharacter(char32_t cp) {
  return (cp >= 0x0300 && cp <= 0x036F) || (cp >= 0x20D0 && cp <= 0x20FF) || cp == 0x200D ||
         (cp >= 0xFE00 && cp <= 0xFE0F) || (cp >= 0x1F3FB && cp <= 0x1F3FF);
}

std::string_view trimmed(std::string_view text) {
  std::size_t begin = 0;
  while (begin < text.size()) {
    std::size_t length = 1;
    if (!isWhitespaceOrNewline(decodeAt(text, begin, length))) break;
    begin += length;
  }
  std::size_t end = text.size();
  while (end > begin) {
    std::size_t start = end - 1;
    while (start > begin && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) --start;
    std::size_t length = 1;
    char32_t cp = decodeAt(text, start, length);
    if (start + length != end || !isWhitespaceOrNewline(cp)) break;
    end = start;
  }
  return text.substr(begin, end - begin);
}

// Lower-cases ASCII letters only; other scripts are compared as written.
std::string lowered(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

std::string normalized(std::string_view text) { return lowered(trimmed(text)); }

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size();) {
    std::size_t length = 1;
    if (!extendsPreviousCharacter(decodeAt(text, i, length)) || count == 0) ++count;
    i += length;
  }
  return count;
}

std::string_view lastBundleComponent(std::string_view bundleID) {
  while (!bundleID.empty() && bundleID.back() == '.') bundleID.remove_suffix(1);
  std::size_t dot = bundleID.rfind('.');
  return dot == std::string_view::npos ? bundleID : bundleID.substr(dot + 1);
}

bool looksLikeStatusItem(const ForeignMenuBarWindow& window) {
  return window.height <= statusItemMaxHeight && window.width >= statusItemMinWidth &&
         window.width <= statusItemMaxWidth;
}

std::vector<const ForeignMenuBarWindow*> statusItemsOf(std::string_view appName, std::string_view bundleID,
                                                       std::span<const ForeignMenuBarWindow> windows) {
  std::vector<const ForeignMenuBarWindow*> out;
  for (const auto& window : windows) {
    if (looksLikeStatusItem(window) && ownerMatches(window.ownerName, appName, bundleID)) out.push_back(&window);
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
  const std::string wanted = lowered(key);
  for (const auto& [candidate, value] : confirmed) {
    if (lowered(candidate) == wanted) return value;
  }
  return std::nullopt;
}

}  // namespace

const std::set<std::string>& systemOwners() {
  static const std::set<std::string> owners = {"control center", "controlcenter", "window server",
                                               "systemuiserver", "tarvolo",        "zttarvolo"};
  return owners;
}

std::string ledgerKey(std::string_view bundleID) { return lowered(bundleID); }

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
  const std::string owner = normalized(ownerName);
  if (owner.empty() || systemOwners().contains(owner)) return false;
  const std::string app = normalized(appName);
  if (characterCount(app) >= 2 && app == owner) return true;
  const std::string bundle = normalized(bundleID);
  if (bundle.empty()) return false;
  if (bundle == owner) return true;
  // One-letter names and components would match unrelated processes.
  const std::string_view last = lastBundleComponent(bundle);
  return characterCount(last) >= 2 && last == owner;
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
  const auto candidates = statusItemsOf(input.appName, input.bundleID, input.windows);
  if (candidates.empty()) return std::nullopt;
  // Only the first window in window-list order speaks for the application.
  const ForeignMenuBarWindow& first = *candidates.front();
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
    savedKeys.insert(lowered(key));
    if (isHidingTier(value)) {
      out.emplace(key, value);
      continue;
    }
    if (isAlwaysVisible(confirmedValueFor(key, confirmed))) out.emplace(key, std::string(alwaysVisibleRaw));
  }
  for (const auto& [key, value] : confirmed) {
    if (value == alwaysVisibleRaw && !savedKeys.contains(lowered(key))) out.emplace(key, value);
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
  const std::string_view named = trimmed(*namedBundleID);
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
