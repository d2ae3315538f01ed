#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/DefaultsValue.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo::MenuBarVisibilityPolicy {

// Remembered collapse lengths per screen and per frontmost application. Lengths of 32 points or
// less hide nothing and are never recorded.
struct CollapseLengthCache {
  std::map<std::string, double> perApp;                // per-app key -> length that collapses well
  std::map<std::string, double> knownGoodMinByScreen;  // screen key -> shortest verified length
  std::map<std::string, double> knownGoodMaxByApp;     // per-app key -> longest verified length
  std::map<std::string, double> knownGoodGapByScreen;  // screen key -> gap seen with a verified collapse
  // Screen key -> gap a search read that stopped at the menus, so wrote no screen record; the
  // only keeper of a gap of 0 (no always-visible icons) when the verified gaps leave it out.
  std::map<std::string, double> searchGapByScreen;

  // "<screen key>\t<lower-cased bundle id>".
  static std::string key(std::string_view screen, std::string_view bundleID);
  // The screen key of a per-app key; a key without a tab is all screen.
  static std::string_view screenPart(std::string_view key);
  static std::optional<std::string_view> bundlePart(std::string_view key);
  // The width of the first screen in a key (the digits before the first "x").
  static std::optional<double> screenWidth(std::string_view fromCollapseKey);

  std::optional<double> length(std::string_view screen, std::string_view bundleID) const;
  std::optional<double> knownGoodMin(std::string_view screen) const;
  std::optional<double> knownGoodMax(std::string_view screen, std::string_view bundleID) const;
  std::optional<double> knownGoodGap(std::string_view screen) const;
  std::optional<double> searchGap(std::string_view screen) const;
  double lengthForCollapse(std::string_view screen, std::string_view bundleID, double lowerBound) const;

  struct RecordInput {
    std::string_view screen;
    std::string_view bundleID;
    double length = 0;
    bool knownGood = false;
  };
  void record(const RecordInput& input);
  // Only positive gaps are kept.
  void recordGap(std::string_view screen, double gap);
  // Gaps of 0 and more; a negative one was never read.
  void recordSearchGap(std::string_view screen, double gap);
  // Drops the pair's length and its verified maximum.
  void forget(std::string_view screen, std::string_view bundleID);
  // Forgets both the verified and the search's gap.
  void forgetGap(std::string_view screen);
  void discardLengthsThatHideNothing();
  // Keeps only entries filed under one of the given screen keys.
  void prune(const std::vector<std::string>& keeping);

  friend bool operator==(const CollapseLengthCache&, const CollapseLengthCache&) = default;
};

}  // namespace tarvolo::MenuBarVisibilityPolicy

namespace tarvolo {

// The screen arrangement's cliff as last settled by a search.
struct CliffRecord {
  std::string screenKey;
  double length = 0;
  double gap = -1;  // -1: no gap was known

  friend bool operator==(const CliffRecord&, const CliffRecord&) = default;
};

namespace MenuBarVisibilityPolicy {
// The screen record to keep after a search settled. A limit set by the application menus alone
// belongs to that application, so it neither creates nor replaces the screen's record.
std::optional<CliffRecord> screenCliffAfterSearch(const std::optional<CliffRecord>& previous,
                                                  const CliffRecord& settled, bool hitMenus);
}  // namespace MenuBarVisibilityPolicy

inline constexpr const char* cliffScreenDefaultsKey = "com.ostrand.tarvolo.cliff.screen";
inline constexpr const char* cliffLengthDefaultsKey = "com.ostrand.tarvolo.cliff.length";
inline constexpr const char* cliffGapDefaultsKey = "com.ostrand.tarvolo.cliff.gap";
inline constexpr const char* cliffPerAppDefaultsKey = "com.ostrand.tarvolo.cliff.perApp";
inline constexpr const char* cliffMinGoodDefaultsKey = "com.ostrand.tarvolo.cliff.minGood";
inline constexpr const char* cliffMaxGoodDefaultsKey = "com.ostrand.tarvolo.cliff.maxGood";
inline constexpr const char* cliffGoodGapDefaultsKey = "com.ostrand.tarvolo.cliff.goodGap";
inline constexpr const char* cliffMenuLimitedDefaultsKey = "com.ostrand.tarvolo.cliff.menuLimited";
inline constexpr const char* cliffSearchGapDefaultsKey = "com.ostrand.tarvolo.cliff.searchGap";
inline constexpr const char* cliffFoldTailDefaultsKey = "com.ostrand.tarvolo.cliff.foldTail";
inline constexpr const char* cliffFoldTailBaseDefaultsKey = "com.ostrand.tarvolo.cliff.foldTailBase";

// Everything the collapse-length engine keeps across launches.
struct PersistedCollapseLengths {
  std::optional<CliffRecord> cliffRecord;
  MenuBarVisibilityPolicy::CollapseLengthCache perAppLengths;
  std::set<std::string> menuLimitedKeys;
  std::map<std::string, double> foldTailByPair;
  std::map<std::string, double> foldTailBaseByPair;

  // Forgets per-app and per-screen entries of screens no longer connected; the screen record
  // stays, as it only applies while its arrangement matches.
  void prune(const std::vector<std::string>& keeping);

  friend bool operator==(const PersistedCollapseLengths&, const PersistedCollapseLengths&) = default;
};

// Defaults writes: a key with no value is to be removed.
using DefaultsWrites = std::map<std::string, std::optional<DefaultsValue>>;
using DefaultsReader = std::function<std::optional<DefaultsValue>(const std::string& key)>;

DefaultsWrites encodeCliffRecord(const std::optional<CliffRecord>& record);
DefaultsWrites encodePerAppLengths(const MenuBarVisibilityPolicy::CollapseLengthCache& lengths,
                                   const std::set<std::string>& menuLimitedKeys);
DefaultsWrites encodeFoldTails(const std::map<std::string, double>& tailByPair,
                               const std::map<std::string, double>& baseByPair);
DefaultsWrites encodeCollapseLengths(const PersistedCollapseLengths& state);

// A dictionary of lengths; entries that are not finite numbers are skipped.
std::map<std::string, double> decodeLengthMap(const std::optional<DefaultsValue>& stored);
// Only lengths that hide something and fit under their screen's tail ceiling survive a relaunch.
std::map<std::string, double> restoredPerAppLengths(
    const std::map<std::string, double>& stored,
    MenuBarVisibilityPolicy::PublicCollapseSizing sizing = MenuBarVisibilityPolicy::PublicCollapseSizing::statusRegion);
std::optional<CliffRecord> decodeCliffRecord(const DefaultsReader& read);
// Reads back everything; a corrupt entry is skipped without losing its neighbours.
PersistedCollapseLengths decodeCollapseLengths(
    const DefaultsReader& read,
    MenuBarVisibilityPolicy::PublicCollapseSizing sizing = MenuBarVisibilityPolicy::PublicCollapseSizing::statusRegion);

}  // namespace tarvolo
