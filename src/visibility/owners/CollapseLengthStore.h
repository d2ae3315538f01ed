#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "visibility/CollapseLengthCache.h"
#include "visibility/owners/CollapseScreens.h"

namespace tarvolo {

// Writes `writes` to the store, removing the keys that carry no value.
void applyDefaultsWrites(platform::DefaultsStore& defaults, const DefaultsWrites& writes);
// Traces each stored entry that was skipped because its key did not read back.
void logUnreadableCollapseKeys(const UnreadableCollapseKeys& unreadable);

// The collapse lengths remembered across launches: the screen arrangement's cliff, the lengths
// per screen and frontmost app with their verified bounds and gaps, and which apps' lengths the
// menus limited. Mutators that the original procedures always followed by a write persist at
// once. Main thread only.
class CollapseLengthStore {
 public:
  using CollapseLengthCache = MenuBarVisibilityPolicy::CollapseLengthCache;

  CollapseLengthStore(platform::DefaultsStore& defaults, const CollapseScreens& screens);
  CollapseLengthStore(const CollapseLengthStore&) = delete;
  CollapseLengthStore& operator=(const CollapseLengthStore&) = delete;

  void restoreCliffCache();
  void persistCliffCache();
  void persistPerAppLengths();
  // Forgets the entries of screens not among `keeping`; says whether any went. Unpersisted.
  bool pruneToScreens(const std::vector<ScreenKey>& keeping);

  const std::optional<CliffRecord>& cliffCache() const { return cliffCache_; }
  // The record, when it was settled on the screens connected now.
  std::optional<CliffRecord> cliffRecordForCurrentScreens() const;
  const CollapseLengthCache& perAppLengths() const { return perAppLengths_; }
  const std::set<PerAppKey>& collapseMenuLimitedKeys() const { return collapseMenuLimitedKeys_; }
  bool isMenuLimited(const PerAppKey& pair) const { return collapseMenuLimitedKeys_.count(pair) > 0; }
  // What a collapse uses when nothing is remembered for the app: the cliff, else a safe guess.
  double collapseLowerBound() const;

  // Whether a collapse length has been seen to hold.
  enum class Proof {
    pending,   // just applied: judged a moment later
    verified,  // the verification saw it lay out
  };
  // Only a verified length is remembered; a pending one is only traced.
  void recordCollapseLength(double length, const std::optional<BundleID>& bundleID, Proof proof,
                            std::optional<double> pinnedGap);
  // A finished search's result for the screens, and for the app whose menus were in play.
  void settleScreenCliff(const CliffRecord& settled, bool menuLimited);
  struct SettledAppLength {
    BundleID bundleID;
    double length = 0;
    bool menuLimited = false;
    bool hitEjection = false;
  };
  void settleAppLength(const SettledAppLength& settled);
  void forgetCliffRecord();
  void recordLength(const PerAppKey& pair, double length);
  void forgetLength(const PerAppKey& pair);
  void recordGap(const ScreenKey& screen, double gap);
  void forgetGap(const ScreenKey& screen);
  // Before macOS 27 a search stops at the menus and writes no screen record; what it read of the
  // gap is kept apart, so that the next launch can judge its collapse as this one did.
  void recordSearchGap(double gap);
  // A screen without a verified gap borrows the one its cliff was read with.
  void seedPinnedGapIfMissing();

 private:
  platform::DefaultsStore& defaults_;
  const CollapseScreens& screens_;
  std::optional<CliffRecord> cliffCache_;
  CollapseLengthCache perAppLengths_;
  std::set<PerAppKey> collapseMenuLimitedKeys_;
};

}  // namespace tarvolo
