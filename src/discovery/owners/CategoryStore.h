#pragma once

// The zone the user chose for each application and the applications pinned in the settings
// list, persisted in the defaults store. A category is stored under the spelling the application
// was first saved with and found whatever its case, and through its relatives (a helper finds
// its parent's). Main thread only.

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "base/MainThreadChecker.h"
#include "base/ObserverList.h"
#include "base/vocabulary/BundleID.h"
#include "base/vocabulary/PlacementTypes.h"
#include "platform/Platform.h"

namespace tarvolo {

class MenuBarPlacementLedger;
class NotificationCenter;

class CategoryStore {
 public:
  static constexpr std::string_view categoriesKey = "com.ostrand.tarvolo.categories";
  static constexpr std::string_view pinsKey = "com.ostrand.tarvolo.pins";
  // The category of an application the user has not placed: it folds with the hidden zone.
  static constexpr ItemCategory defaultCategory = ItemCategory::hidden;

  struct Dependencies {
    platform::DefaultsStore& defaults;
    // Where a change of category is announced.
    NotificationCenter& defaultCenter;
    // Always-visible survives a load only where the ledger holds the user's confirmation.
    const MenuBarPlacementLedger& ledger;
  };
  // Loads both lists. A stored value of the wrong type is logged and ignored, and stays stored
  // until a change rewrites the list.
  explicit CategoryStore(Dependencies dependencies);
  CategoryStore(const CategoryStore&) = delete;
  CategoryStore& operator=(const CategoryStore&) = delete;

  // The saved categories as loaded (always-visible only where it was confirmed) and assigned.
  const std::map<BundleID, ItemCategory>& menuBarAssignments() const { return saved_; }
  std::optional<ItemCategory> savedCategory(std::string_view bundleID) const;
  ItemCategory category(std::string_view bundleID) const;
  void setCategory(std::string_view bundleID, ItemCategory category);
  // Back to the default tier.
  void removeCategory(std::string_view bundleID);
  bool isPinned(std::string_view bundleID) const;
  void setPinned(std::string_view bundleID, bool pinned);

  // Hears every real change of a category or pin once it is stored, before
  // `itemCategoryDidChange` is posted.
  [[nodiscard]] Subscription observeChanges(std::function<void()> observer) {
    return changed_.add(std::move(observer));
  }

 private:
  void load(const MenuBarPlacementLedger& ledger);
  void storeCategories();
  void storePins();

  platform::DefaultsStore& defaults_;
  NotificationCenter& defaultCenter_;
  MainThreadChecker mainThread_;
  std::map<BundleID, ItemCategory> saved_;
  std::set<BundleID> pins_;
  ObserverList<> changed_;
};

}  // namespace tarvolo
