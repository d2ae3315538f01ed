#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/DefaultsValue.h"
#include "base/vocabulary/ScreenKey.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo::MenuBarVisibilityPolicy {

// Remembered collapse lengths per screen and per frontmost application. Lengths of 32 points or
// less hide nothing and are never recorded.
struct CollapseLengthCache {
  std::map<PerAppKey, double> perApp;                // length that collapses well
  std::map<ScreenKey, double> knownGoodMinByScreen;  // shortest verified length
  std::map<PerAppKey, double> knownGoodMaxByApp;     // longest verified length
  std::map<ScreenKey, double> knownGoodGapByScreen;  // gap seen with a verified collapse
  // The gap a search read that stopped at the menus, so wrote no screen record; the only keeper
  // of a gap of 0 (no always-visible icons) when the verified gaps leave it out.
  std::map<ScreenKey, double> searchGapByScreen;

  std::optional<double> length(const PerAppKey& key) const;
  std::optional<double> knownGoodMin(const ScreenKey& screen) const;
  std::optional<double> knownGoodMax(const PerAppKey& key) const;
  std::optional<double> knownGoodGap(const ScreenKey& screen) const;
  std::optional<double> searchGap(const ScreenKey& screen) const;
  double lengthForCollapse(const PerAppKey& key, double lowerBound) const;

  struct RecordInput {
    const PerAppKey& key;
    double length = 0;
    bool knownGood = false;
  };
  void record(const RecordInput& input);
  // Only positive gaps are kept.
  void recordGap(const ScreenKey& screen, double gap);
  // Gaps of 0 and more; a negative one was never read.
  void recordSearchGap(const ScreenKey& screen, double gap);
  // Drops the pair's length and its verified maximum.
  void forget(const PerAppKey& key);
  // Forgets both the verified and the search's gap.
  void forgetGap(const ScreenKey& screen);
  void discardLengthsThatHideNothing();
  // Keeps only entries filed under one of the given screen keys.
  void prune(const std::vector<ScreenKey>& keeping);

  friend bool operator==(const CollapseLengthCache&, const CollapseLengthCache&) = default;
};

}  // namespace tarvolo::MenuBarVisibilityPolicy

namespace tarvolo {

// The screen arrangement's cliff as last settled by a search.
struct CliffRecord {
  ScreenKey screenKey;
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
// Screens whose collapse the system's ejection length cut short of the menus, with that length.
inline constexpr const char* cliffEjectionCapDefaultsKey = "com.ostrand.tarvolo.cliff.ejectionCap";
// The always-hidden separator's length on the normal expanded bar, by screen and frontmost app.
inline constexpr const char* shelfHiddenLengthDefaultsKey = "com.ostrand.tarvolo.shelf.hiddenLength";
// Those of them that stop short of the menus because no longer length held: as far as it gets.
inline constexpr const char* shelfHiddenShortDefaultsKey = "com.ostrand.tarvolo.shelf.hiddenLengthShort";

// Everything the collapse-length engine keeps across launches.
struct PersistedCollapseLengths {
  std::optional<CliffRecord> cliffRecord;
  MenuBarVisibilityPolicy::CollapseLengthCache perAppLengths;
  std::set<PerAppKey> menuLimitedKeys;
  std::map<PerAppKey, double> foldTailByPair;
  std::map<PerAppKey, double> foldTailBaseByPair;

  // Forgets per-app and per-screen entries of screens no longer connected; the screen record
  // stays, as it only applies while its arrangement matches.
  void prune(const std::vector<ScreenKey>& keeping);

  friend bool operator==(const PersistedCollapseLengths&, const PersistedCollapseLengths&) = default;
};

// Defaults writes: a key with no value is to be removed.
using DefaultsWrites = std::map<std::string, std::optional<DefaultsValue>>;
using DefaultsReader = std::function<std::optional<DefaultsValue>(const std::string& key)>;

DefaultsWrites encodeCliffRecord(const std::optional<CliffRecord>& record);
DefaultsWrites encodePerAppLengths(const MenuBarVisibilityPolicy::CollapseLengthCache& lengths,
                                   const std::set<PerAppKey>& menuLimitedKeys);
DefaultsWrites encodeFoldTails(const std::map<PerAppKey, double>& tailByPair,
                               const std::map<PerAppKey, double>& baseByPair);
DefaultsWrites encodeEjectionCaps(const std::map<ScreenKey, double>& capByScreen);
DefaultsWrites encodeCollapseLengths(const PersistedCollapseLengths& state);
DefaultsWrites encodeShelfHiddenLengths(const std::map<PerAppKey, double>& lengths,
                                        const std::map<PerAppKey, double>& shortOfMenus);

// A stored entry whose key does not read as a screen or per-app key: skipped, and told.
struct UnreadableCollapseKey {
  std::string defaultsKey;
  std::string storedKey;
  friend bool operator==(const UnreadableCollapseKey&, const UnreadableCollapseKey&) = default;
};
using UnreadableCollapseKeys = std::vector<UnreadableCollapseKey>;

// A dictionary of lengths; entries that are not finite numbers are skipped.
std::map<std::string, double> decodeLengthMap(const std::optional<DefaultsValue>& stored);
// The same filed by screen or by screen and app; keys that do not parse go to `unreadable`.
std::map<ScreenKey, double> decodeScreenLengths(const DefaultsReader& read, const std::string& defaultsKey,
                                                UnreadableCollapseKeys& unreadable);
std::map<PerAppKey, double> decodePerAppLengths(const DefaultsReader& read, const std::string& defaultsKey,
                                                UnreadableCollapseKeys& unreadable);
// Only lengths that hide something and fit under their screen's tail ceiling survive a relaunch.
std::map<PerAppKey, double> restoredPerAppLengths(
    const std::map<PerAppKey, double>& stored,
    MenuBarVisibilityPolicy::PublicCollapseSizing sizing = MenuBarVisibilityPolicy::PublicCollapseSizing::statusRegion);
std::optional<CliffRecord> decodeCliffRecord(const DefaultsReader& read);
// Reads back everything; a corrupt entry is skipped without losing its neighbours, and one whose
// key does not parse is named in `unreadable`.
PersistedCollapseLengths decodeCollapseLengths(
    const DefaultsReader& read, UnreadableCollapseKeys& unreadable,
    MenuBarVisibilityPolicy::PublicCollapseSizing sizing = MenuBarVisibilityPolicy::PublicCollapseSizing::statusRegion);

}  // namespace tarvolo
