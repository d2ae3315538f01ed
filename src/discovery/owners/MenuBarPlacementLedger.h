#pragma once

// Remembers which applications the user has seated in a zone, notices when such an application
// quits and starts again, and flags it then, because the system may seat a relaunched
// application's icon anywhere. Confined to the main thread; persisted in the defaults store.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "discovery/PlacementPolicy.h"
#include "platform/Platform.h"

namespace tarvolo {

class MenuBarPlacementLedger {
 public:
  using LogFunction = std::function<void(std::string)>;
  using Observer = std::function<void(const PlacementLedgerSnapshot&)>;
  using ObserverId = std::uint64_t;
  using Transformation = std::function<PlacementLedgerSnapshot(PlacementLedgerSnapshot)>;

  static constexpr std::string_view seatedKey = "com.ostrand.tarvolo.placement_seated";
  static constexpr std::string_view attentionKey = "com.ostrand.tarvolo.placement_attention";
  // From this major version on `isOutOfPlace` trusts only what is observed, not the ledger.
  static constexpr int ledgerIgnoredFromOSMajorVersion = 26;

  // Loads the stored snapshot. A stored value of the wrong type is ignored (and logged) but left
  // in place until a change of the ledger rewrites it.
  MenuBarPlacementLedger(platform::DefaultsStore& defaults, int osMajorVersion, LogFunction log);

  MenuBarPlacementLedger(const MenuBarPlacementLedger&) = delete;
  MenuBarPlacementLedger& operator=(const MenuBarPlacementLedger&) = delete;

  const PlacementLedgerSnapshot& snapshot() const;

  // Observers hear every change of the snapshot, after it is stored; not calls that change nothing.
  ObserverId addObserver(Observer observer);
  void removeObserver(ObserverId id);

  std::optional<std::string> confirmedCategory(std::string_view bundleID) const;
  void confirm(std::string_view bundleID, ItemCategory category);
  void confirmAlwaysVisible(const std::vector<std::string>& bundleIDs);
  void noteTerminated(const std::optional<std::string>& bundleID);
  void noteLaunched(const std::optional<std::string>& bundleID);
  // Drops the relaunch flag once the caller's confirm flow has seen the icon seated again.
  void clearAttention(std::string_view bundleID);

  // `observedZone` is a raw category as `PlacementPolicy::observedZone` returns it.
  bool isOutOfPlace(std::string_view bundleID, ItemCategory category,
                    const std::optional<std::string>& observedZone) const;
  // Ascending string order.
  std::vector<std::string> attentionBundleIDs() const;

  // Applies `transformation`, stores the persisted parts if they changed and then tells the
  // observers. Every change goes through here.
  void mutate(const Transformation& transformation);

 private:
  void load();
  void store();
  void log(std::string message) const;
  bool isOnOwningThread() const { return std::this_thread::get_id() == owningThread_; }

  platform::DefaultsStore& defaults_;
  int osMajorVersion_;
  LogFunction log_;
  PlacementLedgerSnapshot snapshot_;
  std::vector<std::pair<ObserverId, Observer>> observers_;
  ObserverId nextObserverId_ = 1;
  std::thread::id owningThread_ = std::this_thread::get_id();
};

}  // namespace tarvolo
