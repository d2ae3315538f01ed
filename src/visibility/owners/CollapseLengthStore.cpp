#include "visibility/owners/CollapseLengthStore.h"

#include <utility>

#include "base/Log.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;

CollapseLengthStore::CollapseLengthStore(platform::DefaultsStore& defaults, const CollapseScreens& screens)
    : defaults_(defaults), screens_(screens) {}

void applyDefaultsWrites(platform::DefaultsStore& defaults, const DefaultsWrites& writes) {
  for (const auto& [key, value] : writes) {
    if (value) {
      defaults.set(key, *value);
    } else {
      defaults.remove(key);
    }
  }
}

void logUnreadableCollapseKeys(const UnreadableCollapseKeys& unreadable) {
  for (const UnreadableCollapseKey& entry : unreadable) {
    MenuBarLog::log(LogLine("collapse key unreadable").add("store", entry.defaultsKey).add("key", entry.storedKey));
  }
}

void CollapseLengthStore::restoreCliffCache() {
  UnreadableCollapseKeys unreadable;
  auto restored = decodeCollapseLengths([this](const std::string& key) { return defaults_.object(key); }, unreadable,
                                        screens_.sizing());
  logUnreadableCollapseKeys(unreadable);
  cliffCache_ = restored.cliffRecord;
  perAppLengths_ = std::move(restored.perAppLengths);
  collapseMenuLimitedKeys_ = std::move(restored.menuLimitedKeys);
}

void CollapseLengthStore::persistCliffCache() { applyDefaultsWrites(defaults_, encodeCliffRecord(cliffCache_)); }

void CollapseLengthStore::persistPerAppLengths() {
  applyDefaultsWrites(defaults_, encodePerAppLengths(perAppLengths_, collapseMenuLimitedKeys_));
}

bool CollapseLengthStore::pruneToScreens(const std::vector<ScreenKey>& keeping) {
  PersistedCollapseLengths state{.perAppLengths = perAppLengths_, .menuLimitedKeys = collapseMenuLimitedKeys_};
  PersistedCollapseLengths pruned = state;
  pruned.prune(keeping);
  if (pruned == state) return false;
  perAppLengths_ = std::move(pruned.perAppLengths);
  collapseMenuLimitedKeys_ = std::move(pruned.menuLimitedKeys);
  return true;
}

std::optional<CliffRecord> CollapseLengthStore::cliffRecordForCurrentScreens() const {
  if (!cliffCache_ || cliffCache_->screenKey != screens_.screenConfigKey()) return std::nullopt;
  return cliffCache_;
}

double CollapseLengthStore::collapseLowerBound() const {
  if (auto record = cliffRecordForCurrentScreens()) return record->length;
  return Policy::collapseUnmeasuredLength(screens_.widestScreenWidth());
}

void CollapseLengthStore::recordCollapseLength(double length, const std::optional<BundleID>& bundleID,
                                               Proof proof, std::optional<double> pinnedGap) {
  const ScreenKey screen = screens_.collapseScreenKey();
  if (proof == Proof::pending) {
    // This one is judged 0.4 s from now.
    MenuBarLog::log(LogLine("collapse length pending")
                        .add("length", length)
                        .add("frontmost", spellingOf(bundleID))
                        .add("screen", screen.text()));
    return;
  }
  perAppLengths_.record(
      {.key = PerAppKey(screen, bundleID), .length = length, .knownGood = true});
  if (pinnedGap) perAppLengths_.recordGap(screen, *pinnedGap);
  MenuBarLog::log(LogLine("collapse length verified")
                      .add("length", length)
                      .add("frontmost", spellingOf(bundleID))
                      .add("gap", pinnedGap));
  persistPerAppLengths();
}

void CollapseLengthStore::settleScreenCliff(const CliffRecord& settled, bool menuLimited) {
  auto record = Policy::screenCliffAfterSearch(cliffCache_, settled, menuLimited);
  if (record == cliffCache_) return;
  cliffCache_ = record;
  seedPinnedGapIfMissing();
  persistCliffCache();
}

void CollapseLengthStore::settleAppLength(const SettledAppLength& settled) {
  const PerAppKey key(screens_.collapseScreenKey(), settled.bundleID);
  if (settled.menuLimited) collapseMenuLimitedKeys_.insert(key);
  if (settled.hitEjection) collapseMenuLimitedKeys_.erase(key);
  perAppLengths_.record({.key = key, .length = settled.length});
  persistPerAppLengths();
}

void CollapseLengthStore::forgetCliffRecord() {
  cliffCache_.reset();
  persistCliffCache();
}

void CollapseLengthStore::recordLength(const PerAppKey& pair, double length) {
  perAppLengths_.record({.key = pair, .length = length});
  persistPerAppLengths();
}

void CollapseLengthStore::forgetLength(const PerAppKey& pair) {
  perAppLengths_.forget(pair);
  persistPerAppLengths();
}

void CollapseLengthStore::recordGap(const ScreenKey& screen, double gap) {
  perAppLengths_.recordGap(screen, gap);
  persistPerAppLengths();
}

void CollapseLengthStore::recordSearchGap(double gap) {
  const ScreenKey screen = screens_.collapseScreenKey();
  if (perAppLengths_.searchGap(screen) == gap) return;
  perAppLengths_.recordSearchGap(screen, gap);
  MenuBarLog::log(LogLine("gap searched remembered").add("gap", gap).add("screen", screen.text()));
  persistPerAppLengths();
}

void CollapseLengthStore::forgetGap(const ScreenKey& screen) {
  perAppLengths_.forgetGap(screen);
  persistPerAppLengths();
}

void CollapseLengthStore::seedPinnedGapIfMissing() {
  const ScreenKey screen = screens_.collapseScreenKey();
  if (perAppLengths_.knownGoodGap(screen)) return;
  auto record = cliffRecordForCurrentScreens();
  if (!record || record->gap <= 0) return;
  perAppLengths_.recordGap(screen, record->gap);
  MenuBarLog::log(LogLine("gap seeded").add("pinned", record->gap).add("screen", screen.text()));
  persistPerAppLengths();
}

}  // namespace tarvolo
